// Data-agent access. Every prefix gets one small handle for the life of the
// process; what answers behind a handle is decided at each call: an agent
// installed in-process first, else the agent module (lib<prefix>.so, or
// <prefix>.dll on Windows) from the agents directory (loaded once and kept). Each answer remembers
// the agent that made it, so it is always freed by its producer. Answers are
// read through once before they are handed out: a text that is not
// well-formed XML never reaches a caller, and every answer that fails is
// recorded with its cause for the calling thread.
#include "vkdb.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "os/module.h"
#include "xmlsup.h"

namespace {

struct Agent {
    VKDBAgentSendCmdFunc send = nullptr;
    VKDBAgentFreeDataFunc freeData = nullptr;
    void* context = nullptr;
    VKDBAgentFailureFunc failure = nullptr;  // modules only, optional
    std::string module;                      // the module's file, empty in-process
};

// The latest failure since the thread last cleared it.
struct Failure {
    bool recorded = false;
    std::string prefix;
    std::string cause;
};
thread_local Failure tFailure;

void RecordFailure(std::string_view prefix, std::string cause) noexcept {
    try {
        tFailure.prefix = prefix;
        tFailure.cause = std::move(cause);
        tFailure.recorded = true;
    } catch (const std::bad_alloc&) {
        tFailure.recorded = false;
    }
}

// "the agent module /usr/lib/vk/agents/libkvda.so", or the in-process agent.
std::string Who(const Agent& agent, std::string_view prefix) {
    return agent.module.empty() ? "the in-process agent " + std::string(prefix)
                                : "the agent module " + agent.module;
}

// The request's name for messages: its first pair, cut short.
std::string RequestName(uint32_t count, const char** nvPairs) {
    constexpr size_t kShown = 64;
    const std::string_view first = count > 0 && nvPairs[0] != nullptr ? nvPairs[0] : "";
    return std::string(first.substr(0, kShown)) + (first.size() > kShown ? "..." : "");
}

// Empty when the answer is well-formed XML content, else the reason.
std::string FaultOf(const char* data) {
    const size_t len = std::strlen(data);
    if (len > UINT32_MAX) {
        return "it is larger than 4 GiB";
    }
    std::array<char, 256> why{};
    if (XMLSupCheckContent(data, static_cast<uint32_t>(len), why.data(),
                           static_cast<uint32_t>(why.size())) == XMLSUP_OK) {
        return {};
    }
    return why.data();
}

bool SameAgent(const Agent& a, const Agent& b) {
    return a.send == b.send && a.freeData == b.freeData && a.context == b.context;
}

struct Registry {
    Registry() = default;
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
    // Answers never given back (a caller that frees something else in their
    // place) are released when the library goes, so nothing is left behind.
    ~Registry() {
        for (auto& [data, producer] : outstanding) {
            producer.freeData(producer.context, const_cast<char*>(data));
        }
    }

