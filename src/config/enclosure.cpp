// "vkconfig storage enclosure": alarm, identification lights, asset and
// service information and temperature-probe warning thresholds.
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
#include "trace.h"

namespace {

using kvclp::Action;
using kvclp::vkacmd;

// clang-format off
constexpr int32_t kInvalidEnclosure    = 1605;
constexpr int32_t kBadTempThresholds   = 1624;
constexpr int32_t kBadAssetTag         = 1625;
constexpr int32_t kBadAssetName        = 1626;
constexpr int32_t kSameAssetTag        = 1640;
constexpr int32_t kSameAssetName       = 1641;
constexpr int32_t kSameTempThresholds  = 1647;
constexpr int32_t kAssetTagTooLong     = 1663;
constexpr int32_t kAssetNameTooLong    = 1664;
constexpr int32_t kBadServiceTag       = 1760;
constexpr int32_t kSameServiceTag      = 1761;
// clang-format on

constexpr uint32_t kEnclosureListSize = 256;
constexpr const char* kNoEnclosures = "None - There are no enclosures on this controller.";
constexpr const char* kNameRule = "[A-Z,a-z,0-9,-,_]";
constexpr const char* kServiceTagRule = "[A-Z,0-9]";

constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kEncl = CLPS_VT_ENCLOSURE;
constexpr uint32_t kRequired = CLPS_USE_REQUIRED;

// clang-format off
constexpr auto kEnclosureParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kRequired, nullptr, 0},
    {"enclosure",  "Enclosure=",  kEncl, kRequired, "5,1:4", 0},
});
constexpr auto kServiceTagParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kRequired, nullptr, 0},
    {"enclosure",  "Enclosure=",  kEncl, kRequired, "5,1:4", 0},
    {"servicetag", "ServiceTag=", kText, kRequired, nullptr, 10},
});
constexpr auto kAssetTagParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kRequired, nullptr, 0},
    {"enclosure",  "Enclosure=",  kEncl, kRequired, "5,1:4", 0},
    {"assettag",   "AssetTag=",   kText, kRequired, nullptr, 10},
});
constexpr auto kAssetNameParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kRequired, nullptr, 0},
    {"enclosure",  "Enclosure=",  kEncl, kRequired, "5,1:4", 0},
    {"assetname",  "AssetName=",  kText, kRequired, nullptr, 32},
});
constexpr auto kTempProbeParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kRequired, nullptr, 0},
    {"enclosure",  "Enclosure=",  kEncl, kRequired, "5,1:4", 0},
    {"minwarn",    "MinWarning=", kNum,  kRequired, nullptr, 0},
    {"maxwarn",    "MaxWarning=", kNum,  kRequired, nullptr, 0},
});

constexpr auto kEnclosureTable = std::to_array<CLPSNVActionRow>({
    Action("enablealarm",        vkacmd.setEnclosureEnableAlarm,     kEnclosureParams),
    Action("disablealarm",       vkacmd.setEnclosureDisableAlarm,    kEnclosureParams),
    Action("setservicetag",      vkacmd.setEnclosureServiceTag,      kServiceTagParams, CLPS_ROW_HIDDEN),
    Action("setassettag",        vkacmd.setEnclosureAssetTag,        kAssetTagParams),
    Action("setassetname",       vkacmd.setEnclosureAssetName,       kAssetNameParams),
    Action("blink",              vkacmd.setEnclosureBlink,           kEnclosureParams),
    Action("unblink",            vkacmd.setEnclosureUnBlink,         kEnclosureParams),
    Action("setalltempprobes",   vkacmd.setEnclosureTempProbes,      kTempProbeParams),
    Action("resetalltempprobes", vkacmd.setEnclosureResetTempProbes, kEnclosureParams),
});

// The asset texts: the user's parameter, the agent's limit and present
// value tags, and the refusal numbers.
struct AssetRule {
    const char* action;
    const char* parameter;
    const char* lengthTag;   // null: no length limit
    const char* presentTag;
    const char* rule;        // what the text may hold
    bool alphanumeric;       // upper-case letters and digits only, else a name
    int32_t badText;
    int32_t tooLong;
    int32_t unchanged;
};
constexpr auto kAssetRules = std::to_array<AssetRule>({
    {"setassettag",   "assettag",   "MaxAssetTagLength",  "AssetTag",   kNameRule,       false, kBadAssetTag,   kAssetTagTooLong,  kSameAssetTag},
    {"setservicetag", "servicetag", nullptr,              "ServiceTag", kServiceTagRule, true,  kBadServiceTag, 0,                 kSameServiceTag},
    {"setassetname",  "assetname",  "MaxAssetNameLength", "AssetName",  kNameRule,       false, kBadAssetName,  kAssetNameTooLong, kSameAssetName},
});
// clang-format on

bool Is(const char* action, const char* keyword) {
    return action != nullptr && strcmpCaseIgnore(action, keyword) == 0;
}

void Trace(int32_t level, const char* text) {
    if (SysDbgIsLevelEnabled(level)) SysDbgPrint("%s", text);
}

bool IsTextValid(const AssetRule& rule, const char* value) {
    // Asset texts are names (edge blanks refused); the service tag is upper
    // case letters and digits only.
    if (rule.alphanumeric) return IsStringAValidAlphanumeric(value) == 0;
    return IsStringAValidName(value, 1) == 0;
}

