// Shared fixture of the agent tests: a state file of its own per test, the
// agent over it, and readers of answers.
#pragma once

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent.h"
#include "os/environment.h"
#include "profile.h"
#include "programs.h"
#include "store.h"
#include "temp_dir.h"

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

// Runs the control tool with `env` ("NAME=value") as the only settings it
// reads; `through` runs it through another program ("/usr/bin/setpriv",
// then that program's options).
inline ToolRun runTool(const std::vector<std::string>& args, const std::vector<std::string>& env,
                       const std::vector<std::string>& through = {}) {
    vktest::Environment vars;
    for (const char* name :
         {"KVDA_STATE", "KVDA_TIME_SCALE", "VK_SHARE_DIR", "HOME", "XDG_STATE_HOME"})
        vars[name] = std::nullopt;
    for (const std::string& e : env) vars[e.substr(0, e.find('='))] = e.substr(e.find('=') + 1);
    const fs::path tool = VK_TEST_KVDA;
    fs::path program = tool;
    std::vector<std::string> words;
    if (!through.empty()) {
        program = through.front();
        words.assign(through.begin() + 1, through.end());
        words.push_back(tool.string());
    }
    words.insert(words.begin(), program.filename().string());
    words.insert(words.end(), args.begin(), args.end());
    const vktest::Result r = vktest::RunProgram(program.parent_path(), words, vars);
    return {r.exitCode, r.out, r.err};
}

inline int statusOf(const std::string& text) {
    auto p = text.find("<SMStatus>");
    return p == std::string::npos ? -999 : std::atoi(text.c_str() + p + 10);
}

class AgentTest : public ::testing::Test {
  protected:
    void SetUp() override {
        vk::os::SetEnvironment("VK_SHARE_DIR", VK_TEST_SHARE_DIR);
        // only `time advance` moves the clock
        vk::os::SetEnvironment("KVDA_TIME_SCALE", "0");
        dir_ = vktest::MakeTempDir("kvda-test-");
        path_ = dir_ / "state.db";
    }
    void TearDown() override {
        // The estate is closed first: Windows removes no open file.
        agent_.reset();
        fs::remove_all(dir_);
    }

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
