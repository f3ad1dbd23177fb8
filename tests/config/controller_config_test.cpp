// "vkconfig storage controller": the requests sent, the pairs the callback
// appends or rewrites, and its refusals, against controller 0 of a small
// estate (ten disks on one connector, controller 1 with nothing).
#include <algorithm>

#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;
using fake::Tags;

constexpr uint32_t kAllRaidLevels = 2 | 4 | 64 | 128 | 512 | 2048 | 262144;
constexpr uint32_t kSecureKeyAndPi = (1u << 23) | (1u << 24) | (1u << 29) | (1u << 30) | (1u << 31);

class ControllerConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        controller_ = {
            {"GlobalNo", "0"},
            {"Name", "VK Array 900"},
            {"AttributesMask", Mask(kSecureKeyAndPi)},
            {"AttributesMask1", "0"},
            {"RAIDLevelsMask", Mask(kAllRaidLevels)},
            {"ReadPolicyMask", Mask(0x1f)},
            {"WritePolicyMask", Mask(0x0f)},
            {"CachePolicyMask", Mask(0x3)},
            {"StripeSizesMask", Mask(0x1f0)},
            {"DiskCachePolicyMask", Mask(0x7)},
            {"MaxNameLength", "15"},
            {"BGIRate", "30"},
            {"RebuildRate", "31"},
            {"CheckConsistencyRate", "32"},
            {"ReconstructRate", "33"},
            {"PatrolReadRate", "34"},
            {"ControllerMode", "1"},
            {"PatrolReadMode", "1"},
            {"SecurityMode", "1"},
            {"AbortCheckConsistencyOnError", "0"},
            {"Copyback", "0"},
            {"AutoCopybackOnPredictiveFailure", "0"},
            {"Loadbalance", "0"},
            {"PersistentHotSlot", "0"},
            {"NonRAIDDiskCachePolicy", "0"},
            {"ControllerFamily", "5"},
            {"SupportPowerSavings", "0"},
            {"SpinDownTime", "30"},
            {"DisableLDPSInterval", "2"},
            {"DisableLDPSTime", "01:00"},
            {"SpinDownConfiguredDrive", "2"},
            {"SpinDownUnconfigured", "2"},
            {"DefaultVDPSPolicyT10", "2"},
            {"SpinDownHotspare", "2"},
            {"CtrlRaidLevel1E0RLQ0", "1"},
        };
        Apply();
        estate.Set("getChannelsForController",
                   Objects({{{"ObjID", "ch0"}, {"Channel", "0"}, {"BusProtocol", "8"}}}));
        // Disks 0:0 to 0:7 are ready (state 1, convertible to non-RAID);
        // 0:8 and 0:9 are non-RAID (state 4096).
        std::vector<Tags> disks;
        for (int i = 0; i < 10; ++i) {
            disks.push_back({{"ObjID", "d" + std::to_string(i)},
                             {"Channel", "0"},
                             {"TargetID", std::to_string(i)},
                             {"AttributesMask", "0"},
                             {"ObjState", i < 8 ? "1" : "4096"},
                             {"CurrentMethodMask", Mask(1u << 22)}});
        }
        estate.SetFor("getArrayDisksForChannel", "0", Objects(disks));
        estate.Set("getArrayDisk", Objects({{{"ObjID", "d0"}}, {{"ObjID", "d1"}}}));
        MaxVds("64", 2);
        SizeLimits("1073741824", "107374182400");
    }

    void Set(const std::string& tag, const std::string& value) {
        auto it = std::find_if(controller_.begin(), controller_.end(),
                               [&](const auto& t) { return t.first == tag; });
        if (it != controller_.end())
            it->second = value;
        else
            controller_.emplace_back(tag, value);
        Apply();
    }
    void Masks(uint32_t master, uint32_t current, uint32_t master1 = 0xff,
               uint32_t current1 = 0xff) {
        master_ = master;
        current_ = current;
        master1_ = master1;
        current1_ = current1;
        Apply();
    }
    void MaxVds(const std::string& max, int present) {
        Tags info = {{"MaxVDAllowed", max}};
        for (int i = 0; i < present; ++i) info.emplace_back("LogicalDriveNum", std::to_string(i));
        estate.Set("getSingleControllerArrayInfo", Objects({info}));
    }
    void SizeLimits(const std::string& min, const std::string& max) {
        std::vector<Tags> layouts;
        // RAID 1E last: its entry ends the controller's walk.
        for (const char* layout : {"2", "4", "64", "128", "512", "2048", "262144", "524288"}) {
            layouts.push_back({{"Layout", layout},
                               {"MinimumLength", min},
                               {"Length", max},
                               {"SpanDepth", "2"},
                               {"SpanLengthList", "2,2"}});
        }
        estate.Set("sendPassThruCmdToQXSIF", Objects(layouts));
    }
    // The one change request the command sent, or empty.
    Strings ChangeSent() const {
        const auto changes = estate.Changes();
        return changes.size() == 1 ? changes.front() : Strings{};
    }

  private:
    void Apply() {
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"},
                                                  {"ObjID", "c0"},
                                                  {"AttributesMask", Mask(1u << 27)},
                                                  {"MasterMethodMask", Mask(master_)},
                                                  {"CurrentMethodMask", Mask(current_)},
                                                  {"MasterMethodMask1", Mask(master1_)},
                                                  {"CurrentMethodMask1", Mask(current1_)}},
                                                 {{"GlobalNo", "1"}, {"ObjID", "c1"}}}));
        estate.SetFor("getController", "0", Objects({controller_}));
    }

    Tags controller_;
    uint32_t master_ = 0xffffffff;
    uint32_t current_ = 0xffffffff;
    uint32_t master1_ = 0xff;
    uint32_t current1_ = 0xff;
};

