// The words the storage plug-in and the data agent "kvda" share: the names
// of the requests ("vkacmd=getController"), the kinds of objects the agent
// answers ("ObjType"), and for each kind the bits of its method masks and
// attribute masks. The plug-in's tables and checks and the agent's routes
// and mask rules all take them from here, so that neither side can spell a
// request or number a bit its own way.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vk {

// ---- requests --------------------------------------------------------------

inline constexpr std::string_view kRequestKey = "vkacmd=";

// A request as the first entry of its name/value list.
struct RequestName {
    const char* text;  // "vkacmd=<name>"

    constexpr std::string_view name() const {
        return std::string_view(text).substr(kRequestKey.size());
    }
    friend constexpr bool operator==(RequestName a, RequestName b) {
        return std::string_view(a.text) == std::string_view(b.text);
    }
};

// Every request, by its name: vkacmd.getController.text is
// "vkacmd=getController". Requests is only ever the one value below.
struct Requests {
    // clang-format off
    // ---- questions ------------------------------------------------------------------------------
    RequestName getControllerList                        {"vkacmd=getControllerList"};
    RequestName getController                            {"vkacmd=getController"};
    RequestName getSupportedRaidLevelsForController      {"vkacmd=getSupportedRaidLevelsForController"};
    RequestName getSingleControllerArrayInfo             {"vkacmd=getSingleControllerArrayInfo"};
    RequestName getControllerListArrayInfo               {"vkacmd=getControllerListArrayInfo"};
    RequestName getStoreDump                             {"vkacmd=getStoreDump"};
    RequestName getChannelsForController                 {"vkacmd=getChannelsForController"};
    RequestName getChannel                               {"vkacmd=getChannel"};
    RequestName getArrayDisk                             {"vkacmd=getArrayDisk"};
    RequestName getArrayDisksForController               {"vkacmd=getArrayDisksForController"};
    RequestName getArrayDisksForChannel                  {"vkacmd=getArrayDisksForChannel"};
    RequestName getArrayDisksForEnclosure                {"vkacmd=getArrayDisksForEnclosure"};
    RequestName getArrayDisksForVirtualDisk              {"vkacmd=getArrayDisksForVirtualDisk"};
    RequestName getSpanInfoForVirtualDisk                {"vkacmd=getSpanInfoForVirtualDisk"};
    RequestName getForeignLockedArrayDisks               {"vkacmd=getForeignLockedArrayDisks"};
    RequestName getCapsForDHS                            {"vkacmd=getCapsForDHS"};
    RequestName getCapsForMemberReplaceCLI               {"vkacmd=getCapsForMemberReplaceCLI"};
    RequestName getVirtualDisk                           {"vkacmd=getVirtualDisk"};
    RequestName getVirtualDisksForController             {"vkacmd=getVirtualDisksForController"};
    RequestName getAllVirtualDisks                       {"vkacmd=getAllVirtualDisks"};
    RequestName getPartitionsForVirtualDisk              {"vkacmd=getPartitionsForVirtualDisk"};
    RequestName getAllCachedLuns                         {"vkacmd=getAllCachedLuns"};
    RequestName getBatteryList                           {"vkacmd=getBatteryList"};
    RequestName getBatteriesForController                {"vkacmd=getBatteriesForController"};
    RequestName getBattery                               {"vkacmd=getBattery"};
    RequestName getEnclosure                             {"vkacmd=getEnclosure"};
    RequestName getEnclosureList                         {"vkacmd=getEnclosureList"};
    RequestName getEnclosuresForController               {"vkacmd=getEnclosuresForController"};
    RequestName getEnclosuresForChannel                  {"vkacmd=getEnclosuresForChannel"};
    RequestName getSingleEnclosureForController          {"vkacmd=getSingleEnclosureForController"};
    RequestName getEnclosureTemperatureProbes            {"vkacmd=getEnclosureTemperatureProbes"};
    RequestName getEnclosureFans                         {"vkacmd=getEnclosureFans"};
    RequestName getEnclosurePowerSupplies                {"vkacmd=getEnclosurePowerSupplies"};
    RequestName getEnclosureEMMs                         {"vkacmd=getEnclosureEMMs"};
    RequestName getSlotReportForEnclosure                {"vkacmd=getSlotReportForEnclosure"};
    RequestName getTape                                  {"vkacmd=getTape"};
    RequestName getTapeDrivesForController               {"vkacmd=getTapeDrivesForController"};
    RequestName getTapeDrivesForChannel                  {"vkacmd=getTapeDrivesForChannel"};
    RequestName getNVMeAdapter                           {"vkacmd=getNVMeAdapter"};
    RequestName getNVMeAdaptersForController             {"vkacmd=getNVMeAdaptersForController"};
    RequestName getPCIeSubsystem                         {"vkacmd=getPCIeSubsystem"};
    RequestName getAllPCIeSSDs                           {"vkacmd=getAllPCIeSSDs"};
    RequestName getPCIeRRWEThreshold                     {"vkacmd=getPCIeRRWEThreshold"};
    RequestName getSASSATARRWEThreshold                  {"vkacmd=getSASSATARRWEThreshold"};
    RequestName getGlobalInfo                            {"vkacmd=getGlobalInfo"};
    RequestName getTarnCachePoolProperties               {"vkacmd=getTarnCachePoolProperties"};
    RequestName getAlertLog                              {"vkacmd=getAlertLog"};
    // the controller interface: storage root, associations, capabilities
    RequestName sendPassThruCmdToQXSIF                   {"vkacmd=sendPassThruCmdToQXSIF"};
    // ---- controllers ----------------------------------------------------------------------------
    RequestName setCntrlRescan                           {"vkacmd=setCntrlRescan"};
    RequestName setCntrlResetConfig                      {"vkacmd=setCntrlResetConfig"};
    RequestName setCntrlEnableAlarm                      {"vkacmd=setCntrlEnableAlarm"};
    RequestName setCntrlDisableAlarm                     {"vkacmd=setCntrlDisableAlarm"};
    RequestName setCntrlQuietAlarm                       {"vkacmd=setCntrlQuietAlarm"};
    RequestName setCntrlTestAlarm                        {"vkacmd=setCntrlTestAlarm"};
    RequestName setCntrlExportLog                        {"vkacmd=setCntrlExportLog"};
    RequestName setCntrlRebuildRate                      {"vkacmd=setCntrlRebuildRate"};
    RequestName setCntrlBGIRate                          {"vkacmd=setCntrlBGIRate"};
    RequestName setCntrlCheckConsistencyRate             {"vkacmd=setCntrlCheckConsistencyRate"};
    RequestName setCntrlReconstructRate                  {"vkacmd=setCntrlReconstructRate"};
    RequestName setCntrlPatrolReadRate                   {"vkacmd=setCntrlPatrolReadRate"};
    RequestName setCntrlClearForeignConfig               {"vkacmd=setCntrlClearForeignConfig"};
    RequestName setCntrlImportForeignConfig              {"vkacmd=setCntrlImportForeignConfig"};
    RequestName setCntrlForcedImportForeignConfig        {"vkacmd=setCntrlForcedImportForeignConfig"};
    RequestName setCntrlPatrolReadStop                   {"vkacmd=setCntrlPatrolReadStop"};
    RequestName setCntrlPatrolReadStart                  {"vkacmd=setCntrlPatrolReadStart"};
    RequestName setCntrlPatrolReadMode                   {"vkacmd=setCntrlPatrolReadMode"};
    RequestName setCntrlMode                             {"vkacmd=setCntrlMode"};
    RequestName setCntrlAutoConfig                       {"vkacmd=setCntrlAutoConfig"};
    RequestName setCntrlCreateVD                         {"vkacmd=setCntrlCreateVD"};
    RequestName setCntrlCreateEnhancedCache              {"vkacmd=setCntrlCreateEnhancedCache"};
    RequestName setCntrlChangeProperties                 {"vkacmd=setCntrlChangeProperties"};
    RequestName setCntrlDiscardPinnedCache               {"vkacmd=setCntrlDiscardPinnedCache"};
    RequestName setCntrlSecurityKey                      {"vkacmd=setCntrlSecurityKey"};
    RequestName setCntrlChangeDriveCache                 {"vkacmd=setCntrlChangeDriveCache"};
    RequestName setCntrlUnlockForeignDrives              {"vkacmd=setCntrlUnlockForeignDrives"};
    RequestName convertNonRAIDtoRAID                     {"vkacmd=convertNonRAIDtoRAID"};
    RequestName convertRAIDtoNonRAID                     {"vkacmd=convertRAIDtoNonRAID"};
    // ---- physical disks -------------------------------------------------------------------------
    RequestName setArrayDiskBlink                        {"vkacmd=setArrayDiskBlink"};
    RequestName setArrayDiskUnBlink                      {"vkacmd=setArrayDiskUnBlink"};
    RequestName setArrayDiskPrepareToRemove              {"vkacmd=setArrayDiskPrepareToRemove"};
    RequestName setArrayDiskInitialize                   {"vkacmd=setArrayDiskInitialize"};
    RequestName setArrayDiskRebuild                      {"vkacmd=setArrayDiskRebuild"};
    RequestName setArrayDiskCancelRebuild                {"vkacmd=setArrayDiskCancelRebuild"};
    RequestName setArrayDiskCancelCopyback               {"vkacmd=setArrayDiskCancelCopyback"};
    RequestName setArrayDiskOffline                      {"vkacmd=setArrayDiskOffline"};
    RequestName setArrayDiskRemoveDeadSegments           {"vkacmd=setArrayDiskRemoveDeadSegments"};
    RequestName setArrayDiskOnline                       {"vkacmd=setArrayDiskOnline"};
    RequestName setArrayDiskGlobalHotSpare               {"vkacmd=setArrayDiskGlobalHotSpare"};
    RequestName setArrayDiskClear                        {"vkacmd=setArrayDiskClear"};
    RequestName setArrayDiskCancelClear                  {"vkacmd=setArrayDiskCancelClear"};
    RequestName setArrayDiskSecureErase                  {"vkacmd=setArrayDiskSecureErase"};
    RequestName enableArrayDiskWriteCache                {"vkacmd=enableArrayDiskWriteCache"};
    RequestName disableArrayDiskWriteCache               {"vkacmd=disableArrayDiskWriteCache"};
    RequestName setarraydiskcache                        {"vkacmd=setarraydiskcache"};
    RequestName exportDiskReliabilityLog                 {"vkacmd=exportDiskReliabilityLog"};
    RequestName setArrayDiskAddToCachePool               {"vkacmd=setArrayDiskAddToCachePool"};
    RequestName setArrayDiskRemoveFromCachePool          {"vkacmd=setArrayDiskRemoveFromCachePool"};
    RequestName setArrayDiskReactivateCachePool          {"vkacmd=setArrayDiskReactivateCachePool"};
    // ---- virtual disks --------------------------------------------------------------------------
    RequestName setVDCheckConsistency                    {"vkacmd=setVDCheckConsistency"};
    RequestName setVDCancelCheckConsistency              {"vkacmd=setVDCancelCheckConsistency"};
    RequestName setVDPauseCheckConsistency               {"vkacmd=setVDPauseCheckConsistency"};
    RequestName setVDResumeCheckConsistency              {"vkacmd=setVDResumeCheckConsistency"};
    RequestName setVDBlink                               {"vkacmd=setVDBlink"};
    RequestName setVDUnBlink                             {"vkacmd=setVDUnBlink"};
    RequestName setVDInitialize                          {"vkacmd=setVDInitialize"};
    RequestName setVDSlowInitialize                      {"vkacmd=setVDSlowInitialize"};
    RequestName setVDFastInitialize                      {"vkacmd=setVDFastInitialize"};
    RequestName setVDCancelInitialize                    {"vkacmd=setVDCancelInitialize"};
    RequestName setVDCancelBGInitialize                  {"vkacmd=setVDCancelBGInitialize"};
    RequestName setVDRecover                             {"vkacmd=setVDRecover"};
    RequestName setVDSplitMirrorSet                      {"vkacmd=setVDSplitMirrorSet"};
    RequestName setVDUnMirror                            {"vkacmd=setVDUnMirror"};
    RequestName setVDFormat                              {"vkacmd=setVDFormat"};
    RequestName setVDClearBadBlocks                      {"vkacmd=setVDClearBadBlocks"};
    RequestName setVDDedicatedHotSpare                   {"vkacmd=setVDDedicatedHotSpare"};
    RequestName setVDMemberReplace                       {"vkacmd=setVDMemberReplace"};
    RequestName setVDdelete                              {"vkacmd=setVDdelete"};
    RequestName setVDReconfigure                         {"vkacmd=setVDReconfigure"};
    RequestName setVDAddMissingDisk                      {"vkacmd=setVDAddMissingDisk"};
    RequestName setVDEnableTarnCache                     {"vkacmd=setVDEnableTarnCache"};
    RequestName setVDDisableTarnCache                    {"vkacmd=setVDDisableTarnCache"};
    RequestName setVDReactivateTarnCache                 {"vkacmd=setVDReactivateTarnCache"};
    // ---- enclosures -----------------------------------------------------------------------------
    RequestName setEnclosureEnableAlarm                  {"vkacmd=setEnclosureEnableAlarm"};
    RequestName setEnclosureDisableAlarm                 {"vkacmd=setEnclosureDisableAlarm"};
    RequestName setEnclosureBlink                        {"vkacmd=setEnclosureBlink"};
    RequestName setEnclosureUnBlink                      {"vkacmd=setEnclosureUnBlink"};
    RequestName setEnclosureServiceTag                   {"vkacmd=setEnclosureServiceTag"};
    RequestName setEnclosureAssetTag                     {"vkacmd=setEnclosureAssetTag"};
    RequestName setEnclosureAssetName                    {"vkacmd=setEnclosureAssetName"};
    RequestName setEnclosureTempProbes                   {"vkacmd=setEnclosureTempProbes"};
    RequestName setEnclosureResetTempProbes              {"vkacmd=setEnclosureResetTempProbes"};
    // ---- batteries ------------------------------------------------------------------------------
    RequestName setBatteryRecondition                    {"vkacmd=setBatteryRecondition"};
    RequestName setBatteryStartLearn                     {"vkacmd=setBatteryStartLearn"};
    RequestName setBatteryDelayLearn                     {"vkacmd=setBatteryDelayLearn"};
    RequestName setBatteryLearnMode                      {"vkacmd=setBatteryLearnMode"};
    // ---- the storage as a whole, connectors, cached LUNs ----------------------------------------
    RequestName setCntrlGlobalRescan                     {"vkacmd=setCntrlGlobalRescan"};
    RequestName setEnclosureEnableSTS                    {"vkacmd=setEnclosureEnableSTS"};
    RequestName setEnclosureDisableSTS                   {"vkacmd=setEnclosureDisableSTS"};
    RequestName setnonzorncertifiedmode                  {"vkacmd=setnonzorncertifiedmode"};
    RequestName setProtectionPolicies                    {"vkacmd=setProtectionPolicies"};
    RequestName setRemainingRatedWriteEnduranceThreshold {"vkacmd=setRemainingRatedWriteEnduranceThreshold"};
    RequestName setTarnCacheRefresh                      {"vkacmd=setTarnCacheRefresh"};
    RequestName setTarnCacheDiskOperation                {"vkacmd=setTarnCacheDiskOperation"};
    RequestName setChnlRescan                            {"vkacmd=setChnlRescan"};
    // clang-format on
};

