// Report commands through kvclp64_sendRequest against an in-process agent
// serving a small estate: controller 0 with two disks, a tape drive, two
// virtual disks (the second a cachecade), an enclosure, a battery and an
// NVMe adapter; controller 1 with one empty connector and nothing else.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fake_estate.h"

namespace {

using fake::Objects;
using fake::ResponsePtr;
using fake::Strings;

struct Estate {
    std::vector<Strings> requests;
    bool slotReportSupported = true;
    bool slotReportAllowedNow = true;
    bool enclosureMasksUnreadable = false;

    // Objects for a request, or null for no answer.
    std::unique_ptr<std::string> Answer(const Strings& nv) {
        const std::string req = nv[0].substr(std::strlen("vkacmd="));
        const std::string ctrl = fake::Estate::Value(nv, "GlobalNo");
        const bool c0 = ctrl == "0";
        std::string objects;
        if (req == "getControllerList") {
            objects = Objects({{{"GlobalNo", "0"}}, {{"GlobalNo", "1"}}});
        } else if (req == "getController") {
            // Bit 30 of the attributes: the controller can hold cachecades.
            objects = Objects(
                {{{"GlobalNo", ctrl}, {"AttributesMask", c0 ? "1" + std::string(30, '0') : "0"}}});
        } else if (req == "getChannelsForController") {
            objects = Objects({{{"ObjID", "ch0"}, {"Channel", "0"}, {"BusProtocol", "8"}}});
        } else if (req == "getArrayDisksForChannel" && c0) {
            objects = Objects({{{"ObjID", "d2"}, {"Channel", "0"}, {"TargetID", "2"}},
                               {{"ObjID", "d3"}, {"Channel", "0"}, {"TargetID", "3"}}});
        } else if (req == "getTapeDrivesForChannel" && c0) {
            objects = Objects({{{"ObjID", "t5"}, {"Channel", "0"}, {"TargetID", "5"}}});
        } else if (req == "getVirtualDisksForController" && c0) {
            objects = Objects({{{"LogicalDriveNum", "0"}, {"IsSSC", "0"}},
                               {{"LogicalDriveNum", "1"}, {"IsSSC", "1"}}});
        } else if (req == "getEnclosuresForChannel" && c0) {
            objects = Objects({{{"ObjID", "e1"}, {"Channel", "0"}, {"EnclosureID", "1"}}});
        } else if (req == "getEnclosuresForController" && c0) {
            if (enclosureMasksUnreadable) return nullptr;
            // Bit 0x200 of the method masks: the slot report.
            objects = Objects({{{"ObjID", "e1"},
                                {"Channel", "0"},
                                {"EnclosureID", "1"},
                                {"BusProtocol", "8"},
                                {"MasterMethodMask", slotReportSupported ? "1000000000" : "0"},
                                {"CurrentMethodMask", slotReportAllowedNow ? "1000000000" : "0"}}});
        } else if (req == "getBatteriesForController" && c0) {
            objects = Objects({{{"BatteryID", "0"}}});
        } else if (req == "getNVMeAdaptersForController" && c0) {
            objects = Objects({{{"Channel", "4"}}});
        } else if ((req == "getEnclosureFans" || req == "getEnclosurePowerSupplies" ||
                    req == "getEnclosureEMMs" || req == "getEnclosureTemperatureProbes") &&
                   c0 && fake::Estate::Value(nv, "Enclosure") == "0:1") {
            objects = Objects({{{"Index", "0"}}, {{"Index", "1"}}});
        } else {
            objects = Objects({{{"Req", req}}});
        }
        return std::make_unique<std::string>(objects + "<SMStatus>0</SMStatus>");
    }

