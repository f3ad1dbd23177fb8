// "vkconfig storage enclosure": requests sent and the callback's refusals.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;

constexpr uint32_t kAllEnclosureActions = 0x1C7;

class EnclosureConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}}));
        estate.SetFor("getChannelsForController", "0",
                      Objects({{{"ObjID", "ch0"}, {"Channel", "0"}, {"BusProtocol", "8"}}}));
        estate.SetFor("getEnclosuresForChannel", "0",
                      Objects({{{"ObjID", "e1"}, {"Channel", "0"}, {"EnclosureID", "1"}}}));
        Masks(kAllEnclosureActions, kAllEnclosureActions);
        Present({});
        estate.Set("getEnclosureTemperatureProbes", Objects({{{"Index", "0"},
                                                              {"LowEndMinWarning", "0"},
                                                              {"HighEndMinWarning", "20"},
                                                              {"LowEndMaxWarning", "30"},
                                                              {"HighEndMaxWarning", "60"},
                                                              {"MinWarning", "10"},
                                                              {"MaxWarning", "50"}},
                                                             {{"Index", "1"}}}));
    }
    void Masks(uint32_t master, uint32_t current) {
        estate.SetFor("getEnclosuresForController", "0",
                      Objects({{{"ObjID", "e1"},
                                {"Channel", "0"},
                                {"EnclosureID", "1"},
                                {"BusProtocol", "8"},
                                {"MasterMethodMask", Mask(master)},
                                {"CurrentMethodMask", Mask(current)}}}));
    }
    // The enclosure's present asset data, with extra tags.
    void Present(const fake::Tags& extra) {
        fake::Tags tags = {{"ObjID", "e1"},
                           {"AssetTag", "OLDTAG"},
                           {"AssetName", "old_name"},
                           {"ServiceTag", "SVC1"}};
        tags.insert(tags.end(), extra.begin(), extra.end());
        estate.Set("getEnclosure", Objects({tags}));
    }
    fake::ResponsePtr Enclosure(const std::string& args) {
        return Run("vkconfig storage enclosure controller=0 enclosure=0:1 " + args);
    }
};

TEST_F(EnclosureConfigTest, EachActionSendsItsRequest) {
    const std::pair<std::string, Strings> cases[] = {
        {"action=enablealarm", {"vkacmd=setEnclosureEnableAlarm"}},
        {"action=disablealarm", {"vkacmd=setEnclosureDisableAlarm"}},
        {"action=setservicetag servicetag=ABC123",
         {"vkacmd=setEnclosureServiceTag", "ServiceTag=ABC123"}},
        {"action=setassettag assettag=new-tag_1",
         {"vkacmd=setEnclosureAssetTag", "AssetTag=new-tag_1"}},
        {"action=setassetname assetname=rack_4",
         {"vkacmd=setEnclosureAssetName", "AssetName=rack_4"}},
        {"action=blink", {"vkacmd=setEnclosureBlink"}},
        {"action=unblink", {"vkacmd=setEnclosureUnBlink"}},
        {"action=setalltempprobes minwarn=5 maxwarn=55",
         {"vkacmd=setEnclosureTempProbes", "MinWarning=5", "MaxWarning=55"}},
        {"action=resetalltempprobes", {"vkacmd=setEnclosureResetTempProbes"}},
    };
    for (const auto& [args, sent] : cases) {
        const auto r = Enclosure(args);
        EXPECT_TRUE(Sent(r.get())) << args << ": " << RefusalOf(r.get());
        Strings expected = {sent[0], "GlobalNo=0", "Enclosure=0:1"};
        expected.insert(expected.end(), sent.begin() + 1, sent.end());
        EXPECT_EQ(estate.Changes(), std::vector<Strings>{expected}) << args;
    }
}

TEST_F(EnclosureConfigTest, FrameRefusesOverlongTagsBeforeAnyQuery) {
    for (const char* args :
         {"action=setassettag assettag=ABCDEFGHIJK", "action=setservicetag servicetag=ABCDEFGHIJK",
          "action=setassetname assetname="
          "abcdefghijabcdefghijabcdefghijabc"}) {
        const auto r = Enclosure(args);
        EXPECT_EQ(RefusalOf(r.get()).msgId, CLPS_MSG_BAD_VALUE) << args;
        EXPECT_TRUE(estate.requests.empty()) << args;
    }
}

TEST_F(EnclosureConfigTest, ServiceTagRowIsHiddenFromUsage) {
    const auto r = Run("vkconfig storage enclosure -?");
    ASSERT_NE(r, nullptr);
    ASSERT_NE(r->pUsageXML, nullptr);
    const std::string usage = r->pUsageXML;
    EXPECT_EQ(usage.find("setservicetag"), std::string::npos);
    EXPECT_NE(usage.find("setassettag"), std::string::npos);
}

