// The storage estate in memory: objects of every kind with their properties,
// the codes and bits they carry, and the values derived from their state.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vocabulary.h"

namespace kvda {

// Object kinds as stored and answered ("ObjType"); the tool and the
// profiles use the same names.
namespace kind = vk::objtype;

// Object states ("ObjState").
namespace state {
inline constexpr int kReady = 1;
inline constexpr int kFailed = 2;
inline constexpr int kOnline = 4;
inline constexpr int kOffline = 8;
inline constexpr int kDegraded = 16;
inline constexpr int kRebuilding = 32;
inline constexpr int kRemoved = 64;
inline constexpr int kNonRaid = 128;
inline constexpr int kForeign = 256;
inline constexpr int kLearning = 1024;
}  // namespace state

// "MediaType" and "BusProtocol".
namespace media {
inline constexpr int kHdd = 1;
inline constexpr int kSsd = 2;
}  // namespace media
namespace bus {
inline constexpr int kScsi = 1;
inline constexpr int kSata = 7;
inline constexpr int kSas = 8;
inline constexpr int kPcie = 9;  // NVMe and PCIe solid-state devices
}  // namespace bus

// "AttributesMask" bits of disks and controllers.
namespace diskattr = vk::diskattr;
namespace ctrlattr = vk::ctrlattr;

// RAID layouts ("Layout"; a controller's "RAIDLevelsMask" is the OR of those
// it offers).
namespace raidlevel {
inline constexpr uint32_t kConcat = 1;
inline constexpr uint32_t kR0 = 2;
inline constexpr uint32_t kR1 = 4;
inline constexpr uint32_t kR5 = 64;
inline constexpr uint32_t kR6 = 128;
inline constexpr uint32_t kR10 = 512;
inline constexpr uint32_t kR50 = 2048;
inline constexpr uint32_t kR1c = 4096;
inline constexpr uint32_t kR60 = 262144;
inline constexpr uint32_t kR1e = 524288;
}  // namespace raidlevel

// What a RAID layout asks of its disks and what a set of them holds.
struct RaidLayout {
    uint32_t code;
    std::string_view name;
    int minDisks;       // the fewest disks a new virtual disk of it takes
    int offeredFrom;    // the fewest disks the capability query offers it for
    bool mirrored;      // half the disks hold copies, so sets (and spans) are even
    bool spanned;       // striped over spans of another layout
    int minPerSpan;     // spanned: the fewest disks in one span
    uint32_t spanCode;  // spanned: the layout each span shows
    int parity;         // disks' worth of parity in a set, per span when spanned

    // How many disks' worth of capacity `n` disks in `spans` spans give.
    constexpr long long dataDisks(long long n, long long spans) const {
        return mirrored ? n / 2 : n - parity * (spanned ? spans : 1);
    }
    // The layout a span shows. A profile may split an unspanned layout into
    // spans: such spans show RAID 6.
    constexpr uint32_t spanLayout(long long spans) const {
        return spans <= 1 ? code : spanned ? spanCode : raidlevel::kR6;
    }
    // Parity layouts start a background initialization when created.
    constexpr bool backgroundInit() const { return parity > 0; }
};

// clang-format off
inline constexpr std::array kRaidLayouts{
    //         code                name                   min offered mirrored spanned perSpan span             parity
    RaidLayout{raidlevel::kConcat, "concatenation",       1,  1,      false,   false,  0,      0,               0},
    RaidLayout{raidlevel::kR0,     "RAID 0",              1,  1,      false,   false,  0,      0,               0},
    RaidLayout{raidlevel::kR1,     "RAID 1",              2,  2,      true,    false,  0,      0,               0},
    RaidLayout{raidlevel::kR5,     "RAID 5",              3,  3,      false,   false,  0,      0,               1},
    RaidLayout{raidlevel::kR6,     "RAID 6",              4,  4,      false,   false,  0,      0,               2},
    RaidLayout{raidlevel::kR10,    "RAID 10",             4,  4,      true,    true,   2,      raidlevel::kR1,  0},
    RaidLayout{raidlevel::kR50,    "RAID 50",             6,  6,      false,   true,   3,      raidlevel::kR5,  1},
    RaidLayout{raidlevel::kR1c,    "RAID 1 concatenated", 2,  2,      true,    false,  0,      0,               0},
    RaidLayout{raidlevel::kR60,    "RAID 60",             8,  8,      false,   true,   4,      raidlevel::kR6,  2},
    RaidLayout{raidlevel::kR1e,    "RAID 1E",             3,  3,      true,    false,  0,      0,               0},
};
// clang-format on

// The smallest virtual disk, in bytes.
inline constexpr long long kMinimumVdLength = 100LL * 1024 * 1024;

// The row of a layout code; nullptr for a code that is no layout.
const RaidLayout* findLayout(long long code);

using Props = std::vector<std::pair<std::string, std::string>>;

// One stored object. Property names starting with '_' are the estate's own
// bookkeeping (links, counters) and never appear in answers.
struct Object {
    int64_t oid = 0;
    std::string kind;
    int64_t ctrl = -1;  // GlobalNo of the owning controller, -1 for none
    int64_t parent = 0;
    std::string addr;  // the address users type, unique per kind and controller
    Props props;
    std::map<std::string, std::string, std::less<>> overrides;

