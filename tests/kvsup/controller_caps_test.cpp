// Controller capability validators and the controller rules this library
// settles.
#include <gtest/gtest.h>

#include "fake_agent.h"
#include "kvsup.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::Bits;
using kvsup_test::FakeAgent;
using kvsup_test::Props;

class Capabilities : public ::testing::Test {
  protected:
    void Serve(Props props) { agent.On({"vkacmd=getController"}, Answer({props})); }
    FakeAgent agent;
};

TEST_F(Capabilities, PolicyMasksAndOfferedLists) {
    Serve({{"ReadPolicyMask", Bits(4 | 16)},
           {"WritePolicyMask", Bits(4 | 8 | 64)},
           {"CachePolicyMask", Bits(1 | 2)},
           {"StripeSizesMask", Bits(128 | 256)},
           {"DiskCachePolicyMask", Bits(1 | 2 | 8)},
           {"AttributesMask", Bits(0)}});
    using Fn = int32_t (*)(const char*, const char*, char*, uint32_t);
    struct Case {
        const char* name;
        Fn fn;
        const char* value;
        uint32_t size;
        int32_t expected;
        const char* list;
    };
    // clang-format off
    const Case cases[] = {
        {"read",   IsUserReadPolicyValidForController,  "4",   64, 0,  "stale"},   // list untouched
        {"read",   IsUserReadPolicyValidForController,  "8",   64, -1, "ra, nra"},
        {"write",  IsUserWritePolicyValidForController, "1",   64, -1, "wb, wt"},  // 64 names nothing
        {"cache",  IsUserCachePolicyValidForController, "4",   64, -1, "d, c"},
        {"stripe", IsUserStripeSizeValidForController,  "64",  64, -1, "64kb, 128kb"},
        {"stripe", IsUserStripeSizeValidForController,  "64",  8,  -1, "64kb, 1"},  // cut to fit
    };
    // clang-format on
    for (const auto& c : cases) {
        char list[64] = "stale";
        EXPECT_EQ(c.fn("0", c.value, list, c.size), c.expected) << c.name << c.value;
        EXPECT_STREQ(list, c.list) << c.name << c.value;
    }
    char list[64];
    EXPECT_EQ(IsUserDiskCachePolicyValidForController("0", "4", list, sizeof list, 0), -1);
    EXPECT_STREQ(list, "unchanged, enabled");  // candidates 1 and 2 only
}

TEST_F(Capabilities, DiskCacheAttributeRuleAndItsFlag) {
    Serve({{"DiskCachePolicyMask", Bits(2)}, {"AttributesMask", Bits(0x80000)}});
    char list[64] = "stale";
    EXPECT_EQ(IsUserDiskCachePolicyValidForController("0", "2", list, sizeof list, 0), -1);
    EXPECT_STREQ(list, "");
    EXPECT_EQ(IsUserDiskCachePolicyValidForController("0", "2", list, sizeof list, 1), 0);
}

TEST(CapabilitiesNoAnswer, EverythingRefusedWithEmptyList) {
    FakeAgent agent;
    char list[16] = "stale";
    EXPECT_EQ(IsUserReadPolicyValidForController("0", "4", list, sizeof list), -1);
    EXPECT_STREQ(list, "");
    uint32_t mask = 7;
    EXPECT_EQ(GetControllerRAIDLevelsMask("0", &mask), 0);
    EXPECT_EQ(mask, 0u);
    agent.On({"vkacmd=getController"}, Answer({{{"RAIDLevelsMask", Bits(2 | 64)}}}));
    EXPECT_EQ(GetControllerRAIDLevelsMask("0", &mask), 0);
    EXPECT_EQ(mask, 66u);
    EXPECT_EQ(GetControllerRAIDLevelsMask("0", nullptr), 0);
    kvsup_test::NoXmlBuffers noBuffers;
    EXPECT_EQ(GetControllerRAIDLevelsMask("0", &mask), 272);
    EXPECT_EQ(IsUserCachePolicyValidForController("0", "1", list, sizeof list), 272);
}

TEST(RaidInput, OrderOfTheRulesAndTheRaid1EOverride) {
    constexpr uint32_t kNo10With1E = 2 | 4 | 0x80000;
    constexpr uint32_t kWith10 = 2 | 4 | 64 | 0x200;
    struct Case {
        const char* layout;
        uint32_t mask;
        const char* span;
        int32_t flagA;
        int32_t expected;
        const char* list;
    };
    // clang-format off
    const Case cases[] = {
        {"512",    kWith10,     "2",     1, 1762, ""},
        {"512",    kWith10,     nullptr, 1, 0,    ""},
        {"128",    kWith10,     nullptr, 0, -1,   "r0, r1, r5, r10"},
        {"128",    kNo10With1E, nullptr, 0, 0,    "r0, r1, r10"},  // override, list still filled
        {"524288", kNo10With1E, "1",     0, 0,    ""},
        {"524288", kNo10With1E, "2",     0, 1701, ""},
        {"128",    kNo10With1E, "2",     0, 1701, "r0, r1, r10"},
    };
    // clang-format on
    for (const auto& c : cases) {
        char list[64] = "stale";
        EXPECT_EQ(IsUserRaidInputValueValidForController(c.layout, nullptr, list, sizeof list,
                                                         c.mask, c.span, c.flagA),
                  c.expected)
            << c.layout << " " << (c.span ? c.span : "-");
        EXPECT_STREQ(list, c.list) << c.layout;
    }
}

