#include "mechanics.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "answer.h"
#include "sqlite.h"

namespace kvda {

// ---- clock ----------------------------------------------------------------

double timeScale() {
    const char* s = std::getenv("KVDA_TIME_SCALE");
    if (s == nullptr || *s == '\0') return kDefaultTimeScale;
    const std::string_view text(s);
    double v = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    // from_chars also reads "inf" and "nan"; neither is a speed
    if (r.ec != std::errc() || r.ptr != text.data() + text.size() || !std::isfinite(v) || v < 0 ||
        v > kMaxTimeScale)
        throw Error("KVDA_TIME_SCALE='" + std::string(text) +
                    "' is not a time scale: give a number from 0 (the clock stands still) to " +
                    std::to_string(static_cast<int64_t>(kMaxTimeScale)));
    return v;
}

int64_t wallMillis() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

int64_t effectiveTime(const Estate& e, int64_t wallMs) {
    // Both instants are stored non-negative, so the difference cannot
    // overflow; the product is bounded in floating point before it becomes
    // an integer again.
    const int64_t sim = std::clamp<int64_t>(e.simTime, 0, kMaxSimTime);
    const int64_t elapsed = std::max<int64_t>(0, wallMs - std::max<int64_t>(0, e.wallAnchor));
    const double passed = static_cast<double>(elapsed) * timeScale() / 1000.0;
    const auto room = static_cast<double>(kMaxSimTime - sim);
    return passed >= room ? kMaxSimTime : sim + static_cast<int64_t>(passed);
}

int64_t advancedTime(int64_t now, int64_t by) {
    if (by < 0 || now < 0 || now > kMaxSimTime || by > kMaxSimTime - now)
        throw Error("the simulated clock ends at " + formatClock(kMaxSimTime) + "; from " +
                    formatClock(std::clamp<int64_t>(now, 0, kMaxSimTime)) +
                    " it can move on by at most " +
                    formatDuration(kMaxSimTime - std::clamp<int64_t>(now, 0, kMaxSimTime)));
    return now + by;
}

namespace {
struct Unit {
    char letter;
    int64_t seconds;
};
constexpr std::array kUnits{Unit{'s', 1}, Unit{'m', 60}, Unit{'h', 3600}, Unit{'d', 86400}};
}  // namespace

int64_t parseDuration(std::string_view text) {
    auto bad = [&] {
        return Error("bad duration '" + std::string(text) +
                     "': expected a number with s, m, h or d, such as 90s, 10m, 2h or 1h30m");
    };
    if (text.empty()) throw bad();
    int64_t total = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        int64_t n = 0;
        auto r = std::from_chars(text.data() + pos, text.data() + text.size(), n);
        if (r.ec != std::errc() || n < 0) throw bad();
        pos = static_cast<size_t>(r.ptr - text.data());
        int64_t unit = 1;
        if (pos < text.size()) {
            auto u = std::find_if(kUnits.begin(), kUnits.end(),
                                  [&](const Unit& k) { return k.letter == text[pos]; });
            if (u == kUnits.end()) throw bad();
            unit = u->seconds;
            ++pos;
        } else if (total != 0) {
            throw bad();  // "1h30" : the last number needs its unit too
        }
        // no span longer than the clock's whole span: nothing can overflow
        if (n > kMaxSimTime / unit || n * unit > kMaxSimTime - total)
            throw Error("duration '" + std::string(text) +
                        "' is longer than the simulated clock's span of " +
                        formatDuration(kMaxSimTime));
        total += n * unit;
    }
    return total;
}

std::string formatDuration(int64_t s) {
    std::string out;
    if (s >= 86400) out += std::to_string(s / 86400) + "d ";
    out += std::to_string(s % 86400 / 3600) + "h " + std::to_string(s % 3600 / 60) + "m " +
           std::to_string(s % 60) + "s";
    return out;
}

