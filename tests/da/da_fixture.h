// Test scaffolding for the data-manager access layer: an in-process "kvda"
// that records every request and answers canned XML per request name, a
// trace captured in a temporary file, and a switch that makes XML buffer
// allocation fail.
#ifndef VK_TESTS_DA_FIXTURE_H
#define VK_TESTS_DA_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "da.h"
#include "ocs.h"
#include "trace.h"
#include "trace_capture.h"
#include "vkdb.h"

namespace datest {

using RequestList = std::vector<std::string>;

// An answer in the agent's format: storage objects, then the status.
inline std::string Objects(const std::vector<std::string>& bodies) {
    std::string xml;
    for (const std::string& body : bodies) {
        xml += "<QXStorageObject>" + body + "</QXStorageObject>";
    }
    return xml + "<SMStatus>0</SMStatus>";
}

class FakeAgent {
  public:
    FakeAgent() { VKDBPluginInstallAgent("kvda", &FakeAgent::Send, &FakeAgent::Free, this); }
    ~FakeAgent() { VKDBPluginRemoveAgent("kvda"); }
    FakeAgent(const FakeAgent&) = delete;
    FakeAgent& operator=(const FakeAgent&) = delete;

    // Answer for a request name (without "vkacmd="); nullopt answers null.
    void Answer(const std::string& request, std::optional<std::string> xml) {
        answers_[request] = std::move(xml);
    }
    const std::vector<RequestList>& Requests() const { return requests_; }

  private:
    static char* Send(void* context, uint32_t count, const char** nvPairs) {
        auto* self = static_cast<FakeAgent*>(context);
        RequestList list(nvPairs, nvPairs + count);
        self->requests_.push_back(list);
        const std::string name =
            list.empty() || list[0].rfind("vkacmd=", 0) != 0 ? "" : list[0].substr(7);
        auto it = self->answers_.find(name);
        if (it == self->answers_.end() || !it->second) {
            return nullptr;
        }
        // Handed across the C interface and released by Free.
        auto* data = static_cast<char*>(std::malloc(it->second->size() + 1));
        std::memcpy(data, it->second->c_str(), it->second->size() + 1);
        return data;
    }
    static void Free(void* /*context*/, char* data) { std::free(data); }

    std::map<std::string, std::optional<std::string>> answers_;
    std::vector<RequestList> requests_;
};

using vktest::TraceCapture;

// While it lives, XML buffers cannot be allocated. OCSXAllocBuf(0, ...)
// asks for a 256-byte content block, which nothing else in these tests
// requests (answers and request texts are kept off that size).
class NoXmlBuffers {
  public:
    NoXmlBuffers() { OCSSetAllocFailHook(&Refuse); }
    ~NoXmlBuffers() { OCSSetAllocFailHook(nullptr); }
    NoXmlBuffers(const NoXmlBuffers&) = delete;
    NoXmlBuffers& operator=(const NoXmlBuffers&) = delete;

  private:
    static int Refuse(size_t size) { return size == 256 ? 1 : 0; }
};

// Wraps text in "ROOT" in a new buffer, as the queries do.
inline da::XmlBuffer Wrapped(const std::string& answer) {
    da::XmlBuffer buf = da::XmlBuffer::Allocate();
    OCSXBufCatNode(buf.get(), "ROOT", nullptr, OCSXBUF_XML, answer.c_str());
    return buf;
}

class DaTest : public ::testing::Test {
  protected:
    void TearDown() override { SysDbgReset(); }
    FakeAgent agent;
};

}  // namespace datest

#endif
