// Operation capability masks: the rule of every special row, matching of
// objects, and the statuses.
#include <gtest/gtest.h>

#include "fake_agent.h"
#include "kvsup.h"

namespace {

using kvsup_test::Answer;
using kvsup_test::Bits;
using kvsup_test::FakeAgent;
using Request = std::vector<std::string>;

struct Outputs {
    int32_t rc;
    uint32_t supported;
    uint32_t current;
};

bool operator==(const Outputs& a, const Outputs& b) {
    return a.rc == b.rc && a.supported == b.supported && a.current == b.current;
}
std::ostream& operator<<(std::ostream& os, const Outputs& o) {
    return os << "{" << o.rc << ", 0x" << std::hex << o.supported << ", 0x" << o.current << std::dec
              << "}";
}

Outputs Controller(const char* action) {
    Outputs o{};
    o.rc = IsUserOperationValidForController(action, "0", &o.supported, &o.current);
    return o;
}

class ControllerMasks : public ::testing::Test {
  protected:
    void Serve(uint32_t master, uint32_t current, uint32_t master1 = 0, uint32_t current1 = 0,
               uint32_t attributes = 0) {
        agent.On({"vkacmd=getControllerList"},
                 Answer({{{"GlobalNo", "1"}, {"MasterMethodMask", Bits(0xFFFFFFFF)}},
                         {{"GlobalNo", "0"},
                          {"MasterMethodMask", Bits(master)},
                          {"CurrentMethodMask", Bits(current)},
                          {"MasterMethodMask1", Bits(master1)},
                          {"CurrentMethodMask1", Bits(current1)},
                          {"AttributesMask", Bits(attributes)}}}));
    }
    FakeAgent agent;
};

TEST_F(ControllerMasks, PlainRowsAndCase) {
    Serve(0x40 | 0x1, 0x1, 0x1, 0x0);
    struct Case {
        const char* action;
        Outputs expected;
    };
    // clang-format off
    const Case cases[] = {
        {"rescan",          {0, 0x1,  0x1}},
        {"RESCAN",          {0, 0x1,  0x1}},
        {"createvdisk",     {0, 0x40, 0x0}},   // supported, not possible now
        {"flush",           {0, 0x0,  0x0}},
        {"createcachecade", {0, 0x1,  0x0}},   // second mask pair
        {"nosuchaction",    {0, 0x0,  0x0}},
        {"setpdiskpwrmanagement", {0, 1, 1}},  // always allowed
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(Controller(c.action), c.expected) << c.action;
    }
    EXPECT_EQ(agent.Requests().back(),
              (Request{"vkacmd=getControllerList", "GlobalNo=0", "CLI=true"}));
}

TEST_F(ControllerMasks, ForeignConfigurationFallbackBit) {
    Serve(0x20000000, 0x20000000);
    EXPECT_EQ(Controller("clearforeignconfig"), (Outputs{0, 0x20000000, 0x20000000}));
    EXPECT_EQ(Controller("importrecoverforeignconfig"), (Outputs{0, 0x20000000, 0x20000000}));
    EXPECT_EQ(Controller("importforeignconfig"), (Outputs{0, 0, 0}));  // no fallback
}

TEST_F(ControllerMasks, FallbackOnlyWhenBothBitsClear) {
    Serve(0x800000, 0x20000000);
    EXPECT_EQ(Controller("clearforeignconfig"), (Outputs{0, 0x800000, 0}));
}

TEST(SecureImport, NeedsTheAttributeWhenPossible) {
    struct Case {
        uint32_t attributes;
        Outputs expected;
    };
    const Case cases[] = {
        {0x8000000, {0, 0x2000000, 0x2000000}},
        {0x0, {0, 0, 0}},
    };
    for (const auto& c : cases) {
        FakeAgent agent;
        agent.On({"vkacmd=getControllerList"}, Answer({{{"GlobalNo", "0"},
                                                        {"MasterMethodMask", Bits(0x2000000)},
                                                        {"CurrentMethodMask", Bits(0x2000000)},
                                                        {"AttributesMask", Bits(c.attributes)}}}));
        EXPECT_EQ(Controller("importsecureforeignconfig"), c.expected);
    }
}

TEST(ArrayDiskMasks, CopiedMaskRowsAndIdentifierForms) {
    FakeAgent agent;
    agent.On({"vkacmd=getArrayDisksForController"},
             Answer({{{"Channel", "0"},
                      {"EnclosureID", "1"},
                      {"TargetID", "2"},
                      {"MasterMethodMask", Bits(0x20 | 0x1)},
                      {"CurrentMethodMask", Bits(0x200000)}}}));
    struct Case {
        const char* action;
        const char* disk;
        Outputs expected;
    };
    // clang-format off
    const Case cases[] = {
        {"setarraydiskcache",  "0:1:2", {0, 0x20,     0x20}},     // master bit, whatever current
        {"unassignglobalhotspare", "0:1:2", {0, 0x20, 0}},
        {"instantsecureerase", "0:1:2", {0, 0x200000, 0x200000}}, // current bit copied
        {"exportlog",          "0:1:2", {0, 0,        0}},
        {"blink",              "0:2",   {0, 0x1,      0}},        // two-part form
        {"blink",              "0:9",   {0, 0,        0}},        // not listed
    };
    // clang-format on
    for (const auto& c : cases) {
        Outputs o{};
        o.rc = IsUserOperationValidForArrayDisk(c.action, "0", c.disk, &o.supported, &o.current);
        EXPECT_EQ(o, c.expected) << c.action << " " << c.disk;
    }
}

TEST(StorageRoot, EnclosureStsActionsAskTheRoot) {
    FakeAgent agent;
    agent.On({"vkacmd=sendPassThruCmdToQXSIF", "param1=storage"},
             Answer({{{"MasterMethodMask", Bits(0x2 | 0x4)}, {"CurrentMethodMask", Bits(0x2)}}}));
    agent.On({"vkacmd=getEnclosuresForController"}, Answer({{{"Channel", "0"},
                                                             {"EnclosureID", "1"},
                                                             {"BusProtocol", "8"},
                                                             {"MasterMethodMask", Bits(0x40)},
                                                             {"CurrentMethodMask", Bits(0x40)}}}));
    Outputs o{};
    o.rc = IsUserOperationValidForEnclosure("enablests", "0", "0:1", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{0, 0x2, 0x2}));
    EXPECT_EQ(agent.Requests().back(), (Request{"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=2",
                                                "param0=report", "param1=storage"}));
    o.rc = IsUserOperationValidForEnclosure("disablests", "0", "0:1", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{0, 0x4, 0}));
    o.rc = IsUserOperationValidForEnclosure("blink", "0", "0:1", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{0, 0x40, 0x40}));
    o.rc = IsUserOperationValidForEnclosure("blink", "0", "0", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{0, 0, 0}));  // protocol 8 takes channel:enclosure
    agent.Clear();
    o.rc = IsUserOperationValidForStorageObject("DEBUG", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{0, 1, 1}));
    EXPECT_TRUE(agent.Requests().empty());  // always allowed: nothing asked
}

