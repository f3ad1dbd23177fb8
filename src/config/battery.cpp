// "vkconfig storage battery": reconditioning and the learn cycle of a
// controller's battery.
#include <array>
#include <cstdio>
#include <cstdlib>
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

constexpr int32_t kInvalidBattery = 1620;
constexpr int32_t kDelayTooLong = 1662;
constexpr uint32_t kBatteryListSize = 256;
constexpr uint32_t kMaxDelaySize = 8;
constexpr const char* kNoBatteries = "None - There are no batteries in this controller.";

constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kRequired = CLPS_USE_REQUIRED;
constexpr uint32_t kGroup = CLPS_USE_GROUP;

// clang-format off
constexpr auto kBatteryParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum, kRequired, nullptr, 0},
    {"battery",    "BatteryID=", kNum, kRequired, nullptr, 0},
});
// The largest days and hours are the row's match values.
constexpr auto kDelayLearnParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum, kRequired, nullptr, 0},
    {"battery",    "BatteryID=", kNum, kRequired, nullptr, 0},
    {"days",       "Days=",      kNum, kGroup,    "7",     0},
    {"hours",      "Hours=",     kNum, kGroup,    "23",    0},
});

constexpr auto kBatteryTable = std::to_array<CLPSNVActionRow>({
    Action("recondition", vkacmd.setBatteryRecondition, kBatteryParams),
    Action("startlearn",  vkacmd.setBatteryStartLearn,  kBatteryParams),
    Action("delaylearn",  vkacmd.setBatteryDelayLearn,  kDelayLearnParams),
});
// clang-format on

// The delay the user asked for, in the words of the refusal.
std::string RequestedDelay(const char* days, const char* hours) {
    if (days == nullptr) return std::string(hours != nullptr ? hours : "0") + " hours";
    if (hours == nullptr) return std::string(days) + " days";
    return std::string(days) + " days " + hours + " hours";
}

// The longest delay (hours) in days and hours.
std::string LongestDelay(uint32_t hours) {
    std::array<char, 64> text{};
    if (hours >= 24 && hours % 24 == 0)
        std::snprintf(text.data(), text.size(), "%d days", static_cast<int>(hours / 24));
    else if (hours >= 24)
        std::snprintf(text.data(), text.size(), "%d days %d hours", static_cast<int>(hours / 24),
                      static_cast<int>(hours % 24));
    else
        std::snprintf(text.data(), text.size(), "%d hours", static_cast<int>(hours % 24));
    return text.data();
}

int32_t CheckDelayLearn(const config::CallbackCall& call, const char* controller,
                        const char* battery) {
    const char* days = call.User("days");
    const char* hours = call.User("hours");
    std::array<char, kMaxDelaySize> maxDelay{};
    const int32_t status = IsDelayLearnWithinMaxLearnDelay(controller, battery, days, hours,
                                                           maxDelay.data(), maxDelay.size());
    if (status == 0) return 0;
    // Without the battery's limit there is nothing to compare with: the
    // present value could not be read.
    if (status != -1 || maxDelay[0] == '\0')
        return call.Refuse(config::kCannotRead, RequestedDelay(days, hours), "");
    const auto longest = static_cast<uint32_t>(std::strtoul(maxDelay.data(), nullptr, 10));
    return call.Refuse(kDelayTooLong, RequestedDelay(days, hours), LongestDelay(longest));
}

int32_t CmdConfigBatteryValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                     uint32_t* nvCount, const char** nvList, void*, void*,
                                     char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigBatteryValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* controller = call.User("controller");
    const char* battery = call.User("battery");
    if (int32_t refused = config::CheckControllerWithSize(call, controller)) return refused;

    if (battery != nullptr) {
        std::array<char, kBatteryListSize> valid{};
        uint32_t count = 0;
        if (IsUserBatteryIdValidWithSize(battery, controller, valid.data(), valid.size(), &count) !=
            0)
            return call.Refuse(kInvalidBattery, battery, count != 0 ? valid.data() : kNoBatteries);
    }

    const char* action = call.User("action");
    uint32_t supported = 0;
    uint32_t current = 0;
    IsUserOperationValidForBattery(action, controller, battery, &supported, &current);
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;

    if (strcmpCaseIgnore(action, "delaylearn") == 0) {
        if (int32_t refused = CheckDelayLearn(call, controller, battery)) return refused;
    }
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage battery", "", kBatteryTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kBatteryTables = kTables;

CLPSResponse* ConfigBattery(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6941, 6942, kBatteryTable.data(), kBatteryTable.size(),
                               "kvclp.xsl", CmdConfigBatteryValidateFunc);
}
