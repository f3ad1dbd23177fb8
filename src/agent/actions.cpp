// Configuration requests: each one changes the estate as a controller would
// and answers the objects it created or changed. A handler checks
// everything before it changes anything where it can; where it cannot, the
// store's transaction rolls its changes back when it refuses.
#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>

#include "agent.h"
#include "answer.h"
#include "mechanics.h"

namespace kvda {

namespace {

namespace fs = std::filesystem;

constexpr long long kMiB = 1024LL * 1024;
constexpr size_t kMaxDedicatedSpares = 16;
constexpr uint32_t kCtrlProtectionInfo = 0x80000000;  // controller takes protection information

// Alert numbers of configuration events.
constexpr int kAlertConfig = 2090;
constexpr int kAlertVdCreated = 2080;
constexpr int kAlertVdDeleted = 2081;
constexpr int kAlertOpStarted = 2084;

std::string joined(std::initializer_list<std::string_view> words) {
    std::string out;
    for (auto w : words) appendListItem(out, ", ", w);
    return out;
}

bool digitsOnly(std::string_view s) {
    return !s.empty() && s.size() < 19 &&
           std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

struct W {
    const Request& req;
    Estate& e;
    int64_t now;
    const fs::path& dir;
    Answer& answer;
    std::vector<int64_t> answered;

    [[noreturn]] void fail(int st, std::string msg) const {
        throw RequestError{st, std::move(msg)};
    }
    [[noreturn]] void notPossible(std::string msg) const {
        fail(status::kNotPossible, std::move(msg));
    }
    [[noreturn]] void badValue(std::string msg) const { fail(status::kBadValue, std::move(msg)); }

    const std::string* opt(std::string_view key) const {
        const std::string* v = req.get(key);
        return v && !v->empty() ? v : nullptr;
    }
    const std::string& need(std::string_view key) const {
        const std::string* v = opt(key);
        if (!v) fail(status::kMissingIdentifier, req.name + " needs " + std::string(key) + "=");
        return *v;
    }
    long long number(std::string_view key, long long lo, long long hi) const {
        const std::string& v = need(key);
        if (!digitsOnly(v) || std::stoll(v) < lo || std::stoll(v) > hi)
            badValue("bad " + std::string(key) + " '" + v + "': expected a number from " +
                     std::to_string(lo) + " to " + std::to_string(hi));
        return std::stoll(v);
    }
    // The value of `key`, which must be one of `valid`.
    std::string keyword(std::string_view key, std::initializer_list<std::string_view> valid,
                        bool required = true) const {
        const std::string* v = opt(key);
        if (!v) {
            if (required) need(key);
            return "";
        }
        if (std::find(valid.begin(), valid.end(), *v) == valid.end())
            badValue("bad " + std::string(key) + " '" + *v + "'; valid values: " + joined(valid));
        return *v;
    }

    Object& obj(int64_t oid) { return *e.edit(oid); }
    void reply(int64_t oid) {
        if (std::find(answered.begin(), answered.end(), oid) == answered.end())
            answered.push_back(oid);
    }
    void alert(const std::string& message, int id = kAlertConfig) {
        addAlert(e, now, id, "info", message);
    }

    int64_t ctrlNo() const {
        const std::string& v = need("GlobalNo");
        if (!digitsOnly(v))
            fail(status::kBadIdentifier, "bad GlobalNo '" + v + "': expected a number");
        if (!e.find(kind::kController, std::stoll(v), v))
            fail(status::kNoSuchObject, "no controller " + v);
        return std::stoll(v);
    }
    Object& ctrl() {
        int64_t g = ctrlNo();
        return obj(e.find(kind::kController, g, std::to_string(g))->oid);
    }
    // A controller in RAID mode: only those hold virtual disks and spares.
    Object& raidCtrl() {
        Object& c = ctrl();
        if (c.num("ControllerMode") != 1)
            notPossible("controller " + c.addr + " is in HBA mode and holds no virtual disks");
        return c;
    }
    int64_t find(std::string_view k, int64_t g, const std::string& addr, std::string_view what) {
        const Object* o = e.find(k, g, addr);
        if (!o)
            fail(status::kNoSuchObject,
                 "no " + std::string(what) + " " + addr + " on controller " + std::to_string(g));
        return o->oid;
    }
    int64_t numbered(std::string_view key, std::string_view k, int64_t g, std::string_view what) {
        const std::string& v = need(key);
        if (!digitsOnly(v))
            fail(status::kBadIdentifier,
                 "bad " + std::string(key) + " '" + v + "': expected a number");
        return find(k, g, std::to_string(std::stoll(v)), what);
    }
    int64_t vdisk(int64_t g) {
        return numbered("LogicalDriveNum", kind::kVdisk, g, "virtual disk");
    }
    int64_t disk(int64_t g, std::string_view key) {
        return find(kind::kDisk, g, need(key), "physical disk");
    }
    // A comma-separated list of disks; an absent list is empty unless required.
    std::vector<int64_t> disks(int64_t g, std::string_view key, bool required) {
        std::vector<int64_t> out;
        const std::string* v = required ? &need(key) : opt(key);
        if (!v) return out;
        size_t pos = 0;
        while (pos <= v->size()) {
            size_t end = v->find(',', pos);
            if (end == std::string::npos) end = v->size();
            std::string id = v->substr(pos, end - pos);
            int64_t oid = find(kind::kDisk, g, id, "physical disk");
            if (std::find(out.begin(), out.end(), oid) != out.end())
                badValue("disk " + id + " is listed twice");
            out.push_back(oid);
            pos = end + 1;
        }
        return out;
    }
};

using Handler = void (*)(W&);

uint32_t attrs(const Object& o) {
    return fromMask(o.get("AttributesMask"));
}
void setAttrs(Object& o, uint32_t a) {
    o.set("AttributesMask", toMask(a));
}
bool singleBit(long long v) {
    return v > 0 && v <= 0xffffffffLL && (v & (v - 1)) == 0;
}

// A disk that may join a new virtual disk or become a spare, or why not.
std::string whyNotFree(const Object& d) {
    const uint32_t a = attrs(d);
    if (d.num("ObjState") != state::kReady)
        return "disk " + d.addr + " is not ready (state " + d.get("ObjState") + ")";
    if (a & diskattr::kGlobalHotSpare) return "disk " + d.addr + " is a global hot spare";
    if (a & diskattr::kDedicatedHotSpare) return "disk " + d.addr + " is a dedicated hot spare";
    if (a & (diskattr::kVdMember | diskattr::kCacheCade) || !d.get("_vd").empty())
        return "disk " + d.addr + " already belongs to a virtual disk";
    if (d.num("Clearing") == 1) return "disk " + d.addr + " is being cleared";
    if (d.num("ReplacingMember") == 1) return "disk " + d.addr + " is replacing a member";
    return "";
}

void requireFree(W& w, const std::vector<int64_t>& list) {
    for (int64_t oid : list)
        if (std::string why = whyNotFree(*w.e.byOid(oid)); !why.empty()) w.notPossible(why);
}

// All disks of one kind: media and protocol may not be mixed in one disk group.
void requireSameKind(W& w, const std::vector<int64_t>& list, const Object* like) {
    const Object& first = like ? *like : *w.e.byOid(list.front());
    for (int64_t oid : list) {
        const Object& d = *w.e.byOid(oid);
        if (d.get("MediaType") != first.get("MediaType") ||
            d.get("BusProtocol") != first.get("BusProtocol"))
            w.notPossible("disk " + d.addr + " differs in media or protocol from disk " +
                          first.addr + "; a virtual disk takes disks of one kind");
    }
}

// The layout of a request, which the controller must offer.
const RaidLayout& layoutRule(W& w, const Object& ctrl, long long layout) {
    const RaidLayout* r = findLayout(layout);
    if (!r) w.badValue("bad Layout '" + std::to_string(layout) + "': not a RAID layout");
    if (!(fromMask(ctrl.get("RAIDLevelsMask")) & r->code))
        w.notPossible("controller " + ctrl.addr + " does not offer " + std::string(r->name));
    return *r;
}

// A disk count that suits the layout, and the number of spans.
long long checkDiskCount(W& w, const RaidLayout& r, long long n) {
    if (r.code == raidlevel::kR1 && n != 2)
        w.notPossible("RAID 1 takes exactly 2 disks, not " + std::to_string(n));
    // RAID 1E mirrors stripes, not disks, so it also takes odd sets.
    const bool pairs = r.mirrored && r.code != raidlevel::kR1e;
    if (n < r.minDisks || (pairs && n % 2))
        w.notPossible(std::string(r.name) + " needs at least " + std::to_string(r.minDisks) +
                      (pairs ? " disks and an even number of them" : " disks") + ", not " +
                      std::to_string(n));
    if (!r.spanned) {
        if (w.opt("SpanLength") && r.code != raidlevel::kR1e)
            w.badValue(std::string(r.name) + " takes no SpanLength");
        return 1;
    }
    long long spans = 0;
    if (w.opt("SpanDepth")) {
        spans = w.number("SpanDepth", 2, n);
    } else if (w.opt("SpanLength")) {
        long long s = w.number("SpanLength", 2, n);
        if (n % s || s >= n)
            w.badValue("SpanLength " + std::to_string(s) + " does not divide " + std::to_string(n) +
                       " disks into two or more spans");
        spans = n / s;
    } else if (r.mirrored) {
        spans = n / 2;  // mirrored pairs
    } else {
        w.fail(status::kMissingIdentifier, std::string(r.name) + " needs SpanLength=");
    }
    const long long per = n / spans;
    if (n % spans || per < r.minPerSpan || (r.mirrored && per % 2))
        w.badValue(std::to_string(n) + " disks do not make " + std::to_string(spans) +
                   " spans of " + std::string(r.name));
    return spans;
}

// A policy value: one bit that the controller offers in its mask.
std::string policy(W& w, const Object& ctrl, std::string_view tag, std::string_view maskTag,
                   long long preferred) {
    const uint32_t mask = fromMask(ctrl.get(maskTag));
    if (const std::string* v = w.opt(tag)) {
        if (!digitsOnly(*v) || !singleBit(std::stoll(*v)) ||
            !(mask & static_cast<uint32_t>(std::stoll(*v)))) {
            std::string valid;
            for (uint32_t b = 1; b; b <<= 1)
                if (mask & b) appendListItem(valid, ", ", std::to_string(b));
            w.badValue("bad " + std::string(tag) + " '" + *v + "'; controller " + ctrl.addr +
                       " offers: " + (valid.empty() ? std::string("none") : valid));
        }
        return *v;
    }
    if (mask & static_cast<uint32_t>(preferred)) return std::to_string(preferred);
    for (uint32_t b = 1; b; b <<= 1)
        if (mask & b) return std::to_string(b);
    return "0";
}

// Virtual-disk names: letters, digits, blank, '-' and '_', not beginning or
// ending with a blank, within the controller's length and unique on it.
void checkName(W& w, const Object& ctrl, const std::string& name, int64_t self) {
    if (name.empty()) w.badValue("the name is empty");
    if (static_cast<long long>(name.size()) > ctrl.num("MaxNameLength"))
        w.badValue("name '" + name + "' is longer than " + ctrl.get("MaxNameLength") +
                   " characters");
    for (char c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != ' ' && c != '-' && c != '_')
            w.badValue("name '" + name + "' may hold only A-Z, a-z, 0-9, '-', '_' and blanks");
    if (name.front() == ' ' || name.back() == ' ')
        w.badValue("name '" + name + "' begins or ends with a blank");
    for (const Object* vd : w.e.of(kind::kVdisk, ctrl.ctrl))
        if (vd->oid != self && vd->get("Name") == name)
            w.notPossible("virtual disk " + vd->addr + " is already named '" + name + "'");
}

// A size in bytes, or with a unit letter b, m or g; "max" is the largest.
long long sizeValue(W& w, const std::string& text, long long largest) {
    if (text == "max" || text == "MAX") return largest;
    std::string digits = text;
    long long unit = 1;
    if (!digits.empty() && std::isalpha(static_cast<unsigned char>(digits.back()))) {
        char u = static_cast<char>(std::tolower(static_cast<unsigned char>(digits.back())));
        unit = u == 'b' ? 1 : u == 'm' ? kMiB : u == 'g' ? 1024 * kMiB : 0;
        if (!unit) w.badValue("bad size unit in '" + text + "'; valid units: b, m, g");
        digits.pop_back();
    }
    if (!digitsOnly(digits)) w.badValue("bad Length '" + text + "': expected a number of bytes");
    return std::stoll(digits) * unit;
}

std::string freeDeviceName(const Estate& e) {
    std::set<std::string> used;
    for (const Object* vd : e.all(kind::kVdisk)) used.insert(vd->get("DeviceName"));
    for (int i = 0;; ++i) {
        std::string name = "/dev/sd";
        if (i >= 26) name += static_cast<char>('a' + i / 26 - 1);
        name += static_cast<char>('a' + i % 26);
        if (!used.count(name)) return name;
    }
}

// The lowest virtual-disk number not in use: controllers reuse the numbers
// of deleted virtual disks.
long long freeVdNumber(const Estate& e, int64_t g) {
    std::set<long long> used;
    for (const Object* vd : e.of(kind::kVdisk, g)) used.insert(vd->num("LogicalDriveNum"));
    long long n = 0;
    while (used.count(n)) ++n;
    return n;
}

void leaveVdisk(Object& d) {
    setAttrs(d, attrs(d) & ~(diskattr::kVdMember | diskattr::kCacheCade | diskattr::kHidden));
    for (auto tag : {"_vd", "_span", "_revert", "_copyfrom"}) d.erase(tag);
    if (d.num("ObjState") == state::kOnline || d.num("ObjState") == state::kRebuilding)
        d.set("ObjState", std::to_string(state::kReady));
    if (d.get("_op") == op::kRebuild || d.get("_op") == op::kCopyback) cancelOp(d);
    d.set("ReplacingMember", "0");
}

// ---- virtual-disk creation ----------------------------------------------

void createVdisk(W& w, bool cachecade) {
    const int64_t ctrlOid = w.raidCtrl().oid;
    const Object& c = *w.e.byOid(ctrlOid);
    const int64_t g = c.ctrl;
    if (cachecade && !(attrs(c) & ctrlattr::kCacheCade))
        w.notPossible("controller " + c.addr + " takes no cachecade disks");
    if (static_cast<long long>(w.e.of(kind::kVdisk, g).size()) >= c.num("MaxVDAllowed"))
        w.notPossible("controller " + c.addr +
                      " already holds its largest number of virtual disks (" +
                      c.get("MaxVDAllowed") + ")");
    const long long layout = cachecade ? raidlevel::kR0 : w.number("Layout", 1, 0xffffffffLL);
    const RaidLayout& rule = cachecade ? *findLayout(raidlevel::kR0) : layoutRule(w, c, layout);
    std::vector<int64_t> list = w.disks(g, "adisk", true);
    requireFree(w, list);
    requireSameKind(w, list, nullptr);
    if (cachecade)
        for (int64_t oid : list)
            if (w.e.byOid(oid)->num("MediaType") != media::kSsd)
                w.notPossible("disk " + w.e.byOid(oid)->addr + " is not a solid-state disk");
    const auto n = static_cast<long long>(list.size());
    const long long spans = checkDiskCount(w, rule, n);
    const std::string stripe = policy(w, c, "StripeSize", "StripeSizesMask", 128);
    const std::string read = policy(w, c, "ReadPolicy", "ReadPolicyMask", 4);
    const std::string write = policy(w, c, "WritePolicy", "WritePolicyMask", 4);
    const std::string cache = policy(w, c, "CachePolicy", "CachePolicyMask", 1);
    const std::string diskCache = policy(w, c, "DiskCachePolicy", "DiskCachePolicyMask", 8);
    const long long number = freeVdNumber(w.e, g);
    std::string name = w.opt("Name")
                           ? *w.opt("Name")
                           : (cachecade ? "CacheCade" : "VirtualDisk") + std::to_string(number);
    checkName(w, c, name, -1);
    const long long smallest = smallestLength(w.e, list);
    const long long largest = smallest * rule.dataDisks(n, spans);
    long long length = w.opt("Length") ? sizeValue(w, *w.opt("Length"), largest) : largest;
    if (length > largest)
        w.notPossible("size " + std::to_string(length) +
                      " bytes is beyond the free space of the disks (at most " +
                      std::to_string(largest) + " bytes)");
    if (length < kMinimumVdLength)
        w.badValue("size " + std::to_string(length) +
                   " bytes is below the smallest virtual disk (" +
                   std::to_string(kMinimumVdLength) + " bytes)");
    bool secure = false;
    if (const std::string* f = w.opt("SecureFlag")) {
        if (*f != "yes") w.badValue("bad SecureFlag '" + *f + "'; valid values: yes");
        if (!(attrs(c) & ctrlattr::kSecurityKeyPresent))
            w.notPossible("controller " + c.addr + " has no security key");
        for (int64_t oid : list)
            if (w.e.byOid(oid)->num("Encrypted") != 1)
                w.notPossible("disk " + w.e.byOid(oid)->addr + " is not self-encrypting");
        secure = true;
    }
    bool pi = false;
    if (const std::string* f = w.opt("VdPIEnabled")) {
        if (*f != "yes") w.badValue("bad VdPIEnabled '" + *f + "'; valid values: yes");
        if (!(attrs(c) & kCtrlProtectionInfo))
            w.notPossible("controller " + c.addr + " does not take protection information");
        pi = true;
    }
    const int64_t vdOid = addVdisk(w.e, {.ctrlOid = ctrlOid,
                                         .disks = list,
                                         .layout = &rule,
                                         .spans = spans,
                                         .number = number,
                                         .name = name,
                                         .device = freeDeviceName(w.e),
                                         .stripe = stripe,
                                         .read = read,
                                         .write = write,
                                         .cache = cache,
                                         .diskCache = diskCache,
                                         .length = length,
                                         .cachecade = cachecade,
                                         .secured = secure,
                                         .protectionInfo = pi});
    if (rule.backgroundInit() && !cachecade) {
        Object& vd = w.obj(vdOid);
        vd.set("InitState", "2");
        startOp(vd, op::kBgi, smallest / kMiB);
    }
    w.alert(label(*w.e.byOid(vdOid)) + " created (" + std::string(rule.name) + ", " +
                std::to_string(n) + " disks)",
            kAlertVdCreated);
    w.reply(vdOid);
}

void setCntrlCreateVD(W& w) {
    createVdisk(w, false);
}
void setCntrlCreateEnhancedCache(W& w) {
    createVdisk(w, true);
}

// Removes a virtual disk: its members and dedicated spares become ready.
void deleteVdisk(W& w, int64_t vdOid) {
    const Object& vd = *w.e.byOid(vdOid);
    const int64_t g = vd.ctrl;
    const std::string num = vd.addr;
    const std::string text = std::to_string(vdOid);
    const std::string lbl = label(vd);
    for (int64_t m : memberOids(vd)) {
        if (Object* d = w.e.edit(m)) {
            leaveVdisk(*d);
            w.reply(m);
        }
    }
    std::vector<int64_t> gone;
    for (const Object* d : w.e.of(kind::kDisk, g)) {
        if (d->get("_dhs") == text) {
            Object& x = w.obj(d->oid);
            setAttrs(x, attrs(x) & ~diskattr::kDedicatedHotSpare);
            x.erase("_dhs");
            w.reply(d->oid);
        }
    }
    for (const Object& o : w.e.objects)
        if (o.parent == vdOid ||
            (o.kind == kind::kCachedLun && o.ctrl == g && o.get("LogicalDriveNum") == num))
            gone.push_back(o.oid);
    gone.push_back(vdOid);
    for (int64_t oid : gone) w.e.remove(oid);
    std::erase_if(w.answered, [&](int64_t oid) { return !w.e.byOid(oid); });
    w.alert(lbl + " deleted", kAlertVdDeleted);
}

void setVDdelete(W& w) {
    int64_t g = w.ctrlNo();
    deleteVdisk(w, w.vdisk(g));
}

void setCntrlResetConfig(W& w) {
    const int64_t g = w.raidCtrl().ctrl;
    std::vector<int64_t> vds;
    for (const Object* vd : w.e.of(kind::kVdisk, g)) vds.push_back(vd->oid);
    for (int64_t vd : vds) deleteVdisk(w, vd);
    for (const Object* d : w.e.of(kind::kDisk, g))
        if (attrs(*d) & diskattr::kGlobalHotSpare) {
            setAttrs(w.obj(d->oid), attrs(*d) & ~diskattr::kGlobalHotSpare);
            w.reply(d->oid);
        }
    w.alert(label(*w.e.find(kind::kController, g, std::to_string(g))) + ": configuration reset");
    w.reply(w.e.find(kind::kController, g, std::to_string(g))->oid);
}

void setCntrlAutoConfig(W& w) {
    const int64_t ctrlOid = w.raidCtrl().oid;
    const Object& c = *w.e.byOid(ctrlOid);
    const int64_t g = c.ctrl;
    std::vector<int64_t> free;
    for (const Object* d : w.e.of(kind::kDisk, g))
        if (whyNotFree(*d).empty()) free.push_back(d->oid);
    if (free.empty()) w.notPossible("controller " + c.addr + " has no ready disk to configure");
    const long long room =
        c.num("MaxVDAllowed") - static_cast<long long>(w.e.of(kind::kVdisk, g).size());
    if (static_cast<long long>(free.size()) > room)
        w.notPossible("controller " + c.addr + " has room for " + std::to_string(room) +
                      " more virtual disks, not " + std::to_string(free.size()));
    for (int64_t oid : free) {
        const long long number = freeVdNumber(w.e, g);
        const Object& ctl = *w.e.byOid(ctrlOid);
        w.reply(addVdisk(w.e, {.ctrlOid = ctrlOid,
                               .disks = {oid},
                               .layout = findLayout(raidlevel::kR0),
                               .number = number,
                               .name = "VirtualDisk" + std::to_string(number),
                               .device = freeDeviceName(w.e),
                               .stripe = policy(w, ctl, "", "StripeSizesMask", 128),
                               .read = policy(w, ctl, "", "ReadPolicyMask", 4),
                               .write = policy(w, ctl, "", "WritePolicyMask", 4),
                               .cache = "1",
                               .diskCache = "8",
                               .length = w.e.byOid(oid)->num("Length")}));
    }
    w.alert(label(*w.e.byOid(ctrlOid)) + ": " + std::to_string(free.size()) +
            " RAID 0 virtual disks configured automatically");
}

// ---- virtual-disk changes -------------------------------------------------

int64_t readyVdisk(W& w, int64_t& g) {
    g = w.ctrlNo();
    int64_t vd = w.vdisk(g);
    return vd;
}

void requireVdState(W& w, int64_t vdOid, bool readyOnly) {
    const Object& vd = *w.e.byOid(vdOid);
    const long long st = vd.num("ObjState");
    if (readyOnly ? st != state::kReady : st == state::kFailed)
        w.notPossible(label(vd) + " is " +
                      (st == state::kFailed       ? "failed"
                       : st == state::kDegraded   ? "degraded"
                       : st == state::kRebuilding ? "rebuilding"
                                                  : "not ready"));
}

void requireIdle(W& w, int64_t oid) {
    const Object& o = *w.e.byOid(oid);
    if (o.find("_op"))
        w.notPossible(label(o) + " is busy with another operation (" + o.get("_op") + ", " +
                      o.get("Progress") + "%)");
}

bool redundant(const Object& vd) {
    return vd.num("Layout") != 1 && vd.num("Layout") != 2 && vd.num("IsSSC") != 1;
}

void vdOperation(W& w, std::string_view name, std::string_view stateTag, const char* value,
                 const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdState(w, vdOid, true);
    requireIdle(w, vdOid);
    const Object& vd = *w.e.byOid(vdOid);
    if (name == op::kCheck && !redundant(vd))
        w.notPossible(label(vd) + " has no redundancy to check");
    const long long work = smallestLength(w.e, memberOids(vd)) / kMiB;
    Object& v = w.obj(vdOid);
    v.set(stateTag, value);
    startOp(v, name, work);
    w.alert(std::string(what) + " started on " + label(v), kAlertOpStarted);
    w.reply(vdOid);
}

void setVDCheckConsistency(W& w) {
    vdOperation(w, op::kCheck, "CCState", "1", "Check consistency");
}
void setVDInitialize(W& w) {
    vdOperation(w, op::kInit, "InitState", "1", "Initialization");
}
void setVDFastInitialize(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdState(w, vdOid, true);
    requireIdle(w, vdOid);
    w.alert("Fast initialization completed on " + label(*w.e.byOid(vdOid)));
    w.reply(vdOid);
}

// Stops an operation of a virtual disk that shows in `tag` as `running`.
void vdCancel(W& w, std::string_view tag, std::initializer_list<const char*> running,
              const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    Object& vd = w.obj(vdOid);
    const std::string now = vd.get(tag);
    if (std::find_if(running.begin(), running.end(), [&](const char* r) { return now == r; }) ==
        running.end())
        w.notPossible(label(vd) + " has no " + what + " running");
    vd.set(tag, "0");
    cancelOp(vd);
    w.alert(std::string(what) + " cancelled on " + label(vd));
    w.reply(vdOid);
}

void setVDCancelCheckConsistency(W& w) {
    vdCancel(w, "CCState", {"1", "2"}, "check consistency");
}
void setVDCancelInitialize(W& w) {
    vdCancel(w, "InitState", {"1"}, "initialization");
}
void setVDCancelBGInitialize(W& w) {
    vdCancel(w, "InitState", {"2"}, "background initialization");
}

void ccPause(W& w, const char* from, const char* to, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    Object& vd = w.obj(vdOid);
    if (vd.get("CCState") != from)
        w.notPossible(label(vd) + " has no " + (std::string(from) == "1" ? "running" : "paused") +
                      " check consistency");
    vd.set("CCState", to);
    w.alert(std::string("Check consistency ") + what + " on " + label(vd));
    w.reply(vdOid);
}
void setVDPauseCheckConsistency(W& w) {
    ccPause(w, "1", "2", "paused");
}
void setVDResumeCheckConsistency(W& w) {
    ccPause(w, "2", "1", "resumed");
}

void blink(W& w, int64_t oid, bool on) {
    Object& o = w.obj(oid);
    if (o.num("ObjState") == state::kRemoved ||
        (o.kind == kind::kVdisk && o.num("ObjState") == state::kFailed))
        w.notPossible(label(o) + " cannot blink in its state");
    o.set("Blinking", on ? "1" : "0");
    w.reply(oid);
}
void setVDBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.vdisk(g), true);
}
void setVDUnBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.vdisk(g), false);
}

