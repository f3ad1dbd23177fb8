// The table-driven command frame against small tables of its own and an
// in-process agent that records every request it is sent.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "clps.h"
#include "vkdb.h"

namespace {

using Strings = std::vector<std::string>;

// ---- the agent --------------------------------------------------------------
// Answers each request with one object naming the request, and a failing
// status for the requests listed in failing.
struct FakeAgent {
    std::vector<Strings> requests;
    std::set<std::string> failing;

    static char* Send(void* context, uint32_t count, const char** nvPairs) {
        auto* self = static_cast<FakeAgent*>(context);
        self->requests.emplace_back(nvPairs, nvPairs + count);
        const std::string req = nvPairs[0];
        std::string answer = "<QXStorageObject><Req>" + req + "</Req></QXStorageObject>";
        if (self->failing.count(req) != 0) {
            answer += "<SMStatus>5</SMStatus><SMMessage>no such object</SMMessage>";
        } else {
            answer += "<SMStatus>0</SMStatus>";
        }
        char* data = static_cast<char*>(std::malloc(answer.size() + 1));
        std::memcpy(data, answer.c_str(), answer.size() + 1);
        return data;
    }
    static void Free(void*, char* data) { std::free(data); }
};

// ---- the callback -----------------------------------------------------------
struct Callback {
    int calls = 0;
    int32_t result = CLPS_VALIDATE_SEND;
    std::string text1;
    std::string text2;
    std::string append;  // a pair added to the list
    Strings userWords;
    Strings listSeen;
};
Callback* g_callback = nullptr;

int32_t Validate(void*, void*, uint32_t userCount, const char** userWords, uint32_t* pNVCount,
                 const char** ppNVList, void*, void*, char* errText1, char* errText2) {
    Callback& cb = *g_callback;
    ++cb.calls;
    cb.userWords.assign(userWords, userWords + userCount);
    cb.listSeen.assign(ppNVList, ppNVList + *pNVCount);
    if (!cb.append.empty()) ppNVList[(*pNVCount)++] = CLPSNVKeepString(cb.append.c_str());
    std::snprintf(errText1, CLPS_ERR_TEXT_SIZE, "%s", cb.text1.c_str());
    std::snprintf(errText2, CLPS_ERR_TEXT_SIZE, "%s", cb.text2.c_str());
    return cb.result;
}

// ---- the tables -------------------------------------------------------------
// clang-format off
constexpr CLPSNVParamRow kDisk[] = {
    {"controller", "GlobalNo=",  CLPS_VT_UINT, CLPS_USE_REQUIRED, nullptr,       0},
    {"adisk",      "adisk=",     CLPS_VT_DISK, CLPS_USE_REQUIRED, "5:31,1:4:31", 0},
    {"Filename",   "FileName=",  CLPS_VT_TEXT, CLPS_USE_OPTIONAL, nullptr,       0},
};
constexpr CLPSNVParamRow kAssign[] = {
    {"controller", "GlobalNo=",  CLPS_VT_UINT, CLPS_USE_REQUIRED,    nullptr, 0},
    {"assign",     "set=yes",    CLPS_VT_TEXT, CLPS_USE_REQ_KEYWORD, "yes",   0},
    {"assign",     "set=no",     CLPS_VT_TEXT, CLPS_USE_REQ_KEYWORD, "no",    0},
    {"force",      "Force=yes",  CLPS_VT_TEXT, CLPS_USE_OPT_KEYWORD, "yes",   0},
};
constexpr CLPSNVParamRow kLearn[] = {
    {"controller", "GlobalNo=",  CLPS_VT_UINT, CLPS_USE_REQUIRED, nullptr, 0},
    {"battery",    "BatteryID=", CLPS_VT_UINT, CLPS_USE_REQUIRED, nullptr, 0},
    {"days",       "Days=",      CLPS_VT_UINT, CLPS_USE_GROUP,    "7",     0},
    {"hours",      "Hours=",     CLPS_VT_UINT, CLPS_USE_GROUP,    "23",    0},
};
constexpr CLPSNVParamRow kRate[] = {
    {"controller", "GlobalNo=",  CLPS_VT_UINT, CLPS_USE_REQUIRED,   nullptr,     0},
    {"rate",       "Rate=",      CLPS_VT_RATE, CLPS_USE_REQUIRED,   nullptr,     0},
    {"mode",       "Mode=",      CLPS_VT_TEXT, CLPS_USE_FIXED,      "auto",      0},
    {nullptr,      "ObjType=",   CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, "partition", 0},
};
constexpr CLPSNVParamRow kCache[] = {
    {"controller", "GlobalNo=",              CLPS_VT_UINT,       CLPS_USE_REQUIRED,      nullptr,       0},
    {"pdisk",      "adisk=",                 CLPS_VT_DISK_LIST,  CLPS_USE_OPTIONAL,      "5:31,1:4:31", 0},
    {"cache",      "diskwritecachepolicy=2", CLPS_VT_TEXT,       CLPS_USE_GROUP_KEYWORD, "enabled",     0},
    {"cache",      "diskwritecachepolicy=4", CLPS_VT_TEXT,       CLPS_USE_GROUP_KEYWORD, "disabled",    0},
    {"connector",  "Channel=",               CLPS_VT_SMALL_UINT, CLPS_USE_GROUP,         nullptr,       0},
};
constexpr CLPSNVParamRow kTag[] = {
    {"controller", "GlobalNo=",  CLPS_VT_UINT,      CLPS_USE_REQUIRED, nullptr, 0},
    {"enclosure",  "Enclosure=", CLPS_VT_ENCLOSURE, CLPS_USE_REQUIRED, "5,1:4", 0},
    {"assettag",   "AssetTag=",  CLPS_VT_TEXT,      CLPS_USE_REQUIRED, nullptr, 10},
};

constexpr CLPSNVActionRow kActions[] = {
    {1, "action", "vkacmd=setBlink",      "blink",      nullptr, "kvda", kDisk,   3, nullptr, 0},
    {1, "action", "vkacmd=setAssign",     "assign",     nullptr, "kvda", kAssign, 4, nullptr, 0},
    {1, "action", "vkacmd=setDelayLearn", "delaylearn", nullptr, "kvda", kLearn,  4, nullptr, 0},
    {1, "action", "vkacmd=setRate",       "setrate",    nullptr, "kvda", kRate,   4, nullptr, 0},
    {1, "action", "vkacmd=setCache",      "setcache",   nullptr, "kvda", kCache,  5, nullptr, 0},
    {1, "action", "vkacmd=setTag",        "settag",     nullptr, "kvda", kTag,    3, nullptr, CLPS_ROW_HIDDEN},
    {1, "action", "vkacmd=doRescan",      "rescan",     nullptr, "kvda", nullptr, 0, nullptr, 0},
    {1, "action", "vkacmd=doElsewhere",   "elsewhere",  nullptr, "kvnone", nullptr, 0, nullptr, 0},
};

constexpr CLPSNVParamRow kList[] = {
    {"controller", nullptr, CLPS_VT_UINT, CLPS_USE_MUST_NOT_GIVE, nullptr, 0},
    {"vdisk",      nullptr, CLPS_VT_UINT, CLPS_USE_MUST_NOT_GIVE, nullptr, 0},
};
constexpr CLPSNVParamRow kForController[] = {
    {"controller", "GlobalNo=", CLPS_VT_UINT, CLPS_USE_MUST_GIVE,     nullptr, 0},
    {"vdisk",      nullptr,     CLPS_VT_UINT, CLPS_USE_MUST_NOT_GIVE, nullptr, 0},
};
constexpr CLPSNVParamRow kMembers[] = {
    {"controller", "GlobalNo=",        CLPS_VT_UINT, CLPS_USE_REQUIRED,  nullptr, 0},
    {"vdisk",      "LogicalDriveNum=", CLPS_VT_UINT, CLPS_USE_MUST_GIVE, nullptr, 0},
};
constexpr CLPSNVParamRow kProbes[] = {
    {"controller", "GlobalNo=", CLPS_VT_UINT, CLPS_USE_REQUIRED, nullptr, 0},
    {"info",       "info=",     CLPS_VT_TEXT, CLPS_USE_REQUIRED, nullptr, 0},
    {"index",      "Index=",    CLPS_VT_UINT, CLPS_USE_OPTIONAL, "6",     0},
};

constexpr CLPSNVActionRow kReport[] = {
    {6, nullptr, "vkacmd=getList",          nullptr, nullptr, "kvda", kList,          2, "sm/cli/List.xsl",  0},
    {6, nullptr, "vkacmd=getForController", nullptr, nullptr, "kvda", kForController, 2, "sm/cli/List.xsl",  0},
    {6, nullptr, "vkacmd=getMembers",       nullptr, nullptr, "kvda", kMembers,       2, "sm/cli/Disk.xsl",  0},
    {6, nullptr, "vkacmd=getSpans",         nullptr, nullptr, "kvda", kMembers,       2, "sm/cli/Disk.xsl",  0},
    {8, "info",  "vkacmd=getTemps",         "temps", nullptr, "kvda", kProbes,        3, "sm/cli/Temps.xsl", 0},
    {8, "info",  "vkacmd=getFans",          "fans",  nullptr, "kvda", kProbes,        3, "sm/cli/Fans.xsl",  0},
    {8, "info",  "vkacmd=getDebug",         "debug", nullptr, "kvda", kProbes,        3, nullptr,            CLPS_ROW_HIDDEN},
};
// clang-format on

// ---- running the frame ------------------------------------------------------
struct ResponseDeleter {
    void operator()(CLPSResponse* r) const { CLPSFreeResponse(r); }
};
using ResponsePtr = std::unique_ptr<CLPSResponse, ResponseDeleter>;

Strings RequestOf(const CLPSResponse* r) {
    return r->ppRequest != nullptr ? Strings(r->ppRequest, r->ppRequest + r->requestCount)
                                   : Strings();
}

class FrameTest : public ::testing::Test {
  public:
    void SetUp() override {
        ASSERT_EQ(VKDBPluginInstallAgent("kvda", FakeAgent::Send, FakeAgent::Free, &agent_), 0);
        g_callback = &callback_;
    }
    void TearDown() override {
        VKDBPluginRemoveAgent("kvda");
        CLPSSetHostFlags(0);
        g_callback = nullptr;
    }

