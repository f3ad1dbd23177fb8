#include "agent.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agent_fixture.h"
#include "mechanics.h"
#include "os/module.h"
#include "profile.h"
#include "store.h"

namespace fs = std::filesystem;
using namespace kvda;
using namespace kvda::test;

namespace {

struct VocabularyCase {
    std::vector<std::string> request;
    size_t minObjects;
    std::vector<std::string> tags;  // every object carries these
};

TEST_F(AgentTest, EveryQueryAnswersTheTagsItsReadersUse) {
    // clang-format off
    const std::vector<VocabularyCase> cases{
        {{"vkacmd=getControllerList"}, 3, {"GlobalNo", "ObjID", "Name", "BusProtocol", "MasterMethodMask", "CurrentMethodMask", "MasterMethodMask1", "AttributesMask"}},
        {{"vkacmd=getController", "GlobalNo=0", "CLI=true"}, 1, {"RebuildRate", "Copyback", "Loadbalance", "AutoCopybackOnPredictiveFailure", "AutoConfigProgressState", "RAIDLevelsMask", "ReadPolicyMask", "WritePolicyMask", "CachePolicyMask", "DiskCachePolicyMask", "StripeSizesMask", "MaxNameLength", "VendorID", "SecurityMode", "AttributesMask1", "ControllerFamily", "SupportPowerSavings", "BGIRate", "CheckConsistencyRate", "ReconstructRate", "PatrolReadMode"}},
        {{"vkacmd=getSingleControllerArrayInfo", "GlobalNo=0", "CLI=true"}, 5, {"ObjID"}},
        {{"vkacmd=getSupportedRaidLevelsForController", "GlobalNo=0", "CLI=true"}, 5, {"Layout"}},
        {{"vkacmd=getChannelsForController", "GlobalNo=0", "CLI=true"}, 1, {"ObjID", "Channel", "BusProtocol", "MasterMethodMask"}},
        {{"vkacmd=getChannel", "GlobalNo=0", "Channel=0", "CLI=true"}, 1, {"Channel"}},
        {{"vkacmd=getArrayDisksForController", "GlobalNo=0", "CLI=true"}, 11, {"ObjID", "Channel", "TargetID", "EnclosureID", "AttributesMask", "ObjState", "MediaType", "BusProtocol", "IsDeviceNVME", "ISECapable", "diskwritecachepolicy", "MasterMethodMask", "CurrentMethodMask"}},
        {{"vkacmd=getArrayDisksForChannel", "GlobalNo=0", "Channel=0", "CLI=true"}, 11, {"ObjID", "TargetID"}},
        {{"vkacmd=getArrayDisksForEnclosure", "GlobalNo=0", "Enclosure=0:0", "CLI=true"}, 11, {"EnclosureID"}},
        {{"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1", "CLI=true"}, 4, {"AttributesMask"}},
        {{"vkacmd=getArrayDisk", "GlobalNo=0", "adisk=0:0:7,0:0:8", "CLI=true"}, 2, {"ObjID"}},
        {{"vkacmd=getSpanInfoForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1", "CLI=true"}, 1, {"SpanID", "Length"}},
        {{"vkacmd=getCapsForDHS", "GlobalNo=0", "LogicalDriveNum=1", "CLI=true"}, 0, {"BusProtocol", "TargetID", "AttributesMask"}},
        {{"vkacmd=getCapsForMemberReplaceCLI", "GlobalNo=0", "LogicalDriveNum=1", "CLI=true"}, 0, {"TargetID", "EnclosureID"}},
        {{"vkacmd=getVirtualDisksForController", "GlobalNo=0", "CLI=true"}, 2, {"LogicalDriveNum", "Layout", "Name", "DeviceName", "ObjID", "IsSSC", "ReadPolicy", "WritePolicy", "CachePolicy", "DiskCachePolicy", "MasterMethodMask", "CurrentMethodMask"}},
        {{"vkacmd=getVirtualDisk", "GlobalNo=0", "LogicalDriveNum=0", "CLI=true"}, 1, {"ObjState", "Name"}},
        {{"vkacmd=getVirtualDisk", "GlobalNo=0", "CLI=true"}, 2, {"Name"}},
        {{"vkacmd=getAllVirtualDisks"}, 2, {"GlobalNo"}},
        {{"vkacmd=getPartitionsForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=0", "CLI=true"}, 2, {"PartitionPath", "MasterMethodMask"}},
        {{"vkacmd=getBatteryList"}, 1, {"BatteryID"}},
        {{"vkacmd=getBatteriesForController", "GlobalNo=0", "CLI=true"}, 1, {"BatteryID", "MasterMethodMask"}},
        {{"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0", "CLI=true"}, 1, {"MaxLearnDelay"}},
        {{"vkacmd=getEnclosureList"}, 2, {"EnclosureID"}},
        {{"vkacmd=getEnclosuresForController", "GlobalNo=0", "CLI=true"}, 1, {"Channel", "EnclosureID", "BusProtocol", "MasterMethodMask"}},
        {{"vkacmd=getEnclosuresForChannel", "GlobalNo=0", "Channel=0", "CLI=true"}, 1, {"ObjID", "Channel", "EnclosureID"}},
        {{"vkacmd=getEnclosure", "GlobalNo=0", "Enclosure=0:0", "CLI=true"}, 1, {"MaxAssetTagLength", "MaxAssetNameLength", "AssetTag"}},
        {{"vkacmd=getSingleEnclosureForController", "GlobalNo=0", "Enclosure=0:0", "CLI=true"}, 2, {"ObjID"}},
        {{"vkacmd=getEnclosureTemperatureProbes", "GlobalNo=0", "Enclosure=0:0", "CLI=true"}, 1, {"Index", "LowEndMinWarning", "HighEndMinWarning", "LowEndMaxWarning", "HighEndMaxWarning", "MinWarning", "MaxWarning"}},
        {{"vkacmd=getSlotReportForEnclosure", "GlobalNo=0", "Enclosure=0:0", "info=pdslotreport", "CLI=true"}, 12, {"SlotID", "Occupied"}},
        {{"vkacmd=getNVMeAdaptersForController", "GlobalNo=2", "CLI=true"}, 1, {"Channel", "MasterMethodMask"}},
        {{"vkacmd=getNVMeAdapter", "GlobalNo=2", "Channel=0", "CLI=true"}, 1, {"Channel"}},
        {{"vkacmd=getPCIeSubsystem"}, 1, {"GlobalNo"}},
        {{"vkacmd=getAllPCIeSSDs", "GlobalNo=2", "CLI=true"}, 2, {"IsDeviceNVME"}},
        {{"vkacmd=getPCIeRRWEThreshold"}, 1, {"RRWEThresholdPCIe"}},
        {{"vkacmd=getSASSATARRWEThreshold"}, 1, {"RRWEThresholdSasSata"}},
        {{"vkacmd=getGlobalInfo"}, 1, {"ObjID"}},
        {{"vkacmd=getTarnCachePoolProperties"}, 1, {"ObjID"}},
        {{"vkacmd=getAlertLog"}, 2, {"Message"}},
        {{"vkacmd=getTapeDrivesForController", "GlobalNo=0", "CLI=true"}, 0, {}},
        {{"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=2", "param0=report", "param1=storage"}, 1, {"MasterMethodMask", "CurrentMethodMask"}},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request[0]);
        auto list = ask(c.request);
        EXPECT_GE(list.size(), c.minObjects);
        for (const auto& o : list)
            for (const auto& t : c.tags) EXPECT_TRUE(o.count(t)) << t;
    }
}

