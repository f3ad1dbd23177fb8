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

constexpr uint32_t kFallbackBit = 0x20000000;
constexpr uint32_t kSecureImportAttribute = 0x8000000;

using kvsup::MaskRow;
using kvsup::Masks;
using Rule = kvsup::MaskRule;

using M = Masks;
using R = Rule;

// clang-format off
constexpr MaskRow kStorageRows[] = {
    {"globalrescan",                              M::kMethod, 0x1,  R::kPlain},
    {"enablests",                                 M::kMethod, 0x2,  R::kPlain},
    {"disablests",                                M::kMethod, 0x4,  R::kPlain},
    {"setprotectionpolicies",                     M::kMethod, 0x8,  R::kPlain},
    {"setremainingratedwriteendurancethreshold",  M::kMethod, 0x10, R::kPlain},
    {"debug",                                     M::kAlways, 0,    R::kPlain},
    {"setnonzorncertifiedmode",                   M::kAlways, 0,    R::kPlain},
};

constexpr MaskRow kControllerRows[] = {
    {"rescan",                        M::kMethod,  0x1,        R::kPlain},
    {"flush",                         M::kMethod,  0x2,        R::kPlain},
    {"enablealarm",                   M::kMethod,  0x4,        R::kPlain},
    {"disablealarm",                  M::kMethod,  0x8,        R::kPlain},
    {"quietalarm",                    M::kMethod,  0x10,       R::kPlain},
    {"setrebuildrate",                M::kMethod,  0x20,       R::kPlain},
    {"createvdisk",                   M::kMethod,  0x40,       R::kPlain},
    {"resetconfig",                   M::kMethod,  0x80,       R::kPlain},
    {"exportlog",                     M::kMethod,  0x100,      R::kPlain},
    {"pauseio",                       M::kMethod,  0x200,      R::kPlain},
    {"resumeio",                      M::kMethod,  0x400,      R::kPlain},
    {"testalarm",                     M::kMethod,  0x800,      R::kPlain},
    {"setbgirate",                    M::kMethod,  0x2000,     R::kPlain},
    {"setcheckconsistencyrate",       M::kMethod,  0x4000,     R::kPlain},
    {"setpatrolreadrate",             M::kMethod,  0x8000,     R::kPlain},
    {"setreconstructrate",            M::kMethod,  0x10000,    R::kPlain},
    {"dumpevents",                    M::kMethod,  0x80000,    R::kPlain},
    {"setpatrolreadmode",             M::kMethod,  0x100000,   R::kPlain},
    {"startpatrolread",               M::kMethod,  0x200000,   R::kPlain},
    {"stoppatrolread",                M::kMethod,  0x400000,   R::kPlain},
    {"clearforeignconfig",            M::kMethod,  0x800000,   R::kFallback},
    {"importforeignconfig",           M::kMethod,  0x1000000,  R::kPlain},
    {"importrecoverforeignconfig",    M::kMethod,  0x2000000,  R::kFallback},
    {"importsecureforeignconfig",     M::kMethod,  0x2000000,  R::kSecureImport},
    {"setchangecontrollerproperties", M::kMethod,  0x4000000,  R::kPlain},
    {"changedrivecache",              M::kMethod,  0x8000000,  R::kPlain},
    {"discardpreservedcache",         M::kMethod,  0x10000000, R::kPlain},
    {"unlockdkmforeignconfig",        M::kMethod,  0x40000000, R::kPlain},
    {"createsecuritykey",             M::kMethod,  0x40000000, R::kPlain},
    {"enabledkm",                     M::kMethod,  0x40000000, R::kPlain},
    {"rekeydkm",                      M::kMethod,  0x40000000, R::kPlain},
    {"deletesecuritykey",             M::kMethod,  0x40000000, R::kPlain},
    {"changesecuritykey",             M::kMethod,  0x40000000, R::kPlain},
    {"enablelkm",                     M::kMethod,  0x40000000, R::kPlain},
    {"rekeylkm",                      M::kMethod,  0x40000000, R::kPlain},
    {"switchtolkm",                   M::kMethod,  0x40000000, R::kPlain},
    {"switchtodkm",                   M::kMethod,  0x40000000, R::kPlain},
    {"createcachecade",               M::kMethod1, 0x1,        R::kPlain},
    {"convertNonRAIDtoRAID",          M::kMethod1, 0x2,        R::kPlain},
    {"convertRAIDtoNonRAID",          M::kMethod1, 0x4,        R::kPlain},
    {"setcontrollermode",             M::kMethod1, 0x8,        R::kPlain},
    {"autoconfigureRAID0",            M::kMethod1, 0x10,       R::kPlain},
    {"setpdiskpwrmanagement",         M::kAlways,  0,          R::kPlain},
};

