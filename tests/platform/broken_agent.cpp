// Test agent module that lacks the free entry point and so must be refused.
#include <cstdint>

extern "C" __attribute__((visibility("default"))) char* VKDBAgentSendCmd(void* /*context*/,
                                                                         uint32_t /*count*/,
                                                                         const char** /*nvPairs*/) {
    return nullptr;
}
