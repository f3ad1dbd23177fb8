// The soundness checks of command tables and command descriptor tables:
// what a table must get right for the frame and the dispatcher to serve it.
// Each answers the first fault it finds, in words that name the row.
#include <algorithm>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

#include "clps_util.h"
#include "frame_internal.h"

namespace clps::frame {

namespace {

constexpr uint32_t kKnownFlags = CLPS_ROW_HIDDEN | CLPS_ROW_SYSTEM;

bool IsEmpty(const CLPSNVActionRow& row) {
    return row.kind == 0 && row.pKeyName == nullptr && row.pRequest == nullptr &&
           row.pKeyValue == nullptr && row.pAgent == nullptr && row.pParams == nullptr &&
           row.paramCount == 0 && row.pStyleSheet == nullptr && row.flags == 0;
}

bool IsEmpty(const CLPSNVParamRow& p) {
    return p.pUserName == nullptr && p.pOutput == nullptr && p.valueType == 0 && p.usage == 0 &&
           p.pMatchValue == nullptr && p.maxLength == 0;
}

bool IsKeyed(const CLPSNVActionRow& row) {
    return row.kind == CLPS_ROW_ACTION || row.kind == CLPS_ROW_SELECTOR;
}

bool IsKeywordUsage(uint32_t usage) {
    return usage == CLPS_USE_OPT_KEYWORD || usage == CLPS_USE_GROUP_KEYWORD ||
           usage == CLPS_USE_REQ_KEYWORD;
}

bool IsIdentifierType(uint32_t valueType) {
    return valueType == CLPS_VT_ENCLOSURE || valueType == CLPS_VT_DISK ||
           valueType == CLPS_VT_DISK_LIST;
}

bool Same(const char* a, const char* b) {
    return a != nullptr && b != nullptr && EqualsIgnoreCase(a, b);
}

std::string Text(const char* s) {
    return s != nullptr ? std::string(s) : std::string();
}

// The faults of one parameter row on its own.
std::string CheckParam(const CLPSNVActionRow& row, const CLPSNVParamRow& p) {
    if (!IsKnownValueType(p.valueType)) return "unknown value type " + std::to_string(p.valueType);
    if (!IsKnownUsage(p.usage)) return "unknown usage " + std::to_string(p.usage);
    if ((p.usage == CLPS_USE_MUST_GIVE || p.usage == CLPS_USE_MUST_NOT_GIVE) &&
        row.kind == CLPS_ROW_ACTION)
        return "usage " + std::to_string(p.usage) + " belongs to report rows";
    if (p.pUserName == nullptr && p.usage != CLPS_USE_FIXED_PAIR)
        return "only a fixed pair may have no user name";
    if (p.pUserName != nullptr && *p.pUserName == '\0') return "an empty user name";
    // A selector row may send its selector; an action's key is never sent.
    if (row.kind == CLPS_ROW_ACTION && Same(p.pUserName, row.pKeyName))
        return "a parameter named like the action key";
    if (IsFixedRow(p) && (p.pOutput == nullptr || p.pMatchValue == nullptr))
        return "a fixed row needs its output and value";
    if (IsKeywordUsage(p.usage) &&
        (p.valueType != CLPS_VT_TEXT || p.pMatchValue == nullptr || *p.pMatchValue == '\0'))
        return "a keyword row needs its keyword";
    if (IsIdentifierType(p.valueType) && IdentifierFieldCounts(IdentifierForm(p)).empty())
        return "malformed identifier form";
    return {};
}

// The faults between a parameter row and the rows before it of one name.
std::string CheckParamAgainst(const CLPSNVParamRow& p, const CLPSNVParamRow& q) {
    if (p.pUserName == nullptr || !Same(q.pUserName, p.pUserName)) return {};
    const bool pKeyword = IsKeywordRow(p);
    const bool qKeyword = IsKeywordRow(q);
    if (pKeyword && qKeyword && Same(p.pMatchValue, q.pMatchValue))
        return "keyword \"" + Text(p.pMatchValue) + "\" listed twice";
    if (IsFixedRow(p) || IsFixedRow(q)) return {};
    if (q.usage == CLPS_USE_MUST_NOT_GIVE || p.usage == CLPS_USE_MUST_NOT_GIVE) return {};
    if (q.valueType != p.valueType) return "rows of one parameter disagree on the value type";
    // A second typed row of one name could never be reached.
    if (!pKeyword && !qKeyword) return "listed twice";
    return {};
}

std::string CheckRow(const CLPSNVActionRow* table, uint32_t r) {
    const CLPSNVActionRow& row = table[r];
    if (IsEmpty(row)) return "an empty row";
    if (row.kind != CLPS_ROW_ACTION && row.kind != CLPS_ROW_REPORT && row.kind != CLPS_ROW_SELECTOR)
        return "unknown row kind " + std::to_string(row.kind);
    if ((row.flags & ~kKnownFlags) != 0) return "unknown row flags " + std::to_string(row.flags);
    if (IsKeyed(row) && (row.pKeyName == nullptr || row.pKeyValue == nullptr ||
                         *row.pKeyName == '\0' || *row.pKeyValue == '\0'))
        return "a keyed row needs its key name and value";
    if (!IsKeyed(row) && (row.pKeyName != nullptr || row.pKeyValue != nullptr))
        return "a report row has no key";
    if (row.pRequest == nullptr || std::string_view(row.pRequest).rfind("vkacmd=", 0) != 0 ||
        std::string_view(row.pRequest).size() == 7)
        return "the request must begin with \"vkacmd=\" and name one";
    if (row.pAgent == nullptr || *row.pAgent == '\0') return "no agent";
    if (row.paramCount > 0 && row.pParams == nullptr) return "parameter count without parameters";
    for (uint32_t o = 0; o < r; ++o) {
        const CLPSNVActionRow& other = table[o];
        if (row.kind == CLPS_ROW_ACTION && other.kind == CLPS_ROW_ACTION &&
            Same(other.pKeyValue, row.pKeyValue))
            return "action listed twice";
        if (row.kind == CLPS_ROW_SELECTOR && other.kind == CLPS_ROW_SELECTOR &&
            Same(other.pKeyName, row.pKeyName) && Same(other.pKeyValue, row.pKeyValue))
            return "selector value listed twice";
    }
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        const std::string what = "parameter " + std::to_string(i) + " " +
                                 (p.pUserName != nullptr ? p.pUserName : "(fixed)") + " (" +
                                 Text(p.pOutput) + "): ";
        if (IsEmpty(p)) return what + "an empty row";
        if (std::string fault = CheckParam(row, p); !fault.empty()) return what + fault;
        for (uint32_t o = 0; o < i; ++o) {
            if (std::string fault = CheckParamAgainst(p, row.pParams[o]); !fault.empty())
                return what + fault;
        }
    }
    return {};
}

bool IsEmpty(const CLPSCCDT& row) {
    return row.pCmd == nullptr && row.pObj == nullptr && row.handler == nullptr && row.rights == 0;
}

// The words of a row, blanks collapsed and lower-cased, for comparison.
std::string NormalWords(const CLPSCCDT& row) {
    std::string words;
    for (std::string_view part : {std::string_view(row.pCmd), std::string_view(row.pObj)}) {
        size_t pos = 0;
        while (pos < part.size()) {
            const size_t start = part.find_first_not_of(' ', pos);
            if (start == std::string_view::npos) break;
            const size_t end = std::min(part.find(' ', start), part.size());
            if (!words.empty()) words += ' ';
            for (char c : part.substr(start, end - start))
                words += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            pos = end;
        }
    }
    return words;
}

std::string CheckCommandRow(const CLPSCCDT* table, uint32_t r) {
    const CLPSCCDT& row = table[r];
    if (IsEmpty(row)) return "an empty row";
    if (row.pCmd == nullptr ||
        std::string_view(row.pCmd).find_first_not_of(' ') == std::string_view::npos)
        return "no command words";
    if (row.pObj == nullptr || *row.pObj == '\0' ||
        std::string_view(row.pObj).find(' ') != std::string_view::npos)
        return "the object must be one word";
    if (row.handler == nullptr) return "no handler";
    if (row.rights != CLPS_RIGHTS_READ && row.rights != CLPS_RIGHTS_CONFIGURE)
        return "unknown rights " + std::to_string(row.rights);
    const std::string words = NormalWords(row);
    for (uint32_t o = 0; o < r; ++o) {
        if (!IsEmpty(table[o]) && table[o].pCmd != nullptr && table[o].pObj != nullptr &&
            NormalWords(table[o]) == words)
            return "command listed twice";
    }
    return {};
}

}  // namespace

