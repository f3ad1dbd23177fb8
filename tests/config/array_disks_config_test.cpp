// "vkconfig storage adisk" and "vkconfig storage pdisk": the requests each
// action sends, the pairs the callback appends, and the callback's refusals
// in their order.
#include "fake_estate.h"

namespace {

using fake::Mask;
using fake::Objects;
using fake::Strings;
using fake::Tags;

constexpr uint32_t kAll = 0xFFFFFFFFu;

// One disk as both the channel walk and the controller's disk list see it.
struct DiskSpec {
    std::string channel, enclosure, target;
    uint32_t attributes = 0;
    std::string state = "1";
    uint32_t master = kAll;
    uint32_t current = kAll;
    std::string cachePolicy = "4";
    std::string bus = "8";
    std::string nvme = "0";
};

Tags DiskTags(const DiskSpec& d) {
    Tags t = {{"ObjID", "d" + d.channel + d.enclosure + d.target},
              {"Channel", d.channel},
              {"TargetID", d.target},
              {"AttributesMask", Mask(d.attributes)},
              {"ObjState", d.state},
              {"MasterMethodMask", Mask(d.master)},
              {"CurrentMethodMask", Mask(d.current)},
              {"diskwritecachepolicy", d.cachePolicy},
              {"BusProtocol", d.bus},
              {"IsDeviceNVME", d.nvme},
              {"ISECapable", "1"}};
    if (!d.enclosure.empty()) t.push_back({"EnclosureID", d.enclosure});
    return t;
}

class ArrayDisksConfigTest : public fake::EstateTest {
  public:
    void SetUp() override {
        fake::EstateTest::SetUp();
        estate.Set("getControllerList", Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}}));
        estate.Set("getController", Objects({{{"GlobalNo", "0"}}}));
        estate.SetFor("getChannelsForController", "0",
                      Objects({{{"ObjID", "c0"}, {"Channel", "0"}, {"BusProtocol", "8"}}}));
        Disks({{"0", "", "1"}, {"0", "2", "3", 0x400}});
    }
    void Disks(const std::vector<DiskSpec>& disks) {
        std::vector<Tags> objects;
        for (const DiskSpec& d : disks) objects.push_back(DiskTags(d));
        estate.SetFor("getArrayDisksForChannel", "0", Objects(objects));
        estate.SetFor("getArrayDisksForController", "0", Objects(objects));
    }
    // A command line whose last word holds blanks.
    fake::ResponsePtr RunWithLast(const std::string& line, const std::string& last) {
        estate.requests.clear();
        Strings words = fake::Words(line);
        words.push_back(last);
        std::vector<const char*> argv;
        for (const std::string& w : words) argv.push_back(w.c_str());
        return fake::ResponsePtr(
            kvclp64_sendRequest(static_cast<uint32_t>(argv.size()), argv.data()));
    }
    // The change requests a command sent, as one list.
    std::vector<Strings> RunChanges(const std::string& line) {
        const auto r = Run(line);
        EXPECT_TRUE(Sent(r.get())) << line << ": " << RefusalOf(r.get());
        return estate.Changes();
    }
};

TEST_F(ArrayDisksConfigTest, EachPDiskActionSendsItsRequest) {
    const std::pair<std::string, Strings> cases[] = {
        {"blink", {"vkacmd=setArrayDiskBlink"}},
        {"unblink", {"vkacmd=setArrayDiskUnBlink"}},
        {"remove", {"vkacmd=setArrayDiskPrepareToRemove"}},
        {"initialize", {"vkacmd=setArrayDiskInitialize"}},
        {"rebuild", {"vkacmd=setArrayDiskRebuild"}},
        {"cancelrebuild", {"vkacmd=setArrayDiskCancelRebuild"}},
        {"cancelreplacemember", {"vkacmd=setArrayDiskCancelCopyback"}},
        {"offline", {"vkacmd=setArrayDiskOffline"}},
        {"removedeadsegments", {"vkacmd=setArrayDiskRemoveDeadSegments"}},
        {"online", {"vkacmd=setArrayDiskOnline"}},
        {"clear", {"vkacmd=setArrayDiskClear", "Property=13"}},
        {"cancelclear", {"vkacmd=setArrayDiskCancelClear", "Property=14"}},
        {"exportlog", {"vkacmd=exportDiskReliabilityLog"}},
    };
    for (const auto& [action, sent] : cases) {
        Strings expected = {sent[0], "GlobalNo=0", "adisk=0:1"};
        expected.insert(expected.end(), sent.begin() + 1, sent.end());
        EXPECT_EQ(RunChanges("vkconfig storage pdisk action=" + action + " controller=0 pdisk=0:1"),
                  std::vector<Strings>{expected})
            << action;
        // The adisk table sends the same, with its own disk parameter.
        EXPECT_EQ(RunChanges("vkconfig storage adisk action=" + action + " controller=0 adisk=0:1"),
                  std::vector<Strings>{expected})
            << action;
    }
}

