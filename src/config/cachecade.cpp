// "vkconfig storage cachecade": lights, deletion, resizing and renaming of
// a cachecade. A cachecade is addressed like a virtual disk (its number
// travels as "LogicalDriveNum=") and its actions are the virtual-disk
// requests.
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

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

// clang-format off
constexpr int32_t kBadDisk         = 1602;
constexpr int32_t kBadStripeSize   = 1613;
constexpr int32_t kBadName         = 1621;
constexpr int32_t kNameTooLong     = 1630;
constexpr int32_t kNameTaken       = 1639;
constexpr int32_t kBadCachecade    = 1739;
constexpr int32_t kNoCachecades    = 1740;
// clang-format on

constexpr const char* kNameRule = "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces.";
constexpr const char* kNoStripeSizes = "None - No valid stripe size values found";
constexpr const char* kNoDisks = "None - There are no array disks on this controller.";
constexpr uint32_t kPolicyListSize = 128;

constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kDiskList = CLPS_VT_DISK_LIST;
constexpr uint32_t kRequired = CLPS_USE_REQUIRED;
constexpr uint32_t kOptional = CLPS_USE_OPTIONAL;
constexpr uint32_t kOptKeyword = CLPS_USE_OPT_KEYWORD;
constexpr const char* kDiskForm = "5:31,1:4:31";

// clang-format off
constexpr auto kCachecadeParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum, kRequired, nullptr, 0},
    {"cachecade",  "LogicalDriveNum=", kNum, kRequired, nullptr, 0},
});
constexpr auto kDeleteParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,  kRequired,   nullptr, 0},
    {"cachecade",  "LogicalDriveNum=", kNum,  kRequired,   nullptr, 0},
    {"force",      "Force=yes",        kText, kOptKeyword, "yes",   0},
});
// Stripe sizes count 512-byte sectors: 2 KB is 4.
constexpr auto kResizeParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,      kRequired,   nullptr,   0},
    {"cachecade",  "LogicalDriveNum=", kNum,      kRequired,   nullptr,   0},
    {"stripesize", "StripeSize=4",     kText,     kOptKeyword, "2kb",     0},
    {"stripesize", "StripeSize=8",     kText,     kOptKeyword, "4kb",     0},
    {"stripesize", "StripeSize=16",    kText,     kOptKeyword, "8kb",     0},
    {"stripesize", "StripeSize=32",    kText,     kOptKeyword, "16kb",    0},
    {"stripesize", "StripeSize=64",    kText,     kOptKeyword, "32kb",    0},
    {"stripesize", "StripeSize=128",   kText,     kOptKeyword, "64kb",    0},
    {"stripesize", "StripeSize=256",   kText,     kOptKeyword, "128kb",   0},
    {"stripesize", "StripeSize=512",   kText,     kOptKeyword, "256kb",   0},
    {"stripesize", "StripeSize=1024",  kText,     kOptKeyword, "512kb",   0},
    {"stripesize", "StripeSize=2048",  kText,     kOptKeyword, "1mb",     0},
    {"stripesize", "StripeSize=4096",  kText,     kOptKeyword, "2mb",     0},
    {"stripesize", "StripeSize=8192",  kText,     kOptKeyword, "4mb",     0},
    {"stripesize", "StripeSize=16384", kText,     kOptKeyword, "8mb",     0},
    {"stripesize", "StripeSize=32768", kText,     kOptKeyword, "16mb",    0},
    {"pdisk",      "adisk=",           kDiskList, kOptional,   kDiskForm, 0},
    {"adisk",      "adisk=",           kDiskList, kOptional,   kDiskForm, 0},
});
constexpr auto kRenameParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,  kRequired, nullptr, 0},
    {"cachecade",  "LogicalDriveNum=", kNum,  kRequired, nullptr, 0},
    {"name",       "Name=",            kText, kRequired, nullptr, 0},
});

constexpr auto kCachecadeTable = std::to_array<CLPSNVActionRow>({
    Action("blink",           vkacmd.setVDBlink,       kCachecadeParams),
    Action("unblink",         vkacmd.setVDUnBlink,     kCachecadeParams),
    Action("deletecachecade", vkacmd.setVDdelete,      kDeleteParams),
    Action("resize",          vkacmd.setVDReconfigure, kResizeParams),
    Action("rename",          vkacmd.setVDReconfigure, kRenameParams),
});
// clang-format on

