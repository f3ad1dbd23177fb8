// Rendered output of the storage reports, run end to end: the built
// vkreport with the real plug-in and the simulated agent on a test estate,
// compared with the expected text kept beside each command. Also: the
// report stylesheets on answers the host never renders itself (failures),
// text against JSON, a large estate, and the message catalogue against the
// numbers the code returns.
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <libexslt/exslt.h>
#include <libxml/parser.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
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

namespace fs = std::filesystem;

namespace {

const fs::path kBin = VK_TEST_BIN_DIR;
const fs::path kShare = VK_TEST_SHARE_DIR;
const fs::path kHere = VK_TEST_CASES_DIR;
const fs::path kSources = VK_TEST_SOURCE_DIR;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> Words(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string w; in >> w;) words.push_back(w);
    return words;
}

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string Drain(int fd) {
    std::string text;
    std::array<char, 8192> buffer{};
    for (ssize_t n; (n = read(fd, buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<size_t>(n));
    close(fd);
    return text;
}

// Runs a program of the build tree; standard error goes through a file so
// that neither pipe can fill up while the other is read.
Result RunProgram(const std::vector<std::string>& argv) {
    Result result;
    int out[2];
    if (pipe(out) != 0) return result;
    char errName[] = "/tmp/vk-render-err-XXXXXX";
    const int errFd = mkstemp(errName);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], 1);
        dup2(errFd, 2);
        close(out[0]);
        std::vector<char*> args;
        for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execv((kBin / argv[0]).c_str(), args.data());
        _exit(127);
    }
    close(out[1]);
    result.out = Drain(out[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    close(errFd);
    result.err = ReadFile(errName);
    unlink(errName);
    return result;
}

// Configuration commands need administrator rights: the group the test runs
// in is made the administrators' group.
void GrantAdministratorRights(const fs::path& dir) {
    const group* own = getgrgid(getegid());
    std::ofstream(dir / "host.conf")
        << "admin_group=" << (own != nullptr ? own->gr_name : "root") << "\n";
    setenv("VK_HOST_CONF", (dir / "host.conf").c_str(), 1);
}

// A private agent state, trace directory, share directory and host
// configuration for one test.
class Estate {
  public:
    explicit Estate(const std::string& profile) {
        char name[] = "/tmp/vk-render-XXXXXX";
        dir_ = mkdtemp(name);
        setenv("KVDA_STATE", (dir_ / "kvda.db").c_str(), 1);
        setenv("SystemRoot", dir_.c_str(), 1);
        setenv("VK_SHARE_DIR", kShare.c_str(), 1);
        // The simulated clock stands still, so running operations keep the
        // progress the estate gives them.
        setenv("KVDA_TIME_SCALE", "0", 1);
        GrantAdministratorRights(dir_);
        // A test estate file beside the cases, else a profile of the share.
        const fs::path own = kHere / "estates" / profile;
        const std::string chosen = fs::exists(own) ? own.string() : profile;
        const Result init = RunProgram({"kvda", "init", "--profile", chosen, "--force"});
        if (init.exitCode != 0) ADD_FAILURE() << "kvda init " << chosen << ": " << init.err;
    }
    ~Estate() {
        std::error_code ignored;
        fs::remove_all(dir_, ignored);
    }
    Estate(const Estate&) = delete;
    Estate& operator=(const Estate&) = delete;

  private:
    fs::path dir_;
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

// Runs the refusal's command as JSON (a configuration command as a dry run,
// so that nothing is sent even if a check lets it through) and compares
// what the user is shown.
void ExpectRefusal(const Refusal& r) {
    SCOPED_TRACE(r.command);
    const Estate estate(r.estate);
    for (const std::string& line : r.overrides) {
        std::vector<std::string> words = Words("kvda set " + line);
        const Result set = RunProgram(words);
        ASSERT_EQ(set.exitCode, 0) << line << ": " << set.err;
    }
    std::vector<std::string> command = Words(r.command);
    command.insert(command.begin() + 1, "--format=json");
    if (command.front() == "vkconfig") command.insert(command.begin() + 1, "--dry-run");
    const Result run = RunProgram(command);
    const nlohmann::json doc = nlohmann::json::parse(run.out, nullptr, false);
    ASSERT_FALSE(doc.is_discarded()) << run.out << run.err;
    EXPECT_EQ(doc.value("status", ""), "refused") << run.out;
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

TEST_P(RenderCase, PrintsExpectedText) {
    const Case& c = GetParam();
    ASSERT_FALSE(c.command.empty()) << c.name << ".case has no command";
    const Estate estate(c.estate);
    const Result r = RunProgram(c.command);
    const std::string expected = ReadFile(kHere / "cases" / (c.name + ".expected"));
    EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
    EXPECT_EQ(c.onStderr ? r.err : r.out, expected) << "standard error: " << r.err;
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

// Every disk of a large estate gets its block, in answer order, quickly.
TEST(LargeEstate, RendersEveryDisk) {
    const Estate estate("large");
    const auto start = std::chrono::steady_clock::now();
    const Result text = RunProgram({"vkreport", "storage", "pdisk", "controller=0"});
    const auto took = std::chrono::steady_clock::now() - start;
    const Result doc =
        RunProgram({"vkreport", "--format=json", "storage", "pdisk", "controller=0"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    const size_t objects = nlohmann::json::parse(doc.out)["objects"].size();
    EXPECT_GT(objects, 100u);
    EXPECT_EQ(TextIds(text.out).size(), objects);
    EXPECT_LT(std::chrono::duration_cast<std::chrono::seconds>(took).count(), 10);
}

// ---- stylesheets applied directly ----------------------------------------
std::string Transform(const std::string& sheet, const std::string& xml,
                      const std::string& program = "vkreport") {
    exsltRegisterAll();
    xsltStylesheetPtr style =
        xsltParseStylesheetFile(reinterpret_cast<const xmlChar*>((kShare / sheet).c_str()));
    if (style == nullptr) return "<unusable stylesheet " + sheet + ">";
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
    {1590, 1}, {1591, 1}, {1592, 0},
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
    {1775, 1}, {1776, 1}, {1777, 0}, {1778, 1},
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

}  // namespace
