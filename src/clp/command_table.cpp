// The command descriptor table: every command line the plug-in serves, its
// handler and the rights it needs. The support library sorts it at load.
#include <array>

#include "handlers.h"
#include "module.h"

namespace {

constexpr uint32_t kRead = CLPS_RIGHTS_READ;
constexpr uint32_t kConfigure = CLPS_RIGHTS_CONFIGURE;
constexpr const char* kStyleSheet = "kvclp.xsl";

// A bare "vkreport storage" / "vkconfig storage" only answers a help request.
CLPSResponse* UsageOrNothing(uint32_t argc, const char** argv, uint32_t msgId) {
    if (CLPSIsUsageHelp(argc, argv) != 1) return nullptr;
    return CLPSNVSetupMsgRespObj(msgId, 0, nullptr, nullptr, nullptr, nullptr, kStyleSheet);
}

CLPSResponse* ReportStorageUsage(uint32_t argc, const char** argv) {
    return UsageOrNothing(argc, argv, 6000);
}

CLPSResponse* ConfigStorageUsage(uint32_t argc, const char** argv) {
    return UsageOrNothing(argc, argv, 6001);
}

// Two rows differ from their neighbours by design: configuring a cachecade
// needs only reading rights, and "vkconfig storage tape" is served by the
// tape report handler (it shows the tape drives).
// clang-format off
constinit auto g_commandRows = std::to_array<CLPSCCDT>({
    {"vkreport",              "storage",       ReportStorageUsage,  kRead},
    {"vkreport system",       "version",       ReportVersion,       kRead},
    {"vkreport servermodule", "version",       ReportVersion,       kRead},
    {"vkreport storage",      "adisk",         ReportArrayDisks,    kRead},
    {"vkreport storage",      "pdisk",         ReportPhysicalDisks, kRead},
    {"vkreport storage",      "tape",          ReportTapeDrives,    kRead},
    {"vkreport storage",      "pciessd",       ReportPCIeSubsystem, kRead},
    {"vkreport storage",      "tarncache",     ReportTarnCache,     kRead},
    {"vkreport storage",      "tarncachepool", ReportTarnCachePool, kRead},
    {"vkreport storage",      "controller",    ReportControllers,   kRead},
    {"vkreport storage",      "vdisk",         ReportVirtualDisks,  kRead},
    {"vkreport storage",      "cachecade",     ReportCachecade,     kRead},
    {"vkreport storage",      "connector",     ReportConnectors,    kRead},
    {"vkreport storage",      "nvmeadapter",   ReportNVMeAdapters,  kRead},
    {"vkreport storage",      "enclosure",     ReportEnclosures,    kRead},
    {"vkreport storage",      "battery",       ReportBatteries,     kRead},
    {"vkreport storage",      "partition",     ReportPartitions,    kRead},
    {"vkreport storage",      "tarncachedisk", ReportCachedLuns,    kRead},
    {"vkreport system",       "alertlog",      ReportAlertLog,      kRead},
    {"vkreport system",       "summary",       ReportSummary,       kRead},
    {"vkreport servermodule", "alertlog",      ReportAlertLog,      kRead},
    {"vkreport servermodule", "summary",       ReportSummary,       kRead},
    {"vkreport storage",      "globalinfo",    ReportGlobalInfo,    kRead},
    {"vkconfig",              "storage",       ConfigStorageUsage,  kConfigure},
    {"vkconfig storage",      "controller",    ConfigController,    kConfigure},
    {"vkconfig storage",      "vdisk",         ConfigVirtualDisk,   kConfigure},
    {"vkconfig storage",      "cachecade",     ConfigCachecade,     kRead},
    {"vkconfig storage",      "adisk",         ConfigArrayDisk,     kConfigure},
    {"vkconfig storage",      "pdisk",         ConfigPhysicalDisk,  kConfigure},
    {"vkconfig storage",      "tape",          ReportTapeDrives,    kConfigure},
    {"vkconfig storage",      "connector",     ConfigConnector,     kConfigure},
    {"vkconfig storage",      "nvmeadapter",   ConfigNVMeAdapter,   kConfigure},
    {"vkconfig storage",      "enclosure",     ConfigEnclosure,     kConfigure},
    {"vkconfig storage",      "globalinfo",    ConfigGlobalInfo,    kConfigure},
    {"vkconfig storage",      "battery",       ConfigBattery,       kConfigure},
    {"vkconfig storage",      "pciessd",       ConfigPCIeSubsystem, kConfigure},
    {"vkconfig storage",      "tarncache",     ConfigTarnCache,     kConfigure},
    {"vkconfig storage",      "partition",     ConfigPartition,     kConfigure},
    {"vkconfig storage",      "tarncachedisk", ConfigTarnCacheDisk, kConfigure},
});
// clang-format on

}  // namespace

namespace kvclp {

constinit const std::span<CLPSCCDT> g_commandTable{g_commandRows};

}  // namespace kvclp
