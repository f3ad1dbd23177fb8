// Configuration requests of controllers: virtual-disk creation and
// automatic configuration, alarms, rates, settings, patrol reads, modes,
// disk conversions, foreign configurations, the event log and security keys.
#include <algorithm>
#include <array>
#include <span>

#include "actions.h"
#include "key_check.h"

namespace kvda::actions {

namespace {

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

// The user gives any of protocol, read policy and write policy: no protocol
// means the disks of every protocol, and every policy given is applied.
void setCntrlChangeDriveCache(W& w) {
    const int64_t g = w.ctrlNo();
    const std::string proto = w.keyword("BusProtocol", {"7", "8"}, false);
    struct Change {
        const char* tag;
        const char* value;
    };
    std::vector<Change> changes;
    for (const auto& [key, cmd] : w.req.params) {
        if (key != "Command") continue;
        if (cmd != "90" && cmd != "91" && cmd != "92" && cmd != "93")
            w.badValue("bad Command '" + cmd + "'; valid values: 90, 91, 92, 93");
        changes.push_back({cmd == "90" || cmd == "91" ? "WriteCache" : "ReadCache",
                           cmd == "90" || cmd == "92" ? "1" : "0"});
    }
    if (changes.empty()) w.notPossible("neither a read nor a write cache policy was given");
    std::vector<int64_t> list;
    for (const Object* d : w.e.of(kind::kDisk, g))
        if ((proto.empty() || d->get("BusProtocol") == proto) && present(*d))
            list.push_back(d->oid);
    if (list.empty())
        w.notPossible("controller " + std::to_string(g) +
                      (proto.empty() ? " has no disk" : " has no disk of that protocol"));
    for (int64_t oid : list) {
        Object& d = w.obj(oid);
        for (const Change& c : changes) d.set(c.tag, c.value);
        w.reply(oid);
    }
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

void setCntrlExportLog(W& w) {
    const Object& c = w.ctrl();
    std::vector<std::string> lines{"Event log of " + label(c), "Time: " + formatClock(w.now)};
    for (const Object* a : w.e.all(kind::kAlert))
        lines.push_back(a->get("Time") + " " + a->get("AlertID") + " " + a->get("Severity") + " " +
                        a->get("Message"));
    exportLog(w, "controller-" + c.addr + ".log", lines, c.oid);
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
    // Pass phrases are never kept; the check value lets a change test the old one.
    std::string key = c.get("_keydigest");
    if (old) {
        passphrase(w, "OldPassphrase");
        if (mode == 1 && !phraseMatches(w.need("OldPassphrase"), key))
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
        what = "local key changed", key = keyCheckValue(w.need("Passphrase"));
    } else if (pass) {
        if (mode == 1)
            w.notPossible("controller " + c.addr + " already has a local key; change it instead");
        if (mode == 2 && rekey != "2")
            w.notPossible("controller " + c.addr +
                          " uses the external key manager; switch to a local key");
        next = 1, what = mode == 2 ? "switched to a local key" : "local key created";
        key = keyCheckValue(w.need("Passphrase"));
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

// clang-format off
constexpr std::array kRoutes{
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
    WriteRoute{"convertNonRAIDtoRAID",                        convertNonRAIDtoRAID},
    WriteRoute{"convertRAIDtoNonRAID",                        convertRAIDtoNonRAID},
};
// clang-format on

}  // namespace

std::span<const WriteRoute> controllerRoutes() {
    return kRoutes;
}

}  // namespace kvda::actions
