// Controller rules this library settles for the configuration commands:
// the RAID 10 rewrite, property duplicates, controller and patrol-read mode
// changes, pass phrases, the PCIe subsystem test, the wear threshold read
// and the reconfiguration size. Each rule is stated where it is coded.
#include <string>

#include "keyword_map.h"
#include "kvsup_internal.h"
#include "ocs.h"

using namespace kvsup::detail;
namespace st = kvsup::status;

namespace {

constexpr uint32_t kRaid10 = 0x200;
constexpr uint32_t kRaid1E = 0x80000;

// The property numbers the controller command checks, the tag that holds
// the present value, and the map that names it. A row without a map only
// asks whether the controller can take the property at all.
struct PropertyRow {
    int32_t property;
    const char* tag;
    int32_t (*keyword)(int32_t, std::string&);
    int32_t duplicate;  // answer when the value is already in force
};

// clang-format off
constexpr PropertyRow kProperties[] = {
    {1,  "AbortCheckConsistencyOnError",    GetUserInputStringForAbortCCValue,           444},
    {2,  "Copyback",                        GetUserInputStringForCopybackValue,          444},
    {3,  "AutoCopybackOnPredictiveFailure", GetUserInputStringForSmarterValue,           444},
    {4,  "Loadbalance",                     GetUserInputStringForLoadbalanceValue,       444},
    {6,  "PersistentHotSlot",               GetUserInputStringForPersistentHotSlotValue, 555},
    {9,  "SpinDownTime",                    nullptr,                                     0},
    {13, "NonRAIDDiskCachePolicy",          GetUserInputStringForDiskWriteCacheValue,    444},
};

using ModeRow = KeywordRow<int32_t>;
constexpr ModeRow kControllerModes[] = {{1, "raid"}, {2, "hba"}};
constexpr ModeRow kPatrolReadModes[] = {{1, "auto"}, {2, "manual"}, {4, "disable"}};
// clang-format on

constexpr int32_t kRaidMode = 1;
constexpr int32_t kHbaMode = 2;
constexpr int32_t kCannotRead = 1655;
constexpr int32_t kNotPossibleNow = 1615;

}  // namespace

// Rule: a RAID 10 request ("Layout=512") becomes RAID 1E ("Layout=524288")
// when the controller offers RAID 1E and the flag-A path (span depth and
// span list sent by the controller's own rules) is not taken, and either
// the controller cannot build RAID 10 at all, or it is a K310, which builds
// a single span of 22 or 26 disks as RAID 1E. Everything else is left as
// the user asked. Returns 0.
int32_t ModifyRaid10InputValueValidForController(uint32_t* nvCount, const char** nvList,
                                                 uint32_t raidLevelsMask, const char* spanLength,
                                                 int32_t isK310, int32_t flagA) {
    static constexpr const char* kName = "ModifyRaid10InputValueValidForController";
    da::ScopedFunctionTrace trace(kName);
    if (nvCount == nullptr || nvList == nullptr) {
        return st::kOk;
    }
    for (uint32_t i = 0; i < *nvCount; ++i) {
        const std::string_view entry = Text(nvList[i]);
        if (entry.substr(0, 7) != "Layout=") {
            continue;
        }
        const auto layout = static_cast<uint32_t>(ToNumber(entry.substr(7)));
        const int64_t span = spanLength != nullptr ? ToNumber(spanLength) : 0;
        const bool singleSpan = span == 22 || span == 26;
        const bool rewrite = (layout & kRaid10) != 0 && (raidLevelsMask & kRaid1E) != 0 &&
                             flagA == 0 &&
                             ((raidLevelsMask & kRaid10) == 0 || (isK310 != 0 && singleSpan));
        if (rewrite) {
            nvList[i] = "Layout=524288";  // a constant: outlives the request
            TraceLine(TRACE_LEVEL_DETAIL,
                      "ModifyRaid10InputValueValidForController : overwritten NV pair as RAID1E");
        }
        break;
    }
    return st::kOk;
}

