#include "fake_agent.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ocs.h"
#include "vkdb.h"

namespace kvsup_test {

std::string Object(const Props& props) {
    std::string xml = "<QXStorageObject>";
    for (const auto& [tag, value] : props) {
        xml += "<" + tag + ">" + value + "</" + tag + ">";
    }
    return xml + "</QXStorageObject>";
}

std::string Answer(const std::vector<Props>& objects) {
    std::string xml;
    for (const Props& p : objects) {
        xml += Object(p);
    }
    return xml + "<SMStatus>0</SMStatus>";
}

std::string Answer(std::initializer_list<Props> objects) {
    return Answer(std::vector<Props>(objects));
}

FakeAgent::FakeAgent() {
    VKDBPluginInstallAgent("kvda", &FakeAgent::Send, &FakeAgent::Free, this);
}

FakeAgent::~FakeAgent() {
    VKDBPluginRemoveAgent("kvda");
}

void FakeAgent::On(std::vector<std::string> match, std::optional<std::string> answer) {
    rules_.push_back({std::move(match), std::move(answer)});
}

std::vector<std::vector<std::string>> FakeAgent::RequestsNamed(const std::string& name) const {
    std::vector<std::vector<std::string>> out;
    for (const auto& r : requests_) {
        if (!r.empty() && r[0] == "vkacmd=" + name) {
            out.push_back(r);
        }
    }
    return out;
}

char* FakeAgent::Send(void* context, uint32_t count, const char** nvPairs) {
    auto* self = static_cast<FakeAgent*>(context);
    std::vector<std::string> request(nvPairs, nvPairs + count);
    self->requests_.push_back(request);
    for (const Rule& rule : self->rules_) {
        const bool all = std::all_of(rule.match.begin(), rule.match.end(), [&](const auto& m) {
            return std::find(request.begin(), request.end(), m) != request.end();
        });
        if (all) {
            if (!rule.answer) {
                return nullptr;
            }
            char* data = static_cast<char*>(std::malloc(rule.answer->size() + 1));
            std::memcpy(data, rule.answer->c_str(), rule.answer->size() + 1);
            return data;
        }
    }
    return nullptr;
}

void FakeAgent::Free(void*, char* data) {
    std::free(data);
}

namespace {
// Refuses the XML buffer records only, so answers still arrive.
int FailXmlBuffers(size_t size) {
    return size == sizeof(OCSXBuf) ? 1 : 0;
}
}  // namespace

NoXmlBuffers::NoXmlBuffers() {
    OCSSetAllocFailHook(&FailXmlBuffers);
}
NoXmlBuffers::~NoXmlBuffers() {
    OCSSetAllocFailHook(nullptr);
}

}  // namespace kvsup_test

namespace kvsup_test {
std::string Bits(uint32_t value) {
    std::string text(32, '0');
    for (int i = 0; i < 32; ++i) {
        if ((value >> (31 - i)) & 1u) {
            text[static_cast<std::size_t>(i)] = '1';
        }
    }
    return text;
}
}  // namespace kvsup_test
