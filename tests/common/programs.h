// Runs the built programs (vkreport, vkconfig, kvda) as a user would, and
// gives a test an estate of its own: a private agent state, trace directory
// and share directory, set in the environment for the programs it runs.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "os/environment.h"
#include "temp_dir.h"

namespace vktest {

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Variables to set (or, without a value, to remove) for one program only.
using Environment = std::map<std::string, std::optional<std::string>>;

// Runs the program argv[0] of bin (NAME.exe on Windows) with argv, in this
// process's environment changed by env; standard output and error are kept
// apart. One source per system.
Result RunProgram(const std::filesystem::path& bin, const std::vector<std::string>& argv,
                  const Environment& env = {});

// Whether a word reaches a program's arguments as it is: any bytes but
// null on POSIX systems, text (valid UTF-8) on Windows.
bool CommandLineCarries(const std::string& word);

// Whether a program run with SystemRoot in env sees that value. Wine gives
// every process the Windows directory instead, whatever its parent passes,
// so a test cannot move the plug-in's trace there.
bool ChildrenKeepSystemRoot();

// A private agent state, trace directory and share directory, made from a
// profile name or file with "kvda init".
class Estate {
  public:
    Estate(const std::filesystem::path& bin, const std::filesystem::path& share,
           const std::string& profile)
        : dir_(MakeTempDir("vk-estate-")) {
        vk::os::SetEnvironment("KVDA_STATE", (dir_ / "kvda.db").string().c_str());
        vk::os::SetEnvironment("SystemRoot", dir_.string().c_str());
        vk::os::SetEnvironment("VK_SHARE_DIR", share.string().c_str());
        // The simulated clock stands still, so running operations keep the
        // progress the estate gives them.
        vk::os::SetEnvironment("KVDA_TIME_SCALE", "0");
        const Result init = RunProgram(bin, {"kvda", "init", "--profile", profile, "--force"});
        if (init.exitCode != 0) ADD_FAILURE() << "kvda init " << profile << ": " << init.err;
    }
    ~Estate() {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    Estate(const Estate&) = delete;
    Estate& operator=(const Estate&) = delete;

  private:
    std::filesystem::path dir_;
};

}  // namespace vktest
