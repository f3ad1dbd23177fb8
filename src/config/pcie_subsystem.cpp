#include "handlers.h"
#include "pending.h"

CLPSResponse* ConfigPCIeSubsystem(uint32_t argc, const char** argv) {
    return config::NotAvailable(argc, argv, "vkconfig storage pciessd");
}
