/* Common services (vkacs64): export context, memory, XML buffers and
 * name/value lookup. C linkage; every module of the tools links it. */
#ifndef VK_PLATFORM_OCS_H
#define VK_PLATFORM_OCS_H

#include <stddef.h>
#include <stdint.h>

#include "vk_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef vkacs64_EXPORTS
#define VK_EXPORT VK_DLL_EXPORT
#else
#define VK_EXPORT VK_DLL_IMPORT
#endif

/* ---- export context ----------------------------------------------------
 * A module captures its context once (at load) with OCSGetExportContext and
 * makes it current around every exported call with Set/Reset. Contexts nest:
 * a call into another module that sets its own context restores ours when it
 * resets. The current context is per thread. */
typedef struct OCSExportContext {
    uint32_t magic;         /* OCS_EXPORT_CONTEXT_MAGIC once captured */
    const void* moduleBase; /* load address of the capturing module */
    char moduleName[256];   /* file name of the capturing module */
} OCSExportContext;

#define OCS_EXPORT_CONTEXT_MAGIC 0x4f435358u

typedef struct OCSExportSaveArea {
    const OCSExportContext* previous;
    uint32_t depth;
} OCSExportSaveArea;

/* Fills ctx with the identity of the module that calls it. 0 on success. */
VK_EXPORT int32_t OCSGetExportContext(OCSExportContext* ctx);
/* Makes ctx current, remembering the previous one in save. */
VK_EXPORT void OCSSetExportContext(OCSExportSaveArea* save, const OCSExportContext* ctx);
/* Restores the context that was current before the matching Set. */
VK_EXPORT void OCSResetExportContext(OCSExportSaveArea* save);
/* The context current on this thread, or null outside any exported call. */
VK_EXPORT const OCSExportContext* OCSGetCurrentExportContext(void);

/* ---- memory ------------------------------------------------------------ */
VK_EXPORT void* OCSAllocMem(size_t size);
VK_EXPORT void OCSFreeMem(void* p);
/* Test hook: when set and it answers non-zero for a request, that allocation
 * fails (OCSAllocMem and every OCSX allocation return null). Null clears it. */
typedef int (*OCSAllocFailHook)(size_t size);
VK_EXPORT void OCSSetAllocFailHook(OCSAllocFailHook hook);

/* ---- XML buffer ---------------------------------------------------------
 * A growable, always NUL-terminated text. generation changes on every
 * modification and is never reused by another buffer, so (address,
 * generation) identifies one exact content for caches. */
typedef struct OCSXBuf {
    char* pContent;
    uint32_t contentSize; /* bytes, without the terminator */
    uint32_t capacity;    /* bytes allocated for pContent */
    uint32_t mode;        /* 0 query buffer, 1 buffer to be turned into text */
    uint64_t generation;
} OCSXBuf;

#define OCSXBUF_TEXT 0u /* data is text: it is XML-escaped */
#define OCSXBUF_XML 1u  /* data is markup: it is appended as it stands */

/* Null when memory cannot be had. */
VK_EXPORT OCSXBuf* OCSXAllocBuf(uint32_t initialSize, uint32_t mode);
/* Appends <name attributes>data</name>; attributes may be null; a null data
 * gives an empty element. 0 on success, non-zero when memory ran out (the
 * buffer is then unchanged). */
VK_EXPORT int32_t OCSXBufCatNode(OCSXBuf* buf, const char* name, const char* attributes,
                                 uint32_t type, const char* data);
/* Appends text as it stands (no element). 0 on success. */
VK_EXPORT int32_t OCSXBufCatString(OCSXBuf* buf, const char* text);
VK_EXPORT void OCSXFreeBuf(OCSXBuf* buf);
/* Frees the buffer and hands its content to the caller, who releases it
 * with OCSXFreeBufContent. Null for a null buffer. */
VK_EXPORT char* OCSXFreeBufGetContent(OCSXBuf* buf);
VK_EXPORT void OCSXFreeBufContent(char* content);

/* ---- name/value lookup --------------------------------------------------
 * Finds the first entry "name=value" whose name equals name (ASCII case
 * ignored when ignoreCase is non-zero, exact otherwise) and returns a pointer
 * to its value inside that entry. Entries without "=" never match. Null when
 * absent or on null arguments. */
VK_EXPORT const char* OCSGetAStrParamValueByAStrName(uint32_t count, const char** nvPairs,
                                                     const char* name, int32_t ignoreCase);

#ifdef __cplusplus
}
#endif

#endif
