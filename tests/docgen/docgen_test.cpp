// The bash completion and the manual pages the build writes, checked against
// the vocabulary dump of the built programs on the default estate: the
// completion is driven as bash drives it when Tab is pressed, and the pages
// go through groff with every warning on.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "dump_reading.h"
#include "programs.h"

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;
using Strings = std::vector<std::string>;
using Offers = std::set<std::string>;

const fs::path kBin = VK_TEST_BIN_DIR;
const fs::path kShare = VK_TEST_SHARE_DIR;
const fs::path kBuild = VK_TEST_BUILD_DIR;
const fs::path kDriver = VK_TEST_DRIVER;
const fs::path kCompletion = kBuild / "share/bash-completion/completions/vkconfig";

std::string Line(const Json& command) {
    std::string line;
    for (const Json& w : command["words"]) line += (line.empty() ? "" : " ") + w.get<std::string>();
    return line;
}

using vktest::Matches;
using vktest::Rows;

// The offers of each line, from one bash that presses Tab at the end of each.
struct Driven {
    std::vector<Offers> offers;
    std::string err;
};

Driven Complete(const Strings& lines, bool plain) {
    Strings argv{"bash", kDriver.string()};
    if (plain) argv.push_back("--plain");
    argv.push_back(kCompletion.string());
    argv.insert(argv.end(), lines.begin(), lines.end());
    const vktest::Result run = vktest::RunProgram("/bin", argv);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    Driven driven{{}, run.err};
    std::istringstream out(run.out);
    for (std::string line; std::getline(out, line);) {
        Offers offers;
        std::istringstream words(line);
        for (std::string w; std::getline(words, w, '\t');)
            if (!w.empty()) offers.insert(w);
        driven.offers.push_back(std::move(offers));
    }
    EXPECT_EQ(driven.offers.size(), lines.size()) << run.out;
    driven.offers.resize(lines.size());
    return driven;
}

class Fixture {
  public:
    static void SetUp() {
        estate_ = std::make_unique<vktest::Estate>(kBin, kShare, "default");
        // Completion finds the programs as a user's shell does.
        const char* path = std::getenv("PATH");
        setenv("PATH", (kBin.string() + ":" + (path ? path : "/usr/bin:/bin")).c_str(), 1);
        const vktest::Result describe = vktest::RunProgram(kBin, {"vkconfig", "--describe"});
        ASSERT_EQ(describe.exitCode, 0) << describe.err;
        dump_ = Json::parse(describe.out);
    }
    static void TearDown() { estate_.reset(); }
    static const Json& Dump() { return dump_; }

  private:
    static inline std::unique_ptr<vktest::Estate> estate_;
    static inline Json dump_;
};

// ---- completion ------------------------------------------------------------

struct Case {
    std::string line;
    Offers offers;
};

Offers NextWords(const Json& dump, const std::string& prefix) {
    Offers next;
    for (const Json& c : dump["commands"]) {
        const std::string line = Line(c);
        if (line.starts_with(prefix) && line.size() > prefix.size()) {
            const std::string rest = line.substr(prefix.size());
            next.insert(rest.substr(0, rest.find(' ')));
        }
    }
    return next;
}

// Every position the vocabulary decides: command words, objects, actions,
// the parameters an action row has not been given yet, and keywords.
std::vector<Case> VocabularyCases(const Json& dump) {
    std::vector<Case> cases{
        {"vkreport ", NextWords(dump, "vkreport ")},
        {"vkreport storage ", NextWords(dump, "vkreport storage ")},
        {"vkconfig storage ", NextWords(dump, "vkconfig storage ")},
        {"vkconfig storage vd", {"vdisk"}},
        {"vkconfig --format=", {"text", "xml", "json"}},
        {"vkconfig -f ", {"text", "xml", "json"}},
        {"vkconfig --dry-run storage vdisk ", {"action="}},
    };
    for (const Json& c : dump["commands"]) {
        const std::string line = Line(c);
        if (!Rows(c, "actions").empty()) {
            Offers visible;
            for (const Json& a : c["actions"])
                if (!a["hidden"].get<bool>()) visible.insert(a["name"].get<std::string>());
            cases.push_back({line + " ", {"action="}});
            cases.push_back({line + " action=", visible});
        }
        for (const Json& a : Rows(c, "actions")) {
            const std::string act = line + " action=" + a["name"].get<std::string>() + " ";
            Offers all;
            Offers rest;
            for (const Json& p : a["parameters"]) {
                const std::string name = p["name"].get<std::string>();
                all.insert(name + "=");
                if (&p != &a["parameters"].front()) rest.insert(name + "=");
                Offers keywords;
                for (const Json& k : p["keywords"])
                    keywords.insert(k["keyword"].get<std::string>());
                if (!keywords.empty()) cases.push_back({act + name + "=", keywords});
            }
            cases.push_back({act, all});
            if (!a["parameters"].empty())
                cases.push_back(
                    {act + a["parameters"][0]["name"].get<std::string>() + "=x ", rest});
        }
        if (!Rows(c, "reports").empty()) {
            Offers all;
            for (const Json& r : c["reports"])
                if (!r["hidden"].get<bool>())
                    for (const Json& p : r["parameters"])
                        all.insert(p["name"].get<std::string>() + "=");
            cases.push_back({line + " ", all});
        }
    }
    // Keywords are compared without regard to case, so is the action given.
    cases.push_back(
        {"vkconfig storage controller action=CreateVdisk controller=0 raid=r1", {"r1", "r10"}});
    return cases;
}