    template <size_t N>
    ResponsePtr Run(const CLPSNVActionRow (&table)[N], const Strings& words,
                    CLPSNVValidateFunc validate = Validate, const char* object = "thing") {
        Strings argv = {N > 0 && table[0].kind == 1 ? "vkconfig" : "vkreport", "storage", object};
        argv.insert(argv.end(), words.begin(), words.end());
        std::vector<const char*> ptrs;
        for (const std::string& s : argv) ptrs.push_back(s.c_str());
        return ResponsePtr(CLPSNVCmdConfigFunc(static_cast<uint32_t>(ptrs.size()), ptrs.data(),
                                               6997, 6998, table, N, "kvclp.xsl", validate));
    }

    FakeAgent agent_;
    Callback callback_;
};

void ExpectMessage(const CLPSResponse* r, uint32_t msgId, const std::string& arg1,
                   const std::string& arg2) {
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_MESSAGE);
    EXPECT_EQ(r->msgId, msgId);
    EXPECT_STREQ(r->msgArg1 != nullptr ? r->msgArg1 : "", arg1.c_str());
    EXPECT_STREQ(r->msgArg2 != nullptr ? r->msgArg2 : "", arg2.c_str());
}

// ---- configuration rows: what is sent ------------------------------------------
struct SendCase {
    Strings words;
    Strings sent;
};

