#include "handlers.h"
#include "pending.h"

CLPSResponse* ConfigArrayDisk(uint32_t argc, const char** argv) {
    return config::NotAvailable(argc, argv, "vkconfig storage adisk");
}

CLPSResponse* ConfigPhysicalDisk(uint32_t argc, const char** argv) {
    return config::NotAvailable(argc, argv, "vkconfig storage pdisk");
}