// Identifiers come from the estate, through the reports.
const std::vector<Case> kEstateCases{
    {"vkconfig storage vdisk action=blink controller=", {"0", "1", "2"}},
    {"vkconfig storage vdisk action=blink controller=0 vdisk=", {"0", "1"}},
    {"vkreport storage battery controller=0 battery=", {"0"}},
    // Readline replaces only what follows the last ":", so that is offered.
    {"vkreport storage pdisk controller=1 pdisk=0:", {"0", "1", "2"}},
    {"vkconfig storage controller action=createvdisk controller=1 pdisk=0:0,0:", {"1", "2"}},
    {"vkreport storage pdisk controller=0 ",
     {"pdisk=", "connector=", "vdisk=", "cachecade=", "enclosure="}},
    {"vkreport storage controller info=", {"foreignkeyids", "pdslotreport"}},
    {"kvda fail controller=1 pdisk=", {"0:0", "0:1", "0:2"}},
    {"kvda init --profile ", {"default", "empty", "full", "large", "secure"}},
    {"kvda show --format=j", {"json"}},
    {"kvda send vkacmd=setCntrlCreateVD GlobalNo=0 adisk=0:0:7 ",
     {"Length=", "Layout=", "Name=", "StripeSize=", "ReadPolicy=", "WritePolicy=", "CachePolicy=",
      "SpanLength=", "DiskCachePolicy=", "SecureFlag=", "VdPIEnabled="}},
};

class CompletionTest : public testing::TestWithParam<bool> {
  protected:
    static void SetUpTestSuite() { Fixture::SetUp(); }
    static void TearDownTestSuite() { Fixture::TearDown(); }

    static void Expect(const std::vector<Case>& cases, bool plain) {
        Strings lines;
        for (const Case& c : cases) lines.push_back(c.line);
        const Driven driven = Complete(lines, plain);
        EXPECT_EQ(driven.err, "");
        for (size_t i = 0; i < cases.size(); ++i)
            EXPECT_EQ(driven.offers[i], cases[i].offers) << "[" << cases[i].line << "]";
    }
};

TEST_P(CompletionTest, OffersWhatTheVocabularyAllowsAtEachPosition) {
    Expect(VocabularyCases(Fixture::Dump()), GetParam());
}

TEST_P(CompletionTest, OffersTheIdentifiersOfTheEstate) {
    Expect(kEstateCases, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Helpers, CompletionTest, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& plain) {
                             return plain.param ? "Plain" : "WithBashCompletion";
                         });

class CompletionOfProgramsTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { Fixture::SetUp(); }
    static void TearDownTestSuite() { Fixture::TearDown(); }
};

// The few words that are not in the dump are checked against the programs'
// own help, so the two cannot drift apart.
TEST_F(CompletionOfProgramsTest, OptionsAndKvdaCommandsAreThoseTheProgramsName) {
    const Driven driven =
        Complete({"vkconfig -", "vkreport -", "kvda ", "kvda send vkacmd="}, false);
    for (const char* program : {"vkconfig", "vkreport"}) {
        const std::string help = vktest::RunProgram(kBin, {program, "--help"}).out;
        const Offers& offered = driven.offers[program == std::string("vkconfig") ? 0 : 1];
        for (std::string option : offered) {
            if (option.ends_with("=")) option.pop_back();
            EXPECT_NE(help.find(option), std::string::npos) << program << " offers " << option;
        }
        if (program != std::string("vkconfig")) continue;  // --dry-run is vkconfig's only
        for (const std::string& option : Matches(help, R"((--[a-z][a-z-]*))")) {
            EXPECT_TRUE(offered.contains(option) || offered.contains(option + "="))
                << "vkconfig --help names " << option;
        }
    }
    const std::string usage = vktest::RunProgram(kBin, {"kvda", "--help"}).out;
    const Strings commands = Matches(usage, R"(kvda ([a-z]+))");
    EXPECT_EQ(driven.offers[2], Offers(commands.begin(), commands.end()));

    Offers requests;
    for (const Json& c : Fixture::Dump()["commands"])
        for (const char* kind : {"actions", "reports"})
            for (const Json& row : Rows(c, kind))
                requests.insert(row["request"].get<std::string>().substr(7));
    EXPECT_EQ(driven.offers[3], requests);
}

