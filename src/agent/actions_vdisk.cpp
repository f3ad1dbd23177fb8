// Configuration requests of virtual disks: operations, cancels, blinking,
// mirrors, hot spares, member replacement, reconfiguration and the tarn
// cache of virtual disks and their partitions.
#include <algorithm>
#include <array>
#include <span>

#include "actions.h"

namespace kvda::actions {

void leaveVdisk(Object& d) {
    setAttrs(d, attrs(d) & ~(diskattr::kVdMember | diskattr::kCacheCade | diskattr::kHidden));
    for (auto tag : {"_vd", "_span", "_revert", "_copyfrom"}) d.erase(tag);
    if (d.num("ObjState") == state::kOnline || d.num("ObjState") == state::kRebuilding)
        d.set("ObjState", std::to_string(state::kReady));
    if (d.get("_op") == op::kRebuild || d.get("_op") == op::kCopyback) cancelOp(d);
    d.set("ReplacingMember", "0");
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
    for (const Object* o : w.e.children(vdOid)) gone.push_back(o->oid);
    for (const Object* l : w.e.of(kind::kCachedLun, g))
        if (l->get("LogicalDriveNum") == num) gone.push_back(l->oid);
    gone.push_back(vdOid);
    for (int64_t oid : gone) w.e.remove(oid);
    std::erase_if(w.answered, [&](int64_t oid) { return !w.e.byOid(oid); });
    w.alert(lbl + " deleted", kAlertVdDeleted);
}

int64_t cacheTarget(W& w, int64_t vdOid, const std::string& name) {
    for (const Object* p : w.e.children(kind::kPartition, vdOid))
        if (p->get("PartitionPath") == name) return p->oid;
    return vdOid;
}

namespace {

void setVDdelete(W& w) {
    int64_t g = w.ctrlNo();
    deleteVdisk(w, w.vdisk(g));
}

int64_t readyVdisk(W& w, int64_t& g) {
    g = w.ctrlNo();
    int64_t vd = w.vdisk(g);
    return vd;
}

// Refuses unless the virtual disk can carry out the operation now, saying
// why not: its state, another operation running, or no redundancy.
void requireVdNow(W& w, int64_t vdOid, const vk::MethodBit& operation) {
    const Object& vd = *w.e.byOid(vdOid);
    if (canNow(w.e, vd, operation)) return;
    const long long st = vd.num("ObjState");
    if (st != state::kReady)
        w.notPossible(label(vd) + " is " +
                      (st == state::kFailed       ? "failed"
                       : st == state::kDegraded   ? "degraded"
                       : st == state::kRebuilding ? "rebuilding"
                                                  : "not ready"));
    if (busy(vd))
        w.notPossible(label(vd) + " is busy with another operation (" + vd.get("_op") + ", " +
                      vd.get("Progress") + "%)");
    if (!redundant(vd)) w.notPossible(label(vd) + " has no redundancy for that");
    w.notPossible(label(vd) + " cannot do that in its state");
}

void vdOperation(W& w, const vk::MethodBit& operation, std::string_view name,
                 std::string_view stateTag, const char* value, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdNow(w, vdOid, operation);
    const Object& vd = *w.e.byOid(vdOid);
    const long long work = smallestLength(w.e, memberOids(vd)) / kMiB;
    Object& v = w.obj(vdOid);
    v.set(stateTag, value);
    startOp(v, name, work);
    w.alert(std::string(what) + " started on " + label(v), kAlertOpStarted);
    w.reply(vdOid);
}

void setVDCheckConsistency(W& w) {
    vdOperation(w, method::vdisk::kCheckConsistency, op::kCheck, "CCState", "1",
                "Check consistency");
}

void setVDInitialize(W& w) {
    vdOperation(w, method::vdisk::kInitialize, op::kInit, "InitState", "1", "Initialization");
}

void setVDSlowInitialize(W& w) {
    vdOperation(w, method::vdisk::kSlowInit, op::kInit, "InitState", "1", "Initialization");
}

void setVDFastInitialize(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    requireVdNow(w, vdOid, method::vdisk::kFastInit);
    w.alert("Fast initialization completed on " + label(*w.e.byOid(vdOid)));
    w.reply(vdOid);
}

// Stops an operation of a virtual disk that shows in `tag`.
void vdCancel(W& w, const vk::MethodBit& operation, std::string_view tag, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    if (!canNow(w.e, *w.e.byOid(vdOid), operation))
        w.notPossible(label(*w.e.byOid(vdOid)) + " has no " + what + " running");
    Object& vd = w.obj(vdOid);
    vd.set(tag, "0");
    cancelOp(vd);
    w.alert(std::string(what) + " cancelled on " + label(vd));
    w.reply(vdOid);
}

void setVDCancelCheckConsistency(W& w) {
    vdCancel(w, method::vdisk::kCancelCheckConsistency, "CCState", "check consistency");
}

void setVDCancelInitialize(W& w) {
    vdCancel(w, method::vdisk::kCancelInitialize, "InitState", "initialization");
}

void setVDCancelBGInitialize(W& w) {
    vdCancel(w, method::vdisk::kCancelBgInitialize, "InitState", "background initialization");
}

void ccPause(W& w, const vk::MethodBit& operation, bool pause, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    if (!canNow(w.e, *w.e.byOid(vdOid), operation))
        w.notPossible(label(*w.e.byOid(vdOid)) + " has no " + (pause ? "running" : "paused") +
                      " check consistency");
    Object& vd = w.obj(vdOid);
    vd.set("CCState", pause ? "2" : "1");
    w.alert(std::string("Check consistency ") + what + " on " + label(vd));
    w.reply(vdOid);
}

void setVDPauseCheckConsistency(W& w) {
    ccPause(w, method::vdisk::kPauseCheckConsistency, true, "paused");
}

void setVDResumeCheckConsistency(W& w) {
    ccPause(w, method::vdisk::kResumeCheckConsistency, false, "resumed");
}

void setVDBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.vdisk(g), method::vdisk::kBlink, true);
}

void setVDUnBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.vdisk(g), method::vdisk::kUnblink, false);
}

// Requests that act on the data of a virtual disk without changing its
// shape: recorded in the alert log.
void vdService(W& w, const vk::MethodBit& operation, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    if (!canNow(w.e, *w.e.byOid(vdOid), operation))
        w.notPossible(label(*w.e.byOid(vdOid)) + " is failed");
    Object& vd = w.obj(vdOid);
    if (std::string_view(what) == "Bad blocks cleared") vd.set("BadBlocks", "0");
    w.alert(std::string(what) + " on " + label(vd));
    w.reply(vdOid);
}

void setVDRecover(W& w) {
    vdService(w, method::vdisk::kRestoreSegments, "Segments restored");
}

void setVDFormat(W& w) {
    vdService(w, method::vdisk::kFormat, "Formatted");
}

void setVDClearBadBlocks(W& w) {
    vdService(w, method::vdisk::kClearBadBlocks, "Bad blocks cleared");
}

// A two-disk mirror splits into two single-disk virtual disks, or drops its
// second disk.
void mirror(W& w, bool split) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    const Object& vd = *w.e.byOid(vdOid);
    auto members = memberOids(vd);
    if (vd.num("Layout") != raidlevel::kR1 || members.size() != 2)
        w.notPossible(label(vd) + " is not a two-disk mirror");
    requireVdNow(w, vdOid, split ? method::vdisk::kSplitMirror : method::vdisk::kUnmirror);
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
    if (!canNow(w.e, vd, method::vdisk::kAssignDedicatedHotSpare))
        w.notPossible(label(vd) + (redundant(vd)
                                       ? " is failed"
                                       : " has no redundancy: a hot spare cannot serve it"));
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
    requireVdNow(w, vdOid, method::vdisk::kReplaceMember);
    const int64_t src = w.disk(g, "sourceadisk");
    const int64_t dst = w.disk(g, "destinationadisk");
    const Object& vd = *w.e.byOid(vdOid);
    auto members = memberOids(vd);
    if (std::find(members.begin(), members.end(), src) == members.end())
        w.notPossible("disk " + w.e.byOid(src)->addr + " is not a member of " + label(vd));
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
    if (w.e.byOid(vdOid)->num("ObjState") == state::kFailed)
        w.notPossible(label(*w.e.byOid(vdOid)) + " is failed");
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
    if (!canNow(w.e, *w.e.byOid(vdOid), method::vdisk::kRename))
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
    if (!canNow(w.e, vd, method::vdisk::kSecure))
        w.notPossible(vd.num("Secured") == 1 ? label(vd) + " is already secured"
                                             : "controller " + c.addr + " has no security key");
    for (int64_t m : memberOids(vd))
        if (w.e.byOid(m)->num("Encrypted") != 1)
            w.notPossible("disk " + w.e.byOid(m)->addr + " of " + label(vd) +
                          " is not self-encrypting");
    w.obj(vdOid).set("Secured", "1");
}

