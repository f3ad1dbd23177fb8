// Parameter rows of the command frame: what kind of row each is, the value
// forms of the value types and how they are described to the user.
#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "clps_util.h"
#include "frame_internal.h"

namespace clps::frame {

namespace {

struct TypeInfo {
    uint32_t valueType;
    const char* name;            // in the usage help
    uint64_t largest;            // for numbers: the default largest value
    const char* identifierForm;  // for identifiers: the usual form
};

// clang-format off
constexpr std::array kTypes = {
    TypeInfo{CLPS_VT_TEXT,       "text",       0,          nullptr},
    TypeInfo{CLPS_VT_UINT,       "number",     4294967295, nullptr},
    TypeInfo{CLPS_VT_SMALL_UINT, "number",     255,        nullptr},
    TypeInfo{CLPS_VT_RATE,       "rate",       100,        nullptr},
    TypeInfo{CLPS_VT_ENCLOSURE,  "enclosure",  0,          "5,1:4"},
    TypeInfo{CLPS_VT_DISK,       "disk",       0,          "5:31,1:4:31"},
    TypeInfo{CLPS_VT_DISK_LIST,  "disklist",   0,          "5:31,1:4:31"},
};

constexpr std::array kUsages = {
    CLPS_USE_OPTIONAL, CLPS_USE_REQUIRED,     CLPS_USE_FIXED,       CLPS_USE_GROUP,
    CLPS_USE_FIXED_PAIR, CLPS_USE_OPT_KEYWORD, CLPS_USE_GROUP_KEYWORD, CLPS_USE_REQ_KEYWORD,
    CLPS_USE_MUST_GIVE, CLPS_USE_MUST_NOT_GIVE,
};
// clang-format on

const TypeInfo* FindType(uint32_t valueType) {
    for (const auto& t : kTypes) {
        if (t.valueType == valueType) return &t;
    }
    return nullptr;
}

// An unsigned decimal of at most 20 digits; nullopt for anything else.
std::optional<uint64_t> ParseUnsigned(std::string_view text) {
    if (text.empty() || text.size() > 20) return std::nullopt;
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        const auto digit = static_cast<uint64_t>(c - '0');
        if (value > (std::numeric_limits<uint64_t>::max() - digit) / 10) return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

// The largest number a numeric row accepts: its match value when it gives
// one ("7" days), else the type's own.
uint64_t LargestOf(const CLPSNVParamRow& row) {
    if (row.pMatchValue != nullptr) {
        if (auto v = ParseUnsigned(row.pMatchValue)) return *v;
    }
    const TypeInfo* t = FindType(row.valueType);
    return t != nullptr ? t->largest : std::numeric_limits<uint32_t>::max();
}

// Identifier fields are only checked for shape: unsigned numbers, with as
// many fields as the form allows. The numbers in the form are not limits,
// so no real slot or enclosure number is ever refused here.
bool IsIdentifier(std::string_view value, const std::vector<uint32_t>& counts) {
    if (value.empty()) return false;
    uint32_t fields = 0;
    size_t start = 0;
    while (true) {
        const size_t colon = value.find(':', start);
        const std::string_view field = value.substr(start, colon - start);
        if (!ParseUnsigned(field) || field.size() > 10) return false;
        ++fields;
        if (colon == std::string_view::npos) break;
        start = colon + 1;
    }
    return std::find(counts.begin(), counts.end(), fields) != counts.end();
}

// "n:n or n:n:n" for the field counts {2, 3}.
std::string DescribeFieldCounts(const std::vector<uint32_t>& counts) {
    std::string text;
    for (size_t i = 0; i < counts.size(); ++i) {
        if (i > 0) text += i + 1 == counts.size() ? " or " : ", ";
        for (uint32_t f = 0; f < counts[i]; ++f) text += f == 0 ? "n" : ":n";
    }
    return text;
}

}  // namespace

bool IsFixedRow(const CLPSNVParamRow& row) {
    return row.usage == CLPS_USE_FIXED || row.usage == CLPS_USE_FIXED_PAIR;
}

bool IsKeywordRow(const CLPSNVParamRow& row) {
    if (row.valueType != CLPS_VT_TEXT || IsFixedRow(row)) return false;
    if (row.usage == CLPS_USE_OPT_KEYWORD || row.usage == CLPS_USE_GROUP_KEYWORD ||
        row.usage == CLPS_USE_REQ_KEYWORD)
        return true;
    // A text row of another usage that names a match value accepts that one
    // keyword only ("force" giving "Force=yes").
    return row.pMatchValue != nullptr && row.usage != CLPS_USE_MUST_NOT_GIVE;
}

bool IsRequiredRow(const CLPSNVParamRow& row) {
    return row.usage == CLPS_USE_REQUIRED || row.usage == CLPS_USE_REQ_KEYWORD ||
           row.usage == CLPS_USE_MUST_GIVE;
}

bool IsGroupRow(const CLPSNVParamRow& row) {
    return row.usage == CLPS_USE_GROUP || row.usage == CLPS_USE_GROUP_KEYWORD;
}

bool IsKnownValueType(uint32_t valueType) {
    return FindType(valueType) != nullptr;
}

bool IsKnownUsage(uint32_t usage) {
    return std::find(kUsages.begin(), kUsages.end(), usage) != kUsages.end();
}

std::vector<uint32_t> IdentifierFieldCounts(std::string_view form) {
    std::vector<uint32_t> counts;
    size_t start = 0;
    while (true) {
        const size_t comma = form.find(',', start);
        const std::string_view alternative = form.substr(start, comma - start);
        uint32_t fields = 0;
        size_t fieldStart = 0;
        while (true) {
            const size_t colon = alternative.find(':', fieldStart);
            if (!ParseUnsigned(alternative.substr(fieldStart, colon - fieldStart))) return {};
            ++fields;
            if (colon == std::string_view::npos) break;
            fieldStart = colon + 1;
        }
        if (std::find(counts.begin(), counts.end(), fields) == counts.end())
            counts.push_back(fields);
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
    std::sort(counts.begin(), counts.end());
    return counts;
}

std::string_view IdentifierForm(const CLPSNVParamRow& row) {
    if (row.pMatchValue != nullptr && *row.pMatchValue != '\0') return row.pMatchValue;
    const TypeInfo* t = FindType(row.valueType);
    return t != nullptr && t->identifierForm != nullptr ? t->identifierForm : "";
}

bool IsValueOfType(const CLPSNVParamRow& row, std::string_view value) {
    switch (row.valueType) {
        case CLPS_VT_UINT:
        case CLPS_VT_SMALL_UINT:
        case CLPS_VT_RATE: {
            const auto v = ParseUnsigned(value);
            return v.has_value() && *v <= LargestOf(row);
        }
        case CLPS_VT_ENCLOSURE:
        case CLPS_VT_DISK:
            return IsIdentifier(value, IdentifierFieldCounts(IdentifierForm(row)));
        case CLPS_VT_DISK_LIST: {
            const auto counts = IdentifierFieldCounts(IdentifierForm(row));
            size_t start = 0;
            while (true) {
                const size_t comma = value.find(',', start);
                if (!IsIdentifier(value.substr(start, comma - start), counts)) return false;
                if (comma == std::string_view::npos) return true;
                start = comma + 1;
            }
        }
        default:
            // Text, and any type the frame does not know (the table check
            // refuses those): any non-empty text within the row's length.
            return !value.empty() && (row.maxLength == 0 || value.size() <= row.maxLength);
    }
}

std::string DescribeForm(const CLPSNVParamRow& row) {
    switch (row.valueType) {
        case CLPS_VT_UINT:
        case CLPS_VT_SMALL_UINT:
            return "a number from 0 to " + std::to_string(LargestOf(row));
        case CLPS_VT_RATE:
            return "a rate from 0 to " + std::to_string(LargestOf(row));
        case CLPS_VT_ENCLOSURE:
            return "an enclosure identifier " +
                   DescribeFieldCounts(IdentifierFieldCounts(IdentifierForm(row)));
        case CLPS_VT_DISK:
            return "a disk identifier " +
                   DescribeFieldCounts(IdentifierFieldCounts(IdentifierForm(row)));
        case CLPS_VT_DISK_LIST:
            return "a comma-separated list of disk identifiers " +
                   DescribeFieldCounts(IdentifierFieldCounts(IdentifierForm(row)));
        default:
            if (row.maxLength != 0)
                return "a text of 1 to " + std::to_string(row.maxLength) + " characters";
            return "a text";
    }
}

const char* TypeName(uint32_t valueType) {
    const TypeInfo* t = FindType(valueType);
    return t != nullptr ? t->name : "text";
}

std::vector<std::string_view> UserNames(const CLPSNVParamRow* params, uint32_t count) {
    std::vector<std::string_view> names;
    for (uint32_t i = 0; params != nullptr && i < count; ++i) {
        const CLPSNVParamRow& p = params[i];
        if (p.pUserName == nullptr || IsFixedRow(p) || p.usage == CLPS_USE_MUST_NOT_GIVE) continue;
        const bool seen = std::any_of(names.begin(), names.end(), [&](std::string_view n) {
            return EqualsIgnoreCase(n, p.pUserName);
        });
        if (!seen) names.emplace_back(p.pUserName);
    }
    return names;
}

std::vector<std::string_view> KeywordsOf(const CLPSNVParamRow* params, uint32_t count,
                                         std::string_view name) {
    std::vector<std::string_view> keywords;
    for (uint32_t i = 0; params != nullptr && i < count; ++i) {
        const CLPSNVParamRow& p = params[i];
        if (p.pUserName != nullptr && IsKeywordRow(p) && p.pMatchValue != nullptr &&
            EqualsIgnoreCase(p.pUserName, name))
            keywords.emplace_back(p.pMatchValue);
    }
    return keywords;
}

std::string Join(const std::vector<std::string_view>& items, std::string_view separator) {
    std::string text;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) text += separator;
        text += items[i];
    }
    return text;
}

}  // namespace clps::frame
