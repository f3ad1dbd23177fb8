// "vkconfig storage pciessd": a PCIe solid-state device joins the cache
// pool, leaves it, or is reactivated. The checks are the controller
// command's entry checks with the subsystem in the controller's place and
// the device's own capability bits in place of the controller's.
#include <array>
#include <cstdint>

#include "callback_support.h"
#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "controller_internal.h"
#include "handlers.h"
#include "kvsup.h"
#include "trace.h"

namespace {

using kvclp::Action;
using kvclp::vkacmd;

constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kDisk = CLPS_VT_DISK;
constexpr uint32_t kRequired = CLPS_USE_REQUIRED;

// clang-format off
constexpr auto kPCIeParams = std::to_array<CLPSNVParamRow>({
    {"subsystem",  "GlobalNo=",   kNum,  kRequired, nullptr,       0},
    {"pciedevice", "pciedevice=", kDisk, kRequired, "5:31,1:4:31", 0},
    {"force",      "Force=yes",   kText, kRequired, "yes",         0},
});

constexpr auto kPCIeTable = std::to_array<CLPSNVActionRow>({
    Action("addtocachepool",      vkacmd.setArrayDiskAddToCachePool,      kPCIeParams),
    Action("removefromcachepool", vkacmd.setArrayDiskRemoveFromCachePool, kPCIeParams),
    Action("reactivate",          vkacmd.setArrayDiskReactivateCachePool, kPCIeParams),
});
// clang-format on

// The subsystem must exist, and the device must offer the action now. No
// action of this table has further rules.
int32_t CmdConfigPCIeSubsystemValidateFunc(void* /*reserved0*/, void* /*reserved1*/,
                                           uint32_t userCount, const char** userWords,
                                           uint32_t* pNVCount, const char** ppNVList,
                                           void* /*reserved2*/, void* /*reserved3*/, char* errText1,
                                           char* errText2) {
    config::CallbackCall call(userCount, userWords, pNVCount, ppNVList, errText1, errText2);
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "Dbgx: IN CmdConfigControllerValidateFunc\n");
    const char* action = call.User("action");
    const char* subsystem = call.User("subsystem");
    const char* device = call.User("pciedevice");

    if (int32_t s = config::CheckControllerWithSize(call, subsystem)) return s;
    uint32_t supported = 0;
    uint32_t current = 0;
    IsUserOperationValidForArrayDisk(action, subsystem, device, &supported, &current);
    if (int32_t s = config::CheckCapability(call, action, supported, current)) return s;
    VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL,
                    "CmdConfigControllerValidateFunc(): pAction=%s is valid for controller\n",
                    action != nullptr ? action : "");
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage pciessd", "", kPCIeTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kPCIeSubsystemTables = kTables;

CLPSResponse* ConfigPCIeSubsystem(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6931, 6932, kPCIeTable.data(), kPCIeTable.size(),
                               "kvclp.xsl", CmdConfigPCIeSubsystemValidateFunc);
}
