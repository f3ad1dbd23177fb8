// Test agent module that lacks the free entry point and so must be refused.
#include <cstdint>

#include "vk_export.h"

extern "C" VK_DLL_EXPORT char* VKDBAgentSendCmd(void* /*context*/, uint32_t /*count*/,
                                                const char** /*nvPairs*/) {
    return nullptr;
}
