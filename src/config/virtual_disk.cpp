// Virtual-disk configuration: the "vdisk" command table and its validate
// callback. The callback checks the controller, the virtual disk and the
// action's capability bits, then what each action adds: dedicated hot
// spares, member replacement, policy changes, a new name, the cache-feature
// device name and a reconfiguration's layout, stripe size, disks and size.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "callback_support.h"
#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "da.h"
#include "handlers.h"
#include "kvsup.h"
#include "trace.h"
#include "vocabulary.h"

namespace {

using kvclp::Action;
using kvclp::Join;
using kvclp::vkacmd;

constexpr const char* kCallbackName = "CmdConfigVirtualDiskValidateFunc";

// clang-format off
constexpr int32_t kInvalidDisk          = 1602;
constexpr int32_t kInvalidVirtualDisk   = 1604;
constexpr int32_t kSizeNotNumber        = 1606;
constexpr int32_t kSizeUnit             = 1607;
constexpr int32_t kRaidLevel            = 1609;
constexpr int32_t kReadPolicy           = 1610;
constexpr int32_t kWritePolicy          = 1611;
constexpr int32_t kCachePolicy          = 1612;
constexpr int32_t kStripeSize           = 1613;
constexpr int32_t kBadName              = 1621;
constexpr int32_t kNoVirtualDisks       = 1622;
constexpr int32_t kDisksNotAddable      = 1627;
constexpr int32_t kDedicatedSpare       = 1629;
constexpr int32_t kNameTooLong          = 1630;
constexpr int32_t kRaid10DiskCount      = 1637;
constexpr int32_t kNameTaken            = 1639;
constexpr int32_t kSameReadPolicy       = 1652;
constexpr int32_t kSameWritePolicy      = 1653;
constexpr int32_t kSameCachePolicy      = 1654;
constexpr int32_t kReconfigureSize      = 1665;
constexpr int32_t kDiskCachePolicy      = 1674;
constexpr int32_t kSameDiskCachePolicy  = 1675;
constexpr int32_t kSourceDisk           = 1676;
constexpr int32_t kDestinationDisk      = 1691;
constexpr int32_t kLayoutUnreachable    = 1724;
constexpr int32_t kDiskCount            = 1725;
constexpr int32_t kNothingToChange      = 1727;
constexpr int32_t kBadCharacter         = 1754;
constexpr int32_t kEdgeBlank            = 1755;
// clang-format on

constexpr uint32_t kPolicyListSize = 128;
constexpr uint32_t kMaxLengthSize = 32;
constexpr uint32_t kDedicatedSpareAttribute = vk::diskattr::kDedicatedHotSpare;
constexpr const char* kNameRule = "[A-Z,a-z,0-9,-, ,_] and cannot start/end with spaces.";
constexpr const char* kNoAdisks = "None - no valid adisks found";
constexpr const char* kNoArrayDisks = "None - There are no array disks on this controller.";

// Shorthands of the parameter rows.
constexpr uint32_t kText = CLPS_VT_TEXT;
constexpr uint32_t kNum = CLPS_VT_UINT;
constexpr uint32_t kDisk = CLPS_VT_DISK;
constexpr uint32_t kDiskList = CLPS_VT_DISK_LIST;
constexpr const char* kDiskForm = "5:31,1:4:31";

// clang-format off
constexpr auto kV1 = std::to_array<CLPSNVParamRow>({  // the controller and the virtual disk
    {"controller", "GlobalNo=",        kNum, CLPS_USE_REQUIRED, nullptr, 0},
    {"vdisk",      "LogicalDriveNum=", kNum, CLPS_USE_REQUIRED, nullptr, 0},
});
constexpr auto kV2 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"force", "Force=yes", kText, CLPS_USE_OPT_KEYWORD, "yes", 0},
}));
constexpr auto kV3 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"adisk",  "adisk=",  kDiskList, CLPS_USE_OPTIONAL,    kDiskForm, 0},
    {"pdisk",  "adisk=",  kDiskList, CLPS_USE_OPTIONAL,    kDiskForm, 0},
    {"assign", "set=yes", kText,     CLPS_USE_REQ_KEYWORD, "yes",     0},
    {"assign", "set=no",  kText,     CLPS_USE_REQ_KEYWORD, "no",      0},
}));
constexpr auto kV4 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"source",      "sourceadisk=",      kDisk, CLPS_USE_REQUIRED, kDiskForm, 0},
    {"destination", "destinationadisk=", kDisk, CLPS_USE_REQUIRED, kDiskForm, 0},
}));
constexpr auto kV5 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"cachepolicy", "CacheLunMode=", kText, CLPS_USE_REQUIRED, nullptr, 0},
    {"devicename",  "Name=",         kText, CLPS_USE_REQUIRED, nullptr, 0},
}));
constexpr auto kV6 = Join(kV1, std::to_array<CLPSNVParamRow>({  // also V7
    {"devicename", "Name=", kText, CLPS_USE_REQUIRED, nullptr, 0},
}));
constexpr auto kV8 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"name", "Name=", kText, CLPS_USE_REQUIRED, nullptr, 0},
}));
constexpr auto kV9 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"readpolicy",      "ReadPolicy=1",       kText, CLPS_USE_GROUP_KEYWORD, "rc",        0},
    {"readpolicy",      "ReadPolicy=2",       kText, CLPS_USE_GROUP_KEYWORD, "nrc",       0},
    {"readpolicy",      "ReadPolicy=4",       kText, CLPS_USE_GROUP_KEYWORD, "ra",        0},
    {"readpolicy",      "ReadPolicy=8",       kText, CLPS_USE_GROUP_KEYWORD, "ara",       0},
    {"readpolicy",      "ReadPolicy=16",      kText, CLPS_USE_GROUP_KEYWORD, "nra",       0},
    {"writepolicy",     "WritePolicy=1",      kText, CLPS_USE_GROUP_KEYWORD, "wc",        0},
    {"writepolicy",     "WritePolicy=2",      kText, CLPS_USE_GROUP_KEYWORD, "nwc",       0},
    {"writepolicy",     "WritePolicy=4",      kText, CLPS_USE_GROUP_KEYWORD, "wb",        0},
    {"writepolicy",     "WritePolicy=8",      kText, CLPS_USE_GROUP_KEYWORD, "wt",        0},
    {"writepolicy",     "WritePolicy=32",     kText, CLPS_USE_GROUP_KEYWORD, "fwb",       0},
    {"cachepolicy",     "CachePolicy=1",      kText, CLPS_USE_GROUP_KEYWORD, "d",         0},
    {"cachepolicy",     "CachePolicy=2",      kText, CLPS_USE_GROUP_KEYWORD, "c",         0},
    {"diskcachepolicy", "DiskCachePolicy=1",  kText, CLPS_USE_GROUP_KEYWORD, "unchanged", 0},
    {"diskcachepolicy", "DiskCachePolicy=8",  kText, CLPS_USE_GROUP_KEYWORD, "default",   0},
    {"diskcachepolicy", "DiskCachePolicy=2",  kText, CLPS_USE_GROUP_KEYWORD, "enabled",   0},
    {"diskcachepolicy", "DiskCachePolicy=4",  kText, CLPS_USE_GROUP_KEYWORD, "disabled",  0},
}));
constexpr auto kV10 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {"raid",                "Layout=2",            kText,     CLPS_USE_REQ_KEYWORD, "r0",    0},
    {"raid",                "Layout=4",            kText,     CLPS_USE_REQ_KEYWORD, "r1",    0},
    {"raid",                "Layout=64",           kText,     CLPS_USE_REQ_KEYWORD, "r5",    0},
    {"raid",                "Layout=128",          kText,     CLPS_USE_REQ_KEYWORD, "r6",    0},
    {"raid",                "Layout=512",          kText,     CLPS_USE_REQ_KEYWORD, "r10",   0},
    {"raid",                "Layout=2048",         kText,     CLPS_USE_REQ_KEYWORD, "r50",   0},
    {"raid",                "Layout=262144",       kText,     CLPS_USE_REQ_KEYWORD, "r60",   0},
    {"raid",                "Layout=4096",         kText,     CLPS_USE_REQ_KEYWORD, "r1c",   0},
    {"raid",                "Layout=1",            kText,     CLPS_USE_REQ_KEYWORD, "c",     0},
    {"size",                "Length=",             kText,     CLPS_USE_OPTIONAL,    nullptr, 0},
    {"stripesize",          "StripeSize=4",        kText,     CLPS_USE_OPT_KEYWORD, "2kb",   0},
    {"stripesize",          "StripeSize=8",        kText,     CLPS_USE_OPT_KEYWORD, "4kb",   0},
    {"stripesize",          "StripeSize=16",       kText,     CLPS_USE_OPT_KEYWORD, "8kb",   0},
    {"stripesize",          "StripeSize=32",       kText,     CLPS_USE_OPT_KEYWORD, "16kb",  0},
    {"stripesize",          "StripeSize=64",       kText,     CLPS_USE_OPT_KEYWORD, "32kb",  0},
    {"stripesize",          "StripeSize=128",      kText,     CLPS_USE_OPT_KEYWORD, "64kb",  0},
    {"stripesize",          "StripeSize=256",      kText,     CLPS_USE_OPT_KEYWORD, "128kb", 0},
    {"stripesize",          "StripeSize=512",      kText,     CLPS_USE_OPT_KEYWORD, "256kb", 0},
    {"stripesize",          "StripeSize=1024",     kText,     CLPS_USE_OPT_KEYWORD, "512kb", 0},
    {"stripesize",          "StripeSize=2048",     kText,     CLPS_USE_OPT_KEYWORD, "1mb",   0},
    {"stripesize",          "StripeSize=4096",     kText,     CLPS_USE_OPT_KEYWORD, "2mb",   0},
    {"stripesize",          "StripeSize=8192",     kText,     CLPS_USE_OPT_KEYWORD, "4mb",   0},
    {"stripesize",          "StripeSize=16384",    kText,     CLPS_USE_OPT_KEYWORD, "8mb",   0},
    {"stripesize",          "StripeSize=32768",    kText,     CLPS_USE_OPT_KEYWORD, "16mb",  0},
    {"pdisk",               "adisk=",              kDiskList, CLPS_USE_OPTIONAL,    kDiskForm, 0},
    {"adisk",               "adisk=",              kDiskList, CLPS_USE_OPTIONAL,    kDiskForm, 0},
    {"sizeinpercent",       "VDExpansionPercent=", kText,     CLPS_USE_OPTIONAL,    nullptr, 0},
    // The only value taken is "yes"; it sends the pair as it stands.
    {"vdcapacityexpansion", "IsVDOCEPossible=1",   kText,     CLPS_USE_OPTIONAL,    "yes",   0},
}));
constexpr auto kV11 = Join(kV1, std::to_array<CLPSNVParamRow>({
    {nullptr, "AttributesMask=", kText, CLPS_USE_FIXED_PAIR, "1", 0},
}));
// clang-format on

