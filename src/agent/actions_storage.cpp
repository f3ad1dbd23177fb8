// Configuration requests of the storage as a whole: rescans, thermal
// shutdown, modes, hot-spare protection policies, write-endurance
// thresholds, cached LUNs and connectors.
#include <algorithm>
#include <array>
#include <span>

#include "actions.h"

namespace kvda::actions {

namespace {

void setCntrlGlobalRescan(W& w) {
    w.alert("All controllers rescanned");
    for (const Object* s : w.e.all(kind::kStorage)) w.reply(s->oid);
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

int64_t globalInfo(W& w) {
    return w.e.all(kind::kGlobal).front()->oid;
}

void setnonzorncertifiedmode(W& w) {
    const std::string mode = w.keyword("mode", {"yes", "no"});
    w.obj(globalInfo(w)).set("NonZornCertifiedMode", mode == "yes" ? "1" : "0");
    w.reply(globalInfo(w));
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

void setTarnCacheRefresh(W& w) {
    w.keyword("ObjType", {"Tarn Cache", "partition"});
    for (const Object* p : w.e.all(kind::kCachePool)) w.reply(p->oid);
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

void setChnlRescan(W& w) {
    const int64_t g = w.ctrlNo();
    const int64_t oid = w.numbered("Channel", kind::kConnector, g, "connector");
    w.alert(label(*w.e.byOid(oid)) + " rescanned");
    w.reply(oid);
}

// clang-format off
constexpr std::array kRoutes{
    WriteRoute{vkacmd.setCntrlGlobalRescan,                     setCntrlGlobalRescan},
    WriteRoute{vkacmd.setTarnCacheDiskOperation,                setTarnCacheDiskOperation},
    WriteRoute{vkacmd.setTarnCacheRefresh,                      setTarnCacheRefresh},
    WriteRoute{vkacmd.setChnlRescan,                            setChnlRescan},
    WriteRoute{vkacmd.setEnclosureEnableSTS,                    setEnclosureEnableSTS},
    WriteRoute{vkacmd.setEnclosureDisableSTS,                   setEnclosureDisableSTS},
    WriteRoute{vkacmd.setnonzorncertifiedmode,                  setnonzorncertifiedmode},
    WriteRoute{vkacmd.setProtectionPolicies,                    setProtectionPolicies},
    WriteRoute{vkacmd.setRemainingRatedWriteEnduranceThreshold, setRemainingRatedWriteEnduranceThreshold},
};
// clang-format on

}  // namespace

std::span<const WriteRoute> storageRoutes() {
    return kRoutes;
}

}  // namespace kvda::actions
