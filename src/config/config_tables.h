// The command tables of the configuration commands, as each object's source
// lists them for the table registry.
#pragma once

#include <span>

#include "command_tables.h"

namespace config {

extern const std::span<const kvclp::TableRef> kArrayDiskTables;
extern const std::span<const kvclp::TableRef> kBatteryTables;
extern const std::span<const kvclp::TableRef> kCachecadeTables;
extern const std::span<const kvclp::TableRef> kCachedLunTables;
extern const std::span<const kvclp::TableRef> kConnectorTables;
extern const std::span<const kvclp::TableRef> kControllerTables;
extern const std::span<const kvclp::TableRef> kEnclosureTables;
extern const std::span<const kvclp::TableRef> kGlobalSettingsTables;
extern const std::span<const kvclp::TableRef> kNVMeAdapterTables;
extern const std::span<const kvclp::TableRef> kPartitionTables;
extern const std::span<const kvclp::TableRef> kPCIeSubsystemTables;
extern const std::span<const kvclp::TableRef> kVirtualDiskTables;

}  // namespace config