TEST_F(AgentTest, ADiskHasTheSameIdentityInEveryAnswer) {
    Obj d = disk("0:0:3");
    ASSERT_FALSE(d.empty());
    EXPECT_EQ(d["EnclosureID"], "0");
    EXPECT_TRUE(fromMask(d["AttributesMask"]) & diskattr::kInEnclosure);
    for (const auto& req : std::vector<std::vector<std::string>>{
             {"vkacmd=getArrayDisksForController", "GlobalNo=0", "CLI=true"},
             {"vkacmd=getArrayDisksForChannel", "GlobalNo=0", "Channel=0", "CLI=true"},
             {"vkacmd=getArrayDisksForEnclosure", "GlobalNo=0", "Enclosure=0:0", "CLI=true"},
             {"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1",
              "CLI=true"}}) {
        int hits = 0;
        for (auto& o : ask(req))
            if (o["TargetID"] == "3") {
                EXPECT_EQ(o["ObjID"], d["ObjID"]) << req[0];
                ++hits;
            }
        EXPECT_EQ(hits, 1) << req[0];
    }
    // the pass-through association names the same disks as the member list
    auto vd = ask({"vkacmd=getVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1", "CLI=true"});
    auto assoc = ask({"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=3", "param0=getassoc",
                      "param1=adisks", "param2=" + vd.at(0)["ObjID"]});
    EXPECT_EQ(assoc.size(), 4u);
}