struct SendCase {
    std::string args;
    Strings sent;
};

void ExpectSends(ControllerConfigTest& t, const std::vector<SendCase>& cases) {
    for (const SendCase& c : cases) {
        const auto r = t.Run("vkconfig storage controller " + c.args);
        EXPECT_TRUE(fake::EstateTest::Sent(r.get()))
            << c.args << ": " << fake::EstateTest::RefusalOf(r.get());
        EXPECT_EQ(t.ChangeSent(), c.sent) << c.args;
    }
}

struct RefusalCase {
    std::string args;
    fake::EstateTest::Refusal refusal;
};

void ExpectRefusals(ControllerConfigTest& t, const std::vector<RefusalCase>& cases) {
    for (const RefusalCase& c : cases) {
        const auto r = t.Run("vkconfig storage controller " + c.args);
        EXPECT_EQ(fake::EstateTest::RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_TRUE(t.estate.Changes().empty()) << c.args;
    }
}

// ---- requests and appended pairs -------------------------------------------------------

TEST_F(ControllerConfigTest, ActionsSendTheirRequestsWithTheirPairs) {
    ExpectSends(
        *this,
        {
            {"action=rescan controller=0", {"vkacmd=setCntrlRescan", "GlobalNo=0"}},
            {"action=resetconfig controller=0 force=yes",
             {"vkacmd=setCntrlResetConfig", "GlobalNo=0", "Force=yes"}},
            {"action=exportlog controller=0", {"vkacmd=setCntrlExportLog", "GlobalNo=0"}},
            {"action=setrebuildrate controller=0 rate=50",
             {"vkacmd=setCntrlRebuildRate", "GlobalNo=0", "RebuildRate=50"}},
            {"action=setbgirate controller=0 rate=50",
             {"vkacmd=setCntrlBGIRate", "GlobalNo=0", "Rate=50", "AttribType=1"}},
            {"action=setreconstructrate controller=0 rate=50",
             {"vkacmd=setCntrlReconstructRate", "GlobalNo=0", "Rate=50", "AttribType=3"}},
            {"action=setcheckconsistencyrate controller=0 rate=50",
             {"vkacmd=setCntrlCheckConsistencyRate", "GlobalNo=0", "Rate=50", "AttribType=4"}},
            {"action=stoppatrolread controller=0",
             {"vkacmd=setCntrlPatrolReadStop", "GlobalNo=0", "Property=12"}},
            {"action=startpatrolread controller=0",
             {"vkacmd=setCntrlPatrolReadStart", "GlobalNo=0", "Property=11"}},
            {"action=clearforeignconfig controller=0",
             {"vkacmd=setCntrlClearForeignConfig", "GlobalNo=0", "Property=6"}},
            {"action=importforeignconfig controller=0",
             {"vkacmd=setCntrlImportForeignConfig", "GlobalNo=0", "Property=7"}},
            {"action=importrecoverforeignconfig controller=0",
             {"vkacmd=setCntrlForcedImportForeignConfig", "GlobalNo=0", "Property=15"}},
            {"action=setpatrolreadmode controller=0 mode=manual",
             {"vkacmd=setCntrlPatrolReadMode", "GlobalNo=0", "PatrolReadMode=2"}},
            {"action=setcontrollermode controller=0 mode=hba",
             {"vkacmd=setCntrlMode", "GlobalNo=0", "ControllerMode=2"}},
            {"action=discardpreservedcache controller=0 force=enabled",
             {"vkacmd=setCntrlDiscardPinnedCache", "GlobalNo=0", "forcepinnedcachediscard=1"}},
            {"action=changedrivecache controller=0 protocol=sata writepolicy=disable",
             {"vkacmd=setCntrlChangeDriveCache", "GlobalNo=0", "BusProtocol=7", "Command=91"}},
            {"action=setchangecontrollerproperties controller=0 bgirate=40 Loadbalance=disabled",
             {"vkacmd=setCntrlChangeProperties", "GlobalNo=0", "Loadbalance=2", "BGIRate=40"}},
            {"action=createsecuritykey controller=0 keyid=Key1 passphrase=Secret#12",
             {"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "keyid=Key1", "Passphrase=Secret#12"}},
            {"action=createsecuritykey controller=0 keyid=Key1 passphrase=Secret#12 escrow=yes "
             "filepath=/tmp/keys.XML",
             {"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "keyid=Key1", "Passphrase=Secret#12",
              "escrow=yes", "filepath=/tmp/keys.XML"}},
            {"action=switchtodkm controller=0 lkmpassphrase=Secret#12",
             {"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "OldPassphrase=Secret#12",
              "RekeyFlag=2"}},
            {"action=convertRAIDtoNonRAID controller=0 pdisk=0:1,0:2",
             {"vkacmd=convertRAIDtoNonRAID", "GlobalNo=0", "adisk=0:1,0:2"}},
            {"action=convertNonRAIDtoRAID controller=0 adisk=0:9",
             {"vkacmd=convertNonRAIDtoRAID", "GlobalNo=0", "adisk=0:9"}},
        });
}

TEST_F(ControllerConfigTest, DebugSendsItsFixedPassThroughPairsWithoutControllerChecks) {
    const auto r = Run("vkconfig storage controller action=debug controller=7");
    ASSERT_TRUE(Sent(r.get())) << RefusalOf(r.get());
    ASSERT_EQ(estate.requests.size(), 1u);
    EXPECT_EQ(estate.requests[0], (Strings{"vkacmd=sendPassThruCmdToQXSIF", "GlobalNo=7",
                                           "NumQXSIFArgs=1", "param0=debug"}));
}

TEST_F(ControllerConfigTest, DryRunSendsNothingButShowsTheAppendedPair) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r = Run("vkconfig storage controller action=stoppatrolread controller=0");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_DRYRUN);
    EXPECT_TRUE(estate.Changes().empty());
    ASSERT_EQ(r->requestCount, 3u);
    EXPECT_STREQ(r->ppRequest[2], "Property=12");
}

TEST_F(ControllerConfigTest, UsageLeavesOutDebug) {
    const auto r = Run("vkconfig storage controller -?");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_USAGE);
    EXPECT_EQ(r->msgId, 6971u);
    const std::string usage = r->pUsageXML != nullptr ? r->pUsageXML : "";
    EXPECT_EQ(usage.find("name=\"debug\""), std::string::npos);
    EXPECT_NE(usage.find("name=\"createvdisk\""), std::string::npos);
}

