// Rendered output of the storage reports, run end to end: the built
// vkreport with the real plug-in and the simulated agent on a test estate,
// compared with the expected text kept beside each command. Also: the
// report stylesheets on answers the host never renders itself (failures),
// text against JSON, a large estate, and the message catalogue against the
// numbers the code returns.
#include <gtest/gtest.h>
#include <libexslt/exslt.h>
#include <libxml/parser.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "programs.h"

namespace fs = std::filesystem;

namespace {

const fs::path kBin = VK_TEST_BIN_DIR;
const fs::path kShare = VK_TEST_SHARE_DIR;
const fs::path kHere = VK_TEST_CASES_DIR;
const fs::path kSources = VK_TEST_SOURCE_DIR;

using vktest::ReadFile;
using vktest::Result;

std::vector<std::string> Words(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string w; in >> w;) words.push_back(w);
    return words;
}

Result RunProgram(const std::vector<std::string>& argv, const vktest::Environment& env = {}) {
    return vktest::RunProgram(kBin, argv, env);
}

// A test estate file beside the cases, else a profile of the share.
class Estate : public vktest::Estate {
  public:
    explicit Estate(const std::string& profile)
        : vktest::Estate(kBin, kShare,
                         fs::exists(kHere / "estates" / profile)
                             ? (kHere / "estates" / profile).string()
                             : profile) {}
};

// ---- refusals, end to end ----------------------------------------------
// A command refused by a check: the estate it meets (a profile or a test
// estate, then "kvda set" overrides), the command, and what the user is
// shown: the message number, its two texts and the rendered line.
struct Refusal {
    std::string estate;
    std::vector<std::string> overrides;  // "controller=0 AutoConfigProgressState=1"
    std::string command;                 // "vkconfig storage vdisk action=blink ..."
    int message = 0;
    std::string arg1;
    std::string arg2;
    std::string text;
};

// The JSON document a refused command prints, on the estate with the
// overrides set. A configuration command runs as a dry run, so that nothing
// is sent even if a check lets it through.
// kNoAgent as the estate runs the command where no data agent is found.
constexpr const char* kNoAgent = "(no agent)";
// What message 1590 says there: the system's loader words why.
#ifdef _WIN32
constexpr const char* kNoAgentText =
    "The data agent kvda is not available: cannot load the agent module "
    "/nonexistent/vk-agents\\kvda.dll: Z:\\nonexistent\\vk-agents\\kvda.dll: Module not found";
#else
constexpr const char* kNoAgentText =
    "The data agent kvda is not available: cannot load the agent module "
    "/nonexistent/vk-agents/libkvda.so: cannot open shared object file: No such file or directory";
#endif

nlohmann::json RunRefused(const std::string& estateName, const std::vector<std::string>& overrides,
                          std::vector<std::string> command) {
    const bool noAgent = estateName == kNoAgent;
    const Estate estate(noAgent ? "empty" : estateName);
    for (const std::string& line : overrides) {
        const Result set = RunProgram(Words("kvda set " + line));
        EXPECT_EQ(set.exitCode, 0) << line << ": " << set.err;
    }
    command.insert(command.begin() + 1, "--format=json");
    if (command.front() == "vkconfig") command.insert(command.begin() + 1, "--dry-run");
    vktest::Environment env;
    if (noAgent) env["VK_AGENT_DIR"] = "/nonexistent/vk-agents";
    const Result run = RunProgram(command, env);
    nlohmann::json doc = nlohmann::json::parse(run.out, nullptr, false);
    if (doc.is_discarded()) ADD_FAILURE() << run.out << run.err;
    return doc.is_discarded() ? nlohmann::json::object() : doc;
}

// Compares what the user is shown with the refusal.
void ExpectRefusal(const Refusal& r) {
    SCOPED_TRACE(r.command);
    const nlohmann::json doc = RunRefused(r.estate, r.overrides, Words(r.command));
    EXPECT_EQ(doc.value("status", ""), "refused") << doc.dump();
    EXPECT_EQ(doc.value("message", 0), r.message);
    const auto args = doc.value("args", std::vector<std::string>{"", ""});
    ASSERT_EQ(args.size(), 2u);
    EXPECT_EQ(args[0], r.arg1);
    EXPECT_EQ(args[1], r.arg2);
    EXPECT_EQ(doc.value("text", ""), r.text);
}

// A controller busy with automatic configuration fails its check like an
// unknown one wherever the bounded controller check is made: 1600 with the
// controllers listed up to it.
TEST(Refusals, ABusyControllerIsRefusedAsAnInvalidController) {
    const std::string busy = "controller=0 AutoConfigProgressState=1";
    const std::string text =
        "Controller 0 was not found or is busy with automatic configuration. Valid controllers: 0";
    // clang-format off
    const std::vector<std::string> commands{
        "vkconfig storage controller action=exportlog controller=0",
        "vkconfig storage pdisk action=blink controller=0 pdisk=0:0:7",
        "vkconfig storage adisk action=blink controller=0 adisk=0:0:7",
        "vkconfig storage vdisk action=blink controller=0 vdisk=0",
        "vkconfig storage enclosure action=blink controller=0 enclosure=0:0",
        "vkconfig storage battery action=startlearn controller=0 battery=0",
        "vkconfig storage cachecade action=blink controller=0 cachecade=0",
        "vkconfig storage globalinfo action=service_patrolreadrate controller=0 rate=50",
        "vkreport storage battery controller=0 battery=0",
        "vkreport storage controller controller=0",
    };
    // clang-format on
    for (const std::string& command : commands)
        ExpectRefusal({"default", {busy}, command, 1600, "0", "0", text});
    ExpectRefusal({"default",
                   {"controller=2 AutoConfigProgressState=1"},
                   "vkconfig storage pciessd action=addtocachepool subsystem=2 pciedevice=0:0:0 "
                   "force=yes",
                   1600,
                   "2",
                   "0, 1, 2",
                   "Controller 2 was not found or is busy with automatic configuration. Valid "
                   "controllers: 0, 1, 2"});
}

// Whether a controller has no disks (or tape drives) is decided by how many
// there are, not by the list of valid ones: disks left out of the list
// (attribute 0x80) still exist, and the list is then empty.
TEST(Refusals, NoneIsSaidOnlyWhenThereAreNoObjects) {
    const std::string hidden = "AttributesMask=10000000";
    const std::vector<std::string> hba{"controller=1 pdisk=0:0 " + hidden,
                                       "controller=1 pdisk=0:1 " + hidden,
                                       "controller=1 pdisk=0:2 " + hidden};
    const std::string noDisks = "None - There are no physical disks on this controller.";
    // clang-format off
    const std::vector<Refusal> cases{
        {"default", hba, "vkreport storage pdisk controller=1 pdisk=0:9", 1602, "0:9", "",
         "Physical disk 0:9 was not found. Valid physical disks: "},
        {"default", hba, "vkreport storage adisk controller=1 adisk=0:9", 1602, "0:9", "",
         "Physical disk 0:9 was not found. Valid physical disks: "},
        {"default", hba, "vkconfig storage pdisk action=blink controller=1 pdisk=0:9", 1602, "0:9", "",
         "Physical disk 0:9 was not found. Valid physical disks: "},
        {"rack.json", {"controller=0 tape=0:5 " + hidden}, "vkreport storage tape controller=0 tape=0:9",
         1752, "0:9", "", "Tape drive 0:9 was not found. Valid tape drives: "},
        // No disks at all, and disks of which some are listed.
        {"empty", {}, "vkreport storage pdisk controller=0 pdisk=0:0", 1602, "0:0", noDisks,
         "Physical disk 0:0 was not found. Valid physical disks: " + noDisks},
        {"rack.json", {}, "vkreport storage tape controller=1 tape=0:5", 1752, "0:5",
         "None - There is no tapedrive on this controller.",
         "Tape drive 0:5 was not found. Valid tape drives: None - There is no tapedrive on this "
         "controller."},
        {"default", {hba[0], hba[1]}, "vkreport storage pdisk controller=1 pdisk=0:9", 1602, "0:9",
         "0:2", "Physical disk 0:9 was not found. Valid physical disks: 0:2"},
    };
    // clang-format on
    for (const Refusal& r : cases) ExpectRefusal(r);
}

// ---- expected-output cases ----------------------------------------------
// cases/NAME.case holds "estate:", "command:" and optionally "exit:" and
// "stream: stderr"; cases/NAME.expected the exact text of that stream.
struct Case {
    std::string name;
    std::string estate;
    std::vector<std::string> command;
    int exitCode = 0;
    bool onStderr = false;
};