// clang-format off
constexpr auto kVirtualDiskTable = std::to_array<CLPSNVActionRow>({
    Action("checkconsistency",        vkacmd.setVDCheckConsistency,       kV1),
    Action("cancelcheckconsistency",  vkacmd.setVDCancelCheckConsistency, kV1),
    Action("pausecheckconsistency",   vkacmd.setVDPauseCheckConsistency,  kV1),
    Action("resumecheckconsistency",  vkacmd.setVDResumeCheckConsistency, kV1),
    Action("blink",                   vkacmd.setVDBlink,                  kV1),
    Action("unblink",                 vkacmd.setVDUnBlink,                kV1),
    Action("initialize",              vkacmd.setVDInitialize,             kV1),
    Action("fastinit",                vkacmd.setVDFastInitialize,         kV2),
    Action("slowinit",                vkacmd.setVDSlowInitialize,         kV2),
    Action("cancelinitialize",        vkacmd.setVDCancelInitialize,       kV1),
    Action("restoresegments",         vkacmd.setVDRecover,                kV1),
    Action("splitmirror",             vkacmd.setVDSplitMirrorSet,         kV1),
    Action("unmirror",                vkacmd.setVDUnMirror,               kV1),
    Action("cancelbginitialize",      vkacmd.setVDCancelBGInitialize,     kV1),
    Action("assigndedicatedhotspare", vkacmd.setVDDedicatedHotSpare,      kV3),
    Action("replacememberdisk",       vkacmd.setVDMemberReplace,          kV4),
    Action("deletevdisk",             vkacmd.setVDdelete,                 kV2),
    Action("format",                  vkacmd.setVDFormat,                 kV1),
    Action("reconfigure",             vkacmd.setVDReconfigure,            kV10),
    Action("changepolicy",            vkacmd.setVDReconfigure,            kV9),
    Action("clearvdbadblocks",        vkacmd.setVDClearBadBlocks,         kV1),
    Action("SecureVD",                vkacmd.setVDReconfigure,            kV11),
    Action("rename",                  vkacmd.setVDReconfigure,            kV8),
    Action("enabletarncache",         vkacmd.setVDEnableTarnCache,        kV5),
    Action("disabletarncache",        vkacmd.setVDDisableTarnCache,       kV6),
    Action("reactivate",              vkacmd.setVDReactivateTarnCache,    kV6),
});

