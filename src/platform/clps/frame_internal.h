// The table-driven command frame's own pieces (not exported): reading the
// parameter rows, checking values, describing forms and building usage help.
#ifndef VK_PLATFORM_CLPS_FRAME_INTERNAL_H
#define VK_PLATFORM_CLPS_FRAME_INTERNAL_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "clps.h"

namespace clps::frame {

// A row the user never types: its pair is sent whatever the user gave.
bool IsFixedRow(const CLPSNVParamRow& row);
// One accepted keyword of a parameter: the pair is sent as it stands.
bool IsKeywordRow(const CLPSNVParamRow& row);
// The row's parameter must be given for the row to be usable.
bool IsRequiredRow(const CLPSNVParamRow& row);
// A member of the action's property group.
bool IsGroupRow(const CLPSNVParamRow& row);
bool IsKnownValueType(uint32_t valueType);
bool IsKnownUsage(uint32_t usage);

// The identifier form of a row ("5:31,1:4:31"): the numbers of
// colon-separated fields it allows, ascending; empty for a malformed form.
std::vector<uint32_t> IdentifierFieldCounts(std::string_view form);
// The form an identifier row uses: its match value, or the usual one.
std::string_view IdentifierForm(const CLPSNVParamRow& row);

// True when value has the form of the row's value type (keywords aside).
bool IsValueOfType(const CLPSNVParamRow& row, std::string_view value);
// What a value of the row must look like, for the user: "a number from 0 to 7".
std::string DescribeForm(const CLPSNVParamRow& row);
// The usage help's name of a value type: "number", "disk", ...
const char* TypeName(uint32_t valueType);

// Parameter names of a parameter table that the user may type, in table
// order, each once (fixed rows and must-not rows left out).
std::vector<std::string_view> UserNames(const CLPSNVParamRow* params, uint32_t count);
// Keywords of one user name, in table order.
std::vector<std::string_view> KeywordsOf(const CLPSNVParamRow* params, uint32_t count,
                                         std::string_view name);
std::string Join(const std::vector<std::string_view>& items, std::string_view separator);

// <Usage object="..."> for a table; hidden rows are left out.
std::string BuildUsageXml(std::string_view object, const CLPSNVActionRow* table, uint32_t rowCount);

// A CLPS_RESP_DESCRIBE response describing a table's rows: each action with
// its parameters, keywords and fixed pairs, each report row with its
// selector and rules (frame_describe.cpp). Null when memory ran out.
CLPSResponse* DescribeTable(uint32_t usageMsgId, uint32_t secondMsgId, const CLPSNVActionRow* table,
                            uint32_t rowCount, const char* styleSheet);
// Every command of a command descriptor table, each with what its handler
// answers when asked for a description.
CLPSResponse* DescribeCommands(const CLPSCCDT* table, uint32_t count);

// Empty when the table is sound, else what is wrong with it (table_check.cpp).
std::string CheckTable(const CLPSNVActionRow* table, uint32_t rowCount);
std::string CheckCommandTable(const CLPSCCDT* table, uint32_t count);

}  // namespace clps::frame

#endif
