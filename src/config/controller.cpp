// "vkconfig storage controller": the controller's action table and its
// validate callback (actions, rates, properties, power management, security
// keys, disk conversions). Virtual-disk creation is in controller_create.cpp.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "callback_support.h"
#include "clps.h"
#include "command_tables.h"
#include "config_tables.h"
#include "controller_internal.h"
#include "da.h"
#include "handlers.h"
#include "kvsup.h"
#include "trace.h"

namespace config::controller {

namespace {

using kvclp::Action;
using kvclp::Join;
using kvclp::vkacmd;

// clang-format off
constexpr int32_t kBadDisk              = 1602;
constexpr int32_t kOverMaxVds           = 1642;
constexpr int32_t kSameRebuildRate      = 1648;
constexpr int32_t kSameBgiRate          = 1656;
constexpr int32_t kSamePatrolReadRate   = 1657;
constexpr int32_t kSameReconstructRate  = 1658;
constexpr int32_t kSameCcRate           = 1659;
constexpr int32_t kBadPatrolReadMode    = 1660;
constexpr int32_t kSameAbortCc          = 1677;
constexpr int32_t kSameCopyback         = 1678;
constexpr int32_t kSameAutoReplace      = 1679;
constexpr int32_t kSameLoadbalance      = 1680;
constexpr int32_t kNoProperty           = 1687;
constexpr int32_t kNoSmarter            = 1689;
constexpr int32_t kNoForce              = 1692;
constexpr int32_t kNoSecureImport       = 1714;
constexpr int32_t kPropertyRefused      = 1717;
constexpr int32_t kSamePersistentHs     = 1718;
constexpr int32_t kSameSpinDownTime     = 1719;
constexpr int32_t kBadSpinDownTime      = 1720;
constexpr int32_t kSamePowerSettings    = 1722;
constexpr int32_t kEscrowNoFile         = 1723;
constexpr int32_t kDisabledWithTime     = 1726;
constexpr int32_t kBadEscrow            = 1728;
constexpr int32_t kBadEscrowFile        = 1729;
constexpr int32_t kSettingMissing       = 1730;
constexpr int32_t kAlreadyDkm           = 1732;
constexpr int32_t kNotDkm               = 1733;
constexpr int32_t kNotLkm               = 1734;
constexpr int32_t kKeyModeRefuses       = 1735;
constexpr int32_t kNoSecurityKey        = 1736;
constexpr int32_t kRekeyNotLkm          = 1737;
constexpr int32_t kDiskArgEmpty         = 1742;
constexpr int32_t kBadSpinUpInterval    = 1744;
constexpr int32_t kBadSpinUpStart       = 1745;
constexpr int32_t kSpinUpNotTaken       = 1748;
constexpr int32_t kKeyLength            = 1749;
constexpr int32_t kSpinUpNeedsStart     = 1751;
constexpr int32_t kBadNrDiskCache       = 1775;
constexpr int32_t kSameNrDiskCache      = 1776;

// Bits of the controller's AttributesMask and AttributesMask1 (the secure bits
// are in controller_internal.h).
constexpr uint32_t kAttrKeyManagement   = vk::ctrlattr::kKeyManagement;
constexpr uint32_t kAttr1FlagA          = vk::ctrlattr1::kSizesSpans;
constexpr uint32_t kAttr1FlagB          = vk::ctrlattr1::kPowerSettingsTogether;

constexpr uint32_t kCurrentSize         = 8;    // present rates
constexpr uint32_t kWideCurrentSize     = 32;   // other present values
constexpr uint32_t kMaxVdSize           = 32;
constexpr uint32_t kDiskListSize        = 2048;
constexpr uint32_t kMaxKeyIdLength      = 32;
constexpr uint32_t kMinPassLength       = 8;
constexpr uint32_t kMaxPassLength       = 32;
constexpr int32_t kPowerFamily          = 8;
constexpr int32_t kNotTaken             = kvsup::status::kPropertyNotTaken;

constexpr uint32_t kNum    = CLPS_VT_UINT;
constexpr uint32_t kText   = CLPS_VT_TEXT;
constexpr uint32_t kRate   = CLPS_VT_RATE;
constexpr uint32_t kDisks  = CLPS_VT_DISK_LIST;
constexpr uint32_t kOpt    = CLPS_USE_OPTIONAL;
constexpr uint32_t kReq    = CLPS_USE_REQUIRED;
constexpr uint32_t kFix    = CLPS_USE_FIXED;
constexpr uint32_t kGrp    = CLPS_USE_GROUP;
constexpr uint32_t kOptKw  = CLPS_USE_OPT_KEYWORD;
constexpr uint32_t kGrpKw  = CLPS_USE_GROUP_KEYWORD;
constexpr uint32_t kReqKw  = CLPS_USE_REQ_KEYWORD;
constexpr const char* kDiskForm = "5:31,1:4:31";

// ---- parameter tables ------------------------------------------------------------
constexpr auto kControllerOnly = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum, kReq, nullptr, 0},
});
constexpr auto kForce = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,  kReq,   nullptr, 0},
    {"force",      "Force=yes", kText, kOptKw, "yes",   0},
});
constexpr auto kRebuildRate = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",    kNum,  kReq, nullptr, 0},
    {"rate",       "RebuildRate=", kRate, kReq, nullptr, 0},
});
constexpr auto kRateParams = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,  kReq, nullptr, 0},
    {"rate",       "Rate=",     kRate, kReq, nullptr, 0},
});
constexpr auto kPatrolReadMode = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,  kReq,   nullptr,   0},
    {"mode",       "PatrolReadMode=1", kText, kReqKw, "auto",    0},
    {"mode",       "PatrolReadMode=2", kText, kReqKw, "manual",  0},
    {"mode",       "PatrolReadMode=4", kText, kReqKw, "disable", 0},
});
constexpr auto kControllerMode = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",        kNum,  kReq,   nullptr, 0},
    {"mode",       "ControllerMode=1", kText, kReqKw, "raid",  0},
    {"mode",       "ControllerMode=2", kText, kReqKw, "hba",   0},
});
// The rows of virtual-disk and cachecade creation: the disks, the layout
// and size (virtual disks only), the policies, and protection information.
constexpr auto kCreateDisks = std::to_array<CLPSNVParamRow>({
    {"controller",      "GlobalNo=",          kNum,   kReq,   nullptr,   0},
    {"adisk",           "adisk=",             kDisks, kOpt,   kDiskForm, 0},
    {"pdisk",           "adisk=",             kDisks, kOpt,   kDiskForm, 0},
});
constexpr auto kCreateLayout = std::to_array<CLPSNVParamRow>({
    {"size",            "Length=",            kText,  kReq,   nullptr,   0},
    {"raid",            "Layout=2",           kText,  kReqKw, "r0",      0},
    {"raid",            "Layout=4",           kText,  kReqKw, "r1",      0},
    {"raid",            "Layout=64",          kText,  kReqKw, "r5",      0},
    {"raid",            "Layout=128",         kText,  kReqKw, "r6",      0},
    {"raid",            "Layout=512",         kText,  kReqKw, "r10",     0},
    {"raid",            "Layout=2048",        kText,  kReqKw, "r50",     0},
    {"raid",            "Layout=262144",      kText,  kReqKw, "r60",     0},
});
constexpr auto kCreatePolicies = std::to_array<CLPSNVParamRow>({
    {"name",            "Name=",              kText,  kOpt,   nullptr,   0},
    {"stripesize",      "StripeSize=4",       kText,  kOptKw, "2kb",     0},
    {"stripesize",      "StripeSize=8",       kText,  kOptKw, "4kb",     0},
    {"stripesize",      "StripeSize=16",      kText,  kOptKw, "8kb",     0},
    {"stripesize",      "StripeSize=32",      kText,  kOptKw, "16kb",    0},
    {"stripesize",      "StripeSize=64",      kText,  kOptKw, "32kb",    0},
    {"stripesize",      "StripeSize=128",     kText,  kOptKw, "64kb",    0},
    {"stripesize",      "StripeSize=256",     kText,  kOptKw, "128kb",   0},
    {"stripesize",      "StripeSize=512",     kText,  kOptKw, "256kb",   0},
    {"stripesize",      "StripeSize=1024",    kText,  kOptKw, "512kb",   0},
    {"stripesize",      "StripeSize=2048",    kText,  kOptKw, "1mb",     0},
    {"stripesize",      "StripeSize=4096",    kText,  kOptKw, "2mb",     0},
    {"stripesize",      "StripeSize=8192",    kText,  kOptKw, "4mb",     0},
    {"stripesize",      "StripeSize=16384",   kText,  kOptKw, "8mb",     0},
    {"stripesize",      "StripeSize=32768",   kText,  kOptKw, "16mb",    0},
    {"readpolicy",      "ReadPolicy=1",       kText,  kOptKw, "rc",      0},
    {"readpolicy",      "ReadPolicy=2",       kText,  kOptKw, "nrc",     0},
    {"readpolicy",      "ReadPolicy=4",       kText,  kOptKw, "ra",      0},
    {"readpolicy",      "ReadPolicy=8",       kText,  kOptKw, "ara",     0},
    {"readpolicy",      "ReadPolicy=16",      kText,  kOptKw, "nra",     0},
    {"writepolicy",     "WritePolicy=1",      kText,  kOptKw, "wc",      0},
    {"writepolicy",     "WritePolicy=2",      kText,  kOptKw, "nwc",     0},
    {"writepolicy",     "WritePolicy=4",      kText,  kOptKw, "wb",      0},
    {"writepolicy",     "WritePolicy=8",      kText,  kOptKw, "wt",      0},
    {"writepolicy",     "WritePolicy=32",     kText,  kOptKw, "fwb",     0},
    {"cachepolicy",     "CachePolicy=1",      kText,  kOptKw, "d",       0},
    {"cachepolicy",     "CachePolicy=2",      kText,  kOptKw, "c",       0},
    {"spanlength",      "SpanLength=",        kNum,   kOpt,   nullptr,   0},
    {"diskcachepolicy", "DiskCachePolicy=1",  kText,  kOptKw, "unchanged", 0},
    {"diskcachepolicy", "DiskCachePolicy=2",  kText,  kOptKw, "enabled", 0},
    {"diskcachepolicy", "DiskCachePolicy=4",  kText,  kOptKw, "disabled", 0},
    {"SecureFlag",      "SecureFlag=",        kText,  kOpt,   nullptr,   0},
});
constexpr auto kCreatePI = std::to_array<CLPSNVParamRow>({
    {"VdPIEnabled",     "VdPIEnabled=",       kText,  kOpt,   nullptr,   0},
});
constexpr auto kCreateVd = Join(kCreateDisks, kCreateLayout, kCreatePolicies, kCreatePI);
constexpr auto kCreateCachecade = Join(kCreateDisks, kCreatePolicies);
constexpr auto kProperties = std::to_array<CLPSNVParamRow>({
    {"controller",                              "GlobalNo=",                         kNum,  kReq,  nullptr,    0},
    {"AbortCheckConsistencyOnError",            "AbortCheckConsistencyOnError=1",    kText, kGrpKw, "enabled",  0},
    {"AbortCheckConsistencyOnError",            "AbortCheckConsistencyOnError=2",    kText, kGrpKw, "disabled", 0},
    {"AllowRevertibleHotSpareandReplaceMember", "Copyback=1",                        kText, kGrpKw, "enabled",  0},
    {"AllowRevertibleHotSpareandReplaceMember", "Copyback=2",                        kText, kGrpKw, "disabled", 0},
    {"Loadbalance",                             "Loadbalance=1",                     kText, kGrpKw, "auto",     0},
    {"Loadbalance",                             "Loadbalance=2",                     kText, kGrpKw, "disabled", 0},
    {"clearredundantpath",                      "clearredundantpath=2",              kText, kGrpKw, "clear",    0},
    {"bgirate",                                 "BGIRate=",                          kRate, kGrp,   nullptr,    0},
    {"checkconsistencyrate",                    "CheckConsistencyRate=",             kRate, kGrp,   nullptr,    0},
    {"reconstructrate",                         "ReconstructRate=",                  kRate, kGrp,   nullptr,    0},
    {"rebuildrate",                             "RebuildRate=",                      kRate, kGrp,   nullptr,    0},
    {"AutoReplaceMemberOnPredictiveFailure",    "AutoCopybackOnPredictiveFailure=1", kText, kGrpKw, "enabled",  0},
    {"AutoReplaceMemberOnPredictiveFailure",    "AutoCopybackOnPredictiveFailure=2", kText, kGrpKw, "disabled", 0},
    {"PersistentHotSpare",                      "PersistentHotSlot=1",               kText, kGrpKw, "enabled",  0},
    {"PersistentHotSpare",                      "PersistentHotSlot=2",               kText, kGrpKw, "disabled", 0},
    {"nrdiskcachepolicy",                       "DiskWriteCache=0",                  kText, kGrpKw, "unchanged", 0},
    {"nrdiskcachepolicy",                       "DiskWriteCache=1",                  kText, kGrpKw, "enabled",  0},
    {"nrdiskcachepolicy",                       "DiskWriteCache=2",                  kText, kGrpKw, "disabled", 0},
});
constexpr auto kDiscardCache = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",                 kNum,  kReq,   nullptr,    0},
    {"force",      "forcepinnedcachediscard=1", kText, kReqKw, "enabled",  0},
    {"force",      "forcepinnedcachediscard=2", kText, kReqKw, "disabled", 0},
});
constexpr auto kSecurityKey = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kReq, nullptr, 0},
    {"keyid",      "keyid=",      kText, kReq, nullptr, 0},
    {"passphrase", "Passphrase=", kText, kReq, nullptr, 0},
    {"escrow",     "escrow=",     kText, kOpt, nullptr, 0},
    {"filepath",   "filepath=",   kText, kOpt, nullptr, 0},
});
constexpr auto kSecurityKeyChange = std::to_array<CLPSNVParamRow>({
    {"controller",    "GlobalNo=",      kNum,  kReq, nullptr, 0},
    {"keyid",         "keyid=",         kText, kReq, nullptr, 0},
    {"passphrase",    "Passphrase=",    kText, kReq, nullptr, 0},
    {"oldpassphrase", "OldPassphrase=", kText, kReq, nullptr, 0},
    {"escrow",        "escrow=",        kText, kOpt, nullptr, 0},
    {"filepath",      "filepath=",      kText, kOpt, nullptr, 0},
});
constexpr auto kDriveCache = std::to_array<CLPSNVParamRow>({
    {"controller",  "GlobalNo=",      kNum,  kReq,   nullptr,   0},
    {"protocol",    "BusProtocol=8",  kText, kGrpKw, "sas",     0},
    {"protocol",    "BusProtocol=7",  kText, kGrpKw, "sata",    0},
    {"readpolicy",  "Command=92",     kText, kGrpKw, "enable",  0},
    {"readpolicy",  "Command=93",     kText, kGrpKw, "disable", 0},
    {"writepolicy", "Command=90",     kText, kGrpKw, "enable",  0},
    {"writepolicy", "Command=91",     kText, kGrpKw, "disable", 0},
});
constexpr auto kPassphrase = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=",   kNum,  kReq, nullptr, 0},
    {"passphrase", "Passphrase=", kText, kReq, nullptr, 0},
});
constexpr auto kDebug = std::to_array<CLPSNVParamRow>({
    {"controller",   "GlobalNo=",     kNum,  kReq, nullptr, 0},
    {"NumQXSIFArgs", "NumQXSIFArgs=", kNum,  kFix, "1",     0},
    {"param0",       "param0=",       kText, kFix, "debug", 0},
});
constexpr auto kPower = std::to_array<CLPSNVParamRow>({
    {"controller",                 "GlobalNo=",                 kNum,  kReq,   nullptr,    0},
    {"spindownconfigureddrives",   "SpinDownConfiguredDrive=1", kText, kGrpKw, "enabled",  0},
    {"spindownconfigureddrives",   "SpinDownConfiguredDrive=2", kText, kGrpKw, "disabled", 0},
    {"spindownunconfigureddrives", "SpinDownUnconfigured=1",    kText, kGrpKw, "enabled",  0},
    {"spindownunconfigureddrives", "SpinDownUnconfigured=2",    kText, kGrpKw, "disabled", 0},
    {"idlec",                      "DefaultVDPSPolicyT10=1",    kText, kGrpKw, "enabled",  0},
    {"idlec",                      "DefaultVDPSPolicyT10=2",    kText, kGrpKw, "disabled", 0},
    {"spindownhotspares",          "SpinDownHotspare=1",        kText, kGrpKw, "enabled",  0},
    {"spindownhotspares",          "SpinDownHotspare=2",        kText, kGrpKw, "disabled", 0},
    {"spindowntimeinterval",       "SpinDownTime=",             kText, kGrp,   nullptr,    0},
    {"spinupstarttime",            "DisableLDPSTime=",          kText, kGrp,   nullptr,    0},
    {"spinuptimeinterval",         "DisableLDPSInterval=",      kText, kGrp,   nullptr,    0},
});
constexpr auto kLkmPassphrase = std::to_array<CLPSNVParamRow>({
    {"controller",    "GlobalNo=",      kNum,  kReq, nullptr, 0},
    {"lkmpassphrase", "OldPassphrase=", kText, kReq, nullptr, 0},
});
constexpr auto kConvert = std::to_array<CLPSNVParamRow>({
    {"controller", "GlobalNo=", kNum,   kReq, nullptr,   0},
    {"adisk",      "adisk=",    kDisks, kOpt, kDiskForm, 0},
    {"pdisk",      "adisk=",    kDisks, kOpt, kDiskForm, 0},
});

