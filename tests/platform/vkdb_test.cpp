#include "vkdb.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "os/environment.h"
#include "os/module.h"

namespace {

// Agent modules come from the test directory; set before the library first
// looks at the environment.
const bool kAgentDirSet = [] {
    vk::os::SetEnvironment("VK_AGENT_DIR", VK_TEST_AGENT_DIR);
    return true;
}();

// An in-process agent that records every request and answers canned text.
struct FakeAgent {
    std::string answer = "<SMStatus>0</SMStatus>";
    std::vector<std::vector<std::string>> requests;
    int freed = 0;

    static char* Send(void* context, uint32_t count, const char** nvPairs) {
        auto* self = static_cast<FakeAgent*>(context);
        self->requests.emplace_back(nvPairs, nvPairs + count);
        if (self->answer.empty()) {
            return nullptr;
        }
        char* data = static_cast<char*>(std::malloc(self->answer.size() + 1));
        std::memcpy(data, self->answer.c_str(), self->answer.size() + 1);
        return data;
    }
    static void Free(void* context, char* data) {
        ++static_cast<FakeAgent*>(context)->freed;
        std::free(data);
    }
};

struct Answer {
    uintptr_t id;
    char* data;
    ~Answer() { VKDBPluginFreeData(id, data); }
};

// Removes an installed agent whatever the test does.
class Installed {
  public:
    Installed(const char* prefix, FakeAgent& agent) : prefix_(prefix) {
        EXPECT_EQ(VKDBPluginInstallAgent(prefix, FakeAgent::Send, FakeAgent::Free, &agent), 0);
    }
    ~Installed() { VKDBPluginRemoveAgent(prefix_); }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;

