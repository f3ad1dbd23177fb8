// Operation capability masks: is an action offered by the object at all
// (MasterMethodMask) and possible in its present state (CurrentMethodMask).
//
// Each object kind has a table of (action, mask pair, bit, rule), searched
// in row order, first match wins. The special cases are columns of the
// row: which masks answer, the fallback bit, the attribute test, the
// always-allowed actions and the storage root answering for another object.
#include <array>
#include <bit>
#include <span>
#include <string>

#include "kvsup_internal.h"
#include "kvsup_tables.h"

using namespace kvsup::detail;
namespace st = kvsup::status;

namespace {

using namespace vk::method;

constexpr vk::MethodBit kNoBit{};
constexpr const auto& kMethodTags = vk::kMethodMaskTags;

using kvsup::MaskRow;
using kvsup::Masks;
using Rule = kvsup::MaskRule;

using M = Masks;
using R = Rule;

// clang-format off
constexpr MaskRow kStorageRows[] = {
    {"globalrescan",                             M::kMethod, storage::kGlobalRescan,               R::kPlain},
    {"enablests",                                M::kMethod, storage::kEnableSts,                  R::kPlain},
    {"disablests",                               M::kMethod, storage::kDisableSts,                 R::kPlain},
    {"setprotectionpolicies",                    M::kMethod, storage::kSetProtectionPolicies,      R::kPlain},
    {"setremainingratedwriteendurancethreshold", M::kMethod, storage::kSetWriteEnduranceThreshold, R::kPlain},
    {"debug",                                    M::kAlways, kNoBit,                               R::kPlain},
    {"setnonzorncertifiedmode",                  M::kAlways, kNoBit,                               R::kPlain},
};

constexpr MaskRow kControllerRows[] = {
    {"rescan",                        M::kMethod,  controller::kRescan,                     R::kPlain},
    {"flush",                         M::kMethod,  controller::kFlush,                      R::kPlain},
    {"enablealarm",                   M::kMethod,  controller::kEnableAlarm,                R::kPlain},
    {"disablealarm",                  M::kMethod,  controller::kDisableAlarm,               R::kPlain},
    {"quietalarm",                    M::kMethod,  controller::kQuietAlarm,                 R::kPlain},
    {"setrebuildrate",                M::kMethod,  controller::kSetRebuildRate,             R::kPlain},
    {"createvdisk",                   M::kMethod,  controller::kCreateVdisk,                R::kPlain},
    {"resetconfig",                   M::kMethod,  controller::kResetConfig,                R::kPlain},
    {"exportlog",                     M::kMethod,  controller::kExportLog,                  R::kPlain},
    {"pauseio",                       M::kMethod,  controller::kPauseIo,                    R::kPlain},
    {"resumeio",                      M::kMethod,  controller::kResumeIo,                   R::kPlain},
    {"testalarm",                     M::kMethod,  controller::kTestAlarm,                  R::kPlain},
    {"setbgirate",                    M::kMethod,  controller::kSetBgiRate,                 R::kPlain},
    {"setcheckconsistencyrate",       M::kMethod,  controller::kSetCheckConsistencyRate,    R::kPlain},
    {"setpatrolreadrate",             M::kMethod,  controller::kSetPatrolReadRate,          R::kPlain},
    {"setreconstructrate",            M::kMethod,  controller::kSetReconstructRate,         R::kPlain},
    {"dumpevents",                    M::kMethod,  controller::kDumpEvents,                 R::kPlain},
    {"setpatrolreadmode",             M::kMethod,  controller::kSetPatrolReadMode,          R::kPlain},
    {"startpatrolread",               M::kMethod,  controller::kStartPatrolRead,            R::kPlain},
    {"stoppatrolread",                M::kMethod,  controller::kStopPatrolRead,             R::kPlain},
    {"clearforeignconfig",            M::kMethod,  controller::kClearForeignConfig,         R::kFallback},
    {"importforeignconfig",           M::kMethod,  controller::kImportForeignConfig,        R::kPlain},
    {"importrecoverforeignconfig",    M::kMethod,  controller::kImportRecoverForeignConfig, R::kFallback},
    {"importsecureforeignconfig",     M::kMethod,  controller::kImportRecoverForeignConfig, R::kSecureImport},
    {"setchangecontrollerproperties", M::kMethod,  controller::kChangeProperties,           R::kPlain},
    {"changedrivecache",              M::kMethod,  controller::kChangeDriveCache,           R::kPlain},
    {"discardpreservedcache",         M::kMethod,  controller::kDiscardPreservedCache,      R::kPlain},
    {"unlockdkmforeignconfig",        M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"createsecuritykey",             M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"enabledkm",                     M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"rekeydkm",                      M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"deletesecuritykey",             M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"changesecuritykey",             M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"enablelkm",                     M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"rekeylkm",                      M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"switchtolkm",                   M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"switchtodkm",                   M::kMethod,  controller::kSecurityKey,                R::kPlain},
    {"createcachecade",               M::kMethod1, controller::kCreateCachecade,            R::kPlain},
    {"convertNonRAIDtoRAID",          M::kMethod1, controller::kConvertNonRaidToRaid,       R::kPlain},
    {"convertRAIDtoNonRAID",          M::kMethod1, controller::kConvertRaidToNonRaid,       R::kPlain},
    {"setcontrollermode",             M::kMethod1, controller::kSetControllerMode,          R::kPlain},
    {"autoconfigureRAID0",            M::kMethod1, controller::kAutoConfigureRaid0,         R::kPlain},
    {"setpdiskpwrmanagement",         M::kAlways,  kNoBit,                                  R::kPlain},
};

constexpr MaskRow kChannelRows[] = {
    {"rescan", M::kMethod, connector::kRescan, R::kPlain},
};

constexpr MaskRow kNVMeAdapterRows[] = {
    {"rescan",             M::kMethod, nvme::kRescan,             R::kPlain},
    {"cryptographicerase", M::kMethod, nvme::kCryptographicErase, R::kPlain},
    {"exportlog",          M::kMethod, nvme::kExportLog,          R::kPlain},
};

constexpr MaskRow kEnclosureRows[] = {
    {"enablealarm",        M::kMethod,      enclosure::kEnableAlarm,   R::kPlain},
    {"disablealarm",       M::kMethod,      enclosure::kDisableAlarm,  R::kPlain},
    {"setservicetag",      M::kMethod,      enclosure::kAssetData,     R::kPlain},
    {"setassettag",        M::kMethod,      enclosure::kAssetData,     R::kPlain},
    {"setassetname",       M::kMethod,      enclosure::kAssetData,     R::kPlain},
    {"settempprobes",      M::kMethod,      enclosure::kTempProbes,    R::kPlain},
    {"resettempprobes",    M::kMethod,      enclosure::kTempProbes,    R::kPlain},
    {"blink",              M::kMethod,      enclosure::kBlink,         R::kPlain},
    {"setalltempprobes",   M::kMethod,      enclosure::kAllTempProbes, R::kPlain},
    {"resetalltempprobes", M::kMethod,      enclosure::kAllTempProbes, R::kPlain},
    {"unblink",            M::kMethod,      enclosure::kUnblink,       R::kPlain},
    {"pdslotreport",       M::kMethod,      enclosure::kSlotReport,    R::kPlain},
    {"enablests",          M::kStorageRoot, kNoBit,                    R::kPlain},
    {"disablests",         M::kStorageRoot, kNoBit,                    R::kPlain},
};

constexpr MaskRow kBatteryRows[] = {
    {"recondition", M::kMethod, battery::kRecondition, R::kPlain},
    {"startlearn",  M::kMethod, battery::kStartLearn,  R::kPlain},
    {"delaylearn",  M::kMethod, battery::kDelayLearn,  R::kPlain},
};

constexpr MaskRow kArrayDiskRows[] = {
    {"blink",                   M::kMethod,      disk::kBlink,                  R::kPlain},
    {"unblink",                 M::kMethod,      disk::kUnblink,                R::kPlain},
    {"diag",                    M::kMethod,      disk::kDiag,                   R::kPlain},
    {"canceldiag",              M::kMethod,      disk::kCancelDiag,             R::kPlain},
    {"assignglobalhotspare",    M::kMethod,      disk::kAssignGlobalHotSpare,   R::kPlain},
    {"unassignglobalhotspare",  M::kMethod,      disk::kUnassignGlobalHotSpare, R::kPlain},
    {"online",                  M::kMethod,      disk::kOnline,                 R::kPlain},
    {"offline",                 M::kMethod,      disk::kOffline,                R::kPlain},
    {"remove",                  M::kMethod,      disk::kRemove,                 R::kPlain},
    {"format",                  M::kMethod,      disk::kFormat,                 R::kPlain},
    {"rebuild",                 M::kMethod,      disk::kRebuild,                R::kPlain},
    {"cancelrebuild",           M::kMethod,      disk::kCancelRebuild,          R::kPlain},
    {"initialize",              M::kMethod,      disk::kInitialize,             R::kPlain},
    {"verify",                  M::kMethod,      disk::kVerify,                 R::kPlain},
    {"cancelverify",            M::kMethod,      disk::kCancelVerify,           R::kPlain},
    {"removedeadsegments",      M::kMethod,      disk::kRemoveDeadSegments,     R::kPlain},
    {"clear",                   M::kMethod,      disk::kClear,                  R::kPlain},
    {"cancelclear",             M::kMethod,      disk::kCancelClear,            R::kPlain},
    {"cancelreplacemember",     M::kMethod,      disk::kCancelReplaceMember,    R::kPlain},
    {"instantsecureerase",      M::kCurrentOnly, disk::kSecureErase,            R::kPlain},
    {"cryptographicerase",      M::kCurrentOnly, disk::kSecureErase,            R::kPlain},
    {"convertRAIDtoNonRAID",    M::kCurrentOnly, disk::kConvertRaidToNonRaid,   R::kPlain},
    {"convertNonRAIDtoRAID",    M::kCurrentOnly, disk::kConvertNonRaidToRaid,   R::kPlain},
    {"enabledevicewritecache",  M::kCurrentOnly, disk::kEnableWriteCache,       R::kPlain},
    {"disabledevicewritecache", M::kCurrentOnly, disk::kDisableWriteCache,      R::kPlain},
    {"exportlog",               M::kCurrentOnly, disk::kExportLog,              R::kPlain},
    {"addtocachepool",          M::kMethod,      disk::kAddToCachePool,         R::kPlain},
    {"removefromcachepool",     M::kMethod,      disk::kRemoveFromCachePool,    R::kPlain},
    {"reactivate",              M::kMethod,      disk::kReactivate,             R::kPlain},
    {"setarraydiskcache",       M::kMasterOnly,  disk::kUnassignGlobalHotSpare, R::kPlain},  // same bit as unassignglobalhotspare
};

constexpr MaskRow kVirtualDiskRows[] = {
    {"reconfigure",             M::kMethod, vdisk::kReconfigure,             R::kPlain},
    {"format",                  M::kMethod, vdisk::kFormat,                  R::kPlain},
    {"cancelformat",            M::kMethod, vdisk::kCancelFormat,            R::kPlain},
    {"restoresegments",         M::kMethod, vdisk::kRestoreSegments,         R::kPlain},
    {"deletevdisk",             M::kMethod, vdisk::kDelete,                  R::kPlain},
    {"deletecachecade",         M::kMethod, vdisk::kDelete,                  R::kPlain},
    {"checkconsistency",        M::kMethod, vdisk::kCheckConsistency,        R::kPlain},
    {"initialize",              M::kMethod, vdisk::kInitialize,              R::kPlain},
    {"assigndedicatedhotspare", M::kMethod, vdisk::kAssignDedicatedHotSpare, R::kPlain},
    {"blink",                   M::kMethod, vdisk::kBlink,                   R::kPlain},
    {"unblink",                 M::kMethod, vdisk::kUnblink,                 R::kPlain},
    {"rename",                  M::kMethod, vdisk::kRename,                  R::kPlain},
    {"cancelcheckconsistency",  M::kMethod, vdisk::kCancelCheckConsistency,  R::kPlain},
    {"cancelinitialize",        M::kMethod, vdisk::kCancelInitialize,        R::kPlain},
    {"splitmirror",             M::kMethod, vdisk::kSplitMirror,             R::kPlain},
    {"unmirror",                M::kMethod, vdisk::kUnmirror,                R::kPlain},
    {"cancelrebuild",           M::kMethod, vdisk::kCancelRebuild,           R::kPlain},
    {"pausecheckconsistency",   M::kMethod, vdisk::kPauseCheckConsistency,   R::kPlain},
    {"resumecheckconsistency",  M::kMethod, vdisk::kResumeCheckConsistency,  R::kPlain},
    {"cancelreconfigure",       M::kMethod, vdisk::kCancelReconfigure,       R::kPlain},
    {"changepolicy",            M::kMethod, vdisk::kChangePolicy,            R::kPlain},
    {"cancelbginitialize",      M::kMethod, vdisk::kCancelBgInitialize,      R::kPlain},
    {"slowinit",                M::kMethod, vdisk::kSlowInit,                R::kPlain},
    {"fastinit",                M::kMethod, vdisk::kFastInit,                R::kPlain},
    {"replacememberdisk",       M::kMethod, vdisk::kReplaceMember,           R::kPlain},
    {"clearvdbadblocks",        M::kMethod, vdisk::kClearBadBlocks,          R::kPlain},
    {"SecureVD",                M::kMethod, vdisk::kSecure,                  R::kPlain},
    {"resize",                  M::kMethod, vdisk::kResize,                  R::kPlain},
    {"enabletarncache",         M::kMethod, vdisk::kEnableCache,             R::kPlain},
    {"disabletarncache",        M::kMethod, vdisk::kDisableCache,            R::kPlain},
    {"reactivate",              M::kMethod, vdisk::kReactivateCache,         R::kPlain},
};

constexpr MaskRow kPartitionRows[] = {
    {"enabletarncache",  M::kMethod, partition::kEnableCache,     R::kPlain},
    {"disabletarncache", M::kMethod, partition::kDisableCache,    R::kPlain},
    {"reactivate",       M::kMethod, partition::kReactivateCache, R::kPlain},
};

constexpr MaskRow kCachedLunRows[] = {
    {"disablewithdiscard", M::kMethod, cachedlun::kDisableWithDiscard, R::kPlain},
};

constexpr auto kMaskTableList = std::to_array<kvsup::MaskTableRef>({
    {"storage",      kStorageRows},
    {"controller",   kControllerRows},
    {"connector",    kChannelRows},
    {"NVMe adapter", kNVMeAdapterRows},
    {"enclosure",    kEnclosureRows},
    {"battery",      kBatteryRows},
    {"array disk",   kArrayDiskRows},
    {"virtual disk", kVirtualDiskRows},
    {"partition",    kPartitionRows},
    {"cached LUN",   kCachedLunRows},
});
// clang-format on

struct ObjectMasks {
    uint32_t master = 0;
    uint32_t current = 0;
    uint32_t master1 = 0;
    uint32_t current1 = 0;
    uint32_t attributes = 0;
};

struct Answer {
    uint32_t supported = 0;
    uint32_t current = 0;
};

const MaskRow* FindRow(std::span<const MaskRow> rows, const char* action) {
    for (const MaskRow& row : rows) {
        if (strcmpCaseIgnore(action, row.action) == 0) {
            return &row;
        }
    }
    return nullptr;
}

// One row against one object's masks. kStorageRoot is resolved by the
// caller before this is reached.
Answer Evaluate(const MaskRow& row, const ObjectMasks& m) {
    const uint32_t bit = row.operation.bit;
    Answer a;
    switch (row.masks) {
        case Masks::kMethod:
        case Masks::kStorageRoot:
            a = {m.master & bit, m.current & bit};
            break;
        case Masks::kMethod1:
            a = {m.master1 & bit, m.current1 & bit};
            break;
        case Masks::kCurrentOnly:
            a.supported = a.current = m.current & bit;
            break;
        case Masks::kMasterOnly:
            a.supported = a.current = m.master & bit;
            break;
        case Masks::kAlways:
            return {1, 1};
    }
    if (row.rule != Rule::kPlain && a.supported == 0 && a.current == 0) {
        const uint32_t fallback = controller::kForeignConfig.bit;
        a = {m.master & fallback, m.current & fallback};
    }
    if (row.rule == Rule::kSecureImport && a.current != 0 &&
        (m.attributes & vk::ctrlattr::kSecureForeignImport) == 0) {
        a = {0, 0};
    }
    return a;
}

// How the addressed object is found among the answer's objects.
enum class Match {
    kFirst,         // the storage root: the first object
    kKeyTag,        // keyTag equals the identifier
    kEnclosure,     // Channel[:EnclosureID] by the object's bus protocol
    kDiskLikeUser,  // Channel:TargetID or Channel:EnclosureID:TargetID
};

struct ObjectKind {
    const char* traceName;
    vk::RequestName request;
    const char* keyTag;
    Match match;
    std::span<const MaskRow> rows;
    const char* noBufferLine;
    const char* noAnswerLine;
    bool traceMasks;  // level-4 lines of the masks read
};

// clang-format off
constexpr ObjectKind kController  {"IsUserOperationValidForController", vkacmd.getControllerList,            "GlobalNo",        Match::kKeyTag,       kControllerRows,  "IsUserOperationValidForController: OCSXAllocBuf failed",  "IsUserOperationValidForController: OCSXAllocBuf failed:",  false};
constexpr ObjectKind kChannel     {"IsUserOperationValidForChannel",    vkacmd.getChannelsForController,     "Channel",         Match::kKeyTag,       kChannelRows,     "IsUserOperationValidForChannel: OCSXAllocBuf failed",     "IsUserOperationValidForChannel: OCSXAllocBuf failed:",     false};
constexpr ObjectKind kNVMeAdapter {"IsUserOperationValidForNVMeAdapter",vkacmd.getNVMeAdaptersForController, "Channel",         Match::kKeyTag,       kNVMeAdapterRows, "IsUserOperationValidForNVMeAdapter: OCSXAllocBuf failed", "IsUserOperationValidForNVMeAdapter: OCSXAllocBuf failed:", false};
constexpr ObjectKind kEnclosure   {"IsUserOperationValidForEnclosure",  vkacmd.getEnclosuresForController,   "Channel",         Match::kEnclosure,    kEnclosureRows,   "IsUserOperationValidForEnclosure: OCSXAllocBuf failed",   "IsUserOperationValidForEnclosure: OCSXAllocBuf failed:",   false};
constexpr ObjectKind kBattery     {"IsUserOperationValidForBattery",    vkacmd.getBatteriesForController,    "BatteryID",       Match::kKeyTag,       kBatteryRows,     "IsUserOperationValidForBattery: OCSXAllocBuf failed",     "IsUserOperationValidForBattery: OCSXAllocBuf failed:",     false};
constexpr ObjectKind kArrayDisk   {"IsUserOperationValidForArrayDisk",  vkacmd.getArrayDisksForController,   "TargetID",        Match::kDiskLikeUser, kArrayDiskRows,   "IsUserOperationValidForArrayDisk(): OCSXAllocBuf() failed!!\n", "IsUserOperationValidForArrayDisk(): OCSXAllocBuf() failed!!\n", false};
constexpr ObjectKind kVirtualDisk {"IsUserOperationValidForVirtualDisk",vkacmd.getVirtualDisksForController, "LogicalDriveNum", Match::kKeyTag,       kVirtualDiskRows, "IsUserOperationValidForVirtualDisk: OCSXAllocBuf failed:", "IsUserOperationValidForVirtualDisk: OCSXAllocBuf failed:", true};
constexpr ObjectKind kPartition   {"IsUserOperationValidForPartition",  vkacmd.getPartitionsForVirtualDisk,  "PartitionPath",   Match::kKeyTag,       kPartitionRows,   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   true};
constexpr ObjectKind kCachedLun   {"IsUserInputValidForCachedluns",     vkacmd.getAllCachedLuns,             "CacheLunName",    Match::kKeyTag,       kCachedLunRows,   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   true};
constexpr ObjectKind kStorage     {"IsUserOperationValidForStorageObject", vkacmd.sendPassThruCmdToQXSIF,    nullptr,           Match::kFirst,        kStorageRows,     nullptr, nullptr, false};
// clang-format on

bool Matches(const ObjectKind& kind, const StorageObjects& objects, std::size_t n,
             std::string_view id) {
    switch (kind.match) {
        case Match::kFirst:
            return n == 0;
        case Match::kKeyTag: {
            std::string key;
            return objects.Get(n, kind.keyTag, key) && key == id;
        }
        case Match::kEnclosure: {
            // Identifier as the enclosure validator forms it; an object that
            // does not state its bus protocol is compared in the user's form.
            std::string protocol;
            const bool known = objects.Get(n, "BusProtocol", protocol);
            const int64_t p = ToNumber(protocol);
            const bool twoParts = known ? (p == 8 || p == 9) : ColonCount(id) == 1;
            std::string built = objects.Value(n, "Channel");
            if (twoParts) {
                built += ":" + objects.Value(n, "EnclosureID");
            }
            return objects.Has(n, "Channel") && built == id;
        }
        case Match::kDiskLikeUser: {
            if (!objects.Has(n, "TargetID")) {
                return false;
            }
            std::string built = objects.Value(n, "Channel") + ":";
            if (ColonCount(id) != 1) {
                built += objects.Value(n, "EnclosureID") + ":";
            }
            return built + objects.Value(n, "TargetID") == id;
        }
    }
    return false;
}

void TraceMasks(const StorageObjects& objects, std::size_t n, const ObjectMasks& m) {
    if (!SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
        return;
    }
    SysDbgPrint("pOutMasterMethodMask=%s\n", objects.Value(n, "MasterMethodMask").c_str());
    SysDbgPrint("pOutCurrentMethodMask=%s\n", objects.Value(n, "CurrentMethodMask").c_str());
    SysDbgPrint("u32MasterMethodMask=%d\n", static_cast<int>(m.master));
    SysDbgPrint("u32CurrentMethodMask=%d\n", static_cast<int>(m.current));
}

void SetOutputs(uint32_t* supported, uint32_t* current, Answer a) {
    if (supported != nullptr) {
        *supported = a.supported;
    }
    if (current != nullptr) {
        *current = a.current;
    }
}

// The shared sequence: find the row, ask for the objects, find the object,
// read its masks, evaluate the row.
int32_t Check(const ObjectKind& kind, const da::Request& request, const char* action,
              std::string_view id, uint32_t* supported, uint32_t* current,
              const char* deviceName = nullptr) {
    SetOutputs(supported, current, {});
    const MaskRow* row = FindRow(kind.rows, action);
    if (row != nullptr && row->masks == Masks::kStorageRoot) {
        da::ScopedFunctionTrace trace(kind.traceName);
        return IsUserOperationValidForStorageObject(action, supported, current);
    }
    const bool listRequired = kind.traceMasks && &kind != &kVirtualDisk;
    return Ask({kind.traceName, kind.noBufferLine, kind.noAnswerLine, TRACE_LEVEL_DETAIL}, request,
               st::kNoBuffer, [&](const OCSXBuf* xml) {
                   const StorageObjects objects(xml);
                   if (kind.traceMasks && objects.Count() == 0) {
                       TraceLine(TRACE_LEVEL_MODULE, "Memory Alloc failure: pRootNode is NULL \n");
                   }
                   std::size_t found = objects.Count();
                   for (std::size_t n = 0; n < objects.Count(); ++n) {
                       if (Matches(kind, objects, n, id)) {
                           found = n;
                           break;
                       }
                   }
                   if (found == objects.Count()) {
                       // Not listed: the masks read 0 and the action is unsupported,
                       // except for the always-allowed rows.
                       if (row != nullptr && row->masks == Masks::kAlways) {
                           SetOutputs(supported, current, {1, 1});
                       }
                       // The device name read stays empty too, so any name differs.
                       if (deviceName != nullptr && *deviceName != '\0') {
                           return st::kDeviceNameMismatch;
                       }
                       return listRequired ? st::kNoSuchPartition : st::kOk;
                   }
                   ObjectMasks m;
                   m.master = objects.Mask(found, kMethodTags[0].master);
                   m.current = objects.Mask(found, kMethodTags[0].current);
                   m.master1 = objects.Mask(found, kMethodTags[1].master);
                   m.current1 = objects.Mask(found, kMethodTags[1].current);
                   m.attributes = objects.Mask(found, "AttributesMask");
                   if (kind.traceMasks) {
                       TraceMasks(objects, found, m);
                   }
                   if (row != nullptr) {
                       SetOutputs(supported, current, Evaluate(*row, m));
                   }
                   if (deviceName != nullptr && objects.Value(found, "DeviceName") != deviceName) {
                       return st::kDeviceNameMismatch;
                   }
                   return st::kOk;
               });
}

da::Request ScopedRequest(const ObjectKind& kind, const char* globalNo) {
    return ControllerRequest(kind.request, globalNo);
}

}  // namespace

