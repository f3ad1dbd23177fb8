// Array-disk selection: identifier forms, what is listed and counted, the
// virtual-disk candidate walks and the single-disk reads.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "fake_agent.h"
#include "kvsup.h"
#include "trace_capture.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::Bits;
using kvsup_test::FakeAgent;
using kvsup_test::Props;
using Request = std::vector<std::string>;

Props Disk(const char* channel, const char* enclosure, const char* target, uint32_t attributes,
           const char* state = "1", const char* media = "1", uint32_t current = 0) {
    return {{"ObjID", std::string("d") + channel + enclosure + target},
            {"Channel", channel},
            {"EnclosureID", enclosure},
            {"TargetID", target},
            {"AttributesMask", Bits(attributes)},
            {"ObjState", state},
            {"MediaType", media},
            {"CurrentMethodMask", Bits(current)}};
}

class DiskSelection : public ::testing::Test {
  protected:
    void SetUp() override {
        agent.On({"vkacmd=getController"}, Answer({{{"GlobalNo", "0"}, {"VendorID", "5"}}}));
        // Channels are addressed by position: their own numbers differ.
        agent.On({"vkacmd=getChannelsForController"},
                 Answer({{{"ObjID", "c5"}, {"Channel", "5"}, {"BusProtocol", "8"}},
                         {{"ObjID", "c7"}, {"Channel", "7"}, {"BusProtocol", "7"}}}));
        agent.On({"vkacmd=getArrayDisksForChannel", "Channel=0"},
                 Answer({Disk("0", "1", "0", 0x400, "1", "2"),   // enclosure disk, healthy SSD
                         Disk("0", "1", "1", 0x480),             // hidden
                         Disk("0", "1", "2", 0x500, "4096")}));  // dedicated spare, non-RAID
        agent.On({"vkacmd=getArrayDisksForChannel", "Channel=1"},
                 Answer({Disk("1", "0", "4", 0x400, "1", "2", 1u << 22),
                         Disk("1", "0", "5", 0x0, "1", "2", 1u << 23)}));
        agent.On({"vkacmd=getTapeDrivesForChannel", "Channel=0"},
                 Answer({Disk("0", "1", "6", 0x400), Disk("0", "1", "7", 0x80)}));
    }
    FakeAgent agent;
};

TEST_F(DiskSelection, PlainWalkListsVisibleDisksButAcceptsAll) {
    struct Case {
        const char* user;
        int32_t expected;
        uint32_t count;
    };
    // clang-format off
    const Case cases[] = {
        {"0:1:0", 0,  0},
        {"0:1:1", 0,  0},  // hidden: accepted, never listed
        {"0:1:2", 0,  0},  // dedicated spare with the check flag: still accepted
        {"0:0",   -1, 5},  // three-part disk typed with two parts
        {"1:5",   0,  0},  // no enclosure bit: two parts
        {"1:0:4", 0,  0},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::string list;
        uint32_t count = 99;
        EXPECT_EQ(IsUserArrayDiskIdValid(c.user, "0", list, 1, &count), c.expected) << c.user;
        EXPECT_EQ(count, c.count) << c.user;
    }
    std::string list;
    uint32_t count = 0;
    IsUserArrayDiskIdValid("9:9", "0", list, 0, &count);
    EXPECT_EQ(list, "0:1:0, 0:1:2, 1:0:4, 1:5");
    EXPECT_EQ(agent.RequestsNamed("getArrayDisksForChannel").back(),
              (Request{"vkacmd=getArrayDisksForChannel", "GlobalNo=0", "Channel=1", "CLI=true"}));
}

TEST_F(DiskSelection, HealthyVariantThreePartsOnlyOnProtocolEight) {
    std::string list;
    uint32_t count = 0;
    EXPECT_EQ(IsUserArrayDiskIdValidHealthy("1:4", "0", list, 0, &count), 0);
    EXPECT_EQ(IsUserArrayDiskIdValidHealthy("x", "0", list, 0, &count), -1);
    EXPECT_EQ(list, "0:1:0, 1:4, 1:5");
    EXPECT_EQ(count, 5u);
}