TEST_F(FrameTest, ActionRowsSendTheirPairs) {
    const SendCase cases[] = {
        {{"action=blink", "controller=0", "adisk=0:1"},
         {"vkacmd=setBlink", "GlobalNo=0", "adisk=0:1"}},
        // The action keyword is compared without regard to case; pairs keep
        // the table's order, not the user's.
        {{"adisk=1:4:31", "ACTION=Blink", "controller=2", "filename=/tmp/x.log"},
         {"vkacmd=setBlink", "GlobalNo=2", "adisk=1:4:31", "FileName=/tmp/x.log"}},
        // Keyword rows send their complete pair.
        {{"action=assign", "controller=0", "assign=YES"},
         {"vkacmd=setAssign", "GlobalNo=0", "set=yes"}},
        {{"action=assign", "controller=0", "assign=no", "force=yes"},
         {"vkacmd=setAssign", "GlobalNo=0", "set=no", "Force=yes"}},
        {{"action=delaylearn", "controller=0", "battery=1", "hours=23"},
         {"vkacmd=setDelayLearn", "GlobalNo=0", "BatteryID=1", "Hours=23"}},
        {{"action=delaylearn", "controller=0", "battery=1", "days=7", "hours=0"},
         {"vkacmd=setDelayLearn", "GlobalNo=0", "BatteryID=1", "Days=7", "Hours=0"}},
        // Fixed rows are sent whatever the user gave.
        {{"action=setrate", "controller=0", "rate=100"},
         {"vkacmd=setRate", "GlobalNo=0", "Rate=100", "Mode=auto", "ObjType=partition"}},
        {{"action=setrate", "controller=0", "rate=0", "mode=manual"},
         {"vkacmd=setRate", "GlobalNo=0", "Rate=0", "Mode=auto", "ObjType=partition"}},
        {{"action=setcache", "controller=1", "pdisk=0:1,0:2:3", "cache=Disabled"},
         {"vkacmd=setCache", "GlobalNo=1", "adisk=0:1,0:2:3", "diskwritecachepolicy=4"}},
        {{"action=setcache", "controller=1", "connector=255"},
         {"vkacmd=setCache", "GlobalNo=1", "Channel=255"}},
        // A hidden row is accepted.
        {{"action=settag", "controller=0", "enclosure=0:1", "assettag=0123456789"},
         {"vkacmd=setTag", "GlobalNo=0", "Enclosure=0:1", "AssetTag=0123456789"}},
        {{"action=settag", "controller=0", "enclosure=3", "assettag=a"},
         {"vkacmd=setTag", "GlobalNo=0", "Enclosure=3", "AssetTag=a"}},
        {{"action=rescan"}, {"vkacmd=doRescan"}},
    };
    for (const SendCase& c : cases) {
        SCOPED_TRACE(c.words.front() + " " + c.words.back());
        agent_.requests.clear();
        ResponsePtr r = Run(kActions, c.words);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, CLPS_RESP_XML);
        ASSERT_EQ(agent_.requests.size(), 1u);
        EXPECT_EQ(agent_.requests[0], c.sent);
        EXPECT_EQ(RequestOf(r.get()), c.sent);
        EXPECT_STREQ(r->pStyleSheet, "kvclp.xsl");
        EXPECT_EQ(std::string(r->pDataBuf),
                  "<RESPONSE><QXStorageObject><Req>" + c.sent[0] +
                      "</Req></QXStorageObject><SMStatus>0</SMStatus></RESPONSE>");
    }
}

// ---- the frame's refusals -------------------------------------------------------
struct RefusalCase {
    Strings words;
    uint32_t msgId;
    std::string arg1;
    std::string arg2;
};

void RunRefusals(FrameTest* test, const std::vector<RefusalCase>& cases,
                 ResponsePtr (*run)(FrameTest*, const Strings&), FakeAgent& agent) {
    (void)test;
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(c.words.empty() ? std::string("(no words)") : c.words.back());
        agent.requests.clear();
        ResponsePtr r = run(test, c.words);
        ExpectMessage(r.get(), c.msgId, c.arg1, c.arg2);
        EXPECT_TRUE(agent.requests.empty());
        EXPECT_STREQ(r->pStyleSheet, "kvclp.xsl");
    }
}

constexpr const char* kNumber = "a number from 0 to 4294967295";
constexpr const char* kDiskForm = "a disk identifier n:n or n:n:n";

TEST_F(FrameTest, ValuesOfEachTypeAreCheckedBeforeTheCallback) {
    const std::vector<RefusalCase> cases = {
        // Unsigned numbers, with the row's largest value where it gives one.
        {{"action=blink", "controller=x", "adisk=0:1"}, 1503, "controller=x", kNumber},
        {{"action=blink", "controller=-1", "adisk=0:1"}, 1503, "controller=-1", kNumber},
        {{"action=blink", "controller=4294967296", "adisk=0:1"},
         1503,
         "controller=4294967296",
         kNumber},
        {{"action=blink", "controller=", "adisk=0:1"}, 1503, "controller=", kNumber},
        {{"action=delaylearn", "controller=0", "battery=0", "days=8"},
         1503,
         "days=8",
         "a number from 0 to 7"},
        {{"action=delaylearn", "controller=0", "battery=0", "hours=24"},
         1503,
         "hours=24",
         "a number from 0 to 23"},
        {{"action=setcache", "controller=0", "connector=256"},
         1503,
         "connector=256",
         "a number from 0 to 255"},
        // Rates.
        {{"action=setrate", "controller=0", "rate=101"}, 1503, "rate=101", "a rate from 0 to 100"},
        {{"action=setrate", "controller=0", "rate=5%"}, 1503, "rate=5%", "a rate from 0 to 100"},
        // Disk identifiers: two or three colon-separated numbers.
        {{"action=blink", "controller=0", "adisk=5"}, 1503, "adisk=5", kDiskForm},
        {{"action=blink", "controller=0", "adisk=0:1:2:3"}, 1503, "adisk=0:1:2:3", kDiskForm},
        {{"action=blink", "controller=0", "adisk=0::1"}, 1503, "adisk=0::1", kDiskForm},
        {{"action=blink", "controller=0", "adisk=a:1"}, 1503, "adisk=a:1", kDiskForm},
        {{"action=blink", "controller=0", "adisk=0:1,0:2"}, 1503, "adisk=0:1,0:2", kDiskForm},
        // Lists of them.
        {{"action=setcache", "controller=0", "pdisk=0:1,,0:2", "cache=enabled"},
         1503,
         "pdisk=0:1,,0:2",
         "a comma-separated list of disk identifiers n:n or n:n:n"},
        {{"action=setcache", "controller=0", "pdisk=0:1,", "cache=enabled"},
         1503,
         "pdisk=0:1,",
         "a comma-separated list of disk identifiers n:n or n:n:n"},
        // Enclosure identifiers: one or two numbers.
        {{"action=settag", "controller=0", "enclosure=0:1:2", "assettag=a"},
         1503,
         "enclosure=0:1:2",
         "an enclosure identifier n or n:n"},
        // Texts within the row's length.
        {{"action=settag", "controller=0", "enclosure=0", "assettag=01234567890"},
         1503,
         "assettag=01234567890",
         "a text of 1 to 10 characters"},
        // Keywords: only those listed, all of them named.
        {{"action=assign", "controller=0", "assign=maybe"}, 1502, "assign=maybe", "yes, no"},
        {{"action=assign", "controller=0", "assign=yes", "force=no"}, 1502, "force=no", "yes"},
        {{"action=setcache", "controller=0", "cache=default"},
         1502,
         "cache=default",
         "enabled, disabled"},
    };
    RunRefusals(
        this, cases, [](FrameTest* t, const Strings& w) { return t->Run(kActions, w); }, agent_);
    EXPECT_EQ(callback_.calls, 0);
}

