#include "xml_text.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "agent.h"
#include "answer.h"
#include "sqlite.h"
#include "text.h"

namespace kvda {

namespace {

constexpr char32_t kBadSequence = 0xFFFFFFFF;

// Decodes the UTF-8 character at `at` and sets `length` to its bytes; a byte
// that does not begin a well-formed sequence (overlong forms, surrogates and
// values past U+10FFFF included) decodes to kBadSequence with length 1.
char32_t decode(std::string_view s, size_t at, size_t& length) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
    const unsigned char lead = byte(at);
    length = 1;
    if (lead < 0x80) return lead;
    size_t extra = 0;
    char32_t cp = 0;
    char32_t least = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        extra = 1, cp = lead & 0x1F, least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        extra = 2, cp = lead & 0x0F, least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        extra = 3, cp = lead & 0x07, least = 0x10000;
    } else {
        return kBadSequence;
    }
    if (at + extra >= s.size()) return kBadSequence;
    for (size_t i = 1; i <= extra; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return kBadSequence;
        cp = (cp << 6) | (byte(at + i) & 0x3F);
    }
    if (cp < least || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return kBadSequence;
    length = extra + 1;
    return cp;
}

bool xmlChar(char32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Printable on a terminal as well: no C0 or C1 control characters, no DEL.
bool shownAsIs(char32_t c) {
    return xmlChar(c) && c >= 0x20 && !(c >= 0x7F && c <= 0x9F);
}

constexpr char kHex[] = "0123456789ABCDEF";

std::string codePoint(char32_t c) {
    std::string digits;
    for (int shift = c > 0xFFFF ? 20 : 12; shift >= 0; shift -= 4)
        digits += kHex[(c >> shift) & 0xF];
    return "U+" + digits;
}

// A pass phrase is named in a refusal but never shown, as in the journal.
bool hidesValue(std::string_view name) {
    std::string lower;
    for (char c : name) lower += vk::AsciiLower(c);
    return lower.find("passphrase") != std::string::npos;
}

constexpr const char* kTextRule = "values must be UTF-8 text without control characters";

// Profiles nest a few levels; far deeper input is refused before the walk
// could exhaust the stack.
constexpr int kMaxProfileDepth = 64;

// Walks a profile, keeping the JSON path of each item for the message.
void walk(const nlohmann::json& j, const std::string& path, bool tags, int depth) {
    const auto refuse = [&](const std::string& where, const std::string& what) {
        throw Error(where + ": " + what);
    };
    if (depth > kMaxProfileDepth)
        refuse(path, "nested deeper than " + std::to_string(kMaxProfileDepth) + " levels");
    if (j.is_string()) {
        if (std::string fault = xmlTextFault(j.get_ref<const std::string&>()); !fault.empty())
            refuse(path, "'" + shownText(j.get_ref<const std::string&>()) + "': " + fault + "; " +
                             kTextRule);
    } else if (j.is_object()) {
        for (const auto& [key, value] : j.items()) {
            const std::string where = path + "." + shownText(key);
            if (std::string fault = xmlTextFault(key); !fault.empty())
                refuse(where, "the name " + fault + "; " + kTextRule);
            if (tags && !isTagName(key))
                refuse(where,
                       "not a tag name: tags begin with a letter and hold letters, digits, "
                       "'_', '-' and '.' (64 at most)");
            walk(value, where, key == "props" || key == "set", depth + 1);
        }
    } else if (j.is_array()) {
        for (size_t i = 0; i < j.size(); ++i)
            walk(j[i], path + "[" + std::to_string(i) + "]", false, depth + 1);
    }
}

}  // namespace

std::string xmlTextFault(std::string_view text) {
    // Most text is printable ASCII, which needs no decoding.
    const auto plain = [](char ch) {
        const auto b = static_cast<unsigned char>(ch);
        return (b >= 0x20 && b < 0x7F) || b == '\t' || b == '\n' || b == '\r';
    };
    size_t i = 0;
    while (i < text.size() && plain(text[i])) ++i;
    while (i < text.size()) {
        size_t length = 1;
        const char32_t c = decode(text, i, length);
        if (c == kBadSequence) {
            const auto b = static_cast<unsigned char>(text[i]);
            return std::string("byte 0x") + kHex[b >> 4] + kHex[b & 0xF] + " at offset " +
                   std::to_string(i) + " is not UTF-8";
        }
        if (!xmlChar(c))
            return "character " + codePoint(c) + " at offset " + std::to_string(i) +
                   (c < 0x20 ? " is a control character" : " is not allowed in XML");
        i += length;
    }
    return {};
}

std::string shownText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        size_t length = 1;
        const char32_t c = decode(text, i, length);
        if (c != kBadSequence && shownAsIs(c)) {
            out.append(text.substr(i, length));
        } else {
            for (size_t k = 0; k < length; ++k) {
                const auto b = static_cast<unsigned char>(text[i + k]);
                out += "\\x";
                out += kHex[b >> 4];
                out += kHex[b & 0xF];
            }
        }
        i += length;
    }
    return out;
}

void checkRequestText(const std::vector<std::string>& pairs) {
    for (const std::string& pair : pairs) {
        const size_t eq = pair.find('=');
        const std::string_view name = std::string_view(pair).substr(0, eq);
        const std::string_view value =
            eq == std::string::npos ? std::string_view() : std::string_view(pair).substr(eq + 1);
        if (std::string fault = xmlTextFault(name); !fault.empty())
            throw RequestError{status::kBadValue,
                               "bad name '" + shownText(name) + "': " + fault + "; " + kTextRule};
        if (std::string fault = xmlTextFault(value); !fault.empty()) {
            const std::string shown = hidesValue(name) ? "" : " '" + shownText(value) + "'";
            throw RequestError{status::kBadValue, "bad value of " + std::string(name) + shown +
                                                      ": " + fault + "; " + kTextRule};
        }
    }
}

void checkProfileText(const nlohmann::json& profile) {
    walk(profile, "$", false, 0);
}

}  // namespace kvda