TEST_F(AgentTest, CapabilityQueryAnswersLayoutsForTheGivenDisks) {
    auto ctrl = ask({"vkacmd=getControllerList"}).at(0);
    std::string ids = disk("0:0:7")["ObjID"] + ":" + disk("0:0:8")["ObjID"];
    auto caps = ask({"vkacmd=sendPassThruCmdToQXSIF", "param0=getcaps", "param1=make",
                     "param2=vdisk", "param3=ObjID", "param4=" + ctrl["ObjID"], "param5=IDList",
                     "param6=" + ids, "param7=MinDrives", "param8=2", "NumQXSIFArgs=9"});
    std::map<std::string, Obj> byLayout;
    for (auto& c : caps) byLayout[c["Layout"]] = c;
    ASSERT_TRUE(byLayout.count("2") && byLayout.count("4"));
    EXPECT_FALSE(byLayout.count("64"));  // RAID 5 needs three disks
    EXPECT_EQ(std::stoll(byLayout["2"]["Length"]), 2 * std::stoll(byLayout["4"]["Length"]));
    for (auto& [l, c] : byLayout)
        for (auto t : {"MinimumLength", "Length", "SpanDepth", "SpanLengthList"})
            EXPECT_TRUE(c.count(t));
}

TEST_F(AgentTest, BadRequestsGiveAStatusAndNoObjects) {
    // clang-format off
    const std::vector<std::pair<std::vector<std::string>, int>> cases{
        {{"vkacmd=getNothing"},                                                status::kUnknownRequest},
        {{"GlobalNo=0"},                                                       status::kBadRequest},
        {{},                                                                   status::kBadRequest},
        {{"vkacmd=getController", "CLI=true"},                                 status::kMissingIdentifier},
        {{"vkacmd=getController", "GlobalNo=", "CLI=true"},                    status::kMissingIdentifier},
        {{"vkacmd=getController", "GlobalNo=zero", "CLI=true"},                status::kBadIdentifier},
        {{"vkacmd=getController", "GlobalNo=99999999999999", "CLI=true"},      status::kBadIdentifier},
        {{"vkacmd=getController", "GlobalNo=7", "CLI=true"},                   status::kNoSuchObject},
        {{"vkacmd=getArrayDisk", "GlobalNo=0", "adisk=0:0:0,9:9", "CLI=true"}, status::kNoSuchObject},
        {{"vkacmd=getBattery", "GlobalNo=1", "BatteryID=0", "CLI=true"},       status::kNoSuchObject},
        {{"vkacmd=getEnclosureFans", "GlobalNo=0", "Enclosure=0:0", "Index=4", "CLI=true"}, status::kNoSuchObject},
        {{"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=3", "param0=report"}, status::kMissingIdentifier},
        {{"vkacmd=sendPassThruCmdToQXSIF", "NumQXSIFArgs=1", "param0=format"}, status::kUnknownRequest},
    };
    // clang-format on
    for (const auto& [req, st] : cases) {
        std::string text = agent().send(req);
        EXPECT_EQ(statusOf(text), st) << text;
        EXPECT_EQ(text.find("<QXStorageObject>"), std::string::npos) << text;
        EXPECT_NE(text.find("<SMMessage>"), std::string::npos) << text;
    }
}

TEST_F(AgentTest, DiskMethodMasksFollowTheDiskState) {
    struct Case {
        std::string state;
        uint32_t set, clear;
    };
    const uint32_t assignHs = 0x10, rebuild = 0x400, cancelRebuild = 0x800, offline = 0x80,
                   remove = 0x100;
    // 0:0:2 is a member of virtual disk 1: whatever its state, never a spare
    const std::vector<Case> cases{
        {"1", remove, assignHs | rebuild | cancelRebuild | offline},
        {"4", offline, assignHs | remove | rebuild | cancelRebuild},
        {"2", rebuild | remove, assignHs | cancelRebuild | offline},
        {"32", cancelRebuild, assignHs | remove | rebuild},
    };
    int64_t oid = find(kind::kDisk, 0, "0:0:2").oid;
    for (const auto& c : cases) {
        agent().store().setOverride(oid, "ObjState", c.state);
        Obj d = disk("0:0:2");
        uint32_t cur = fromMask(d["CurrentMethodMask"]);
        EXPECT_EQ(cur & c.set, c.set) << "state " << c.state << " " << d["CurrentMethodMask"];
        EXPECT_EQ(cur & c.clear, 0u) << "state " << c.state << " " << d["CurrentMethodMask"];
        EXPECT_EQ(cur & ~fromMask(d["MasterMethodMask"]), 0u);
    }
    // a global hot spare can be unassigned but not assigned again, nor removed
    uint32_t hs = fromMask(disk("0:0:6")["CurrentMethodMask"]);
    EXPECT_EQ(hs & (0x30 | remove), 0x20u);
    // a ready disk of no virtual disk can become one
    EXPECT_EQ(fromMask(disk("0:0:7")["CurrentMethodMask"]) & assignHs, assignHs);
    // a disk on the HBA offers no hot spare operation at all
    EXPECT_EQ(fromMask(disk("0:0", 1)["MasterMethodMask"]) & 0x30, 0u);
}

