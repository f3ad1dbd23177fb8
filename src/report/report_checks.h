// Check callbacks of the storage reports: each validates the identifiers a
// report command names, in a fixed order, and answers 1000 to send the
// report or the number of the message that refuses it, with the offending
// value and the valid values in the two error texts.
#ifndef VK_REPORT_CHECKS_H
#define VK_REPORT_CHECKS_H

#include <cstdint>

#include "clps.h"

namespace report {

// The callback signature of the command frame; the reserved values and the
// data-agent list are not used by the report checks.
#define VK_REPORT_CHECK(name)                                                                     \
    int32_t name([[maybe_unused]] void* reserved0, [[maybe_unused]] void* reserved1,              \
                 uint32_t userCount, const char** userWords, [[maybe_unused]] uint32_t* pNVCount, \
                 [[maybe_unused]] const char** ppNVList, [[maybe_unused]] void* reserved2,        \
                 [[maybe_unused]] void* reserved3, char* errText1, char* errText2)

VK_REPORT_CHECK(CheckAcceptAll);
VK_REPORT_CHECK(CheckDisks);
VK_REPORT_CHECK(CheckTapeDrives);
VK_REPORT_CHECK(CheckBatteries);
VK_REPORT_CHECK(CheckConnectors);
VK_REPORT_CHECK(CheckControllers);
VK_REPORT_CHECK(CheckEnclosures);
VK_REPORT_CHECK(CheckCachecades);
VK_REPORT_CHECK(CheckNVMeAdapters);
VK_REPORT_CHECK(CheckVirtualDisks);  // partition and virtual-disk reports
VK_REPORT_CHECK(CheckPCIeSubsystem);

}  // namespace report

#endif