    const std::string* find(std::string_view tag) const;
    // The value answered for tag: an override, else the property; null when
    // absent. No copy: mask derivation reads dozens of tags per object.
    const std::string* value(std::string_view tag) const;
    std::string get(std::string_view tag) const;  // empty when absent
    long long num(std::string_view tag) const;    // 0 when absent or not a number
    void set(std::string_view tag, std::string value);
    void erase(std::string_view tag);
};

// What the method masks of a controller need to know of its disks.
struct DiskSummary {
    bool readyFree = false, ready = false, foreign = false, nonRaid = false;
    // Counts a disk in.
    void add(const Object& disk);
    // Nothing more to learn from further disks.
    bool settled() const { return readyFree && ready && foreign && nonRaid; }
};

// What the store keeps of an object beside its properties, so that queries
// select by them without reading properties: the effective "ObjState" and
// "AttributesMask" (overrides win), and whether time changes the object
// (1: an operation runs; 2: a virtual disk that shows its members' rebuild).
struct Columns {
    int64_t state = 0;
    uint32_t attrs = 0;
    int busy = 0;
};
Columns columnsOf(const Object& o);

// Properties as the store keeps them: each tag (as a small number when it is
// a common one) and value preceded by its length, so that reading an object
// is one short pass over its own bytes.
std::string encodeProps(const Props& props);
// False for bytes that are no encoded properties.
bool decodeProps(std::string_view bytes, Props& out);

// Which objects a query selects. The store answers it with an indexed
// query; an estate held in memory answers it from its own indexes.
struct Query {
    enum class By { kOid, kAddress, kKind, kKindCtrl, kParent, kParentKind, kBusy, kAll };
    By by = By::kAll;
    std::string_view kind{};
    int64_t ctrl = -1;
    int64_t parent = 0;
    std::string_view addr{};
    int64_t oid = 0;
    // The same selection made on an object in memory.
    bool matches(const Object& o) const;
};

// One object as stored; the views are valid during the call that gets it.
struct StoredRow {
    int64_t oid;
    std::string_view kind;
    int64_t ctrl;
    int64_t parent;
    std::string_view addr;
    std::string_view props;
};

// Where an estate read lazily finds its objects: the store, inside the
// transaction of one request. Rows come in any order.
class ObjectSource {
  public:
    virtual ~ObjectSource() = default;
    virtual void select(const Query& q, const std::function<void(const StoredRow&)>& row) = 0;
    virtual int64_t count(std::string_view kind, int64_t ctrl) = 0;
    // Up to `limit` ObjIDs of the controller's disks in `state`, only those
    // that are no hot spare when `free` is set.
    virtual std::vector<int64_t> disksInState(int64_t ctrl, int64_t state, bool free,
                                              int64_t limit) = 0;
};

using Overrides = std::map<std::string, std::string, std::less<>>;

// The estate: held completely in memory (built from a profile), or read
// from the store object by object as queries need them, with the changes
// made since kept apart until the store writes them. Every list is in
// ObjID order, which is the order objects were added in. Object pointers
// stay valid until the object is removed.
class Estate {
  public:
    // Simulated time (seconds since the estate was created) as stored, and
    // the wall clock (milliseconds) at which it was stored.
    int64_t simTime = 0;
    int64_t wallAnchor = 0;
    // The ObjID the next new object gets: ObjIDs are never reused.
    int64_t nextOid = 1;

