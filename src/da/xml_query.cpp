// Tag and storage-object lookups over a wrapped answer.
//
// Validators read a tag at n = 0, 1, 2, ... until the read fails. Parsing the
// answer for every read would make such a walk quadratic, so the lookups are
// answered from one parse per buffer content, kept with an index of the
// elements by name. The parse is made exactly as the XML support library
// makes it (same parser options, well-formedness required, the document
// element counted by the tag lookup, text content of all descendants), so the
// answers equal those of XMLSupGetXMLMemData and the SXDOM functions.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <string_view>
#include <unordered_map>

#include "da.h"
#include "xmlsup.h"

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

struct ParserCtxtFree {
    void operator()(xmlParserCtxt* ctxt) const { xmlFreeParserCtxt(ctxt); }
};

struct XmlCharFree {
    void operator()(xmlChar* s) const { xmlFree(s); }
};
using XmlString = std::unique_ptr<xmlChar, XmlCharFree>;

DocPtr Parse(const char* xml, uint32_t len) {
    if (xml == nullptr || len == 0) {
        return nullptr;
    }
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
    std::unique_ptr<xmlParserCtxt, ParserCtxtFree> ctxt(xmlNewParserCtxt());
    if (!ctxt) {
        return nullptr;
    }
    DocPtr doc(
        xmlCtxtReadMemory(ctxt.get(), xml, static_cast<int>(len), nullptr, nullptr, kParseOptions));
    if (!doc || ctxt->wellFormed == 0 || xmlDocGetRootElement(doc.get()) == nullptr) {
        return nullptr;
    }
    return doc;
}

// One parsed buffer content and its elements by name (document order, the
// document element included).
struct ParsedXml {
    const OCSXBuf* buf = nullptr;
    uint64_t generation = 0;
    uint32_t size = 0;
    DocPtr doc;  // null when the content does not parse
    std::unordered_map<std::string_view, std::vector<xmlNode*>> byName;
    std::vector<xmlNode*> objects;  // storage objects below the document element

    bool Holds(const OCSXBuf* b) const {
        return buf == b && generation == b->generation && size == b->contentSize;
    }

    void Clear() {
        byName.clear();
        objects.clear();
        doc.reset();
        buf = nullptr;
        generation = 0;
        size = 0;
    }

    void Index() {
        xmlNode* top = xmlDocGetRootElement(doc.get());
        // Iterative preorder walk: deep answers must not exhaust the stack.
        xmlNode* node = top;
        while (node != nullptr) {
            if (node->type == XML_ELEMENT_NODE) {
                byName[reinterpret_cast<const char*>(node->name)].push_back(node);
                if (node != top && std::strcmp(reinterpret_cast<const char*>(node->name),
                                               da::kStorageObjectElement) == 0) {
                    objects.push_back(node);
                }
                if (node->children != nullptr) {
                    node = node->children;
                    continue;
                }
            }
            while (node != nullptr && node != top && node->next == nullptr) {
                node = node->parent;
            }
            if (node == nullptr || node == top) {
                break;
            }
            node = node->next;
        }
    }
};

// Whether this thread's cache entry still exists: buffers that are freed
// while the thread ends (statics of the main thread are destroyed after its
// thread-locals) must not reach it. Trivially destructible, so it outlives
// the entry.
thread_local bool tCacheAlive = true;

struct CacheEntry : ParsedXml {
    CacheEntry() = default;
    CacheEntry(const CacheEntry&) = delete;
    CacheEntry& operator=(const CacheEntry&) = delete;
    ~CacheEntry() {
        Clear();
        tCacheAlive = false;
    }
};

// One entry per thread: the plug-in creates no threads, and a host that
// calls from several threads gives each its own entry, so no lock is needed.
// The key (buffer address, generation, content size) cannot match a freed or
// changed buffer: every change of content takes a new generation, and a
// generation is never reused by another buffer, even at the same address.
thread_local CacheEntry tParsed;

// The parse of buf's content: the cache entry, refilled unless it already
// holds that content; scratch once the entry is gone.
const ParsedXml& ParsedFor(const OCSXBuf* buf, ParsedXml& scratch) {
    ParsedXml& entry = tCacheAlive ? static_cast<ParsedXml&>(tParsed) : scratch;
    if (entry.Holds(buf)) {
        return entry;
    }
    entry.Clear();
    try {
        entry.doc = Parse(buf->pContent, buf->contentSize);
        if (entry.doc) {
            entry.Index();
        }
    } catch (const std::bad_alloc&) {
        entry.Clear();
        return entry;  // reads as "does not parse", and is not kept
    }
    entry.buf = buf;
    entry.generation = buf->generation;
    entry.size = buf->contentSize;
    return entry;
}

// Copies text cut to capacity - 1 bytes and terminated.
void CopyCut(const char* text, char* out, uint32_t capacity) {
    const size_t n = std::min<size_t>(std::strlen(text), capacity - 1);
    std::memcpy(out, text, n);
    out[n] = '\0';
}

