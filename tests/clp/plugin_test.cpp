// The plug-in through its four exports: every command row's rights and
// handler (walked from the table registry), usage rows, unknown lines, and
// the export shape.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "plugin_loader.h"
#include "table_registry.h"

namespace fs = std::filesystem;

namespace {

class PluginTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // The trace file goes to a scratch directory, never the real root.
        std::string tmpl = (fs::temp_directory_path() / "vk-clp-XXXXXX").string();
        ASSERT_NE(mkdtemp(tmpl.data()), nullptr);
        root_ = tmpl;
        setenv("SystemRoot", root_.c_str(), 1);
        // No data agent: answers do not depend on which agents were built.
        setenv("VK_AGENT_DIR", root_.c_str(), 1);
        ASSERT_TRUE(plugin_.Load()) << dlerror();
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
        {"vkreport storage nosuch",      1, 0},
        {"vkconfig storage nosuch -?",   7, 6001},
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

TEST_F(PluginTest, UnknownLinesHaveNoRightsAndNoAnswer) {
    const std::vector<const char*> lines = {
        "",
        "vkreport",
        "vkconfig",
        "vkreport system",
        "vkreport system nosuch",
        "vkreport servermodule",
        "vkreport chassis",
        "vkreportstorage pdisk",
        "vkreport storagepdisk",
        "vkreport storages pdisk",
        "storage pdisk",
        "vkconfig system version",
    };
    for (const char* line : lines) {
        SCOPED_TRACE(line);
        EXPECT_EQ(Rights(line), 0u);
        EXPECT_EQ(Send(line).get(), nullptr);
    }
}

TEST_F(PluginTest, ExportShape) {
    // Free of a null answer is passed through; destroy may be called any time.
    plugin_.freeResponse(nullptr);
    plugin_.destroyCLIP();
    // Internal names stay inside the plug-in.
    for (const char* name : {"ModuleAttach", "ModuleDetach", "CLPSSendRequest", "SysDbgInit",
                             "LogCLIArgs", "_ZN5kvclp14g_commandTableE"}) {
        SCOPED_TRACE(name);
        void* sym = dlsym(plugin_.handle, name);
        // CLPS names resolve from the support library the plug-in depends
        // on; what matters is that they are not the plug-in's own.
        if (sym != nullptr) {
            Dl_info info{};
            ASSERT_NE(dladdr(sym, &info), 0);
            EXPECT_EQ(std::string(info.dli_fname).find("kvclp64"), std::string::npos);
        }
    }
}

}  // namespace
