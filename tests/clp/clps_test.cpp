// The support library pieces the plug-in relies on: table sort and match,
// usage help, argument checks, message responses and agent requests.
#include "clps.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "ocs.h"
#include "os/environment.h"
#include "temp_dir.h"
#include "vkdb.h"

namespace fs = std::filesystem;

namespace {

struct RespDeleter {
    void operator()(CLPSResponse* r) const { CLPSFreeResponse(r); }
};
using Resp = std::unique_ptr<CLPSResponse, RespDeleter>;

std::vector<const char*> Words(std::initializer_list<const char*> words) {
    return words;
}

// ---- command table ---------------------------------------------------------

CLPSResponse* HandlerA(uint32_t, const char**) {
    return CLPSNVSetupMsgRespObj(1, 0, "A", nullptr, nullptr, nullptr, nullptr);
}
CLPSResponse* HandlerB(uint32_t, const char**) {
    return CLPSNVSetupMsgRespObj(2, 0, "B", nullptr, nullptr, nullptr, nullptr);
}
CLPSResponse* HandlerC(uint32_t, const char**) {
    return CLPSNVSetupMsgRespObj(3, 0, "C", nullptr, nullptr, nullptr, nullptr);
}

TEST(CcdtTest, MostWordsWinWhateverTheOrder) {
    // clang-format off
    std::vector<CLPSCCDT> table = {
        {"vk",      "report", HandlerA, 1},
        {"vk report", "disk", HandlerB, 7},
        {"vk report disk", "list", HandlerC, 3},
    };
    // clang-format on
    struct Case {
        std::vector<const char*> argv;
        uint32_t rights;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {Words({"vk", "report"}),                  1},
        {Words({"VK", "Report", "x=1"}),           1},
        {Words({"vk", "report", "disk"}),          7},
        {Words({"vk", "report", "disk", "a=b"}),   7},
        {Words({"vk", "report", "DISK", "list"}),  3},
        {Words({"vk", "reports"}),                 0},
        {Words({"vk"}),                            0},
        {Words({}),                                0},
    };
    // clang-format on
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& c : cases) {
            SCOPED_TRACE(::testing::Message() << "pass " << pass << " case " << (&c - &cases[0]));
            EXPECT_EQ(CLPSGetRequiredUserRights(static_cast<uint32_t>(c.argv.size()),
                                                const_cast<const char**>(c.argv.data()),
                                                table.data(), 3, nullptr),
                      c.rights);
        }
        uint32_t state = 0;
        ASSERT_EQ(CLPSSortCCDT(table.data(), 3, &state), 0);
        EXPECT_NE(state, 0u);
        EXPECT_EQ(table[0].handler, HandlerC);  // most words first
        EXPECT_EQ(table[2].handler, HandlerA);
    }
}

TEST(CcdtTest, SendCallsTheMatchedHandler) {
    std::vector<CLPSCCDT> table = {{"vk", "report", HandlerA, 1},
                                   {"vk report", "disk", HandlerB, 7}};
    uint32_t state = 0;
    auto argv = Words({"vk", "report", "disk"});
    Resp r(CLPSSendRequest(3, argv.data(), table.data(), 2, &state));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->msgId, 2u);
    // A word no row knows is named instead of being passed to a handler.
    auto other = Words({"vk", "config"});
    Resp unknown(CLPSSendRequest(2, other.data(), table.data(), 2, &state));
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(unknown->msgId, static_cast<uint32_t>(CLPS_MSG_BAD_WORD));
    EXPECT_STREQ(unknown->msgArg1, "config");
    auto foreign = Words({"xx", "report"});
    EXPECT_EQ(CLPSSendRequest(2, foreign.data(), table.data(), 2, &state), nullptr);
    EXPECT_EQ(CLPSFindCCDTRow(3, argv.data(), nullptr, 2), nullptr);
}

TEST(CcdtTest, SortRefusesMalformedTables) {
    uint32_t state = 0;
    std::vector<CLPSCCDT> good = {{"vk", "report", HandlerA, 1}};
    EXPECT_NE(CLPSSortCCDT(nullptr, 1, &state), 0);
    EXPECT_NE(CLPSSortCCDT(good.data(), 0, &state), 0);
    // clang-format off
    const std::vector<std::vector<CLPSCCDT>> bad = {
        {{nullptr, "report", HandlerA, 1}},
        {{"vk", nullptr, HandlerA, 1}},
        {{"vk", "report", nullptr, 1}},
        {{"", "report", HandlerA, 1}},
        {{"vk", "", HandlerA, 1}},
        {{"vk", "two words", HandlerA, 1}},
        {{"vk", "report", HandlerA, 1}, {"VK", "Report", HandlerB, 7}},
    };
    // clang-format on
    for (size_t i = 0; i < bad.size(); ++i) {
        SCOPED_TRACE(i);
        auto t = bad[i];
        EXPECT_NE(CLPSSortCCDT(t.data(), static_cast<uint32_t>(t.size()), &state), 0);
    }
}

// ---- usage, argument checks, messages ---------------------------------------

