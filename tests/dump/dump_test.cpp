// The vocabulary dump, end to end on the default estate: it describes every
// command without sending anything, and every command behaves as described:
// each answers help with what the dump lists, each typed parameter refuses a
// value of the wrong form, and each action is accepted by a dry run with its
// required parameters filled in from the estate.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
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
using vktest::Result;

const fs::path kBin = VK_TEST_BIN_DIR;
const fs::path kShare = VK_TEST_SHARE_DIR;

Result Program(const Strings& argv) {
    return vktest::RunProgram(kBin, argv);
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string Line(const Strings& argv) {
    std::string line;
    for (const std::string& w : argv) line += (line.empty() ? "" : " ") + w;
    return line;
}

// The program of a command with options before its words, then args.
Strings CommandLine(const Json& command, const Strings& options, const Strings& args) {
    const Json& words = command["words"];
    Strings argv{words[0].get<std::string>()};
    argv.insert(argv.end(), options.begin(), options.end());
    for (size_t i = 1; i < words.size(); ++i) argv.push_back(words[i].get<std::string>());
    argv.insert(argv.end(), args.begin(), args.end());
    return argv;
}

using vktest::Matches;
using vktest::Rows;

std::set<std::string> AsSet(const Strings& items) {
    return {items.begin(), items.end()};
}

class DumpTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        estate_ = std::make_unique<vktest::Estate>(kBin, kShare, "default");
        Program({"kvda", "journal", "--clear"});
        describe_ = Program({"vkconfig", "--describe"});
        journal_ = Program({"kvda", "journal"}).out;
        dump_ = Json::parse(describe_.out, nullptr, false);
        ReadIdentifiers();
    }
    static void TearDownTestSuite() { estate_.reset(); }

    // The objects of a report of the estate.
    static Json Objects(const Strings& words) {
        Strings argv{"vkreport", "--format=json"};
        argv.insert(argv.end(), words.begin(), words.end());
        const Json doc = Json::parse(Program(argv).out, nullptr, false);
        return doc.is_object() ? doc["objects"] : Json::array();
    }

    // One identifier of each kind, as the default estate has them.
    static void ReadIdentifiers() {
        auto first = [](const Json& objects, std::initializer_list<const char*> tags) {
            if (objects.empty()) return std::string();
            std::string id;
            for (const char* tag : tags)
                id += (id.empty() ? "" : ":") + objects[0].value(tag, std::string());
            return id;
        };
        const std::string controller = first(Objects({"storage", "controller"}), {"GlobalNo"});
        const std::string at = "controller=" + controller;
        ids_["controller"] = controller;
        ids_["vdisk"] = ids_["cachecade"] =
            first(Objects({"storage", "vdisk", at}), {"LogicalDriveNum"});
        ids_["battery"] = first(Objects({"storage", "battery", at}), {"BatteryID"});
        ids_["connector"] = ids_["nvmeid"] =
            first(Objects({"storage", "connector", at}), {"Channel"});
        ids_["enclosure"] =
            first(Objects({"storage", "enclosure", at}), {"Channel", "EnclosureID"});
        ids_["disk"] =
            first(Objects({"storage", "pdisk", at}), {"Channel", "EnclosureID", "TargetID"});
    }

    // A value the frame accepts for a parameter: its first keyword, an
    // identifier of the estate, or a value of its form.
    static std::string ValueFor(const Json& param) {
        if (!param["keywords"].empty()) return param["keywords"][0]["keyword"];
        const std::string name = param["name"];
        const std::string type = param["type"];
        if (auto id = ids_.find(name); id != ids_.end()) return id->second;
        if (type == "disk" || type == "disklist") return ids_["disk"];
        if (type == "enclosure") return ids_["enclosure"];
        if (type == "rate") return "30";
        if (type == "number") return "1";
        return "x1";
    }

    // action=NAME with every required parameter and, for a property group,
    // its first member; the parameter skip is left out.
    static Strings ActionArgs(const Json& action, const std::string& skip = "") {
        Strings args{"action=" + action["name"].get<std::string>()};
        bool groupGiven = false;
        for (const Json& p : action["parameters"]) {
            const bool group = p["group"].get<bool>();
            const bool take = p["required"].get<bool>() || (group && !groupGiven);
            if (!take || p["name"] == skip) continue;
            groupGiven = groupGiven || group;
            args.push_back(p["name"].get<std::string>() + "=" + ValueFor(p));
        }
        return args;
    }

    static Strings VisibleActions(const Json& command) {
        Strings names;
        for (const Json& a : Rows(command, "actions"))
            if (!a["hidden"].get<bool>()) names.push_back(a["name"]);
        return names;
    }

    static inline std::unique_ptr<vktest::Estate> estate_;
    static inline Result describe_;
    static inline std::string journal_;
    static inline Json dump_;
    static inline std::map<std::string, std::string> ids_;
};

