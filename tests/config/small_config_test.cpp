// The smaller configuration commands: partition, connector, NVMe adapter,
// cached LUN (tarncachedisk) and cachecade.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;

// Cachecade actions of the virtual-disk masks: delete, blink, unblink,
// rename, resize.
constexpr uint32_t kCachecadeActions = 0x10 | 0x100 | 0x200 | 0x400 | 0x10000000;

class SmallConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}}));
        // Stripe sizes offered: 64 KB and 1 MB.
        estate.SetFor("getController", "0",
                      Objects({{{"GlobalNo", "0"},
                                {"MaxNameLength", "15"},
                                {"StripeSizesMask", Mask(128 | 2048)}}}));
        estate.SetFor("getChannelsForController", "0",
                      Objects({{{"ObjID", "ch0"},
                                {"Channel", "0"},
                                {"BusProtocol", "8"},
                                {"MasterMethodMask", "1"},
                                {"CurrentMethodMask", "1"}},
                               {{"ObjID", "ch1"},
                                {"Channel", "1"},
                                {"BusProtocol", "8"},
                                {"MasterMethodMask", "1"},
                                {"CurrentMethodMask", "0"}}}));
        estate.SetFor("getNVMeAdaptersForController", "0",
                      Objects({{{"Channel", "4"},
                                {"MasterMethodMask", Mask(0x4200000)},
                                {"CurrentMethodMask", Mask(0x4000000)}}}));
        // Disks on the first connector only.
        estate.SetWhen("getArrayDisksForChannel", "Channel=0",
                       Objects({{{"ObjID", "d1"}, {"Channel", "0"}, {"TargetID", "1"}},
                                {{"ObjID", "d2"}, {"Channel", "0"}, {"TargetID", "2"}}}));
        const std::string masks = Mask(kCachecadeActions);
        estate.SetFor("getVirtualDisksForController", "0",
                      Objects({{{"LogicalDriveNum", "0"}, {"IsSSC", "0"}},
                               {{"LogicalDriveNum", "1"},
                                {"IsSSC", "1"},
                                {"MasterMethodMask", masks},
                                {"CurrentMethodMask", Mask(kCachecadeActions & ~0x200u)}}}));
        estate.SetFor("getVirtualDisk", "0",
                      Objects({{{"LogicalDriveNum", "0"}, {"Name", "data"}},
                               {{"LogicalDriveNum", "1"}, {"Name", "cache1"}}}));
        estate.Set(
            "getAllCachedLuns",
            Objects(
                {{{"CacheLunName", "lun_a"}, {"MasterMethodMask", "1"}, {"CurrentMethodMask", "1"}},
                 {{"CacheLunName", "lun_b"},
                  {"MasterMethodMask", "1"},
                  {"CurrentMethodMask", "0"}}}));
    }

    struct Case {
        std::string line;
        Refusal refusal;  // msgId 0: sent
        Strings sent;     // the change sent, when sent
    };
    void Expect(const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            const auto r = Run("vkconfig storage " + c.line);
            EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.line;
            if (c.refusal.msgId == 0) {
                EXPECT_TRUE(Sent(r.get())) << c.line;
                EXPECT_EQ(estate.Changes(), std::vector<Strings>{c.sent}) << c.line;
            } else {
                EXPECT_TRUE(estate.Changes().empty()) << c.line;
            }
        }
    }
};

TEST_F(SmallConfigTest, PartitionRefreshIsSentWithoutChecks) {
    const auto r = Run("vkconfig storage partition action=refresh");
    EXPECT_TRUE(Sent(r.get())) << RefusalOf(r.get());
    EXPECT_EQ(estate.requests,
              (std::vector<Strings>{{"vkacmd=setTarnCacheRefresh", "ObjType=partition"}}));
}

TEST_F(SmallConfigTest, Connector) {
    Expect({
        {"connector action=rescan controller=0 connector=0",
         {},
         {"vkacmd=setChnlRescan", "GlobalNo=0", "Channel=0"}},
        {"connector action=rescan controller=2 connector=0", {1600, "2", "0, 1"}, {}},
        {"connector action=rescan controller=0 connector=5", {1601, "5", "0, 1"}, {}},
        {"connector action=rescan controller=0 connector=1", {1615, "rescan", ""}, {}},
    });
}