inline constexpr Requests vkacmd{};

// Every member of Requests once, so that a test can walk them all.
inline constexpr auto kRequestMembers = std::to_array<RequestName Requests::*>({
    &Requests::getControllerList,
    &Requests::getController,
    &Requests::getSupportedRaidLevelsForController,
    &Requests::getSingleControllerArrayInfo,
    &Requests::getControllerListArrayInfo,
    &Requests::getStoreDump,
    &Requests::getChannelsForController,
    &Requests::getChannel,
    &Requests::getArrayDisk,
    &Requests::getArrayDisksForController,
    &Requests::getArrayDisksForChannel,
    &Requests::getArrayDisksForEnclosure,
    &Requests::getArrayDisksForVirtualDisk,
    &Requests::getSpanInfoForVirtualDisk,
    &Requests::getForeignLockedArrayDisks,
    &Requests::getCapsForDHS,
    &Requests::getCapsForMemberReplaceCLI,
    &Requests::getVirtualDisk,
    &Requests::getVirtualDisksForController,
    &Requests::getAllVirtualDisks,
    &Requests::getPartitionsForVirtualDisk,
    &Requests::getAllCachedLuns,
    &Requests::getBatteryList,
    &Requests::getBatteriesForController,
    &Requests::getBattery,
    &Requests::getEnclosure,
    &Requests::getEnclosureList,
    &Requests::getEnclosuresForController,
    &Requests::getEnclosuresForChannel,
    &Requests::getSingleEnclosureForController,
    &Requests::getEnclosureTemperatureProbes,
    &Requests::getEnclosureFans,
    &Requests::getEnclosurePowerSupplies,
    &Requests::getEnclosureEMMs,
    &Requests::getSlotReportForEnclosure,
    &Requests::getTape,
    &Requests::getTapeDrivesForController,
    &Requests::getTapeDrivesForChannel,
    &Requests::getNVMeAdapter,
    &Requests::getNVMeAdaptersForController,
    &Requests::getPCIeSubsystem,
    &Requests::getAllPCIeSSDs,
    &Requests::getPCIeRRWEThreshold,
    &Requests::getSASSATARRWEThreshold,
    &Requests::getGlobalInfo,
    &Requests::getTarnCachePoolProperties,
    &Requests::getAlertLog,
    &Requests::sendPassThruCmdToQXSIF,
    &Requests::setCntrlRescan,
    &Requests::setCntrlResetConfig,
    &Requests::setCntrlEnableAlarm,
    &Requests::setCntrlDisableAlarm,
    &Requests::setCntrlQuietAlarm,
    &Requests::setCntrlTestAlarm,
    &Requests::setCntrlExportLog,
    &Requests::setCntrlRebuildRate,
    &Requests::setCntrlBGIRate,
    &Requests::setCntrlCheckConsistencyRate,
    &Requests::setCntrlReconstructRate,
    &Requests::setCntrlPatrolReadRate,
    &Requests::setCntrlClearForeignConfig,
    &Requests::setCntrlImportForeignConfig,
    &Requests::setCntrlForcedImportForeignConfig,
    &Requests::setCntrlPatrolReadStop,
    &Requests::setCntrlPatrolReadStart,
    &Requests::setCntrlPatrolReadMode,
    &Requests::setCntrlMode,
    &Requests::setCntrlAutoConfig,
    &Requests::setCntrlCreateVD,
    &Requests::setCntrlCreateEnhancedCache,
    &Requests::setCntrlChangeProperties,
    &Requests::setCntrlDiscardPinnedCache,
    &Requests::setCntrlSecurityKey,
    &Requests::setCntrlChangeDriveCache,
    &Requests::setCntrlUnlockForeignDrives,
    &Requests::convertNonRAIDtoRAID,
    &Requests::convertRAIDtoNonRAID,
    &Requests::setArrayDiskBlink,
    &Requests::setArrayDiskUnBlink,
    &Requests::setArrayDiskPrepareToRemove,
    &Requests::setArrayDiskInitialize,
    &Requests::setArrayDiskRebuild,
    &Requests::setArrayDiskCancelRebuild,
    &Requests::setArrayDiskCancelCopyback,
    &Requests::setArrayDiskOffline,
    &Requests::setArrayDiskRemoveDeadSegments,
    &Requests::setArrayDiskOnline,
    &Requests::setArrayDiskGlobalHotSpare,
    &Requests::setArrayDiskClear,
    &Requests::setArrayDiskCancelClear,
    &Requests::setArrayDiskSecureErase,
    &Requests::enableArrayDiskWriteCache,
    &Requests::disableArrayDiskWriteCache,
    &Requests::setarraydiskcache,
    &Requests::exportDiskReliabilityLog,
    &Requests::setArrayDiskAddToCachePool,
    &Requests::setArrayDiskRemoveFromCachePool,
    &Requests::setArrayDiskReactivateCachePool,
    &Requests::setVDCheckConsistency,
    &Requests::setVDCancelCheckConsistency,
    &Requests::setVDPauseCheckConsistency,
    &Requests::setVDResumeCheckConsistency,
    &Requests::setVDBlink,
    &Requests::setVDUnBlink,
    &Requests::setVDInitialize,
    &Requests::setVDSlowInitialize,
    &Requests::setVDFastInitialize,
    &Requests::setVDCancelInitialize,
    &Requests::setVDCancelBGInitialize,
    &Requests::setVDRecover,
    &Requests::setVDSplitMirrorSet,
    &Requests::setVDUnMirror,
    &Requests::setVDFormat,
    &Requests::setVDClearBadBlocks,
    &Requests::setVDDedicatedHotSpare,
    &Requests::setVDMemberReplace,
    &Requests::setVDdelete,
    &Requests::setVDReconfigure,
    &Requests::setVDAddMissingDisk,
    &Requests::setVDEnableTarnCache,
    &Requests::setVDDisableTarnCache,
    &Requests::setVDReactivateTarnCache,
    &Requests::setEnclosureEnableAlarm,
    &Requests::setEnclosureDisableAlarm,
    &Requests::setEnclosureBlink,
    &Requests::setEnclosureUnBlink,
    &Requests::setEnclosureServiceTag,
    &Requests::setEnclosureAssetTag,
    &Requests::setEnclosureAssetName,
    &Requests::setEnclosureTempProbes,
    &Requests::setEnclosureResetTempProbes,
    &Requests::setBatteryRecondition,
    &Requests::setBatteryStartLearn,
    &Requests::setBatteryDelayLearn,
    &Requests::setBatteryLearnMode,
    &Requests::setCntrlGlobalRescan,
    &Requests::setEnclosureEnableSTS,
    &Requests::setEnclosureDisableSTS,
    &Requests::setnonzorncertifiedmode,
    &Requests::setProtectionPolicies,
    &Requests::setRemainingRatedWriteEnduranceThreshold,
    &Requests::setTarnCacheRefresh,
    &Requests::setTarnCacheDiskOperation,
    &Requests::setChnlRescan,
});

