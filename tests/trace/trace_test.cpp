// The trace log: settings read from the trace file, targets, name and root
// limits, hex dump layout, argument trace.
#include "trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "os/environment.h"
#include "os/paths.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

namespace {

// Read as text: the trace is a text file with the system's line ends.
std::string ReadFile(const fs::path& p) {
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void WriteFile(const fs::path& p, const std::string& text) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out << text;
}

// Each case runs in its own directory, which is both SystemRoot and the
// working directory (the fallback path is relative to it).
class TraceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = vktest::MakeTempDir("vk-trace-");
        oldCwd_ = fs::current_path();
        fs::current_path(dir_);
        vk::os::SetEnvironment("SystemRoot", dir_.string().c_str());
        SysDbgReset();
    }
    void TearDown() override {
        SysDbgReset();
        fs::current_path(oldCwd_);
        fs::remove_all(dir_);
    }
    fs::path Log() const { return dir_ / "kvclp.log"; }
    // Starts the trace over settings text written to kvclp.log first.
    void StartWith(const std::string& settings) {
        WriteFile(Log(), settings);
        SysDbgInit(1, "kvclp.log");
    }

    fs::path dir_;
    fs::path oldCwd_;
};

TEST_F(TraceTest, SilentBeforeStart) {
    EXPECT_EQ(SysDbgGetTarget(), -1);
    EXPECT_EQ(SysDbgGetLevel(), 0);
    EXPECT_EQ(SysDbgPrint("nothing %d\n", 1), 0);
    EXPECT_FALSE(fs::exists(Log()));
}

struct SettingsCase {
    const char* what;
    std::string text;
    int32_t level;
    int32_t target;
};

TEST_F(TraceTest, SettingsLines) {
    const std::string longLine(255, 'x');
    // clang-format off
    const std::vector<SettingsCase> cases = {
        {"key case ignored",          "LogLevel=5\n",                                 5,  1},
        {"both keys",                 "loglevel=3\nLOGTARGET=4\n",                    3,  4},
        {"negative level ignored",    "loglevel=3\nloglevel=-2\n",                    3,  1},
        {"negative target kept",      "logtarget=-1\n",                               0, -1},
        {"unreadable number is 0",    "loglevel=7\nloglevel=abc\n",                   0,  1},
        {"leading digits read",       "loglevel=4x\n",                                4,  1},
        {"key must match whole",      "loglevel =5\nloglevelx=6\nlevel=7\n",          0,  1},
        {"lines without = ignored",   "loglevel\n\nloglevel=2",                       2,  1},
        {"only six lines examined",   "a\nb\nc\nd\ne\nf\nloglevel=9\n",               0,  1},
        {"sixth line still read",     "a\nb\nc\nd\ne\nloglevel=9\n",                  9,  1},
        {"long line split at 255",    longLine + "loglevel=6\n",                      6,  1},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SysDbgReset();
        StartWith(c.text);
        EXPECT_EQ(SysDbgGetLevel(), c.level);
        EXPECT_EQ(SysDbgGetTarget(), c.target);
        EXPECT_EQ(std::string(SysDbgGetPath()), (dir_ / "kvclp.log").string());
    }
}

TEST_F(TraceTest, NewFileGetsDefaultSettingsAndTraceBelow) {
    SysDbgInit(1, "kvclp.log");
    const std::string defaults =
        "loglevel=0\nlogtarget=1\nlogpathfile=" + (dir_ / "kvclp.log").string() + "\n";
    EXPECT_EQ(ReadFile(Log()), defaults);
    EXPECT_EQ(SysDbgPrint("line %d\n", 1), 7);
    EXPECT_EQ(ReadFile(Log()), defaults + "line 1\n");
}

TEST_F(TraceTest, NegativeTargetSilencesEverything) {
    StartWith("loglevel=4\nlogtarget=-1\n");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(SysDbgPrint("hidden\n"), 0);
    LogFunctionEntry("F");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(ReadFile(Log()), "loglevel=4\nlogtarget=-1\n");
}

TEST_F(TraceTest, TargetSixWritesBothStreamsNotTheFile) {
    StartWith("logtarget=6\n");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(SysDbgPrint("to %s\n", "both"), 8);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to both\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to both\n");
    EXPECT_EQ(ReadFile(Log()), "logtarget=6\n");
}

TEST_F(TraceTest, TargetZeroWritesTheFile) {
    StartWith("logtarget=0\n");
    SysDbgPrint("zero\n");
    EXPECT_EQ(ReadFile(Log()), "logtarget=0\nzero\n");
}

