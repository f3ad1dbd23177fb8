// How the plug-in writes its command tables: one builder for each row kind,
// the joining of shared parameter blocks, and the entry by which each source
// lists its tables for the table registry.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "clps.h"
#include "vocabulary.h"

namespace kvclp {

// Every request of the plug-in goes to this agent.
inline constexpr const char* kAgent = "kvda";

// Rows name their requests from the vocabulary the agent answers.
using vk::vkacmd;

using Params = std::span<const CLPSNVParamRow>;

// A row chosen by "action=<keyword>" that sends request with the pairs of
// params; CLPS_ROW_HIDDEN for service and debug actions.
constexpr CLPSNVActionRow Action(const char* keyword, vk::RequestName request, Params params = {},
                                 uint32_t flags = 0) {
    return {CLPS_ROW_ACTION, "action", request.text,  keyword,
            nullptr,         kAgent,   params.data(), static_cast<uint32_t>(params.size()),
            nullptr,         flags};
}

// A report row chosen by its parameter rules alone, rendered with styleSheet.
constexpr CLPSNVActionRow Report(vk::RequestName request, Params params, const char* styleSheet,
                                 uint32_t flags = 0) {
    return {CLPS_ROW_REPORT, nullptr, request.text,  nullptr,
            nullptr,         kAgent,  params.data(), static_cast<uint32_t>(params.size()),
            styleSheet,      flags};
}

// A report row chosen when selector=value is given and its rules hold.
constexpr CLPSNVActionRow Selector(const char* selector, const char* value, vk::RequestName request,
                                   Params params, const char* styleSheet) {
    return {CLPS_ROW_SELECTOR, selector, request.text,  value,
            nullptr,           kAgent,   params.data(), static_cast<uint32_t>(params.size()),
            styleSheet,        0};
}

// Parameter blocks joined, in order, into one parameter table.
template <std::size_t... N>
constexpr auto Join(const std::array<CLPSNVParamRow, N>&... blocks) {
    std::array<CLPSNVParamRow, (N + ...)> rows{};
    auto at = rows.begin();
    ((at = std::copy(blocks.begin(), blocks.end(), at)), ...);
    return rows;
}

// One candidate table of a handler that chooses among several.
constexpr CLPSNVTable Candidate(std::span<const CLPSNVActionRow> rows,
                                CLPSNVValidateFunc validate) {
    return {rows.data(), static_cast<uint32_t>(rows.size()), validate};
}

// A command table as its handler hands it to the frame, for the registry:
// one entry for each command that uses it.
struct TableRef {
    const char* command;  // the command words it serves: "vkconfig storage pdisk"
    const char* variant;  // which of the handler's candidate tables; "" when it has one
    std::span<const CLPSNVActionRow> rows;
};

}  // namespace kvclp
