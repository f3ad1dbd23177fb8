// How the simulated estate behaves over time: the simulated clock, long
// operations and their progress, virtual-disk health, hot-spare takeover,
// faults and the alert log. Everything here changes a mutable estate inside
// one write transaction of the store.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model.h"

namespace kvda {

// ---- the simulated clock ------------------------------------------------
// Simulated time runs kDefaultTimeScale times as fast as the wall clock;
// $KVDA_TIME_SCALE overrides the factor with a decimal number from 0 to
// kMaxTimeScale (0 stops the clock, so that only `kvda time advance` moves
// it). The clock counts seconds from 2024-03-04T00:00:00 and ends at
// kMaxSimTime, the last second of the year 9999: it never runs back and
// stops at its end.
inline constexpr double kDefaultTimeScale = 60.0;
inline constexpr double kMaxTimeScale = 1e6;
inline constexpr int64_t kMaxSimTime = 251'692'790'399;  // 9999-12-31T23:59:59
// Throws Error naming the variable and its value when it is not a scale.
double timeScale();
int64_t wallMillis();
// The simulated time now: the stored time plus the scaled wall-clock time
// since it was stored, at most kMaxSimTime.
int64_t effectiveTime(const Estate& e, int64_t wallMs);
// "90s", "10m", "2h", "1d", "1h30m" (a plain number is seconds), at most
// the clock's whole span. Throws Error naming the text.
int64_t parseDuration(std::string_view text);
// The time `by` seconds after `now`; throws Error when that would pass the
// clock's end.
int64_t advancedTime(int64_t now, int64_t by);
std::string formatDuration(int64_t seconds);  // "2h 5m 0s"
std::string formatClock(int64_t simSeconds);  // "2024-03-04T02:05:00"

// ---- long operations ----------------------------------------------------
// Operation names kept in an object's "_op".
namespace op {
inline constexpr std::string_view kRebuild = "rebuild";    // disk
inline constexpr std::string_view kCopyback = "copyback";  // disk taking over a member
inline constexpr std::string_view kClear = "clear";        // disk
inline constexpr std::string_view kInit = "init";          // virtual disk, InitState 1
inline constexpr std::string_view kBgi = "bgi";            // virtual disk, InitState 2
inline constexpr std::string_view kCheck = "cc";           // virtual disk, CCState 1
inline constexpr std::string_view kReconfig = "reconfig";  // virtual disk, ReconfigState 1
inline constexpr std::string_view kPatrol = "patrol";      // controller
inline constexpr std::string_view kLearn = "learn";        // battery
}  // namespace op

// Starts an operation on an object: `work` is in MiB for disk work, in
// seconds for a battery learn cycle. "Progress" shows the percent done.
void startOp(Object& obj, std::string_view name, long long work);
// Stops an operation without its end effects; "Progress" disappears.
void cancelOp(Object& obj);
bool hasActiveOps(const Estate& e);
// Moves every running operation on from `from` to `to` (simulated
// seconds), applying the end state of those that finish.
void advanceEstate(Estate& e, int64_t from, int64_t to);

// ---- virtual disks ------------------------------------------------------
std::vector<int64_t> memberOids(const Object& vd);
void setMemberOids(Object& vd, const std::vector<int64_t>& oids);
// Sets the virtual disk's (and its spans') state from its members, with an
// alert when it changes.
void refreshVdisk(Estate& e, int64_t now, int64_t vdOid);
// A dedicated, else a global hot spare takes the place of a member that is
// down and starts rebuilding. False when no suitable spare is there.
bool takeOverWithSpare(Estate& e, int64_t now, int64_t vdOid, int64_t downOid);
// After a spare was assigned: degraded virtual disks it may serve rebuild.
void useNewSpare(Estate& e, int64_t now, int64_t diskOid);
// The smallest "Length" of the disks, 0 for none.
long long smallestLength(const Estate& e, const std::vector<int64_t>& disks);
// Makes a disk an online member of a virtual disk, in span `span`.
void joinVdisk(Object& d, int64_t vdOid, long long span, bool cachecade);
// Replaces a virtual disk's spans with `spans` spans of `perSpanLength`
// bytes each, in the virtual disk's state.
void writeSpans(Estate& e, int64_t vdOid, long long spans, long long layout,
                long long perSpanLength);

// A new virtual disk: its controller, its disks (span by span) and settings.
struct VdiskSpec {
    int64_t ctrlOid = 0;
    std::vector<int64_t> disks;
    const RaidLayout* layout = nullptr;
    long long spans = 1;
    long long number = 0;  // "LogicalDriveNum"
    std::string name;
    std::string device;  // "DeviceName"
    // policy values: "StripeSize", "ReadPolicy", "WritePolicy", "CachePolicy",
    // "DiskCachePolicy"
    std::string stripe, read, write, cache, diskCache;
    long long length = 0;  // bytes
    int state = state::kReady;
    bool cachecade = false;
    bool secured = false;
    bool protectionInfo = false;
};
// Adds the virtual disk and its spans; its disks become its online members.
// Returns its ObjID.
int64_t addVdisk(Estate& e, const VdiskSpec& spec);
// The size of one object in MiB, the unit of disk work.
long long mebibytes(const Object& o);

// ---- faults -------------------------------------------------------------
// Throws Error for kinds that cannot fail.
void failObject(Estate& e, int64_t now, int64_t oid);
void replaceObject(Estate& e, int64_t now, int64_t oid);

// ---- alert log ----------------------------------------------------------
void addAlert(Estate& e, int64_t now, int id, std::string_view severity,
              const std::string& message);
// "Physical Disk 0:0:3 of controller 0", "Virtual Disk 1 of controller 0".
std::string label(const Object& o);

}  // namespace kvda