bool CopyContent(xmlNode* node, char* out, uint32_t capacity) {
    XmlString content(xmlNodeGetContent(node));
    CopyCut(content ? reinterpret_cast<const char*>(content.get()) : "", out, capacity);
    return true;
}

void TraceLevel4(const char* line) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
        SysDbgPrint("%s", line);
    }
}

struct ListFree {
    void operator()(SXDOMGenericList* list) const { SXDOMFreeGenericList(list); }
};
using ListPtr = std::unique_ptr<SXDOMGenericList, ListFree>;

}  // namespace

namespace da {

void ForgetParsedXml(const OCSXBuf* buf) {
    if (buf != nullptr && tCacheAlive && tParsed.buf == buf) {
        tParsed.Clear();
    }
}

}  // namespace da

int32_t GetNthTagValueWithSize(const char* tag, char* out, uint32_t capacity, uint32_t n,
                               const OCSXBuf* buf) {
    if (tag == nullptr || *tag == '\0' || capacity == 0 || out == nullptr || buf == nullptr ||
        buf->pContent == nullptr) {
        return XMLSUP_BAD_ARGS;
    }
    ParsedXml scratch;
    const ParsedXml& parsed = ParsedFor(buf, scratch);
    if (!parsed.doc) {
        return XMLSUP_BAD_XML;
    }
    auto it = parsed.byName.find(tag);
    if (it == parsed.byName.end() || n >= it->second.size()) {
        return XMLSUP_NOT_FOUND;
    }
    CopyContent(it->second[n], out, capacity);
    return XMLSUP_OK;
}

int32_t GetNthTagValue(const char* tag, char* out, uint32_t n, const OCSXBuf* buf) {
    return GetNthTagValueWithSize(tag, out, da::kTagValueSize, n, buf);
}

int32_t QueryNthQXStorObjElementWithSize(const char* tag, char* out, uint32_t capacity, uint32_t n,
                                         const OCSXBuf* buf) {
    if (tag == nullptr || out == nullptr || capacity == 0 || buf == nullptr ||
        buf->pContent == nullptr) {
        return kDANotValid;
    }
    ParsedXml scratch;
    const ParsedXml& parsed = ParsedFor(buf, scratch);
    if (!parsed.doc) {
        TraceLevel4("QueryNthQXStorObjElement(): pRootNode is NULL \n");
        return kDANotValid;
    }
    if (parsed.objects.empty()) {
        TraceLevel4("QueryNthQXStorObjElement(): pList is NULL \n");
        return kDANotValid;
    }
    if (n >= parsed.objects.size()) {
        return kDANotValid;
    }
    for (xmlNode* child = parsed.objects[n]->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE &&
            std::strcmp(reinterpret_cast<const char*>(child->name), tag) == 0) {
            CopyContent(child, out, capacity);
            return kDAValid;
        }
    }
    return kDANotValid;
}

int32_t QueryNthQXStorObjElement(const char* tag, char* out, uint32_t n, const OCSXBuf* buf) {
    // Callers pass buffers of at least 256 bytes; the copy never goes past them.
    return QueryNthQXStorObjElementWithSize(tag, out, da::kTagValueSize, n, buf);
}

int32_t QueryNthQXStorObjElementGiveRootNode(void* root, const char* tag, char* out, uint32_t limit,
                                             uint32_t n) {
    da::ScopedFunctionTrace trace("QueryNthQXStorObjElementGiveRootNode");
    if (root == nullptr) {
        TraceLevel4("QueryNthQXStorObjElementGiveRootNode(): pRootNode is NULL \n");
        return kDANotValid;
    }
    ListPtr objects(SXDOMSelect(root, da::kStorageObjectElement, 1));
    if (!objects) {
        TraceLevel4("QueryNthQXStorObjElementGiveRootNode(): pList is NULL \n");
        return kDANotValid;
    }
    if (tag == nullptr || out == nullptr || n >= objects->count) {
        return kDANotValid;
    }
    ListPtr children(SXDOMGetChildList(objects->ppItems[n]));
    if (!children) {
        return kDANotValid;
    }
    for (uint32_t i = 0; i < children->count; ++i) {
        const char* name = SXDOMGetName(children->ppItems[i]);
        if (name == nullptr || std::strcmp(name, tag) != 0) {
            continue;
        }
        const char* value = SXDOMGetValue(children->ppItems[i]);
        if (value == nullptr) {
            value = "";
        }
        // At most limit bytes; the terminator only when it fits.
        const size_t len = std::strlen(value);
        const size_t copied = std::min<size_t>(len, limit);
        std::memcpy(out, value, copied);
        if (len < limit) {
            out[len] = '\0';
        }
        return kDAValid;
    }
    return kDANotValid;
}

uint32_t CountQXStorObjElements(void* root) {
    if (root == nullptr) {
        return 0;
    }
    // The root would free the list with itself; releasing it now keeps a
    // long-lived root from collecting one list per count.
    ListPtr objects(SXDOMSelect(root, da::kStorageObjectElement, 1));
    return objects ? objects->count : 0;
}