TEST_F(AgentTest, FullControllerCannotCreateAnotherVirtualDisk) {
    agent("full");
    auto c = ask({"vkacmd=getController", "GlobalNo=0", "CLI=true"}).at(0);
    EXPECT_TRUE(fromMask(c["MasterMethodMask"]) & 0x40);
    EXPECT_FALSE(fromMask(c["CurrentMethodMask"]) & 0x40);
    auto info = ask({"vkacmd=getSingleControllerArrayInfo", "GlobalNo=0", "CLI=true"});
    int vds = 0;
    for (auto& o : info) vds += o.count("LogicalDriveNum") ? 1 : 0;
    EXPECT_EQ(std::to_string(vds), c["MaxVDAllowed"]);
    // the dedicated hot spare is listed with its virtual disk and marked
    int dhs = 0;
    for (auto& o :
         ask({"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1", "CLI=true"}))
        dhs += (fromMask(o["AttributesMask"]) & diskattr::kDedicatedHotSpare) ? 1 : 0;
    EXPECT_EQ(dhs, 1);
    // the profile's override is escaped in the answer
    std::string raw =
        agent().send({"vkacmd=getArrayDisk", "GlobalNo=0", "adisk=0:0:6", "CLI=true"});
    EXPECT_NE(raw.find("<Vendor>Overridden &amp; &lt;Co&gt;</Vendor>"), std::string::npos);
}

TEST_F(AgentTest, OverridesWinAndUnsetRestoresTheDerivedValue) {
    int64_t oid = find(kind::kController, 0, "0").oid;
    std::string before =
        ask({"vkacmd=getController", "GlobalNo=0", "CLI=true"}).at(0)["CurrentMethodMask"];
    agent().store().setOverride(oid, "CurrentMethodMask", "1");
    agent().store().setOverride(oid, "NewTag", "x<y");
    auto c = ask({"vkacmd=getController", "GlobalNo=0", "CLI=true"}).at(0);
    EXPECT_EQ(c["CurrentMethodMask"], "1");
    EXPECT_EQ(c["NewTag"], "x&lt;y");
    EXPECT_TRUE(agent().store().unsetOverride(oid, "CurrentMethodMask"));
    EXPECT_FALSE(agent().store().unsetOverride(oid, "CurrentMethodMask"));
    EXPECT_EQ(ask({"vkacmd=getController", "GlobalNo=0", "CLI=true"}).at(0)["CurrentMethodMask"],
              before);
}

