#include "roff.h"

#include <sstream>

#include "vocabulary.h"

namespace vk::docgen::roff {

namespace {

std::string Escaped(std::string_view text, bool literal) {
    std::string out;
    // A text line that starts with . or ' would be a request.
    if (!text.empty() && (text.front() == '.' || text.front() == '\'')) out += "\\&";
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-' && literal)
            out += "\\-";
        else
            out += c;
    }
    return out;
}

}  // namespace

std::string Text(std::string_view text) {
    return Escaped(text, false);
}

std::string Literal(std::string_view word) {
    return Escaped(word, true);
}

std::string Bold(std::string_view word) {
    return "\\fB" + Literal(word) + "\\fR";
}

std::string Italic(std::string_view word) {
    return "\\fI" + Literal(word) + "\\fR";
}

std::string Lines(std::string_view text) {
    std::string out;
    size_t pos = 0;
    bool first = true;
    while (pos <= text.size()) {
        const size_t end = std::min(text.find('\n', pos), text.size());
        const std::string_view line = text.substr(pos, end - pos);
        if (!first) out += line.empty() ? ".sp\n" : ".br\n";
        if (!line.empty()) out += Text(line) + "\n";
        first = false;
        pos = end + 1;
    }
    return out;
}

std::string FillTemplate(std::string_view text, const std::string& origin,
                         const std::map<std::string, std::function<std::string()>>& sections,
                         const std::string& version) {
    std::string out;
    std::istringstream in{std::string(text)};
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.size() > 2 && line.front() == '@' && line.back() == '@') {
            const std::string name = line.substr(1, line.size() - 2);
            const auto section = sections.find(name);
            if (section == sections.end())
                throw InputError(origin + ":" + std::to_string(number) + ": no section is named " +
                                 line);
            out += section->second();
            continue;
        }
        for (size_t at; (at = line.find("@VERSION@")) != std::string::npos;)
            line.replace(at, 9, version);
        out += line + "\n";
    }
    return out;
}

}  // namespace vk::docgen::roff