std::vector<Case> LoadCases() {
    std::vector<Case> cases;
    for (const auto& entry : fs::directory_iterator(kHere / "cases")) {
        if (entry.path().extension() != ".case") continue;
        Case c;
        c.name = entry.path().stem().string();
        std::istringstream in(ReadFile(entry.path()));
        for (std::string line; std::getline(in, line);) {
            const auto colon = line.find(": ");
            if (line.empty() || line.front() == '#' || colon == std::string::npos) continue;
            const std::string key = line.substr(0, colon);
            const std::string value = line.substr(colon + 2);
            if (key == "estate") c.estate = value;
            if (key == "command") c.command = Words(value);
            if (key == "exit") c.exitCode = std::stoi(value);
            if (key == "stream") c.onStderr = value == "stderr";
        }
        cases.push_back(std::move(c));
    }
    std::sort(cases.begin(), cases.end(),
              [](const Case& a, const Case& b) { return a.name < b.name; });
    return cases;
}

class RenderCase : public testing::TestWithParam<Case> {};

// Each case is rendered whole and in parts as small as they come (the host
// renders a long answer in parts): the text must not change.
TEST_P(RenderCase, PrintsExpectedText) {
    const Case& c = GetParam();
    ASSERT_FALSE(c.command.empty()) << c.name << ".case has no command";
    const Estate estate(c.estate);
    const std::string expected = ReadFile(kHere / "cases" / (c.name + ".expected"));
    for (const char* part : {"", "1", "3"}) {
        SCOPED_TRACE(*part == '\0' ? std::string("whole") : std::string("parts of ") + part);
        vk::os::SetEnvironment("VK_RENDER_PART", part);
        const Result r = RunProgram(c.command);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
        EXPECT_EQ(c.onStderr ? r.err : r.out, expected) << "standard error: " << r.err;
    }
    vk::os::UnsetEnvironment("VK_RENDER_PART");
}

INSTANTIATE_TEST_SUITE_P(Cases, RenderCase, testing::ValuesIn(LoadCases()),
                         [](const testing::TestParamInfo<Case>& param) {
                             return param.param.name;
                         });

// ---- the simulated estate ------------------------------------------------
using Tags = std::map<std::string, std::string>;

// The storage objects of an agent answer (kvda send), one map of tags each.
std::vector<Tags> AnswerObjects(const std::string& xml) {
    static const std::regex kObject(R"(<QXStorageObject>([\s\S]*?)</QXStorageObject>)");
    static const std::regex kTag(R"(<(\w+)>([^<]*)</\1>)");
    std::vector<Tags> objects;
    for (std::sregex_iterator o(xml.begin(), xml.end(), kObject), end; o != end; ++o) {
        const std::string body = (*o)[1];
        Tags tags;
        for (std::sregex_iterator t(body.begin(), body.end(), kTag); t != end; ++t)
            tags[(*t)[1]] = (*t)[2];
        objects.push_back(std::move(tags));
    }
    return objects;
}

// The capacity a product id names ("KH-10K 1.2T", "KS-E3 960", "KX-N7
// 3.2TB"), in GB; -1 when it names none.
long long NamedCapacity(const std::string& productId) {
    static const std::regex kSize(R"( (\d+)(?:\.(\d+))?(T?)B?$)");
    std::smatch m;
    if (!std::regex_search(productId, m, kSize)) return -1;
    if (m[3] != "T") return std::stoll(m[1]);
    std::string fraction = m[2].str() + "000";
    return std::stoll(m[1]) * 1000 + std::stoll(fraction.substr(0, 3));
}

// The estate as the documentation describes it and as every request sees
// it: overrides through the documented object words, numbering, and
// answers that agree with each other.
TEST(SimulatedEstate, AgreesWithItselfAndItsDocumentation) {
    using Check = std::function<void(const std::vector<Tags>&)>;
    const auto count = [](size_t n) {
        return [n](const std::vector<Tags>& objects) { EXPECT_EQ(objects.size(), n); };
    };
    // Every disk's size is the one its product id names (capacity_gb
    // counts binary gigabytes).
    const Check sizesAsNamed = [](const std::vector<Tags>& disks) {
        EXPECT_FALSE(disks.empty());
        for (const Tags& d : disks) {
            const long long named = NamedCapacity(d.at("ProductID"));
            if (named < 0) continue;
            EXPECT_EQ(std::stoll(d.at("Length")) >> 30, named) << d.at("ProductID");
        }
    };
    const struct {
        std::string estate;
        std::vector<std::string> setup;  // kvda commands run first
        std::string request;             // kvda send words
        Check check;
    } cases[] = {
        // The enclosures of a connector are numbered 0, 1, ... on every connector.
        {"large",
         {},
         "vkacmd=getEnclosuresForChannel GlobalNo=0 Channel=1",
         [](const std::vector<Tags>& encs) {
             ASSERT_EQ(encs.size(), 2u);
             EXPECT_EQ(encs[0].at("EnclosureID") + " " + encs[1].at("EnclosureID"), "0 1");
         }},
        // A connector whose Channel tag is overridden is still addressed by
        // its position, by the disk requests as by the enclosure requests.
        {"default",
         {"set controller=0 connector=0 Channel=7"},
         "vkacmd=getArrayDisksForChannel GlobalNo=0 Channel=0",
         count(11)},
        {"default",
         {"set controller=0 connector=0 Channel=7"},
         "vkacmd=getEnclosuresForChannel GlobalNo=0 Channel=0",
         count(1)},
        // A cached LUN is named without its controller.
        {"rack.json",
         {"set cachedlun=lun0 CacheLunMode=wt"},
         "vkacmd=getAllCachedLuns",
         [](const std::vector<Tags>& luns) {
             ASSERT_EQ(luns.size(), 1u);
             EXPECT_EQ(luns[0].at("CacheLunMode"), "wt");
         }},
        {"default", {}, "vkacmd=getArrayDisksForController GlobalNo=0", sizesAsNamed},
        {"rack.json", {}, "vkacmd=getArrayDisksForController GlobalNo=0", sizesAsNamed},
        {"large", {}, "vkacmd=getArrayDisksForController GlobalNo=3", sizesAsNamed},
        {"default", {}, "vkacmd=getNVMeAdaptersForController GlobalNo=2", sizesAsNamed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.estate + ": " + c.request);
        const Estate estate(c.estate);
        for (const std::string& line : c.setup) {
            const Result r = RunProgram(Words("kvda " + line));
            EXPECT_EQ(r.exitCode, 0) << line << ": " << r.err;
        }
        const Result answer = RunProgram(Words("kvda send " + c.request));
        EXPECT_EQ(answer.exitCode, 0) << answer.out;
        c.check(AnswerObjects(answer.out));
    }
}

// ---- text against JSON ---------------------------------------------------
std::vector<std::string> TextIds(const std::string& text) {
    std::vector<std::string> ids;
    static const std::regex kIdLine(R"(^ID +: (.*)$)");
    std::istringstream in(text);
    std::smatch m;
    for (std::string line; std::getline(in, line);)
        if (std::regex_match(line, m, kIdLine)) ids.push_back(m[1]);
    return ids;
}

TEST(TextAndJson, CarryTheSameObjects) {
    const Estate estate("rack.json");
    const std::vector<std::string> command{"vkreport", "storage", "pdisk", "controller=0"};
    const Result text = RunProgram(command);
    std::vector<std::string> json = command;
    json.insert(json.begin() + 1, "--format=json");
    const Result doc = RunProgram(json);
    ASSERT_EQ(text.exitCode, 0) << text.err;
    ASSERT_EQ(doc.exitCode, 0) << doc.err;
    std::vector<std::string> fromJson;
    const nlohmann::json parsed = nlohmann::json::parse(doc.out);
    for (const auto& object : parsed["objects"]) {
        fromJson.push_back(object["Channel"].get<std::string>() + ":" +
                           object["EnclosureID"].get<std::string>() + ":" +
                           object["TargetID"].get<std::string>());
    }
    EXPECT_EQ(TextIds(text.out), fromJson);
    EXPECT_EQ(fromJson.size(), 6u);
}

