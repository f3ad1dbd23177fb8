// The check value kept for a controller's security key: enough to tell
// whether a pass phrase matches, never the phrase itself.
#pragma once

#include <string>
#include <string_view>

namespace kvda {

// PBKDF2-HMAC-SHA256 iterations for a new check value: slow enough that
// guessing phrases from a copied state file costs what it should. Fuzzing
// builds take one, so that a key request does not stall the search.
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
inline constexpr unsigned kKeyCheckIterations = 1;
#else
inline constexpr unsigned kKeyCheckIterations = 600000;
#endif

// A new check value for `phrase` with a fresh random salt:
// "pbkdf2-sha256$<iterations>$<salt, hex>$<derived key, hex>".
std::string keyCheckValue(std::string_view phrase);

// True when `phrase` derives the key held in `stored` (in constant time);
// false for an empty, malformed or unknown check value.
bool phraseMatches(std::string_view phrase, std::string_view stored);

}  // namespace kvda