TEST_F(AgentTest, BadProfilesAreRefusedWithThePathOfTheItem) {
    // clang-format off
    const std::vector<std::pair<std::string, std::string>> cases{
        {R"({"controllers": [{"mode": "raidd"}]})",                          "$.controllers[0].mode: unknown value 'raidd'"},
        {R"({"controllers": [{"connectors": [{"disks": [{"slot": 1, "media": "tape"}]}]}]})", "$.controllers[0].connectors[0].disks[0].media"},
        {R"({"controllers": [{"connectors": [{"disks": [{"slot": 1}, {"slot": 1}]}]}]})", "$.controllers[0].connectors[0].disks[1].slot: slot already holds a disk"},
        {R"({"controllers": [{"vdisks": [{"raid": "r5", "disks": ["0:9"]}]}]})", "$.controllers[0].vdisks[0].disks[0]: no disk 0:9"},
        {R"({"controllers": [{"max_vdisks": -1}]})",                         "$.controllers[0].max_vdisks: value -1 out of range"},
        {R"({"colour": "blue"})",                                            "$.colour: unknown field"},
        {R"({"overrides": [{"object": "controller=3", "set": {"A": "1"}}]})", "$.overrides[0].object: no such object"},
        {R"({"controllers": [{"props": {"_x": "1"}}]})",                     "$.controllers[0].props._x"},
        {R"({"controllers": [)",                                             "not valid JSON at byte 18"},
        {"{\"description\": \"a\xff\"}",                                      "not valid UTF-8 at byte 19"},
        {R"({"controllers": [{"count": 1e400}]})",                           "a number in it is too large"},
        // counts are checked against the enclosure and the controller
        {R"({"controllers": [{"connectors": [{"enclosures": [{"slots": 12}], "disks": [{"enclosure": 0, "slot": 99}]}]}]})", "$.controllers[0].connectors[0].disks[0].slot: slot 99 is beyond the 12 slots"},
        {R"({"controllers": [{"count": 9223372036854775808}]})",              "$.controllers[0].count: value 9223372036854775808 out of range 1 to 64"},
        {R"({"controllers": [{"count": 40}, {"count": 40}]})",                "$.controllers[1].count: 80 controllers are more than the 64 allowed"},
        {R"({"controllers": [{"connectors": [{"enclosures": [{"slots": 12}], "disk_groups": [{"count": 13}]}]}]})", "$.controllers[0].connectors[0].disk_groups[0].count: 13 disks do not fit: 12 free slots"},
        {R"({"controllers": [{"connectors": [{"enclosures": [{"id": 250, "count": 10}]}]}]})", "run past the largest id, 255"},
        {R"({"controllers": [{"max_vdisks": 1, "connectors": [{"disk_groups": [{"count": 8}]}], "vdisk_groups": [{"count": 2}]}]})", "$.controllers[0].vdisk_groups[0].count: 2 virtual disks are more than controller 0 holds (1)"},
        {R"({"description": "a\u0001b"})",                                   "$.description: 'a\\x01b': character U+0001 at offset 1 is a control character"},
        {R"({"controllers": [{"props": {"Name": "\uFFFE"}}]})",              "$.controllers[0].props.Name: '\\xEF\\xBF\\xBE': character U+FFFE"},
        {R"({"controllers": [{"props": {"a b<": "x"}}]})",                   "$.controllers[0].props.a b<: not a tag name"},
        {R"({"overrides": [{"object": "controller=0", "set": {"1A": "x"}}]})", "$.overrides[0].set.1A: not a tag name"},
        {R"({"col\u001bour": "blue"})",                                      "$.col\\x1Bour: the name character U+001B"},
        {std::string(100, '[') + std::string(100, ']'),                      "nested deeper than 64 levels"},
    };
    // clang-format on
    for (const auto& [text, message] : cases) {
        try {
            buildEstate(text, "p.json");
            ADD_FAILURE() << "accepted: " << text;
        } catch (const Error& e) {
            EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
            EXPECT_EQ(std::string(e.what()).rfind("p.json: ", 0), 0u) << e.what();
        }
    }
}

// FIFOs and devices: see posix_test.cpp.
TEST_F(AgentTest, ProfilesAreReadOnlyFromRegularFilesOfBoundedSize) {
    const fs::path big = dir_ / "big.json";
    { std::ofstream(big) << "{}"; }
    fs::resize_file(big, 17u << 20);
    // clang-format off
    const std::vector<std::pair<fs::path, std::string>> cases{
        {dir_,            "is not a regular file"},
        {big,             "is larger than 16 MiB"},
        {dir_ / "none",   "cannot read profile"},
    };
    // clang-format on
    for (const auto& [file, message] : cases) {
        try {
            readProfile(file);
            ADD_FAILURE() << "read " << file;
        } catch (const Error& e) {
            EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
        }
    }
}

