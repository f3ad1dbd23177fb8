// Controller and disk setting keywords (small numbers in the agent, on/off
// style keywords for users), and the reads of single controller settings
// that other checks depend on.
#include <array>
#include <span>
#include <string>

#include "keyword_map.h"
#include "kvsup_internal.h"
#include "kvsup_tables.h"

using namespace kvsup::detail;
using Row = KeywordRow<int32_t>;
namespace st = kvsup::status;

namespace {

// clang-format off
constexpr Row kAbortCC[]          = {{0, "disabled"},  {1, "enabled"}};
constexpr Row kSmarter[]          = {{0, "disabled"},  {1, "enabled"}};
constexpr Row kCopyback[]         = {{0, "enabled"},   {1, "disabled"}};  // reversed on purpose
constexpr Row kPersistentHotSlot[] = {{0, "disabled"}, {1, "enabled"}};
constexpr Row kLoadbalance[]      = {{0, "auto"},      {1, "disabled"}};
constexpr Row kMultipath[]        = {{0, "disabled"},  {1, "clear"}};
constexpr Row kDiskWriteCache[]   = {{0, "unchanged"}, {1, "enabled"}, {2, "disabled"}};
constexpr Row kAutoManual[]       = {{1, "auto"},      {2, "manual"},  {4, "disable"}};
// The present disk cache policy as the comparison names it.
constexpr Row kPresentDiskCache[] = {{2, "enabled"},   {4, "disabled"}, {8, "default"}};

constexpr auto kMaps = std::to_array<kvsup::KeywordMapRef<int32_t>>({
    {"abort consistency check", kAbortCC},
    {"smarter",                 kSmarter},
    {"copyback",                kCopyback},
    {"persistent hot slot",     kPersistentHotSlot},
    {"load balance",            kLoadbalance},
    {"multipath",               kMultipath},
    {"disk write cache",        kDiskWriteCache},
    {"auto or manual",          kAutoManual},
    {"present disk cache",      kPresentDiskCache},
});
// clang-format on

int32_t Lookup(const char* name, std::span<const Row> rows, int32_t value, std::string& out) {
    return kvsup::detail::TracedKeywordFor(name, rows, value, out);
}

// One tag of the controller as a number: the value (0 when missing), -1 no
// answer, 272 no buffer.
int32_t ReadControllerNumber(const char* name, const char* tag, const char* globalNo) {
    return Ask({name, nullptr, nullptr}, ControllerRequest(vkacmd.getController, globalNo),
               st::kNotFound, [&](const OCSXBuf* xml) {
                   std::string value;
                   da::ReadNthTag(xml, tag, 0, value);
                   return static_cast<int32_t>(ToNumber(value));
               });
}

}  // namespace

const std::span<const kvsup::KeywordMapRef<int32_t>> kvsup::kSettingKeywordMaps = kMaps;

int32_t GetUserInputStringForAbortCCValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForAbortCCValue", kAbortCC, value, out);
}
int32_t GetUserInputStringForSmarterValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForSmarterValue", kSmarter, value, out);
}
int32_t GetUserInputStringForCopybackValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForCopybackValue", kCopyback, value, out);
}
int32_t GetUserInputStringForPersistentHotSlotValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForPersistentHotSlotValue", kPersistentHotSlot, value, out);
}
int32_t GetUserInputStringForLoadbalanceValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForLoadbalanceValue", kLoadbalance, value, out);
}
int32_t GetUserInputStringForMultipathValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForMultipathValue", kMultipath, value, out);
}
int32_t GetUserInputStringForDiskWriteCacheValue(int32_t value, std::string& out) {
    return Lookup("GetUserInputStringForDiskWriteCacheValue", kDiskWriteCache, value, out);
}

int32_t GetUserInputStringForAutoManualValue(uint32_t value, std::string& out) {
    // The only map without trace lines.
    out = value <= 4 ? KeywordFor<int32_t>(kAutoManual, static_cast<int32_t>(value)) : "";
    return 0;
}

int32_t IsUserDiskCachePolicySameAsCurrent(const char* presentValue, const char* userKeyword) {
    const auto present = static_cast<int32_t>(ToNumber(Text(presentValue)));
    const std::string_view keyword = KeywordFor<int32_t>(kPresentDiskCache, present);
    return Text(userKeyword) == keyword ? st::kSameAsCurrent : st::kOk;
}

int32_t CanCopybackBeDisabled(const char* globalNo) {
    return ReadControllerNumber("CanCopybackBeDisabled", "AutoCopybackOnPredictiveFailure",
                                globalNo);
}

int32_t CanSmarterBeEnabled(const char* globalNo) {
    return ReadControllerNumber("CanSmarterBeEnabled", "Copyback", globalNo);
}

int32_t isControllerSecurityModeDKM(const char* globalNo, int32_t mode) {
    // No answer: the mode cannot be confirmed, so it is not the one asked.
    return Ask({"isControllerSecurityModeDKM", nullptr, nullptr},
               ControllerRequest(vkacmd.getController, globalNo), 0, [&](const OCSXBuf* xml) {
                   std::string value;
                   if (!da::ReadNthTag(xml, "SecurityMode", 0, value)) {
                       return 0;
                   }
                   return ToNumber(value) == mode ? 1 : 0;
               });
}

namespace kvsup {
int32_t AbortCCValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kAbortCC, k, -1);
}
int32_t SmarterValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kSmarter, k, -1);
}
int32_t CopybackValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kCopyback, k, -1);
}
int32_t PersistentHotSlotValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kPersistentHotSlot, k, -1);
}
int32_t LoadbalanceValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kLoadbalance, k, -1);
}
int32_t MultipathValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kMultipath, k, -1);
}
int32_t DiskWriteCacheValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kDiskWriteCache, k, -1);
}
int32_t AutoManualValueForKeyword(std::string_view k) {
    return detail::ValueFor<int32_t>(kAutoManual, k, -1);
}
}  // namespace kvsup