TEST_F(ControllerConfigTest, DisablingCopybackWarnsAboutAutoReplaceMember) {
    testing::internal::CaptureStdout();
    const auto r =
        Run("vkconfig storage controller action=setchangecontrollerproperties "
            "controller=0 AllowRevertibleHotSpareandReplaceMember=disabled");
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(Sent(r.get())) << RefusalOf(r.get());
    EXPECT_EQ(out,
              "\n If Auto replace member on predictive failure is enabled that will also be "
              "disabled as a part of this command\n");
    EXPECT_EQ(ChangeSent(),
              (Strings{"vkacmd=setCntrlChangeProperties", "GlobalNo=0", "Copyback=2"}));
}

// ---- the common entry checks --------------------------------------------------------------

TEST_F(ControllerConfigTest, RefusesUnknownControllersAndActionsTheMasksDoNotAllow) {
    ExpectRefusals(*this, {{"action=rescan controller=5", {1600, "5", "0, 1"}}});
    Masks(0xffffffff & ~0x1u, 0xffffffff);
    ExpectRefusals(*this, {{"action=rescan controller=0", {1614, "rescan", ""}}});
    Masks(0xffffffff, 0xffffffff & ~0x1u);
    ExpectRefusals(*this, {{"action=rescan controller=0", {1615, "rescan", ""}}});
    // Creation not possible now: a full controller names its limit.
    Masks(0xffffffff, 0xffffffff & ~0x40u);
    MaxVds("2", 2);
    ExpectRefusals(
        *this, {{"action=createvdisk controller=0 raid=r0 size=10 adisk=0:0", {1642, "2", ""}}});
    MaxVds("64", 2);
    ExpectRefusals(*this, {{"action=createvdisk controller=0 raid=r0 size=10 adisk=0:0",
                            {1615, "createvdisk", ""}}});
}

