// The plug-in through its four exports: every command row's rights and
// handler, usage rows, unknown lines, and the export shape.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "os/environment.h"
#include "plugin_loader.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

namespace {

class PluginTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // The trace file goes to a scratch directory, never the real root.
        root_ = vktest::MakeTempDir("vk-clp-");
        vk::os::SetEnvironment("SystemRoot", root_.string().c_str());
        // No data agent: answers do not depend on which agents were built.
        vk::os::SetEnvironment("VK_AGENT_DIR", root_.string().c_str());
        ASSERT_TRUE(plugin_.Load()) << plugin_.error;
    }
    static void TearDownTestSuite() {
        plugin_.Unload();
        fs::remove_all(root_);
    }

    // The response for a command line, released through the plug-in.
    struct PluginFree {
        void operator()(CLPSResponse* r) const { plugin_.freeResponse(r); }
    };
    using Answer = std::unique_ptr<CLPSResponse, PluginFree>;
    static Answer Send(const std::string& line) {
        CommandLine cl(line);
        return Answer(plugin_.sendRequest(cl.argc(), cl.argv()));
    }
    static uint32_t Rights(const std::string& line) {
        CommandLine cl(line);
        return plugin_.getRequiredUserRights(cl.argc(), cl.argv());
    }

    static inline Plugin plugin_;
    static inline fs::path root_;
};

struct RowCase {
    const char* line;
    uint32_t rights;
    int64_t usage;  // the usage message its handler answers "-?" with
};

// Without an agent the alert log answers nothing, even for a help request.
constexpr int64_t kNoAnswer = -1;

// Every row of the command table, in table order, with some extra words a
// user would type after the object. Each handler names its own usage message,
// so the usage answer tells which handler served the line.
// clang-format off
const std::vector<RowCase> kRows = {
    {"vkreport system version",                      1, 0},
    {"vkreport servermodule version",                1, 0},
    {"vkreport storage adisk controller=0",          1, 6021},
    {"vkreport storage pdisk controller=0",          1, 6022},
    {"vkreport storage tape controller=0",           1, 6032},
    {"vkreport storage pciessd",                     1, 6071},
    {"vkreport storage tarncache",                   1, 6081},
    {"vkreport storage tarncachepool",               1, 6091},
    {"vkreport storage controller",                  1, 6011},
    {"vkreport storage vdisk controller=0",          1, 6031},
    {"vkreport storage cachecade controller=0",      1, 6996},
    {"vkreport storage connector controller=0",      1, 6042},
    {"vkreport storage nvmeadapter controller=0",    1, 6043},
    {"vkreport storage enclosure",                   1, 6051},
    {"vkreport storage battery",                     1, 6061},
    {"vkreport storage partition controller=0",      1, 6095},
    {"vkreport storage tarncachedisk",               1, 6085},
    {"vkreport system alertlog",                     1, kNoAnswer},
    {"vkreport system summary",                      1, 6951},
    {"vkreport servermodule alertlog",               1, kNoAnswer},
    {"vkreport servermodule summary",                1, 6951},
    {"vkreport storage globalinfo",                  1, 6062},
    {"vkconfig storage controller action=resetconfig controller=0", 7, 6971},
    {"vkconfig storage vdisk action=blink",          7, 6981},
    {"vkconfig storage cachecade action=blink",      1, 6990},
    {"vkconfig storage adisk action=blink",          7, 6991},
    {"vkconfig storage pdisk action=blink controller=0 pdisk=0:1", 7, 6997},
    {"vkconfig storage tape controller=0",           7, 6032},
    {"vkconfig storage connector action=rescan",     7, 6963},
    {"vkconfig storage nvmeadapter action=x",        7, 6044},
    {"vkconfig storage enclosure action=blink",      7, 6951},
    {"vkconfig storage globalinfo action=x",         7, 6994},
    {"vkconfig storage battery action=startlearn",   7, 6941},
    {"vkconfig storage pciessd action=x",            7, 6931},
    {"vkconfig storage tarncache action=x",          7, 6082},
    {"vkconfig storage partition action=x",          7, 6096},
    {"vkconfig storage tarncachedisk action=x",      7, 6086},
    {"VKREPORT Storage PDISK",                       1, 6022},
    {"VkConfig STORAGE CacheCade",                   1, 6990},
};
// clang-format on

TEST_F(PluginTest, EveryRowHasItsRightsAndHandler) {
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(Rights(row.line), row.rights);
        auto answer = Send(std::string(row.line) + " -?");
        if (row.usage == kNoAnswer) {
            EXPECT_EQ(answer, nullptr);
            continue;
        }
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer->kind, CLPS_RESP_USAGE);
        EXPECT_EQ(answer->msgId, static_cast<uint32_t>(row.usage));
        // A line without the help request is never left unanswered as
        // "not available": every row has its handler.
        auto plain = Send(row.line);
        if (plain != nullptr) {
            EXPECT_NE(plain->msgId, CLPS_MSG_NOT_AVAILABLE);
        }
    }
}

TEST_F(PluginTest, SharedHandlersGiveTheSameAnswer) {
    const std::vector<std::pair<const char*, const char*>> pairs = {
        {"vkreport system version", "vkreport servermodule version"},
        {"vkreport system alertlog", "vkreport servermodule alertlog"},
        {"vkreport system summary", "vkreport servermodule summary"},
        {"vkreport storage tape", "vkconfig storage tape"},
    };
    for (const auto& [a, b] : pairs) {
        SCOPED_TRACE(a);
        auto x = Send(a);
        auto y = Send(b);
        if (x == nullptr) {  // the alert log answers nothing without its agent
            EXPECT_EQ(y, nullptr);
            continue;
        }
        ASSERT_NE(x, nullptr);
        ASSERT_NE(y, nullptr);
        EXPECT_EQ(x->msgId, y->msgId);
        EXPECT_STREQ(x->msgArg1, y->msgArg1);
        EXPECT_STREQ(x->pDataBuf, y->pDataBuf);
    }
}