// The simulated clock starts at a fixed date so that alert times and
// answers are the same on every run of the same story.
constexpr std::time_t kClockOrigin = 1709510400;  // 2024-03-04T00:00:00Z

// Computed from the calendar rather than the system's broken-down time, which
// on some systems stops long before the clock's end (9999-12-31).
std::string formatClock(int64_t simSeconds) {
    using namespace std::chrono;
    const sys_seconds at{seconds{static_cast<int64_t>(kClockOrigin) + simSeconds}};
    const sys_days day = floor<days>(at);
    const year_month_day date{day};
    const hh_mm_ss<seconds> time{at - day};
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return buf;
}

// ---- alerts -------------------------------------------------------------

namespace {
constexpr size_t kAlertsKept = 1000;
}

void addAlert(Estate& e, int64_t now, int id, std::string_view severity,
              const std::string& message) {
    if (e.count(kind::kAlert, -1) >= static_cast<int64_t>(kAlertsKept))
        e.remove(e.all(kind::kAlert).front()->oid);
    Object& a = e.add(kind::kAlert, -1, 0, std::to_string(e.nextOid));
    a.set("AlertID", std::to_string(id));
    a.set("Severity", std::string(severity));
    a.set("Time", formatClock(now));
    a.set("Message", message);
}

std::string label(const Object& o) {
    std::string of = " of controller " + std::to_string(o.ctrl);
    if (o.kind == kind::kDisk) return "Physical Disk " + o.addr + of;
    if (o.kind == kind::kVdisk) return "Virtual Disk " + o.addr + of;
    if (o.kind == kind::kBattery) return "Battery " + o.addr + of;
    if (o.kind == kind::kController) return "Controller " + o.addr;
    if (o.kind == kind::kEnclosure) return "Enclosure " + o.addr + of;
    return o.get("Name") + (o.ctrl >= 0 ? of : "");
}

// ---- virtual disks ------------------------------------------------------

std::vector<int64_t> memberOids(const Object& vd) {
    std::vector<int64_t> out;
    const std::string list = vd.get("_members");
    size_t pos = 0;
    while (pos < list.size()) {
        size_t end = list.find(',', pos);
        if (end == std::string::npos) end = list.size();
        out.push_back(std::atoll(list.substr(pos, end - pos).c_str()));
        pos = end + 1;
    }
    return out;
}

void setMemberOids(Object& vd, const std::vector<int64_t>& oids) {
    std::string list;
    for (int64_t m : oids) appendListItem(list, ",", std::to_string(m));
    vd.set("_members", list);
}

long long smallestLength(const Estate& e, const std::vector<int64_t>& disks) {
    long long s = 0;
    for (int64_t oid : disks)
        if (const Object* d = e.byOid(oid); d && (!s || d->num("Length") < s)) s = d->num("Length");
    return s;
}

void joinVdisk(Object& d, int64_t vdOid, long long span, bool cachecade) {
    d.set("ObjState", std::to_string(state::kOnline));
    d.set("AttributesMask", toMask(fromMask(d.get("AttributesMask")) | diskattr::kVdMember |
                                   (cachecade ? diskattr::kCacheCade : 0)));
    d.set("_vd", std::to_string(vdOid));
    d.set("_span", std::to_string(span));
}

void writeSpans(Estate& e, int64_t vdOid, long long spans, long long layout,
                long long perSpanLength) {
    for (const Object* sp : e.children(kind::kSpan, vdOid)) e.remove(sp->oid);
    const Object& vd = *e.byOid(vdOid);
    const std::string num = vd.addr;
    const int64_t g = vd.ctrl;
    const std::string st = vd.get("ObjState");
    for (long long s = 0; s < spans; ++s) {
        Object& sp = e.add(kind::kSpan, g, vdOid, num + "/" + std::to_string(s));
        sp.set("LogicalDriveNum", num);
        sp.set("SpanID", std::to_string(s));
        sp.set("Layout", std::to_string(findLayout(layout)->spanLayout(spans)));
        sp.set("Length", std::to_string(perSpanLength));
        sp.set("ObjState", st);
    }
}