// Requests that act on the data of a virtual disk without changing its
// shape: recorded in the alert log.
void vdService(W& w, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdState(w, vdOid, false);
    Object& vd = w.obj(vdOid);
    if (std::string_view(what) == "Bad blocks cleared") vd.set("BadBlocks", "0");
    w.alert(std::string(what) + " on " + label(vd));
    w.reply(vdOid);
}
void setVDRecover(W& w) {
    vdService(w, "Segments restored");
}
void setVDFormat(W& w) {
    vdService(w, "Formatted");
}
void setVDClearBadBlocks(W& w) {
    vdService(w, "Bad blocks cleared");
}

// A two-disk mirror splits into two single-disk virtual disks, or drops its
// second disk.
void mirror(W& w, bool split) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdState(w, vdOid, true);
    requireIdle(w, vdOid);
    const Object& vd = *w.e.byOid(vdOid);
    auto members = memberOids(vd);
    if (vd.num("Layout") != raidlevel::kR1 || members.size() != 2)
        w.notPossible(label(vd) + " is not a two-disk mirror");
    const long long length = vd.num("Length");
    const int64_t second = members[1];
    const int64_t ctrlOid = vd.parent;
    const std::string name = vd.get("Name");
    Object& v = w.obj(vdOid);
    v.set("Layout", "2");
    setMemberOids(v, {members[0]});
    writeSpans(w.e, vdOid, 1, raidlevel::kR0, length);
    leaveVdisk(w.obj(second));
    w.reply(vdOid);
    if (split) {
        const std::string num = std::to_string(freeVdNumber(w.e, g));
        const std::string device = freeDeviceName(w.e);
        Props copy = w.e.byOid(vdOid)->props;
        Object& nv = w.e.add(kind::kVdisk, g, ctrlOid, num);
        const int64_t nvOid = nv.oid;
        for (const auto& [k, val] : copy)
            if (k != "ObjID" && k != "ObjType" && k != "GlobalNo" && k != "Progress" &&
                !k.starts_with('_'))
                nv.set(k, val);
        nv.set("LogicalDriveNum", num);
        nv.set("DeviceName", device);
        std::string newName = name + "-2";
        const Object& c = *w.e.byOid(ctrlOid);
        if (static_cast<long long>(newName.size()) > c.num("MaxNameLength"))
            newName = "VirtualDisk" + num;
        nv.set("Name", newName);
        setMemberOids(nv, {second});
        joinVdisk(w.obj(second), nvOid, 0, false);
        writeSpans(w.e, nvOid, 1, raidlevel::kR0, length);
        w.reply(nvOid);
    } else {
        w.reply(second);
    }
    w.alert(std::string(split ? "Mirror split on " : "Mirror removed from ") +
            label(*w.e.byOid(vdOid)));
}
void setVDSplitMirrorSet(W& w) {
    mirror(w, true);
}
void setVDUnMirror(W& w) {
    mirror(w, false);
}

