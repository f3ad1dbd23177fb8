#include "model.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace kvda {

const std::string* Object::find(std::string_view tag) const {
    for (const auto& [k, v] : props)
        if (k == tag) return &v;
    return nullptr;
}

const std::string* Object::value(std::string_view tag) const {
    if (!overrides.empty()) {
        auto o = overrides.find(tag);
        if (o != overrides.end()) return &o->second;
    }
    return find(tag);
}

std::string Object::get(std::string_view tag) const {
    const std::string* v = value(tag);
    return v ? *v : std::string();
}

long long Object::num(std::string_view tag) const {
    const std::string* v = value(tag);
    long long n = 0;
    if (v) std::from_chars(v->data(), v->data() + v->size(), n);
    return n;
}

void Object::set(std::string_view tag, std::string value) {
    for (auto& [k, v] : props)
        if (k == tag) {
            v = std::move(value);
            return;
        }
    props.emplace_back(std::string(tag), std::move(value));
}

void Object::erase(std::string_view tag) {
    std::erase_if(props, [&](const auto& p) { return p.first == tag; });
}

const RaidLayout* findLayout(long long code) {
    for (const RaidLayout& l : kRaidLayouts)
        if (l.code == code) return &l;
    return nullptr;
}

std::string toMask(uint32_t value) {
    std::string out(32, '0');
    for (int i = 0; i < 32; ++i)
        if (value & (1u << (31 - i))) out[static_cast<size_t>(i)] = '1';
    return out;
}

uint32_t fromMask(std::string_view text) {
    uint32_t v = 0;
    for (char c : text) {
        if (c != '0' && c != '1') break;
        v = (v << 1) | static_cast<uint32_t>(c - '0');
    }
    return v;
}