// Level migrations a controller carries out in place: striped and mirrored
// sets move to the parity levels and back to striping; every other layout
// can only grow in its own layout.
struct Migration {
    uint32_t from;
    std::array<uint32_t, 4> to;  // 0 ends the list
};
constexpr std::array kMigrations = {
    Migration{2,   {2, 4, 64, 128}},
    Migration{4,   {2, 4, 64, 128}},
    Migration{64,  {2, 64, 128, 0}},
    Migration{128, {2, 64, 128, 0}},
};

// Number of disks each layout needs once the reconfiguration is done.
struct DiskRule {
    uint32_t layout;
    uint32_t least;
    uint32_t most;  // 0: no upper limit
    bool even;
    const char* needs;
};
constexpr std::array kDiskRules = {
    DiskRule{1,      1, 0, false, "1 or more disks"},
    DiskRule{2,      1, 0, false, "1 or more disks"},
    DiskRule{4,      2, 2, false, "2 disks"},
    DiskRule{64,     3, 0, false, "3 or more disks"},
    DiskRule{128,    4, 0, false, "4 or more disks"},
    DiskRule{512,    4, 0, true,  "an even number of disks, 4 or more"},
    DiskRule{2048,   6, 0, false, "6 or more disks"},
    DiskRule{262144, 8, 0, false, "8 or more disks"},
};

