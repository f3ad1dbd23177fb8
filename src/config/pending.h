// A configuration command whose checks are not in this build yet traces its
// arguments and answers that the command is not available, naming it.
#pragma once

#include "clps.h"
#include "trace.h"

namespace config {

inline CLPSResponse* NotAvailable(uint32_t argc, const char** argv, const char* command) {
    LogCLIArgs(argv, argc);
    return CLPSNVSetupMsgRespObj(CLPS_MSG_NOT_AVAILABLE, 0, command, nullptr, nullptr, nullptr,
                                 "kvclp.xsl");
}

}  // namespace config
