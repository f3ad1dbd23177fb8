// Load and unload notifications on Windows: the loader calls DllMain with
// the reason, which ModuleEntryPoint numbers the same way. A failed attach
// answers FALSE, and LoadLibrary then fails.
#include <windows.h>

#include "module.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD reason, LPVOID /*reserved*/) {
    return kvclp::ModuleEntryPoint(reason) != 0 ? TRUE : FALSE;
}