// Characters a cache-feature device name or mode may hold besides letters
// and digits: device paths ("/dev/sdb", "disk-0_1.2:3").
constexpr std::string_view kDeviceNameExtras = "/-_.:";
constexpr std::string_view kModeExtras = "-_";
// clang-format on

bool Is(const char* value, const char* keyword) {
    return value != nullptr && strcmpCaseIgnore(value, keyword) == 0;
}

std::string_view Text(const char* value) {
    return value != nullptr ? std::string_view(value) : std::string_view();
}

std::string OrNone(const std::string& list, const char* none) {
    return list.empty() ? std::string(none) : list;
}

std::vector<std::string> SplitList(std::string_view list, std::string_view separator) {
    std::vector<std::string> items;
    while (!list.empty()) {
        const std::size_t at = list.find(separator);
        items.emplace_back(list.substr(0, at));
        if (at == std::string_view::npos) break;
        list.remove_prefix(at + separator.size());
    }
    return items;
}

uint32_t ToNumber(const char* text) {
    uint32_t value = 0;
    for (const char c : Text(text)) {
        if (c < '0' || c > '9') break;
        value = value * 10 + static_cast<uint32_t>(c - '0');
    }
    return value;
}

std::string RaidKeyword(uint32_t layout) {
    std::string keyword;
    GetUserInputStringForRaidLayoutValue(layout, keyword);
    return keyword.empty() ? std::to_string(layout) : keyword;
}

// The refusal for a policy validator's answer: 0 passes, 272 is a read
// failure, anything else a value the controller does not offer.
int32_t PolicyRefusal(const config::CallbackCall& call, int32_t status, int32_t refusal,
                      const char* keyword, const char* list, const char* none) {
    if (status == 0) return 0;
    if (status == kvsup::status::kNoBuffer) return call.Refuse(config::kCannotRead, keyword, "");
    return call.Refuse(refusal, Text(keyword), list[0] != '\0' ? list : none);
}

// ---- actions with disks ------------------------------------------------------

// The user's disk list, adisk or pdisk; null after a refusal.
const char* DiskList(const config::CallbackCall& call, int32_t& refusal) {
    const char* adisk = call.User("adisk");
    const char* pdisk = call.User("pdisk");
    const int32_t status = CombineUserDiskParams(&adisk, &pdisk);
    if (status != 0) {
        refusal = call.Refuse(status, "", "");
        return nullptr;
    }
    return adisk;
}

int32_t CheckDedicatedHotSpares(const config::CallbackCall& call, const char* controller,
                                const char* vdisk) {
    int32_t refusal = 0;
    const char* disks = DiskList(call, refusal);
    if (disks == nullptr) return refusal;
    const std::vector<std::string> ids = SplitList(disks, ",");
    const bool unassign = Is(call.User("assign"), "no");
    if (!unassign) {
        const int32_t allowed =
            IsDedicateHotSpareAllowed(controller, vdisk, static_cast<uint32_t>(ids.size()));
        if (allowed == kvsup::status::kNoBuffer)
            return call.Refuse(config::kCannotRead, "assigndedicatedhotspare assign=yes", "");
        // Not allowed (a controller that keeps no further dedicated spares
        // on this disk): the action is not possible now.
        if (allowed == kvsup::status::kNotFound)
            return call.Refuse(config::kNotPossibleNow, "assigndedicatedhotspare assign=yes", "");
        if (allowed != 0) return call.Refuse(allowed, disks, "");
    }
    for (const std::string& id : ids) {
        std::string valid;
        // Releasing a spare needs one of the disk's present dedicated
        // spares; assigning one needs a candidate the controller offers.
        const int32_t status =
            unassign ? IsUserDHSValid(id.c_str(), controller, vdisk, valid)
                     : IsUserArrayDiskIdValidDHS(id.c_str(), controller, vdisk, valid);
        if (status == kvsup::status::kNoBuffer) return call.Refuse(config::kCannotRead, id, "");
        if (status != 0) return call.Refuse(kDedicatedSpare, id, OrNone(valid, kNoAdisks));
    }
    return 0;
}