TEST_F(TraceTest, PathFileNamingExistingFileSwitchesWithoutReadingIt) {
    const fs::path other = dir_ / "other.log";
    WriteFile(other, "loglevel=9\nlogtarget=6\n");
    StartWith("loglevel=3\nlogpathfile=" + other.string() + "\n");
    EXPECT_EQ(std::string(SysDbgGetPath()), other.string());
    EXPECT_EQ(SysDbgGetLevel(), 3);
    EXPECT_EQ(SysDbgGetTarget(), 1);
    SysDbgPrint("moved\n");
    EXPECT_EQ(ReadFile(other), "loglevel=9\nlogtarget=6\nmoved\n");
}

TEST_F(TraceTest, PathFileNamingNewFileGetsDefaults) {
    const fs::path other = dir_ / "new.log";
    StartWith("loglevel=2\nlogpathfile=" + other.string() + "\n");
    EXPECT_EQ(ReadFile(other), "loglevel=2\nlogtarget=1\nlogpathfile=" + other.string() + "\n");
}

TEST_F(TraceTest, EmptyPathFileKeepsThePath) {
    StartWith("logpathfile=\n");
    EXPECT_EQ(std::string(SysDbgGetPath()), Log().string());
}

TEST_F(TraceTest, UnwritableFileIsSilentlySkipped) {
    const fs::path nowhere = dir_ / "missing" / "x.log";
    StartWith("logpathfile=" + nowhere.string() + "\n");
    EXPECT_FALSE(fs::exists(nowhere));
    EXPECT_EQ(SysDbgPrint("dropped\n"), 0);
}

TEST_F(TraceTest, NameOf31CharactersIsUsed) {
    const std::string name(31, 'n');
    SysDbgInit(1, name.c_str());
    EXPECT_EQ(std::string(SysDbgGetPath()), (dir_ / name).string());
    EXPECT_EQ(ReadFile(dir_ / name),
              "loglevel=0\nlogtarget=1\nlogpathfile=" + (dir_ / name).string() + "\n");
}

TEST_F(TraceTest, NameOf32CharactersFallsBackAndComplains) {
    const std::string name(32, 'n');
    SysDbgInit(1, name.c_str());
    const fs::path fallback = dir_ / "rvstat64.log";
    EXPECT_EQ(std::string(SysDbgGetPath()), fallback.string());
    EXPECT_EQ(ReadFile(fallback), "loglevel=0\nlogtarget=1\nlogpathfile=" + fallback.string() +
                                      "\nSysDbgInit: input filename too long: " + name + "\n");
}

TEST_F(TraceTest, RootLimits) {
    // (root + 1) + (name + 1) may be 256 at most; kvclp.log has 9 characters.
    const std::string sep = vk::os::PathSeparator();
    const std::string fallback = "." + sep + "kvclp.log";
    const std::string fits = sep + std::string(244, 'r');
    vk::os::SetEnvironment("SystemRoot", fits.c_str());
    SysDbgInit(1, "kvclp.log");
    EXPECT_EQ(std::string(SysDbgGetPath()), fits + sep + "kvclp.log");

    SysDbgReset();
    const std::string tooLong = fits + "r";
    vk::os::SetEnvironment("SystemRoot", tooLong.c_str());
    SysDbgInit(1, "kvclp.log");
    EXPECT_EQ(std::string(SysDbgGetPath()), fallback);
    EXPECT_EQ(ReadFile(dir_ / "kvclp.log"), "loglevel=0\nlogtarget=1\nlogpathfile=" + fallback +
                                                "\nSysDbgInit: path from env too long: " + tooLong +
                                                "\n");

    // A value that does not fit the 512-byte root buffer is a failed read:
    // the same fallback, without a complaint.
    SysDbgReset();
    fs::remove(dir_ / "kvclp.log");
    const std::string huge(512, 'h');
    vk::os::SetEnvironment("SystemRoot", huge.c_str());
    SysDbgInit(1, "kvclp.log");
    EXPECT_EQ(std::string(SysDbgGetPath()), fallback);
    EXPECT_EQ(ReadFile(dir_ / "kvclp.log"),
              "loglevel=0\nlogtarget=1\nlogpathfile=" + fallback + "\n");
}

