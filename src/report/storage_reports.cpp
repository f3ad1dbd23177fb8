// The storage reports: for each object, the table of report requests the
// command frame chooses from (by which keywords are given or must not be),
// the request's stylesheet, and the check callback of its identifiers.
#include <array>
#include <cstdint>
#include <span>

#include "clps.h"
#include "command_tables.h"
#include "handlers.h"
#include "ocs.h"
#include "report_checks.h"
#include "report_tables.h"
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
constexpr const char* kDiskSheet = "sm/cli/RptADisk.xsl";
constexpr const char* kStyleSheet = "kvclp.xsl";

using kvclp::Report;
using kvclp::Selector;
using kvclp::vkacmd;

// clang-format off
// ---- array disks (adisk) and physical disks (pdisk) -------------------------
// The rules of one disk report, by the keyword that names the disk, the one
// the connector row forbids and the one that names the virtual disk (or
// cachecade): one disk, the controller's disks, a connector's disks, and a
// virtual disk's members and spans (the last two share their rules: the
// report shows both).
struct DiskRules {
    std::array<CLPSNVParamRow, 4> one;
    std::array<CLPSNVParamRow, 4> controller;
    std::array<CLPSNVParamRow, 4> channel;
    std::array<CLPSNVParamRow, 4> members;
};

constexpr DiskRules MakeDiskRules(const char* disk, const char* channelNotDisk, const char* vd) {
    return {
        .one = {{
            {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},
            {disk,         "adisk=",           kDisk,  kGiven, kDiskForm, 0},
            {"connector",  nullptr,            kSmall, kNot,   nullptr,   0},
            {vd,           nullptr,            kNum,   kNot,   nullptr,   0},
        }},
        .controller = {{
            {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},
            {disk,         nullptr,            kDisk,  kNot,   kDiskForm, 0},
            {"connector",  nullptr,            kSmall, kNot,   nullptr,   0},
            {vd,           nullptr,            kNum,   kNot,   nullptr,   0},
        }},
        .channel = {{
            {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},
            {"connector",  "Channel=",         kSmall, kGiven, nullptr,   0},
            {channelNotDisk, nullptr,          kDisk,  kNot,   kDiskForm, 0},
            {vd,           nullptr,            kNum,   kNot,   nullptr,   0},
        }},
        .members = {{
            {"controller", "GlobalNo=",        kNum,   kSent,  nullptr,   0},
            {vd,           "LogicalDriveNum=", kNum,   kGiven, nullptr,   0},
            {"connector",  nullptr,            kSmall, kNot,   nullptr,   0},
            {disk,         nullptr,            kDisk,  kNot,   kDiskForm, 0},
        }},
    };
}

constexpr auto DiskTable(const DiskRules& r) {
    return std::to_array<CLPSNVActionRow>({
        Report(vkacmd.getArrayDisk,                r.one,        kDiskSheet),
        Report(vkacmd.getArrayDisksForController,  r.controller, kDiskSheet),
        Report(vkacmd.getArrayDisksForChannel,     r.channel,    kDiskSheet),
        Report(vkacmd.getArrayDisksForVirtualDisk, r.members,    kDiskSheet),
        Report(vkacmd.getSpanInfoForVirtualDisk,   r.members,    kDiskSheet),
    });
}

constexpr DiskRules kADiskVdRules = MakeDiskRules("adisk", "adisk", "vdisk");
constexpr DiskRules kADiskCcRules = MakeDiskRules("adisk", "adisk", "cachecade");
// In the pdisk tables too, the keyword the channel rows forbid is "adisk".
constexpr DiskRules kPDiskVdRules = MakeDiskRules("pdisk", "adisk", "vdisk");
constexpr DiskRules kPDiskCcRules = MakeDiskRules("pdisk", "adisk", "cachecade");
constexpr auto kADiskVdTable = DiskTable(kADiskVdRules);
constexpr auto kADiskCcTable = DiskTable(kADiskCcRules);
constexpr auto kPDiskVdTable = DiskTable(kPDiskVdRules);
constexpr auto kPDiskCcTable = DiskTable(kPDiskCcRules);

constexpr auto kEnclDisks = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum,  kSent,  nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kGiven, kEnclForm, 0},
    {"info",       nullptr,      kText, kNot,   nullptr,   0},
    {"index",      nullptr,      kNum,  kNot,   nullptr,   0},
});
constexpr auto kEnclDiskTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getArrayDisksForEnclosure, kEnclDisks, kDiskSheet),
});

