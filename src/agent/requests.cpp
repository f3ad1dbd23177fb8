// The request vocabulary: one handler per request name, found in a table.
#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <set>

#include "agent.h"
#include "answer.h"
#include "mechanics.h"
#include "passphrase.h"
#include "xml_text.h"

namespace kvda {

namespace {

using vk::vkacmd;

struct Ctx {
    const Request& req;
    const Estate& estate;
    Answer& answer;

    void emit(const Object& o) { answer.object(effectiveProps(estate, o)); }
    void emitAll(const std::vector<const Object*>& list) {
        for (const Object* o : list) emit(*o);
    }

    const std::string& need(std::string_view key) const {
        const std::string* v = req.get(key);
        if (!v || v->empty())
            throw RequestError{status::kMissingIdentifier,
                               req.name + " needs " + std::string(key) + "="};
        return *v;
    }
    static bool digits(std::string_view s) {
        return !s.empty() && s.size() < 10 &&
               std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
    }
    int64_t number(std::string_view key) const {
        const std::string& v = need(key);
        if (!digits(v))
            throw RequestError{status::kBadIdentifier,
                               "bad " + std::string(key) + " '" + v + "': expected a number"};
        return std::stoll(v);
    }
    // The controller named by GlobalNo, which must exist.
    int64_t ctrl() const {
        int64_t g = number("GlobalNo");
        if (!estate.find(kind::kController, g, std::to_string(g)))
            throw RequestError{status::kNoSuchObject,
                               std::string("no controller ") + std::to_string(g)};
        return g;
    }
    const Object& one(std::string_view k, int64_t g, const std::string& addr,
                      std::string_view what) const {
        const Object* o = estate.find(k, g, addr);
        if (!o)
            throw RequestError{status::kNoSuchObject, "no " + std::string(what) + " " + addr +
                                                          std::string(" on controller ") +
                                                          std::to_string(g)};
        return *o;
    }
    const Object& controller() const {
        int64_t g = ctrl();
        return *estate.find(kind::kController, g, std::to_string(g));
    }
    const Object& vdisk(int64_t g) const {
        return one(kind::kVdisk, g, std::to_string(number("LogicalDriveNum")), "virtual disk");
    }
    const Object& enclosure(int64_t g) const {
        return one(kind::kEnclosure, g, need("Enclosure"), "enclosure");
    }
    const Object& connector(int64_t g) const {
        return one(kind::kConnector, g, std::to_string(number("Channel")), "connector");
    }
};

using Handler = void (*)(Ctx&);

std::vector<int64_t> oidList(const std::string& list) {
    std::vector<int64_t> out;
    size_t pos = 0;
    while (pos <= list.size() && !list.empty()) {
        size_t end = list.find_first_of(",:", pos);
        if (end == std::string::npos) end = list.size();
        int64_t v = 0;
        auto r = std::from_chars(list.data() + pos, list.data() + end, v);
        if (r.ec != std::errc() || r.ptr != list.data() + end) return {};
        out.push_back(v);
        pos = end + 1;
    }
    return out;
}

std::vector<const Object*> members(const Estate& e, const Object& vd, bool withSpares) {
    std::vector<const Object*> out;
    for (int64_t oid : oidList(vd.get("_members")))
        if (const Object* d = e.byOid(oid)) out.push_back(d);
    if (withSpares)
        for (const Object* d : e.of(kind::kDisk, vd.ctrl))
            if (d->get("_dhs") == std::to_string(vd.oid)) out.push_back(d);
    return out;
}

std::vector<const Object*> filter(std::vector<const Object*> in, auto pred) {
    std::erase_if(in, [&](const Object* o) { return !pred(*o); });
    return in;
}

// ---- controllers ----
void getControllerList(Ctx& c) {
    c.emitAll(c.estate.all(kind::kController));
}
void getController(Ctx& c) {
    c.emit(c.controller());
}
void getSupportedRaidLevels(Ctx& c) {
    const Object& ctl = c.controller();
    uint32_t mask = fromMask(ctl.get("RAIDLevelsMask"));
    for (uint32_t bit = 1; bit; bit <<= 1)
        if (mask & bit)
            c.answer.object({{"GlobalNo", ctl.get("GlobalNo")},
                             {"Layout", std::to_string(bit)},
                             {"RAIDLevelsMask", ctl.get("RAIDLevelsMask")}});
}
void controllerArrayInfo(Ctx& c, int64_t g) {
    c.emit(*c.estate.find(kind::kController, g, std::to_string(g)));
    for (auto k : {kind::kBattery, kind::kConnector, kind::kEnclosure, kind::kDisk, kind::kVdisk})
        c.emitAll(c.estate.of(k, g));
}
void getSingleControllerArrayInfo(Ctx& c) {
    controllerArrayInfo(c, c.ctrl());
}
void getControllerListArrayInfo(Ctx& c) {
    for (const Object* ctl : c.estate.all(kind::kController)) controllerArrayInfo(c, ctl->ctrl);
}
void getStoreDump(Ctx& c) {
    c.emitAll(c.estate.everything());
}

// ---- connectors ----
void getChannelsForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kConnector, c.ctrl()));
}
void getChannel(Ctx& c) {
    c.emit(c.connector(c.ctrl()));
}

