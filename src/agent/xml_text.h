// What the agent's XML answers can carry, checked where text enters the
// estate (requests, overrides, profiles) so that a stored value can never
// make an answer that is not well-formed.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace kvda {

// Empty when `text` is well-formed UTF-8 holding only characters XML 1.0
// allows; otherwise what is wrong with its first offending character, e.g.
// "character U+0001 at offset 1 is a control character".
std::string xmlTextFault(std::string_view text);

// `text` fit to be shown in a message or on a terminal: every byte that is
// not part of a printable character XML allows is written as \xNN.
std::string shownText(std::string_view text);

// Refuses (RequestError, status 7) a request whose names or values hold
// text an answer cannot carry, naming the pair; a pass phrase is named but
// not shown.
void checkRequestText(const std::vector<std::string>& pairs);

// Refuses (Error, with the JSON path of the item) a profile holding a string
// or name an answer cannot carry, or a tag under "props" or "set" that is not
// an element name.
void checkProfileText(const nlohmann::json& profile);

}  // namespace kvda