int64_t addVdisk(Estate& e, const VdiskSpec& spec) {
    const int64_t g = e.byOid(spec.ctrlOid)->ctrl;
    const std::string num = std::to_string(spec.number);
    Object& vd = e.add(kind::kVdisk, g, spec.ctrlOid, num);
    const int64_t vdOid = vd.oid;
    vd.set("LogicalDriveNum", num);
    vd.set("Name", spec.name);
    vd.set("DeviceName", spec.device);
    vd.set("Layout", std::to_string(spec.layout->code));
    vd.set("StripeSize", spec.stripe);
    vd.set("ReadPolicy", spec.read);
    vd.set("WritePolicy", spec.write);
    vd.set("CachePolicy", spec.cache);
    vd.set("DiskCachePolicy", spec.diskCache);
    vd.set("Length", std::to_string(spec.length));
    vd.set("ObjState", std::to_string(spec.state));
    vd.set("SpanCount", std::to_string(spec.spans));
    vd.set("IsSSC", spec.cachecade ? "1" : "0");
    vd.set("Secured", spec.secured ? "1" : "0");
    vd.set("PIEnabled", spec.protectionInfo ? "1" : "0");
    vd.set("TarnCache", "0");
    vd.set("CCState", "0");
    vd.set("InitState", "0");
    vd.set("ReconfigState", "0");
    vd.set("AttributesMask", toMask(0));
    setMemberOids(vd, spec.disks);
    const auto n = static_cast<long long>(spec.disks.size());
    const long long perSpan = n / spec.spans;
    for (long long i = 0; i < n; ++i)
        joinVdisk(*e.edit(spec.disks[static_cast<size_t>(i)]), vdOid, i / perSpan, spec.cachecade);
    writeSpans(e, vdOid, spec.spans, spec.layout->code, smallestLength(e, spec.disks) * perSpan);
    return vdOid;
}

long long mebibytes(const Object& o) {
    return std::max(1LL, o.num("Length") / (1024LL * 1024));
}

namespace {

bool isDown(long long st) {
    return st == state::kFailed || st == state::kOffline || st == state::kRemoved;
}

// Members per span that may be lost before the data is.
long long tolerance(const Object& vd) {
    if (vd.num("IsSSC") == 1) return 0;
    switch (vd.num("Layout")) {
        case 1:
        case 2:
            return 0;
        case 128:
        case 262144:
            return 2;
        default:
            return 1;
    }
}

constexpr int kAlertDiskFailed = 2048;
constexpr int kAlertVdState = 2057;
constexpr int kAlertRebuildStarted = 2064;
constexpr int kAlertRebuildDone = 2065;
constexpr int kAlertOpDone = 2085;
constexpr int kAlertReplaced = 2052;

}  // namespace

namespace {
// A rebuilding virtual disk shows how far its slowest rebuild is.
void showRebuildProgress(Estate& e, int64_t vdOid) {
    Object& vd = *e.edit(vdOid);
    if (vd.num("ObjState") != state::kRebuilding) {
        if (vd.find("Progress") && !vd.find("_op")) vd.erase("Progress");
        return;
    }
    long long least = 100;
    for (int64_t m : memberOids(vd))
        if (const Object* d = e.byOid(m); d && d->num("ObjState") == state::kRebuilding)
            least = std::min(least, d->num("Progress"));
    vd.set("Progress", std::to_string(least));
}
}  // namespace