// ---- method masks --------------------------------------------------------
// Each rule row names an object kind, the mask pair it feeds (0: the
// "MasterMethodMask"/"CurrentMethodMask" pair, 1: the "...1" pair), the
// operation bit, when the object supports it at all and when it can carry it
// out now. Predicates read the effective (overridden) state.
namespace {

struct Ctx {
    const Estate& estate;
    const Object& obj;
    const Object* ctrl;
    DiskSummary disks;
    int st() const { return static_cast<int>(obj.num("ObjState")); }
    uint32_t attrs() const { return fromMask(obj.get("AttributesMask")); }
    uint32_t ctrlAttrs() const { return ctrl ? fromMask(ctrl->get("AttributesMask")) : 0; }
    bool raidMode() const { return ctrl && ctrl->num("ControllerMode") == 1; }
};

using Pred = bool (*)(const Ctx&);

// A tag name as a template argument, so that one predicate reads any tag.
template <size_t N>
struct TagName {
    char text[N];
    // not explicit: template arguments are written as string literals
    constexpr TagName(const char (&s)[N]) { std::copy_n(s, N, text); }
    constexpr std::string_view view() const { return {text, N - 1}; }
};

// The object's tag `T` is (or is not) `V`.
template <TagName T, long long V>
bool is(const Ctx& c) {
    return c.obj.num(T.view()) == V;
}
template <TagName T, long long V>
bool isNot(const Ctx& c) {
    return c.obj.num(T.view()) != V;
}
// The object is in state `S`.
template <int S>
bool stateIs(const Ctx& c) {
    return c.st() == S;
}

bool always(const Ctx&) {
    return true;
}
bool raidMode(const Ctx& c) {
    return c.raidMode() || (c.obj.kind == kind::kController && c.obj.num("ControllerMode") == 1);
}
// Controllers and enclosures.
bool alarmOff(const Ctx& c) {
    return is<"AlarmPresent", 1>(c) && is<"AlarmState", 0>(c);
}
bool alarmOn(const Ctx& c) {
    return is<"AlarmPresent", 1>(c) && is<"AlarmState", 1>(c);
}

bool ctrlSecurity(const Ctx& c) {
    return c.attrs() & ctrlattr::kKeyManagement;
}
bool ctrlCacheCade(const Ctx& c) {
    return c.attrs() & ctrlattr::kCacheCade;
}
bool ctrlHasRoom(const Ctx& c) {
    return c.estate.count(kind::kVdisk, c.obj.num("GlobalNo")) < c.obj.num("MaxVDAllowed") &&
           c.disks.readyFree;
}
bool ctrlHasVdisks(const Ctx& c) {
    return c.estate.count(kind::kVdisk, c.obj.num("GlobalNo")) > 0;
}
bool ctrlHasForeign(const Ctx& c) {
    return c.disks.foreign;
}
bool ctrlPatrolManualIdle(const Ctx& c) {
    return is<"PatrolReadMode", 2>(c) && isNot<"PatrolReadState", 1>(c);
}
bool ctrlHasNonRaid(const Ctx& c) {
    return c.disks.nonRaid;
}
bool ctrlHasReady(const Ctx& c) {
    return c.disks.ready;
}

bool diskReadyFree(const Ctx& c) {
    return c.st() == state::kReady &&
           !(c.attrs() & (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare));
}
bool diskGlobalSpare(const Ctx& c) {
    return c.attrs() & diskattr::kGlobalHotSpare;
}
bool diskPresent(const Ctx& c) {
    return c.st() != state::kRemoved;
}
bool diskRebuildable(const Ctx& c) {
    return (c.st() == state::kFailed || c.st() == state::kOffline) && !c.obj.get("_vd").empty();
}
bool diskRemovable(const Ctx& c) {
    return c.st() == state::kReady || c.st() == state::kFailed || c.st() == state::kOffline;
}
bool diskIseNow(const Ctx& c) {
    return is<"ISECapable", 1>(c) && (c.st() == state::kReady || c.st() == state::kNonRaid);
}
bool diskCacheOff(const Ctx& c) {
    return diskPresent(c) && isNot<"WriteCache", 1>(c);
}
bool diskCacheOn(const Ctx& c) {
    return diskPresent(c) && is<"WriteCache", 1>(c);
}
bool diskNotInPool(const Ctx& c) {
    return is<"BusProtocol", bus::kPcie>(c) && isNot<"InCachePool", 1>(c) &&
           c.st() == state::kReady;
}
bool diskPoolFailed(const Ctx& c) {
    return is<"InCachePool", 1>(c) && c.st() == state::kFailed;
}

bool vdUsable(const Ctx& c) {
    return c.st() != state::kFailed;
}
bool vdRedundant(const Ctx& c) {
    return c.obj.num("Layout") != raidlevel::kR0 && isNot<"IsSSC", 1>(c);
}
bool vdRedundantReady(const Ctx& c) {
    return c.st() == state::kReady && vdRedundant(c) && is<"CCState", 0>(c);
}
bool vdSecurable(const Ctx& c) {
    return (c.ctrlAttrs() & ctrlattr::kSecurityKeyPresent) && isNot<"Secured", 1>(c);
}
bool vdSecurity(const Ctx& c) {
    return c.ctrlAttrs() & ctrlattr::kKeyManagement;
}
bool vdCacheOff(const Ctx& c) {
    return is<"TarnCache", 0>(c) && vdUsable(c);
}

bool batNotLearning(const Ctx& c) {
    return c.st() == state::kReady && is<"LearnState", 0>(c);
}
bool batLearnDue(const Ctx& c) {
    return is<"LearnMode", 1>(c) && c.st() == state::kReady;
}

bool encProbes(const Ctx& c) {
    return !c.estate.children(kind::kProbe, c.obj.oid).empty();
}

struct Rule {
    std::string_view kind;
    int pair;
    uint32_t bit;
    Pred supported;
    Pred possible;
};

// clang-format off
constexpr std::array kRules{
    // storage root
    Rule{kind::kStorage,    0, 0x1,        always,                        always},                      // globalrescan
    Rule{kind::kStorage,    0, 0x2,        always,                        always},                      // enablests
    Rule{kind::kStorage,    0, 0x4,        always,                        always},                      // disablests
    Rule{kind::kStorage,    0, 0x8,        always,                        always},                      // setprotectionpolicies
    Rule{kind::kStorage,    0, 0x10,       always,                        always},                      // write endurance threshold
    // controller
    Rule{kind::kController, 0, 0x1,        always,                        always},                      // rescan
    Rule{kind::kController, 0, 0x2,        is<"ControllerMode", 1>,       always},                      // flush
    Rule{kind::kController, 0, 0x4,        is<"AlarmPresent", 1>,         alarmOff},                    // enablealarm
    Rule{kind::kController, 0, 0x8,        is<"AlarmPresent", 1>,         alarmOn},                     // disablealarm
    Rule{kind::kController, 0, 0x10,       is<"AlarmPresent", 1>,         alarmOn},                     // quietalarm
    Rule{kind::kController, 0, 0x20,       is<"ControllerMode", 1>,       always},                      // setrebuildrate
    Rule{kind::kController, 0, 0x40,       is<"ControllerMode", 1>,       ctrlHasRoom},                 // createvdisk
    Rule{kind::kController, 0, 0x80,       is<"ControllerMode", 1>,       ctrlHasVdisks},               // resetconfig
    Rule{kind::kController, 0, 0x100,      always,                        always},                      // exportlog
    Rule{kind::kController, 0, 0x800,      is<"AlarmPresent", 1>,         always},                      // testalarm
    Rule{kind::kController, 0, 0x2000,     is<"ControllerMode", 1>,       always},                      // setbgirate
    Rule{kind::kController, 0, 0x4000,     is<"ControllerMode", 1>,       always},                      // setcheckconsistencyrate
    Rule{kind::kController, 0, 0x8000,     is<"ControllerMode", 1>,       always},                      // setpatrolreadrate
    Rule{kind::kController, 0, 0x10000,    is<"ControllerMode", 1>,       always},                      // setreconstructrate
    Rule{kind::kController, 0, 0x80000,    always,                        always},                      // dumpevents
    Rule{kind::kController, 0, 0x100000,   is<"ControllerMode", 1>,       always},                      // setpatrolreadmode
    Rule{kind::kController, 0, 0x200000,   is<"ControllerMode", 1>,       ctrlPatrolManualIdle},        // startpatrolread
    Rule{kind::kController, 0, 0x400000,   is<"ControllerMode", 1>,       is<"PatrolReadState", 1>},    // stoppatrolread
    Rule{kind::kController, 0, 0x800000,   is<"ControllerMode", 1>,       ctrlHasForeign},              // clearforeignconfig
    Rule{kind::kController, 0, 0x1000000,  is<"ControllerMode", 1>,       ctrlHasForeign},              // importforeignconfig
    Rule{kind::kController, 0, 0x2000000,  is<"ControllerMode", 1>,       ctrlHasForeign},              // importrecoverforeignconfig
    Rule{kind::kController, 0, 0x4000000,  is<"ControllerMode", 1>,       always},                      // setchangecontrollerproperties
    Rule{kind::kController, 0, 0x8000000,  always,                        always},                      // changedrivecache
    Rule{kind::kController, 0, 0x10000000, is<"ControllerMode", 1>,       is<"PreservedCache", 1>},     // discardpreservedcache
    Rule{kind::kController, 0, 0x40000000, ctrlSecurity,                  always},                      // security key actions
    Rule{kind::kController, 1, 0x1,        ctrlCacheCade,                 ctrlHasReady},                // createcachecade
    Rule{kind::kController, 1, 0x2,        is<"ControllerMode", 1>,       ctrlHasNonRaid},              // convertNonRAIDtoRAID
    Rule{kind::kController, 1, 0x4,        is<"ControllerMode", 1>,       ctrlHasReady},                // convertRAIDtoNonRAID
    Rule{kind::kController, 1, 0x8,        always,                        always},                      // setcontrollermode
    Rule{kind::kController, 1, 0x10,       is<"ControllerMode", 1>,       ctrlHasReady},                // autoconfigureRAID0
    // connector, NVMe adapter
    Rule{kind::kConnector,  0, 0x1,        always,                        always},                      // rescan
    Rule{kind::kNvme,       0, 0x1,        always,                        always},                      // rescan
    Rule{kind::kNvme,       0, 0x200000,   is<"ISECapable", 1>,           always},                      // cryptographicerase
    Rule{kind::kNvme,       0, 0x4000000,  always,                        always},                      // exportlog
    // enclosure
    Rule{kind::kEnclosure,  0, 0x1,        is<"AlarmPresent", 1>,         alarmOff},                    // enablealarm
    Rule{kind::kEnclosure,  0, 0x2,        is<"AlarmPresent", 1>,         alarmOn},                     // disablealarm
    Rule{kind::kEnclosure,  0, 0x4,        is<"EnclosureType", 2>,        always},                      // asset data
    Rule{kind::kEnclosure,  0, 0x8,        encProbes,                     always},                      // settempprobes
    Rule{kind::kEnclosure,  0, 0x40,       always,                        always},                      // blink
    Rule{kind::kEnclosure,  0, 0x80,       encProbes,                     always},                      // setalltempprobes
    Rule{kind::kEnclosure,  0, 0x100,      always,                        always},                      // unblink
    Rule{kind::kEnclosure,  0, 0x200,      always,                        always},                      // pdslotreport
    // battery
    Rule{kind::kBattery,    0, 0x1,        always,                        stateIs<state::kReady>},      // recondition
    Rule{kind::kBattery,    0, 0x2,        always,                        batNotLearning},              // startlearn
    Rule{kind::kBattery,    0, 0x4,        always,                        batLearnDue},                 // delaylearn
    // physical disk
    Rule{kind::kDisk,       0, 0x1,        always,                        diskPresent},                 // blink
    Rule{kind::kDisk,       0, 0x2,        always,                        diskPresent},                 // unblink
    Rule{kind::kDisk,       0, 0x10,       raidMode,                      diskReadyFree},               // assignglobalhotspare
    Rule{kind::kDisk,       0, 0x20,       raidMode,                      diskGlobalSpare},             // unassignglobalhotspare
    Rule{kind::kDisk,       0, 0x40,       raidMode,                      stateIs<state::kOffline>},    // online
    Rule{kind::kDisk,       0, 0x80,       raidMode,                      stateIs<state::kOnline>},     // offline
    Rule{kind::kDisk,       0, 0x100,      always,                        diskRemovable},               // remove
    Rule{kind::kDisk,       0, 0x400,      raidMode,                      diskRebuildable},             // rebuild
    Rule{kind::kDisk,       0, 0x800,      raidMode,                      stateIs<state::kRebuilding>}, // cancelrebuild
    Rule{kind::kDisk,       0, 0x1000,     raidMode,                      stateIs<state::kReady>},      // initialize
    Rule{kind::kDisk,       0, 0x10000,    raidMode,                      diskReadyFree},               // clear
    Rule{kind::kDisk,       0, 0x20000,    raidMode,                      is<"Clearing", 1>},           // cancelclear
    Rule{kind::kDisk,       0, 0x80000,    raidMode,                      is<"ReplacingMember", 1>},    // cancelreplacemember
    Rule{kind::kDisk,       0, 0x200000,   is<"ISECapable", 1>,           diskIseNow},                  // instant secure erase
    Rule{kind::kDisk,       0, 0x400000,   raidMode,                      diskReadyFree},               // convertRAIDtoNonRAID
    Rule{kind::kDisk,       0, 0x800000,   raidMode,                      stateIs<state::kNonRaid>},    // convertNonRAIDtoRAID
    Rule{kind::kDisk,       0, 0x1000000,  always,                        diskCacheOff},                // enabledevicewritecache
    Rule{kind::kDisk,       0, 0x2000000,  always,                        diskCacheOn},                 // disabledevicewritecache
    Rule{kind::kDisk,       0, 0x4000000,  is<"MediaType", media::kSsd>,  diskPresent},                 // exportlog
    Rule{kind::kDisk,       0, 0x8000000,  is<"BusProtocol", bus::kPcie>, diskNotInPool},               // addtocachepool
    Rule{kind::kDisk,       0, 0x10000000, is<"BusProtocol", bus::kPcie>, is<"InCachePool", 1>},        // removefromcachepool
    Rule{kind::kDisk,       0, 0x20000000, is<"BusProtocol", bus::kPcie>, diskPoolFailed},              // reactivate
    // virtual disk
    Rule{kind::kVdisk,      0, 0x1,        always,                        stateIs<state::kReady>},      // reconfigure
    Rule{kind::kVdisk,      0, 0x10,       always,                        always},                      // deletevdisk
    Rule{kind::kVdisk,      0, 0x20,       vdRedundant,                   vdRedundantReady},            // checkconsistency
    Rule{kind::kVdisk,      0, 0x40,       always,                        stateIs<state::kReady>},      // initialize
    Rule{kind::kVdisk,      0, 0x80,       vdRedundant,                   vdUsable},                    // assigndedicatedhotspare
    Rule{kind::kVdisk,      0, 0x100,      always,                        vdUsable},                    // blink
    Rule{kind::kVdisk,      0, 0x200,      always,                        vdUsable},                    // unblink
    Rule{kind::kVdisk,      0, 0x400,      always,                        always},                      // rename
    Rule{kind::kVdisk,      0, 0x800,      vdRedundant,                   isNot<"CCState", 0>},         // cancelcheckconsistency
    Rule{kind::kVdisk,      0, 0x1000,     always,                        is<"InitState", 1>},          // cancelinitialize
    Rule{kind::kVdisk,      0, 0x8000,     vdRedundant,                   stateIs<state::kRebuilding>}, // cancelrebuild
    Rule{kind::kVdisk,      0, 0x10000,    vdRedundant,                   is<"CCState", 1>},            // pausecheckconsistency
    Rule{kind::kVdisk,      0, 0x20000,    vdRedundant,                   is<"CCState", 2>},            // resumecheckconsistency
    Rule{kind::kVdisk,      0, 0x40000,    always,                        is<"ReconfigState", 1>},      // cancelreconfigure
    Rule{kind::kVdisk,      0, 0x80000,    always,                        vdUsable},                    // changepolicy
    Rule{kind::kVdisk,      0, 0x100000,   always,                        is<"InitState", 2>},          // cancelbginitialize
    Rule{kind::kVdisk,      0, 0x400000,   always,                        stateIs<state::kReady>},      // slowinit
    Rule{kind::kVdisk,      0, 0x800000,   always,                        stateIs<state::kReady>},      // fastinit
    Rule{kind::kVdisk,      0, 0x1000000,  vdRedundant,                   stateIs<state::kReady>},      // replacememberdisk
    Rule{kind::kVdisk,      0, 0x8000000,  vdSecurity,                    vdSecurable},                 // SecureVD
    Rule{kind::kVdisk,      0, 0x10000000, always,                        stateIs<state::kReady>},      // resize
    Rule{kind::kVdisk,      0, 0x20000000, always,                        vdCacheOff},                  // enabletarncache
    Rule{kind::kVdisk,      0, 0x40000000, always,                        is<"TarnCache", 1>},          // disabletarncache
    Rule{kind::kVdisk,      0, 0x80000000, always,                        is<"TarnCache", 2>},          // reactivate
    Rule{kind::kPartition,  0, 0x20000000, always,                        vdCacheOff},                  // enabletarncache
    Rule{kind::kPartition,  0, 0x40000000, always,                        is<"TarnCache", 1>},          // disabletarncache
    Rule{kind::kPartition,  0, 0x80000000, always,                        is<"TarnCache", 2>},          // reactivate
    Rule{kind::kCachedLun,  0, 0x1,        always,                        always},                      // disablewithdiscard
};
// clang-format on

struct MaskTags {
    std::string_view master;
    std::string_view current;
};
constexpr std::array<MaskTags, 2> kMaskTags{
    {{"MasterMethodMask", "CurrentMethodMask"}, {"MasterMethodMask1", "CurrentMethodMask1"}}};

}  // namespace

