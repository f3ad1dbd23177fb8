// The estate's objects: held in memory with indexes, or read from the store
// as queries need them, with the changes kept apart until they are written.
#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

#include "model.h"

namespace kvda {

namespace {

// Room made for an object's properties at once: a disk has 23.
constexpr size_t kTypicalProps = 24;

std::string addrKey(std::string_view kind, int64_t ctrl, std::string_view addr) {
    std::string key(kind);
    key += '|';
    key += std::to_string(ctrl);
    key += '|';
    key += addr;
    return key;
}

// A query as a key of the answers kept while nothing changes.
std::string memoKey(const Query& q) {
    std::string key = std::to_string(static_cast<int>(q.by));
    key += '|';
    key += addrKey(q.kind, q.ctrl, q.addr);
    key += '|';
    key += std::to_string(q.parent);
    key += '|';
    key += std::to_string(q.oid);
    return key;
}

void appendLength(std::string& out, size_t n) {
    while (n >= 0x80) {
        out += static_cast<char>((n & 0x7f) | 0x80);
        n >>= 7;
    }
    out += static_cast<char>(n);
}

bool readLength(std::string_view bytes, size_t& pos, size_t& n) {
    n = 0;
    for (int shift = 0; shift < 35; shift += 7) {
        if (pos >= bytes.size()) return false;
        const auto b = static_cast<unsigned char>(bytes[pos++]);
        n |= static_cast<size_t>(b & 0x7f) << shift;
        if (!(b & 0x80)) return true;
    }
    return false;
}

}  // namespace

namespace {

// Tags most objects carry, stored as their position here instead of their
// name: an object's bytes shrink by half. Append only: stored estates refer
// to these positions.
// clang-format off
constexpr auto kStoredTags = std::to_array<std::string_view>({
    "ObjID", "ObjType", "GlobalNo", "Name", "ObjState", "AttributesMask", "Channel", "TargetID",
    "EnclosureID", "BusProtocol", "MediaType", "Length", "Vendor", "ProductID", "SerialNo",
    "FirmwareVer", "IsDeviceNVME", "ISECapable", "WriteCache", "diskwritecachepolicy",
    "InCachePool", "Clearing", "ReplacingMember", "LogicalDriveNum", "Layout", "StripeSize",
    "ReadPolicy", "WritePolicy", "CachePolicy", "DiskCachePolicy", "DeviceName", "SpanCount",
    "IsSSC", "Secured", "PIEnabled", "TarnCache", "CCState", "InitState", "ReconfigState", "SpanID",
    "Index", "Speed", "Watts", "Reading", "MinWarning", "MaxWarning", "MinFailure", "MaxFailure",
    "LowEndMinWarning", "HighEndMinWarning", "LowEndMaxWarning", "HighEndMaxWarning", "SlotCount",
    "EnclosureType", "ServiceTag", "AssetTag", "AssetName", "MaxAssetTagLength",
    "MaxAssetNameLength", "AlarmPresent", "AlarmState", "Progress", "_vd", "_span", "_op",
    "_opwork", "_opdone", "_dhs", "_members", "AlertID", "Severity", "Time", "Message", "BatteryID",
    "LearnState", "LearnMode", "MaxLearnDelay", "NextLearnTime", "Charge", "PartitionPath",
});
// clang-format on

// The position of a stored tag, or none.
std::optional<size_t> storedTag(std::string_view tag) {
    static const std::unordered_map<std::string_view, size_t> positions = [] {
        std::unordered_map<std::string_view, size_t> out;
        for (size_t i = 0; i < kStoredTags.size(); ++i) out.emplace(kStoredTags[i], i);
        return out;
    }();
    auto it = positions.find(tag);
    return it == positions.end() ? std::nullopt : std::optional<size_t>(it->second);
}

}  // namespace

// Each property: a number that is twice a stored tag's position plus one, or
// twice the length of the tag's name followed by the name; then the length
// of the value and the value.
std::string encodeProps(const Props& props) {
    std::string out;
    size_t size = 0;
    for (const auto& [k, v] : props) size += v.size() + 4;
    out.reserve(size);
    for (const auto& [k, v] : props) {
        if (std::optional<size_t> code = storedTag(k)) {
            appendLength(out, *code * 2 + 1);
        } else {
            appendLength(out, k.size() * 2);
            out += k;
        }
        appendLength(out, v.size());
        out += v;
    }
    return out;
}

bool decodeProps(std::string_view bytes, Props& out) {
    out.clear();
    size_t pos = 0;
    while (pos < bytes.size()) {
        size_t n = 0;
        if (!readLength(bytes, pos, n) || n == 0) return false;
        std::string_view tag;
        if (n % 2) {
            if (n / 2 >= kStoredTags.size()) return false;
            tag = kStoredTags[n / 2];
        } else {
            if (n / 2 > bytes.size() - pos) return false;
            tag = bytes.substr(pos, n / 2);
            pos += n / 2;
        }
        if (!readLength(bytes, pos, n) || n > bytes.size() - pos) return false;
        out.emplace_back(tag, bytes.substr(pos, n));
        pos += n;
    }
    return true;
}

Columns columnsOf(const Object& o) {
    Columns c;
    c.state = o.num("ObjState");
    const std::string* attrs = o.value("AttributesMask");
    c.attrs = attrs ? fromMask(*attrs) : 0;
    if (o.find("_op"))
        c.busy = 1;
    else if (o.kind == kind::kVdisk && (c.state == state::kRebuilding || o.find("Progress")))
        c.busy = 2;
    return c;
}

void DiskSummary::add(const Object& d) {
    const long long st = d.num("ObjState");
    ready |= st == state::kReady;
    foreign |= st == state::kForeign;
    nonRaid |= st == state::kNonRaid;
    if (st == state::kReady && !readyFree) {
        const std::string* attrs = d.value("AttributesMask");
        readyFree = !(fromMask(attrs ? *attrs : std::string_view()) &
                      (diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare));
    }
}

bool Query::matches(const Object& o) const {
    switch (by) {
        case By::kOid:
            return o.oid == oid;
        case By::kAddress:
            return o.kind == kind && o.ctrl == ctrl && o.addr == addr;
        case By::kKind:
            return o.kind == kind;
        case By::kKindCtrl:
            return o.kind == kind && o.ctrl == ctrl;
        case By::kParent:
            return o.parent == parent;
        case By::kParentKind:
            return o.parent == parent && o.kind == kind;
        case By::kBusy:
            return columnsOf(o).busy != 0;
        case By::kAll:
            return true;
    }
    return false;
}

Estate::Estate(ObjectSource& source, std::unordered_map<int64_t, Overrides> overrides)
    : source_(&source), storedOverrides_(std::move(overrides)) {}

void Estate::changed() {
    memo_.clear();
    summaries_.clear();
}

size_t Estate::AddrHash::operator()(const AddrKey& k) const noexcept {
    auto mix = [](size_t h, size_t v) {
        return h ^ (v + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
    };
    size_t h = std::hash<std::string_view>{}(k.addr);
    h = mix(h, std::hash<std::string_view>{}(k.kind));
    return mix(h, std::hash<int64_t>{}(k.ctrl));
}

// Objects held in memory are indexed when a query first needs them: an
// estate built only to be stored is never indexed at all.
void Estate::catchUp() const {
    if (source_) return;
    for (auto it = objects_.upper_bound(indexedTo_); it != objects_.end(); ++it) {
        Object& o = it->second;
        byAddr_[AddrKey{o.kind, o.ctrl, o.addr}] = o.oid;
        auto list = byKindCtrl_.find(std::pair<std::string_view, int64_t>(o.kind, o.ctrl));
        if (list == byKindCtrl_.end())
            list = byKindCtrl_.emplace(KindCtrl(o.kind, o.ctrl), std::vector<Object*>{}).first;
        list->second.push_back(&o);
        byParent_[o.parent].push_back(&o);
        indexedTo_ = o.oid;
    }
}

Object& Estate::add(std::string_view k, int64_t ctrl, int64_t parent, std::string addr) {
    changed();
    Object o;
    o.props.reserve(kTypicalProps);
    o.oid = nextOid++;
    o.kind = std::string(k);
    o.ctrl = ctrl;
    o.parent = parent;
    o.addr = std::move(addr);
    o.props.emplace_back("ObjID", std::to_string(o.oid));
    o.props.emplace_back("ObjType", std::string(k));
    if (ctrl >= 0 && k != kind::kController) o.props.emplace_back("GlobalNo", std::to_string(ctrl));
    const int64_t oid = o.oid;
    // ObjIDs grow: a new object goes at the end
    Object& added = objects_.emplace_hint(objects_.end(), oid, std::move(o))->second;
    if (source_) {
        byAddr_[AddrKey{added.kind, added.ctrl, added.addr}] = oid;
        added_.insert(oid);
    }
    return added;
}

bool Estate::remove(int64_t oid) {
    const Object* o = byOid(oid);
    if (!o) return false;
    changed();
    catchUp();
    byAddr_.erase(AddrKey{o->kind, o->ctrl, o->addr});
    if (!source_) {
        std::erase(byKindCtrl_.find(std::pair<std::string_view, int64_t>(o->kind, o->ctrl))->second,
                   o);
        std::erase(byParent_[o->parent], o);
    } else if (added_.erase(oid) == 0) {
        removed_.emplace(oid, Removed{o->kind, o->ctrl});
        edited_.erase(oid);
    }
    objects_.erase(oid);
    return true;
}

const Object& Estate::load(const StoredRow& row) const {
    auto it = objects_.find(row.oid);
    if (it != objects_.end()) return it->second;
    Object o;
    o.oid = row.oid;
    o.kind = std::string(row.kind);
    o.ctrl = row.ctrl;
    o.parent = row.parent;
    o.addr = std::string(row.addr);
    if (!decodeProps(row.props, o.props))
        throw std::runtime_error("the properties of object " + std::to_string(row.oid) +
                                 " are damaged");
    if (auto ov = storedOverrides_.find(row.oid); ov != storedOverrides_.end())
        o.overrides = ov->second;
    const Object& loaded = objects_.emplace(row.oid, std::move(o)).first->second;
    byAddr_.emplace(AddrKey{loaded.kind, loaded.ctrl, loaded.addr}, loaded.oid);
    return loaded;
}

std::vector<const Object*> Estate::selectInMemory(const Query& q) const {
    catchUp();
    auto list = [](const auto& index, const auto& key) {
        auto it = index.find(key);
        return it == index.end() ? std::vector<const Object*>{}
                                 : std::vector<const Object*>(it->second.begin(), it->second.end());
    };
    std::vector<const Object*> out;
    switch (q.by) {
        case Query::By::kOid:
            if (auto it = objects_.find(q.oid); it != objects_.end()) out.push_back(&it->second);
            return out;
        case Query::By::kAddress:
            if (auto it = byAddr_.find(AddrKey{q.kind, q.ctrl, q.addr}); it != byAddr_.end())
                out.push_back(&objects_.at(it->second));
            return out;
        case Query::By::kKind:
            // the lists of every controller, merged
            for (auto it = byKindCtrl_.lower_bound(
                     std::pair<std::string_view, int64_t>(q.kind, INT64_MIN));
                 it != byKindCtrl_.end() && it->first.first == q.kind; ++it)
                out.insert(out.end(), it->second.begin(), it->second.end());
            std::sort(out.begin(), out.end(),
                      [](const Object* a, const Object* b) { return a->oid < b->oid; });
            return out;
        case Query::By::kKindCtrl:
            return list(byKindCtrl_, std::pair<std::string_view, int64_t>(q.kind, q.ctrl));
        case Query::By::kParent:
            return list(byParent_, q.parent);
        case Query::By::kParentKind:
            out = list(byParent_, q.parent);
            std::erase_if(out, [&](const Object* o) { return o->kind != q.kind; });
            return out;
        case Query::By::kBusy:
        case Query::By::kAll:
            for (const auto& [oid, o] : objects_)
                if (q.matches(o)) out.push_back(&o);
            return out;
    }
    return out;
}

std::vector<const Object*> Estate::select(const Query& q) const {
    if (!source_) return selectInMemory(q);
    const bool keep = clean();
    std::string key;
    if (keep) {
        key = memoKey(q);
        if (auto it = memo_.find(key); it != memo_.end()) return it->second;
    }
    std::vector<const Object*> out;
    // What changed is judged in memory: stored rows of removed objects are
    // gone, and a changed object may have left or joined the busy ones.
    const bool judgeEdited = q.by == Query::By::kBusy;
    source_->select(q, [&](const StoredRow& row) {
        if (removed_.count(row.oid) || (judgeEdited && edited_.count(row.oid))) return;
        out.push_back(&load(row));
    });
    auto consider = [&](int64_t oid) {
        const Object& o = objects_.at(oid);
        if (q.matches(o)) out.push_back(&o);
    };
    for (int64_t oid : added_) consider(oid);
    if (judgeEdited)
        for (int64_t oid : edited_) consider(oid);
    // every list is in ObjID order, the order objects were added in
    auto byOid = [](const Object* a, const Object* b) { return a->oid < b->oid; };
    if (!std::is_sorted(out.begin(), out.end(), byOid)) std::sort(out.begin(), out.end(), byOid);
    if (keep) memo_.emplace(std::move(key), out);
    return out;
}

const Object* Estate::byOid(int64_t oid) const {
    if (auto it = objects_.find(oid); it != objects_.end()) return &it->second;
    if (!source_ || removed_.count(oid)) return nullptr;
    auto list = select({.by = Query::By::kOid, .oid = oid});
    return list.empty() ? nullptr : list.front();
}

Object* Estate::edit(int64_t oid) {
    const Object* o = byOid(oid);
    if (!o) return nullptr;
    changed();
    if (source_ && !added_.count(oid)) edited_.insert(oid);
    return &objects_.at(oid);
}

const Object* Estate::find(std::string_view kind, int64_t ctrl, std::string_view addr) const {
    catchUp();
    if (auto it = byAddr_.find(AddrKey{kind, ctrl, addr}); it != byAddr_.end())
        return &objects_.at(it->second);
    if (!source_) return nullptr;
    auto list = select({.by = Query::By::kAddress, .kind = kind, .ctrl = ctrl, .addr = addr});
    return list.empty() ? nullptr : list.front();
}

std::vector<const Object*> Estate::all(std::string_view kind) const {
    return select({.by = Query::By::kKind, .kind = kind});
}

std::vector<const Object*> Estate::of(std::string_view kind, int64_t ctrl) const {
    return select({.by = Query::By::kKindCtrl, .kind = kind, .ctrl = ctrl});
}

std::vector<const Object*> Estate::children(std::string_view kind, int64_t parent) const {
    return select({.by = Query::By::kParentKind, .kind = kind, .parent = parent});
}

std::vector<const Object*> Estate::children(int64_t parent) const {
    return select({.by = Query::By::kParent, .parent = parent});
}

std::vector<const Object*> Estate::everything() const {
    return select({.by = Query::By::kAll});
}

std::vector<const Object*> Estate::busy() const {
    return select({.by = Query::By::kBusy});
}

int64_t Estate::count(std::string_view kind, int64_t ctrl) const {
    if (!source_) {
        catchUp();
        auto it = byKindCtrl_.find(std::pair<std::string_view, int64_t>(kind, ctrl));
        return it == byKindCtrl_.end() ? 0 : static_cast<int64_t>(it->second.size());
    }
    int64_t n = source_->count(kind, ctrl);
    for (const auto& [oid, r] : removed_) n -= r.kind == kind && r.ctrl == ctrl;
    for (int64_t oid : added_) {
        const Object& o = objects_.at(oid);
        n += o.kind == kind && o.ctrl == ctrl;
    }
    return n;
}

const DiskSummary& Estate::diskSummary(int64_t ctrl) const {
    if (auto it = summaries_.find(ctrl); it != summaries_.end()) return it->second;
    DiskSummary s;
    if (!source_) {
        for (const Object* d : of(kind::kDisk, ctrl)) {
            s.add(*d);
            if (s.settled()) break;
        }
    } else {
        // Stored disks answer by an indexed query; a stored disk counts only
        // while unchanged, changed and added ones are judged in memory.
        const auto limit = static_cast<int64_t>(edited_.size() + removed_.size()) + 1;
        auto stored = [&](int64_t st, bool free) {
            for (int64_t oid : source_->disksInState(ctrl, st, free, limit))
                if (!edited_.count(oid) && !removed_.count(oid)) return true;
            return false;
        };
        s.ready = stored(state::kReady, false);
        s.readyFree = s.ready && stored(state::kReady, true);
        s.foreign = stored(state::kForeign, false);
        s.nonRaid = stored(state::kNonRaid, false);
        for (const auto& ids : {&added_, &edited_})
            for (int64_t oid : *ids) {
                const Object& o = objects_.at(oid);
                if (o.kind == kind::kDisk && o.ctrl == ctrl) s.add(o);
            }
    }
    return summaries_.emplace(ctrl, s).first->second;
}

Estate::Changes Estate::changes() const {
    Changes c;
    for (int64_t oid : added_) c.added.push_back(&objects_.at(oid));
    for (int64_t oid : edited_) c.edited.push_back(&objects_.at(oid));
    for (const auto& [oid, r] : removed_) c.removed.push_back(oid);
    return c;
}

void Estate::markWritten() {
    added_.clear();
    edited_.clear();
    removed_.clear();
    changed();
}

}  // namespace kvda