void reconstruct(W& w, int64_t vdOid) {
    const Object& vd = *w.e.byOid(vdOid);
    requireVdNow(w, vdOid,
                 vd.num("IsSSC") == 1 ? method::vdisk::kResize : method::vdisk::kReconfigure);
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
        if (!canNow(w.e, *w.e.byOid(vdOid), method::vdisk::kChangePolicy))
            w.notPossible(label(*w.e.byOid(vdOid)) + " is failed");
        changePolicies(w, vdOid);
    }
    w.reply(vdOid);
}

// The cache operation of a virtual disk, or of one of its partitions.
const vk::MethodBit& cacheOperation(const Object& target, const vk::MethodBit& ofVdisk,
                                    const vk::MethodBit& ofPartition) {
    return target.kind == kind::kPartition ? ofPartition : ofVdisk;
}

void setVDEnableTarnCache(W& w) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    if (w.e.byOid(vdOid)->num("ObjState") == state::kFailed)
        w.notPossible(label(*w.e.byOid(vdOid)) + " is failed");
    const std::string name = w.need("Name");
    const std::string mode = w.need("CacheLunMode");
    const int64_t target = cacheTarget(w, vdOid, name);
    if (!canNow(w.e, *w.e.byOid(target),
                cacheOperation(*w.e.byOid(target), method::vdisk::kEnableCache,
                               method::partition::kEnableCache)))
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

void tarnCacheState(W& w, const vk::MethodBit& ofVdisk, const vk::MethodBit& ofPartition,
                    long long to, const char* what) {
    int64_t g = 0;
    const int64_t vdOid = readyVdisk(w, g);
    const std::string name = w.need("Name");
    const int64_t target = cacheTarget(w, vdOid, name);
    if (!canNow(w.e, *w.e.byOid(target), cacheOperation(*w.e.byOid(target), ofVdisk, ofPartition)))
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
    tarnCacheState(w, method::vdisk::kDisableCache, method::partition::kDisableCache, 0, "enabled");
}

void setVDReactivateTarnCache(W& w) {
    tarnCacheState(w, method::vdisk::kReactivateCache, method::partition::kReactivateCache, 1,
                   "failed");
}

// clang-format off
constexpr std::array kRoutes{
    WriteRoute{vkacmd.setVDCheckConsistency,       setVDCheckConsistency},
    WriteRoute{vkacmd.setVDCancelCheckConsistency, setVDCancelCheckConsistency},
    WriteRoute{vkacmd.setVDPauseCheckConsistency,  setVDPauseCheckConsistency},
    WriteRoute{vkacmd.setVDResumeCheckConsistency, setVDResumeCheckConsistency},
    WriteRoute{vkacmd.setVDBlink,                  setVDBlink},
    WriteRoute{vkacmd.setVDUnBlink,                setVDUnBlink},
    WriteRoute{vkacmd.setVDInitialize,             setVDInitialize},
    WriteRoute{vkacmd.setVDSlowInitialize,         setVDSlowInitialize},
    WriteRoute{vkacmd.setVDFastInitialize,         setVDFastInitialize},
    WriteRoute{vkacmd.setVDCancelInitialize,       setVDCancelInitialize},
    WriteRoute{vkacmd.setVDCancelBGInitialize,     setVDCancelBGInitialize},
    WriteRoute{vkacmd.setVDRecover,                setVDRecover},
    WriteRoute{vkacmd.setVDSplitMirrorSet,         setVDSplitMirrorSet},
    WriteRoute{vkacmd.setVDUnMirror,               setVDUnMirror},
    WriteRoute{vkacmd.setVDFormat,                 setVDFormat},
    WriteRoute{vkacmd.setVDClearBadBlocks,         setVDClearBadBlocks},
    WriteRoute{vkacmd.setVDDedicatedHotSpare,      setVDDedicatedHotSpare},
    WriteRoute{vkacmd.setVDMemberReplace,          setVDMemberReplace},
    WriteRoute{vkacmd.setVDdelete,                 setVDdelete},
    WriteRoute{vkacmd.setVDReconfigure,            setVDReconfigure},
    WriteRoute{vkacmd.setVDAddMissingDisk,         setVDAddMissingDisk},
    WriteRoute{vkacmd.setVDEnableTarnCache,        setVDEnableTarnCache},
    WriteRoute{vkacmd.setVDDisableTarnCache,       setVDDisableTarnCache},
    WriteRoute{vkacmd.setVDReactivateTarnCache,    setVDReactivateTarnCache},
};
// clang-format on

}  // namespace

std::span<const WriteRoute> vdiskRoutes() {
    return kRoutes;
}

}  // namespace kvda::actions