// ---- tape drives ------------------------------------------------------------
constexpr auto kTapeController = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,   kSent, nullptr,       0},
    {"connector",  nullptr,     kSmall, kNot,  nullptr,       0},
    {"tape",       nullptr,     kDisk,  kNot,  kTapeListForm, 0},
});
constexpr auto kTapeChannel = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,   kSent,  nullptr,       0},
    {"connector",  "Channel=",  kSmall, kGiven, nullptr,       0},
    {"tape",       nullptr,     kDisk,  kNot,   kTapeListForm, 0},
});
constexpr auto kTapeOne = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,   kSent,  nullptr,   0},
    {"tape",       "adisk=",    kDisk,  kGiven, kDiskForm, 0},
    {"connector",  nullptr,     kSmall, kNot,   nullptr,   0},
});
constexpr auto kTapeTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getTapeDrivesForController, kTapeController, kDiskSheet),
    Report(vkacmd.getTapeDrivesForChannel,    kTapeChannel,    kDiskSheet),
    Report(vkacmd.getTape,                    kTapeOne,        kDiskSheet),
});

// ---- batteries ----------------------------------------------------------------
constexpr auto kBatteryList = std::to_array<CLPSNVParamRow>({
    {"controller", nullptr, kNum, kNot, nullptr, 0},
    {"battery",    nullptr, kNum, kNot, nullptr, 0},
});
constexpr auto kBatteryController = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum, kGiven, nullptr, 0},
    {"battery",    nullptr,     kNum, kNot,   nullptr, 0},
});
constexpr auto kBatteryOne = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum, kGiven, nullptr, 0},
    {"battery",    "BatteryID=", kNum, kGiven, nullptr, 0},
});
constexpr auto kBatteryTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getBatteryList,            kBatteryList,       "sm/cli/RptBatry.xsl"),
    Report(vkacmd.getBatteriesForController, kBatteryController, "sm/cli/RptBatry.xsl"),
    Report(vkacmd.getBattery,                kBatteryOne,        "sm/cli/RptBatry.xsl"),
});

// ---- connectors ---------------------------------------------------------------
constexpr auto kConnectorController = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum, kSent, nullptr, 0},
    {"connector",  nullptr,     kNum, kNot,  nullptr, 0},
});
constexpr auto kConnectorOne = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum, kSent,  nullptr, 0},
    {"connector",  "Channel=",  kNum, kGiven, nullptr, 0},
});
constexpr auto kConnectorTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getChannelsForController, kConnectorController, "sm/cli/RptChnl.xsl"),
    Report(vkacmd.getChannel,               kConnectorOne,        "sm/cli/RptChnl.xsl"),
});

// ---- controllers ----------------------------------------------------------------
constexpr auto kControllerInfo = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,  kSent, nullptr, 0},
    {"info",       "info=",     kText, kSent, nullptr, 0},
    {"dump",       nullptr,     kText, kNot,  nullptr, 0},
});
constexpr auto kControllerList = std::to_array<CLPSNVParamRow>({
    {"controller", nullptr, kNum,  kNot, nullptr, 0},
    {"dump",       nullptr, kText, kNot, nullptr, 0},
});
constexpr auto kControllerOne = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,  kGiven, nullptr, 0},
    {"dump",       nullptr,     kText, kNot,   nullptr, 0},
    {"info",       nullptr,     kText, kNot,   nullptr, 0},
});
constexpr auto kControllerTable = std::to_array<CLPSNVActionRow>({
    Selector("info", "foreignkeyids", vkacmd.getForeignLockedArrayDisks, kControllerInfo, "sm/cli/RptFnkey.xsl"),
    Report(vkacmd.getControllerList,                       kControllerList, "sm/cli/RptCntrl.xsl"),
    Report(vkacmd.getSingleControllerArrayInfo,            kControllerOne,  "sm/cli/RptCntrl.xsl"),
    Selector("info", "pdslotreport",  vkacmd.getSlotReportForEnclosure,  kControllerInfo, "sm/cli/RptSlotRep.xsl"),
});
constexpr auto kDump = std::to_array<CLPSNVParamRow>({
    {"dump",       "dump=",  kText, kSent, nullptr, 0},
    {"controller", nullptr,  kNum,  kNot,  nullptr, 0},
});
constexpr auto kDumpTable = std::to_array<CLPSNVActionRow>({
    Selector("dump", "all",   vkacmd.getControllerListArrayInfo, kDump, "sm/cli/RptCntrl.xsl"),
    Selector("dump", "store", vkacmd.getStoreDump,               kDump, "sm/cli/RptCntrl.xsl"),
});

