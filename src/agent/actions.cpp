// The configuration requests' dispatch and the checks several objects share.
#include "actions.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <set>
#include <utility>

#include "os/files.h"

namespace kvda {

namespace actions {

std::string joined(std::initializer_list<std::string_view> words) {
    std::string out;
    for (auto w : words) appendListItem(out, ", ", w);
    return out;
}

bool digitsOnly(std::string_view s) {
    return !s.empty() && s.size() < 19 &&
           std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

uint32_t attrs(const Object& o) {
    return fromMask(o.get("AttributesMask"));
}

void setAttrs(Object& o, uint32_t a) {
    o.set("AttributesMask", toMask(a));
}

bool singleBit(long long v) {
    return v > 0 && v <= 0xffffffffLL && (v & (v - 1)) == 0;
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
    const long long n = std::stoll(digits);
    // compared before it is multiplied, so that no size can overflow
    if (n > largest / unit)
        w.notPossible("size " + text + " is beyond the free space of the disks (at most " +
                      std::to_string(largest) + " bytes)");
    return n * unit;
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

void blink(W& w, int64_t oid, const vk::MethodBit& operation, bool on) {
    if (!canNow(w.e, *w.e.byOid(oid), operation))
        w.notPossible(label(*w.e.byOid(oid)) + " cannot blink in its state");
    Object& o = w.obj(oid);
    o.set("Blinking", on ? "1" : "0");
    w.reply(oid);
}

bool present(const Object& d) {
    return d.num("ObjState") != state::kRemoved;
}

// Conversions and cache settings take a list of disks; without one they
// apply to every disk of the controller that qualifies.
std::vector<int64_t> diskSet(W& w, int64_t g, const std::function<bool(const Object&)>& qualifies,
                             const char* what) {
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

// Export logs are written in the agent's own log directory, under a plain
// file name: a request never chooses where the agent writes.
void exportLog(W& w, const std::string& defaultName, const std::vector<std::string>& lines,
               int64_t oid) {
    std::string name = defaultName;
    if (const std::string* f = w.opt("FileName")) {
        // Either separator, on every system: the same request is refused
        // wherever the agent runs.
        if (f->find_first_of("/\\") != std::string::npos || *f == "." || *f == ".." ||
            f->size() > 100)
            w.badValue("bad FileName '" + *f + "': give a plain file name; logs are written to " +
                       (w.dir / "logs").string());
        name = *f;
    }
    std::replace(name.begin(), name.end(), ':', '_');
    const fs::path path = w.dir / "logs" / name;
    std::string text;
    for (const std::string& l : lines) text += l + "\n";
    // Nothing is followed, so a planted link never makes the agent write
    // elsewhere.
    if (std::string why = vk::os::WriteLogFile(w.dir, "logs", name, text); !why.empty())
        w.fail(status::kStateError, "cannot write " + path.string() + ": " + why);
    w.reply(oid);
    w.answer.object({{"ObjID", std::to_string(oid)}, {"FileName", path.string()}});
}

}  // namespace actions

namespace {

using actions::WriteRoute;

constexpr auto kObjectRoutes = std::to_array<std::span<const WriteRoute> (*)()>(
    {actions::controllerRoutes, actions::vdiskRoutes, actions::diskRoutes, actions::enclosureRoutes,
     actions::batteryRoutes, actions::storageRoutes});

const WriteRoute* writeRoute(std::string_view name) {
    for (auto routes : kObjectRoutes)
        for (const WriteRoute& r : routes())
            if (r.request.name() == name) return &r;
    return nullptr;
}

}  // namespace

bool isWriteRequest(std::string_view name) {
    return writeRoute(name) != nullptr;
}

std::vector<vk::RequestName> writeRequests() {
    std::vector<vk::RequestName> all;
    for (auto routes : kObjectRoutes)
        for (const WriteRoute& r : routes()) all.push_back(r.request);
    return all;
}

bool runWrite(const Request& req, Estate& e, int64_t now, const std::filesystem::path& dir,
              Answer& answer) {
    const WriteRoute* r = writeRoute(req.name);
    if (!r) return false;
    actions::W w{req, e, now, dir, answer, {}};
    r->handler(w);
    for (int64_t oid : w.answered)
        if (const Object* o = e.byOid(oid)) answer.object(effectiveProps(e, *o));
    return true;
}

}  // namespace kvda
