// "vkconfig storage globalinfo": storage-wide settings, and the service
// actions addressed to one controller, virtual disk or battery;
// "vkconfig storage tarncache": connecting the cache feature.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "callback_support.h"
#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "da.h"
#include "handlers.h"
#include "kvsup.h"
#include "ocs.h"
#include "trace.h"

namespace {

using kvclp::Action;
using kvclp::vkacmd;

// clang-format off
constexpr int32_t kInvalidDisk           = 1602;
constexpr int32_t kInvalidVirtualDisk    = 1604;
constexpr int32_t kNoVirtualDisks        = 1622;
constexpr int32_t kNotForController      = 1650;
constexpr int32_t kSamePatrolReadRate    = 1657;
constexpr int32_t kNoPatrolReadRate      = 1661;
constexpr int32_t kHotSparesOver16       = 1693;
constexpr int32_t kWarnLevelOver3        = 1694;
constexpr int32_t kHsCountWarnLevelPair  = 1695;
constexpr int32_t kGhsStateOnlyForDhs    = 1696;
constexpr int32_t kRaidMissing           = 1697;
constexpr int32_t kRaidWithDhs           = 1698;
constexpr int32_t kGhsStateMissing       = 1699;
constexpr int32_t kGhsStateMustBeYes     = 1710;
constexpr int32_t kBadDeviceType         = 1770;
constexpr int32_t kBadThreshold          = 1771;
constexpr int32_t kBadMode               = 1772;
constexpr int32_t kSameThreshold         = 1773;
// clang-format on

constexpr uint32_t kGlobalUsage = 6994;
constexpr uint32_t kGlobalSecond = 6995;
// The service request is for this controller model only.
constexpr const char* kServiceModel = "MOLR SATA 1.5/6ch";
constexpr const char* kNoArrayDisks = "None - There are no array disks on this controller.";

constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kSmall = CLPS_VT_SMALL_UINT;
constexpr uint32_t kRate = CLPS_VT_RATE;
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kDisk = CLPS_VT_DISK;
constexpr uint32_t kRequired = CLPS_USE_REQUIRED;
constexpr uint32_t kFixedPair = CLPS_USE_FIXED_PAIR;
constexpr uint32_t kOptKeyword = CLPS_USE_OPT_KEYWORD;
constexpr uint32_t kGroupKeyword = CLPS_USE_GROUP_KEYWORD;
constexpr uint32_t kReqKeyword = CLPS_USE_REQ_KEYWORD;
constexpr uint32_t kHidden = CLPS_ROW_HIDDEN;
constexpr const char* kDiskForm = "5:31,1:4:31";

// clang-format off
// ---- the global table ---------------------------------------------------------
constexpr auto kModeParams = std::to_array<CLPSNVParamRow>({
    {"mode", "mode=yes", kText, kReqKeyword, "yes", 0},
    {"mode", "mode=no",  kText, kReqKeyword, "no",  0},
});
constexpr auto kProtectionParams = std::to_array<CLPSNVParamRow>({
    {"type",                "type=ghs",                kText,  kReqKeyword, "ghs", 0},
    {"type",                "type=dhs",                kText,  kReqKeyword, "dhs", 0},
    {"raid",                "Layout=4",                kText,  kOptKeyword, "r1",  0},
    {"raid",                "Layout=64",               kText,  kOptKeyword, "r5",  0},
    {"raid",                "Layout=128",              kText,  kOptKeyword, "r6",  0},
    {"raid",                "Layout=512",              kText,  kOptKeyword, "r10", 0},
    {"raid",                "Layout=2048",             kText,  kOptKeyword, "r50", 0},
    {"raid",                "Layout=262144",           kText,  kOptKeyword, "r60", 0},
    {"raid",                "Layout=524288",           kText,  kOptKeyword, "all", 0},
    {"hscount",             "hscount=",                kSmall, kRequired,   nullptr, 0},
    {"warnlevel",           "warnlevel=",              kSmall, kRequired,   nullptr, 0},
    {"includeghsinvdstate", "includeghsinvdstate=yes", kText,  kOptKeyword, "yes", 0},
    {"includeghsinvdstate", "includeghsinvdstate=no",  kText,  kOptKeyword, "no",  0},
});
constexpr auto kThresholdParams = std::to_array<CLPSNVParamRow>({
    {"type",      "type=sassata", kText, kReqKeyword, "sassata", 0},
    {"type",      "type=pciessd", kText, kReqKeyword, "pciessd", 0},
    {"threshold", "threshold=",   kNum,  kRequired,   nullptr,   0},
});

// The global table's seventh row: the storage-wide debug pass-through, hidden
// from the usage help like the controller's; the storage object always
// allows it.
constexpr auto kDebugParams = std::to_array<CLPSNVParamRow>({
    {"NumQXSIFArgs", "NumQXSIFArgs=", kNum,  CLPS_USE_FIXED, "1",     0},
    {"param0",       "param0=",       kText, CLPS_USE_FIXED, "debug", 0},
});

constexpr auto kGlobalTable = std::to_array<CLPSNVActionRow>({
    Action("setnonzorncertifiedmode",                  vkacmd.setnonzorncertifiedmode,                  kModeParams),
    Action("globalrescan",                             vkacmd.setCntrlGlobalRescan),
    Action("enablests",                                vkacmd.setEnclosureEnableSTS),
    Action("disablests",                               vkacmd.setEnclosureDisableSTS),
    Action("setprotectionpolicies",                    vkacmd.setProtectionPolicies,                    kProtectionParams),
    Action("setremainingratedwriteendurancethreshold", vkacmd.setRemainingRatedWriteEnduranceThreshold, kThresholdParams),
    Action("debug",                                    vkacmd.sendPassThruCmdToQXSIF,                   kDebugParams, kHidden),
});

// ---- the service actions, one table each ------------------------------------------
constexpr auto kServiceRequestParams = std::to_array<CLPSNVParamRow>({
    {"controller",  "GlobalNo=",        kNum,  kRequired,     nullptr, 0},
    {"vdisk",       "LogicalDriveNum=", kNum,  kRequired,     nullptr, 0},
    {"writepolicy", "WritePolicy=1",    kText, kGroupKeyword, "wc",    0},
    {"writepolicy", "WritePolicy=2",    kText, kGroupKeyword, "nwc",   0},
    {"writepolicy", "WritePolicy=16",   kText, kGroupKeyword, "wea",   0},
});
constexpr auto kMissingDiskParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,  kRequired, nullptr,   0},
    {"vdisk",      "LogicalDriveNum=", kNum,  kRequired, nullptr,   0},
    {"newpdisk",   "newadisk=",        kDisk, kRequired, kDiskForm, 0},
    {"oldpdisk",   "oldadisk=",        kDisk, kRequired, kDiskForm, 0},
});
constexpr auto kPatrolReadRateParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,  kRequired, nullptr, 0},
    {"rate",       "Rate=",     kRate, kRequired, nullptr, 0},
});
constexpr auto kLearnModeParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",    kNum,  kRequired,     nullptr, 0},
    {"battery",    "BatteryID=",   kNum,  kRequired,     nullptr, 0},
    {"learnmode",  "LearnMode=1",  kText, kGroupKeyword, "auto",  0},
    {"learnmode",  "LearnMode=2",  kText, kGroupKeyword, "warn",  0},
});