void refreshVdisk(Estate& e, int64_t now, int64_t vdOid) {
    Object* vd = e.edit(vdOid);
    if (!vd) return;
    std::vector<long long> down, rebuilding;
    bool anyDown = false, anyRebuilding = false, lost = false;
    for (int64_t m : memberOids(*vd)) {
        const Object* d = e.byOid(m);
        auto span = static_cast<size_t>(d ? d->num("_span") : 0);
        if (down.size() <= span) {
            down.resize(span + 1, 0);
            rebuilding.resize(span + 1, 0);
        }
        long long st = d ? d->num("ObjState") : state::kRemoved;
        if (isDown(st)) {
            ++down[span];
            anyDown = true;
        }
        if (st == state::kRebuilding) {
            ++rebuilding[span];
            anyRebuilding = true;
        }
    }
    for (size_t s = 0; s < down.size(); ++s) lost |= down[s] + rebuilding[s] > tolerance(*vd);
    int next = lost            ? state::kFailed
               : anyDown       ? state::kDegraded
               : anyRebuilding ? state::kRebuilding
                               : state::kReady;
    const long long before = vd->num("ObjState");
    if (before != next) {
        vd->set("ObjState", std::to_string(next));
        const char* words = next == state::kFailed       ? "failed"
                            : next == state::kDegraded   ? "degraded"
                            : next == state::kRebuilding ? "rebuilding"
                                                         : "ready";
        addAlert(e, now, kAlertVdState, next == state::kReady ? "info" : "warning",
                 label(*e.byOid(vdOid)) + " is " + words);
        vd = e.edit(vdOid);
        // A check or an initialization stops when the disk stops being whole.
        if (next != state::kReady) {
            std::string o = vd->get("_op");
            if (o == op::kCheck || o == op::kInit || o == op::kBgi) {
                cancelOp(*vd);
                vd->set("CCState", "0");
                vd->set("InitState", "0");
            }
        }
    }
    for (const Object* sp : e.children(kind::kSpan, vdOid))
        e.edit(sp->oid)->set("ObjState", std::to_string(next));
    showRebuildProgress(e, vdOid);
}

bool takeOverWithSpare(Estate& e, int64_t now, int64_t vdOid, int64_t downOid) {
    const Object* vd = e.byOid(vdOid);
    const Object* down = e.byOid(downOid);
    if (!vd || !down || vd->num("ObjState") == state::kFailed || tolerance(*vd) == 0) return false;
    long long smallest = 0;
    for (int64_t m : memberOids(*vd))
        if (const Object* d = e.byOid(m); d && (!smallest || d->num("Length") < smallest))
            smallest = d->num("Length");
    const std::string vdText = std::to_string(vdOid);
    const Object* best = nullptr;
    bool bestDedicated = false;
    for (const Object* d : e.of(kind::kDisk, vd->ctrl)) {
        uint32_t attrs = fromMask(d->get("AttributesMask"));
        bool dedicated = (attrs & diskattr::kDedicatedHotSpare) && d->get("_dhs") == vdText;
        bool global = attrs & diskattr::kGlobalHotSpare;
        if (!(dedicated || global) || d->num("ObjState") != state::kReady) continue;
        if (d->get("MediaType") != down->get("MediaType") ||
            d->get("BusProtocol") != down->get("BusProtocol") || d->num("Length") < smallest)
            continue;
        // dedicated spares first, then the smallest disk that fits
        if (!best || (dedicated && !bestDedicated) ||
            (dedicated == bestDedicated && d->num("Length") < best->num("Length"))) {
            best = d;
            bestDedicated = dedicated;
        }
    }
    if (!best) return false;
    const int64_t spareOid = best->oid;
    Object& spare = *e.edit(spareOid);
    uint32_t attrs = fromMask(spare.get("AttributesMask"));
    // Remembered so that a copyback can give the spare its role back.
    spare.set("_revert", bestDedicated ? "dhs" : "ghs");
    spare.erase("_dhs");
    spare.set("AttributesMask",
              toMask((attrs & ~(diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare)) |
                     diskattr::kVdMember));
    spare.set("_vd", vdText);
    spare.set("_span", down->get("_span"));
    spare.set("ObjState", std::to_string(state::kRebuilding));
    startOp(spare, op::kRebuild, mebibytes(spare));
    Object& old = *e.edit(downOid);
    old.set("AttributesMask", toMask(fromMask(old.get("AttributesMask")) & ~diskattr::kVdMember));
    old.erase("_vd");
    old.erase("_span");
    old.set("_replacedby", std::to_string(spareOid));
    Object& v = *e.edit(vdOid);
    auto members = memberOids(v);
    std::replace(members.begin(), members.end(), downOid, spareOid);
    setMemberOids(v, members);
    addAlert(e, now, kAlertRebuildStarted, "info",
             "Rebuild started on " + label(*e.byOid(spareOid)) + " (" +
                 (bestDedicated ? "dedicated" : "global") + " hot spare) for " +
                 label(*e.byOid(vdOid)));
    refreshVdisk(e, now, vdOid);
    return true;
}

