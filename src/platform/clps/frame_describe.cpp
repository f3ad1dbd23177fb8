// Descriptions of command tables for programs that build on them (completion,
// manual pages, tests): what the frame would accept, row by row, as the
// frame itself reads the rows. Also the handlers' way to hand the frame all
// the tables they choose from, and the walk over a command descriptor table
// that asks every handler for its description.
#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "clps_util.h"
#include "frame_internal.h"

namespace clps::frame {

namespace {

using ResponsePtr = std::unique_ptr<CLPSResponse, ResponseDeleter>;

std::string Attr(std::string_view name, std::string_view value) {
    return " " + std::string(name) + "=\"" + vk::XmlEscaped(value) + "\"";
}

std::string Attr(std::string_view name, uint32_t value) {
    return Attr(name, std::to_string(value));
}

std::string YesNo(bool value) {
    return value ? "yes" : "no";
}

bool IsNumberType(uint32_t valueType) {
    return valueType == CLPS_VT_UINT || valueType == CLPS_VT_SMALL_UINT ||
           valueType == CLPS_VT_RATE;
}

// One parameter the user may give, from all of its rows.
std::string ParamXml(const CLPSNVActionRow& row, std::string_view name) {
    bool required = false;
    bool group = false;
    const CLPSNVParamRow* typed = nullptr;
    std::string keywords;
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.pUserName == nullptr || !EqualsIgnoreCase(p.pUserName, name) || IsFixedRow(p) ||
            p.usage == CLPS_USE_MUST_NOT_GIVE)
            continue;
        required = required || IsRequiredRow(p);
        group = group || IsGroupRow(p);
        if (IsKeywordRow(p)) {
            keywords += "<Keyword" + Attr("value", p.pMatchValue) +
                        Attr("sends", p.pOutput != nullptr ? p.pOutput : "") + "/>";
        } else if (typed == nullptr) {
            typed = &p;
        }
    }
    // A name with keyword rows only takes text: one of its keywords.
    CLPSNVParamRow shown = typed != nullptr ? *typed : CLPSNVParamRow{};
    if (typed == nullptr) shown.valueType = CLPS_VT_TEXT;
    // Numbers of report rows carry a format pattern, not a limit.
    if (row.kind != CLPS_ROW_ACTION && IsNumberType(shown.valueType)) shown.pMatchValue = nullptr;
    std::string xml = "<Param" + Attr("name", name) + Attr("type", TypeName(shown.valueType)) +
                      Attr("valueType", shown.valueType) + Attr("required", YesNo(required)) +
                      Attr("group", YesNo(group));
    if (typed != nullptr) {
        xml += Attr("sends", typed->pOutput != nullptr ? typed->pOutput : "") +
               Attr("form", DescribeForm(shown)) + Attr("maxLength", typed->maxLength);
    }
    return xml + ">" + keywords + "</Param>";
}

// The parameters, the names a report row must not be given, and the pairs
// sent whatever the user gives.
std::string RowContentXml(const CLPSNVActionRow& row) {
    std::string xml;
    for (std::string_view name : UserNames(row.pParams, row.paramCount)) xml += ParamXml(row, name);
    for (uint32_t i = 0; i < row.paramCount; ++i) {
        const CLPSNVParamRow& p = row.pParams[i];
        if (p.usage == CLPS_USE_MUST_NOT_GIVE && p.pUserName != nullptr)
            xml += "<Forbidden" + Attr("name", p.pUserName) + "/>";
        if (IsFixedRow(p) && p.pOutput != nullptr && p.pMatchValue != nullptr)
            xml += "<Fixed" + Attr("sends", std::string(p.pOutput) + p.pMatchValue) + "/>";
    }
    return xml;
}

std::string RowXml(const CLPSNVActionRow& row, const char* styleSheet) {
    const bool hidden = (row.flags & CLPS_ROW_HIDDEN) != 0;
    const std::string common = Attr("request", row.pRequest != nullptr ? row.pRequest : "") +
                               Attr("agent", row.pAgent != nullptr ? row.pAgent : "") +
                               Attr("hidden", YesNo(hidden));
    if (row.kind == CLPS_ROW_ACTION) {
        return "<Action" + Attr("name", row.pKeyValue != nullptr ? row.pKeyValue : "") + common +
               ">" + RowContentXml(row) + "</Action>";
    }
    std::string xml = "<Report" + common +
                      Attr("stylesheet", row.pStyleSheet != nullptr ? row.pStyleSheet
                                         : styleSheet != nullptr    ? styleSheet
                                                                    : "");
    if (row.kind == CLPS_ROW_SELECTOR && row.pKeyName != nullptr && row.pKeyValue != nullptr)
        xml += Attr("selector", row.pKeyName) + Attr("value", row.pKeyValue);
    return xml + ">" + RowContentXml(row) + "</Report>";
}