// ---- physical disks ----
void getArrayDisk(Ctx& c) {
    int64_t g = c.ctrl();
    const std::string& list = c.need("adisk");
    size_t pos = 0;
    std::vector<const Object*> found;
    while (pos <= list.size()) {
        size_t end = list.find(',', pos);
        if (end == std::string::npos) end = list.size();
        found.push_back(&c.one(kind::kDisk, g, list.substr(pos, end - pos), "physical disk"));
        pos = end + 1;
    }
    c.emitAll(found);
}
void getArrayDisksForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kDisk, c.ctrl()));
}
// The disks attached to the connector and those in its enclosures. Like
// every per-connector request it goes by the connector's position, not by
// what its Channel tag reads (an override may change that).
void getArrayDisksForChannel(Ctx& c) {
    int64_t g = c.ctrl();
    const Object& connector = c.connector(g);
    std::set<int64_t> parents{connector.oid};
    for (const Object* e : c.estate.children(kind::kEnclosure, connector.oid))
        parents.insert(e->oid);
    c.emitAll(filter(c.estate.of(kind::kDisk, g),
                     [&](const Object& d) { return parents.count(d.parent) != 0; }));
}
void getArrayDisksForEnclosure(Ctx& c) {
    int64_t g = c.ctrl();
    c.emitAll(c.estate.children(kind::kDisk, c.enclosure(g).oid));
}
void getArrayDisksForVirtualDisk(Ctx& c) {
    int64_t g = c.ctrl();
    c.emitAll(members(c.estate, c.vdisk(g), true));
}
void getForeignLockedArrayDisks(Ctx& c) {
    c.emitAll(filter(c.estate.of(kind::kDisk, c.ctrl()), [](const Object& d) {
        return d.num("ObjState") == state::kForeign || d.num("Locked") == 1;
    }));
}
// Ready, unassigned disks of the same media and protocol as the members and
// at least as large as the smallest member.
std::vector<const Object*> candidates(Ctx& c) {
    int64_t g = c.ctrl();
    const Object& vd = c.vdisk(g);
    auto mem = members(c.estate, vd, false);
    long long smallest = 0;
    for (const Object* m : mem)
        if (!smallest || m->num("Length") < smallest) smallest = m->num("Length");
    std::string media = mem.empty() ? "" : mem.front()->get("MediaType");
    std::string proto = mem.empty() ? "" : mem.front()->get("BusProtocol");
    return filter(c.estate.of(kind::kDisk, g), [&](const Object& d) {
        return d.num("ObjState") == state::kReady &&
               !(fromMask(d.get("AttributesMask")) &
                 (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare |
                  diskattr::kVdMember)) &&
               d.num("Length") >= smallest && d.get("MediaType") == media &&
               d.get("BusProtocol") == proto;
    });
}
void getCapsForDHS(Ctx& c) {
    c.emitAll(candidates(c));
}
void getCapsForMemberReplace(Ctx& c) {
    c.emitAll(candidates(c));
}