std::string CheckTable(const CLPSNVActionRow* table, uint32_t rowCount) {
    if (table == nullptr || rowCount == 0) return "the table has no rows";
    for (uint32_t r = 0; r < rowCount; ++r) {
        if (std::string fault = CheckRow(table, r); !fault.empty()) {
            const char* key = table[r].pKeyValue;
            return "row " + std::to_string(r) + (key != nullptr ? " (" + Text(key) + ")" : "") +
                   ": " + fault;
        }
    }
    return {};
}

std::string CheckCommandTable(const CLPSCCDT* table, uint32_t count) {
    if (table == nullptr || count == 0) return "the table has no rows";
    for (uint32_t r = 0; r < count; ++r) {
        if (std::string fault = CheckCommandRow(table, r); !fault.empty()) {
            const CLPSCCDT& row = table[r];
            const std::string words = row.pCmd != nullptr && row.pObj != nullptr
                                          ? " (" + Text(row.pCmd) + " " + Text(row.pObj) + ")"
                                          : "";
            return "row " + std::to_string(r) + words + ": " + fault;
        }
    }
    return {};
}

}  // namespace clps::frame

extern "C" {

int32_t CLPSCheckCCDT(const CLPSCCDT* table, uint32_t count, char* problem, uint32_t problemSize) {
    try {
        const std::string what = clps::frame::CheckCommandTable(table, count);
        if (problem != nullptr && problemSize > 0) {
            std::snprintf(problem, problemSize, "%s", what.c_str());
        }
        return what.empty() ? 0 : 1;
    } catch (const std::bad_alloc&) {
        return 1;
    }
}

}  // extern "C"