int32_t CheckMemberReplace(const config::CallbackCall& call, const char* controller,
                           const char* vdisk) {
    const char* source = call.User("source");
    const char* destination = call.User("destination");
    std::string valid;
    if (pUserSourceAdiskIdValid(source, controller, vdisk, valid) != 0)
        return call.Refuse(kSourceDisk, Text(source), OrNone(valid, kNoAdisks));
    valid.clear();
    if (IsUserDestinationADiskIdValid(destination, controller, vdisk, valid) != 0)
        return call.Refuse(kDestinationDisk, Text(destination), OrNone(valid, kNoAdisks));
    return 0;
}

// ---- policies and names ----------------------------------------------------------

int32_t CheckPolicies(const config::CallbackCall& call, const char* controller, const char* vdisk) {
    struct Policy {
        const char* user;
        const char* pair;
        int32_t (*validate)(const char*, const char*, char*, uint32_t);
        int32_t refusal;
        const char* none;
    };
    auto diskCache = [](const char* globalNo, const char* value, char* list, uint32_t size) {
        return IsUserDiskCachePolicyValidForController(globalNo, value, list, size, 0);
    };
    // clang-format off
    const std::array<Policy, 4> policies = {{
        {"readpolicy",      "ReadPolicy",      IsUserReadPolicyValidForController,  kReadPolicy,      "None - No valid read policies found"},
        {"diskcachepolicy", "DiskCachePolicy", diskCache,                           kDiskCachePolicy, "None - No valid Disk Cahe policies found"},
        {"cachepolicy",     "CachePolicy",     IsUserCachePolicyValidForController, kCachePolicy,     "None - No valid cache policies found"},
        {"writepolicy",     "WritePolicy",     IsUserWritePolicyValidForController, kWritePolicy,     "None - No valid write policies found"},
    }};
    // clang-format on
    for (const Policy& p : policies) {
        const char* value = call.Pair(p.pair);
        if (value == nullptr) continue;
        std::array<char, kPolicyListSize> list{};
        const int32_t status = p.validate(controller, value, list.data(), list.size());
        if (const int32_t r =
                PolicyRefusal(call, status, p.refusal, call.User(p.user), list.data(), p.none))
            return r;
    }
    // clang-format off
    struct Duplicate { const char* user; int32_t kind; int32_t refusal; };
    constexpr std::array<Duplicate, 4> duplicates = {{
        {"readpolicy",      1, kSameReadPolicy},
        {"writepolicy",     2, kSameWritePolicy},
        {"cachepolicy",     3, kSameCachePolicy},
        {"diskcachepolicy", 4, kSameDiskCachePolicy},
    }};
    // clang-format on
    for (const Duplicate& d : duplicates) {
        const char* keyword = call.User(d.user);
        if (keyword == nullptr) continue;
        const int32_t same = IsPolicyInfoDuplicate(controller, keyword, vdisk, d.kind);
        if (same == kvsup::status::kNoBuffer) return call.Refuse(config::kCannotRead, keyword, "");
        if (same != 0) return call.Refuse(d.refusal, keyword, "");
    }
    return 0;
}

int32_t CheckRename(const config::CallbackCall& call, const char* controller, const char* vdisk) {
    const char* name = call.User("name");
    if (IsStringAValidName(name, 1) != 0) return call.Refuse(kBadName, Text(name), kNameRule);
    std::array<char, kMaxLengthSize> maxLength{};
    const int32_t length =
        IsNameCorrectLength(name, controller, maxLength.data(), maxLength.size());
    if (length == kvsup::status::kBadForm) {
        std::array<char, kMaxLengthSize> printed{};
        std::snprintf(printed.data(), printed.size(), "%d",
                      static_cast<int>(ToNumber(maxLength.data())));
        return call.Refuse(kNameTooLong, name, printed.data());
    }
    if (length != 0) return call.Refuse(config::kCannotRead, name, "");
    if (IsVDNameDuplicate(name, controller, vdisk) != 0) return call.Refuse(kNameTaken, name, "");
    // Another virtual disk of the controller already carrying the name
    // would make the two indistinguishable by name.
    if (IsCtrlVDNameDuplicate(name, controller) == 0) return call.Refuse(kNameTaken, name, "");
    return 0;
}

