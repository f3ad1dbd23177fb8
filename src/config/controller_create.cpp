// Virtual-disk and cachecade creation on a controller: the RAID level, the
// disks, the name, the policies, the span rules, the secure and
// protection-information flags and the size, in that order. The size pair is
// rewritten in bytes, and span data is added where the controller sizes its
// spans itself.
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "controller_internal.h"
#include "da.h"
#include "kvsup.h"

namespace config::controller {

namespace {

// clang-format off
constexpr int32_t kBadDisk            = 1602;
constexpr int32_t kSizeNotNumber      = 1606;
constexpr int32_t kBadSizeUnit        = 1607;
constexpr int32_t kBadRaid            = 1609;
constexpr int32_t kNoSizeLimits       = 1623;
constexpr int32_t kR50NoSpan          = 1631;
constexpr int32_t kBadSpan            = 1632;
constexpr int32_t kSizeOutOfRange     = 1646;
constexpr int32_t kSpanNotTaken       = 1651;
constexpr int32_t kR1EBadSpan         = 1670;
constexpr int32_t kR60NoSpan          = 1671;
constexpr int32_t kSpannedOutOfRange  = 1684;
constexpr int32_t kR50SpanTooSmall    = 1685;
constexpr int32_t kR60SpanTooSmall    = 1686;
constexpr int32_t kR10SpanRefused     = 1690;
constexpr int32_t kBadSecureFlag      = 1706;
constexpr int32_t kNotSecureCapable   = 1712;
constexpr int32_t kNoSecurityKey      = 1713;
constexpr int32_t kSingleSpanMismatch = 1715;
constexpr int32_t kCachecadeDisks     = 1741;
constexpr int32_t kCachecadeDisk      = 1742;
constexpr int32_t kCachecadeTwice     = 1743;
constexpr int32_t kCreationRefused    = 1750;
constexpr int32_t kNoSpanData         = 1763;
constexpr int32_t kBadPiFlag          = 1764;
constexpr int32_t kNoPiSupport        = 1765;

// Bits of the controller's AttributesMask (the secure bits are in
// controller_internal.h).
constexpr uint32_t kAttrNoCreation    = vk::ctrlattr::kNoVdCreation;
constexpr uint32_t kAttrCachecade     = vk::ctrlattr::kCacheCade;
constexpr uint32_t kAttrPiCapable     = vk::ctrlattr::kProtectionInfo;

// Layout numbers.
constexpr uint32_t kRaid1             = 4;
constexpr uint32_t kRaid5             = 64;
constexpr uint32_t kRaid6             = 128;
constexpr uint32_t kRaid10            = 512;
constexpr uint32_t kRaid50            = 2048;
constexpr uint32_t kRaid10Alt         = 4096;
constexpr uint32_t kRaid60            = 262144;
constexpr uint32_t kRaid1E            = 524288;

constexpr uint32_t kRaidListSize      = 128;
constexpr uint32_t kPolicyListSize    = 256;
constexpr uint32_t kNameRulesSize     = 256;
constexpr uint32_t kSizeLimitSize     = 17;   // sixteen characters
constexpr uint32_t kSpanDepthSize     = 16;
constexpr uint32_t kSpanListSize      = 256;
constexpr uint32_t kDiskListSize      = 2048;

constexpr double kBytesToMegabytes    = 9.5367431640625e-7;

constexpr const char* kNoValidDisks   = "None - no valid adisks found";
// clang-format on

// The smallest number of disks of a layout, and whether it must be even.
struct DiskCountRule {
    uint32_t layout;
    uint32_t minimum;
    bool exact;  // exactly the minimum
    bool even;
    int32_t refusal;
};
// clang-format off
constexpr auto kDiskCounts = std::to_array<DiskCountRule>({
    {kRaid50,    6, false, false, 1638},
    {kRaid1,     2, true,  false, 1635},
    {kRaid5,     3, false, false, 1636},
    {kRaid6,     4, false, false, 1672},
    {kRaid60,    8, false, false, 1673},
    {kRaid10,    4, false, true,  1637},
    {kRaid10Alt, 4, false, true,  1637},
    {kRaid1E,    4, false, true,  1637},
});

// The layouts that take a span length, which mark a command as spanned.
constexpr auto kSpannedLayouts = std::to_array<uint32_t>({kRaid50, kRaid60, kRaid10, kRaid1E});

// The policies, each checked against its pair when the user gave it.
using PolicyCheck = int32_t (*)(const char*, const char*, char*, uint32_t);
struct PolicyRule {
    const char* user;
    const char* pair;
    PolicyCheck check;  // null: the disk cache policy (its validator takes a flag)
    int32_t refusal;
    const char* none;
};
constexpr auto kPolicies = std::to_array<PolicyRule>({
    {"diskcachepolicy", "DiskCachePolicy", nullptr,                             1674, "None - No valid disk cache policies found"},
    {"readpolicy",      "ReadPolicy",      IsUserReadPolicyValidForController,  1610, "None - No valid read policies found"},
    {"writepolicy",     "WritePolicy",     IsUserWritePolicyValidForController, 1611, "None - No valid write policies found"},
    {"cachepolicy",     "CachePolicy",     IsUserCachePolicyValidForController, 1612, "None - No valid cache policies found"},
    {"stripesize",      "StripeSize",      IsUserStripeSizeValidForController,  1613, "None - No valid stripe size values found"},
});
// A disk cache policy refused on a controller that offers none at all (its
// disk cache is fixed).
constexpr int32_t kDiskCacheFixed = 1702;

// Size units: the letter and the bytes it stands for.
struct SizeUnit {
    char letter;
    double bytes;
};
constexpr auto kSizeUnits = std::to_array<SizeUnit>({
    {'b', 1.0},
    {'m', 1024.0 * 1024.0},
    {'g', 1024.0 * 1024.0 * 1024.0},
});
// clang-format on

const char* OrEmpty(const char* s) {
    return s != nullptr ? s : "";
}

uint32_t ToUnsigned(const char* s) {
    return s != nullptr ? static_cast<uint32_t>(std::strtoul(s, nullptr, 10)) : 0;
}

template <std::size_t N>
bool Contains(const std::array<uint32_t, N>& values, uint32_t value) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

// Step 3: protection information.
int32_t CheckPiFlag(CallbackCall& call, const ControllerFacts& facts,
                    const std::optional<uint32_t>& attributes) {
    const char* pi = call.User("VdPIEnabled");
    if (pi == nullptr) return 0;
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "cmdConfigControllerValidate(): pDAInputVdPIEnable = %s\n",
                    pi);
    if (attributes && !HasBit(attributes, kAttrPiCapable))
        return call.Refuse(kNoPiSupport, OrEmpty(facts.action), "");
    if (!Is(pi, "yes")) return call.Refuse(kBadPiFlag, pi, "");
    return 0;
}

// Step 6 (and the cachecade's disks): the controller's disks that may join.
std::string ValidDisksText(const char* controller) {
    std::string valid;
    uint32_t count = 0;
    IsUserArrayDiskIdValid("", controller, valid, 0, &count);
    if (valid.size() >= kDiskListSize) valid.resize(kDiskListSize - 1);
    return valid;
}

// The user's disks, adisk or pdisk; 0, or the combiner's refusal.
int32_t UserDisks(CallbackCall& call, std::vector<std::string>& user) {
    const char* adisk = call.User("adisk");
    const char* pdisk = call.User("pdisk");
    if (const int32_t status = CombineUserDiskParams(&adisk, &pdisk))
        return call.Refuse(status, "", "");
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "cmdConfigValidate(): pTempUserADList=%s\n", adisk);
    user = SplitDiskIds(adisk);
    return 0;
}