TEST(VirtualDiskMasks, DeviceNamePartitionAndLunStatuses) {
    FakeAgent agent;
    agent.On({"vkacmd=getVirtualDisksForController"},
             Answer({{{"LogicalDriveNum", "1"},
                      {"DeviceName", "/dev/sdb"},
                      {"MasterMethodMask", Bits(0x80000000)},
                      {"CurrentMethodMask", Bits(0x80000000)}}}));
    agent.On({"vkacmd=getPartitionsForVirtualDisk"},
             Answer({{{"PartitionPath", "/dev/sdb1"},
                      {"MasterMethodMask", Bits(0x20000000)},
                      {"CurrentMethodMask", Bits(0)}}}));
    agent.On({"vkacmd=getAllCachedLuns"}, Answer({}));
    Outputs o{};
    o.rc = IsUserOperationValidForVirtualDisk("reactivate", "0", "1", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{0, 0x80000000, 0x80000000}));
    o.rc = IsUserOperationValidForVirtualDisk("reactivate", "0", "1", &o.supported, &o.current,
                                              "/dev/sdc");
    EXPECT_EQ(o, (Outputs{1756, 0x80000000, 0x80000000}));  // bits set first
    // A virtual disk that is not there has no device name: any name differs.
    o.rc = IsUserOperationValidForVirtualDisk("reactivate", "0", "7", &o.supported, &o.current,
                                              "/dev/sdb");
    EXPECT_EQ(o, (Outputs{1756, 0, 0}));
    o.rc = IsUserOperationValidForPartition("enabletarncache", "0", "1", "/dev/sdb1", &o.supported,
                                            &o.current);
    EXPECT_EQ(o, (Outputs{0, 0x20000000, 0}));
    EXPECT_EQ(agent.Requests().back(), (Request{"vkacmd=getPartitionsForVirtualDisk", "GlobalNo=0",
                                                "LogicalDriveNum=1", "CLI=true"}));
    o.rc = IsUserOperationValidForPartition("enabletarncache", "0", "1", "/dev/sdb9", &o.supported,
                                            &o.current);
    EXPECT_EQ(o.rc, 1753);
    o.rc =
        IsUserInputValidForCachedluns("disablewithdiscard", "0", "lun0", &o.supported, &o.current);
    EXPECT_EQ(o.rc, 1753);  // empty list
}

TEST(MaskStatuses, NoAnswerOrNoBufferIs272) {
    FakeAgent agent;
    Outputs o{};
    o.rc = IsUserOperationValidForBattery("startlearn", "0", "0", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{272, 0, 0}));
    agent.On({"vkacmd=getChannelsForController"},
             Answer({{{"Channel", "0"}, {"MasterMethodMask", Bits(1)}}}));
    kvsup_test::NoXmlBuffers noBuffers;
    o.rc = IsUserOperationValidForChannel("rescan", "0", "0", &o.supported, &o.current);
    EXPECT_EQ(o, (Outputs{272, 0, 0}));
}

}  // namespace