void setVDDedicatedHotSpare(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    const std::string set = w.keyword("set", {"yes", "no"});
    std::vector<int64_t> list = w.disks(g, "adisk", true);
    const Object& vd = *w.e.byOid(vdOid);
    const std::string text = std::to_string(vdOid);
    if (set == "no") {
        for (int64_t oid : list)
            if (w.e.byOid(oid)->get("_dhs") != text)
                w.notPossible("disk " + w.e.byOid(oid)->addr + " is not a dedicated hot spare of " +
                              label(vd));
        for (int64_t oid : list) {
            Object& d = w.obj(oid);
            setAttrs(d, attrs(d) & ~diskattr::kDedicatedHotSpare);
            d.erase("_dhs");
            w.reply(oid);
        }
        w.reply(vdOid);
        return;
    }
    if (!redundant(vd))
        w.notPossible(label(vd) + " has no redundancy: a hot spare cannot serve it");
    requireVdState(w, vdOid, false);
    requireFree(w, list);
    auto members = memberOids(vd);
    requireSameKind(w, list, w.e.byOid(members.front()));
    const long long smallest = smallestLength(w.e, members);
    size_t already = 0;
    for (const Object* d : w.e.of(kind::kDisk, g)) already += d->get("_dhs") == text;
    if (already + list.size() > kMaxDedicatedSpares)
        w.notPossible(label(vd) + " can have at most " + std::to_string(kMaxDedicatedSpares) +
                      " dedicated hot spares");
    for (int64_t oid : list)
        if (w.e.byOid(oid)->num("Length") < smallest)
            w.notPossible("disk " + w.e.byOid(oid)->addr + " is smaller than the members of " +
                          label(vd));
    for (int64_t oid : list) {
        Object& d = w.obj(oid);
        setAttrs(d, attrs(d) | diskattr::kDedicatedHotSpare);
        d.set("_dhs", text);
        w.reply(oid);
    }
    w.reply(vdOid);
    for (int64_t oid : list) useNewSpare(w.e, w.now, oid);
}

void setVDMemberReplace(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdState(w, vdOid, true);
    const int64_t src = w.disk(g, "sourceadisk");
    const int64_t dst = w.disk(g, "destinationadisk");
    const Object& vd = *w.e.byOid(vdOid);
    auto members = memberOids(vd);
    if (std::find(members.begin(), members.end(), src) == members.end())
        w.notPossible("disk " + w.e.byOid(src)->addr + " is not a member of " + label(vd));
    if (!redundant(vd)) w.notPossible(label(vd) + " has no redundancy to replace a member");
    requireFree(w, {dst});
    requireSameKind(w, {dst}, w.e.byOid(src));
    if (w.e.byOid(dst)->num("Length") < w.e.byOid(src)->num("Length"))
        w.notPossible("disk " + w.e.byOid(dst)->addr + " is smaller than disk " +
                      w.e.byOid(src)->addr);
    Object& d = w.obj(dst);
    d.set("ReplacingMember", "1");
    setAttrs(d, attrs(d) | diskattr::kHidden);
    d.set("_copyfrom", std::to_string(src));
    startOp(d, op::kCopyback, mebibytes(d));
    w.alert("Member replacement started from disk " + w.e.byOid(src)->addr + " to disk " +
                w.e.byOid(dst)->addr + " of " + label(*w.e.byOid(vdOid)),
            kAlertOpStarted);
    w.reply(dst);
    w.reply(vdOid);
}

void setVDAddMissingDisk(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    const int64_t oldOid = w.disk(g, "oldadisk");
    const int64_t newOid = w.disk(g, "newadisk");
    auto members = memberOids(*w.e.byOid(vdOid));
    const Object& old = *w.e.byOid(oldOid);
    if (std::find(members.begin(), members.end(), oldOid) == members.end())
        w.notPossible("disk " + old.addr + " is not a member of " + label(*w.e.byOid(vdOid)));
    const long long st = old.num("ObjState");
    if (st != state::kFailed && st != state::kRemoved && st != state::kOffline)
        w.notPossible("disk " + old.addr + " is not missing from " + label(*w.e.byOid(vdOid)));
    requireVdState(w, vdOid, false);
    requireFree(w, {newOid});
    requireSameKind(w, {newOid}, &old);
    const std::string span = old.get("_span");
    leaveVdisk(w.obj(oldOid));
    std::replace(members.begin(), members.end(), oldOid, newOid);
    setMemberOids(w.obj(vdOid), members);
    Object& d = w.obj(newOid);
    joinVdisk(d, vdOid, std::atoll(span.c_str()), false);
    d.set("ObjState", std::to_string(state::kRebuilding));
    startOp(d, op::kRebuild, mebibytes(d));
    refreshVdisk(w.e, w.now, vdOid);
    w.alert("Rebuild started on " + label(*w.e.byOid(newOid)), kAlertOpStarted);
    w.reply(newOid);
    w.reply(vdOid);
}

// setVDReconfigure carries a rename, a change of policies, securing, or a
// reconstruction (layout, disks, size), told apart by the pairs sent.
void renameVdisk(W& w, int64_t vdOid) {
    const Object& c = *w.e.find(kind::kController, w.e.byOid(vdOid)->ctrl,
                                std::to_string(w.e.byOid(vdOid)->ctrl));
    if (attrs(c) & ctrlattr::kFixedDiskCachePolicy)
        w.notPossible("controller " + c.addr + " gives its virtual disks no names");
    const std::string name = w.need("Name");
    checkName(w, c, name, vdOid);
    w.obj(vdOid).set("Name", name);
}

void changePolicies(W& w, int64_t vdOid) {
    const Object& vd = *w.e.byOid(vdOid);
    const Object& c = *w.e.find(kind::kController, vd.ctrl, std::to_string(vd.ctrl));
    struct P {
        const char* tag;
        const char* mask;
    };
    std::vector<std::pair<std::string, std::string>> changes;
    for (P p : {P{"ReadPolicy", "ReadPolicyMask"}, P{"WritePolicy", "WritePolicyMask"},
                P{"CachePolicy", "CachePolicyMask"}, P{"DiskCachePolicy", "DiskCachePolicyMask"}})
        if (w.opt(p.tag)) changes.emplace_back(p.tag, policy(w, c, p.tag, p.mask, 0));
    for (const auto& [tag, value] : changes) w.obj(vdOid).set(tag, value);
}