// Blanks at either end give 1755; any character but letters, digits and
// the extras gives 1754.
int32_t CheckCharacters(const config::CallbackCall& call, const char* value,
                        std::string_view extras) {
    const std::string_view text = Text(value);
    if (text.empty()) return 0;
    if (text.front() == ' ' || text.back() == ' ') return call.Refuse(kEdgeBlank, text, "");
    for (const char c : text) {
        const bool alnum =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!alnum && extras.find(c) == std::string_view::npos)
            return call.Refuse(kBadCharacter, text, "");
    }
    return 0;
}

// ---- reconfiguration ------------------------------------------------------------

// What the data agent says of the virtual disk now.
struct PresentDisk {
    uint32_t layout = 0;
    uint32_t members = 0;
};

int32_t ReadPresentDisk(const char* controller, const char* vdisk, PresentDisk& present) {
    da::Request vd(vkacmd.getVirtualDisk);
    vd.Field("GlobalNo", controller, 20).Field("LogicalDriveNum", vdisk, 20).Cli();
    const int32_t status = da::AskAgent("ReadPresentDisk", vd, da::AllocOrder::kBufferFirst, -1,
                                        [&](const OCSXBuf* xml) {
                                            std::string layout;
                                            if (!da::ReadNthTag(xml, "Layout", 0, layout))
                                                return -1;
                                            present.layout = ToNumber(layout.c_str());
                                            return 0;
                                        });
    if (status != 0) return status;
    da::Request disks(vkacmd.getArrayDisksForVirtualDisk);
    disks.Field("GlobalNo", controller, 20).Field("LogicalDriveNum", vdisk, 20).Cli();
    return da::AskAgent(
        "ReadPresentDisk", disks, da::AllocOrder::kBufferFirst, -1, [&](const OCSXBuf* xml) {
            // Members are the disks that are not dedicated hot spares.
            std::string value;
            for (uint32_t n = 0; da::ReadNthTag(xml, "ObjID", n, value); ++n) ++present.members;
            for (uint32_t n = 0; da::ReadNthTag(xml, "AttributesMask", n, value); ++n) {
                uint32_t attributes = 0;
                ConvertBinaryStringToInteger(value.c_str(), &attributes);
                if ((attributes & kDedicatedSpareAttribute) != 0 && present.members > 0)
                    --present.members;
            }
            return 0;
        });
}

std::string Reachable(uint32_t from) {
    std::string list;
    for (const Migration& m : kMigrations) {
        if (m.from != from) continue;
        for (const uint32_t to : m.to) {
            if (to != 0) list += (list.empty() ? "" : ", ") + RaidKeyword(to);
        }
        return list;
    }
    return RaidKeyword(from);
}

bool CanReach(uint32_t from, uint32_t to) {
    for (const Migration& m : kMigrations) {
        if (m.from == from) return std::find(m.to.begin(), m.to.end(), to) != m.to.end();
    }
    return from == to;
}

// The size in bytes: a number with an optional unit letter (b, m or g; "g"
// when none); 0 when it is turned into bytes, else the refusal.
int32_t SizeInBytes(const config::CallbackCall& call, const char* size, std::string& bytes) {
    std::string number(Text(size));
    if (number.empty()) return call.Refuse(kSizeNotNumber, "", "");
    char unit = 'g';
    const char last = number.back();
    if ((last >= 'a' && last <= 'z') || (last >= 'A' && last <= 'Z')) {
        unit = static_cast<char>(last | 0x20);
        number.pop_back();
    }
    if (number.find_first_of("0123456789") == std::string::npos ||
        IsStringAValidNumericValue(number.c_str()) != 0)
        return call.Refuse(kSizeNotNumber, size, "");
    double factor = 1.0;
    switch (unit) {
        case 'b':
            break;
        case 'm':
            factor = 1024.0 * 1024.0;
            break;
        case 'g':
            factor = 1024.0 * 1024.0 * 1024.0;
            break;
        default:
            return call.Refuse(kSizeUnit, size, "");
    }
    ConvertToStringRepresentingInteger(std::strtod(number.c_str(), nullptr) * factor, bytes);
    return 0;
}

