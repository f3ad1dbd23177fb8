// An in-process "kvda" for the configuration command tests: records every
// request and answers each from canned objects set per request name (and,
// when given, per controller), so a test states exactly the estate its
// command meets. A request with no canned answer gets an empty success.
// The fixture that runs command lines through the plug-in's entry point
// serves the report tests' own agent too.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "clps.h"
#include "kvclp64.h"
#include "os/environment.h"
#include "vkdb.h"

namespace fake {

using Strings = std::vector<std::string>;
using Tags = std::vector<std::pair<std::string, std::string>>;

// Only the in-process agent answers: no agent module is found.
inline const bool kNoAgentModules = [] {
    vk::os::SetEnvironment("VK_AGENT_DIR", "/nonexistent/vk-agents");
    return true;
}();

// The objects of an answer, one "QXStorageObject" per entry.
inline std::string Objects(const std::vector<Tags>& objects) {
    std::string xml;
    for (const Tags& tags : objects) {
        xml += "<QXStorageObject>";
        for (const auto& [tag, value] : tags) xml += "<" + tag + ">" + value + "</" + tag + ">";
        xml += "</QXStorageObject>";
    }
    return xml;
}

// A method or attribute mask as the agent prints it: 0 and 1, most
// significant bit first.
inline std::string Mask(uint32_t bits) {
    if (bits == 0) return "0";
    std::string text;
    for (; bits != 0; bits >>= 1) text.insert(text.begin(), (bits & 1u) != 0 ? '1' : '0');
    return text;
}

// An answer as the agent hands it over, and its release by the plug-in.
inline char* Reply(const std::string& answer) {
    char* data = static_cast<char*>(std::malloc(answer.size() + 1));
    std::memcpy(data, answer.c_str(), answer.size() + 1);
    return data;
}
inline void FreeReply(void*, char* data) {
    std::free(data);
}

class Estate {
  public:
    // Answer for every request named request ("getController").
    void Set(const std::string& request, std::string objects) {
        answers_[request] = std::move(objects);
    }
    // Answer for the request named request with "GlobalNo=<globalNo>".
    void SetFor(const std::string& request, const std::string& globalNo, std::string objects) {
        answers_[request + "|" + globalNo] = std::move(objects);
    }
    // Answer for the request named request when it holds the entry pair
    // ("Channel=0"); checked before the answers above, in the order set.
    void SetWhen(const std::string& request, const std::string& pair, std::string objects) {
        conditional_.push_back({request, pair, std::move(objects)});
    }
    // The agent does not answer this request at all.
    void Silence(const std::string& request) { silent_.insert(request); }

    // The value of name in a request ("" when absent).
    static std::string Value(const Strings& nv, const std::string& name) {
        for (const std::string& s : nv) {
            if (s.rfind(name + "=", 0) == 0) return s.substr(name.size() + 1);
        }
        return {};
    }
    // The requests whose name does not begin with "get" and that are not
    // pass-through queries: what a command changes.
    std::vector<Strings> Changes() const {
        std::vector<Strings> out;
        for (const Strings& nv : requests) {
            const std::string name = nv.empty() ? "" : nv[0];
            if (name.rfind("vkacmd=get", 0) != 0 && name != "vkacmd=sendPassThruCmdToQXSIF")
                out.push_back(nv);
        }
        return out;
    }

    std::vector<Strings> requests;

    static char* Send(void* context, uint32_t count, const char** nvPairs) {
        auto* self = static_cast<Estate*>(context);
        self->requests.emplace_back(nvPairs, nvPairs + count);
        const Strings& nv = self->requests.back();
        const std::string name = nv.empty() ? "" : nv[0].substr(std::strlen("vkacmd="));
        if (self->silent_.count(name) != 0) return nullptr;
        std::string objects;
        const auto when = std::find_if(
            self->conditional_.begin(), self->conditional_.end(), [&](const Conditional& c) {
                return c.request == name && std::find(nv.begin(), nv.end(), c.pair) != nv.end();
            });
        if (when != self->conditional_.end())
            objects = when->objects;
        else if (auto it = self->answers_.find(name + "|" + Value(nv, "GlobalNo"));
                 it != self->answers_.end())
            objects = it->second;
        else if (auto all = self->answers_.find(name); all != self->answers_.end())
            objects = all->second;
        return Reply(objects + "<SMStatus>0</SMStatus>");
    }

  private:
    struct Conditional {
        std::string request;
        std::string pair;
        std::string objects;
    };
    std::vector<Conditional> conditional_;
    std::map<std::string, std::string> answers_;
    std::set<std::string> silent_;
};

struct ResponseDeleter {
    void operator()(CLPSResponse* r) const { kvclp64_freeResponse(r); }
};
using ResponsePtr = std::unique_ptr<CLPSResponse, ResponseDeleter>;

// "vkconfig storage battery action=startlearn" as the host hands it over.
inline Strings Words(const std::string& line) {
    Strings words;
    size_t start = 0;
    while (start < line.size()) {
        size_t end = line.find(' ', start);
        if (end == std::string::npos) end = line.size();
        if (end > start) words.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

// The refusal of a command: its number and two texts.
struct Refusal {
    uint32_t msgId = 0;
    std::string arg1;
    std::string arg2;
    bool operator==(const Refusal&) const = default;
};

inline std::ostream& operator<<(std::ostream& os, const Refusal& r) {
    return os << r.msgId << " [" << r.arg1 << "] [" << r.arg2 << "]";
}

// Base fixture: installs an Agent (requests and Send) as "kvda" and
// runs command lines through the plug-in's entry point.
template <class Agent>
class AgentTest : public ::testing::Test {
  public:
    void SetUp() override {
        ASSERT_EQ(VKDBPluginInstallAgent("kvda", Agent::Send, FreeReply, &estate), 0);
    }
    void TearDown() override {
        VKDBPluginRemoveAgent("kvda");
        CLPSSetHostFlags(0);
    }

    ResponsePtr Run(const std::string& line) {
        estate.requests.clear();
        const Strings words = Words(line);
        std::vector<const char*> argv;
        for (const std::string& w : words) argv.push_back(w.c_str());
        return ResponsePtr(kvclp64_sendRequest(static_cast<uint32_t>(argv.size()), argv.data()));
    }

    using Refusal = fake::Refusal;
    static Refusal RefusalOf(const CLPSResponse* r) {
        if (r == nullptr || r->kind != CLPS_RESP_MESSAGE) return {};
        return {r->msgId, r->msgArg1 != nullptr ? r->msgArg1 : "",
                r->msgArg2 != nullptr ? r->msgArg2 : ""};
    }
    static bool Sent(const CLPSResponse* r) { return r != nullptr && r->kind == CLPS_RESP_XML; }
    // The requests a dry run lists instead of sending them.
    static Strings Planned(const CLPSResponse* r) {
        return Strings(r->ppRequest, r->ppRequest + r->requestCount);
    }

    Agent estate;
};

using EstateTest = AgentTest<Estate>;

}  // namespace fake