TEST_F(DumpTest, DescribesEveryCommandWithoutSendingAnything) {
    ASSERT_EQ(describe_.exitCode, 0) << describe_.err;
    EXPECT_EQ(describe_.err, "");
    EXPECT_EQ(journal_, "") << "describing sent requests to the agent";
    ASSERT_TRUE(dump_.is_object()) << describe_.out.substr(0, 200);
    EXPECT_EQ(dump_["schema"], 1);
    EXPECT_EQ(dump_["program"], "vkconfig");

    // Both programs describe the same commands, the same way every time.
    const Result again = Program({"vkconfig", "--describe"});
    EXPECT_EQ(again.out, describe_.out);
    Json fromReport = Json::parse(Program({"vkreport", "--describe"}).out, nullptr, false);
    ASSERT_TRUE(fromReport.is_object());
    EXPECT_EQ(fromReport["program"], "vkreport");
    EXPECT_EQ(fromReport["commands"], dump_["commands"]);

    // In the order of their words, each once; both programs' storage objects.
    Strings lines;
    for (const Json& c : dump_["commands"]) {
        Strings words = c["words"];
        lines.push_back(Line(words));
        EXPECT_TRUE(c["rights"] == "read" || c["rights"] == "configure") << lines.back();
    }
    EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end()));
    EXPECT_EQ(AsSet(lines).size(), lines.size());
    for (const char* line : {"vkreport storage pdisk", "vkconfig storage controller",
                             "vkreport system alertlog", "vkconfig storage"})
        EXPECT_TRUE(AsSet(lines).count(line)) << line;

    const Result words = Program({"vkconfig", "--describe", "storage"});
    EXPECT_EQ(words.exitCode, 2);
    EXPECT_NE(words.err.find("takes no command words"), std::string::npos) << words.err;
}

TEST_F(DumpTest, EveryObjectAnswersHelpWithWhatItTakes) {
    for (const Json& command : dump_["commands"]) {
        const Strings argv = CommandLine(command, {"--format=xml"}, {"-?"});
        SCOPED_TRACE(Line(argv));
        const Result r = Program(argv);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        if (command.contains("actions")) {
            // The usage lists exactly the actions the dump shows, and so does
            // the refusal of an unknown action.
            const Strings visible = VisibleActions(command);
            if (!command["actions"].empty()) {
                EXPECT_EQ(Matches(r.out, "<Action name=\"([^\"]*)\""), visible) << r.out;
            }
            if (!visible.empty()) {
                const Json refusal = Json::parse(
                    Program(CommandLine(command, {"--format=json"}, {"action=nosuch"})).out,
                    nullptr, false);
                ASSERT_TRUE(refusal.is_object());
                EXPECT_EQ(refusal["message"], 1504);
                std::string list;
                for (const std::string& a : visible) list += (list.empty() ? "" : ", ") + a;
                EXPECT_EQ(refusal["args"][1], list);
            }
            // Reports list every name their visible rows take, across all
            // the tables the handler chooses from.
            std::set<std::string> names;
            for (const Json& report : command["reports"]) {
                if (report["hidden"].get<bool>()) continue;
                if (!report["selector"].is_null()) names.insert(report["selector"]["name"]);
                for (const Json& p : report["parameters"]) names.insert(p["name"]);
            }
            if (!command["reports"].empty()) {
                EXPECT_EQ(AsSet(Matches(r.out, "<Param name=\"([^\"]*)\"")), names) << r.out;
            }
        } else if (command["usage"].is_object()) {
            EXPECT_NE(r.out.find("number=\"" + command["usage"]["message"].dump() + "\""),
                      std::string::npos)
                << r.out;
        }
        // Every usage and second message the dump names has its text.
        for (const char* key : {"usage", "second"}) {
            if (command.contains(key) && command[key].is_object()) {
                EXPECT_TRUE(command[key]["text"].is_string()) << key << " " << command[key];
            }
        }
    }
}

