#include "methods.h"

#include <algorithm>
#include <array>

#include "mechanics.h"

namespace kvda {

namespace method = vk::method;

std::string whyNotFree(const Object& d) {
    const uint32_t a = fromMask(d.get("AttributesMask"));
    if (d.num("ObjState") != state::kReady)
        return "disk " + d.addr + " is not ready (state " + d.get("ObjState") + ")";
    if (a & diskattr::kGlobalHotSpare) return "disk " + d.addr + " is a global hot spare";
    if (a & diskattr::kDedicatedHotSpare) return "disk " + d.addr + " is a dedicated hot spare";
    if (a & (diskattr::kVdMember | diskattr::kCacheCade) || !d.get("_vd").empty())
        return "disk " + d.addr + " already belongs to a virtual disk";
    if (d.num("Clearing") == 1) return "disk " + d.addr + " is being cleared";
    if (d.num("ReplacingMember") == 1) return "disk " + d.addr + " is replacing a member";
    return "";
}

bool redundant(const Object& vd) {
    const long long layout = vd.num("Layout");
    return layout != raidlevel::kConcat && layout != raidlevel::kR0 && vd.num("IsSSC") != 1;
}

bool busy(const Object& o) {
    return o.find("_op") != nullptr;
}

// Each rule names the operation's bit (the kind of object and the mask pair
// come with it), when the object supports the operation at all and when it
// can carry it out now. Predicates read the effective (overridden) state.
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

Ctx contextOf(const Estate& estate, const Object& obj) {
    const Object* ctrl = obj.ctrl >= 0
                             ? estate.find(kind::kController, obj.ctrl, std::to_string(obj.ctrl))
                             : nullptr;
    return {estate, obj, ctrl,
            obj.kind == kind::kController ? estate.diskSummary(obj.ctrl) : DiskSummary{}};
}

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
// Ready, and no operation runs.
bool readyIdle(const Ctx& c) {
    return c.st() == state::kReady && !busy(c.obj);
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

bool diskFree(const Ctx& c) {
    return whyNotFree(c.obj).empty();
}
bool diskGlobalSpare(const Ctx& c) {
    return c.attrs() & diskattr::kGlobalHotSpare;
}
bool diskPresent(const Ctx& c) {
    return c.st() != state::kRemoved;
}
// A failed or offline member of a virtual disk that has not failed itself:
// there is data to rebuild from.
bool diskRebuildable(const Ctx& c) {
    if (c.st() != state::kFailed && c.st() != state::kOffline) return false;
    const Object* vd = c.obj.get("_vd").empty() ? nullptr : c.estate.byOid(c.obj.num("_vd"));
    return vd && vd->num("ObjState") != state::kFailed;
}
bool diskRemovable(const Ctx& c) {
    return (c.st() == state::kReady || c.st() == state::kFailed || c.st() == state::kOffline ||
            c.st() == state::kNonRaid) &&
           !(c.attrs() & (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare));
}
bool diskHasSegments(const Ctx& c) {
    return c.st() == state::kReady || c.st() == state::kOnline;
}
bool diskErasableNow(const Ctx& c) {
    return c.st() == state::kNonRaid || c.st() == state::kForeign ||
           (c.st() == state::kReady && diskFree(c));
}
bool diskCacheOff(const Ctx& c) {
    return diskPresent(c) && isNot<"WriteCache", 1>(c);
}
bool diskCacheOn(const Ctx& c) {
    return diskPresent(c) && is<"WriteCache", 1>(c);
}
bool diskNotInPool(const Ctx& c) {
    return isNot<"InCachePool", 1>(c) && diskFree(c);
}
bool diskPoolFailed(const Ctx& c) {
    return is<"InCachePool", 1>(c) && c.st() == state::kFailed;
}

bool vdUsable(const Ctx& c) {
    return c.st() != state::kFailed;
}
bool vdRedundant(const Ctx& c) {
    return redundant(c.obj);
}
bool vdCheckable(const Ctx& c) {
    return readyIdle(c) && is<"CCState", 0>(c);
}
bool vdNamed(const Ctx& c) {
    return !(c.ctrlAttrs() & ctrlattr::kFixedDiskCachePolicy);
}
bool vdMirror(const Ctx& c) {
    return c.obj.num("Layout") == raidlevel::kR1;
}
bool vdSplittable(const Ctx& c) {
    return readyIdle(c) && memberOids(c.obj).size() == 2;
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
    vk::MethodBit operation;
    Pred supported;
    Pred possible;
};

namespace ctl = method::controller;
namespace dsk = method::disk;
namespace vd = method::vdisk;

// clang-format off
constexpr auto kRules = std::to_array<Rule>({
    // storage root
    {method::storage::kGlobalRescan,               always,                        always},
    {method::storage::kEnableSts,                  always,                        always},
    {method::storage::kDisableSts,                 always,                        always},
    {method::storage::kSetProtectionPolicies,      always,                        always},
    {method::storage::kSetWriteEnduranceThreshold, always,                        always},
    // controller
    {ctl::kRescan,                                 always,                        always},
    {ctl::kFlush,                                  is<"ControllerMode", 1>,       always},
    {ctl::kEnableAlarm,                            is<"AlarmPresent", 1>,         alarmOff},
    {ctl::kDisableAlarm,                           is<"AlarmPresent", 1>,         alarmOn},
    {ctl::kQuietAlarm,                             is<"AlarmPresent", 1>,         alarmOn},
    {ctl::kSetRebuildRate,                         is<"ControllerMode", 1>,       always},
    {ctl::kCreateVdisk,                            is<"ControllerMode", 1>,       ctrlHasRoom},
    {ctl::kResetConfig,                            is<"ControllerMode", 1>,       ctrlHasVdisks},
    {ctl::kExportLog,                              always,                        always},
    {ctl::kTestAlarm,                              is<"AlarmPresent", 1>,         always},
    {ctl::kSetBgiRate,                             is<"ControllerMode", 1>,       always},
    {ctl::kSetCheckConsistencyRate,                is<"ControllerMode", 1>,       always},
    {ctl::kSetPatrolReadRate,                      is<"ControllerMode", 1>,       always},
    {ctl::kSetReconstructRate,                     is<"ControllerMode", 1>,       always},
    {ctl::kDumpEvents,                             always,                        always},
    {ctl::kSetPatrolReadMode,                      is<"ControllerMode", 1>,       always},
    {ctl::kStartPatrolRead,                        is<"ControllerMode", 1>,       ctrlPatrolManualIdle},
    {ctl::kStopPatrolRead,                         is<"ControllerMode", 1>,       is<"PatrolReadState", 1>},
    {ctl::kClearForeignConfig,                     is<"ControllerMode", 1>,       ctrlHasForeign},
    {ctl::kImportForeignConfig,                    is<"ControllerMode", 1>,       ctrlHasForeign},
    {ctl::kImportRecoverForeignConfig,             is<"ControllerMode", 1>,       ctrlHasForeign},
    {ctl::kChangeProperties,                       is<"ControllerMode", 1>,       always},
    {ctl::kChangeDriveCache,                       always,                        always},
    {ctl::kDiscardPreservedCache,                  is<"ControllerMode", 1>,       is<"PreservedCache", 1>},
    {ctl::kSecurityKey,                            ctrlSecurity,                  always},
    {ctl::kCreateCachecade,                        ctrlCacheCade,                 ctrlHasRoom},
    {ctl::kConvertNonRaidToRaid,                   is<"ControllerMode", 1>,       ctrlHasNonRaid},
    {ctl::kConvertRaidToNonRaid,                   is<"ControllerMode", 1>,       ctrlHasReady},
    {ctl::kSetControllerMode,                      always,                        always},
    {ctl::kAutoConfigureRaid0,                     is<"ControllerMode", 1>,       ctrlHasReady},
    // connector, NVMe adapter
    {method::connector::kRescan,                   always,                        always},
    {method::nvme::kRescan,                        always,                        always},
    {method::nvme::kCryptographicErase,            is<"ISECapable", 1>,           always},
    {method::nvme::kExportLog,                     always,                        always},
    // enclosure
    {method::enclosure::kEnableAlarm,              is<"AlarmPresent", 1>,         alarmOff},
    {method::enclosure::kDisableAlarm,             is<"AlarmPresent", 1>,         alarmOn},
    {method::enclosure::kAssetData,                is<"EnclosureType", 2>,        always},
    {method::enclosure::kTempProbes,               encProbes,                     always},
    {method::enclosure::kBlink,                    always,                        always},
    {method::enclosure::kAllTempProbes,            encProbes,                     always},
    {method::enclosure::kUnblink,                  always,                        always},
    {method::enclosure::kSlotReport,               always,                        always},
    // battery
    {method::battery::kRecondition,                always,                        batNotLearning},
    {method::battery::kStartLearn,                 always,                        batNotLearning},
    {method::battery::kDelayLearn,                 always,                        batLearnDue},
    // physical disk
    {dsk::kBlink,                                  always,                        diskPresent},
    {dsk::kUnblink,                                always,                        diskPresent},
    {dsk::kAssignGlobalHotSpare,                   raidMode,                      diskFree},
    {dsk::kUnassignGlobalHotSpare,                 raidMode,                      diskGlobalSpare},
    {dsk::kOnline,                                 raidMode,                      stateIs<state::kOffline>},
    {dsk::kOffline,                                raidMode,                      stateIs<state::kOnline>},
    {dsk::kRemove,                                 always,                        diskRemovable},
    {dsk::kRebuild,                                raidMode,                      diskRebuildable},
    {dsk::kCancelRebuild,                          raidMode,                      stateIs<state::kRebuilding>},
    {dsk::kInitialize,                             raidMode,                      diskFree},
    {dsk::kRemoveDeadSegments,                     raidMode,                      diskHasSegments},
    {dsk::kClear,                                  raidMode,                      diskFree},
    {dsk::kCancelClear,                            raidMode,                      is<"Clearing", 1>},
    {dsk::kCancelReplaceMember,                    raidMode,                      is<"ReplacingMember", 1>},
    {dsk::kSecureErase,                            is<"ISECapable", 1>,           diskErasableNow},
    {dsk::kConvertRaidToNonRaid,                   raidMode,                      diskFree},
    {dsk::kConvertNonRaidToRaid,                   raidMode,                      stateIs<state::kNonRaid>},
    {dsk::kEnableWriteCache,                       always,                        diskCacheOff},
    {dsk::kDisableWriteCache,                      always,                        diskCacheOn},
    {dsk::kExportLog,                              is<"MediaType", media::kSsd>,  diskPresent},
    {dsk::kAddToCachePool,                         is<"BusProtocol", bus::kPcie>, diskNotInPool},
    {dsk::kRemoveFromCachePool,                    is<"BusProtocol", bus::kPcie>, is<"InCachePool", 1>},
    {dsk::kReactivate,                             is<"BusProtocol", bus::kPcie>, diskPoolFailed},
    // virtual disk
    {vd::kReconfigure,                             always,                        readyIdle},
    {vd::kFormat,                                  always,                        vdUsable},
    {vd::kRestoreSegments,                         always,                        vdUsable},
    {vd::kDelete,                                  always,                        always},
    {vd::kCheckConsistency,                        vdRedundant,                   vdCheckable},
    {vd::kInitialize,                              always,                        readyIdle},
    {vd::kAssignDedicatedHotSpare,                 vdRedundant,                   vdUsable},
    {vd::kBlink,                                   always,                        vdUsable},
    {vd::kUnblink,                                 always,                        vdUsable},
    {vd::kRename,                                  vdNamed,                       always},
    {vd::kCancelCheckConsistency,                  vdRedundant,                   isNot<"CCState", 0>},
    {vd::kCancelInitialize,                        always,                        is<"InitState", 1>},
    {vd::kSplitMirror,                             vdMirror,                      vdSplittable},
    {vd::kUnmirror,                                vdMirror,                      vdSplittable},
    {vd::kCancelRebuild,                           vdRedundant,                   stateIs<state::kRebuilding>},
    {vd::kPauseCheckConsistency,                   vdRedundant,                   is<"CCState", 1>},
    {vd::kResumeCheckConsistency,                  vdRedundant,                   is<"CCState", 2>},
    {vd::kCancelReconfigure,                       always,                        is<"ReconfigState", 1>},
    {vd::kChangePolicy,                            always,                        vdUsable},
    {vd::kCancelBgInitialize,                      always,                        is<"InitState", 2>},
    {vd::kSlowInit,                                always,                        readyIdle},
    {vd::kFastInit,                                always,                        readyIdle},
    {vd::kReplaceMember,                           vdRedundant,                   stateIs<state::kReady>},
    {vd::kClearBadBlocks,                          always,                        vdUsable},
    {vd::kSecure,                                  vdSecurity,                    vdSecurable},
    {vd::kResize,                                  always,                        readyIdle},
    {vd::kEnableCache,                             always,                        vdCacheOff},
    {vd::kDisableCache,                            always,                        is<"TarnCache", 1>},
    {vd::kReactivateCache,                         always,                        is<"TarnCache", 2>},
    // partition, cached LUN
    {method::partition::kEnableCache,              always,                        vdCacheOff},
    {method::partition::kDisableCache,             always,                        is<"TarnCache", 1>},
    {method::partition::kReactivateCache,          always,                        is<"TarnCache", 2>},
    {method::cachedlun::kDisableWithDiscard,       always,                        always},
});
// clang-format on

constexpr size_t kPairs = vk::kMethodMaskTags.size();

struct Masks {
    std::array<uint32_t, kPairs> master{}, current{};
    std::array<bool, kPairs> carried{};  // the kind carries the pair
};

Masks derive(const Estate& estate, const Object& obj) {
    const Ctx ctx = contextOf(estate, obj);
    Masks m;
    for (const Rule& r : kRules) {
        if (r.operation.object != obj.kind) continue;
        const size_t p = r.operation.pair;
        m.carried[p] = true;
        if (!r.supported(ctx)) continue;
        m.master[p] |= r.operation.bit;
        if (r.possible(ctx)) m.current[p] |= r.operation.bit;
    }
    return m;
}

}  // namespace

void appendMethodMasks(const Estate& estate, const Object& obj, Props& out) {
    const Masks m = derive(estate, obj);
    for (size_t p = 0; p < kPairs; ++p) {
        if (!m.carried[p]) continue;
        out.emplace_back(vk::kMethodMaskTags[p].master, toMask(m.master[p]));
        out.emplace_back(vk::kMethodMaskTags[p].current, toMask(m.current[p]));
    }
}

bool canNow(const Estate& estate, const Object& obj, const vk::MethodBit& operation) {
    if (operation.object != obj.kind) return false;
    const Masks m = derive(estate, obj);
    const vk::MethodMaskTags& tags = vk::kMethodMaskTags[operation.pair];
    const auto shown = [&](std::string_view tag, uint32_t derived) {
        const auto o = obj.overrides.find(tag);
        return o != obj.overrides.end() ? fromMask(o->second) : derived;
    };
    return (shown(tags.master, m.master[operation.pair]) & operation.bit) &&
           (shown(tags.current, m.current[operation.pair]) & operation.bit);
}

std::vector<vk::MethodBit> ruledMethodBits() {
    std::vector<vk::MethodBit> bits;
    for (const Rule& r : kRules)
        if (std::find(bits.begin(), bits.end(), r.operation) == bits.end())
            bits.push_back(r.operation);
    return bits;
}

}  // namespace kvda