    static char* Send(void* context, uint32_t count, const char** nvPairs) {
        auto* self = static_cast<Estate*>(context);
        self->requests.emplace_back(nvPairs, nvPairs + count);
        const auto answer = self->Answer(self->requests.back());
        return answer ? fake::Reply(*answer) : nullptr;
    }
};

using ReportTest = fake::AgentTest<Estate>;

// ---- one case per report row -------------------------------------------------------
struct RowCase {
    std::string line;
    std::vector<Strings> sent;  // the report requests, last of all requests
    std::string styleSheet;
};

TEST_F(ReportTest, EachReportRowSendsItsRequestWithItsStyleSheet) {
    const std::string disk = "sm/cli/RptADisk.xsl";
    const RowCase cases[] = {
        // array disks
        {"vkreport storage adisk controller=0 adisk=0:2",
         {{"vkacmd=getArrayDisk", "GlobalNo=0", "adisk=0:2"}},
         disk},
        {"vkreport storage adisk controller=0",
         {{"vkacmd=getArrayDisksForController", "GlobalNo=0"}},
         disk},
        {"vkreport storage adisk controller=0 connector=0",
         {{"vkacmd=getArrayDisksForChannel", "GlobalNo=0", "Channel=0"}},
         disk},
        {"vkreport storage adisk controller=0 vdisk=0",
         {{"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=0"},
          {"vkacmd=getSpanInfoForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=0"}},
         disk},
        {"vkreport storage adisk controller=0 cachecade=1",
         {{"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"},
          {"vkacmd=getSpanInfoForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"}},
         disk},
        {"vkreport storage adisk controller=0 enclosure=0:1",
         {{"vkacmd=getArrayDisksForEnclosure", "GlobalNo=0", "Enclosure=0:1"}},
         disk},
        // physical disks
        {"vkreport storage pdisk controller=0 pdisk=0:3",
         {{"vkacmd=getArrayDisk", "GlobalNo=0", "adisk=0:3"}},
         disk},
        {"vkreport storage pdisk controller=0",
         {{"vkacmd=getArrayDisksForController", "GlobalNo=0"}},
         disk},
        {"vkreport storage pdisk controller=0 connector=0",
         {{"vkacmd=getArrayDisksForChannel", "GlobalNo=0", "Channel=0"}},
         disk},
        {"vkreport storage pdisk controller=0 vdisk=1",
         {{"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"},
          {"vkacmd=getSpanInfoForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"}},
         disk},
        {"vkreport storage pdisk controller=0 cachecade=1",
         {{"vkacmd=getArrayDisksForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"},
          {"vkacmd=getSpanInfoForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"}},
         disk},
        {"vkreport storage pdisk controller=0 enclosure=0:1",
         {{"vkacmd=getArrayDisksForEnclosure", "GlobalNo=0", "Enclosure=0:1"}},
         disk},
        // tape drives, also through the configuration command
        {"vkreport storage tape controller=0",
         {{"vkacmd=getTapeDrivesForController", "GlobalNo=0"}},
         disk},
        {"vkreport storage tape controller=0 connector=0",
         {{"vkacmd=getTapeDrivesForChannel", "GlobalNo=0", "Channel=0"}},
         disk},
        {"vkreport storage tape controller=0 tape=0:5",
         {{"vkacmd=getTape", "GlobalNo=0", "adisk=0:5"}},
         disk},
        {"vkconfig storage tape controller=0",
         {{"vkacmd=getTapeDrivesForController", "GlobalNo=0"}},
         disk},
        // batteries
        {"vkreport storage battery", {{"vkacmd=getBatteryList"}}, "sm/cli/RptBatry.xsl"},
        {"vkreport storage battery controller=0",
         {{"vkacmd=getBatteriesForController", "GlobalNo=0"}},
         "sm/cli/RptBatry.xsl"},
        {"vkreport storage battery controller=0 battery=0",
         {{"vkacmd=getBattery", "GlobalNo=0", "BatteryID=0"}},
         "sm/cli/RptBatry.xsl"},
        // connectors
        {"vkreport storage connector controller=0",
         {{"vkacmd=getChannelsForController", "GlobalNo=0"}},
         "sm/cli/RptChnl.xsl"},
        {"vkreport storage connector controller=0 connector=0",
         {{"vkacmd=getChannel", "GlobalNo=0", "Channel=0"}},
         "sm/cli/RptChnl.xsl"},
        // controllers
        {"vkreport storage controller controller=0 info=foreignkeyids",
         {{"vkacmd=getForeignLockedArrayDisks", "GlobalNo=0", "info=foreignkeyids"}},
         "sm/cli/RptFnkey.xsl"},
        {"vkreport storage controller", {{"vkacmd=getControllerList"}}, "sm/cli/RptCntrl.xsl"},
        {"vkreport storage controller controller=1",
         {{"vkacmd=getSingleControllerArrayInfo", "GlobalNo=1"}},
         "sm/cli/RptCntrl.xsl"},
        {"vkreport storage controller controller=0 info=pdslotreport",
         {{"vkacmd=getSlotReportForEnclosure", "GlobalNo=0", "info=pdslotreport"}},
         "sm/cli/RptSlotRep.xsl"},
        {"vkreport storage controller dump=all",
         {{"vkacmd=getControllerListArrayInfo", "dump=all"}},
         "sm/cli/RptCntrl.xsl"},
        {"vkreport storage controller dump=store",
         {{"vkacmd=getStoreDump", "dump=store"}},
         "sm/cli/RptCntrl.xsl"},
        // enclosures
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=temps",
         {{"vkacmd=getEnclosureTemperatureProbes", "GlobalNo=0", "Enclosure=0:1", "info=temps"}},
         "sm/cli/RptTemps.xsl"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=fans index=1",
         {{"vkacmd=getEnclosureFans", "GlobalNo=0", "Enclosure=0:1", "info=fans", "Index=1"}},
         "sm/cli/RptFans.xsl"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=pwrsupplies",
         {{"vkacmd=getEnclosurePowerSupplies", "GlobalNo=0", "Enclosure=0:1", "info=pwrsupplies"}},
         "sm/cli/RptPS.xsl"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=emms",
         {{"vkacmd=getEnclosureEMMs", "GlobalNo=0", "Enclosure=0:1", "info=emms"}},
         "sm/cli/RptEmms.xsl"},
        {"vkreport storage enclosure", {{"vkacmd=getEnclosureList"}}, "sm/cli/RptEncl.xsl"},
        {"vkreport storage enclosure controller=0",
         {{"vkacmd=getEnclosuresForController", "GlobalNo=0"}},
         "sm/cli/RptEncl.xsl"},
        {"vkreport storage enclosure controller=0 enclosure=0:1",
         {{"vkacmd=getSingleEnclosureForController", "GlobalNo=0", "Enclosure=0:1"}},
         "sm/cli/RptEncl.xsl"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=pdslotreport",
         {{"vkacmd=getSlotReportForEnclosure", "GlobalNo=0", "Enclosure=0:1", "info=pdslotreport"}},
         "sm/cli/RptSlotRep.xsl"},
        // cachecades
        {"vkreport storage cachecade",
         {{"vkacmd=getAllVirtualDisks"}},
         "sm/cli/RptEnhanceCache.xsl"},
        {"vkreport storage cachecade controller=0",
         {{"vkacmd=getVirtualDisksForController", "GlobalNo=0"}},
         "sm/cli/RptEnhanceCache.xsl"},
        {"vkreport storage cachecade controller=0 cachecade=1",
         {{"vkacmd=getVirtualDisk", "GlobalNo=0", "LogicalDriveNum=1"}},
         "sm/cli/RptEnhanceCache.xsl"},
        // cache feature, pool, global information
        {"vkreport storage tarncache",
         {{"vkacmd=getTarnCachePoolProperties"}},
         "sm/cli/RptTarnCache.xsl"},
        {"vkreport storage tarncachepool",
         {{"vkacmd=getTarnCachePoolProperties"}},
         "sm/cli/RptTarnCachePool.xsl"},
        {"vkreport storage globalinfo", {{"vkacmd=getGlobalInfo"}}, "sm/cli/RptGlob.xsl"},
        // NVMe adapters, partitions, PCIe subsystem, cached LUNs
        {"vkreport storage nvmeadapter controller=0",
         {{"vkacmd=getNVMeAdaptersForController", "GlobalNo=0"}},
         "sm/cli/RptNVMeAdapter.xsl"},
        {"vkreport storage nvmeadapter controller=0 nvmeid=4",
         {{"vkacmd=getNVMeAdapter", "GlobalNo=0", "Channel=4"}},
         "sm/cli/RptNVMeAdapter.xsl"},
        {"vkreport storage partition controller=0 vdisk=0",
         {{"vkacmd=getPartitionsForVirtualDisk", "GlobalNo=0", "LogicalDriveNum=0"}},
         "sm/cli/RptPartitions.xsl"},
        {"vkreport storage pciessd", {{"vkacmd=getPCIeSubsystem"}}, "sm/cli/RptCntrl.xsl"},
        {"vkreport storage pciessd subsystem=0",
         {{"vkacmd=getAllPCIeSSDs", "GlobalNo=0"}},
         "sm/cli/RptCntrl.xsl"},
        {"vkreport storage tarncachedisk",
         {{"vkacmd=getAllCachedLuns"}},
         "sm/cli/RptCachedLuns.xsl"},
        // virtual disks
        {"vkreport storage vdisk", {{"vkacmd=getAllVirtualDisks"}}, "sm/cli/RptVDisk.xsl"},
        {"vkreport storage vdisk controller=0",
         {{"vkacmd=getVirtualDisksForController", "GlobalNo=0"}},
         "sm/cli/RptVDisk.xsl"},
        {"vkreport storage vdisk controller=0 vdisk=0",
         {{"vkacmd=getVirtualDisk", "GlobalNo=0", "LogicalDriveNum=0"}},
         "sm/cli/RptVDisk.xsl"},
        // system reports
        {"vkreport system summary",
         {{"vkacmd=getEnclosureList", "includeComponents=TRUE", "ProductID=QTRN"}},
         "sm/cli/RptSumm.xsl"},
        {"vkreport servermodule summary",
         {{"vkacmd=getEnclosureList", "includeComponents=TRUE", "ProductID=QTRN"}},
         "sm/cli/RptSumm.xsl"},
        {"vkreport system version", {{"vkacmd=getControllerList"}}, "sm/cli/RptVer.xsl"},
        {"vkreport servermodule version", {{"vkacmd=getControllerList"}}, "sm/cli/RptVer.xsl"},
    };
    for (const RowCase& c : cases) {
        SCOPED_TRACE(c.line);
        ResponsePtr r = Run(c.line);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, CLPS_RESP_XML) << (r->msgArg1 != nullptr ? r->msgArg1 : "") << " / "
                                          << (r->msgArg2 != nullptr ? r->msgArg2 : "");
        ASSERT_GE(estate.requests.size(), c.sent.size());
        const std::vector<Strings> last(estate.requests.end() - static_cast<long>(c.sent.size()),
                                        estate.requests.end());
        EXPECT_EQ(last, c.sent);
        EXPECT_STREQ(r->pStyleSheet != nullptr ? r->pStyleSheet : "", c.styleSheet.c_str());
        ASSERT_NE(r->pDataBuf, nullptr);
        EXPECT_EQ(std::string(r->pDataBuf).rfind("<RESPONSE>", 0), 0u);
    }
}