TEST_F(AgentTest, GeneratedProfilesHaveTheAskedShape) {
    auto count = [](const Estate& e, std::string_view k, int64_t g) { return e.of(k, g).size(); };
    Estate two = buildEstate(generateProfile("controllers=2,disks=130,slots=12,vdisks=3,media=ssd"),
                             "generated");
    ASSERT_EQ(two.all(kind::kController).size(), 2u);
    for (int64_t g : {0, 1}) {
        EXPECT_EQ(count(two, kind::kDisk, g), 130u);
        EXPECT_EQ(count(two, kind::kEnclosure, g), 11u);  // shelves of 12 slots
        EXPECT_EQ(count(two, kind::kVdisk, g), 3u);
        EXPECT_EQ(two.find(kind::kDisk, g, "0:10:9")->get("MediaType"), "2");
    }
    // a shipped profile's controllers first: controller 0 as in that profile
    Estate def = buildEstate(readProfile(resolveProfile("default")), "default");
    Estate both = buildEstate(generateProfile("base=default,disks=5000"), "generated");
    const auto defaults = def.all(kind::kController).size();
    ASSERT_EQ(both.all(kind::kController).size(), defaults + 1);
    for (int64_t g = 0; g < static_cast<int64_t>(defaults); ++g)
        EXPECT_EQ(count(both, kind::kDisk, g), count(def, kind::kDisk, g));
    EXPECT_EQ(count(both, kind::kDisk, static_cast<int64_t>(defaults)), 5000u);
    // clang-format off
    const std::vector<std::pair<std::string, std::string>> bad{
        {"disks=x",                    "disks 'x' is not a number from 0 to 1048576"},
        {"controllers=0",              "controllers '0' is not a number from 1 to 64"},
        {"colour=blue",                "unknown key 'colour'; valid keys: base, controllers"},
        {"disks",                      "'disks' is not key=value"},
        {"disks=10,vdisks=6",          "6 two-disk virtual disks need 12 disks, not 10"},
        {"disks=300000,slots=12",      "300000 disks do not fit on one controller: at most 49152"},
        {"media=tape",                 "media 'tape' is not hdd or ssd"},
        {"base=none-such",             "cannot read profile"},
        {"base=default,controllers=62", "65 controllers are more than the 64 allowed"},
    };
    // clang-format on
    for (const auto& [spec, message] : bad) {
        try {
            buildEstate(generateProfile(spec), "generated");
            ADD_FAILURE() << "accepted: " << spec;
        } catch (const Error& e) {
            EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
        }
    }
}

TEST_F(AgentTest, ShippedProfilesLoad) {
    int loaded = 0;
    for (const auto& e : fs::directory_iterator(profilesDir())) {
        if (e.path().extension() != ".json") continue;
        ++loaded;
        std::ifstream in(e.path());
        std::string text((std::istreambuf_iterator<char>(in)), {});
        EXPECT_NO_THROW(buildEstate(text, e.path().string())) << e.path();
    }
    EXPECT_GE(loaded, 5);
}

TEST_F(AgentTest, FaultsChangeWhatReportsShow) {
    agent();
    auto apply = [&](std::string_view k, const std::string& addr, bool failed) {
        const int64_t oid = find(k, 0, addr).oid;
        agent().mutate([&](Estate& e, int64_t& now) {
            failed ? failObject(e, now, oid) : replaceObject(e, now, oid);
        });
    };
    // the global hot spare 0:0:6 takes the failed member's place
    apply(kind::kDisk, "0:0:3", true);
    EXPECT_EQ(disk("0:0:3")["ObjState"], "2");
    EXPECT_EQ(disk("0:0:6")["ObjState"], "32");
    EXPECT_EQ(vdisk("1")["ObjState"], "32");
    std::string serial = disk("0:0:3")["SerialNo"];
    apply(kind::kDisk, "0:0:3", false);
    EXPECT_EQ(disk("0:0:3")["ObjState"], "1");  // the spare still rebuilds: no copyback yet
    EXPECT_NE(disk("0:0:3")["SerialNo"], serial);
    // a member without a spare stays in its virtual disk and can be rebuilt
    apply(kind::kDisk, "0:0:0", true);
    EXPECT_EQ(vdisk("0")["ObjState"], "16");
    EXPECT_TRUE(fromMask(disk("0:0:0")["CurrentMethodMask"]) & 0x400);
    apply(kind::kBattery, "0", true);
    EXPECT_EQ(ask({"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0", "CLI=true"}).at(0)["ObjState"],
              "2");
    apply(kind::kProbe, "0:0/0", true);
    EXPECT_EQ(
        ask({"vkacmd=getEnclosure", "GlobalNo=0", "Enclosure=0:0", "CLI=true"}).at(0)["ObjState"],
        "16");
    const int64_t vd = find(kind::kVdisk, 0, "0").oid;
    EXPECT_THROW(agent().mutate([&](Estate& e, int64_t& now) { failObject(e, now, vd); }), Error);
}

TEST_F(AgentTest, JournalHidesPassPhrases) {
    agent().send({"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "Passphrase=Secret1!",
                  "OldPassphrase=x", "keyid=k"});
    auto lines = agent().store().journalLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(0, lines[0].find(" => ")),
              "vkacmd=setCntrlSecurityKey GlobalNo=0 Passphrase=*** OldPassphrase=*** keyid=k");
    EXPECT_EQ(lines[0].find("Secret1!"), std::string::npos);
    agent().store().clearJournal();
    EXPECT_TRUE(agent().store().journalLines().empty());
}

