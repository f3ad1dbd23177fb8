// Configuration requests carried out by the agent: the estate after each
// request, refusals that leave it untouched, operations over simulated
// time, faults and hot spares, and concurrent writers.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <set>

#include "agent_fixture.h"
#include "mechanics.h"
#include "os/environment.h"
#include "os/module.h"

using namespace kvda;
using namespace kvda::test;

namespace {

using Pairs = std::vector<std::string>;

class AgentConfigTest : public AgentTest {
  protected:
    // Frees disks 0:0:2..0:0:5 of the default estate (its virtual disk 1).
    void freeDataDisks() { ask({"vkacmd=setVDdelete", "GlobalNo=0", "LogicalDriveNum=1"}); }
    Obj ctrl(int g = 0) {
        return ask({"vkacmd=getController", "GlobalNo=" + std::to_string(g)}).at(0);
    }
    void advance(const std::string& d) {
        const int64_t by = parseDuration(d);
        agent().mutate([&](Estate& e, int64_t& now) {
            advanceEstate(e, now, now + by);
            now += by;
        });
    }
    void fail(const std::string& disk) {
        const int64_t oid = find(kind::kDisk, 0, disk).oid;
        agent().mutate([&](Estate& e, int64_t& now) { failObject(e, now, oid); });
    }
    void replace(const std::string& disk) {
        const int64_t oid = find(kind::kDisk, 0, disk).oid;
        agent().mutate([&](Estate& e, int64_t& now) { replaceObject(e, now, oid); });
    }
    bool bit(const Obj& o, const char* mask, uint32_t b) { return fromMask(o.at(mask)) & b; }
    std::vector<std::string> alerts() {
        std::vector<std::string> out;
        for (auto& a : ask({"vkacmd=getAlertLog"})) out.push_back(a["Message"]);
        return out;
    }
};

// ---- virtual disks ---------------------------------------------------------

TEST_F(AgentConfigTest, CreatingAVirtualDiskTurnsItsDisksOnline) {
    freeDataDisks();
    auto made = ask({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=64",
                     "adisk=0:0:2,0:0:3,0:0:4", "Name=Web", "StripeSize=256", "ReadPolicy=4",
                     "WritePolicy=8", "Length=" + std::to_string(1024LL << 30)});
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0]["Name"], "Web");
    EXPECT_EQ(made[0]["LogicalDriveNum"], "1");  // the number the deleted disk left free
    EXPECT_EQ(made[0]["Layout"], "64");
    EXPECT_EQ(made[0]["StripeSize"], "256");
    EXPECT_EQ(made[0]["WritePolicy"], "8");
    EXPECT_EQ(made[0]["Length"], std::to_string(1024LL << 30));
    EXPECT_EQ(made[0]["InitState"], "2");  // parity layouts initialize in the background
    EXPECT_EQ(made[0]["Progress"], "0");
    for (auto id : {"0:0:2", "0:0:3", "0:0:4"}) {
        Obj d = disk(id);
        EXPECT_EQ(d["ObjState"], "4") << id;
        EXPECT_TRUE(bit(d, "AttributesMask", diskattr::kVdMember)) << id;
        EXPECT_FALSE(bit(d, "CurrentMethodMask", 0x10)) << id;  // no longer a spare candidate
        EXPECT_TRUE(bit(d, "CurrentMethodMask", 0x80)) << id;   // can go offline
    }
    auto members = ask({"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"});
    EXPECT_EQ(members.size(), 3u);
    EXPECT_EQ(ask({"vkacmd=getSpanInfoForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"}).size(),
              1u);
    // defaults and a generated name; a cachecade of solid-state disks
    auto second = ask({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=2", "adisk=0:0:5"});
    EXPECT_EQ(second.at(0)["Name"], "VirtualDisk2");
    EXPECT_EQ(second.at(0)["StripeSize"], "128");
    EXPECT_EQ(second.at(0)["Length"], disk("0:0:5")["Length"]);
    auto cc = ask({"vkacmd=setCntrlCreateEnhancedCache", "GlobalNo=0", "adisk=0:0:7,0:0:8"});
    EXPECT_EQ(cc.at(0)["IsSSC"], "1");
    EXPECT_TRUE(bit(disk("0:0:7"), "AttributesMask", diskattr::kCacheCade));
    EXPECT_NE(alerts().back().find("created"), std::string::npos);
}

struct Refusal {
    Pairs request;
    int status;
    std::string words;  // the message names what was wrong
};

TEST_F(AgentConfigTest, RefusedCreationsLeaveTheEstateUntouched) {
    freeDataDisks();
    const std::string three = "adisk=0:0:2,0:0:3,0:0:4";
    const std::vector<Refusal> cases{
        {{"Layout=64", three}, 2, "GlobalNo="},
        {{"GlobalNo=0", three}, 2, "Layout="},
        {{"GlobalNo=0", "Layout=64"}, 2, "adisk="},
        {{"GlobalNo=9", "Layout=64", three}, 4, "no controller 9"},
        {{"GlobalNo=1", "Layout=64", three}, 8, "HBA mode"},
        {{"GlobalNo=0", "Layout=3", three}, 7, "not a RAID layout"},
        {{"GlobalNo=0", "Layout=524288", three}, 8, "does not offer RAID 1E"},
        {{"GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3"}, 8, "at least 3"},
        {{"GlobalNo=0", "Layout=4", three}, 8, "exactly 2"},
        {{"GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:0"}, 8, "0:0:0 is not ready"},
        {{"GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:6"}, 8, "global hot spare"},
        {{"GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:7"}, 8, "media or protocol"},
        {{"GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:3"}, 7, "listed twice"},
        {{"GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:99"}, 4, "0:0:99"},
        {{"GlobalNo=0", "Layout=64", three, "Name=ThisNameIsFarTooLong"}, 7, "longer than 15"},
        {{"GlobalNo=0", "Layout=64", three, "Name=OS"}, 8, "already named"},
        {{"GlobalNo=0", "Layout=64", three, "Name=a/b"}, 7, "may hold only"},
        {{"GlobalNo=0", "Layout=64", three, "Length=99999999999999"}, 8, "beyond the free space"},
        {{"GlobalNo=0", "Layout=64", three, "Length=999999999999999999g"}, 8, "beyond the free"},
        {{"GlobalNo=0", "Layout=64", three, "Length=1024"}, 7, "below the smallest"},
        {{"GlobalNo=0", "Layout=64", three, "StripeSize=1"}, 7, "StripeSize"},
        {{"GlobalNo=0", "Layout=64", three, "WritePolicy=3"}, 7, "WritePolicy"},
        {{"GlobalNo=0", "Layout=64", three, "SecureFlag=yes"}, 8, "no security key"},
        {{"GlobalNo=0", "Layout=64", three, "VdPIEnabled=yes"}, 8, "protection information"},
        {{"GlobalNo=0", "Layout=2048", "adisk=0:0:2,0:0:3,0:0:4,0:0:5"}, 8, "at least 6"},
        {{"GlobalNo=0", "Layout=512", "adisk=0:0:2,0:0:3,0:0:4,0:0:5", "SpanLength=3"},
         7,
         "does not divide"},
    };
    const std::string before = dump();
    for (const Refusal& c : cases) {
        Pairs req{"vkacmd=setCntrlCreateVD"};
        req.insert(req.end(), c.request.begin(), c.request.end());
        std::string text = agent().send(req);
        EXPECT_EQ(statusOf(text), c.status) << text;
        EXPECT_NE(text.find(c.words), std::string::npos) << text;
        EXPECT_EQ(text.find("<QXStorageObject>"), std::string::npos);
    }
    EXPECT_EQ(dump(), before);
}

TEST_F(AgentConfigTest, DeletingAVirtualDiskFreesItsDisksAndSpares) {
    ask({"vkacmd=setVDDedicatedHotSpare", "GlobalNo=0", "LogicalDriveNum=1", "adisk=0:0:10",
         "set=yes"},
        8);  // a SATA disk cannot serve SAS members
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:6", "set=no"});
    ask({"vkacmd=setVDDedicatedHotSpare", "GlobalNo=0", "LogicalDriveNum=1", "adisk=0:0:6",
         "set=yes"});
    EXPECT_TRUE(bit(disk("0:0:6"), "AttributesMask", diskattr::kDedicatedHotSpare));
    auto freed = ask({"vkacmd=setVDdelete", "GlobalNo=0", "LogicalDriveNum=1", "Force=yes"});
    EXPECT_EQ(freed.size(), 5u);  // four members and the dedicated spare
    for (auto id : {"0:0:2", "0:0:5", "0:0:6"}) {
        Obj d = disk(id);
        EXPECT_EQ(d["ObjState"], "1") << id;
        EXPECT_EQ(fromMask(d["AttributesMask"]) & ~diskattr::kInEnclosure, 0u) << id;
        EXPECT_TRUE(bit(d, "CurrentMethodMask", 0x10)) << id;  // may become a spare again
    }
    ask({"vkacmd=getVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"}, 4);
    EXPECT_EQ(ask({"vkacmd=getVirtualDisksForController", "GlobalNo=0"}).size(), 1u);
}

TEST_F(AgentConfigTest, ReconfigureRenamesChangesPoliciesAndGrows) {
    ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=0", "Name=Boot"});
    EXPECT_EQ(vdisk("0")["Name"], "Boot");
    ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=0", "ReadPolicy=16",
         "WritePolicy=8"});
    EXPECT_EQ(vdisk("0")["ReadPolicy"], "16");
    EXPECT_EQ(vdisk("0")["WritePolicy"], "8");
    const std::string before = dump();
    ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=0", "Name=Data"}, 8);
    ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=0", "ReadPolicy=1"}, 7);
    ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=0"}, 2);
    ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "Length=1024"}, 8);
    EXPECT_EQ(dump(), before);
    // RAID 5 of four disks grows by a fifth disk: reconstruction takes time
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:6", "set=no"});
    Obj vd =
        ask({"vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "adisk=0:0:6"}).at(0);
    EXPECT_EQ(vd["ReconfigState"], "1");
    EXPECT_EQ(vd["Length"], std::to_string(4 * 2400LL * (1LL << 30)));
    EXPECT_EQ(disk("0:0:6")["ObjState"], "4");
    advance("30h");
    EXPECT_EQ(vdisk("1")["ReconfigState"], "0");
    EXPECT_EQ(vdisk("1").count("Progress"), 0u);
}

// ---- physical disks and hot spares -------------------------------------------

TEST_F(AgentConfigTest, HotSparesOnlineOfflineAndRebuild) {
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:10", "set=yes"});
    EXPECT_TRUE(bit(disk("0:0:10"), "AttributesMask", diskattr::kGlobalHotSpare));
    EXPECT_TRUE(bit(disk("0:0:10"), "CurrentMethodMask", 0x20));  // may be unassigned
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:10", "set=yes"}, 8);
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:10", "set=maybe"}, 7);
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:10", "set=no"});
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:10", "set=no"}, 8);
    // offline and online
    ask({"vkacmd=setArrayDiskOffline", "GlobalNo=0", "adisk=0:0:0"});
    EXPECT_EQ(disk("0:0:0")["ObjState"], "8");
    EXPECT_EQ(vdisk("0")["ObjState"], "16");
    EXPECT_TRUE(bit(disk("0:0:0"), "CurrentMethodMask", 0x40));  // may come online
    // the second disk of a degraded mirror cannot go offline: it would fail it
    const std::string before = dump();
    ask({"vkacmd=setArrayDiskOffline", "GlobalNo=0", "adisk=0:0:1"}, 8);
    EXPECT_EQ(dump(), before);
    ask({"vkacmd=setArrayDiskOnline", "GlobalNo=0", "adisk=0:0:0"});
    EXPECT_EQ(vdisk("0")["ObjState"], "1");
    // offline, then rebuilt in place over time
    ask({"vkacmd=setArrayDiskOffline", "GlobalNo=0", "adisk=0:0:0"});
    ask({"vkacmd=setArrayDiskRebuild", "GlobalNo=0", "adisk=0:0:0"});
    EXPECT_EQ(disk("0:0:0")["ObjState"], "32");
    EXPECT_EQ(vdisk("0")["ObjState"], "32");
    ask({"vkacmd=setArrayDiskCancelRebuild", "GlobalNo=0", "adisk=0:0:0"});
    EXPECT_EQ(disk("0:0:0")["ObjState"], "2");
    ask({"vkacmd=setArrayDiskRebuild", "GlobalNo=0", "adisk=0:0:0"});
    advance("6h");
    EXPECT_EQ(disk("0:0:0")["ObjState"], "4");
    EXPECT_EQ(vdisk("0")["ObjState"], "1");
}

TEST_F(AgentConfigTest, DiskRequestsChangeWhatTheyName) {
    struct Case {
        Pairs request;
        std::string id, tag, value;
    };
    const std::vector<Case> cases{
        {{"vkacmd=setArrayDiskBlink", "adisk=0:0:9"}, "0:0:9", "Blinking", "1"},
        {{"vkacmd=setArrayDiskUnBlink", "adisk=0:0:9"}, "0:0:9", "Blinking", "0"},
        {{"vkacmd=enableArrayDiskWriteCache", "adisk=0:0:9"}, "0:0:9", "WriteCache", "1"},
        {{"vkacmd=disableArrayDiskWriteCache", "adisk=0:0:9"}, "0:0:9", "WriteCache", "0"},
        {{"vkacmd=setarraydiskcache", "adisk=0:0:9", "diskwritecachepolicy=4"},
         "0:0:9",
         "diskwritecachepolicy",
         "4"},
        {{"vkacmd=convertRAIDtoNonRAID", "adisk=0:0:9"}, "0:0:9", "ObjState", "128"},
        {{"vkacmd=convertNonRAIDtoRAID", "adisk=0:0:9"}, "0:0:9", "ObjState", "1"},
        {{"vkacmd=setArrayDiskClear", "adisk=0:0:9", "Property=13"}, "0:0:9", "Clearing", "1"},
        {{"vkacmd=setArrayDiskCancelClear", "adisk=0:0:9", "Property=14"},
         "0:0:9",
         "Clearing",
         "0"},
        {{"vkacmd=setArrayDiskPrepareToRemove", "adisk=0:0:9"}, "0:0:9", "ObjState", "64"},
    };
    for (const Case& c : cases) {
        Pairs req = c.request;
        req.insert(req.begin() + 1, "GlobalNo=0");
        ask(req);
        EXPECT_EQ(disk(c.id)[c.tag], c.value) << req[0];
    }
    const std::string before = dump();
    for (Pairs bad : {Pairs{"vkacmd=setArrayDiskClear", "GlobalNo=0", "adisk=0:0:0"},
                      Pairs{"vkacmd=setArrayDiskOnline", "GlobalNo=0", "adisk=0:0:7"},
                      Pairs{"vkacmd=setArrayDiskRebuild", "GlobalNo=0", "adisk=0:0:7"},
                      Pairs{"vkacmd=setarraydiskcache", "GlobalNo=0", "diskwritecachepolicy=3"},
                      Pairs{"vkacmd=setArrayDiskSecureErase", "GlobalNo=0", "adisk=0:0:10"},
                      Pairs{"vkacmd=exportDiskReliabilityLog", "GlobalNo=0", "adisk=0:0:10"}})
        EXPECT_NE(statusOf(agent().send(bad)), 0) << bad[0];
    EXPECT_EQ(dump(), before);
}

TEST_F(AgentConfigTest, ExportLogsStayInTheAgentsDirectory) {
    auto out =
        ask({"vkacmd=exportDiskReliabilityLog", "GlobalNo=0", "adisk=0:0:7", "FileName=ssd.log"});
    ASSERT_FALSE(out.empty());
    EXPECT_EQ(out[0]["FileName"], (dir_ / "logs" / "ssd.log").string());
    EXPECT_TRUE(fs::exists(dir_ / "logs" / "ssd.log"));
    ask({"vkacmd=exportDiskReliabilityLog", "GlobalNo=0", "adisk=0:0:7", "FileName=/etc/passwd"},
        7);
    ask({"vkacmd=exportDiskReliabilityLog", "GlobalNo=0", "adisk=0:0:7", "FileName=../x"}, 7);
    out = ask({"vkacmd=setCntrlExportLog", "GlobalNo=0"});
    EXPECT_TRUE(fs::exists(out.at(0)["FileName"]));
}

// ---- simulated time, faults and rebuilds ---------------------------------------

TEST_F(AgentConfigTest, OperationsProgressWithSimulatedTimeAtTheControllersRates) {
    ask({"vkacmd=setVDCheckConsistency", "GlobalNo=0", "LogicalDriveNum=0"});
    EXPECT_EQ(vdisk("0")["CCState"], "1");
    ask({"vkacmd=setVDCheckConsistency", "GlobalNo=0", "LogicalDriveNum=0"}, 8);  // busy
    // 1200 GiB at rate 30 (60 MiB/s) takes 20480 s
    advance("1h");
    EXPECT_EQ(vdisk("0")["Progress"], "17");
    ask({"vkacmd=setVDPauseCheckConsistency", "GlobalNo=0", "LogicalDriveNum=0"});
    advance("2h");
    EXPECT_EQ(vdisk("0")["Progress"], "17");  // a paused check waits
    ask({"vkacmd=setVDResumeCheckConsistency", "GlobalNo=0", "LogicalDriveNum=0"});
    ask({"vkacmd=setCntrlCheckConsistencyRate", "GlobalNo=0", "Rate=60", "AttribType=4"});
    advance("1h");
    EXPECT_EQ(vdisk("0")["Progress"], "52");  // twice as fast now
    advance("2h");
    EXPECT_EQ(vdisk("0")["CCState"], "0");
    EXPECT_EQ(vdisk("0").count("Progress"), 0u);
    // the clock reads what was advanced
    EXPECT_EQ(agent().now(), 6 * 3600);
    // a battery learn cycle
    ask({"vkacmd=setBatteryStartLearn", "GlobalNo=0", "BatteryID=0"});
    auto bat = [&] { return ask({"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0"}).at(0); };
    EXPECT_EQ(bat()["ObjState"], "1024");
    advance("3h");
    EXPECT_EQ(bat()["Progress"], "50");
    advance("3h");
    EXPECT_EQ(bat()["ObjState"], "1");
    EXPECT_EQ(bat()["LearnState"], "0");
}

// The clock stays within 2024-03-04 .. 9999-12-31 whatever its speed, the
// wall clock or the durations asked: a scale out of its range is refused by
// name, a clock that would pass its end stops there, and a stored time out
// of range is a damaged estate.
TEST_F(AgentConfigTest, SimulatedTimeStaysInItsRange) {
    struct Scale {
        const char* value;
        bool taken;
    };
    // clang-format off
    const std::vector<Scale> scales = {
        {"1e17", false}, {"inf", false}, {"nan", false}, {"-1", false}, {"-inf", false},
        {"fast", false}, {"0x10", false}, {" 5", false}, {"5 ", false}, {"1000001", false},
        {"0", true}, {"0.5", true}, {"60", true}, {"1e6", true}, {"", true},
    };
    // clang-format on
    agent();
    for (const Scale& c : scales) {
        SCOPED_TRACE(c.value);
        vk::os::SetEnvironment("KVDA_TIME_SCALE", c.value);
        try {
            Agent another(path_);
            EXPECT_TRUE(c.taken);
        } catch (const Error& e) {
            EXPECT_FALSE(c.taken);
            EXPECT_NE(std::string(e.what()).find(std::string("KVDA_TIME_SCALE='") + c.value + "'"),
                      std::string::npos)
                << e.what();
        }
    }

    // The fastest clock, stored at the epoch: it stops at its end, and the
    // learn cycle running meanwhile ended when its work was done.
    ask({"vkacmd=setBatteryStartLearn", "GlobalNo=0", "BatteryID=0"});
    agent_.reset();
    {
        Db db(path_.string());
        db.exec("UPDATE meta SET value='0' WHERE key='wall_anchor'");
    }
    vk::os::SetEnvironment("KVDA_TIME_SCALE", "1e6");
    const Obj battery = ask({"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0"}).at(0);
    EXPECT_EQ(battery.at("ObjState"), "1");
    EXPECT_EQ(battery.count("Progress"), 0u);
    EXPECT_EQ(agent().now(), kMaxSimTime);
    EXPECT_EQ(formatClock(agent().now()), "9999-12-31T23:59:59");
    vk::os::SetEnvironment("KVDA_TIME_SCALE", "0");
    for (const Obj& a : ask({"vkacmd=getAlertLog"}))
        EXPECT_EQ(a.at("Time").rfind("2024-03-", 0), 0u);

    // Durations beyond the clock's span, and moving past its end, are refused
    // and change nothing.
    for (const char* d : {"99999999999999d", "251692790400s", "1099511627776s1099511627776s"})
        EXPECT_THROW(parseDuration(d), Error) << d;
    EXPECT_EQ(parseDuration("251692790399s"), kMaxSimTime);
    const std::string before = dump();
    EXPECT_THROW(advance("1s"), Error);
    EXPECT_EQ(dump(), before);

    // A stored time out of the clock's range is damage, named with its file.
    for (const char* stored : {"-5", "251692790400", "9223372036854775808", "soon"}) {
        SCOPED_TRACE(stored);
        agent_.reset();
        {
            Db db(path_.string());
            Stmt s(db, "UPDATE meta SET value=?1 WHERE key='sim_time'");
            s.bind(1, stored).run();
        }
        const Reply r = agent().reply({"vkacmd=getControllerList"});
        EXPECT_EQ(r.status, status::kStateError);
        EXPECT_NE(r.message.find(path_.string()), std::string::npos) << r.message;
        EXPECT_NE(r.message.find(stored), std::string::npos) << r.message;
    }
}

TEST_F(AgentConfigTest, AFailedMemberIsRebuiltOnAHotSpareAndCopiedBack) {
    freeDataDisks();
    ask({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:4"});
    ask({"vkacmd=setVDDedicatedHotSpare", "GlobalNo=0", "LogicalDriveNum=1", "adisk=0:0:5",
         "set=yes"});
    fail("0:0:3");
    // the dedicated spare comes before the global one
    EXPECT_EQ(disk("0:0:5")["ObjState"], "32");
    EXPECT_EQ(disk("0:0:6")["ObjState"], "1");
    EXPECT_EQ(vdisk("1")["ObjState"], "32");
    EXPECT_EQ(vdisk("1")["InitState"], "0");  // background initialization stopped
    EXPECT_EQ(vdisk("1")["Progress"], "0");
    auto members = ask({"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"});
    ASSERT_EQ(members.size(), 3u);
    EXPECT_EQ(members[1]["Name"], "Physical Disk 0:0:5");
    advance("4h");
    EXPECT_EQ(disk("0:0:5")["Progress"], "35");
    EXPECT_EQ(vdisk("1")["Progress"], "35");
    advance("8h");
    EXPECT_EQ(disk("0:0:5")["ObjState"], "4");
    EXPECT_EQ(vdisk("1")["ObjState"], "1");
    auto log = alerts();
    EXPECT_NE(
        std::find_if(log.begin(), log.end(),
                     [](auto& m) { return m.find("Rebuild completed") != std::string::npos; }),
        log.end());
    // a new disk in the failed slot takes the data back; the spare returns
    replace("0:0:3");
    EXPECT_EQ(disk("0:0:3")["ReplacingMember"], "1");
    advance("12h");
    EXPECT_EQ(disk("0:0:3")["ObjState"], "4");
    EXPECT_TRUE(bit(disk("0:0:5"), "AttributesMask", diskattr::kDedicatedHotSpare));
    EXPECT_EQ(disk("0:0:5")["ObjState"], "1");
    // without revertible spares the new disk is simply ready
    ask({"vkacmd=setCntrlChangeProperties", "GlobalNo=0", "Copyback=2"});
    fail("0:0:4");
    advance("12h");
    replace("0:0:4");
    EXPECT_EQ(disk("0:0:4")["ObjState"], "1");
    EXPECT_EQ(disk("0:0:4")["ReplacingMember"], "0");
}

TEST_F(AgentConfigTest, AMemberWithoutASpareDegradesAndRebuildsWhenReplaced) {
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:6", "set=no"});
    fail("0:0:2");
    EXPECT_EQ(vdisk("1")["ObjState"], "16");
    fail("0:0:4");
    EXPECT_EQ(vdisk("1")["ObjState"], "2");  // RAID 5 does not survive two
    replace("0:0:4");
    replace("0:0:2");
    EXPECT_EQ(disk("0:0:2")["ObjState"], "32");
    advance("1d");
    EXPECT_EQ(vdisk("1")["ObjState"], "1");
    // assigning a spare to a degraded disk starts its rebuild at once
    fail("0:0:5");
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:6", "set=yes"});
    EXPECT_EQ(disk("0:0:6")["ObjState"], "32");
}

// ---- controllers ----------------------------------------------------------------

TEST_F(AgentConfigTest, ControllerSettingsKeepTheValuesTheKeywordMapsRead) {
    Obj c = ctrl();
    // defaults within the maps: 0/1 settings, non-RAID disk cache present
    for (auto tag : {"AbortCheckConsistencyOnError", "Copyback", "AutoCopybackOnPredictiveFailure",
                     "Loadbalance", "PersistentHotSlot", "NonRAIDDiskCachePolicy"})
        EXPECT_TRUE(c[tag] == "0" || c[tag] == "1") << tag << "=" << c[tag];
    struct Case {
        std::string pair, tag, kept;
    };
    const std::vector<Case> cases{
        {"AbortCheckConsistencyOnError=1", "AbortCheckConsistencyOnError", "1"},
        {"AbortCheckConsistencyOnError=2", "AbortCheckConsistencyOnError", "0"},
        {"Copyback=2", "Copyback", "1"},
        {"Copyback=1", "Copyback", "0"},
        {"AutoCopybackOnPredictiveFailure=1", "AutoCopybackOnPredictiveFailure", "1"},
        {"Loadbalance=2", "Loadbalance", "1"},
        {"PersistentHotSlot=1", "PersistentHotSlot", "1"},
        {"DiskWriteCache=2", "NonRAIDDiskCachePolicy", "2"},
        {"RebuildRate=45", "RebuildRate", "45"},
        {"SpinDownTime=60", "SpinDownTime", "60"},
        {"SpinDownHotspare=1", "SpinDownHotspare", "1"},
    };
    for (const Case& k : cases) {
        ask({"vkacmd=setCntrlChangeProperties", "GlobalNo=0", k.pair});
        EXPECT_EQ(ctrl()[k.tag], k.kept) << k.pair;
    }
    // disabling revertible spares also disables copyback on predicted failure
    ask({"vkacmd=setCntrlChangeProperties", "GlobalNo=0", "Copyback=2"});
    EXPECT_EQ(ctrl()["AutoCopybackOnPredictiveFailure"], "0");
    const std::string before = dump();
    for (Pairs bad :
         {Pairs{"GlobalNo=0"}, Pairs{"GlobalNo=0", "Copyback=3"},
          Pairs{"GlobalNo=0", "RebuildRate=101"}, Pairs{"GlobalNo=0", "SpinDownTime=10"},
          Pairs{"GlobalNo=0", "DisableLDPSTime=25:00"},
          Pairs{"GlobalNo=0", "AutoCopybackOnPredictiveFailure=1"}}) {
        bad.insert(bad.begin(), "vkacmd=setCntrlChangeProperties");
        EXPECT_NE(statusOf(agent().send(bad)), 0) << bad.back();
    }
    EXPECT_EQ(dump(), before);
}

TEST_F(AgentConfigTest, ControllerActions) {
    struct Case {
        Pairs request;
        std::string tag, value;
    };
    const std::vector<Case> cases{
        {{"vkacmd=setCntrlRebuildRate", "RebuildRate=50"}, "RebuildRate", "50"},
        {{"vkacmd=setCntrlBGIRate", "Rate=40", "AttribType=1"}, "BGIRate", "40"},
        {{"vkacmd=setCntrlReconstructRate", "Rate=20", "AttribType=3"}, "ReconstructRate", "20"},
        {{"vkacmd=setCntrlPatrolReadRate", "Rate=10", "AttribType=2"}, "PatrolReadRate", "10"},
        {{"vkacmd=setCntrlPatrolReadMode", "PatrolReadMode=2"}, "PatrolReadMode", "2"},
        {{"vkacmd=setCntrlPatrolReadStart", "Property=11"}, "PatrolReadState", "1"},
        {{"vkacmd=setCntrlPatrolReadStop", "Property=12"}, "PatrolReadState", "0"},
    };
    for (const Case& c : cases) {
        Pairs req = c.request;
        req.insert(req.begin() + 1, "GlobalNo=0");
        ask(req);
        EXPECT_EQ(ctrl()[c.tag], c.value) << req[0];
    }
    // Drive cache: any of protocol, read and write policy; both policies at once.
    ask({"vkacmd=setCntrlChangeDriveCache", "GlobalNo=0", "Command=93", "Command=90"});
    for (auto& d : ask({"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"})) {
        EXPECT_EQ(d["ReadCache"], "0");
        EXPECT_EQ(d["WriteCache"], "1");
    }
    const std::string before = dump();
    for (Pairs bad :
         {Pairs{"vkacmd=setCntrlRebuildRate", "GlobalNo=0", "RebuildRate=x"},
          Pairs{"vkacmd=setCntrlPatrolReadStop", "GlobalNo=0"},
          Pairs{"vkacmd=setCntrlEnableAlarm", "GlobalNo=0"},
          Pairs{"vkacmd=setCntrlChangeDriveCache", "GlobalNo=0", "BusProtocol=8"},
          Pairs{"vkacmd=setCntrlChangeDriveCache", "GlobalNo=0", "Command=94"},
          Pairs{"vkacmd=setCntrlMode", "GlobalNo=0", "ControllerMode=2"},
          Pairs{"vkacmd=setCntrlClearForeignConfig", "GlobalNo=0"},
          Pairs{"vkacmd=setCntrlDiscardPinnedCache", "GlobalNo=0", "forcepinnedcachediscard=1"}})
        EXPECT_NE(statusOf(agent().send(bad)), 0) << bad[0];
    EXPECT_EQ(dump(), before);
    // reset and automatic RAID 0
    ask({"vkacmd=setCntrlResetConfig", "GlobalNo=0"});
    EXPECT_TRUE(ask({"vkacmd=getVirtualDisksForController", "GlobalNo=0"}).empty());
    EXPECT_FALSE(bit(ctrl(), "CurrentMethodMask", 0x80));  // nothing left to reset
    auto made = ask({"vkacmd=setCntrlAutoConfig", "GlobalNo=0"});
    EXPECT_EQ(made.size(), 11u);
    EXPECT_EQ(made[0]["Layout"], "2");
}

TEST_F(AgentConfigTest, SecurityKeysFollowTheKeyModes) {
    auto key = [&](Pairs extra, int expect = 0) {
        Pairs req{"vkacmd=setCntrlSecurityKey", "GlobalNo=0"};
        req.insert(req.end(), extra.begin(), extra.end());
        ask(req, expect);
        return ctrl();
    };
    key({}, 8);  // nothing to delete
    key({"keyid=k1", "Passphrase=short"}, 7);
    Obj c = key({"keyid=k1", "Passphrase=Secret#123"});
    EXPECT_EQ(c["SecurityMode"], "1");
    EXPECT_TRUE(bit(c, "AttributesMask", ctrlattr::kSecurityKeyPresent));
    // The state file keeps a salted, slow check value, never the phrase.
    auto check = [&] { return find(kind::kController, 0, "0").get("_keydigest"); };
    const std::string first = check();
    EXPECT_EQ(first.rfind("pbkdf2-sha256$600000$", 0), 0u) << first;
    EXPECT_EQ(first.find("Secret"), std::string::npos);
    key({"keyid=k1", "Passphrase=Secret#123"}, 8);  // already keyed
    key({"keyid=k2", "Passphrase=Secret#456", "OldPassphrase=Wrong#1234"}, 8);
    EXPECT_EQ(key({"keyid=k2", "Passphrase=Secret#456", "OldPassphrase=Secret#123"})["KeyID"],
              "k2");
    key({"keyid=k3", "Passphrase=Secret#123", "OldPassphrase=Secret#456"});
    EXPECT_NE(check(), first);  // the same phrase again: a new salt
    key({"keyid=k2", "Passphrase=Secret#456", "OldPassphrase=Secret#123"});
    EXPECT_EQ(key({"OldPassphrase=Secret#456", "RekeyFlag=2"})["SecurityMode"], "2");
    key({"RekeyFlag=2"});  // rekey with the external manager
    EXPECT_EQ(key({})["SecurityMode"], "0");
    EXPECT_FALSE(bit(ctrl(), "AttributesMask", ctrlattr::kSecurityKeyPresent));
    auto lines = agent().store().journalLines();
    for (const auto& l : lines) EXPECT_EQ(l.find("Secret#"), std::string::npos) << l;
}

// ---- enclosures, batteries, storage-wide settings ---------------------------------

TEST_F(AgentConfigTest, EnclosureBatteryAndGlobalSettings) {
    auto enc = [&] { return ask({"vkacmd=getEnclosure", "GlobalNo=0", "Enclosure=0:0"}).at(0); };
    ask({"vkacmd=setEnclosureAssetTag", "GlobalNo=0", "Enclosure=0:0", "AssetTag=RACK-7"});
    EXPECT_EQ(enc()["AssetTag"], "RACK-7");
    ask({"vkacmd=setEnclosureAssetName", "GlobalNo=0", "Enclosure=0:0", "AssetName=Lab Shelf"});
    EXPECT_EQ(enc()["AssetName"], "Lab Shelf");
    ask({"vkacmd=setEnclosureServiceTag", "GlobalNo=0", "Enclosure=0:0", "ServiceTag=AB12"});
    EXPECT_EQ(enc()["ServiceTag"], "AB12");
    ask({"vkacmd=setEnclosureTempProbes", "GlobalNo=0", "Enclosure=0:0", "MinWarning=8",
         "MaxWarning=40"});
    auto probe = ask({"vkacmd=getEnclosureTemperatureProbes", "GlobalNo=0", "Enclosure=0:0"}).at(0);
    EXPECT_EQ(probe["MinWarning"], "8");
    EXPECT_EQ(probe["MaxWarning"], "40");
    ask({"vkacmd=setBatteryDelayLearn", "GlobalNo=0", "BatteryID=0", "Days=2", "Hours=3"});
    auto bat = ask({"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0"}).at(0);
    EXPECT_EQ(bat["LearnDelay"], "51");
    ask({"vkacmd=setBatteryLearnMode", "GlobalNo=0", "BatteryID=0", "LearnMode=2"});
    ask({"vkacmd=setRemainingRatedWriteEnduranceThreshold", "type=pciessd", "threshold=15"});
    EXPECT_EQ(ask({"vkacmd=getPCIeRRWEThreshold"}).at(0)["RRWEThresholdPCIe"], "15");
    ask({"vkacmd=setProtectionPolicies", "type=ghs", "Layout=64", "hscount=2", "warnlevel=1"});
    EXPECT_EQ(ask({"vkacmd=getGlobalInfo"}).at(0)["GHSCount"], "2");
    ask({"vkacmd=setnonzorncertifiedmode", "mode=yes"});
    EXPECT_EQ(ask({"vkacmd=getGlobalInfo"}).at(0)["NonZornCertifiedMode"], "1");
    const std::string before = dump();
    for (Pairs bad :
         {Pairs{"vkacmd=setEnclosureAssetTag", "GlobalNo=0", "Enclosure=0:0",
                "AssetTag=ElevenChars"},
          Pairs{"vkacmd=setEnclosureServiceTag", "GlobalNo=0", "Enclosure=0:0", "ServiceTag=ab"},
          Pairs{"vkacmd=setEnclosureTempProbes", "GlobalNo=0", "Enclosure=0:0", "MinWarning=40",
                "MaxWarning=35"},
          Pairs{"vkacmd=setEnclosureEnableAlarm", "GlobalNo=0", "Enclosure=0:0"},
          Pairs{"vkacmd=setBatteryDelayLearn", "GlobalNo=0", "BatteryID=0", "Days=8"},
          Pairs{"vkacmd=setBatteryDelayLearn", "GlobalNo=0", "BatteryID=0"},
          Pairs{"vkacmd=setRemainingRatedWriteEnduranceThreshold", "type=x", "threshold=5"},
          Pairs{"vkacmd=setProtectionPolicies", "type=dhs", "hscount=1", "warnlevel=1",
                "Layout=4"}})
        EXPECT_NE(statusOf(agent().send(bad)), 0) << bad[0];
    EXPECT_EQ(dump(), before);
}

// ---- journal, processes, module -------------------------------------------------

TEST_F(AgentConfigTest, TheJournalRecordsEveryRequestWithItsResult) {
    ask({"vkacmd=setArrayDiskBlink", "GlobalNo=0", "adisk=0:0:9"});
    ask({"vkacmd=setArrayDiskBlink", "GlobalNo=0", "adisk=0:0:99"}, 4);
    auto lines = agent().store().journalLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "vkacmd=setArrayDiskBlink GlobalNo=0 adisk=0:0:9 => 0");
    EXPECT_EQ(lines[1],
              "vkacmd=setArrayDiskBlink GlobalNo=0 adisk=0:0:99 => 4 no physical disk 0:0:99 on "
              "controller 0");
}

TEST_F(AgentConfigTest, TheModuleCarriesOutRequests) {
    vk::os::SetEnvironment("KVDA_STATE", path_.string().c_str());
    std::string why;
    vk::os::Module module = vk::os::Module::Load(VK_TEST_MODULE, why);
    ASSERT_TRUE(module) << why;
    auto send =
        reinterpret_cast<char* (*)(void*, uint32_t, const char**)>(module.Find("VKDBAgentSendCmd"));
    auto release = reinterpret_cast<void (*)(void*, char*)>(module.Find("VKDBAgentFreeData"));
    const char* req[] = {"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:10",
                         "set=yes"};
    char* text = send(nullptr, 4, req);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(statusOf(text), 0) << text;
    release(nullptr, text);
    module = {};
    EXPECT_TRUE(bit(disk("0:0:10"), "AttributesMask", diskattr::kGlobalHotSpare));
}

TEST(Durations, ParseAndRefuse) {
    EXPECT_EQ(parseDuration("90s"), 90);
    EXPECT_EQ(parseDuration("10m"), 600);
    EXPECT_EQ(parseDuration("2h"), 7200);
    EXPECT_EQ(parseDuration("1h30m"), 5400);
    EXPECT_EQ(parseDuration("1d"), 86400);
    EXPECT_EQ(parseDuration("45"), 45);
    for (auto bad : {"", "h", "2x", "1h30", "-5s", "1.5h"})
        EXPECT_THROW(parseDuration(bad), Error) << bad;
}

}  // namespace

// RAID 1E mirrors stripes rather than disks: creation takes any set of three
// or more (the capability query offers the same sets).
TEST_F(AgentConfigTest, Raid1eTakesOddAndEvenSetsOfThreeOrMore) {
    const fs::path profile = dir_ / "r1e.json";
    std::ofstream(profile) << R"({"controllers": [{"name": "R", "mode": "raid",
        "raid_levels": ["r0", "r1", "r1e"],
        "connectors": [{"protocol": "sas", "enclosures": [{"type": "backplane", "slots": 8}],
                        "disk_groups": [{"count": 8, "media": "hdd"}]}]}]})";
    agent(profile.string());
    for (const std::string disks : {"0:0:0,0:0:1,0:0:2", "0:0:3,0:0:4,0:0:5"}) {
        auto made =
            ask({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=524288", "adisk=" + disks});
        ASSERT_EQ(made.size(), 1u) << disks;
        EXPECT_EQ(made[0]["Layout"], "524288");
    }
    const std::string before = dump();
    ask({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=524288", "adisk=0:0:6,0:0:7"},
        status::kNotPossible);
    EXPECT_EQ(dump(), before);
}