int32_t CheckReconfigure(config::CallbackCall& call, const char* controller, const char* vdisk) {
    const char* raid = call.User("raid");
    const uint32_t layout = ToNumber(call.Pair("Layout"));

    uint32_t levels = 0;
    if (GetControllerRAIDLevelsMask(controller, &levels) != 0)
        return call.Refuse(config::kCannotRead, Text(raid), "");
    std::array<char, kPolicyListSize> list{};
    const std::string layoutText = std::to_string(layout);
    const int32_t offered = IsUserRaidInputValueValidForController(
        layoutText.c_str(), nullptr, list.data(), list.size(), levels, nullptr, 0);
    if (offered == kvsup::status::kNotFound)
        return call.Refuse(kRaidLevel, Text(raid),
                           list[0] != '\0' ? list.data() : "None - No valid RAID levels found");
    if (offered != 0) return call.Refuse(offered, Text(raid), "");

    PresentDisk present;
    if (ReadPresentDisk(controller, vdisk, present) != 0)
        return call.Refuse(config::kCannotRead, Text(vdisk), "");
    if (!CanReach(present.layout, layout))
        return call.Refuse(kLayoutUnreachable, Text(raid), Reachable(present.layout));
    // Capacity expansion keeps the layout the disk has.
    if (call.User("vdcapacityexpansion") != nullptr &&
        IsUserVDLayoutValidForOCE(controller, vdisk, layoutText.c_str()) != 0)
        return call.Refuse(kLayoutUnreachable, Text(raid), RaidKeyword(present.layout));

    if (const char* stripe = call.Pair("StripeSize")) {
        std::array<char, kPolicyListSize> stripes{};
        const int32_t status =
            IsUserStripeSizeValidForController(controller, stripe, stripes.data(), stripes.size());
        if (const int32_t r =
                PolicyRefusal(call, status, kStripeSize, call.User("stripesize"), stripes.data(),
                              "None - No valid stripe size values found"))
            return r;
    }

    // Disks to add: each must exist and be ready to join.
    uint32_t added = 0;
    const char* adisk = call.User("adisk");
    const char* pdisk = call.User("pdisk");
    if (adisk != nullptr || pdisk != nullptr) {
        if (const int32_t both = CombineUserDiskParams(&adisk, &pdisk))
            return call.Refuse(both, "", "");
        for (const std::string& token : SplitList(adisk, ",")) {
            if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL))
                SysDbgPrint("cmdConfigVirtualDisk: USR_ACTION_RECONFIGURE: token = %s\n",
                            token.c_str());
            std::string valid;
            uint32_t count = 0;
            const int32_t exists =
                IsUserArrayDiskIdValid(token.c_str(), controller, valid, 0, &count);
            if (exists == kvsup::status::kNoBuffer)
                return call.Refuse(config::kCannotRead, token, "");
            if (exists != 0)
                return call.Refuse(kInvalidDisk, token, count != 0 ? valid : kNoArrayDisks);
            std::string ready;
            count = 0;
            IsUserArrayDiskIdValidState(token.c_str(), controller, ready, 0, &count, 1,
                                        "reconfigure");
            const std::vector<std::string> readyIds = SplitList(ready, ", ");
            if (std::find(readyIds.begin(), readyIds.end(), token) == readyIds.end())
                return call.Refuse(kDisksNotAddable, token, OrNone(ready, kNoAdisks));
            ++added;
        }
    }

    const uint32_t total = present.members + added;
    for (const DiskRule& rule : kDiskRules) {
        if (rule.layout != layout) continue;
        const bool fits = total >= rule.least && (rule.most == 0 || total <= rule.most) &&
                          (!rule.even || total % 2 == 0);
        if (fits) break;
        if (layout == 512) return call.Refuse(kRaid10DiskCount, std::to_string(total), rule.needs);
        return call.Refuse(kDiskCount, std::to_string(total), rule.needs);
    }

    const char* size = call.User("size");
    const char* percent = call.User("sizeinpercent");
    if (size != nullptr && percent != nullptr)
        return call.Refuse(kReconfigureSize, size, "size or sizeinpercent, not both");
    if (size != nullptr) {
        std::string bytes;
        if (const int32_t r = SizeInBytes(call, size, bytes)) return r;
        std::string presentLength;
        const int32_t status =
            IsUserSizeParameterValidForReconfigure(controller, vdisk, bytes.c_str(), presentLength);
        if (status == kvsup::status::kNoBuffer) return call.Refuse(config::kCannotRead, size, "");
        if (status != 0)
            return call.Refuse(kReconfigureSize, size,
                               "more than the present " + presentLength + " bytes");
        if (!call.SetPair("Length", bytes.c_str()))
            return call.Refuse(config::kCannotRead, size, "");
    }
    if (percent != nullptr) {
        if (IsStringAValidNumericValue(percent) != 0 || Text(percent).empty())
            return call.Refuse(kSizeNotNumber, percent, "");
        const uint32_t value = ToNumber(percent);
        if (value < 1 || value > 100 || Text(percent).find('.') != std::string_view::npos)
            return call.Refuse(kReconfigureSize, percent, "1 to 100 (percent)");
    }

    // A reconfiguration must change something.
    if (layout == present.layout && added == 0 && size == nullptr && percent == nullptr &&
        call.Pair("StripeSize") == nullptr && call.User("vdcapacityexpansion") == nullptr)
        return call.Refuse(kNothingToChange, Text(vdisk),
                           "it already has this RAID level; give disks to add or a larger size");
    return 0;
}

