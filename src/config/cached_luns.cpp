// "vkconfig storage tarncachedisk": disables a cached LUN and discards its
// cache.
#include <array>
#include <string>

#include "callback_support.h"
#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "da.h"
#include "handlers.h"
#include "kvsup.h"
#include "trace.h"

namespace {

using kvclp::Action;
using kvclp::vkacmd;

constexpr int32_t kInvalidCachedLun = 1759;
constexpr const char* kNoCachedLuns = "None - There are no cached LUNs.";

// clang-format off
constexpr auto kDisableParams = std::to_array<CLPSNVParamRow>({
    {"tarncachedisk", "Name=",                 CLPS_VT_TEXT, CLPS_USE_REQUIRED,   nullptr,          0},
    {nullptr,         "TarnCacheDiskMethod=",  CLPS_VT_TEXT, CLPS_USE_FIXED_PAIR, "DisableDiscard", 0},
});
constexpr auto kCachedLunTable = std::to_array<CLPSNVActionRow>({
    Action("disablewithdiscard", vkacmd.setTarnCacheDiskOperation, kDisableParams),
});
// clang-format on

// The names of every cached LUN, for the refusal of an unknown one.
std::string CachedLunNames() {
    da::Request request(vkacmd.getAllCachedLuns);
    request.Cli();
    std::string names;
    da::AskAgent("CachedLunNames", request, da::AllocOrder::kBufferFirst, kDANotValid,
                 [&](const OCSXBuf* xml) {
                     std::string name;
                     for (uint32_t n = 0; da::ReadNthTag(xml, "CacheLunName", n, name); ++n)
                         names += (names.empty() ? "" : ", ") + name;
                     return kDAValid;
                 });
    return names;
}

int32_t CmdConfigCachedlunsValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                        uint32_t* nvCount, const char** nvList, void*, void*,
                                        char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigCachedlunsValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* action = call.User("action");
    if (action == nullptr || strcmpCaseIgnore(action, "disablewithdiscard") != 0)
        return config::kSend;
    const char* name = call.User("tarncachedisk");
    uint32_t supported = 0;
    uint32_t current = 0;
    // Cached LUNs are listed for the whole system: no controller is named.
    const int32_t status =
        IsUserInputValidForCachedluns(action, nullptr, name, &supported, &current);
    if (status == kvsup::status::kNoSuchPartition) {
        const std::string names = CachedLunNames();
        return call.Refuse(kInvalidCachedLun, name != nullptr ? name : "",
                           names.empty() ? kNoCachedLuns : names);
    }
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage tarncachedisk", "", kCachedLunTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kCachedLunTables = kTables;

CLPSResponse* ConfigTarnCacheDisk(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6086, 6087, kCachedLunTable.data(),
                               kCachedLunTable.size(), "kvclp.xsl",
                               CmdConfigCachedlunsValidateFunc);
}