// ---- enclosures -----------------------------------------------------------------
constexpr auto kEnclComponents = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum,  kSent,    nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kSent,    kEnclForm, 0},
    {"info",       "info=",      kText, kSent,    nullptr,   0},
    {"index",      "Index=",     kNum,  kIfGiven, "6",       0},
});
constexpr auto kEnclList = std::to_array<CLPSNVParamRow>({
    {"controller", nullptr, kNum,  kNot, nullptr,   0},
    {"enclosure",  nullptr, kEncl, kNot, kEnclForm, 0},
    {"info",       nullptr, kText, kNot, nullptr,   0},
    {"index",      nullptr, kNum,  kNot, nullptr,   0},
});
constexpr auto kEnclController = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,  kGiven, nullptr,   0},
    {"enclosure",  nullptr,     kEncl, kNot,   kEnclForm, 0},
    {"info",       nullptr,     kText, kNot,   nullptr,   0},
    {"index",      nullptr,     kNum,  kNot,   nullptr,   0},
});
constexpr auto kEnclOne = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum,  kGiven, nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kGiven, kEnclForm, 0},
    {"info",       nullptr,      kText, kNot,   nullptr,   0},
    {"index",      nullptr,      kNum,  kNot,   nullptr,   0},
});
constexpr auto kEnclSlots = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",  kNum,  kSent, nullptr,   0},
    {"enclosure",  "Enclosure=", kEncl, kSent, kEnclForm, 0},
    {"info",       "info=",      kText, kSent, nullptr,   0},
    {"dump",       nullptr,      kText, kNot,  nullptr,   0},
});
constexpr auto kEnclosureTable = std::to_array<CLPSNVActionRow>({
    Selector("info", "temps",        vkacmd.getEnclosureTemperatureProbes, kEnclComponents, "sm/cli/RptTemps.xsl"),
    Selector("info", "fans",         vkacmd.getEnclosureFans,              kEnclComponents, "sm/cli/RptFans.xsl"),
    Selector("info", "pwrsupplies",  vkacmd.getEnclosurePowerSupplies,     kEnclComponents, "sm/cli/RptPS.xsl"),
    Selector("info", "emms",         vkacmd.getEnclosureEMMs,              kEnclComponents, "sm/cli/RptEmms.xsl"),
    Report(vkacmd.getEnclosureList,                                        kEnclList,       "sm/cli/RptEncl.xsl"),
    Report(vkacmd.getEnclosuresForController,                              kEnclController, "sm/cli/RptEncl.xsl"),
    Report(vkacmd.getSingleEnclosureForController,                         kEnclOne,        "sm/cli/RptEncl.xsl"),
    Selector("info", "pdslotreport", vkacmd.getSlotReportForEnclosure,     kEnclSlots,      "sm/cli/RptSlotRep.xsl"),
});

// ---- cachecades and virtual disks -------------------------------------------------
// The rules of the cachecade and virtual-disk reports, by the keyword that
// names the disk: every disk, a controller's, one disk.
struct VirtualDiskRules {
    std::array<CLPSNVParamRow, 2> all;
    std::array<CLPSNVParamRow, 2> controller;
    std::array<CLPSNVParamRow, 2> one;
};

constexpr VirtualDiskRules MakeVirtualDiskRules(const char* vd) {
    return {
        .all = {{
            {"controller", nullptr, kNum, kNot, nullptr, 0},
            {vd,           nullptr, kNum, kNot, nullptr, 0},
        }},
        .controller = {{
            {"controller", "GlobalNo=", kNum, kGiven, nullptr, 0},
            {vd,           nullptr,     kNum, kNot,   nullptr, 0},
        }},
        .one = {{
            {"controller", "GlobalNo=",        kNum, kGiven, nullptr, 0},
            {vd,           "LogicalDriveNum=", kNum, kGiven, nullptr, 0},
        }},
    };
}

constexpr auto VirtualDiskTable(const VirtualDiskRules& r, const char* styleSheet) {
    return std::to_array<CLPSNVActionRow>({
        Report(vkacmd.getAllVirtualDisks,           r.all,        styleSheet),
        Report(vkacmd.getVirtualDisksForController, r.controller, styleSheet),
        Report(vkacmd.getVirtualDisk,               r.one,        styleSheet),
    });
}