bool Is(const char* action, const char* keyword) {
    return action != nullptr && strcmpCaseIgnore(action, keyword) == 0;
}

int32_t CheckCachecade(const config::CallbackCall& call, const char* controller,
                       const char* cachecade) {
    if (cachecade == nullptr) return 0;
    std::string valid;
    if (IsUserCachecadeIdValid(cachecade, controller, valid) == 0) return 0;
    if (valid.empty()) return call.Refuse(kNoCachecades, cachecade, "");
    return call.Refuse(kBadCachecade, cachecade, valid);
}

// Resizing: one disk parameter (the cachecade's new set of disks), a stripe
// size the controller offers, and disks the controller has. The set may
// keep present members, so only existence is checked here; the agent
// refuses disks that are not free solid-state disks.
int32_t CheckResize(const config::CallbackCall& call, const char* controller) {
    const char* disks = call.User("adisk");
    const char* pdisks = call.User("pdisk");
    const int32_t given = CombineUserDiskParams(&disks, &pdisks);
    if (given != 0) return call.Refuse(given, disks != nullptr ? disks : "", "adisk, pdisk");

    if (const char* stripe = call.Pair("StripeSize")) {
        std::array<char, kPolicyListSize> valid{};
        if (IsUserStripeSizeValidForController(controller, stripe, valid.data(), valid.size()) != 0)
            return call.Refuse(kBadStripeSize, call.User("stripesize"),
                               valid[0] != '\0' ? valid.data() : kNoStripeSizes);
    }

    std::string_view list = disks;
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        const std::string disk(list.substr(0, comma));
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
        std::string valid;
        uint32_t count = 0;
        if (IsUserArrayDiskIdValid(disk.c_str(), controller, valid, 0, &count) != 0)
            return call.Refuse(kBadDisk, disk, count != 0 ? valid : kNoDisks);
    }
    return 0;
}

int32_t CheckRename(const config::CallbackCall& call, const char* controller) {
    const char* name = call.User("name");
    if (name == nullptr) name = "";
    if (IsStringAValidName(name, 1) != 0) return call.Refuse(kBadName, name, kNameRule);
    std::array<char, 32> maxLength{};
    const int32_t length =
        IsNameCorrectLength(name, controller, maxLength.data(), maxLength.size());
    if (length == 1) return call.Refuse(kNameTooLong, name, maxLength.data());
    if (length != 0) return call.Refuse(config::kCannotRead, name, "");
    if (IsCtrlVDNameDuplicate(name, controller) == 0) return call.Refuse(kNameTaken, name, "");
    return 0;
}

int32_t CmdConfigCachecadeValidateFunc(void*, void*, uint32_t userCount, const char** userWords,
                                       uint32_t* nvCount, const char** nvList, void*, void*,
                                       char* errText1, char* errText2) {
    da::ScopedFunctionTrace trace("CmdConfigCachecadeValidateFunc");
    const config::CallbackCall call(userCount, userWords, nvCount, nvList, errText1, errText2);
    const char* action = call.User("action");
    const char* controller = call.User("controller");
    const char* cachecade = call.User("cachecade");
    // A cachecade is a virtual disk: its controller is refused as the
    // virtual-disk command refuses it, any failure (a busy controller
    // included) as 1600 with the valid controllers.
    if (int32_t refused = config::CheckControllerWithSize(call, controller)) return refused;
    if (int32_t refused = CheckCachecade(call, controller, cachecade)) return refused;

    uint32_t supported = 0;
    uint32_t current = 0;
    if (IsUserOperationValidForVirtualDisk(action, controller, cachecade, &supported, &current) !=
        0)
        return call.Refuse(config::kCannotRead, action != nullptr ? action : "", "");
    if (int32_t refused = config::CheckCapability(call, action, supported, current)) return refused;

    if (Is(action, "resize")) {
        if (int32_t refused = CheckResize(call, controller)) return refused;
    } else if (Is(action, "rename")) {
        if (int32_t refused = CheckRename(call, controller)) return refused;
    }
    return config::kSend;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage cachecade", "", kCachecadeTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kCachecadeTables = kTables;

CLPSResponse* ConfigCachecade(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6990, 6993, kCachecadeTable.data(),
                               kCachecadeTable.size(), "kvclp.xsl", CmdConfigCachecadeValidateFunc);
}
