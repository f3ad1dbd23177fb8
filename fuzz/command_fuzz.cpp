// A command line and an agent answer from arbitrary bytes: the plug-in must
// answer or refuse every line without crashing, whatever the agent says.
// Input: the command words separated by newlines, then a NUL, then the text
// every request is answered with.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "kvclp64.h"
#include "vkdb.h"

namespace {

std::string g_answer;

char* Send(void*, uint32_t, const char**) {
    char* copy = static_cast<char*>(std::malloc(g_answer.size() + 1));
    if (copy != nullptr) std::memcpy(copy, g_answer.c_str(), g_answer.size() + 1);
    return copy;
}

void Free(void*, char* data) {
    std::free(data);
}

const bool kAgentInstalled = [] {
    setenv("VK_AGENT_DIR", "/nonexistent/vk-agents", 1);
    return VKDBPluginInstallAgent("kvda", Send, Free, nullptr) == 0;
}();

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!kAgentInstalled) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find('\0');
    const std::string_view line = input.substr(0, split);
    g_answer =
        split == std::string_view::npos ? std::string() : std::string(input.substr(split + 1));

    std::vector<std::string> words;
    size_t start = 0;
    while (start <= line.size() && words.size() < 32) {
        const size_t end = std::min(line.find('\n', start), line.size());
        words.emplace_back(line.substr(start, end - start));
        start = end + 1;
    }
    std::vector<const char*> argv;
    for (const std::string& w : words) argv.push_back(w.c_str());
    const auto argc = static_cast<uint32_t>(argv.size());

    (void)kvclp64_getRequiredUserRights(argc, argv.data());
    kvclp64_freeResponse(kvclp64_sendRequest(argc, argv.data()));
    return 0;
}