TEST_F(ArrayDisksConfigTest, ActionsWithTheirOwnParameters) {
    const std::pair<std::string, Strings> cases[] = {
        {"pdisk action=exportlog controller=0 pdisk=0:2:3 Filename=log-1.txt",
         {"vkacmd=exportDiskReliabilityLog", "GlobalNo=0", "adisk=0:2:3", "FileName=log-1.txt"}},
        {"pdisk action=blink controller=0 pdisk=0:1 filename=a:b",
         {"vkacmd=setArrayDiskBlink", "GlobalNo=0", "adisk=0:1", "FileName=a:b"}},
        {"pdisk action=assignglobalhotspare controller=0 pdisk=0:1 assign=yes",
         {"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:1", "set=yes"}},
        {"adisk action=assignglobalhotspare controller=0 adisk=0:1 assign=NO",
         {"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:1", "set=no"}},
        {"pdisk action=cryptographicerase controller=0 pdisk=0:1",
         {"vkacmd=setArrayDiskSecureErase", "GlobalNo=0", "adisk=0:1"}},
        {"pdisk action=convertRAIDtoNonRAID controller=0 pdisk=0:1",
         {"vkacmd=convertRAIDtoNonRAID", "GlobalNo=0", "adisk=0:1"}},
        {"adisk action=convertNonRAIDtoRAID controller=0 pdisk=0:1",
         {"vkacmd=convertNonRAIDtoRAID", "GlobalNo=0", "adisk=0:1"}},
        {"adisk action=enabledevicewritecache controller=0 pdisk=0:1",
         {"vkacmd=enableArrayDiskWriteCache", "GlobalNo=0", "adisk=0:1"}},
        {"pdisk action=disabledevicewritecache controller=0 pdisk=0:2:3",
         {"vkacmd=disableArrayDiskWriteCache", "GlobalNo=0", "adisk=0:2:3"}},
        {"pdisk action=setarraydiskcache controller=0 pdisk=0:1 cache=enabled",
         {"vkacmd=setarraydiskcache", "GlobalNo=0", "adisk=0:1", "diskwritecachepolicy=2"}},
        {"pdisk action=setarraydiskcache controller=0 pdisk=0:1 cache=default",
         {"vkacmd=setarraydiskcache", "GlobalNo=0", "adisk=0:1", "diskwritecachepolicy=8"}},
    };
    for (const auto& [args, sent] : cases)
        EXPECT_EQ(RunChanges("vkconfig storage " + args), std::vector<Strings>{sent}) << args;
}

TEST_F(ArrayDisksConfigTest, FrameKeepsEachTablesParameterNames) {
    const std::pair<std::string, uint32_t> cases[] = {
        // The adisk conversion rows name their disk "pdisk".
        {"adisk action=convertRAIDtoNonRAID controller=0 adisk=0:1", CLPS_MSG_UNEXPECTED_PARAM},
        // Only the pdisk table has the erase and cache actions.
        {"adisk action=cryptographicerase controller=0 adisk=0:1", CLPS_MSG_BAD_ACTION},
        {"adisk action=setarraydiskcache controller=0 pdisk=0:1 cache=enabled",
         CLPS_MSG_BAD_ACTION},
        // The erase rows take no file name.
        {"pdisk action=cryptographicerase controller=0 pdisk=0:1 Filename=x",
         CLPS_MSG_UNEXPECTED_PARAM},
        {"pdisk action=blink controller=0", CLPS_MSG_MISSING_PARAM},
        {"pdisk action=assignglobalhotspare controller=0 pdisk=0:1", CLPS_MSG_MISSING_PARAM},
        {"pdisk action=setarraydiskcache controller=0 pdisk=0:1 cache=on", CLPS_MSG_BAD_KEYWORD},
    };
    for (const auto& [args, status] : cases) {
        const auto r = Run("vkconfig storage " + args);
        EXPECT_EQ(RefusalOf(r.get()).msgId, status) << args;
        EXPECT_TRUE(estate.Changes().empty()) << args;
    }
}