void secureVdisk(W& w, int64_t vdOid) {
    if (w.need("AttributesMask") != "1")
        w.badValue("bad AttributesMask '" + w.need("AttributesMask") + "'; valid values: 1");
    const Object& vd = *w.e.byOid(vdOid);
    const Object& c = *w.e.find(kind::kController, vd.ctrl, std::to_string(vd.ctrl));
    if (!(attrs(c) & ctrlattr::kSecurityKeyPresent))
        w.notPossible("controller " + c.addr + " has no security key");
    if (vd.num("Secured") == 1) w.notPossible(label(vd) + " is already secured");
    for (int64_t m : memberOids(vd))
        if (w.e.byOid(m)->num("Encrypted") != 1)
            w.notPossible("disk " + w.e.byOid(m)->addr + " of " + label(vd) +
                          " is not self-encrypting");
    w.obj(vdOid).set("Secured", "1");
}

void reconstruct(W& w, int64_t vdOid) {
    requireVdState(w, vdOid, true);
    requireIdle(w, vdOid);
    const Object& vd = *w.e.byOid(vdOid);
    const int64_t g = vd.ctrl;
    const Object& c = *w.e.find(kind::kController, g, std::to_string(g));
    std::vector<int64_t> members = memberOids(vd);
    std::vector<int64_t> added = w.disks(g, "adisk", false);
    std::erase_if(added, [&](int64_t d) {
        return std::find(members.begin(), members.end(), d) != members.end();
    });
    const bool ssc = vd.num("IsSSC") == 1;
    if (ssc && w.opt("adisk")) {
        // a cachecade takes the listed disks as its new set
        std::vector<int64_t> wanted = w.disks(g, "adisk", true);
        requireFree(w, added);
        for (int64_t d : added)
            if (w.e.byOid(d)->num("MediaType") != media::kSsd)
                w.notPossible("disk " + w.e.byOid(d)->addr + " is not a solid-state disk");
        for (int64_t m : members)
            if (std::find(wanted.begin(), wanted.end(), m) == wanted.end()) leaveVdisk(w.obj(m));
        long long total = 0;
        for (size_t i = 0; i < wanted.size(); ++i) {
            joinVdisk(w.obj(wanted[i]), vdOid, 0, true);
            total += w.e.byOid(wanted[i])->num("Length");
            w.reply(wanted[i]);
        }
        Object& v = w.obj(vdOid);
        setMemberOids(v, wanted);
        v.set("Length", std::to_string(total));
        if (w.opt("StripeSize"))
            v.set("StripeSize", policy(w, c, "StripeSize", "StripeSizesMask", 0));
        writeSpans(w.e, vdOid, 1, raidlevel::kR0, total);
        return;
    }
    const long long layout =
        w.opt("Layout") ? w.number("Layout", 1, 0xffffffffLL) : vd.num("Layout");
    const RaidLayout& rule = layoutRule(w, c, layout);
    if (rule.spanned || vd.num("SpanCount") > 1)
        w.notPossible("virtual disks of spanned layouts cannot be reconfigured");
    requireFree(w, added);
    if (!added.empty()) requireSameKind(w, added, w.e.byOid(members.front()));
    std::vector<int64_t> all = members;
    all.insert(all.end(), added.begin(), added.end());
    const auto n = static_cast<long long>(all.size());
    checkDiskCount(w, rule, n);
    const long long largest = smallestLength(w.e, all) * rule.dataDisks(n, 1);
    const long long current = vd.num("Length");
    long long length = current;
    if (const std::string* l = w.opt("Length")) {
        length = sizeValue(w, *l, largest);
    } else if (w.opt("VDExpansionPercent")) {
        long long pct = w.number("VDExpansionPercent", 1, 100);
        length = current + (largest - current) * pct / 100;
    } else if (w.opt("IsVDOCEPossible") || !added.empty() || layout != vd.num("Layout")) {
        length = std::max(current, largest);
    }
    if (length > largest)
        w.notPossible("size " + std::to_string(length) +
                      " bytes is beyond the free space of the disks (at most " +
                      std::to_string(largest) + " bytes)");
    if (length < current)
        w.notPossible("size " + std::to_string(length) + " bytes is smaller than " + label(vd) +
                      " (" + std::to_string(current) + " bytes): virtual disks do not shrink");
    const std::string stripe = w.opt("StripeSize")
                                   ? policy(w, c, "StripeSize", "StripeSizesMask", 0)
                                   : vd.get("StripeSize");
    if (added.empty() && length == current && layout == vd.num("Layout") &&
        stripe == vd.get("StripeSize"))
        w.notPossible("the request changes nothing on " + label(vd));
    for (int64_t d : added) {
        joinVdisk(w.obj(d), vdOid, 0, false);
        w.reply(d);
    }
    Object& v = w.obj(vdOid);
    setMemberOids(v, all);
    v.set("Layout", std::to_string(layout));
    v.set("Length", std::to_string(length));
    v.set("StripeSize", stripe);
    v.set("ReconfigState", "1");
    startOp(v, op::kReconfig, smallestLength(w.e, all) / kMiB);
    writeSpans(w.e, vdOid, 1, layout, smallestLength(w.e, all) * n);
    w.alert("Reconfiguration started on " + label(*w.e.byOid(vdOid)), kAlertOpStarted);
}

void setVDReconfigure(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    bool any = false;
    for (auto k :
         {"Layout", "Length", "adisk", "StripeSize", "VDExpansionPercent", "IsVDOCEPossible"})
        any |= w.opt(k) != nullptr;
    const bool policies = w.opt("ReadPolicy") || w.opt("WritePolicy") || w.opt("CachePolicy") ||
                          w.opt("DiskCachePolicy");
    w.reply(vdOid);  // the virtual disk first, then any disks it took
    if (any) {
        reconstruct(w, vdOid);
    } else if (w.opt("AttributesMask")) {
        secureVdisk(w, vdOid);
    } else if (w.opt("Name")) {
        renameVdisk(w, vdOid);
    } else if (!policies) {
        w.fail(status::kMissingIdentifier,
               "setVDReconfigure needs Name=, a policy, AttributesMask=1, or Layout=, adisk=, "
               "Length=, StripeSize= or VDExpansionPercent=");
    }
    if (policies) {
        requireVdState(w, vdOid, false);
        changePolicies(w, vdOid);
    }
    w.reply(vdOid);
}

// ---- the tarn cache: cached virtual disks and partitions -------------------

int64_t cacheTarget(W& w, int64_t vdOid, const std::string& name) {
    for (const Object* p : w.e.children(kind::kPartition, vdOid))
        if (p->get("PartitionPath") == name) return p->oid;
    return vdOid;
}

void setVDEnableTarnCache(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdState(w, vdOid, false);
    const std::string name = w.need("Name");
    const std::string mode = w.need("CacheLunMode");
    const int64_t target = cacheTarget(w, vdOid, name);
    if (w.e.byOid(target)->num("TarnCache") != 0)
        w.notPossible(label(*w.e.byOid(vdOid)) + ": the cache is already enabled for " + name);
    for (const Object* l : w.e.all(kind::kCachedLun))
        if (l->get("CacheLunName") == name) w.notPossible("cached LUN " + name + " already exists");
    w.obj(target).set("TarnCache", "1");
    const std::string num = w.e.byOid(vdOid)->addr;
    Object& l = w.e.add(kind::kCachedLun, g, 0, name);
    l.set("CacheLunName", name);
    l.set("LogicalDriveNum", num);
    l.set("CacheLunMode", mode);
    l.set("ObjState", "1");
    w.reply(l.oid);
    w.reply(target);
}

void tarnCacheState(W& w, long long from, long long to, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    const std::string name = w.need("Name");
    const int64_t target = cacheTarget(w, vdOid, name);
    if (w.e.byOid(target)->num("TarnCache") != from)
        w.notPossible(label(*w.e.byOid(vdOid)) + ": the cache for " + name + " is not " + what);
    w.obj(target).set("TarnCache", std::to_string(to));
    if (to == 0)
        for (const Object* l : w.e.all(kind::kCachedLun))
            if (l->get("CacheLunName") == name) {
                w.e.remove(l->oid);
                break;
            }
    w.reply(target);
}
void setVDDisableTarnCache(W& w) {
    tarnCacheState(w, 1, 0, "enabled");
}
void setVDReactivateTarnCache(W& w) {
    tarnCacheState(w, 2, 1, "failed");
}

void setTarnCacheDiskOperation(W& w) {
    const std::string name = w.need("Name");
    w.keyword("TarnCacheDiskMethod", {"DisableDiscard"});
    for (const Object* l : w.e.all(kind::kCachedLun)) {
        if (l->get("CacheLunName") != name) continue;
        const int64_t g = l->ctrl;
        const std::string num = l->get("LogicalDriveNum");
        w.e.remove(l->oid);
        if (const Object* vd = w.e.find(kind::kVdisk, g, num)) {
            w.obj(cacheTarget(w, vd->oid, name)).set("TarnCache", "0");
            w.reply(vd->oid);
        }
        w.alert("Cached LUN " + name + " disabled, its cache discarded");
        return;
    }
    w.fail(status::kNoSuchObject, "no cached LUN " + name);
}

void setTarnCacheRefresh(W& w) {
    w.keyword("ObjType", {"Tarn Cache", "partition"});
    for (const Object* p : w.e.all(kind::kCachePool)) w.reply(p->oid);
}

// ---- physical disks -------------------------------------------------------

void setArrayDiskBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.disk(g, "adisk"), true);
}
void setArrayDiskUnBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.disk(g, "adisk"), false);
}

int64_t raidDisk(W& w, std::string_view key = "adisk") {
    const int64_t g = w.raidCtrl().ctrl;
    return w.disk(g, key);
}

void requireDiskState(W& w, int64_t oid, std::initializer_list<int> states, const char* what) {
    const Object& d = *w.e.byOid(oid);
    if (std::find(states.begin(), states.end(), d.num("ObjState")) == states.end())
        w.notPossible("disk " + d.addr + " is not " + what + " (state " + d.get("ObjState") + ")");
}

void setArrayDiskPrepareToRemove(W& w) {
    const int64_t oid = w.disk(w.ctrlNo(), "adisk");
    requireDiskState(w, oid, {state::kReady, state::kFailed, state::kOffline, state::kNonRaid},
                     "ready, failed, offline or non-RAID");
    if (attrs(*w.e.byOid(oid)) & (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare))
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is a hot spare; unassign it first");
    Object& d = w.obj(oid);
    d.set("ObjState", std::to_string(state::kRemoved));
    const std::string vd = d.get("_vd");
    w.alert(label(d) + " is ready for removal");
    if (!vd.empty()) refreshVdisk(w.e, w.now, std::atoll(vd.c_str()));
    w.reply(oid);
}

void setArrayDiskInitialize(W& w) {
    const int64_t oid = raidDisk(w);
    if (std::string why = whyNotFree(*w.e.byOid(oid)); !why.empty()) w.notPossible(why);
    w.alert(label(*w.e.byOid(oid)) + " initialized");
    w.reply(oid);
}

// The virtual disk a disk is a member of; refused for a disk that is none's.
int64_t vdiskOf(W& w, const Object& d) {
    if (d.get("_vd").empty())
        w.notPossible("disk " + d.addr + " is not a member of a virtual disk");
    return std::atoll(d.get("_vd").c_str());
}