TEST_F(Capabilities, VirtualDiskNames) {
    Serve({{"AttributesMask", Bits(0)}, {"MaxNameLength", "8"}});
    struct Case {
        const char* name;
        int32_t given;
        int32_t expected;
        const char* err;
    };
    // clang-format off
    const Case cases[] = {
        {nullptr,     0, 0,    ""},
        {"Data 1",    1, 0,    ""},
        {" Data",     1, 1621, "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces."},
        {"Data.1",    1, 1621, "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces."},
        {"Data12345", 1, 1621, "Names with minimum name length of 1, maximum name length of 8"},
    };
    // clang-format on
    for (const auto& c : cases) {
        char err[128] = "";
        EXPECT_EQ(IsUserVirtualDiskNameValidForController("0", c.name, c.given, err, sizeof err),
                  c.expected)
            << (c.name ? c.name : "-");
        EXPECT_STREQ(err, c.err);
    }
    char small[6];
    EXPECT_EQ(IsUserVirtualDiskNameValidForController("0", "a.b", 1, small, sizeof small), 1621);
    EXPECT_STREQ(small, "[A-Z,");
}

TEST(VirtualDiskNamesRefused, AttributeAndNoAnswer) {
    FakeAgent agent;
    char err[64] = "";
    EXPECT_EQ(IsUserVirtualDiskNameValidForController("0", "Data", 1, err, sizeof err), -1);
    agent.On({"vkacmd=getController"}, Answer({{{"AttributesMask", Bits(0x80000)}}}));
    EXPECT_EQ(IsUserVirtualDiskNameValidForController("0", "Data", 1, err, sizeof err), 1708);
}

TEST(Raid10Rewrite, OnlyWhereRaid1EStandsInForRaid10) {
    constexpr uint32_t kNo10With1E = 0x80000;
    constexpr uint32_t kBoth = 0x200 | 0x80000;
    struct Case {
        const char* layout;
        uint32_t mask;
        const char* span;
        int32_t k310;
        int32_t flagA;
        const char* result;
    };
    // clang-format off
    const Case cases[] = {
        {"Layout=512", kNo10With1E, nullptr, 0, 0, "Layout=524288"},
        {"Layout=512", kNo10With1E, nullptr, 0, 1, "Layout=512"},     // flag A path
        {"Layout=512", kBoth,       "22",    1, 0, "Layout=524288"},  // K310 single span
        {"Layout=512", kBoth,       "26",    0, 0, "Layout=512"},
        {"Layout=512", kBoth,       "4",     1, 0, "Layout=512"},
        {"Layout=512", 0x200,       nullptr, 0, 0, "Layout=512"},     // no RAID 1E
        {"Layout=64",  kNo10With1E, nullptr, 0, 0, "Layout=64"},
    };
    // clang-format on
    for (const auto& c : cases) {
        const char* list[] = {"vkacmd=setCntrlCreateVD", "GlobalNo=0", c.layout};
        uint32_t count = 3;
        EXPECT_EQ(
            ModifyRaid10InputValueValidForController(&count, list, c.mask, c.span, c.k310, c.flagA),
            0);
        EXPECT_STREQ(list[2], c.result) << c.mask << " " << (c.span ? c.span : "-");
        EXPECT_EQ(count, 3u);
    }
}

TEST(PropertyDuplicates, NotTakenDuplicateOrAllowed) {
    FakeAgent agent;
    EXPECT_EQ(IsControllerPropertyDuplicate("0", "enabled", 1), -1);
    agent.On({"vkacmd=getController"}, Answer({{{"AbortCheckConsistencyOnError", "1"},
                                                {"Copyback", "0"},
                                                {"PersistentHotSlot", "0"},
                                                {"SpinDownTime", "30"}}}));
    struct Case {
        int32_t property;
        const char* value;
        int32_t expected;
    };
    // clang-format off
    const Case cases[] = {
        {1,  "enabled",  444},
        {1,  "Enabled",  444},   // keywords ignore case
        {1,  "disabled", 0},
        {2,  "enabled",  444},   // copyback: 0 means enabled
        {6,  "disabled", 555},
        {4,  "auto",     777},   // the controller does not carry load balancing
        {13, "enabled",  777},
        {9,  "enabled",  0},     // power management can be taken
        {5,  "x",        0},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsControllerPropertyDuplicate("0", c.value, c.property), c.expected)
            << c.property << " " << c.value;
    }
}

