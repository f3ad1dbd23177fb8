// Writing an outcome as text, XML or JSON.
#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "host.h"

namespace vk::host {

namespace {

// clang-format off
constexpr std::array<std::pair<Status, std::string_view>, 5> kStatusNames{{
    {Status::Ok,      "ok"},
    {Status::Refused, "refused"},
    {Status::Usage,   "usage"},
    {Status::DryRun,  "dry-run"},
    {Status::Error,   "error"},
}};
// clang-format on

std::string_view StatusName(Status status) {
    for (const auto& [value, name] : kStatusNames) {
        if (value == status) return name;
    }
    return "error";
}

void Write(std::FILE* stream, std::string_view text, bool endLine) {
    std::fwrite(text.data(), 1, text.size(), stream);
    if (endLine && !text.empty() && text.back() != '\n') std::fputc('\n', stream);
}

void Diagnose(const Outcome& outcome, std::string_view program) {
    if (outcome.exitCode == kExitDone) return;
    const std::string& line = outcome.diagnostic.empty() ? outcome.text : outcome.diagnostic;
    std::fprintf(stderr, "%.*s: %s\n", static_cast<int>(program.size()), program.data(),
                 line.c_str());
}

std::string JsonDocument(const Outcome& outcome) {
    nlohmann::ordered_json doc;
    doc["schema"] = kJsonSchemaVersion;
    doc["status"] = StatusName(outcome.status);
    if (outcome.message) doc["message"] = *outcome.message;
    if (outcome.hasArgs) doc["args"] = outcome.args;
    doc["text"] = outcome.exitCode == kExitDone || outcome.diagnostic.empty() ? outcome.text
                                                                              : outcome.diagnostic;
    doc["request"] = outcome.request;
    nlohmann::ordered_json objects = nlohmann::ordered_json::array();
    for (size_t i = 0; i < outcome.objects.size(); ++i) {
        nlohmann::ordered_json entry = nlohmann::ordered_json::object();
        for (const auto& [tag, value] : outcome.objects[i]) entry[tag] = value;
        // Beside the agent's tags (raw), what the text shows for them.
        nlohmann::ordered_json decoded = nlohmann::ordered_json::object();
        nlohmann::ordered_json bytes = nlohmann::ordered_json::object();
        if (i < outcome.labels.size()) {
            for (const auto& [tag, words] : outcome.labels[i].decoded) decoded[tag] = words;
            for (const auto& [tag, count] : outcome.labels[i].bytes) bytes[tag] = count;
        }
        entry["decoded"] = std::move(decoded);
        entry["bytes"] = std::move(bytes);
        objects.push_back(std::move(entry));
    }
    doc["objects"] = std::move(objects);
    if (!outcome.console.empty()) doc["console"] = outcome.console;
    // Text from the agent need not be valid UTF-8; replace what is not.
    return doc.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

int Emit(const Outcome& outcome, Format format, std::string_view program) {
    switch (format) {
        case Format::Text:
            Write(stdout, outcome.console, false);
            // A refusal or failure shows only as its line on standard error.
            if (outcome.exitCode == kExitDone) Write(stdout, outcome.text, true);
            break;
        case Format::Xml:
            // Standard output carries one XML document, so anything the
            // plug-in printed goes to standard error.
            Write(stderr, outcome.console, false);
            Write(stdout, outcome.xml, true);
            break;
        case Format::Json:
            Write(stdout, JsonDocument(outcome), true);
            break;
    }
    std::fflush(stdout);
    Diagnose(outcome, program);
    return outcome.exitCode;
}

}  // namespace vk::host
