// Check callbacks of the storage reports. Each reads the keywords it needs
// from the user's words and tests them in its fixed order; a keyword that
// is not given is not tested (the frame has already refused what a row
// requires).
#include "report_checks.h"

#include <array>
#include <cstdio>
#include <string>

#include "da.h"
#include "kvsup.h"
#include "ocs.h"
#include "vocabulary.h"

namespace report {

namespace {

constexpr int32_t kSend = CLPS_VALIDATE_SEND;

// clang-format off
constexpr int32_t kBadController        = 1600;
constexpr int32_t kBadConnector         = 1601;
constexpr int32_t kBadDisk              = 1602;
constexpr int32_t kBadVirtualDisk       = 1604;
constexpr int32_t kBadEnclosure         = 1605;
constexpr int32_t kNotPossibleNow       = 1615;
constexpr int32_t kBadFanIndex          = 1616;
constexpr int32_t kBadTempProbeIndex    = 1617;
constexpr int32_t kBadPwrSupplyIndex    = 1618;
constexpr int32_t kBadEmmIndex          = 1619;
constexpr int32_t kBadBattery           = 1620;
constexpr int32_t kNoVirtualDisks       = 1622;
constexpr int32_t kNoBattery            = 1628;
constexpr int32_t kCannotRead           = 1655;
constexpr int32_t kBadInfo              = 1711;
constexpr int32_t kNoSlotReport         = 1731;
constexpr int32_t kNoCachecadeSupport   = 1738;
constexpr int32_t kBadCachecade         = 1739;
constexpr int32_t kNoCachecades         = 1740;
constexpr int32_t kBadTapeDrive         = 1752;

constexpr const char* kNoDisks      = "None - There are no physical disks on this controller.";
constexpr const char* kNoEnclosures = "None - There are no enclosures on this controller.";
constexpr const char* kNoTapeDrive  = "None - There is no tapedrive on this controller.";
constexpr const char* kNoConnectors = "None - There are no connectors on this controller.";
constexpr const char* kNoAdapters   = "None - There are no NVMe adapters on this controller.";
// clang-format on

constexpr uint32_t kCachecadeAttribute = vk::ctrlattr::kCacheCade;
// Valid-values texts of the bounded validators.
constexpr uint32_t kControllerListSize = 256;
constexpr uint32_t kEnclosureListSize = 256;
constexpr uint32_t kBatteryListSize = 225;

// One callback call, traced from entry to exit: the user's words and the two
// error texts.
class Check {
  public:
    Check(const char* name, uint32_t count, const char** words, char* err1, char* err2)
        : trace_(name), count_(count), words_(words), err1_(err1), err2_(err2) {}

    const char* Get(const char* name) const {
        return OCSGetAStrParamValueByAStrName(count_, words_, name, 1);
    }
    // Fills the two texts and answers the refusal number.
    int32_t Refuse(int32_t number, const std::string& offending, const std::string& valid) const {
        std::snprintf(err1_, CLPS_ERR_TEXT_SIZE, "%s", offending.c_str());
        std::snprintf(err2_, CLPS_ERR_TEXT_SIZE, "%s", valid.c_str());
        return number;
    }