TEST_F(SmallConfigTest, NVMeAdapter) {
    Expect({
        {"nvmeadapter action=exportlog controller=0 nvmeid=4",
         {},
         {"vkacmd=exportDiskReliabilityLog", "GlobalNo=0", "Channel=4"}},
        {"nvmeadapter action=cryptographicerase controller=0 nvmeid=4",
         {1615, "cryptographicerase", ""},
         {}},
        {"nvmeadapter action=exportlog controller=0 nvmeid=3", {1601, "3", "4"}, {}},
        {"nvmeadapter action=exportlog controller=5 nvmeid=4", {1600, "5", "0, 1"}, {}},
    });
}

TEST_F(SmallConfigTest, CachedLun) {
    Expect({
        {"tarncachedisk action=disablewithdiscard tarncachedisk=lun_a",
         {},
         {"vkacmd=setTarnCacheDiskOperation", "Name=lun_a", "TarnCacheDiskMethod=DisableDiscard"}},
        {"tarncachedisk action=disablewithdiscard tarncachedisk=lun_c",
         {1759, "lun_c", "lun_a, lun_b"},
         {}},
        {"tarncachedisk action=disablewithdiscard tarncachedisk=lun_b",
         {1615, "disablewithdiscard", ""},
         {}},
    });
    estate.Set("getAllCachedLuns", "");
    Expect({{"tarncachedisk action=disablewithdiscard tarncachedisk=lun_a",
             {1759, "lun_a", "None - There are no cached LUNs."},
             {}}});
}

TEST_F(SmallConfigTest, CachecadeActionsSendVirtualDiskRequests) {
    const std::string head = "cachecade controller=0 cachecade=1 ";
    Expect({
        {head + "action=blink", {}, {"vkacmd=setVDBlink", "GlobalNo=0", "LogicalDriveNum=1"}},
        {head + "action=deletecachecade force=yes",
         {},
         {"vkacmd=setVDdelete", "GlobalNo=0", "LogicalDriveNum=1", "Force=yes"}},
        {head + "action=resize pdisk=0:1,0:2 stripesize=64kb",
         {},
         {"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "StripeSize=128",
          "adisk=0:1,0:2"}},
        {head + "action=resize adisk=0:2",
         {},
         {"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "adisk=0:2"}},
        {head + "action=rename name=fast_cache",
         {},
         {"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "Name=fast_cache"}},
    });
}

TEST_F(SmallConfigTest, CachecadeRefusals) {
    Expect({
        {"cachecade action=blink controller=2 cachecade=1", {1600, "2", "0, 1"}, {}},
        {"cachecade action=blink controller=0 cachecade=0", {1739, "0", "1"}, {}},
        {"cachecade action=blink controller=1 cachecade=0", {1740, "0", ""}, {}},
        {"cachecade action=unblink controller=0 cachecade=1", {1615, "unblink", ""}, {}},
        {"cachecade action=resize controller=0 cachecade=1 adisk=0:1 pdisk=0:2",
         {1668, "0:1", "adisk, pdisk"},
         {}},
        {"cachecade action=resize controller=0 cachecade=1 stripesize=1mb",
         {1667, "", "adisk, pdisk"},
         {}},
        {"cachecade action=resize controller=0 cachecade=1 adisk=0:1 stripesize=8kb",
         {1613, "8kb", "64kb, 1mb"},
         {}},
        {"cachecade action=resize controller=0 cachecade=1 adisk=0:1,0:9",
         {1602, "0:9", "0:1, 0:2"},
         {}},
        {"cachecade action=rename controller=0 cachecade=1 name=a.b",
         {1621, "a.b", "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces."},
         {}},
        {"cachecade action=rename controller=0 cachecade=1 name=abcdefghijklmnop",
         {1630, "abcdefghijklmnop", "15"},
         {}},
        {"cachecade action=rename controller=0 cachecade=1 name=data", {1639, "data", ""}, {}},
    });
}

TEST_F(SmallConfigTest, DryRunSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    for (const char* line : {"vkconfig storage partition action=refresh",
                             "vkconfig storage connector action=rescan controller=0 connector=0",
                             "vkconfig storage cachecade action=blink controller=0 cachecade=1"}) {
        const auto r = Run(line);
        ASSERT_NE(r, nullptr) << line;
        EXPECT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_DRYRUN)) << line;
        EXPECT_TRUE(estate.Changes().empty()) << line;
    }
}

}  // namespace
