// "vkconfig storage globalinfo" (settings and service actions) and
// "vkconfig storage tarncache": requests sent and the callbacks' refusals.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;

constexpr uint32_t kAllRootActions = 0x1F;

// Controller 0 is the service model with virtual disks 0 and 1 and disks
// 0:1 and 0:2; controller 1 has nothing; controller 2 has virtual disk 0
// and no disks.
class GlobalConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList",
                   Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}, {{"GlobalNo", "2"}}}));
        estate.SetFor(
            "getController", "0",
            Objects(
                {{{"GlobalNo", "0"}, {"Name", "MOLR SATA 1.5/6ch"}, {"PatrolReadRate", "30"}}}));
        estate.SetFor("getController", "1", Objects({{{"GlobalNo", "1"}, {"Name", "Other 8ch"}}}));
        estate.SetFor(
            "getController", "2",
            Objects({{{"GlobalNo", "2"}, {"Name", "Other 8ch"}, {"PatrolReadRate", "5"}}}));
        estate.SetFor("getVirtualDisksForController", "0",
                      Objects({{{"LogicalDriveNum", "0"}}, {{"LogicalDriveNum", "1"}}}));
        estate.SetFor("getVirtualDisksForController", "2", Objects({{{"LogicalDriveNum", "0"}}}));
        const std::string channel =
            Objects({{{"ObjID", "ch0"}, {"Channel", "0"}, {"BusProtocol", "8"}}});
        estate.SetFor("getChannelsForController", "0", channel);
        estate.SetFor("getChannelsForController", "2", channel);
        estate.SetFor("getArrayDisksForChannel", "0",
                      Objects({{{"ObjID", "d1"}, {"Channel", "0"}, {"TargetID", "1"}},
                               {{"ObjID", "d2"}, {"Channel", "0"}, {"TargetID", "2"}}}));
        estate.Set("getSASSATARRWEThreshold", Objects({{{"RRWEThresholdSasSata", "10"}}}));
        estate.Set("getPCIeRRWEThreshold", Objects({{{"RRWEThresholdPCIe", "20"}}}));
        Root(kAllRootActions, kAllRootActions);
    }
    void Root(uint32_t master, uint32_t current) {
        estate.Set("sendPassThruCmdToQXSIF", Objects({{{"ObjID", "root"},
                                                       {"MasterMethodMask", Mask(master)},
                                                       {"CurrentMethodMask", Mask(current)}}}));
    }

    struct Case {
        std::string args;
        Refusal refusal;  // msgId 0: sent
    };
    void Expect(const std::string& command, const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            const auto r = Run(command + " " + c.args);
            EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
            EXPECT_EQ(estate.Changes().size(), c.refusal.msgId == 0 ? 1u : 0u) << c.args;
        }
    }
};

