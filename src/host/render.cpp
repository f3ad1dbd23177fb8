// Reading XML answers and rendering them through XSLT stylesheets.
//
// An answer is parsed as it is rendered. A report stylesheet that declares
// the parameter "part" can be applied to a long answer in parts: the
// parser's finished objects move into part documents of at most
// VK_RENDER_PART objects, each rendered as a "body" and freed at once, and
// the title is rendered last, as the "head", from a document that keeps the
// first part whole and, of each later run of objects alike in kHeadTags,
// the first two with only those tags. So memory is bounded by one part and
// a small head, whatever the answer's length.
#include <libexslt/exslt.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlreader.h>
#include <libxslt/imports.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "host.h"

namespace vk::host {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kObjectTag = "QXStorageObject";
constexpr std::string_view kStatusTag = "SMStatus";
constexpr std::string_view kMessageTag = "SMMessage";
constexpr std::string_view kKindTag = "ObjType";

// What a report's title may read of the objects after the first part: the
// kind, the controller and the cachecade mark (lists of one controller, one
// or more of a kind, the cachecades among virtual disks).
constexpr auto kHeadTags = std::to_array<std::string_view>({kKindTag, "GlobalNo", "IsSSC"});

// Objects per part: a part's document costs about 7 KB per disk, and a part
// of this size renders in a few milliseconds.
constexpr size_t kDefaultPartObjects = 1024;
constexpr std::string_view kPartVariable = "VK_RENDER_PART";

// The parser is fed this much of the answer at a time.
constexpr size_t kChunk = size_t{1} << 18;

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// libxml2 and libxslt report through callbacks; the first complaint of the
// current step is kept so that the failure can be told in one line.
std::string g_firstError;

__attribute__((format(printf, 2, 3))) void CaptureError(void* /*ctx*/, const char* format, ...) {
    if (!g_firstError.empty()) return;
    char buffer[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    g_firstError = buffer;
    while (!g_firstError.empty() && (g_firstError.back() == '\n' || g_firstError.back() == ' '))
        g_firstError.pop_back();
}

std::string TakeError(std::string_view fallback) {
    std::string text = g_firstError.empty() ? std::string(fallback) : g_firstError;
    g_firstError.clear();
    return text;
}

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

struct StyleFree {
    void operator()(xsltStylesheet* style) const { xsltFreeStylesheet(style); }
};
using StylePtr = std::unique_ptr<xsltStylesheet, StyleFree>;

struct ContextFree {
    void operator()(xsltTransformContext* ctxt) const { xsltFreeTransformContext(ctxt); }
};

struct XmlCharFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlCharPtr = std::unique_ptr<xmlChar, XmlCharFree>;

struct ReaderFree {
    void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};

// The parser context and the document it builds, which the context does
// not free itself.
struct ParserFree {
    void operator()(xmlParserCtxt* ctxt) const {
        xmlFreeDoc(ctxt->myDoc);
        xmlFreeParserCtxt(ctxt);
    }
};
using ParserPtr = std::unique_ptr<xmlParserCtxt, ParserFree>;

const char* Chars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

std::string_view Name(const xmlNode* node) {
    return Chars(node->name);
}

bool IsElement(const xmlNode* node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && Name(node) == name;
}

std::string Content(const xmlNode* node) {
    const XmlCharPtr text(xmlNodeGetContent(node));
    return text ? std::string(Chars(text.get())) : std::string();
}

[[noreturn]] void NotWellFormed(const xmlError* error,
                                std::string_view what = "the plug-in's answer") {
    std::string reason = error != nullptr && error->message != nullptr ? std::string(error->message)
                                                                       : std::string("unreadable");
    while (!reason.empty() && reason.back() == '\n') reason.pop_back();
    throw HostError(kExitFailure, std::string(what) + " is not well-formed XML: " + reason);
}

// A new document for a part of the answer: it shares the parser's
// dictionary, so that nodes move into it as they are, and holds a copy of
// the answer's root element without its children.
DocPtr NewPartDoc(const xmlNode* root, xmlDict* dict) {
    DocPtr doc(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
    if (!doc) throw HostError(kExitFailure, "out of memory while rendering");
    doc->dict = dict;
    xmlDictReference(dict);
    xmlNode* top = xmlDocCopyNode(const_cast<xmlNode*>(root), doc.get(), 2);
    if (top == nullptr) throw HostError(kExitFailure, "out of memory while rendering");
    xmlDocSetRootElement(doc.get(), top);
    return doc;
}

xmlNode* CopyInto(xmlNode* parent, const xmlNode* node, int extended) {
    xmlNode* copy = xmlDocCopyNode(const_cast<xmlNode*>(node), parent->doc, extended);
    if (copy == nullptr || xmlAddChild(parent, copy) == nullptr) {
        xmlFreeNode(copy);
        throw HostError(kExitFailure, "out of memory while rendering");
    }
    return copy;
}

// The first status and message of a document, searched as the answer
// reader searches them.
void FindStatus(const xmlNode* node, XmlAnswer& answer) {
    for (; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE || Name(node) == kObjectTag) continue;
        if (Name(node) == kStatusTag) {
            if (!answer.status) answer.status = Content(node);
        } else if (Name(node) == kMessageTag) {
            if (answer.message.empty()) answer.message = Content(node);
        } else {
            FindStatus(node->children, answer);
        }
    }
}

}  // namespace

XmlAnswer ReadXmlAnswer(std::string_view xml, bool withObjects) {
    const std::unique_ptr<xmlTextReader, ReaderFree> reader(xmlReaderForMemory(
        xml.data(), static_cast<int>(xml.size()), "answer.xml", nullptr, kParseOptions));
    if (!reader) throw HostError(kExitFailure, "out of memory while reading the answer");
    xmlTextReader* r = reader.get();
    XmlAnswer answer;
    // Objects are read whole or stepped over; everything else is entered,
    // so that a status or object inside another element is found too.
    int more = xmlTextReaderRead(r);
    while (more == 1) {
        if (xmlTextReaderNodeType(r) != XML_READER_TYPE_ELEMENT) {
            more = xmlTextReaderRead(r);
            continue;
        }
        const std::string_view name = Chars(xmlTextReaderConstLocalName(r));
        const bool wanted = (name == kObjectTag && withObjects) ||
                            (name == kStatusTag && !answer.status) ||
                            (name == kMessageTag && answer.message.empty());
        if (name != kObjectTag && name != kStatusTag && name != kMessageTag) {
            more = xmlTextReaderRead(r);
            continue;
        }
        if (wanted) {
            const xmlNode* node = xmlTextReaderExpand(r);
            if (node == nullptr) break;
            if (name == kStatusTag) {
                answer.status = Content(node);
            } else if (name == kMessageTag) {
                answer.message = Content(node);
            } else {
                StorageObject object;
                for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
                    if (child->type == XML_ELEMENT_NODE)
                        object.emplace_back(std::string(Name(child)), Content(child));
                }
                answer.objects.push_back(std::move(object));
            }
        }
        more = xmlTextReaderNext(r);
    }
    if (more != 0) NotWellFormed(xmlGetLastError());
    return answer;
}