TEST_F(FrameTest, IdentifierShapesAreNotLimits) {
    // The numbers in "5:31,1:4:31" are not limits: real slot numbers pass.
    for (const char* disk : {"0:300", "65:1:4000", "0:0"}) {
        agent_.requests.clear();
        ResponsePtr r =
            Run(kActions, {"action=blink", "controller=0", std::string("adisk=") + disk});
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, CLPS_RESP_XML) << disk;
        EXPECT_EQ(agent_.requests.size(), 1u) << disk;
    }
}

TEST_F(FrameTest, FrameRefusalsNameTheParameterAndTheValidChoices) {
    const std::vector<RefusalCase> cases = {
        {{"action=blink", "adisk=0:1"}, 1500, "controller", kNumber},
        {{"action=blink", "controller=0"}, 1500, "adisk", kDiskForm},
        {{"action=assign", "controller=0"}, 1500, "assign", "yes, no"},
        {{"action=blink", "controller=0", "adisk=0:1", "speed=9"},
         1501,
         "speed",
         "controller, adisk, Filename"},
        {{"action=rescan", "controller=0"},
         1501,
         "controller",
         "None - this command takes no parameters"},
        {{"action=blink", "controller=0", "adisk=0:1", "stray"}, 1508, "stray", "name=value words"},
        {{"action=blink", "stray", "controller=0", "adisk=0:1"}, 1508, "stray", "name=value words"},
        {{"action=blink", "controller=0", "controller=1", "adisk=0:1"},
         1501,
         "controller",
         "controller once only"},
        // A near miss is pointed at; hidden rows are accepted but never listed.
        {{"action=blnk"}, 1513, "blnk", "blink"},
        {{"action=setcach"}, 1513, "setcach", "setcache"},
        {{"action=dance"},
         1504,
         "dance",
         "blink, assign, delaylearn, setrate, setcache, rescan, elsewhere"},
        {{"controller=0"},
         1505,
         "thing",
         "blink, assign, delaylearn, setrate, setcache, rescan, elsewhere"},
        {{"action=delaylearn", "controller=0", "battery=0"}, 1507, "delaylearn", "days, hours"},
        {{"action=setcache", "controller=0", "pdisk=0:1"}, 1507, "setcache", "cache, connector"},
    };
    RunRefusals(
        this, cases, [](FrameTest* t, const Strings& w) { return t->Run(kActions, w); }, agent_);
    // The agent of the row is not there: the loader's reason names its file.
    ResponsePtr r = Run(kActions, {"action=elsewhere"});
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->msgId, 1590u);
    EXPECT_STREQ(r->msgArg1, "kvnone");
    const std::string why = r->msgArg2 != nullptr ? r->msgArg2 : "";
    const std::string agents = VKDBPluginAgentDir();
    EXPECT_EQ(why.rfind("cannot load the agent module " + agents, 0), 0u) << why;
    EXPECT_NE(why.find("kvnone"), std::string::npos) << why;
}

// ---- the callback ---------------------------------------------------------------
TEST_F(FrameTest, CallbackSeesTheUserWordsAndTheListAndMayAppend) {
    callback_.append = "CLI=true";
    ResponsePtr r = Run(kActions, {"action=blink", "controller=0", "adisk=0:1"});
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(callback_.calls, 1);
    EXPECT_EQ(callback_.userWords, (Strings{"action=blink", "controller=0", "adisk=0:1"}));
    EXPECT_EQ(callback_.listSeen, (Strings{"vkacmd=setBlink", "GlobalNo=0", "adisk=0:1"}));
    ASSERT_EQ(agent_.requests.size(), 1u);
    EXPECT_EQ(agent_.requests[0],
              (Strings{"vkacmd=setBlink", "GlobalNo=0", "adisk=0:1", "CLI=true"}));
}

TEST_F(FrameTest, CallbackRefusalComesBackWithItsNumberAndTexts) {
    const struct {
        int32_t result;
        std::string text1;
        std::string text2;
    } cases[] = {
        {1600, "7", "0, 1"},
        {1602, "0:9", "None - There are no physical disks on this controller."},
        {1614, "", ""},
    };
    for (const auto& c : cases) {
        agent_.requests.clear();
        callback_.result = c.result;
        callback_.text1 = c.text1;
        callback_.text2 = c.text2;
        ResponsePtr r = Run(kActions, {"action=blink", "controller=7", "adisk=0:9"});
        ExpectMessage(r.get(), static_cast<uint32_t>(c.result), c.text1, c.text2);
        EXPECT_TRUE(agent_.requests.empty());
    }
    // A full 2,048-byte list of disk ids comes back whole; what is longer
    // than the buffers is cut to them.
    callback_.result = 1602;
    for (const size_t length : {size_t{2047}, size_t{CLPS_ERR_TEXT_SIZE + 100}}) {
        callback_.text2 = std::string(length, 'x');
        ResponsePtr r = Run(kActions, {"action=blink", "controller=7", "adisk=0:9"});
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(std::strlen(r->msgArg2), std::min<size_t>(length, CLPS_ERR_TEXT_SIZE - 1));
    }
}

