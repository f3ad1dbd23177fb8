// Requests sent to the agent, buffer failures, missing answers and the
// validators that ask one question each.
#include <functional>

#include "da_fixture.h"

namespace {

using datest::DaTest;
using datest::Objects;
using datest::RequestList;

const std::string kLongId(300, '7');

struct RequestCase {
    const char* label;
    std::function<void()> call;
    RequestList expected;
};

class RequestsSent : public DaTest {};

TEST_F(RequestsSent, EachQueryNamesItsRequestIdentifiersAndCliFlag) {
    char out[256];
    std::string list;
    // clang-format off
    const std::vector<RequestCase> cases = {
        {"controller list",      [&] { IsUserControllerIdValid("0", list); },                                {"vkacmd=getControllerList"}},
        {"layout for OCE",       [&] { IsUserVDLayoutValidForOCE("0", "1", "64"); },                         {"vkacmd=getVirtualDisksForController", "GlobalNo=0", "CLI=true"}},
        {"layout long id",       [&] { IsUserVDLayoutValidForOCE("0123456789ABCDEF", "1", "64"); },          {"vkacmd=getVirtualDisksForController", "GlobalNo=012345678", "CLI=true"}},
        {"learn delay",          [&] { IsDelayLearnWithinMaxLearnDelay("0", "1", "1", "0", out, 8); },       {"vkacmd=getBattery", "GlobalNo=0", "BatteryID=1", "CLI=true"}},
        {"raid levels",          [&] { GetSupportedRaidLevelsForController("2", out, sizeof out); },         {"vkacmd=getSupportedRaidLevelsForController", "GlobalNo=2", "CLI=true"}},
        {"raid levels long id",  [&] { GetSupportedRaidLevelsForController("0123456789ABCDEF", out, 8); },   {"vkacmd=getSupportedRaidLevelsForController", "GlobalNo=012345678", "CLI=true"}},
        {"rebuild rate",         [&] { GetRebuildRateForController("1", out); },                             {"vkacmd=getController", "GlobalNo=1", "CLI=true"}},
        {"tag of controller",    [&] { GetTagValueForController("3", "Name", out, 256); },                   {"vkacmd=getController", "GlobalNo=3", "CLI=true"}},
        {"tag of battery",       [&] { GetTagValueForBattery("0", "2", "State", out, 256); },                {"vkacmd=getBattery", "GlobalNo=0", "BatteryID=2", "CLI=true"}},
        {"reader long id",       [&] { GetSmarterForControllerWithSize(kLongId.c_str(), out, 8); },          {"vkacmd=getController", "GlobalNo=" + kLongId.substr(0, 245), "CLI=true"}},
        {"battery long ids",     [&] { GetTagValueForBattery(kLongId.c_str(), kLongId.c_str(), "X", out, 8); },
                                 {"vkacmd=getBattery", "GlobalNo=" + kLongId.substr(0, 245), "BatteryID=" + kLongId.substr(0, 244), "CLI=true"}},
    };
    // clang-format on
    size_t seen = 0;
    for (const RequestCase& c : cases) {
        c.call();
        ASSERT_EQ(agent.Requests().size(), seen + 1) << c.label;
        EXPECT_EQ(agent.Requests().back(), c.expected) << c.label;
        seen = agent.Requests().size();
    }
}

TEST_F(RequestsSent, FieldsAreCutLikeFixedBuffers) {
    const da::Request request = da::Request(da::vkacmd.getBattery)
                                    .Field("GlobalNo", "0123456789ABCDEF", 19)
                                    .Field("BatteryID", nullptr, 255)
                                    .Pair("adisk", "0:1:2")
                                    .Cli();
    const RequestList expected = {"vkacmd=getBattery", "GlobalNo=012345678",
                                  "BatteryID=", "adisk=0:1:2", "CLI=true"};
    EXPECT_EQ(request.Entries(), expected);
    EXPECT_EQ(request.Entries()[1].size(), 18u);
}

struct AllocFailCase {
    const char* label;
    std::function<int32_t()> call;
    const char* line;
    size_t requestsSent;  // 1 when the function asks before it allocates
};

TEST_F(DaTest, BufferFailureGives272AndNamesTheFunction) {
    char out[64];
    std::string list;
    agent.Answer("getControllerList", Objects({"<GlobalNo>0</GlobalNo>"}));
    agent.Answer("getVirtualDisksForController", Objects({"<LogicalDriveNum>0</LogicalDriveNum>"}));
    agent.Answer("getBattery", Objects({"<MaxLearnDelay>168</MaxLearnDelay>"}));
    agent.Answer("getController", Objects({"<RebuildRate>30</RebuildRate>"}));
    // clang-format off
    const std::vector<AllocFailCase> cases = {
        {"controller list", [&] { return IsUserControllerIdValid("0", list); },                          "IsUserControllerIdValid: OCSXAllocBuf failed",             0},
        {"layout for OCE",  [&] { return IsUserVDLayoutValidForOCE("0", "0", "64"); },                   "IsUserVDLayoutValidForOCE: OCSXAllocBuf failed",           0},
        {"learn delay",     [&] { return IsDelayLearnWithinMaxLearnDelay("0", "0", "1", 0, out, 8); },   "IsDelayLearnWithinMaxLearnDelay: OCSXAllocBuf failed",     1},
        {"rebuild rate",    [&] { return GetRebuildRateForController("0", out); },                       "GetRebuildRateForController: OCSXAllocBuf failed",         1},
        {"rebuild sized",   [&] { return GetRebuildRateForControllerWithSize("0", out, 8); },            "GetRebuildRateForControllerWithSize: OCSXAllocBuf failed", 1},
        {"copyback",        [&] { return GetCopybackForControllerWithSize("0", out, 8); },               "GetCopybackForControllerWithSize: OCSXAllocBuf failed",    1},
        {"loadbalance",     [&] { return GetLoadbalanceForControllerWithSize("0", out, 8); },            "GetLoadbalanceForControllerWithSize: OCSXAllocBuf failed", 1},
        {"smarter",         [&] { return GetSmarterForControllerWithSize("0", out, 8); },                "GetSmarterForControllerWithSize: OCSXAllocBuf failed",     1},
        {"controller tag",  [&] { return GetTagValueForController("0", "RebuildRate", out, 8); },        "GetTagValueForController: OCSXAllocBuf failed",            1},
        {"battery tag",     [&] { return GetTagValueForBattery("0", "0", "MaxLearnDelay", out, 8); },    "GetTagValueForBattery: OCSXAllocBuf failed",               1},
        {"controller name", [&] { return GetControllerNameFromUserInput("0", out); },                    "GetControllerNameFromUserInput: OCSXAllocBuf failed",      1},
    };
    // clang-format on
    for (const AllocFailCase& c : cases) {
        datest::TraceCapture trace(3);
        const size_t before = agent.Requests().size();
        int32_t status = 0;
        {
            datest::NoXmlBuffers noBuffers;
            status = c.call();
        }
        EXPECT_EQ(status, 272) << c.label;
        // The line has no line feed of its own: the exit line follows on it.
        EXPECT_NE(trace.Text().find(std::string(c.line) + "KVCLP:EXIT"), std::string::npos)
            << c.label << "\n"
            << trace.Text();
        EXPECT_EQ(agent.Requests().size() - before, c.requestsSent) << c.label;
    }
}

struct NoAnswerCase {
    const char* label;
    std::function<int32_t()> call;
    int32_t withoutAnswer;  // agent answers null
    int32_t emptyAnswer;    // agent answers ""
};

TEST_F(DaTest, MissingOrEmptyAnswersAreNotValidWithoutCrashing) {
    char out[64];
    std::string list;
    // clang-format off
    const std::vector<NoAnswerCase> cases = {
        {"controller list", [&] { return IsUserControllerIdValid("0", list); },                                    -1, -1},
        {"layout for OCE",  [&] { return IsUserVDLayoutValidForOCE("0", "0", "64"); },                             -1, -1},
        {"learn delay",     [&] { return IsDelayLearnWithinMaxLearnDelay("0", "0", "1", 0, out, 8); },             -1, -1},
        {"raid levels",     [&] { return static_cast<int32_t>(GetSupportedRaidLevelsForController("0", out, 64)); }, -1, 0},
        {"rebuild rate",    [&] { return GetRebuildRateForController("0", out); },                                  0,  0},
        {"copyback",        [&] { return GetCopybackForControllerWithSize("0", out, 8); },                          0,  0},
        {"controller tag",  [&] { return GetTagValueForController("0", "RebuildRate", out, 8); },                   0, -1},
        {"battery tag",     [&] { return GetTagValueForBattery("0", "0", "MaxLearnDelay", out, 8); },              -1, -1},
        {"controller name", [&] { return GetControllerNameFromUserInput("0", out); },                              -1,  0},
    };
    // clang-format on
    const char* requests[] = {"getControllerList", "getVirtualDisksForController", "getBattery",
                              "getSupportedRaidLevelsForController", "getController"};
    for (const NoAnswerCase& c : cases) {
        for (const char* r : requests) {
            agent.Answer(r, std::nullopt);
        }
        EXPECT_EQ(c.call(), c.withoutAnswer) << c.label << " without answer";
        for (const char* r : requests) {
            agent.Answer(r, "");
        }
        EXPECT_EQ(c.call(), c.emptyAnswer) << c.label << " with empty answer";
    }
}

struct ControllerCase {
    const char* user;
    int32_t status;
    const char* list;
};

TEST_F(DaTest, ControllerIsMatchedAsExactTextAndListsTheNumbersSeen) {
    agent.Answer("getControllerList",
                 Objects({"<GlobalNo>0</GlobalNo>", "<GlobalNo>1</GlobalNo>"}));
    // clang-format off
    const ControllerCase cases[] = {
        {"1",  0, "0, 1"},
        {"0",  0, "0"},     // the walk stops at the match
        {"2", -1, "0, 1"},
        {"01", -1, "0, 1"},
        {"",  -1, "0, 1"},
    };
    // clang-format on
    for (const ControllerCase& c : cases) {
        std::string list = "left over";
        EXPECT_EQ(IsUserControllerIdValid(c.user, list), c.status) << c.user;
        EXPECT_EQ(list, c.list) << c.user;
    }
}

TEST_F(DaTest, ControllerListIntoFixedTextIsCutToFit) {
    agent.Answer("getControllerList", Objects({"<GlobalNo>0</GlobalNo>", "<GlobalNo>1</GlobalNo>",
                                               "<GlobalNo>10</GlobalNo>"}));
    char list[5];
    EXPECT_EQ(IsUserControllerIdValid("10", list, sizeof list), 0);
    EXPECT_STREQ(list, "0, 1");
    char tiny[1] = {'x'};
    EXPECT_EQ(IsUserControllerIdValid("3", tiny, sizeof tiny), -1);
    EXPECT_STREQ(tiny, "");
}

struct LayoutCase {
    const char* vd;
    const char* layout;
    int32_t status;
};

TEST_F(DaTest, LayoutForCapacityExpansionComparesTheMatchingDisk) {
    agent.Answer("getVirtualDisksForController",
                 Objects({"<LogicalDriveNum>0</LogicalDriveNum><Layout>64</Layout>",
                          "<LogicalDriveNum>1</LogicalDriveNum><Layout>4</Layout>",
                          "<LogicalDriveNum>2</LogicalDriveNum>"}));
    // clang-format off
    const LayoutCase cases[] = {
        {"1", "4",   0},
        {"1", "004", 0},   // compared as numbers
        {"0", "4",  -1},
        {"2", "4",  -1},   // the disk has no layout
        {"3", "4",  -1},
        {"01", "4", -1},
    };
    // clang-format on
    for (const LayoutCase& c : cases) {
        EXPECT_EQ(IsUserVDLayoutValidForOCE("0", c.vd, c.layout), c.status)
            << c.vd << " " << c.layout;
    }
}

struct DelayCase {
    const char* days;
    const char* hours;
    int32_t status;
};

TEST_F(DaTest, LearnDelayIsDaysTimesTwentyFourPlusHoursUpToTheMaximum) {
    agent.Answer("getBattery", Objects({"<MaxLearnDelay>168</MaxLearnDelay>"}));
    // clang-format off
    const DelayCase cases[] = {
        {"0",     "0",   -1},
        {nullptr, nullptr, -1},
        {"7",     nullptr, 0},
        {"7",     "1",   -1},
        {"6",     "24",   0},
        {nullptr, "168",  0},
        {nullptr, "169", -1},
    };
    // clang-format on
    for (const DelayCase& c : cases) {
        char maxDelay[8] = "";
        EXPECT_EQ(IsDelayLearnWithinMaxLearnDelay("0", "0", c.days, c.hours, maxDelay, 8), c.status)
            << (c.days ? c.days : "-") << "d " << (c.hours ? c.hours : "-") << "h";
        EXPECT_STREQ(maxDelay, "168");
    }
    agent.Answer("getBattery", Objects({"<State>1</State>"}));
    char maxDelay[8] = "";
    EXPECT_EQ(IsDelayLearnWithinMaxLearnDelay("0", "0", "1", nullptr, maxDelay, 8), -1);
}

TEST_F(DaTest, RaidLevelsAreCopiedRawAndCutToTheBuffer) {
    agent.Answer("getSupportedRaidLevelsForController", "<Levels>0101</Levels>");
    char out[64];
    EXPECT_EQ(GetSupportedRaidLevelsForController("0", out, sizeof out), 0u);
    EXPECT_STREQ(out, "<RESPONSE><Levels>0101</Levels></RESPONSE>");
    char small[10];
    EXPECT_EQ(GetSupportedRaidLevelsForController("0", small, sizeof small), 0u);
    EXPECT_STREQ(small, "<RESPONSE");
    EXPECT_EQ(GetSupportedRaidLevelsForController("0", nullptr, 0), kDARawCopyFailed);
}

TEST_F(DaTest, EveryQueryTracesEntryAndExitUnderItsName) {
    agent.Answer("getControllerList", Objects({"<GlobalNo>0</GlobalNo>"}));
    datest::TraceCapture trace(3);
    std::string list;
    IsUserControllerIdValid("0", list);
    EXPECT_EQ(trace.Text(),
              "KVCLP:ENTRY----------->IsUserControllerIdValid\n"
              "KVCLP:EXIT------------>IsUserControllerIdValid\n");
}

}  // namespace