std::vector<ObjectLabels> ReadLabels(const std::string& xml) {
    const DocPtr doc(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "labels.xml", nullptr,
                                   kParseOptions));
    if (!doc) NotWellFormed(xmlGetLastError(), "the decoded labels");
    std::vector<ObjectLabels> labels;
    const xmlNode* root = xmlDocGetRootElement(doc.get());
    for (const xmlNode* object = root != nullptr ? root->children : nullptr; object != nullptr;
         object = object->next) {
        if (object->type != XML_ELEMENT_NODE || Name(object) != "Object") continue;
        ObjectLabels entry;
        for (const xmlNode* item = object->children; item != nullptr; item = item->next) {
            if (item->type != XML_ELEMENT_NODE) continue;
            const XmlCharPtr tag(xmlGetProp(item, reinterpret_cast<const xmlChar*>("tag")));
            if (!tag) continue;
            const std::string name = reinterpret_cast<const char*>(tag.get());
            const std::string value = Content(item);
            if (Name(item) == "Decoded") {
                entry.decoded.emplace_back(name, value);
            } else if (Name(item) == "Bytes" && !value.empty() &&
                       value.find_first_not_of("0123456789") == std::string::npos &&
                       value.size() <= 19) {
                entry.bytes.emplace_back(name, std::stoull(value));
            }
        }
        labels.push_back(std::move(entry));
    }
    return labels;
}