void setArrayDiskRebuild(W& w) {
    const int64_t oid = raidDisk(w);
    const int64_t vd = vdiskOf(w, *w.e.byOid(oid));
    requireDiskState(w, oid, {state::kFailed, state::kOffline}, "failed or offline");
    if (w.e.byOid(vd)->num("ObjState") == state::kFailed)
        w.notPossible(label(*w.e.byOid(vd)) + " has failed: there is no data to rebuild from");
    Object& x = w.obj(oid);
    x.set("ObjState", std::to_string(state::kRebuilding));
    startOp(x, op::kRebuild, mebibytes(x));
    refreshVdisk(w.e, w.now, vd);
    w.alert("Rebuild started on " + label(*w.e.byOid(oid)), kAlertOpStarted);
    w.reply(oid);
    w.reply(vd);
}

void setArrayDiskCancelRebuild(W& w) {
    const int64_t oid = raidDisk(w);
    requireDiskState(w, oid, {state::kRebuilding}, "rebuilding");
    Object& d = w.obj(oid);
    cancelOp(d);
    d.set("ObjState", std::to_string(state::kFailed));
    const int64_t vd = std::atoll(d.get("_vd").c_str());
    w.alert("Rebuild cancelled on " + label(d));
    refreshVdisk(w.e, w.now, vd);
    w.reply(oid);
    w.reply(vd);
}

void setArrayDiskCancelCopyback(W& w) {
    const int64_t oid = raidDisk(w);
    Object& d = w.obj(oid);
    if (d.num("ReplacingMember") != 1)
        w.notPossible("disk " + d.addr + " is not replacing a member");
    cancelOp(d);
    d.set("ReplacingMember", "0");
    d.erase("_copyfrom");
    setAttrs(d, attrs(d) & ~diskattr::kHidden);
    w.alert("Member replacement cancelled on " + label(d));
    w.reply(oid);
}

void setArrayDiskOffline(W& w) {
    const int64_t oid = raidDisk(w);
    requireDiskState(w, oid, {state::kOnline}, "online");
    const int64_t vd = vdiskOf(w, *w.e.byOid(oid));
    w.obj(oid).set("ObjState", std::to_string(state::kOffline));
    refreshVdisk(w.e, w.now, vd);
    if (w.e.byOid(vd)->num("ObjState") == state::kFailed)
        w.notPossible("taking disk " + w.e.byOid(oid)->addr + " offline would fail " +
                      label(*w.e.byOid(vd)));
    w.reply(oid);
    w.reply(vd);
}

void setArrayDiskOnline(W& w) {
    const int64_t oid = raidDisk(w);
    requireDiskState(w, oid, {state::kOffline}, "offline");
    Object& d = w.obj(oid);
    d.set("ObjState", std::to_string(state::kOnline));
    const std::string vd = d.get("_vd");
    if (!vd.empty()) {
        refreshVdisk(w.e, w.now, std::atoll(vd.c_str()));
        w.reply(std::atoll(vd.c_str()));
    }
    w.reply(oid);
}

void setArrayDiskRemoveDeadSegments(W& w) {
    const int64_t oid = raidDisk(w);
    requireDiskState(w, oid, {state::kReady, state::kOnline}, "ready or online");
    w.alert("Dead segments removed on " + label(*w.e.byOid(oid)));
    w.reply(oid);
}

void setArrayDiskGlobalHotSpare(W& w) {
    const int64_t oid = raidDisk(w);
    const std::string set = w.keyword("set", {"yes", "no"});
    Object& d = w.obj(oid);
    if (set == "no") {
        if (!(attrs(d) & diskattr::kGlobalHotSpare))
            w.notPossible("disk " + d.addr + " is not a global hot spare");
        setAttrs(d, attrs(d) & ~diskattr::kGlobalHotSpare);
        w.reply(oid);
        return;
    }
    if (std::string why = whyNotFree(d); !why.empty()) w.notPossible(why);
    setAttrs(d, attrs(d) | diskattr::kGlobalHotSpare);
    w.reply(oid);
    useNewSpare(w.e, w.now, oid);
}

void setArrayDiskClear(W& w) {
    const int64_t oid = raidDisk(w);
    if (std::string why = whyNotFree(*w.e.byOid(oid)); !why.empty()) w.notPossible(why);
    Object& d = w.obj(oid);
    d.set("Clearing", "1");
    startOp(d, op::kClear, mebibytes(d));
    w.alert("Clear started on " + label(d), kAlertOpStarted);
    w.reply(oid);
}

void setArrayDiskCancelClear(W& w) {
    const int64_t oid = raidDisk(w);
    Object& d = w.obj(oid);
    if (d.num("Clearing") != 1) w.notPossible("disk " + d.addr + " is not being cleared");
    d.set("Clearing", "0");
    cancelOp(d);
    w.alert("Clear cancelled on " + label(d));
    w.reply(oid);
}

// The disk a request names by "adisk=", or an NVMe adapter by "Channel=".
int64_t diskOrAdapter(W& w) {
    const int64_t g = w.ctrlNo();
    if (w.opt("adisk")) return w.disk(g, "adisk");
    if (w.opt("Channel")) return w.numbered("Channel", kind::kNvme, g, "NVMe adapter");
    w.need("adisk");
    return 0;
}

void setArrayDiskSecureErase(W& w) {
    const int64_t oid = diskOrAdapter(w);
    const Object& d = *w.e.byOid(oid);
    if (d.num("ISECapable") != 1) w.notPossible(label(d) + " cannot be erased cryptographically");
    if (d.kind == kind::kDisk)
        requireDiskState(w, oid, {state::kReady, state::kNonRaid, state::kForeign},
                         "ready, non-RAID or foreign");
    if (d.kind == kind::kDisk && !whyNotFree(d).empty() && d.num("ObjState") == state::kReady)
        w.notPossible(whyNotFree(d));
    Object& x = w.obj(oid);
    x.set("Locked", "0");
    if (x.num("ObjState") == state::kForeign) x.set("ObjState", std::to_string(state::kReady));
    w.alert("Cryptographic erase completed on " + label(x));
    w.reply(oid);
}

// Conversions and cache settings take a list of disks; without one they
// apply to every disk of the controller that qualifies.
std::vector<int64_t> diskSet(W& w, int64_t g, bool (*qualifies)(const Object&), const char* what) {
    std::vector<int64_t> list = w.disks(g, "adisk", false);
    if (list.empty()) {
        for (const Object* d : w.e.of(kind::kDisk, g))
            if (qualifies(*d)) list.push_back(d->oid);
        if (list.empty())
            w.notPossible(std::string("controller ") + std::to_string(g) + " has no " + what);
        return list;
    }
    for (int64_t oid : list)
        if (!qualifies(*w.e.byOid(oid)))
            w.notPossible("disk " + w.e.byOid(oid)->addr + " is not " + what);
    return list;
}

void convert(W& w, bool toRaid) {
    const int64_t g = w.raidCtrl().ctrl;
    auto list =
        toRaid ? diskSet(
                     w, g, [](const Object& d) { return d.num("ObjState") == state::kNonRaid; },
                     "non-RAID")
               : diskSet(
                     w, g, [](const Object& d) { return whyNotFree(d).empty(); },
                     "a ready unassigned disk");
    for (int64_t oid : list) {
        w.obj(oid).set("ObjState", std::to_string(toRaid ? state::kReady : state::kNonRaid));
        w.reply(oid);
    }
    w.alert(std::to_string(list.size()) + " disks of controller " + std::to_string(g) +
            (toRaid ? " converted to RAID" : " converted to non-RAID"));
}
void convertNonRAIDtoRAID(W& w) {
    convert(w, true);
}
void convertRAIDtoNonRAID(W& w) {
    convert(w, false);
}

bool present(const Object& d) {
    return d.num("ObjState") != state::kRemoved;
}

void writeCache(W& w, bool on) {
    const int64_t g = w.ctrlNo();
    for (int64_t oid : diskSet(w, g, present, "present")) {
        w.obj(oid).set("WriteCache", on ? "1" : "0");
        w.reply(oid);
    }
}
void enableArrayDiskWriteCache(W& w) {
    writeCache(w, true);
}
void disableArrayDiskWriteCache(W& w) {
    writeCache(w, false);
}

void setarraydiskcache(W& w) {
    const int64_t g = w.ctrlNo();
    const std::string v = w.keyword("diskwritecachepolicy", {"2", "4", "8"});
    for (int64_t oid : diskSet(w, g, present, "present")) {
        w.obj(oid).set("diskwritecachepolicy", v);
        w.reply(oid);
    }
}

// Export logs are written in the agent's own log directory, under a plain
// file name: a request never chooses where the agent writes.
void exportLog(W& w, const std::string& defaultName, const std::vector<std::string>& lines,
               int64_t oid) {
    std::string name = defaultName;
    if (const std::string* f = w.opt("FileName")) {
        if (f->find('/') != std::string::npos || *f == "." || *f == ".." || f->size() > 100)
            w.badValue("bad FileName '" + *f + "': give a plain file name; logs are written to " +
                       (w.dir / "logs").string());
        name = *f;
    }
    std::replace(name.begin(), name.end(), ':', '_');
    const fs::path path = w.dir / "logs" / name;
    std::error_code ec;
    fs::create_directories(path.parent_path(), ec);
    std::ofstream out(path, std::ios::trunc);
    for (const std::string& l : lines) out << l << "\n";
    if (!out.flush()) w.fail(status::kStateError, "cannot write " + path.string());
    w.reply(oid);
    w.answer.object({{"ObjID", std::to_string(oid)}, {"FileName", path.string()}});
}

void exportDiskReliabilityLog(W& w) {
    const int64_t oid = diskOrAdapter(w);
    const Object& d = *w.e.byOid(oid);
    if (d.kind == kind::kDisk && d.num("MediaType") != media::kSsd)
        w.notPossible("disk " + d.addr + " keeps no reliability log (not a solid-state disk)");
    std::vector<std::string> lines{"Reliability log of " + label(d), "Time: " + formatClock(w.now)};
    for (const auto& [k, v] : d.props)
        if (!k.starts_with('_')) lines.push_back(k + ": " + v);
    exportLog(w, d.kind + "-" + std::to_string(d.ctrl) + "-" + d.addr + "-reliability.log", lines,
              oid);
}

void setCntrlExportLog(W& w) {
    const Object& c = w.ctrl();
    std::vector<std::string> lines{"Event log of " + label(c), "Time: " + formatClock(w.now)};
    for (const Object* a : w.e.all(kind::kAlert))
        lines.push_back(a->get("Time") + " " + a->get("AlertID") + " " + a->get("Severity") + " " +
                        a->get("Message"));
    exportLog(w, "controller-" + c.addr + ".log", lines, c.oid);
}

// PCIe solid-state devices and the cache pool.
int64_t pcieDevice(W& w) {
    const int64_t g = w.ctrlNo();
    const int64_t oid = w.disk(g, "pciedevice");
    w.keyword("Force", {"yes"});
    if (w.e.byOid(oid)->num("BusProtocol") != bus::kPcie)
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is not a PCIe device");
    return oid;
}

void poolLength(W& w, long long delta) {
    for (const Object* p : w.e.all(kind::kCachePool)) {
        Object& x = w.obj(p->oid);
        x.set("Length", std::to_string(std::max(0LL, x.num("Length") + delta)));
        w.reply(p->oid);
    }
}

void setArrayDiskAddToCachePool(W& w) {
    const int64_t oid = pcieDevice(w);
    Object& d = w.obj(oid);
    if (d.num("InCachePool") == 1)
        w.notPossible("disk " + d.addr + " is already in the cache pool");
    if (std::string why = whyNotFree(d); !why.empty()) w.notPossible(why);
    d.set("InCachePool", "1");
    const long long len = d.num("Length");
    w.reply(oid);
    poolLength(w, len);
}
void setArrayDiskRemoveFromCachePool(W& w) {
    const int64_t oid = pcieDevice(w);
    Object& d = w.obj(oid);
    if (d.num("InCachePool") != 1) w.notPossible("disk " + d.addr + " is not in the cache pool");
    d.set("InCachePool", "0");
    const long long len = d.num("Length");
    w.reply(oid);
    poolLength(w, -len);
}
void setArrayDiskReactivateCachePool(W& w) {
    const int64_t oid = pcieDevice(w);
    Object& d = w.obj(oid);
    if (d.num("InCachePool") != 1 || d.num("ObjState") != state::kFailed)
        w.notPossible("disk " + d.addr + " is not a failed member of the cache pool");
    d.set("ObjState", std::to_string(state::kReady));
    w.reply(oid);
}