    Estate() = default;
    // Read from `source`; `overrides` are the stored overrides by ObjID.
    Estate(ObjectSource& source, std::unordered_map<int64_t, Overrides> overrides);
    Estate(const Estate&) = delete;
    Estate& operator=(const Estate&) = delete;
    Estate(Estate&&) noexcept = default;
    Estate& operator=(Estate&&) noexcept = default;

    // Appends a new object (ObjID, ObjType and GlobalNo set).
    Object& add(std::string_view kind, int64_t ctrl, int64_t parent, std::string addr);
    // Removes an object; false when it does not exist.
    bool remove(int64_t oid);
    const Object* byOid(int64_t oid) const;
    Object* edit(int64_t oid);
    const Object* find(std::string_view kind, int64_t ctrl, std::string_view addr) const;
    std::vector<const Object*> all(std::string_view kind) const;
    std::vector<const Object*> of(std::string_view kind, int64_t ctrl) const;
    std::vector<const Object*> children(std::string_view kind, int64_t parent) const;
    // Children of every kind.
    std::vector<const Object*> children(int64_t parent) const;
    std::vector<const Object*> everything() const;
    // Objects with an operation running, and virtual disks showing progress.
    std::vector<const Object*> busy() const;
    int64_t count(std::string_view kind, int64_t ctrl) const;
    // The summary of a controller's disks from indexed queries (or kept
    // until the estate changes, in memory): answering a controller must not
    // walk all its disks.
    const DiskSummary& diskSummary(int64_t ctrl) const;

    // The changes since the estate was read or last written.
    struct Changes {
        std::vector<const Object*> added, edited;
        std::vector<int64_t> removed;
    };
    Changes changes() const;
    // The store wrote the changes: they are the stored state now.
    void markWritten();

  private:
    struct Removed {
        std::string kind;
        int64_t ctrl;
    };
    std::vector<const Object*> select(const Query& q) const;
    std::vector<const Object*> selectInMemory(const Query& q) const;
    const Object& load(const StoredRow& row) const;
    bool clean() const { return added_.empty() && edited_.empty() && removed_.empty(); }
    void changed();
    void catchUp() const;

    ObjectSource* source_ = nullptr;  // none: every object is in memory
    std::unordered_map<int64_t, Overrides> storedOverrides_;
    // Objects loaded or added, by ObjID (all of them without a source).
    mutable std::map<int64_t, Object> objects_;
    // An address as views of the object's own strings, which stay in place
    // while it exists: indexing an object copies no string.
    struct AddrKey {
        std::string_view kind;
        int64_t ctrl;
        std::string_view addr;
        bool operator==(const AddrKey&) const = default;
    };
    struct AddrHash {
        size_t operator()(const AddrKey& k) const noexcept;
    };
    // Kind and controller, found by views of them.
    using KindCtrl = std::pair<std::string, int64_t>;
    struct KindCtrlLess {
        using is_transparent = void;
        static std::pair<std::string_view, int64_t> view(const KindCtrl& k) {
            return {k.first, k.second};
        }
        static std::pair<std::string_view, int64_t> view(std::pair<std::string_view, int64_t> k) {
            return k;
        }
        template <class A, class B>
        bool operator()(const A& a, const B& b) const {
            return view(a) < view(b);
        }
    };
    // Addresses of objects in memory (all of them without a source).
    mutable std::unordered_map<AddrKey, int64_t, AddrHash> byAddr_;
    // Without a source: lists in ObjID order, of the objects up to
    // `indexedTo_`.
    mutable std::map<KindCtrl, std::vector<Object*>, KindCtrlLess> byKindCtrl_;
    mutable std::unordered_map<int64_t, std::vector<Object*>> byParent_;
    mutable int64_t indexedTo_ = 0;
    // With a source: what changed since it was read.
    std::set<int64_t> added_, edited_;
    std::map<int64_t, Removed> removed_;
    // Answers kept while nothing changed.
    mutable std::unordered_map<std::string, std::vector<const Object*>> memo_;
    mutable std::unordered_map<int64_t, DiskSummary> summaries_;
};

std::string toMask(uint32_t value);
uint32_t fromMask(std::string_view text);

// The properties an answer shows for an object: stored ones, then derived
// ones (method masks) computed from the effective state, then overrides.
Props effectiveProps(const Estate& estate, const Object& obj);

}  // namespace kvda
