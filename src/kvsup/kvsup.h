/* Input validation library of the storage plug-in.
 *
 * Every check that refuses a command before it reaches a controller that
 * cannot carry it out: the form of names and numbers, whether an object
 * identifier exists, whether an action is offered by the object's method
 * masks, whether a value lies inside the controller's capability masks or
 * differs from the value in force, and the maps between the agent's values
 * and the keywords users type.
 *
 * Conventions shared by all functions:
 *  - results are signed 32-bit statuses: 0 valid/found/allowed, 1 bad form,
 *    -1 not found or no answer from the agent, 272 no XML buffer, and the
 *    specific refusal numbers below (kvsup::status);
 *  - identifiers are compared with the agent's text exactly ("01" is not
 *    "1"); user keywords are compared ignoring ASCII case;
 *  - lists of valid values are joined with ", " unless a function says "," ;
 *    forms taking a buffer and its size cut the list to fit (bounded
 *    concatenation), forms taking std::string& hold the whole list;
 *  - null text arguments read as absent: empty for the form checks, "not
 *    valid" for the queries.
 */
#ifndef VK_KVSUP_H
#define VK_KVSUP_H

#include <cstdint>
#include <string>
#include <string_view>

namespace kvsup::status {
inline constexpr int32_t kOk = 0;
inline constexpr int32_t kBadForm = 1;
inline constexpr int32_t kNotFound = -1;
inline constexpr int32_t kNoBuffer = 272;
inline constexpr int32_t kAutoConfigBusy = 1774;
inline constexpr int32_t kBadVdName = 1621;
inline constexpr int32_t kTooManyDhs = 1700;
inline constexpr int32_t kBadR1ESpanLength = 1701;
inline constexpr int32_t kVdNameNotAllowed = 1708;
inline constexpr int32_t kNoSuchPartition = 1753;
inline constexpr int32_t kDeviceNameMismatch = 1756;
inline constexpr int32_t kR10SpanLength = 1762;
inline constexpr int32_t kSameAsCurrent = 1777;
inline constexpr int32_t kBothDiskParams = 1668;
inline constexpr int32_t kNoDiskParam = 1667;
/* IsControllerPropertyDuplicate: the controller cannot take the property. */
inline constexpr int32_t kPropertyNotTaken = 777;
/* Pass-phrase and key id refusals (IsUserPassphraseValid). */
inline constexpr int32_t kPassLength = 1703;
inline constexpr int32_t kPassNoDigit = 1704;
inline constexpr int32_t kPassNoCase = 1705;
inline constexpr int32_t kPassNoSpecial = 1707;
inline constexpr int32_t kPassBadFirst = 1709;
}  // namespace kvsup::status

/* ======================================================================
 * String and number form checks (no agent query except IsNameCorrectLength)
 * ====================================================================== */

/* 0 when equal ignoring ASCII case, else 1. */
int32_t strcmpCaseIgnore(const char* a, const char* b);
/* 0 for digits with at most one '.', no sign; "" is valid. */
int32_t IsStringAValidNumericValue(const char* s);
/* out = leading digits of "%f" of value (the integer part; empty when
 * negative). Returns 0. */
int32_t ConvertToStringRepresentingInteger(double value, std::string& out);
/* 0 when only '0'/'1' (or empty); else the position of the first other
 * character, so a wrong first character also answers 0. */
int32_t IsStringABinaryRepresentation(const char* s);
/* *out = value of the binary string, most significant digit first.
 * Characters are not checked. Returns 0. */
int32_t ConvertBinaryStringToInteger(const char* s, uint32_t* out);
/* Letters, digits, '-', '_' and space; noEdgeSpaces refuses a space first
 * or last. 0 valid, 1 invalid. */
int32_t IsStringAValidName(const char* s, int32_t noEdgeSpaces);
int32_t IsStringAValidNameNoSpace(const char* s);
/* Upper-case letters and digits only. */
int32_t IsStringAValidAlphanumeric(const char* s);
/* Reads the controller's MaxNameLength into maxLenOut (cut to its size);
 * 0 when 1 <= length <= limit, 1 otherwise, -1 no answer, 272. */
int32_t IsNameCorrectLength(const char* name, const char* globalNo, char* maxLenOut,
                            uint32_t maxLenOutSize);
/* Removes every blank (code 32) in place. */
void stripWhiteSpaceFromStr(char* s);