const std::span<const kvsup::MaskTableRef> kvsup::kMaskTables = kMaskTableList;

std::string kvsup::CheckMaskTable(std::span<const MaskRow> rows) {
    if (rows.empty()) return "the table has no rows";
    // The kind of object whose masks the table reads: that of its first bit.
    std::string_view object;
    for (const MaskRow& row : rows) {
        if (row.operation != kNoBit) {
            object = row.operation.object;
            break;
        }
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const MaskRow& row = rows[i];
        const std::string where = "row " + std::to_string(i);
        if (row.action == nullptr || *row.action == '\0') return where + ": no action";
        const std::string what = where + " (" + row.action + ")";
        for (std::size_t o = 0; o < i; ++o) {
            if (strcmpCaseIgnore(rows[o].action, row.action) == 0) return what + ": listed twice";
        }
        const bool readsMasks = row.masks != Masks::kAlways && row.masks != Masks::kStorageRoot;
        const vk::MethodBit& op = row.operation;
        if (readsMasks && std::popcount(op.bit) != 1) return what + ": the bit is not one bit";
        if (!readsMasks && op != kNoBit) return what + ": a bit that no mask is read for";
        if (readsMasks && op.object != object)
            return what + ": a bit of another kind of object than " + std::string(object);
        if (readsMasks && op.pair != (row.masks == Masks::kMethod1 ? 1u : 0u))
            return what + ": a bit of the other mask pair";
        if (row.rule != Rule::kPlain && row.masks != Masks::kMethod)
            return what + ": a fallback rule needs the method masks";
    }
    return {};
}

