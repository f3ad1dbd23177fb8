// Module load and unload: trace start-up, export context capture and the
// one-time sort of the command table.
#include <cstdio>

#include "module.h"
#include "trace.h"

namespace kvclp {

uint32_t g_tableState = 0;
OCSExportContext g_exportContext{};
bool g_attachFailed = false;

int32_t ModuleAttach() {
    SysDbgInit(1, "kvclp.log");
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) SysDbgPrint("KVCLIP:ModuleAttach: entry\n");
    OCSGetExportContext(&g_exportContext);
    return CLPSSortCCDT(g_commandTable.data(), static_cast<uint32_t>(g_commandTable.size()),
                        &g_tableState) == 0
               ? 1
               : 0;
}

int32_t ModuleDetach() {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) SysDbgPrint("KVCLIP:ModuleDetach: entry\n");
    return 1;
}

int32_t ModuleEntryPoint(uint32_t reason) {
    switch (reason) {
        case 1:
            return ModuleAttach();
        case 0:
            return ModuleDetach();
        default:
            return 1;
    }
}

}  // namespace kvclp

namespace {

// The loader runs these when the plug-in is loaded and unloaded. A shared
// object cannot refuse its own load, so a failed attach is remembered
// instead: the exports then answer no response and no rights, and one line
// on standard error says why.
__attribute__((constructor)) void OnLoad() {
    if (kvclp::ModuleEntryPoint(1) == 0) {
        kvclp::g_attachFailed = true;
        std::fputs("kvclp64: the command table could not be sorted; no command is served\n",
                   stderr);
    }
}

__attribute__((destructor)) void OnUnload() {
    kvclp::ModuleEntryPoint(0);
}

}  // namespace