/* ======================================================================
 * Object identifiers: 0 found, -1 not found or no answer, 272
 * ====================================================================== */

/* Controller list (bounded); 1774 when the matched controller is busy with
 * automatic configuration. */
int32_t IsUserControllerIdValidWithSize(const char* userId, char* validList,
                                        uint32_t validListSize);
int32_t IsUserChannelIdValid(const char* userChannel, const char* globalNo, std::string& validList);
int32_t IsUserNVMeChannelIdValid(const char* userChannel, const char* globalNo,
                                 std::string& validList);
/* "channel:enclosure" on channels of bus protocol 8 or 9, else "channel".
 * *count: enclosures listed (0 after a match). */
int32_t IsUserEnclosureIdValidWithSize(const char* userEnclosure, const char* globalNo,
                                       char* validList, uint32_t validListSize, uint32_t* count);
/* Virtual disks that are not members of another one (no ParentVDID). */
int32_t IsUserVirtualDiskIdValid(const char* userVd, const char* globalNo, std::string& validList);
/* Virtual disks whose IsSSC reads 1. */
int32_t IsUserCachecadeIdValid(const char* userVd, const char* globalNo, std::string& validList);
int32_t IsUserBatteryIdValidWithSize(const char* userBattery, const char* globalNo, char* validList,
                                     uint32_t validListSize, uint32_t* count);
/* Every "channel:target" of the controller joined with "," (no blank).
 * 0, or 272. */
int32_t GetValidUserArrayDiskIds(const char* globalNo, std::string& validList);
int32_t IsUserFanIndexValid(const char* userIndex, const char* enclosure, const char* globalNo,
                            std::string& validList);
int32_t IsUserPwrSupplyIndexValid(const char* userIndex, const char* enclosure,
                                  const char* globalNo, std::string& validList);
int32_t IsUserEmmIndexValid(const char* userIndex, const char* enclosure, const char* globalNo,
                            std::string& validList);
int32_t IsUserTempProbesIndexValid(const char* userIndex, const char* enclosure,
                                   const char* globalNo, std::string& validList);
/* Warning limits of the enclosure's first probe hold for all its probes.
 * On refusal (-1) the ranges read "(low, high)" (at most 225 characters);
 * on success they hold the probe's present MinWarning/MaxWarning. */
int32_t IsUserTempProbesInputValid(const char* probeIndex, const char* userMinWarning,
                                   const char* userMaxWarning, const char* enclosure,
                                   const char* globalNo, std::string& validMinRange,
                                   std::string& validMaxRange);
/* IsDelayLearnWithinMaxLearnDelay and IsUserVDLayoutValidForOCE live with
 * the data-manager access layer (da.h). */

/* ======================================================================
 * Operation capability masks
 * On return *supported = Master mask AND the action's bit, *current =
 * Current mask AND the bit; an unknown action gives 0/0 with status 0.
 * ====================================================================== */

int32_t IsUserOperationValidForStorageObject(const char* action, uint32_t* supported,
                                             uint32_t* current);
int32_t IsUserOperationValidForController(const char* action, const char* globalNo,
                                          uint32_t* supported, uint32_t* current);
int32_t IsUserOperationValidForChannel(const char* action, const char* globalNo,
                                       const char* channel, uint32_t* supported, uint32_t* current);
int32_t IsUserOperationValidForNVMeAdapter(const char* action, const char* globalNo,
                                           const char* channel, uint32_t* supported,
                                           uint32_t* current);
int32_t IsUserOperationValidForEnclosure(const char* action, const char* globalNo,
                                         const char* enclosure, uint32_t* supported,
                                         uint32_t* current);
int32_t IsUserOperationValidForBattery(const char* action, const char* globalNo,
                                       const char* battery, uint32_t* supported, uint32_t* current);
int32_t IsUserOperationValidForArrayDisk(const char* action, const char* globalNo,
                                         const char* adisk, uint32_t* supported, uint32_t* current);
/* 1756 when deviceName is given and differs from the disk's DeviceName. */
int32_t IsUserOperationValidForVirtualDisk(const char* action, const char* globalNo,
                                           const char* vdisk, uint32_t* supported,
                                           uint32_t* current, const char* deviceName = nullptr);
