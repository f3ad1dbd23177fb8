// Every product table of the plug-in, reached from one place: the command
// descriptor table, the tables each command hands the command frame, the
// keyword maps and the operation mask tables. The tables stay in the sources
// of their objects; each source lists its own, and this registry lists the
// lists.
#pragma once

#include <array>
#include <span>

#include "command_tables.h"
#include "config_tables.h"
#include "kvsup_tables.h"
#include "module.h"
#include "report_tables.h"

namespace kvclp::registry {

inline constexpr const std::span<CLPSCCDT>* kCommandDescriptors = &g_commandTable;

// clang-format off
inline constexpr auto kCommandTables = std::to_array<const std::span<const TableRef>*>({
    &report::kStorageReportTables,
    &report::kSystemReportTables,
    &config::kArrayDiskTables,
    &config::kBatteryTables,
    &config::kCachecadeTables,
    &config::kCachedLunTables,
    &config::kConnectorTables,
    &config::kControllerTables,
    &config::kEnclosureTables,
    &config::kGlobalSettingsTables,
    &config::kNVMeAdapterTables,
    &config::kPartitionTables,
    &config::kPCIeSubsystemTables,
    &config::kVirtualDiskTables,
});
// clang-format on

inline constexpr const std::span<const kvsup::KeywordMapRef<uint32_t>>* kPolicyKeywordMaps =
    &kvsup::kPolicyKeywordMaps;
inline constexpr const std::span<const kvsup::KeywordMapRef<int32_t>>* kSettingKeywordMaps =
    &kvsup::kSettingKeywordMaps;
inline constexpr const std::span<const kvsup::MaskTableRef>* kMaskTables = &kvsup::kMaskTables;

}  // namespace kvclp::registry