// ---- virtual disks ----
void getVirtualDisk(Ctx& c) {
    int64_t g = c.ctrl();
    if (c.req.get("LogicalDriveNum"))
        c.emit(c.vdisk(g));
    else
        c.emitAll(c.estate.of(kind::kVdisk, g));
}
void getVirtualDisksForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kVdisk, c.ctrl()));
}
void getAllVirtualDisks(Ctx& c) {
    c.emitAll(c.estate.all(kind::kVdisk));
}
void getSpanInfoForVirtualDisk(Ctx& c) {
    int64_t g = c.ctrl();
    c.emitAll(c.estate.children(kind::kSpan, c.vdisk(g).oid));
}
void getPartitionsForVirtualDisk(Ctx& c) {
    int64_t g = c.ctrl();
    c.emitAll(c.estate.children(kind::kPartition, c.vdisk(g).oid));
}
void getAllCachedLuns(Ctx& c) {
    c.emitAll(c.estate.all(kind::kCachedLun));
}

// ---- batteries ----
void getBatteryList(Ctx& c) {
    c.emitAll(c.estate.all(kind::kBattery));
}
void getBatteriesForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kBattery, c.ctrl()));
}
void getBattery(Ctx& c) {
    int64_t g = c.ctrl();
    c.emit(c.one(kind::kBattery, g, std::to_string(c.number("BatteryID")), "battery"));
}

// ---- enclosures ----
void getEnclosure(Ctx& c) {
    int64_t g = c.ctrl();
    c.emit(c.enclosure(g));
}
// An enclosure followed by its fans, power supplies, EMMs and probes.
void emitWithComponents(Ctx& c, const Object& e) {
    c.emit(e);
    for (auto k : {kind::kFan, kind::kPowerSupply, kind::kEmm, kind::kProbe})
        c.emitAll(c.estate.children(k, e.oid));
}
void getEnclosureList(Ctx& c) {
    for (const Object* e : c.estate.all(kind::kEnclosure)) {
        if (c.req.get("includeComponents"))
            emitWithComponents(c, *e);
        else
            c.emit(*e);
    }
}
void getEnclosuresForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kEnclosure, c.ctrl()));
}
void getEnclosuresForChannel(Ctx& c) {
    int64_t g = c.ctrl();
    c.emitAll(c.estate.children(kind::kEnclosure, c.connector(g).oid));
}
void getSingleEnclosureForController(Ctx& c) {
    int64_t g = c.ctrl();
    emitWithComponents(c, c.enclosure(g));
}
void components(Ctx& c, std::string_view k) {
    int64_t g = c.ctrl();
    auto list = c.estate.children(k, c.enclosure(g).oid);
    if (const std::string* idx = c.req.get("Index")) {
        list = filter(list, [&](const Object& o) { return o.get("Index") == *idx; });
        if (list.empty())
            throw RequestError{status::kNoSuchObject, "no " + std::string(k) + " " + *idx +
                                                          " in enclosure " + c.need("Enclosure")};
    }
    c.emitAll(list);
}
void getTemperatureProbes(Ctx& c) {
    components(c, kind::kProbe);
}
void getFans(Ctx& c) {
    components(c, kind::kFan);
}
void getPowerSupplies(Ctx& c) {
    components(c, kind::kPowerSupply);
}
void getEmms(Ctx& c) {
    components(c, kind::kEmm);
}
void slotReport(Ctx& c, int64_t g, const Object& e) {
    auto disks = c.estate.children(kind::kDisk, e.oid);
    for (long long s = 0; s < e.num("SlotCount"); ++s) {
        const Object* held = nullptr;
        for (const Object* d : disks)
            if (d->num("TargetID") == s) held = d;
        c.answer.object({{"GlobalNo", std::to_string(g)},
                         {"Channel", e.get("Channel")},
                         {"EnclosureID", e.get("EnclosureID")},
                         {"SlotID", std::to_string(s)},
                         {"Occupied", held ? "1" : "0"},
                         {"DiskObjID", held ? held->get("ObjID") : ""},
                         {"DiskName", held ? held->get("Name") : ""}});
    }
}
// The slots of one enclosure; without Enclosure= (the controller's slot
// report) those of every enclosure of the controller.
void getSlotReportForEnclosure(Ctx& c) {
    int64_t g = c.ctrl();
    if (!c.req.get("Enclosure")) {
        for (const Object* e : c.estate.of(kind::kEnclosure, g)) slotReport(c, g, *e);
        return;
    }
    slotReport(c, g, c.enclosure(g));
}

