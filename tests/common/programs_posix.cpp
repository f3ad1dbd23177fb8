// Runs a program with fork and exec, its standard output through a pipe and
// its standard error through a file, so that neither can fill up while the
// other is read.
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "programs.h"

namespace vktest {

bool CommandLineCarries(const std::string& word) {
    return word.find('\0') == std::string::npos;
}

bool ChildrenKeepSystemRoot() {
    return true;
}

Result RunProgram(const std::filesystem::path& bin, const std::vector<std::string>& argv,
                  const Environment& env) {
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
        for (const auto& [name, value] : env) {
            if (value)
                setenv(name.c_str(), value->c_str(), 1);
            else
                unsetenv(name.c_str());
        }
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

}  // namespace vktest