constexpr auto kControllerTable = std::to_array<CLPSNVActionRow>({
    Action("rescan",                        vkacmd.setCntrlRescan,                    kForce),
    Action("resetconfig",                   vkacmd.setCntrlResetConfig,               kForce),
    Action("enablealarm",                   vkacmd.setCntrlEnableAlarm,               kForce),
    Action("disablealarm",                  vkacmd.setCntrlDisableAlarm,              kForce),
    Action("quietalarm",                    vkacmd.setCntrlQuietAlarm,                kForce),
    Action("testalarm",                     vkacmd.setCntrlTestAlarm,                 kForce),
    Action("exportlog",                     vkacmd.setCntrlExportLog,                 kControllerOnly),
    Action("setrebuildrate",                vkacmd.setCntrlRebuildRate,               kRebuildRate),
    Action("setbgirate",                    vkacmd.setCntrlBGIRate,                   kRateParams),
    Action("setcheckconsistencyrate",       vkacmd.setCntrlCheckConsistencyRate,      kRateParams),
    Action("setreconstructrate",            vkacmd.setCntrlReconstructRate,           kRateParams),
    Action("clearforeignconfig",            vkacmd.setCntrlClearForeignConfig,        kControllerOnly),
    Action("importforeignconfig",           vkacmd.setCntrlImportForeignConfig,       kControllerOnly),
    Action("importrecoverforeignconfig",    vkacmd.setCntrlForcedImportForeignConfig, kControllerOnly),
    Action("stoppatrolread",                vkacmd.setCntrlPatrolReadStop,            kControllerOnly),
    Action("startpatrolread",               vkacmd.setCntrlPatrolReadStart,           kControllerOnly),
    Action("setpatrolreadmode",             vkacmd.setCntrlPatrolReadMode,            kPatrolReadMode),
    Action("setcontrollermode",             vkacmd.setCntrlMode,                      kControllerMode),
    Action("autoconfigureRAID0",            vkacmd.setCntrlAutoConfig,                kControllerOnly),
    Action("createvdisk",                   vkacmd.setCntrlCreateVD,                  kCreateVd),
    Action("createcachecade",               vkacmd.setCntrlCreateEnhancedCache,       kCreateCachecade),
    Action("setchangecontrollerproperties", vkacmd.setCntrlChangeProperties,          kProperties),
    Action("discardpreservedcache",         vkacmd.setCntrlDiscardPinnedCache,        kDiscardCache),
    Action("createsecuritykey",             vkacmd.setCntrlSecurityKey,               kSecurityKey),
    Action("enabledkm",                     vkacmd.setCntrlSecurityKey,               kControllerOnly),
    Action("rekeydkm",                      vkacmd.setCntrlSecurityKey,               kControllerOnly),
    Action("deletesecuritykey",             vkacmd.setCntrlSecurityKey,               kControllerOnly),
    Action("changesecuritykey",             vkacmd.setCntrlSecurityKey,               kSecurityKeyChange),
    Action("enablelkm",                     vkacmd.setCntrlSecurityKey,               kSecurityKey),
    Action("switchtolkm",                   vkacmd.setCntrlSecurityKey,               kSecurityKey),
    Action("rekeylkm",                      vkacmd.setCntrlSecurityKey,               kSecurityKeyChange),
    Action("changedrivecache",              vkacmd.setCntrlChangeDriveCache,          kDriveCache),
    Action("importsecureforeignconfig",     vkacmd.setCntrlUnlockForeignDrives,       kPassphrase),
    Action("unlockdkmforeignconfig",        vkacmd.getForeignLockedArrayDisks,        kControllerOnly),
    Action("debug",                         vkacmd.sendPassThruCmdToQXSIF,            kDebug, CLPS_ROW_HIDDEN),
    Action("setpdiskpwrmanagement",         vkacmd.setCntrlChangeProperties,          kPower),
    Action("switchtodkm",                   vkacmd.setCntrlSecurityKey,               kLkmPassphrase),
    Action("convertNonRAIDtoRAID",          vkacmd.convertNonRAIDtoRAID,              kConvert),
    Action("convertRAIDtoNonRAID",          vkacmd.convertRAIDtoNonRAID,              kConvert),
});

