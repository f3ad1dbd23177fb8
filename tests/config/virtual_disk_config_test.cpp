// "vkconfig storage vdisk": the requests each action sends and the
// callback's refusals, in their order, against a controller with a RAID-5
// virtual disk of three members and one dedicated hot spare.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;
using fake::Tags;

constexpr uint32_t kAll = 0xFFFFFFFFu;

Tags Disk(const std::string& target, const std::string& state, uint32_t attributes) {
    return {{"ObjID", "d" + target}, {"Channel", "0"},    {"TargetID", target},
            {"BusProtocol", "8"},    {"ObjState", state}, {"AttributesMask", Mask(attributes)}};
}

class VirtualDiskConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}}));
        Controller(2 | 4 | 64 | 128 | 2048, 0x1F, 128 | 256);
        VirtualDiskMasks(kAll, kAll);
        // Present settings of disk 0; the second object is disk 1, listed
        // when the controller's names are walked.
        estate.SetFor("getVirtualDisk", "0",
                      Objects({{{"ObjID", "v0"},
                                {"LogicalDriveNum", "0"},
                                {"Name", "data"},
                                {"ReadPolicy", "4"},
                                {"WritePolicy", "1"},
                                {"CachePolicy", "1"},
                                {"DiskCachePolicy", "8"},
                                {"Layout", "64"},
                                {"Length", "1000"},
                                {"ObjState", "1"}},
                               {{"ObjID", "v1"}, {"LogicalDriveNum", "1"}, {"Name", "logs"}}}));
        // Three members and a dedicated hot spare.
        Spares(1);
        estate.SetFor("getChannelsForController", "0",
                      Objects({{{"ObjID", "c0"}, {"Channel", "0"}, {"BusProtocol", "8"}}}));
        estate.SetFor("getArrayDisksForChannel", "0",
                      Objects({Disk("0", "4", 0x2), Disk("1", "4", 0x2), Disk("2", "4", 0x2),
                               Disk("3", "1", 0), Disk("4", "1", 0), Disk("5", "2", 0)}));
        estate.SetFor("getCapsForDHS", "0", Objects({Disk("3", "1", 0), Disk("4", "1", 0)}));
        estate.SetFor("getCapsForMemberReplaceCLI", "0",
                      Objects({Disk("3", "1", 0), Disk("4", "1", 0)}));
        estate.Set("sendPassThruCmdToQXSIF",
                   Objects({Disk("0", "4", 0x2), Disk("1", "4", 0x2), Disk("2", "4", 0x2),
                            Disk("60", "1", 0x100)}));
    }
    void Controller(uint32_t raidLevels, uint32_t readPolicies, uint32_t stripeSizes,
                    uint32_t diskCachePolicies = 0xF) {
        estate.SetFor("getController", "0",
                      Objects({{{"GlobalNo", "0"},
                                {"VendorID", "5"},
                                {"AttributesMask", "0"},
                                {"MaxNameLength", "15"},
                                {"RAIDLevelsMask", Mask(raidLevels)},
                                {"ReadPolicyMask", Mask(readPolicies)},
                                {"WritePolicyMask", Mask(0x3F)},
                                {"CachePolicyMask", Mask(0x3)},
                                {"DiskCachePolicyMask", Mask(diskCachePolicies)},
                                {"StripeSizesMask", Mask(stripeSizes)}}}));
    }
    void VirtualDiskMasks(uint32_t master, uint32_t current) {
        estate.SetFor("getVirtualDisksForController", "0",
                      Objects({{{"ObjID", "v0"},
                                {"LogicalDriveNum", "0"},
                                {"Layout", "64"},
                                {"DeviceName", "/dev/sda"},
                                {"MasterMethodMask", Mask(master)},
                                {"CurrentMethodMask", Mask(current)}},
                               {{"ObjID", "v1"}, {"LogicalDriveNum", "1"}, {"Layout", "2"}}}));
    }
    void Spares(int dedicated) {
        std::vector<Tags> disks = {Disk("0", "4", 0x2), Disk("1", "4", 0x2), Disk("2", "4", 0x2)};
        for (int i = 0; i < dedicated; ++i)
            disks.push_back(Disk("6" + std::to_string(i), "1", 0x100));
        estate.SetFor("getArrayDisksForVirtualDisk", "0", Objects(disks));
    }
};

