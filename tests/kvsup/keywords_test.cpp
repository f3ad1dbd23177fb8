// Keyword maps, both directions, and the present-setting comparisons.
#include <gtest/gtest.h>

#include "fake_agent.h"
#include "kvsup.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::FakeAgent;

TEST(PolicyKeywords, ValueToKeywordEdges) {
    struct Case {
        int32_t (*fn)(uint32_t, std::string&);
        uint32_t value;
        const char* keyword;
    };
    // clang-format off
    const Case cases[] = {
        {GetUserInputStringForRaidLayoutValue,      524288, "r10"},  // RAID 1E shown as RAID 10
        {GetUserInputStringForRaidLayoutValue,      512,    "r10"},
        {GetUserInputStringForRaidLayoutValue,      8,      ""},
        {GetUserInputStringForRaidLayoutValue,      66,     ""},     // no combinations
        {GetUserInputStringForStripeSizeValue,      128,    "64kb"},
        {GetUserInputStringForStripeSizeValue,      3,      ""},
        {GetUserInputStringForStripeSizeValue,      65536,  ""},
        {GetUserInputStringForWritePolicyValue,     0,      ""},
        {GetUserInputStringForWritePolicyValue,     64,     ""},
        {GetUserInputStringForWritePolicyValue,     32,     "fwb"},
        {GetUserInputStringForCachePolicyValue,     1,      "d"},
        {GetUserInputStringForCachePolicyValue,     2,      "c"},
        {GetUserInputStringForReadPolicyValue,      8,      "ara"},
        {GetUserInputStringForDiskCachePolicyValue, 1,      "unchanged"},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::string out = "stale";
        EXPECT_EQ(c.fn(c.value, out), 0);
        EXPECT_EQ(out, c.keyword) << c.value;
    }
}

TEST(PolicyKeywords, KeywordToValueIsTheInverse) {
    EXPECT_EQ(kvsup::RaidLayoutValueForKeyword("r10"), 512u);  // never the RAID 1E value
    EXPECT_EQ(kvsup::RaidLayoutValueForKeyword("R5"), 64u);
    EXPECT_EQ(kvsup::StripeSizeValueForKeyword("64kb"), 128u);
    EXPECT_EQ(kvsup::StripeSizeValueForKeyword("64k"), 0u);
    EXPECT_EQ(kvsup::ReadPolicyValueForKeyword("ara"), 8u);
    EXPECT_EQ(kvsup::DiskCachePolicyValueForKeyword("default"), 8u);
    // Every value that names a keyword comes back from that keyword.
    for (uint32_t v = 1; v <= 32768; v <<= 1) {
        std::string k;
        GetUserInputStringForStripeSizeValue(v, k);
        EXPECT_EQ(kvsup::StripeSizeValueForKeyword(k), v) << k;
        GetUserInputStringForWritePolicyValue(v, k);
        if (!k.empty()) {
            EXPECT_EQ(kvsup::WritePolicyValueForKeyword(k), v) << k;
        }
    }
}

TEST(SettingKeywords, CopybackIsReversedAndUnknownsAreEmpty) {
    struct Case {
        int32_t (*fn)(int32_t, std::string&);
        int32_t value;
        const char* keyword;
    };
    // clang-format off
    const Case cases[] = {
        {GetUserInputStringForCopybackValue,       0,  "enabled"},
        {GetUserInputStringForCopybackValue,       1,  "disabled"},
        {GetUserInputStringForSmarterValue,        0,  "disabled"},
        {GetUserInputStringForLoadbalanceValue,    0,  "auto"},
        {GetUserInputStringForMultipathValue,      1,  "clear"},
        {GetUserInputStringForDiskWriteCacheValue, 2,  "disabled"},
        {GetUserInputStringForAbortCCValue,        2,  ""},
        {GetUserInputStringForPersistentHotSlotValue, 5,  ""},
        {GetUserInputStringForAbortCCValue,        -1, ""},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::string out = "stale";
        EXPECT_EQ(c.fn(c.value, out), 0);
        EXPECT_EQ(out, c.keyword) << c.value;
    }
    std::string out;
    GetUserInputStringForAutoManualValue(4, out);
    EXPECT_EQ(out, "disable");
    GetUserInputStringForAutoManualValue(3, out);
    EXPECT_EQ(out, "");
    EXPECT_EQ(kvsup::CopybackValueForKeyword("Enabled"), 0);
    EXPECT_EQ(kvsup::AutoManualValueForKeyword("manual"), 2);
    EXPECT_EQ(kvsup::LoadbalanceValueForKeyword("on"), -1);
}

TEST(SettingKeywords, DiskCachePolicySameAsCurrent) {
    EXPECT_EQ(IsUserDiskCachePolicySameAsCurrent("4", "disabled"), 1777);
    EXPECT_EQ(IsUserDiskCachePolicySameAsCurrent("4", "Disabled"), 0);  // case-sensitive
    EXPECT_EQ(IsUserDiskCachePolicySameAsCurrent("16", ""), 1777);
    EXPECT_EQ(IsUserDiskCachePolicySameAsCurrent("1", "unchanged"), 0);  // 1 has no keyword here
}

TEST(SettingReads, ControllerValuesAndTheirFailures) {
    FakeAgent agent;
    EXPECT_EQ(CanCopybackBeDisabled("0"), -1);
    EXPECT_EQ(isControllerSecurityModeDKM("0", 2), 0);
    agent.On({"vkacmd=getController"},
             Answer({{{"AutoCopybackOnPredictiveFailure", "1"}, {"SecurityMode", "2"}}}));
    EXPECT_EQ(CanCopybackBeDisabled("0"), 1);
    EXPECT_EQ(CanSmarterBeEnabled("0"), 0);  // missing tag reads 0
    EXPECT_EQ(isControllerSecurityModeDKM("0", 2), 1);
    EXPECT_EQ(isControllerSecurityModeDKM("0", 1), 0);
    kvsup_test::NoXmlBuffers noBuffers;
    EXPECT_EQ(CanSmarterBeEnabled("0"), 272);
}

}  // namespace
