// Reading the vocabulary dump (`--describe`) in tests: a command's rows and
// the first group of every match of a pattern.
#pragma once

#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <vector>

namespace vktest {

// A command's actions or reports; none for a command without tables.
inline const nlohmann::json& Rows(const nlohmann::json& command, const char* kind) {
    static const nlohmann::json kNone = nlohmann::json::array();
    return command.contains(kind) ? command[kind] : kNone;
}

inline std::vector<std::string> Matches(const std::string& text, const std::string& pattern) {
    std::vector<std::string> found;
    const std::regex re(pattern);
    for (std::sregex_iterator it(text.begin(), text.end(), re), end; it != end; ++it)
        found.push_back((*it)[1].str());
    return found;
}

}  // namespace vktest
