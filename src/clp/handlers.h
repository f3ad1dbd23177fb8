// The command handlers the command table binds to its rows; one function per
// handler role. Each takes the whole command line and returns the response
// for the host, or null.
#ifndef VK_CLP_HANDLERS_H
#define VK_CLP_HANDLERS_H

#include <cstdint>

#include "clps.h"

// Reports.
CLPSResponse* ReportVersion(uint32_t argc, const char** argv);  // system and servermodule
CLPSResponse* ReportArrayDisks(uint32_t argc, const char** argv);
CLPSResponse* ReportPhysicalDisks(uint32_t argc, const char** argv);
CLPSResponse* ReportTapeDrives(uint32_t argc, const char** argv);  // also "vkconfig storage tape"
CLPSResponse* ReportPCIeSubsystem(uint32_t argc, const char** argv);
CLPSResponse* ReportTarnCache(uint32_t argc, const char** argv);
CLPSResponse* ReportTarnCachePool(uint32_t argc, const char** argv);
CLPSResponse* ReportControllers(uint32_t argc, const char** argv);
CLPSResponse* ReportVirtualDisks(uint32_t argc, const char** argv);
CLPSResponse* ReportCachecade(uint32_t argc, const char** argv);
CLPSResponse* ReportConnectors(uint32_t argc, const char** argv);
CLPSResponse* ReportNVMeAdapters(uint32_t argc, const char** argv);
CLPSResponse* ReportEnclosures(uint32_t argc, const char** argv);
CLPSResponse* ReportBatteries(uint32_t argc, const char** argv);
CLPSResponse* ReportPartitions(uint32_t argc, const char** argv);
CLPSResponse* ReportCachedLuns(uint32_t argc, const char** argv);
CLPSResponse* ReportAlertLog(uint32_t argc, const char** argv);  // system and servermodule
CLPSResponse* ReportSummary(uint32_t argc, const char** argv);   // system and servermodule
CLPSResponse* ReportGlobalInfo(uint32_t argc, const char** argv);

// Configuration.
CLPSResponse* ConfigController(uint32_t argc, const char** argv);
CLPSResponse* ConfigVirtualDisk(uint32_t argc, const char** argv);
CLPSResponse* ConfigCachecade(uint32_t argc, const char** argv);
CLPSResponse* ConfigArrayDisk(uint32_t argc, const char** argv);
CLPSResponse* ConfigPhysicalDisk(uint32_t argc, const char** argv);
CLPSResponse* ConfigConnector(uint32_t argc, const char** argv);
CLPSResponse* ConfigNVMeAdapter(uint32_t argc, const char** argv);
CLPSResponse* ConfigEnclosure(uint32_t argc, const char** argv);
CLPSResponse* ConfigGlobalInfo(uint32_t argc, const char** argv);
CLPSResponse* ConfigBattery(uint32_t argc, const char** argv);
CLPSResponse* ConfigPCIeSubsystem(uint32_t argc, const char** argv);
CLPSResponse* ConfigTarnCache(uint32_t argc, const char** argv);
CLPSResponse* ConfigPartition(uint32_t argc, const char** argv);
CLPSResponse* ConfigTarnCacheDisk(uint32_t argc, const char** argv);

#endif