int32_t CheckAssetText(const config::CallbackCall& call, const AssetRule& rule,
                       const char* controller, const char* enclosure) {
    const char* value = call.User(rule.parameter);
    if (value == nullptr) value = "";
    if (!IsTextValid(rule, value)) return call.Refuse(rule.badText, value, rule.rule);
    if (*value == '\0') return 0;
    if (rule.lengthTag != nullptr) {
        const int32_t limit = IsAssetLengthValid(controller, enclosure, rule.lengthTag,
                                                 static_cast<uint32_t>(std::strlen(value)));
        if (limit != 0) {
            std::array<char, 16> text{};
            std::snprintf(text.data(), text.size(), "%d", limit);
            return call.Refuse(rule.tooLong, value, text.data());
        }
    }
    const int32_t duplicate = IsAssetInfoDuplicate(controller, enclosure, rule.presentTag, value);
    if (duplicate == 1) return call.Refuse(rule.unchanged, value, "");
    // Without the enclosure's present value nothing can be compared.
    if (duplicate != 0) return call.Refuse(config::kCannotRead, value, "");
    return 0;
}

// Same number, whatever its spelling ("05" and "5").
bool SameNumber(const char* user, const std::string& present) {
    return !present.empty() &&
           std::strtol(user, nullptr, 10) == std::strtol(present.c_str(), nullptr, 10);
}

int32_t CheckTempProbes(const config::CallbackCall& call, const char* controller,
                        const char* enclosure) {
    const char* minWarn = call.User("minwarn");
    const char* maxWarn = call.User("maxwarn");
    const std::string asked = std::string("minwarn=") + (minWarn != nullptr ? minWarn : "") +
                              ", maxwarn=" + (maxWarn != nullptr ? maxWarn : "");
    std::string minPresent;
    std::string maxPresent;
    if (IsUserTempProbesInputValid(nullptr, minWarn, maxWarn, enclosure, controller, minPresent,
                                   maxPresent) != 0) {
        if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE))
            SysDbgPrint("pOutValidMinWarn=%s, pOutValidMinWarn=%s\n", minPresent.c_str(),
                        maxPresent.c_str());
        return call.Refuse(kBadTempThresholds, asked,
                           "minwarn " + minPresent + ", maxwarn " + maxPresent);
    }
    // An unchanged threshold stays in the request: both are set together,
    // and setting one to its present value changes nothing.
    bool minSame = false;
    bool maxSame = false;
    if (minWarn != nullptr && SameNumber(minWarn, minPresent) &&
        call.PairIndex("MinWarning") >= 0) {
        Trace(TRACE_LEVEL_DETAIL,
              "CmdConfigEnclosureValidateFunc(): minWarn == pOutValidMinWarn \n");
        minSame = true;
    }
    if (maxWarn != nullptr && SameNumber(maxWarn, maxPresent) &&
        call.PairIndex("MaxWarning") >= 0) {
        Trace(TRACE_LEVEL_DETAIL,
              "CmdConfigEnclosureValidateFunc(): maxWarn == pOutValidMaxWarn \n");
        maxSame = true;
    }
    if (minSame && maxSame) return call.Refuse(kSameTempThresholds, asked, "");
    return 0;
}

int32_t CheckEnclosure(const config::CallbackCall& call, const char* controller,
                       const char* enclosure) {
    if (enclosure == nullptr) return 0;
    std::array<char, kEnclosureListSize> valid{};
    uint32_t count = 0;
    if (IsUserEnclosureIdValidWithSize(enclosure, controller, valid.data(), valid.size(), &count) ==
        0)
        return 0;
    return call.Refuse(kInvalidEnclosure, enclosure, count != 0 ? valid.data() : kNoEnclosures);
}

int32_t CmdConfigEnclosureValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                       uint32_t* nvCount, const char** nvList, void*, void*,
                                       char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigEnclosureValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* action = call.User("action");
    const char* controller = call.User("controller");
    const char* enclosure = call.User("enclosure");
    uint32_t supported = 0;
    uint32_t current = 0;

    // The storage-wide switches are decided by the storage root alone.
    if (Is(action, "enablests") || Is(action, "disablests")) {
        IsUserOperationValidForStorageObject(action, &supported, &current);
        if (int32_t refused = config::CheckCapability(call, action, supported, current))
            return refused;
        if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL))
            SysDbgPrint(
                "CmdConfigGlobalInfoValidateFunc(): pAction=%s is valid for storage object\n",
                action);
        return config::kSend;
    }

    if (int32_t refused = config::CheckControllerWithSize(call, controller)) return refused;
    if (int32_t refused = CheckEnclosure(call, controller, enclosure)) return refused;
    if (IsUserOperationValidForEnclosure(action, controller, enclosure, &supported, &current) != 0)
        return call.Refuse(config::kCannotRead, action != nullptr ? action : "", "");
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;

    for (const AssetRule& rule : kAssetRules) {
        if (Is(action, rule.action)) {
            if (int32_t refused = CheckAssetText(call, rule, controller, enclosure)) return refused;
            return config::kSend;
        }
    }
    if (Is(action, "setalltempprobes")) {
        if (int32_t refused = CheckTempProbes(call, controller, enclosure)) return refused;
    }
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage enclosure", "", kEnclosureTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kEnclosureTables = kTables;

CLPSResponse* ConfigEnclosure(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6951, 6952, kEnclosureTable.data(),
                               kEnclosureTable.size(), "kvclp.xsl", CmdConfigEnclosureValidateFunc);
}