TEST_F(DumpTest, KeywordListsAndNamesAreNeverGivenTwice) {
    for (const Json& command : dump_["commands"]) {
        const std::string line = Line(command["words"]);
        std::set<std::string> actions;
        for (const char* rows : {"actions", "reports"}) {
            for (const Json& row : Rows(command, rows)) {
                if (row.contains("name")) {
                    EXPECT_TRUE(actions.insert(Lower(row["name"])).second)
                        << line << ": action " << row["name"];
                }
                std::set<std::string> params;
                for (const Json& p : row["parameters"]) {
                    EXPECT_TRUE(params.insert(Lower(p["name"])).second)
                        << line << ": parameter " << p["name"];
                    std::set<std::string> keywords;
                    for (const Json& k : p["keywords"])
                        EXPECT_TRUE(keywords.insert(Lower(k["keyword"])).second)
                            << line << " " << p["name"] << ": keyword " << k["keyword"];
                }
            }
        }
    }
}

TEST_F(DumpTest, EveryValueTypeHasAParser) {
    // The first parameter of each form: a value outside the form is refused
    // by the frame (1503) naming it, before any check runs.
    struct Probe {
        const Json* command;
        const Json* action;
        const Json* param;
        std::string bad;
    };
    std::map<std::string, Probe> probes;
    for (const Json& command : dump_["commands"]) {
        for (const Json& action : Rows(command, "actions")) {
            for (const Json& p : action["parameters"]) {
                if (!p["keywords"].empty() || p["form"].is_null()) continue;
                const std::string type = p["type"];
                const std::string form = p["form"];
                std::string bad = "x!";
                std::smatch largest;
                if (std::regex_search(form, largest, std::regex("from 0 to (\\d+)")))
                    bad = std::to_string(std::stoull(largest[1]) + 1);
                else if (p["max_length"].get<size_t>() > 0)
                    bad = std::string(p["max_length"].get<size_t>() + 1, 'a');
                else if (type == "text")
                    continue;  // any text is a text
                probes.emplace(type + ": " + form, Probe{&command, &action, &p, bad});
            }
        }
    }
    for (const char* type : {"number", "rate", "disk", "disklist", "enclosure", "text"})
        EXPECT_TRUE(std::any_of(probes.begin(), probes.end(),
                                [&](const auto& e) { return e.first.rfind(type, 0) == 0; }))
            << "no " << type << " parameter to probe";
    for (const auto& [form, probe] : probes) {
        const std::string name = (*probe.param)["name"];
        Strings args = ActionArgs(*probe.action, name);
        args.push_back(name + "=" + probe.bad);
        const Strings argv = CommandLine(*probe.command, {"--dry-run", "--format=json"}, args);
        SCOPED_TRACE(form + ": " + Line(argv));
        const Result r = Program(argv);
        EXPECT_EQ(r.exitCode, 2) << r.out;
        const Json doc = Json::parse(r.out, nullptr, false);
        ASSERT_TRUE(doc.is_object()) << r.out;
        EXPECT_EQ(doc["message"], 1503);
        EXPECT_EQ(doc["args"][0], name + "=" + probe.bad);
        EXPECT_EQ(doc["args"][1], (*probe.param)["form"]);
    }
}

TEST_F(DumpTest, EveryActionIsAcceptedWithItsRequiredParameters) {
    size_t actions = 0;
    for (const Json& command : dump_["commands"]) {
        for (const Json& action : Rows(command, "actions")) {
            ++actions;
            const Strings argv =
                CommandLine(command, {"--dry-run", "--format=json"}, ActionArgs(action));
            SCOPED_TRACE(Line(argv));
            const Result r = Program(argv);
            const Json doc = Json::parse(r.out, nullptr, false);
            ASSERT_TRUE(doc.is_object()) << r.out << r.err;
            // Sent (as a dry run) or refused by the object's own checks;
            // never a command line the frame does not understand.
            if (r.exitCode == 0) {
                EXPECT_EQ(doc["status"], "dry-run");
            } else {
                EXPECT_EQ(r.exitCode, 1) << r.err;
                EXPECT_GE(doc.value("message", 0), 1600) << r.err;
            }
        }
    }
    EXPECT_GT(actions, 100u);
}

}  // namespace