// Every disk of a large estate gets its block, in answer order.
TEST(LargeEstate, RendersEveryDisk) {
    const Estate estate("large");
    const Result text = RunProgram({"vkreport", "storage", "pdisk", "controller=0"});
    const Result doc =
        RunProgram({"vkreport", "--format=json", "storage", "pdisk", "controller=0"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    const size_t objects = nlohmann::json::parse(doc.out)["objects"].size();
    EXPECT_GT(objects, 100u);
    EXPECT_EQ(TextIds(text.out).size(), objects);
}

// ---- stylesheets applied directly ----------------------------------------
std::string Apply(xsltStylesheetPtr style, const std::string& xml, const std::string& program) {
    xmlDocPtr doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "answer.xml", nullptr,
                                  XML_PARSE_NONET);
    const std::string quoted = "'" + program + "'";
    const char* params[] = {"program", quoted.c_str(), nullptr};
    xmlDocPtr result = xsltApplyStylesheet(style, doc, params);
    std::string text;
    xmlChar* raw = nullptr;
    int length = 0;
    if (result != nullptr && xsltSaveResultToString(&raw, &length, result, style) == 0 && raw) {
        text.assign(reinterpret_cast<const char*>(raw), static_cast<size_t>(length));
        xmlFree(raw);
    }
    xmlFreeDoc(result);
    xmlFreeDoc(doc);
    xsltFreeStylesheet(style);
    return text;
}

// A stylesheet of the share (path relative to it) applied to a document.
std::string Transform(const std::string& sheet, const std::string& xml,
                      const std::string& program = "vkreport") {
    exsltRegisterAll();
    const std::u8string file = (kShare / sheet).u8string();
    xsltStylesheetPtr style =
        xsltParseStylesheetFile(reinterpret_cast<const xmlChar*>(file.c_str()));
    if (style == nullptr) return "<unusable stylesheet " + sheet + ">";
    return Apply(style, xml, program);
}

// A stylesheet given as text, placed beside the report stylesheets.
std::string TransformText(const std::string& xsl, const std::string& xml) {
    exsltRegisterAll();
    const std::string url = (kShare / "sm/cli/probe.xsl").string();
    xmlDocPtr doc = xmlReadMemory(xsl.data(), static_cast<int>(xsl.size()), url.c_str(), nullptr,
                                  XML_PARSE_NONET);
    xsltStylesheetPtr style = doc != nullptr ? xsltParseStylesheetDoc(doc) : nullptr;
    if (style == nullptr) {
        xmlFreeDoc(doc);
        return "<unusable stylesheet>";
    }
    return Apply(style, xml, "vkreport");
}

// clang-format off
constexpr std::array<const char*, 21> kReportSheets{
    "RptADisk.xsl",      "RptBatry.xsl",        "RptChnl.xsl",          "RptFnkey.xsl",
    "RptCntrl.xsl",      "RptSlotRep.xsl",      "RptTemps.xsl",         "RptFans.xsl",
    "RptPS.xsl",         "RptEmms.xsl",         "RptEncl.xsl",          "RptEnhanceCache.xsl",
    "RptTarnCache.xsl",  "RptTarnCachePool.xsl", "RptGlob.xsl",         "RptNVMeAdapter.xsl",
    "RptPartitions.xsl", "RptCachedLuns.xsl",   "RptVDisk.xsl",         "RptSumm.xsl",
    "RptVer.xsl",
};
// clang-format on

class ReportSheet : public testing::TestWithParam<const char*> {};

TEST_P(ReportSheet, PrintsTheAgentsMessageOnFailure) {
    const std::string sheet = std::string("sm/cli/") + GetParam();
    EXPECT_EQ(Transform(sheet,
                        "<RESPONSE><SMStatus>3</SMStatus>"
                        "<SMMessage>no controller 5</SMMessage></RESPONSE>"),
              "no controller 5\n");
    EXPECT_EQ(Transform(sheet, "<RESPONSE><SMStatus>9</SMStatus></RESPONSE>"),
              "The request failed with status 9.\n");
}

TEST_P(ReportSheet, SaysSoWhenThereIsNothingToShow) {
    const std::string text = Transform(std::string("sm/cli/") + GetParam(),
                                       "<RESPONSE><SMStatus>0</SMStatus></RESPONSE>");
    EXPECT_TRUE(text.starts_with("No ") && text.ends_with(" found.\n")) << text;
}

INSTANTIATE_TEST_SUITE_P(Sheets, ReportSheet, testing::ValuesIn(kReportSheets),
                         [](const testing::TestParamInfo<const char*>& param) {
                             const std::string name = param.param;
                             return name.substr(0, name.find('.'));
                         });

TEST(Decoding, UnknownCodesStayVisible) {
    const std::string text =
        Transform("sm/cli/RptVDisk.xsl",
                  "<RESPONSE><QXStorageObject><ObjType>vdisk</ObjType><GlobalNo>0</GlobalNo>"
                  "<LogicalDriveNum>3</LogicalDriveNum><ObjState>4096</ObjState>"
                  "<Layout>8</Layout><StripeSize>3</StripeSize><Length>1099511627776</Length>"
                  "</QXStorageObject><SMStatus>0</SMStatus></RESPONSE>");
    EXPECT_NE(text.find("Status                   : Unknown (4096)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Layout                   : Unknown (8)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Stripe Size              : Unknown (3)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Size                     : 1.00 TB\n"), std::string::npos) << text;
}

// Every tag that has a line of its own writes its label to the label
// column, and the label and value other stylesheets ask decode.xsl for
// (modes "label" and "value") are the two halves of that line.
TEST(Decoding, EachLineIsItsLabelAndItsValue) {
    const std::string decode = ReadFile(kShare / "sm/cli/decode.xsl");
    static const std::regex kLine(R"re(match="(\w+)" mode="line")re");
    std::string object = "<QXStorageObject><ObjType>pdisk</ObjType>";
    std::vector<std::string> tags;
    for (std::sregex_iterator it(decode.begin(), decode.end(), kLine), end; it != end; ++it) {
        tags.push_back((*it)[1]);
        object += "<" + tags.back() + ">1</" + tags.back() + ">";
    }
    // A tag without a line of its own is shown by its name, as it stands.
    tags.push_back("SomeUnknownTag");
    object += "<SomeUnknownTag>x : y</SomeUnknownTag></QXStorageObject>";
    ASSERT_GT(tags.size(), 50u) << "no tag lines found in decode.xsl";

    // Per tag: its line, then "label|value" on a line of its own.
    const std::string probe =
        "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
        "<xsl:import href='decode.xsl'/><xsl:output method='text'/>"
        "<xsl:template match='/'><xsl:for-each select='*/*/*[name() != \"ObjType\"]'>"
        "<xsl:apply-templates select='.' mode='line'/><xsl:apply-templates select='.' "
        "mode='label'/>|<xsl:apply-templates select='.' mode='value'/><xsl:text>&#10;</xsl:text>"
        "</xsl:for-each></xsl:template></xsl:stylesheet>";
    std::istringstream out(TransformText(probe, "<RESPONSE>" + object + "</RESPONSE>"));
    for (const std::string& tag : tags) {
        std::string line, halves;
        ASSERT_TRUE(std::getline(out, line) && std::getline(out, halves)) << tag;
        const std::string label = halves.substr(0, halves.find('|'));
        const std::string value = halves.substr(halves.find('|') + 1);
        EXPECT_FALSE(label.empty() || value.empty()) << tag << ": " << halves;
        const std::string column = label.size() < 24 ? std::string(24 - label.size(), ' ') : "";
        EXPECT_EQ(line, label + column + " : " + value) << tag;
    }
}

TEST(ConfigurationSheet, SaysACarriedOutCommandWasCarriedOut) {
    EXPECT_EQ(Transform("kvclp.xsl", "<RESPONSE><SMStatus>0</SMStatus></RESPONSE>", "vkconfig"),
              "The command was carried out.\n");
    // The changed object the agent sends back stays out of the text.
    EXPECT_EQ(Transform("kvclp.xsl",
                        "<RESPONSE><QXStorageObject><ObjID>13</ObjID><Blinking>1</Blinking>"
                        "</QXStorageObject><SMStatus>0</SMStatus></RESPONSE>",
                        "vkconfig"),
              "The command was carried out.\n");
    EXPECT_EQ(Transform("kvclp.xsl",
                        "<RESPONSE><SMStatus>5</SMStatus><SMMessage>disk busy</SMMessage>"
                        "</RESPONSE>",
                        "vkconfig"),
              "disk busy\n");
}

// ---- message catalogue ----------------------------------------------------
std::map<int, std::string> Catalogue() {
    std::map<int, std::string> texts;
    std::istringstream in(ReadFile(kShare / "messages.txt"));
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line.front() == '#') continue;
        const auto tab = line.find('\t');
        if (tab != std::string::npos) texts[std::stoi(line.substr(0, tab))] = line.substr(tab + 1);
    }
    return texts;
}

