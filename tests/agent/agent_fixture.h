// Shared fixture of the agent tests: a state file of its own per test, the
// agent over it, and readers of answers.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent.h"
#include "profile.h"
#include "store.h"

namespace kvda::test {

namespace fs = std::filesystem;
using Obj = std::map<std::string, std::string>;

// Splits an answer into its storage objects (the agent writes no nesting).
inline std::vector<Obj> objects(const std::string& text) {
    std::vector<Obj> out;
    size_t pos = 0;
    const std::string open = "<QXStorageObject>", close = "</QXStorageObject>";
    while ((pos = text.find(open, pos)) != std::string::npos) {
        size_t end = text.find(close, pos);
        Obj o;
        size_t p = pos + open.size();
        while (p < end) {
            size_t gt = text.find('>', p);
            std::string tag = text.substr(p + 1, gt - p - 1);
            size_t vend = text.find("</" + tag + ">", gt);
            o[tag] = text.substr(gt + 1, vend - gt - 1);
            p = vend + tag.size() + 3;
        }
        out.push_back(o);
        pos = end + close.size();
    }
    return out;
}

// True when an answer parses as XML (inside one root, as the plug-in reads it).
inline bool wellFormed(const std::string& answer) {
    const std::string doc = "<ROOT>" + answer + "</ROOT>";
    xmlDocPtr parsed =
        xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "answer.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    xmlFreeDoc(parsed);
    return parsed != nullptr;
}

struct ToolRun {
    int exit = -1;
    std::string out, err;
};

// Runs the control tool with exactly `env` as its environment, as the user
// nobody when `asNobody` and the tests run as root.
inline ToolRun runTool(const std::vector<std::string>& args, const std::vector<std::string>& env,
                       const fs::path& scratch, bool asNobody = false) {
    std::vector<std::string> words{VK_TEST_KVDA}, vars = env;
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv, envp;
    for (auto& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);
    for (auto& e : vars) envp.push_back(e.data());
    envp.push_back(nullptr);
    const fs::path out = scratch / "tool.out", err = scratch / "tool.err";
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
        if (asNobody && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    int st = 0;
    waitpid(pid, &st, 0);
    auto slurp = [](const fs::path& f) {
        std::ifstream in(f);
        return std::string((std::istreambuf_iterator<char>(in)), {});
    };
    return {WIFEXITED(st) ? WEXITSTATUS(st) : -1, slurp(out), slurp(err)};
}

inline int statusOf(const std::string& text) {
    auto p = text.find("<SMStatus>");
    return p == std::string::npos ? -999 : std::atoi(text.c_str() + p + 10);
}

class AgentTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setenv("VK_SHARE_DIR", VK_TEST_SHARE_DIR, 1);
        setenv("KVDA_TIME_SCALE", "0", 1);  // only `time advance` moves the clock
        dir_ = fs::temp_directory_path() /
               ("kvda-test-" + std::to_string(getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        path_ = dir_ / "state.db";
    }
    void TearDown() override { fs::remove_all(dir_); }

    Agent& agent(const std::string& profile = "default") {
        if (!agent_) {
            if (profile != "default") {
                Store s(path_);
                fs::path f = resolveProfile(profile);
                std::ifstream in(f);
                std::string text((std::istreambuf_iterator<char>(in)), {});
                s.replace(buildEstate(text, f.string()), profile);
            }
            agent_ = std::make_unique<Agent>(path_);
        }
        return *agent_;
    }
    // The whole estate as an answer: equal texts mean an untouched estate.
    std::string dump() { return agent().send({"vkacmd=getStoreDump"}); }
    std::vector<Obj> ask(const std::vector<std::string>& pairs, int expect = 0) {
        std::string text = agent().send(pairs);
        EXPECT_EQ(statusOf(text), expect) << text;
        return objects(text);
    }
    Obj vdisk(const std::string& num, int ctrl = 0) {
        auto list = ask({"vkacmd=getVirtualDisk", "GlobalNo=" + std::to_string(ctrl),
                         "LogicalDriveNum=" + num});
        return list.empty() ? Obj{} : list[0];
    }
    Obj disk(const std::string& id, int ctrl = 0) {
        auto list = ask(
            {"vkacmd=getArrayDisk", "GlobalNo=" + std::to_string(ctrl), "adisk=" + id, "CLI=true"});
        return list.empty() ? Obj{} : list[0];
    }
    const Object& find(std::string_view kind, int64_t ctrl, const std::string& addr) {
        const Object* o = agent().estate().find(kind, ctrl, addr);
        if (!o) throw Error("test object missing: " + addr);
        return *o;
    }

    fs::path dir_, path_;
    std::unique_ptr<Agent> agent_;
};

}  // namespace kvda::test