constexpr MaskRow kChannelRows[] = {
    {"rescan", M::kMethod, 0x1, R::kPlain},
};

constexpr MaskRow kNVMeAdapterRows[] = {
    {"rescan",             M::kMethod, 0x1,       R::kPlain},
    {"cryptographicerase", M::kMethod, 0x200000,  R::kPlain},
    {"exportlog",          M::kMethod, 0x4000000, R::kPlain},
};

constexpr MaskRow kEnclosureRows[] = {
    {"enablealarm",        M::kMethod,      0x1,   R::kPlain},
    {"disablealarm",       M::kMethod,      0x2,   R::kPlain},
    {"setservicetag",      M::kMethod,      0x4,   R::kPlain},
    {"setassettag",        M::kMethod,      0x4,   R::kPlain},
    {"setassetname",       M::kMethod,      0x4,   R::kPlain},
    {"settempprobes",      M::kMethod,      0x8,   R::kPlain},
    {"resettempprobes",    M::kMethod,      0x8,   R::kPlain},
    {"blink",              M::kMethod,      0x40,  R::kPlain},
    {"setalltempprobes",   M::kMethod,      0x80,  R::kPlain},
    {"resetalltempprobes", M::kMethod,      0x80,  R::kPlain},
    {"unblink",            M::kMethod,      0x100, R::kPlain},
    {"pdslotreport",       M::kMethod,      0x200, R::kPlain},
    {"enablests",          M::kStorageRoot, 0,     R::kPlain},
    {"disablests",         M::kStorageRoot, 0,     R::kPlain},
};

constexpr MaskRow kBatteryRows[] = {
    {"recondition", M::kMethod, 0x1, R::kPlain},
    {"startlearn",  M::kMethod, 0x2, R::kPlain},
    {"delaylearn",  M::kMethod, 0x4, R::kPlain},
};

constexpr MaskRow kArrayDiskRows[] = {
    {"blink",                   M::kMethod,      0x1,        R::kPlain},
    {"unblink",                 M::kMethod,      0x2,        R::kPlain},
    {"diag",                    M::kMethod,      0x4,        R::kPlain},
    {"canceldiag",              M::kMethod,      0x8,        R::kPlain},
    {"assignglobalhotspare",    M::kMethod,      0x10,       R::kPlain},
    {"unassignglobalhotspare",  M::kMethod,      0x20,       R::kPlain},
    {"online",                  M::kMethod,      0x40,       R::kPlain},
    {"offline",                 M::kMethod,      0x80,       R::kPlain},
    {"remove",                  M::kMethod,      0x100,      R::kPlain},
    {"format",                  M::kMethod,      0x200,      R::kPlain},
    {"rebuild",                 M::kMethod,      0x400,      R::kPlain},
    {"cancelrebuild",           M::kMethod,      0x800,      R::kPlain},
    {"initialize",              M::kMethod,      0x1000,     R::kPlain},
    {"verify",                  M::kMethod,      0x2000,     R::kPlain},
    {"cancelverify",            M::kMethod,      0x4000,     R::kPlain},
    {"removedeadsegments",      M::kMethod,      0x8000,     R::kPlain},
    {"clear",                   M::kMethod,      0x10000,    R::kPlain},
    {"cancelclear",             M::kMethod,      0x20000,    R::kPlain},
    {"cancelreplacemember",     M::kMethod,      0x80000,    R::kPlain},
    {"instantsecureerase",      M::kCurrentOnly, 0x200000,   R::kPlain},
    {"cryptographicerase",      M::kCurrentOnly, 0x200000,   R::kPlain},
    {"convertRAIDtoNonRAID",    M::kCurrentOnly, 0x400000,   R::kPlain},
    {"convertNonRAIDtoRAID",    M::kCurrentOnly, 0x800000,   R::kPlain},
    {"enabledevicewritecache",  M::kCurrentOnly, 0x1000000,  R::kPlain},
    {"disabledevicewritecache", M::kCurrentOnly, 0x2000000,  R::kPlain},
    {"exportlog",               M::kCurrentOnly, 0x4000000,  R::kPlain},
    {"addtocachepool",          M::kMethod,      0x8000000,  R::kPlain},
    {"removefromcachepool",     M::kMethod,      0x10000000, R::kPlain},
    {"reactivate",              M::kMethod,      0x20000000, R::kPlain},
    {"setarraydiskcache",       M::kMasterOnly,  0x20,       R::kPlain},  // same bit as unassignglobalhotspare
};