// Actions that only tell the agent which property they touch.
struct PropertyAction {
    const char* action;
    int32_t property;
};
constexpr auto kPropertyActions = std::to_array<PropertyAction>({
    {"stoppatrolread",             12},
    {"startpatrolread",            11},
    {"dumpevents",                 5},
    {"clearforeignconfig",         6},
    {"importforeignconfig",        7},
    {"importrecoverforeignconfig", 15},
});

// Rate actions: the present value they must differ from, the refusal when
// equal, and the attribute they are sent with.
struct RateAction {
    const char* action;
    const char* tag;
    int32_t same;
    int32_t attribType;
};
constexpr auto kRateActions = std::to_array<RateAction>({
    {"setbgirate",              "BGIRate",              kSameBgiRate,         1},
    {"setpatrolreadrate",       "PatrolReadRate",       kSamePatrolReadRate,  2},
    {"setreconstructrate",      "ReconstructRate",      kSameReconstructRate, 3},
    {"setcheckconsistencyrate", "CheckConsistencyRate", kSameCcRate,          4},
});

// Rates among the controller properties.
struct PropertyRate {
    const char* user;
    const char* tag;
    int32_t same;
};
constexpr auto kPropertyRates = std::to_array<PropertyRate>({
    {"bgirate",              "BGIRate",              kSameBgiRate},
    {"rebuildrate",          "RebuildRate",          kSameRebuildRate},
    {"checkconsistencyrate", "CheckConsistencyRate", kSameCcRate},
    {"reconstructrate",      "ReconstructRate",      kSameReconstructRate},
});

