// Shared fixture of the host tests: vkreport and vkconfig run as programs
// against a fake plug-in, with a directory and settings of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "programs.h"
#include "temp_dir.h"

namespace vk::host::test {

namespace fs = std::filesystem;
using Json = nlohmann::json;

struct Result {
    int exit = -1;
    std::string out;
    std::string err;
};

inline std::string ReadFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class HostTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = vktest::MakeTempDir("vkhost-");
        // The unprivileged runs must be able to write here.
        fs::permissions(dir_, fs::perms::all);
        std::ofstream(dir_ / "calls.log").close();
        fs::permissions(dir_ / "calls.log", fs::perms(0666));
        WriteConf("admin_group=vkadmin\n");
        // Every setting the programs read is the test's: given here, or
        // removed.
        env_ = {
            {"HOME", dir_.string()},
            {"VK_PLUGIN", VK_TEST_FAKE_PLUGIN},
            {"VK_SHARE_DIR", VK_TEST_SHARE_DIR},
            {"VK_HOST_CONF", (dir_ / "host.conf").string()},
            {"VK_FAKE_LOG", (dir_ / "calls.log").string()},
            {"SystemRoot", (dir_ / "trace").string()},
            {"VK_AGENT_DIR", std::nullopt},
            {"XDG_STATE_HOME", std::nullopt},
            {"KVDA_STATE", std::nullopt},
            {"KVDA_TIME_SCALE", std::nullopt},
        };
    }

    void TearDown() override { fs::remove_all(dir_); }

    void WriteConf(const std::string& text) { std::ofstream(dir_ / "host.conf") << text; }

    // Runs a program with the test's settings; through runs it through
    // another program (setpriv, then that program's options).
    Result Run(const std::string& program, const std::vector<std::string>& args,
               const std::vector<std::string>& through = {}) {
        const fs::path bin = VK_TEST_BIN_DIR;
        fs::path first = bin / program;
        std::vector<std::string> words{program};
        if (!through.empty()) {
            first = through.front();
            words.assign(through.begin(), through.end());
            words.front() = first.filename().string();
            words.push_back((bin / program).string());
        }
        words.insert(words.end(), args.begin(), args.end());
        const vktest::Result r = vktest::RunProgram(first.parent_path(), words, env_);
        return {r.exitCode, r.out, r.err};
    }

    Result RunAsNobody(const std::string& program, const std::vector<std::string>& args,
                       const std::string& groups = "--clear-groups") {
        return Run(program, args, {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", groups});
    }

    std::string Calls() const { return ReadFile(dir_ / "calls.log"); }

    fs::path dir_;
    vktest::Environment env_;
};

}  // namespace vk::host::test