// Checks that know an estate of controllers 0 and 1, each with virtual
// disks 0 and 1, as the plug-in's callbacks do: an identifier given that is
// not there is refused with the ones that are.
int32_t KnowsTheEstate(void*, void*, uint32_t userCount, const char** userWords, uint32_t*,
                       const char**, void*, void*, char* errText1, char* errText2) {
    constexpr std::pair<const char*, int32_t> kChecked[] = {{"controller=", 1600},
                                                            {"vdisk=", 1604}};
    for (const auto& [name, refusal] : kChecked) {
        for (uint32_t i = 0; i < userCount; ++i) {
            const std::string word = userWords[i];
            if (word.rfind(name, 0) != 0) continue;
            const std::string value = word.substr(std::strlen(name));
            if (value == "0" || value == "1") continue;
            std::snprintf(errText1, CLPS_ERR_TEXT_SIZE, "%s", value.c_str());
            std::snprintf(errText2, CLPS_ERR_TEXT_SIZE, "0, 1");
            return refusal;
        }
    }
    return CLPS_VALIDATE_SEND;
}

TEST_F(FrameTest, AMissingIdentifierIsNamedWithTheOnesThatExist) {
    const std::vector<RefusalCase> actions = {
        {{"action=blink", "adisk=0:1"}, 1500, "controller", "one of 0, 1"},
        // The checks know no disks: the form is all the frame can say.
        {{"action=blink", "controller=1"}, 1500, "adisk", kDiskForm},
    };
    RunRefusals(
        this, actions,
        [](FrameTest* t, const Strings& w) { return t->Run(kActions, w, KnowsTheEstate); }, agent_);
    // A report line that would fit a row but for an identifier it lacks is
    // refused for that identifier, before any check of what was given.
    const std::vector<RefusalCase> reports = {
        {{"vdisk=7"}, 1500, "controller", "one of 0, 1"},
        {{"info=fans", "index=2"}, 1500, "controller", "one of 0, 1"},
        {{"vdisk=1"}, 1500, "controller", "one of 0, 1"},
    };
    RunRefusals(
        this, reports,
        [](FrameTest* t, const Strings& w) { return t->Run(kReport, w, KnowsTheEstate, "rep"); },
        agent_);
}

TEST_F(FrameTest, ObjectsNameAMissingChoiceBeforeTheFrameDoes) {
    // A missing keyword choice or property group reaches the callback, whose
    // own number wins; had it let the command through, the frame refuses
    // (the refusal cases above) and nothing is sent either way.
    const std::pair<Strings, int32_t> cases[] = {
        {{"action=assign", "controller=0"}, 1692},
        {{"action=delaylearn", "controller=0", "battery=0"}, 1687},
    };
    for (const auto& [words, result] : cases) {
        agent_.requests.clear();
        callback_.result = result;
        ResponsePtr r = Run(kActions, words);
        ExpectMessage(r.get(), static_cast<uint32_t>(result), "", "");
        EXPECT_TRUE(agent_.requests.empty());
    }
}

TEST_F(FrameTest, NoCallbackSendsAsTheTableSays) {
    ResponsePtr r = Run(kActions, {"action=rescan"}, nullptr);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_XML);
    EXPECT_EQ(agent_.requests.size(), 1u);
}

TEST_F(FrameTest, KeptStringsLiveOnlyDuringTheFrameCall) {
    EXPECT_EQ(CLPSNVKeepString("x"), nullptr);
}

// ---- dry run ----------------------------------------------------------------------
TEST_F(FrameTest, DryRunRunsTheCallbackAndSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    callback_.append = "CLI=true";
    ResponsePtr r = Run(kActions, {"action=setrate", "controller=0", "rate=40"});
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_DRYRUN);
    EXPECT_EQ(callback_.calls, 1);
    EXPECT_TRUE(agent_.requests.empty());
    EXPECT_EQ(RequestOf(r.get()), (Strings{"vkacmd=setRate", "GlobalNo=0", "Rate=40", "Mode=auto",
                                           "ObjType=partition", "CLI=true"}));
    // A refusal is still a refusal.
    callback_.result = 1615;
    ResponsePtr refused = Run(kActions, {"action=setrate", "controller=0", "rate=40"});
    ExpectMessage(refused.get(), 1615, "", "");
}

// ---- usage help -----------------------------------------------------------------
TEST_F(FrameTest, UsageIsGeneratedFromTheTableWithoutHiddenRows) {
    // clang-format off
    constexpr CLPSNVActionRow table[] = {
        {1, "action", "vkacmd=setAssign", "assign", nullptr, "kvda", kAssign, 4, nullptr, 0},
        {1, "action", "vkacmd=setTag",    "settag", nullptr, "kvda", kTag,    3, nullptr, CLPS_ROW_HIDDEN},
        {1, "action", "vkacmd=setRate",   "setrate", nullptr, "kvda", kRate,  4, nullptr, 0},
        {1, "action", "vkacmd=setCache",  "setcache", nullptr, "kvda", kCache, 5, nullptr, 0},
    };
    // clang-format on
    ResponsePtr r = Run(table, {"help"});
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_USAGE);
    EXPECT_EQ(r->msgId, 6997u);
    ASSERT_NE(r->pUsageXML, nullptr);
    EXPECT_EQ(std::string(r->pUsageXML),
              "<Usage object=\"thing\">"
              "<Action name=\"assign\">"
              "<Param name=\"controller\" required=\"yes\" type=\"number\"></Param>"
              "<Param name=\"assign\" required=\"yes\" type=\"text\"><Keyword>yes</Keyword>"
              "<Keyword>no</Keyword></Param>"
              "<Param name=\"force\" required=\"no\" type=\"text\"><Keyword>yes</Keyword></Param>"
              "</Action>"
              "<Action name=\"setrate\">"
              "<Param name=\"controller\" required=\"yes\" type=\"number\"></Param>"
              "<Param name=\"rate\" required=\"yes\" type=\"rate\"></Param>"
              "</Action>"
              "<Action name=\"setcache\">"
              "<Param name=\"controller\" required=\"yes\" type=\"number\"></Param>"
              "<Param name=\"pdisk\" required=\"no\" type=\"disklist\"></Param>"
              "<Param name=\"cache\" required=\"no\" type=\"text\"><Keyword>enabled</Keyword>"
              "<Keyword>disabled</Keyword></Param>"
              "<Param name=\"connector\" required=\"no\" type=\"number\"></Param>"
              "</Action>"
              "</Usage>");
    EXPECT_TRUE(agent_.requests.empty());
    EXPECT_EQ(callback_.calls, 0);
}