TEST(UsageTest, HelpWords) {
    struct Case {
        std::vector<const char*> argv;
        int32_t help;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {Words({"vkreport", "storage", "-?"}),    1},
        {Words({"vkreport", "storage", "HELP"}),  1},
        {Words({"vkreport", "-h", "storage"}),    1},
        {Words({"vkreport", "storage", "--Help"}), 1},
        {Words({"help"}),                         0},  // the program's name
        {Words({"vkreport", "--helpme"}),         0},
        {Words({"vkreport", "storage", "pdisk", "controller=0", "-?"}), 1},
        {Words({"vkreport", "storage"}),          0},
        {Words({"vkreport", "helpme"}),           0},
        {Words({"vkreport", "x=-?"}),             0},
        {Words({"vkreport", "-"}),                0},
        {Words({}),                               0},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - &cases[0]);
        EXPECT_EQ(CLPSIsUsageHelp(static_cast<uint32_t>(c.argv.size()),
                                  const_cast<const char**>(c.argv.data())),
                  c.help);
    }
}

TEST(UsageTest, ExtraParamsAreRefusedNamingTheFirst) {
    auto plain = Words({"vkreport", "system", "alertlog"});
    EXPECT_EQ(CLPSNVCheckExtraParams(3, plain.data(), "sysclp.xsl"), nullptr);
    auto help = Words({"vkreport", "system", "alertlog", "-?"});
    EXPECT_EQ(CLPSNVCheckExtraParams(4, help.data(), "sysclp.xsl"), nullptr);

    auto extra = Words({"vkreport", "system", "alertlog", "controller=0", "x=1"});
    Resp r(CLPSNVCheckExtraParams(5, extra.data(), "sysclp.xsl"));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->msgId, static_cast<uint32_t>(CLPS_MSG_UNEXPECTED_PARAM));
    EXPECT_EQ(r->kind, CLPS_RESP_MESSAGE);
    EXPECT_STREQ(r->msgArg1, "controller=0");
    ASSERT_NE(r->msgArg2, nullptr);
    EXPECT_EQ(std::string(r->msgArg2).rfind("None - ", 0), 0u);
    EXPECT_STREQ(r->pStyleSheet, "sysclp.xsl");
}

TEST(MessageTest, FieldsAndXmlRendition) {
    Resp usage(CLPSNVSetupMsgRespObj(6000, 0, nullptr, nullptr, nullptr, nullptr, "kvclp.xsl"));
    ASSERT_NE(usage, nullptr);
    EXPECT_EQ(usage->kind, CLPS_RESP_USAGE);
    EXPECT_EQ(usage->msgId, 6000u);
    EXPECT_EQ(usage->msgArg1, nullptr);
    EXPECT_EQ(usage->msgArg2, nullptr);
    EXPECT_STREQ(usage->pStyleSheet, "kvclp.xsl");
    EXPECT_STREQ(usage->pDataBuf, "<Message id=\"6000\"></Message>");
    EXPECT_EQ(usage->dataLen, std::strlen(usage->pDataBuf) + 1);
    EXPECT_EQ(usage->word2, 0u);

    Resp refusal(CLPSNVSetupMsgRespObj(1600, 0, "controller=<9>", "0, 1 & \"2\"", nullptr, nullptr,
                                       nullptr));
    ASSERT_NE(refusal, nullptr);
    EXPECT_EQ(refusal->kind, CLPS_RESP_MESSAGE);
    EXPECT_EQ(refusal->msgId, 1600u);
    EXPECT_STREQ(refusal->msgArg1, "controller=<9>");
    EXPECT_STREQ(refusal->msgArg2, "0, 1 & \"2\"");
    EXPECT_EQ(refusal->pStyleSheet, nullptr);
    EXPECT_STREQ(refusal->pDataBuf,
                 "<Message id=\"1600\"><Arg>controller=&lt;9&gt;</Arg>"
                 "<Arg>0, 1 &amp; &quot;2&quot;</Arg></Message>");
}

TEST(MessageTest, UsageForATablelessCommand) {
    auto argv = Words({"vkreport", "system", "alertlog", "-?"});
    Resp r(CLPSSetRespObjUsageXML(4, argv.data(), 0, 0, "sysclp.xsl"));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_USAGE);
    EXPECT_EQ(r->msgId, 0u);
    EXPECT_STREQ(r->msgArg1, "vkreport system alertlog");
    EXPECT_STREQ(r->pUsageXML, "<Usage><Command>vkreport system alertlog</Command></Usage>");
    EXPECT_STREQ(r->pStyleSheet, "sysclp.xsl");
}

TEST(MessageTest, SetRespDataReplaces) {
    Resp r(CLPSAllocResponse());
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->pDataBuf, nullptr);
    EXPECT_EQ(r->dataLen, 0u);
    EXPECT_EQ(CLPSSetRespData(r.get(), "first"), 0);
    EXPECT_EQ(CLPSSetRespData(r.get(), "second one"), 0);
    EXPECT_STREQ(r->pDataBuf, "second one");
    EXPECT_EQ(r->dataLen, 11u);
    EXPECT_NE(CLPSSetRespData(nullptr, "x"), 0);
    CLPSFreeResponse(nullptr);
}

