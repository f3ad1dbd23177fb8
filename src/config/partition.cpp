// "vkconfig storage partition": refreshes the partitions the cache feature
// knows. The single row is sent as it stands: there is nothing to check.
#include <array>

#include "clps.h"
#include "handlers.h"
#include "trace.h"

namespace {

// clang-format off
constexpr std::array<CLPSNVParamRow, 1> kRefreshParams = {{
    {nullptr, "ObjType=", CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, "partition", 0},
}};
constexpr std::array<CLPSNVActionRow, 1> kPartitionTable = {{
    {1, "action", "vkacmd=setTarnCacheRefresh", "refresh", nullptr, "kvda", kRefreshParams.data(), kRefreshParams.size(), nullptr, 0},
}};
// clang-format on

}  // namespace

CLPSResponse* ConfigPartition(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6096, 6097, kPartitionTable.data(),
                               kPartitionTable.size(), "kvclp.xsl", nullptr);
}
