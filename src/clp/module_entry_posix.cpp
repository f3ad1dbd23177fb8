// Load and unload notifications on POSIX systems: the loader runs the
// library's constructor and destructor.
#include <cstdio>

#include "module.h"

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