int32_t CheckDisks(CallbackCall& call, const ControllerFacts& facts,
                   std::vector<std::string>& user) {
    const std::string validText = ValidDisksText(facts.controller);
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "cmdConfigValidate(): pTempOutValidAdiskIds=%s\n",
                    validText.c_str());
    const std::vector<std::string> valid = SplitDiskIds(validText);
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE) != 0) {
        std::string trimmed;
        for (const std::string& id : valid) trimmed += (trimmed.empty() ? "" : ",") + id;
        SysDbgPrint("cmdConfigValidate(): CreateVD: pTempOutValidAdiskIds=%s\n", trimmed.c_str());
    }
    if (int32_t s = UserDisks(call, user)) return s;
    if (const std::string* missing = FirstMissing(user, valid))
        return call.Refuse(kBadDisk, *missing, valid.empty() ? kNoValidDisks : validText);
    return 0;
}

// Step 7.
int32_t CheckName(CallbackCall& call, const ControllerFacts& facts) {
    const char* name = call.User("name");
    if (name == nullptr) return 0;
    std::array<char, kNameRulesSize> rules{};
    const int32_t status = IsUserVirtualDiskNameValidForController(facts.controller, name, 1,
                                                                   rules.data(), rules.size());
    if (status == 0) return 0;
    VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL,
                    "IsUserVirtualDiskNameValidForController failed rc=%d, pUserInputVDName=%s,"
                    "pOutValidVDNAmeRuless=%s",
                    status, name, rules.data());
    return call.Refuse(AsMessage(status), name, rules.data());
}

