// "vkconfig storage connector": rescans a connector of a controller.
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
constexpr const char* kNoConnectors = "None - There are no connectors on this controller.";

constexpr int32_t kInvalidConnector = 1601;

// clang-format off
constexpr auto kRescanParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", CLPS_VT_UINT,       CLPS_USE_REQUIRED, nullptr, 0},
    {"connector",  "Channel=",  CLPS_VT_SMALL_UINT, CLPS_USE_REQUIRED, nullptr, 0},
});
constexpr auto kConnectorTable = std::to_array<CLPSNVActionRow>({
    Action("rescan", vkacmd.setChnlRescan, kRescanParams),
});
// clang-format on

int32_t CmdConfigConnectorValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                       uint32_t* nvCount, const char** nvList, void*, void*,
                                       char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigConnectorValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* action = call.User("action");
    const char* controller = call.User("controller");
    const char* connector = call.User("connector");
    if (int32_t refused = config::CheckController(call, controller)) return refused;
    if (connector != nullptr) {
        std::string valid;
        if (IsUserChannelIdValid(connector, controller, valid) != 0)
            return call.Refuse(kInvalidConnector, connector, valid.empty() ? kNoConnectors : valid);
    }
    uint32_t supported = 0;
    uint32_t current = 0;
    IsUserOperationValidForChannel(action, controller, connector, &supported, &current);
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage connector", "", kConnectorTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kConnectorTables = kTables;

CLPSResponse* ConfigConnector(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6963, 6964, kConnectorTable.data(),
                               kConnectorTable.size(), "kvclp.xsl", CmdConfigConnectorValidateFunc);
}
