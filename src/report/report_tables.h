// The command tables of the reports, as their sources list them for the
// table registry.
#pragma once

#include <span>

#include "command_tables.h"

namespace report {

extern const std::span<const kvclp::TableRef> kStorageReportTables;
extern const std::span<const kvclp::TableRef> kSystemReportTables;

}  // namespace report