int32_t IsUserOperationValidForStorageObject(const char* action, uint32_t* supported,
                                             uint32_t* current) {
    SetOutputs(supported, current, {});
    const MaskRow* row = FindRow(kStorageRows, action);
    if (row != nullptr && row->masks == Masks::kAlways) {
        SetOutputs(supported, current, {1, 1});
        return st::kOk;
    }
    da::Request request(kStorage.request);
    request.Entry("NumQXSIFArgs=2").Entry("param0=report").Entry("param1=storage");
    return Check(kStorage, request, action, "", supported, current);
}

int32_t IsUserOperationValidForController(const char* action, const char* globalNo,
                                          uint32_t* supported, uint32_t* current) {
    return Check(kController, ScopedRequest(kController, globalNo), action, Text(globalNo),
                 supported, current);
}

int32_t IsUserOperationValidForChannel(const char* action, const char* globalNo,
                                       const char* channel, uint32_t* supported,
                                       uint32_t* current) {
    return Check(kChannel, ScopedRequest(kChannel, globalNo), action, Text(channel), supported,
                 current);
}

int32_t IsUserOperationValidForNVMeAdapter(const char* action, const char* globalNo,
                                           const char* channel, uint32_t* supported,
                                           uint32_t* current) {
    return Check(kNVMeAdapter, ScopedRequest(kNVMeAdapter, globalNo), action, Text(channel),
                 supported, current);
}