constexpr auto kServiceRequestTable = std::to_array<CLPSNVActionRow>({
    Action("servicerequest", vkacmd.setVDReconfigure, kServiceRequestParams, kHidden),
});
constexpr auto kMissingDiskTable = std::to_array<CLPSNVActionRow>({
    Action("service_replacemissingpdisk", vkacmd.setVDAddMissingDisk, kMissingDiskParams, kHidden),
});
constexpr auto kPatrolReadRateTable = std::to_array<CLPSNVActionRow>({
    Action("service_patrolreadrate", vkacmd.setCntrlPatrolReadRate, kPatrolReadRateParams, kHidden),
});
constexpr auto kLearnModeTable = std::to_array<CLPSNVActionRow>({
    Action("service_changelearnmode", vkacmd.setBatteryLearnMode, kLearnModeParams, kHidden),
});
// The store dump of the service actions: the agent's dump of every object.
constexpr auto kDumpStoreTable = std::to_array<CLPSNVActionRow>({
    Action("service_dumpstore", vkacmd.getStoreDump, {}, kHidden),
});

// ---- the cache feature ------------------------------------------------------------
constexpr auto kTarnCacheParams = std::to_array<CLPSNVParamRow>({
    {nullptr, "ObjType=", kText, kFixedPair, "Tarn Cache", 0},
});
constexpr auto kTarnCacheTable = std::to_array<CLPSNVActionRow>({
    Action("connect", vkacmd.setTarnCacheRefresh, kTarnCacheParams),
});
// clang-format on