// Every user name of the property group: one of them must be given.
constexpr auto kPropertyNames = std::to_array<const char*>({
    "AbortCheckConsistencyOnError", "AllowRevertibleHotSpareandReplaceMember", "Loadbalance",
    "clearredundantpath", "bgirate", "checkconsistencyrate", "reconstructrate", "rebuildrate",
    "AutoReplaceMemberOnPredictiveFailure", "PersistentHotSpare", "nrdiskcachepolicy",
});

// The four power keyword settings: the user's name, the pair the table
// sends (its value is the controller's own number) and the present value.
struct PowerSetting {
    const char* user;
    const char* pair;
};
constexpr auto kPowerSettings = std::to_array<PowerSetting>({
    {"spindownconfigureddrives",   "SpinDownConfiguredDrive"},
    {"spindownunconfigureddrives", "SpinDownUnconfigured"},
    {"idlec",                      "DefaultVDPSPolicyT10"},
    {"spindownhotspares",          "SpinDownHotspare"},
});

// The non-RAID disk cache policy in force, by its number.
constexpr auto kNrDiskCacheKeywords = std::to_array<const char*>({"unchanged", "enabled", "disabled"});

// Security-key actions under local key management, checked as one group.
constexpr auto kLkmActions = std::to_array<const char*>({
    "createsecuritykey", "changesecuritykey", "enablelkm", "switchtolkm", "rekeylkm",
});
// clang-format on

constexpr const char* kCopybackNotice =
    "\n If Auto replace member on predictive failure is enabled that will also be disabled as a "
    "part of this command\n";
constexpr const char* kGlobalRescanNotice =
    "This command is deprecated and will be discontinued in a subsequent release. Please use "
    "'vkconfig storage globalinfo action=globalrescan' instead.\n";

template <std::size_t N>
bool IsOneOf(const char* action, const std::array<const char*, N>& words) {
    return std::any_of(words.begin(), words.end(), [&](const char* w) { return Is(action, w); });
}

int64_t ToNumber(const std::string& text) {
    return std::strtoll(text.c_str(), nullptr, 10);
}

bool AllDigits(const char* text) {
    return text != nullptr && *text != '\0' && std::strspn(text, "0123456789") == std::strlen(text);
}

// ---- steps 7 to 9: modes and property-only actions ------------------------------------

int32_t CheckControllerMode(CallbackCall& call, const ControllerFacts& facts) {
    std::string valid;
    const char* mode = call.User("mode");
    const int32_t status =
        IsControllerModeValid(call.Pair("ControllerMode"), facts.controller, valid);
    if (status == 0) return kSend;
    if (status == kNotPossibleNow) return call.Refuse(status, facts.action, "");
    if (status == kvsup::status::kSameAsCurrent) return call.Refuse(status, mode, valid);
    return call.Refuse(AsMessage(status), mode != nullptr ? mode : "", valid);
}

