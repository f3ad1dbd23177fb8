// Pass phrases never leave the process in clear: the plug-in's trace, the
// host's output and the agent's journal all recognise them here.
#pragma once

#include <string>
#include <string_view>

#include "text.h"

namespace vk {

inline constexpr std::string_view kPassphraseWord = "passphrase";

enum class PassphraseCase {
    Any,    // "PassPhrase", "OLDPASSPHRASE" and "passphrase" alike
    Exact,  // only the lower-case spelling
};

// True when text contains the word "passphrase".
constexpr bool MentionsPassphrase(std::string_view text,
                                  PassphraseCase match = PassphraseCase::Any) {
    if (match == PassphraseCase::Exact) return text.find(kPassphraseWord) != std::string_view::npos;
    for (std::size_t i = 0; i + kPassphraseWord.size() <= text.size(); ++i) {
        if (EqualsIgnoreCase(text.substr(i, kPassphraseWord.size()), kPassphraseWord)) return true;
    }
    return false;
}

// True for a "name=value" word whose name mentions a pass phrase.
constexpr bool CarriesPassphrase(std::string_view pair) {
    const std::size_t eq = pair.find('=');
    return eq != std::string_view::npos && MentionsPassphrase(pair.substr(0, eq));
}

// The word as it may be shown: "name=***" when it carries a pass phrase,
// else unchanged.
inline std::string HidePassphrase(std::string_view pair) {
    if (!CarriesPassphrase(pair)) return std::string(pair);
    return std::string(pair.substr(0, pair.find('='))) + "=***";
}

}  // namespace vk
