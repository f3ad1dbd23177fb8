// The agent module: the two functions the data-agent access library calls.
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>

#include "agent.h"
#include "answer.h"
#include "vkdb.h"

namespace {

std::mutex gMutex;
std::unique_ptr<kvda::Agent> gAgent;

// Opens the estate on first use; a failure is answered and retried on the
// next request, so a fixed state file needs no restart of the host.
std::string answer(uint32_t count, const char** pairs) {
    std::vector<std::string> list;
    for (uint32_t i = 0; pairs && i < count; ++i) list.emplace_back(pairs[i] ? pairs[i] : "");
    kvda::Agent* agent = nullptr;
    {
        std::lock_guard lock(gMutex);
        try {
            if (!gAgent) gAgent = std::make_unique<kvda::Agent>(kvda::defaultStatePath());
        } catch (const std::exception& e) {
            kvda::Answer a;
            return a.finish(kvda::status::kStateError, e.what());
        }
        agent = gAgent.get();
    }
    return agent->send(list);
}

}  // namespace

extern "C" {

VKDB_AGENT_EXPORT char* VKDBAgentSendCmd(void* /*context*/, uint32_t count, const char** nvPairs) {
    try {
        std::string text = answer(count, nvPairs);
        auto out = std::make_unique<char[]>(text.size() + 1);
        std::memcpy(out.get(), text.c_str(), text.size() + 1);
        return out.release();
    } catch (...) {
        return nullptr;  // out of memory: the caller sees "no answer"
    }
}

VKDB_AGENT_EXPORT void VKDBAgentFreeData(void* /*context*/, char* data) {
    std::unique_ptr<char[]> owned(data);
}
}
