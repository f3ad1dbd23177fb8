// Usage help generated from a command table.
#include <algorithm>
#include <string>

#include "clps_util.h"
#include "frame_internal.h"

namespace clps::frame {

namespace {

bool IsActionRow(const CLPSNVActionRow& row) {
    return row.kind == CLPS_ROW_ACTION;
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
        if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr) addName(row.pKeyName);
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
            if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr &&
                EqualsIgnoreCase(row.pKeyName, name)) {
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

}  // namespace clps::frame