TEST_F(FrameTest, ReportUsageListsTheParametersTheRowsTake) {
    ResponsePtr r = Run(kReport, {"-?"}, Validate, "rep");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_USAGE);
    EXPECT_EQ(std::string(r->pUsageXML),
              "<Usage object=\"rep\">"
              "<Param name=\"controller\" required=\"no\" type=\"number\"></Param>"
              "<Param name=\"vdisk\" required=\"no\" type=\"number\"></Param>"
              "<Param name=\"info\" required=\"no\" type=\"text\"><Keyword>temps</Keyword>"
              "<Keyword>fans</Keyword></Param>"
              "<Param name=\"index\" required=\"no\" type=\"number\"></Param>"
              "</Usage>");
}

// ---- several candidate tables ----------------------------------------------------------
// A handler that picks its table by the command line: the chosen table
// serves, help and descriptions take every candidate.
TEST_F(FrameTest, CandidateTablesServeOneAndDescribeAll) {
    // clang-format off
    constexpr CLPSNVActionRow blink[] = {
        {1, "action", "vkacmd=setBlink", "blink", nullptr, "kvda", kDisk, 3, nullptr, 0},
    };
    constexpr CLPSNVActionRow service[] = {
        {1, "action", "vkacmd=doRescan", "rescan", nullptr, "kvda", nullptr, 0, nullptr, CLPS_ROW_HIDDEN},
        {1, "action", "vkacmd=setRate",  "setrate", nullptr, "kvda", kRate, 4, nullptr, 0},
    };
    // clang-format on
    const CLPSNVTable tables[] = {{blink, 1, Validate}, {service, 2, nullptr}};
    struct Case {
        Strings words;
        uint32_t chosen;
        uint32_t flags;
        uint32_t kind;
        Strings sent;
        int callbacks;
    };
    const Case cases[] = {
        {{"action=blink", "controller=0", "adisk=0:1"},
         0,
         0,
         CLPS_RESP_XML,
         {"vkacmd=setBlink", "GlobalNo=0", "adisk=0:1"},
         1},
        {{"action=rescan"}, 1, 0, CLPS_RESP_XML, {"vkacmd=doRescan"}, 0},
        // Only the chosen table serves.
        {{"action=rescan"}, 0, 0, CLPS_RESP_MESSAGE, {}, 0},
        {{"-?"}, 0, 0, CLPS_RESP_USAGE, {}, 0},
        {{"action=blink", "controller=0", "adisk=0:1"},
         0,
         CLPS_HOST_DESCRIBE,
         CLPS_RESP_DESCRIBE,
         {},
         0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.words.front());
        agent_.requests.clear();
        callback_.calls = 0;
        CLPSSetHostFlags(c.flags);
        Strings argv = {"vkconfig", "storage", "thing"};
        argv.insert(argv.end(), c.words.begin(), c.words.end());
        std::vector<const char*> ptrs;
        for (const std::string& w : argv) ptrs.push_back(w.c_str());
        ResponsePtr r(CLPSNVCmdConfigFuncTables(static_cast<uint32_t>(ptrs.size()), ptrs.data(),
                                                6997, 6998, tables, 2, c.chosen, "kvclp.xsl"));
        CLPSSetHostFlags(0);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, c.kind);
        EXPECT_EQ(agent_.requests,
                  c.sent.empty() ? std::vector<Strings>{} : std::vector<Strings>{c.sent});
        EXPECT_EQ(callback_.calls, c.callbacks);
        const std::string listing = r->pUsageXML != nullptr         ? r->pUsageXML
                                    : r->kind == CLPS_RESP_DESCRIBE ? r->pDataBuf
                                                                    : "";
        if (c.kind == CLPS_RESP_USAGE) {
            EXPECT_NE(listing.find("<Action name=\"blink\">"), std::string::npos) << listing;
            EXPECT_NE(listing.find("<Action name=\"setrate\">"), std::string::npos) << listing;
            EXPECT_EQ(listing.find("rescan"), std::string::npos) << listing;
        }
        if (c.kind == CLPS_RESP_DESCRIBE) {
            for (const char* action : {"blink", "rescan", "setrate"})
                EXPECT_NE(listing.find(std::string("name=\"") + action + "\""), std::string::npos)
                    << listing;
        }
    }
}

