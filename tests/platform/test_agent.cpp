// Test agent module: answers every request with a status and an echo of the
// name/value list it received, so a test can see exactly what was sent.
// "vkacmd=unusable" gets no answer and a reason, "vkacmd=garbage" text that
// is not XML.
#include <cstdlib>
#include <cstring>
#include <string>

#include "vkdb.h"

extern "C" VKDB_AGENT_EXPORT const char* VKDBAgentFailure(void* /*context*/) {
    return "state file /nowhere/kvda.db: file is not a database";
}

extern "C" VKDB_AGENT_EXPORT char* VKDBAgentSendCmd(void* context, uint32_t count,
                                                    const char** nvPairs) {
    if (count > 0 && std::strcmp(nvPairs[0], "vkacmd=unusable") == 0) return nullptr;
    std::string answer = "<SMStatus>0</SMStatus><Echo>";
    for (uint32_t i = 0; i < count; ++i) {
        answer += i == 0 ? "" : "|";
        answer += nvPairs[i];
    }
    answer += context == nullptr ? "</Echo><Context>null</Context>" : "</Echo>";
    if (count > 0 && std::strcmp(nvPairs[0], "vkacmd=garbage") == 0) answer = "garbage <";
    char* data = static_cast<char*>(std::malloc(answer.size() + 1));
    if (data != nullptr) {
        std::memcpy(data, answer.c_str(), answer.size() + 1);
    }
    return data;
}

extern "C" VKDB_AGENT_EXPORT void VKDBAgentFreeData(void* /*context*/, char* data) {
    std::free(data);
}