// ---- tapes, NVMe, PCIe ----
void getTape(Ctx& c) {
    int64_t g = c.ctrl();
    c.emit(c.one(kind::kTape, g, c.need("adisk"), "tape drive"));
}
void getTapeDrivesForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kTape, c.ctrl()));
}
void getTapeDrivesForChannel(Ctx& c) {
    int64_t g = c.ctrl();
    c.emitAll(c.estate.children(kind::kTape, c.connector(g).oid));
}
void getNVMeAdapter(Ctx& c) {
    int64_t g = c.ctrl();
    c.emit(c.one(kind::kNvme, g, std::to_string(c.number("Channel")), "NVMe adapter"));
}
void getNVMeAdaptersForController(Ctx& c) {
    c.emitAll(c.estate.of(kind::kNvme, c.ctrl()));
}
void getPCIeSubsystem(Ctx& c) {
    c.emitAll(filter(c.estate.all(kind::kController),
                     [](const Object& o) { return o.num("BusProtocol") == bus::kPcie; }));
}
void getAllPCIeSSDs(Ctx& c) {
    auto pcie = [](const Object& o) { return o.num("BusProtocol") == bus::kPcie; };
    if (c.req.get("GlobalNo"))
        c.emitAll(filter(c.estate.of(kind::kDisk, c.ctrl()), pcie));
    else
        c.emitAll(filter(c.estate.all(kind::kDisk), pcie));
}
void threshold(Ctx& c, const char* tag) {
    const Object* gi = c.estate.find(kind::kGlobal, -1, "globalinfo");
    c.answer.object({{"ObjID", gi->get("ObjID")}, {tag, gi->get(tag)}});
}
void getPCIeThreshold(Ctx& c) {
    threshold(c, "RRWEThresholdPCIe");
}
void getSasSataThreshold(Ctx& c) {
    threshold(c, "RRWEThresholdSasSata");
}
void getGlobalInfo(Ctx& c) {
    c.emitAll(c.estate.all(kind::kGlobal));
}
void getCachePool(Ctx& c) {
    c.emitAll(c.estate.all(kind::kCachePool));
}
void getAlertLog(Ctx& c) {
    c.emitAll(c.estate.all(kind::kAlert));
}

// ---- pass-through ----

void passThruCaps(Ctx& c, const std::vector<std::string>& args) {
    std::map<std::string, std::string> named;
    for (size_t i = 3; i + 1 < args.size(); i += 2) named[args[i]] = args[i + 1];
    for (auto key : {"ObjID", "IDList", "MinDrives"})
        if (!named.count(key))
            throw RequestError{status::kBadRequest, std::string("getcaps make vdisk needs ") + key};
    const Object* ctl = nullptr;
    for (const Object* o : c.estate.all(kind::kController))
        if (o->get("ObjID") == named["ObjID"]) ctl = o;
    if (!ctl)
        throw RequestError{status::kNoSuchObject, "no controller with ObjID " + named["ObjID"]};
    auto ids = oidList(named["IDList"]);
    if (ids.empty())
        throw RequestError{status::kBadIdentifier, "bad IDList '" + named["IDList"] + "'"};
    long long smallest = 0;
    for (int64_t id : ids) {
        const Object* d = c.estate.byOid(id);
        if (!d || d->kind != kind::kDisk || d->ctrl != ctl->ctrl)
            throw RequestError{status::kNoSuchObject, std::string("no disk with ObjID ") +
                                                          std::to_string(id) + " on controller " +
                                                          ctl->get("GlobalNo")};
        if (!smallest || d->num("Length") < smallest) smallest = d->num("Length");
    }
    const long long n = static_cast<long long>(ids.size());
    long long spanLength = 0;
    if (named.count("SpanLength")) spanLength = std::atoll(named["SpanLength"].c_str());
    const uint32_t offered = fromMask(ctl->get("RAIDLevelsMask"));
    for (const RaidLayout& r : kRaidLayouts) {
        if (!(offered & r.code) || n < r.offeredFrom) continue;
        std::string lengths;
        long long depth = 1;
        if (r.spanned) {
            // Span lengths that split the disks into at least two equal spans.
            for (long long sl = r.minPerSpan; sl <= n / 2; ++sl)
                if (n % sl == 0 && (!r.mirrored || sl % 2 == 0))
                    appendListItem(lengths, ",", std::to_string(sl));
            if (lengths.empty()) continue;
            long long sl = spanLength;
            if (sl <= 0 || n % sl) sl = std::atoll(lengths.c_str());
            depth = n / sl;
        }
        c.answer.object({{"Layout", std::to_string(r.code)},
                         {"MinimumLength", std::to_string(kMinimumVdLength)},
                         {"Length", std::to_string(smallest * r.dataDisks(n, depth))},
                         {"SpanDepth", std::to_string(depth)},
                         {"SpanLengthList", lengths.empty() ? std::to_string(n) : lengths}});
    }
}

