// Every command the plug-in serves, walked with a stray word and with each
// help word put at every position of the line, against a real estate (the
// agent in process, over a state file of its own): each line is refused
// naming the stray word, or answered with a usage, and nothing reaches the
// agent (its journal stays empty) nor changes the estate.
//
// The commands come from the plug-in itself: the command words from its
// refusals of an unknown word (which list the words valid there), the
// actions and parameters of each command from its usage help.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent.h"
#include "clps.h"
#include "help_words.h"
#include "kvclp64.h"
#include "os/environment.h"
#include "programs.h"
#include "vkdb.h"

namespace fs = std::filesystem;

namespace {

using Line = std::vector<std::string>;

constexpr const char* kStray = "bogus";

// A word no command has: the plug-in answers it with the words valid there.
constexpr const char* kUnknown = "zz-no-such-word";

// A value of each kind the usage help names, taken from the default estate.
const std::map<std::string, std::string> kValueOfType = {
    {"number", "0"},      {"rate", "30"},    {"text", "x1"},
    {"enclosure", "0:0"}, {"disk", "0:0:1"}, {"disklist", "0:0:1,0:0:2"},
};

std::string Joined(const Line& line) {
    std::string text;
    for (const std::string& w : line) text += (text.empty() ? "" : " ") + w;
    return text;
}

// The agent the plug-in sends to, over a state file of the test's own.
class WalkTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        dir_ = vktest::MakeTempDir("vk-walk-");
        vk::os::SetEnvironment("KVDA_STATE", (dir_ / "estate.db").string().c_str());
        vk::os::SetEnvironment("KVDA_TIME_SCALE", "0");
        vk::os::SetEnvironment("VK_SHARE_DIR", VK_TEST_SHARE_DIR);
        vk::os::SetEnvironment("SystemRoot", dir_.string().c_str());
        // Only the agent installed below answers.
        vk::os::SetEnvironment("VK_AGENT_DIR", (dir_ / "no-agents").string().c_str());
        agent_ = std::make_unique<kvda::Agent>(dir_ / "estate.db");
        agent_->estate();  // the default estate, created on first use
        ASSERT_EQ(VKDBPluginInstallAgent("kvda", Send, Free, agent_.get()), 0);
    }
    static void TearDownTestSuite() {
        VKDBPluginRemoveAgent("kvda");
        agent_.reset();
        fs::remove_all(dir_);
    }

    static char* Send(void* context, uint32_t count, const char** pairs) {
        ++sent_;
        const std::string answer = static_cast<kvda::Agent*>(context)->send(
            std::vector<std::string>(pairs, pairs + count));
        return strdup(answer.c_str());
    }
    static void Free(void*, char* data) { std::free(data); }

    struct ResponseFree {
        void operator()(CLPSResponse* r) const { kvclp64_freeResponse(r); }
    };
    using Response = std::unique_ptr<CLPSResponse, ResponseFree>;

    static Response Run(const Line& line) {
        std::vector<const char*> argv;
        for (const std::string& w : line) argv.push_back(w.c_str());
        return Response(kvclp64_sendRequest(static_cast<uint32_t>(argv.size()), argv.data()));
    }

    // The whole estate as the control tool shows it.
    static std::string ShowEstate() {
        const fs::path tool = VK_TEST_KVDA_TOOL;
        return vktest::RunProgram(tool.parent_path(),
                                  {tool.filename().string(), "show", "--format=json"})
            .out;
    }

    static inline fs::path dir_;
    static inline std::unique_ptr<kvda::Agent> agent_;
    static inline int sent_ = 0;
};

// The words valid after prefix, from the refusal of an unknown word there;
// empty when prefix is a whole command (the unknown word is then a stray).
std::vector<std::string> NextWords(const Line& prefix) {
    Line probe = prefix;
    probe.emplace_back(kUnknown);
    std::vector<const char*> argv;
    for (const std::string& w : probe) argv.push_back(w.c_str());
    std::unique_ptr<CLPSResponse, void (*)(CLPSResponse*)> r(
        kvclp64_sendRequest(static_cast<uint32_t>(argv.size()), argv.data()), kvclp64_freeResponse);
    std::vector<std::string> words;
    if (!r || (r->msgId != CLPS_MSG_BAD_WORD && r->msgId != CLPS_MSG_BAD_OBJECT)) return words;
    const std::string list = r->msgArg2 != nullptr ? r->msgArg2 : "";
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(", ", start), list.size());
        words.push_back(list.substr(start, end - start));
        start = end + 2;
    }
    return words;
}

// Every prefix that is a command of its own (it has rights), depth first.
void CollectCommands(const Line& prefix, std::vector<Line>& commands) {
    std::vector<const char*> argv;
    for (const std::string& w : prefix) argv.push_back(w.c_str());
    if (kvclp64_getRequiredUserRights(static_cast<uint32_t>(argv.size()), argv.data()) != 0)
        commands.push_back(prefix);
    const std::vector<std::string> next = NextWords(prefix);
    for (const std::string& word : next) {
        Line longer = prefix;
        longer.push_back(word);
        CollectCommands(longer, commands);
    }
}