    std::mutex lock;
    std::map<std::string, Agent, std::less<>> installed;
    std::map<std::string, Agent, std::less<>> modules;
    std::map<std::string, uintptr_t, std::less<>> handles;
    std::unordered_map<uintptr_t, std::string> prefixes;
    // Answers handed out and not yet freed, with the agent that made them.
    std::unordered_map<const char*, Agent> outstanding;
    uintptr_t nextHandle = 1;
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

// Prefixes become file names, so only plain name characters are accepted.
bool IsValidPrefix(std::string_view prefix) {
    if (prefix.empty() || prefix.size() > 64) {
        return false;
    }
    for (char c : prefix) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                        (c >= '0' && c <= '9') || c == '_' || c == '-';
        if (!ok) {
            return false;
        }
    }
    return true;
}

std::string ComputeAgentDir() {
    if (const char* env = std::getenv("VK_AGENT_DIR"); env != nullptr && *env != '\0') {
        return env;
    }
    if (const auto self =
            vk::os::ModuleContaining(reinterpret_cast<const void*>(&VKDBPluginAgentDir));
        self && self->file.has_parent_path()) {
        // The loader may report the library through a relative run path
        // ("bin/../lib/vk"); the canonical form is what users expect to see.
        const std::filesystem::path dir = self->file.parent_path();
        std::error_code ec;
        const std::filesystem::path real = std::filesystem::canonical(dir, ec);
        return ((ec ? dir : real) / "agents").string();
    }
    return "agents";
}

// Loads the agent module once; a module without both entry points is
// unusable. Called with the registry lock held.
std::optional<Agent> LoadModule(Registry& reg, std::string_view prefix) {
    if (auto it = reg.modules.find(prefix); it != reg.modules.end()) {
        return it->second;
    }
    const std::filesystem::path path =
        std::filesystem::path(VKDBPluginAgentDir()) / vk::os::ModuleFileName(prefix);
    std::string error;
    vk::os::Module module = vk::os::Module::Load(path, error);
    if (!module) {
        // The loader's text may begin with the file's name already.
        const std::string file = path.string();
        if (error.rfind(file + ": ", 0) == 0) error.erase(0, file.size() + 2);
        RecordFailure(prefix, "cannot load the agent module " + file + ": " + error);
        return std::nullopt;
    }
    Agent agent;
    agent.send = reinterpret_cast<VKDBAgentSendCmdFunc>(module.Find(VKDB_AGENT_SEND_SYMBOL));
    agent.freeData = reinterpret_cast<VKDBAgentFreeDataFunc>(module.Find(VKDB_AGENT_FREE_SYMBOL));
    agent.failure = reinterpret_cast<VKDBAgentFailureFunc>(module.Find(VKDB_AGENT_FAILURE_SYMBOL));
    agent.module = path.string();
    if (agent.send == nullptr || agent.freeData == nullptr) {
        RecordFailure(
            prefix, "the agent module " + path.string() + " lacks " +
                        (agent.send == nullptr ? VKDB_AGENT_SEND_SYMBOL : VKDB_AGENT_FREE_SYMBOL));
        return std::nullopt;
    }
    // The module stays loaded for the life of the process: answers and
    // handles may outlive any single caller.
    module.Keep();
    reg.modules.emplace(std::string(prefix), agent);
    return agent;
}

// Called with the registry lock held.
std::optional<Agent> Resolve(Registry& reg, std::string_view prefix) {
    if (auto it = reg.installed.find(prefix); it != reg.installed.end()) {
        return it->second;
    }
    return LoadModule(reg, prefix);
}

}  // namespace

