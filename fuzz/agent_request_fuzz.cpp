// Arbitrary requests at the agent's door: every answer must be well-formed
// XML with a status, and what the requests stored must never make a later
// answer unreadable. Input: up to 8 requests separated by NUL bytes, each
// its name=value pairs separated by newlines. Every input starts from the
// default estate, held in memory.
#include <fcntl.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "agent.h"
#include "profile.h"

namespace {

// Export logs land beside the state file, which is in memory: in the
// working directory. Requests run in a scratch directory (removed at exit);
// libFuzzer's own files stay where it was started.
struct Scratch {
    std::filesystem::path dir;
    int home = -1;
    Scratch() {
        setenv("VK_SHARE_DIR", VK_FUZZ_SHARE_DIR, 1);
        setenv("KVDA_TIME_SCALE", "0", 1);
        char name[] = "/tmp/vk-agent-fuzz-XXXXXX";
        home = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (home >= 0 && mkdtemp(name) != nullptr) dir = name;
    }
    ~Scratch() {
        std::error_code ec;
        if (!dir.empty()) std::filesystem::remove_all(dir, ec);
        if (home >= 0) close(home);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
};
const Scratch kScratch;

struct InScratch {
    bool entered = chdir(kScratch.dir.c_str()) == 0;
    InScratch() = default;
    ~InScratch() { leave(); }
    InScratch(const InScratch&) = delete;
    InScratch& operator=(const InScratch&) = delete;
    static void leave() {
        if (fchdir(kScratch.home) != 0) std::abort();
    }
};

void requireWellFormed(const std::string& answer, const std::vector<std::string>& request) {
    const std::string doc = "<ROOT>" + answer + "</ROOT>";
    xmlDocPtr parsed =
        xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "answer.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    const bool ok = parsed != nullptr && answer.find("<SMStatus>") != std::string::npos;
    xmlFreeDoc(parsed);
    if (ok) return;
    InScratch::leave();  // the crash file goes where libFuzzer was started
    std::fprintf(stderr, "answer is not well-formed XML with a status:\n%s\nrequest:\n",
                 answer.c_str());
    for (const std::string& pair : request) std::fprintf(stderr, "  %s\n", pair.c_str());
    std::abort();
}

std::vector<std::string> split(std::string_view text, char separator, size_t most) {
    std::vector<std::string> out;
    size_t start = 0;
    while (start <= text.size() && out.size() < most) {
        const size_t end = std::min(text.find(separator, start), text.size());
        out.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (kScratch.dir.empty()) return 0;
    const InScratch here;
    if (!here.entered) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    // One agent, its estate put back to the default one for every input.
    static kvda::Agent agent(":memory:");
    static const kvda::Estate initial = [] {
        const std::filesystem::path profile = kvda::resolveProfile("default");
        return kvda::buildEstate(kvda::readProfile(profile), profile.string());
    }();
    agent.store().replace(initial, "default");
    agent.store().clearJournal();
    for (const std::string& text : split(input, '\0', 8)) {
        const std::vector<std::string> request = split(text, '\n', 32);
        requireWellFormed(agent.send(request), request);
    }
    const std::vector<std::string> dump{"vkacmd=getStoreDump"};
    requireWellFormed(agent.send(dump), dump);
    return 0;
}
