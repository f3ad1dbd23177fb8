// A stand-in for the storage plug-in: canned answers chosen by the object
// word ("vkreport storage WORD ..."), and a log of every call in the file
// named by VK_FAKE_LOG, so tests can see what the host asked.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "clps.h"
#include "vk_export.h"

#define FAKE_EXPORT extern "C" VK_DLL_EXPORT

namespace {

uint32_t g_flags = 0;

void Log(const std::string& line) {
    const char* file = std::getenv("VK_FAKE_LOG");
    if (file == nullptr) return;
    // Binary: the record reads the same on every system.
    if (std::FILE* out = std::fopen(file, "ab")) {
        std::fprintf(out, "%s\n", line.c_str());
        std::fclose(out);
    }
}

std::string Words(uint32_t argc, const char** argv) {
    std::string line;
    for (uint32_t i = 0; i < argc; ++i) line += (i ? " " : "") + std::string(argv[i]);
    return line;
}

char* Dup(const char* text) {
    return text != nullptr ? strdup(text) : nullptr;
}

struct Canned {
    std::string_view word;
    uint32_t kind;
    uint32_t dataType;
    const char* data;
    const char* styleSheet;
    const char* usageXml;
    uint32_t msgId;
};

constexpr const char* kDisks =
    "<RESPONSE><QXStorageObject><GlobalNo>0</GlobalNo><ObjID>0:0:1</ObjID>"
    "<Name>Disk &amp; co</Name></QXStorageObject><QXStorageObject><GlobalNo>0</GlobalNo>"
    "<ProductName>X1</ProductName></QXStorageObject><SMStatus>0</SMStatus></RESPONSE>";

// A virtual disk whose codes the reports decode.
constexpr const char* kVirtualDisk =
    "<RESPONSE><QXStorageObject><ObjType>vdisk</ObjType><ObjState>16</ObjState>"
    "<Layout>64</Layout><Length>1099511627776</Length><Name>Web</Name></QXStorageObject>"
    "<SMStatus>0</SMStatus></RESPONSE>";

// clang-format off
constexpr const char* kUsage =
    "<Usage object=\"usagexml\"><Action name=\"blink\"><Param name=\"controller\" required=\"yes\" "
    "type=\"id\"/><Param name=\"mode\" required=\"no\" type=\"text\"><Keyword>on</Keyword>"
    "<Keyword>off</Keyword></Param></Action></Usage>";

constexpr auto kCanned = std::to_array<Canned>({
    {"vdisk",    CLPS_RESP_XML,   0,  kVirtualDisk,                                    "kvclp.xsl",   nullptr, 0},
    {"pdisk",    CLPS_RESP_XML,   0,  kDisks,                                          "kvclp.xsl",   nullptr, 0},
    {"console",  CLPS_RESP_XML,   0,  kDisks,                                          "kvclp.xsl",   nullptr, 0},
    {"empty",    CLPS_RESP_XML,   0,  "<RESPONSE><SMStatus>0</SMStatus></RESPONSE>",   "kvclp.xsl",   nullptr, 0},
    {"fail",     CLPS_RESP_XML,   0,  "<RESPONSE><SMStatus>5</SMStatus><SMMessage>Physical disk 0:9 not found.</SMMessage></RESPONSE>", "kvclp.xsl", nullptr, 0},
    {"kind0",    CLPS_RESP_NONE,  0,  "<RESPONSE><QXStorageObject><GlobalNo>3</GlobalNo></QXStorageObject><SMStatus>0</SMStatus></RESPONSE>", nullptr, nullptr, 0},
    {"text",     CLPS_RESP_NONE,  22, "Version 4.2.1",                                 nullptr,       nullptr, 0},
    {"badxml",   CLPS_RESP_XML,   0,  "<RESPONSE><QXStorageObject>",                   "kvclp.xsl",   nullptr, 0},
    {"badxsl",   CLPS_RESP_XML,   0,  kDisks,                                          "missing.xsl", nullptr, 0},
    {"usagexml", CLPS_RESP_USAGE, 0,  nullptr,                                         "kvclp.xsl",   kUsage, 6101},
    {"usagebad", CLPS_RESP_USAGE, 0,  nullptr,                                         nullptr,       nullptr, 6999},
    {"summary",  CLPS_RESP_XML,   0,  "<RESPONSE><QXStorageObject><Name>srv1</Name></QXStorageObject><SMStatus>0</SMStatus></RESPONSE>", "sysclp.xsl", nullptr, 0},
    {"empty0",   CLPS_RESP_NONE,  0,  nullptr,                                         nullptr,       nullptr, 0},
});
// clang-format on

CLPSResponse* NewResponse(uint32_t kind) {
    auto* resp = static_cast<CLPSResponse*>(std::calloc(1, sizeof(CLPSResponse)));
    resp->kind = kind;
    resp->word6 = 32;
    resp->word8 = 41;
    return resp;
}

// The request: "vkacmd=" and the object word, then the user's name=value words.
void SetRequest(CLPSResponse* resp, const char* verb, uint32_t argc, const char** argv) {
    std::vector<std::string> pairs{std::string("vkacmd=") + verb + (argc > 2 ? argv[2] : "")};
    for (uint32_t i = 3; i < argc; ++i) {
        if (std::strchr(argv[i], '=') != nullptr) pairs.emplace_back(argv[i]);
    }
    resp->requestCount = static_cast<uint32_t>(pairs.size());
    resp->ppRequest = static_cast<char**>(std::calloc(pairs.size(), sizeof(char*)));
    for (size_t i = 0; i < pairs.size(); ++i) resp->ppRequest[i] = Dup(pairs[i].c_str());
}

bool AsksHelp(uint32_t argc, const char** argv) {
    for (uint32_t i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-?") == 0 || strcasecmp(argv[i], "help") == 0) return true;
    }
    return false;
}

__attribute__((constructor)) void Loaded() {
    const char* root = std::getenv("SystemRoot");
    Log(std::string("load SystemRoot=") + (root != nullptr ? root : "(unset)"));
}

}  // namespace