// ---- controllers ----------------------------------------------------------

void setCntrlRescan(W& w) {
    const Object& c = w.ctrl();
    w.reply(c.oid);
    w.alert(label(c) + " rescanned");
}

void alarm(W& w, const char* tag, const char* value, const char* what) {
    Object& c = w.ctrl();
    if (c.num("AlarmPresent") != 1) w.notPossible("controller " + c.addr + " has no alarm");
    if (tag) c.set(tag, value);
    const int64_t oid = c.oid;
    w.alert(label(c) + ": alarm " + what);
    w.reply(oid);
}
void setCntrlEnableAlarm(W& w) {
    alarm(w, "AlarmState", "1", "enabled");
}
void setCntrlDisableAlarm(W& w) {
    alarm(w, "AlarmState", "0", "disabled");
}
void setCntrlQuietAlarm(W& w) {
    alarm(w, "AlarmQuieted", "1", "quieted");
}
void setCntrlTestAlarm(W& w) {
    alarm(w, nullptr, nullptr, "tested");
}

void rate(W& w, const char* tag, const char* pair) {
    Object& c = w.raidCtrl();
    c.set(tag, std::to_string(w.number(pair, 0, 100)));
    w.reply(c.oid);
}
void setCntrlRebuildRate(W& w) {
    rate(w, "RebuildRate", "RebuildRate");
}
void setCntrlBGIRate(W& w) {
    rate(w, "BGIRate", "Rate");
}
void setCntrlCheckConsistencyRate(W& w) {
    rate(w, "CheckConsistencyRate", "Rate");
}
void setCntrlReconstructRate(W& w) {
    rate(w, "ReconstructRate", "Rate");
}
void setCntrlPatrolReadRate(W& w) {
    rate(w, "PatrolReadRate", "Rate");
}

// Settings as the request sends them (1 enabled / 2 disabled and the like)
// and the value the controller keeps, which the plug-in's keyword maps read.
struct Setting {
    std::string_view pair;  // name in the request
    std::string_view tag;   // the controller's tag
    std::string_view sent;  // values the request may send...
    std::string_view kept;  // ...and what each is kept as (same position)
    bool power;             // power-management settings
};
// clang-format off
constexpr std::array kSettings{
    Setting{"AbortCheckConsistencyOnError",    "AbortCheckConsistencyOnError",    "12",  "10",  false},
    Setting{"Copyback",                        "Copyback",                        "12",  "01",  false},
    Setting{"AutoCopybackOnPredictiveFailure", "AutoCopybackOnPredictiveFailure", "12",  "10",  false},
    Setting{"Loadbalance",                     "Loadbalance",                     "12",  "01",  false},
    Setting{"PersistentHotSlot",               "PersistentHotSlot",               "12",  "10",  false},
    Setting{"DiskWriteCache",                  "NonRAIDDiskCachePolicy",          "012", "012", false},
    Setting{"clearredundantpath",              "Multipath",                       "2",   "1",   false},
    Setting{"SpinDownConfiguredDrive",         "SpinDownConfiguredDrive",         "12",  "12",  true},
    Setting{"SpinDownUnconfigured",            "SpinDownUnconfigured",            "12",  "12",  true},
    Setting{"DefaultVDPSPolicyT10",            "DefaultVDPSPolicyT10",            "12",  "12",  true},
    Setting{"SpinDownHotspare",                "SpinDownHotspare",                "12",  "12",  true},
};
// clang-format on

bool timeOfDay(std::string_view t) {
    return t.size() == 5 && t[2] == ':' && digitsOnly(t.substr(0, 2)) && digitsOnly(t.substr(3)) &&
           std::stoi(std::string(t.substr(0, 2))) < 24 && std::stoi(std::string(t.substr(3))) < 60;
}

void setCntrlChangeProperties(W& w) {
    const int64_t ctrlOid = w.raidCtrl().oid;
    std::vector<std::pair<std::string, std::string>> changes;
    bool power = false;
    for (const Setting& s : kSettings) {
        const std::string* v = w.opt(s.pair);
        if (!v) continue;
        const size_t at = v->size() == 1 ? s.sent.find((*v)[0]) : std::string_view::npos;
        if (at == std::string_view::npos) {
            std::string valid;
            for (char c : s.sent) appendListItem(valid, ", ", std::string(1, c));
            w.badValue("bad " + std::string(s.pair) + " '" + *v + "'; valid values: " + valid);
        }
        changes.emplace_back(s.tag, std::string(1, s.kept[at]));
        power |= s.power;
    }
    for (auto tag : {"BGIRate", "CheckConsistencyRate", "ReconstructRate", "RebuildRate"})
        if (w.opt(tag)) changes.emplace_back(tag, std::to_string(w.number(tag, 0, 100)));
    if (w.opt("SpinDownTime")) {
        changes.emplace_back("SpinDownTime", std::to_string(w.number("SpinDownTime", 30, 1440)));
        power = true;
    }
    if (const std::string* t = w.opt("DisableLDPSTime")) {
        if (!timeOfDay(*t)) w.badValue("bad DisableLDPSTime '" + *t + "': expected HH:MM");
        changes.emplace_back("DisableLDPSTime", *t);
        power = true;
    }
    if (w.opt("DisableLDPSInterval")) {
        changes.emplace_back("DisableLDPSInterval",
                             std::to_string(w.number("DisableLDPSInterval", 1, 24)));
        power = true;
    }
    if (changes.empty())
        w.fail(status::kMissingIdentifier, "setCntrlChangeProperties needs at least one property");
    const Object& c = *w.e.byOid(ctrlOid);
    if (power && c.num("SupportPowerSavings") != 1)
        w.notPossible("controller " + c.addr + " has no power management");
    Object& x = w.obj(ctrlOid);
    for (const auto& [tag, value] : changes) {
        x.set(tag, value);
        // Without revertible hot spares there is nothing to copy back on a
        // predicted failure either.
        if (tag == "Copyback" && value == "1") x.set("AutoCopybackOnPredictiveFailure", "0");
    }
    if (x.num("AutoCopybackOnPredictiveFailure") == 1 && x.num("Copyback") != 0)
        w.notPossible(
            "replace member on predictive failure needs revertible hot spares "
            "(AllowRevertibleHotSpareandReplaceMember) enabled");
    w.reply(ctrlOid);
}

void setCntrlDiscardPinnedCache(W& w) {
    Object& c = w.raidCtrl();
    w.keyword("forcepinnedcachediscard", {"1", "2"});
    if (c.num("PreservedCache") != 1)
        w.notPossible("controller " + c.addr + " holds no preserved cache");
    c.set("PreservedCache", "0");
    w.reply(c.oid);
}

void setCntrlPatrolReadMode(W& w) {
    Object& c = w.raidCtrl();
    const std::string mode = w.keyword("PatrolReadMode", {"1", "2", "4"});
    c.set("PatrolReadMode", mode);
    if (mode == "4" && c.num("PatrolReadState") == 1) {
        c.set("PatrolReadState", "0");
        cancelOp(c);
    }
    w.reply(c.oid);
}

void setCntrlPatrolReadStart(W& w) {
    const int64_t oid = w.raidCtrl().oid;
    const Object& c = *w.e.byOid(oid);
    if (c.num("PatrolReadMode") != 2)
        w.notPossible("controller " + c.addr +
                      " starts patrol reads itself; set the mode to manual first");
    if (c.num("PatrolReadState") == 1)
        w.notPossible("a patrol read is already running on controller " + c.addr);
    long long largest = 0;
    for (const Object* d : w.e.of(kind::kDisk, c.ctrl))
        if (d->num("ObjState") == state::kOnline) largest = std::max(largest, mebibytes(*d));
    if (!largest) w.notPossible("controller " + c.addr + " has no virtual disk to patrol");
    Object& x = w.obj(oid);
    x.set("PatrolReadState", "1");
    startOp(x, op::kPatrol, largest);
    w.alert("Patrol read started on " + label(x), kAlertOpStarted);
    w.reply(oid);
}

void setCntrlPatrolReadStop(W& w) {
    Object& c = w.raidCtrl();
    if (c.num("PatrolReadState") != 1)
        w.notPossible("no patrol read is running on controller " + c.addr);
    c.set("PatrolReadState", "0");
    cancelOp(c);
    w.reply(c.oid);
}

void setCntrlMode(W& w) {
    Object& c = w.ctrl();
    const std::string mode = w.keyword("ControllerMode", {"1", "2"});
    if (c.get("ControllerMode") == mode)
        w.notPossible("controller " + c.addr + " is already in that mode");
    if (mode == "2" && !w.e.of(kind::kVdisk, c.ctrl).empty())
        w.notPossible("controller " + c.addr + " holds virtual disks; delete them before HBA mode");
    Object& x = w.ctrl();
    x.set("ControllerMode", mode);
    setAttrs(x, mode == "2" ? attrs(x) | ctrlattr::kFixedDiskCachePolicy
                            : attrs(x) & ~ctrlattr::kFixedDiskCachePolicy);
    const int64_t oid = x.oid;
    w.alert(label(x) + ": mode changed to " + (mode == "1" ? "RAID" : "HBA"));
    w.reply(oid);
}

void setCntrlChangeDriveCache(W& w) {
    const int64_t g = w.ctrlNo();
    const std::string proto = w.keyword("BusProtocol", {"7", "8"});
    const std::string cmd = w.keyword("Command", {"90", "91", "92", "93"});
    const char* tag = cmd == "90" || cmd == "91" ? "WriteCache" : "ReadCache";
    const char* value = cmd == "90" || cmd == "92" ? "1" : "0";
    std::vector<int64_t> list;
    for (const Object* d : w.e.of(kind::kDisk, g))
        if (d->get("BusProtocol") == proto && present(*d)) list.push_back(d->oid);
    if (list.empty())
        w.notPossible("controller " + std::to_string(g) + " has no disk of that protocol");
    for (int64_t oid : list) {
        w.obj(oid).set(tag, value);
        w.reply(oid);
    }
}

// Foreign configurations: disks that carry another controller's configuration.
std::vector<int64_t> foreignDisks(W& w, int64_t g) {
    std::vector<int64_t> out;
    for (const Object* d : w.e.of(kind::kDisk, g))
        if (d->num("ObjState") == state::kForeign) out.push_back(d->oid);
    if (out.empty()) w.notPossible("controller " + std::to_string(g) + " has no foreign disks");
    return out;
}

void setCntrlClearForeignConfig(W& w) {
    const int64_t g = w.raidCtrl().ctrl;
    for (int64_t oid : foreignDisks(w, g)) {
        Object& d = w.obj(oid);
        if (d.num("Locked") == 1) continue;  // a locked disk's configuration cannot be read
        d.set("ObjState", std::to_string(state::kReady));
        w.reply(oid);
    }
    if (w.answered.empty())
        w.notPossible("the foreign disks of controller " + std::to_string(g) + " are locked");
}

// An imported configuration becomes one virtual disk of the foreign disks:
// mirrored for two, parity for three or more.
void importForeign(W& w) {
    const int64_t ctrlOid = w.raidCtrl().oid;
    const int64_t g = w.e.byOid(ctrlOid)->ctrl;
    std::vector<int64_t> list;
    for (int64_t oid : foreignDisks(w, g))
        if (w.e.byOid(oid)->num("Locked") != 1) list.push_back(oid);
    if (list.empty())
        w.notPossible("the foreign disks of controller " + std::to_string(g) +
                      " are locked; unlock them first");
    const auto n = static_cast<long long>(list.size());
    const RaidLayout& rule = *findLayout(n == 1   ? raidlevel::kR0
                                         : n == 2 ? raidlevel::kR1
                                                  : raidlevel::kR5);
    const long long number = freeVdNumber(w.e, g);
    const int64_t vdOid =
        addVdisk(w.e, {.ctrlOid = ctrlOid,
                       .disks = list,
                       .layout = &rule,
                       .number = number,
                       .name = "Imported" + std::to_string(number),
                       .device = freeDeviceName(w.e),
                       .stripe = "128",
                       .read = "4",
                       .write = "4",
                       .cache = "1",
                       .diskCache = "8",
                       .length = smallestLength(w.e, list) * rule.dataDisks(n, 1)});
    for (int64_t oid : list) w.reply(oid);
    w.alert("Foreign configuration imported as " + label(*w.e.byOid(vdOid)));
    w.reply(vdOid);
}
void setCntrlImportForeignConfig(W& w) {
    importForeign(w);
}
void setCntrlForcedImportForeignConfig(W& w) {
    importForeign(w);
}