TEST_F(ControllerConfigTest, FrameRefusesMalformedWordsBeforeTheCallback) {
    const std::pair<std::string, uint32_t> cases[] = {
        {"action=setrebuildrate controller=0 rate=101", CLPS_MSG_BAD_VALUE},
        {"action=setcontrollermode controller=0 mode=jbod", CLPS_MSG_BAD_KEYWORD},
        {"action=globalrescan controller=0", CLPS_MSG_BAD_ACTION},
    };
    for (const auto& [args, msg] : cases) {
        const auto r = Run("vkconfig storage controller " + args);
        EXPECT_EQ(RefusalOf(r.get()).msgId, msg) << args;
        EXPECT_TRUE(estate.requests.empty()) << args;
    }
}

TEST_F(ControllerConfigTest, MissingChoicesAreTheControllersToName) {
    // A missing "force" and a property change without any property are
    // answered by the controller's own checks, and nothing is changed.
    const std::pair<std::string, uint32_t> cases[] = {
        {"action=discardpreservedcache controller=0", 1692},
        {"action=setchangecontrollerproperties controller=0", 1687},
    };
    for (const auto& [args, msg] : cases) {
        const auto r = Run("vkconfig storage controller " + args);
        EXPECT_EQ(RefusalOf(r.get()).msgId, msg) << args;
        EXPECT_TRUE(estate.Changes().empty()) << args;
    }
}

// ---- modes, rates and properties ----------------------------------------------------------------

TEST_F(ControllerConfigTest, RefusesModesAndRatesAlreadyInForce) {
    ExpectRefusals(
        *this,
        {
            {"action=setcontrollermode controller=0 mode=raid", {1777, "raid", "hba"}},
            {"action=setpatrolreadmode controller=0 mode=auto", {1660, "auto", "manual, disable"}},
            {"action=setbgirate controller=0 rate=30", {1656, "30", ""}},
            {"action=setrebuildrate controller=0 rate=31", {1648, "31", ""}},
            {"action=setcheckconsistencyrate controller=0 rate=32", {1659, "32", ""}},
            {"action=setreconstructrate controller=0 rate=33", {1658, "33", ""}},
        });
    // A controller in HBA mode has no patrol read to set.
    Set("ControllerMode", "2");
    ExpectRefusals(*this,
                   {{"action=setpatrolreadmode controller=0 mode=manual", {1660, "manual", ""}}});
}

TEST_F(ControllerConfigTest, RefusesControllerPropertiesAlreadyInForceOrNotTaken) {
    ExpectRefusals(
        *this,
        {
            {"action=setchangecontrollerproperties controller=0 bgirate=30", {1656, "30", ""}},
            {"action=setchangecontrollerproperties controller=0 rebuildrate=31", {1648, "31", ""}},
            {"action=setchangecontrollerproperties controller=0 checkconsistencyrate=32",
             {1659, "32", ""}},
            {"action=setchangecontrollerproperties controller=0 reconstructrate=33",
             {1658, "33", ""}},
            {"action=setchangecontrollerproperties controller=0 "
             "AbortCheckConsistencyOnError=disabled",
             {1677, "disabled", ""}},
            {"action=setchangecontrollerproperties controller=0 "
             "AllowRevertibleHotSpareandReplaceMember=enabled",
             {1678, "enabled", ""}},
            {"action=setchangecontrollerproperties controller=0 "
             "AutoReplaceMemberOnPredictiveFailure=disabled",
             {1679, "disabled", ""}},
            {"action=setchangecontrollerproperties controller=0 PersistentHotSpare=disabled",
             {1718, "disabled", ""}},
            {"action=setchangecontrollerproperties controller=0 nrdiskcachepolicy=unchanged",
             {1776, "unchanged", ""}},
            {"action=setchangecontrollerproperties controller=0 Loadbalance=auto",
             {1680, "auto", ""}},
        });
    // Copyback off (1): auto replace member cannot be switched on.
    Set("Copyback", "1");
    ExpectRefusals(*this, {{"action=setchangecontrollerproperties controller=0 "
                            "AutoReplaceMemberOnPredictiveFailure=enabled",
                            {1689, "enabled", ""}}});
}

TEST_F(ControllerConfigTest, PropertiesTheControllerDoesNotCarryAreRefused) {
    estate.SetFor("getController", "0", Objects({{{"GlobalNo", "0"}}}));
    ExpectRefusals(
        *this,
        {
            {"action=setchangecontrollerproperties controller=0 PersistentHotSpare=enabled",
             {1717, "enabled", ""}},
            {"action=setchangecontrollerproperties controller=0 nrdiskcachepolicy=enabled",
             {1717, "enabled", ""}},
            {"action=setchangecontrollerproperties controller=0 Loadbalance=disabled",
             {1717, "disabled", ""}},
            {"action=setchangecontrollerproperties controller=0 bgirate=40", {1655, "BGIRate", ""}},
        });
}

// ---- security keys
// -------------------------------------------------------------------------------