// ---- the callback -----------------------------------------------------------------

std::string_view DisplayName(const char* action) {
    if (Is(action, "assigndedicatedhotspare")) return "assigndedicatedhotspare assign=yes";
    return Text(action);
}

int32_t Validate(config::CallbackCall& call) {
    const char* controller = call.User("controller");
    const char* vdisk = call.User("vdisk");
    const char* action = call.User("action");

    if (const int32_t r = config::CheckControllerWithSize(call, controller)) return r;
    std::string validDisks;
    const int32_t known = IsUserVirtualDiskIdValid(vdisk, controller, validDisks);
    if (known == kvsup::status::kNoBuffer) return call.Refuse(config::kCannotRead, Text(vdisk), "");
    if (known != 0) {
        if (validDisks.empty()) return call.Refuse(kNoVirtualDisks, Text(controller), "");
        return call.Refuse(kInvalidVirtualDisk, Text(vdisk), validDisks);
    }

    // The cache-feature actions name the disk's device as well.
    const char* deviceName = call.User("devicename");
    if (const int32_t r = CheckCharacters(call, deviceName, kDeviceNameExtras)) return r;
    if (Is(action, "enabletarncache")) {
        if (const int32_t r = CheckCharacters(call, call.User("cachepolicy"), kModeExtras))
            return r;
    }

    uint32_t supported = 0;
    uint32_t current = 0;
    const int32_t operation = IsUserOperationValidForVirtualDisk(action, controller, vdisk,
                                                                 &supported, &current, deviceName);
    if (operation == kvsup::status::kDeviceNameMismatch)
        return call.Refuse(kvsup::status::kDeviceNameMismatch, Text(deviceName), "");
    if (operation == kvsup::status::kNoBuffer)
        return call.Refuse(config::kCannotRead, DisplayName(action), "");
    if (supported == 0) return call.Refuse(config::kNotSupported, DisplayName(action), "");
    if (current == 0) return call.Refuse(config::kNotPossibleNow, DisplayName(action), "");

    if (Is(action, "assigndedicatedhotspare"))
        return CheckDedicatedHotSpares(call, controller, vdisk);
    if (Is(action, "replacememberdisk")) return CheckMemberReplace(call, controller, vdisk);
    if (Is(action, "changepolicy")) return CheckPolicies(call, controller, vdisk);
    if (Is(action, "rename")) return CheckRename(call, controller, vdisk);
    if (Is(action, "reconfigure")) return CheckReconfigure(call, controller, vdisk);
    return 0;
}

int32_t CmdConfigVirtualDiskValidateFunc([[maybe_unused]] void* reserved0,
                                         [[maybe_unused]] void* reserved1, uint32_t userCount,
                                         const char** userWords, uint32_t* pNVCount,
                                         const char** ppNVList, [[maybe_unused]] void* reserved2,
                                         [[maybe_unused]] void* reserved3, char* errText1,
                                         char* errText2) {
    LogFunctionEntry(kCallbackName);
    config::CallbackCall call(userCount, userWords, pNVCount, ppNVList, errText1, errText2);
    const int32_t status = Validate(call);
    LogFunctionExit(kCallbackName);
    return status == 0 ? config::kSend : status;
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage vdisk", "", kVirtualDiskTable},
});

}  // namespace

const std::span<const kvclp::TableRef> config::kVirtualDiskTables = kTables;

CLPSResponse* ConfigVirtualDisk(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6981, 6982, kVirtualDiskTable.data(),
                               static_cast<uint32_t>(kVirtualDiskTable.size()), "kvclp.xsl",
                               CmdConfigVirtualDiskValidateFunc);
}