TEST_F(AgentTest, JournalKeepsTheLastRequests) {
    agent().store().setJournalSize(3);
    for (int i = 0; i < 5; ++i)
        agent().send({"vkacmd=getBattery", "GlobalNo=0", "BatteryID=" + std::to_string(i)});
    auto lines = agent().store().journalLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines.front().substr(0, lines.front().find(" =>")),
              "vkacmd=getBattery GlobalNo=0 BatteryID=2");
    EXPECT_THROW(agent().store().setJournalSize(0), Error);
}

// What one process changed and answered is what any other process reads:
// objects written back, and the columns indexed queries select by (the
// controller's disk summary behind its "create virtual disk" bit).
TEST_F(AgentTest, WhatTheAgentAnswersIsWhatIsStored) {
    agent();
    ask({"vkacmd=setVDdelete", "GlobalNo=0", "LogicalDriveNum=1"});
    ask({"vkacmd=setCntrlCreateVD", "GlobalNo=0", "Layout=64", "adisk=0:0:2,0:0:3,0:0:4"});
    ask({"vkacmd=setArrayDiskGlobalHotSpare", "GlobalNo=0", "adisk=0:0:5", "set=yes"});
    agent().mutate(
        [&](Estate& e, int64_t& now) { failObject(e, now, e.find(kind::kDisk, 0, "0:0:3")->oid); });
    auto createBit = [&](Agent& a) {
        const std::string text = a.send({"vkacmd=getController", "GlobalNo=0"});
        return (fromMask(objects(text).at(0)["CurrentMethodMask"]) & 0x40) != 0;
    };
    EXPECT_TRUE(createBit(agent()));
    for (const Object* d : agent().estate().of(kind::kDisk, 0))
        if (d->num("ObjState") == state::kReady)
            agent().store().setOverride(d->oid, "ObjState", std::to_string(state::kFailed));
    Agent other(path_);
    EXPECT_EQ(other.send({"vkacmd=getStoreDump"}), dump());
    EXPECT_FALSE(createBit(other));
    EXPECT_FALSE(createBit(agent()));
}

// Text an answer cannot carry is refused where it enters (a request, an
// override), in the agent's own words; every answer stays well-formed and
// controller 0 stays reachable and unchanged after each attempt.
TEST_F(AgentTest, TextAnswersCannotCarryIsRefusedAtTheDoor) {
    struct Bad {
        const char* what;
        std::string text;
        const char* fault;
    };
    // clang-format off
    const std::vector<Bad> values{
        {"control character", "k\x01",        "character U+0001"},
        {"escape sequence",   "\x1b[31m",     "character U+001B"},
        {"invalid UTF-8",     "a\xff",        "byte 0xFF"},
        {"non-character",     "\xef\xbf\xbe", "character U+FFFE"},
        {"encoded surrogate", "\xed\xa0\x80", "byte 0xED"},
        {"overlong slash",    "\xc0\xaf",     "byte 0xC0"},
        {"cut sequence",      "ab\xe2\x82",   "byte 0xE2"},
    };
    // clang-format on
    const std::vector<std::string> env{"VK_SHARE_DIR=" VK_TEST_SHARE_DIR, "KVDA_TIME_SCALE=0",
                                       "KVDA_STATE=" + path_.string()};
    const std::string before = dump();
    auto reachable = [&] {
        const std::string list = agent().send({"vkacmd=getControllerList"});
        EXPECT_TRUE(wellFormed(list)) << list;
        EXPECT_EQ(objects(list).size(), 3u);
        EXPECT_EQ(dump(), before);
    };
    for (const Bad& v : values) {
        SCOPED_TRACE(v.what);
        // a value, a pass phrase (named, never shown), a name, the request
        const std::vector<std::pair<std::vector<std::string>, std::string>> requests{
            {{"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "keyid=" + v.text,
              "Passphrase=Secret#123"},
             "bad value of keyid"},
            {{"vkacmd=setCntrlSecurityKey", "GlobalNo=0", "keyid=k", "Passphrase=Se" + v.text},
             "bad value of Passphrase: "},
            {{"vkacmd=setVDChangeName", "GlobalNo=0", "LogicalDriveNum=0", "Name" + v.text + "=x"},
             "bad name"},
            {{"vkacmd=get" + v.text}, "bad value of vkacmd"},
        };
        for (const auto& [request, message] : requests) {
            SCOPED_TRACE(request.back());
            const std::string answer = agent().send(request);
            EXPECT_EQ(statusOf(answer), status::kBadValue) << answer;
            EXPECT_TRUE(wellFormed(answer)) << answer;
            EXPECT_NE(answer.find(message), std::string::npos) << answer;
            EXPECT_NE(answer.find(v.fault), std::string::npos) << answer;
            EXPECT_EQ(answer.find("Se" + v.text), std::string::npos) << answer;
            reachable();
        }
        for (const std::string& word : {"Name=" + v.text, "Vendor" + v.text + "=x"}) {
            SCOPED_TRACE(word);
            if (!vktest::CommandLineCarries(word)) continue;
            const ToolRun r = runTool({"set", "controller=0", word}, env);
            EXPECT_EQ(r.exit, 1) << r.err;
            EXPECT_NE(r.err.find(v.fault), std::string::npos) << r.err;
            reachable();
        }
    }
    const ToolRun r = runTool({"set", "controller=0", "a b<=x"}, env);
    EXPECT_EQ(r.exit, 1);
    EXPECT_EQ(r.err, "kvda: bad tag name 'a b<'\n");
    // The journal shows what was refused without passing it on to a terminal.
    for (const auto& line : agent().store().journalLines())
        EXPECT_EQ(line.find('\x1b'), std::string::npos) << line;
}

