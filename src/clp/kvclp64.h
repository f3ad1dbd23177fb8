/* The storage plug-in's four entry points, as the host finds them by name in
 * the plug-in library. Everything else in the plug-in is hidden. */
#ifndef VK_CLP_KVCLP64_H
#define VK_CLP_KVCLP64_H

#include <stdint.h>

#include "clps.h"
#include "vk_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef kvclp64_EXPORTS
#define KVCLP64_EXPORT VK_DLL_EXPORT
#else
#define KVCLP64_EXPORT VK_DLL_IMPORT
#endif

/* The answer of the handler serving the command line, or null. The host
 * gives it back through kvclp64_freeResponse. */
KVCLP64_EXPORT CLPSResponse* kvclp64_sendRequest(uint32_t argc, const char** argv);
KVCLP64_EXPORT void kvclp64_freeResponse(CLPSResponse* resp);
/* The rights the command line needs (1 reading, 7 configuration); 0 when the
 * plug-in does not serve it. */
KVCLP64_EXPORT uint32_t kvclp64_getRequiredUserRights(uint32_t argc, const char** argv);
KVCLP64_EXPORT void kvclp64_destroyCLIP(void);

typedef CLPSResponse* (*kvclp64_sendRequest_fn)(uint32_t, const char**);
typedef void (*kvclp64_freeResponse_fn)(CLPSResponse*);
typedef uint32_t (*kvclp64_getRequiredUserRights_fn)(uint32_t, const char**);
typedef void (*kvclp64_destroyCLIP_fn)(void);

#ifdef __cplusplus
}
#endif

#endif
