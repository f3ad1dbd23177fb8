// "vkconfig storage battery": requests sent and the callback's refusals.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;

class BatteryConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}}));
        Batteries(0x7, 0x7);
        MaxLearnDelay("168");
    }
    void Batteries(uint32_t master, uint32_t current) {
        estate.SetFor("getBatteriesForController", "0",
                      Objects({{{"BatteryID", "0"},
                                {"MasterMethodMask", Mask(master)},
                                {"CurrentMethodMask", Mask(current)}}}));
    }
    void MaxLearnDelay(const std::string& hours) {
        estate.Set("getBattery", Objects({{{"BatteryID", "0"}, {"MaxLearnDelay", hours}}}));
    }
};

TEST_F(BatteryConfigTest, EachActionSendsItsRequest) {
    const std::pair<std::string, Strings> cases[] = {
        {"action=recondition controller=0 battery=0",
         {"vkacmd=setBatteryRecondition", "GlobalNo=0", "BatteryID=0"}},
        {"action=startlearn controller=0 battery=0",
         {"vkacmd=setBatteryStartLearn", "GlobalNo=0", "BatteryID=0"}},
        {"action=delaylearn controller=0 battery=0 days=2 hours=5",
         {"vkacmd=setBatteryDelayLearn", "GlobalNo=0", "BatteryID=0", "Days=2", "Hours=5"}},
        {"action=DelayLearn controller=0 battery=0 hours=23",
         {"vkacmd=setBatteryDelayLearn", "GlobalNo=0", "BatteryID=0", "Hours=23"}},
    };
    for (const auto& [args, sent] : cases) {
        const auto r = Run("vkconfig storage battery " + args);
        EXPECT_TRUE(Sent(r.get())) << args << ": " << RefusalOf(r.get());
        EXPECT_EQ(estate.Changes(), std::vector<Strings>{sent}) << args;
    }
}

TEST_F(BatteryConfigTest, FrameRefusesDelaysBeyondTheirLargestValues) {
    for (const char* args : {"days=8", "hours=24"}) {
        const auto r = Run(std::string("vkconfig storage battery action=delaylearn controller=0 "
                                       "battery=0 ") +
                           args);
        EXPECT_EQ(RefusalOf(r.get()).msgId, CLPS_MSG_BAD_VALUE) << args;
        EXPECT_TRUE(estate.requests.empty()) << args;
    }
}

TEST_F(BatteryConfigTest, RefusesUnknownControllerAndBattery) {
    struct Case {
        std::string args;
        Refusal refusal;
    };
    const Case cases[] = {
        {"action=startlearn controller=2 battery=0", {1600, "2", "0, 1"}},
        {"action=startlearn controller=0 battery=3", {1620, "3", "0"}},
        {"action=startlearn controller=1 battery=0",
         {1620, "0", "None - There are no batteries in this controller."}},
    };
    for (const Case& c : cases) {
        const auto r = Run("vkconfig storage battery " + c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_TRUE(estate.Changes().empty()) << c.args;
    }
}

TEST_F(BatteryConfigTest, RefusesActionsTheBatteryDoesNotOffer) {
    struct Case {
        uint32_t master;
        uint32_t current;
        std::string action;
        uint32_t status;
    };
    const Case cases[] = {
        {0x6, 0x6, "recondition", 1614},
        {0x7, 0x5, "startlearn", 1615},
        {0x3, 0x3, "delaylearn days=1", 1614},
        {0x4, 0x0, "delaylearn days=1", 1615},
    };
    for (const Case& c : cases) {
        Batteries(c.master, c.current);
        const auto r = Run("vkconfig storage battery controller=0 battery=0 action=" + c.action);
        const Refusal refusal = RefusalOf(r.get());
        EXPECT_EQ(refusal.msgId, c.status) << c.action;
        EXPECT_EQ(refusal.arg1, c.action.substr(0, c.action.find(' '))) << c.action;
        EXPECT_TRUE(estate.Changes().empty()) << c.action;
    }
}

TEST_F(BatteryConfigTest, DelayBeyondTheBatteryLimitNamesBoth) {
    struct Case {
        std::string limit;
        std::string delay;
        Refusal refusal;
    };
    const Case cases[] = {
        {"24", "days=1 hours=1", {1662, "1 days 1 hours", "1 days"}},
        {"23", "days=1", {1662, "1 days", "23 hours"}},
        {"30", "hours=23 days=1", {1662, "1 days 23 hours", "1 days 6 hours"}},
        {"5", "hours=6", {1662, "6 hours", "5 hours"}},
        {"168", "days=0 hours=0", {1662, "0 days 0 hours", "7 days"}},
    };
    for (const Case& c : cases) {
        MaxLearnDelay(c.limit);
        const auto r =
            Run("vkconfig storage battery action=delaylearn controller=0 battery=0 " + c.delay);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.delay;
        EXPECT_TRUE(estate.Changes().empty()) << c.delay;
    }
}

TEST_F(BatteryConfigTest, DelayWithinTheLimitIsSent) {
    MaxLearnDelay("168");
    const auto r = Run("vkconfig storage battery action=delaylearn controller=0 battery=0 days=7");
    EXPECT_TRUE(Sent(r.get())) << RefusalOf(r.get());
}

TEST_F(BatteryConfigTest, UnreadableLimitIsNotGuessed) {
    estate.Set("getBattery", Objects({{{"BatteryID", "0"}}}));
    const auto r = Run("vkconfig storage battery action=delaylearn controller=0 battery=0 days=1");
    EXPECT_EQ(RefusalOf(r.get()).msgId, 1655u);
    EXPECT_TRUE(estate.Changes().empty());
}

TEST_F(BatteryConfigTest, DryRunSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r = Run("vkconfig storage battery action=startlearn controller=0 battery=0");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_DRYRUN));
    EXPECT_TRUE(estate.Changes().empty());
    ASSERT_EQ(r->requestCount, 3u);
    EXPECT_STREQ(r->ppRequest[0], "vkacmd=setBatteryStartLearn");
}

}  // namespace
