// Identifier validators: exact-text matching, lists and their cuts, the
// requests they send.
#include <gtest/gtest.h>

#include "fake_agent.h"
#include "kvsup.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::FakeAgent;
using Request = std::vector<std::string>;

class Identifiers : public ::testing::Test {
  protected:
    FakeAgent agent;
};

TEST_F(Identifiers, ControllerExactTextAndBoundedList) {
    agent.On({"vkacmd=getControllerList"},
             Answer({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}, {{"GlobalNo", "10"}}}));
    agent.On({"vkacmd=getController"}, Answer({{{"AutoConfigProgressState", "0"}}}));
    struct Case {
        const char* user;
        uint32_t size;
        int32_t expected;
        const char* list;
    };
    // clang-format off
    const Case cases[] = {
        {"1",  64, 0,  "0, 1"},       // stops at the match
        {"2",  64, -1, "0, 1, 10"},
        {"01", 64, -1, "0, 1, 10"},   // text comparison
        {"10", 4,  0,  "0, "},        // cut to fit, match still found
    };
    // clang-format on
    for (const auto& c : cases) {
        char list[64] = "stale";
        EXPECT_EQ(IsUserControllerIdValidWithSize(c.user, list, c.size), c.expected) << c.user;
        EXPECT_STREQ(list, c.list) << c.user;
    }
    EXPECT_EQ(agent.RequestsNamed("getControllerList")[0], Request{"vkacmd=getControllerList"});
    EXPECT_EQ(agent.RequestsNamed("getController")[0],
              (Request{"vkacmd=getController", "GlobalNo=1", "CLI=true"}));
}

TEST_F(Identifiers, ControllerBusyWithAutomaticConfiguration) {
    agent.On({"vkacmd=getControllerList"}, Answer({{{"GlobalNo", "0"}}}));
    agent.On({"vkacmd=getController"}, Answer({{{"AutoConfigProgressState", "1"}}}));
    char list[16];
    EXPECT_EQ(IsUserControllerIdValidWithSize("0", list, sizeof list), 1774);
}

TEST_F(Identifiers, ControllerNoAnswerOrNoBuffer) {
    char list[16];
    EXPECT_EQ(IsUserControllerIdValidWithSize("0", list, sizeof list), -1);
    agent.On({"vkacmd=getControllerList"}, Answer({{{"GlobalNo", "0"}}}));
    kvsup_test::NoXmlBuffers noBuffers;
    EXPECT_EQ(IsUserControllerIdValidWithSize("0", list, sizeof list), 272);
}

TEST_F(Identifiers, UnboundedWalksListEverything) {
    agent.On({"vkacmd=getChannelsForController"},
             Answer({{{"Channel", "0"}}, {{"Channel", "1"}}, {{"Channel", "2"}}}));
    agent.On({"vkacmd=getVirtualDisksForController"},
             Answer({{{"LogicalDriveNum", "0"}, {"IsSSC", "0"}},
                     {{"LogicalDriveNum", "1"}, {"ParentVDID", "7"}, {"IsSSC", "1"}},
                     {{"LogicalDriveNum", "2"}, {"IsSSC", "1"}}}));
    agent.On({"vkacmd=getBatteriesForController"},
             Answer({{{"BatteryID", "0"}}, {{"BatteryID", "1"}}}));
    struct Case {
        const char* name;
        int32_t (*fn)(const char*, const char*, std::string&);
        const char* user;
        int32_t expected;
        const char* list;
    };
    // clang-format off
    const Case cases[] = {
        {"channel",   IsUserChannelIdValid,     "0", 0,  "0, 1, 2"},  // walks to the end
        {"channel",   IsUserChannelIdValid,     "3", -1, "0, 1, 2"},
        {"vdisk",     IsUserVirtualDiskIdValid, "1", -1, "0, 2"},     // member of another disk
        {"vdisk",     IsUserVirtualDiskIdValid, "2", 0,  "0, 2"},
        {"cachecade", IsUserCachecadeIdValid,   "0", -1, "1, 2"},
        {"cachecade", IsUserCachecadeIdValid,   "1", 0,  "1, 2"},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::string list = "stale";
        EXPECT_EQ(c.fn(c.user, "0", list), c.expected) << c.name << " " << c.user;
        EXPECT_EQ(list, c.list) << c.name << " " << c.user;
    }
    EXPECT_EQ(agent.RequestsNamed("getChannelsForController")[0],
              (Request{"vkacmd=getChannelsForController", "GlobalNo=0", "CLI=true"}));
}

TEST_F(Identifiers, NoKeyTagOrNoAnswerIsNotFound) {
    std::string list;
    EXPECT_EQ(IsUserNVMeChannelIdValid("0", "0", list), -1);
    agent.On({"vkacmd=getNVMeAdaptersForController"}, Answer({{{"Name", "x"}}}));
    EXPECT_EQ(IsUserNVMeChannelIdValid("0", "0", list), -1);
    EXPECT_EQ(list, "");
}