TEST_F(ControllerConfigTest, SecurityKeyChecksRefuseInTheirOrder) {
    const std::string create = "action=createsecuritykey controller=0 ";
    ExpectRefusals(
        *this, {
                   {create + "keyid=" + std::string(33, 'k') + " passphrase=Secret#12",
                    {1749, std::string(33, 'k'), ""}},
                   {create + "keyid=Key1 passphrase=Short#1", {1749, "Key1", ""}},
                   {create + "keyid=Key1 passphrase=secret#12", {1705, "passphrase", "secret#12"}},
                   {create + "keyid=Key1 passphrase=Secret#ab", {1704, "passphrase", "Secret#ab"}},
                   {create + "keyid=Key1 passphrase=Secret123", {1707, "passphrase", "Secret123"}},
                   {create + "keyid=Key1 passphrase=Secret#12 escrow=no", {1728, "no", ""}},
                   {create + "keyid=Key1 passphrase=Secret#12 escrow=yes", {1723, "yes", ""}},
                   {create + "keyid=Key1 passphrase=Secret#12 filepath=/tmp/k.xml",
                    {1730, "filepath", ""}},
                   {create + "keyid=Key1 passphrase=Secret#12 escrow=yes filepath=k.txt",
                    {1729, "k.txt", ""}},
                   {"action=changesecuritykey controller=0 keyid=Key1 passphrase=Secret#12 "
                    "oldpassphrase=old",
                    {1703, "oldpassphrase", "old"}},
                   {"action=importsecureforeignconfig controller=0 passphrase=\x01x",
                    {1709, "passphrase", "\x01x"}},
                   {"action=enabledkm controller=0", {1615, "enabledkm", ""}},
                   {"action=rekeydkm controller=0", {1733, "rekeydkm", ""}},
                   {"action=switchtolkm controller=0 keyid=Key1 passphrase=Secret#12",
                    {1735, "switchtolkm", ""}},
               });
}

TEST_F(ControllerConfigTest, SecurityModesDecideKeyManagementSwitches) {
    Set("SecurityMode", "2");  // external key management in force
    ExpectRefusals(
        *this,
        {
            {"action=enabledkm controller=0", {1732, "enabledkm", ""}},
            {"action=switchtodkm controller=0 lkmpassphrase=Secret#12", {1734, "switchtodkm", ""}},
            {"action=rekeylkm controller=0 keyid=Key1 passphrase=Secret#12 oldpassphrase=Old#1234x",
             {1737, "rekeylkm", ""}},
        });
    ExpectSends(*this, {
                           {"action=rekeydkm controller=0",
                            {"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "RekeyFlag=2"}},
                           {"action=switchtolkm controller=0 keyid=Key1 passphrase=Secret#12",
                            {"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "keyid=Key1",
                             "Passphrase=Secret#12", "RekeyFlag=2"}},
                       });
    Set("SecurityMode", "0");  // no key
    ExpectRefusals(*this,
                   {{"action=deletesecuritykey controller=0", {1736, "deletesecuritykey", ""}}});
    ExpectSends(*this, {{"action=enabledkm controller=0",
                         {"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "RekeyFlag=1"}}});
    // Without key management (bit 29) the key actions are not supported.
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 29)));
    ExpectRefusals(*this,
                   {
                       {"action=createsecuritykey controller=0 keyid=Key1 passphrase=Secret#12",
                        {1614, "createsecuritykey", ""}},
                       {"action=unlockdkmforeignconfig controller=0", {1735, "", ""}},
                   });
}

TEST_F(ControllerConfigTest, KeyDeletionWithoutASecurityModeGoesByTheAttributes) {
    Set("SecurityMode", "");
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 24)));
    ExpectRefusals(*this,
                   {{"action=deletesecuritykey controller=0", {1736, "deletesecuritykey", ""}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 23)));
    ExpectRefusals(*this,
                   {{"action=deletesecuritykey controller=0", {1614, "deletesecuritykey", ""}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi));
    ExpectSends(*this, {{"action=deletesecuritykey controller=0",
                         {"vkacmd=setCntrlSecurityKey", "GlobalNo=0"}}});
}

TEST_F(ControllerConfigTest, SecureForeignImportNeedsAKey) {
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 24)));
    ExpectRefusals(
        *this, {{"action=importsecureforeignconfig controller=0 passphrase=Key", {1714, "", ""}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi));
    ExpectSends(*this, {{"action=importsecureforeignconfig controller=0 passphrase=Key",
                         {"vkacmd=setCntrlUnlockForeignDrives", "GlobalNo=0", "Passphrase=Key"}}});
}

// ---- power management ---------------------------------------------------------------------------