int32_t CheckPatrolReadMode(CallbackCall& call, const ControllerFacts& facts) {
    std::string valid;
    if (IsPatrolReadModeValid(call.Pair("PatrolReadMode"), facts.controller, valid) == 0)
        return kSend;
    const char* mode = call.User("mode");
    return call.Refuse(kBadPatrolReadMode, mode != nullptr ? mode : "", valid);
}

int32_t Append(CallbackCall& call, const char* name, int32_t value) {
    return call.AppendNumber(name, value) ? kSend : call.Refuse(kCannotRead, name, "");
}

// ---- steps 10 and 11: secure foreign configurations -------------------------------------

int32_t CheckImportSecureForeign(CallbackCall& call, const ControllerFacts& facts) {
    const char* passphrase = call.User("passphrase");
    const int32_t status = IsUserPassphraseValid(passphrase, 0);
    if (status != 0)
        return call.Refuse(status, "passphrase", passphrase != nullptr ? passphrase : "");
    const auto attributes = ReadMask(facts.controller, "AttributesMask");
    if (!attributes) return kSend;
    if (!HasBit(attributes, kAttrSecureCapable)) return call.Refuse(kNoSecureImport, "", "");
    return HasBit(attributes, kAttrKeyPresent) ? kSend : call.Refuse(kNoSecureImport, "", "");
}

int32_t CheckUnlockDkmForeign(CallbackCall& call, const ControllerFacts& facts) {
    const auto attributes = ReadMask(facts.controller, "AttributesMask");
    if (!attributes) return kSend;
    if (!HasBit(attributes, kAttrKeyManagement)) return call.Refuse(kKeyModeRefuses, "", "");
    if (!HasBit(attributes, kAttrSecureCapable)) return call.Refuse(kNoSecureImport, "", "");
    return HasBit(attributes, kAttrKeyPresent) ? kSend : call.Refuse(kNoSecureImport, "", "");
}

// ---- steps 12 and 17: rates ----------------------------------------------------------

int32_t CheckRateAction(CallbackCall& call, const ControllerFacts& facts, const RateAction& row) {
    const char* rate = call.User("rate");
    VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL, "CmdConfigControllerValidateFunc(): pUserInputRate=%s\n",
                    rate != nullptr ? rate : "(null)");
    if (rate != nullptr) {
        const auto current = ReadCurrent(facts.controller, row.tag, kCurrentSize);
        if (!current) return call.Refuse(kCannotRead, row.tag, "");
        VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL,
                        "CmdConfigControllerValidateFunc(): pCurrentRate = %s\n", current->c_str());
        if (*current == rate) return call.Refuse(row.same, rate, "");
    }
    return Append(call, "AttribType", row.attribType);
}

int32_t CheckRebuildRate(CallbackCall& call, const ControllerFacts& facts) {
    const char* rate = call.User("rate");
    VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL, "CmdConfigControllerValidateFunc(): pUserInputRate=%s\n",
                    rate != nullptr ? rate : "(null)");
    if (rate == nullptr) return kSend;
    std::array<char, kCurrentSize> current{};
    if (GetRebuildRateForControllerWithSize(facts.controller, current.data(), current.size()) != 0)
        return call.Refuse(kCannotRead, "RebuildRate", "");
    return std::strcmp(current.data(), rate) == 0 ? call.Refuse(kSameRebuildRate, rate, "") : kSend;
}

// ---- step 13: controller properties -----------------------------------------------------

// A property whose value is already in force (any non-zero answer) or, when
// notTaken is given, that the controller cannot take (777).
int32_t CheckDuplicate(CallbackCall& call, const char* controller, const char* value,
                       int32_t property, int32_t same, bool notTakenApart) {
    const int32_t status = IsControllerPropertyDuplicate(controller, value, property);
    if (status == 0) return 0;
    if (notTakenApart && status == kNotTaken) return call.Refuse(kPropertyRefused, value, "");
    return call.Refuse(same, value, "");
}

int32_t CheckProperties(CallbackCall& call, const ControllerFacts& facts) {
    const char* controller = facts.controller;
    for (const PropertyRate& row : kPropertyRates) {
        const char* rate = call.User(row.user);
        if (rate == nullptr) continue;
        const auto current = ReadCurrent(controller, row.tag, kCurrentSize);
        if (!current) return call.Refuse(kCannotRead, row.tag, "");
        if (*current == rate) return call.Refuse(row.same, rate, "");
    }
    if (const char* v = call.User("AbortCheckConsistencyOnError")) {
        if (int32_t s = CheckDuplicate(call, controller, v, 1, kSameAbortCc, false)) return s;
    }
    if (const char* v = call.User("AllowRevertibleHotSpareandReplaceMember")) {
        if (Is(v, "disabled")) std::fputs(kCopybackNotice, stdout);
        if (int32_t s = CheckDuplicate(call, controller, v, 2, kSameCopyback, false)) return s;
    }
    if (const char* v = call.User("AutoReplaceMemberOnPredictiveFailure")) {
        if (Is(v, "enabled")) {
            const int32_t copyback = CanSmarterBeEnabled(controller);
            if (copyback == -1) return call.Refuse(kCannotRead, "Copyback", "");
            if (copyback != 0) return call.Refuse(kNoSmarter, v, "");
        }
        if (int32_t s = CheckDuplicate(call, controller, v, 3, kSameAutoReplace, false)) return s;
    }
    if (const char* v = call.User("PersistentHotSpare")) {
        if (int32_t s = CheckDuplicate(call, controller, v, 6, kSamePersistentHs, true)) return s;
    }
    if (const char* v = call.User("nrdiskcachepolicy")) {
        const int32_t status = IsControllerPropertyDuplicate(controller, v, 13);
        if (status == kNotTaken) return call.Refuse(kPropertyRefused, v, "");
        if (status != 0) {
            const auto current =
                ReadCurrent(controller, "NonRAIDDiskCachePolicy", kWideCurrentSize);
            const int64_t present = current ? ToNumber(*current) : -1;
            const bool same = present >= 0 &&
                              present < static_cast<int64_t>(kNrDiskCacheKeywords.size()) &&
                              Is(v, kNrDiskCacheKeywords[static_cast<std::size_t>(present)]);
            return call.Refuse(same ? kSameNrDiskCache : kBadNrDiskCache, v, "");
        }
    }
    if (const char* v = call.User("Loadbalance")) {
        if (int32_t s = CheckDuplicate(call, controller, v, 4, kSameLoadbalance, true)) return s;
    }
    const bool any = std::any_of(kPropertyNames.begin(), kPropertyNames.end(),
                                 [&](const char* name) { return call.User(name) != nullptr; });
    return any ? kSend : call.Refuse(kNoProperty, facts.action, "");
}