void passphrase(W& w, std::string_view key) {
    const std::string& p = w.need(key);
    if (p.size() < 8 || p.size() > 32)
        w.badValue(std::string(key) + " must be 8 to 32 characters long");
}

// Pass phrases are never kept; a digest lets a change check the old one.
std::string digest(const std::string& text) {
    return std::to_string(std::hash<std::string>{}("kvda:" + text));
}

// setCntrlSecurityKey: the pairs sent tell the actions apart: a new key
// (Passphrase, keyid), a changed key (also OldPassphrase), the external key
// manager (RekeyFlag 1 enables it, 2 rekeys or switches modes), and no pair
// at all deletes the key. SecurityMode: 0 none, 1 local key, 2 external.
void setCntrlSecurityKey(W& w) {
    const int64_t oid = w.raidCtrl().oid;
    const Object& c = *w.e.byOid(oid);
    if (!(attrs(c) & ctrlattr::kKeyManagement))
        w.notPossible("controller " + c.addr + " does not manage security keys");
    const long long mode = c.num("SecurityMode");
    const std::string rekey = w.keyword("RekeyFlag", {"1", "2"}, false);
    const bool pass = w.opt("Passphrase") != nullptr;
    const bool old = w.opt("OldPassphrase") != nullptr;
    long long next = mode;
    std::string what;
    std::string key = c.get("_keydigest");
    if (old) {
        passphrase(w, "OldPassphrase");
        if (mode == 1 && digest(w.need("OldPassphrase")) != key)
            w.notPossible("the old pass phrase does not match the key of controller " + c.addr);
    }
    if (pass) {
        passphrase(w, "Passphrase");
        const std::string& id = w.need("keyid");
        if (id.size() > 32) w.badValue("keyid is longer than 32 characters");
        if (const std::string* esc = w.opt("escrow"); esc && *esc != "yes")
            w.badValue("bad escrow '" + *esc + "'; valid values: yes");
    }
    if (!rekey.empty() && !pass && !old) {
        if (rekey == "1") {
            if (mode == 2)
                w.notPossible("controller " + c.addr + " already uses the external key manager");
            next = 2, what = "external key management enabled";
        } else {
            if (mode != 2)
                w.notPossible("controller " + c.addr + " does not use the external key manager");
            what = "external key rekeyed";
        }
        key.clear();
    } else if (old && !pass) {
        if (mode != 1) w.notPossible("controller " + c.addr + " has no local key to switch from");
        next = 2, what = "switched to external key management", key.clear();
    } else if (pass && old) {
        if (mode != 1) w.notPossible("controller " + c.addr + " has no local key to change");
        what = "local key changed", key = digest(w.need("Passphrase"));
    } else if (pass) {
        if (mode == 1)
            w.notPossible("controller " + c.addr + " already has a local key; change it instead");
        if (mode == 2 && rekey != "2")
            w.notPossible("controller " + c.addr +
                          " uses the external key manager; switch to a local key");
        next = 1, what = mode == 2 ? "switched to a local key" : "local key created";
        key = digest(w.need("Passphrase"));
    } else {
        if (mode == 0) w.notPossible("controller " + c.addr + " has no security key to delete");
        for (const Object* vd : w.e.of(kind::kVdisk, c.ctrl))
            if (vd->num("Secured") == 1)
                w.notPossible("virtual disk " + vd->addr +
                              " is secured; the key cannot be deleted");
        next = 0, what = "security key deleted", key.clear();
    }
    Object& x = w.obj(oid);
    x.set("SecurityMode", std::to_string(next));
    setAttrs(x, next ? attrs(x) | ctrlattr::kSecurityKeyPresent
                     : attrs(x) & ~ctrlattr::kSecurityKeyPresent);
    if (key.empty())
        x.erase("_keydigest");
    else
        x.set("_keydigest", key);
    if (const std::string* id = w.opt("keyid")) x.set("KeyID", *id);
    if (next == 0) x.erase("KeyID");
    w.alert(label(*w.e.byOid(oid)) + ": " + what);
    w.reply(oid);
}

void setCntrlUnlockForeignDrives(W& w) {
    const int64_t g = w.raidCtrl().ctrl;
    passphrase(w, "Passphrase");
    for (int64_t oid : foreignDisks(w, g))
        if (w.e.byOid(oid)->num("Locked") == 1) {
            w.obj(oid).set("Locked", "0");
            w.reply(oid);
        }
    if (w.answered.empty())
        w.notPossible("controller " + std::to_string(g) + " has no locked foreign disks");
}

// ---- enclosures -----------------------------------------------------------

int64_t enclosure(W& w) {
    const int64_t g = w.ctrlNo();
    return w.find(kind::kEnclosure, g, w.need("Enclosure"), "enclosure");
}

void enclosureAlarm(W& w, const char* value) {
    Object& e = w.obj(enclosure(w));
    if (e.num("AlarmPresent") != 1) w.notPossible(label(e) + " has no alarm");
    e.set("AlarmState", value);
    w.reply(e.oid);
}
void setEnclosureEnableAlarm(W& w) {
    enclosureAlarm(w, "1");
}
void setEnclosureDisableAlarm(W& w) {
    enclosureAlarm(w, "0");
}
void setEnclosureBlink(W& w) {
    blink(w, enclosure(w), true);
}
void setEnclosureUnBlink(W& w) {
    blink(w, enclosure(w), false);
}

void enclosureText(W& w, const char* tag, const char* limitTag, long long fixedLimit,
                   bool upperOnly) {
    const int64_t oid = enclosure(w);
    const std::string* v = w.req.get(tag);
    if (!v) w.need(tag);
    const Object& e = *w.e.byOid(oid);
    const long long limit = limitTag ? e.num(limitTag) : fixedLimit;
    if (static_cast<long long>(v->size()) > limit)
        w.badValue(std::string(tag) + " '" + *v + "' is longer than " + std::to_string(limit) +
                   " characters");
    for (char c : *v) {
        bool ok = upperOnly ? (std::isupper(static_cast<unsigned char>(c)) ||
                               std::isdigit(static_cast<unsigned char>(c)))
                            : (std::isalnum(static_cast<unsigned char>(c)) || c == '-' ||
                               c == '_' || (std::string_view(tag) == "AssetName" && c == ' '));
        if (!ok)
            w.badValue(std::string(tag) + " '" + *v + "' may hold only " +
                       (upperOnly ? "A-Z and 0-9" : "A-Z, a-z, 0-9, '-' and '_'"));
    }
    w.obj(oid).set(tag, *v);
    w.reply(oid);
}
void setEnclosureServiceTag(W& w) {
    enclosureText(w, "ServiceTag", nullptr, 10, true);
}
void setEnclosureAssetTag(W& w) {
    enclosureText(w, "AssetTag", "MaxAssetTagLength", 0, false);
}
void setEnclosureAssetName(W& w) {
    enclosureText(w, "AssetName", "MaxAssetNameLength", 0, false);
}

void probes(W& w, bool reset) {
    const int64_t oid = enclosure(w);
    auto list = w.e.children(kind::kProbe, oid);
    if (list.empty()) w.notPossible(label(*w.e.byOid(oid)) + " has no temperature probes");
    long long lo = reset ? 5 : w.number("MinWarning", 0, 255);
    long long hi = reset ? 45 : w.number("MaxWarning", 0, 255);
    for (const Object* p : list) {
        if (reset) break;
        if (lo < p->num("LowEndMinWarning") || lo > p->num("HighEndMinWarning"))
            w.badValue("MinWarning " + std::to_string(lo) + " is outside " +
                       p->get("LowEndMinWarning") + " to " + p->get("HighEndMinWarning"));
        if (hi < p->num("LowEndMaxWarning") || hi > p->num("HighEndMaxWarning"))
            w.badValue("MaxWarning " + std::to_string(hi) + " is outside " +
                       p->get("LowEndMaxWarning") + " to " + p->get("HighEndMaxWarning"));
    }
    if (lo >= hi) w.badValue("MinWarning must be below MaxWarning");
    std::vector<int64_t> oids;
    for (const Object* p : list) oids.push_back(p->oid);
    for (int64_t p : oids) {
        w.obj(p).set("MinWarning", std::to_string(lo));
        w.obj(p).set("MaxWarning", std::to_string(hi));
        w.reply(p);
    }
}
void setEnclosureTempProbes(W& w) {
    probes(w, false);
}
void setEnclosureResetTempProbes(W& w) {
    probes(w, true);
}

void sts(W& w, const char* value) {
    for (const Object* g : w.e.all(kind::kGlobal)) {
        w.obj(g->oid).set("SmartThermalShutdown", value);
        w.reply(g->oid);
    }
}
void setEnclosureEnableSTS(W& w) {
    sts(w, "1");
}
void setEnclosureDisableSTS(W& w) {
    sts(w, "0");
}

// ---- batteries --------------------------------------------------------------

int64_t battery(W& w) {
    const int64_t g = w.ctrlNo();
    return w.numbered("BatteryID", kind::kBattery, g, "battery");
}

void learn(W& w, long long seconds, const char* what) {
    const int64_t oid = battery(w);
    Object& b = w.obj(oid);
    if (b.num("ObjState") != state::kReady || b.num("LearnState") != 0)
        w.notPossible(label(b) + " is not ready for a learn cycle (state " + b.get("ObjState") +
                      ")");
    b.set("LearnState", "1");
    b.set("ObjState", std::to_string(state::kLearning));
    startOp(b, op::kLearn, seconds);
    w.alert(std::string(what) + " started on " + label(*w.e.byOid(oid)), kAlertOpStarted);
    w.reply(oid);
}
void setBatteryStartLearn(W& w) {
    learn(w, 6 * 3600, "Learn cycle");
}
void setBatteryRecondition(W& w) {
    learn(w, 8 * 3600, "Reconditioning");
}

void setBatteryDelayLearn(W& w) {
    const int64_t oid = battery(w);
    if (!w.opt("Days") && !w.opt("Hours"))
        w.fail(status::kMissingIdentifier, "setBatteryDelayLearn needs Days= or Hours=");
    const long long days = w.opt("Days") ? w.number("Days", 0, 7) : 0;
    const long long hours = w.opt("Hours") ? w.number("Hours", 0, 23) : 0;
    Object& b = w.obj(oid);
    if (b.num("LearnMode") != 1) w.notPossible(label(b) + " does not learn automatically");
    const long long delay = days * 24 + hours;
    if (delay > b.num("MaxLearnDelay"))
        w.notPossible("a delay of " + std::to_string(delay) + " hours is beyond the largest of " +
                      b.get("MaxLearnDelay") + " hours");
    b.set("LearnDelay", std::to_string(delay));
    b.set("NextLearnTime", std::to_string(b.num("NextLearnTime") + delay));
    w.reply(oid);
}

void setBatteryLearnMode(W& w) {
    const int64_t oid = battery(w);
    w.obj(oid).set("LearnMode", w.keyword("LearnMode", {"1", "2"}));
    w.reply(oid);
}

// ---- storage-wide settings, connectors ------------------------------------

int64_t globalInfo(W& w) {
    return w.e.all(kind::kGlobal).front()->oid;
}

