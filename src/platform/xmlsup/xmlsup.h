/* XML support (xmlsup64) over libxml2: tag lookup by occurrence over raw
 * text, and a small DOM for walking elements. Malformed XML never crashes:
 * it reads as "not found". */
#ifndef VK_PLATFORM_XMLSUP_H
#define VK_PLATFORM_XMLSUP_H

#include <stdint.h>

#include "vk_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef xmlsup64_EXPORTS
#define VK_XMLSUP_EXPORT VK_DLL_EXPORT
#else
#define VK_XMLSUP_EXPORT VK_DLL_IMPORT
#endif

/* Results of XMLSupGetXMLMemData. */
#define XMLSUP_OK 0
#define XMLSUP_NOT_FOUND 1
#define XMLSUP_BAD_XML 2
#define XMLSUP_BAD_ARGS 3

/* Finds the occurrence-th element (counting from 0, document order, any
 * depth, any parent) whose name equals tag exactly, and copies its text
 * content into out. *pSize gives the capacity of out in bytes; the copy is
 * cut to capacity - 1 bytes and always terminated; on return *pSize holds
 * the bytes written with the terminator. Names are matched exactly and
 * values read as text whatever matchMode and valueType say, so those and
 * the reserved arguments are not read (callers pass 0, 1, 1, 0, 0). */
VK_XMLSUP_EXPORT int32_t XMLSupGetXMLMemData(void* reserved0, const char* tag, uint32_t matchMode,
                                             uint32_t occurrence, uint32_t valueType,
                                             uint32_t* pSize, char* out, void* reserved1,
                                             void* reserved2, const char* xml, uint32_t xmlLen);

/* XMLSUP_OK when len bytes of xml are well-formed XML content as an agent
 * answers it: any number of elements with nothing but white space between
 * them, no declaration and no document type, read as the lookups here read
 * it. Otherwise XMLSUP_BAD_XML
 * (XMLSUP_BAD_ARGS for null text) with the parser's reason and line in why,
 * cut to whySize - 1 bytes and terminated (why may be null). Nothing is
 * built: the text is only read through. */
VK_XMLSUP_EXPORT int32_t XMLSupCheckContent(const char* xml, uint32_t len, char* why,
                                            uint32_t whySize);

/* ---- simple DOM ---------------------------------------------------------
 * A root owns everything handed out from it: element handles, names and
 * values stay valid until SXDOMDestroy. */
typedef struct SXDOMGenericList {
    uint32_t count;
    void** ppItems;
} SXDOMGenericList;

/* Parses len bytes of xml. Null when the text is not well-formed. Every
 * document is parsed the same way, so flags is not read (callers pass 1). */
VK_XMLSUP_EXPORT void* SXDOMCreate(const char* xml, uint32_t len, uint32_t flags);
VK_XMLSUP_EXPORT void SXDOMDestroy(void* root);
/* Every element below the document element whose name equals name exactly,
 * at any depth, in document order. Null when none matches or on a null
 * root. */
VK_XMLSUP_EXPORT SXDOMGenericList* SXDOMSelect(void* root, const char* name, uint32_t flags);
/* The element children of an element, in document order; null when it has
 * none. */
VK_XMLSUP_EXPORT SXDOMGenericList* SXDOMGetChildList(void* element);
VK_XMLSUP_EXPORT const char* SXDOMGetName(void* element);
/* The element's text content (all descendant text), "" when empty. */
VK_XMLSUP_EXPORT const char* SXDOMGetValue(void* element);
VK_XMLSUP_EXPORT void SXDOMFreeGenericList(SXDOMGenericList* list);
/* The occurrence-th element (counting from 0, document order, any depth,
 * the document element included) whose name equals name exactly: the element
 * XMLSupGetXMLMemData reads from the same text. Null when there is none.
 * The first lookup indexes the document, so reading every occurrence of
 * several tags costs one pass. */
VK_XMLSUP_EXPORT void* SXDOMGetNthElementByName(void* root, const char* name, uint32_t occurrence);

#ifdef __cplusplus
}
#endif

#endif