constexpr MaskRow kVirtualDiskRows[] = {
    {"reconfigure",             M::kMethod, 0x1,        R::kPlain},
    {"format",                  M::kMethod, 0x2,        R::kPlain},
    {"cancelformat",            M::kMethod, 0x4,        R::kPlain},
    {"restoresegments",         M::kMethod, 0x8,        R::kPlain},
    {"deletevdisk",             M::kMethod, 0x10,       R::kPlain},
    {"deletecachecade",         M::kMethod, 0x10,       R::kPlain},
    {"checkconsistency",        M::kMethod, 0x20,       R::kPlain},
    {"initialize",              M::kMethod, 0x40,       R::kPlain},
    {"assigndedicatedhotspare", M::kMethod, 0x80,       R::kPlain},
    {"blink",                   M::kMethod, 0x100,      R::kPlain},
    {"unblink",                 M::kMethod, 0x200,      R::kPlain},
    {"rename",                  M::kMethod, 0x400,      R::kPlain},
    {"cancelcheckconsistency",  M::kMethod, 0x800,      R::kPlain},
    {"cancelinitialize",        M::kMethod, 0x1000,     R::kPlain},
    {"splitmirror",             M::kMethod, 0x2000,     R::kPlain},
    {"unmirror",                M::kMethod, 0x4000,     R::kPlain},
    {"cancelrebuild",           M::kMethod, 0x8000,     R::kPlain},
    {"pausecheckconsistency",   M::kMethod, 0x10000,    R::kPlain},
    {"resumecheckconsistency",  M::kMethod, 0x20000,    R::kPlain},
    {"cancelreconfigure",       M::kMethod, 0x40000,    R::kPlain},
    {"changepolicy",            M::kMethod, 0x80000,    R::kPlain},
    {"cancelbginitialize",      M::kMethod, 0x100000,   R::kPlain},
    {"slowinit",                M::kMethod, 0x400000,   R::kPlain},
    {"fastinit",                M::kMethod, 0x800000,   R::kPlain},
    {"replacememberdisk",       M::kMethod, 0x1000000,  R::kPlain},
    {"clearvdbadblocks",        M::kMethod, 0x4000000,  R::kPlain},
    {"SecureVD",                M::kMethod, 0x8000000,  R::kPlain},
    {"resize",                  M::kMethod, 0x10000000, R::kPlain},
    {"enabletarncache",         M::kMethod, 0x20000000, R::kPlain},
    {"disabletarncache",        M::kMethod, 0x40000000, R::kPlain},
    {"reactivate",              M::kMethod, 0x80000000, R::kPlain},
};

constexpr MaskRow kPartitionRows[] = {
    {"enabletarncache",  M::kMethod, 0x20000000, R::kPlain},
    {"disabletarncache", M::kMethod, 0x40000000, R::kPlain},
    {"reactivate",       M::kMethod, 0x80000000, R::kPlain},
};

