// Small text helpers shared by every module: ASCII case-insensitive
// comparison (keywords from users) and XML escaping (values put into
// answers and documents). Header-only, so each library keeps its own copy
// and no module depends on another for them.
#pragma once

#include <string>
#include <string_view>

namespace vk {

constexpr char AsciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

constexpr bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
    }
    return true;
}

// Appends text with the five XML special characters escaped; plain runs are
// appended whole (answers are mostly plain text).
inline void AppendXmlEscaped(std::string& out, std::string_view text) {
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t special = text.find_first_of("&<>\"'", start);
        out.append(text.substr(start, special - start));
        if (special == std::string_view::npos) return;
        switch (text[special]) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += "&apos;";
        }
        start = special + 1;
    }
}

inline std::string XmlEscaped(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    AppendXmlEscaped(out, text);
    return out;
}

}  // namespace vk
