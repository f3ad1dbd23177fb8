// Reading XML answers and rendering them through XSLT stylesheets.
#include <libexslt/exslt.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <cstdarg>
#include <cstdio>

#include "host.h"

namespace vk::host {

namespace fs = std::filesystem;

namespace {

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

std::string_view Name(const xmlNode* node) {
    return reinterpret_cast<const char*>(node->name);
}

std::string Content(const xmlNode* node) {
    const XmlCharPtr text(xmlNodeGetContent(node));
    return text ? std::string(reinterpret_cast<const char*>(text.get())) : std::string();
}

DocPtr ParseAnswer(const std::string& xml, std::string_view what) {
    DocPtr doc(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "answer.xml", nullptr,
                             XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (!doc) {
        const xmlError* error = xmlGetLastError();
        std::string reason = error != nullptr && error->message != nullptr
                                 ? std::string(error->message)
                                 : std::string("unreadable");
        while (!reason.empty() && reason.back() == '\n') reason.pop_back();
        throw HostError(kExitFailure, std::string(what) + " is not well-formed XML: " + reason);
    }
    return doc;
}

void Collect(const xmlNode* node, XmlAnswer& answer) {
    for (; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE) continue;
        const std::string_view name = Name(node);
        if (name == "QXStorageObject") {
            StorageObject object;
            for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
                if (child->type == XML_ELEMENT_NODE)
                    object.emplace_back(std::string(Name(child)), Content(child));
            }
            answer.objects.push_back(std::move(object));
        } else if (name == "SMStatus") {
            if (!answer.status) answer.status = Content(node);
        } else if (name == "SMMessage") {
            if (answer.message.empty()) answer.message = Content(node);
        } else {
            Collect(node->children, answer);
        }
    }
}

}  // namespace

XmlAnswer ReadXmlAnswer(const std::string& xml) {
    const DocPtr doc = ParseAnswer(xml, "the plug-in's answer");
    XmlAnswer answer;
    Collect(xmlDocGetRootElement(doc.get()), answer);
    return answer;
}

std::vector<ObjectLabels> ReadLabels(const std::string& xml) {
    const DocPtr doc = ParseAnswer(xml, "the decoded labels");
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

struct Renderer::Cache {
    std::map<std::string, StylePtr> styles;
};

Renderer::Renderer(fs::path share, std::string program, std::string command)
    : share_(std::move(share)),
      program_(std::move(program)),
      command_(std::move(command)),
      cache_(std::make_unique<Cache>()) {
    exsltRegisterAll();
    xmlSetGenericErrorFunc(nullptr, CaptureError);
    xsltSetGenericErrorFunc(nullptr, CaptureError);
}

Renderer::~Renderer() = default;

std::string Renderer::Render(const std::string& xml, const std::string& styleSheet) {
    const fs::path path =
        fs::path(styleSheet).is_absolute() ? fs::path(styleSheet) : share_ / styleSheet;
    auto found = cache_->styles.find(path.string());
    if (found == cache_->styles.end()) {
        if (!fs::is_regular_file(path))
            throw HostError(kExitFailure, "stylesheet " + path.string() + " not found");
        g_firstError.clear();
        // libxml2 takes file names in UTF-8 on every system.
        const std::u8string file = path.u8string();
        StylePtr style(xsltParseStylesheetFile(reinterpret_cast<const xmlChar*>(file.c_str())));
        if (!style) {
            throw HostError(kExitFailure, "cannot use the stylesheet " + path.string() + ": " +
                                              TakeError("not a valid stylesheet"));
        }
        found = cache_->styles.emplace(path.string(), std::move(style)).first;
    }
    xsltStylesheet* style = found->second.get();

    const DocPtr doc = ParseAnswer(xml, "the plug-in's answer");
    g_firstError.clear();
    const std::unique_ptr<xsltTransformContext, ContextFree> ctxt(
        xsltNewTransformContext(style, doc.get()));
    if (!ctxt) throw HostError(kExitFailure, "out of memory while rendering");
    // Passed as strings, so no quoting of the words is needed.
    for (const auto& [name, value] :
         {std::pair{"program", &program_}, std::pair{"command", &command_}}) {
        xsltQuoteOneUserParam(ctxt.get(), reinterpret_cast<const xmlChar*>(name),
                              reinterpret_cast<const xmlChar*>(value->c_str()));
    }
    const DocPtr result(
        xsltApplyStylesheetUser(style, doc.get(), nullptr, nullptr, nullptr, ctxt.get()));
    if (!result || ctxt->state == XSLT_STATE_ERROR) {
        throw HostError(kExitFailure, "the stylesheet " + path.string() +
                                          " failed: " + TakeError("transformation error"));
    }
    xmlChar* raw = nullptr;
    int length = 0;
    if (xsltSaveResultToString(&raw, &length, result.get(), style) != 0)
        throw HostError(kExitFailure, "cannot write the output of " + path.string());
    const XmlCharPtr text(raw);
    return text
               ? std::string(reinterpret_cast<const char*>(text.get()), static_cast<size_t>(length))
               : std::string();
}

}  // namespace vk::host