TEST_F(Identifiers, BatteryCountAndCut) {
    agent.On({"vkacmd=getBatteriesForController"},
             Answer({{{"BatteryID", "0"}}, {{"BatteryID", "1"}}}));
    char list[4];
    uint32_t count = 99;
    EXPECT_EQ(IsUserBatteryIdValidWithSize("1", "0", list, sizeof list, &count), 0);
    EXPECT_EQ(count, 2u);
    EXPECT_STREQ(list, "0, ");
    EXPECT_EQ(IsUserBatteryIdValidWithSize("5", "0", list, sizeof list, &count), -1);
    EXPECT_EQ(count, 2u);
}

TEST_F(Identifiers, EnclosureFormDependsOnChannelBusProtocol) {
    agent.On({"vkacmd=getChannelsForController"},
             Answer({{{"ObjID", "c0"}, {"Channel", "0"}, {"BusProtocol", "8"}},
                     {{"ObjID", "c1"}, {"Channel", "1"}, {"BusProtocol", "1"}}}));
    agent.On({"vkacmd=getEnclosuresForChannel", "Channel=0"},
             Answer({{{"ObjID", "e0"}, {"Channel", "0"}, {"EnclosureID", "1"}}}));
    agent.On({"vkacmd=getEnclosuresForChannel", "Channel=1"},
             Answer({{{"ObjID", "e1"}, {"Channel", "1"}, {"EnclosureID", "0"}}}));
    struct Case {
        const char* user;
        int32_t expected;
        uint32_t count;
        const char* list;
    };
    // clang-format off
    const Case cases[] = {
        {"0:1", 0,  0, "0:1"},
        {"0",   -1, 2, "0:1, 1"},
        {"1",   0,  0, "0:1, 1"},
        {"1:0", -1, 2, "0:1, 1"},
    };
    // clang-format on
    for (const auto& c : cases) {
        char list[64];
        uint32_t count = 99;
        EXPECT_EQ(IsUserEnclosureIdValidWithSize(c.user, "0", list, sizeof list, &count),
                  c.expected)
            << c.user;
        EXPECT_EQ(count, c.count) << c.user;
        EXPECT_STREQ(list, c.list) << c.user;
    }
    EXPECT_EQ(agent.RequestsNamed("getEnclosuresForChannel").back(),
              (Request{"vkacmd=getEnclosuresForChannel", "GlobalNo=0", "Channel=1", "CLI=true"}));
}

TEST_F(Identifiers, ArrayDiskIdsJoinedWithCommaAlone) {
    agent.On(
        {"vkacmd=getArrayDisksForController"},
        Answer({{{"Channel", "0"}, {"TargetID", "0"}}, {{"Channel", "0"}, {"TargetID", "1"}}}));
    std::string list;
    EXPECT_EQ(GetValidUserArrayDiskIds("0", list), 0);
    EXPECT_EQ(list, "0:0,0:1");
}

TEST_F(Identifiers, EnclosureComponentIndexes) {
    agent.On({"vkacmd=getEnclosureFans"}, Answer({{{"Index", "0"}}, {{"Index", "1"}}}));
    std::string list = "stale";
    EXPECT_EQ(IsUserFanIndexValid("1", "0:1", "0", list), 0);
    EXPECT_EQ(list, "0, 1");
    EXPECT_EQ(agent.Requests().back(),
              (Request{"vkacmd=getEnclosureFans", "GlobalNo=0", "Enclosure=0:1", "CLI=true"}));
    EXPECT_EQ(IsUserPwrSupplyIndexValid("0", "0:1", "0", list), -1);  // no answer
    EXPECT_EQ(list, "");
    {
        kvsup_test::NoXmlBuffers noBuffers;
        EXPECT_EQ(IsUserEmmIndexValid("0", "0:1", "0", list), 272);
    }
    EXPECT_EQ(IsUserTempProbesIndexValid("0", "0:1", "0", list), -1);
}

TEST_F(Identifiers, TemperatureLimitsComeFromTheFirstProbe) {
    agent.On({"vkacmd=getEnclosureTemperatureProbes"}, Answer({{{"Index", "0"},
                                                                {"LowEndMinWarning", "5"},
                                                                {"HighEndMinWarning", "15"},
                                                                {"LowEndMaxWarning", "40"},
                                                                {"HighEndMaxWarning", "60"},
                                                                {"MinWarning", "10"},
                                                                {"MaxWarning", "50"}},
                                                               {{"Index", "1"},
                                                                {"LowEndMinWarning", "0"},
                                                                {"HighEndMinWarning", "99"},
                                                                {"LowEndMaxWarning", "0"},
                                                                {"HighEndMaxWarning", "99"}}}));
    struct Case {
        const char* min;
        const char* max;
        int32_t expected;
        const char* minRange;
        const char* maxRange;
    };
    // clang-format off
    const Case cases[] = {
        {"5",  "60", 0,  "10",      "50"},       // both ends inclusive; present values
        {"4",  "50", -1, "(5, 15)", "(40, 60)"},
        {"10", "61", -1, "(5, 15)", "(40, 60)"},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::string minRange, maxRange;
        EXPECT_EQ(IsUserTempProbesInputValid("1", c.min, c.max, "0:1", "0", minRange, maxRange),
                  c.expected);
        EXPECT_EQ(minRange, c.minRange);
        EXPECT_EQ(maxRange, c.maxRange);
    }
}

}  // namespace
