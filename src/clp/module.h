// Module-wide state of the plug-in: written at load, read by the exports.
#ifndef VK_CLP_MODULE_H
#define VK_CLP_MODULE_H

#include <cstdint>
#include <span>

#include "clps.h"
#include "ocs.h"

namespace kvclp {

// The command descriptor table: sorted in place by the support library at
// load, read-only afterwards.
extern const std::span<CLPSCCDT> g_commandTable;
// The support library's bookkeeping word for the table.
extern uint32_t g_tableState;
// Captured at load; made current around every exported call.
extern OCSExportContext g_exportContext;
// Set when the load-time table sort failed: the exports then serve nothing.
extern bool g_attachFailed;

// Load and unload steps; reason 1 attach, 0 detach, anything else is a
// thread notification that needs nothing. Non-zero for success.
int32_t ModuleEntryPoint(uint32_t reason);
int32_t ModuleAttach();
int32_t ModuleDetach();

}  // namespace kvclp

#endif