TEST(Modes, ControllerAndPatrolRead) {
    FakeAgent agent;
    std::string valid;
    EXPECT_EQ(IsControllerModeValid("2", "0", valid), 1655);
    agent.On({"vkacmd=getController", "GlobalNo=0"},
             Answer({{{"ControllerMode", "1"}, {"PatrolReadMode", "1"}}}));
    agent.On({"vkacmd=getController", "GlobalNo=1"},
             Answer({{{"ControllerMode", "2"}, {"PatrolReadMode", "4"}}}));
    agent.On({"vkacmd=getVirtualDisksForController", "GlobalNo=0"},
             Answer({{{"LogicalDriveNum", "0"}}}));
    EXPECT_EQ(IsControllerModeValid("1", "0", valid), 1777);
    EXPECT_EQ(valid, "hba");
    EXPECT_EQ(IsControllerModeValid("2", "0", valid), 1615);  // virtual disks exist
    EXPECT_EQ(IsControllerModeValid("1", "1", valid), 0);
    EXPECT_EQ(IsControllerModeValid("3", "1", valid), -1);

    EXPECT_EQ(IsPatrolReadModeValid("2", "0", valid), 0);
    EXPECT_EQ(valid, "manual, disable");
    EXPECT_EQ(IsPatrolReadModeValid("1", "0", valid), -1);  // already in force
    EXPECT_EQ(IsPatrolReadModeValid("1", "1", valid), -1);  // not in RAID mode
    EXPECT_EQ(valid, "");
}

TEST(Passphrase, ClassesAndKeyIds) {
    struct Case {
        const char* text;
        int32_t mode;
        int32_t expected;
    };
    // clang-format off
    const Case cases[] = {
        {"Abcdef1!",  1, 0},
        {"Abcde1!",   1, 1703},   // 7 bytes
        {"Abcdefgh1!Abcdefgh1!Abcdefgh1!abc", 1, 1703},  // 33 bytes
        {"Abcdefg!",  1, 1704},
        {"abcdef1!",  1, 1705},
        {"ABCDEF1!",  1, 1705},
        {"Abcdef12",  1, 1707},
        {"Abcdef1 2", 1, 1707},   // a blank is not special
        {"Abc{def1",  1, 0},
        {"",          0, 1703},
        {" key",      0, 1709},
        {"\x7f" "key", 0, 1709},
        {"\xc3" "key", 0, 1709},
        {"k",         0, 0},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsUserPassphraseValid(c.text, c.mode), c.expected) << c.text;
    }
}

TEST(GlobalReads, PCIeSubsystemAndWearThreshold) {
    FakeAgent agent;
    EXPECT_EQ(IsPCIeSubsystempresent(), 0);
    char value[8] = "x";
    EXPECT_EQ(GetRRWEThresholdValue(1, value, sizeof value), -1);
    agent.On({"vkacmd=getControllerList"}, Answer({{{"GlobalNo", "0"}, {"BusProtocol", "8"}},
                                                   {{"GlobalNo", "1"}, {"BusProtocol", "9"}}}));
    agent.On({"vkacmd=getPCIeRRWEThreshold"}, Answer({{{"RRWEThresholdPCIe", "10"}}}));
    agent.On({"vkacmd=getSASSATARRWEThreshold"}, Answer({{{"RRWEThresholdSasSata", "20"}}}));
    EXPECT_EQ(IsPCIeSubsystempresent(), 1);
    EXPECT_EQ(GetRRWEThresholdValue(1, value, sizeof value), 0);
    EXPECT_STREQ(value, "10");
    EXPECT_EQ(GetRRWEThresholdValue(0, value, sizeof value), 0);
    EXPECT_STREQ(value, "20");
    EXPECT_EQ(GetRRWEThresholdValue(2, value, sizeof value), -1);
}

TEST(ReconfigureSize, OnlyGrows) {
    FakeAgent agent;
    agent.On({"vkacmd=getVirtualDisk"}, Answer({{{"Length", "1000"}}}));
    std::string present;
    EXPECT_EQ(IsUserSizeParameterValidForReconfigure("0", "1", "1001", present), 0);
    EXPECT_EQ(present, "1000");
    EXPECT_EQ(IsUserSizeParameterValidForReconfigure("0", "1", "1000", present), -1);
    EXPECT_EQ(IsUserSizeParameterValidForReconfigure("0", "1", "2g", present), -1);
}

}  // namespace
