#include "callback_support.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "da.h"
#include "kvsup.h"
#include "ocs.h"

namespace config {

const char* CallbackCall::User(const char* name) const {
    return OCSGetAStrParamValueByAStrName(userCount_, userWords_, name, 1);
}

const char* CallbackCall::Pair(const char* name) const {
    return OCSGetAStrParamValueByAStrName(*nvCount_, nvList_, name, 1);
}

int32_t CallbackCall::PairIndex(const char* name) const {
    const std::size_t length = std::strlen(name);
    for (uint32_t i = 0; i < *nvCount_; ++i) {
        const char* entry = nvList_[i];
        if (entry != nullptr && std::strncmp(entry, name, length) == 0 && entry[length] == '=')
            return static_cast<int32_t>(i);
    }
    return -1;
}

bool CallbackCall::AppendNumber(const char* name, int32_t value) {
    if (*nvCount_ >= CLPS_NV_LIST_MAX) return false;
    std::array<char, 256> block{};
    std::snprintf(block.data(), block.size(), "%s=%d", name, value);
    const char* kept = CLPSNVKeepString(block.data());
    if (kept == nullptr) return false;
    nvList_[(*nvCount_)++] = kept;
    return true;
}

bool CallbackCall::AppendText(const char* name, const char* value) {
    if (*nvCount_ >= CLPS_NV_LIST_MAX) return false;
    const std::string entry = std::string(name) + "=" + (value != nullptr ? value : "");
    const char* kept = CLPSNVKeepString(entry.c_str());
    if (kept == nullptr) return false;
    nvList_[(*nvCount_)++] = kept;
    return true;
}

bool CallbackCall::SetPair(const char* name, const char* value) {
    const int32_t at = PairIndex(name);
    if (at < 0) return AppendText(name, value);
    const std::string entry = std::string(name) + "=" + (value != nullptr ? value : "");
    const char* kept = CLPSNVKeepString(entry.c_str());
    if (kept == nullptr) return false;
    nvList_[at] = kept;
    return true;
}

bool CallbackCall::RemovePair(const char* name) {
    const int32_t at = PairIndex(name);
    if (at < 0) return false;
    for (uint32_t i = static_cast<uint32_t>(at); i + 1 < *nvCount_; ++i)
        nvList_[i] = nvList_[i + 1];
    --*nvCount_;
    return true;
}

int32_t CallbackCall::Refuse(int32_t status, std::string_view offending,
                             std::string_view valid) const {
    std::snprintf(err1_, CLPS_ERR_TEXT_SIZE, "%.*s", static_cast<int>(offending.size()),
                  offending.data());
    std::snprintf(err2_, CLPS_ERR_TEXT_SIZE, "%.*s", static_cast<int>(valid.size()), valid.data());
    return status;
}

int32_t CheckControllerWithSize(const CallbackCall& call, const char* controller) {
    if (controller == nullptr) return 0;
    std::array<char, kControllerListSize> valid{};
    // Every failure counts, a controller busy with automatic configuration
    // (1774) included: such a controller takes no commands either.
    if (IsUserControllerIdValidWithSize(controller, valid.data(), valid.size()) != 0)
        return call.Refuse(kInvalidController, controller, valid.data());
    return 0;
}

int32_t CheckController(const CallbackCall& call, const char* controller) {
    if (controller == nullptr) return 0;
    std::string valid;
    if (IsUserControllerIdValid(controller, valid) != 0)
        return call.Refuse(kInvalidController, controller, valid);
    return 0;
}

int32_t CheckCapability(const CallbackCall& call, const char* action, uint32_t supported,
                        uint32_t current) {
    const char* text = action != nullptr ? action : "";
    if (supported == 0) return call.Refuse(kNotSupported, text, "");
    if (current == 0) return call.Refuse(kNotPossibleNow, text, "");
    return 0;
}

}  // namespace config