namespace {

// A parsed stylesheet, and whether it renders long answers in parts.
struct Sheet {
    StylePtr style;
    fs::path path;
    bool parts = false;
};

}  // namespace

struct RenderState {
    fs::path share;
    std::string program;
    std::string command;
    size_t partObjects = kDefaultPartObjects;
    std::map<std::string, Sheet> sheets;  // parsed on first use
};

namespace {

using Params = std::initializer_list<std::pair<const char*, std::string_view>>;

// True when a stylesheet (its includes and imports too) declares the
// parameter or variable `name`.
bool Declares(xsltStylesheet* style, std::string_view name) {
    for (xsltStylesheet* s = style; s != nullptr; s = xsltNextImport(s)) {
        for (const xsltStackElem* v = s->variables; v != nullptr; v = v->next) {
            if (v->name != nullptr && Chars(v->name) == name) return true;
        }
    }
    return false;
}

// Renders an answer in parts (see the top of this file). Objects are handed
// over in answer order, each with the children that precede it.
class PartRenderer {
  public:
    using Apply = std::function<void(xmlDoc*, Params, std::string&)>;

    // expected: about the length of the text, which is reserved so that
    // the text is not copied as it grows (untouched pages cost nothing).
    PartRenderer(const xmlNode* root, xmlDict* dict, size_t partObjects, size_t expected,
                 Apply apply)
        : root_(root),
          dict_(dict),
          partObjects_(partObjects),
          apply_(std::move(apply)),
          head_(NewPartDoc(root, dict)),
          part_(NewPartDoc(root, dict)) {
        bodies_.reserve(expected);
    }

    // Takes a finished child of the answer's root, already unlinked.
    void Add(xmlNode* child) {
        xmlNode* top = xmlDocGetRootElement(part_.get());
        if (xmlAddChild(top, child) == nullptr) {
            xmlFreeNode(child);
            throw HostError(kExitFailure, "out of memory while rendering");
        }
        const bool object = IsElement(child, kObjectTag);
        KeepForHead(child, object);
        if (object && ++objects_ == partObjects_) Flush();
    }

    // The head followed by the bodies; the head document also tells
    // whether the answer succeeded.
    std::string Finish(XmlAnswer& outcome) {
        Flush();
        FindStatus(xmlDocGetRootElement(head_.get()), outcome);
        std::string head;
        apply_(head_.get(), {{"part", "head"}}, head);
        bodies_.insert(0, head);
        return std::move(bodies_);
    }

  private:
    void KeepForHead(const xmlNode* child, bool object) {
        xmlNode* top = xmlDocGetRootElement(head_.get());
        if (!object || firstPart_) {
            CopyInto(top, child, 1);
            return;
        }
        std::vector<const xmlNode*> tags;
        std::string mark;
        for (const xmlNode* tag = child->children; tag != nullptr; tag = tag->next) {
            if (tag->type == XML_ELEMENT_NODE &&
                std::find(kHeadTags.begin(), kHeadTags.end(), Name(tag)) != kHeadTags.end()) {
                tags.push_back(tag);
                mark.append(Name(tag)).append("=").append(Content(tag)).append("\n");
            }
        }
        // Of a run of objects alike in these tags two are kept: enough to
        // tell none, one and more apart.
        alike_ = mark == lastMark_ ? alike_ + 1 : 1;
        lastMark_ = std::move(mark);
        if (alike_ > 2) return;
        xmlNode* thin = CopyInto(top, child, 2);
        for (const xmlNode* tag : tags) CopyInto(thin, tag, 1);
    }