// Step 8.
int32_t CheckPolicies(CallbackCall& call, const ControllerFacts& facts) {
    for (const PolicyRule& rule : kPolicies) {
        const char* keyword = call.User(rule.user);
        if (keyword == nullptr) continue;
        std::array<char, kPolicyListSize> valid{};
        const char* value = call.Pair(rule.pair);
        const int32_t status = rule.check != nullptr
                                   ? rule.check(facts.controller, value, valid.data(), valid.size())
                                   : IsUserDiskCachePolicyValidForController(
                                         facts.controller, value, valid.data(), valid.size(), 0);
        if (status == 0) continue;
        if (status == kvsup::status::kNoBuffer) return call.Refuse(kCannotRead, keyword, "");
        const bool none = valid[0] == '\0';
        const int32_t refusal = rule.check == nullptr && none ? kDiskCacheFixed : rule.refusal;
        return call.Refuse(refusal, keyword, none ? rule.none : valid.data());
    }
    return 0;
}

// Step 9.
int32_t CheckDiskCount(CallbackCall& call, uint32_t layout, std::size_t disks,
                       const char* spanLength) {
    if (spanLength != nullptr)
        VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "cmdConfigControllerValidate(): pUserSpanLength=%s\n",
                        spanLength);
    else
        VK_CONFIG_TRACE(TRACE_LEVEL_MODULE,
                        "cmdConfigControllerValidate(): pUserSpanLength is NULL\n");
    const std::string count = std::to_string(disks);
    for (const DiskCountRule& rule : kDiskCounts) {
        if (rule.layout != layout) continue;
        const bool wrong = rule.exact ? disks != rule.minimum
                                      : disks < rule.minimum || (rule.even && disks % 2 != 0);
        if (wrong) return call.Refuse(rule.refusal, count, "");
        break;
    }
    if (spanLength != nullptr && layout != kRaid50 && layout != kRaid60 && layout != kRaid10 &&
        layout != kRaid1E)
        return call.Refuse(kSpanNotTaken, spanLength, "");
    return 0;
}

// Step 10: the span length of a spanned layout.
int32_t CheckSpan(CallbackCall& call, const ControllerFacts& facts, uint32_t layout,
                  std::size_t disks, const char* spanLength) {
    if (spanLength == nullptr) {
        if (layout == kRaid50) return call.Refuse(kR50NoSpan, "", "");
        if (layout == kRaid60) return call.Refuse(kR60NoSpan, "", "");
        return 0;
    }
    const auto r1e0 = ReadCurrent(facts.controller, "CtrlRaidLevel1E0RLQ0", 32);
    const int64_t rlq0 = r1e0 ? std::strtoll(r1e0->c_str(), nullptr, 10) : 0;
    const std::size_t s = std::strtoul(spanLength, nullptr, 10);
    const bool mirrored = layout == kRaid10 || layout == kRaid1E;
    // A single span of 22 or 26 disks: the span length names all of them.
    auto singleSpan = [&]() -> int32_t {
        if ((s == 22 || s == 26 || disks == 22 || disks == 26) && s != disks)
            return call.Refuse(kSingleSpanMismatch, spanLength, "");
        return 0;
    };
    if (!facts.flagA && mirrored) {
        if (int32_t r = singleSpan()) return r;
        if (s < 2 || s % 2 != 0) return call.Refuse(kBadSpan, spanLength, "");
    } else {
        if (layout == kRaid50 && s < 3) return call.Refuse(kR50SpanTooSmall, spanLength, "");
        if (layout == kRaid60 && s < 4) return call.Refuse(kR60SpanTooSmall, spanLength, "");
    }
    if (mirrored && s >= 2) {
        if (int32_t r = singleSpan()) return r;
        // The single spans above are whole; every other span length must
        // split the disks into two or more equal spans.
        const bool whole = s == 22 || s == 26;
        if (!whole && (disks % s != 0 || s >= disks))
            return call.Refuse(layout == kRaid10 ? kBadSpan : kR1EBadSpan, spanLength, "");
        if (layout == kRaid10 && s != 2 && r1e0 && rlq0 == 0)
            return call.Refuse(kR10SpanRefused, spanLength, "");
    }
    return 0;
}

