// Tag and storage-object lookups over a wrapped answer.
//
// Validators read a tag at n = 0, 1, 2, ... until the read fails. Parsing the
// answer for every read would make such a walk quadratic, so the lookups are
// answered from one DOM per buffer content: the XML support library's own
// parse and element index, so the answers equal those of XMLSupGetXMLMemData
// and the SXDOM functions by construction.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "da.h"
#include "xmlsup.h"

namespace {

struct ListFree {
    void operator()(SXDOMGenericList* list) const { SXDOMFreeGenericList(list); }
};
using ListPtr = std::unique_ptr<SXDOMGenericList, ListFree>;

struct RootFree {
    void operator()(void* root) const { SXDOMDestroy(root); }
};
using RootPtr = std::unique_ptr<void, RootFree>;

// One buffer content's DOM and its storage objects.
struct ParsedXml {
    const OCSXBuf* buf = nullptr;
    uint64_t generation = 0;
    uint32_t size = 0;
    RootPtr root;     // null when the content does not parse
    ListPtr objects;  // storage objects below the document element; null when none

    bool Holds(const OCSXBuf* b) const {
        return buf == b && generation == b->generation && size == b->contentSize;
    }

    void Clear() {
        objects.reset();  // before the root that owns its elements
        root.reset();
        buf = nullptr;
        generation = 0;
        size = 0;
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
    entry.root.reset(SXDOMCreate(buf->pContent, buf->contentSize, 1));
    if (entry.root) {
        entry.objects.reset(SXDOMSelect(entry.root.get(), da::kStorageObjectElement, 1));
    }
    entry.buf = buf;
    entry.generation = buf->generation;
    entry.size = buf->contentSize;
    return entry;
}

// Copies an element's text cut to capacity - 1 bytes and terminated.
void CopyValue(void* element, char* out, uint32_t capacity) {
    const char* text = SXDOMGetValue(element);
    if (text == nullptr) {
        text = "";
    }
    const size_t n = std::min<size_t>(std::strlen(text), capacity - 1);
    std::memcpy(out, text, n);
    out[n] = '\0';
}

void TraceLevel4(const char* line) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
        SysDbgPrint("%s", line);
    }
}

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
    if (!parsed.root) {
        return XMLSUP_BAD_XML;
    }
    void* element = SXDOMGetNthElementByName(parsed.root.get(), tag, n);
    if (element == nullptr) {
        return XMLSUP_NOT_FOUND;
    }
    CopyValue(element, out, capacity);
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
    if (!parsed.root) {
        TraceLevel4("QueryNthQXStorObjElement(): pRootNode is NULL \n");
        return kDANotValid;
    }
    if (!parsed.objects) {
        TraceLevel4("QueryNthQXStorObjElement(): pList is NULL \n");
        return kDANotValid;
    }
    if (n >= parsed.objects->count) {
        return kDANotValid;
    }
    ListPtr children(SXDOMGetChildList(parsed.objects->ppItems[n]));
    if (!children) {
        return kDANotValid;
    }
    // The first child of that name wins.
    for (uint32_t i = 0; i < children->count; ++i) {
        const char* name = SXDOMGetName(children->ppItems[i]);
        if (name != nullptr && std::strcmp(name, tag) == 0) {
            CopyValue(children->ppItems[i], out, capacity);
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