  private:
    const char* prefix_;
};

TEST(Vkdb, AgentDirComesFromEnvironment) {
    ASSERT_TRUE(kAgentDirSet);
    EXPECT_STREQ(VKDBPluginAgentDir(), VK_TEST_AGENT_DIR);
}

TEST(Vkdb, InstalledAgentReceivesRequestsAndFreesItsAnswers) {
    FakeAgent agent;
    agent.answer =
        "<QXStorageObject><GlobalNo>0</GlobalNo></QXStorageObject><SMStatus>0</SMStatus>";
    Installed installed("fakeda", agent);

    EXPECT_NE(VKDBPluginInstalledByPrefix("fakeda") & 0xffffu, 0u);
    const uintptr_t id = VKDBPluginGetIDByPrefix("fakeda");
    ASSERT_NE(id, 0u);
    EXPECT_EQ(VKDBPluginGetIDByPrefix("fakeda"), id);

    std::array<const char*, 3> request = {"vkacmd=getController", "GlobalNo=0", "CLI=true"};
    {
        Answer answer{id, VKDBPluginSendCmd(id, 3, request.data())};
        ASSERT_NE(answer.data, nullptr);
        EXPECT_STREQ(answer.data, agent.answer.c_str());
    }
    ASSERT_EQ(agent.requests.size(), 1u);
    EXPECT_EQ(agent.requests[0],
              (std::vector<std::string>{"vkacmd=getController", "GlobalNo=0", "CLI=true"}));
    EXPECT_EQ(agent.freed, 1);

    // No answer from the agent reads as null; nothing to free.
    agent.answer.clear();
    EXPECT_EQ(VKDBPluginSendCmd(id, 1, request.data()), nullptr);
    EXPECT_EQ(agent.requests.size(), 2u);
    EXPECT_EQ(agent.freed, 1);
}

TEST(Vkdb, MissingAgentsAndBadHandles) {
    struct Case {
        const char* prefix;
    };
    // clang-format off
    constexpr std::array kMissing = {
        Case{"nosuchagent"},
        Case{"kvbroken"   },  // module without its free entry point
        Case{""           },
        Case{"../kvtest"  },  // not a plain name
        Case{nullptr      },
    };
    // clang-format on
    for (const auto& c : kMissing) {
        const char* shown = c.prefix != nullptr ? c.prefix : "(null)";
        EXPECT_EQ(VKDBPluginInstalledByPrefix(c.prefix), 0u) << shown;
        EXPECT_EQ(VKDBPluginGetIDByPrefix(c.prefix), 0u) << shown;
    }
    std::array<const char*, 1> request = {"vkacmd=getControllerList"};
    EXPECT_EQ(VKDBPluginSendCmd(0, 1, request.data()), nullptr);
    EXPECT_EQ(VKDBPluginSendCmd(9999, 1, request.data()), nullptr);
    VKDBPluginFreeData(9999, nullptr);
    EXPECT_NE(VKDBPluginInstallAgent("x", nullptr, FakeAgent::Free, nullptr), 0);
    EXPECT_NE(VKDBPluginInstallAgent("a/b", FakeAgent::Send, FakeAgent::Free, nullptr), 0);
}

TEST(Vkdb, ModuleAgentIsLoadedFromAgentDir) {
    EXPECT_NE(VKDBPluginInstalledByPrefix("kvtest"), 0u);
    const uintptr_t id = VKDBPluginGetIDByPrefix("kvtest");
    ASSERT_NE(id, 0u);
    std::array<const char*, 2> request = {"vkacmd=getControllerList", "CLI=true"};
    Answer answer{id, VKDBPluginSendCmd(id, 2, request.data())};
    ASSERT_NE(answer.data, nullptr);
    EXPECT_STREQ(answer.data,
                 "<SMStatus>0</SMStatus><Echo>vkacmd=getControllerList|CLI=true</Echo>"
                 "<Context>null</Context>");
}

TEST(Vkdb, InstalledAgentTakesPrecedenceOverModuleUntilRemoved) {
    const uintptr_t id = VKDBPluginGetIDByPrefix("kvtest");
    ASSERT_NE(id, 0u);
    std::array<const char*, 1> request = {"vkacmd=getGlobalInfo"};
    FakeAgent agent;
    agent.answer = "<SMStatus>0</SMStatus><Fake/>";
    {
        Installed installed("kvtest", agent);
        EXPECT_EQ(VKDBPluginGetIDByPrefix("kvtest"), id);
        Answer answer{id, VKDBPluginSendCmd(id, 1, request.data())};
        ASSERT_NE(answer.data, nullptr);
        EXPECT_STREQ(answer.data, "<SMStatus>0</SMStatus><Fake/>");
    }
    // The fake was removed after its answer was freed through it.
    EXPECT_EQ(agent.freed, 1);
    Answer answer{id, VKDBPluginSendCmd(id, 1, request.data())};
    ASSERT_NE(answer.data, nullptr);
    EXPECT_NE(std::strstr(answer.data, "<Echo>vkacmd=getGlobalInfo</Echo>"), nullptr);
}

TEST(Vkdb, AnswerIsFreedByTheAgentThatMadeIt) {
    FakeAgent first;
    FakeAgent second;
    ASSERT_EQ(VKDBPluginInstallAgent("swapda", FakeAgent::Send, FakeAgent::Free, &first), 0);
    const uintptr_t id = VKDBPluginGetIDByPrefix("swapda");
    std::array<const char*, 1> request = {"vkacmd=getAlertLog"};
    char* data = VKDBPluginSendCmd(id, 1, request.data());
    ASSERT_NE(data, nullptr);
    // Replacing the agent does not change who frees the earlier answer.
    ASSERT_EQ(VKDBPluginInstallAgent("swapda", FakeAgent::Send, FakeAgent::Free, &second), 0);
    VKDBPluginFreeData(id, data);
    EXPECT_EQ(first.freed, 1);
    EXPECT_EQ(second.freed, 0);

    // Once removed and with no module behind it, the handle answers nothing.
    VKDBPluginRemoveAgent("swapda");
    EXPECT_EQ(VKDBPluginSendCmd(id, 1, request.data()), nullptr);
    EXPECT_EQ(VKDBPluginInstalledByPrefix("swapda"), 0u);
    EXPECT_TRUE(second.requests.empty());
}

// What an agent that cannot be used leaves: no answer, and the cause for
// the calling thread, naming the file at fault, until it is cleared.
TEST(Vkdb, AnAgentThatCannotBeUsedLeavesItsCause) {
    const std::string agents = VKDBPluginAgentDir();
    const std::string kvtest =
        (std::filesystem::path(agents) / vk::os::ModuleFileName("kvtest")).string();
    FakeAgent fake;
    Installed installed("recda", fake);
    struct Case {
        const char* prefix;
        const char* request;
        const char* answer;  // of the in-process agent; "" none
        std::string cause;   // "" when it answers; else how the cause begins
    };
    const std::vector<Case> cases = {
        {"recda", "vkacmd=a", "<A>1 &amp; 2</A>\n<B/> ", ""},
        {"recda", "vkacmd=a", "", "the in-process agent recda gave no answer to vkacmd=a"},
        {"recda", "vkacmd=b", "<SMStatus>0</SMStatus",
         "the in-process agent recda answered "
         "vkacmd=b with text that is not "
         "well-formed XML: "},
        {"recda", "vkacmd=c", "<A/>plain words", "the in-process agent recda answered vkacmd=c"},
        {"recda", "vkacmd=d", "<A>\x01</A>", "the in-process agent recda answered vkacmd=d"},
        {"recda", "vkacmd=e", "<A>\xff</A>", "the in-process agent recda answered vkacmd=e"},
        {"recda", "vkacmd=f", "<!DOCTYPE A [<!ENTITY x 'y'>]><A>&x;</A>",
         "the in-process agent recda answered vkacmd=f"},
        {"kvtest", "vkacmd=unusable", "", "state file /nowhere/kvda.db: file is not a database"},
        {"kvtest", "vkacmd=garbage", "",
         "the agent module " + kvtest + " answered vkacmd=garbage with text that is not "},
        {"nosuchagent", "vkacmd=x", "", "cannot load the agent module " + agents},
        {"kvbroken", "vkacmd=x", "", "the agent module " + agents},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.prefix) + " " + c.request);
        VKDBPluginClearFailure();
        fake.answer = c.answer;
        const int freed = fake.freed;
        const uintptr_t id = VKDBPluginGetIDByPrefix(c.prefix);
        std::array<const char*, 1> request = {c.request};
        Answer answer{id, id != 0 ? VKDBPluginSendCmd(id, 1, request.data()) : nullptr};
        const char* prefix = nullptr;
        const char* cause = nullptr;
        const bool recorded = VKDBPluginGetFailure(&prefix, &cause) != 0;
        EXPECT_EQ(answer.data == nullptr, !c.cause.empty());
        ASSERT_EQ(recorded, !c.cause.empty());
        if (!recorded) continue;
        EXPECT_STREQ(prefix, c.prefix);
        EXPECT_EQ(std::string(cause).rfind(c.cause, 0), 0u) << cause;
        // a refused answer went back to the agent that made it
        if (*c.answer != '\0') {
            EXPECT_EQ(fake.freed, freed + 1);
        }
    }

    // The cause stays through later answers until cleared, for this thread
    // only.
    VKDBPluginClearFailure();
    const uintptr_t id = VKDBPluginGetIDByPrefix("kvtest");
    std::array<const char*, 1> unusable = {"vkacmd=unusable"};
    std::array<const char*, 1> fine = {"vkacmd=getControllerList"};
    EXPECT_EQ(VKDBPluginSendCmd(id, 1, unusable.data()), nullptr);
    Answer later{id, VKDBPluginSendCmd(id, 1, fine.data())};
    EXPECT_NE(later.data, nullptr);
    EXPECT_EQ(VKDBPluginGetFailure(nullptr, nullptr), 1);
    std::thread([] { EXPECT_EQ(VKDBPluginGetFailure(nullptr, nullptr), 0); }).join();
    VKDBPluginClearFailure();
    EXPECT_EQ(VKDBPluginGetFailure(nullptr, nullptr), 0);
}

TEST(Vkdb, ConcurrentCallersGetConsistentHandlesAndAnswers) {
    const uintptr_t id = VKDBPluginGetIDByPrefix("kvtest");
    ASSERT_NE(id, 0u);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            std::array<const char*, 1> request = {"vkacmd=getControllerList"};
            for (int i = 0; i < 100; ++i) {
                if (VKDBPluginGetIDByPrefix("kvtest") != id) {
                    ++failures;
                }
                char* data = VKDBPluginSendCmd(id, 1, request.data());
                if (data == nullptr) {
                    ++failures;
                }
                VKDBPluginFreeData(id, data);
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(failures.load(), 0);
}

}  // namespace
