// The plug-in through its four exports: every command row's rights and
// handler (walked from the table registry), usage rows, unknown lines, and
// the export shape.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "os/environment.h"
#include "plugin_loader.h"
#include "table_registry.h"
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

std::string Words(const CLPSCCDT& row) {
    return std::string(row.pCmd) + " " + row.pObj;
}

// Every row of the command table answers through the plug-in's exports: its
// rights, and its handler's usage for a help request. Configuration needs
// configuration rights, except the cachecade row (reading rights, kept so on
// purpose); reports need reading rights.
TEST_F(PluginTest, EveryRowHasItsRightsAndHandler) {
    const auto& table = *kvclp::registry::kCommandDescriptors;
    ASSERT_FALSE(table.empty());
    for (const CLPSCCDT& row : table) {
        const std::string line = Words(row);
        SCOPED_TRACE(line);
        const bool configures =
            line.rfind("vkconfig", 0) == 0 && line != "vkconfig storage cachecade";
        EXPECT_EQ(Rights(line), configures ? CLPS_RIGHTS_CONFIGURE : CLPS_RIGHTS_READ);
        auto answer = Send(line + " -?");
        // Without an agent the alert log answers nothing, even for help.
        if (std::string(row.pObj) == "alertlog") {
            EXPECT_EQ(answer, nullptr);
            continue;
        }
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer->kind, CLPS_RESP_USAGE);
        // A line without the help request is never left unanswered as
        // "not available": every row has its handler.
        auto plain = Send(line);
        if (plain != nullptr) {
            EXPECT_NE(plain->msgId, CLPS_MSG_NOT_AVAILABLE);
        }
    }
}

// Rows are found whatever the case of their words, and the tape
// configuration row is served by the tape report's handler.
TEST_F(PluginTest, RowsAreFoundByTheirWords) {
    const struct {
        const char* line;
        uint32_t rights;
        uint32_t usage;
    } cases[] = {
        {"VKREPORT Storage PDISK", CLPS_RIGHTS_READ, 6022},
        {"VkConfig STORAGE CacheCade", CLPS_RIGHTS_READ, 6990},
        {"vkconfig storage tape", CLPS_RIGHTS_CONFIGURE, 6032},
        {"vkreport storage tape", CLPS_RIGHTS_READ, 6032},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(Rights(c.line), c.rights);
        auto answer = Send(std::string(c.line) + " -?");
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer->msgId, c.usage);
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