TEST_F(GlobalConfigTest, EachActionSendsItsRequest) {
    const std::pair<std::string, Strings> cases[] = {
        {"action=setnonzorncertifiedmode mode=yes", {"vkacmd=setnonzorncertifiedmode", "mode=yes"}},
        {"action=globalrescan", {"vkacmd=setCntrlGlobalRescan"}},
        {"action=enablests", {"vkacmd=setEnclosureEnableSTS"}},
        {"action=disablests", {"vkacmd=setEnclosureDisableSTS"}},
        {"action=setprotectionpolicies type=ghs raid=r60 hscount=2 warnlevel=1",
         {"vkacmd=setProtectionPolicies", "type=ghs", "Layout=262144", "hscount=2", "warnlevel=1"}},
        {"action=setprotectionpolicies type=dhs hscount=1 warnlevel=3 includeghsinvdstate=no",
         {"vkacmd=setProtectionPolicies", "type=dhs", "hscount=1", "warnlevel=3",
          "includeghsinvdstate=no"}},
        {"action=setremainingratedwriteendurancethreshold type=pciessd threshold=50",
         {"vkacmd=setRemainingRatedWriteEnduranceThreshold", "type=pciessd", "threshold=50"}},
        // The service actions, each with its own table.
        {"action=servicerequest controller=0 vdisk=1 writepolicy=wea",
         {"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "WritePolicy=16"}},
        {"action=service_replacemissingpdisk controller=0 vdisk=0 newpdisk=0:2 oldpdisk=0:7",
         {"vkacmd=setVDAddMissingDisk", "GlobalNo=0", "LogicalDriveNum=0", "newadisk=0:2",
          "oldadisk=0:7"}},
        {"action=service_patrolreadrate controller=0 rate=40",
         {"vkacmd=setCntrlPatrolReadRate", "GlobalNo=0", "Rate=40", "AttribType=2"}},
        // No callback: a controller no one checks is sent as it stands.
        {"action=Service_ChangeLearnMode controller=7 battery=0 learnmode=warn",
         {"vkacmd=setBatteryLearnMode", "GlobalNo=7", "BatteryID=0", "LearnMode=2"}},
    };
    for (const auto& [args, sent] : cases) {
        const auto r = Run("vkconfig storage globalinfo " + args);
        EXPECT_TRUE(Sent(r.get())) << args << ": " << RefusalOf(r.get());
        EXPECT_EQ(estate.Changes(), std::vector<Strings>{sent}) << args;
    }
}

TEST_F(GlobalConfigTest, DumpStoreAsksForTheStoreWithoutChecks) {
    Root(0, 0);
    const auto r = Run("vkconfig storage globalinfo action=service_dumpstore");
    EXPECT_TRUE(Sent(r.get())) << RefusalOf(r.get());
    EXPECT_EQ(estate.requests, std::vector<Strings>{{"vkacmd=getStoreDump"}});
}

TEST_F(GlobalConfigTest, DebugIsAlwaysAllowedAndHidden) {
    // Masks that allow nothing: the storage object allows debug all the same.
    Root(0, 0);
    const auto r = Run("vkconfig storage globalinfo action=debug");
    EXPECT_TRUE(Sent(r.get())) << RefusalOf(r.get());
    ASSERT_FALSE(estate.requests.empty());
    EXPECT_EQ(estate.requests.back(),
              (Strings{"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=1", "param0=debug"}));
    const auto usage = Run("vkconfig storage globalinfo -?");
    ASSERT_NE(usage, nullptr);
    ASSERT_NE(usage->pUsageXML, nullptr);
    EXPECT_EQ(std::string(usage->pUsageXML).find("debug"), std::string::npos);
}

TEST_F(GlobalConfigTest, UsageListsSettingsOnly) {
    const auto r = Run("vkconfig storage globalinfo -?");
    ASSERT_NE(r, nullptr);
    ASSERT_NE(r->pUsageXML, nullptr);
    const std::string usage = r->pUsageXML;
    EXPECT_NE(usage.find("setprotectionpolicies"), std::string::npos);
    EXPECT_EQ(usage.find("service"), std::string::npos);
}

TEST_F(GlobalConfigTest, StorageRootDecidesTheGlobalActions) {
    struct RootCase {
        uint32_t master;
        uint32_t current;
        std::string args;
        Refusal refusal;
    };
    const RootCase cases[] = {
        {0x1D, 0x1D, "action=enablests", {1614, "enablests", ""}},
        {0x1F, 0x1B, "action=disablests", {1615, "disablests", ""}},
        {0x1E, 0x1E, "action=globalrescan", {1614, "globalrescan", ""}},
        {0x17,
         0x17,
         "action=setprotectionpolicies type=ghs raid=r1 hscount=1 warnlevel=1",
         {1614, "setprotectionpolicies", ""}},
        {0x1F,
         0x0F,
         "action=setremainingratedwriteendurancethreshold type=sassata threshold=5",
         {1615, "setremainingratedwriteendurancethreshold", ""}},
        // Always allowed, whatever the masks.
        {0, 0, "action=setnonzorncertifiedmode mode=no", {}},
    };
    for (const RootCase& c : cases) {
        Root(c.master, c.current);
        const auto r = Run("vkconfig storage globalinfo " + c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
    }
}

TEST_F(GlobalConfigTest, ProtectionPolicyRules) {
    Expect("vkconfig storage globalinfo action=setprotectionpolicies",
           {
               {"type=dhs raid=r5 hscount=1 warnlevel=1 includeghsinvdstate=yes",
                {1698, "raid=r5", ""}},
               {"type=dhs hscount=1 warnlevel=1", {1699, "includeghsinvdstate", ""}},
               {"type=ghs raid=r5 hscount=1 warnlevel=1 includeghsinvdstate=yes",
                {1696, "includeghsinvdstate=yes", ""}},
               {"type=ghs hscount=1 warnlevel=1", {1697, "raid", ""}},
               {"type=ghs raid=all hscount=1 warnlevel=4", {1694, "warnlevel=4", ""}},
               {"type=ghs raid=all hscount=17 warnlevel=3", {1693, "hscount=17", ""}},
               {"type=ghs raid=all hscount=16 warnlevel=3", {}},
               {"type=dhs hscount=0 warnlevel=0 includeghsinvdstate=no",
                {1710, "includeghsinvdstate=no", ""}},
               {"type=dhs hscount=0 warnlevel=0 includeghsinvdstate=yes", {}},
               {"type=dhs hscount=0 warnlevel=1 includeghsinvdstate=no", {}},
           });
}

TEST_F(GlobalConfigTest, WriteEnduranceThresholdRules) {
    Expect("vkconfig storage globalinfo action=setremainingratedwriteendurancethreshold",
           {
               {"type=sassata threshold=0", {1771, "0", ""}},
               {"type=sassata threshold=101", {1771, "101", ""}},
               {"type=sassata threshold=10", {1773, "10", "10"}},
               {"type=pciessd threshold=10", {}},
               {"type=pciessd threshold=20", {1773, "20", "20"}},
               {"type=sassata threshold=100", {}},
           });
    estate.Set("getPCIeRRWEThreshold", Objects({{{"ObjID", "x"}}}));
    Expect("vkconfig storage globalinfo action=setremainingratedwriteendurancethreshold",
           {{"type=pciessd threshold=30", {1655, "pciessd", ""}}});
}

TEST_F(GlobalConfigTest, ServiceRequestIsForOneControllerModel) {
    Expect("vkconfig storage globalinfo action=servicerequest writepolicy=wc",
           {
               {"controller=3 vdisk=0", {1600, "3", "0, 1, 2"}},
               {"controller=0 vdisk=4", {1604, "4", "0, 1"}},
               {"controller=1 vdisk=0", {1622, "1", ""}},
               {"controller=2 vdisk=0", {1650, "servicerequest", "Other 8ch"}},
               {"controller=0 vdisk=0", {}},
           });
}

TEST_F(GlobalConfigTest, ReplaceMissingDiskChecksTheNewDisk) {
    Expect("vkconfig storage globalinfo action=service_replacemissingpdisk oldpdisk=0:9",
           {
               {"controller=3 vdisk=0 newpdisk=0:1", {1600, "3", "0, 1, 2"}},
               {"controller=0 vdisk=2 newpdisk=0:1", {1604, "2", "0, 1"}},
               {"controller=1 vdisk=0 newpdisk=0:1", {1622, "1", ""}},
               {"controller=0 vdisk=0 newpdisk=0:3", {1602, "0:3", "0:1, 0:2"}},
               {"controller=2 vdisk=0 newpdisk=0:1",
                {1602, "0:1", "None - There are no array disks on this controller."}},
           });
}

TEST_F(GlobalConfigTest, PatrolReadRateMustChangeAndBeReadable) {
    Expect("vkconfig storage globalinfo action=service_patrolreadrate",
           {
               {"controller=3 rate=10", {1600, "3", "0, 1, 2"}},
               {"controller=1 rate=10", {1661, "1", ""}},
               {"controller=0 rate=30", {1657, "30", "30"}},
               {"controller=2 rate=6", {}},
           });
}

TEST_F(GlobalConfigTest, TarnCacheConnectIsDecidedByTheStorageRoot) {
    // The storage root has no bit for "connect": the global-settings check
    // reports it as not supported.
    const auto r = Run("vkconfig storage tarncache action=connect");
    EXPECT_EQ(RefusalOf(r.get()), (Refusal{1614, "connect", ""}));
    EXPECT_TRUE(estate.Changes().empty());
}

TEST_F(GlobalConfigTest, DryRunSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r =
        Run("vkconfig storage globalinfo action=service_patrolreadrate controller=0 rate=9");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_DRYRUN));
    EXPECT_TRUE(estate.Changes().empty());
    ASSERT_EQ(r->requestCount, 4u);
    EXPECT_STREQ(r->ppRequest[3], "AttribType=2");
}

}  // namespace
