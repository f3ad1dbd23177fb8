#include "profile.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "answer.h"
#include "mechanics.h"
#include "os/files.h"
#include "os/locations.h"
#include "os/module.h"
#include "sqlite.h"
#include "xml_text.h"

namespace kvda {

using nlohmann::json;

// ---- vocabulary of the profile format -------------------------------------
namespace {

struct Word {
    std::string_view word;
    long long value;
};

// clang-format off
constexpr std::array kRaidLevels{
    Word{"concat", raidlevel::kConcat}, Word{"r0", raidlevel::kR0},   Word{"r1", raidlevel::kR1},
    Word{"r5", raidlevel::kR5},         Word{"r6", raidlevel::kR6},   Word{"r10", raidlevel::kR10},
    Word{"r50", raidlevel::kR50},       Word{"r1c", raidlevel::kR1c}, Word{"r60", raidlevel::kR60},
    Word{"r1e", raidlevel::kR1e},
};
constexpr std::array kStripeSizes{
    Word{"512b", 1},    Word{"1kb", 2},      Word{"2kb", 4},    Word{"4kb", 8},
    Word{"8kb", 16},    Word{"16kb", 32},    Word{"32kb", 64},  Word{"64kb", 128},
    Word{"128kb", 256}, Word{"256kb", 512},  Word{"512kb", 1024}, Word{"1mb", 2048},
    Word{"2mb", 4096},  Word{"4mb", 8192},   Word{"8mb", 16384}, Word{"16mb", 32768},
};
constexpr std::array kReadPolicies{
    Word{"rc", 1}, Word{"nrc", 2}, Word{"ra", 4}, Word{"ara", 8}, Word{"nra", 16},
};
constexpr std::array kWritePolicies{
    Word{"wc", 1}, Word{"nwc", 2}, Word{"wb", 4}, Word{"wt", 8}, Word{"wea", 16}, Word{"fwb", 32},
};
constexpr std::array kCachePolicies{Word{"d", 1}, Word{"c", 2}};
constexpr std::array kDiskCachePolicies{
    Word{"unchanged", 1}, Word{"enabled", 2}, Word{"disabled", 4}, Word{"default", 8},
};
constexpr std::array kModes{Word{"raid", 1}, Word{"hba", 2}};
constexpr std::array kConnectorProtocols{
    Word{"scsi", bus::kScsi}, Word{"sata", bus::kSata}, Word{"sas", bus::kSas}, Word{"pcie", bus::kPcie},
};
constexpr std::array kDiskProtocols{
    Word{"sata", bus::kSata}, Word{"sas", bus::kSas}, Word{"nvme", bus::kPcie},
};
constexpr std::array kMedia{Word{"hdd", media::kHdd}, Word{"ssd", media::kSsd}};
constexpr std::array kDiskStates{
    Word{"ready", state::kReady},     Word{"online", state::kOnline},
    Word{"failed", state::kFailed},   Word{"offline", state::kOffline},
    Word{"rebuilding", state::kRebuilding}, Word{"removed", state::kRemoved},
    Word{"nonraid", state::kNonRaid}, Word{"foreign", state::kForeign},
};
constexpr std::array kVdStates{
    Word{"ready", state::kReady}, Word{"degraded", state::kDegraded},
    Word{"failed", state::kFailed}, Word{"rebuilding", state::kRebuilding},
};
constexpr std::array kBatteryStates{
    Word{"ready", state::kReady}, Word{"failed", state::kFailed},
    Word{"charging", 8}, Word{"learning", state::kLearning},
};
constexpr std::array kLearnModes{Word{"auto", 1}, Word{"warn", 2}};
constexpr std::array kEnclosureTypes{Word{"backplane", 1}, Word{"shelf", 2}};
constexpr std::array kSecurity{Word{"none", 0}, Word{"capable", 1}, Word{"keyed", 2}};
constexpr std::array kPatrolModes{Word{"auto", 1}, Word{"manual", 2}, Word{"disable", 4}};
// clang-format on

// A JSON node with its path, for messages that point at the offending item.
class Node {
  public:
    Node(const json& j, std::string path) : j_(j), path_(std::move(path)) {}
    const std::string& path() const { return path_; }
    const json& raw() const { return j_; }

    [[noreturn]] void fail(const std::string& what) const { throw Error(path_ + ": " + what); }

