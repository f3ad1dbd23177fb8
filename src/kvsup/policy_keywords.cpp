// Virtual-disk policy keywords: the agent describes layouts, stripe sizes
// and policies as single bits; users type short keywords.
#include <array>
#include <span>
#include <string>

#include "keyword_map.h"
#include "kvsup_internal.h"
#include "kvsup_tables.h"

using kvsup::detail::KeywordRow;
using Row = KeywordRow<uint32_t>;

namespace {

// clang-format off
constexpr Row kRaidLayouts[] = {
    {1,      "c"},
    {2,      "r0"},
    {4,      "r1"},
    {64,     "r5"},
    {128,    "r6"},
    {512,    "r10"},
    {2048,   "r50"},
    {4096,   "r1c"},
    {262144, "r60"},
    {524288, "r10", kvsup::detail::kShownOnly},  // RAID 1E is shown as RAID 10 on purpose
};

// In units of 512 bytes: "64kb" is StripeSize=128.
constexpr Row kStripeSizes[] = {
    {1,     "512b"},
    {2,     "1kb"},
    {4,     "2kb"},
    {8,     "4kb"},
    {16,    "8kb"},
    {32,    "16kb"},
    {64,    "32kb"},
    {128,   "64kb"},
    {256,   "128kb"},
    {512,   "256kb"},
    {1024,  "512kb"},
    {2048,  "1mb"},
    {4096,  "2mb"},
    {8192,  "4mb"},
    {16384, "8mb"},
    {32768, "16mb"},
};

constexpr Row kReadPolicies[] = {
    {1,  "rc"},
    {2,  "nrc"},
    {4,  "ra"},
    {8,  "ara"},
    {16, "nra"},
};

constexpr Row kWritePolicies[] = {
    {1,  "wc"},
    {2,  "nwc"},
    {4,  "wb"},
    {8,  "wt"},
    {16, "wea"},
    {32, "fwb"},
};

constexpr Row kCachePolicies[] = {
    {1, "d"},
    {2, "c"},
};

constexpr Row kDiskCachePolicies[] = {
    {1, "unchanged"},
    {2, "enabled"},
    {4, "disabled"},
    {8, "default"},
};

constexpr auto kMaps = std::to_array<kvsup::KeywordMapRef<uint32_t>>({
    {"RAID layout",       kRaidLayouts},
    {"stripe size",       kStripeSizes},
    {"read policy",       kReadPolicies},
    {"write policy",      kWritePolicies},
    {"cache policy",      kCachePolicies},
    {"disk cache policy", kDiskCachePolicies},
});
// clang-format on

int32_t Lookup(const char* name, std::span<const Row> rows, uint32_t value, std::string& out) {
    return kvsup::detail::TracedKeywordFor(name, rows, value, out);
}

}  // namespace

const std::span<const kvsup::KeywordMapRef<uint32_t>> kvsup::kPolicyKeywordMaps = kMaps;

int32_t GetUserInputStringForRaidLayoutValue(uint32_t value, std::string& out) {
    return Lookup("GetUserInputStringForRaidLayoutValue", kRaidLayouts, value, out);
}
int32_t GetUserInputStringForStripeSizeValue(uint32_t value, std::string& out) {
    return Lookup("GetUserInputStringForStripeSizeValue", kStripeSizes, value, out);
}
int32_t GetUserInputStringForReadPolicyValue(uint32_t value, std::string& out) {
    return Lookup("GetUserInputStringForReadPolicyValue", kReadPolicies, value, out);
}
int32_t GetUserInputStringForWritePolicyValue(uint32_t value, std::string& out) {
    return Lookup("GetUserInputStringForWritePolicyValue", kWritePolicies, value, out);
}
int32_t GetUserInputStringForCachePolicyValue(uint32_t value, std::string& out) {
    return Lookup("GetUserInputStringForCachePolicyValue", kCachePolicies, value, out);
}
int32_t GetUserInputStringForDiskCachePolicyValue(uint32_t value, std::string& out) {
    return Lookup("GetUserInputStringForDiskCachePolicyValue", kDiskCachePolicies, value, out);
}

namespace kvsup {
uint32_t RaidLayoutValueForKeyword(std::string_view keyword) {
    return detail::ValueFor<uint32_t>(kRaidLayouts, keyword, 0);
}
uint32_t StripeSizeValueForKeyword(std::string_view keyword) {
    return detail::ValueFor<uint32_t>(kStripeSizes, keyword, 0);
}
uint32_t ReadPolicyValueForKeyword(std::string_view keyword) {
    return detail::ValueFor<uint32_t>(kReadPolicies, keyword, 0);
}
uint32_t WritePolicyValueForKeyword(std::string_view keyword) {
    return detail::ValueFor<uint32_t>(kWritePolicies, keyword, 0);
}
uint32_t CachePolicyValueForKeyword(std::string_view keyword) {
    return detail::ValueFor<uint32_t>(kCachePolicies, keyword, 0);
}
uint32_t DiskCachePolicyValueForKeyword(std::string_view keyword) {
    return detail::ValueFor<uint32_t>(kDiskCachePolicies, keyword, 0);
}
}  // namespace kvsup