TEST_F(ReportTest, DumpReturnsNothingForTheCacheAndPCIeReports) {
    for (const char* line :
         {"vkreport storage tarncache dump=x", "vkreport storage tarncachepool dump=x",
          "vkreport storage pciessd dump=all", "vkreport storage tarncachedisk dump=x"}) {
        EXPECT_EQ(Run(line), nullptr) << line;
        EXPECT_TRUE(estate.requests.empty()) << line;
    }
}

// ---- check callbacks ------------------------------------------------------------------
struct RefusalCase {
    std::string line;
    uint32_t msgId;
    std::string arg1;
    std::string arg2;
};

constexpr const char* kNoDisks = "None - There are no physical disks on this controller.";
constexpr const char* kNoEnclosures = "None - There are no enclosures on this controller.";

TEST_F(ReportTest, CheckCallbacksRefuseWithTheirNumbersAndTexts) {
    const RefusalCase cases[] = {
        // disk check, in its order
        {"vkreport storage adisk controller=5", 1600, "5", "0, 1"},
        {"vkreport storage adisk controller=5 adisk=0:9", 1600, "5", "0, 1"},
        {"vkreport storage adisk controller=0 adisk=0:9", 1602, "0:9", "0:2, 0:3"},
        {"vkreport storage pdisk controller=1 pdisk=0:2", 1602, "0:2", kNoDisks},
        {"vkreport storage adisk controller=0 vdisk=9", 1604, "9", "0, 1"},
        {"vkreport storage adisk controller=1 vdisk=0", 1622, "1", ""},
        {"vkreport storage pdisk controller=0 cachecade=0", 1739, "0", "1"},
        {"vkreport storage pdisk controller=1 cachecade=0", 1740, "0", ""},
        {"vkreport storage adisk controller=0 connector=7", 1601, "7", "0"},
        {"vkreport storage adisk controller=0 enclosure=0:9", 1605, "0:9", "0:1"},
        {"vkreport storage pdisk controller=1 enclosure=0:1", 1605, "0:1", kNoEnclosures},
        // tape check
        {"vkreport storage tape controller=3", 1600, "3", "0, 1"},
        {"vkreport storage tape controller=0 tape=0:9", 1752, "0:9", "0:5"},
        {"vkreport storage tape controller=1 tape=0:5", 1752, "0:5",
         "None - There is no tapedrive on this controller."},
        {"vkreport storage tape controller=0 connector=3", 1601, "3", "0"},
        // battery check
        {"vkreport storage battery controller=2", 1600, "2", "0, 1"},
        {"vkreport storage battery controller=0 battery=3", 1620, "3", "0"},
        {"vkreport storage battery controller=1 battery=0", 1628, "0", ""},
        // connector check
        {"vkreport storage connector controller=4", 1600, "4", "0, 1"},
        {"vkreport storage connector controller=0 connector=7", 1601, "7", "0"},
        // controller check: the info word before the controller
        {"vkreport storage controller controller=0 info=xyz", 1711, "xyz",
         "foreignkeyids, pdslotreport"},
        {"vkreport storage controller controller=9 info=xyz", 1711, "xyz",
         "foreignkeyids, pdslotreport"},
        {"vkreport storage controller controller=9", 1600, "9", "0, 1"},
        // enclosure check
        {"vkreport storage enclosure controller=7", 1600, "7", "0, 1"},
        {"vkreport storage enclosure controller=0 enclosure=0:2", 1605, "0:2", "0:1"},
        {"vkreport storage enclosure controller=1 enclosure=0:1", 1605, "0:1", kNoEnclosures},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=fans index=5", 1616, "5",
         "0, 1"},
        // Indexes past 6 reach the enclosure's own check (shelves have many fans).
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=fans index=12", 1616, "12",
         "0, 1"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=pwrsupplies index=5", 1618,
         "5", "0, 1"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=emms index=5", 1619, "5",
         "0, 1"},
        {"vkreport storage enclosure controller=0 enclosure=0:1 info=temps index=5", 1617, "5",
         "0, 1"},
        // cachecade check
        {"vkreport storage cachecade controller=8", 1600, "8", "0, 1"},
        {"vkreport storage cachecade controller=1", 1738, "1", ""},
        {"vkreport storage cachecade controller=0 cachecade=0", 1739, "0", "1"},
        {"vkreport storage cachecade controller=1 cachecade=0", 1740, "0", ""},
        // NVMe, partition, virtual-disk and PCIe checks
        {"vkreport storage nvmeadapter controller=0 nvmeid=9", 1601, "9", "4"},
        {"vkreport storage nvmeadapter controller=6", 1600, "6", "0, 1"},
        {"vkreport storage partition controller=0 vdisk=7", 1604, "7", "0, 1"},
        {"vkreport storage partition controller=1 vdisk=0", 1622, "1", ""},
        {"vkreport storage vdisk controller=0 vdisk=7", 1604, "7", "0, 1"},
        {"vkreport storage vdisk controller=1 vdisk=0", 1622, "1", ""},
        {"vkreport storage vdisk controller=2", 1600, "2", "0, 1"},
        {"vkreport storage pciessd subsystem=9", 1600, "9", "0, 1"},
    };
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(c.line);
        ResponsePtr r = Run(c.line);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->kind, CLPS_RESP_MESSAGE);
        EXPECT_EQ(r->msgId, c.msgId);
        EXPECT_STREQ(r->msgArg1 != nullptr ? r->msgArg1 : "", c.arg1.c_str());
        EXPECT_STREQ(r->msgArg2 != nullptr ? r->msgArg2 : "", c.arg2.c_str());
        EXPECT_STREQ(r->pStyleSheet, "kvclp.xsl");
    }
}