void useNewSpare(Estate& e, int64_t now, int64_t diskOid) {
    const Object* spare = e.byOid(diskOid);
    if (!spare) return;
    std::vector<int64_t> vds;
    for (const Object* vd : e.of(kind::kVdisk, spare->ctrl))
        if (vd->num("ObjState") == state::kDegraded) vds.push_back(vd->oid);
    for (int64_t vd : vds) {
        for (int64_t m : memberOids(*e.byOid(vd))) {
            const Object* d = e.byOid(m);
            if (d && isDown(d->num("ObjState")) && takeOverWithSpare(e, now, vd, m)) return;
        }
    }
}

// ---- operations ---------------------------------------------------------

namespace {

using Finish = void (*)(Estate&, int64_t now, int64_t oid);

void finishRebuild(Estate& e, int64_t now, int64_t oid) {
    Object& d = *e.edit(oid);
    d.set("ObjState", std::to_string(state::kOnline));
    const int64_t vd = std::atoll(d.get("_vd").c_str());
    addAlert(e, now, kAlertRebuildDone, "info", "Rebuild completed on " + label(d));
    refreshVdisk(e, now, vd);
}

// The new disk takes the member's place; the spare it copied from becomes a
// spare again.
void finishCopyback(Estate& e, int64_t now, int64_t oid) {
    Object& dest = *e.edit(oid);
    const int64_t srcOid = std::atoll(dest.get("_copyfrom").c_str());
    const Object* src = e.byOid(srcOid);
    dest.set("ReplacingMember", "0");
    dest.erase("_copyfrom");
    if (!src || src->get("_vd").empty()) return;
    const int64_t vdOid = std::atoll(src->get("_vd").c_str());
    dest.set("ObjState", std::to_string(state::kOnline));
    dest.set("AttributesMask", toMask((fromMask(dest.get("AttributesMask")) & ~diskattr::kHidden) |
                                      diskattr::kVdMember));
    dest.set("_vd", src->get("_vd"));
    dest.set("_span", src->get("_span"));
    Object& s = *e.edit(srcOid);
    std::string revert = s.get("_revert");
    uint32_t attrs = fromMask(s.get("AttributesMask")) & ~diskattr::kVdMember;
    if (revert == "ghs") attrs |= diskattr::kGlobalHotSpare;
    if (revert == "dhs") {
        attrs |= diskattr::kDedicatedHotSpare;
        s.set("_dhs", s.get("_vd"));
    }
    s.set("AttributesMask", toMask(attrs));
    s.set("ObjState", std::to_string(state::kReady));
    s.erase("_vd");
    s.erase("_span");
    s.erase("_revert");
    Object& vd = *e.edit(vdOid);
    auto members = memberOids(vd);
    std::replace(members.begin(), members.end(), srcOid, oid);
    setMemberOids(vd, members);
    addAlert(e, now, kAlertOpDone, "info",
             "Copyback completed from " + label(*e.byOid(srcOid)) + " to " + label(*e.byOid(oid)));
    refreshVdisk(e, now, vdOid);
}

void finishClear(Estate& e, int64_t now, int64_t oid) {
    e.edit(oid)->set("Clearing", "0");
    addAlert(e, now, kAlertOpDone, "info", "Clear completed on " + label(*e.byOid(oid)));
}

void finishInit(Estate& e, int64_t now, int64_t oid) {
    e.edit(oid)->set("InitState", "0");
    addAlert(e, now, kAlertOpDone, "info", "Initialization completed on " + label(*e.byOid(oid)));
}

void finishCheck(Estate& e, int64_t now, int64_t oid) {
    e.edit(oid)->set("CCState", "0");
    addAlert(e, now, kAlertOpDone, "info",
             "Check consistency completed on " + label(*e.byOid(oid)));
}

void finishReconfig(Estate& e, int64_t now, int64_t oid) {
    Object& vd = *e.edit(oid);
    vd.set("ReconfigState", "0");
    addAlert(e, now, kAlertOpDone, "info", "Reconfiguration completed on " + label(vd));
}

void finishPatrol(Estate& e, int64_t now, int64_t oid) {
    e.edit(oid)->set("PatrolReadState", "0");
    addAlert(e, now, kAlertOpDone, "info", "Patrol read completed on " + label(*e.byOid(oid)));
}

void finishLearn(Estate& e, int64_t now, int64_t oid) {
    Object& b = *e.edit(oid);
    b.set("LearnState", "0");
    b.set("ObjState", std::to_string(state::kReady));
    b.set("Charge", "100");
    b.set("NextLearnTime", "2160");  // hours until the next cycle: 90 days
    addAlert(e, now, kAlertOpDone, "info", "Learn cycle completed on " + label(b));
}

struct OpRow {
    std::string_view name;
    std::string_view rateTag;  // the controller's rate, empty: always full speed
    long long perSecond;       // work done per simulated second at rate 100
    Finish finish;
};

// Disk work is in MiB, at 2 MiB/s per percent of the rate (200 MiB/s at
// 100): a 2.4 TB disk rebuilds in about 11 hours at the usual rate of 30.
// clang-format off
constexpr std::array kOps{
    OpRow{op::kRebuild,  "RebuildRate",          200, finishRebuild},
    OpRow{op::kCopyback, "RebuildRate",          200, finishCopyback},
    OpRow{op::kClear,    "",                     200, finishClear},
    OpRow{op::kInit,     "BGIRate",              200, finishInit},
    OpRow{op::kBgi,      "BGIRate",              200, finishInit},
    OpRow{op::kCheck,    "CheckConsistencyRate", 200, finishCheck},
    OpRow{op::kReconfig, "ReconstructRate",      200, finishReconfig},
    OpRow{op::kPatrol,   "PatrolReadRate",       200, finishPatrol},
    OpRow{op::kLearn,    "",                     1,   finishLearn},
};
// clang-format on

const OpRow* opRow(std::string_view name) {
    for (const OpRow& r : kOps)
        if (r.name == name) return &r;
    return nullptr;
}

}  // namespace