// ---- step 15: physical-disk power management ---------------------------------------------

// "hh:mm" of a 24-hour day (one or two digits of hour, two of minutes).
bool IsTimeOfDay(const char* text) {
    if (text == nullptr) return false;
    const std::string_view t = text;
    const std::size_t colon = t.find(':');
    if (colon == std::string_view::npos || colon == 0 || colon > 2 || t.size() != colon + 3)
        return false;
    const std::string hours(t.substr(0, colon));
    const std::string minutes(t.substr(colon + 1));
    if (!AllDigits(hours.c_str()) || !AllDigits(minutes.c_str())) return false;
    return std::stoi(hours) <= 23 && std::stoi(minutes) <= 59;
}

// Whether a given time differs from the one in force (a time not given
// changes nothing).
bool Changes(const char* given, const std::optional<std::string>& current) {
    return given != nullptr && (!current || *current != given);
}

int32_t CheckPowerManagement(CallbackCall& call, const ControllerFacts& facts) {
    const char* controller = facts.controller;
    const auto family = ReadCurrent(controller, "ControllerFamily", kWideCurrentSize);
    const auto savings = ReadCurrent(controller, "SupportPowerSavings", kWideCurrentSize);
    const auto currentInterval = ReadCurrent(controller, "DisableLDPSInterval", kWideCurrentSize);
    const auto currentDownTime = ReadCurrent(controller, "SpinDownTime", kWideCurrentSize);
    const auto currentStart = ReadCurrent(controller, "DisableLDPSTime", kWideCurrentSize);

    const char* downTime = call.User("spindowntimeinterval");
    const char* upStart = call.User("spinupstarttime");
    const char* upInterval = call.User("spinuptimeinterval");
    std::array<const char*, kPowerSettings.size()> given{};
    bool anyKeyword = false;
    bool allGiven = true;
    bool allDisabled = true;
    bool allEnabled = true;
    bool allSame = true;  // every given setting equals the one in force
    for (std::size_t i = 0; i < kPowerSettings.size(); ++i) {
        given[i] = call.User(kPowerSettings[i].user);
        if (given[i] == nullptr) {
            allGiven = false;
            continue;
        }
        anyKeyword = true;
        allDisabled = allDisabled && Is(given[i], "disabled");
        allEnabled = allEnabled && Is(given[i], "enabled");
        const char* sent = call.Pair(kPowerSettings[i].pair);
        const auto current = ReadCurrent(controller, kPowerSettings[i].pair, kWideCurrentSize);
        allSame = allSame && sent != nullptr && current && *current == sent;
    }

    if ((anyKeyword || downTime != nullptr) &&
        IsControllerPropertyDuplicate(controller, "Check", 9) == kNotTaken)
        return call.Refuse(kPropertyRefused, facts.action, "");
    // Controllers with flag B switch their power settings together: all
    // off, or all on.
    if (facts.flagB && anyKeyword && !allDisabled && !allEnabled)
        return call.Refuse(kNotSupported, facts.action, "");

    // The spin-down interval is checked on every controller: a malformed or
    // unchanged interval is never worth sending.
    auto checkDownTime = [&]() -> int32_t {
        if (downTime == nullptr) return 0;
        if (!AllDigits(downTime) || std::strlen(downTime) > 4 || std::atoi(downTime) < 30 ||
            std::atoi(downTime) > 1440)
            return call.Refuse(kBadSpinDownTime, downTime, "");
        if (currentDownTime && *currentDownTime == downTime)
            return call.Refuse(kSameSpinDownTime, downTime, "");
        return 0;
    };

    const bool powerSaving =
        family && savings && ToNumber(*family) >= kPowerFamily && ToNumber(*savings) != 0;
    if (powerSaving) {
        if (!allGiven) {
            for (std::size_t i = 0; i < kPowerSettings.size(); ++i) {
                if (given[i] == nullptr)
                    return call.Refuse(kSettingMissing, kPowerSettings[i].user, "");
            }
        }
        const bool timeGiven = downTime != nullptr || upStart != nullptr || upInterval != nullptr;
        const bool timeChanges = Changes(downTime, currentDownTime) ||
                                 Changes(upStart, currentStart) ||
                                 Changes(upInterval, currentInterval);
        if (allSame && !timeChanges) return call.Refuse(kSamePowerSettings, facts.action, "");
        if (allDisabled && timeGiven) return call.Refuse(kDisabledWithTime, facts.action, "");
        if (Is(given[3], "enabled")) {
            if (upInterval != nullptr && (!AllDigits(upInterval) || std::strlen(upInterval) > 2 ||
                                          std::atoi(upInterval) < 1 || std::atoi(upInterval) > 24))
                return call.Refuse(kBadSpinUpInterval, upInterval, "");
            if (upStart != nullptr && !IsTimeOfDay(upStart))
                return call.Refuse(kBadSpinUpStart, upStart, "");
            if (upStart == nullptr && upInterval != nullptr)
                return call.Refuse(kSpinUpNeedsStart, upInterval, "");
        }
        if (int32_t s = checkDownTime()) return s;
        return kSend;
    }
    if (upStart != nullptr || upInterval != nullptr || given[0] != nullptr || given[2] != nullptr)
        return call.Refuse(kSpinUpNotTaken, facts.action, "");
    if (int32_t s = checkDownTime()) return s;
    if (allSame && downTime == nullptr) return call.Refuse(kSamePowerSettings, facts.action, "");
    return kSend;
}

// ---- step 16: security keys ---------------------------------------------------------------

int32_t CheckPassphrase(CallbackCall& call, const char* name, int32_t mode) {
    const char* value = call.User(name);
    if (value == nullptr) return 0;
    const int32_t status = IsUserPassphraseValid(value, mode);
    return status == 0 ? 0 : call.Refuse(status, name, value);
}

// The controller's SecurityMode; empty when it cannot be read.
std::optional<std::string> SecurityMode(const char* controller) {
    auto mode = ReadCurrent(controller, "SecurityMode", kWideCurrentSize);
    if (mode && mode->empty()) return std::nullopt;
    return mode;
}

