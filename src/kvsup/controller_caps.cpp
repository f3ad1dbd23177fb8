// Controller capability validators: each requested value is one bit of the
// numbering the controller announces as a mask; refused values come back
// with the keywords of the choices the controller offers.
#include <cstdio>
#include <string>

#include "kvsup_internal.h"

using namespace kvsup::detail;
namespace st = kvsup::status;

namespace {

constexpr uint32_t kRaid10 = 0x200;
constexpr uint32_t kRaid1E = 0x80000;
constexpr uint32_t kFixedDiskCache = vk::ctrlattr::kFixedDiskCachePolicy;

enum class Step { kDouble, kIncrement };

struct PolicyCheck {
    const char* traceName;
    const char* maskTag;
    uint32_t first;
    uint32_t last;
    Step step;
    int32_t (*keyword)(uint32_t, std::string&);
    bool attributeRule;  // a fixed disk cache policy refuses unless lifted
};

// clang-format off
constexpr PolicyCheck kReadPolicy      {"IsUserReadPolicyValidForController",      "ReadPolicyMask",      1, 16,    Step::kDouble,    GetUserInputStringForReadPolicyValue,      false};
constexpr PolicyCheck kWritePolicy     {"IsUserWritePolicyValidForController",     "WritePolicyMask",     1, 256,   Step::kDouble,    GetUserInputStringForWritePolicyValue,     false};
constexpr PolicyCheck kCachePolicy     {"IsUserCachePolicyValidForController",     "CachePolicyMask",     1, 2,     Step::kDouble,    GetUserInputStringForCachePolicyValue,     false};
constexpr PolicyCheck kStripeSize      {"IsUserStripeSizeValidForController",      "StripeSizesMask",     1, 32768, Step::kDouble,    GetUserInputStringForStripeSizeValue,      false};
constexpr PolicyCheck kDiskCachePolicy {"IsUserDiskCachePolicyValidForController", "DiskCachePolicyMask", 1, 2,     Step::kIncrement, GetUserInputStringForDiskCachePolicyValue, true};
// clang-format on

// Offered values set in mask, as keywords. A bit without a keyword names
// nothing the user could type and is left out.
void ListOffered(const PolicyCheck& check, uint32_t mask, ValidList& list) {
    for (uint32_t v = check.first; v <= check.last;
         v = check.step == Step::kDouble ? v * 2 : v + 1) {
        if ((mask & v) == 0) {
            continue;
        }
        std::string keyword;
        check.keyword(v, keyword);
        if (!keyword.empty()) {
            list.Add(keyword);
        }
    }
}

int32_t CheckPolicy(const PolicyCheck& check, const char* globalNo, const char* value,
                    char* validList, uint32_t validListSize, int32_t allowFixed) {
    const std::string noBuffer = std::string(check.traceName) + ": OCSXAllocBuf() failed\n";
    const auto requested = static_cast<uint32_t>(ToNumber(Text(value)));
    // An accepted value leaves the caller's list untouched; a refusal
    // always leaves the offered values, or nothing. Without an answer the
    // mask reads 0 and every value is refused.
    bool listed = false;
    const int32_t rc = Ask(
        {check.traceName, noBuffer.c_str(), nullptr},
        ControllerRequest(vkacmd.getController, globalNo), st::kNotFound,
        [&](const OCSXBuf* xml) {
            std::string maskText;
            std::string attributesText;
            da::ReadNthTag(xml, check.maskTag, 0, maskText);
            uint32_t mask = 0;
            ConvertBinaryStringToInteger(maskText.c_str(), &mask);
            if (check.attributeRule && allowFixed == 0 &&
                da::ReadNthTag(xml, "AttributesMask", 0, attributesText)) {
                uint32_t attributes = 0;
                ConvertBinaryStringToInteger(attributesText.c_str(), &attributes);
                if ((attributes & kFixedDiskCache) != 0) {
                    return st::kNotFound;
                }
            }
            if ((mask & requested) != 0) {
                return st::kOk;
            }
            ValidList list(validList, validListSize);
            ListOffered(check, mask, list);
            listed = true;
            return st::kNotFound;
        },
        da::AllocOrder::kResponseFirst);
    if (rc != st::kOk && !listed) {
        ValidList emptied(validList, validListSize);
    }
    return rc;
}

}  // namespace

int32_t IsUserReadPolicyValidForController(const char* globalNo, const char* value, char* validList,
                                           uint32_t validListSize) {
    return CheckPolicy(kReadPolicy, globalNo, value, validList, validListSize, 0);
}
int32_t IsUserWritePolicyValidForController(const char* globalNo, const char* value,
                                            char* validList, uint32_t validListSize) {
    return CheckPolicy(kWritePolicy, globalNo, value, validList, validListSize, 0);
}
int32_t IsUserCachePolicyValidForController(const char* globalNo, const char* value,
                                            char* validList, uint32_t validListSize) {
    return CheckPolicy(kCachePolicy, globalNo, value, validList, validListSize, 0);
}
int32_t IsUserStripeSizeValidForController(const char* globalNo, const char* value, char* validList,
                                           uint32_t validListSize) {
    return CheckPolicy(kStripeSize, globalNo, value, validList, validListSize, 0);
}
int32_t IsUserDiskCachePolicyValidForController(const char* globalNo, const char* value,
                                                char* validList, uint32_t validListSize,
                                                int32_t allowFixed) {
    return CheckPolicy(kDiskCachePolicy, globalNo, value, validList, validListSize, allowFixed);
}

