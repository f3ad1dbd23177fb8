// "vkconfig storage pciessd": cache-pool requests for a PCIe device, and the
// subsystem and device checks that refuse them.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;

constexpr uint32_t kAddToPool = 0x8000000;
constexpr uint32_t kRemoveFromPool = 0x10000000;
constexpr uint32_t kReactivate = 0x20000000;
constexpr uint32_t kAllPoolActions = kAddToPool | kRemoveFromPool | kReactivate;

class PCIeConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "3"}}}));
        Device(kAllPoolActions, kAllPoolActions);
    }
    void Device(uint32_t master, uint32_t current) {
        estate.SetFor("getArrayDisksForController", "3",
                      Objects({{{"Channel", "0"},
                                {"TargetID", "2"},
                                {"MasterMethodMask", Mask(master)},
                                {"CurrentMethodMask", Mask(current)}}}));
    }
};

TEST_F(PCIeConfigTest, EachActionSendsItsRequest) {
    const std::pair<std::string, Strings> cases[] = {
        {"addtocachepool",
         {"vkacmd=setArrayDiskAddToCachePool", "GlobalNo=3", "pciedevice=0:2", "Force=yes"}},
        {"removefromcachepool",
         {"vkacmd=setArrayDiskRemoveFromCachePool", "GlobalNo=3", "pciedevice=0:2", "Force=yes"}},
        {"Reactivate",
         {"vkacmd=setArrayDiskReactivateCachePool", "GlobalNo=3", "pciedevice=0:2", "Force=yes"}},
    };
    for (const auto& [action, sent] : cases) {
        const auto r = Run("vkconfig storage pciessd action=" + action +
                           " subsystem=3 pciedevice=0:2 force=yes");
        EXPECT_TRUE(Sent(r.get())) << action << ": " << RefusalOf(r.get());
        EXPECT_EQ(estate.Changes(), std::vector<Strings>{sent}) << action;
    }
}

TEST_F(PCIeConfigTest, RefusesUnknownSubsystemsAndActionsTheDeviceDoesNotAllow) {
    struct Case {
        uint32_t master;
        uint32_t current;
        std::string args;
        Refusal refusal;
    };
    const std::string device = " pciedevice=0:2 force=yes";
    const Case cases[] = {
        // The subsystem is checked before the device is looked at.
        {kAllPoolActions,
         kAllPoolActions,
         "action=addtocachepool subsystem=9" + device,
         {1600, "9", "0, 3"}},
        {kAllPoolActions & ~kAddToPool,
         kAllPoolActions,
         "action=addtocachepool subsystem=3" + device,
         {1614, "addtocachepool", ""}},
        {kAllPoolActions,
         kAllPoolActions & ~kReactivate,
         "action=reactivate subsystem=3" + device,
         {1615, "reactivate", ""}},
        // A device the subsystem does not have offers nothing.
        {kAllPoolActions,
         kAllPoolActions,
         "action=removefromcachepool subsystem=3 pciedevice=0:7 force=yes",
         {1614, "removefromcachepool", ""}},
    };
    for (const Case& c : cases) {
        Device(c.master, c.current);
        const auto r = Run("vkconfig storage pciessd " + c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_TRUE(estate.Changes().empty()) << c.args;
    }
    const auto r = Run("vkconfig storage pciessd action=addtocachepool subsystem=9" + device);
    ASSERT_FALSE(estate.requests.empty());
    EXPECT_EQ(estate.requests.back()[0], "vkacmd=getControllerList");
}

TEST_F(PCIeConfigTest, FrameRequiresForceYes) {
    for (const char* force : {"", " force=no"}) {
        const auto r = Run(std::string("vkconfig storage pciessd action=addtocachepool "
                                       "subsystem=3 pciedevice=0:2") +
                           force);
        EXPECT_EQ(RefusalOf(r.get()).msgId, std::string(force).empty()
                                                ? uint32_t{CLPS_MSG_MISSING_PARAM}
                                                : uint32_t{CLPS_MSG_BAD_KEYWORD})
            << force;
        EXPECT_TRUE(estate.Changes().empty()) << force;
    }
}

TEST_F(PCIeConfigTest, DryRunSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r =
        Run("vkconfig storage pciessd action=addtocachepool subsystem=3 pciedevice=0:2 force=yes");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_DRYRUN);
    EXPECT_TRUE(estate.Changes().empty());
}

}  // namespace