    void expectObject(std::initializer_list<std::string_view> keys) const {
        if (!j_.is_object()) fail("expected an object");
        for (const auto& [k, v] : j_.items())
            if (std::find(keys.begin(), keys.end(), k) == keys.end()) {
                std::string valid;
                for (auto key : keys) appendListItem(valid, ", ", std::string(key));
                child(k).fail("unknown field; valid fields: " + valid);
            }
    }
    bool has(std::string_view key) const { return j_.contains(key); }
    Node child(std::string_view key) const {
        return Node(j_.at(std::string(key)), path_ + "." + std::string(key));
    }
    std::vector<Node> array(std::string_view key) const {
        std::vector<Node> out;
        if (!has(key)) return out;
        Node a = child(key);
        if (!a.j_.is_array()) a.fail("expected an array");
        for (size_t i = 0; i < a.j_.size(); ++i)
            out.emplace_back(a.j_[i], a.path_ + std::string("[") + std::to_string(i) + "]");
        return out;
    }
    long long integer(std::string_view key, long long def, long long lo, long long hi) const {
        if (!has(key)) return def;
        Node n = child(key);
        if (!n.j_.is_number_integer()) n.fail("expected an integer");
        // Named as written: a value beyond the signed range is no negative number.
        const bool tooLarge = n.j_.is_number_unsigned() &&
                              n.j_.get<unsigned long long>() > static_cast<unsigned long long>(hi);
        const long long v = tooLarge ? hi : n.j_.get<long long>();
        if (tooLarge || v < lo || v > hi)
            n.fail("value " + n.j_.dump() + " out of range " + std::to_string(lo) + " to " +
                   std::to_string(hi));
        return v;
    }
    // A repeat count: with `sofar` made already, at most `limit` in all.
    long long repeat(std::string_view key, long long sofar, long long limit,
                     std::string_view what) const {
        const long long n = integer(key, 1, 1, limit);
        if (sofar + n > limit)
            child(key).fail(std::to_string(sofar + n) + " " + std::string(what) +
                            " are more than the " + std::to_string(limit) + " allowed");
        return n;
    }
    std::string text(std::string_view key, std::string def) const {
        if (!has(key)) return def;
        Node n = child(key);
        if (!n.j_.is_string()) n.fail("expected a string");
        return n.j_.get<std::string>();
    }
    bool flag(std::string_view key, bool def) const {
        if (!has(key)) return def;
        Node n = child(key);
        if (!n.j_.is_boolean()) n.fail("expected true or false");
        return n.j_.get<bool>();
    }
    template <size_t N>
    long long word(const json& j, const std::array<Word, N>& table) const {
        if (!j.is_string()) fail("expected a string");
        auto s = j.get<std::string>();
        for (const Word& w : table)
            if (w.word == s) return w.value;
        std::string valid;
        for (const Word& w : table) appendListItem(valid, ", ", std::string(w.word));
        fail("unknown value '" + s + "'; valid values: " + valid);
    }
    template <size_t N>
    long long choice(std::string_view key, std::string_view def,
                     const std::array<Word, N>& table) const {
        if (!has(key))
            return Node(json(std::string(def)), path_).word(json(std::string(def)), table);
        Node n = child(key);
        return n.word(n.j_, table);
    }
    // A list of keywords turned into a mask of their values.
    template <size_t N>
    uint32_t maskOf(std::string_view key, std::initializer_list<std::string_view> def,
                    const std::array<Word, N>& table) const {
        uint32_t m = 0;
        if (!has(key)) {
            for (auto d : def)
                for (const Word& w : table)
                    if (w.word == d) m |= static_cast<uint32_t>(w.value);
            return m;
        }
        for (const Node& n : array(key)) m |= static_cast<uint32_t>(n.word(n.j_, table));
        return m;
    }
    // Raw tags: an object of tag -> string (numbers are accepted and printed).
    Props props(std::string_view key = "props") const {
        Props out;
        if (!has(key)) return out;
        Node p = child(key);
        if (!p.j_.is_object()) p.fail("expected an object of tag: value");
        for (const auto& [k, v] : p.j_.items()) {
            if (k.empty() || k.starts_with('_'))
                p.child(k).fail("tag names must not be empty or begin with '_'");
            if (v.is_string())
                out.emplace_back(k, v.get<std::string>());
            else if (v.is_number_integer() || v.is_boolean())
                out.emplace_back(k, v.is_boolean() ? (v.get<bool>() ? "1" : "0") : v.dump());
            else
                p.child(k).fail("expected a string or an integer");
        }
        return out;
    }

  private:
    const json& j_;
    std::string path_;
};

constexpr long long kGiB = 1024LL * 1024 * 1024;
// The largest numbers of controllers, of connectors and NVMe adapters on one.
constexpr long long kMaxControllers = 64;
constexpr long long kMaxConnectors = 64;
constexpr long long kMaxNvmeAdapters = 64;
// Profiles larger than this are refused unread: repeat counts describe large
// estates in a few lines.
constexpr std::uint64_t kMaxProfileBytes = 16 << 20;

// A capacity in GB as a product id names it: "960" under a thousand, else
// terabytes without trailing zeros ("1.2T", "1.92T", "8T").
std::string capacityLabel(long long gb) {
    if (gb < 1000) return std::to_string(gb);
    std::string label = std::to_string(gb / 1000);
    std::string fraction = std::to_string(1000 + gb % 1000).substr(1);
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    if (!fraction.empty()) label += "." + fraction;
    return label + "T";
}

// Builds objects in list order; ObjIDs are the store's row ids, 1 upwards.
class Builder {
  public:
    Estate estate;

    Object& add(std::string_view k, int64_t ctrl, int64_t parent, std::string addr) {
        return estate.add(k, ctrl, parent, std::move(addr));
    }
    Object& at(int64_t oid) { return *estate.edit(oid); }

    static void apply(Object& o, const Props& raw) {
        for (const auto& [k, v] : raw) o.set(k, v);
    }

    void build(const Node& root);