// Rule: the controller cannot take a property (777) when its answer does
// not carry the property's tag; otherwise the value is a duplicate when it
// names (case ignored) the value in force, answered 555 for the hot-spare
// property and 444 for the others. Property 9 only asks whether power
// management settings can be taken. Unknown property numbers are allowed.
int32_t IsControllerPropertyDuplicate(const char* globalNo, const char* value, int32_t property) {
    const PropertyRow* row = nullptr;
    for (const PropertyRow& r : kProperties) {
        if (r.property == property) {
            row = &r;
        }
    }
    if (row == nullptr) {
        return st::kOk;
    }
    return Ask({"IsControllerPropertyDuplicate", nullptr, nullptr},
               ControllerRequest(vkacmd.getController, globalNo), st::kNotFound,
               [&](const OCSXBuf* xml) {
                   std::string present;
                   if (!da::ReadNthTag(xml, row->tag, 0, present)) {
                       return st::kPropertyNotTaken;
                   }
                   if (row->keyword == nullptr) {
                       return st::kOk;
                   }
                   std::string keyword;
                   row->keyword(static_cast<int32_t>(ToNumber(present)), keyword);
                   return !keyword.empty() && strcmpCaseIgnore(keyword.c_str(), value) == 0
                              ? row->duplicate
                              : st::kOk;
               });
}

// Rule: a controller already in the requested mode changes nothing (1777);
// switching to HBA while the controller still holds virtual disks would
// orphan them (1615); a mode value other than raid or hba is refused (-1).
// validModes names the modes the controller could switch to.
int32_t IsControllerModeValid(const char* modeValue, const char* globalNo,
                              std::string& validModes) {
    validModes.clear();
    const auto requested = static_cast<int32_t>(ToNumber(Text(modeValue)));
    return Ask({"IsControllerModeValid", nullptr, nullptr},
               ControllerRequest(vkacmd.getController, globalNo), kCannotRead,
               [&](const OCSXBuf* xml) {
                   std::string presentText;
                   if (!da::ReadNthTag(xml, "ControllerMode", 0, presentText)) {
                       return kCannotRead;
                   }
                   const auto present = static_cast<int32_t>(ToNumber(presentText));
                   ValidList list(validModes);
                   for (const ModeRow& row : kControllerModes) {
                       if (row.value != present) {
                           list.Add(row.keyword);
                       }
                   }
                   if (KeywordFor<int32_t>(kControllerModes, requested).empty()) {
                       return st::kNotFound;
                   }
                   if (requested == present) {
                       return st::kSameAsCurrent;
                   }
                   if (requested == kHbaMode) {
                       Fetched vds =
                           Fetch(ControllerRequest(vkacmd.getVirtualDisksForController, globalNo));
                       if (vds.noBuffer) {
                           return st::kNoBuffer;
                       }
                       std::string ignored;
                       if (vds && da::ReadNthTag(vds.xml.get(), "LogicalDriveNum", 0, ignored)) {
                           return kNotPossibleNow;
                       }
                   }
                   return st::kOk;
               });
}

// Rule: patrol read runs only on a controller in RAID mode (any other mode
// allows no change); the requested mode must be one of auto, manual,
// disable and differ from the mode in force. validModes lists the allowed
// modes.
int32_t IsPatrolReadModeValid(const char* modeValue, const char* globalNo,
                              std::string& validModes) {
    validModes.clear();
    const auto requested = static_cast<int32_t>(ToNumber(Text(modeValue)));
    return Ask({"IsPatrolReadModeValid", nullptr, nullptr},
               ControllerRequest(vkacmd.getController, globalNo), st::kNotFound,
               [&](const OCSXBuf* xml) {
                   std::string mode;
                   std::string present;
                   da::ReadNthTag(xml, "ControllerMode", 0, mode);
                   da::ReadNthTag(xml, "PatrolReadMode", 0, present);
                   if (!mode.empty() && ToNumber(mode) != kRaidMode) {
                       return st::kNotFound;
                   }
                   ValidList list(validModes);
                   bool allowed = false;
                   for (const ModeRow& row : kPatrolReadModes) {
                       if (row.value != ToNumber(present)) {
                           list.Add(row.keyword);
                           allowed = allowed || row.value == requested;
                       }
                   }
                   return allowed ? st::kOk : st::kNotFound;
               });
}

