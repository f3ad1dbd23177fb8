#include "vocabulary.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace vk::docgen {

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

std::optional<std::string> OptionalText(const Json& value) {
    if (value.is_null()) return std::nullopt;
    return value.get<std::string>();
}

std::optional<Message> OptionalMessage(const Json& value) {
    if (value.is_null()) return std::nullopt;
    Message m;
    m.number = value.at("message").get<int>();
    m.text = OptionalText(value.at("text")).value_or("");
    return m;
}

Parameter ReadParameter(const Json& p) {
    Parameter out;
    out.name = p.at("name").get<std::string>();
    out.type = p.at("type").get<std::string>();
    out.required = p.at("required").get<bool>();
    out.group = p.at("group").get<bool>();
    out.sends = OptionalText(p.at("sends"));
    out.form = OptionalText(p.at("form"));
    for (const Json& k : p.at("keywords"))
        out.keywords.push_back(
            {k.at("keyword").get<std::string>(), k.at("sends").get<std::string>()});
    return out;
}

Row ReadRow(const Json& r, bool action) {
    Row out;
    if (action) out.action = r.at("name").get<std::string>();
    out.request = r.at("request").get<std::string>();
    out.hidden = r.at("hidden").get<bool>();
    if (!action && !r.at("selector").is_null())
        out.selector = Selector{r["selector"].at("name").get<std::string>(),
                                r["selector"].at("value").get<std::string>()};
    for (const Json& p : r.at("parameters")) out.parameters.push_back(ReadParameter(p));
    for (const Json& f : r.at("fixed")) out.fixed.push_back(f.get<std::string>());
    return out;
}

Command ReadCommand(const Json& c) {
    Command out;
    for (const Json& w : c.at("words")) out.words.push_back(w.get<std::string>());
    if (out.words.empty()) throw InputError("a command without words");
    out.rights = c.at("rights").get<std::string>();
    out.usage = OptionalMessage(c.at("usage"));
    if (c.contains("second")) out.second = OptionalMessage(c["second"]);
    if (c.contains("actions"))
        for (const Json& r : c["actions"]) out.actions.push_back(ReadRow(r, true));
    if (c.contains("reports"))
        for (const Json& r : c["reports"]) out.reports.push_back(ReadRow(r, false));
    return out;
}

std::string Trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r");
    return std::string(text.substr(first, last - first + 1));
}

// \n breaks a line and \\ is a backslash; anything else stays as written.
std::string Unescape(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == 'n' || text[i + 1] == '\\')) {
            out += text[i + 1] == 'n' ? '\n' : '\\';
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace

std::string Command::Line() const {
    std::string line;
    for (const std::string& w : words) line += (line.empty() ? "" : " ") + w;
    return line;
}

bool Vocabulary::IsPrefix(const Command& command) const {
    return std::any_of(commands.begin(), commands.end(), [&](const Command& other) {
        return other.words.size() > command.words.size() &&
               std::equal(command.words.begin(), command.words.end(), other.words.begin());
    });
}

std::vector<const Command*> Vocabulary::Served(std::string_view program) const {
    std::vector<const Command*> served;
    for (const Command& c : commands)
        if (c.words.front() == program && !IsPrefix(c)) served.push_back(&c);
    return served;
}

Vocabulary ParseVocabulary(const std::string& json, const std::string& origin) {
    try {
        const Json dump = Json::parse(json);
        if (dump.at("schema").get<int>() != 1)
            throw InputError("schema " + dump["schema"].dump() + " is not the one read here (1)");
        Vocabulary v;
        for (const Json& c : dump.at("commands")) v.commands.push_back(ReadCommand(c));
        if (v.commands.empty()) throw InputError("it describes no commands");
        return v;
    } catch (const Json::exception& e) {
        throw InputError(origin + ": " + e.what());
    } catch (const InputError& e) {
        throw InputError(origin + ": " + e.what());
    }
}

Catalogue ParseCatalogue(const std::string& text, const std::string& origin) {
    Catalogue catalogue;
    std::istringstream in(text);
    std::string comment;       // the comment block read last
    bool commentOpen = false;  // no blank line since it
    CatalogueGroup* current = nullptr;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string trimmed = Trim(line);
        if (trimmed.empty()) {
            commentOpen = false;
            continue;
        }
        if (trimmed.front() == '#') {
            if (!commentOpen) comment.clear();
            const std::string part = Trim(std::string_view(trimmed).substr(1));
            comment += (comment.empty() ? "" : " ") + part;
            commentOpen = true;
            current = nullptr;
            continue;
        }
        const auto tab = line.find('\t');
        const std::string digits = line.substr(0, tab);
        if (tab == std::string::npos || digits.empty() ||
            !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
            throw InputError(origin + ":" + std::to_string(number) +
                             ": expected NUMBER<TAB>TEXT, found '" + trimmed + "'");
        if (current == nullptr) {
            // A comment block directly above a run of entries heads it.
            catalogue.groups.push_back({commentOpen ? comment : std::string(), {}});
            current = &catalogue.groups.back();
            commentOpen = false;
        }
        current->messages.push_back({std::stoi(digits), Unescape(line.substr(tab + 1))});
    }
    return catalogue;
}

std::vector<Profile> ReadProfiles(const fs::path& dir) {
    std::vector<Profile> profiles;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir, ec)) {
        if (entry.path().extension() != ".json") continue;
        try {
            const Json j = Json::parse(ReadText(entry.path()));
            profiles.push_back({entry.path().stem().string(), j.value("description", "")});
        } catch (const Json::exception& e) {
            throw InputError(entry.path().string() + ": " + e.what());
        }
    }
    if (ec) throw InputError(dir.string() + ": " + ec.message());
    std::sort(profiles.begin(), profiles.end(),
              [](const Profile& a, const Profile& b) { return a.name < b.name; });
    return profiles;
}

std::string ReadText(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw InputError("cannot read " + file.string());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace vk::docgen
