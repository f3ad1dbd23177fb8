// Usage help generated from a command table, and the soundness check of a
// table (what a table must get right for the frame to serve it).
#include <algorithm>
#include <string>

#include "clps_util.h"
#include "frame_internal.h"

namespace clps::frame {

namespace {

bool IsActionRow(const CLPSNVActionRow& row) {
    return row.kind == 1;
}

std::string ParamXml(std::string_view name, bool required, const char* type,
                     const std::vector<std::string_view>& keywords) {
    std::string xml = "<Param name=\"" + vk::XmlEscaped(name) + "\" required=\"" +
                      (required ? "yes" : "no") + "\" type=\"" + type + "\">";
    for (std::string_view k : keywords) xml += "<Keyword>" + vk::XmlEscaped(k) + "</Keyword>";
    xml += "</Param>";
    return xml;
}

// The parameters of one action row, in table order.
std::string ActionParamsXml(const CLPSNVActionRow& row) {
    std::string xml;
    for (std::string_view name : UserNames(row.pParams, row.paramCount)) {
        bool required = false;
        uint32_t type = CLPS_VT_TEXT;
        bool typed = false;
        for (uint32_t i = 0; i < row.paramCount; ++i) {
            const CLPSNVParamRow& p = row.pParams[i];
            if (p.pUserName == nullptr || !EqualsIgnoreCase(p.pUserName, name)) continue;
            required = required || IsRequiredRow(p);
            if (!typed && !IsFixedRow(p)) {
                type = p.valueType;
                typed = true;
            }
        }
        xml +=
            ParamXml(name, required, TypeName(type), KeywordsOf(row.pParams, row.paramCount, name));
    }
    return xml;
}

// For report tables: every parameter the visible rows take, once; required
// when every visible row needs it; a selector lists the values that select.
std::string ReportParamsXml(const CLPSNVActionRow* table, uint32_t rowCount) {
    std::vector<std::string_view> names;
    auto addName = [&](std::string_view n) {
        if (std::none_of(names.begin(), names.end(),
                         [&](std::string_view m) { return EqualsIgnoreCase(m, n); }))
            names.push_back(n);
    };
    uint32_t visible = 0;
    for (uint32_t r = 0; r < rowCount; ++r) {
        const CLPSNVActionRow& row = table[r];
        if ((row.flags & CLPS_ROW_HIDDEN) != 0 || IsActionRow(row)) continue;
        ++visible;
        if (row.kind == 8 && row.pKeyName != nullptr) addName(row.pKeyName);
        for (std::string_view n : UserNames(row.pParams, row.paramCount)) addName(n);
    }
    std::string xml;
    for (std::string_view name : names) {
        uint32_t needing = 0;
        uint32_t type = CLPS_VT_TEXT;
        bool typed = false;
        std::vector<std::string_view> keywords;
        for (uint32_t r = 0; r < rowCount; ++r) {
            const CLPSNVActionRow& row = table[r];
            if ((row.flags & CLPS_ROW_HIDDEN) != 0 || IsActionRow(row)) continue;
            bool needs = false;
            if (row.kind == 8 && row.pKeyName != nullptr && EqualsIgnoreCase(row.pKeyName, name)) {
                needs = true;
                if (row.pKeyValue != nullptr &&
                    std::none_of(keywords.begin(), keywords.end(), [&](std::string_view k) {
                        return EqualsIgnoreCase(k, row.pKeyValue);
                    }))
                    keywords.emplace_back(row.pKeyValue);
            }
            for (uint32_t i = 0; i < row.paramCount; ++i) {
                const CLPSNVParamRow& p = row.pParams[i];
                if (p.pUserName == nullptr || !EqualsIgnoreCase(p.pUserName, name) ||
                    IsFixedRow(p) || p.usage == CLPS_USE_MUST_NOT_GIVE)
                    continue;
                needs = needs || IsRequiredRow(p);
                if (!typed) {
                    type = p.valueType;
                    typed = true;
                }
            }
            if (needs) ++needing;
        }
        xml += ParamXml(name, visible > 0 && needing == visible, TypeName(type), keywords);
    }
    return xml;
}

}  // namespace

std::string BuildUsageXml(std::string_view object, const CLPSNVActionRow* table,
                          uint32_t rowCount) {
    std::string xml = "<Usage object=\"" + vk::XmlEscaped(object) + "\">";
    bool hasReportRows = false;
    for (uint32_t r = 0; r < rowCount; ++r) {
        const CLPSNVActionRow& row = table[r];
        if (!IsActionRow(row)) {
            hasReportRows = true;
            continue;
        }
        // Service and debug actions are accepted but not advertised.
        if ((row.flags & CLPS_ROW_HIDDEN) != 0) continue;
        xml += "<Action name=\"" + vk::XmlEscaped(row.pKeyValue != nullptr ? row.pKeyValue : "") +
               "\">" + ActionParamsXml(row) + "</Action>";
    }
    if (hasReportRows) xml += ReportParamsXml(table, rowCount);
    xml += "</Usage>";
    return xml;
}

std::string CheckTable(const CLPSNVActionRow* table, uint32_t rowCount) {
    if (table == nullptr || rowCount == 0) return "the table has no rows";
    for (uint32_t r = 0; r < rowCount; ++r) {
        const CLPSNVActionRow& row = table[r];
        const std::string where =
            "row " + std::to_string(r) +
            (row.pKeyValue != nullptr ? std::string(" (") + row.pKeyValue + ")" : std::string());
        if (row.kind != 1 && row.kind != 6 && row.kind != 8)
            return where + ": unknown row kind " + std::to_string(row.kind);
        if ((row.kind == 1 || row.kind == 8) &&
            (row.pKeyName == nullptr || row.pKeyValue == nullptr))
            return where + ": a keyed row needs its key name and value";
        if (row.pRequest == nullptr || std::string_view(row.pRequest).rfind("vkacmd=", 0) != 0)
            return where + ": the request must begin with \"vkacmd=\"";
        if (row.pAgent == nullptr || *row.pAgent == '\0') return where + ": no agent";
        if (row.paramCount > 0 && row.pParams == nullptr)
            return where + ": parameter count without parameters";
        if (row.kind == 1) {
            for (uint32_t o = 0; o < r; ++o) {
                if (table[o].kind == 1 && table[o].pKeyValue != nullptr &&
                    EqualsIgnoreCase(table[o].pKeyValue, row.pKeyValue))
                    return where + ": action listed twice";
            }
        }
        for (uint32_t i = 0; i < row.paramCount; ++i) {
            const CLPSNVParamRow& p = row.pParams[i];
            const std::string what = where + ": parameter " +
                                     (p.pUserName != nullptr ? p.pUserName : "(fixed)") + " (" +
                                     (p.pOutput != nullptr ? p.pOutput : "") + ")";
            if (!IsKnownValueType(p.valueType))
                return what + ": unknown value type " + std::to_string(p.valueType);
            if (!IsKnownUsage(p.usage)) return what + ": unknown usage " + std::to_string(p.usage);
            if (p.pUserName == nullptr && p.usage != CLPS_USE_FIXED_PAIR)
                return what + ": only a fixed pair may have no user name";
            if (IsFixedRow(p) && (p.pOutput == nullptr || p.pMatchValue == nullptr))
                return what + ": a fixed row needs its output and value";
            if ((p.usage == CLPS_USE_OPT_KEYWORD || p.usage == CLPS_USE_GROUP_KEYWORD ||
                 p.usage == CLPS_USE_REQ_KEYWORD) &&
                (p.valueType != CLPS_VT_TEXT || p.pMatchValue == nullptr || *p.pMatchValue == '\0'))
                return what + ": a keyword row needs its keyword";
            if ((p.valueType == CLPS_VT_ENCLOSURE || p.valueType == CLPS_VT_DISK ||
                 p.valueType == CLPS_VT_DISK_LIST) &&
                IdentifierFieldCounts(IdentifierForm(p)).empty())
                return what + ": malformed identifier form";
            if (p.pUserName == nullptr) continue;
            for (uint32_t o = 0; o < i; ++o) {
                const CLPSNVParamRow& q = row.pParams[o];
                if (q.pUserName == nullptr || !EqualsIgnoreCase(q.pUserName, p.pUserName)) continue;
                if (IsKeywordRow(p) && IsKeywordRow(q) && p.pMatchValue != nullptr &&
                    q.pMatchValue != nullptr && EqualsIgnoreCase(p.pMatchValue, q.pMatchValue))
                    return what + ": keyword \"" + p.pMatchValue + "\" listed twice";
                if (!IsFixedRow(p) && !IsFixedRow(q) && q.valueType != p.valueType &&
                    q.usage != CLPS_USE_MUST_NOT_GIVE && p.usage != CLPS_USE_MUST_NOT_GIVE)
                    return what + ": rows of one parameter disagree on the value type";
            }
        }
    }
    return {};
}

}  // namespace clps::frame
