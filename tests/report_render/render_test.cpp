// Rendered output of the storage reports, run end to end: the built
// vkreport with the real plug-in and the simulated agent on a test estate,
// compared with the expected text kept beside each command. Also: the
// report stylesheets on answers the host never renders itself (failures),
// text against JSON, a large estate, and the message catalogue against the
// numbers the code returns.
#include <fcntl.h>
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

Result RunProgram(const std::vector<std::string>& argv) {
    return vktest::RunProgram(kBin, argv);
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