// Every request, in the order of Requests.
constexpr std::array<RequestName, kRequestMembers.size()> AllRequests() {
    std::array<RequestName, kRequestMembers.size()> all{};
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = vkacmd.*kRequestMembers[i];
    return all;
}

namespace detail {

// Each member listed once and no request spelt twice.
constexpr bool RequestsAreListedOnce() {
    const auto all = AllRequests();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!std::string_view(all[i].text).starts_with(kRequestKey) || all[i].name().empty())
            return false;
        for (std::size_t j = 0; j < i; ++j) {
            if (kRequestMembers[i] == kRequestMembers[j] || all[i] == all[j]) return false;
        }
    }
    return true;
}

}  // namespace detail

// The list holds as many members as Requests has (they are all of one type,
// so there is no padding to count), each once: a request added to Requests
// and not to the list fails here.
static_assert(sizeof(Requests) == kRequestMembers.size() * sizeof(RequestName));
static_assert(detail::RequestsAreListedOnce());

// ---- objects ---------------------------------------------------------------

// The kinds of object the agent answers, as their "ObjType" tag reads.
namespace objtype {
inline constexpr std::string_view kStorage = "storage";
inline constexpr std::string_view kGlobal = "globalinfo";
inline constexpr std::string_view kCachePool = "cachepool";
inline constexpr std::string_view kController = "controller";
inline constexpr std::string_view kConnector = "connector";
inline constexpr std::string_view kEnclosure = "enclosure";
inline constexpr std::string_view kFan = "fan";
inline constexpr std::string_view kPowerSupply = "pwrsupply";
inline constexpr std::string_view kEmm = "emm";
inline constexpr std::string_view kProbe = "tempprobe";
inline constexpr std::string_view kDisk = "pdisk";
inline constexpr std::string_view kTape = "tape";
inline constexpr std::string_view kVdisk = "vdisk";
inline constexpr std::string_view kSpan = "span";
inline constexpr std::string_view kPartition = "partition";
inline constexpr std::string_view kCachedLun = "cachedlun";
inline constexpr std::string_view kBattery = "battery";
inline constexpr std::string_view kNvme = "nvmeadapter";
inline constexpr std::string_view kAlert = "alert";
}  // namespace objtype