    void Flush() {
        xmlNode* top = xmlDocGetRootElement(part_.get());
        if (top->children == nullptr) return;
        apply_(part_.get(),
               {{"part", "body"},
                {"previous-kind", previousKind_},
                {"continued", bodies_.empty() ? "0" : "1"}},
               bodies_);
        for (const xmlNode* last = top->last; last != nullptr; last = last->prev) {
            if (!IsElement(last, kObjectTag)) continue;
            previousKind_.clear();
            for (const xmlNode* tag = last->children; tag != nullptr; tag = tag->next) {
                if (IsElement(tag, kKindTag)) {
                    previousKind_ = Content(tag);
                    break;
                }
            }
            break;
        }
        part_ = NewPartDoc(root_, dict_);
        objects_ = 0;
        firstPart_ = false;
    }

    const xmlNode* root_;
    xmlDict* dict_;
    size_t partObjects_;
    Apply apply_;
    DocPtr head_;
    DocPtr part_;
    size_t objects_ = 0;
    bool firstPart_ = true;
    std::string previousKind_;
    std::string lastMark_;  // the head tags of the last object kept thin
    size_t alike_ = 0;      // objects in a row with those tags
    std::string bodies_;
};

size_t PartObjects() {
    const char* text = std::getenv(std::string(kPartVariable).c_str());
    if (text == nullptr || *text == '\0') return kDefaultPartObjects;
    size_t value = 0;
    const char* end = text + std::strlen(text);
    const auto [at, error] = std::from_chars(text, end, value);
    if (error != std::errc() || at != end || value == 0) {
        throw HostError(
            kExitFailure,
            std::string(kPartVariable) + " must be a number of objects from 1, not '" + text + "'");
    }
    return value;
}

const Sheet& Load(RenderState& state, const std::string& styleSheet) {
    const fs::path path =
        fs::path(styleSheet).is_absolute() ? fs::path(styleSheet) : state.share / styleSheet;
    auto found = state.sheets.find(path.string());
    if (found != state.sheets.end()) return found->second;
    if (!fs::is_regular_file(path))
        throw HostError(kExitFailure, "stylesheet " + path.string() + " not found");
    g_firstError.clear();
    Sheet sheet;
    // libxml2 takes file names in UTF-8 on every system.
    const std::u8string file = path.u8string();
    sheet.style.reset(xsltParseStylesheetFile(reinterpret_cast<const xmlChar*>(file.c_str())));
    if (!sheet.style) {
        throw HostError(kExitFailure, "cannot use the stylesheet " + path.string() + ": " +
                                          TakeError("not a valid stylesheet"));
    }
    sheet.path = path;
    sheet.parts = Declares(sheet.style.get(), "part");
    return state.sheets.emplace(path.string(), std::move(sheet)).first->second;
}

// Applies a stylesheet to a document with the run's parameters and params,
// and appends the text it writes to out.
void Apply(const RenderState& state, const Sheet& sheet, xmlDoc* doc, Params params,
           std::string& out) {
    g_firstError.clear();
    const std::unique_ptr<xsltTransformContext, ContextFree> ctxt(
        xsltNewTransformContext(sheet.style.get(), doc));
    if (!ctxt) throw HostError(kExitFailure, "out of memory while rendering");
    // Passed as strings, so no quoting of the words is needed.
    const auto pass = [&ctxt](const char* name, std::string_view value) {
        const std::string text(value);
        xsltQuoteOneUserParam(ctxt.get(), reinterpret_cast<const xmlChar*>(name),
                              reinterpret_cast<const xmlChar*>(text.c_str()));
    };
    pass("program", state.program);
    pass("command", state.command);
    for (const auto& [name, value] : params) pass(name, value);
    const DocPtr result(
        xsltApplyStylesheetUser(sheet.style.get(), doc, nullptr, nullptr, nullptr, ctxt.get()));
    if (!result || ctxt->state == XSLT_STATE_ERROR) {
        throw HostError(kExitFailure, "the stylesheet " + sheet.path.string() +
                                          " failed: " + TakeError("transformation error"));
    }
    xmlChar* raw = nullptr;
    int length = 0;
    if (xsltSaveResultToString(&raw, &length, result.get(), sheet.style.get()) != 0)
        throw HostError(kExitFailure, "cannot write the output of " + sheet.path.string());
    const XmlCharPtr text(raw);
    if (text) out.append(Chars(text.get()), static_cast<size_t>(length));
}

}  // namespace

