// Form checks and conversions of user text.
#include <gtest/gtest.h>

#include <cstring>

#include "fake_agent.h"
#include "kvsup.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::FakeAgent;

struct FormCase {
    const char* text;
    int32_t expected;
};

TEST(NumericValue, DigitsWithAtMostOnePoint) {
    // clang-format off
    const FormCase cases[] = {
        {"",      0}, {"1.5",   0}, {".5",  0}, {"120", 0},
        {"1.5.2", 1}, {"-3",    1}, {"+3",  1}, {"1e3", 1}, {" 1", 1},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsStringAValidNumericValue(c.text), c.expected) << c.text;
    }
}

TEST(BinaryRepresentation, PositionOfFirstStrangerAndTheFirstCharacterQuirk) {
    // clang-format off
    const FormCase cases[] = {
        {"0110", 0}, {"", 0}, {"01x1", 2}, {"0112", 3},
        {"x101", 0},  // a wrong first character answers like a valid string
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsStringABinaryRepresentation(c.text), c.expected) << c.text;
    }
}

TEST(BinaryToInteger, MostSignificantDigitFirst) {
    struct Case {
        const char* text;
        uint32_t expected;
    };
    const Case cases[] = {
        {"101", 5u},
        {"0000", 0u},
        {"", 0u},
        {"10000000000000000000000000000001", 0x80000001u},
        {"11111111111111111111111111111111", 0xFFFFFFFFu},
        {"2", 2u},  // characters are not checked
    };
    for (const auto& c : cases) {
        uint32_t value = 12345;
        EXPECT_EQ(ConvertBinaryStringToInteger(c.text, &value), 0);
        EXPECT_EQ(value, c.expected) << c.text;
    }
}

TEST(IntegerText, TruncatesAndDropsNegatives) {
    struct Case {
        double value;
        const char* expected;
    };
    const Case cases[] = {{1234.99, "1234"}, {-2.0, ""}, {0.4, "0"}, {1e15, "1000000000000000"}};
    for (const auto& c : cases) {
        std::string out = "junk";
        EXPECT_EQ(ConvertToStringRepresentingInteger(c.value, out), 0);
        EXPECT_EQ(out, c.expected) << c.value;
    }
}

TEST(NameChecks, ClassesAndEdgeSpaces) {
    struct Case {
        const char* text;
        int32_t name;        // IsStringAValidName, edge spaces refused
        int32_t nameLoose;   // IsStringAValidName, edge spaces allowed
        int32_t noSpace;     // IsStringAValidNameNoSpace
        int32_t alnumUpper;  // IsStringAValidAlphanumeric
    };
    // clang-format off
    const Case cases[] = {
        {"",          0, 0, 0, 0},
        {"Vd_1-a",    0, 0, 0, 1},
        {" lead",     1, 0, 1, 1},
        {"trail ",    1, 0, 1, 1},
        {"in side",   0, 0, 1, 1},
        {"a.b",       1, 1, 1, 1},
        {"ABC123",    0, 0, 0, 0},
        {"abc123",    0, 0, 0, 1},
        {" ",         1, 0, 1, 1},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsStringAValidName(c.text, 1), c.name) << c.text;
        EXPECT_EQ(IsStringAValidName(c.text, 0), c.nameLoose) << c.text;
        EXPECT_EQ(IsStringAValidNameNoSpace(c.text), c.noSpace) << c.text;
        EXPECT_EQ(IsStringAValidAlphanumeric(c.text), c.alnumUpper) << c.text;
    }
}

TEST(CaseIgnore, LengthFirstThenFoldedBytes) {
    EXPECT_EQ(strcmpCaseIgnore("CreateVDisk", "createvdisk"), 0);
    EXPECT_EQ(strcmpCaseIgnore("", ""), 0);
    EXPECT_EQ(strcmpCaseIgnore("blink", "blinker"), 1);
    EXPECT_EQ(strcmpCaseIgnore("blink", "blank"), 1);
    EXPECT_EQ(strcmpCaseIgnore("a[", "A{"), 1);  // only letters fold
}

TEST(StripWhiteSpace, OnlyBlanksGo) {
    char id[] = "0 : 1 :4";
    stripWhiteSpaceFromStr(id);
    EXPECT_STREQ(id, "0:1:4");
    char tabs[] = "a\tb c";
    stripWhiteSpaceFromStr(tabs);
    EXPECT_STREQ(tabs, "a\tbc");
    stripWhiteSpaceFromStr(nullptr);
}

class NameLength : public ::testing::Test {
  protected:
    FakeAgent agent;
};

TEST_F(NameLength, AgainstTheControllersLimit) {
    agent.On({"vkacmd=getController"}, Answer({{{"GlobalNo", "0"}, {"MaxNameLength", "5"}}}));
    struct Case {
        const char* name;
        int32_t expected;
    };
    const Case cases[] = {{"", 1}, {"a", 0}, {"abcde", 0}, {"abcdef", 1}};
    for (const auto& c : cases) {
        char limit[8] = "x";
        EXPECT_EQ(IsNameCorrectLength(c.name, "0", limit, sizeof limit), c.expected) << c.name;
        EXPECT_STREQ(limit, "5");
    }
    ASSERT_FALSE(agent.Requests().empty());
    EXPECT_EQ(agent.Requests()[0],
              (std::vector<std::string>{"vkacmd=getController", "GlobalNo=0", "CLI=true"}));
}

TEST_F(NameLength, NoAnswerNoBufferNoLimit) {
    char limit[8];
    EXPECT_EQ(IsNameCorrectLength("abc", "0", limit, sizeof limit), -1);
    agent.On({"vkacmd=getController"}, Answer({{{"GlobalNo", "0"}}}));
    EXPECT_EQ(IsNameCorrectLength("abc", "0", limit, sizeof limit), 1);  // missing limit reads 0
    kvsup_test::NoXmlBuffers noBuffers;
    EXPECT_EQ(IsNameCorrectLength("abc", "0", limit, sizeof limit), 272);
}

}  // namespace
