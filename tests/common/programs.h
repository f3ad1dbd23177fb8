// Runs the built programs (vkreport, vkconfig, kvda) as a user would, and
// gives a test an estate of its own: a private agent state, trace directory
// and share directory, set in the environment for the programs it runs.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

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

// Runs bin/argv[0] with argv; standard error goes through a file so that
// neither pipe can fill up while the other is read.
inline Result RunProgram(const std::filesystem::path& bin, const std::vector<std::string>& argv) {
    Result result;
    int out[2];
    if (pipe(out) != 0) return result;
    char errName[] = "/tmp/vk-run-err-XXXXXX";
    const int errFd = mkstemp(errName);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], 1);
        dup2(errFd, 2);
        close(out[0]);
        std::vector<char*> args;
        for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execv((bin / argv[0]).c_str(), args.data());
        _exit(127);
    }
    close(out[1]);
    std::array<char, 8192> buffer{};
    for (ssize_t n; (n = read(out[0], buffer.data(), buffer.size())) > 0;)
        result.out.append(buffer.data(), static_cast<size_t>(n));
    close(out[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    close(errFd);
    result.err = ReadFile(errName);
    unlink(errName);
    return result;
}

// A private agent state, trace directory and share directory, made from a
// profile name or file with "kvda init".
class Estate {
  public:
    Estate(const std::filesystem::path& bin, const std::filesystem::path& share,
           const std::string& profile) {
        char name[] = "/tmp/vk-estate-XXXXXX";
        dir_ = mkdtemp(name);
        setenv("KVDA_STATE", (dir_ / "kvda.db").c_str(), 1);
        setenv("SystemRoot", dir_.c_str(), 1);
        setenv("VK_SHARE_DIR", share.c_str(), 1);
        // The simulated clock stands still, so running operations keep the
        // progress the estate gives them.
        setenv("KVDA_TIME_SCALE", "0", 1);
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
