#include "answer.h"

#include "text.h"
#include "xml_text.h"

namespace kvda {

namespace {

// Text is checked where it enters the estate; a state file written before
// those checks may still hold text XML cannot carry, which is shown escaped
// so that the answer stays well-formed.
void appendText(std::string& out, std::string_view text) {
    if (xmlTextFault(text).empty())
        vk::AppendXmlEscaped(out, text);
    else
        vk::AppendXmlEscaped(out, shownText(text));
}

}  // namespace

void Answer::object(const Props& props) {
    text_ += "<QXStorageObject>";
    for (const auto& [tag, value] : props) {
        if (!isTagName(tag)) continue;  // likewise: a tag from an older state file
        text_ += '<';
        text_ += tag;
        text_ += '>';
        appendText(text_, value);
        text_ += "</";
        text_ += tag;
        text_ += '>';
    }
    text_ += "</QXStorageObject>";
    ++count_;
}

std::string Answer::finish(int status, std::string_view message) {
    std::string out;
    if (status == 0) out = std::move(text_);
    out += "<SMStatus>" + std::to_string(status) + "</SMStatus>";
    if (status != 0) {
        out += "<SMMessage>";
        appendText(out, message);
        out += "</SMMessage>";
    }
    text_.clear();
    count_ = 0;
    return out;
}

bool isTagName(std::string_view tag) {
    auto alpha = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    if (tag.empty() || !alpha(tag[0]) || tag.size() > 64) return false;
    for (char c : tag)
        if (!alpha(c) && !(c >= '0' && c <= '9') && c != '_' && c != '-' && c != '.') return false;
    return true;
}

void appendListItem(std::string& list, std::string_view separator, std::string_view item) {
    if (!list.empty()) list += separator;
    list += item;
}

}  // namespace kvda