namespace {
// done out of work (0 <= done < work) in whole percent, for any size of work.
long long percent(long long done, long long work) {
    constexpr long long kSafe = std::numeric_limits<long long>::max() / 100;
    return done <= kSafe ? done * 100 / work : std::min(99LL, done / (work / 100));
}
}  // namespace

void startOp(Object& obj, std::string_view name, long long work) {
    obj.set("_op", std::string(name));
    obj.set("_opwork", std::to_string(std::max(1LL, work)));
    obj.set("_opdone", "0");
    obj.set("Progress", "0");
}

void cancelOp(Object& obj) {
    obj.erase("_op");
    obj.erase("_opwork");
    obj.erase("_opdone");
    obj.erase("Progress");
}

bool hasActiveOps(const Estate& e) {
    auto busy = e.busy();
    return std::any_of(busy.begin(), busy.end(),
                       [](const Object* o) { return o->find("_op") != nullptr; });
}

void advanceEstate(Estate& e, int64_t from, int64_t to) {
    if (to <= from) return;
    // Only objects with an operation running change with time, and the
    // virtual disks that show their members' rebuild.
    std::vector<int64_t> running;
    for (const Object* o : e.busy())
        if (o->find("_op")) running.push_back(o->oid);
    for (int64_t oid : running) {
        Object* o = e.edit(oid);
        if (!o) continue;
        const OpRow* row = opRow(o->get("_op"));
        if (!row) {
            cancelOp(*o);
            continue;
        }
        if (o->num("CCState") == 2) continue;  // a paused check waits
        long long rate = 100;
        if (!row->rateTag.empty()) {
            const Object* c = e.find(kind::kController, o->ctrl, std::to_string(o->ctrl));
            rate = c ? std::clamp(c->num(row->rateTag), 1LL, 100LL) : 30;
        }
        const long long work = std::max(1LL, o->num("_opwork"));
        const long long speed = std::max(1LL, row->perSecond * rate / 100);  // work per second
        const long long before = std::clamp(o->num("_opdone"), 0LL, work);
        // what is left, in seconds rounded up: compared before it is
        // multiplied, so that no product can overflow
        const long long left = work - before;
        const long long needed = left / speed + (left % speed != 0);
        if (to - from >= needed) {
            // ends at the second its work is done, which alerts show
            const int64_t end = from + needed;
            cancelOp(*o);
            row->finish(e, end, oid);
            continue;
        }
        const long long done = before + (to - from) * speed;
        o->set("_opdone", std::to_string(done));
        o->set("Progress", std::to_string(percent(done, work)));
    }
    std::vector<int64_t> showing;
    for (const Object* o : e.busy())
        if (o->kind == kind::kVdisk) showing.push_back(o->oid);
    for (int64_t vd : showing) showRebuildProgress(e, vd);
}

