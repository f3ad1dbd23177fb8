// Module load and unload: trace start-up, export context capture and the
// one-time sort of the command table. The system's loader reaches
// ModuleEntryPoint through module_entry_posix.cpp or module_entry_windows.cpp.
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