// The description says what the frame reads in each row: parameters with
// their form and keywords, fixed pairs, selectors and what a report row
// must not be given.
TEST_F(FrameTest, DescriptionFollowsTheRows) {
    // clang-format off
    constexpr CLPSNVActionRow table[] = {
        {1, "action", "vkacmd=setAssign", "assign",  nullptr, "kvda", kAssign, 4, nullptr, CLPS_ROW_HIDDEN},
        {1, "action", "vkacmd=setRate",   "setrate", nullptr, "kvda", kRate,   4, nullptr, 0},
        {8, "info",   "vkacmd=getTemps",  "temps",   nullptr, "kvda", kProbes, 3, "sm/cli/Temps.xsl", 0},
        {6, nullptr,  "vkacmd=getList",   nullptr,   nullptr, "kvda", kList,   2, nullptr, 0},
    };
    // clang-format on
    CLPSSetHostFlags(CLPS_HOST_DESCRIBE);
    ResponsePtr r = Run(table, {"action=assign"});
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_DESCRIBE);
    EXPECT_EQ(std::string(r->pDataBuf),
              "<Tables usage=\"6997\" second=\"6998\" stylesheet=\"kvclp.xsl\">"
              "<Action name=\"assign\" request=\"vkacmd=setAssign\" agent=\"kvda\" hidden=\"yes\">"
              "<Param name=\"controller\" type=\"number\" valueType=\"7\" required=\"yes\" "
              "group=\"no\" sends=\"GlobalNo=\" form=\"a number from 0 to 4294967295\" "
              "maxLength=\"0\"></Param>"
              "<Param name=\"assign\" type=\"text\" valueType=\"1\" required=\"yes\" group=\"no\">"
              "<Keyword value=\"yes\" sends=\"set=yes\"/><Keyword value=\"no\" sends=\"set=no\"/>"
              "</Param>"
              "<Param name=\"force\" type=\"text\" valueType=\"1\" required=\"no\" group=\"no\">"
              "<Keyword value=\"yes\" sends=\"Force=yes\"/></Param></Action>"
              "<Action name=\"setrate\" request=\"vkacmd=setRate\" agent=\"kvda\" hidden=\"no\">"
              "<Param name=\"controller\" type=\"number\" valueType=\"7\" required=\"yes\" "
              "group=\"no\" sends=\"GlobalNo=\" form=\"a number from 0 to 4294967295\" "
              "maxLength=\"0\"></Param>"
              "<Param name=\"rate\" type=\"rate\" valueType=\"19\" required=\"yes\" group=\"no\" "
              "sends=\"Rate=\" form=\"a rate from 0 to 100\" maxLength=\"0\"></Param>"
              "<Fixed sends=\"Mode=auto\"/><Fixed sends=\"ObjType=partition\"/></Action>"
              "<Report request=\"vkacmd=getTemps\" agent=\"kvda\" hidden=\"no\" "
              "stylesheet=\"sm/cli/Temps.xsl\" selector=\"info\" value=\"temps\">"
              "<Param name=\"controller\" type=\"number\" valueType=\"7\" required=\"yes\" "
              "group=\"no\" sends=\"GlobalNo=\" form=\"a number from 0 to 4294967295\" "
              "maxLength=\"0\"></Param>"
              "<Param name=\"info\" type=\"text\" valueType=\"1\" required=\"yes\" group=\"no\" "
              "sends=\"info=\" form=\"a text\" maxLength=\"0\"></Param>"
              "<Param name=\"index\" type=\"number\" valueType=\"7\" required=\"no\" group=\"no\" "
              "sends=\"Index=\" form=\"a number from 0 to 4294967295\" maxLength=\"0\"></Param>"
              "</Report>"
              "<Report request=\"vkacmd=getList\" agent=\"kvda\" hidden=\"no\" "
              "stylesheet=\"kvclp.xsl\"><Forbidden name=\"controller\"/>"
              "<Forbidden name=\"vdisk\"/></Report>"
              "</Tables>");
    EXPECT_TRUE(agent_.requests.empty());
    EXPECT_EQ(callback_.calls, 0);
}

// ---- report rows ---------------------------------------------------------------------
struct ReportCase {
    Strings words;
    std::vector<Strings> sent;
    std::string styleSheet;
};

TEST_F(FrameTest, ReportRowsAreChosenByPresenceRulesAndSelectors) {
    const ReportCase cases[] = {
        {{}, {{"vkacmd=getList"}}, "sm/cli/List.xsl"},
        {{"controller=3"}, {{"vkacmd=getForController", "GlobalNo=3"}}, "sm/cli/List.xsl"},
        // Rows sharing their rules are all sent.
        {{"controller=0", "vdisk=2"},
         {{"vkacmd=getMembers", "GlobalNo=0", "LogicalDriveNum=2"},
          {"vkacmd=getSpans", "GlobalNo=0", "LogicalDriveNum=2"}},
         "sm/cli/Disk.xsl"},
        {{"controller=0", "info=Fans"},
         {{"vkacmd=getFans", "GlobalNo=0", "info=Fans"}},
         "sm/cli/Fans.xsl"},
        {{"controller=0", "info=temps", "index=6"},
         {{"vkacmd=getTemps", "GlobalNo=0", "info=temps", "Index=6"}},
         "sm/cli/Temps.xsl"},
        // A hidden selector row takes the handler's stylesheet.
        {{"controller=0", "info=debug"},
         {{"vkacmd=getDebug", "GlobalNo=0", "info=debug"}},
         "kvclp.xsl"},
    };
    for (const ReportCase& c : cases) {
        SCOPED_TRACE(c.sent.front().front());
        agent_.requests.clear();
        ResponsePtr r = Run(kReport, c.words, Validate, "rep");
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, CLPS_RESP_XML);
        EXPECT_EQ(agent_.requests, c.sent);
        EXPECT_STREQ(r->pStyleSheet, c.styleSheet.c_str());
    }
}

TEST_F(FrameTest, AnswersOfSeveralRowsAreJoinedIntoOneDocument) {
    ResponsePtr r = Run(kReport, {"controller=0", "vdisk=2"}, Validate, "rep");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(std::string(r->pDataBuf),
              "<RESPONSE><QXStorageObject><Req>vkacmd=getMembers</Req></QXStorageObject>"
              "<QXStorageObject><Req>vkacmd=getSpans</Req></QXStorageObject>"
              "<SMStatus>0</SMStatus></RESPONSE>");
    EXPECT_EQ(RequestOf(r.get()), (Strings{"vkacmd=getMembers", "GlobalNo=0", "LogicalDriveNum=2",
                                           "vkacmd=getSpans", "GlobalNo=0", "LogicalDriveNum=2"}));
    EXPECT_EQ(callback_.calls, 2);

    // The first failing status is the document's status.
    agent_.failing = {"vkacmd=getSpans"};
    r = Run(kReport, {"controller=0", "vdisk=2"}, Validate, "rep");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(std::string(r->pDataBuf),
              "<RESPONSE><QXStorageObject><Req>vkacmd=getMembers</Req></QXStorageObject>"
              "<QXStorageObject><Req>vkacmd=getSpans</Req></QXStorageObject>"
              "<SMStatus>5</SMStatus><SMMessage>no such object</SMMessage></RESPONSE>");

    // A dry run lists every request that would have been sent.
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    agent_.requests.clear();
    r = Run(kReport, {"controller=0", "vdisk=2"}, Validate, "rep");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_DRYRUN);
    EXPECT_EQ(RequestOf(r.get()).size(), 6u);
    EXPECT_TRUE(agent_.requests.empty());
}

