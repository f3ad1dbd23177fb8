// Physical-disk configuration: the "adisk" and "pdisk" command tables and
// their shared validate callback. The callback refuses a command before it
// is sent when the export file name is unusable, the controller or disk is
// unknown, the disk does not offer the action (now), the cache setting is
// already in force or a secure-erase flavour does not suit the disk; it
// appends the Property pair the clear actions need.
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "callback_support.h"
#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "handlers.h"
#include "kvsup.h"
#include "text.h"
#include "trace.h"

namespace {

constexpr const char* kCallbackName = "CmdConfigArrayDisksValidateFunc";

// clang-format off
constexpr int32_t kInvalidDisk       = 1602;
constexpr int32_t kSameCacheSetting  = 1777;
constexpr int32_t kInvalidFileName   = 1778;
// clang-format on

constexpr std::size_t kDiskListSize = 2048;  // valid disk ids, terminator included
constexpr std::size_t kFileNameMax = 100;
constexpr const char* kNoDisks = "None - There are no physical disks on this controller.";
constexpr const char* kNvmeBusProtocol = "9";
constexpr const char* kYes = "1";

// Shorthands of the parameter rows.
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kDisk = CLPS_VT_DISK;
constexpr uint32_t kDiskList = CLPS_VT_DISK_LIST;
constexpr const char* kDiskForm = "5:31,1:4:31";

// clang-format off
constexpr auto kADiskStandard = std::to_array<CLPSNVParamRow>({  // L1
    {"controller", "GlobalNo=", kNum,  CLPS_USE_REQUIRED, nullptr,   0},
    {"adisk",      "adisk=",    kDisk, CLPS_USE_REQUIRED, kDiskForm, 0},
});
constexpr auto kPDiskStandard = std::to_array<CLPSNVParamRow>({  // L2
    {"controller", "GlobalNo=", kNum,  CLPS_USE_REQUIRED, nullptr,   0},
    {"pdisk",      "adisk=",    kDisk, CLPS_USE_REQUIRED, kDiskForm, 0},
    {"Filename",   "FileName=", kText, CLPS_USE_OPTIONAL, nullptr,   0},
});
constexpr auto kADiskHotSpare = std::to_array<CLPSNVParamRow>({  // L3
    {"controller", "GlobalNo=", kNum,  CLPS_USE_REQUIRED,    nullptr,   0},
    {"adisk",      "adisk=",    kDisk, CLPS_USE_REQUIRED,    kDiskForm, 0},
    {"assign",     "set=yes",   kText, CLPS_USE_REQ_KEYWORD, "yes",     0},
    {"assign",     "set=no",    kText, CLPS_USE_REQ_KEYWORD, "no",      0},
});
constexpr auto kPDiskHotSpare = std::to_array<CLPSNVParamRow>({  // L4
    {"controller", "GlobalNo=", kNum,  CLPS_USE_REQUIRED,    nullptr,   0},
    {"pdisk",      "adisk=",    kDisk, CLPS_USE_REQUIRED,    kDiskForm, 0},
    {"assign",     "set=yes",   kText, CLPS_USE_REQ_KEYWORD, "yes",     0},
    {"assign",     "set=no",    kText, CLPS_USE_REQ_KEYWORD, "no",      0},
});
constexpr auto kSecureErase = std::to_array<CLPSNVParamRow>({  // L5
    {"controller", "GlobalNo=", kNum,  CLPS_USE_REQUIRED, nullptr,   0},
    {"pdisk",      "adisk=",    kDisk, CLPS_USE_REQUIRED, kDiskForm, 0},
});
constexpr auto kConversion = std::to_array<CLPSNVParamRow>({  // L6: conversion and device write cache
    {"controller", "GlobalNo=", kNum,     CLPS_USE_REQUIRED, nullptr,   0},
    {"pdisk",      "adisk=",    kDiskList, CLPS_USE_OPTIONAL, kDiskForm, 0},
});
constexpr auto kDiskCache = std::to_array<CLPSNVParamRow>({  // L7
    {"controller", "GlobalNo=",              kNum,      CLPS_USE_REQUIRED,      nullptr,    0},
    {"pdisk",      "adisk=",                 kDiskList, CLPS_USE_OPTIONAL,      kDiskForm,  0},
    {"cache",      "diskwritecachepolicy=2", kText,     CLPS_USE_GROUP_KEYWORD, "enabled",  0},
    {"cache",      "diskwritecachepolicy=4", kText,     CLPS_USE_GROUP_KEYWORD, "disabled", 0},
    {"cache",      "diskwritecachepolicy=8", kText,     CLPS_USE_GROUP_KEYWORD, "default",  0},
});
// clang-format on

using kvclp::Action;
using kvclp::vkacmd;

// clang-format off
constexpr auto kADiskTable = std::to_array<CLPSNVActionRow>({
    Action("blink",                   vkacmd.setArrayDiskBlink,              kADiskStandard),
    Action("unblink",                 vkacmd.setArrayDiskUnBlink,            kADiskStandard),
    Action("remove",                  vkacmd.setArrayDiskPrepareToRemove,    kADiskStandard),
    Action("initialize",              vkacmd.setArrayDiskInitialize,         kADiskStandard),
    Action("rebuild",                 vkacmd.setArrayDiskRebuild,            kADiskStandard),
    Action("cancelrebuild",           vkacmd.setArrayDiskCancelRebuild,      kADiskStandard),
    Action("cancelreplacemember",     vkacmd.setArrayDiskCancelCopyback,     kADiskStandard),
    Action("offline",                 vkacmd.setArrayDiskOffline,            kADiskStandard),
    Action("removedeadsegments",      vkacmd.setArrayDiskRemoveDeadSegments, kADiskStandard),
    Action("online",                  vkacmd.setArrayDiskOnline,             kADiskStandard),
    Action("assignglobalhotspare",    vkacmd.setArrayDiskGlobalHotSpare,     kADiskHotSpare),
    Action("clear",                   vkacmd.setArrayDiskClear,              kADiskStandard),
    Action("cancelclear",             vkacmd.setArrayDiskCancelClear,        kADiskStandard),
    Action("convertNonRAIDtoRAID",    vkacmd.convertNonRAIDtoRAID,           kConversion),
    Action("convertRAIDtoNonRAID",    vkacmd.convertRAIDtoNonRAID,           kConversion),
    Action("enabledevicewritecache",  vkacmd.enableArrayDiskWriteCache,      kConversion),
    Action("disabledevicewritecache", vkacmd.disableArrayDiskWriteCache,     kConversion),
    Action("exportlog",               vkacmd.exportDiskReliabilityLog,       kADiskStandard),
});
constexpr auto kPDiskTable = std::to_array<CLPSNVActionRow>({
    Action("blink",                   vkacmd.setArrayDiskBlink,              kPDiskStandard),
    Action("unblink",                 vkacmd.setArrayDiskUnBlink,            kPDiskStandard),
    Action("remove",                  vkacmd.setArrayDiskPrepareToRemove,    kPDiskStandard),
    Action("initialize",              vkacmd.setArrayDiskInitialize,         kPDiskStandard),
    Action("rebuild",                 vkacmd.setArrayDiskRebuild,            kPDiskStandard),
    Action("cancelrebuild",           vkacmd.setArrayDiskCancelRebuild,      kPDiskStandard),
    Action("cancelreplacemember",     vkacmd.setArrayDiskCancelCopyback,     kPDiskStandard),
    Action("offline",                 vkacmd.setArrayDiskOffline,            kPDiskStandard),
    Action("removedeadsegments",      vkacmd.setArrayDiskRemoveDeadSegments, kPDiskStandard),
    Action("online",                  vkacmd.setArrayDiskOnline,             kPDiskStandard),
    Action("assignglobalhotspare",    vkacmd.setArrayDiskGlobalHotSpare,     kPDiskHotSpare),
    Action("clear",                   vkacmd.setArrayDiskClear,              kPDiskStandard),
    Action("cancelclear",             vkacmd.setArrayDiskCancelClear,        kPDiskStandard),
    Action("cryptographicerase",      vkacmd.setArrayDiskSecureErase,        kSecureErase),
    Action("instantsecureerase",      vkacmd.setArrayDiskSecureErase,        kSecureErase),
    Action("convertNonRAIDtoRAID",    vkacmd.convertNonRAIDtoRAID,           kConversion),
    Action("convertRAIDtoNonRAID",    vkacmd.convertRAIDtoNonRAID,           kConversion),
    Action("enabledevicewritecache",  vkacmd.enableArrayDiskWriteCache,      kConversion),
    Action("disabledevicewritecache", vkacmd.disableArrayDiskWriteCache,     kConversion),
    Action("exportlog",               vkacmd.exportDiskReliabilityLog,       kPDiskStandard),
    Action("setarraydiskcache",       vkacmd.setarraydiskcache,              kDiskCache),
});

// Device names a file may not be called, and the beginnings that refuse a
// name. The second list pairs with the first pass by pass; "NULL." and
// "COM0." stand joined as one entry and its last entry is "CON", so any name
// beginning with "con" is refused while NULL.x and COM0.x pass.
constexpr auto kReservedNames = std::to_array<std::string_view>({
    "CON",  "PRN",  "AUX",  "NUL",  "NULL", "COM0", "COM1", "COM2", "COM3",
    "COM4", "COM5", "COM6", "COM7", "COM8", "COM9", "LPT0", "LPT1", "LPT2",
    "LPT3", "LPT4", "LPT5", "LPT6", "LPT7", "LPT8", "LPT9",
});
constexpr auto kReservedPrefixes = std::to_array<std::string_view>({
    "CON.",  "PRN.",  "AUX.",  "NUL.",  "NULL.COM0.", "COM1.", "COM2.", "COM3.", "COM4.",
    "COM5.", "COM6.", "COM7.", "COM8.", "COM9.",      "LPT0.", "LPT1.", "LPT2.", "LPT3.",
    "LPT4.", "LPT5.", "LPT6.", "LPT7.", "LPT8.", "LPT9.", "CON",
});
static_assert(kReservedNames.size() == kReservedPrefixes.size(), "the lists pair pass by pass");
constexpr std::string_view kForbiddenFileChars = "\"*/<>?\\|";
// clang-format on

bool IsFileNameValid(const char* value) {
    if (value == nullptr) return false;
    const std::string_view name = value;
    if (name.size() > kFileNameMax) return false;
    for (std::size_t i = 0; i < kReservedNames.size(); ++i) {
        if (vk::EqualsIgnoreCase(name, kReservedNames[i])) return false;
        const std::string_view prefix = kReservedPrefixes[i];
        if (name.size() >= prefix.size() &&
            vk::EqualsIgnoreCase(name.substr(0, prefix.size()), prefix))
            return false;
    }
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        if (kForbiddenFileChars.find(c) != std::string_view::npos) return false;
        if ((c == ' ' || c == '.') && i + 1 == name.size()) return false;
    }
    return true;
}