// The texts each message is given: 2 the value and the valid values, 1 the
// value alone, 0 none. Every number the plug-in, the frame or the host can
// show is listed.
// clang-format off
const std::map<int, int> kSlots{
    {1500, 2}, {1501, 2}, {1502, 2}, {1503, 2}, {1504, 2}, {1505, 2}, {1506, 2}, {1507, 2},
    {1508, 2}, {1509, 2}, {1510, 2}, {1511, 2}, {1512, 2}, {1513, 2},
    {1590, 2}, {1591, 1}, {1592, 0},
    {1600, 2}, {1601, 2}, {1602, 2}, {1604, 2}, {1605, 2}, {1606, 1}, {1607, 1}, {1609, 2},
    {1610, 2}, {1611, 2}, {1612, 2}, {1613, 2}, {1614, 1}, {1615, 1}, {1616, 2}, {1617, 2},
    {1618, 2}, {1619, 2}, {1620, 2}, {1621, 2}, {1622, 1}, {1623, 0}, {1624, 2}, {1625, 2},
    {1626, 2}, {1627, 2}, {1628, 1}, {1629, 2}, {1630, 2}, {1631, 0}, {1632, 1}, {1635, 0},
    {1636, 0}, {1637, 0}, {1638, 0}, {1639, 1}, {1640, 1}, {1641, 1}, {1642, 1}, {1646, 2},
    {1647, 0}, {1648, 0}, {1650, 0}, {1651, 0}, {1652, 0}, {1653, 0}, {1654, 0}, {1655, 0},
    {1656, 0}, {1657, 0}, {1658, 0}, {1659, 0}, {1660, 2}, {1661, 0}, {1662, 2}, {1663, 2},
    {1664, 2}, {1665, 2}, {1667, 0}, {1668, 0}, {1670, 1}, {1671, 0}, {1672, 0}, {1673, 0},
    {1674, 2}, {1675, 0}, {1676, 2}, {1677, 1}, {1678, 1}, {1679, 1}, {1680, 1}, {1684, 2},
    {1685, 1}, {1686, 1}, {1687, 0}, {1689, 0}, {1690, 1}, {1691, 2}, {1692, 0}, {1693, 0},
    {1694, 0}, {1695, 0}, {1696, 0}, {1697, 0}, {1698, 0}, {1699, 0}, {1700, 0}, {1701, 0},
    {1702, 2}, {1703, 1}, {1704, 1}, {1705, 1}, {1706, 1}, {1707, 1}, {1708, 0}, {1709, 1},
    {1710, 0}, {1711, 1}, {1712, 0}, {1713, 0}, {1714, 0}, {1715, 1}, {1717, 0}, {1718, 1},
    {1719, 0}, {1720, 1}, {1722, 0}, {1723, 0}, {1724, 2}, {1725, 2}, {1726, 0}, {1727, 2},
    {1728, 1}, {1729, 1}, {1730, 0}, {1731, 0}, {1732, 0}, {1733, 0}, {1734, 0}, {1735, 0},
    {1736, 0}, {1737, 0}, {1738, 1}, {1739, 2}, {1740, 1}, {1741, 2}, {1742, 2}, {1743, 1},
    {1744, 1}, {1745, 1}, {1748, 0}, {1749, 0}, {1750, 0}, {1751, 0}, {1752, 2}, {1753, 2},
    {1754, 1}, {1755, 1}, {1756, 1}, {1759, 2}, {1760, 2}, {1761, 1}, {1762, 0}, {1763, 0},
    {1764, 1}, {1765, 0}, {1769, 0}, {1770, 1}, {1771, 1}, {1772, 1}, {1773, 0}, {1774, 1},
    {1775, 1}, {1776, 1}, {1777, 1}, {1778, 1},
    {6000, 0}, {6001, 0}, {6011, 0}, {6021, 0}, {6022, 0}, {6031, 0}, {6032, 0}, {6042, 0},
    {6043, 0}, {6044, 0}, {6045, 0}, {6051, 0}, {6061, 0}, {6062, 0}, {6071, 0}, {6081, 0},
    {6082, 0}, {6083, 0}, {6085, 0}, {6086, 0}, {6087, 0}, {6091, 0}, {6095, 0}, {6096, 0},
    {6097, 0}, {6931, 0}, {6932, 0}, {6941, 0}, {6942, 0}, {6951, 0}, {6952, 0}, {6963, 0},
    {6964, 0}, {6971, 0}, {6972, 0}, {6981, 0}, {6982, 0}, {6990, 0}, {6991, 0}, {6992, 0},
    {6993, 0}, {6994, 0}, {6995, 0}, {6996, 0}, {6997, 0}, {6998, 0},
};
// clang-format on

int SlotsOf(const std::string& text) {
    const bool first = text.find("%1") != std::string::npos;
    const bool second = text.find("%2") != std::string::npos;
    return second ? (first ? 2 : -1) : (first ? 1 : 0);
}

TEST(Catalogue, EveryMessageHasItsTextWithItsSlots) {
    const auto texts = Catalogue();
    for (const auto& [number, slots] : kSlots) {
        const auto found = texts.find(number);
        if (found == texts.end()) {
            ADD_FAILURE() << "message " << number << " has no catalogue entry";
            continue;
        }
        EXPECT_EQ(SlotsOf(found->second), slots) << number << ": " << found->second;
    }
}

// The text of a source without its comments and string literals' quotes
// kept, so that numbers in comments do not count.
std::string WithoutComments(const std::string& code) {
    static const std::regex kComment(R"(//[^\n]*|/\*[\s\S]*?\*/)");
    return std::regex_replace(code, kComment, " ");
}

// Message numbers in the code of the plug-in, its libraries and the frame:
// named constants, returned statuses and message arguments. Numbers in
// comparisons are range bounds, not messages.
std::set<int> NumbersInCode() {
    std::set<int> numbers;
    static const std::regex kNumber(R"(\b(1[5-7]\d\d|6\d\d\d)\b)");
    for (const auto& entry : fs::recursive_directory_iterator(kSources)) {
        const fs::path& path = entry.path();
        const std::string ext = path.extension().string();
        if (ext != ".cpp" && ext != ".h") continue;
        const std::string area = path.lexically_relative(kSources).begin()->string();
        if (area == "agent" || area == "host") continue;  // not plug-in messages
        std::istringstream in(WithoutComments(ReadFile(path)));
        for (std::string line; std::getline(in, line);) {
            if (line.find(">=") != std::string::npos || line.find("<=") != std::string::npos)
                continue;
            for (std::sregex_iterator it(line.begin(), line.end(), kNumber), end; it != end; ++it)
                numbers.insert(std::stoi((*it)[1]));
        }
    }
    return numbers;
}

TEST(Catalogue, CoversEveryNumberTheCodeUses) {
    const auto texts = Catalogue();
    const std::set<int> used = NumbersInCode();
    EXPECT_TRUE(used.count(1600) && used.count(1500)) << "the source scan found nothing";
    for (const int number : used) {
        EXPECT_TRUE(texts.count(number)) << "message " << number << " is used in src/ but has no "
                                         << "catalogue entry";
        EXPECT_TRUE(kSlots.count(number)) << "message " << number << " is used in src/ but its "
                                          << "texts are not listed in this test";
    }
}

// ---- the catalogue against real refusals ----------------------------------
// One real refusal for each message number the plug-in, the frame and the
// host can give: the estate, the command and the line the user reads. The
// two texts a refusal carries fill every placeholder of its message, and
// the line names the object the command named.
struct CatalogueCase {
    int message;
    std::string estate;
    std::vector<std::string> overrides;  // kvda set lines
    std::string command;
    std::string text;
    std::string lastWord = "";  // a last word that holds a blank
};