constexpr VirtualDiskRules kCachecadeRules = MakeVirtualDiskRules("cachecade");
constexpr VirtualDiskRules kVirtualDiskRules = MakeVirtualDiskRules("vdisk");
constexpr auto kCachecadeTable = VirtualDiskTable(kCachecadeRules, "sm/cli/RptEnhanceCache.xsl");
constexpr auto kVirtualDiskTable = VirtualDiskTable(kVirtualDiskRules, "sm/cli/RptVDisk.xsl");

// ---- cache feature, cache pool, global information --------------------------------
constexpr auto kCachePool = std::to_array<CLPSNVParamRow>({
    {"subsystem", nullptr, kNum,  kNot, nullptr, 0},
    {"dump",      nullptr, kText, kNot, nullptr, 0},
});
constexpr auto kTarnCacheTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getTarnCachePoolProperties, kCachePool, "sm/cli/RptTarnCache.xsl"),
});
constexpr auto kTarnCachePoolTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getTarnCachePoolProperties, kCachePool, "sm/cli/RptTarnCachePool.xsl"),
});
constexpr auto kGlobalTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getGlobalInfo, {}, "sm/cli/RptGlob.xsl"),
});

// ---- NVMe adapters, partitions, PCIe subsystem, cached LUNs ------------------------
constexpr auto kNVMeController = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum, kSent, nullptr, 0},
    {"nvmeid",     nullptr,     kNum, kNot,  nullptr, 0},
});
constexpr auto kNVMeOne = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum, kSent,  nullptr, 0},
    {"nvmeid",     "Channel=",  kNum, kGiven, nullptr, 0},
});
constexpr auto kNVMeTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getNVMeAdaptersForController, kNVMeController, "sm/cli/RptNVMeAdapter.xsl"),
    Report(vkacmd.getNVMeAdapter,               kNVMeOne,        "sm/cli/RptNVMeAdapter.xsl"),
});
constexpr auto kPartitions = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,   kSent, nullptr,   0},
    {"vdisk",      "LogicalDriveNum=", kNum,   kSent, nullptr,   0},
    {"connector",  nullptr,            kSmall, kNot,  nullptr,   0},
    {"pdisk",      nullptr,            kDisk,  kNot,  kDiskForm, 0},
});
constexpr auto kPartitionTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getPartitionsForVirtualDisk, kPartitions, "sm/cli/RptPartitions.xsl"),
});
constexpr auto kPCIeSubsystem = std::to_array<CLPSNVParamRow>({
    {"subsystem", nullptr, kNum,  kNot, nullptr, 0},
    {"dump",      nullptr, kText, kNot, nullptr, 0},
});
constexpr auto kPCIeSSDs = std::to_array<CLPSNVParamRow>({
    {"subsystem", "GlobalNo=", kNum, kGiven, nullptr, 0},
});
constexpr auto kPCIeTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getPCIeSubsystem, kPCIeSubsystem, "sm/cli/RptCntrl.xsl"),
    Report(vkacmd.getAllPCIeSSDs,   kPCIeSSDs,      "sm/cli/RptCntrl.xsl"),
});
// Every filter of the cached-LUN report must be left out; the controller's
// rule keeps its request prefix, which is never sent.
constexpr auto kCachedLuns = std::to_array<CLPSNVParamRow>({
    {"subsystem",  nullptr,     kNum,   kNot, nullptr,   0},
    {"connector",  nullptr,     kSmall, kNot, nullptr,   0},
    {"vdisk",      nullptr,     kNum,   kNot, nullptr,   0},
    {"pdisk",      nullptr,     kDisk,  kNot, kDiskForm, 0},
    {"controller", "GlobalNo=", kNum,   kNot, nullptr,   0},
    {"dump",       nullptr,     kText,  kNot, nullptr,   0},
});
constexpr auto kCachedLunTable = std::to_array<CLPSNVActionRow>({
    Report(vkacmd.getAllCachedLuns, kCachedLuns, "sm/cli/RptCachedLuns.xsl"),
});
// clang-format on

CLPSResponse* RunReport(uint32_t argc, const char** argv, uint32_t msgId,
                        std::span<const CLPSNVActionRow> table, CLPSNVValidateFunc check) {
    return CLPSNVCmdConfigFunc(argc, argv, msgId, 0, table.data(),
                               static_cast<uint32_t>(table.size()), kStyleSheet, check);
}