  private:
    // One of the estate's single objects (storage root, global information,
    // cache pool): its defaults, then the props of the profile's entry of the
    // same name.
    void single(const Node& root, std::string_view k, const Props& defaults);
    void controller(const Node& n, int64_t gno);
    void connector(const Node& n, int64_t gno, int64_t chan, int64_t ctrlOid, bool raid);
    void disk(const Node& n, int64_t gno, int64_t chan, int64_t connOid, int64_t proto,
              const std::vector<int64_t>& encs, long long slot, long long encIndex, bool raid);
    void vdisk(const Node& n, int64_t gno, int64_t ctrlOid, std::vector<int64_t> members,
               long long number);
    std::vector<int64_t> resolveDisks(const Node& list, int64_t gno);
};

void Builder::build(const Node& root) {
    root.expectObject({"description", "storage", "globalinfo", "cachepool", "controllers",
                       "cached_luns", "alerts", "overrides"});
    root.text("description", "");
    single(root, kind::kStorage,
           {{"Name", "Storage"}, {"ObjState", "1"}, {"AttributesMask", toMask(0)}});
    single(root, kind::kGlobal,
           {{"Name", "Global Information"},
            {"SmartThermalShutdown", "0"},
            {"HotSpareProtectionPolicy", "0"},
            {"RRWEThresholdSasSata", "10"},
            {"RRWEThresholdPCIe", "10"},
            {"NonZornCertifiedMode", "0"}});
    single(root, kind::kCachePool,
           {{"Name", "Cache Pool"}, {"ObjState", "1"}, {"TarnCacheState", "0"}, {"Length", "0"}});
    int64_t gno = 0;
    for (const Node& c : root.array("controllers")) {
        long long count = c.repeat("count", gno, kMaxControllers, "controllers");
        for (long long i = 0; i < count; ++i) controller(c, gno++);
    }
    for (const Node& l : root.array("cached_luns")) {
        l.expectObject({"name", "controller", "vdisk", "mode", "props"});
        int64_t g = l.integer("controller", 0, 0, 1 << 20);
        std::string vd = std::to_string(l.integer("vdisk", 0, 0, 1 << 20));
        if (!estate.find(kind::kVdisk, g, vd))
            l.fail("no virtual disk " + vd + std::string(" on controller ") + std::to_string(g));
        std::string name = l.text("name", "");
        if (name.empty()) l.fail("a cached LUN needs a name");
        Object& o = add(kind::kCachedLun, g, 0, name);
        o.set("CacheLunName", name);
        o.set("LogicalDriveNum", vd);
        o.set("CacheLunMode", l.text("mode", "wb"));
        o.set("ObjState", "1");
        apply(o, l.props());
    }
    long long n = 0;
    for (const Node& a : root.array("alerts")) {
        a.expectObject({"id", "severity", "message", "time"});
        Object& o = add(kind::kAlert, -1, 0, std::to_string(n++));
        o.set("AlertID", std::to_string(a.integer("id", 2000, 0, 1 << 30)));
        o.set("Severity", a.text("severity", "info"));
        o.set("Time", a.text("time", ""));
        o.set("Message", a.text("message", ""));
    }
    for (const Node& ov : root.array("overrides")) {
        ov.expectObject({"object", "set"});
        Address ad;
        try {
            ad = parseAddress(ov.text("object", ""));
        } catch (const Error& e) {
            ov.child("object").fail(e.what());
        }
        const Object* target = findAddressed(estate, ad);
        if (!target) ov.child("object").fail("no such object");
        Object& t = at(target->oid);
        for (const auto& [k, v] : ov.props("set")) t.overrides[k] = v;
    }
}

void Builder::single(const Node& root, std::string_view k, const Props& defaults) {
    Object& o = add(k, -1, 0, std::string(k));
    apply(o, defaults);
    if (root.has(k)) {
        Node s = root.child(k);
        s.expectObject({"props"});
        apply(o, s.props());
    }
}

void Builder::controller(const Node& n, int64_t gno) {
    n.expectObject({"count",
                    "name",
                    "family",
                    "firmware",
                    "driver",
                    "mode",
                    "pcie_subsystem",
                    "cache_mb",
                    "raid_levels",
                    "stripe_sizes",
                    "read_policies",
                    "write_policies",
                    "cache_policies",
                    "disk_cache_policies",
                    "max_vdisks",
                    "max_name_length",
                    "security",
                    "cachecade",
                    "alarm",
                    "patrol_read",
                    "power_management",
                    "props",
                    "connectors",
                    "batteries",
                    "vdisks",
                    "vdisk_groups",
                    "nvme_adapters"});
    const long long mode = n.choice("mode", "raid", kModes);
    const bool raid = mode == 1;
    const bool pcie = n.flag("pcie_subsystem", false);
    const long long security = n.choice("security", "none", kSecurity);
    const bool cachecade = n.flag("cachecade", false);
    const std::string gs = std::to_string(gno);
    int64_t ctrlOid;
    {
        Object& c = add(kind::kController, gno, 0, gs);
        ctrlOid = c.oid;
        c.set("GlobalNo", gs);
        c.set("Name", n.text("name", pcie ? "PCIe SSD Subsystem" : "VK RAID Controller"));
        c.set("ControllerFamily", std::to_string(n.integer("family", 2, 0, 255)));
        c.set("FirmwareVer", n.text("firmware", "4.1.0-0042"));
        c.set("DriverVersion", n.text("driver", "7.2.1"));
        c.set("ControllerMode", std::to_string(mode));
        c.set("BusProtocol", std::to_string(pcie ? bus::kPcie : bus::kSas));
        c.set("CacheSize", std::to_string(n.integer("cache_mb", raid ? 4096 : 0, 0, 1 << 20)));
        c.set("ObjState", "1");
        c.set("VendorID", "7301");  // the simulated controllers' own vendor number
        c.set("AutoConfigProgressState", "0");
        c.set("RAIDLevelsMask",
              toMask(raid ? n.maskOf("raid_levels", {"r0", "r1", "r5", "r6", "r10", "r50", "r60"},
                                     kRaidLevels)
                          : 0));
        c.set("StripeSizesMask",
              toMask(raid ? n.maskOf("stripe_sizes", {"64kb", "128kb", "256kb", "512kb", "1mb"},
                                     kStripeSizes)
                          : 0));
        c.set("ReadPolicyMask",
              toMask(raid ? n.maskOf("read_policies", {"ra", "nra"}, kReadPolicies) : 0));
        c.set("WritePolicyMask",
              toMask(raid ? n.maskOf("write_policies", {"wb", "wt", "fwb"}, kWritePolicies) : 0));
        c.set("CachePolicyMask",
              toMask(raid ? n.maskOf("cache_policies", {"d"}, kCachePolicies) : 0));
        c.set(
            "DiskCachePolicyMask",
            toMask(n.maskOf("disk_cache_policies", {"unchanged", "enabled", "disabled", "default"},
                            kDiskCachePolicies)));
        c.set("MaxVDAllowed", std::to_string(n.integer("max_vdisks", raid ? 64 : 0, 0, 4096)));
        c.set("MaxNameLength", std::to_string(n.integer("max_name_length", 15, 1, 255)));
        for (auto tag : {"RebuildRate", "BGIRate", "CheckConsistencyRate", "ReconstructRate"})
            c.set(tag, "30");
        c.set("PatrolReadRate", "30");
        c.set("PatrolReadMode",
              std::to_string(raid ? n.choice("patrol_read", "auto", kPatrolModes) : 4));
        c.set("PatrolReadState", "0");
        // Settings hold the values the plug-in's keyword maps read:
        // abort on error disabled, revertible hot spares enabled (Copyback 0),
        // no copyback on predicted failure, automatic load balancing,
        // no persistent hot-spare slots, non-RAID disk cache unchanged.
        c.set("AbortCheckConsistencyOnError", "0");
        c.set("Copyback", "0");
        c.set("AutoCopybackOnPredictiveFailure", "0");
        c.set("Loadbalance", "0");
        c.set("PersistentHotSlot", "0");
        c.set("NonRAIDDiskCachePolicy", "0");
        c.set("Multipath", "0");
        for (auto tag : {"SpinDownConfiguredDrive", "SpinDownUnconfigured", "DefaultVDPSPolicyT10",
                         "SpinDownHotspare"})
            c.set(tag, "2");
        c.set("SecurityMode", std::to_string(security == 2 ? 1 : 0));
        c.set("AlarmPresent", n.flag("alarm", false) ? "1" : "0");
        c.set("AlarmState", "0");
        c.set("PreservedCache", "0");
        const bool power = n.flag("power_management", raid);
        c.set("SupportPowerSavings", power ? "1" : "0");
        c.set("SpinDownTime", "30");
        c.set("DisableLDPSTime", "");
        c.set("DisableLDPSInterval", "0");
        uint32_t attrs = 0;
        if (security >= 1)
            attrs |= ctrlattr::kSecurityCapable | ctrlattr::kKeyManagement |
                     ctrlattr::kSecureForeignImport;
        if (security == 2) attrs |= ctrlattr::kSecurityKeyPresent;
        if (cachecade) attrs |= ctrlattr::kCacheCade;
        if (!raid) attrs |= ctrlattr::kFixedDiskCachePolicy;
        c.set("AttributesMask", toMask(attrs));
        c.set("AttributesMask1", toMask(0));
        apply(c, n.props());
    }
    int64_t chan = 0;
    for (const Node& cn : n.array("connectors")) {
        long long count = cn.repeat("count", chan, kMaxConnectors, "connectors");
        for (long long i = 0; i < count; ++i) connector(cn, gno, chan++, ctrlOid, raid);
    }
    long long bat = 0;
    for (const Node& b : n.array("batteries")) {
        b.expectObject({"state", "learn_mode", "max_learn_delay", "props"});
        Object& o = add(kind::kBattery, gno, ctrlOid, std::to_string(bat));
        o.set("BatteryID", std::to_string(bat++));
        o.set("Name", std::string("Battery ") + std::to_string(bat - 1));
        o.set("ObjState", std::to_string(b.choice("state", "ready", kBatteryStates)));
        o.set("LearnState", "0");
        o.set("LearnMode", std::to_string(b.choice("learn_mode", "auto", kLearnModes)));
        o.set("MaxLearnDelay", std::to_string(b.integer("max_learn_delay", 168, 0, 24 * 365)));
        o.set("NextLearnTime", "720");
        o.set("Charge", "100");
        apply(o, b.props());
    }
    long long nv = 0;
    for (const Node& a : n.array("nvme_adapters")) {
        a.expectObject({"count", "vendor", "model", "capacity_gb", "ise", "props"});
        long long count = a.repeat("count", nv, kMaxNvmeAdapters, "NVMe adapters");
        for (long long i = 0; i < count; ++i) {
            Object& o = add(kind::kNvme, gno, ctrlOid, std::to_string(nv));
            o.set("Channel", std::to_string(nv));
            o.set("Name", std::string("NVMe Adapter ") + std::to_string(nv++));
            const long long gb = a.integer("capacity_gb", 1600, 1, 1 << 20);
            o.set("Vendor", a.text("vendor", "Kestrel"));
            // The default product id names the capacity the adapter has.
            o.set("ProductID", a.text("model", "KX-N7 " + capacityLabel(gb) + "B"));
            o.set("SerialNo", std::string("NV") + std::to_string(10000 + o.oid));
            o.set("Length", std::to_string(gb * kGiB));
            o.set("BusProtocol", std::to_string(bus::kPcie));
            o.set("IsDeviceNVME", "1");
            o.set("ISECapable", a.flag("ise", true) ? "1" : "0");
            o.set("ObjState", "1");
            apply(o, a.props());
        }
    }
    // Virtual disks up to the controller's largest number.
    const long long maxVdisks = at(ctrlOid).num("MaxVDAllowed");
    long long vdNo = 0;
    for (const Node& v : n.array("vdisks")) {
        if (!raid) v.fail("a controller in HBA mode has no virtual disks");
        if (vdNo >= maxVdisks)
            v.fail("controller " + gs + " holds at most " + std::to_string(maxVdisks) +
                   " virtual disks");
        vdisk(v, gno, ctrlOid, resolveDisks(v.child("disks"), gno), vdNo++);
    }
    // Each group takes the first free ready disks of the controller in order.
    // A disk taken (or made a spare) stays so, so the search goes on from
    // where the last one ended: building stays linear in the disks.
    const std::vector<const Object*> disks = estate.of(kind::kDisk, gno);
    size_t next = 0;
    for (const Node& g : n.array("vdisk_groups")) {
        if (!raid) g.fail("a controller in HBA mode has no virtual disks");
        long long count = g.integer("count", 1, 1, 4096);
        if (vdNo + count > maxVdisks)
            g.child("count").fail(std::to_string(vdNo + count) +
                                  " virtual disks are more than controller " + gs + " holds (" +
                                  std::to_string(maxVdisks) + ")");
        long long each = g.integer("disks_each", 2, 1, 64);
        for (long long i = 0; i < count; ++i) {
            std::vector<int64_t> free;
            while (next < disks.size() && static_cast<long long>(free.size()) < each) {
                const Object& o = *disks[next++];
                const uint32_t attrs = fromMask(o.get("AttributesMask"));
                if (o.num("ObjState") == state::kReady && attrs == (attrs & diskattr::kInEnclosure))
                    free.push_back(o.oid);
            }
            if (static_cast<long long>(free.size()) < each)
                g.fail(std::string("not enough ready disks for virtual disk ") +
                       std::to_string(vdNo));
            vdisk(g, gno, ctrlOid, free, vdNo++);
        }
    }
}

void Builder::connector(const Node& n, int64_t gno, int64_t chan, int64_t ctrlOid, bool raid) {
    n.expectObject({"count", "protocol", "props", "enclosures", "disks", "disk_groups", "tapes"});
    const long long proto = n.choice("protocol", "sas", kConnectorProtocols);
    const std::string cs = std::to_string(chan);
    int64_t connOid;
    {
        Object& c = add(kind::kConnector, gno, ctrlOid, cs);
        connOid = c.oid;
        c.set("Channel", cs);
        c.set("Name", "Connector " + cs);
        c.set("BusProtocol", std::to_string(proto));
        c.set("ObjState", "1");
        apply(c, n.props());
    }
    const bool encId = proto == bus::kSas || proto == bus::kPcie;
    std::vector<int64_t> encs;
    long long ei = 0;
    for (const Node& e : n.array("enclosures")) {
        e.expectObject({"count", "type", "id", "slots", "fans", "power_supplies", "emms", "probes",
                        "product", "props"});
        long long count = e.integer("count", 1, 1, 64);
        // A repeated entry numbers its enclosures on from its first id, by
        // default the next number of the connector.
        const long long firstId = e.integer("id", ei, 0, 255);
        if (firstId + count - 1 > 255)
            e.child("count").fail(std::to_string(count) + " enclosures from id " +
                                  std::to_string(firstId) + " run past the largest id, 255");
        for (long long k = 0; k < count; ++k, ++ei) {
            const long long id = firstId + k;
            const long long type = e.choice("type", "backplane", kEnclosureTypes);
            const std::string ids = std::to_string(id);
            const std::string addr = encId ? cs + ":" + ids : cs;
            int64_t encOid;
            {
                Object& o = add(kind::kEnclosure, gno, connOid, addr);
                encOid = o.oid;
                o.set("Channel", cs);
                o.set("EnclosureID", ids);
                o.set("BusProtocol", std::to_string(proto));
                o.set("Name", type == 1 ? "Backplane" : "Storage Shelf " + ids);
                o.set("ProductID", e.text("product", type == 1 ? "KB-12" : "KS-60"));
                o.set("EnclosureType", std::to_string(type));
                o.set("SlotCount", std::to_string(e.integer("slots", 12, 1, 256)));
                o.set("ObjState", "1");
                o.set("ServiceTag",
                      type == 2 ? std::string("SHLF") + std::to_string(1000 + o.oid) : "");
                o.set("AssetTag", "");
                o.set("AssetName", "");
                o.set("MaxAssetTagLength", "10");
                o.set("MaxAssetNameLength", "32");
                o.set("AlarmPresent", type == 2 ? "1" : "0");
                o.set("AlarmState", "0");
                o.set("FirmwareVer", "2.12");
                apply(o, e.props());
            }
            encs.push_back(encOid);
            const long long shelf = type == 2;
            struct Part {
                std::string_view kind, key, name;
                long long def;
            };
            for (const Part& p :
                 {Part{kind::kFan, "fans", "Fan", shelf ? 4 : 0},
                  Part{kind::kPowerSupply, "power_supplies", "Power Supply", shelf ? 2 : 0},
                  Part{kind::kEmm, "emms", "EMM", shelf ? 2 : 0},
                  Part{kind::kProbe, "probes", "Temperature Probe", shelf ? 2 : 1}}) {
                long long cnt = e.integer(p.key, p.def, 0, 64);
                for (long long i = 0; i < cnt; ++i) {
                    Object& o =
                        add(p.kind, gno, encOid, addr + std::string("/") + std::to_string(i));
                    o.set("Channel", cs);
                    o.set("EnclosureID", ids);
                    o.set("Index", std::to_string(i));
                    o.set("Name", std::string(p.name) + std::string(" ") + std::to_string(i));
                    o.set("ObjState", "1");
                    if (p.kind == kind::kFan) o.set("Speed", "5400");
                    if (p.kind == kind::kPowerSupply) o.set("Watts", "800");
                    if (p.kind == kind::kEmm) o.set("FirmwareVer", "1.07");
                    if (p.kind == kind::kProbe) {
                        o.set("Reading", "27");
                        o.set("MinWarning", "5");
                        o.set("MaxWarning", "45");
                        o.set("MinFailure", "0");
                        o.set("MaxFailure", "55");
                        o.set("LowEndMinWarning", "1");
                        o.set("HighEndMinWarning", "10");
                        o.set("LowEndMaxWarning", "30");
                        o.set("HighEndMaxWarning", "50");
                    }
                }
            }
        }
    }
    std::vector<long long> slots;  // of each enclosure
    for (int64_t e : encs) slots.push_back(at(e).num("SlotCount"));
    auto capacity = [&](long long e) { return e < 0 ? 256 : slots[static_cast<size_t>(e)]; };
    std::set<std::pair<long long, long long>> used;
    for (const Node& d : n.array("disks")) {
        long long slot = d.integer("slot", -1, 0, 255);
        if (slot < 0) d.fail("a disk needs a slot");
        long long enc = d.integer("enclosure", -1, 0, 255);
        if (enc >= static_cast<long long>(encs.size()))
            d.child("enclosure").fail("no such enclosure on this connector");
        if (enc >= 0 && slot >= capacity(enc))
            d.child("slot").fail("slot " + std::to_string(slot) + " is beyond the " +
                                 std::to_string(capacity(enc)) + " slots of the enclosure");
        if (!used.insert({enc, slot}).second) d.child("slot").fail("slot already holds a disk");
        disk(d, gno, chan, connOid, proto, encs, slot, enc, raid);
    }
    for (const Node& g : n.array("disk_groups")) {
        long long count = g.integer("count", 1, 1, 4096);
        // the connector's enclosures, or its own 256 targets without one
        long long room = encs.empty() ? capacity(-1) : 0;
        for (size_t e = 0; e < encs.size(); ++e) room += capacity(static_cast<long long>(e));
        for (const auto& [e, slot] : used) room -= (e >= 0) != encs.empty();
        if (count > room)
            g.child("count").fail(std::to_string(count) + " disks do not fit: " +
                                  std::to_string(room) + " free slots are left on connector " + cs);
        long long enc = encs.empty() ? -1 : 0;
        long long slot = 0;
        for (long long i = 0; i < count; ++i) {
            while (used.count({enc, slot}) || slot >= capacity(enc)) {
                if (++slot >= capacity(enc)) {
                    slot = 0;
                    ++enc;
                }
            }
            used.insert({enc, slot});
            disk(g, gno, chan, connOid, proto, encs, slot, enc, raid);
        }
    }
    for (const Node& t : n.array("tapes")) {
        t.expectObject({"target", "vendor", "model", "props"});
        long long target = t.integer("target", 0, 0, 255);
        Object& o = add(kind::kTape, gno, connOid, cs + std::string(":") + std::to_string(target));
        o.set("Channel", cs);
        o.set("TargetID", std::to_string(target));
        o.set("Name", "Tape " + cs + std::string(":") + std::to_string(target));
        o.set("Vendor", t.text("vendor", "Kestrel"));
        o.set("ProductID", t.text("model", "Tape 8"));
        o.set("BusProtocol", std::to_string(proto));
        o.set("ObjState", "1");
        o.set("AttributesMask", toMask(0));
        apply(o, t.props());
    }
}

void Builder::disk(const Node& d, int64_t gno, int64_t chan, int64_t connOid, int64_t proto,
                   const std::vector<int64_t>& encs, long long slot, long long enc, bool raid) {
    d.expectObject({"count", "slot", "enclosure", "media", "protocol", "capacity_gb", "vendor",
                    "model", "serial", "firmware", "state", "hotspare", "ise", "write_cache",
                    "props"});
    const std::string cs = std::to_string(chan);
    const long long dproto =
        proto == bus::kPcie
            ? bus::kPcie
            : d.choice("protocol", proto == bus::kSata ? "sata" : "sas", kDiskProtocols);
    if (proto == bus::kSata && dproto != bus::kSata)
        d.child("protocol").fail("a SATA connector holds only SATA disks");
    if ((proto == bus::kPcie) != (dproto == bus::kPcie))
        d.fail("NVMe disks belong on a pcie connector");
    const long long med = dproto == bus::kPcie ? media::kSsd : d.choice("media", "hdd", kMedia);
    const long long st = d.choice("state", raid ? "ready" : "nonraid", kDiskStates);
    uint32_t attrs = 0;
    std::string addr, encIds;
    int64_t parent;
    if (enc >= 0) {
        const Object& e = at(encs[static_cast<size_t>(enc)]);
        encIds = e.get("EnclosureID");
        addr = cs + ":" + encIds + std::string(":") + std::to_string(slot);
        attrs |= diskattr::kInEnclosure;
        parent = e.oid;
    } else {
        addr = cs + std::string(":") + std::to_string(slot);
        parent = connOid;
    }
    if (d.flag("hotspare", false)) {
        if (!raid || st != state::kReady)
            d.child("hotspare").fail("only a ready disk on a RAID controller can be a hot spare");
        attrs |= diskattr::kGlobalHotSpare;
    }
    Object& o = add(kind::kDisk, gno, parent, addr);
    o.set("Channel", cs);
    o.set("TargetID", std::to_string(slot));
    if (enc >= 0) o.set("EnclosureID", encIds);
    o.set("Name", "Physical Disk " + addr);
    o.set("BusProtocol", std::to_string(dproto));
    o.set("MediaType", std::to_string(med));
    o.set("ObjState", std::to_string(st));
    const long long gb = d.integer("capacity_gb", med == media::kSsd ? 960 : 2400, 1, 1 << 24);
    o.set("Length", std::to_string(gb * kGiB));
    o.set("Vendor", d.text("vendor", "Kestrel"));
    // The default product id names the capacity the disk has.
    o.set("ProductID",
          d.text("model", (med == media::kSsd ? "KS-E3 " : "KH-10K ") + capacityLabel(gb)));
    o.set("SerialNo", d.text("serial", std::string("S") + std::to_string(700000 + o.oid)));
    o.set("FirmwareVer", d.text("firmware", "KA02"));
    o.set("IsDeviceNVME", dproto == bus::kPcie ? "1" : "0");
    o.set("ISECapable", d.flag("ise", med == media::kSsd) ? "1" : "0");
    o.set("WriteCache", d.flag("write_cache", false) ? "1" : "0");
    o.set("diskwritecachepolicy", "8");
    o.set("InCachePool", "0");
    o.set("Clearing", "0");
    o.set("ReplacingMember", "0");
    o.set("AttributesMask", toMask(attrs));
    apply(o, d.props());
}

std::vector<int64_t> Builder::resolveDisks(const Node& list, int64_t gno) {
    std::vector<int64_t> out;
    if (!list.raw().is_array() || list.raw().empty())
        list.fail("expected a non-empty array of disk ids");
    for (size_t i = 0; i < list.raw().size(); ++i) {
        Node d(list.raw()[i], list.path() + std::string("[") + std::to_string(i) + "]");
        if (!d.raw().is_string()) d.fail("expected a disk id such as \"0:0:1\"");
        const Object* o = estate.find(kind::kDisk, gno, d.raw().get<std::string>());
        if (!o)
            d.fail("no disk " + d.raw().get<std::string>() + " on controller " +
                   std::to_string(gno));
        if (o->num("ObjState") != state::kReady ||
            fromMask(o->get("AttributesMask")) &
                (diskattr::kVdMember | diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare))
            d.fail("disk " + o->addr + " is not a free ready disk");
        out.push_back(o->oid);
    }
    return out;
}

void Builder::vdisk(const Node& v, int64_t gno, int64_t ctrlOid, std::vector<int64_t> members,
                    long long number) {
    v.expectObject({"count", "disks_each", "name", "raid", "disks", "stripe", "read", "write",
                    "cache", "disk_cache", "state", "spans", "dedicated_hot_spares", "partitions",
                    "cachecade", "props"});
    const bool ssc = v.flag("cachecade", false);
    const long long layout = ssc ? raidlevel::kR0 : v.choice("raid", "r1", kRaidLevels);
    const long long n = static_cast<long long>(members.size());
    const RaidLayout& rl = *findLayout(layout);
    if (n < rl.minDisks)
        v.fail(std::string("RAID layout ") + std::to_string(layout) + " needs at least " +
               std::to_string(rl.minDisks) + " disks");
    const long long spans = v.integer("spans", rl.spanned ? 2 : 1, 1, 8);
    if (n % spans)
        v.fail(std::string("the disks do not divide into ") + std::to_string(spans) + " spans");
    const std::string num = std::to_string(number);
    const long long st = v.choice("state", "ready", kVdStates);
    std::string name = v.text("name", ssc ? "CacheCade" + num : "VirtualDisk" + num);
    if (v.has("count")) name += num;
    const int64_t vdOid = addVdisk(
        estate, {.ctrlOid = ctrlOid,
                 .disks = members,
                 .layout = &rl,
                 .spans = spans,
                 .number = number,
                 .name = name,
                 .device = "/dev/sd" + std::string(1, static_cast<char>('a' + number % 26)) +
                           (number >= 26 ? std::to_string(number / 26) : ""),
                 .stripe = std::to_string(v.choice("stripe", "64kb", kStripeSizes)),
                 .read = std::to_string(v.choice("read", "ra", kReadPolicies)),
                 .write = std::to_string(v.choice("write", "wb", kWritePolicies)),
                 .cache = std::to_string(v.choice("cache", "d", kCachePolicies)),
                 .diskCache = std::to_string(v.choice("disk_cache", "default", kDiskCachePolicies)),
                 .length = smallestLength(estate, members) * rl.dataDisks(n, spans),
                 .state = static_cast<int>(st),
                 .cachecade = ssc});
    apply(at(vdOid), v.props());
    if (v.has("dedicated_hot_spares")) {
        Node l = v.child("dedicated_hot_spares");
        for (int64_t h : resolveDisks(l, gno)) {
            Object& d = at(h);
            d.set("AttributesMask",
                  toMask(fromMask(d.get("AttributesMask")) | diskattr::kDedicatedHotSpare));
            d.set("_dhs", std::to_string(vdOid));
        }
    }
    long long pn = 0;
    for (const Node& p : v.array("partitions")) {
        p.expectObject({"path", "length_gb", "props"});
        std::string path = p.text("path", "");
        if (path.empty()) p.fail("a partition needs a path");
        Object& o = add(kind::kPartition, gno, vdOid, num + "/" + path);
        o.set("LogicalDriveNum", num);
        o.set("PartitionPath", path);
        o.set("Index", std::to_string(pn++));
        o.set("Length", std::to_string(p.integer("length_gb", 100, 1, 1 << 24) * kGiB));
        o.set("TarnCache", "0");
        o.set("ObjState", "1");
        apply(o, p.props());
    }
}

// ---- addresses ----------------------------------------------------------
struct AddrWord {
    std::string_view word;
    std::string_view kind;
};
// clang-format off
constexpr std::array kAddrWords{
    AddrWord{"pdisk", kind::kDisk},        AddrWord{"adisk", kind::kDisk},
    AddrWord{"vdisk", kind::kVdisk},       AddrWord{"cachecade", kind::kVdisk},
    AddrWord{"battery", kind::kBattery},   AddrWord{"enclosure", kind::kEnclosure},
    AddrWord{"connector", kind::kConnector}, AddrWord{"channel", kind::kConnector},
    AddrWord{"fan", kind::kFan},           AddrWord{"pwrsupply", kind::kPowerSupply},
    AddrWord{"emm", kind::kEmm},           AddrWord{"tempprobe", kind::kProbe},
    AddrWord{"tape", kind::kTape},         AddrWord{"nvmeadapter", kind::kNvme},
    AddrWord{"nvmeid", kind::kNvme},       AddrWord{"partition", kind::kPartition},
    AddrWord{"span", kind::kSpan},         AddrWord{"cachedlun", kind::kCachedLun},
};
// clang-format on

bool isDigits(std::string_view s) {
    return !s.empty() &&
           std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool isAddressWord(std::string_view word) {
    if (word == "controller" || word == "ctrl" || word == "storage" || word == "globalinfo" ||
        word == "cachepool")
        return true;
    for (const AddrWord& w : kAddrWords)
        if (w.word == word) return true;
    return false;
}

const Object* findAddressed(const Estate& estate, const Address& address) {
    if (address.kind == kind::kCachedLun && address.ctrl < 0) {
        for (const Object* lun : estate.all(kind::kCachedLun))
            if (lun->addr == address.addr) return lun;
        return nullptr;
    }
    return estate.find(address.kind, address.ctrl, address.addr);
}

Address parseAddress(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream in(text);
    for (std::string w; in >> w;) words.push_back(w);
    return parseAddress(words);
}

Address parseAddress(const std::vector<std::string>& words) {
    Address a;
    std::map<std::string, std::string> given;
    for (const std::string& w : words) {
        if (w == "storage" || w == "globalinfo" || w == "cachepool") {
            given[w] = "";
            continue;
        }
        auto eq = w.find('=');
        if (eq == std::string::npos || eq == 0 || eq + 1 == w.size())
            throw Error("bad object word '" + w +
                        "': expected name=value, storage, globalinfo or cachepool");
        std::string k = w.substr(0, eq);
        if (k == "ctrl") k = "controller";
        if (!given.emplace(k, w.substr(eq + 1)).second)
            throw Error("object word '" + k + "' given twice");
    }
    if (given.empty()) throw Error("no object given (for example controller=0 pdisk=0:0:1)");
    for (auto root : {"storage", "globalinfo", "cachepool"})
        if (given.count(root)) {
            if (given.size() != 1) throw Error(std::string(root) + " takes no other words");
            a.kind = root;
            a.addr = root;
            return a;
        }
    if (auto c = given.find("cachedlun"); c != given.end() && !given.count("controller")) {
        // cached LUNs are named without a controller; look them up by name alone
        a.kind = std::string(kind::kCachedLun);
        a.addr = c->second;
        return a;
    }
    auto c = given.find("controller");
    if (c == given.end()) throw Error("controller=N is required");
    if (!isDigits(c->second)) throw Error("bad controller '" + c->second + "': expected a number");
    a.ctrl = std::stoll(c->second);
    given.erase(c);
    a.kind = std::string(kind::kController);
    a.addr = std::to_string(a.ctrl);
    if (given.empty()) return a;
    // The most specific word decides the kind; the enclosure and virtual disk
    // words only qualify components and partitions/spans.
    std::string encl = given.count("enclosure") ? given["enclosure"] : "";
    std::string vd = given.count("vdisk") ? given["vdisk"] : "";
    bool found = false;
    for (const AddrWord& w : kAddrWords) {
        auto it = given.find(std::string(w.word));
        if (it == given.end()) continue;
        if ((w.word == "enclosure" && given.size() > 1) || (w.word == "vdisk" && given.size() > 1))
            continue;
        if (found)
            throw Error("more than one object named: " + a.kind + " and " + std::string(w.word));
        found = true;
        a.kind = std::string(w.kind);
        a.addr = it->second;
        if (w.kind == kind::kFan || w.kind == kind::kPowerSupply || w.kind == kind::kEmm ||
            w.kind == kind::kProbe) {
            if (encl.empty()) throw Error(std::string(w.word) + " needs enclosure=...");
            a.addr = encl + "/" + it->second;
        } else if (w.kind == kind::kPartition || w.kind == kind::kSpan) {
            if (vd.empty()) throw Error(std::string(w.word) + " needs vdisk=N");
            a.addr = vd + "/" + it->second;
        }
    }
    if (!found) {
        std::string first = given.begin()->first;
        throw Error("unknown object word '" + first + "'");
    }
    return a;
}

std::string readProfile(const std::filesystem::path& file) {
    // Only a regular file is read, and only up to the size limit: a FIFO or
    // a device would block or never end.
    vk::os::InputFile in(file);
    if (in.problem() == vk::os::InputFile::Problem::kCannotOpen)
        throw Error("cannot read profile " + file.string() + ": " + in.error());
    if (in.problem() == vk::os::InputFile::Problem::kNotRegular)
        throw Error("profile " + file.string() + " is not a regular file");
    if (in.size() > kMaxProfileBytes)
        throw Error("profile " + file.string() + " is larger than " +
                    std::to_string(kMaxProfileBytes >> 20) + " MiB");
    std::string text;
    if (!in.Read(text)) throw Error("cannot read profile " + file.string() + ": " + in.error());
    return text;
}

nlohmann::json parseProfileText(const std::string& text, const std::string& origin) {
    try {
        return json::parse(text);
    } catch (const json::parse_error& e) {
        // In our words, with the place: the library's own text names itself.
        const bool encoding = std::string_view(e.what()).find("UTF-8") != std::string_view::npos;
        throw Error(origin +
                    (encoding ? ": not valid UTF-8 at byte " : ": not valid JSON at byte ") +
                    std::to_string(e.byte));
    } catch (const json::exception&) {
        // the only other failure of parsing: a number too large for a double
        throw Error(origin + ": a number in it is too large");
    }
}

Estate buildEstate(const std::string& text, const std::string& origin) {
    const json j = parseProfileText(text, origin);
    Builder b;
    try {
        checkProfileText(j);
        b.build(Node(j, "$"));
    } catch (const Error& e) {
        throw Error(origin + ": " + e.what());
    } catch (const json::exception& e) {
        throw Error(origin + ": " + e.what());
    }
    return std::move(b.estate);
}

std::filesystem::path profilesDir() {
    namespace fs = std::filesystem;
    if (const char* s = std::getenv("VK_SHARE_DIR"); s && *s) return fs::path(s) / "profiles";
    if (const auto module = vk::os::ModuleContaining(reinterpret_cast<void*>(&profilesDir))) {
        fs::path self = fs::weakly_canonical(module->file);
        std::string why;
        if (self.filename() != "" && !fs::exists(self)) self = vk::os::ProgramFile(why);
        // module: lib/vk/agents/libkvda.so; program: bin/kvda
        fs::path rel = self.parent_path().filename() == "agents" ? "../../../share/vk/profiles"
                                                                 : "../share/vk/profiles";
        fs::path p = (self.parent_path() / rel).lexically_normal();
        if (fs::is_directory(p)) return p;
    }
    return fs::path("/usr/share/vk/profiles");
}

std::filesystem::path resolveProfile(const std::string& nameOrPath) {
    namespace fs = std::filesystem;
    if (fs::path(nameOrPath).has_parent_path() || nameOrPath.ends_with(".json"))
        return fs::path(nameOrPath);
    return profilesDir() / (nameOrPath + ".json");
}

}  // namespace kvda
