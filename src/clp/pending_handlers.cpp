// Handlers whose reports and configuration checks are not in this build yet:
// each traces its arguments and answers that the command is not available,
// naming it. Each definition moves to the report or configuration sources
// as that command is implemented.
#include "handlers.h"
#include "trace.h"

namespace {

CLPSResponse* NotAvailable(uint32_t argc, const char** argv, const char* command) {
    LogCLIArgs(argv, argc);
    return CLPSNVSetupMsgRespObj(CLPS_MSG_NOT_AVAILABLE, 0, command, nullptr, nullptr, nullptr,
                                 "kvclp.xsl");
}

}  // namespace

// clang-format off
CLPSResponse* ConfigController(uint32_t argc, const char** argv)    { return NotAvailable(argc, argv, "vkconfig storage controller"); }
CLPSResponse* ConfigVirtualDisk(uint32_t argc, const char** argv)   { return NotAvailable(argc, argv, "vkconfig storage vdisk"); }
CLPSResponse* ConfigCachecade(uint32_t argc, const char** argv)     { return NotAvailable(argc, argv, "vkconfig storage cachecade"); }
CLPSResponse* ConfigArrayDisk(uint32_t argc, const char** argv)     { return NotAvailable(argc, argv, "vkconfig storage adisk"); }
CLPSResponse* ConfigPhysicalDisk(uint32_t argc, const char** argv)  { return NotAvailable(argc, argv, "vkconfig storage pdisk"); }
CLPSResponse* ConfigConnector(uint32_t argc, const char** argv)     { return NotAvailable(argc, argv, "vkconfig storage connector"); }
CLPSResponse* ConfigNVMeAdapter(uint32_t argc, const char** argv)   { return NotAvailable(argc, argv, "vkconfig storage nvmeadapter"); }
CLPSResponse* ConfigEnclosure(uint32_t argc, const char** argv)     { return NotAvailable(argc, argv, "vkconfig storage enclosure"); }
CLPSResponse* ConfigGlobalInfo(uint32_t argc, const char** argv)    { return NotAvailable(argc, argv, "vkconfig storage globalinfo"); }
CLPSResponse* ConfigBattery(uint32_t argc, const char** argv)       { return NotAvailable(argc, argv, "vkconfig storage battery"); }
CLPSResponse* ConfigPCIeSubsystem(uint32_t argc, const char** argv) { return NotAvailable(argc, argv, "vkconfig storage pciessd"); }
CLPSResponse* ConfigTarnCache(uint32_t argc, const char** argv)     { return NotAvailable(argc, argv, "vkconfig storage tarncache"); }
CLPSResponse* ConfigPartition(uint32_t argc, const char** argv)     { return NotAvailable(argc, argv, "vkconfig storage partition"); }
CLPSResponse* ConfigTarnCacheDisk(uint32_t argc, const char** argv) { return NotAvailable(argc, argv, "vkconfig storage tarncachedisk"); }
// clang-format on
