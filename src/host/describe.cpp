// The vocabulary dump: the plug-in describes every command it serves from its
// own tables (through the command-line support library's description mode),
// and the host turns that description into one JSON document, with the
// usage texts of the message catalogue. Bash completion, manual pages and
// tests are built from it, so its shape changes only with its schema number.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host.h"
#include "plugin.h"

namespace vk::host {

namespace {

using Json = nlohmann::ordered_json;

// Raised whenever a field is added, renamed or changes its meaning.
constexpr int kSchemaVersion = 1;

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

struct XmlCharFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

bool Is(const xmlNode* node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && reinterpret_cast<const char*>(node->name) == name;
}

std::optional<std::string> Attr(const xmlNode* node, const char* name) {
    const std::unique_ptr<xmlChar, XmlCharFree> value(
        xmlGetProp(node, reinterpret_cast<const xmlChar*>(name)));
    if (!value) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(value.get()));
}

std::string Text(const xmlNode* node, const char* name) {
    return Attr(node, name).value_or("");
}

uint32_t Number(const xmlNode* node, const char* name) {
    const std::string text = Text(node, name);
    return text.empty() ? 0 : static_cast<uint32_t>(std::stoul(text));
}

bool Flag(const xmlNode* node, const char* name) {
    return Text(node, name) == "yes";
}

Json TextOrNull(const xmlNode* node, const char* name) {
    auto value = Attr(node, name);
    return value ? Json(*value) : Json(nullptr);
}

std::vector<const xmlNode*> Children(const xmlNode* node, std::string_view name) {
    std::vector<const xmlNode*> found;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (Is(child, name)) found.push_back(child);
    }
    return found;
}

// A message number with its catalogue text; null for number 0 (none).
Json Message(uint32_t number, const MessageCatalogue& catalogue) {
    if (number == 0) return nullptr;
    Json message;
    message["message"] = number;
    auto text = catalogue.Format(number, "", "");
    message["text"] = text ? Json(*text) : Json(nullptr);
    return message;
}

Json Parameter(const xmlNode* param) {
    Json p;
    p["name"] = Text(param, "name");
    p["type"] = Text(param, "type");
    p["value_type"] = Number(param, "valueType");
    p["required"] = Flag(param, "required");
    p["group"] = Flag(param, "group");
    p["sends"] = TextOrNull(param, "sends");
    p["form"] = TextOrNull(param, "form");
    p["max_length"] = Number(param, "maxLength");
    Json keywords = Json::array();
    for (const xmlNode* keyword : Children(param, "Keyword"))
        keywords.push_back(
            {{"keyword", Text(keyword, "value")}, {"sends", Text(keyword, "sends")}});
    p["keywords"] = std::move(keywords);
    return p;
}

// What a row takes: its parameters and the pairs it always sends.
void RowContent(const xmlNode* row, Json& out) {
    Json params = Json::array();
    for (const xmlNode* param : Children(row, "Param")) params.push_back(Parameter(param));
    out["parameters"] = std::move(params);
    Json fixed = Json::array();
    for (const xmlNode* pair : Children(row, "Fixed")) fixed.push_back(Text(pair, "sends"));
    out["fixed"] = std::move(fixed);
}

Json Action(const xmlNode* row) {
    Json a;
    a["name"] = Text(row, "name");
    a["request"] = Text(row, "request");
    a["agent"] = Text(row, "agent");
    a["hidden"] = Flag(row, "hidden");
    RowContent(row, a);
    return a;
}

Json Report(const xmlNode* row) {
    Json r;
    r["request"] = Text(row, "request");
    r["agent"] = Text(row, "agent");
    r["stylesheet"] = Text(row, "stylesheet");
    r["hidden"] = Flag(row, "hidden");
    auto selector = Attr(row, "selector");
    r["selector"] =
        selector ? Json{{"name", *selector}, {"value", Text(row, "value")}} : Json(nullptr);
    RowContent(row, r);
    Json forbidden = Json::array();
    for (const xmlNode* name : Children(row, "Forbidden")) forbidden.push_back(Text(name, "name"));
    r["forbidden"] = std::move(forbidden);
    return r;
}

std::string RightsName(uint32_t rights) {
    switch (rights) {
        case kReadRights:
            return "read";
        case kAdminRights:
            return "configure";
        default:
            return std::to_string(rights);
    }
}

Json Command(const xmlNode* command, const MessageCatalogue& catalogue) {
    Json c;
    Json words = Json::array();
    const std::string text = Text(command, "words");
    for (size_t pos = 0; pos < text.size();) {
        const size_t end = std::min(text.find(' ', pos), text.size());
        if (end > pos) words.push_back(text.substr(pos, end - pos));
        pos = end + 1;
    }
    c["words"] = std::move(words);
    c["rights"] = RightsName(Number(command, "rights"));
    const auto usage = Children(command, "Usage");
    const auto tables = Children(command, "Tables");
    c["usage"] =
        usage.empty() ? Json(nullptr) : Message(Number(usage.front(), "message"), catalogue);
    if (tables.empty()) return c;
    const xmlNode* t = tables.front();
    c["usage"] = Message(Number(t, "usage"), catalogue);
    c["second"] = Message(Number(t, "second"), catalogue);
    c["stylesheet"] = Text(t, "stylesheet");
    Json actions = Json::array();
    for (const xmlNode* row : Children(t, "Action")) actions.push_back(Action(row));
    c["actions"] = std::move(actions);
    Json reports = Json::array();
    for (const xmlNode* row : Children(t, "Report")) reports.push_back(Report(row));
    c["reports"] = std::move(reports);
    return c;
}

}  // namespace

Outcome Describe(const std::string& program, const Options& opts) {
    if (!opts.words.empty())
        throw HostError(kExitCommandLine,
                        "--describe describes every command; it takes no "
                        "command words (found '" +
                            opts.words.front() + "')");
    EnsureTraceRoot();
    const Locations where = FindLocations();
    const MessageCatalogue catalogue = MessageCatalogue::Load(where.share / "messages.txt");
    const Plugin plugin(where.plugin);
    plugin.RequestDescription();
    Plugin::ResponsePtr resp;
    {
        // Nothing runs, so nothing should be printed; whatever is stays off
        // the document.
        StdoutCapture capture;
        resp = plugin.Send({program.c_str()});
        capture.Finish();
    }
    if (!resp || resp->kind != CLPS_RESP_DESCRIBE || resp->pDataBuf == nullptr)
        throw HostError(kExitFailure, "the storage plug-in gave no description of its commands");
    const std::string xml = resp->pDataBuf;
    const DocPtr doc(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "describe.xml",
                                   nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    const xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (root == nullptr || !Is(root, "Commands"))
        throw HostError(kExitFailure, "the storage plug-in's description is not readable");

    Json dump;
    dump["schema"] = kSchemaVersion;
    dump["program"] = program;
    Json commands = Json::array();
    for (const xmlNode* command : Children(root, "Command"))
        commands.push_back(Command(command, catalogue));
    dump["commands"] = std::move(commands);

    Outcome out;
    out.text = dump.dump(2) + "\n";
    return out;
}

}  // namespace vk::host
