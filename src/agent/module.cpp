// The agent module: the two functions the data-agent access library calls.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "agent.h"
#include "vkdb.h"

namespace {

std::mutex gMutex;
std::unique_ptr<kvda::Agent> gAgent;
// Why this thread's last request got no answer (VKDBAgentFailure). A plain
// buffer: a thread-local object with a destructor would keep the module
// loaded, and the estate open, after the caller unloads it.
thread_local char tFailure[2048];

// Keeps as much of `why` as fits, cut before a character, never inside one.
void setFailure(std::string_view why) {
    size_t n = std::min(why.size(), sizeof tFailure - 1);
    while (n > 0 && n < why.size() && (static_cast<unsigned char>(why[n]) & 0xC0) == 0x80) --n;
    std::memcpy(tFailure, why.data(), n);
    tFailure[n] = '\0';
}

// Opens the estate on first use, and retries on the next request after a
// failure, so a fixed state file needs no restart of the host. An estate
// that cannot be used gives no answer: the caller learns why through
// VKDBAgentFailure and tells it apart from a refusal.
std::optional<std::string> answer(uint32_t count, const char** pairs) {
    std::vector<std::string> list;
    for (uint32_t i = 0; pairs && i < count; ++i) list.emplace_back(pairs[i] ? pairs[i] : "");
    kvda::Agent* agent = nullptr;
    {
        std::lock_guard lock(gMutex);
        try {
            if (!gAgent) gAgent = std::make_unique<kvda::Agent>(kvda::defaultStatePath());
        } catch (const std::exception& e) {
            setFailure(e.what());
            return std::nullopt;
        }
        agent = gAgent.get();
    }
    kvda::Reply reply = agent->reply(list);
    if (reply.status == kvda::status::kStateError) {
        setFailure(reply.message);
        return std::nullopt;
    }
    return std::move(reply.text);
}

}  // namespace

extern "C" {

VKDB_AGENT_EXPORT char* VKDBAgentSendCmd(void* /*context*/, uint32_t count, const char** nvPairs) {
    try {
        setFailure("");
        std::optional<std::string> text = answer(count, nvPairs);
        if (!text) return nullptr;
        auto out = std::make_unique<char[]>(text->size() + 1);
        std::memcpy(out.get(), text->c_str(), text->size() + 1);
        return out.release();
    } catch (...) {
        setFailure("");  // out of memory: no answer, and no words to say why
        return nullptr;
    }
}

VKDB_AGENT_EXPORT const char* VKDBAgentFailure(void* /*context*/) {
    return tFailure[0] == '\0' ? nullptr : tFailure;
}

VKDB_AGENT_EXPORT void VKDBAgentFreeData(void* /*context*/, char* data) {
    std::unique_ptr<char[]> owned(data);
}
}