TEST_F(ControllerConfigTest, PowerSettingsOfOrdinaryControllers) {
    const std::string power = "action=setpdiskpwrmanagement controller=0 ";
    ExpectRefusals(*this,
                   {
                       {power + "idlec=enabled", {1748, "setpdiskpwrmanagement", ""}},
                       {power + "spinupstarttime=02:00", {1748, "setpdiskpwrmanagement", ""}},
                       {power + "spindowntimeinterval=20", {1720, "20", ""}},
                       {power + "spindowntimeinterval=3x", {1720, "3x", ""}},
                       {power + "spindowntimeinterval=30", {1719, "30", ""}},
                       {power + "spindownhotspares=disabled", {1722, "setpdiskpwrmanagement", ""}},
                   });
    ExpectSends(*this, {{power + "spindownhotspares=enabled spindowntimeinterval=60",
                         {"vkacmd=setCntrlChangeProperties", "GlobalNo=0", "SpinDownHotspare=1",
                          "SpinDownTime=60"}}});
}

TEST_F(ControllerConfigTest, PowerSettingsOfPowerSavingControllers) {
    Set("ControllerFamily", "8");
    Set("SupportPowerSavings", "1");
    const std::string all = "action=setpdiskpwrmanagement controller=0 spindownconfigureddrives=";
    ExpectRefusals(*this, {
                              {"action=setpdiskpwrmanagement controller=0 idlec=enabled",
                               {1730, "spindownconfigureddrives", ""}},
                              {all + "disabled spindownunconfigureddrives=disabled idlec=disabled "
                                     "spindownhotspares=disabled",
                               {1722, "setpdiskpwrmanagement", ""}},
                              {all + "disabled spindownunconfigureddrives=disabled idlec=disabled "
                                     "spindownhotspares=disabled "
                                     "spindowntimeinterval=60",
                               {1726, "setpdiskpwrmanagement", ""}},
                              {all + "enabled spindownunconfigureddrives=enabled idlec=enabled "
                                     "spindownhotspares=enabled "
                                     "spinuptimeinterval=25 spinupstarttime=02:00",
                               {1744, "25", ""}},
                              {all + "enabled spindownunconfigureddrives=enabled idlec=enabled "
                                     "spindownhotspares=enabled "
                                     "spinupstarttime=25:00",
                               {1745, "25:00", ""}},
                              {all + "enabled spindownunconfigureddrives=enabled idlec=enabled "
                                     "spindownhotspares=enabled "
                                     "spinuptimeinterval=4",
                               {1751, "4", ""}},
                          });
    // Flag B: the four settings go together.
    Set("AttributesMask1", "1");
    ExpectRefusals(*this, {{all + "enabled spindownunconfigureddrives=disabled idlec=enabled "
                                  "spindownhotspares=enabled",
                            {1614, "setpdiskpwrmanagement", ""}}});
}

// ---- conversions
// ------------------------------------------------------------------------------------

TEST_F(ControllerConfigTest, ConversionsRefuseDisksNotInTheRightState) {
    ExpectRefusals(*this, {
                              {"action=convertNonRAIDtoRAID controller=0 adisk=0:9,0:1",
                               {1602, "0:1", "0:8, 0:9"}},
                              {"action=convertRAIDtoNonRAID controller=0 adisk=0:8",
                               {1602, "0:8", "0:0, 0:1, 0:2, 0:3, 0:4, 0:5, 0:6, 0:7"}},
                              {"action=convertRAIDtoNonRAID controller=0 adisk=0:1 pdisk=0:2",
                               {1668, "", "0:0, 0:1, 0:2, 0:3, 0:4, 0:5, 0:6, 0:7"}},
                              {"action=convertRAIDtoNonRAID controller=0",
                               {1667, "", "0:0, 0:1, 0:2, 0:3, 0:4, 0:5, 0:6, 0:7"}},
                          });
}

// ---- virtual-disk creation
// ----------------------------------------------------------------------------

constexpr const char* kCreate = "action=createvdisk controller=0 ";

TEST_F(ControllerConfigTest, CreationSendsTheSizeInBytesAndTheTranslatedPolicies) {
    ExpectSends(
        *this, {
                   {std::string(kCreate) +
                        "raid=r1 size=10 pdisk=0:0,0:1 readpolicy=ara stripesize=64kb name=Data",
                    {"vkacmd=setCntrlCreateVD", "GlobalNo=0", "adisk=0:0,0:1", "Length=10737418240",
                     "Layout=4", "Name=Data", "StripeSize=128", "ReadPolicy=8"}},
                   {std::string(kCreate) + "raid=r0 size=2048m adisk=0:0",
                    {"vkacmd=setCntrlCreateVD", "GlobalNo=0", "adisk=0:0", "Length=2147483648",
                     "Layout=2"}},
                   {std::string(kCreate) + "raid=r5 size=MAX adisk=0:0,0:1,0:2",
                    {"vkacmd=setCntrlCreateVD", "GlobalNo=0", "adisk=0:0,0:1,0:2",
                     "Length=107374182400", "Layout=64"}},
                   {std::string(kCreate) + "raid=r10 size=min adisk=0:0,0:1,0:2,0:3,0:4,0:5",
                    {"vkacmd=setCntrlCreateVD", "GlobalNo=0", "adisk=0:0,0:1,0:2,0:3,0:4,0:5",
                     "Length=1073741824", "Layout=512"}},
               });
}