TEST_F(EnclosureConfigTest, RefusesUnknownObjectsAndUnofferedActions) {
    struct Case {
        std::string line;
        uint32_t master;
        uint32_t current;
        Refusal refusal;
    };
    const uint32_t all = kAllEnclosureActions;
    const Case cases[] = {
        {"controller=2 enclosure=0:1 action=blink", all, all, {1600, "2", "0, 1"}},
        {"controller=0 enclosure=0:5 action=blink", all, all, {1605, "0:5", "0:1"}},
        {"controller=1 enclosure=0:1 action=blink",
         all,
         all,
         {1605, "0:1", "None - There are no enclosures on this controller."}},
        {"controller=0 enclosure=0:1 action=blink", all & ~0x40u, all, {1614, "blink", ""}},
        {"controller=0 enclosure=0:1 action=unblink", all, all & ~0x100u, {1615, "unblink", ""}},
        {"controller=0 enclosure=0:1 action=setassettag assettag=X",
         all & ~0x4u,
         all,
         {1614, "setassettag", ""}},
        {"controller=0 enclosure=0:1 action=resetalltempprobes",
         all,
         all & ~0x80u,
         {1615, "resetalltempprobes", ""}},
    };
    for (const Case& c : cases) {
        Masks(c.master, c.current);
        const auto r = Run("vkconfig storage enclosure " + c.line);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.line;
        EXPECT_TRUE(estate.Changes().empty()) << c.line;
    }
}

TEST_F(EnclosureConfigTest, UnreadableMasksAreReported) {
    estate.Silence("getEnclosuresForController");
    const auto r = Enclosure("action=blink");
    EXPECT_EQ(RefusalOf(r.get()), (Refusal{1655, "blink", ""}));
    EXPECT_TRUE(estate.Changes().empty());
}

TEST_F(EnclosureConfigTest, AssetAndServiceTextsAreChecked) {
    struct Case {
        std::string args;
        fake::Tags limits;
        Refusal refusal;  // msgId 0: sent
    };
    const Case cases[] = {
        // A service tag is upper case; an asset tag may hold small letters.
        {"action=setservicetag servicetag=abc1", {}, {1760, "abc1", "[A-Z,0-9]"}},
        {"action=setservicetag servicetag=ABC-1", {}, {1760, "ABC-1", "[A-Z,0-9]"}},
        {"action=setassettag assettag=abc1", {}, {}},
        {"action=setassettag assettag=a.b", {}, {1625, "a.b", "[A-Z,a-z,0-9,-,_]"}},
        {"action=setassetname assetname=a.b", {}, {1626, "a.b", "[A-Z,a-z,0-9,-,_]"}},
        // Values already in force.
        {"action=setassettag assettag=OLDTAG", {}, {1640, "OLDTAG", ""}},
        {"action=setassetname assetname=old_name", {}, {1641, "old_name", ""}},
        {"action=setservicetag servicetag=SVC1", {}, {1761, "SVC1", ""}},
        // Another case is another value.
        {"action=setassettag assettag=oldtag", {}, {}},
        // The enclosure's own limits.
        {"action=setassettag assettag=ABCDE", {{"MaxAssetTagLength", "4"}}, {1663, "ABCDE", "4"}},
        {"action=setassettag assettag=ABCD", {{"MaxAssetTagLength", "4"}}, {}},
        {"action=setassetname assetname=abcdef",
         {{"MaxAssetNameLength", "5"}},
         {1664, "abcdef", "5"}},
        // The service tag has no length limit of the enclosure's.
        {"action=setservicetag servicetag=ABCDEF", {{"MaxAssetTagLength", "4"}}, {}},
    };
    for (const Case& c : cases) {
        Present(c.limits);
        const auto r = Enclosure(c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_EQ(estate.Changes().size(), c.refusal.msgId == 0 ? 1u : 0u) << c.args;
    }
}

TEST_F(EnclosureConfigTest, TemperatureThresholdsAreCheckedAgainstTheProbe) {
    struct Case {
        std::string args;
        Refusal refusal;  // msgId 0: sent
    };
    const Case cases[] = {
        {"minwarn=21 maxwarn=50",
         {1624, "minwarn=21, maxwarn=50", "minwarn (0, 20), maxwarn (30, 60)"}},
        {"minwarn=10 maxwarn=61",
         {1624, "minwarn=10, maxwarn=61", "minwarn (0, 20), maxwarn (30, 60)"}},
        {"minwarn=0 maxwarn=60", {}},
        {"minwarn=10 maxwarn=50", {1647, "minwarn=10, maxwarn=50", ""}},
        {"minwarn=10 maxwarn=51", {}},
        {"minwarn=11 maxwarn=50", {}},
    };
    for (const Case& c : cases) {
        const auto r = Enclosure("action=setalltempprobes " + c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_EQ(estate.Changes().size(), c.refusal.msgId == 0 ? 1u : 0u) << c.args;
    }
}

TEST_F(EnclosureConfigTest, DryRunSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r = Enclosure("action=blink");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_DRYRUN));
    EXPECT_TRUE(estate.Changes().empty());
}

}  // namespace
