// Response objects: allocation, release of everything they own, data text,
// and the message and usage responses.
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "clps.h"
#include "clps_util.h"
#include "help_words.h"
#include "ocs.h"

namespace clps {

char* DupString(const char* text) {
    if (text == nullptr) return nullptr;
    const size_t n = std::strlen(text) + 1;
    auto* copy = static_cast<char*>(OCSAllocMem(n));
    if (copy != nullptr) std::memcpy(copy, text, n);
    return copy;
}

std::string CommandWords(uint32_t argc, const char** argv) {
    std::string words;
    for (uint32_t i = 0; argv != nullptr && i < argc; ++i) {
        if (argv[i] == nullptr || std::strchr(argv[i], '=') != nullptr) break;
        // Help words ask for usage; they are not part of the command.
        if (vk::IsHelpWord(argv[i])) continue;
        if (!words.empty()) words += ' ';
        words += argv[i];
    }
    return words;
}

uint32_t FirstHelpWord(uint32_t argc, const char** argv) {
    // The program name (the first word) is never a help request.
    for (uint32_t i = 1; argv != nullptr && i < argc; ++i) {
        if (argv[i] != nullptr && vk::IsHelpWord(argv[i])) return i;
    }
    return argc;
}

}  // namespace clps

namespace {

using ResponsePtr = std::unique_ptr<CLPSResponse, clps::ResponseDeleter>;

// Builds a usage or message response: kind, number, argument texts, the
// stylesheet, and an XML rendition in the data so any consumer can show it.
CLPSResponse* BuildMessage(uint32_t kind, uint32_t msgId, const char* arg1, const char* arg2,
                           const char* styleSheet, const std::string& usageXml) {
    try {
        ResponsePtr resp(CLPSAllocResponse());
        if (!resp) return nullptr;
        resp->kind = kind;
        resp->msgId = msgId;
        std::string xml = "<Message id=\"" + std::to_string(msgId) + "\">";
        for (const char* arg : {arg1, arg2}) {
            if (arg != nullptr) xml += "<Arg>" + vk::XmlEscaped(arg) + "</Arg>";
        }
        xml += "</Message>";
        if (CLPSSetRespData(resp.get(), xml.c_str()) != 0) return nullptr;
        if ((arg1 != nullptr && (resp->msgArg1 = clps::DupString(arg1)) == nullptr) ||
            (arg2 != nullptr && (resp->msgArg2 = clps::DupString(arg2)) == nullptr) ||
            (styleSheet != nullptr &&
             (resp->pStyleSheet = clps::DupString(styleSheet)) == nullptr) ||
            (!usageXml.empty() && (resp->pUsageXML = clps::DupString(usageXml.c_str())) == nullptr))
            return nullptr;
        return resp.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

extern "C" {

CLPSResponse* CLPSAllocResponse(void) {
    auto* resp = static_cast<CLPSResponse*>(OCSAllocMem(sizeof(CLPSResponse)));
    if (resp != nullptr) std::memset(resp, 0, sizeof *resp);
    return resp;
}

void CLPSFreeResponse(CLPSResponse* resp) {
    if (resp == nullptr) return;
    OCSFreeMem(resp->pDataBuf);
    OCSFreeMem(resp->pStyleSheet);
    OCSFreeMem(resp->msgArg1);
    OCSFreeMem(resp->msgArg2);
    OCSFreeMem(resp->pUsageXML);
    if (resp->ppRequest != nullptr) {
        for (uint32_t i = 0; i < resp->requestCount; ++i) OCSFreeMem(resp->ppRequest[i]);
        OCSFreeMem(resp->ppRequest);
    }
    OCSFreeMem(resp);
}

int32_t CLPSSetRespData(CLPSResponse* resp, const char* text) {
    if (resp == nullptr) return 1;
    char* copy = nullptr;
    if (text != nullptr && (copy = clps::DupString(text)) == nullptr) return 2;
    OCSFreeMem(resp->pDataBuf);
    resp->pDataBuf = copy;
    resp->dataLen = copy != nullptr ? static_cast<uint32_t>(std::strlen(copy) + 1) : 0;
    return 0;
}

CLPSResponse* CLPSNVSetupMsgRespObj(uint32_t msgId, uint32_t /*reserved*/, const char* arg1,
                                    const char* arg2, const void* /*reserved1*/,
                                    const void* /*reserved2*/, const char* styleSheet) {
    const bool usage = msgId >= 6000 && msgId <= 6999;
    return BuildMessage(usage ? CLPS_RESP_USAGE : CLPS_RESP_MESSAGE, msgId, arg1, arg2, styleSheet,
                        std::string());
}

CLPSResponse* CLPSSetRespObjUsageXML(uint32_t argc, const char** argv, uint32_t msgId,
                                     uint32_t /*reserved*/, const char* styleSheet) {
    try {
        // The command words name the usage the host shows when msgId is 0.
        const std::string words = clps::CommandWords(argc, argv);
        const std::string usage = "<Usage><Command>" + vk::XmlEscaped(words) + "</Command></Usage>";
        return BuildMessage(CLPS_RESP_USAGE, msgId, words.c_str(), nullptr, styleSheet, usage);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // extern "C"