// Step 11.
int32_t CheckSecureFlag(CallbackCall& call, const std::optional<uint32_t>& attributes) {
    const char* secure = call.User("SecureFlag");
    if (secure == nullptr) return 0;
    if (!Is(secure, "yes")) return call.Refuse(kBadSecureFlag, secure, "");
    if (attributes && !HasBit(attributes, kAttrSecureCapable))
        return call.Refuse(kNotSecureCapable, secure, "");
    if (attributes && !HasBit(attributes, kAttrKeyPresent))
        return call.Refuse(kNoSecurityKey, secure, "");
    return 0;
}

struct SizeLimits {
    std::array<char, kSizeLimitSize> min{};
    std::array<char, kSizeLimitSize> max{};
};

// Step 12.
int32_t GetSizeLimits(CallbackCall& call, const ControllerFacts& facts, uint32_t layout,
                      const char* spanLength, SizeLimits& limits) {
    const char* disks = call.Pair("adisk");
    const char* layoutText = call.Pair("Layout");
    const uint32_t span = ToUnsigned(spanLength);
    const char* secure = call.User("SecureFlag");
    if (facts.flagA) {
        std::array<char, kSpanDepthSize> depth{};
        std::array<char, kSpanListSize> spans{};
        GetsasGetCapsProps(facts.controller, disks, span, layoutText, limits.min.data(),
                           limits.min.size(), limits.max.data(), limits.max.size(), 0,
                           call.User("VdPIEnabled"), secure, depth.data(), depth.size(),
                           spans.data(), spans.size());
        if (limits.min[0] == '\0' || limits.max[0] == '\0')
            return call.Refuse(kNoSizeLimits, "", "");
        if (layout == kRaid10) {
            if (depth[0] == '\0' || spans[0] == '\0') return call.Refuse(kNoSpanData, "", "");
            if (!call.AppendText("SpanDepth", depth.data()) ||
                !call.AppendText("SpanLengthList", spans.data()))
                return call.Refuse(kCannotRead, "SpanDepth", "");
        }
        return 0;
    }
    if (secure != nullptr)
        GetPossibleMinMaxVDSizeForLayoutSecure(facts.controller, disks, span, layoutText,
                                               limits.min.data(), limits.min.size(),
                                               limits.max.data(), limits.max.size(), 0, 1);
    else
        GetPossibleMinMaxVDSizeForLayout(facts.controller, disks, span, layoutText,
                                         limits.min.data(), limits.min.size(), limits.max.data(),
                                         limits.max.size(), 0);
    if (limits.min[0] == '\0' || limits.max[0] == '\0') return call.Refuse(kNoSizeLimits, "", "");
    return 0;
}

std::string Megabytes(const char* bytes) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.2f",
                  std::strtod(bytes, nullptr) * kBytesToMegabytes);
    return text.data();
}

// Step 13: the size, rewritten in bytes.
int32_t CheckSize(CallbackCall& call, const SizeLimits& limits, bool spanned) {
    const char* size = call.User("size");
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "cmdConfigControllerValidate(): pInputVDSize=%s\n",
                    OrEmpty(size));
    if (Is(size, "max") || Is(size, "min")) {
        const char* bytes = Is(size, "max") ? limits.max.data() : limits.min.data();
        return call.SetPair("Length", bytes) ? kSend : call.Refuse(kCannotRead, "Length", "");
    }
    const std::string text = OrEmpty(size);
    if (text.empty()) return call.Refuse(kSizeNotNumber, text, "");
    std::string number = text;
    char unit = 'g';
    if (std::isalpha(static_cast<unsigned char>(text.back())) != 0) {
        unit = text.back();
        number.pop_back();
    }
    // An empty number ("g" alone) is no size either.
    if (number.empty() || IsStringAValidNumericValue(number.c_str()) != 0)
        return call.Refuse(kSizeNotNumber, text, "");
    // Units are letters the user types: case does not matter.
    const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(unit)));
    const auto found = std::find_if(kSizeUnits.begin(), kSizeUnits.end(),
                                    [&](const SizeUnit& u) { return u.letter == lower; });
    if (found == kSizeUnits.end()) return call.Refuse(kBadSizeUnit, text, "");
    const double bytes = std::strtod(number.c_str(), nullptr) * found->bytes;
    const double min = std::strtod(limits.min.data(), nullptr);
    const double max = std::strtod(limits.max.data(), nullptr);
    if (bytes >= min && bytes <= max) {
        std::string length;
        ConvertToStringRepresentingInteger(bytes, length);
        return call.SetPair("Length", length.c_str()) ? kSend
                                                      : call.Refuse(kCannotRead, "Length", "");
    }
    return call.Refuse(spanned ? kSpannedOutOfRange : kSizeOutOfRange, Megabytes(limits.min.data()),
                       Megabytes(limits.max.data()));
}

}  // namespace