int32_t CheckLkmAction(CallbackCall& call, const ControllerFacts& facts,
                       const std::optional<uint32_t>& attributes) {
    const char* keyId = call.User("keyid");
    const char* passphrase = call.User("passphrase");
    const std::size_t passLength = passphrase != nullptr ? std::strlen(passphrase) : 0;
    if ((keyId != nullptr && std::strlen(keyId) > kMaxKeyIdLength) ||
        (passphrase != nullptr && (passLength < kMinPassLength || passLength > kMaxPassLength)))
        return call.Refuse(kKeyLength, keyId != nullptr ? keyId : "", "");
    if (int32_t s = CheckPassphrase(call, "passphrase", 1)) return s;
    if (int32_t s = CheckPassphrase(call, "keyid", 0)) return s;
    // The old pass phrase was accepted under the same rules when it was
    // set; one that breaks them cannot be the one in force.
    if (int32_t s = CheckPassphrase(call, "oldpassphrase", 1)) return s;

    const char* escrow = call.User("escrow");
    const char* filePath = call.User("filepath");
    if (escrow != nullptr && !Is(escrow, "yes")) return call.Refuse(kBadEscrow, escrow, "");
    if (escrow != nullptr && filePath == nullptr) return call.Refuse(kEscrowNoFile, escrow, "");
    if (filePath != nullptr && escrow == nullptr)
        return call.Refuse(kSettingMissing, "filepath", "");
    if (filePath != nullptr) {
        const std::size_t length = std::strlen(filePath);
        if (length < 5 || !Is(filePath + length - 4, ".xml"))
            return call.Refuse(kBadEscrowFile, filePath, "");
    }

    if (Is(facts.action, "rekeylkm")) {
        if (HasBit(attributes, kAttrKeyManagement)) {
            const auto mode = SecurityMode(facts.controller);
            if (mode && *mode != "1") return call.Refuse(kRekeyNotLkm, facts.action, "");
        } else if (attributes && !HasBit(attributes, kAttrKeyPresent)) {
            return call.Refuse(kRekeyNotLkm, facts.action, "");
        }
    }
    if (!Is(facts.action, "switchtolkm")) return kSend;

    const auto mode = ReadCurrent(facts.controller, "SecurityMode", kWideCurrentSize);
    if (!mode) return call.Refuse(kCannotRead, "SecurityMode", "");
    VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL, "CmdConfigControllerValidateFunc(): SecurityMode = %s\n",
                    mode->c_str());
    if (*mode == "0") return call.Refuse(kNoSecurityKey, facts.action, "");
    if (*mode == "1") return call.Refuse(kKeyModeRefuses, facts.action, "");
    if (*mode == "-1") return call.Refuse(kNotSupported, facts.action, "");
    if (*mode == "2") return Append(call, "RekeyFlag", 2);
    return kSend;
}

int32_t CheckSecurityKey(CallbackCall& call, const ControllerFacts& facts) {
    const char* action = facts.action;
    const char* controller = facts.controller;
    const auto attributes = ReadMask(controller, "AttributesMask");
    // Key management needs bit 29; a controller whose attributes cannot be
    // read is left to refuse the request itself.
    const bool noKeyManagement = attributes && !HasBit(attributes, kAttrKeyManagement);

    if (Is(action, "enabledkm")) {
        if (noKeyManagement) return call.Refuse(kNotSupported, action, "");
        if (isControllerSecurityModeDKM(controller, 2) == 1)
            return call.Refuse(kAlreadyDkm, action, "");
        if (isControllerSecurityModeDKM(controller, 1) != 1) return Append(call, "RekeyFlag", 1);
        return call.Refuse(kNotPossibleNow, action, "");
    }
    if (Is(action, "rekeydkm")) {
        if (noKeyManagement || isControllerSecurityModeDKM(controller, 2) != 1)
            return call.Refuse(kNotDkm, action, "");
        return Append(call, "RekeyFlag", 2);
    }
    if (IsOneOf(action, kLkmActions)) {
        if (noKeyManagement) return call.Refuse(kNotSupported, action, "");
        return CheckLkmAction(call, facts, attributes);
    }
    if (Is(action, "switchtodkm")) {
        if (int32_t s = CheckPassphrase(call, "lkmpassphrase", 1)) return s;
        const auto mode = SecurityMode(controller);
        if (mode && (*mode == "0" || *mode == "2")) return call.Refuse(kNotLkm, action, "");
        if (mode && *mode == "1") return Append(call, "RekeyFlag", 2);
        return kSend;
    }
    // deletesecuritykey
    const auto mode = SecurityMode(controller);
    if (mode) return *mode == "0" ? call.Refuse(kNoSecurityKey, action, "") : kSend;
    if (!attributes) return kSend;
    if (!HasBit(attributes, kAttrSecureCapable)) return call.Refuse(kNotSupported, action, "");
    return HasBit(attributes, kAttrKeyPresent) ? kSend : call.Refuse(kNoSecurityKey, action, "");
}

bool IsSecurityKeyAction(const char* action) {
    return IsOneOf(action, kLkmActions) || Is(action, "enabledkm") || Is(action, "rekeydkm") ||
           Is(action, "switchtodkm") || Is(action, "deletesecuritykey");
}

// ---- step 18: disk conversions -----------------------------------------------------------

int32_t CheckConversion(CallbackCall& call, const ControllerFacts& facts) {
    const bool toRaid = Is(facts.action, "convertNonRAIDtoRAID");
    std::string validText;
    uint32_t count = 0;
    IsUserArrayDiskIdValidState("", facts.controller, validText, 0, &count, toRaid ? 4096u : 1u,
                                toRaid ? "convertNonRAIDtoRAID" : "convertRAIDtoNonRAID");
    const std::vector<std::string> valid = SplitDiskIds(validText);

    const char* adisk = call.User("adisk");
    const char* pdisk = call.User("pdisk");
    if ((adisk != nullptr && *adisk == '\0') || (pdisk != nullptr && *pdisk == '\0'))
        return call.Refuse(kDiskArgEmpty, "", validText);
    if (int32_t s = CombineUserDiskParams(&adisk, &pdisk)) return call.Refuse(s, "", validText);
    const std::vector<std::string> user = SplitDiskIds(adisk);
    if (const std::string* missing = FirstMissing(user, valid))
        return call.Refuse(kBadDisk, *missing, validText);
    return kSend;
}

// ---- the callback ---------------------------------------------------------------------------