FAKE_EXPORT void CLPSSetHostFlags(uint32_t flags) {
    g_flags = flags;
    Log("flags " + std::to_string(flags));
}

FAKE_EXPORT uint32_t kvclp64_getRequiredUserRights(uint32_t argc, const char** argv) {
    Log("rights " + Words(argc, argv));
    if (argc > 2 && std::strcmp(argv[2], "unknown") == 0) return 0;
    return std::strcmp(argv[0], "vkconfig") == 0 ? 7 : 1;
}

FAKE_EXPORT CLPSResponse* kvclp64_sendRequest(uint32_t argc, const char** argv) {
    Log("send " + Words(argc, argv));
    if (AsksHelp(argc, argv)) {
        CLPSResponse* resp = NewResponse(CLPS_RESP_USAGE);
        resp->msgId = std::strcmp(argv[0], "vkconfig") == 0 ? 6001 : 6000;
        return resp;
    }
    const std::string_view word = argc > 2 ? argv[2] : "";
    if ((g_flags & CLPS_HOST_DRYRUN) != 0) {
        CLPSResponse* resp = NewResponse(CLPS_RESP_DRYRUN);
        SetRequest(resp, "set", argc, argv);
        return resp;
    }
    if (word == "msg") {
        // vkreport storage msg NUMBER [FIRST [SECOND]]
        CLPSResponse* resp = NewResponse(CLPS_RESP_MESSAGE);
        resp->msgId = argc > 3 ? static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10)) : 0;
        resp->msgArg1 = Dup(argc > 4 ? argv[4] : "action=blinq");
        resp->msgArg2 = Dup(argc > 5 ? argv[5] : "blink, unblink");
        return resp;
    }
    if (word == "console") {
        std::printf("plug-in says hello\n");
        const char raw[] = "raw line\n";
        if (write(STDOUT_FILENO, raw, sizeof raw - 1) < 0) return nullptr;
    }
    for (const Canned& canned : kCanned) {
        if (canned.word != word) continue;
        CLPSResponse* resp = NewResponse(canned.kind);
        resp->dataType = canned.dataType;
        resp->pDataBuf = Dup(canned.data);
        resp->dataLen =
            canned.data != nullptr ? static_cast<uint32_t>(std::strlen(canned.data) + 1) : 0;
        resp->pStyleSheet = Dup(canned.styleSheet);
        resp->pUsageXML = Dup(canned.usageXml);
        resp->msgId = canned.msgId;
        SetRequest(resp, "get", argc, argv);
        return resp;
    }
    return nullptr;
}

FAKE_EXPORT void kvclp64_freeResponse(CLPSResponse* resp) {
    Log("free");
    if (resp == nullptr) return;
    std::free(resp->pDataBuf);
    std::free(resp->pStyleSheet);
    std::free(resp->msgArg1);
    std::free(resp->msgArg2);
    std::free(resp->pUsageXML);
    for (uint32_t i = 0; i < resp->requestCount; ++i) std::free(resp->ppRequest[i]);
    std::free(resp->ppRequest);
    std::free(resp);
}

FAKE_EXPORT void kvclp64_destroyCLIP() {
    Log("destroy");
}