TEST_F(DiskSelection, StateVariantCountsListedDisksOnly) {
    struct Case {
        uint32_t state;
        const char* action;
        const char* list;
        uint32_t count;
    };
    // clang-format off
    const Case cases[] = {
        {4096, "convertNonRAIDtoRAID", "0:1:2",        1},
        {1,    "convertRAIDtoNonRAID", "1:0:4",        1},  // bit 22 of CurrentMethodMask
        {1,    "convertNonRAIDtoRAID", "1:5",          1},  // bit 23
        {8,    "convertNonRAIDtoRAID", "",             0},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::string list;
        uint32_t count = 99;
        EXPECT_EQ(IsUserArrayDiskIdValidState("9:9", "0", list, 0, &count, c.state, c.action), -1);
        EXPECT_EQ(list, c.list) << c.state << c.action;
        EXPECT_EQ(count, c.count) << c.state << c.action;
    }
    // A disk in the wrong state is still accepted.
    std::string list;
    uint32_t count = 0;
    EXPECT_EQ(IsUserArrayDiskIdValidState("1:5", "0", list, 0, &count, 4096, "x"), 0);
}

TEST_F(DiskSelection, TapeIdentifiersAlwaysTwoParts) {
    std::string list;
    uint32_t count = 0;
    EXPECT_EQ(IsUserTapeDriveIdValid("0:6", "0", list, 0, &count), 0);
    EXPECT_EQ(IsUserTapeDriveIdValid("0:1:6", "0", list, 0, &count), -1);
    EXPECT_EQ(list, "0:6");
    EXPECT_EQ(count, 2u);
}

TEST(DiskSelectionEmpty, NoDisksLeavesCountZero) {
    FakeAgent agent;
    agent.On({"vkacmd=getController"}, Answer({{{"GlobalNo", "0"}}}));
    agent.On({"vkacmd=getChannelsForController"}, Answer({{{"ObjID", "c0"}}}));
    agent.On({"vkacmd=getArrayDisksForChannel"}, Answer({}));
    std::string list;
    uint32_t count = 99;
    EXPECT_EQ(IsUserArrayDiskIdValid("0:0", "0", list, 0, &count), -1);
    EXPECT_EQ(count, 0u);
    FakeAgent silent;  // replaces the agent: no answers at all
    EXPECT_EQ(IsUserArrayDiskIdValid("0:0", "0", list, 0, &count), -1);
}

TEST(VirtualDiskCandidates, DedicatedSpareWalks) {
    FakeAgent agent;
    agent.On({"vkacmd=getCapsForDHS"}, Answer({{{"BusProtocol", "7"},
                                                {"Channel", "0"},
                                                {"EnclosureID", "1"},
                                                {"TargetID", "3"},
                                                {"AttributesMask", Bits(0x400)}},
                                               {{"Channel", "0"},  // no bus protocol: taken as 0
                                                {"EnclosureID", "1"},
                                                {"TargetID", "4"},
                                                {"AttributesMask", Bits(0x400)}}}));
    std::string list;
    EXPECT_EQ(IsUserArrayDiskIdValidDHS("0:1:3", "0", "2", list), 0);
    EXPECT_EQ(list, "0:1:3, 0:4");
    EXPECT_EQ(agent.Requests().back(),
              (Request{"vkacmd=getCapsForDHS", "GlobalNo=0", "LogicalDriveNum=2", "CLI=true"}));

    agent.On({"vkacmd=getVirtualDisksForController"},
             Answer({{{"LogicalDriveNum", "2"}, {"ParentVDID", "9"}, {"ObjID", "member"}},
                     {{"LogicalDriveNum", "2"}, {"ObjID", "vd2"}}}));
    agent.On({"vkacmd=sendPassThruCmdToQXSIF", "param2=vd2"},
             Answer({{{"Channel", "0"}, {"TargetID", "1"}, {"AttributesMask", Bits(0x100)}},
                     {{"Channel", "0"}, {"TargetID", "2"}, {"AttributesMask", Bits(0)}}}));
    EXPECT_EQ(IsUserDHSValid("0:1", "0", "2", list), 0);
    EXPECT_EQ(list, "0:1");
    EXPECT_EQ(IsUserDHSValid("0:2", "0", "2", list), -1);
    EXPECT_EQ(agent.Requests().back(), (Request{"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=3",
                                                "param0=getassoc", "param1=adisks", "param2=vd2"}));
    EXPECT_EQ(IsUserDHSValid("0:1", "0", "3", list), -1);  // no such virtual disk
}