// clang-format off
const CatalogueCase kCatalogueCases[] = {
    {1500, "default", {}, "vkconfig storage vdisk action=blink controller=0",
     "vdisk= is required. It takes: one of 0, 1"},
    {1501, "default", {}, "vkconfig storage vdisk action=blink controller=0 vdisk=0 speed=1",
     "The parameter speed is not accepted here. Accepted: controller, vdisk"},
    {1502, "default", {}, "vkconfig storage vdisk action=fastinit controller=0 vdisk=0 force=maybe",
     "The keyword in force=maybe is not valid. Valid keywords: yes"},
    {1503, "default", {}, "vkconfig storage vdisk action=blink controller=0 vdisk=x",
     "The value in vdisk=x is not valid. Expected: a number from 0 to 4294967295"},
    {1504, "default", {}, "vkconfig storage connector action=jump controller=0 connector=0",
     "The action jump is not valid. Valid actions: rescan"},
    {1505, "default", {}, "vkconfig storage connector controller=0 connector=0",
     "No action given for connector. Valid actions: rescan"},
    {1506, "rack.json", {}, "vkreport storage tape controller=0 connector=0 tape=0:5",
     "The command vkreport storage tape is incomplete or unknown. It takes: controller=<number>; controller=<number> connector=<number>; controller=<number> tape=<disk>"},
    {1507, "default", {}, "vkconfig storage controller action=changedrivecache controller=0",
     "The action changedrivecache needs one of: protocol, readpolicy, writepolicy"},
    {1508, "default", {}, "vkreport storage pdisk controller=0 bogus",
     "The word bogus is not understood here. Expected: name=value words"},
    {1509, "default", {}, "vkreport storage pdsk",
     "The object pdsk is not known. Did you mean pdisk?"},
    {1510, "default", {}, "vkconfig storage zzzzzz",
     "The object zzzzzz is not known. Objects: controller, vdisk, cachecade, adisk, pdisk, tape, connector, nvmeadapter, enclosure, globalinfo, battery, pciessd, tarncache, partition, tarncachedisk"},
    {1511, "default", {}, "vkreport sytem version",
     "The word sytem is not known here. Did you mean system?"},
    {1512, "default", {}, "vkreport qqqqqq version",
     "The word qqqqqq is not known here. Valid words: system, servermodule, storage"},
    {1513, "default", {}, "vkconfig storage vdisk action=blnk controller=0 vdisk=0",
     "The action blnk is not valid. Did you mean blink?"},
    {1590, kNoAgent, {}, "vkreport storage controller",
     kNoAgentText},
    {1600, "default", {}, "vkconfig storage vdisk action=blink controller=5 vdisk=0",
     "Controller 5 was not found or is busy with automatic configuration. Valid controllers: 0, 1, 2"},
    {1601, "default", {}, "vkconfig storage connector action=rescan controller=0 connector=4",
     "Connector or NVMe adapter 4 was not found. Valid ones: 0"},
    {1601, "default", {}, "vkreport storage nvmeadapter controller=2 nvmeid=9",
     "Connector or NVMe adapter 9 was not found. Valid ones: 0"},
    {1601, "default", {}, "vkreport storage nvmeadapter controller=0 nvmeid=0",
     "Connector or NVMe adapter 0 was not found. Valid ones: None - There are no NVMe adapters on this controller."},
    {1602, "default", {}, "vkconfig storage pdisk action=blink controller=0 pdisk=0:0:20",
     "Physical disk 0:0:20 was not found. Valid physical disks: 0:0:0, 0:0:1, 0:0:2, 0:0:3, 0:0:4, 0:0:5, 0:0:6, 0:0:7, 0:0:8, 0:0:9, 0:0:10"},
    {1604, "default", {}, "vkconfig storage vdisk action=blink controller=0 vdisk=7",
     "Virtual disk 7 was not found. Valid virtual disks: 0, 1"},
    {1605, "default", {}, "vkconfig storage enclosure action=blink controller=0 enclosure=0:5",
     "Enclosure 0:5 was not found. Valid enclosures: 0:0"},
    {1605, "default", {}, "vkconfig storage enclosure action=blink controller=1 enclosure=0:0",
     "Enclosure 0:0 was not found. Valid enclosures: None - There are no enclosures on this controller."},
    {1606, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 raid=r5 size=abc",
     "The size abc is not a number."},
    {1607, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 raid=r5 size=10x",
     "The size 10x has a unit that is not known. Use b, m or g."},
    {1609, "default", {"controller=0 RAIDLevelsMask=110"}, "vkconfig storage controller action=createvdisk controller=0 raid=r5 size=max pdisk=0:0:7,0:0:8,0:0:9",
     "RAID level r5 cannot be used on this controller. Valid levels: r0, r1"},
    {1610, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 readpolicy=ara",
     "Read policy ara cannot be used on this controller. Valid read policies: ra, nra"},
    {1611, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 writepolicy=wc",
     "Write policy wc cannot be used on this controller. Valid write policies: wb, wt, fwb"},
    {1612, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 cachepolicy=c",
     "Cache policy c cannot be used on this controller. Valid cache policies: d"},
    {1613, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 stripesize=8kb",
     "Stripe size 8kb cannot be used on this controller. Valid stripe sizes: 64kb, 128kb, 256kb, 512kb, 1mb"},
    {1614, "default", {}, "vkconfig storage controller action=enablealarm controller=0",
     "The action enablealarm is not supported by this object."},
    {1615, "default", {}, "vkconfig storage vdisk action=cancelcheckconsistency controller=0 vdisk=0",
     "The action cancelcheckconsistency is not possible in the object's present state."},
    {1616, "rack.json", {}, "vkreport storage enclosure controller=0 enclosure=0:1 info=fans index=9",
     "Fan 9 was not found in this enclosure. Valid fans: 0, 1"},
    {1616, "default", {}, "vkreport storage enclosure controller=0 enclosure=0:0 info=fans index=1",
     "Fan 1 was not found in this enclosure. Valid fans: None - There are no fans in this enclosure."},
    {1617, "rack.json", {}, "vkreport storage enclosure controller=0 enclosure=0:1 info=temps index=9",
     "Temperature probe 9 was not found in this enclosure. Valid probes: 0"},
    {1617, "default", {}, "vkreport storage enclosure controller=2 enclosure=0:0 info=temps index=1",
     "Temperature probe 1 was not found in this enclosure. Valid probes: 0"},
    {1618, "rack.json", {}, "vkreport storage enclosure controller=0 enclosure=0:1 info=pwrsupplies index=9",
     "Power supply 9 was not found in this enclosure. Valid power supplies: 0, 1"},
    {1619, "rack.json", {}, "vkreport storage enclosure controller=0 enclosure=0:1 info=emms index=9",
     "Enclosure management module 9 was not found in this enclosure. Valid modules: 0"},
    {1620, "default", {}, "vkconfig storage battery action=startlearn controller=0 battery=5",
     "Battery 5 was not found. Valid batteries: 0"},
    {1621, "default", {}, "vkconfig storage vdisk action=rename controller=0 vdisk=0 name=bad.name",
     "The name bad.name is not valid: [A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces."},
    {1621, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 name=abcdefghijklmnopqrst",
     "The name abcdefghijklmnopqrst is not valid: Names with minimum name length of 1, maximum name length of 15"},
    {1622, "default", {}, "vkconfig storage vdisk action=blink controller=1 vdisk=0",
     "Controller 1 has no virtual disks."},
    {1623, "large", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r50 size=max spanlength=3 pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25,1:1:26",
     "The size limits of the virtual disk could not be obtained from the controller."},
    {1624, "default", {}, "vkconfig storage enclosure action=setalltempprobes controller=0 enclosure=0:0 minwarn=0 maxwarn=45",
     "The temperature warning thresholds minwarn=0, maxwarn=45 are not valid. Valid thresholds: minwarn (1, 10), maxwarn (30, 50)"},
    {1625, "rack.json", {}, "vkconfig storage enclosure action=setassettag controller=0 enclosure=0:1 assettag=bad.tag",
     "The asset tag bad.tag is not valid. It may hold: [A-Z,a-z,0-9,-,_]"},
    {1626, "rack.json", {}, "vkconfig storage enclosure action=setassetname controller=0 enclosure=0:1 assetname=bad.name",
     "The asset name bad.name is not valid. It may hold: [A-Z,a-z,0-9,-,_]"},
    {1627, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 raid=r5 pdisk=0:0:0",
     "The disks 0:0:0 cannot be added to this virtual disk. Usable disks: None - no valid adisks found"},
    {1628, "default", {}, "vkreport storage battery controller=1 battery=0",
     "Battery 0 was not found: this controller has no battery."},
    {1629, "default", {}, "vkconfig storage vdisk action=assigndedicatedhotspare controller=0 vdisk=1 pdisk=0:0:9 assign=yes",
     "The disks 0:0:9 cannot become dedicated hot spares of this virtual disk. Usable disks: None - no valid adisks found"},
    {1630, "default", {}, "vkconfig storage vdisk action=rename controller=0 vdisk=0 name=abcdefghijklmnopqrst",
     "The name abcdefghijklmnopqrst is too long: at most 15 characters."},
    {1631, "large", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r50 size=max pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25",
     "A RAID-50 virtual disk needs a span length (spanlength=)."},
    {1632, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=max spanlength=3 pdisk=0:0:7,0:0:8,0:0:9,0:0:10",
     "The span length 3 does not suit this RAID level and number of disks."},
    {1635, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r1 size=max pdisk=0:0:7,0:0:8,0:0:9",
     "A RAID-1 virtual disk needs exactly two disks."},
    {1636, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r5 size=max pdisk=0:0:7,0:0:8",
     "A RAID-5 virtual disk needs at least three disks."},
    {1637, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=max pdisk=0:0:7,0:0:8,0:0:9",
     "A RAID-10 virtual disk needs an even number of disks, four or more."},
    {1638, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r50 size=max spanlength=3 pdisk=0:0:7,0:0:8,0:0:9,0:0:10",
     "A RAID-50 virtual disk needs at least six disks."},
    {1638, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r50 size=max spanlength=3 pdisk=0:0:7,0:0:8,0:0:9,0:0:10",
     "A RAID-50 virtual disk needs at least six disks."},
    {1639, "default", {}, "vkconfig storage vdisk action=rename controller=0 vdisk=0 name=Data",
     "The name Data is already used by another virtual disk of this controller."},
    {1640, "rack.json", {"controller=0 enclosure=0:1 AssetTag=A1"}, "vkconfig storage enclosure action=setassettag controller=0 enclosure=0:1 assettag=A1",
     "The enclosure already carries the asset tag A1."},
    {1641, "rack.json", {"controller=0 enclosure=0:1 AssetName=N1"}, "vkconfig storage enclosure action=setassetname controller=0 enclosure=0:1 assetname=N1",
     "The enclosure already carries the asset name N1."},
    {1642, "full", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:6",
     "The controller already holds its largest number of virtual disks (2)."},
    {1646, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=1m pdisk=0:0:7",
     "The size is out of range: give from 100.00 MB to 983040.00 MB."},
    {1647, "default", {}, "vkconfig storage enclosure action=setalltempprobes controller=0 enclosure=0:0 minwarn=5 maxwarn=45",
     "The temperature warning thresholds already have these values."},
    {1648, "default", {}, "vkconfig storage controller action=setrebuildrate controller=0 rate=30",
     "The rebuild rate already has this value."},
    {1650, "default", {}, "vkconfig storage globalinfo action=servicerequest controller=0 vdisk=0 writepolicy=wc",
     "This action is not available for this controller."},
    {1651, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r5 size=max spanlength=3 pdisk=0:0:7,0:0:8,0:0:9",
     "A span length is taken only by RAID-10, RAID-50 and RAID-60."},
    {1652, "default", {}, "vkconfig storage vdisk action=changepolicy controller=0 vdisk=0 readpolicy=ra",
     "The virtual disk already has this read policy."},
    {1653, "default", {}, "vkconfig storage vdisk action=changepolicy controller=0 vdisk=1 writepolicy=wb",
     "The virtual disk already has this write policy."},
    {1654, "default", {}, "vkconfig storage vdisk action=changepolicy controller=0 vdisk=1 cachepolicy=d",
     "The virtual disk already has this cache policy."},
    {1655, "default", {"controller=0 battery=0 MaxLearnDelay="}, "vkconfig storage battery action=delaylearn controller=0 battery=0 days=1",
     "A present value could not be read from the data agent; nothing was changed."},
    {1656, "default", {}, "vkconfig storage controller action=setbgirate controller=0 rate=30",
     "The background initialization rate already has this value."},
    {1657, "default", {}, "vkconfig storage globalinfo action=service_patrolreadrate controller=0 rate=30",
     "The patrol read rate already has this value."},
    {1658, "default", {}, "vkconfig storage controller action=setreconstructrate controller=0 rate=30",
     "The reconstruct rate already has this value."},
    {1659, "default", {}, "vkconfig storage controller action=setcheckconsistencyrate controller=0 rate=30",
     "The check consistency rate already has this value."},
    {1660, "default", {}, "vkconfig storage controller action=setpatrolreadmode controller=0 mode=auto",
     "Patrol read mode auto cannot be set on this controller. Valid modes: manual, disable"},
    {1661, "default", {"controller=0 PatrolReadRate="}, "vkconfig storage globalinfo action=service_patrolreadrate controller=0 rate=40",
     "The patrol read rate of the controller could not be read."},
    {1662, "default", {}, "vkconfig storage battery action=delaylearn controller=0 battery=0 days=7 hours=1",
     "The learn cycle cannot be delayed by 7 days 1 hours: the longest delay is 7 days."},
    {1663, "rack.json", {"controller=0 enclosure=0:1 MaxAssetTagLength=4"}, "vkconfig storage enclosure action=setassettag controller=0 enclosure=0:1 assettag=ABCDEFG",
     "The asset tag ABCDEFG is too long: at most 4 characters."},
    {1664, "rack.json", {"controller=0 enclosure=0:1 MaxAssetNameLength=4"}, "vkconfig storage enclosure action=setassetname controller=0 enclosure=0:1 assetname=ABCDEFG",
     "The asset name ABCDEFG is too long: at most 4 characters."},
    {1665, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 raid=r5 size=1g",
     "The size 1g cannot be used for this reconfiguration. Valid sizes: more than the present 7730941132800 bytes"},
    {1667, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max",
     "No disks given: name them with adisk= or pdisk=."},
    {1668, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 adisk=0:0:8",
     "Name the disks with adisk= or with pdisk=, not with both."},
    {1671, "large", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r60 size=max pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25,1:1:26,1:1:27",
     "A RAID-60 virtual disk needs a span length (spanlength=)."},
    {1672, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r6 size=max pdisk=0:0:7,0:0:8,0:0:9",
     "A RAID-6 virtual disk needs at least four disks."},
    {1673, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r60 size=max spanlength=4 pdisk=0:0:7,0:0:8,0:0:9,0:0:10",
     "A RAID-60 virtual disk needs at least eight disks."},
    {1674, "default", {"controller=0 DiskCachePolicyMask=1"}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 diskcachepolicy=enabled",
     "Disk cache policy enabled cannot be used on this controller. Valid disk cache policies: unchanged"},
    {1675, "default", {}, "vkconfig storage vdisk action=changepolicy controller=0 vdisk=1 diskcachepolicy=default",
     "The virtual disk already has this disk cache policy."},
    {1676, "default", {}, "vkconfig storage vdisk action=replacememberdisk controller=0 vdisk=1 source=0:0:7 destination=0:0:8",
     "The source disk 0:0:7 cannot be replaced. Disks that can: 0:0:2, 0:0:3, 0:0:4, 0:0:5"},
    {1677, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 AbortCheckConsistencyOnError=disabled",
     "Abort check consistency on error is already disabled."},
    {1678, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 AllowRevertibleHotSpareandReplaceMember=enabled",
     "Copyback is already enabled."},
    {1679, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 AutoReplaceMemberOnPredictiveFailure=disabled",
     "Auto replace member on predictive failure is already disabled."},
    {1680, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 Loadbalance=auto",
     "Load balancing is already auto."},
    {1684, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=1m pdisk=0:0:2,0:0:3,0:0:4,0:0:5",
     "The size is out of range for a spanned virtual disk: give from 100.00 MB to 4915200.00 MB."},
    {1685, "large", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r50 size=max spanlength=2 pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25",
     "The span length 2 is too small for RAID-50: give 3 or more."},
    {1686, "large", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r60 size=max spanlength=2 pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25,1:1:26,1:1:27",
     "The span length 2 is too small for RAID-60: give 4 or more."},
    {1687, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0",
     "No controller property given: name at least one property to change."},
    {1689, "default", {"controller=0 Copyback=1"}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 AutoReplaceMemberOnPredictiveFailure=enabled",
     "Auto replace member on predictive failure cannot be enabled while copyback is off."},
    {1690, "large", {"controller=0 CtrlRaidLevel1E0RLQ0=0"}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=max spanlength=4 pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25,1:1:26,1:1:27",
     "The span length 4 cannot be used for RAID-10 on this controller."},
    {1691, "default", {}, "vkconfig storage vdisk action=replacememberdisk controller=0 vdisk=1 source=0:0:2 destination=0:0:9",
     "The destination disk 0:0:9 cannot take the member's place. Disks that can: None - no valid adisks found"},
    {1692, "default", {"controller=0 PreservedCache=1"}, "vkconfig storage controller action=discardpreservedcache controller=0",
     "Discarding the preserved cache loses its data: repeat the command with force=yes."},
    {1693, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=ghs raid=r5 hscount=17 warnlevel=1",
     "The hot spare count may be at most 16."},
    {1694, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=ghs raid=r5 hscount=2 warnlevel=4",
     "The warning level may be at most 3."},
    {1696, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=ghs raid=r5 hscount=2 warnlevel=1 includeghsinvdstate=yes",
     "includeghsinvdstate is taken only with type=dhs."},
    {1697, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=ghs hscount=2 warnlevel=1",
     "This protection policy needs a RAID level (raid=)."},
    {1698, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=dhs raid=r5 hscount=2 warnlevel=1 includeghsinvdstate=yes",
     "A dedicated hot spare policy (type=dhs) takes no RAID level."},
    {1699, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=dhs hscount=2 warnlevel=1",
     "A dedicated hot spare policy (type=dhs) needs includeghsinvdstate=."},
    {1700, "default", {}, "vkconfig storage vdisk action=assigndedicatedhotspare controller=0 vdisk=1 pdisk=0:0:0,0:0:1,0:0:2,0:0:3,0:0:4,0:0:5,0:0:6,0:0:7,0:0:8,0:0:9,0:0:10,0:0:11,0:0:12,0:0:13,0:0:14,0:0:15,0:0:16 assign=yes",
     "A virtual disk can have at most 16 dedicated hot spares."},
    {1701, "default", {"controller=0 RAIDLevelsMask=10000000000000000000"}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=max spanlength=2 pdisk=0:0:2,0:0:3,0:0:4,0:0:5",
     "The span length is not valid for a RAID-1E virtual disk."},
    {1702, "default", {"controller=0 AttributesMask=10000000000000000000"}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 diskcachepolicy=enabled",
     "Disk cache policy enabled cannot be used on this controller. Valid disk cache policies: None - No valid disk cache policies found"},
    {1703, "default", {"controller=0 SecurityMode=1"}, "vkconfig storage controller action=switchtodkm controller=0 lkmpassphrase=short",
     "The lkmpassphrase must be 8 to 32 characters long."},
    {1704, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=Abcdefgh!",
     "The passphrase must hold at least one digit."},
    {1705, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=abcdefg1!",
     "The passphrase must hold both lower-case and upper-case letters."},
    {1706, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 secureflag=maybe",
     "SecureFlag takes only the value yes, not maybe."},
    {1707, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=Abcdefg12",
     "The passphrase must hold at least one character that is neither a letter nor a digit."},
    {1708, "default", {"controller=0 AttributesMask=10000000000000000000"}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 name=Web",
     "This controller does not give names to virtual disks."},
    {1709, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=\x7fK1 passphrase=Abcdef1!",
     "The keyid must not begin with a blank or a control character."},
    {1710, "default", {}, "vkconfig storage globalinfo action=setprotectionpolicies type=dhs hscount=0 warnlevel=0 includeghsinvdstate=no",
     "With a hot spare count and warning level of 0, includeghsinvdstate must be yes."},
    {1711, "default", {}, "vkreport storage controller controller=0 info=xyz",
     "info=xyz is not a controller report. Valid values: foreignkeyids, pdslotreport"},
    {1712, "default", {"controller=0 AttributesMask=0"}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 secureflag=yes",
     "This controller cannot encrypt virtual disks."},
    {1713, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 secureflag=yes",
     "This controller has no security key: create one first."},
    {1714, "default", {"controller=0 MasterMethodMask=11111111111111111111111111111111", "controller=0 CurrentMethodMask=11111111111111111111111111111111"}, "vkconfig storage controller action=importsecureforeignconfig controller=0 passphrase=Secret",
     "The secure foreign configuration cannot be imported or unlocked on this controller."},
    {1715, "large", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=max spanlength=4 pdisk=1:1:20,1:1:21,1:1:22,1:1:23,1:1:24,1:1:25,1:1:26,1:1:27,1:1:28,1:1:29,1:1:30,1:1:31,1:1:32,1:1:33,1:1:34,1:1:35,1:1:36,1:1:37,1:1:38,1:1:39,1:1:40,1:1:41",
     "The span length 4 does not match the number of disks."},
    {1718, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 PersistentHotSpare=disabled",
     "Persistent hot spare is already disabled."},
    {1719, "default", {}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindowntimeinterval=30",
     "The spin down time already has this value."},
    {1720, "default", {}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindowntimeinterval=10",
     "The spin down time 10 is not valid: give 30 to 1440 minutes."},
    {1722, "default", {}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindownunconfigureddrives=disabled spindownhotspares=disabled",
     "The power settings already have these values."},
    {1723, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=Abcdef1! escrow=yes",
     "escrow=yes needs the escrow file (filepath=)."},
    {1724, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 raid=r1",
     "The layout r1 cannot be reached by this reconfiguration. Reachable layouts: r0, r5, r6"},
    {1725, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=0 raid=r1 pdisk=0:0:7",
     "The number of disks 3 does not suit this reconfiguration. It needs: 2 disks"},
    {1726, "default", {"controller=0 ControllerFamily=8"}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindownconfigureddrives=disabled spindownunconfigureddrives=disabled idlec=disabled spindownhotspares=disabled spindowntimeinterval=60",
     "A spin down time cannot be given when all power savings are disabled."},
    {1727, "default", {}, "vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 raid=r5",
     "The virtual disk 1 cannot be reconfigured now: it already has this RAID level; give disks to add or a larger size"},
    {1728, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=Abcdef1! escrow=no",
     "escrow takes only the value yes, not no."},
    {1729, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=Abcdef1! escrow=yes filepath=a.txt",
     "The escrow file a.txt must be an .xml file name of five characters or more."},
    {1730, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K1 passphrase=Abcdef1! filepath=keys.xml",
     "A setting that goes with the others is missing; see the usage help of the action."},
    {1731, "default", {"controller=0 enclosure=0:0 MasterMethodMask=0"}, "vkreport storage enclosure controller=0 enclosure=0:0 info=pdslotreport",
     "This enclosure has no slot report."},
    {1732, "default", {"controller=0 SecurityMode=2"}, "vkconfig storage controller action=enabledkm controller=0",
     "External key management is already in force on this controller."},
    {1733, "default", {}, "vkconfig storage controller action=rekeydkm controller=0",
     "The key can be changed only under external key management."},
    {1734, "default", {}, "vkconfig storage controller action=switchtodkm controller=0 lkmpassphrase=Abcdef1!",
     "This switch needs local key management in force."},
    {1735, "default", {"controller=0 AttributesMask=100000000000000000000000", "controller=0 MasterMethodMask=11111111111111111111111111111111", "controller=0 CurrentMethodMask=11111111111111111111111111111111"}, "vkconfig storage controller action=unlockdkmforeignconfig controller=0",
     "The key management of the controller does not allow this action."},
    {1736, "default", {}, "vkconfig storage controller action=deletesecuritykey controller=0",
     "This controller has no security key."},
    {1737, "default", {}, "vkconfig storage controller action=rekeylkm controller=0 keyid=K1 passphrase=Abcdef1! oldpassphrase=Abcdef0!",
     "The key can be changed only under local key management."},
    {1738, "default", {}, "vkreport storage cachecade controller=1",
     "Controller 1 does not support cachecades."},
    {1739, "rack.json", {}, "vkconfig storage cachecade action=blink controller=0 cachecade=5",
     "Cachecade 5 was not found. Valid cachecades: 1"},
    {1740, "default", {}, "vkconfig storage cachecade action=blink controller=0 cachecade=5",
     "Cachecade 5 was not found: this controller has no cachecades."},
    {1740, "default", {}, "vkreport storage cachecade controller=0 cachecade=5",
     "Cachecade 5 was not found: this controller has no cachecades."},
    {1741, "empty", {"controller=0 AttributesMask=1000000000000000000000000000000", "controller=0 CurrentMethodMask=11111111111111111111111111111111", "controller=0 CurrentMethodMask1=11111111111111111111111111111111", "controller=0 MasterMethodMask1=11111111111111111111111111111111"}, "vkconfig storage controller action=createcachecade controller=0 pdisk=0:0:7",
     "The disks 0:0:7 cannot form a cachecade. Usable disks: None - no valid adisks found"},
    {1742, "default", {}, "vkconfig storage controller action=createcachecade controller=0 pdisk=0:0:20",
     "The disk 0:0:20 cannot be used for this action. Usable disks: 0:0:0, 0:0:1, 0:0:2, 0:0:3, 0:0:4, 0:0:5, 0:0:6, 0:0:7, 0:0:8, 0:0:9, 0:0:10"},
    {1743, "default", {}, "vkconfig storage controller action=createcachecade controller=0 pdisk=0:0:7,0:0:7",
     "The disks 0:0:7,0:0:7 cannot be used together in a cachecade."},
    {1744, "default", {"controller=0 ControllerFamily=8", "controller=0 SpinDownHotspare=1"}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindownconfigureddrives=enabled spindownunconfigureddrives=enabled idlec=enabled spindownhotspares=enabled spinuptimeinterval=30 spinupstarttime=01:00",
     "The spin up time 30 is not valid: give 1 to 24 hours."},
    {1745, "default", {"controller=0 ControllerFamily=8"}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindownconfigureddrives=enabled spindownunconfigureddrives=enabled idlec=enabled spindownhotspares=enabled spinuptimeinterval=4 spinupstarttime=25:00",
     "The spin up start time 25:00 is not a valid time of day."},
    {1748, "default", {}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spinupstarttime=01:00",
     "Spin-up settings, spindownconfigureddrives and idlec are not taken by this controller."},
    {1749, "default", {}, "vkconfig storage controller action=createsecuritykey controller=0 keyid=K123456789012345678901234567890123 passphrase=Abcdef1!",
     "The key id may have at most 32 characters and the pass phrase 8 to 32."},
    {1750, "default", {"controller=0 AttributesMask=100000000000000000000000000"}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7",
     "This controller does not allow new virtual disks."},
    {1751, "default", {"controller=0 ControllerFamily=8"}, "vkconfig storage controller action=setpdiskpwrmanagement controller=0 spindownconfigureddrives=enabled spindownunconfigureddrives=enabled idlec=enabled spindownhotspares=enabled spinuptimeinterval=4",
     "A spin up time needs a spin up start time (spinupstarttime=)."},
    {1752, "rack.json", {}, "vkreport storage tape controller=0 tape=0:9",
     "Tape drive 0:9 was not found. Valid tape drives: 0:5"},
    {1754, "default", {}, "vkconfig storage vdisk action=disabletarncache controller=0 vdisk=0 devicename=a*b",
     "The value a*b holds a character that is not allowed."},
    {1755, "default", {}, "vkconfig storage vdisk action=disabletarncache controller=0 vdisk=0",
     "The value /dev/sda  must not begin or end with a blank.", "devicename=/dev/sda "},
    {1756, "default", {}, "vkconfig storage vdisk action=disabletarncache controller=0 vdisk=0 devicename=/dev/sdx",
     "The device name /dev/sdx does not belong to this virtual disk."},
    {1759, "rack.json", {}, "vkconfig storage tarncachedisk action=disablewithdiscard tarncachedisk=nolun",
     "Cached LUN nolun was not found. Valid cached LUNs: lun0"},
    {1760, "rack.json", {}, "vkconfig storage enclosure action=setservicetag controller=0 enclosure=0:1 servicetag=abc",
     "The service tag abc is not valid. It may hold: [A-Z,0-9]"},
    {1761, "rack.json", {"controller=0 enclosure=0:1 ServiceTag=TAG1"}, "vkconfig storage enclosure action=setservicetag controller=0 enclosure=0:1 servicetag=TAG1",
     "The enclosure already carries the service tag TAG1."},
    {1762, "default", {"controller=0 AttributesMask1=100000000"}, "vkconfig storage controller action=createvdisk controller=0 raid=r10 size=max spanlength=2 pdisk=0:0:2,0:0:3,0:0:4,0:0:5",
     "A RAID-10 virtual disk takes no span length on this controller."},
    {1764, "default", {"controller=0 AttributesMask=11101000100000000000000000000000"}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 VdPIEnabled=no",
     "VdPIEnabled takes only the value yes, not no."},
    {1765, "default", {}, "vkconfig storage controller action=createvdisk controller=0 raid=r0 size=max pdisk=0:0:7 VdPIEnabled=yes",
     "This controller does not support protection information."},
    {1771, "default", {}, "vkconfig storage globalinfo action=setremainingratedwriteendurancethreshold type=sassata threshold=200",
     "The threshold 200 is not valid: give 1 to 100."},
    {1773, "default", {}, "vkconfig storage globalinfo action=setremainingratedwriteendurancethreshold type=sassata threshold=10",
     "The threshold already has this value."},
    {1776, "default", {}, "vkconfig storage controller action=setchangecontrollerproperties controller=0 nrdiskcachepolicy=unchanged",
     "The non-RAID disk cache policy is already unchanged."},
    {1777, "default", {}, "vkconfig storage controller action=setcontrollermode controller=0 mode=raid",
     "The setting is already raid: nothing would change."},
    {1777, "default", {}, "vkconfig storage pdisk action=setarraydiskcache controller=0 pdisk=0:0:7 cache=default",
     "The setting is already default: nothing would change."},
    {1778, "default", {}, "vkconfig storage pdisk action=exportlog controller=0 pdisk=0:0:7 Filename=con",
     "The file name con is not valid."},
};
// clang-format on

