// Command descriptor tables: sorting, row matching, dispatch and rights.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "clps.h"
#include "clps_util.h"
#include "frame_internal.h"

namespace {

constexpr uint32_t kSortedMark = 0x534f5254u;  // state word once a table is sorted

// Splits a command text at blanks.
std::vector<std::string_view> SplitWords(std::string_view text) {
    std::vector<std::string_view> words;
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t start = text.find_first_not_of(' ', pos);
        if (start == std::string_view::npos) break;
        const size_t end = std::min(text.find(' ', start), text.size());
        words.push_back(text.substr(start, end - start));
        pos = end;
    }
    return words;
}

// The words a row stands for: those of its command, then its object.
std::vector<std::string_view> RowWords(const CLPSCCDT& row) {
    std::vector<std::string_view> words = SplitWords(row.pCmd);
    words.emplace_back(row.pObj);
    return words;
}

bool RowMatches(const std::vector<std::string_view>& words, uint32_t argc, const char** argv) {
    if (words.size() > argc) return false;
    for (size_t i = 0; i < words.size(); ++i) {
        if (argv[i] == nullptr || !clps::EqualsIgnoreCase(words[i], argv[i])) return false;
    }
    return true;
}

bool RowWellFormed(const CLPSCCDT& row) {
    return row.pCmd != nullptr && row.pObj != nullptr && row.handler != nullptr &&
           !SplitWords(row.pCmd).empty() && *row.pObj != '\0' &&
           std::strchr(row.pObj, ' ') == nullptr;
}

bool SameWords(const CLPSCCDT& a, const CLPSCCDT& b) {
    const auto wa = RowWords(a);
    const auto wb = RowWords(b);
    return std::equal(
        wa.begin(), wa.end(), wb.begin(), wb.end(),
        [](std::string_view x, std::string_view y) { return clps::EqualsIgnoreCase(x, y); });
}

}  // namespace

extern "C" {

int32_t CLPSSortCCDT(CLPSCCDT* table, uint32_t count, uint32_t* state) {
    if (table == nullptr || count == 0) return 1;
    try {
        for (uint32_t i = 0; i < count; ++i) {
            if (!RowWellFormed(table[i])) return 2;
            // Two rows for the same words would make a command ambiguous.
            for (uint32_t j = 0; j < i; ++j) {
                if (SameWords(table[i], table[j])) return 3;
            }
        }
        std::stable_sort(table, table + count, [](const CLPSCCDT& a, const CLPSCCDT& b) {
            return RowWords(a).size() > RowWords(b).size();
        });
    } catch (const std::bad_alloc&) {
        return 4;
    }
    if (state != nullptr) *state = kSortedMark;
    return 0;
}

const CLPSCCDT* CLPSFindCCDTRow(uint32_t argc, const char** argv, const CLPSCCDT* table,
                                uint32_t count) {
    if (argv == nullptr || table == nullptr) return nullptr;
    const CLPSCCDT* best = nullptr;
    size_t bestWords = 0;
    try {
        for (uint32_t i = 0; i < count; ++i) {
            if (!RowWellFormed(table[i])) continue;
            const auto words = RowWords(table[i]);
            if (words.size() > bestWords && RowMatches(words, argc, argv)) {
                best = &table[i];
                bestWords = words.size();
            }
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return best;
}

CLPSResponse* CLPSSendRequest(uint32_t argc, const char** argv, CLPSCCDT* table, uint32_t count,
                              uint32_t* /*state*/) {
    if ((CLPSGetHostFlags() & CLPS_HOST_DESCRIBE) != 0)
        return clps::frame::DescribeCommands(table, count);
    const CLPSCCDT* row = CLPSFindCCDTRow(argc, argv, table, count);
    return row != nullptr ? row->handler(argc, argv) : nullptr;
}

uint32_t CLPSGetRequiredUserRights(uint32_t argc, const char** argv, CLPSCCDT* table,
                                   uint32_t count, uint32_t* /*state*/) {
    const CLPSCCDT* row = CLPSFindCCDTRow(argc, argv, table, count);
    return row != nullptr ? row->rights : 0;
}

}  // extern "C"
