#include "handlers.h"
#include "pending.h"

CLPSResponse* ConfigGlobalInfo(uint32_t argc, const char** argv) {
    return config::NotAvailable(argc, argv, "vkconfig storage globalinfo");
}

CLPSResponse* ConfigTarnCache(uint32_t argc, const char** argv) {
    return config::NotAvailable(argc, argv, "vkconfig storage tarncache");
}