int32_t CheckCreateVirtualDisk(CallbackCall& call, const ControllerFacts& facts) {
    const char* controller = facts.controller;
    const auto attributes = ReadMask(controller, "AttributesMask");
    if (HasBit(attributes, kAttrNoCreation))
        return call.Refuse(kCreationRefused, OrEmpty(facts.action), "");

    const char* raid = call.User("raid");
    const char* spanLength = call.User("spanlength");
    uint32_t raidLevels = 0;
    if (int32_t s = GetControllerRAIDLevelsMask(controller, &raidLevels))
        return call.Refuse(AsMessage(s), OrEmpty(raid), "");
    if (int32_t s = CheckPiFlag(call, facts, attributes)) return s;

    ModifyRaid10InputValueValidForController(call.NVCount(), call.NVList(), raidLevels, spanLength,
                                             facts.isK310 ? 1 : 0, facts.flagA ? 1 : 0);
    const char* layoutText = call.Pair("Layout");
    const uint32_t layout = ToUnsigned(layoutText);
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE,
                    "cmdConfigValidate(): Dbgx: CreateVD: pDAInputVDLayout=%s, uRaidLayout=%d \n",
                    OrEmpty(layoutText), static_cast<int>(layout));

    std::array<char, kRaidListSize> validLevels{};
    const int32_t raidStatus = IsUserRaidInputValueValidForController(
        layoutText, nullptr, validLevels.data(), validLevels.size(), raidLevels, spanLength,
        facts.flagA ? 1 : 0);
    if (raidStatus == kvsup::status::kBadR1ESpanLength) {
        VK_CONFIG_TRACE(
            TRACE_LEVEL_MODULE,
            "cmdConfigControllerValidate(): Error: User endered spanlength for RAID1E ");
        return call.Refuse(raidStatus, OrEmpty(spanLength), "");
    }
    if (raidStatus == kvsup::status::kR10SpanLength) {
        VK_CONFIG_TRACE(
            TRACE_LEVEL_MODULE,
            "cmdConfigControllerValidate(): Error: User endered spanlength for RAID10 ");
        return call.Refuse(raidStatus, OrEmpty(spanLength), "");
    }
    if (raidStatus != 0) return call.Refuse(kBadRaid, OrEmpty(raid), validLevels.data());

    std::vector<std::string> disks;
    if (int32_t s = CheckDisks(call, facts, disks)) return s;
    if (int32_t s = CheckName(call, facts)) return s;
    if (int32_t s = CheckPolicies(call, facts)) return s;
    if (int32_t s = CheckDiskCount(call, layout, disks.size(), spanLength)) return s;
    const bool spanned = Contains(kSpannedLayouts, layout);
    if (spanned) {
        if (int32_t s = CheckSpan(call, facts, layout, disks.size(), spanLength)) return s;
    }
    if (int32_t s = CheckSecureFlag(call, attributes)) return s;
    SizeLimits limits;
    if (int32_t s = GetSizeLimits(call, facts, layout, spanLength, limits)) return s;
    return CheckSize(call, limits, spanned);
}

int32_t CheckCreateCachecade(CallbackCall& call, const ControllerFacts& facts) {
    const auto attributes = ReadMask(facts.controller, "AttributesMask");
    if (attributes && !HasBit(attributes, kAttrCachecade))
        return call.Refuse(kNotSupported, OrEmpty(facts.action), "");

    const std::string validText = ValidDisksText(facts.controller);
    const std::vector<std::string> valid = SplitDiskIds(validText);
    std::vector<std::string> user;
    if (int32_t s = UserDisks(call, user)) return s;
    std::string userText;
    for (const std::string& id : user) userText += (userText.empty() ? "" : ",") + id;
    // Nothing on the controller can form a cachecade.
    if (valid.empty()) return call.Refuse(kCachecadeDisks, userText, kNoValidDisks);
    if (const std::string* missing = FirstMissing(user, valid))
        return call.Refuse(kCachecadeDisk, *missing, validText);
    // A disk named twice cannot be two members of one cachecade.
    for (auto it = user.begin(); it != user.end(); ++it) {
        if (std::find(it + 1, user.end(), *it) != user.end())
            return call.Refuse(kCachecadeTwice, userText, "");
    }
    if (int32_t s = CheckName(call, facts)) return s;
    if (int32_t s = CheckPolicies(call, facts)) return s;
    return kSend;
}

}  // namespace config::controller
