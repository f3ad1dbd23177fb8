// The storage reports: for each object, the table of report requests the
// command frame chooses from (by which keywords are given or must not be),
// the request's stylesheet, and the check callback of its identifiers.
#include <cstdint>

#include "clps.h"
#include "handlers.h"
#include "ocs.h"
#include "report_checks.h"
#include "trace.h"

namespace {

// Shorthands of the parameter rules.
constexpr uint32_t kSent = CLPS_USE_REQUIRED;      // required, sent as prefix and value
constexpr uint32_t kIfGiven = CLPS_USE_OPTIONAL;   // sent only when given
constexpr uint32_t kGiven = CLPS_USE_MUST_GIVE;    // selects the row; sent when it has a prefix
constexpr uint32_t kNot = CLPS_USE_MUST_NOT_GIVE;  // the row is not chosen when given
constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kSmall = CLPS_VT_SMALL_UINT;
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kDisk = CLPS_VT_DISK;
constexpr uint32_t kEncl = CLPS_VT_ENCLOSURE;
constexpr const char* kDiskForm = "5:31,1:4:31";
constexpr const char* kTapeListForm = "2,1:1";
constexpr const char* kEnclForm = "5,1:4";
constexpr const char* kAgent = "kvda";
constexpr const char* kStyleSheet = "kvclp.xsl";

// clang-format off
// ---- array disks (adisk) and physical disks (pdisk) -------------------------
// Rows for: one disk, the controller's disks, a connector's disks, a virtual
// disk's (or cachecade's) members and its spans. The members and spans rows
// share their rules: the report shows both.
#define VK_DISK_ROWS(prefix, disk, channelNotDisk, vd)                                                  \
constexpr CLPSNVParamRow prefix##One[] = {                                                           \
    {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},                                 \
    {disk,         "adisk=",           kDisk,  kGiven, kDiskForm, 0},                                 \
    {"connector",  nullptr,            kSmall, kNot,   nullptr,   0},                                 \
    {vd,           nullptr,            kNum,   kNot,   nullptr,   0},                                 \
};                                                                                                   \
constexpr CLPSNVParamRow prefix##Controller[] = {                                                    \
    {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},                                 \
    {disk,         nullptr,            kDisk,  kNot,   kDiskForm, 0},                                 \
    {"connector",  nullptr,            kSmall, kNot,   nullptr,   0},                                 \
    {vd,           nullptr,            kNum,   kNot,   nullptr,   0},                                 \
};                                                                                                   \
constexpr CLPSNVParamRow prefix##Channel[] = {                                                       \
    {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},                                 \
    {"connector",  "Channel=",         kSmall, kGiven, nullptr,   0},                                 \
    {channelNotDisk, nullptr,          kDisk,  kNot,   kDiskForm, 0},                                 \
    {vd,           nullptr,            kNum,   kNot,   nullptr,   0},                                 \
};                                                                                                   \
constexpr CLPSNVParamRow prefix##VirtualDisk[] = {                                                   \
    {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},                                 \
    {vd,           "LogicalDriveNum=", kNum,   kGiven, nullptr,   0},                                 \
    {"connector",  nullptr,            kSmall, kNot,   nullptr,   0},                                 \
    {disk,         nullptr,            kDisk,  kNot,   kDiskForm, 0},                                 \
};                                                                                                   \
constexpr CLPSNVActionRow prefix##Table[] = {                                                        \
    {6, nullptr, "vkacmd=getArrayDisk",                nullptr, nullptr, kAgent, prefix##One,         4, "sm/cli/RptADisk.xsl", 0}, \
    {6, nullptr, "vkacmd=getArrayDisksForController",  nullptr, nullptr, kAgent, prefix##Controller,  4, "sm/cli/RptADisk.xsl", 0}, \
    {6, nullptr, "vkacmd=getArrayDisksForChannel",     nullptr, nullptr, kAgent, prefix##Channel,     4, "sm/cli/RptADisk.xsl", 0}, \
    {6, nullptr, "vkacmd=getArrayDisksForVirtualDisk", nullptr, nullptr, kAgent, prefix##VirtualDisk, 4, "sm/cli/RptADisk.xsl", 0}, \
    {6, nullptr, "vkacmd=getSpanInfoForVirtualDisk",   nullptr, nullptr, kAgent, prefix##VirtualDisk, 4, "sm/cli/RptADisk.xsl", 0}, \
};

VK_DISK_ROWS(kADiskVd,  "adisk", "adisk", "vdisk")
VK_DISK_ROWS(kADiskCc,  "adisk", "adisk", "cachecade")
// In the pdisk tables too, the keyword the channel rows forbid is "adisk".
VK_DISK_ROWS(kPDiskVd,  "pdisk", "adisk", "vdisk")
VK_DISK_ROWS(kPDiskCc,  "pdisk", "adisk", "cachecade")
#undef VK_DISK_ROWS

constexpr CLPSNVParamRow kEnclDisks[] = {
    {"controller", "GlobalNo=",  kNum,  kSent,  nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kGiven, kEnclForm, 0},
    {"info",       nullptr,      kText, kNot,   nullptr,   0},
    {"index",      nullptr,      kNum,  kNot,   nullptr,   0},
};
constexpr CLPSNVActionRow kEnclDiskTable[] = {
    {6, nullptr, "vkacmd=getArrayDisksForEnclosure", nullptr, nullptr, kAgent, kEnclDisks, 4, "sm/cli/RptADisk.xsl", 0},
};

// ---- tape drives ------------------------------------------------------------
constexpr CLPSNVParamRow kTapeController[] = {
    {"controller", "GlobalNo=", kNum,   kSent, nullptr,       0},
    {"connector",  nullptr,     kSmall, kNot,  nullptr,       0},
    {"tape",       nullptr,     kDisk,  kNot,  kTapeListForm, 0},
};
constexpr CLPSNVParamRow kTapeChannel[] = {
    {"controller", "GlobalNo=", kNum,   kSent,  nullptr,       0},
    {"connector",  "Channel=",  kSmall, kGiven, nullptr,       0},
    {"tape",       nullptr,     kDisk,  kNot,   kTapeListForm, 0},
};
constexpr CLPSNVParamRow kTapeOne[] = {
    {"controller", "GlobalNo=", kNum,   kSent,  nullptr,   0},
    {"tape",       "adisk=",    kDisk,  kGiven, kDiskForm, 0},
    {"connector",  nullptr,     kSmall, kNot,   nullptr,   0},
};
constexpr CLPSNVActionRow kTapeTable[] = {
    {6, nullptr, "vkacmd=getTapeDrivesForController", nullptr, nullptr, kAgent, kTapeController, 3, "sm/cli/RptADisk.xsl", 0},
    {6, nullptr, "vkacmd=getTapeDrivesForChannel",    nullptr, nullptr, kAgent, kTapeChannel,    3, "sm/cli/RptADisk.xsl", 0},
    {6, nullptr, "vkacmd=getTape",                    nullptr, nullptr, kAgent, kTapeOne,        3, "sm/cli/RptADisk.xsl", 0},
};

// ---- batteries ----------------------------------------------------------------
constexpr CLPSNVParamRow kBatteryList[] = {
    {"controller", nullptr, kNum, kNot, nullptr, 0},
    {"battery",    nullptr, kNum, kNot, nullptr, 0},
};
constexpr CLPSNVParamRow kBatteryController[] = {
    {"controller", "GlobalNo=", kNum, kGiven, nullptr, 0},
    {"battery",    nullptr,     kNum, kNot,   nullptr, 0},
};
constexpr CLPSNVParamRow kBatteryOne[] = {
    {"controller", "GlobalNo=",  kNum, kGiven, nullptr, 0},
    {"battery",    "BatteryID=", kNum, kGiven, nullptr, 0},
};
constexpr CLPSNVActionRow kBatteryTable[] = {
    {6, nullptr, "vkacmd=getBatteryList",            nullptr, nullptr, kAgent, kBatteryList,       2, "sm/cli/RptBatry.xsl", 0},
    {6, nullptr, "vkacmd=getBatteriesForController", nullptr, nullptr, kAgent, kBatteryController, 2, "sm/cli/RptBatry.xsl", 0},
    {6, nullptr, "vkacmd=getBattery",                nullptr, nullptr, kAgent, kBatteryOne,        2, "sm/cli/RptBatry.xsl", 0},
};

// ---- connectors ---------------------------------------------------------------
constexpr CLPSNVParamRow kConnectorController[] = {
    {"controller", "GlobalNo=", kNum, kSent, nullptr, 0},
    {"connector",  nullptr,     kNum, kNot,  nullptr, 0},
};
constexpr CLPSNVParamRow kConnectorOne[] = {
    {"controller", "GlobalNo=", kNum, kSent,  nullptr, 0},
    {"connector",  "Channel=",  kNum, kGiven, nullptr, 0},
};
constexpr CLPSNVActionRow kConnectorTable[] = {
    {6, nullptr, "vkacmd=getChannelsForController", nullptr, nullptr, kAgent, kConnectorController, 2, "sm/cli/RptChnl.xsl", 0},
    {6, nullptr, "vkacmd=getChannel",               nullptr, nullptr, kAgent, kConnectorOne,        2, "sm/cli/RptChnl.xsl", 0},
};

// ---- controllers ----------------------------------------------------------------
constexpr CLPSNVParamRow kControllerInfo[] = {
    {"controller", "GlobalNo=", kNum,  kSent, nullptr, 0},
    {"info",       "info=",     kText, kSent, nullptr, 0},
    {"dump",       nullptr,     kText, kNot,  nullptr, 0},
};
constexpr CLPSNVParamRow kControllerList[] = {
    {"controller", nullptr, kNum,  kNot, nullptr, 0},
    {"dump",       nullptr, kText, kNot, nullptr, 0},
};
constexpr CLPSNVParamRow kControllerOne[] = {
    {"controller", "GlobalNo=", kNum,  kGiven, nullptr, 0},
    {"dump",       nullptr,     kText, kNot,   nullptr, 0},
    {"info",       nullptr,     kText, kNot,   nullptr, 0},
};
constexpr CLPSNVActionRow kControllerTable[] = {
    {8, "info",  "vkacmd=getForeignLockedArrayDisks",   "foreignkeyids", nullptr, kAgent, kControllerInfo, 3, "sm/cli/RptFnkey.xsl",   0},
    {6, nullptr, "vkacmd=getControllerList",            nullptr,         nullptr, kAgent, kControllerList, 2, "sm/cli/RptCntrl.xsl",   0},
    {6, nullptr, "vkacmd=getSingleControllerArrayInfo", nullptr,         nullptr, kAgent, kControllerOne,  3, "sm/cli/RptCntrl.xsl",   0},
    {8, "info",  "vkacmd=getSlotReportForEnclosure",    "pdslotreport",  nullptr, kAgent, kControllerInfo, 3, "sm/cli/RptSlotRep.xsl", 0},
};
constexpr CLPSNVParamRow kDump[] = {
    {"dump",       "dump=",  kText, kSent, nullptr, 0},
    {"controller", nullptr,  kNum,  kNot,  nullptr, 0},
};
constexpr CLPSNVActionRow kDumpTable[] = {
    {8, "dump", "vkacmd=getControllerListArrayInfo", "all",   nullptr, kAgent, kDump, 2, "sm/cli/RptCntrl.xsl", 0},
    {8, "dump", "vkacmd=getStoreDump",               "store", nullptr, kAgent, kDump, 2, "sm/cli/RptCntrl.xsl", 0},
};

// ---- enclosures -----------------------------------------------------------------
constexpr CLPSNVParamRow kEnclComponents[] = {
    {"controller", "GlobalNo=",  kNum,  kSent,    nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kSent,    kEnclForm, 0},
    {"info",       "info=",      kText, kSent,    nullptr,   0},
    {"index",      "Index=",     kNum,  kIfGiven, "6",       0},
};
constexpr CLPSNVParamRow kEnclList[] = {
    {"controller", nullptr, kNum,  kNot, nullptr,   0},
    {"enclosure",  nullptr, kEncl, kNot, kEnclForm, 0},
    {"info",       nullptr, kText, kNot, nullptr,   0},
    {"index",      nullptr, kNum,  kNot, nullptr,   0},
};
constexpr CLPSNVParamRow kEnclController[] = {
    {"controller", "GlobalNo=", kNum,  kGiven, nullptr,   0},
    {"enclosure",  nullptr,     kEncl, kNot,   kEnclForm, 0},
    {"info",       nullptr,     kText, kNot,   nullptr,   0},
    {"index",      nullptr,     kNum,  kNot,   nullptr,   0},
};
constexpr CLPSNVParamRow kEnclOne[] = {
    {"controller", "GlobalNo=",  kNum,  kGiven, nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kGiven, kEnclForm, 0},
    {"info",       nullptr,      kText, kNot,   nullptr,   0},
    {"index",      nullptr,      kNum,  kNot,   nullptr,   0},
};
constexpr CLPSNVParamRow kEnclSlots[] = {
    {"controller", "GlobalNo=",  kNum,  kSent, nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kSent, kEnclForm, 0},
    {"info",       "info=",      kText, kSent, nullptr,   0},
    {"dump",       nullptr,      kText, kNot,  nullptr,   0},
};
constexpr CLPSNVActionRow kEnclosureTable[] = {
    {8, "info",  "vkacmd=getEnclosureTemperatureProbes",   "temps",        nullptr, kAgent, kEnclComponents, 4, "sm/cli/RptTemps.xsl",   0},
    {8, "info",  "vkacmd=getEnclosureFans",                "fans",         nullptr, kAgent, kEnclComponents, 4, "sm/cli/RptFans.xsl",    0},
    {8, "info",  "vkacmd=getEnclosurePowerSupplies",       "pwrsupplies",  nullptr, kAgent, kEnclComponents, 4, "sm/cli/RptPS.xsl",      0},
    {8, "info",  "vkacmd=getEnclosureEMMs",                "emms",         nullptr, kAgent, kEnclComponents, 4, "sm/cli/RptEmms.xsl",    0},
    {6, nullptr, "vkacmd=getEnclosureList",                nullptr,        nullptr, kAgent, kEnclList,       4, "sm/cli/RptEncl.xsl",    0},
    {6, nullptr, "vkacmd=getEnclosuresForController",      nullptr,        nullptr, kAgent, kEnclController, 4, "sm/cli/RptEncl.xsl",    0},
    {6, nullptr, "vkacmd=getSingleEnclosureForController", nullptr,        nullptr, kAgent, kEnclOne,        4, "sm/cli/RptEncl.xsl",    0},
    {8, "info",  "vkacmd=getSlotReportForEnclosure",       "pdslotreport", nullptr, kAgent, kEnclSlots,      4, "sm/cli/RptSlotRep.xsl", 0},
};

// ---- cachecades and virtual disks -------------------------------------------------
#define VK_VD_ROWS(prefix, vd, styleSheet)                                                                              \
constexpr CLPSNVParamRow prefix##All[] = {                                                                              \
    {"controller", nullptr, kNum, kNot, nullptr, 0},                                                                    \
    {vd,           nullptr, kNum, kNot, nullptr, 0},                                                                    \
};                                                                                                                      \
constexpr CLPSNVParamRow prefix##Controller[] = {                                                                       \
    {"controller", "GlobalNo=", kNum, kGiven, nullptr, 0},                                                              \
    {vd,           nullptr,     kNum, kNot,   nullptr, 0},                                                              \
};                                                                                                                      \
constexpr CLPSNVParamRow prefix##One[] = {                                                                              \
    {"controller", "GlobalNo=",        kNum, kGiven, nullptr, 0},                                                       \
    {vd,           "LogicalDriveNum=", kNum, kGiven, nullptr, 0},                                                       \
};                                                                                                                      \
constexpr CLPSNVActionRow prefix##Table[] = {                                                                           \
    {6, nullptr, "vkacmd=getAllVirtualDisks",           nullptr, nullptr, kAgent, prefix##All,        2, styleSheet, 0}, \
    {6, nullptr, "vkacmd=getVirtualDisksForController", nullptr, nullptr, kAgent, prefix##Controller, 2, styleSheet, 0}, \
    {6, nullptr, "vkacmd=getVirtualDisk",               nullptr, nullptr, kAgent, prefix##One,        2, styleSheet, 0}, \
};

VK_VD_ROWS(kCachecade, "cachecade", "sm/cli/RptEnhanceCache.xsl")
VK_VD_ROWS(kVirtualDisk, "vdisk", "sm/cli/RptVDisk.xsl")
#undef VK_VD_ROWS

// ---- cache feature, cache pool, global information --------------------------------
constexpr CLPSNVParamRow kCachePool[] = {
    {"subsystem", nullptr, kNum,  kNot, nullptr, 0},
    {"dump",      nullptr, kText, kNot, nullptr, 0},
};
constexpr CLPSNVActionRow kTarnCacheTable[] = {
    {6, nullptr, "vkacmd=getTarnCachePoolProperties", nullptr, nullptr, kAgent, kCachePool, 2, "sm/cli/RptTarnCache.xsl", 0},
};
constexpr CLPSNVActionRow kTarnCachePoolTable[] = {
    {6, nullptr, "vkacmd=getTarnCachePoolProperties", nullptr, nullptr, kAgent, kCachePool, 2, "sm/cli/RptTarnCachePool.xsl", 0},
};
constexpr CLPSNVActionRow kGlobalTable[] = {
    {6, nullptr, "vkacmd=getGlobalInfo", nullptr, nullptr, kAgent, nullptr, 0, "sm/cli/RptGlob.xsl", 0},
};

// ---- NVMe adapters, partitions, PCIe subsystem, cached LUNs ------------------------
constexpr CLPSNVParamRow kNVMeController[] = {
    {"controller", "GlobalNo=", kNum, kSent, nullptr, 0},
    {"nvmeid",     nullptr,     kNum, kNot,  nullptr, 0},
};
constexpr CLPSNVParamRow kNVMeOne[] = {
    {"controller", "GlobalNo=", kNum, kSent,  nullptr, 0},
    {"nvmeid",     "Channel=",  kNum, kGiven, nullptr, 0},
};
constexpr CLPSNVActionRow kNVMeTable[] = {
    {6, nullptr, "vkacmd=getNVMeAdaptersForController", nullptr, nullptr, kAgent, kNVMeController, 2, "sm/cli/RptNVMeAdapter.xsl", 0},
    {6, nullptr, "vkacmd=getNVMeAdapter",               nullptr, nullptr, kAgent, kNVMeOne,        2, "sm/cli/RptNVMeAdapter.xsl", 0},
};
constexpr CLPSNVParamRow kPartitions[] = {
    {"controller", "GlobalNo=",        kNum,   kSent, nullptr,   0},
    {"vdisk",      "LogicalDriveNum=", kNum,   kSent, nullptr,   0},
    {"connector",  nullptr,            kSmall, kNot,  nullptr,   0},
    {"pdisk",      nullptr,            kDisk,  kNot,  kDiskForm, 0},
};
constexpr CLPSNVActionRow kPartitionTable[] = {
    {6, nullptr, "vkacmd=getPartitionsForVirtualDisk", nullptr, nullptr, kAgent, kPartitions, 4, "sm/cli/RptPartitions.xsl", 0},
};
constexpr CLPSNVParamRow kPCIeSubsystem[] = {
    {"subsystem", nullptr, kNum,  kNot, nullptr, 0},
    {"dump",      nullptr, kText, kNot, nullptr, 0},
};
constexpr CLPSNVParamRow kPCIeSSDs[] = {
    {"subsystem", "GlobalNo=", kNum, kGiven, nullptr, 0},
};
constexpr CLPSNVActionRow kPCIeTable[] = {
    {6, nullptr, "vkacmd=getPCIeSubsystem", nullptr, nullptr, kAgent, kPCIeSubsystem, 2, "sm/cli/RptCntrl.xsl", 0},
    {6, nullptr, "vkacmd=getAllPCIeSSDs",   nullptr, nullptr, kAgent, kPCIeSSDs,      1, "sm/cli/RptCntrl.xsl", 0},
};
// Every filter of the cached-LUN report must be left out; the controller's
// rule keeps its request prefix, which is never sent.
constexpr CLPSNVParamRow kCachedLuns[] = {
    {"subsystem",  nullptr,     kNum,   kNot, nullptr,   0},
    {"connector",  nullptr,     kSmall, kNot, nullptr,   0},
    {"vdisk",      nullptr,     kNum,   kNot, nullptr,   0},
    {"pdisk",      nullptr,     kDisk,  kNot, kDiskForm, 0},
    {"controller", "GlobalNo=", kNum,   kNot, nullptr,   0},
    {"dump",       nullptr,     kText,  kNot, nullptr,   0},
};
constexpr CLPSNVActionRow kCachedLunTable[] = {
    {6, nullptr, "vkacmd=getAllCachedLuns", nullptr, nullptr, kAgent, kCachedLuns, 6, "sm/cli/RptCachedLuns.xsl", 0},
};
// clang-format on

template <size_t N>
CLPSResponse* RunReport(uint32_t argc, const char** argv, uint32_t msgId,
                        const CLPSNVActionRow (&table)[N], CLPSNVValidateFunc check) {
    return CLPSNVCmdConfigFunc(argc, argv, msgId, 0, table, static_cast<uint32_t>(N), kStyleSheet,
                               check);
}

bool Given(uint32_t argc, const char** argv, const char* name) {
    return OCSGetAStrParamValueByAStrName(argc, argv, name, 1) != nullptr;
}

}  // namespace

CLPSResponse* ReportArrayDisks(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (Given(argc, argv, "cachecade"))
        return RunReport(argc, argv, 6021, kADiskCcTable, report::CheckDisks);
    if (Given(argc, argv, "enclosure") && !Given(argc, argv, "vdisk"))
        return RunReport(argc, argv, 6021, kEnclDiskTable, report::CheckDisks);
    return RunReport(argc, argv, 6021, kADiskVdTable, report::CheckDisks);
}

CLPSResponse* ReportPhysicalDisks(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (!Given(argc, argv, "vdisk")) {
        if (Given(argc, argv, "cachecade"))
            return RunReport(argc, argv, 6022, kPDiskCcTable, report::CheckDisks);
        if (Given(argc, argv, "enclosure"))
            return RunReport(argc, argv, 6022, kEnclDiskTable, report::CheckDisks);
    }
    return RunReport(argc, argv, 6022, kPDiskVdTable, report::CheckDisks);
}

CLPSResponse* ReportTapeDrives(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6032, kTapeTable, report::CheckTapeDrives);
}

CLPSResponse* ReportBatteries(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6061, kBatteryTable, report::CheckBatteries);
}

