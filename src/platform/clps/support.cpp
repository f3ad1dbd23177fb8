// Usage help, argument checks, requests to a data agent and host settings.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "clps.h"
#include "clps_util.h"
#include "ocs.h"
#include "vkdb.h"

namespace {

std::atomic<uint32_t> g_hostFlags{0};

using ResponsePtr = std::unique_ptr<CLPSResponse, clps::ResponseDeleter>;

// Releases an agent's answer through the agent that produced it.
struct AgentData {
    AgentData(uintptr_t agentId, char* answer) : id(agentId), data(answer) {}
    uintptr_t id;
    char* data;
    AgentData(const AgentData&) = delete;
    AgentData& operator=(const AgentData&) = delete;
    ~AgentData() { Release(); }
    void Release() {
        if (data != nullptr) VKDBPluginFreeData(id, data);
        data = nullptr;
    }
};

// Makes the response's data the answer inside one root element, so the host
// always gets one well-formed document. The answer is copied once, straight
// into the response's buffer.
bool WrapAnswer(CLPSResponse* resp, std::string_view answer, const char* element) {
    const std::string_view name = element != nullptr ? element : "";
    const std::string open = name.empty() ? "" : "<" + std::string(name) + ">";
    const std::string close = name.empty() ? "" : "</" + std::string(name) + ">";
    const size_t length = open.size() + answer.size() + close.size();
    auto* text = static_cast<char*>(OCSAllocMem(length + 1));
    if (text == nullptr) return false;
    char* at = std::copy(open.begin(), open.end(), text);
    at = std::copy(answer.begin(), answer.end(), at);
    at = std::copy(close.begin(), close.end(), at);
    *at = '\0';
    OCSFreeMem(resp->pDataBuf);
    resp->pDataBuf = text;
    resp->dataLen = static_cast<uint32_t>(length + 1);
    return true;
}

// Records the list sent in the response (owned by it).
bool KeepRequest(CLPSResponse* resp, uint32_t count, const char** nvPairs) {
    if (count == 0) return true;
    resp->ppRequest = static_cast<char**>(OCSAllocMem(sizeof(char*) * count));
    if (resp->ppRequest == nullptr) return false;
    std::memset(resp->ppRequest, 0, sizeof(char*) * count);
    resp->requestCount = count;
    for (uint32_t i = 0; i < count; ++i) {
        resp->ppRequest[i] = clps::DupString(nvPairs[i] != nullptr ? nvPairs[i] : "");
        if (resp->ppRequest[i] == nullptr) return false;
    }
    return true;
}

}  // namespace

extern "C" {

int32_t CLPSIsUsageHelp(uint32_t argc, const char** argv) {
    return clps::FirstHelpWord(argc, argv) < argc ? 1 : 0;
}

CLPSResponse* CLPSNVCheckExtraParams(uint32_t argc, const char** argv, const char* styleSheet) {
    uint32_t i = 0;
    while (argv != nullptr && i < argc && argv[i] != nullptr &&
           std::strchr(argv[i], '=') == nullptr)
        ++i;
    if (argv == nullptr || i >= argc) return nullptr;
    return CLPSNVSetupMsgRespObj(CLPS_MSG_UNEXPECTED_PARAM, 0, argv[i] != nullptr ? argv[i] : "",
                                 "None - this command takes no parameters", nullptr, nullptr,
                                 styleSheet);
}

CLPSResponse* CLPSNVReportCapabilitesXML(const char* agent, uint32_t count, const char** nvPairs,
                                         const char* respElement, const char* styleSheet) {
    if (agent == nullptr || nvPairs == nullptr || count == 0) return nullptr;
    if ((VKDBPluginInstalledByPrefix(agent) & 0xffffu) == 0) return nullptr;
    const uintptr_t id = VKDBPluginGetIDByPrefix(agent);
    if (id == 0) return nullptr;
    AgentData answer(id, VKDBPluginSendCmd(id, count, nvPairs));
    if (answer.data == nullptr) return nullptr;
    try {
        ResponsePtr resp(CLPSAllocResponse());
        if (!resp || !WrapAnswer(resp.get(), answer.data, respElement)) return nullptr;
        // The answer may be long: it is let go as soon as the response holds it.
        answer.Release();
        resp->kind = CLPS_RESP_XML;
        if (styleSheet != nullptr && (resp->pStyleSheet = clps::DupString(styleSheet)) == nullptr)
            return nullptr;
        if (!KeepRequest(resp.get(), count, nvPairs)) return nullptr;
        return resp.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void CLPSSetHostFlags(uint32_t flags) {
    g_hostFlags.store(flags);
}

uint32_t CLPSGetHostFlags(void) {
    return g_hostFlags.load();
}

void CLPSDefaultDestroyCLIPFunc(void) {
    // The library's only per-process state is the host settings.
    g_hostFlags.store(0);
}

void CLPSDestroyCLIP(CLPSDestroyCLIPFunc func) {
    if (func == nullptr) func = CLPSDefaultDestroyCLIPFunc;
    func();
}

}  // extern "C"
