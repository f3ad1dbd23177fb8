// Count, duplicate and limit checks with their differing conventions.
#include <gtest/gtest.h>

#include "fake_agent.h"
#include "kvsup.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::FakeAgent;
using kvsup_test::Props;
using Request = std::vector<std::string>;

TEST(MaxVirtualDisks, FullAtTheLimit) {
    struct Case {
        const char* most;  // null: no MaxVDAllowed
        int disks;
        int32_t expected;
    };
    const Case cases[] = {{"64", 64, 1}, {"64", 63, 0}, {nullptr, 0, 1}};
    for (const auto& c : cases) {
        FakeAgent agent;
        std::vector<Props> objects;
        if (c.most != nullptr) {
            objects.push_back({{"MaxVDAllowed", c.most}});
        }
        for (int i = 0; i < c.disks; ++i) {
            objects.push_back({{"LogicalDriveNum", std::to_string(i)}});
        }
        agent.On({"vkacmd=getSingleControllerArrayInfo"}, Answer(objects));
        char most[8] = "x";
        EXPECT_EQ(isOverMaxVDAllowed("0", most, sizeof most), c.expected) << c.disks;
        EXPECT_STREQ(most, c.most != nullptr ? c.most : "");
    }
}

TEST(NameDuplicates, ZeroMeansTakenOnTheController) {
    FakeAgent agent;
    EXPECT_EQ(IsCtrlVDNameDuplicate("Data", "0"), -1);  // no answer
    agent.On({"vkacmd=getVirtualDisk", "LogicalDriveNum=1"}, Answer({{{"Name", "Data"}}}));
    agent.On({"vkacmd=getVirtualDisk", "LogicalDriveNum=2"}, Answer({{{"Name", ""}}}));
    agent.On({"vkacmd=getVirtualDisk"}, Answer({{{"Name", "Boot"}}, {{"Name", "Data"}}}));
    EXPECT_EQ(IsCtrlVDNameDuplicate("Data", "0"), 0);
    EXPECT_EQ(IsCtrlVDNameDuplicate("data", "0"), -1);  // case matters
    EXPECT_EQ(agent.Requests().back(),
              (Request{"vkacmd=getVirtualDisk", "GlobalNo=0", "CLI=true"}));

    EXPECT_EQ(IsVDNameDuplicate("Data", "0", "1"), 1);  // its own present name
    EXPECT_EQ(IsVDNameDuplicate("Other", "0", "1"), 0);
    EXPECT_EQ(IsVDNameDuplicate("Other", "0", "2"), 1);  // present name empty
    EXPECT_EQ(IsVDNameDuplicate("Other", "0", "3"), 0);  // falls to the generic rule: "Boot"
}

TEST(AssetChecks, DuplicateAndLimitConventions) {
    FakeAgent agent;
    EXPECT_EQ(IsAssetInfoDuplicate("0", "0:1", "AssetTag", "A1"), 272);  // no answer
    EXPECT_EQ(IsAssetLengthValid("0", "0:1", "MaxAssetTagLength", 11), 272);
    agent.On({"vkacmd=getEnclosure", "Enclosure=0:2"},
             Answer({{{"AssetTag", "A1"}, {"MaxAssetTagLength", "4"}}}));
    agent.On({"vkacmd=getEnclosure"}, Answer({{{"AssetTag", "A1"}}}));
    struct Case {
        const char* enclosure;
        const char* tag;
        uint32_t length;
        int32_t expected;
    };
    // clang-format off
    const Case cases[] = {
        {"0:1", "MaxAssetTagLength",  11, 10},  // default limit, returned when exceeded
        {"0:1", "MaxAssetTagLength",  10, 0},
        {"0:1", "MaxAssetNameLength", 33, 32},
        {"0:1", "OtherLength",        99, 0},   // a limit of 0 never refuses
        {"0:2", "MaxAssetTagLength",  5,  4},   // the enclosure's own limit
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsAssetLengthValid("0", c.enclosure, c.tag, c.length), c.expected)
            << c.tag << " " << c.length;
    }
    EXPECT_EQ(IsAssetInfoDuplicate("0", "0:1", "AssetTag", "A1"), 1);
    EXPECT_EQ(IsAssetInfoDuplicate("0", "0:1", "AssetTag", "a1"), 0);
}

TEST(PolicyDuplicates, ByKindThroughTheKeywordMaps) {
    FakeAgent agent;
    EXPECT_EQ(IsPolicyInfoDuplicate("0", "ra", "1", 1), 1);  // no answer
    agent.On({"vkacmd=getVirtualDisk"}, Answer({{{"ReadPolicy", "4"},
                                                 {"WritePolicy", "8"},
                                                 {"CachePolicy", "2"},
                                                 {"DiskCachePolicy", "2"}}}));
    struct Case {
        const char* keyword;
        int32_t kind;
        int32_t expected;
    };
    // clang-format off
    const Case cases[] = {
        {"ra", 1, 1}, {"RA", 1, 0}, {"ara", 1, 0},
        {"wt", 2, 1}, {"c",  3, 1}, {"enabled", 4, 1},
        {"",   7, 1}, {"ra", 7, 0},  // unknown kind: only an empty keyword matches
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(IsPolicyInfoDuplicate("0", c.keyword, "1", c.kind), c.expected)
            << c.keyword << " " << c.kind;
    }
}

}  // namespace