TEST_F(ArrayDisksConfigTest, RefusesFileNamesThatCannotBeExportedTo) {
    const std::string longName(101, 'a');
    for (const std::string& name :
         {std::string("CONFIG.TXT"), std::string("con"), std::string("Con"),
          std::string("lpt9.log"), std::string("COM3"), std::string("nul.x"),
          std::string("console.log"), std::string("log."), std::string("log "), std::string("a*b"),
          std::string("a/b"), std::string("a\\b"), std::string("a?b"), std::string("a|b"),
          std::string("a<b"), std::string("a\"b"), longName}) {
        const auto r = RunWithLast("vkconfig storage pdisk action=exportlog controller=0 pdisk=0:1",
                                   "Filename=" + name);
        EXPECT_EQ(RefusalOf(r.get()), (Refusal{1778, name, ""})) << name;
        // The file name is checked before anything is asked.
        EXPECT_TRUE(estate.requests.empty()) << name;
    }
    for (const std::string& name :
         {std::string("NULL.txt"), std::string("COM0.txt"), std::string("a:b"),
          std::string("my log.txt"), std::string(100, 'b')}) {
        const auto r = RunWithLast("vkconfig storage pdisk action=exportlog controller=0 pdisk=0:1",
                                   "Filename=" + name);
        EXPECT_TRUE(Sent(r.get())) << name << ": " << RefusalOf(r.get());
    }
}