std::string Attr(const xmlNode* node, const char* name) {
    xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    std::string text = value != nullptr ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

struct Param {
    std::string name;
    bool required = false;
    std::string value;  // first keyword, or a value of the type
};

std::vector<Param> ParamsOf(const xmlNode* parent) {
    std::vector<Param> params;
    for (const xmlNode* p = parent->children; p != nullptr; p = p->next) {
        if (p->type != XML_ELEMENT_NODE ||
            std::strcmp(reinterpret_cast<const char*>(p->name), "Param") != 0)
            continue;
        Param param{Attr(p, "name"), Attr(p, "required") == "yes", ""};
        for (const xmlNode* k = p->children; k != nullptr && param.value.empty(); k = k->next) {
            if (k->type == XML_ELEMENT_NODE) {
                xmlChar* text = xmlNodeGetContent(k);
                param.value = reinterpret_cast<const char*>(text);
                xmlFree(text);
            }
        }
        if (param.value.empty()) {
            const auto found = kValueOfType.find(Attr(p, "type"));
            param.value = found != kValueOfType.end() ? found->second : "x1";
        }
        params.push_back(std::move(param));
    }
    return params;
}

// A line with the required parameters, and one with every parameter.
void AddLines(const Line& head, const std::vector<Param>& params, std::vector<Line>& lines) {
    Line required = head;
    Line all = head;
    for (const Param& p : params) {
        if (p.required) required.push_back(p.name + "=" + p.value);
        all.push_back(p.name + "=" + p.value);
    }
    lines.push_back(required);
    if (all != required) lines.push_back(all);
}

// The lines of one command: one per visible action, or the report's lines.
std::vector<Line> LinesOf(const Line& command) {
    Line help = command;
    help.emplace_back("-?");
    std::vector<const char*> argv;
    for (const std::string& w : help) argv.push_back(w.c_str());
    std::unique_ptr<CLPSResponse, void (*)(CLPSResponse*)> r(
        kvclp64_sendRequest(static_cast<uint32_t>(argv.size()), argv.data()), kvclp64_freeResponse);
    std::vector<Line> lines;
    if (!r || r->pUsageXML == nullptr) {
        lines.push_back(command);
        return lines;
    }
    std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> doc(
        xmlReadMemory(r->pUsageXML, static_cast<int>(std::strlen(r->pUsageXML)), "usage.xml",
                      nullptr, XML_PARSE_NONET),
        xmlFreeDoc);
    if (!doc) return {command};
    const xmlNode* usage = xmlDocGetRootElement(doc.get());
    for (const xmlNode* a = usage->children; a != nullptr; a = a->next) {
        if (a->type != XML_ELEMENT_NODE ||
            std::strcmp(reinterpret_cast<const char*>(a->name), "Action") != 0)
            continue;
        Line head = command;
        head.push_back("action=" + Attr(a, "name"));
        AddLines(head, ParamsOf(a), lines);
    }
    const std::vector<Param> reportParams = ParamsOf(usage);
    if (lines.empty()) AddLines(command, reportParams, lines);
    return lines;
}

TEST_F(WalkTest, StrayAndHelpWordsAnywhereSendNothing) {
    std::vector<Line> commands;
    CollectCommands({"vkreport"}, commands);
    CollectCommands({"vkconfig"}, commands);
    // The plug-in's own vocabulary: every command row, reached by its words.
    ASSERT_EQ(commands.size(), 39u);

    std::vector<Line> lines;
    for (const Line& command : commands) {
        for (Line& line : LinesOf(command)) lines.push_back(std::move(line));
    }
    ASSERT_GT(lines.size(), 150u) << "the usage help lists the actions";

    std::vector<std::string> inserted(vk::kHelpWords.begin(), vk::kHelpWords.end());
    inserted.emplace_back(kStray);
    const std::string before = ShowEstate();
    ASSERT_NE(before, "");
    agent_->store().clearJournal();
    const int64_t generation = agent_->store().generation();
    sent_ = 0;

    size_t cases = 0;
    for (const Line& line : lines) {
        for (size_t at = 1; at <= line.size(); ++at) {
            for (const std::string& word : inserted) {
                Line probe = line;
                probe.insert(probe.begin() + static_cast<std::ptrdiff_t>(at), word);
                SCOPED_TRACE(Joined(probe));
                ++cases;
                const Response r = Run(probe);
                ASSERT_NE(r, nullptr);
                if (word == kStray) {
                    // Refused as a command line not understood, naming the word.
                    EXPECT_EQ(r->kind, CLPS_RESP_MESSAGE);
                    EXPECT_GE(r->msgId, 1500u);
                    EXPECT_LT(r->msgId, 1590u);
                    EXPECT_STREQ(r->msgArg1, kStray);
                } else {
                    EXPECT_EQ(r->kind, CLPS_RESP_USAGE);
                }
                ASSERT_EQ(sent_, 0) << "a request reached the agent";
            }
        }
    }
    EXPECT_TRUE(agent_->store().journalLines().empty());
    EXPECT_EQ(agent_->store().generation(), generation);
    EXPECT_EQ(ShowEstate(), before);
    std::printf("walked %zu lines of %zu commands: %zu cases\n", lines.size(), commands.size(),
                cases);
}

}  // namespace