TEST_F(CompletionOfProgramsTest, KvdaUnderstandsEveryObjectWordOffered) {
    const Driven driven = Complete({"kvda fail controller=0 "}, false);
    ASSERT_FALSE(driven.offers[0].empty());
    for (const std::string& word : driven.offers[0]) {
        // A word kvda knows addresses nothing here (1); one it does not
        // know is a usage error (2).
        const vktest::Result run =
            vktest::RunProgram(kBin, {"kvda", "fail", "controller=0", word + "=99"});
        EXPECT_EQ(run.exitCode, 1) << word << ": " << run.err;
    }
}

TEST_F(CompletionOfProgramsTest, AnEstateThatCannotBeReadGivesNoOffersAndNoNoise) {
    const char* saved = std::getenv("KVDA_STATE");
    const std::string state = saved ? saved : "";
    setenv("KVDA_STATE", "/proc/self/no-such-dir/kvda.db", 1);
    const Driven driven = Complete({"vkconfig storage vdisk action=blink controller=",
                                    "kvda fail controller=0 pdisk=", "vkreport storage vd"},
                                   false);
    setenv("KVDA_STATE", state.c_str(), 1);
    EXPECT_EQ(driven.err, "");
    EXPECT_EQ(driven.offers[0], Offers{});
    EXPECT_EQ(driven.offers[1], Offers{});
    EXPECT_EQ(driven.offers[2], Offers{"vdisk"});
}

// ---- manual pages -----------------------------------------------------------

const Strings kPages{"man8/vkreport.8", "man8/vkconfig.8", "man8/kvda.8", "man7/vk-storage.7"};

class ManPageTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { Fixture::SetUp(); }
    static void TearDownTestSuite() { Fixture::TearDown(); }
    static std::string Page(const std::string& name) {
        return vktest::ReadFile(kBuild / "share/man" / name);
    }
};

TEST_F(ManPageTest, GroffWarnsOfNothing) {
    for (const std::string& page : kPages) {
        const fs::path file = kBuild / "share/man" / page;
        ASSERT_TRUE(fs::exists(file)) << file;
        const vktest::Result run = vktest::RunProgram(
            "/usr/bin", {"groff", "-z", "-wall", "-man", "-Tutf8", file.string()});
        EXPECT_EQ(run.exitCode, 0) << page;
        EXPECT_EQ(run.err, "") << page;
    }
}

TEST_F(ManPageTest, EachProgramPageNamesEveryCommandItServes) {
    const std::map<std::string, std::string> pages{{"vkconfig", Page("man8/vkconfig.8")},
                                                   {"vkreport", Page("man8/vkreport.8")}};
    const std::string overview = Page("man7/vk-storage.7");
    for (const Json& c : Fixture::Dump()["commands"]) {
        const std::string program = c["words"][0].get<std::string>();
        const std::string& page = pages.at(program);
        const std::string line = Line(c);
        if (c["words"].size() == 2) continue;  // the bare object lists
        EXPECT_NE(page.find(".SS " + line + "\n"), std::string::npos) << line;
        for (const Json& a : Rows(c, "actions")) {
            const std::string action = "\\fBaction=" + a["name"].get<std::string>() + "\\fR";
            EXPECT_NE(page.find(action), std::string::npos) << line << " " << action;
            for (const Json& p : a["parameters"])
                for (const Json& k : p["keywords"])
                    EXPECT_NE(page.find("\\fB" + k["keyword"].get<std::string>() + "\\fR"),
                              std::string::npos)
                        << line << " " << p["name"] << "=" << k["keyword"];
        }
        if (c["words"][1] == "storage") {
            EXPECT_NE(overview.find("\\fB" + c["words"][2].get<std::string>() + "\\fR"),
                      std::string::npos)
                << line;
        }
    }
}

TEST_F(ManPageTest, TheOverviewListsEveryRefusalByNumber) {
    std::set<int> usage;
    for (const Json& c : Fixture::Dump()["commands"])
        for (const char* field : {"usage", "second"})
            if (c.contains(field) && !c[field].is_null())
                usage.insert(c[field]["message"].get<int>());
    const std::string overview = Page("man7/vk-storage.7");
    const std::string catalogue = vktest::ReadFile(kShare / "messages.txt");
    int listed = 0;
    for (const std::string& number : Matches(catalogue, R"((?:^|\n)(\d+)\t)")) {
        if (usage.contains(std::stoi(number))) {
            EXPECT_EQ(overview.find("\\fB" + number + "\\fR"), std::string::npos) << number;
            continue;
        }
        EXPECT_NE(overview.find(".TP\n\\fB" + number + "\\fR\n"), std::string::npos) << number;
        ++listed;
    }
    EXPECT_GT(listed, 100);
}

}  // namespace