// ---- faults -------------------------------------------------------------

namespace {

// What failing or replacing does to an object of each kind, before the
// effect on its virtual disk or enclosure.
struct FaultRule {
    std::string_view kind;
    std::string_view tag;
    std::string_view failed;
    std::string_view replaced;
};

// clang-format off
constexpr std::array kFaultRules{
    FaultRule{kind::kDisk,        "ObjState", "2", "1"},
    FaultRule{kind::kBattery,     "ObjState", "2", "1"},
    FaultRule{kind::kBattery,     "Charge",   "0", "100"},
    FaultRule{kind::kFan,         "ObjState", "2", "1"},
    FaultRule{kind::kFan,         "Speed",    "0", "5400"},
    FaultRule{kind::kPowerSupply, "ObjState", "2", "1"},
    FaultRule{kind::kEmm,         "ObjState", "2", "1"},
    FaultRule{kind::kProbe,       "ObjState", "2", "1"},
    FaultRule{kind::kNvme,        "ObjState", "2", "1"},
    FaultRule{kind::kTape,        "ObjState", "2", "1"},
};
// clang-format on

void applyRules(Object& o, bool failed) {
    bool any = false;
    for (const FaultRule& r : kFaultRules)
        if (r.kind == o.kind) {
            o.set(r.tag, std::string(failed ? r.failed : r.replaced));
            any = true;
        }
    if (!any)
        throw Error("a " + o.kind +
                    " cannot be failed or replaced; try a pdisk, battery, fan, "
                    "pwrsupply, emm, tempprobe, nvmeadapter or tape");
}

// An enclosure is degraded while any of its parts is failed.
void refreshEnclosure(Estate& e, int64_t encOid) {
    bool failed = false;
    for (const Object* p : e.children(encOid))
        if (p->kind != kind::kDisk && p->num("ObjState") == state::kFailed) failed = true;
    if (Object* enc = e.edit(encOid)) enc->set("ObjState", failed ? "16" : "1");
}

bool enclosurePart(std::string_view k) {
    return k == kind::kFan || k == kind::kPowerSupply || k == kind::kEmm || k == kind::kProbe;
}

}  // namespace