TEST_F(ControllerConfigTest, CreationRefusesInTheOrderOfItsChecks) {
    const std::string c = kCreate;
    ExpectRefusals(
        *this,
        {
            {c + "raid=r1 size=10 adisk=0:0,0:1,0:2", {1635, "3", ""}},
            {c + "raid=r5 size=10 adisk=0:0,0:1", {1636, "2", ""}},
            {c + "raid=r6 size=10 adisk=0:0,0:1,0:2", {1672, "3", ""}},
            {c + "raid=r10 size=10 adisk=0:0,0:1,0:2,0:3,0:4", {1637, "5", ""}},
            {c + "raid=r50 size=10 adisk=0:0,0:1,0:2,0:3,0:4", {1638, "5", ""}},
            {c + "raid=r60 size=10 adisk=0:0,0:1,0:2,0:3,0:4,0:5,0:6", {1673, "7", ""}},
            {c + "raid=r50 size=10 adisk=0:0,0:1,0:2,0:3,0:4,0:5", {1631, "", ""}},
            {c + "raid=r60 size=10 adisk=0:0,0:1,0:2,0:3,0:4,0:5,0:6,0:7", {1671, "", ""}},
            {c + "raid=r50 size=10 spanlength=2 adisk=0:0,0:1,0:2,0:3,0:4,0:5", {1685, "2", ""}},
            {c + "raid=r60 size=10 spanlength=3 adisk=0:0,0:1,0:2,0:3,0:4,0:5,0:6,0:7",
             {1686, "3", ""}},
            {c + "raid=r10 size=10 spanlength=3 adisk=0:0,0:1,0:2,0:3,0:4,0:5", {1632, "3", ""}},
            {c + "raid=r10 size=10 spanlength=4 adisk=0:0,0:1,0:2,0:3,0:4,0:5", {1632, "4", ""}},
            {c + "raid=r10 size=10 spanlength=22 adisk=0:0,0:1,0:2,0:3", {1715, "22", ""}},
            {c + "raid=r5 size=10 spanlength=2 adisk=0:0,0:1,0:2", {1651, "2", ""}},
            {c + "raid=r0 size=10 adisk=0:0,0:12",
             {1602, "0:12", "0:0, 0:1, 0:2, 0:3, 0:4, 0:5, 0:6, 0:7, 0:8, 0:9"}},
            {c + "raid=r0 size=10 adisk=0:0 pdisk=0:1", {1668, "", ""}},
            {c + "raid=r0 size=10 adisk=0:0 name=Bad*Name",
             {1621, "Bad*Name", "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces."}},
            {c + "raid=r0 size=10 adisk=0:0 readpolicy=nra writepolicy=fwb",
             {1611, "fwb", "wc, nwc, wb, wt"}},
            {c + "raid=r0 size=10 adisk=0:0 stripesize=2kb",
             {1613, "2kb", "8kb, 16kb, 32kb, 64kb, 128kb"}},
            {c + "raid=r0 size=10 adisk=0:0 SecureFlag=no", {1706, "no", ""}},
            {c + "raid=r0 size=10 adisk=0:0 VdPIEnabled=no", {1764, "no", ""}},
            {c + "raid=r0 size=10x adisk=0:0", {1607, "10x", ""}},
            {c + "raid=r0 size=1.2.3 adisk=0:0", {1606, "1.2.3", ""}},
            {c + "raid=r0 size=200 adisk=0:0", {1646, "1024.00", "102400.00"}},
            {c + "raid=r0 size=10b adisk=0:0", {1646, "1024.00", "102400.00"}},
            {c + "raid=r10 size=200 spanlength=2 adisk=0:0,0:1,0:2,0:3",
             {1684, "1024.00", "102400.00"}},
        });
}

