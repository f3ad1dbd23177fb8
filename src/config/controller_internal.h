// What the controller command's two sources share: the facts read about the
// controller once per call, the small reads and comparisons every branch
// uses, and the virtual-disk creation checks.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "callback_support.h"
#include "trace.h"
#include "vocabulary.h"

// A trace line at a level, formatted only when that level is on.
#define VK_CONFIG_TRACE(level, ...)                                     \
    do {                                                                \
        if (SysDbgIsLevelEnabled(level) != 0) SysDbgPrint(__VA_ARGS__); \
    } while (0)

namespace config::controller {

// Read once per call, before the controller is validated.
struct ControllerFacts {
    const char* action = nullptr;
    const char* controller = nullptr;
    bool isK310 = false;  // the controller's name holds "K310"
    bool flagA = false;   // bit 8 of AttributesMask1: the controller sizes spans itself
    bool flagB = false;   // bit 0 of AttributesMask1: power settings go together
};

// Bits of the controller's AttributesMask that both sources test.
inline constexpr uint32_t kAttrSecureCapable = vk::ctrlattr::kSecurityCapable;
inline constexpr uint32_t kAttrKeyPresent = vk::ctrlattr::kSecurityKeyPresent;

// The user's keyword equals word, ignoring case (null never equals).
bool Is(const char* value, const char* word);
// A binary mask tag of the controller ("AttributesMask"); empty when it
// cannot be read.
std::optional<uint32_t> ReadMask(const char* controller, const char* tag);
// True when the mask could be read and has bit.
bool HasBit(const std::optional<uint32_t>& mask, uint32_t bit);
// A present value of the controller, cut to capacity - 1 characters; empty
// when the read failed (a missing tag or no XML buffer).
std::optional<std::string> ReadCurrent(const char* controller, const char* tag, uint32_t capacity);
// Validator codes (-1 no answer, 1 bad form, 272 no XML buffer) are not
// host messages: they become "a present value could not be read".
int32_t AsMessage(int32_t status);

// The identifiers of a comma-separated disk list as the creation and
// conversion checks compare them: the text cut to 2047 characters, blanks
// removed, split at "," into at most 2048 identifiers of at most 7
// characters.
std::vector<std::string> SplitDiskIds(std::string_view list);
// The first user disk missing from valid, or null when all are there.
const std::string* FirstMissing(const std::vector<std::string>& user,
                                const std::vector<std::string>& valid);

// "createvdisk" and "createcachecade", after the common steps.
int32_t CheckCreateVirtualDisk(CallbackCall& call, const ControllerFacts& facts);
int32_t CheckCreateCachecade(CallbackCall& call, const ControllerFacts& facts);

}  // namespace config::controller