void sendPassThru(Ctx& c) {
    int64_t count = c.number("NumQXSIFArgs");
    std::vector<std::string> args;
    for (int64_t i = 0; i < count; ++i) {
        const std::string* v = c.req.get(std::string("param") + std::to_string(i));
        if (!v)
            throw RequestError{status::kMissingIdentifier,
                               std::string("NumQXSIFArgs is ") + std::to_string(count) +
                                   " but param" + std::to_string(i) + " is missing"};
        args.push_back(*v);
    }
    auto is = [&](std::initializer_list<std::string_view> words) {
        if (args.size() < words.size()) return false;
        size_t i = 0;
        for (auto w : words)
            if (args[i++] != w) return false;
        return true;
    };
    if (is({"report", "storage"})) {
        c.emitAll(c.estate.all(kind::kStorage));
    } else if (is({"getassoc", "adisks"}) && args.size() == 3) {
        auto ids = oidList(args[2]);
        const Object* vd = ids.size() == 1 ? c.estate.byOid(ids[0]) : nullptr;
        if (!vd || vd->kind != kind::kVdisk)
            throw RequestError{status::kNoSuchObject, "no virtual disk with ObjID " + args[2]};
        c.emitAll(members(c.estate, *vd, true));
    } else if (is({"getcaps", "make", "vdisk"})) {
        passThruCaps(c, args);
    } else if (is({"debug"})) {
        // accepted; there is nothing to debug in a simulated controller
    } else {
        std::string line;
        for (const auto& a : args) appendListItem(line, " ", a);
        throw RequestError{status::kUnknownRequest, "unknown pass-through command '" + line + "'"};
    }
}

struct Route {
    vk::RequestName request;
    Handler handler;
};