void setnonzorncertifiedmode(W& w) {
    const std::string mode = w.keyword("mode", {"yes", "no"});
    w.obj(globalInfo(w)).set("NonZornCertifiedMode", mode == "yes" ? "1" : "0");
    w.reply(globalInfo(w));
}

void setCntrlGlobalRescan(W& w) {
    w.alert("All controllers rescanned");
    for (const Object* s : w.e.all(kind::kStorage)) w.reply(s->oid);
}

void setProtectionPolicies(W& w) {
    const std::string type = w.keyword("type", {"ghs", "dhs"});
    const long long count = w.number("hscount", 0, 16);
    const long long warn = w.number("warnlevel", 0, 3);
    const std::string prefix = type == "ghs" ? "GHS" : "DHS";
    std::vector<std::pair<std::string, std::string>> changes{
        {"HotSpareProtectionPolicy", "1"},
        {prefix + "Count", std::to_string(count)},
        {prefix + "WarnLevel", std::to_string(warn)}};
    if (type == "dhs") {
        if (w.opt("Layout")) w.badValue("a dedicated hot spare policy takes no RAID level");
        changes.emplace_back("DHSIncludeGHSInVDState",
                             w.keyword("includeghsinvdstate", {"yes", "no"}) == "yes" ? "1" : "0");
    } else {
        if (w.opt("includeghsinvdstate"))
            w.badValue("includeghsinvdstate belongs to dedicated hot spare policies");
        changes.emplace_back("GHSLayout", w.keyword("Layout", {"4", "64", "128", "512", "2048",
                                                               "262144", "524288"}));
    }
    Object& g = w.obj(globalInfo(w));
    for (const auto& [k, v] : changes) g.set(k, v);
    w.reply(g.oid);
}

void setRemainingRatedWriteEnduranceThreshold(W& w) {
    const std::string type = w.keyword("type", {"sassata", "pciessd"});
    const long long t = w.number("threshold", 1, 100);
    Object& g = w.obj(globalInfo(w));
    g.set(type == "sassata" ? "RRWEThresholdSasSata" : "RRWEThresholdPCIe", std::to_string(t));
    w.reply(g.oid);
}

void setChnlRescan(W& w) {
    const int64_t g = w.ctrlNo();
    const int64_t oid = w.numbered("Channel", kind::kConnector, g, "connector");
    w.alert(label(*w.e.byOid(oid)) + " rescanned");
    w.reply(oid);
}

struct WriteRoute {
    std::string_view name;
    Handler handler;
};

// clang-format off
constexpr std::array kWriteRoutes{
    WriteRoute{"setCntrlRescan",                              setCntrlRescan},
    WriteRoute{"setCntrlResetConfig",                         setCntrlResetConfig},
    WriteRoute{"setCntrlEnableAlarm",                         setCntrlEnableAlarm},
    WriteRoute{"setCntrlDisableAlarm",                        setCntrlDisableAlarm},
    WriteRoute{"setCntrlQuietAlarm",                          setCntrlQuietAlarm},
    WriteRoute{"setCntrlTestAlarm",                           setCntrlTestAlarm},
    WriteRoute{"setCntrlExportLog",                           setCntrlExportLog},
    WriteRoute{"setCntrlRebuildRate",                         setCntrlRebuildRate},
    WriteRoute{"setCntrlBGIRate",                             setCntrlBGIRate},
    WriteRoute{"setCntrlCheckConsistencyRate",                setCntrlCheckConsistencyRate},
    WriteRoute{"setCntrlReconstructRate",                     setCntrlReconstructRate},
    WriteRoute{"setCntrlPatrolReadRate",                      setCntrlPatrolReadRate},
    WriteRoute{"setCntrlClearForeignConfig",                  setCntrlClearForeignConfig},
    WriteRoute{"setCntrlImportForeignConfig",                 setCntrlImportForeignConfig},
    WriteRoute{"setCntrlForcedImportForeignConfig",           setCntrlForcedImportForeignConfig},
    WriteRoute{"setCntrlPatrolReadStop",                      setCntrlPatrolReadStop},
    WriteRoute{"setCntrlPatrolReadStart",                     setCntrlPatrolReadStart},
    WriteRoute{"setCntrlPatrolReadMode",                      setCntrlPatrolReadMode},
    WriteRoute{"setCntrlMode",                                setCntrlMode},
    WriteRoute{"setCntrlAutoConfig",                          setCntrlAutoConfig},
    WriteRoute{"setCntrlCreateVD",                            setCntrlCreateVD},
    WriteRoute{"setCntrlCreateEnhancedCache",                 setCntrlCreateEnhancedCache},
    WriteRoute{"setCntrlChangeProperties",                    setCntrlChangeProperties},
    WriteRoute{"setCntrlDiscardPinnedCache",                  setCntrlDiscardPinnedCache},
    WriteRoute{"setCntrlSecurityKey",                         setCntrlSecurityKey},
    WriteRoute{"setCntrlChangeDriveCache",                    setCntrlChangeDriveCache},
    WriteRoute{"setCntrlUnlockForeignDrives",                 setCntrlUnlockForeignDrives},
    WriteRoute{"setCntrlGlobalRescan",                        setCntrlGlobalRescan},
    WriteRoute{"convertNonRAIDtoRAID",                        convertNonRAIDtoRAID},
    WriteRoute{"convertRAIDtoNonRAID",                        convertRAIDtoNonRAID},
    WriteRoute{"setArrayDiskBlink",                           setArrayDiskBlink},
    WriteRoute{"setArrayDiskUnBlink",                         setArrayDiskUnBlink},
    WriteRoute{"setArrayDiskPrepareToRemove",                 setArrayDiskPrepareToRemove},
    WriteRoute{"setArrayDiskInitialize",                      setArrayDiskInitialize},
    WriteRoute{"setArrayDiskRebuild",                         setArrayDiskRebuild},
    WriteRoute{"setArrayDiskCancelRebuild",                   setArrayDiskCancelRebuild},
    WriteRoute{"setArrayDiskCancelCopyback",                  setArrayDiskCancelCopyback},
    WriteRoute{"setArrayDiskOffline",                         setArrayDiskOffline},
    WriteRoute{"setArrayDiskRemoveDeadSegments",              setArrayDiskRemoveDeadSegments},
    WriteRoute{"setArrayDiskOnline",                          setArrayDiskOnline},
    WriteRoute{"setArrayDiskGlobalHotSpare",                  setArrayDiskGlobalHotSpare},
    WriteRoute{"setArrayDiskClear",                           setArrayDiskClear},
    WriteRoute{"setArrayDiskCancelClear",                     setArrayDiskCancelClear},
    WriteRoute{"setArrayDiskSecureErase",                     setArrayDiskSecureErase},
    WriteRoute{"enableArrayDiskWriteCache",                   enableArrayDiskWriteCache},
    WriteRoute{"disableArrayDiskWriteCache",                  disableArrayDiskWriteCache},
    WriteRoute{"setarraydiskcache",                           setarraydiskcache},
    WriteRoute{"exportDiskReliabilityLog",                    exportDiskReliabilityLog},
    WriteRoute{"setArrayDiskAddToCachePool",                  setArrayDiskAddToCachePool},
    WriteRoute{"setArrayDiskRemoveFromCachePool",             setArrayDiskRemoveFromCachePool},
    WriteRoute{"setArrayDiskReactivateCachePool",             setArrayDiskReactivateCachePool},
    WriteRoute{"setVDCheckConsistency",                       setVDCheckConsistency},
    WriteRoute{"setVDCancelCheckConsistency",                 setVDCancelCheckConsistency},
    WriteRoute{"setVDPauseCheckConsistency",                  setVDPauseCheckConsistency},
    WriteRoute{"setVDResumeCheckConsistency",                 setVDResumeCheckConsistency},
    WriteRoute{"setVDBlink",                                  setVDBlink},
    WriteRoute{"setVDUnBlink",                                setVDUnBlink},
    WriteRoute{"setVDInitialize",                             setVDInitialize},
    WriteRoute{"setVDSlowInitialize",                         setVDInitialize},
    WriteRoute{"setVDFastInitialize",                         setVDFastInitialize},
    WriteRoute{"setVDCancelInitialize",                       setVDCancelInitialize},
    WriteRoute{"setVDCancelBGInitialize",                     setVDCancelBGInitialize},
    WriteRoute{"setVDRecover",                                setVDRecover},
    WriteRoute{"setVDSplitMirrorSet",                         setVDSplitMirrorSet},
    WriteRoute{"setVDUnMirror",                               setVDUnMirror},
    WriteRoute{"setVDFormat",                                 setVDFormat},
    WriteRoute{"setVDClearBadBlocks",                         setVDClearBadBlocks},
    WriteRoute{"setVDDedicatedHotSpare",                      setVDDedicatedHotSpare},
    WriteRoute{"setVDMemberReplace",                          setVDMemberReplace},
    WriteRoute{"setVDdelete",                                 setVDdelete},
    WriteRoute{"setVDReconfigure",                            setVDReconfigure},
    WriteRoute{"setVDAddMissingDisk",                         setVDAddMissingDisk},
    WriteRoute{"setVDEnableTarnCache",                        setVDEnableTarnCache},
    WriteRoute{"setVDDisableTarnCache",                       setVDDisableTarnCache},
    WriteRoute{"setVDReactivateTarnCache",                    setVDReactivateTarnCache},
    WriteRoute{"setTarnCacheDiskOperation",                   setTarnCacheDiskOperation},
    WriteRoute{"setTarnCacheRefresh",                         setTarnCacheRefresh},
    WriteRoute{"setChnlRescan",                               setChnlRescan},
    WriteRoute{"setEnclosureEnableAlarm",                     setEnclosureEnableAlarm},
    WriteRoute{"setEnclosureDisableAlarm",                    setEnclosureDisableAlarm},
    WriteRoute{"setEnclosureBlink",                           setEnclosureBlink},
    WriteRoute{"setEnclosureUnBlink",                         setEnclosureUnBlink},
    WriteRoute{"setEnclosureServiceTag",                      setEnclosureServiceTag},
    WriteRoute{"setEnclosureAssetTag",                        setEnclosureAssetTag},
    WriteRoute{"setEnclosureAssetName",                       setEnclosureAssetName},
    WriteRoute{"setEnclosureTempProbes",                      setEnclosureTempProbes},
    WriteRoute{"setEnclosureResetTempProbes",                 setEnclosureResetTempProbes},
    WriteRoute{"setEnclosureEnableSTS",                       setEnclosureEnableSTS},
    WriteRoute{"setEnclosureDisableSTS",                      setEnclosureDisableSTS},
    WriteRoute{"setBatteryRecondition",                       setBatteryRecondition},
    WriteRoute{"setBatteryStartLearn",                        setBatteryStartLearn},
    WriteRoute{"setBatteryDelayLearn",                        setBatteryDelayLearn},
    WriteRoute{"setBatteryLearnMode",                         setBatteryLearnMode},
    WriteRoute{"setnonzorncertifiedmode",                     setnonzorncertifiedmode},
    WriteRoute{"setProtectionPolicies",                       setProtectionPolicies},
    WriteRoute{"setRemainingRatedWriteEnduranceThreshold",    setRemainingRatedWriteEnduranceThreshold},
};
// clang-format on

const WriteRoute* writeRoute(std::string_view name) {
    for (const WriteRoute& r : kWriteRoutes)
        if (r.name == name) return &r;
    return nullptr;
}

}  // namespace

bool isWriteRequest(std::string_view name) {
    return writeRoute(name) != nullptr;
}

bool runWrite(const Request& req, Estate& e, int64_t now, const std::filesystem::path& dir,
              Answer& answer) {
    const WriteRoute* r = writeRoute(req.name);
    if (!r) return false;
    W w{req, e, now, dir, answer, {}};
    r->handler(w);
    for (int64_t oid : w.answered)
        if (const Object* o = e.byOid(oid)) answer.object(effectiveProps(e, *o));
    return true;
}

}  // namespace kvda
