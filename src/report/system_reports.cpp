// The system reports that touch storage: summary and version through the
// command frame, and the alert log, which builds its response itself.
#include <array>
#include <cstdio>
#include <cstring>

#include "clps.h"
#include "command_tables.h"
#include "handlers.h"
#include "ocs.h"
#include "report_tables.h"
#include "trace.h"
#include "vkdb.h"
#include "xmlsup.h"

namespace {

using kvclp::Report;
using kvclp::vkacmd;

// clang-format off
constexpr auto kSummaryParams = std::to_array<CLPSNVParamRow>({
    {nullptr, "includeComponents=", CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, "TRUE", 0},
    {nullptr, "ProductID=",         CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, "QTRN", 0},
});
constexpr auto kSummaryTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getEnclosureList,  kSummaryParams, "sm/cli/RptSumm.xsl", CLPS_ROW_SYSTEM),
});
constexpr auto kVersionTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getControllerList, {},             "sm/cli/RptVer.xsl",  CLPS_ROW_SYSTEM),
});

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkreport system summary",       "", kSummaryTable},
    {"vkreport servermodule summary", "", kSummaryTable},
    {"vkreport system version",       "", kVersionTable},
    {"vkreport servermodule version", "", kVersionTable},
});
// clang-format on

constexpr uint32_t kValueSize = 256;

// The alert log's location, as the node text of its XML. The release call
// below is handed this text (not the agent's answer); it is kept writable
// because that call takes a writable pointer.
char g_pathNode[] = "<Path>C:\\WINNT\\bev.xml</Path>";

}  // namespace

const std::span<const kvclp::TableRef> report::kSystemReportTables = kTables;

CLPSResponse* ReportSummary(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6951, 0, kSummaryTable.data(), kSummaryTable.size(),
                               "kvclp.xsl", nullptr);
}

CLPSResponse* ReportVersion(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 0, 0, kVersionTable.data(), kVersionTable.size(),
                               "kvclp.xsl", nullptr);
}

// The alert log names a fixed file; the agent is asked, but its answer is
// neither read nor released: the report is the file's name alone.
CLPSResponse* ReportAlertLog(uint32_t argc, const char** argv) {
    if ((VKDBPluginInstalledByPrefix("kvda") & 0xffffu) == 0) return nullptr;
    if (CLPSIsUsageHelp(argc, argv) == 1)
        return CLPSSetRespObjUsageXML(argc, argv, 0, 0, "sysclp.xsl");
    if (CLPSResponse* extra = CLPSNVCheckExtraParams(argc, argv, "sysclp.xsl")) return extra;

    CLPSResponse* resp = CLPSAllocResponse();
    if (resp == nullptr) return nullptr;
    const uintptr_t handle = VKDBPluginGetIDByPrefix("kvda");
    auto* value = static_cast<char*>(OCSAllocMem(kValueSize));
    if (handle == 0 || value == nullptr) {
        OCSFreeMem(value);
        CLPSFreeResponse(resp);
        return nullptr;
    }
    const char* request[] = {vkacmd.getAlertLog.text};
    if (VKDBPluginSendCmd(handle, 1, request) == nullptr) {
        OCSFreeMem(value);
        CLPSFreeResponse(resp);
        return nullptr;
    }

    OCSXBuf* buf = OCSXAllocBuf(0, 1);
    if (buf != nullptr) OCSXBufCatNode(buf, "VKA", nullptr, 1, g_pathNode);
    char* xml = OCSXFreeBufGetContent(buf);
    std::printf("xml is not %s\n   ", xml != nullptr ? xml : "(null)");
    VKDBPluginFreeData(handle, g_pathNode);

    uint32_t size = kValueSize;
    const uint32_t xmlLen = xml != nullptr ? static_cast<uint32_t>(std::strlen(xml)) + 1 : 0;
    if (xml != nullptr && XMLSupGetXMLMemData(nullptr, "Path", 1, 0, 1, &size, value, nullptr,
                                              nullptr, xml, xmlLen) == XMLSUP_OK) {
        OCSXFreeBufContent(xml);
        resp->dataType = CLPS_DATATYPE_TEXT;
        resp->pDataBuf = value;
        resp->dataLen = static_cast<uint32_t>(std::strlen(value)) + 1;
        resp->word2 = 0;
        resp->word6 = 32;
        resp->word7 = 0;
        resp->word8 = 41;
        return resp;
    }
    // The XML text is left as it is on this path: with the fixed text above
    // only a buffer that could not be had leads here.
    VKDBPluginFreeData(handle, g_pathNode);
    OCSFreeMem(value);
    CLPSFreeResponse(resp);
    return nullptr;
}
