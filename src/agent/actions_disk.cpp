// Configuration requests of physical disks: blinking, removal, rebuilds,
// hot spares, clearing, erasing, write caches, reliability logs and the
// PCIe cache pool.
#include <algorithm>
#include <array>
#include <span>

#include "actions.h"

namespace kvda::actions {

namespace {

void setArrayDiskBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.disk(g, "adisk"), method::disk::kBlink, true);
}

void setArrayDiskUnBlink(W& w) {
    int64_t g = w.ctrlNo();
    blink(w, w.disk(g, "adisk"), method::disk::kUnblink, false);
}

int64_t raidDisk(W& w, std::string_view key = "adisk") {
    const int64_t g = w.raidCtrl().ctrl;
    return w.disk(g, key);
}

// Refuses unless the disk can carry out the operation now; `what` names the
// states that would allow it.
void requireDiskNow(W& w, int64_t oid, const vk::MethodBit& operation, const char* what) {
    const Object& d = *w.e.byOid(oid);
    if (!canNow(w.e, d, operation))
        w.notPossible("disk " + d.addr + " is not " + what + " (state " + d.get("ObjState") + ")");
}

void setArrayDiskPrepareToRemove(W& w) {
    const int64_t oid = w.disk(w.ctrlNo(), "adisk");
    if (attrs(*w.e.byOid(oid)) & (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare))
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is a hot spare; unassign it first");
    requireDiskNow(w, oid, method::disk::kRemove, "ready, failed, offline or non-RAID");
    Object& d = w.obj(oid);
    d.set("ObjState", std::to_string(state::kRemoved));
    const std::string vd = d.get("_vd");
    w.alert(label(d) + " is ready for removal");
    if (!vd.empty()) refreshVdisk(w.e, w.now, std::atoll(vd.c_str()));
    w.reply(oid);
}

void setArrayDiskInitialize(W& w) {
    const int64_t oid = raidDisk(w);
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kInitialize))
        w.notPossible(whyNotFree(*w.e.byOid(oid)));
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
    if (w.e.byOid(vd)->num("ObjState") == state::kFailed)
        w.notPossible(label(*w.e.byOid(vd)) + " has failed: there is no data to rebuild from");
    requireDiskNow(w, oid, method::disk::kRebuild, "failed or offline");
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
    requireDiskNow(w, oid, method::disk::kCancelRebuild, "rebuilding");
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
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kCancelReplaceMember))
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is not replacing a member");
    Object& d = w.obj(oid);
    cancelOp(d);
    d.set("ReplacingMember", "0");
    d.erase("_copyfrom");
    setAttrs(d, attrs(d) & ~diskattr::kHidden);
    w.alert("Member replacement cancelled on " + label(d));
    w.reply(oid);
}

void setArrayDiskOffline(W& w) {
    const int64_t oid = raidDisk(w);
    requireDiskNow(w, oid, method::disk::kOffline, "online");
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
    requireDiskNow(w, oid, method::disk::kOnline, "offline");
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
    requireDiskNow(w, oid, method::disk::kRemoveDeadSegments, "ready or online");
    w.alert("Dead segments removed on " + label(*w.e.byOid(oid)));
    w.reply(oid);
}

void setArrayDiskGlobalHotSpare(W& w) {
    const int64_t oid = raidDisk(w);
    const std::string set = w.keyword("set", {"yes", "no"});
    if (set == "no") {
        if (!canNow(w.e, *w.e.byOid(oid), method::disk::kUnassignGlobalHotSpare))
            w.notPossible("disk " + w.e.byOid(oid)->addr + " is not a global hot spare");
        Object& d = w.obj(oid);
        setAttrs(d, attrs(d) & ~diskattr::kGlobalHotSpare);
        w.reply(oid);
        return;
    }
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kAssignGlobalHotSpare))
        w.notPossible(whyNotFree(*w.e.byOid(oid)));
    Object& d = w.obj(oid);
    setAttrs(d, attrs(d) | diskattr::kGlobalHotSpare);
    w.reply(oid);
    useNewSpare(w.e, w.now, oid);
}

void setArrayDiskClear(W& w) {
    const int64_t oid = raidDisk(w);
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kClear))
        w.notPossible(whyNotFree(*w.e.byOid(oid)));
    Object& d = w.obj(oid);
    d.set("Clearing", "1");
    startOp(d, op::kClear, mebibytes(d));
    w.alert("Clear started on " + label(d), kAlertOpStarted);
    w.reply(oid);
}

void setArrayDiskCancelClear(W& w) {
    const int64_t oid = raidDisk(w);
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kCancelClear))
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is not being cleared");
    Object& d = w.obj(oid);
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
    const bool disk = d.kind == kind::kDisk;
    if (!canNow(w.e, d, disk ? method::disk::kSecureErase : method::nvme::kCryptographicErase)) {
        if (d.num("ISECapable") != 1)
            w.notPossible(label(d) + " cannot be erased cryptographically");
        if (d.num("ObjState") == state::kReady) w.notPossible(whyNotFree(d));
        w.notPossible("disk " + d.addr + " is not ready, non-RAID or foreign (state " +
                      d.get("ObjState") + ")");
    }
    Object& x = w.obj(oid);
    x.set("Locked", "0");
    if (x.num("ObjState") == state::kForeign) x.set("ObjState", std::to_string(state::kReady));
    w.alert("Cryptographic erase completed on " + label(x));
    w.reply(oid);
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