/* 1753 when the partition is not listed or the list is empty. */
int32_t IsUserOperationValidForPartition(const char* action, const char* globalNo,
                                         const char* vdisk, const char* partition,
                                         uint32_t* supported, uint32_t* current);
/* 1753 when the cached LUN is not listed or the list is empty. */
int32_t IsUserInputValidForCachedluns(const char* action, const char* globalNo,
                                      const char* cachedLunName, uint32_t* supported,
                                      uint32_t* current);

/* ======================================================================
 * Virtual-disk policy keyword maps (agent value <-> user keyword)
 * Value to keyword: out gets the keyword, "" for a value not in the table
 * (0 and combinations included). Returns 0.
 * Keyword to value: the value, 0 for an unknown keyword (case ignored).
 * ====================================================================== */

int32_t GetUserInputStringForRaidLayoutValue(uint32_t value, std::string& out);
int32_t GetUserInputStringForStripeSizeValue(uint32_t value, std::string& out);
int32_t GetUserInputStringForReadPolicyValue(uint32_t value, std::string& out);
int32_t GetUserInputStringForWritePolicyValue(uint32_t value, std::string& out);
int32_t GetUserInputStringForCachePolicyValue(uint32_t value, std::string& out);
int32_t GetUserInputStringForDiskCachePolicyValue(uint32_t value, std::string& out);

namespace kvsup {
/* "r10" answers 512: the RAID 1E value 524288 is never typed. */
uint32_t RaidLayoutValueForKeyword(std::string_view keyword);
uint32_t StripeSizeValueForKeyword(std::string_view keyword);
uint32_t ReadPolicyValueForKeyword(std::string_view keyword);
uint32_t WritePolicyValueForKeyword(std::string_view keyword);
uint32_t CachePolicyValueForKeyword(std::string_view keyword);
uint32_t DiskCachePolicyValueForKeyword(std::string_view keyword);
}  // namespace kvsup

/* ======================================================================
 * Array-disk selection: 0 found, -1 not found, 272
 * Lists are joined with ", "; *count tells "none exist" (0) apart from
 * "exist but not this one". The check flag never refuses a match.
 * ====================================================================== */

/* Listed: disks whose AttributesMask lacks 0x80. Id has three parts when
 * AttributesMask has 0x400. */
int32_t IsUserArrayDiskIdValid(const char* userId, const char* globalNo, std::string& validList,
                               int32_t checkFlag, uint32_t* count);
/* Listed: as above, and MediaType 2 with ObjState 1 (healthy solid-state
 * disks). Three parts only on channels of bus protocol 8. */
int32_t IsUserArrayDiskIdValidHealthy(const char* userId, const char* globalNo,
                                      std::string& validList, int32_t checkFlag, uint32_t* count);
/* Listed: disks in wantedState; for state 1 also the CurrentMethodMask bit
 * of the conversion action. *count counts listed disks only. */
int32_t IsUserArrayDiskIdValidState(const char* userId, const char* globalNo,
                                    std::string& validList, int32_t checkFlag, uint32_t* count,
                                    uint32_t wantedState, const char* action);
int32_t IsUserTapeDriveIdValid(const char* userId, const char* globalNo, std::string& validList,
                               int32_t checkFlag, uint32_t* count);
int32_t IsUserArrayDiskIdValidDHS(const char* userId, const char* globalNo, const char* vdNum,
                                  std::string& validList);
int32_t IsUserDHSValid(const char* userId, const char* globalNo, const char* vdNum,
                       std::string& validList);
int32_t pUserSourceAdiskIdValid(const char* userId, const char* globalNo, const char* vdNum,
                                std::string& validList);
int32_t IsUserDestinationADiskIdValid(const char* userId, const char* globalNo, const char* vdNum,
                                      std::string& validList);
/* 0 when the virtual disk's ObjState is 1; 1 otherwise or no answer. */
int32_t IsMemberReplaceAllowed(const char* globalNo, const char* vdNum);
/* 0 allowed, -1 not allowed, 1700 more than 16 dedicated hot spares. */
int32_t IsDedicateHotSpareAllowed(const char* globalNo, const char* vdNum, uint32_t addCount);
/* Single-disk reads: 0 (output empty when no disk matches), 1 tag
 * missing, 272. */
int32_t GetDiskCacheForPhysicalDisk(const char* userId, const char* globalNo, std::string& policy);
/* Outputs are cut to their sizes (callers give 16 and 8). */
int32_t IsArrayDiskNVME(const char* globalNo, const char* userId, char* isDeviceNVME,
                        uint32_t isDeviceNVMESize, char* busProtocol, uint32_t busProtocolSize);
