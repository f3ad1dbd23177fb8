// Configuration requests of enclosures: alarms, blinking, asset data and
// temperature probes.
#include <algorithm>
#include <array>
#include <span>

#include "actions.h"

namespace kvda::actions {

namespace {

int64_t enclosure(W& w) {
    const int64_t g = w.ctrlNo();
    return w.find(kind::kEnclosure, g, w.need("Enclosure"), "enclosure");
}

void enclosureAlarm(W& w, const vk::MethodBit& operation, bool on) {
    const int64_t oid = enclosure(w);
    const Object& e = *w.e.byOid(oid);
    if (!canNow(w.e, e, operation))
        w.notPossible(label(e) + (e.num("AlarmPresent") != 1 ? " has no alarm"
                                  : on                       ? ": the alarm is already enabled"
                                                             : ": the alarm is already disabled"));
    w.obj(oid).set("AlarmState", on ? "1" : "0");
    w.reply(oid);
}

void setEnclosureEnableAlarm(W& w) {
    enclosureAlarm(w, method::enclosure::kEnableAlarm, true);
}

void setEnclosureDisableAlarm(W& w) {
    enclosureAlarm(w, method::enclosure::kDisableAlarm, false);
}

void setEnclosureBlink(W& w) {
    blink(w, enclosure(w), method::enclosure::kBlink, true);
}

void setEnclosureUnBlink(W& w) {
    blink(w, enclosure(w), method::enclosure::kUnblink, false);
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
    if (!canNow(w.e, *w.e.byOid(oid), method::enclosure::kAllTempProbes))
        w.notPossible(label(*w.e.byOid(oid)) + " has no temperature probes");
    auto list = w.e.children(kind::kProbe, oid);
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

// clang-format off
constexpr std::array kRoutes{
    WriteRoute{vkacmd.setEnclosureEnableAlarm,     setEnclosureEnableAlarm},
    WriteRoute{vkacmd.setEnclosureDisableAlarm,    setEnclosureDisableAlarm},
    WriteRoute{vkacmd.setEnclosureBlink,           setEnclosureBlink},
    WriteRoute{vkacmd.setEnclosureUnBlink,         setEnclosureUnBlink},
    WriteRoute{vkacmd.setEnclosureServiceTag,      setEnclosureServiceTag},
    WriteRoute{vkacmd.setEnclosureAssetTag,        setEnclosureAssetTag},
    WriteRoute{vkacmd.setEnclosureAssetName,       setEnclosureAssetName},
    WriteRoute{vkacmd.setEnclosureTempProbes,      setEnclosureTempProbes},
    WriteRoute{vkacmd.setEnclosureResetTempProbes, setEnclosureResetTempProbes},
};
// clang-format on

}  // namespace

std::span<const WriteRoute> enclosureRoutes() {
    return kRoutes;
}

}  // namespace kvda::actions