TEST_F(ControllerConfigTest, CreationFollowsTheControllersCapabilities) {
    Set("RAIDLevelsMask", Mask(2 | 4));
    ExpectRefusals(*this, {{std::string(kCreate) + "raid=r5 size=10 adisk=0:0,0:1,0:2",
                            {1609, "r5", "r0, r1"}}});
    Set("RAIDLevelsMask", Mask(kAllRaidLevels));
    Set("CachePolicyMask", "0");
    ExpectRefusals(*this, {{std::string(kCreate) + "raid=r0 size=10 adisk=0:0 cachepolicy=c",
                            {1612, "c", "None - No valid cache policies found"}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 31)));
    ExpectRefusals(*this, {{std::string(kCreate) + "raid=r0 size=10 adisk=0:0 VdPIEnabled=yes",
                            {1765, "createvdisk", ""}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 24)));
    ExpectRefusals(*this, {{std::string(kCreate) + "raid=r0 size=10 adisk=0:0 SecureFlag=yes",
                            {1713, "yes", ""}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi | (1u << 26)));
    ExpectRefusals(
        *this, {{std::string(kCreate) + "raid=r0 size=10 adisk=0:0", {1750, "createvdisk", ""}}});
    Set("AttributesMask", Mask(kSecureKeyAndPi));
    Set("CtrlRaidLevel1E0RLQ0", "0");
    ExpectRefusals(*this, {{std::string(kCreate) + "raid=r10 size=10 spanlength=4 "
                                                   "adisk=0:0,0:1,0:2,0:3,0:4,0:5,0:6,0:7",
                            {1690, "4", ""}}});
}

TEST_F(ControllerConfigTest, RaidTenOnControllersWithoutItBecomesRaidOneE) {
    Set("RAIDLevelsMask", Mask(2 | 4 | 0x80000));
    ExpectSends(*this, {{std::string(kCreate) + "raid=r10 size=10 adisk=0:0,0:1,0:2,0:3",
                         {"vkacmd=setCntrlCreateVD", "GlobalNo=0", "adisk=0:0,0:1,0:2,0:3",
                          "Length=10737418240", "Layout=524288"}}});
    ExpectRefusals(*this,
                   {{std::string(kCreate) + "raid=r10 size=10 spanlength=2 adisk=0:0,0:1,0:2,0:3",
                     {1701, "2", ""}}});
}

TEST_F(ControllerConfigTest, ControllersThatSizeTheirSpansAddSpanData) {
    Set("AttributesMask1", Mask(1u << 8));
    ExpectSends(*this,
                {{std::string(kCreate) + "raid=r10 size=10 adisk=0:0,0:1,0:2,0:3",
                  {"vkacmd=setCntrlCreateVD", "GlobalNo=0", "adisk=0:0,0:1,0:2,0:3",
                   "Length=10737418240", "Layout=512", "SpanDepth=2", "SpanLengthList=2,2"}}});
    ExpectRefusals(*this,
                   {{std::string(kCreate) + "raid=r10 size=10 spanlength=2 adisk=0:0,0:1,0:2,0:3",
                     {1762, "2", ""}}});
    // The size query answers nothing useful: the limits are missing.
    estate.Set("sendPassThruCmdToQXSIF", "");
    ExpectRefusals(*this, {{std::string(kCreate) + "raid=r0 size=10 adisk=0:0", {1623, "", ""}}});
}

TEST_F(ControllerConfigTest, SizeQueryCarriesTheSpanLengthAndSecureFlag) {
    const auto r =
        Run(std::string("vkconfig storage controller ") + kCreate +
            "raid=r50 size=10 spanlength=3 SecureFlag=yes adisk=0:0,0:1,0:2,0:3,0:4,0:5");
    ASSERT_TRUE(Sent(r.get())) << RefusalOf(r.get());
    const auto passThru =
        std::find_if(estate.requests.begin(), estate.requests.end(),
                     [](const Strings& nv) { return nv[0] == "vkacmd=sendPassThruCmdToQXSIF"; });
    ASSERT_NE(passThru, estate.requests.end());
    const Strings& nv = *passThru;
    EXPECT_NE(std::find(nv.begin(), nv.end(), "param9=SecureFlag"), nv.end());
    EXPECT_NE(std::find(nv.begin(), nv.end(), "param14=3"), nv.end());
}

// ---- cachecade creation
// ----------------------------------------------------------------------------------

TEST_F(ControllerConfigTest, CachecadeCreation) {
    const std::string cc = "action=createcachecade controller=0 ";
    ExpectSends(
        *this,
        {{cc + "adisk=0:0,0:1 writepolicy=wt",
          {"vkacmd=setCntrlCreateEnhancedCache", "GlobalNo=0", "adisk=0:0,0:1", "WritePolicy=8"}}});
    ExpectRefusals(*this, {
                              {cc + "adisk=0:0,0:11",
                               {1742, "0:11", "0:0, 0:1, 0:2, 0:3, 0:4, 0:5, 0:6, 0:7, 0:8, 0:9"}},
                              {cc + "adisk=0:0,0:0", {1743, "0:0,0:0", ""}},
                          });
    Set("AttributesMask", Mask(kSecureKeyAndPi & ~(1u << 30)));
    ExpectRefusals(*this, {{cc + "adisk=0:0", {1614, "createcachecade", ""}}});
}

}  // namespace
