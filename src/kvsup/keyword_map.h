// A keyword map: rows of (agent value, user keyword), serving both
// directions. Value to keyword is exact; keyword to value ignores ASCII
// case and skips the rows that only name a value.
#ifndef VK_KVSUP_KEYWORD_MAP_H
#define VK_KVSUP_KEYWORD_MAP_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "da.h"
#include "kvsup.h"

namespace kvsup::detail {

template <typename Value>
struct KeywordRow {
    Value value;
    const char* keyword;
    // The keyword names this value too, but is read back as an earlier
    // row's value: "r10" for both RAID 10 layouts.
    bool shownOnly = false;
};

inline constexpr bool kShownOnly = true;

template <typename Value>
std::string_view KeywordFor(std::span<const KeywordRow<Value>> rows, Value value) {
    for (const auto& row : rows) {
        if (row.value == value) {
            return row.keyword;
        }
    }
    return "";
}

template <typename Value>
Value ValueFor(std::span<const KeywordRow<Value>> rows, std::string_view keyword, Value none) {
    const std::string text(keyword);
    for (const auto& row : rows) {
        if (!row.shownOnly && strcmpCaseIgnore(text.c_str(), row.keyword) == 0) {
            return row.value;
        }
    }
    return none;
}

// The value-to-keyword readers: entry and exit lines with their own name,
// the keyword (empty when the value has none) and 0.
template <typename Value>
int32_t TracedKeywordFor(const char* name, std::span<const KeywordRow<Value>> rows, Value value,
                         std::string& out) {
    da::ScopedFunctionTrace trace(name);
    out = KeywordFor(rows, value);
    return 0;
}

// Empty when the map is sound, else its first fault: no rows, a row
// without its keyword, a value named twice, or a keyword read back as two
// values (case ignored) where the later row is not marked shown only.
template <typename Value>
std::string CheckKeywordMap(std::span<const KeywordRow<Value>> rows) {
    if (rows.empty()) return "the map has no rows";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const KeywordRow<Value>& row = rows[i];
        const std::string where =
            "row " + std::to_string(i) + " (" + std::to_string(row.value) + ")";
        if (row.keyword == nullptr || *row.keyword == '\0') return where + ": no keyword";
        for (std::size_t o = 0; o < i; ++o) {
            if (rows[o].value == row.value) return where + ": value named twice";
            if (!row.shownOnly && strcmpCaseIgnore(rows[o].keyword, row.keyword) == 0)
                return where + ": keyword \"" + row.keyword + "\" read back as two values";
        }
    }
    return {};
}

}  // namespace kvsup::detail

#endif