// The words of a command descriptor row, as a command line gives them.
std::vector<std::string> RowWords(const CLPSCCDT& row) {
    std::vector<std::string> words;
    const std::string_view cmd = row.pCmd != nullptr ? row.pCmd : "";
    size_t pos = 0;
    while (pos < cmd.size()) {
        const size_t start = cmd.find_first_not_of(' ', pos);
        if (start == std::string_view::npos) break;
        const size_t end = std::min(cmd.find(' ', start), cmd.size());
        words.emplace_back(cmd.substr(start, end - start));
        pos = end;
    }
    if (row.pObj != nullptr) words.emplace_back(row.pObj);
    return words;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& w : words) text += (text.empty() ? "" : " ") + w;
    return text;
}

// What one handler answers when asked for its description.
std::string CommandXml(const CLPSCCDT& row) {
    std::vector<std::string> words = RowWords(row);
    std::string xml = "<Command" + Attr("words", Joined(words)) + Attr("rights", row.rights) + ">";
    if (row.handler == nullptr) return xml + "</Command>";
    // Handlers that serve help themselves (a bare command, the alert log)
    // answer it with their usage instead of doing any work.
    words.emplace_back("-?");
    std::vector<const char*> argv;
    for (const std::string& w : words) argv.push_back(w.c_str());
    const ResponsePtr resp(row.handler(static_cast<uint32_t>(argv.size()), argv.data()));
    if (resp && resp->kind == CLPS_RESP_DESCRIBE && resp->pDataBuf != nullptr) {
        xml += resp->pDataBuf;
    } else if (resp && resp->kind == CLPS_RESP_USAGE) {
        xml += "<Usage" + Attr("message", resp->msgId) + "/>";
    }
    return xml + "</Command>";
}

CLPSResponse* DescribeResponse(const std::string& xml) {
    ResponsePtr resp(CLPSAllocResponse());
    if (!resp) return nullptr;
    resp->kind = CLPS_RESP_DESCRIBE;
    if (CLPSSetRespData(resp.get(), xml.c_str()) != 0) return nullptr;
    return resp.release();
}

}  // namespace

CLPSResponse* DescribeTable(uint32_t usageMsgId, uint32_t secondMsgId, const CLPSNVActionRow* table,
                            uint32_t rowCount, const char* styleSheet) try {
    std::string xml = "<Tables" + Attr("usage", usageMsgId) + Attr("second", secondMsgId) +
                      Attr("stylesheet", styleSheet != nullptr ? styleSheet : "") + ">";
    for (uint32_t r = 0; table != nullptr && r < rowCount; ++r) xml += RowXml(table[r], styleSheet);
    xml += "</Tables>";
    return DescribeResponse(xml);
} catch (const std::bad_alloc&) {
    return nullptr;
}

CLPSResponse* DescribeCommands(const CLPSCCDT* table, uint32_t count) try {
    // In the order of the words, so that the description does not depend on
    // the order of the source or of the sort at load.
    std::vector<const CLPSCCDT*> rows;
    for (uint32_t i = 0; table != nullptr && i < count; ++i) rows.push_back(&table[i]);
    std::sort(rows.begin(), rows.end(), [](const CLPSCCDT* a, const CLPSCCDT* b) {
        return Joined(RowWords(*a)) < Joined(RowWords(*b));
    });
    std::string xml = "<Commands>";
    for (const CLPSCCDT* row : rows) xml += CommandXml(*row);
    xml += "</Commands>";
    return DescribeResponse(xml);
} catch (const std::bad_alloc&) {
    return nullptr;
}

}  // namespace clps::frame

extern "C" {

CLPSResponse* CLPSNVCmdConfigFuncTables(uint32_t argc, const char** argv, uint32_t usageMsgId,
                                        uint32_t secondMsgId, const CLPSNVTable* tables,
                                        uint32_t tableCount, uint32_t chosen,
                                        const char* styleSheet) {
    if (tables == nullptr || tableCount == 0)
        return CLPSNVCmdConfigFunc(argc, argv, usageMsgId, secondMsgId, nullptr, 0, styleSheet,
                                   nullptr);
    const bool everyTable =
        (CLPSGetHostFlags() & CLPS_HOST_DESCRIBE) != 0 || CLPSIsUsageHelp(argc, argv) != 0;
    if (!everyTable) {
        const CLPSNVTable& table = tables[std::min(chosen, tableCount - 1)];
        return CLPSNVCmdConfigFunc(argc, argv, usageMsgId, secondMsgId, table.pRows, table.rowCount,
                                   styleSheet, table.validate);
    }
    try {
        // Nothing is sent for help or a description, so no callback is needed.
        std::vector<CLPSNVActionRow> rows;
        for (uint32_t t = 0; t < tableCount; ++t) {
            const CLPSNVTable& table = tables[t];
            if (table.pRows != nullptr)
                rows.insert(rows.end(), table.pRows, table.pRows + table.rowCount);
        }
        return CLPSNVCmdConfigFunc(argc, argv, usageMsgId, secondMsgId, rows.data(),
                                   static_cast<uint32_t>(rows.size()), styleSheet, nullptr);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // extern "C"