// ---- method masks ----------------------------------------------------------

// The tags of an object's method masks: what it supports at all and what it
// can carry out now. Controllers carry a second pair.
struct MethodMaskTags {
    std::string_view master;
    std::string_view current;
};
inline constexpr auto kMethodMaskTags = std::to_array<MethodMaskTags>({
    {"MasterMethodMask", "CurrentMethodMask"},
    {"MasterMethodMask1", "CurrentMethodMask1"},
});

// One operation's bit in the method masks of one kind of object.
struct MethodBit {
    std::string_view object;  // the objects' "ObjType"
    std::size_t pair = 0;     // index into kMethodMaskTags
    uint32_t bit = 0;

    friend constexpr bool operator==(const MethodBit&, const MethodBit&) = default;
};

// clang-format off
namespace method {

namespace storage {
inline constexpr MethodBit kGlobalRescan              {objtype::kStorage, 0, 0x1};
inline constexpr MethodBit kEnableSts                 {objtype::kStorage, 0, 0x2};
inline constexpr MethodBit kDisableSts                {objtype::kStorage, 0, 0x4};
inline constexpr MethodBit kSetProtectionPolicies     {objtype::kStorage, 0, 0x8};
inline constexpr MethodBit kSetWriteEnduranceThreshold{objtype::kStorage, 0, 0x10};
}  // namespace storage

namespace controller {
inline constexpr MethodBit kRescan                    {objtype::kController, 0, 0x1};
inline constexpr MethodBit kFlush                     {objtype::kController, 0, 0x2};
inline constexpr MethodBit kEnableAlarm               {objtype::kController, 0, 0x4};
inline constexpr MethodBit kDisableAlarm              {objtype::kController, 0, 0x8};
inline constexpr MethodBit kQuietAlarm                {objtype::kController, 0, 0x10};
inline constexpr MethodBit kSetRebuildRate            {objtype::kController, 0, 0x20};
inline constexpr MethodBit kCreateVdisk               {objtype::kController, 0, 0x40};
inline constexpr MethodBit kResetConfig               {objtype::kController, 0, 0x80};
inline constexpr MethodBit kExportLog                 {objtype::kController, 0, 0x100};
inline constexpr MethodBit kPauseIo                   {objtype::kController, 0, 0x200};
inline constexpr MethodBit kResumeIo                  {objtype::kController, 0, 0x400};
inline constexpr MethodBit kTestAlarm                 {objtype::kController, 0, 0x800};
inline constexpr MethodBit kSetBgiRate                {objtype::kController, 0, 0x2000};
inline constexpr MethodBit kSetCheckConsistencyRate   {objtype::kController, 0, 0x4000};
inline constexpr MethodBit kSetPatrolReadRate         {objtype::kController, 0, 0x8000};
inline constexpr MethodBit kSetReconstructRate        {objtype::kController, 0, 0x10000};
inline constexpr MethodBit kDumpEvents                {objtype::kController, 0, 0x80000};
inline constexpr MethodBit kSetPatrolReadMode         {objtype::kController, 0, 0x100000};
inline constexpr MethodBit kStartPatrolRead           {objtype::kController, 0, 0x200000};
inline constexpr MethodBit kStopPatrolRead            {objtype::kController, 0, 0x400000};
inline constexpr MethodBit kClearForeignConfig        {objtype::kController, 0, 0x800000};
inline constexpr MethodBit kImportForeignConfig       {objtype::kController, 0, 0x1000000};
inline constexpr MethodBit kImportRecoverForeignConfig{objtype::kController, 0, 0x2000000};
inline constexpr MethodBit kChangeProperties          {objtype::kController, 0, 0x4000000};
inline constexpr MethodBit kChangeDriveCache          {objtype::kController, 0, 0x8000000};
inline constexpr MethodBit kDiscardPreservedCache     {objtype::kController, 0, 0x10000000};
// Foreign configurations in general: answers for clearing and recovering
// imports when their own bits are both clear.
inline constexpr MethodBit kForeignConfig             {objtype::kController, 0, 0x20000000};
inline constexpr MethodBit kSecurityKey               {objtype::kController, 0, 0x40000000};
inline constexpr MethodBit kCreateCachecade           {objtype::kController, 1, 0x1};
inline constexpr MethodBit kConvertNonRaidToRaid      {objtype::kController, 1, 0x2};
inline constexpr MethodBit kConvertRaidToNonRaid      {objtype::kController, 1, 0x4};
inline constexpr MethodBit kSetControllerMode         {objtype::kController, 1, 0x8};
inline constexpr MethodBit kAutoConfigureRaid0        {objtype::kController, 1, 0x10};
}  // namespace controller

namespace connector {
inline constexpr MethodBit kRescan                    {objtype::kConnector, 0, 0x1};
}  // namespace connector

namespace nvme {
inline constexpr MethodBit kRescan                    {objtype::kNvme, 0, 0x1};
inline constexpr MethodBit kCryptographicErase        {objtype::kNvme, 0, 0x200000};
inline constexpr MethodBit kExportLog                 {objtype::kNvme, 0, 0x4000000};
}  // namespace nvme

namespace enclosure {
inline constexpr MethodBit kEnableAlarm               {objtype::kEnclosure, 0, 0x1};
inline constexpr MethodBit kDisableAlarm              {objtype::kEnclosure, 0, 0x2};
inline constexpr MethodBit kAssetData                 {objtype::kEnclosure, 0, 0x4};  // service tag, asset tag and name
inline constexpr MethodBit kTempProbes                {objtype::kEnclosure, 0, 0x8};
inline constexpr MethodBit kBlink                     {objtype::kEnclosure, 0, 0x40};
inline constexpr MethodBit kAllTempProbes             {objtype::kEnclosure, 0, 0x80};
inline constexpr MethodBit kUnblink                   {objtype::kEnclosure, 0, 0x100};
inline constexpr MethodBit kSlotReport                {objtype::kEnclosure, 0, 0x200};
}  // namespace enclosure

namespace battery {
inline constexpr MethodBit kRecondition               {objtype::kBattery, 0, 0x1};
inline constexpr MethodBit kStartLearn                {objtype::kBattery, 0, 0x2};
inline constexpr MethodBit kDelayLearn                {objtype::kBattery, 0, 0x4};
}  // namespace battery

namespace disk {
inline constexpr MethodBit kBlink                     {objtype::kDisk, 0, 0x1};
inline constexpr MethodBit kUnblink                   {objtype::kDisk, 0, 0x2};
inline constexpr MethodBit kDiag                      {objtype::kDisk, 0, 0x4};
inline constexpr MethodBit kCancelDiag                {objtype::kDisk, 0, 0x8};
inline constexpr MethodBit kAssignGlobalHotSpare      {objtype::kDisk, 0, 0x10};
inline constexpr MethodBit kUnassignGlobalHotSpare    {objtype::kDisk, 0, 0x20};
inline constexpr MethodBit kOnline                    {objtype::kDisk, 0, 0x40};
inline constexpr MethodBit kOffline                   {objtype::kDisk, 0, 0x80};
inline constexpr MethodBit kRemove                    {objtype::kDisk, 0, 0x100};
inline constexpr MethodBit kFormat                    {objtype::kDisk, 0, 0x200};
inline constexpr MethodBit kRebuild                   {objtype::kDisk, 0, 0x400};
inline constexpr MethodBit kCancelRebuild             {objtype::kDisk, 0, 0x800};
inline constexpr MethodBit kInitialize                {objtype::kDisk, 0, 0x1000};
inline constexpr MethodBit kVerify                    {objtype::kDisk, 0, 0x2000};
inline constexpr MethodBit kCancelVerify              {objtype::kDisk, 0, 0x4000};
inline constexpr MethodBit kRemoveDeadSegments        {objtype::kDisk, 0, 0x8000};
inline constexpr MethodBit kClear                     {objtype::kDisk, 0, 0x10000};
inline constexpr MethodBit kCancelClear               {objtype::kDisk, 0, 0x20000};
inline constexpr MethodBit kCancelReplaceMember       {objtype::kDisk, 0, 0x80000};
inline constexpr MethodBit kSecureErase               {objtype::kDisk, 0, 0x200000};
inline constexpr MethodBit kConvertRaidToNonRaid      {objtype::kDisk, 0, 0x400000};
inline constexpr MethodBit kConvertNonRaidToRaid      {objtype::kDisk, 0, 0x800000};
inline constexpr MethodBit kEnableWriteCache          {objtype::kDisk, 0, 0x1000000};
inline constexpr MethodBit kDisableWriteCache         {objtype::kDisk, 0, 0x2000000};
inline constexpr MethodBit kExportLog                 {objtype::kDisk, 0, 0x4000000};
inline constexpr MethodBit kAddToCachePool            {objtype::kDisk, 0, 0x8000000};
inline constexpr MethodBit kRemoveFromCachePool       {objtype::kDisk, 0, 0x10000000};
inline constexpr MethodBit kReactivate                {objtype::kDisk, 0, 0x20000000};
}  // namespace disk

namespace vdisk {
inline constexpr MethodBit kReconfigure               {objtype::kVdisk, 0, 0x1};
inline constexpr MethodBit kFormat                    {objtype::kVdisk, 0, 0x2};
inline constexpr MethodBit kCancelFormat              {objtype::kVdisk, 0, 0x4};
inline constexpr MethodBit kRestoreSegments           {objtype::kVdisk, 0, 0x8};
inline constexpr MethodBit kDelete                    {objtype::kVdisk, 0, 0x10};
inline constexpr MethodBit kCheckConsistency          {objtype::kVdisk, 0, 0x20};
inline constexpr MethodBit kInitialize                {objtype::kVdisk, 0, 0x40};
inline constexpr MethodBit kAssignDedicatedHotSpare   {objtype::kVdisk, 0, 0x80};
inline constexpr MethodBit kBlink                     {objtype::kVdisk, 0, 0x100};
inline constexpr MethodBit kUnblink                   {objtype::kVdisk, 0, 0x200};
inline constexpr MethodBit kRename                    {objtype::kVdisk, 0, 0x400};
inline constexpr MethodBit kCancelCheckConsistency    {objtype::kVdisk, 0, 0x800};
inline constexpr MethodBit kCancelInitialize          {objtype::kVdisk, 0, 0x1000};
inline constexpr MethodBit kSplitMirror               {objtype::kVdisk, 0, 0x2000};
inline constexpr MethodBit kUnmirror                  {objtype::kVdisk, 0, 0x4000};
inline constexpr MethodBit kCancelRebuild             {objtype::kVdisk, 0, 0x8000};
inline constexpr MethodBit kPauseCheckConsistency     {objtype::kVdisk, 0, 0x10000};
inline constexpr MethodBit kResumeCheckConsistency    {objtype::kVdisk, 0, 0x20000};
inline constexpr MethodBit kCancelReconfigure         {objtype::kVdisk, 0, 0x40000};
inline constexpr MethodBit kChangePolicy              {objtype::kVdisk, 0, 0x80000};
inline constexpr MethodBit kCancelBgInitialize        {objtype::kVdisk, 0, 0x100000};
inline constexpr MethodBit kSlowInit                  {objtype::kVdisk, 0, 0x400000};
inline constexpr MethodBit kFastInit                  {objtype::kVdisk, 0, 0x800000};
inline constexpr MethodBit kReplaceMember             {objtype::kVdisk, 0, 0x1000000};
inline constexpr MethodBit kClearBadBlocks            {objtype::kVdisk, 0, 0x4000000};
inline constexpr MethodBit kSecure                    {objtype::kVdisk, 0, 0x8000000};
inline constexpr MethodBit kResize                    {objtype::kVdisk, 0, 0x10000000};
inline constexpr MethodBit kEnableCache               {objtype::kVdisk, 0, 0x20000000};
inline constexpr MethodBit kDisableCache              {objtype::kVdisk, 0, 0x40000000};
inline constexpr MethodBit kReactivateCache           {objtype::kVdisk, 0, 0x80000000};
}  // namespace vdisk

namespace partition {
inline constexpr MethodBit kEnableCache               {objtype::kPartition, 0, 0x20000000};
inline constexpr MethodBit kDisableCache              {objtype::kPartition, 0, 0x40000000};
inline constexpr MethodBit kReactivateCache           {objtype::kPartition, 0, 0x80000000};
}  // namespace partition

namespace cachedlun {
inline constexpr MethodBit kDisableWithDiscard        {objtype::kCachedLun, 0, 0x1};
}  // namespace cachedlun

}  // namespace method
// clang-format on