TEST_F(ReportTest, SlotReportFollowsTheEnclosureMethodMasks) {
    const std::string line =
        "vkreport storage enclosure controller=0 enclosure=0:1 info=PDSlotReport";
    const struct {
        bool supported;
        bool allowedNow;
        bool unreadable;
        uint32_t msgId;  // 0: sent
    } cases[] = {
        {true, true, false, 0},
        {true, false, false, 1615},
        {false, false, false, 1731},
        {true, true, true, 1655},
    };
    for (const auto& c : cases) {
        estate.slotReportSupported = c.supported;
        estate.slotReportAllowedNow = c.allowedNow;
        estate.enclosureMasksUnreadable = c.unreadable;
        ResponsePtr r = Run(line);
        ASSERT_NE(r, nullptr);
        if (c.msgId == 0) {
            EXPECT_EQ(r->kind, CLPS_RESP_XML);
            EXPECT_EQ(estate.requests.back()[0], "vkacmd=getSlotReportForEnclosure");
        } else {
            EXPECT_EQ(r->msgId, c.msgId);
            EXPECT_STREQ(r->msgArg1, "PDSlotReport");
        }
    }
}

TEST_F(ReportTest, DryRunValidatesButSendsNoReport) {
    CLPSSetHostFlags(CLPS_HOST_DRYRUN);
    ResponsePtr r = Run("vkreport storage pdisk controller=0 pdisk=0:2");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_DRYRUN);
    ASSERT_EQ(r->requestCount, 3u);
    EXPECT_STREQ(r->ppRequest[0], "vkacmd=getArrayDisk");
    // The check's own queries ran; the report request did not go out.
    EXPECT_FALSE(estate.requests.empty());
    for (const Strings& sent : estate.requests) EXPECT_NE(sent[0], "vkacmd=getArrayDisk");
}