int32_t IsUserOperationValidForEnclosure(const char* action, const char* globalNo,
                                         const char* enclosure, uint32_t* supported,
                                         uint32_t* current) {
    return Check(kEnclosure, ScopedRequest(kEnclosure, globalNo), action, Text(enclosure),
                 supported, current);
}

int32_t IsUserOperationValidForBattery(const char* action, const char* globalNo,
                                       const char* battery, uint32_t* supported,
                                       uint32_t* current) {
    return Check(kBattery, ScopedRequest(kBattery, globalNo), action, Text(battery), supported,
                 current);
}

int32_t IsUserOperationValidForArrayDisk(const char* action, const char* globalNo,
                                         const char* adisk, uint32_t* supported,
                                         uint32_t* current) {
    return Check(kArrayDisk, ScopedRequest(kArrayDisk, globalNo), action, Text(adisk), supported,
                 current);
}

int32_t IsUserOperationValidForVirtualDisk(const char* action, const char* globalNo,
                                           const char* vdisk, uint32_t* supported,
                                           uint32_t* current, const char* deviceName) {
    return Check(kVirtualDisk, ScopedRequest(kVirtualDisk, globalNo), action, Text(vdisk),
                 supported, current, deviceName);
}

int32_t IsUserOperationValidForPartition(const char* action, const char* globalNo,
                                         const char* vdisk, const char* partition,
                                         uint32_t* supported, uint32_t* current) {
    da::Request request(kPartition.request);
    request.Field("GlobalNo", globalNo, 20).Field("LogicalDriveNum", vdisk, 20).Cli();
    return Check(kPartition, request, action, Text(partition), supported, current);
}

int32_t IsUserInputValidForCachedluns(const char* action, const char* globalNo,
                                      const char* cachedLunName, uint32_t* supported,
                                      uint32_t* current) {
    return Check(kCachedLun, ScopedRequest(kCachedLun, globalNo), action, Text(cachedLunName),
                 supported, current);
}