// ---- attribute masks -------------------------------------------------------

// "AttributesMask" bits of controllers.
namespace ctrlattr {
inline constexpr uint32_t kFixedDiskCachePolicy = 0x80000;  // no disk cache policy, no VD names
inline constexpr uint32_t kSecurityCapable = 0x800000;
inline constexpr uint32_t kSecurityKeyPresent = 0x1000000;
inline constexpr uint32_t kNoVdCreation = 0x4000000;  // creates no virtual disks from the CLI
inline constexpr uint32_t kSecureForeignImport = 0x8000000;
inline constexpr uint32_t kKeyManagement = 0x20000000;
inline constexpr uint32_t kCacheCade = 0x40000000;
inline constexpr uint32_t kProtectionInfo = 0x80000000;  // virtual disks with protection info
}  // namespace ctrlattr

// "AttributesMask1" bits of controllers.
namespace ctrlattr1 {
inline constexpr uint32_t kPowerSettingsTogether = 0x1;  // spin-down settings go together
inline constexpr uint32_t kSizesSpans = 0x100;           // sizes the spans of new virtual disks
}  // namespace ctrlattr1

// "AttributesMask" bits of physical disks.
namespace diskattr {
inline constexpr uint32_t kGlobalHotSpare = 0x1;
inline constexpr uint32_t kVdMember = 0x2;
inline constexpr uint32_t kHidden = 0x80;  // not offered in lists of valid disks
inline constexpr uint32_t kDedicatedHotSpare = 0x100;
inline constexpr uint32_t kInEnclosure = 0x400;  // named channel:enclosure:target
inline constexpr uint32_t kCacheCade = 0x800;
}  // namespace diskattr

}  // namespace vk
