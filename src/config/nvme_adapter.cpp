// "vkconfig storage nvmeadapter": exports the reliability log of an NVMe
// adapter's disk, or erases it. The adapter's disk is addressed by its
// channel.
#include <array>
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

// The valid text when the controller has none.
constexpr const char* kNoAdapters = "None - There are no NVMe adapters on this controller.";

constexpr int32_t kInvalidChannel = 1601;

// clang-format off
constexpr auto kAdapterParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", CLPS_VT_UINT,       CLPS_USE_REQUIRED, nullptr, 0},
    {"nvmeid",     "Channel=",  CLPS_VT_SMALL_UINT, CLPS_USE_REQUIRED, nullptr, 0},
});
constexpr auto kNVMeAdapterTable = std::to_array<CLPSNVActionRow>({
    Action("exportlog",          vkacmd.exportDiskReliabilityLog, kAdapterParams),
    Action("cryptographicerase", vkacmd.setArrayDiskSecureErase,  kAdapterParams),
});
// clang-format on

int32_t CmdConfigNVMeAdapterValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                         uint32_t* nvCount, const char** nvList, void*, void*,
                                         char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigNVMeAdapterValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* action = call.User("action");
    const char* controller = call.User("controller");
    const char* channel = call.User("nvmeid");
    if (int32_t refused = config::CheckController(call, controller)) return refused;
    if (channel != nullptr) {
        std::string valid;
        if (IsUserNVMeChannelIdValid(channel, controller, valid) != 0)
            return call.Refuse(kInvalidChannel, channel, valid.empty() ? kNoAdapters : valid);
    }
    uint32_t supported = 0;
    uint32_t current = 0;
    IsUserOperationValidForNVMeAdapter(action, controller, channel, &supported, &current);
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage nvmeadapter", "", kNVMeAdapterTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kNVMeAdapterTables = kTables;

CLPSResponse* ConfigNVMeAdapter(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6044, 6045, kNVMeAdapterTable.data(),
                               kNVMeAdapterTable.size(), "kvclp.xsl",
                               CmdConfigNVMeAdapterValidateFunc);
}
