// XML support over libxml2. Parsing never prints (errors and warnings are
// switched off per parse), never touches the network and never expands
// entities, so any answer text, well-formed or not, is safe to query.
#include "xmlsup.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

struct XmlCharFree {
    void operator()(xmlChar* s) const { xmlFree(s); }
};
using XmlString = std::unique_ptr<xmlChar, XmlCharFree>;

struct ParserCtxtFree {
    void operator()(xmlParserCtxt* ctxt) const { xmlFreeParserCtxt(ctxt); }
};

void InitLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

void Silent(void*, const char*, ...) {}

// libxml2 reports some faults (an undecodable byte, say) through its
// per-thread generic handler whatever the parse options say; silence it for
// the parse and put back whatever the process had.
class QuietErrors {
  public:
    QuietErrors() : handler_(xmlGenericError), context_(xmlGenericErrorContext) {
        xmlSetGenericErrorFunc(nullptr, Silent);
    }
    ~QuietErrors() { xmlSetGenericErrorFunc(context_, handler_); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

  private:
    xmlGenericErrorFunc handler_;
    void* context_;
};

// Null when the text is empty or not well-formed.
DocPtr Parse(const char* xml, uint32_t len) {
    if (xml == nullptr || len == 0 || len > static_cast<uint32_t>(INT_MAX)) {
        return nullptr;
    }
    InitLibrary();
    QuietErrors quiet;
    // A private parser context keeps error reporting local to this parse.
    std::unique_ptr<xmlParserCtxt, ParserCtxtFree> ctxt(xmlNewParserCtxt());
    if (!ctxt) {
        return nullptr;
    }
    DocPtr doc(
        xmlCtxtReadMemory(ctxt.get(), xml, static_cast<int>(len), nullptr, nullptr, kParseOptions));
    if (!doc || ctxt->wellFormed == 0 || xmlDocGetRootElement(doc.get()) == nullptr) {
        return nullptr;
    }
    // Answers never carry a document type. Refusing one keeps entity
    // declarations (and their expansion when text is read) out entirely.
    if (doc->intSubset != nullptr || doc->extSubset != nullptr) {
        return nullptr;
    }
    return doc;
}

// What a content check has met: the first fault, and how deep it is (1 in
// the element wrapped around the text).
struct ContentCheck {
    std::string fault;
    int line = 0;
    int depth = 0;
    xmlParserCtxt* ctxt = nullptr;
};

void NoteFault(void* data, xmlErrorPtr error) {
    auto* check = static_cast<ContentCheck*>(data);
    if (error == nullptr || error->level != XML_ERR_FATAL || !check->fault.empty()) {
        return;
    }
    check->fault = error->message != nullptr ? error->message : "not well-formed";
    while (!check->fault.empty() && (check->fault.back() == '\n' || check->fault.back() == ' ')) {
        check->fault.pop_back();
    }
    check->line = error->line;
}

void Opened(void* data, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**, int,
            int, const xmlChar**) {
    ++static_cast<ContentCheck*>(data)->depth;
}

void Closed(void* data, const xmlChar*, const xmlChar*, const xmlChar*) {
    --static_cast<ContentCheck*>(data)->depth;
}

// An answer is elements: text between them is white space only.
void Text(void* data, const xmlChar* text, int len) {
    auto* check = static_cast<ContentCheck*>(data);
    if (check->depth != 1 || !check->fault.empty()) {
        return;
    }
    for (int i = 0; i < len; ++i) {
        if (text[i] != ' ' && text[i] != '\t' && text[i] != '\r' && text[i] != '\n') {
            check->fault = "text outside any element";
            check->line = check->ctxt->input != nullptr ? check->ctxt->input->line : 0;
            xmlStopParser(check->ctxt);
            return;
        }
    }
}

// Reads the text through as the content of one element, so that several
// top-level elements are accepted and a declaration or a document type is
// not. Nothing is built.
bool IsWellFormedContent(const char* xml, size_t len, ContentCheck& check) {
    InitLibrary();
    QuietErrors quiet;
    xmlSAXHandler sax{};
    sax.initialized = XML_SAX2_MAGIC;
    sax.serror = NoteFault;
    sax.startElementNs = Opened;
    sax.endElementNs = Closed;
    sax.characters = Text;
    sax.ignorableWhitespace = Text;
    sax.cdataBlock = Text;
    constexpr char kOpen[] = "<r>";
    constexpr char kClose[] = "</r>";
    std::unique_ptr<xmlParserCtxt, ParserCtxtFree> ctxt(
        xmlCreatePushParserCtxt(&sax, &check, kOpen, sizeof kOpen - 1, nullptr));
    if (!ctxt) {
        throw std::bad_alloc();
    }
    check.ctxt = ctxt.get();
    xmlCtxtUseOptions(ctxt.get(), XML_PARSE_NONET);
    auto sound = [&] { return ctxt->wellFormed != 0 && check.fault.empty(); };
    // small pieces: the parser refuses to look ahead over more than 10 MB
    constexpr size_t kPiece = size_t{1} << 16;
    for (size_t done = 0; done < len && sound();) {
        const size_t piece = std::min(kPiece, len - done);
        xmlParseChunk(ctxt.get(), xml + done, static_cast<int>(piece), 0);
        done += piece;
    }
    if (sound()) {
        xmlParseChunk(ctxt.get(), kClose, sizeof kClose - 1, 1);
    }
    if (!sound() && check.fault.empty()) {
        check.fault = "not well-formed";
    }
    return sound();
}

bool NameIs(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE &&
           std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

// Calls visit for every element below (not including) top in document order;
// stops when visit answers false.
template <typename Visit>
void WalkDescendants(xmlNode* top, Visit&& visit) {
    xmlNode* node = top->children;
    while (node != nullptr) {
        if (node->type == XML_ELEMENT_NODE) {
            if (!visit(node)) {
                return;
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
            return;
        }
        node = node->next;
    }
}

// The DOM root: owns the document, every list it handed out and not yet
// freed, and the value strings of its elements.
struct DomRoot {
    struct List {
        SXDOMGenericList list{};
        std::vector<void*> items;
    };

    DocPtr doc;
    std::mutex lock;
    std::unordered_map<const xmlNode*, std::string> values;
    // Elements by name in document order, built on the first lookup by name.
    std::unordered_map<std::string, std::vector<xmlNode*>> byName;
    bool indexed = false;
    std::unordered_map<const SXDOMGenericList*, std::unique_ptr<List>> lists;

    SXDOMGenericList* MakeList(std::vector<void*> items) {
        if (items.empty()) {
            return nullptr;
        }
        auto holder = std::make_unique<List>();
        holder->items = std::move(items);
        holder->list.count = static_cast<uint32_t>(holder->items.size());
        holder->list.ppItems = holder->items.data();
        SXDOMGenericList* result = &holder->list;
        std::lock_guard guard(lock);
        lists.emplace(result, std::move(holder));
        return result;
    }
};

DomRoot* RootOf(const xmlNode* node) {
    return node != nullptr && node->doc != nullptr ? static_cast<DomRoot*>(node->doc->_private)
                                                   : nullptr;
}

xmlNode* AsElement(void* handle) {
    auto* node = static_cast<xmlNode*>(handle);
    return node != nullptr && node->type == XML_ELEMENT_NODE ? node : nullptr;
}

}  // namespace

extern "C" {

int32_t XMLSupCheckContent(const char* xml, uint32_t len, char* why, uint32_t whySize) {
    if (why != nullptr && whySize > 0) {
        why[0] = '\0';
    }
    if (xml == nullptr) {
        return XMLSUP_BAD_ARGS;
    }
    try {
        ContentCheck check;
        if (IsWellFormedContent(xml, len, check)) {
            return XMLSUP_OK;
        }
        if (why != nullptr && whySize > 0) {
            std::string text = check.fault;
            if (check.line > 0) {
                text += " (line " + std::to_string(check.line) + ")";
            }
            const size_t n = std::min<size_t>(text.size(), whySize - 1);
            std::memcpy(why, text.data(), n);
            why[n] = '\0';
        }
        return XMLSUP_BAD_XML;
    } catch (const std::bad_alloc&) {
        // Nothing could be read: the text is not known to be sound.
        if (why != nullptr && whySize > 1) {
            std::snprintf(why, whySize, "%s", "out of memory while reading the answer");
        }
        return XMLSUP_BAD_XML;
    }
}

int32_t XMLSupGetXMLMemData(void* /*reserved0*/, const char* tag, uint32_t /*matchMode*/,
                            uint32_t occurrence, uint32_t /*valueType*/, uint32_t* pSize, char* out,
                            void* /*reserved1*/, void* /*reserved2*/, const char* xml,
                            uint32_t xmlLen) {
    if (tag == nullptr || *tag == '\0' || pSize == nullptr || *pSize == 0 || out == nullptr ||
        xml == nullptr) {
        return XMLSUP_BAD_ARGS;
    }
    try {
        DocPtr doc = Parse(xml, xmlLen);
        if (!doc) {
            return XMLSUP_BAD_XML;
        }
        // The document element itself counts too: the lookup is over the whole text.
        xmlNode* top = xmlDocGetRootElement(doc.get());
        xmlNode* found = nullptr;
        uint32_t seen = 0;
        auto visit = [&](xmlNode* node) {
            if (NameIs(node, tag) && seen++ == occurrence) {
                found = node;
                return false;
            }
            return true;
        };
        if (visit(top)) {
            WalkDescendants(top, visit);
        }
        if (found == nullptr) {
            return XMLSUP_NOT_FOUND;
        }
        XmlString content(xmlNodeGetContent(found));
        const char* text = content ? reinterpret_cast<const char*>(content.get()) : "";
        // Cut to the capacity less one byte for the terminator.
        const size_t n = std::min<size_t>(std::strlen(text), *pSize - 1);
        std::memcpy(out, text, n);
        out[n] = '\0';
        *pSize = static_cast<uint32_t>(n + 1);
        return XMLSUP_OK;
    } catch (const std::bad_alloc&) {
        return XMLSUP_NOT_FOUND;
    }
}

void* SXDOMCreate(const char* xml, uint32_t len, uint32_t /*flags*/) {
    try {
        DocPtr doc = Parse(xml, len);
        if (!doc) {
            return nullptr;
        }
        auto root = std::make_unique<DomRoot>();
        doc->_private = root.get();
        root->doc = std::move(doc);
        return root.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void SXDOMDestroy(void* root) {
    // Takes back the ownership handed out by SXDOMCreate.
    std::unique_ptr<DomRoot> owned(static_cast<DomRoot*>(root));
}

SXDOMGenericList* SXDOMSelect(void* root, const char* name, uint32_t /*flags*/) {
    auto* dom = static_cast<DomRoot*>(root);
    if (dom == nullptr || name == nullptr) {
        return nullptr;
    }
    try {
        std::vector<void*> items;
        WalkDescendants(xmlDocGetRootElement(dom->doc.get()), [&](xmlNode* node) {
            if (NameIs(node, name)) {
                items.push_back(node);
            }
            return true;
        });
        return dom->MakeList(std::move(items));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

SXDOMGenericList* SXDOMGetChildList(void* element) {
    xmlNode* node = AsElement(element);
    DomRoot* dom = RootOf(node);
    if (dom == nullptr) {
        return nullptr;
    }
    try {
        std::vector<void*> items;
        for (xmlNode* child = node->children; child != nullptr; child = child->next) {
            if (child->type == XML_ELEMENT_NODE) {
                items.push_back(child);
            }
        }
        return dom->MakeList(std::move(items));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

const char* SXDOMGetName(void* element) {
    xmlNode* node = AsElement(element);
    return node != nullptr ? reinterpret_cast<const char*>(node->name) : nullptr;
}

const char* SXDOMGetValue(void* element) {
    xmlNode* node = AsElement(element);
    DomRoot* dom = RootOf(node);
    if (dom == nullptr) {
        return nullptr;
    }
    try {
        std::lock_guard guard(dom->lock);
        auto it = dom->values.find(node);
        if (it == dom->values.end()) {
            XmlString content(xmlNodeGetContent(node));
            it = dom->values
                     .emplace(node, content ? reinterpret_cast<const char*>(content.get()) : "")
                     .first;
        }
        return it->second.c_str();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* SXDOMGetNthElementByName(void* root, const char* name, uint32_t occurrence) {
    auto* dom = static_cast<DomRoot*>(root);
    if (dom == nullptr || name == nullptr) {
        return nullptr;
    }
    try {
        std::lock_guard guard(dom->lock);
        if (!dom->indexed) {
            xmlNode* top = xmlDocGetRootElement(dom->doc.get());
            auto add = [dom](xmlNode* node) {
                dom->byName[reinterpret_cast<const char*>(node->name)].push_back(node);
                return true;
            };
            add(top);
            WalkDescendants(top, add);
            dom->indexed = true;
        }
        auto it = dom->byName.find(name);
        if (it == dom->byName.end() || occurrence >= it->second.size()) {
            return nullptr;
        }
        return it->second[occurrence];
    } catch (const std::bad_alloc&) {
        dom->byName.clear();
        dom->indexed = false;
        return nullptr;
    }
}

void SXDOMFreeGenericList(SXDOMGenericList* list) {
    // Lists are never empty, so the first item leads back to the owning root.
    if (list == nullptr || list->count == 0 || list->ppItems == nullptr) {
        return;
    }
    DomRoot* dom = RootOf(static_cast<const xmlNode*>(list->ppItems[0]));
    if (dom == nullptr) {
        return;
    }
    std::unique_ptr<DomRoot::List> holder;
    std::lock_guard guard(dom->lock);
    auto it = dom->lists.find(list);
    if (it != dom->lists.end()) {
        holder = std::move(it->second);
        dom->lists.erase(it);
    }
}

}  // extern "C"