TEST_F(ArrayDisksConfigTest, RefusesUnknownControllerAndDisk) {
    struct Case {
        std::string args;
        Refusal refusal;
    };
    const Case cases[] = {
        {"pdisk action=blink controller=2 pdisk=0:1", {1600, "2", "0, 1"}},
        // The controller is tested before the action's disk.
        {"pdisk action=blink controller=7 pdisk=9:9", {1600, "7", "0, 1"}},
        {"pdisk action=blink controller=0 pdisk=0:2", {1602, "0:2", "0:1, 0:2:3"}},
        {"adisk action=blink controller=0 adisk=0:3", {1602, "0:3", "0:1, 0:2:3"}},
        {"pdisk action=blink controller=1 pdisk=0:1",
         {1602, "0:1", "None - There are no physical disks on this controller."}},
    };
    for (const Case& c : cases) {
        const auto r = Run("vkconfig storage " + c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_TRUE(estate.Changes().empty()) << c.args;
    }
}

TEST_F(ArrayDisksConfigTest, ConversionListsOnlyDisksInTheStateItNeeds) {
    // 0:1 can leave RAID now, 0:4 is a non-RAID disk, 0:5 is online.
    Disks({{"0", "", "1", 0, "1", kAll, 1u << 22},
           {"0", "", "4", 0, "4096"},
           {"0", "", "5", 0, "4"}});
    const auto toNonRaid =
        Run("vkconfig storage pdisk action=convertRAIDtoNonRAID controller=0 pdisk=0:7");
    EXPECT_EQ(RefusalOf(toNonRaid.get()), (Refusal{1602, "0:7", "0:1"}));
    const auto toRaid =
        Run("vkconfig storage pdisk action=convertNonRAIDtoRAID controller=0 pdisk=0:7");
    EXPECT_EQ(RefusalOf(toRaid.get()), (Refusal{1602, "0:7", "0:4"}));
    // No disk in the state: none to offer.
    Disks({{"0", "", "5", 0, "4"}});
    const auto none =
        Run("vkconfig storage pdisk action=convertNonRAIDtoRAID controller=0 pdisk=0:7");
    EXPECT_EQ(RefusalOf(none.get()),
              (Refusal{1602, "0:7", "None - There are no physical disks on this controller."}));
}

TEST_F(ArrayDisksConfigTest, RefusesActionsTheDiskDoesNotOffer) {
    struct Case {
        uint32_t master;
        uint32_t current;
        std::string args;
        Refusal refusal;
    };
    const Case cases[] = {
        {0, 0, "action=blink", {1614, "blink", ""}},
        {0x1, 0, "action=blink", {1615, "blink", ""}},
        {0x10,
         0x10,
         "action=assignglobalhotspare assign=no",
         {1614, "assignglobalhotspare assign=no", ""}},
        {0x20,
         0,
         "action=assignglobalhotspare assign=no",
         {1615, "assignglobalhotspare assign=no", ""}},
        {0x20,
         0x20,
         "action=assignglobalhotspare assign=yes",
         {1614, "assignglobalhotspare assign=yes", ""}},
        {0x10,
         0,
         "action=assignglobalhotspare assign=yes",
         {1615, "assignglobalhotspare assign=yes", ""}},
        // Erase and export are decided by the current mask alone.
        {kAll, 0, "action=cryptographicerase", {1614, "cryptographicerase", ""}},
        {kAll, 0, "action=exportlog", {1614, "exportlog", ""}},
        // The disk cache goes by the master mask's bit 0x20 alone.
        {0x1, kAll, "action=setarraydiskcache cache=enabled", {1614, "setarraydiskcache", ""}},
    };
    for (const Case& c : cases) {
        Disks({{"0", "", "1", 0, "1", c.master, c.current}});
        const auto r = Run("vkconfig storage pdisk controller=0 pdisk=0:1 " + c.args);
        EXPECT_EQ(RefusalOf(r.get()), c.refusal) << c.args;
        EXPECT_TRUE(estate.Changes().empty()) << c.args;
    }
    Disks({{"0", "", "1", 0, "1", 0x20, 0}});
    const auto cache =
        Run("vkconfig storage pdisk action=setarraydiskcache controller=0 pdisk=0:1 cache=enabled");
    EXPECT_TRUE(Sent(cache.get())) << RefusalOf(cache.get());
}

TEST_F(ArrayDisksConfigTest, RefusesTheCacheSettingInForce) {
    const std::pair<std::string, std::string> same[] = {
        {"2", "enabled"}, {"4", "disabled"}, {"8", "default"}};
    for (const auto& [present, keyword] : same) {
        Disks({{"0", "", "1", 0, "1", kAll, kAll, present}});
        const auto r =
            Run("vkconfig storage pdisk action=setarraydiskcache controller=0 pdisk=0:1 cache=" +
                keyword);
        EXPECT_EQ(RefusalOf(r.get()).msgId, 1777u) << keyword;
        EXPECT_TRUE(estate.Changes().empty()) << keyword;
    }
    // The keyword is compared as typed.
    Disks({{"0", "", "1", 0, "1", kAll, kAll, "2"}});
    EXPECT_EQ(RunChanges("vkconfig storage pdisk action=setarraydiskcache controller=0 pdisk=0:1 "
                         "cache=Enabled"),
              (std::vector<Strings>{{"vkacmd=setarraydiskcache", "GlobalNo=0", "adisk=0:1",
                                     "diskwritecachepolicy=2"}}));
}

TEST_F(ArrayDisksConfigTest, SecureEraseFlavoursFollowTheDisk) {
    struct Case {
        std::string bus, nvme, action;
        bool sent;
    };
    const Case cases[] = {
        {"9", "0", "cryptographicerase", false}, {"9", "1", "cryptographicerase", true},
        {"8", "0", "cryptographicerase", true},  {"9", "1", "instantsecureerase", false},
        {"9", "0", "instantsecureerase", false}, {"8", "0", "instantsecureerase", false},
    };
    for (const Case& c : cases) {
        Disks({{"0", "", "1", 0, "1", kAll, kAll, "4", c.bus, c.nvme}});
        const auto r = Run("vkconfig storage pdisk controller=0 pdisk=0:1 action=" + c.action);
        if (c.sent) {
            EXPECT_TRUE(Sent(r.get())) << c.bus << c.nvme << c.action << ": " << RefusalOf(r.get());
        } else {
            EXPECT_EQ(RefusalOf(r.get()), (Refusal{1615, c.action, ""})) << c.bus << c.nvme;
            EXPECT_TRUE(estate.Changes().empty());
        }
    }
}

TEST_F(ArrayDisksConfigTest, DryRunChecksButSendsNothing) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    const auto r = Run("vkconfig storage pdisk action=clear controller=0 pdisk=0:1");
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_DRYRUN));
    const Strings planned = Planned(r.get());
    EXPECT_EQ(planned,
              (Strings{"vkacmd=setArrayDiskClear", "GlobalNo=0", "adisk=0:1", "Property=13"}));
    EXPECT_TRUE(estate.Changes().empty());
    const auto refused = Run("vkconfig storage pdisk action=clear controller=5 pdisk=0:1");
    EXPECT_EQ(RefusalOf(refused.get()).msgId, 1600u);
}

// Each object answers help with its own usage message (the actions listed
// are checked against the tables by the vocabulary dump's tests).
TEST_F(ArrayDisksConfigTest, EachObjectHasItsUsage) {
    for (const auto& [object, usage] : {std::pair{"adisk", 6991u}, std::pair{"pdisk", 6997u}}) {
        const auto r = Run(std::string("vkconfig storage ") + object + " -?");
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, static_cast<uint32_t>(CLPS_RESP_USAGE)) << object;
        EXPECT_EQ(r->msgId, usage) << object;
    }
}

}  // namespace