Props effectiveProps(const Estate& estate, const Object& obj) {
    const Object* ctrl = obj.ctrl >= 0
                             ? estate.find(kind::kController, obj.ctrl, std::to_string(obj.ctrl))
                             : nullptr;
    Ctx ctx{estate, obj, ctrl,
            obj.kind == kind::kController ? estate.diskSummary(obj.ctrl) : DiskSummary{}};
    std::array<uint32_t, 2> master{}, current{};
    bool any[2] = {false, false};
    for (const Rule& r : kRules) {
        if (r.kind != obj.kind) continue;
        auto p = static_cast<size_t>(r.pair);
        any[p] = true;
        if (!r.supported(ctx)) continue;
        master[p] |= r.bit;
        if (r.possible(ctx)) current[p] |= r.bit;
    }
    Props out;
    out.reserve(obj.props.size() + 4 + obj.overrides.size());
    for (const auto& kv : obj.props)
        if (!kv.first.starts_with('_')) out.push_back(kv);
    for (size_t p = 0; p < 2; ++p) {
        if (!any[p]) continue;
        out.emplace_back(kMaskTags[p].master, toMask(master[p]));
        out.emplace_back(kMaskTags[p].current, toMask(current[p]));
    }
    for (const auto& [tag, value] : obj.overrides) {
        bool replaced = false;
        for (auto& kv : out)
            if (kv.first == tag) {
                kv.second = value;
                replaced = true;
            }
        if (!replaced) out.emplace_back(tag, value);
    }
    return out;
}

}  // namespace kvda