TEST(VirtualDiskCandidates, MemberReplacementSourceAndDestination) {
    FakeAgent agent;
    agent.On({"vkacmd=getVirtualDisk"}, Answer({{{"ObjID", "vd1"}, {"ObjState", "1"}}}));
    agent.On({"vkacmd=sendPassThruCmdToQXSIF"}, Answer({{{"Channel", "0"},
                                                         {"EnclosureID", "1"},
                                                         {"TargetID", "0"},
                                                         {"ObjState", "4"},
                                                         {"AttributesMask", Bits(0)}},
                                                        {{"Channel", "0"},
                                                         {"EnclosureID", "1"},
                                                         {"TargetID", "1"},
                                                         {"ObjState", "4"},
                                                         {"AttributesMask", Bits(0x100)}},
                                                        {{"Channel", "0"},
                                                         {"EnclosureID", "1"},
                                                         {"TargetID", "2"},
                                                         {"ObjState", "2"},
                                                         {"AttributesMask", Bits(0)}}}));
    std::string list;
    EXPECT_EQ(pUserSourceAdiskIdValid("0:1:0", "0", "1", list), 0);
    EXPECT_EQ(pUserSourceAdiskIdValid("0:0", "0", "1", list), 0);  // two-part form built
    EXPECT_EQ(list, "0:0, 0:1");
    EXPECT_EQ(pUserSourceAdiskIdValid("0:1:1", "0", "1", list), -1);  // dedicated spare
    EXPECT_EQ(pUserSourceAdiskIdValid("0:1:2", "0", "1", list), -1);  // not online

    agent.On({"vkacmd=getCapsForMemberReplaceCLI"},
             Answer({{{"Channel", "1"}, {"EnclosureID", "0"}, {"TargetID", "9"}}}));
    EXPECT_EQ(IsUserDestinationADiskIdValid("1:9", "0", "1", list), 0);
    EXPECT_EQ(IsUserDestinationADiskIdValid("1:0:8", "0", "1", list), -1);
    EXPECT_EQ(list, "1:0:9");
}

TEST(VirtualDiskRules, MemberReplaceAndDedicatedSpareLimits) {
    {
        FakeAgent agent;
        EXPECT_EQ(IsMemberReplaceAllowed("0", "1"), 1);  // no answer
        agent.On({"vkacmd=getVirtualDisk"}, Answer({{{"ObjState", "1"}}}));
        EXPECT_EQ(IsMemberReplaceAllowed("0", "1"), 0);
    }
    struct Case {
        int spares;
        uint32_t add;
        const char* vendor;
        int32_t expected;
    };
    // clang-format off
    const Case cases[] = {
        {16, 1, "5", 1700},
        {15, 1, "5", 0},
        {0,  3, "0", 0},   // no spare yet: the vendor is not asked
        {2,  1, "0", -1},
        {2,  1, "8", 0},
    };
    // clang-format on
    for (const auto& c : cases) {
        FakeAgent agent;
        std::vector<Props> disks;
        for (int i = 0; i < c.spares; ++i) {
            disks.push_back({{"AttributesMask", Bits(0x100)}});
        }
        disks.push_back({{"AttributesMask", Bits(0x2)}});
        agent.On({"vkacmd=getArrayDisksForVirtualDisk"}, Answer(disks));
        agent.On({"vkacmd=getController"}, Answer({{{"VendorID", c.vendor}}}));
        EXPECT_EQ(IsDedicateHotSpareAllowed("0", "1", c.add), c.expected) << c.spares;
    }
}