// A report whose handler picks one of several tables by the command line;
// help and descriptions list them all.
CLPSResponse* RunReport(uint32_t argc, const char** argv, uint32_t msgId,
                        std::span<const CLPSNVTable> candidates, uint32_t chosen) {
    return CLPSNVCmdConfigFuncTables(argc, argv, msgId, 0, candidates.data(),
                                     static_cast<uint32_t>(candidates.size()), chosen, kStyleSheet);
}

bool Given(uint32_t argc, const char** argv, const char* name) {
    return OCSGetAStrParamValueByAStrName(argc, argv, name, 1) != nullptr;
}

// The disk reports: by virtual disk (the default), by cachecade, by
// enclosure.
constexpr uint32_t kByVirtualDisk = 0;
constexpr uint32_t kByCachecade = 1;
constexpr uint32_t kByEnclosure = 2;
constexpr auto kADiskCandidates = std::to_array<CLPSNVTable>({
    kvclp::Candidate(kADiskVdTable, report::CheckDisks),
    kvclp::Candidate(kADiskCcTable, report::CheckDisks),
    kvclp::Candidate(kEnclDiskTable, report::CheckDisks),
});
constexpr auto kPDiskCandidates = std::to_array<CLPSNVTable>({
    kvclp::Candidate(kPDiskVdTable, report::CheckDisks),
    kvclp::Candidate(kPDiskCcTable, report::CheckDisks),
    kvclp::Candidate(kEnclDiskTable, report::CheckDisks),
});
// The controller reports, and the dumps of every controller.
constexpr uint32_t kControllers = 0;
constexpr uint32_t kDumps = 1;
constexpr auto kControllerCandidates = std::to_array<CLPSNVTable>({
    kvclp::Candidate(kControllerTable, report::CheckControllers),
    kvclp::Candidate(kDumpTable, report::CheckControllers),
});

// clang-format off
constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkreport storage adisk",         "vdisk",     kADiskVdTable},
    {"vkreport storage adisk",         "cachecade", kADiskCcTable},
    {"vkreport storage adisk",         "enclosure", kEnclDiskTable},
    {"vkreport storage pdisk",         "vdisk",     kPDiskVdTable},
    {"vkreport storage pdisk",         "cachecade", kPDiskCcTable},
    {"vkreport storage pdisk",         "enclosure", kEnclDiskTable},
    {"vkreport storage tape",          "",          kTapeTable},
    {"vkconfig storage tape",          "",          kTapeTable},
    {"vkreport storage battery",       "",          kBatteryTable},
    {"vkreport storage connector",     "",          kConnectorTable},
    {"vkreport storage controller",    "",          kControllerTable},
    {"vkreport storage controller",    "dump",      kDumpTable},
    {"vkreport storage enclosure",     "",          kEnclosureTable},
    {"vkreport storage cachecade",     "",          kCachecadeTable},
    {"vkreport storage tarncache",     "",          kTarnCacheTable},
    {"vkreport storage tarncachepool", "",          kTarnCachePoolTable},
    {"vkreport storage globalinfo",    "",          kGlobalTable},
    {"vkreport storage nvmeadapter",   "",          kNVMeTable},
    {"vkreport storage partition",     "",          kPartitionTable},
    {"vkreport storage pciessd",       "",          kPCIeTable},
    {"vkreport storage tarncachedisk", "",          kCachedLunTable},
    {"vkreport storage vdisk",         "",          kVirtualDiskTable},
});
// clang-format on

}  // namespace

const std::span<const kvclp::TableRef> report::kStorageReportTables = kTables;

CLPSResponse* ReportArrayDisks(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    uint32_t chosen = kByVirtualDisk;
    if (Given(argc, argv, "cachecade"))
        chosen = kByCachecade;
    else if (Given(argc, argv, "enclosure") && !Given(argc, argv, "vdisk"))
        chosen = kByEnclosure;
    return RunReport(argc, argv, 6021, kADiskCandidates, chosen);
}

CLPSResponse* ReportPhysicalDisks(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    uint32_t chosen = kByVirtualDisk;
    if (!Given(argc, argv, "vdisk")) {
        if (Given(argc, argv, "cachecade"))
            chosen = kByCachecade;
        else if (Given(argc, argv, "enclosure"))
            chosen = kByEnclosure;
    }
    return RunReport(argc, argv, 6022, kPDiskCandidates, chosen);
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
    return RunReport(argc, argv, 6011, kControllerCandidates,
                     Given(argc, argv, "dump") ? kDumps : kControllers);
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