extern "C" {

const char* VKDBPluginAgentDir(void) {
    // Fixed at first use, so setting VK_AGENT_DIR later has no effect.
    static const std::string dir = ComputeAgentDir();
    return dir.c_str();
}

uint32_t VKDBPluginInstalledByPrefix(const char* prefix) {
    if (prefix == nullptr || !IsValidPrefix(prefix)) {
        return 0;
    }
    try {
        Registry& reg = TheRegistry();
        std::lock_guard guard(reg.lock);
        return Resolve(reg, prefix).has_value() ? 1u : 0u;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

uintptr_t VKDBPluginGetIDByPrefix(const char* prefix) {
    if (prefix == nullptr || !IsValidPrefix(prefix)) {
        return 0;
    }
    try {
        Registry& reg = TheRegistry();
        std::lock_guard guard(reg.lock);
        if (!Resolve(reg, prefix).has_value()) {
            return 0;
        }
        if (auto it = reg.handles.find(std::string_view(prefix)); it != reg.handles.end()) {
            return it->second;
        }
        const uintptr_t id = reg.nextHandle++;
        reg.handles.emplace(prefix, id);
        reg.prefixes.emplace(id, prefix);
        return id;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

char* VKDBPluginSendCmd(uintptr_t id, uint32_t count, const char** nvPairs) {
    if (nvPairs == nullptr || count == 0) {
        return nullptr;
    }
    try {
        Registry& reg = TheRegistry();
        std::optional<Agent> agent;
        std::string prefix;
        {
            std::lock_guard guard(reg.lock);
            auto it = reg.prefixes.find(id);
            if (it == reg.prefixes.end()) {
                return nullptr;
            }
            prefix = it->second;
            agent = Resolve(reg, prefix);
        }
        if (!agent) {
            return nullptr;
        }
        // The agent runs without the lock so that it may itself use agents.
        char* data = agent->send(agent->context, count, nvPairs);
        if (data == nullptr) {
            const char* why = agent->failure != nullptr ? agent->failure(agent->context) : nullptr;
            RecordFailure(prefix, why != nullptr && *why != '\0'
                                      ? std::string(why)
                                      : Who(*agent, prefix) + " gave no answer to " +
                                            RequestName(count, nvPairs));
            return nullptr;
        }
        if (std::string fault = FaultOf(data); !fault.empty()) {
            agent->freeData(agent->context, data);
            RecordFailure(prefix, Who(*agent, prefix) + " answered " + RequestName(count, nvPairs) +
                                      " with text that is not well-formed XML: " + fault);
            return nullptr;
        }
        try {
            std::lock_guard guard(reg.lock);
            reg.outstanding[data] = *agent;
        } catch (const std::bad_alloc&) {
            agent->freeData(agent->context, data);
            return nullptr;
        }
        return data;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void VKDBPluginFreeData(uintptr_t /*id*/, char* data) {
    if (data == nullptr) {
        return;
    }
    Registry& reg = TheRegistry();
    Agent producer;
    {
        std::lock_guard guard(reg.lock);
        auto it = reg.outstanding.find(data);
        // Text this library never handed out is not ours to free.
        if (it == reg.outstanding.end()) {
            return;
        }
        producer = it->second;
        reg.outstanding.erase(it);
    }
    producer.freeData(producer.context, data);
}

int32_t VKDBPluginGetFailure(const char** prefix, const char** cause) {
    if (!tFailure.recorded) {
        return 0;
    }
    if (prefix != nullptr) {
        *prefix = tFailure.prefix.c_str();
    }
    if (cause != nullptr) {
        *cause = tFailure.cause.c_str();
    }
    return 1;
}

void VKDBPluginClearFailure(void) {
    tFailure = Failure{};
}

int32_t VKDBPluginInstallAgent(const char* prefix, VKDBAgentSendCmdFunc send,
                               VKDBAgentFreeDataFunc freeData, void* context) {
    if (prefix == nullptr || !IsValidPrefix(prefix) || send == nullptr || freeData == nullptr) {
        return -1;
    }
    try {
        Registry& reg = TheRegistry();
        std::lock_guard guard(reg.lock);
        reg.installed.insert_or_assign(prefix, Agent{send, freeData, context, nullptr, {}});
        return 0;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

void VKDBPluginRemoveAgent(const char* prefix) {
    if (prefix == nullptr) {
        return;
    }
    Registry& reg = TheRegistry();
    std::vector<std::pair<char*, Agent>> orphans;
    {
        std::lock_guard guard(reg.lock);
        auto it = reg.installed.find(std::string_view(prefix));
        if (it == reg.installed.end()) {
            return;
        }
        const Agent removed = it->second;
        reg.installed.erase(it);
        // The agent's context may not outlive its removal: its answers that
        // were never given back are released now, by it.
        for (auto a = reg.outstanding.begin(); a != reg.outstanding.end();) {
            if (SameAgent(a->second, removed)) {
                orphans.emplace_back(const_cast<char*>(a->first), a->second);
                a = reg.outstanding.erase(a);
            } else {
                ++a;
            }
        }
    }
    for (auto& [data, producer] : orphans) {
        producer.freeData(producer.context, data);
    }
}

}  // extern "C"