struct UsageCase {
    const char* line;
    uint32_t rights;
    uint32_t msgId;  // 0: no response
};

TEST_F(PluginTest, BareCommandsOnlyAnswerHelp) {
    // clang-format off
    const std::vector<UsageCase> cases = {
        {"vkreport storage",             1, 0},
        {"vkreport storage -?",          1, 6000},
        {"vkreport storage help",        1, 6000},
        {"vkconfig storage",             7, 0},
        {"vkconfig storage -?",          7, 6001},
        {"VKCONFIG storage HELP",        7, 6001},
        {"vkconfig storage nosuch -?",   7, 6001},
        {"vkconfig storage -h vdisk action=deletevdisk controller=0 vdisk=1", 7, 6001},
        {"vkreport storage --help pdisk", 1, 6000},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(Rights(c.line), c.rights);
        auto answer = Send(c.line);
        if (c.msgId == 0) {
            EXPECT_EQ(answer, nullptr);
            continue;
        }
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer->msgId, c.msgId);
        EXPECT_EQ(answer->kind, CLPS_RESP_USAGE);
        EXPECT_EQ(answer->msgArg1, nullptr);
        EXPECT_EQ(answer->msgArg2, nullptr);
        ASSERT_NE(answer->pStyleSheet, nullptr);
        EXPECT_STREQ(answer->pStyleSheet, "kvclp.xsl");
    }
}

// Words no row accounts for are named, with the nearest known words when
// some are close; a line that does not even begin with a program of ours
// is not answered. Rights are those of the row matched so far, if any.
TEST_F(PluginTest, UnknownWordsAreNamedWithTheNearestKnownOnes) {
    struct Case {
        const char* line;
        uint32_t rights;
        uint32_t msgId;  // 0: no response
        const char* arg1;
        const char* arg2;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {"",                                   0, 0,    "", ""},
        {"storage pdisk",                      0, 0,    "", ""},
        {"vkreportstorage pdisk",              0, 0,    "", ""},
        {"vkreport",                           0, CLPS_MSG_NO_MATCHING_ROW, "vkreport", "system, servermodule, storage"},
        {"vkreport system",                    0, CLPS_MSG_NO_MATCHING_ROW, "vkreport system", "version, alertlog, summary"},
        {"vkreport servermodule controller=0", 0, CLPS_MSG_NO_MATCHING_ROW, "vkreport servermodule", "version, alertlog, summary"},
        {"vkreport system nosuch",             0, CLPS_MSG_BAD_OBJECT,      "nosuch", "version, alertlog, summary"},
        {"vkreport system sumary",             0, CLPS_MSG_UNKNOWN_OBJECT,  "sumary", "summary"},
        {"vkreport chassis",                   0, CLPS_MSG_BAD_WORD,        "chassis", "system, servermodule, storage"},
        {"vkreport storags pdisk",             0, CLPS_MSG_UNKNOWN_WORD,    "storags", "storage"},
        {"vkconfig system version",            0, CLPS_MSG_BAD_WORD,        "system", "storage"},
        {"vkreport storage pdsk controller=0", 1, CLPS_MSG_UNKNOWN_OBJECT,  "pdsk", "pdisk"},
        {"vkconfig storage vdsk",              7, CLPS_MSG_UNKNOWN_OBJECT,  "vdsk", "vdisk"},
        {"vkreport storage tarncach",          1, CLPS_MSG_UNKNOWN_OBJECT,  "tarncach", "tarncache, tarncachepool or tarncachedisk"},
        {"vkreport storage nosuch",            1, CLPS_MSG_BAD_OBJECT,      "nosuch", "adisk, pdisk, tape, pciessd, tarncache, tarncachepool, controller, vdisk, cachecade, connector, nvmeadapter, enclosure, battery, partition, tarncachedisk, globalinfo"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(Rights(c.line), c.rights);
        auto answer = Send(c.line);
        if (c.msgId == 0) {
            EXPECT_EQ(answer, nullptr);
            continue;
        }
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer->kind, CLPS_RESP_MESSAGE);
        EXPECT_EQ(answer->msgId, c.msgId);
        EXPECT_STREQ(answer->msgArg1, c.arg1);
        EXPECT_STREQ(answer->msgArg2, c.arg2);
    }
}

TEST_F(PluginTest, ExportShape) {
    // Free of a null answer is passed through; destroy may be called any time.
    plugin_.freeResponse(nullptr);
    plugin_.destroyCLIP();
    // The host switches dry runs on through the plug-in's support library,
    // found by asking the plug-in's module.
    EXPECT_NE(plugin_.module.Find("CLPSSetHostFlags"), nullptr);
    // Internal names stay inside the plug-in.
    for (const char* name : {"ModuleAttach", "ModuleDetach", "CLPSSendRequest", "SysDbgInit",
                             "LogCLIArgs", "_ZN5kvclp14g_commandTableE"}) {
        SCOPED_TRACE(name);
        void* sym = plugin_.module.Find(name);
        // CLPS names resolve from the support library the plug-in depends
        // on; what matters is that they are not the plug-in's own.
        if (sym != nullptr) {
            const auto owner = vk::os::ModuleContaining(sym);
            ASSERT_TRUE(owner.has_value());
            EXPECT_EQ(owner->file.filename().string().find("kvclp64"), std::string::npos);
        }
    }
}

}  // namespace