TEST_F(FrameTest, ReportRefusals) {
    const std::vector<RefusalCase> cases = {
        {{"speed=1"}, 1501, "speed", "controller, vdisk, info, index"},
        {{"info=temps"}, 1500, "controller", kNumber},
        {{"controller=0", "info=xyz"}, 1502, "info=xyz", "temps, fans"},
        // A report row's "6" is a format pattern, not a limit: only the shape counts.
        {{"controller=0", "info=temps", "index=x7"},
         1503,
         "index=x7",
         "a number from 0 to 4294967295"},
        {{"controller=0", "vdisk=1", "info=temps"},
         1506,
         "vkreport storage rep",
         "(no parameters); controller=<number>; controller=<number> vdisk=<number>; "
         "info=temps controller=<number>; info=fans controller=<number>"},
    };
    RunRefusals(
        this, cases,
        [](FrameTest* t, const Strings& w) { return t->Run(kReport, w, Validate, "rep"); }, agent_);
}

TEST_F(FrameTest, WithoutAMatchingRowTheCallbackSpeaksFirst) {
    callback_.result = 1711;
    callback_.text1 = "xyz";
    callback_.text2 = "foreignkeyids, pdslotreport";
    ResponsePtr r = Run(kReport, {"controller=0", "info=xyz"}, Validate, "rep");
    ExpectMessage(r.get(), 1711, "xyz", "foreignkeyids, pdslotreport");
    EXPECT_EQ(callback_.listSeen, Strings{});
}

// ---- table check ------------------------------------------------------------------------
TEST_F(FrameTest, TableCheckFindsWhatTheFrameCannotServe) {
    char problem[256];
    EXPECT_EQ(CLPSNVCheckTable(kActions, std::size(kActions), problem, sizeof problem), 0)
        << problem;
    EXPECT_EQ(CLPSNVCheckTable(kReport, std::size(kReport), problem, sizeof problem), 0) << problem;

    // clang-format off
    constexpr CLPSNVParamRow twiceKeyword[] = {
        {"cache", "p=1", CLPS_VT_TEXT, CLPS_USE_OPT_KEYWORD, "on", 0},
        {"cache", "p=2", CLPS_VT_TEXT, CLPS_USE_OPT_KEYWORD, "ON", 0},
    };
    constexpr CLPSNVParamRow noKeyword[] = {
        {"cache", "p=1", CLPS_VT_TEXT, CLPS_USE_REQ_KEYWORD, nullptr, 0},
    };
    constexpr CLPSNVParamRow badType[] = {
        {"size", "Size=", 0x42, CLPS_USE_REQUIRED, nullptr, 0},
    };
    constexpr CLPSNVParamRow badForm[] = {
        {"adisk", "adisk=", CLPS_VT_DISK, CLPS_USE_REQUIRED, "5:,1", 0},
    };
    constexpr CLPSNVParamRow fixedNoValue[] = {
        {nullptr, "ObjType=", CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, nullptr, 0},
    };
    constexpr CLPSNVParamRow reportUsage[] = {
        {"size", "Size=", CLPS_VT_UINT, CLPS_USE_MUST_GIVE, nullptr, 0},
    };
    constexpr CLPSNVParamRow namedAction[] = {
        {"action", "Action=", CLPS_VT_TEXT, CLPS_USE_REQUIRED, nullptr, 0},
    };
    constexpr CLPSNVParamRow typedTwice[] = {
        {"size", "Size=",   CLPS_VT_UINT, CLPS_USE_REQUIRED, nullptr, 0},
        {"size", "Length=", CLPS_VT_UINT, CLPS_USE_OPTIONAL, nullptr, 0},
    };
    constexpr CLPSNVParamRow emptyParam[] = {
        {"size", "Size=", CLPS_VT_UINT, CLPS_USE_REQUIRED, nullptr, 0},
        {},
    };
    const struct {
        CLPSNVActionRow rows[2];
        const char* expected;
    } cases[] = {
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", twiceKeyword, 2, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "keyword \"ON\" listed twice"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", noKeyword, 1, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "a keyword row needs its keyword"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", badType, 1, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "unknown value type 66"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", badForm, 1, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "malformed identifier form"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", fixedNoValue, 1, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "a fixed row needs its output and value"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", nullptr, 0, nullptr, 0},
          {1, "action", "vkacmd=b", "X", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "action listed twice"},
        {{{3, "action", "vkacmd=a", "x", nullptr, "kvda", nullptr, 0, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "unknown row kind 3"},
        {{{1, "action", "getA", "x", nullptr, "kvda", nullptr, 0, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "the request must begin with \"vkacmd=\""},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", nullptr, 0, nullptr, 0}, {}},
         "row 1: an empty row"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", nullptr, 0, nullptr, 0x1},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "unknown row flags 1"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", reportUsage, 1, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "usage 18 belongs to report rows"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", namedAction, 1, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "a parameter named like the action key"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", typedTwice, 2, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "size (Length=): listed twice"},
        {{{1, "action", "vkacmd=a", "x", nullptr, "kvda", emptyParam, 2, nullptr, 0},
          {1, "action", "vkacmd=b", "y", nullptr, "kvda", nullptr, 0, nullptr, 0}},
         "parameter 1 (fixed) (): an empty row"},
        {{{8, "info", "vkacmd=a", "temps", nullptr, "kvda", nullptr, 0, "a.xsl", 0},
          {8, "INFO", "vkacmd=b", "Temps", nullptr, "kvda", nullptr, 0, "b.xsl", 0}},
         "selector value listed twice"},
        {{{6, "info", "vkacmd=a", nullptr, nullptr, "kvda", nullptr, 0, "a.xsl", 0},
          {6, nullptr, "vkacmd=b", nullptr, nullptr, "kvda", nullptr, 0, "b.xsl", 0}},
         "a report row has no key"},
    };
    // clang-format on
    for (const auto& c : cases) {
        problem[0] = '\0';
        EXPECT_NE(CLPSNVCheckTable(c.rows, 2, problem, sizeof problem), 0) << c.expected;
        EXPECT_NE(std::string(problem).find(c.expected), std::string::npos) << problem;
    }
}

}  // namespace