TEST_F(ReportTest, ReportUsageComesFromTheTable) {
    ResponsePtr r = Run("vkreport storage battery help");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, CLPS_RESP_USAGE);
    EXPECT_EQ(r->msgId, 6061u);
    EXPECT_STREQ(r->pUsageXML,
                 "<Usage object=\"battery\">"
                 "<Param name=\"controller\" required=\"no\" type=\"number\"></Param>"
                 "<Param name=\"battery\" required=\"no\" type=\"number\"></Param></Usage>");
}

// ---- alert log ---------------------------------------------------------------------------
TEST_F(ReportTest, AlertLogAlwaysNamesTheFixedFile) {
    for (const char* line : {"vkreport system alertlog", "vkreport servermodule alertlog"}) {
        testing::internal::CaptureStdout();
        ResponsePtr r = Run(line);
        const std::string out = testing::internal::GetCapturedStdout();
        ASSERT_NE(r, nullptr) << line;
        EXPECT_EQ(estate.requests, (std::vector<Strings>{{"vkacmd=getAlertLog"}}));
        EXPECT_EQ(r->dataType, CLPS_DATATYPE_TEXT);
        EXPECT_STREQ(r->pDataBuf, "C:\\WINNT\\bev.xml");
        EXPECT_EQ(r->dataLen, 17u);
        EXPECT_EQ(r->word2, 0u);
        EXPECT_EQ(r->word6, 32u);
        EXPECT_EQ(r->word7, 0u);
        EXPECT_EQ(r->word8, 41u);
        EXPECT_EQ(out, "xml is not <VKA><Path>C:\\WINNT\\bev.xml</Path></VKA>\n   ");
    }
}

TEST_F(ReportTest, AlertLogHelpAndExtraArguments) {
    ResponsePtr help = Run("vkreport system alertlog -?");
    ASSERT_NE(help, nullptr);
    EXPECT_EQ(help->kind, CLPS_RESP_USAGE);
    EXPECT_STREQ(help->pStyleSheet, "sysclp.xsl");

    ResponsePtr extra = Run("vkreport system alertlog count=5");
    ASSERT_NE(extra, nullptr);
    EXPECT_EQ(extra->msgId, static_cast<uint32_t>(CLPS_MSG_UNEXPECTED_PARAM));
    EXPECT_STREQ(extra->msgArg1, "count=5");
    EXPECT_TRUE(estate.requests.empty());

    // Without the agent there is no answer at all, not even help.
    VKDBPluginRemoveAgent("kvda");
    EXPECT_EQ(Run("vkreport system alertlog"), nullptr);
    EXPECT_EQ(Run("vkreport system alertlog help"), nullptr);
}

}  // namespace
