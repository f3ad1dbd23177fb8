#include "key_check.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <vector>

#include "sqlite.h"

namespace kvda {

namespace {

constexpr std::string_view kScheme = "pbkdf2-sha256";
constexpr size_t kSaltBytes = 16;
constexpr size_t kKeyBytes = 32;
// A stored count above this is refused rather than computed: a tampered
// state file must not make every key change take minutes.
constexpr unsigned kMaxIterations = 10'000'000;

std::string hex(const std::vector<unsigned char>& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (unsigned char b : bytes) {
        out += kDigits[b >> 4];
        out += kDigits[b & 0xF];
    }
    return out;
}

bool unhex(std::string_view text, std::vector<unsigned char>& out) {
    if (text.empty() || text.size() % 2) return false;
    out.clear();
    for (size_t i = 0; i < text.size(); i += 2) {
        unsigned value = 0;
        auto [end, ec] = std::from_chars(text.data() + i, text.data() + i + 2, value, 16);
        if (ec != std::errc() || end != text.data() + i + 2) return false;
        out.push_back(static_cast<unsigned char>(value));
    }
    return true;
}

std::vector<unsigned char> derive(std::string_view phrase, const std::vector<unsigned char>& salt,
                                  unsigned iterations, size_t length) {
    std::vector<unsigned char> key(length);
    if (PKCS5_PBKDF2_HMAC(phrase.data(), static_cast<int>(phrase.size()), salt.data(),
                          static_cast<int>(salt.size()), static_cast<int>(iterations), EVP_sha256(),
                          static_cast<int>(key.size()), key.data()) != 1)
        throw Error("cannot derive the key check value");
    return key;
}

}  // namespace

std::string keyCheckValue(std::string_view phrase) {
    std::vector<unsigned char> salt(kSaltBytes);
    if (RAND_bytes(salt.data(), static_cast<int>(salt.size())) != 1)
        throw Error("no random salt for the key check value");
    return std::string(kScheme) + "$" + std::to_string(kKeyCheckIterations) + "$" + hex(salt) +
           "$" + hex(derive(phrase, salt, kKeyCheckIterations, kKeyBytes));
}

bool phraseMatches(std::string_view phrase, std::string_view stored) {
    std::array<std::string_view, 4> fields;
    for (size_t i = 0; i < fields.size(); ++i) {
        const size_t end = i + 1 < fields.size() ? stored.find('$') : stored.size();
        if (end == std::string_view::npos) return false;
        fields[i] = stored.substr(0, end);
        stored.remove_prefix(std::min(end + 1, stored.size()));
    }
    unsigned iterations = 0;
    const std::string_view count = fields[1];
    auto [end, ec] = std::from_chars(count.data(), count.data() + count.size(), iterations);
    std::vector<unsigned char> salt, key;
    if (fields[0] != kScheme || ec != std::errc() || end != count.data() + count.size() ||
        iterations == 0 || iterations > kMaxIterations || !unhex(fields[2], salt) ||
        !unhex(fields[3], key))
        return false;
    const std::vector<unsigned char> derived = derive(phrase, salt, iterations, key.size());
    return CRYPTO_memcmp(derived.data(), key.data(), key.size()) == 0;
}

}  // namespace kvda
