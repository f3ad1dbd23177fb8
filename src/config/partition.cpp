// "vkconfig storage partition": refreshes the partitions the cache feature
// knows. The single row is sent as it stands: there is nothing to check.
#include <array>

#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "handlers.h"
#include "trace.h"

namespace {

using kvclp::Action;
using kvclp::vkacmd;

// clang-format off
constexpr auto kRefreshParams = std::to_array<CLPSNVParamRow>({
    {nullptr, "ObjType=", CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, "partition", 0},
});
constexpr auto kPartitionTable = std::to_array<CLPSNVActionRow>({
    Action("refresh", vkacmd.setTarnCacheRefresh, kRefreshParams),
});
// clang-format on

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage partition", "", kPartitionTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kPartitionTables = kTables;

CLPSResponse* ConfigPartition(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6096, 6097, kPartitionTable.data(),
                               kPartitionTable.size(), "kvclp.xsl", nullptr);
}
