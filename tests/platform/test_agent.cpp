// Test agent module: answers every request with a status and an echo of the
// name/value list it received, so a test can see exactly what was sent.
#include <cstdlib>
#include <cstring>
#include <string>

#include "vkdb.h"

extern "C" VKDB_AGENT_EXPORT char* VKDBAgentSendCmd(void* context, uint32_t count,
                                                    const char** nvPairs) {
    std::string answer = "<SMStatus>0</SMStatus><Echo>";
    for (uint32_t i = 0; i < count; ++i) {
        answer += i == 0 ? "" : "|";
        answer += nvPairs[i];
    }
    answer += context == nullptr ? "</Echo><Context>null</Context>" : "</Echo>";
    char* data = static_cast<char*>(std::malloc(answer.size() + 1));
    if (data != nullptr) {
        std::memcpy(data, answer.c_str(), answer.size() + 1);
    }
    return data;
}

extern "C" VKDB_AGENT_EXPORT void VKDBAgentFreeData(void* /*context*/, char* data) {
    std::free(data);
}