CLPSResponse* ReportConnectors(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6042, kConnectorTable, report::CheckConnectors);
}

CLPSResponse* ReportControllers(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (Given(argc, argv, "dump"))
        return RunReport(argc, argv, 6011, kDumpTable, report::CheckControllers);
    return RunReport(argc, argv, 6011, kControllerTable, report::CheckControllers);
}

CLPSResponse* ReportEnclosures(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6051, kEnclosureTable, report::CheckEnclosures);
}

CLPSResponse* ReportCachecade(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6996, kCachecadeTable, report::CheckCachecades);
}

CLPSResponse* ReportTarnCache(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (Given(argc, argv, "dump")) return nullptr;
    return RunReport(argc, argv, 6081, kTarnCacheTable, report::CheckAcceptAll);
}

CLPSResponse* ReportTarnCachePool(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (Given(argc, argv, "dump")) return nullptr;
    return RunReport(argc, argv, 6091, kTarnCachePoolTable, report::CheckAcceptAll);
}

CLPSResponse* ReportGlobalInfo(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6062, kGlobalTable, report::CheckAcceptAll);
}

CLPSResponse* ReportNVMeAdapters(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6043, kNVMeTable, report::CheckNVMeAdapters);
}

CLPSResponse* ReportPartitions(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6095, kPartitionTable, report::CheckVirtualDisks);
}

CLPSResponse* ReportPCIeSubsystem(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (Given(argc, argv, "dump")) return nullptr;
    return RunReport(argc, argv, 6071, kPCIeTable, report::CheckPCIeSubsystem);
}

CLPSResponse* ReportCachedLuns(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    if (Given(argc, argv, "dump")) return nullptr;
    return RunReport(argc, argv, 6085, kCachedLunTable, report::CheckAcceptAll);
}

CLPSResponse* ReportVirtualDisks(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return RunReport(argc, argv, 6031, kVirtualDiskTable, report::CheckVirtualDisks);
}
