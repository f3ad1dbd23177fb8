// The message catalogue: NUMBER<TAB>TEXT lines, %1 and %2 for the two texts.
#include <charconv>
#include <fstream>

#include "host.h"

namespace vk::host {

namespace {

// "\n" becomes a line break and "\\" a backslash; any other backslash stays.
std::string Unescape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == 'n' || text[i + 1] == '\\')) {
            out += text[i + 1] == 'n' ? '\n' : '\\';
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace

MessageCatalogue MessageCatalogue::Load(const std::filesystem::path& file) {
    std::ifstream in(file);
    if (!in) throw HostError(kExitFailure, "cannot read the message catalogue " + file.string());
    MessageCatalogue catalogue;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line.front() == '#') continue;
        const auto tab = line.find('\t');
        uint32_t id = 0;
        const char* end = line.data() + (tab == std::string::npos ? line.size() : tab);
        const auto [ptr, ec] = std::from_chars(line.data(), end, id);
        if (tab == std::string::npos || ec != std::errc() || ptr != end || tab == 0) {
            throw HostError(kExitFailure, file.string() + ":" + std::to_string(number) +
                                              ": expected NUMBER<TAB>TEXT, found '" + line + "'");
        }
        catalogue.texts_[id] = Unescape(std::string_view(line).substr(tab + 1));
    }
    return catalogue;
}

std::optional<std::string> MessageCatalogue::Format(uint32_t number, std::string_view arg1,
                                                    std::string_view arg2) const {
    const auto found = texts_.find(number);
    if (found == texts_.end()) return std::nullopt;
    const std::string& text = found->second;
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 1 < text.size() && (text[i + 1] == '1' || text[i + 1] == '2')) {
            out += text[i + 1] == '1' ? arg1 : arg2;
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace vk::host
