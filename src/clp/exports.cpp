// The four entry points: each makes the module's export context current,
// forwards to the support library with the command table, and restores it.
#include "kvclp64.h"
#include "module.h"

namespace {

class ExportScope {
  public:
    ExportScope() { OCSSetExportContext(&save_, &kvclp::g_exportContext); }
    ~ExportScope() { OCSResetExportContext(&save_); }
    ExportScope(const ExportScope&) = delete;
    ExportScope& operator=(const ExportScope&) = delete;

  private:
    OCSExportSaveArea save_{};
};

}  // namespace

extern "C" {

CLPSResponse* kvclp64_sendRequest(uint32_t argc, const char** argv) {
    if (kvclp::g_attachFailed) return nullptr;
    ExportScope scope;
    return CLPSSendRequest(argc, argv, kvclp::g_commandTable.data(),
                           static_cast<uint32_t>(kvclp::g_commandTable.size()),
                           &kvclp::g_tableState);
}

void kvclp64_freeResponse(CLPSResponse* resp) {
    ExportScope scope;
    CLPSFreeResponse(resp);
}

uint32_t kvclp64_getRequiredUserRights(uint32_t argc, const char** argv) {
    if (kvclp::g_attachFailed) return 0;
    ExportScope scope;
    return CLPSGetRequiredUserRights(argc, argv, kvclp::g_commandTable.data(),
                                     static_cast<uint32_t>(kvclp::g_commandTable.size()),
                                     &kvclp::g_tableState);
}

void kvclp64_destroyCLIP(void) {
    ExportScope scope;
    CLPSDestroyCLIP(CLPSDefaultDestroyCLIPFunc);
}

}  // extern "C"
