#include "handlers.h"
#include "pending.h"

CLPSResponse* ConfigNVMeAdapter(uint32_t argc, const char** argv) {
    return config::NotAvailable(argc, argv, "vkconfig storage nvmeadapter");
}