void exportDiskReliabilityLog(W& w) {
    const int64_t oid = diskOrAdapter(w);
    const Object& d = *w.e.byOid(oid);
    if (!canNow(w.e, d,
                d.kind == kind::kDisk ? method::disk::kExportLog : method::nvme::kExportLog))
        w.notPossible(d.num("MediaType") != media::kSsd
                          ? "disk " + d.addr + " keeps no reliability log (not a solid-state disk)"
                          : label(d) + " is not present");
    std::vector<std::string> lines{"Reliability log of " + label(d), "Time: " + formatClock(w.now)};
    for (const auto& [k, v] : d.props)
        if (!k.starts_with('_')) lines.push_back(k + ": " + v);
    exportLog(w, d.kind + "-" + std::to_string(d.ctrl) + "-" + d.addr + "-reliability.log", lines,
              oid);
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
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kAddToCachePool))
        w.notPossible(w.e.byOid(oid)->num("InCachePool") == 1
                          ? "disk " + w.e.byOid(oid)->addr + " is already in the cache pool"
                          : whyNotFree(*w.e.byOid(oid)));
    Object& d = w.obj(oid);
    d.set("InCachePool", "1");
    const long long len = d.num("Length");
    w.reply(oid);
    poolLength(w, len);
}

void setArrayDiskRemoveFromCachePool(W& w) {
    const int64_t oid = pcieDevice(w);
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kRemoveFromCachePool))
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is not in the cache pool");
    Object& d = w.obj(oid);
    d.set("InCachePool", "0");
    const long long len = d.num("Length");
    w.reply(oid);
    poolLength(w, -len);
}

void setArrayDiskReactivateCachePool(W& w) {
    const int64_t oid = pcieDevice(w);
    if (!canNow(w.e, *w.e.byOid(oid), method::disk::kReactivate))
        w.notPossible("disk " + w.e.byOid(oid)->addr + " is not a failed member of the cache pool");
    Object& d = w.obj(oid);
    d.set("ObjState", std::to_string(state::kReady));
    w.reply(oid);
}

// clang-format off
constexpr std::array kRoutes{
    WriteRoute{vkacmd.setArrayDiskBlink,               setArrayDiskBlink},
    WriteRoute{vkacmd.setArrayDiskUnBlink,             setArrayDiskUnBlink},
    WriteRoute{vkacmd.setArrayDiskPrepareToRemove,     setArrayDiskPrepareToRemove},
    WriteRoute{vkacmd.setArrayDiskInitialize,          setArrayDiskInitialize},
    WriteRoute{vkacmd.setArrayDiskRebuild,             setArrayDiskRebuild},
    WriteRoute{vkacmd.setArrayDiskCancelRebuild,       setArrayDiskCancelRebuild},
    WriteRoute{vkacmd.setArrayDiskCancelCopyback,      setArrayDiskCancelCopyback},
    WriteRoute{vkacmd.setArrayDiskOffline,             setArrayDiskOffline},
    WriteRoute{vkacmd.setArrayDiskRemoveDeadSegments,  setArrayDiskRemoveDeadSegments},
    WriteRoute{vkacmd.setArrayDiskOnline,              setArrayDiskOnline},
    WriteRoute{vkacmd.setArrayDiskGlobalHotSpare,      setArrayDiskGlobalHotSpare},
    WriteRoute{vkacmd.setArrayDiskClear,               setArrayDiskClear},
    WriteRoute{vkacmd.setArrayDiskCancelClear,         setArrayDiskCancelClear},
    WriteRoute{vkacmd.setArrayDiskSecureErase,         setArrayDiskSecureErase},
    WriteRoute{vkacmd.enableArrayDiskWriteCache,       enableArrayDiskWriteCache},
    WriteRoute{vkacmd.disableArrayDiskWriteCache,      disableArrayDiskWriteCache},
    WriteRoute{vkacmd.setarraydiskcache,               setarraydiskcache},
    WriteRoute{vkacmd.exportDiskReliabilityLog,        exportDiskReliabilityLog},
    WriteRoute{vkacmd.setArrayDiskAddToCachePool,      setArrayDiskAddToCachePool},
    WriteRoute{vkacmd.setArrayDiskRemoveFromCachePool, setArrayDiskRemoveFromCachePool},
    WriteRoute{vkacmd.setArrayDiskReactivateCachePool, setArrayDiskReactivateCachePool},
};
// clang-format on

}  // namespace

std::span<const WriteRoute> diskRoutes() {
    return kRoutes;
}

}  // namespace kvda::actions