constexpr const char* kVd = "vkconfig storage vdisk controller=0 vdisk=0 ";

TEST_F(VirtualDiskConfigTest, EachActionSendsItsRequest) {
    const Strings ids = {"GlobalNo=0", "LogicalDriveNum=0"};
    const std::pair<std::string, Strings> cases[] = {
        {"action=checkconsistency", {"vkacmd=setVDCheckConsistency"}},
        {"action=cancelcheckconsistency", {"vkacmd=setVDCancelCheckConsistency"}},
        {"action=pausecheckconsistency", {"vkacmd=setVDPauseCheckConsistency"}},
        {"action=resumecheckconsistency", {"vkacmd=setVDResumeCheckConsistency"}},
        {"action=blink", {"vkacmd=setVDBlink"}},
        {"action=unblink", {"vkacmd=setVDUnBlink"}},
        {"action=initialize", {"vkacmd=setVDInitialize"}},
        {"action=fastinit force=yes", {"vkacmd=setVDFastInitialize", "Force=yes"}},
        {"action=slowinit", {"vkacmd=setVDSlowInitialize"}},
        {"action=cancelinitialize", {"vkacmd=setVDCancelInitialize"}},
        {"action=restoresegments", {"vkacmd=setVDRecover"}},
        {"action=splitmirror", {"vkacmd=setVDSplitMirrorSet"}},
        {"action=unmirror", {"vkacmd=setVDUnMirror"}},
        {"action=cancelbginitialize", {"vkacmd=setVDCancelBGInitialize"}},
        {"action=assigndedicatedhotspare adisk=0:3,0:4 assign=yes",
         {"vkacmd=setVDDedicatedHotSpare", "adisk=0:3,0:4", "set=yes"}},
        {"action=assigndedicatedhotspare pdisk=0:60 assign=no",
         {"vkacmd=setVDDedicatedHotSpare", "adisk=0:60", "set=no"}},
        {"action=replacememberdisk source=0:1 destination=0:4",
         {"vkacmd=setVDMemberReplace", "sourceadisk=0:1", "destinationadisk=0:4"}},
        {"action=deletevdisk force=yes", {"vkacmd=setVDdelete", "Force=yes"}},
        {"action=format", {"vkacmd=setVDFormat"}},
        {"action=changepolicy readpolicy=ara writepolicy=wb cachepolicy=c diskcachepolicy=enabled",
         {"vkacmd=setVDReconfigure", "ReadPolicy=8", "WritePolicy=4", "CachePolicy=2",
          "DiskCachePolicy=2"}},
        {"action=clearvdbadblocks", {"vkacmd=setVDClearBadBlocks"}},
        {"action=securevd", {"vkacmd=setVDReconfigure", "AttributesMask=1"}},
        {"action=rename name=New_name-1", {"vkacmd=setVDReconfigure", "Name=New_name-1"}},
        {"action=enabletarncache cachepolicy=wb devicename=/dev/sda",
         {"vkacmd=setVDEnableTarnCache", "CacheLunMode=wb", "Name=/dev/sda"}},
        {"action=disabletarncache devicename=/dev/sda",
         {"vkacmd=setVDDisableTarnCache", "Name=/dev/sda"}},
        {"action=reactivate devicename=/dev/sda",
         {"vkacmd=setVDReactivateTarnCache", "Name=/dev/sda"}},
        // Reconfiguration: sizes are sent in bytes, a unit-less size in GB.
        {"action=reconfigure raid=r6 adisk=0:3",
         {"vkacmd=setVDReconfigure", "Layout=128", "adisk=0:3"}},
        {"action=reconfigure raid=r5 size=2",
         {"vkacmd=setVDReconfigure", "Layout=64", "Length=2147483648"}},
        {"action=reconfigure raid=r5 size=1.5m stripesize=128KB",
         {"vkacmd=setVDReconfigure", "Layout=64", "Length=1572864", "StripeSize=256"}},
        {"action=reconfigure raid=r0 pdisk=0:3,0:4",
         {"vkacmd=setVDReconfigure", "Layout=2", "adisk=0:3,0:4"}},
        {"action=reconfigure raid=r5 sizeinpercent=50",
         {"vkacmd=setVDReconfigure", "Layout=64", "VDExpansionPercent=50"}},
        {"action=reconfigure raid=r5 adisk=0:3 vdcapacityexpansion=yes",
         {"vkacmd=setVDReconfigure", "Layout=64", "adisk=0:3", "IsVDOCEPossible=1"}},
    };
    for (const auto& [args, sent] : cases) {
        const auto r = Run(kVd + args);
        EXPECT_TRUE(Sent(r.get())) << args << ": " << RefusalOf(r.get());
        Strings expected = {sent[0]};
        expected.insert(expected.end(), ids.begin(), ids.end());
        expected.insert(expected.end(), sent.begin() + 1, sent.end());
        EXPECT_EQ(estate.Changes(), std::vector<Strings>{expected}) << args;
    }
}