// Numbers in the sources that no estate brings about, and why.
const std::map<int, std::string> kNotProducible{
    {1591, "defined for the frame, never returned"},
    {1592, "memory running out"},
    {1670, "RAID 1E comes only from the RAID 10 rewrite, whose span lengths are refused first"},
    {1695, "the frame wants hscount and warnlevel before the callback runs"},
    {1717, "every simulated controller carries every property tag"},
    {1753, "its only caller turns it into 1759"},
    {1763, "the agent answers span data for every layout it offers"},
    {1770, "the frame refuses a type keyword it does not know first"},
    {1772, "the frame refuses a mode keyword it does not know first"},
    {1774, "a busy controller is refused as 1600"},
    {1775, "a value that repeats the present setting is its keyword: 1776"},
};

void PrintTo(const CatalogueCase& c, std::ostream* os) {
    *os << c.command;
}

class CatalogueRefusal : public testing::TestWithParam<CatalogueCase> {};

TEST_P(CatalogueRefusal, FillsEveryPlaceholderAndNamesTheObject) {
    const CatalogueCase& c = GetParam();
    std::vector<std::string> command = Words(c.command);
    if (!c.lastWord.empty()) command.push_back(c.lastWord);
    const nlohmann::json doc = RunRefused(c.estate, c.overrides, command);
    ASSERT_EQ(doc.value("message", 0), c.message) << doc.dump();
    const std::string text = Catalogue().at(c.message);
    const auto args = doc.value("args", std::vector<std::string>{"", ""});
    ASSERT_EQ(args.size(), 2u);
    const bool first = text.find("%1") != std::string::npos;
    const bool second = text.find("%2") != std::string::npos;
    EXPECT_TRUE(!first || !args[0].empty()) << text;
    EXPECT_TRUE(!second || !args[1].empty()) << text;
    EXPECT_EQ(doc.value("text", ""), c.text);
}

INSTANTIATE_TEST_SUITE_P(Messages, CatalogueRefusal, testing::ValuesIn(kCatalogueCases),
                         [](const testing::TestParamInfo<CatalogueCase>& param) {
                             return std::to_string(param.param.message) + "_" +
                                    std::to_string(param.index);
                         });

TEST(Catalogue, EveryNumberTheSourcesGiveHasARealRefusal) {
    for (const int number : NumbersInCode()) {
        if (number < 1500 || number >= 1800) continue;  // usage texts
        const bool covered =
            std::any_of(std::begin(kCatalogueCases), std::end(kCatalogueCases),
                        [&](const CatalogueCase& c) { return c.message == number; });
        EXPECT_NE(covered, kNotProducible.count(number) != 0)
            << "message " << number
            << (covered ? " has a refusal and is listed as not producible"
                        : " has no refusal in kCatalogueCases");
    }
}

}  // namespace