bool Is(const char* value, const char* keyword) {
    return value != nullptr && strcmpCaseIgnore(value, keyword) == 0;
}

// The level-3 line of a refusal: "Exiting CmdConfigArrayDisksValidateFunc: "
// with the reason and the value.
void TraceRefusal(const char* reason, const char* value) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL))
        SysDbgPrint("Exiting CmdConfigArrayDisksValidateFunc: %s%s\n", reason,
                    value != nullptr ? value : "");
}

// The list of valid ids as the 2048-byte text holds it.
std::string Bounded(const std::string& list) {
    return list.substr(0, kDiskListSize - 1);
}

// The action as the refusal shows it: the hot-spare pair names its assign
// value.
std::string_view DisplayName(std::string_view operation) {
    if (operation == "assignglobalhotspare") return "assignglobalhotspare assign=yes";
    if (operation == "unassignglobalhotspare") return "assignglobalhotspare assign=no";
    return operation;
}

int32_t Refuse(const config::CallbackCall& call, int32_t status, std::string_view first,
               std::string_view second) {
    LogFunctionExit(kCallbackName);
    return call.Refuse(status, first, second);
}

int32_t CmdConfigArrayDisksValidateFunc([[maybe_unused]] void* reserved0,
                                        [[maybe_unused]] void* reserved1, uint32_t userCount,
                                        const char** userWords, uint32_t* pNVCount,
                                        const char** ppNVList, [[maybe_unused]] void* reserved2,
                                        [[maybe_unused]] void* reserved3, char* errText1,
                                        char* errText2) {
    LogFunctionEntry(kCallbackName);
    config::CallbackCall call(userCount, userWords, pNVCount, ppNVList, errText1, errText2);

    const char* fileName = call.User("Filename");
    if (fileName != nullptr && !IsFileNameValid(fileName)) {
        TraceRefusal("Invalid filename- ", fileName);
        return Refuse(call, kInvalidFileName, fileName, "");
    }

    const char* disk = call.User("adisk");
    if (disk == nullptr) disk = call.User("pdisk");
    const char* controller = call.User("controller");
    const char* diskText = disk != nullptr ? disk : "";

    // Any failure of the controller, a busy one included, is 1600.
    std::array<char, config::kControllerListSize> controllers{};
    if (IsUserControllerIdValidWithSize(controller, controllers.data(), controllers.size()) != 0)
        return Refuse(call, config::kInvalidController, controller != nullptr ? controller : "",
                      controllers.data());

    const char* action = call.User("action");
    std::string validIds;
    uint32_t listed = 0;
    int32_t diskStatus = 0;
    if (Is(action, "convertRAIDtoNonRAID"))
        diskStatus = IsUserArrayDiskIdValidState(disk, controller, validIds, 0, &listed, 1, action);
    else if (Is(action, "convertNonRAIDtoRAID"))
        diskStatus =
            IsUserArrayDiskIdValidState(disk, controller, validIds, 0, &listed, 4096, action);
    if (diskStatus == 0) {
        validIds.clear();
        diskStatus = IsUserArrayDiskIdValid(disk, controller, validIds, 0, &listed);
    }
    if (diskStatus != 0)
        return Refuse(call, kInvalidDisk, diskText, listed != 0 ? Bounded(validIds) : kNoDisks);

    const char* assign = call.User("assign");
    std::string operation = action != nullptr ? action : "";
    if (Is(action, "assignglobalhotspare") && Is(assign, "no"))
        operation = "unassignglobalhotspare";
    uint32_t supported = 0;
    uint32_t enabled = 0;
    IsUserOperationValidForArrayDisk(operation.c_str(), controller, disk, &supported, &enabled);
    if (supported == 0) {
        TraceRefusal("Operation Unsupported - ", operation.c_str());
        return Refuse(call, config::kNotSupported, DisplayName(operation), "");
    }
    if (enabled == 0) {
        TraceRefusal("Operation Disabled - ", operation.c_str());
        return Refuse(call, config::kNotPossibleNow, DisplayName(operation), "");
    }

    const char* cache = call.User("cache");
    if (cache != nullptr) {
        std::string present;
        if (GetDiskCacheForPhysicalDisk(disk, controller, present) != 0)
            return Refuse(call, config::kCannotRead, diskText, "");
        if (IsUserDiskCachePolicySameAsCurrent(present.c_str(), cache) != 0)
            return Refuse(call, kSameCacheSetting, cache, "");
    }

    std::array<char, 16> isDeviceNVME{};
    std::array<char, 8> busProtocol{};
    IsArrayDiskNVME(controller, disk, isDeviceNVME.data(), isDeviceNVME.size(), busProtocol.data(),
                    busProtocol.size());
    const std::string_view bus = busProtocol.data();
    const std::string_view nvme = isDeviceNVME.data();
    // An NVMe-attached disk takes the erase flavour of its kind only.
    if (bus == kNvmeBusProtocol && ((Is(action, "cryptographicerase") && nvme != kYes) ||
                                    (Is(action, "instantsecureerase") && nvme == kYes))) {
        TraceRefusal("Operation Disabled - ", action);
        return Refuse(call, config::kNotPossibleNow, action, "");
    }

    std::array<char, 8> iseCapable{};
    IsArrayDiskISECapable(controller, disk, iseCapable.data(), iseCapable.size());
    // Whatever the disk reads, an instant secure erase that gets this far is
    // refused: the request it would send does not tell the erase flavours
    // apart, so only the cryptographic erase is let through.
    if (Is(action, "instantsecureerase")) {
        TraceRefusal("Operation Disabled - ", action);
        return Refuse(call, config::kNotPossibleNow, action, "");
    }

    // The clear actions tell the agent which clear step is meant.
    int32_t property = 0;
    if (Is(action, "clear")) property = 13;
    if (Is(action, "cancelclear")) property = 14;
    if (property != 0 && !call.AppendNumber("Property", property))
        return Refuse(call, config::kCannotRead, diskText, "");

    LogFunctionExit(kCallbackName);
    return config::kSend;
}

CLPSResponse* RunConfig(uint32_t argc, const char** argv, uint32_t usageMsg, uint32_t secondMsg,
                        std::span<const CLPSNVActionRow> table) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, usageMsg, secondMsg, table.data(),
                               static_cast<uint32_t>(table.size()), "kvclp.xsl",
                               CmdConfigArrayDisksValidateFunc);
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage adisk", "", kADiskTable},
    {"vkconfig storage pdisk", "", kPDiskTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kArrayDiskTables = kTables;

CLPSResponse* ConfigArrayDisk(uint32_t argc, const char** argv) {
    return RunConfig(argc, argv, 6991, 6992, kADiskTable);
}

CLPSResponse* ConfigPhysicalDisk(uint32_t argc, const char** argv) {
    return RunConfig(argc, argv, 6997, 6998, kPDiskTable);
}