// The hex part padded to column 54, the text part padded to 78 characters.
std::string DumpLine(const std::string& hex, const std::string& text) {
    std::string line = hex;
    line.resize(54, ' ');
    line += text;
    line.resize(78, ' ');
    return line + "\n";
}

struct DumpCase {
    const char* what;
    std::vector<uint8_t> bytes;
    std::string expected;
};

TEST_F(TraceTest, HexDumpLayout) {
    std::vector<uint8_t> sixteen;
    for (uint8_t i = 0; i < 16; ++i) sixteen.push_back(static_cast<uint8_t>(0x41 + i));
    std::vector<uint8_t> seventeen = sixteen;
    seventeen.push_back(0x0a);
    // clang-format off
    const std::vector<DumpCase> cases = {
        {"empty",        {},                       ""},
        {"full line",    sixteen,                  DumpLine("41 42 43 44:45 46 47 48:49 4A 4B 4C:4D 4E 4F 50", "ABCDEFGHIJKLMNOP")},
        {"four bytes",   {'a', 'b', 'c', 'd'},     DumpLine("61 62 63 64", "abcd")},
        {"five bytes",   {'a', 'b', 'c', 'd', 'e'}, DumpLine("61 62 63 64:65", "abcde")},
        {"nine bytes",   {1, 2, 3, 4, 5, 6, 7, 8, 9}, DumpLine("01 02 03 04:05 06 07 08:09", ".........")},
        {"printable cut", {0x1f, 0x20, 0x7a, 0x7b, 0x7c, 0x7d, 0x7e, 0x7f, 0x80, 0xff},
                          DumpLine("1F 20 7A 7B:7C 7D 7E 7F:80 FF", ". z.......")},
        {"two lines",    seventeen,                DumpLine("41 42 43 44:45 46 47 48:49 4A 4B 4C:4D 4E 4F 50", "ABCDEFGHIJKLMNOP") +
                                                   DumpLine("0A", ".")},
    };
    // clang-format on
    StartWith("logtarget=2\n");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        testing::internal::CaptureStdout();
        SysDbgHexDump(c.bytes.data(), static_cast<uint32_t>(c.bytes.size()));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.expected);
    }
}

struct ArgsCase {
    const char* what;
    std::vector<const char*> argv;
    std::string expected;
};

TEST_F(TraceTest, ArgumentTraceLeavesOutPassPhrases) {
    // clang-format off
    const std::vector<ArgsCase> cases = {
        {"plain",          {"vkreport", "storage", "pdisk", "controller=0"}, "KVCLP:CLI_ARGS:vkreport storage pdisk controller=0 \n"},
        {"phrase dropped", {"vkconfig", "storage", "controller", "action=setkey", "passphrase=s3cret", "keyid=k"},
                           "KVCLP:CLI_ARGS:vkconfig storage controller action=setkey keyid=k \n"},
        {"anywhere",       {"vkconfig", "oldpassphrase=x"},                     "KVCLP:CLI_ARGS:vkconfig \n"},
        {"first kept",     {"passphrase=a", "b"},                               "KVCLP:CLI_ARGS:passphrase=a b \n"},
        {"case matters",   {"vkconfig", "PassPhrase=x"},                        "KVCLP:CLI_ARGS:vkconfig PassPhrase=x \n"},
        {"count 0",        {},                                                  "\n"},
    };
    // clang-format on
    StartWith("loglevel=3\nlogtarget=2\n");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        testing::internal::CaptureStdout();
        LogCLIArgs(c.argv.empty() ? nullptr : const_cast<const char**>(c.argv.data()),
                   static_cast<uint32_t>(c.argv.size()));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.expected);
    }
}

TEST_F(TraceTest, DetailLinesNeedLevelThree) {
    StartWith("loglevel=2\nlogtarget=2\n");
    const char* argv[] = {"vkreport", "storage"};
    testing::internal::CaptureStdout();
    LogFunctionEntry("IsUserControllerIdValid");
    LogFunctionExit("IsUserControllerIdValid");
    LogCLIArgs(argv, 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL));

    SysDbgReset();
    StartWith("loglevel=3\nlogtarget=2\n");
    testing::internal::CaptureStdout();
    LogFunctionEntry("IsUserControllerIdValid");
    LogFunctionExit("IsUserControllerIdValid");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "KVCLP:ENTRY----------->IsUserControllerIdValid\n"
              "KVCLP:EXIT------------>IsUserControllerIdValid\n");
    EXPECT_TRUE(SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL));
    EXPECT_FALSE(SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE));
}

}  // namespace