void failObject(Estate& e, int64_t now, int64_t oid) {
    Object& o = *e.edit(oid);
    applyRules(o, true);
    if (o.kind == kind::kBattery) {
        cancelOp(o);
        o.set("LearnState", "0");
    }
    if (enclosurePart(o.kind)) refreshEnclosure(e, o.parent);
    addAlert(e, now, kAlertDiskFailed, "critical", label(*e.byOid(oid)) + " failed");
    if (e.byOid(oid)->kind != kind::kDisk) return;
    Object& d = *e.edit(oid);
    if (d.get("_op") == op::kClear) d.set("Clearing", "0");
    if (d.get("_op") == op::kCopyback) d.set("ReplacingMember", "0");
    cancelOp(d);
    uint32_t attrs = fromMask(d.get("AttributesMask"));
    if (attrs & (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare)) {
        // a failed spare leaves its role; its slot may take it back on replacement
        d.set("AttributesMask",
              toMask(attrs & ~(diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare)));
        d.set("_slotspare", "1");
        d.erase("_dhs");
    }
    if (d.get("_vd").empty()) return;
    const int64_t vd = std::atoll(d.get("_vd").c_str());
    refreshVdisk(e, now, vd);
    takeOverWithSpare(e, now, vd, oid);
}

void replaceObject(Estate& e, int64_t now, int64_t oid) {
    Object& o = *e.edit(oid);
    applyRules(o, false);
    if (enclosurePart(o.kind)) refreshEnclosure(e, o.parent);
    if (o.kind != kind::kDisk) {
        addAlert(e, now, kAlertReplaced, "info", label(o) + " was replaced");
        return;
    }
    o.set("SerialNo", "R" + std::to_string(900000 + oid) + "-" + std::to_string(now % 100000));
    o.set("Locked", "0");
    o.erase("_op");
    addAlert(e, now, kAlertReplaced, "info", label(o) + " was replaced");
    Object& d = *e.edit(oid);
    const Object* ctrl = e.find(kind::kController, d.ctrl, std::to_string(d.ctrl));
    if (!d.get("_vd").empty()) {
        // still a member: the new disk in the member's slot rebuilds at once
        const int64_t vd = std::atoll(d.get("_vd").c_str());
        d.set("ObjState", std::to_string(state::kRebuilding));
        startOp(d, op::kRebuild, mebibytes(d));
        addAlert(e, now, kAlertRebuildStarted, "info", "Rebuild started on " + label(d));
        refreshVdisk(e, now, vd);
        return;
    }
    const Object* spare = e.byOid(std::atoll(d.get("_replacedby").c_str()));
    d.erase("_replacedby");
    // Revertible hot spares ("Copyback" 0 = enabled): the data goes back to
    // the new disk in the old member's slot and the spare becomes a spare.
    if (spare && ctrl && ctrl->num("Copyback") == 0 && spare->num("ObjState") == state::kOnline &&
        !spare->get("_vd").empty()) {
        d.set("ReplacingMember", "1");
        d.set("AttributesMask", toMask(fromMask(d.get("AttributesMask")) | diskattr::kHidden));
        d.set("_copyfrom", std::to_string(spare->oid));
        startOp(d, op::kCopyback, mebibytes(d));
        addAlert(e, now, kAlertRebuildStarted, "info",
                 "Copyback started from " + label(*spare) + " to " + label(d));
        return;
    }
    // Persistent hot-spare slots: a new disk where a spare failed is a spare.
    if (d.get("_slotspare") == "1" && ctrl && ctrl->num("PersistentHotSlot") == 1) {
        d.set("AttributesMask",
              toMask(fromMask(d.get("AttributesMask")) | diskattr::kGlobalHotSpare));
        d.erase("_slotspare");
        useNewSpare(e, now, oid);
        return;
    }
    d.erase("_slotspare");
}

}  // namespace kvda