  private:
    da::ScopedFunctionTrace trace_;
    uint32_t count_;
    const char** words_;
    char* err1_;
    char* err2_;
};

// 0 when the controller is valid (or not given), else the refusal.
int32_t TestController(const Check& c, const char* controller) {
    if (controller == nullptr) return 0;
    std::string valid;
    if (IsUserControllerIdValid(controller, valid) != 0)
        return c.Refuse(kBadController, controller, valid);
    return 0;
}

// The bounded form, for the callbacks that use it.
int32_t TestControllerWithSize(const Check& c, const char* controller) {
    if (controller == nullptr) return 0;
    std::array<char, kControllerListSize> valid{};
    if (IsUserControllerIdValidWithSize(controller, valid.data(), valid.size()) != 0)
        return c.Refuse(kBadController, controller, valid.data());
    return 0;
}

// A validator of an object of the controller, filling the valid ones.
using ListValidator = int32_t (*)(const char*, const char*, std::string&);
// A disk validator, which also counts the disks it lists.
using DiskValidator = int32_t (*)(const char*, const char*, std::string&, int32_t, uint32_t*);

// 0 when id is not given or validate finds it among the controller's objects,
// else refusal with id and the valid ones, or none when there are none
// (these validators list every object, so an empty list means none).
int32_t TestListed(const Check& c, const char* id, const char* controller, ListValidator validate,
                   int32_t refusal, const char* none) {
    if (id == nullptr) return 0;
    std::string valid;
    if (validate(id, controller, valid) != 0)
        return c.Refuse(refusal, id, valid.empty() ? none : valid);
    return 0;
}

int32_t TestConnector(const Check& c, const char* connector, const char* controller) {
    return TestListed(c, connector, controller, IsUserChannelIdValid, kBadConnector, kNoConnectors);
}

// As TestListed, but a controller with none of the objects is refused with
// none instead, naming the controller (no virtual disks) or the object
// asked for (no cachecades), as the message of none says.
enum class NoneNames { kController, kObject };
int32_t TestListedOrNone(const Check& c, const char* id, const char* controller,
                         ListValidator validate, int32_t refusal, int32_t none, NoneNames names) {
    if (id == nullptr) return 0;
    std::string valid;
    if (validate(id, controller, valid) == 0) return 0;
    if (valid.empty()) {
        const char* named = names == NoneNames::kController ? controller : id;
        return c.Refuse(none, named != nullptr ? named : "", "");
    }
    return c.Refuse(refusal, id, valid);
}

int32_t TestVirtualDisk(const Check& c, const char* vdisk, const char* controller) {
    return TestListedOrNone(c, vdisk, controller, IsUserVirtualDiskIdValid, kBadVirtualDisk,
                            kNoVirtualDisks, NoneNames::kController);
}

int32_t TestCachecade(const Check& c, const char* cachecade, const char* controller) {
    return TestListedOrNone(c, cachecade, controller, IsUserCachecadeIdValid, kBadCachecade,
                            kNoCachecades, NoneNames::kObject);
}

// A disk or tape drive. The count of objects found, not the list, tells
// whether the controller has none: objects left out of the list (attribute
// 0x80) still exist, and then the list is simply empty.
int32_t TestDisk(const Check& c, const char* id, const char* controller, DiskValidator validate,
                 int32_t refusal, const char* noneText) {
    if (id == nullptr) return 0;
    std::string valid;
    uint32_t count = 0;
    if (validate(id, controller, valid, 0, &count) != 0)
        return c.Refuse(refusal, id, count != 0 ? valid : noneText);
    return 0;
}

int32_t TestEnclosure(const Check& c, const char* enclosure, const char* controller) {
    if (enclosure == nullptr) return 0;
    std::array<char, kEnclosureListSize> valid{};
    uint32_t listed = 0;
    if (IsUserEnclosureIdValidWithSize(enclosure, controller, valid.data(), valid.size(),
                                       &listed) == 0)
        return 0;
    return c.Refuse(kBadEnclosure, enclosure, listed != 0 ? valid.data() : kNoEnclosures);
}

// The index validators of the enclosure's components, by info word.
struct IndexCheck {
    const char* info;
    int32_t (*validate)(const char*, const char*, const char*, std::string&);
    int32_t refusal;
    const char* none;  // the valid text of an enclosure without such components
};

// clang-format off
constexpr std::array kIndexChecks = {
    IndexCheck{"fans",        IsUserFanIndexValid,        kBadFanIndex,       "None - There are no fans in this enclosure."},
    IndexCheck{"pwrsupplies", IsUserPwrSupplyIndexValid,  kBadPwrSupplyIndex, "None - There are no power supplies in this enclosure."},
    IndexCheck{"emms",        IsUserEmmIndexValid,        kBadEmmIndex,       "None - There are no enclosure management modules in this enclosure."},
    IndexCheck{"temps",       IsUserTempProbesIndexValid, kBadTempProbeIndex, "None - There are no temperature probes in this enclosure."},
};
// clang-format on

}  // namespace

VK_REPORT_CHECK(CheckAcceptAll) {
    (void)userCount;
    (void)userWords;
    (void)errText1;
    (void)errText2;
    return kSend;
}

VK_REPORT_CHECK(CheckDisks) {
    const Check c("CheckDisks", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    const char* disk = c.Get("adisk");
    if (disk == nullptr) disk = c.Get("pdisk");
    if (int32_t r = TestDisk(c, disk, controller, IsUserArrayDiskIdValid, kBadDisk, kNoDisks))
        return r;
    if (int32_t r = TestVirtualDisk(c, c.Get("vdisk"), controller)) return r;
    if (int32_t r = TestCachecade(c, c.Get("cachecade"), controller)) return r;
    if (int32_t r = TestConnector(c, c.Get("connector"), controller)) return r;
    if (int32_t r = TestEnclosure(c, c.Get("enclosure"), controller)) return r;
    return kSend;
}

VK_REPORT_CHECK(CheckTapeDrives) {
    const Check c("CheckTapeDrives", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    if (int32_t r = TestDisk(c, c.Get("tape"), controller, IsUserTapeDriveIdValid, kBadTapeDrive,
                             kNoTapeDrive))
        return r;
    if (int32_t r = TestConnector(c, c.Get("connector"), controller)) return r;
    return kSend;
}

VK_REPORT_CHECK(CheckBatteries) {
    const Check c("CheckBatteries", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestControllerWithSize(c, controller)) return r;
    if (const char* battery = c.Get("battery")) {
        std::array<char, kBatteryListSize> valid{};
        uint32_t count = 0;
        if (IsUserBatteryIdValidWithSize(battery, controller, valid.data(), valid.size(), &count) !=
            0) {
            if (count == 0) return c.Refuse(kNoBattery, battery, "");
            return c.Refuse(kBadBattery, battery, valid.data());
        }
    }
    return kSend;
}

VK_REPORT_CHECK(CheckConnectors) {
    const Check c("CheckConnectors", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    if (int32_t r = TestConnector(c, c.Get("connector"), controller)) return r;
    return kSend;
}

VK_REPORT_CHECK(CheckControllers) {
    const Check c("CheckControllers", userCount, userWords, errText1, errText2);
    const char* info = c.Get("info");
    if (info != nullptr && c.Get("dump") == nullptr) {
        // The info words are compared exactly here.
        const std::string_view word = info;
        if (word != "foreignkeyids" && word != "pdslotreport")
            return c.Refuse(kBadInfo, info, "foreignkeyids, pdslotreport");
    }
    if (int32_t r = TestControllerWithSize(c, c.Get("controller"))) return r;
    return kSend;
}

VK_REPORT_CHECK(CheckEnclosures) {
    const Check c("CheckEnclosures", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    const char* enclosure = c.Get("enclosure");
    if (int32_t r = TestEnclosure(c, enclosure, controller)) return r;
    const char* info = c.Get("info");
    if (info == nullptr) return kSend;
    const char* index = c.Get("index");
    for (const IndexCheck& check : kIndexChecks) {
        if (strcmpCaseIgnore(info, check.info) != 0) continue;
        std::string valid;
        if (index != nullptr && check.validate(index, enclosure, controller, valid) != 0)
            return c.Refuse(check.refusal, index, valid.empty() ? check.none : valid);
        return kSend;
    }
    if (strcmpCaseIgnore(info, "pdslotreport") != 0) return kSend;
    uint32_t supported = 0;
    uint32_t current = 0;
    if (IsUserOperationValidForEnclosure("pdslotreport", controller, enclosure, &supported,
                                         &current) != 0)
        return c.Refuse(kCannotRead, info, "");
    if (supported == 0) return c.Refuse(kNoSlotReport, info, "");
    if (current != 0) return kSend;
    return c.Refuse(kNotPossibleNow, info, "");
}

VK_REPORT_CHECK(CheckCachecades) {
    const Check c("CheckCachecades", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    const char* cachecade = c.Get("cachecade");
    if (cachecade == nullptr) {
        if (controller == nullptr) return kSend;
        std::array<char, da::kTagValueSize> mask{};
        GetTagValueForController(controller, "AttributesMask", mask.data(), mask.size());
        uint32_t attributes = 0;
        ConvertBinaryStringToInteger(mask.data(), &attributes);
        if ((attributes & kCachecadeAttribute) == 0)
            return c.Refuse(kNoCachecadeSupport, controller, "");
        return kSend;
    }
    if (int32_t r = TestCachecade(c, cachecade, controller)) return r;
    return kSend;
}

VK_REPORT_CHECK(CheckNVMeAdapters) {
    const Check c("CheckNVMeAdapters", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    if (int32_t r = TestListed(c, c.Get("nvmeid"), controller, IsUserNVMeChannelIdValid,
                               kBadConnector, kNoAdapters))
        return r;
    return kSend;
}

VK_REPORT_CHECK(CheckVirtualDisks) {
    const Check c("CheckVirtualDisks", userCount, userWords, errText1, errText2);
    const char* controller = c.Get("controller");
    if (int32_t r = TestController(c, controller)) return r;
    if (int32_t r = TestVirtualDisk(c, c.Get("vdisk"), controller)) return r;
    return kSend;
}

VK_REPORT_CHECK(CheckPCIeSubsystem) {
    const Check c("CheckPCIeSubsystem", userCount, userWords, errText1, errText2);
    // The subsystem is addressed by its controller number.
    if (int32_t r = TestController(c, c.Get("subsystem"))) return r;
    return kSend;
}

}  // namespace report