constexpr MaskRow kCachedLunRows[] = {
    {"disablewithdiscard", M::kMethod, 0x1, R::kPlain},
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
    Answer a;
    switch (row.masks) {
        case Masks::kMethod:
        case Masks::kStorageRoot:
            a = {m.master & row.bit, m.current & row.bit};
            break;
        case Masks::kMethod1:
            a = {m.master1 & row.bit, m.current1 & row.bit};
            break;
        case Masks::kCurrentOnly:
            a.supported = a.current = m.current & row.bit;
            break;
        case Masks::kMasterOnly:
            a.supported = a.current = m.master & row.bit;
            break;
        case Masks::kAlways:
            return {1, 1};
    }
    if (row.rule != Rule::kPlain && a.supported == 0 && a.current == 0) {
        a = {m.master & kFallbackBit, m.current & kFallbackBit};
    }
    if (row.rule == Rule::kSecureImport && a.current != 0 &&
        (m.attributes & kSecureImportAttribute) == 0) {
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
    const char* request;
    const char* keyTag;
    Match match;
    std::span<const MaskRow> rows;
    const char* noBufferLine;
    const char* noAnswerLine;
    bool traceMasks;  // level-4 lines of the masks read
};

// clang-format off
constexpr ObjectKind kController  {"IsUserOperationValidForController", "getControllerList",            "GlobalNo",        Match::kKeyTag,       kControllerRows,  "IsUserOperationValidForController: OCSXAllocBuf failed",  "IsUserOperationValidForController: OCSXAllocBuf failed:",  false};
constexpr ObjectKind kChannel     {"IsUserOperationValidForChannel",    "getChannelsForController",     "Channel",         Match::kKeyTag,       kChannelRows,     "IsUserOperationValidForChannel: OCSXAllocBuf failed",     "IsUserOperationValidForChannel: OCSXAllocBuf failed:",     false};
constexpr ObjectKind kNVMeAdapter {"IsUserOperationValidForNVMeAdapter","getNVMeAdaptersForController", "Channel",         Match::kKeyTag,       kNVMeAdapterRows, "IsUserOperationValidForNVMeAdapter: OCSXAllocBuf failed", "IsUserOperationValidForNVMeAdapter: OCSXAllocBuf failed:", false};
constexpr ObjectKind kEnclosure   {"IsUserOperationValidForEnclosure",  "getEnclosuresForController",   "Channel",         Match::kEnclosure,    kEnclosureRows,   "IsUserOperationValidForEnclosure: OCSXAllocBuf failed",   "IsUserOperationValidForEnclosure: OCSXAllocBuf failed:",   false};
constexpr ObjectKind kBattery     {"IsUserOperationValidForBattery",    "getBatteriesForController",    "BatteryID",       Match::kKeyTag,       kBatteryRows,     "IsUserOperationValidForBattery: OCSXAllocBuf failed",     "IsUserOperationValidForBattery: OCSXAllocBuf failed:",     false};
constexpr ObjectKind kArrayDisk   {"IsUserOperationValidForArrayDisk",  "getArrayDisksForController",   "TargetID",        Match::kDiskLikeUser, kArrayDiskRows,   "IsUserOperationValidForArrayDisk(): OCSXAllocBuf() failed!!\n", "IsUserOperationValidForArrayDisk(): OCSXAllocBuf() failed!!\n", false};
constexpr ObjectKind kVirtualDisk {"IsUserOperationValidForVirtualDisk","getVirtualDisksForController", "LogicalDriveNum", Match::kKeyTag,       kVirtualDiskRows, "IsUserOperationValidForVirtualDisk: OCSXAllocBuf failed:", "IsUserOperationValidForVirtualDisk: OCSXAllocBuf failed:", true};
constexpr ObjectKind kPartition   {"IsUserOperationValidForPartition",  "getPartitionsForVirtualDisk",  "PartitionPath",   Match::kKeyTag,       kPartitionRows,   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   true};
constexpr ObjectKind kCachedLun   {"IsUserInputValidForCachedluns",     "getAllCachedLuns",             "CacheLunName",    Match::kKeyTag,       kCachedLunRows,   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   "IsUserOperationValidForPartition: OCSXAllocBuf failed:",   true};
constexpr ObjectKind kStorage     {"IsUserOperationValidForStorageObject", "sendPassThruCmdToQXSIF",    nullptr,           Match::kFirst,        kStorageRows,     nullptr, nullptr, false};
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
                   m.master = objects.Mask(found, "MasterMethodMask");
                   m.current = objects.Mask(found, "CurrentMethodMask");
                   m.master1 = objects.Mask(found, "MasterMethodMask1");
                   m.current1 = objects.Mask(found, "CurrentMethodMask1");
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
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const MaskRow& row = rows[i];
        const std::string where = "row " + std::to_string(i);
        if (row.action == nullptr || *row.action == '\0') return where + ": no action";
        const std::string what = where + " (" + row.action + ")";
        for (std::size_t o = 0; o < i; ++o) {
            if (strcmpCaseIgnore(rows[o].action, row.action) == 0) return what + ": listed twice";
        }
        const bool readsMasks = row.masks != Masks::kAlways && row.masks != Masks::kStorageRoot;
        if (readsMasks && std::popcount(row.bit) != 1) return what + ": the bit is not one bit";
        if (!readsMasks && row.bit != 0) return what + ": a bit that no mask is read for";
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