TEST(SingleDiskReads, UnknownIdSucceedsEmptyMissingTagFails) {
    FakeAgent agent;
    agent.On({"vkacmd=getArrayDisksForController"},
             Answer({{{"Channel", "0"},
                      {"EnclosureID", "1"},
                      {"TargetID", "2"},
                      {"BusProtocol", "9"},
                      {"IsDeviceNVME", "1"},
                      {"diskwritecachepolicy", "2"}},
                     {{"Channel", "0"}, {"TargetID", "3"}}}));
    std::string policy = "x";
    EXPECT_EQ(GetDiskCacheForPhysicalDisk("0:1:2", "0", policy), 0);
    EXPECT_EQ(policy, "2");
    EXPECT_EQ(GetDiskCacheForPhysicalDisk("0:3", "0", policy), 1);
    EXPECT_EQ(GetDiskCacheForPhysicalDisk("4:4", "0", policy), 0);
    EXPECT_EQ(policy, "");

    char nvme[16] = "x";
    char bus[8] = "x";
    EXPECT_EQ(IsArrayDiskNVME("0", "0:1:2", nvme, sizeof nvme, bus, sizeof bus), 0);
    EXPECT_STREQ(nvme, "1");
    EXPECT_STREQ(bus, "9");
    EXPECT_EQ(IsArrayDiskNVME("0", "0:3", nvme, sizeof nvme, bus, sizeof bus), 1);
    char ise[8] = "x";
    EXPECT_EQ(IsArrayDiskISECapable("0", "9:9", ise, sizeof ise), 0);
    EXPECT_STREQ(ise, "");
    kvsup_test::NoXmlBuffers noBuffers;
    EXPECT_EQ(IsArrayDiskISECapable("0", "0:3", ise, sizeof ise), 272);
}

TEST(CombineDiskParams, OneOfTheTwo) {
    const char* a = "0:1";
    const char* p = "0:2";
    const char* none = nullptr;
    const char* slotA = a;
    const char* slotP = p;
    EXPECT_EQ(CombineUserDiskParams(&slotA, &slotP), 1668);
    slotA = nullptr;
    EXPECT_EQ(CombineUserDiskParams(&slotA, &slotP), 0);
    EXPECT_STREQ(slotA, "0:2");
    slotA = a;
    EXPECT_EQ(CombineUserDiskParams(&slotA, &none), 0);
    EXPECT_STREQ(slotA, "0:1");
    const char* noneA = nullptr;
    EXPECT_EQ(CombineUserDiskParams(&noneA, nullptr), 1667);
}

}  // namespace

namespace {

struct WalkAllocCase {
    const char* label;
    std::function<int32_t(std::string&, uint32_t*)> walk;
    const char* line;
};

TEST(DiskWalkBuffers, AllocationFailureNamesTheWalk) {
    kvsup_test::FakeAgent agent;
    agent.On({"vkacmd=getController"}, kvsup_test::Answer({{{"GlobalNo", "0"}}}));
    // The state walk shares the disk walk's text; only the tape walk has its own.
    const std::vector<WalkAllocCase> cases = {
        {"disks",
         [](std::string& l, uint32_t* n) { return IsUserArrayDiskIdValid("0:1", "0", l, 0, n); },
         "IsUserArrayDiskIdValid: OCSXAllocBuf failed"},
        {"disks in a state",
         [](std::string& l, uint32_t* n) {
             return IsUserArrayDiskIdValidState("0:1", "0", l, 0, n, 1, "convertRAIDtoNonRAID");
         },
         "IsUserArrayDiskIdValid: OCSXAllocBuf failed"},
        {"tapes",
         [](std::string& l, uint32_t* n) { return IsUserTapeDriveIdValid("0:1", "0", l, 0, n); },
         "IsUserTapeDriveIdValid: OCSXAllocBuf failed"},
    };
    for (const WalkAllocCase& c : cases) {
        vktest::TraceCapture trace(3);
        std::string list;
        uint32_t count = 0;
        int32_t status = 0;
        {
            kvsup_test::NoXmlBuffers noBuffers;
            status = c.walk(list, &count);
        }
        EXPECT_EQ(status, 272) << c.label;
        EXPECT_NE(trace.Text().find(c.line), std::string::npos) << c.label << "\n" << trace.Text();
        EXPECT_EQ(trace.Text().find("IsUserArrayDiskIdValidState: OCSXAllocBuf"), std::string::npos)
            << c.label;
    }
}

}  // namespace