bool Is(const char* value, const char* keyword) {
    return value != nullptr && strcmpCaseIgnore(value, keyword) == 0;
}

void Trace(const char* text) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) SysDbgPrint("%s", text);
}

long Number(const char* text) {
    return text != nullptr ? std::strtol(text, nullptr, 10) : 0;
}

std::string Named(const char* name, const char* value) {
    return std::string(name) + "=" + (value != nullptr ? value : "");
}

// ---- global settings ----------------------------------------------------------------

int32_t CheckProtectionPolicies(const config::CallbackCall& call) {
    const char* type = call.User("type");
    const char* hsCount = call.User("hscount");
    const char* warnLevel = call.User("warnlevel");
    const char* raid = call.User("raid");
    const char* ghsState = call.User("includeghsinvdstate");
    if (type != nullptr) {
        if (Is(type, "dhs")) {
            if (raid != nullptr) return call.Refuse(kRaidWithDhs, Named("raid", raid), "");
            if (ghsState == nullptr)
                return call.Refuse(kGhsStateMissing, "includeghsinvdstate", "");
        } else {
            if (ghsState != nullptr)
                return call.Refuse(kGhsStateOnlyForDhs, Named("includeghsinvdstate", ghsState), "");
            if (raid == nullptr) return call.Refuse(kRaidMissing, "raid", "");
        }
    }
    if ((hsCount == nullptr) != (warnLevel == nullptr))
        return call.Refuse(kHsCountWarnLevelPair, hsCount == nullptr ? "hscount" : "warnlevel", "");
    if (Number(warnLevel) > 3)
        return call.Refuse(kWarnLevelOver3, Named("warnlevel", warnLevel), "");
    if (Number(hsCount) > 16) return call.Refuse(kHotSparesOver16, Named("hscount", hsCount), "");
    if (hsCount != nullptr && Number(hsCount) == 0 && Number(warnLevel) == 0 &&
        ghsState != nullptr && !Is(ghsState, "yes"))
        return call.Refuse(kGhsStateMustBeYes, Named("includeghsinvdstate", ghsState), "");
    return config::kSend;
}

int32_t CheckWriteEnduranceThreshold(const config::CallbackCall& call) {
    Trace(
        "CmdConfigGlobalInfoValidateFunc(): USR_ACTION_SET_SSD_RRWE_THRESHOLD for storage "
        "object\n");
    const char* type = call.User("type");
    const char* threshold = call.User("threshold");
    int32_t deviceClass = -1;
    if (Is(type, "sassata")) deviceClass = 0;
    if (Is(type, "pciessd")) deviceClass = 1;
    if (deviceClass < 0) {
        Trace("CmdConfigGlobalInfoValidateFunc(): pRRWESSDTypeis invalid\n");
        return call.Refuse(kBadDeviceType, type != nullptr ? type : "", "sassata, pciessd");
    }
    const long wanted = Number(threshold);
    if (threshold == nullptr || wanted < 1 || wanted > 100)
        return call.Refuse(kBadThreshold, threshold != nullptr ? threshold : "", "");
    std::array<char, 32> present{};
    if (GetRRWEThresholdValue(deviceClass, present.data(), present.size()) != 0)
        return call.Refuse(config::kCannotRead, type, "");
    if (Number(present.data()) == wanted) {
        Trace(
            "CmdConfigGlobalInfoValidateFunc(): The current and new threshold values are "
            "same!!!.\n");
        return call.Refuse(kSameThreshold, threshold, present.data());
    }
    return config::kSend;
}

int32_t CmdConfigGlobalInfoValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                        uint32_t* nvCount, const char** nvList, void*, void*,
                                        char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigGlobalInfoValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* action = call.User("action");
    uint32_t supported = 0;
    uint32_t current = 0;
    IsUserOperationValidForStorageObject(action, &supported, &current);
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL))
        SysDbgPrint("CmdConfigGlobalInfoValidateFunc(): pAction=%s is valid for storage object\n",
                    action);

    if (Is(action, "setprotectionpolicies")) return CheckProtectionPolicies(call);
    if (Is(action, "setremainingratedwriteendurancethreshold"))
        return CheckWriteEnduranceThreshold(call);
    if (Is(action, "setnonzorncertifiedmode")) {
        const char* mode = call.User("mode");
        if (!Is(mode, "yes") && !Is(mode, "no")) {
            Trace(
                "CmdConfigGlobalInfoValidateFunc(): strcmpCaseIgnore invalid for "
                "USR_ACTION_SET_NON_ZORN_CERTIFIED_MODE\n");
            return call.Refuse(kBadMode, mode != nullptr ? mode : "", "yes, no");
        }
    }
    return config::kSend;
}

// ---- service actions ----------------------------------------------------------------

int32_t CheckVirtualDisk(const config::CallbackCall& call, const char* controller,
                         const char* vdisk) {
    if (vdisk == nullptr) return 0;
    std::string valid;
    if (IsUserVirtualDiskIdValid(vdisk, controller, valid) == 0) return 0;
    if (valid.empty())
        return call.Refuse(kNoVirtualDisks, controller != nullptr ? controller : "", "");
    return call.Refuse(kInvalidVirtualDisk, vdisk, valid);
}

int32_t CmdConfigServiceRequestValidateFunc(void*, void*, uint32_t userCount,
                                            const char** userWords, uint32_t* nvCount,
                                            const char** nvList, void*, void*, char* errText1,
                                            char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigServiceRequestValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* controller = call.User("controller");
    const char* vdisk = call.User("vdisk");
    const char* writePolicy = call.User("writepolicy");
    std::array<char, 256> name{};
    const int32_t named = GetControllerNameFromUserInput(controller, name.data());
    if (writePolicy == nullptr) return call.Refuse(kNotForController, "servicerequest", "");
    if (int32_t refused = config::CheckController(call, controller)) return refused;
    if (int32_t refused = CheckVirtualDisk(call, controller, vdisk)) return refused;
    if (named != 0 || std::strcmp(name.data(), kServiceModel) != 0)
        return call.Refuse(kNotForController, "servicerequest", name.data());
    return config::kSend;
}

int32_t CmdConfigServiceMissingDiskValidateFunc(void*, void*, uint32_t userCount,
                                                const char** userWords, uint32_t* nvCount,
                                                const char** nvList, void*, void*, char* errText1,
                                                char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigServiceMissingDiskValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* controller = call.User("controller");
    const char* vdisk = call.User("vdisk");
    const char* newDisk = call.User("newpdisk");
    if (int32_t refused = config::CheckController(call, controller)) return refused;
    if (int32_t refused = CheckVirtualDisk(call, controller, vdisk)) return refused;
    if (newDisk != nullptr) {
        std::string valid;
        uint32_t count = 0;
        if (IsUserArrayDiskIdValid(newDisk, controller, valid, 0, &count) != 0)
            return call.Refuse(kInvalidDisk, newDisk, count != 0 ? valid : kNoArrayDisks);
    }
    return config::kSend;
}

