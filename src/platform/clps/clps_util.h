// Helpers shared by the support library's sources (not exported).
#ifndef VK_PLATFORM_CLPS_UTIL_H
#define VK_PLATFORM_CLPS_UTIL_H

#include <cstdint>
#include <string>
#include <string_view>

#include "clps.h"
#include "text.h"

namespace clps {

using vk::EqualsIgnoreCase;

// Copy of text in common-services memory (released with OCSFreeMem); null for
// null text or when memory ran out.
char* DupString(const char* text);
// The leading words of argv that carry no "=", joined by single blanks
// (help words left out).
std::string CommandWords(uint32_t argc, const char** argv);
// The position of the first help word after the program name; argc when
// there is none.
uint32_t FirstHelpWord(uint32_t argc, const char** argv);

// Owns a response until released; for building one step by step.
struct ResponseDeleter {
    void operator()(CLPSResponse* r) const { CLPSFreeResponse(r); }
};

}  // namespace clps

#endif