int32_t IsArrayDiskISECapable(const char* globalNo, const char* userId, char* iseCapable,
                              uint32_t iseCapableSize);
/* adisk and pdisk: both 1668, neither 1667; a lone pdisk moves into the
 * adisk slot. */
int32_t CombineUserDiskParams(const char** adisk, const char** pdisk);

/* ======================================================================
 * Setting keyword maps and controller setting reads
 * ====================================================================== */

int32_t GetUserInputStringForAbortCCValue(int32_t value, std::string& out);
int32_t GetUserInputStringForSmarterValue(int32_t value, std::string& out);
/* Reversed on purpose: 0 "enabled", 1 "disabled". */
int32_t GetUserInputStringForCopybackValue(int32_t value, std::string& out);
int32_t GetUserInputStringForPersistentHotSlotValue(int32_t value, std::string& out);
int32_t GetUserInputStringForLoadbalanceValue(int32_t value, std::string& out);
int32_t GetUserInputStringForMultipathValue(int32_t value, std::string& out);
int32_t GetUserInputStringForDiskWriteCacheValue(int32_t value, std::string& out);
/* 1 "auto", 2 "manual", 4 "disable"; no trace lines. */
int32_t GetUserInputStringForAutoManualValue(uint32_t value, std::string& out);
/* 1777 when userKeyword equals (case-sensitive) the keyword of the present
 * disk cache policy, else 0. */
int32_t IsUserDiskCachePolicySameAsCurrent(const char* presentValue, const char* userKeyword);
/* The decimal value of AutoCopybackOnPredictiveFailure / Copyback (0 when
 * missing), -1 no answer, 272. */
int32_t CanCopybackBeDisabled(const char* globalNo);
int32_t CanSmarterBeEnabled(const char* globalNo);
/* 1 when SecurityMode equals mode, else 0 (also with no answer); 272. */
int32_t isControllerSecurityModeDKM(const char* globalNo, int32_t mode);

namespace kvsup {
/* Keyword to value for the setting maps; -1 for an unknown keyword. */
int32_t AbortCCValueForKeyword(std::string_view keyword);
int32_t SmarterValueForKeyword(std::string_view keyword);
int32_t CopybackValueForKeyword(std::string_view keyword);
int32_t PersistentHotSlotValueForKeyword(std::string_view keyword);
int32_t LoadbalanceValueForKeyword(std::string_view keyword);
int32_t MultipathValueForKeyword(std::string_view keyword);
int32_t DiskWriteCacheValueForKeyword(std::string_view keyword);
int32_t AutoManualValueForKeyword(std::string_view keyword);
}  // namespace kvsup

/* ======================================================================
 * Virtual-disk count and duplicate checks (conventions differ: see each)
 * ====================================================================== */

/* 1 when the controller holds MaxVDAllowed (into maxOut) virtual disks or
 * more, 0 otherwise, -1 no answer, 272. */
int32_t isOverMaxVDAllowed(const char* globalNo, char* maxOut, uint32_t maxOutSize);
/* 0 when a virtual disk of the controller is named name (taken), else -1. */
int32_t IsCtrlVDNameDuplicate(const char* name, const char* globalNo);
/* 0 when the disk's present name is non-empty and differs, else 1. */
int32_t IsVDNameDuplicate(const char* name, const char* globalNo, const char* vdNum);
/* 1 when the enclosure's tagName equals value, else 0; 272. */
int32_t IsAssetInfoDuplicate(const char* globalNo, const char* enclosure, const char* tagName,
                             const char* value);
/* The limit when it is below length, else 0; 272. */
int32_t IsAssetLengthValid(const char* globalNo, const char* enclosure, const char* tagName,
                           uint32_t length);
/* kind 1 read, 2 write, 3 cache, 4 disk cache policy: 1 when keyword
 * equals the present keyword (or no answer), else 0; 272. */
int32_t IsPolicyInfoDuplicate(const char* globalNo, const char* keyword, const char* vdNum,
                              int32_t kind);

/* ======================================================================
 * Controller capability validators
 * ====================================================================== */

