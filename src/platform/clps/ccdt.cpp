// Command descriptor tables: sorting, row matching, dispatch and rights, and
// the refusal of any word of a command line that no row accounts for.
#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "clps.h"
#include "clps_util.h"
#include "frame_internal.h"
#include "nearest_words.h"

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

bool HasEquals(const char* word) {
    return word != nullptr && std::strchr(word, '=') != nullptr;
}

// True when the row's first level words are argv[0..level).
bool SharesPrefix(const std::vector<std::string_view>& words, size_t level, const char** argv) {
    if (words.size() < level) return false;
    for (size_t i = 0; i < level; ++i) {
        if (argv[i] == nullptr || !clps::EqualsIgnoreCase(words[i], argv[i])) return false;
    }
    return true;
}

// The distinct words rows put at position level after the words argv[0..level)
// they share with the command line, in table order. object tells whether every
// such row has its object there (rather than a further command word).
std::vector<std::string_view> WordsAt(size_t level, const char** argv, const CLPSCCDT* table,
                                      uint32_t count, bool* object = nullptr) {
    std::vector<std::string_view> next;
    if (object != nullptr) *object = true;
    for (uint32_t i = 0; i < count; ++i) {
        if (!RowWellFormed(table[i])) continue;
        const auto words = RowWords(table[i]);
        if (words.size() <= level || !SharesPrefix(words, level, argv)) continue;
        if (object != nullptr && words.size() != level + 1) *object = false;
        if (std::none_of(next.begin(), next.end(), [&](std::string_view w) {
                return clps::EqualsIgnoreCase(w, words[level]);
            }))
            next.push_back(words[level]);
    }
    return next;
}

std::string JoinAll(const std::vector<std::string_view>& words) {
    std::string text;
    for (std::string_view w : words) text += (text.empty() ? "" : ", ") + std::string(w);
    return text;
}

// The refusal of an unknown word at a level where the rows offer next:
// the nearest of them when some are close, else all of them.
CLPSResponse* RefuseUnknownWord(std::string_view word, bool object,
                                const std::vector<std::string_view>& next) {
    const auto nearest = vk::NearestWords(word, next);
    const bool close = !nearest.empty();
    const uint32_t msgId = object ? (close ? CLPS_MSG_UNKNOWN_OBJECT : CLPS_MSG_BAD_OBJECT)
                                  : (close ? CLPS_MSG_UNKNOWN_WORD : CLPS_MSG_BAD_WORD);
    const std::string valid = close ? vk::JoinAlternatives(nearest) : JoinAll(next);
    return CLPSNVSetupMsgRespObj(msgId, 0, std::string(word).c_str(), valid.c_str(), nullptr,
                                 nullptr, nullptr);
}

// No row serves the line: name the first word no row knows, or say what the
// command still needs. Null when not even the first word is ours.
CLPSResponse* RefuseUnmatched(uint32_t argc, const char** argv, const CLPSCCDT* table,
                              uint32_t count) {
    size_t level = 0;
    while (level < argc && argv[level] != nullptr) {
        const auto next = WordsAt(level, argv, table, count);
        if (std::none_of(next.begin(), next.end(), [&](std::string_view w) {
                return clps::EqualsIgnoreCase(w, argv[level]);
            }))
            break;
        ++level;
    }
    if (level == 0) return nullptr;
    bool object = true;
    const auto next = WordsAt(level, argv, table, count, &object);
    if (level < argc && argv[level] != nullptr && !HasEquals(argv[level]))
        return RefuseUnknownWord(argv[level], object, next);
    const std::string words = clps::CommandWords(static_cast<uint32_t>(level), argv);
    return CLPSNVSetupMsgRespObj(CLPS_MSG_NO_MATCHING_ROW, 0, words.c_str(), JoinAll(next).c_str(),
                                 nullptr, nullptr, nullptr);
}

// The first word after the row's own that is no name=value word: the
// handler would never see it as a parameter, so it is refused here before
// anything runs. Right after the row's words it may be a mistyped object.
CLPSResponse* RefuseStrayWord(const CLPSCCDT& row, uint32_t argc, const char** argv,
                              const CLPSCCDT* table, uint32_t count) {
    const size_t level = RowWords(row).size();
    for (size_t i = level; i < argc; ++i) {
        if (argv[i] == nullptr || HasEquals(argv[i])) continue;
        bool object = true;
        const auto next = i == level ? WordsAt(level, argv, table, count, &object)
                                     : std::vector<std::string_view>();
        if (!next.empty()) return RefuseUnknownWord(argv[i], object, next);
        return CLPSNVSetupMsgRespObj(CLPS_MSG_STRAY_WORD, 0, argv[i], "name=value words", nullptr,
                                     nullptr, nullptr);
    }
    return nullptr;
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
    // Describing needs no command line: every row is described.
    if ((CLPSGetHostFlags() & CLPS_HOST_DESCRIBE) != 0)
        return clps::frame::DescribeCommands(table, count);
    if (argv == nullptr || table == nullptr) return nullptr;
    const CLPSCCDT* row = CLPSFindCCDTRow(argc, argv, table, count);
    const bool help = CLPSIsUsageHelp(argc, argv) != 0;
    try {
        // A help word stops the match, so the row found is the deepest
        // command the help word follows: its handler answers with its usage.
        if (row == nullptr) {
            return help ? CLPSSetRespObjUsageXML(argc, argv, 0, 0, nullptr)
                        : RefuseUnmatched(argc, argv, table, count);
        }
        if (!help) {
            if (CLPSResponse* refusal = RefuseStrayWord(*row, argc, argv, table, count))
                return refusal;
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return row->handler(argc, argv);
}

uint32_t CLPSGetRequiredUserRights(uint32_t argc, const char** argv, CLPSCCDT* table,
                                   uint32_t count, uint32_t* /*state*/) {
    const CLPSCCDT* row = CLPSFindCCDTRow(argc, argv, table, count);
    return row != nullptr ? row->rights : 0;
}

}  // extern "C"