// Text stored before these checks (an older state file) is answered escaped
// and a tag that is not an element name left out: the answer stays readable.
TEST_F(AgentTest, AnswersStayWellFormedWhateverTheStateFileHolds) {
    const int64_t oid = find(kind::kController, 0, "0").oid;
    agent().store().setOverride(oid, "Name", "k\x01\xff");
    agent().store().setOverride(oid, "a b<", "x");
    const std::string answer = agent().send({"vkacmd=getController", "GlobalNo=0"});
    ASSERT_TRUE(wellFormed(answer)) << answer;
    EXPECT_EQ(objects(answer).at(0)["Name"], "k\\x01\\xFF");
    EXPECT_EQ(answer.find("a b"), std::string::npos);
}

TEST_F(AgentTest, AFileOfAnotherSchemaVersionIsRefused) {
    agent();
    agent_.reset();
    {
        Db db(path_.string());
        Stmt s(db, "UPDATE meta SET value='7' WHERE key='schema_version'");
        s.run();
    }
    try {
        Store s(path_);
        FAIL() << "opened";
    } catch (const Error& e) {
        EXPECT_NE(std::string(e.what()).find("schema version 7"), std::string::npos) << e.what();
    }
}

TEST_F(AgentTest, ObjectAddressesAreParsedOrRefused) {
    Address a = parseAddress("controller=0 pdisk=0:1:4");
    EXPECT_EQ(a.kind, "pdisk");
    EXPECT_EQ(a.addr, "0:1:4");
    a = parseAddress("controller=0 enclosure=0:1 fan=2");
    EXPECT_EQ(a.kind, "fan");
    EXPECT_EQ(a.addr, "0:1/2");
    EXPECT_EQ(parseAddress("controller=2").kind, "controller");
    EXPECT_EQ(parseAddress("storage").kind, "storage");
    for (auto bad : {"", "pdisk=0:1", "controller=x", "controller=0 fan=1", "controller=0 widget=1",
                     "controller=0 pdisk=0:1 battery=0", "controller=0 controller=1"})
        EXPECT_THROW(parseAddress(std::string(bad)), Error) << bad;
}

TEST_F(AgentTest, ModuleAnswersThroughItsExports) {
    vk::os::SetEnvironment("KVDA_STATE", path_.string().c_str());
    std::string why;
    vk::os::Module module = vk::os::Module::Load(VK_TEST_MODULE, why);
    ASSERT_TRUE(module) << why;
    auto send =
        reinterpret_cast<char* (*)(void*, uint32_t, const char**)>(module.Find("VKDBAgentSendCmd"));
    auto release = reinterpret_cast<void (*)(void*, char*)>(module.Find("VKDBAgentFreeData"));
    ASSERT_TRUE(send && release);
    const char* req[] = {"vkacmd=getControllerList"};
    char* text = send(nullptr, 1, req);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(objects(text).size(), 3u);
    release(nullptr, text);
    text = send(nullptr, 0, nullptr);
    EXPECT_NE(statusOf(text), 0);
    release(nullptr, text);
}

}  // namespace
