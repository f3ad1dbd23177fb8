// Single-property readers of controllers and batteries.
#include <functional>

#include "da_fixture.h"

namespace {

using datest::DaTest;
using datest::Objects;

using SizedReader = std::function<int32_t(const char*, char*, uint32_t)>;

struct ReaderCase {
    const char* traceName;
    const char* tag;
    SizedReader read;
    bool emptiesOutput;  // the output is emptied before the tag is looked for
};

const std::vector<ReaderCase>& Readers() {
    // clang-format off
    static const std::vector<ReaderCase> cases = {
        {"GetRebuildRateForController",         "RebuildRate",                     [](const char* g, char* o, uint32_t) { return GetRebuildRateForController(g, o); },    true},
        {"GetRebuildRateForControllerWithSize", "RebuildRate",                     GetRebuildRateForControllerWithSize,                                                  false},
        {"GetCopyback for Controller",          "Copyback",                        GetCopybackForControllerWithSize,                                                     false},
        {"GetLoadBalance for Controller",       "Loadbalance",                     GetLoadbalanceForControllerWithSize,                                                  false},
        {"GetSmarter for Controller",           "AutoCopybackOnPredictiveFailure", GetSmarterForControllerWithSize,                                                      false},
    };
    // clang-format on
    return cases;
}

TEST_F(DaTest, PropertyReadersReadTheirTagAndAnswerZeroEitherWay) {
    for (const ReaderCase& c : Readers()) {
        agent.Answer("getController",
                     Objects({std::string("<") + c.tag + ">42</" + c.tag + "><Other>7</Other>"}));
        char out[256] = "junk";
        EXPECT_EQ(c.read("0", out, 256), 0) << c.traceName;
        EXPECT_STREQ(out, "42") << c.traceName;

        agent.Answer("getController", Objects({"<Other>7</Other>"}));
        std::snprintf(out, sizeof out, "junk");
        EXPECT_EQ(c.read("0", out, 256), 0) << c.traceName;
        EXPECT_STREQ(out, c.emptiesOutput ? "" : "junk") << c.traceName;
    }
}

TEST_F(DaTest, PropertyReadersTraceUnderTheirOwnNames) {
    agent.Answer("getController", Objects({"<RebuildRate>30</RebuildRate>"}));
    for (const ReaderCase& c : Readers()) {
        datest::TraceCapture trace(3);
        char out[8];
        c.read("0", out, sizeof out);
        EXPECT_EQ(trace.Text(), std::string("KVCLP:ENTRY----------->") + c.traceName +
                                    "\nKVCLP:EXIT------------>" + c.traceName + "\n");
    }
}

TEST_F(DaTest, SizedReaderCutsToCapacity) {
    agent.Answer("getController", Objects({"<RebuildRate>123456</RebuildRate>"}));
    char out[4];
    EXPECT_EQ(GetRebuildRateForControllerWithSize("0", out, sizeof out), 0);
    EXPECT_STREQ(out, "123");
}

struct TagReaderCase {
    const char* label;
    std::optional<std::string> answer;
    int32_t controller;  // GetTagValueForController
    int32_t battery;     // GetTagValueForBattery
    const char* value;   // output afterwards ("keep" when untouched)
};

TEST_F(DaTest, ControllerTagReaderSucceedsWithoutAnswerBatteryReaderFails) {
    // clang-format off
    const TagReaderCase cases[] = {
        {"found",     Objects({"<State>ready</State>"}), 0,  0, "ready"},
        {"not found", Objects({"<Other>1</Other>"}),    -1, -1, "keep"},
        {"empty",     std::string(""),                  -1, -1, "keep"},
        {"no answer", std::nullopt,                      0, -1, "keep"},
    };
    // clang-format on
    for (const TagReaderCase& c : cases) {
        agent.Answer("getController", c.answer);
        agent.Answer("getBattery", c.answer);
        char out[32] = "keep";
        EXPECT_EQ(GetTagValueForController("0", "State", out, sizeof out), c.controller) << c.label;
        EXPECT_STREQ(out, c.value) << c.label;
        std::snprintf(out, sizeof out, "keep");
        EXPECT_EQ(GetTagValueForBattery("0", "1", "State", out, sizeof out), c.battery) << c.label;
        EXPECT_STREQ(out, c.value) << c.label;
    }
}

TEST_F(DaTest, ControllerNameNeedsBothArgumentsAndAnAnswer) {
    agent.Answer("getController", Objects({"<Name>Array Controller K2</Name>"}));
    char out[256] = "";
    EXPECT_EQ(GetControllerNameFromUserInput("0", out), 0);
    EXPECT_STREQ(out, "Array Controller K2");
    EXPECT_EQ(GetControllerNameFromUserInput(nullptr, out), -1);
    EXPECT_EQ(GetControllerNameFromUserInput("0", nullptr), -1);
    EXPECT_EQ(agent.Requests().size(), 1u);  // nothing asked without the arguments
    agent.Answer("getController", std::nullopt);
    EXPECT_EQ(GetControllerNameFromUserInput("0", out), -1);
}

}  // namespace
