// The words that ask for usage help instead of running a command. The
// command-line support library and the host both recognise them, so a help
// request is never mistaken for a command word or a value.
#pragma once

#include <array>
#include <string_view>

#include "text.h"

namespace vk {

inline constexpr auto kHelpWords = std::to_array<std::string_view>({"-?", "-h", "--help", "help"});

// A whole word of the command line that asks for help (case ignored).
constexpr bool IsHelpWord(std::string_view word) {
    for (std::string_view help : kHelpWords) {
        if (EqualsIgnoreCase(word, help)) return true;
    }
    return false;
}

}  // namespace vk
