// Loading and unloading the plug-in writes its module lines to the trace
// file in SystemRoot when the level asks for them, and handlers trace their
// arguments without pass phrases.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "os/environment.h"
#include "plugin_loader.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& p) {
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

class AttachTest : public ::testing::Test {
  protected:
    void SetUp() override {
        root_ = vktest::MakeTempDir("vk-attach-");
        vk::os::SetEnvironment("SystemRoot", root_.string().c_str());
    }
    void TearDown() override {
        plugin_.Unload();
        fs::remove_all(root_);
    }
    fs::path Log() const { return root_ / "kvclp.log"; }
    Plugin plugin_;
    fs::path root_;
};

TEST_F(AttachTest, LevelFourTracesAttachArgumentsAndDetach) {
    std::ofstream(Log()) << "loglevel=4\n";
    ASSERT_TRUE(plugin_.Load()) << plugin_.error;
    EXPECT_EQ(ReadFile(Log()), "loglevel=4\nKVCLIP:ModuleAttach: entry\n");

    CommandLine cl("vkconfig storage controller action=setkey passphrase=s3cret controller=0");
    plugin_.freeResponse(plugin_.sendRequest(cl.argc(), cl.argv()));
    const std::string log = ReadFile(Log());
    EXPECT_NE(log.find("KVCLP:CLI_ARGS:vkconfig storage controller action=setkey controller=0 \n"),
              std::string::npos)
        << log;
    EXPECT_EQ(log.find("s3cret"), std::string::npos);

    plugin_.Unload();
    EXPECT_NE(ReadFile(Log()).find("KVCLIP:ModuleDetach: entry\n"), std::string::npos);
}

TEST_F(AttachTest, DefaultLevelWritesOnlyTheSettings) {
    ASSERT_TRUE(plugin_.Load()) << plugin_.error;
    CommandLine cl("vkreport storage pdisk controller=0");
    plugin_.freeResponse(plugin_.sendRequest(cl.argc(), cl.argv()));
    plugin_.Unload();
    EXPECT_EQ(ReadFile(Log()), "loglevel=0\nlogtarget=1\nlogpathfile=" + Log().string() + "\n");
}

}  // namespace
