// Shared fixture of the agent tests: a state file of its own per test, the
// agent over it, and readers of answers.
#pragma once

#include <gtest/gtest.h>
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
