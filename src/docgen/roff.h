// Writing manual pages: text made safe for roff input, and page templates
// whose marker lines are replaced by generated sections.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace vk::docgen::roff {

// Running text: backslashes print as such and a text that starts a line
// cannot be read as a request.
std::string Text(std::string_view text);

// A word the user types (keyword, option, parameter): as Text, and its
// hyphens are minus signs, so that it can be copied from the page.
std::string Literal(std::string_view word);

std::string Bold(std::string_view word);    // a literal word in bold
std::string Italic(std::string_view word);  // a placeholder in italics

// Several lines of text (line breaks kept) as filled text lines.
std::string Lines(std::string_view text);

// Fills a template: every line that is exactly "@NAME@" becomes the section
// that sections[NAME] makes, and "@VERSION@" anywhere becomes the version.
// A marker without a section is an error that names it.
std::string FillTemplate(std::string_view text, const std::string& origin,
                         const std::map<std::string, std::function<std::string()>>& sections,
                         const std::string& version);

}  // namespace vk::docgen::roff