int32_t GetControllerRAIDLevelsMask(const char* globalNo, uint32_t* mask) {
    if (mask != nullptr) {
        *mask = 0;
    }
    return Ask(
        {"GetControllerRAIDLevelsMask", nullptr, nullptr},
        ControllerRequest(vkacmd.getController, globalNo), st::kOk,
        [&](const OCSXBuf* xml) {
            std::string text;
            da::ReadNthTag(xml, "RAIDLevelsMask", 0, text, 64);
            if (mask != nullptr) {
                ConvertBinaryStringToInteger(text.c_str(), mask);
            }
            return st::kOk;
        },
        da::AllocOrder::kResponseFirst);
}

int32_t IsUserRaidInputValueValidForController(const char* layoutValue, const char* /*unused*/,
                                               char* validList, uint32_t validListSize,
                                               uint32_t raidLevelsMask, const char* spanLength,
                                               int32_t flagA) {
    static constexpr const char* kName = "IsUserRaidInputValueValidForController";
    Enter(kName);
    ValidList list(validList, validListSize);
    const auto requested = static_cast<uint32_t>(ToNumber(Text(layoutValue)));
    if (spanLength != nullptr && flagA != 0 && (requested & kRaid10) != 0) {
        Leave(kName);
        return st::kR10SpanLength;
    }
    int32_t result = st::kOk;
    if ((raidLevelsMask & requested) == 0) {
        for (uint32_t bit = 1; bit <= kRaid1E; bit <<= 1) {
            if ((raidLevelsMask & bit) != 0) {
                std::string keyword;
                GetUserInputStringForRaidLayoutValue(bit, keyword);
                if (!keyword.empty()) {
                    list.Add(keyword);
                }
            }
        }
        result = st::kNotFound;
    }
    if ((raidLevelsMask & kRaid10) == 0 && (raidLevelsMask & kRaid1E) != 0) {
        if (spanLength == nullptr) {
            // A controller that builds RAID 1E in place of RAID 10 takes the
            // request as it is, whatever the mask test found.
            result = st::kOk;
        } else if (ToNumber(spanLength) != 1) {
            Leave("IsUserRaidInputValueValidForController : error KVCLIP_INVALID_R1E_SPANLENGTH");
            return st::kBadR1ESpanLength;
        }
    }
    Leave(kName);
    return result;
}

int32_t IsUserVirtualDiskNameValidForController(const char* globalNo, const char* name,
                                                int32_t nameGiven, char* errText,
                                                uint32_t errTextSize) {
    static constexpr const char* kName = "IsUserVirtualDiskNameValidForController";
    if (nameGiven == 0 || name == nullptr) {
        TraceLine(TRACE_LEVEL_DETAIL,
                  "KVCLP: name= parameter not passed in.  will use default name\n");
        return st::kOk;
    }
    TraceLine(TRACE_LEVEL_DETAIL,
              "IsUserVirtualDiskNameValidForController(): name= parameter passed in.  Checking "
              "if it is valid\n");
    return Ask(
        {kName, "IsUserVirtualDiskNameValidForController: OCSXAllocBuf() failed\n", nullptr},
        ControllerRequest(vkacmd.getController, globalNo), st::kNotFound,
        [&](const OCSXBuf* xml) {
            std::string attributesText;
            da::ReadNthTag(xml, "AttributesMask", 0, attributesText);
            uint32_t attributes = 0;
            ConvertBinaryStringToInteger(attributesText.c_str(), &attributes);
            if ((attributes & kFixedDiskCache) != 0) {
                return st::kVdNameNotAllowed;
            }
            if (IsStringAValidName(name, 1) != 0) {
                TraceLine(TRACE_LEVEL_DETAIL, "KVCLP: name= parameter is not valid\n");
                CopyBounded(errText, errTextSize,
                            "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces.");
                return st::kBadVdName;
            }
            char limit[32] = "";
            if (IsNameCorrectLength(name, globalNo, limit, sizeof limit) != 0) {
                TraceLine(TRACE_LEVEL_DETAIL, "KVCLP: name is too long\n");
                if (errText != nullptr && errTextSize > 0) {
                    std::snprintf(errText, errTextSize,
                                  "Names with minimum name length of 1, maximum name length of %s",
                                  limit);
                }
                return st::kBadVdName;
            }
            TraceLine(TRACE_LEVEL_DETAIL, "KVCLP: name= parameter is valid\n");
            return st::kOk;
        },
        da::AllocOrder::kResponseFirst);
}
