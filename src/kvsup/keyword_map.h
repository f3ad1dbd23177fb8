// A keyword map: rows of (agent value, user keyword), serving both
// directions. Value to keyword is exact; keyword to value ignores ASCII
// case and the first row with the keyword wins.
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
};

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
        if (strcmpCaseIgnore(text.c_str(), row.keyword) == 0) {
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

}  // namespace kvsup::detail

#endif