int32_t CmdConfigService_PatrolReadRate_ValidateFunc(void*, void*, uint32_t userCount,
                                                     const char** userWords, uint32_t* nvCount,
                                                     const char** nvList, void*, void*,
                                                     char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigService_PatrolReadRate_ValidateFunc");
    config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* controller = call.User("controller");
    const char* rate = call.User("rate");
    // A controller that fails its test ends the check: nothing else can be
    // read from it. As in the controller command, any failure (a busy
    // controller included) is 1600 with the valid controllers.
    if (int32_t refused = config::CheckControllerWithSize(call, controller)) {
        Trace(
            "CmdConfigService_PatrolReadRate_ValidateFunc(): IsUserControllerIdValidWithSize() "
            "returned not SUCCESS\n");
        return refused;
    }
    constexpr const char* kRateTag = "PatrolReadRate";
    std::array<char, 256> present{};
    const int32_t status =
        GetTagValueForController(controller, kRateTag, present.data(), present.size());
    if (status == kDANoXmlBuffer) return call.Refuse(config::kCannotRead, kRateTag, "");
    if (status != 0 || present[0] == '\0') {
        if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL))
            SysDbgPrint(
                "CmdConfigService_PatrolReadRate_ValidateFunc(): pRateTag=%s not found in "
                "controller xml\n",
                kRateTag);
        return call.Refuse(kNoPatrolReadRate, controller != nullptr ? controller : "", "");
    }
    if (rate != nullptr && Number(rate) == Number(present.data()))
        return call.Refuse(kSamePatrolReadRate, rate, present.data());
    if (!call.AppendNumber("AttribType", 2))
        return call.Refuse(CLPS_MSG_OUT_OF_MEMORY, "AttribType", "");
    return config::kSend;
}

// The global table first, then each service action's own table with its
// own check (none for the store dump and the learn mode).
constexpr auto kCandidates = std::to_array<CLPSNVTable>({
    kvclp::Candidate(kGlobalTable, CmdConfigGlobalInfoValidateFunc),
    kvclp::Candidate(kServiceRequestTable, CmdConfigServiceRequestValidateFunc),
    kvclp::Candidate(kMissingDiskTable, CmdConfigServiceMissingDiskValidateFunc),
    kvclp::Candidate(kPatrolReadRateTable, CmdConfigService_PatrolReadRate_ValidateFunc),
    kvclp::Candidate(kDumpStoreTable, nullptr),
    kvclp::Candidate(kLearnModeTable, nullptr),
});

// clang-format off
constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage globalinfo", "",                            kGlobalTable},
    {"vkconfig storage globalinfo", "servicerequest",              kServiceRequestTable},
    {"vkconfig storage globalinfo", "service_replacemissingpdisk", kMissingDiskTable},
    {"vkconfig storage globalinfo", "service_patrolreadrate",      kPatrolReadRateTable},
    {"vkconfig storage globalinfo", "service_dumpstore",           kDumpStoreTable},
    {"vkconfig storage globalinfo", "service_changelearnmode",     kLearnModeTable},
    {"vkconfig storage tarncache",  "",                            kTarnCacheTable},
});
// clang-format on

}  // namespace

const std::span<const kvclp::TableRef> config::kGlobalSettingsTables = kTables;

CLPSResponse* ConfigGlobalInfo(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    // A service action has a table of its own; any other action (or none)
    // is the global table's.
    const char* action = OCSGetAStrParamValueByAStrName(argc, argv, "action", 1);
    uint32_t chosen = 0;
    for (uint32_t t = 1; t < kCandidates.size(); ++t) {
        if (Is(action, kCandidates[t].pRows[0].pKeyValue)) chosen = t;
    }
    return CLPSNVCmdConfigFuncTables(argc, argv, kGlobalUsage, kGlobalSecond, kCandidates.data(),
                                     kCandidates.size(), chosen, "kvclp.xsl");
}

CLPSResponse* ConfigTarnCache(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6082, 6083, kTarnCacheTable.data(),
                               kTarnCacheTable.size(), "kvclp.xsl",
                               CmdConfigGlobalInfoValidateFunc);
}