int32_t IsUserPassphraseValid(const char* text, int32_t mode) {
    da::ScopedFunctionTrace trace("IsUserPassphraseValid");
    const std::string_view s = Text(text);
    if (mode == 0) {
        if (s.empty()) {
            return st::kPassLength;
        }
        const auto first = static_cast<unsigned char>(s[0]);
        return (first < 33 || first >= 127) ? st::kPassBadFirst : st::kOk;
    }
    if (s.size() < 8 || s.size() > 32) {
        return st::kPassLength;
    }
    bool upper = false, lower = false, digit = false, special = false;
    for (char c : s) {
        const auto b = static_cast<unsigned char>(c);
        upper = upper || (b >= 'A' && b <= 'Z');
        lower = lower || (b >= 'a' && b <= 'z');
        digit = digit || (b >= '0' && b <= '9');
        special = special || (b >= 33 && b <= 47) || (b >= 58 && b <= 64) || (b >= 91 && b <= 96) ||
                  (b >= 123 && b <= 126);
    }
    if (!digit) {
        return st::kPassNoDigit;
    }
    if (!lower || !upper) {
        return st::kPassNoCase;
    }
    return special ? st::kOk : st::kPassNoSpecial;
}

// Rule: the PCIe subsystem is present when a controller of the list reports
// bus protocol 9; no answer means none.
int32_t IsPCIeSubsystempresent(void) {
    return Ask({"IsPCIeSubsystempresent", nullptr, nullptr}, da::Request(vkacmd.getControllerList),
               0, [&](const OCSXBuf* xml) {
                   const StorageObjects controllers(xml);
                   for (std::size_t n = 0; n < controllers.Count(); ++n) {
                       if (controllers.Has(n, "GlobalNo") &&
                           ToNumber(controllers.Value(n, "BusProtocol")) == 9) {
                           return 1;
                       }
                   }
                   return 0;
               });
}

// Rule: device class 0 reads the SAS/SATA threshold, 1 the PCIe one (the
// numbering the global settings command uses); any other class is -1.
int32_t GetRRWEThresholdValue(int32_t deviceClass, char* threshold, uint32_t thresholdSize) {
    CopyBounded(threshold, thresholdSize, "");
    if (deviceClass != 0 && deviceClass != 1) {
        return st::kNotFound;
    }
    const bool sasSata = deviceClass == 0;
    da::Request request(sasSata ? vkacmd.getSASSATARRWEThreshold : vkacmd.getPCIeRRWEThreshold);
    request.Cli();
    const char* tag = sasSata ? "RRWEThresholdSasSata" : "RRWEThresholdPCIe";
    return Ask({"GetRRWEThresholdValue", nullptr, "GetRRWEThresholdValue: No DA Response\n"},
               request, st::kNotFound, [&](const OCSXBuf* xml) {
                   std::string value;
                   if (!da::ReadNthTag(xml, tag, 0, value)) {
                       return st::kNotFound;
                   }
                   CopyBounded(threshold, thresholdSize, value);
                   return st::kOk;
               });
}

// Rule: a reconfiguration may only grow a virtual disk, so the new size (in
// bytes, digits only) must exceed its present "Length"; presentLength gets
// that length for the caller's message. 0 valid, -1 otherwise.
int32_t IsUserSizeParameterValidForReconfigure(const char* globalNo, const char* vdNum,
                                               const char* sizeInBytes,
                                               std::string& presentLength) {
    presentLength.clear();
    da::Request request(vkacmd.getVirtualDisk);
    request.Field("GlobalNo", globalNo, 20).Field("LogicalDriveNum", vdNum, 20).Cli();
    return Ask({"IsUserSizeParameterValidForReconfigure", nullptr, nullptr}, request, st::kNotFound,
               [&](const OCSXBuf* xml) {
                   if (!da::ReadNthTag(xml, "Length", 0, presentLength)) {
                       return st::kNotFound;
                   }
                   const std::string_view size = Text(sizeInBytes);
                   if (size.empty() || size.find_first_not_of("0123456789") != size.npos) {
                       return st::kNotFound;
                   }
                   return ToNumber(size) > ToNumber(presentLength) ? st::kOk : st::kNotFound;
               });
}