/* *mask = the controller's RAIDLevelsMask (0 with no answer). 0 or 272. */
int32_t GetControllerRAIDLevelsMask(const char* globalNo, uint32_t* mask);
/* layoutValue: requested Layout number; unused: not read; spanLength may
 * be null. 0, -1 (validList names the offered levels), 1762, 1701. */
int32_t IsUserRaidInputValueValidForController(const char* layoutValue, const char* unused,
                                               char* validList, uint32_t validListSize,
                                               uint32_t raidLevelsMask, const char* spanLength,
                                               int32_t flagA);
/* Policy checks: 0 when the requested value's bit is in the controller's
 * mask; -1 with the offered keywords in validList; 272. */
int32_t IsUserReadPolicyValidForController(const char* globalNo, const char* value, char* validList,
                                           uint32_t validListSize);
int32_t IsUserWritePolicyValidForController(const char* globalNo, const char* value,
                                            char* validList, uint32_t validListSize);
int32_t IsUserCachePolicyValidForController(const char* globalNo, const char* value,
                                            char* validList, uint32_t validListSize);
int32_t IsUserStripeSizeValidForController(const char* globalNo, const char* value, char* validList,
                                           uint32_t validListSize);
/* allowFixed non-zero lifts the AttributesMask 0x80000 refusal. */
int32_t IsUserDiskCachePolicyValidForController(const char* globalNo, const char* value,
                                                char* validList, uint32_t validListSize,
                                                int32_t allowFixed);
/* 0, 1621 (errText holds the rule), 1708, -1, 272. */
int32_t IsUserVirtualDiskNameValidForController(const char* globalNo, const char* name,
                                                int32_t nameGiven, char* errText,
                                                uint32_t errTextSize);

/* ======================================================================
 * Controller rules settled by this library (controller_rules.cpp states
 * each rule beside its code)
 * ====================================================================== */

/* Rewrites the list's "Layout=512" entry as "Layout=524288" (RAID 1E) when
 * RAID 10 is asked of a controller that offers RAID 1E, flag A is clear,
 * and the controller either lacks RAID 10 or is a K310 given a span length
 * of 22 or 26. Returns 0. */
int32_t ModifyRaid10InputValueValidForController(uint32_t* nvCount, const char** nvList,
                                                 uint32_t raidLevelsMask, const char* spanLength,
                                                 int32_t isK310, int32_t flagA);
/* Properties: 1 abort consistency check on error, 2 copyback (revertible
 * hot spare), 3 auto replace member, 4 load balance, 6 persistent hot
 * spare, 9 power management, 13 non-RAID disk cache policy. 0 allowed; 777
 * the controller does not carry the property; 444 (555 for property 6)
 * the value is already in force; -1 no answer; 272. */
int32_t IsControllerPropertyDuplicate(const char* globalNo, const char* value, int32_t property);
/* modeValue: the "ControllerMode" pair's value (1 raid, 2 hba). 0 allowed,
 * 1777 already in that mode, 1615 hba while virtual disks exist, -1 not a
 * mode, 1655 present mode unreadable, 272. validModes: the other modes. */
int32_t IsControllerModeValid(const char* modeValue, const char* globalNo, std::string& validModes);
/* modeValue: the "PatrolReadMode" pair's value (1 auto, 2 manual, 4
 * disable). 0 allowed; -1 otherwise, validModes naming the allowed modes
 * (none on a controller not in RAID mode). */
int32_t IsPatrolReadModeValid(const char* modeValue, const char* globalNo, std::string& validModes);
/* mode 0: key id; mode 1: pass phrase. 0, or 1703/1704/1705/1707/1709. */
int32_t IsUserPassphraseValid(const char* text, int32_t mode);
/* 1 when a controller of the list has bus protocol 9 (PCIe), else 0. */
int32_t IsPCIeSubsystempresent(void);
/* deviceClass 0 SAS/SATA, 1 PCIe: the present threshold into threshold
 * (cut to its size). 0; -1 no answer, no tag or another class; 272. */
int32_t GetRRWEThresholdValue(int32_t deviceClass, char* threshold, uint32_t thresholdSize);
/* sizeInBytes (digits) must exceed the virtual disk's present Length,
 * copied to presentLength. 0 valid, -1 otherwise, 272. */
int32_t IsUserSizeParameterValidForReconfigure(const char* globalNo, const char* vdNum,
                                               const char* sizeInBytes, std::string& presentLength);

#endif