Renderer::Renderer(fs::path share, std::string program, std::string command)
    : state_(std::make_unique<RenderState>()) {
    state_->share = std::move(share);
    state_->program = std::move(program);
    state_->command = std::move(command);
    state_->partObjects = PartObjects();
    // The EXSLT string functions (str:padding) are all the stylesheets use.
    exsltStrRegister();
    xmlSetGenericErrorFunc(nullptr, CaptureError);
    xsltSetGenericErrorFunc(nullptr, CaptureError);
}

Renderer::~Renderer() = default;

std::string Renderer::Render(std::string_view xml, const std::string& styleSheet,
                             XmlAnswer* status) {
    RenderState& state = *state_;
    // The stylesheet is parsed once there is something to render with it.
    const Sheet* sheet = nullptr;
    const auto use = [&]() -> const Sheet& {
        if (sheet == nullptr) sheet = &Load(state, styleSheet);
        return *sheet;
    };
    const ParserPtr parser(xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, "answer.xml"));
    if (!parser) throw HostError(kExitFailure, "out of memory while rendering");
    xmlCtxtUseOptions(parser.get(), kParseOptions);

    std::optional<PartRenderer> parts;
    size_t finished = 0;         // objects finished while not yet in parts
    xmlNode* counted = nullptr;  // the last child counted
    size_t at = 0;
    do {
        const size_t size = std::min(kChunk, xml.size() - at);
        const bool last = at + size == xml.size();
        xmlParseChunk(parser.get(), xml.data() + at, static_cast<int>(size), last ? 1 : 0);
        at += size;
        if (!parser->wellFormed) NotWellFormed(xmlCtxtGetLastError(parser.get()));
        xmlNode* root = parser->myDoc != nullptr ? xmlDocGetRootElement(parser->myDoc) : nullptr;
        if (root == nullptr) continue;
        // The child still being parsed stays where the parser puts it.
        const xmlNode* open = parser->nodeNr >= 2 ? root->last : nullptr;
        if (!parts) {
            for (xmlNode* child = counted != nullptr ? counted->next : root->children;
                 child != nullptr && child != open; child = child->next) {
                counted = child;
                if (IsElement(child, kObjectTag)) ++finished;
            }
            if (finished <= state.partObjects || !use().parts) continue;
            // The text of a report is shorter than its answer.
            parts.emplace(root, parser->dict, state.partObjects, xml.size(),
                          [&state, &use](xmlDoc* doc, Params params, std::string& out) {
                              Apply(state, use(), doc, params, out);
                          });
        }
        while (root->children != nullptr && root->children != open) {
            xmlNode* child = root->children;
            xmlUnlinkNode(child);
            parts->Add(child);
        }
    } while (at < xml.size());
    if (parser->myDoc == nullptr || xmlDocGetRootElement(parser->myDoc) == nullptr)
        NotWellFormed(xmlCtxtGetLastError(parser.get()));

    XmlAnswer answer;
    std::string text;
    if (parts) {
        text = parts->Finish(answer);
    } else {
        FindStatus(xmlDocGetRootElement(parser->myDoc), answer);
        if (status == nullptr || !answer.Failed()) Apply(state, use(), parser->myDoc, {}, text);
    }
    const bool failed = answer.Failed();
    if (status != nullptr) *status = std::move(answer);
    if (!parts || !failed) return text;
    text.clear();
    if (status != nullptr) return text;
    // The parts were written as for a successful answer; a failed one
    // (which carries few objects, if any) is rendered whole instead.
    const DocPtr whole(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "answer.xml",
                                     nullptr, kParseOptions));
    if (!whole) NotWellFormed(xmlGetLastError());
    Apply(state, use(), whole.get(), {}, text);
    return text;
}

}  // namespace vk::host
