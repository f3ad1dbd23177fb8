// An agent module that answers every request with text that is not XML, as
// a broken or foreign agent might.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "vkdb.h"

extern "C" VKDB_AGENT_EXPORT char* VKDBAgentSendCmd(void* /*context*/, uint32_t /*count*/,
                                                    const char** /*nvPairs*/) {
    static constexpr char kText[] = "Segmentation fault <core dumped>\n";
    char* data = static_cast<char*>(std::malloc(sizeof kText));
    if (data != nullptr) std::memcpy(data, kText, sizeof kText);
    return data;
}

extern "C" VKDB_AGENT_EXPORT void VKDBAgentFreeData(void* /*context*/, char* data) {
    std::free(data);
}