int g_destroyCalls = 0;
void CountingDestroy() {
    ++g_destroyCalls;
}

TEST(HostTest, FlagsAndDestroy) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    EXPECT_EQ(CLPSGetHostFlags(), CLPS_HOST_DRYRUN);
    CLPSDestroyCLIP(CountingDestroy);
    EXPECT_EQ(g_destroyCalls, 1);
    EXPECT_EQ(CLPSGetHostFlags(), CLPS_HOST_DRYRUN);
    CLPSDestroyCLIP(CLPSDefaultDestroyCLIPFunc);
    EXPECT_EQ(CLPSGetHostFlags(), 0u);
}

// ---- requests to an agent ----------------------------------------------------

struct FakeAgent {
    std::string answer =
        "<QXStorageObject><GlobalNo>0</GlobalNo></QXStorageObject>"
        "<SMStatus>0</SMStatus>";
    bool silent = false;
    std::vector<std::vector<std::string>> requests;
    int outstanding = 0;

    static char* Send(void* ctx, uint32_t count, const char** nv) {
        auto* self = static_cast<FakeAgent*>(ctx);
        self->requests.emplace_back(nv, nv + count);
        if (self->silent) return nullptr;
        ++self->outstanding;
        return strdup(self->answer.c_str());
    }
    static void Free(void* ctx, char* data) {
        --static_cast<FakeAgent*>(ctx)->outstanding;
        free(data);
    }
};

class AgentRequestTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // No agent module may stand in when the fake is removed.
        emptyDir_ = vktest::MakeTempDir("vk-agents-");
        vk::os::SetEnvironment("VK_AGENT_DIR", emptyDir_.string().c_str());
    }
    static void TearDownTestSuite() { fs::remove_all(emptyDir_); }
    void SetUp() override {
        ASSERT_EQ(VKDBPluginInstallAgent("kvda", FakeAgent::Send, FakeAgent::Free, &agent_), 0);
    }
    void TearDown() override {
        VKDBPluginRemoveAgent("kvda");
        OCSSetAllocFailHook(nullptr);
        EXPECT_EQ(agent_.outstanding, 0) << "agent answers not released";
    }
    FakeAgent agent_;
    static inline fs::path emptyDir_;
};

TEST_F(AgentRequestTest, AnswerIsWrappedAndRequestRecorded) {
    const char* nv[] = {"vkacmd=getController", "GlobalNo=0", "CLI=true"};
    Resp r(CLPSNVReportCapabilitesXML("kvda", 3, nv, "RESPONSE", "kvclp.xsl"));
    ASSERT_NE(r, nullptr);
    const std::string expected = "<RESPONSE>" + agent_.answer + "</RESPONSE>";
    EXPECT_EQ(std::string(r->pDataBuf), expected);
    EXPECT_EQ(r->dataLen, expected.size() + 1);
    EXPECT_EQ(r->kind, CLPS_RESP_XML);
    EXPECT_STREQ(r->pStyleSheet, "kvclp.xsl");
    ASSERT_EQ(r->requestCount, 3u);
    for (uint32_t i = 0; i < 3; ++i) EXPECT_STREQ(r->ppRequest[i], nv[i]);
    ASSERT_EQ(agent_.requests.size(), 1u);
    EXPECT_EQ(agent_.requests[0], (std::vector<std::string>{nv, nv + 3}));
}

TEST_F(AgentRequestTest, NoAnswerNoResponse) {
    const char* nv[] = {"vkacmd=getControllerList"};
    agent_.silent = true;
    EXPECT_EQ(CLPSNVReportCapabilitesXML("kvda", 1, nv, "RESPONSE", "kvclp.xsl"), nullptr);
    EXPECT_EQ(agent_.requests.size(), 1u);
}

TEST_F(AgentRequestTest, MissingAgentNoResponse) {
    const char* nv[] = {"vkacmd=getControllerList"};
    EXPECT_EQ(CLPSNVReportCapabilitesXML("kvnone", 1, nv, "RESPONSE", "kvclp.xsl"), nullptr);
    VKDBPluginRemoveAgent("kvda");
    EXPECT_EQ(CLPSNVReportCapabilitesXML("kvda", 1, nv, "RESPONSE", "kvclp.xsl"), nullptr);
    EXPECT_TRUE(agent_.requests.empty());
}

TEST_F(AgentRequestTest, OutOfMemoryStillReleasesTheAnswer) {
    const char* nv[] = {"vkacmd=getControllerList"};
    OCSSetAllocFailHook([](size_t) { return 1; });
    EXPECT_EQ(CLPSAllocResponse(), nullptr);
    EXPECT_EQ(CLPSNVReportCapabilitesXML("kvda", 1, nv, "RESPONSE", "kvclp.xsl"), nullptr);
    EXPECT_EQ(agent_.requests.size(), 1u);
}

}  // namespace