ControllerFacts ReadFacts(const char* action, const char* controller) {
    ControllerFacts facts;
    facts.action = action;
    facts.controller = controller;
    std::array<char, da::kTagValueSize> name{};
    if (GetControllerNameFromUserInput(controller, name.data()) == 0 &&
        std::strstr(name.data(), "K310") != nullptr)
        facts.isK310 = true;
    if (const auto attributes1 = ReadMask(controller, "AttributesMask1")) {
        facts.flagA = HasBit(attributes1, kAttr1FlagA);
        facts.flagB = HasBit(attributes1, kAttr1FlagB);
    }
    return facts;
}

int32_t CheckAction(CallbackCall& call, const ControllerFacts& facts) {
    const char* action = facts.action;
    if (Is(action, "setcontrollermode")) return CheckControllerMode(call, facts);
    if (Is(action, "setpatrolreadmode")) return CheckPatrolReadMode(call, facts);
    for (const PropertyAction& row : kPropertyActions) {
        if (Is(action, row.action)) return Append(call, "Property", row.property);
    }
    if (Is(action, "importsecureforeignconfig")) return CheckImportSecureForeign(call, facts);
    if (Is(action, "unlockdkmforeignconfig")) return CheckUnlockDkmForeign(call, facts);
    for (const RateAction& row : kRateActions) {
        if (Is(action, row.action)) return CheckRateAction(call, facts, row);
    }
    if (Is(action, "setchangecontrollerproperties")) return CheckProperties(call, facts);
    if (Is(action, "discardpreservedcache"))
        return call.User("force") != nullptr ? kSend : call.Refuse(kNoForce, action, "");
    if (Is(action, "setpdiskpwrmanagement")) return CheckPowerManagement(call, facts);
    if (IsSecurityKeyAction(action)) return CheckSecurityKey(call, facts);
    if (Is(action, "setrebuildrate")) return CheckRebuildRate(call, facts);
    if (Is(action, "createvdisk")) return CheckCreateVirtualDisk(call, facts);
    if (Is(action, "createcachecade")) return CheckCreateCachecade(call, facts);
    if (Is(action, "convertNonRAIDtoRAID") || Is(action, "convertRAIDtoNonRAID"))
        return CheckConversion(call, facts);
    return kSend;
}

}  // namespace

bool Is(const char* value, const char* word) {
    return value != nullptr && word != nullptr && strcmpCaseIgnore(value, word) == 0;
}

std::optional<uint32_t> ReadMask(const char* controller, const char* tag) {
    std::array<char, 100> text{};
    if (GetTagValueForController(controller, tag, text.data(), text.size()) != 0 || text[0] == '\0')
        return std::nullopt;
    uint32_t mask = 0;
    ConvertBinaryStringToInteger(text.data(), &mask);
    return mask;
}

bool HasBit(const std::optional<uint32_t>& mask, uint32_t bit) {
    return mask && (*mask & bit) != 0;
}

std::optional<std::string> ReadCurrent(const char* controller, const char* tag, uint32_t capacity) {
    std::string text(capacity, '\0');
    if (GetTagValueForController(controller, tag, text.data(), capacity) != 0) return std::nullopt;
    text.resize(std::strlen(text.c_str()));
    return text;
}

int32_t AsMessage(int32_t status) {
    return (status == -1 || status == 1 || status == kvsup::status::kNoBuffer) ? kCannotRead
                                                                               : status;
}

std::vector<std::string> SplitDiskIds(std::string_view list) {
    std::array<char, kDiskListSize> text{};
    std::snprintf(text.data(), text.size(), "%.*s", static_cast<int>(list.size()), list.data());
    stripWhiteSpaceFromStr(text.data());
    std::vector<std::string> ids;
    std::string_view rest = text.data();
    while (!rest.empty() && ids.size() < kDiskListSize) {
        const std::size_t comma = rest.find(',');
        const std::string_view id = rest.substr(0, comma);
        if (!id.empty()) ids.emplace_back(id.substr(0, 7));
        if (comma == std::string_view::npos) break;
        rest.remove_prefix(comma + 1);
    }
    return ids;
}

const std::string* FirstMissing(const std::vector<std::string>& user,
                                const std::vector<std::string>& valid) {
    for (const std::string& id : user) {
        if (std::find(valid.begin(), valid.end(), id) == valid.end()) return &id;
    }
    return nullptr;
}

int32_t CmdConfigControllerValidateFunc(void* /*reserved0*/, void* /*reserved1*/,
                                        uint32_t userCount, const char** userWords,
                                        uint32_t* pNVCount, const char** ppNVList,
                                        void* /*reserved2*/, void* /*reserved3*/, char* errText1,
                                        char* errText2) {
    CallbackCall call(userCount, userWords, pNVCount, ppNVList, errText1, errText2);
    VK_CONFIG_TRACE(TRACE_LEVEL_MODULE, "Dbgx: IN CmdConfigControllerValidateFunc\n");
    const char* action = call.User("action");
    if (Is(action, "debug")) return kSend;
    if (Is(action, "globalrescan")) {
        std::fputs(kGlobalRescanNotice, stdout);
        return kSend;
    }

    const char* controller = call.User("controller");
    const ControllerFacts facts = ReadFacts(action, controller);
    if (int32_t s = CheckControllerWithSize(call, controller)) return s;

    uint32_t supported = 0;
    uint32_t current = 0;
    IsUserOperationValidForController(action, controller, &supported, &current);
    if (supported == 0) return call.Refuse(kNotSupported, action != nullptr ? action : "", "");
    if (current == 0) {
        std::array<char, kMaxVdSize> maxVds{};
        if ((Is(action, "createvdisk") || Is(action, "createcachecade")) &&
            isOverMaxVDAllowed(controller, maxVds.data(), maxVds.size()) != 0)
            return call.Refuse(kOverMaxVds, maxVds.data(), "");
        return call.Refuse(kNotPossibleNow, action != nullptr ? action : "", "");
    }
    VK_CONFIG_TRACE(TRACE_LEVEL_DETAIL,
                    "CmdConfigControllerValidateFunc(): pAction=%s is valid for controller\n",
                    action != nullptr ? action : "");
    return CheckAction(call, facts);
}

constexpr auto kTables = std::to_array<kvclp::TableRef>({
    {"vkconfig storage controller", "", kControllerTable},
});

}  // namespace config::controller

const std::span<const kvclp::TableRef> config::kControllerTables = config::controller::kTables;

CLPSResponse* ConfigController(uint32_t argc, const char** argv) {
    LogCLIArgs(argv, argc);
    return CLPSNVCmdConfigFunc(argc, argv, 6971, 6972, config::controller::kControllerTable.data(),
                               config::controller::kControllerTable.size(), "kvclp.xsl",
                               config::controller::CmdConfigControllerValidateFunc);
}