struct RefusalCase {
    std::string args;
    fake::EstateTest::Refusal refusal;
};

void ExpectRefusals(VirtualDiskConfigTest& t, const std::vector<RefusalCase>& cases,
                    const std::string& prefix = kVd) {
    for (const RefusalCase& c : cases) {
        const auto r = t.Run(prefix + c.args);
        EXPECT_EQ(fake::EstateTest::RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_TRUE(t.estate.Changes().empty()) << c.args;
    }
}

TEST_F(VirtualDiskConfigTest, RefusesUnknownControllerAndVirtualDisk) {
    ExpectRefusals(*this,
                   {
                       {"controller=5 vdisk=0 action=blink", {1600, "5", "0, 1"}},
                       {"controller=1 vdisk=0 action=blink", {1622, "1", ""}},
                       {"controller=0 vdisk=7 action=blink", {1604, "7", "0, 1"}},
                   },
                   "vkconfig storage vdisk ");
}

TEST_F(VirtualDiskConfigTest, RefusesActionsTheVirtualDiskDoesNotOffer) {
    VirtualDiskMasks(0x80, 0);
    ExpectRefusals(*this, {
                              {"action=blink", {1614, "blink", ""}},
                              {"action=assigndedicatedhotspare adisk=0:3 assign=yes",
                               {1615, "assigndedicatedhotspare assign=yes", ""}},
                          });
    VirtualDiskMasks(0, 0);
    ExpectRefusals(*this, {{"action=assigndedicatedhotspare adisk=0:3 assign=yes",
                            {1614, "assigndedicatedhotspare assign=yes", ""}}});
}

TEST_F(VirtualDiskConfigTest, RefusesDedicatedHotSparesItCannotTake) {
    ExpectRefusals(
        *this,
        {
            {"action=assigndedicatedhotspare adisk=0:3,0:5 assign=yes", {1629, "0:5", "0:3, 0:4"}},
            // Releasing takes one of the present dedicated spares.
            {"action=assigndedicatedhotspare adisk=0:3 assign=no", {1629, "0:3", "0:60"}},
            {"action=assigndedicatedhotspare assign=yes", {1667, "", ""}},
            {"action=assigndedicatedhotspare adisk=0:3 pdisk=0:4 assign=yes", {1668, "", ""}},
        });
    Spares(16);
    ExpectRefusals(*this,
                   {{"action=assigndedicatedhotspare adisk=0:3 assign=yes", {1700, "0:3", ""}}});
}

TEST_F(VirtualDiskConfigTest, RefusesMemberReplacementsThatDoNotFit) {
    ExpectRefusals(
        *this,
        {
            {"action=replacememberdisk source=0:3 destination=0:4", {1676, "0:3", "0:0, 0:1, 0:2"}},
            {"action=replacememberdisk source=0:1 destination=0:2", {1691, "0:2", "0:3, 0:4"}},
        });
}

TEST_F(VirtualDiskConfigTest, RefusesPoliciesInTheirOrder) {
    Controller(2 | 4 | 64 | 128 | 2048, 0x3, 128 | 256, 0x3);
    ExpectRefusals(
        *this, {
                   {"action=changepolicy readpolicy=ara", {1610, "ara", "rc, nrc"}},
                   // The disk cache policy is tested before the write policy.
                   {"action=changepolicy readpolicy=nrc diskcachepolicy=default writepolicy=fwb",
                    {1674, "default", "unchanged, enabled"}},
               });
    Controller(2 | 4 | 64 | 128 | 2048, 0x1F, 128 | 256, 0x1);
    ExpectRefusals(
        *this, {{"action=changepolicy diskcachepolicy=enabled", {1674, "enabled", "unchanged"}}});
    Controller(2 | 4 | 64 | 128 | 2048, 0x1F, 128 | 256);
    // Values already in force (ra, wc, d, default): read before write,
    // write before cache, cache before disk cache.
    ExpectRefusals(
        *this,
        {
            {"action=changepolicy writepolicy=wc readpolicy=ra", {1652, "ra", ""}},
            {"action=changepolicy cachepolicy=d writepolicy=wc", {1653, "wc", ""}},
            {"action=changepolicy diskcachepolicy=default cachepolicy=d", {1654, "d", ""}},
            {"action=changepolicy diskcachepolicy=default readpolicy=ara", {1675, "default", ""}},
        });
}

TEST_F(VirtualDiskConfigTest, RenameChecksFormLengthAndUse) {
    ExpectRefusals(
        *this, {
                   {"action=rename name=bad!name",
                    {1621, "bad!name", "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces."}},
                   {"action=rename name=a_name_of_16_chr", {1630, "a_name_of_16_chr", "15"}},
                   {"action=rename name=data", {1639, "data", ""}},
                   {"action=rename name=logs", {1639, "logs", ""}},
               });
}

TEST_F(VirtualDiskConfigTest, CacheFeatureActionsCheckTheDeviceName) {
    ExpectRefusals(
        *this,
        {
            {"action=disabletarncache devicename=/dev/sdb", {1756, "/dev/sdb", ""}},
            {"action=reactivate devicename=/dev/sd;a", {1754, "/dev/sd;a", ""}},
            {"action=enabletarncache cachepolicy=w$b devicename=/dev/sda", {1754, "w$b", ""}},
        });
}

TEST_F(VirtualDiskConfigTest, ReconfigureRefusals) {
    ExpectRefusals(
        *this,
        {
            {"action=reconfigure raid=r10 adisk=0:3", {1609, "r10", "r0, r1, r5, r6, r50"}},
            {"action=reconfigure raid=r50 adisk=0:3,0:4", {1724, "r50", "r0, r5, r6"}},
            {"action=reconfigure raid=r5 stripesize=1mb", {1613, "1mb", "64kb, 128kb"}},
            {"action=reconfigure raid=r5 adisk=0:9", {1602, "0:9", "0:0, 0:1, 0:2, 0:3, 0:4, 0:5"}},
            {"action=reconfigure raid=r5 adisk=0:3,0:5", {1627, "0:5", "0:3, 0:4"}},
            {"action=reconfigure raid=r6", {1725, "3", "4 or more disks"}},
            {"action=reconfigure raid=r5 size=10x", {1607, "10x", ""}},
            {"action=reconfigure raid=r5 size=ab", {1606, "ab", ""}},
            {"action=reconfigure raid=r5 size=100b",
             {1665, "100b", "more than the present 1000 bytes"}},
            {"action=reconfigure raid=r5 sizeinpercent=150", {1665, "150", "1 to 100 (percent)"}},
            {"action=reconfigure raid=r5",
             {1727, "0", "it already has this RAID level; give disks to add or a larger size"}},
        });
    // A controller that offers no stripe size says so.
    Controller(2 | 4 | 64 | 128, 0x1F, 0);
    ExpectRefusals(*this, {{"action=reconfigure raid=r5 stripesize=64kb",
                            {1613, "64kb", "None - No valid stripe size values found"}}});
}

TEST_F(VirtualDiskConfigTest, DryRunShowsTheRewrittenSizeAndSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r = Run(std::string(kVd) + "action=reconfigure raid=r5 size=1m");
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_DRYRUN)) << RefusalOf(r.get());
    const Strings planned = Planned(r.get());
    EXPECT_EQ(planned, (Strings{"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=0",
                                "Layout=64", "Length=1048576"}));
    EXPECT_TRUE(estate.Changes().empty());
}

TEST_F(VirtualDiskConfigTest, UsageIsTheVirtualDisksOwn) {
    const auto usage = Run("vkconfig storage vdisk -?");
    ASSERT_NE(usage, nullptr);
    EXPECT_EQ(usage->kind, static_cast<uint32_t>(CLPS_RESP_USAGE));
    EXPECT_EQ(usage->msgId, 6981u);
}

}  // namespace