// clang-format off
constexpr std::array kRoutes{
    Route{vkacmd.getControllerList,                   getControllerList},
    Route{vkacmd.getController,                       getController},
    Route{vkacmd.getSupportedRaidLevelsForController, getSupportedRaidLevels},
    Route{vkacmd.getSingleControllerArrayInfo,        getSingleControllerArrayInfo},
    Route{vkacmd.getControllerListArrayInfo,          getControllerListArrayInfo},
    Route{vkacmd.getStoreDump,                        getStoreDump},
    Route{vkacmd.getChannelsForController,            getChannelsForController},
    Route{vkacmd.getChannel,                          getChannel},
    Route{vkacmd.getArrayDisk,                        getArrayDisk},
    Route{vkacmd.getArrayDisksForController,          getArrayDisksForController},
    Route{vkacmd.getArrayDisksForChannel,             getArrayDisksForChannel},
    Route{vkacmd.getArrayDisksForEnclosure,           getArrayDisksForEnclosure},
    Route{vkacmd.getArrayDisksForVirtualDisk,         getArrayDisksForVirtualDisk},
    Route{vkacmd.getSpanInfoForVirtualDisk,           getSpanInfoForVirtualDisk},
    Route{vkacmd.getForeignLockedArrayDisks,          getForeignLockedArrayDisks},
    Route{vkacmd.getCapsForDHS,                       getCapsForDHS},
    Route{vkacmd.getCapsForMemberReplaceCLI,          getCapsForMemberReplace},
    Route{vkacmd.getVirtualDisk,                      getVirtualDisk},
    Route{vkacmd.getVirtualDisksForController,        getVirtualDisksForController},
    Route{vkacmd.getAllVirtualDisks,                  getAllVirtualDisks},
    Route{vkacmd.getPartitionsForVirtualDisk,         getPartitionsForVirtualDisk},
    Route{vkacmd.getAllCachedLuns,                    getAllCachedLuns},
    Route{vkacmd.getBatteryList,                      getBatteryList},
    Route{vkacmd.getBatteriesForController,           getBatteriesForController},
    Route{vkacmd.getBattery,                          getBattery},
    Route{vkacmd.getEnclosure,                        getEnclosure},
    Route{vkacmd.getEnclosureList,                    getEnclosureList},
    Route{vkacmd.getEnclosuresForController,          getEnclosuresForController},
    Route{vkacmd.getEnclosuresForChannel,             getEnclosuresForChannel},
    Route{vkacmd.getSingleEnclosureForController,     getSingleEnclosureForController},
    Route{vkacmd.getEnclosureTemperatureProbes,       getTemperatureProbes},
    Route{vkacmd.getEnclosureFans,                    getFans},
    Route{vkacmd.getEnclosurePowerSupplies,           getPowerSupplies},
    Route{vkacmd.getEnclosureEMMs,                    getEmms},
    Route{vkacmd.getSlotReportForEnclosure,           getSlotReportForEnclosure},
    Route{vkacmd.getTape,                             getTape},
    Route{vkacmd.getTapeDrivesForController,          getTapeDrivesForController},
    Route{vkacmd.getTapeDrivesForChannel,             getTapeDrivesForChannel},
    Route{vkacmd.getNVMeAdapter,                      getNVMeAdapter},
    Route{vkacmd.getNVMeAdaptersForController,        getNVMeAdaptersForController},
    Route{vkacmd.getPCIeSubsystem,                    getPCIeSubsystem},
    Route{vkacmd.getAllPCIeSSDs,                      getAllPCIeSSDs},
    Route{vkacmd.getPCIeRRWEThreshold,                getPCIeThreshold},
    Route{vkacmd.getSASSATARRWEThreshold,             getSasSataThreshold},
    Route{vkacmd.getGlobalInfo,                       getGlobalInfo},
    Route{vkacmd.getTarnCachePoolProperties,          getCachePool},
    Route{vkacmd.getAlertLog,                         getAlertLog},
    Route{vkacmd.sendPassThruCmdToQXSIF,              sendPassThru},
};
// clang-format on

const Route* route(std::string_view name) {
    for (const Route& r : kRoutes)
        if (r.request.name() == name) return &r;
    return nullptr;
}

}  // namespace

bool knownRequest(std::string_view name) {
    return route(name) != nullptr || isWriteRequest(name);
}

std::vector<vk::RequestName> knownRequests() {
    std::vector<vk::RequestName> all;
    for (const Route& r : kRoutes) all.push_back(r.request);
    for (vk::RequestName r : writeRequests()) all.push_back(r);
    return all;
}

const std::string* Request::get(std::string_view key) const {
    for (const auto& [k, v] : params)
        if (k == key) return &v;
    return nullptr;
}

Request parseRequest(const std::vector<std::string>& pairs) {
    Request r;
    for (size_t i = 0; i < pairs.size(); ++i) {
        auto eq = pairs[i].find('=');
        std::string k = eq == std::string::npos ? pairs[i] : pairs[i].substr(0, eq);
        std::string v = eq == std::string::npos ? "" : pairs[i].substr(eq + 1);
        if (i == 0) {
            if (k != "vkacmd") return r;  // empty name: reported as a bad request
            r.name = v;
        } else {
            r.params.emplace_back(std::move(k), std::move(v));
        }
    }
    return r;
}

std::string journalLine(const std::vector<std::string>& pairs) {
    std::string line;
    for (const std::string& p : pairs) {
        if (!line.empty()) line += ' ';
        line += shownText(vk::HidePassphrase(p));
    }
    return line;
}

bool runRead(const Request& req, const Estate& e, Answer& answer) {
    const Route* r = route(req.name);
    if (!r) return false;
    Ctx ctx{req, e, answer};
    r->handler(ctx);
    return true;
}

}  // namespace kvda
