// The storage estate in memory: objects of every kind with their properties,
// the codes and bits they carry, and the values derived from their state.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kvda {

// Object kinds as stored; the tool and the profiles use the same names.
namespace kind {
inline constexpr std::string_view kStorage = "storage";
inline constexpr std::string_view kGlobal = "globalinfo";
inline constexpr std::string_view kCachePool = "cachepool";
inline constexpr std::string_view kController = "controller";
inline constexpr std::string_view kConnector = "connector";
inline constexpr std::string_view kEnclosure = "enclosure";
inline constexpr std::string_view kFan = "fan";
inline constexpr std::string_view kPowerSupply = "pwrsupply";
inline constexpr std::string_view kEmm = "emm";
inline constexpr std::string_view kProbe = "tempprobe";
inline constexpr std::string_view kDisk = "pdisk";
inline constexpr std::string_view kTape = "tape";
inline constexpr std::string_view kVdisk = "vdisk";
inline constexpr std::string_view kSpan = "span";
inline constexpr std::string_view kPartition = "partition";
inline constexpr std::string_view kCachedLun = "cachedlun";
inline constexpr std::string_view kBattery = "battery";
inline constexpr std::string_view kNvme = "nvmeadapter";
inline constexpr std::string_view kAlert = "alert";
}  // namespace kind

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

// "AttributesMask" bits of disks.
namespace diskattr {
inline constexpr uint32_t kGlobalHotSpare = 0x1;
inline constexpr uint32_t kVdMember = 0x2;
inline constexpr uint32_t kHidden = 0x80;  // not offered in lists of valid disks
inline constexpr uint32_t kDedicatedHotSpare = 0x100;
inline constexpr uint32_t kInEnclosure = 0x400;
inline constexpr uint32_t kCacheCade = 0x800;
}  // namespace diskattr

// "AttributesMask" bits of controllers.
namespace ctrlattr {
inline constexpr uint32_t kFixedDiskCachePolicy = 0x80000;  // no disk cache policy, no VD names
inline constexpr uint32_t kSecurityCapable = 0x800000;
inline constexpr uint32_t kSecurityKeyPresent = 0x1000000;
inline constexpr uint32_t kSecureForeignImport = 0x8000000;
inline constexpr uint32_t kKeyManagement = 0x20000000;
inline constexpr uint32_t kCacheCade = 0x40000000;
}  // namespace ctrlattr

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
};

class Estate {
  public:
    std::vector<Object> objects;  // in insertion order: the order of every list
    // Simulated time (seconds since the estate was created) as stored, and
    // the wall clock (milliseconds) at which it was stored.
    int64_t simTime = 0;
    int64_t wallAnchor = 0;
    // The ObjID the next new object gets: ObjIDs are never reused.
    int64_t nextOid = 1;

    Estate() = default;
    // A copy indexes its own objects (the index holds pointers into them).
    Estate(const Estate& other);
    Estate& operator=(const Estate& other);
    Estate(Estate&&) noexcept = default;
    Estate& operator=(Estate&&) noexcept = default;

    void index();
    // Appends a new object (ObjID, ObjType and GlobalNo set) and re-indexes.
    Object& add(std::string_view kind, int64_t ctrl, int64_t parent, std::string addr);
    // Removes an object; false when it does not exist.
    bool remove(int64_t oid);
    const Object* byOid(int64_t oid) const;
    Object* edit(int64_t oid);
    const Object* find(std::string_view kind, int64_t ctrl, std::string_view addr) const;
    std::vector<const Object*> all(std::string_view kind) const;
    std::vector<const Object*> of(std::string_view kind, int64_t ctrl) const;
    std::vector<const Object*> children(std::string_view kind, int64_t parent) const;
    // The summary of a controller's disks, kept until the estate is changed
    // through add, remove or edit: answering a controller must not walk a
    // thousand disks every time.
    const DiskSummary& diskSummary(int64_t ctrl) const;

  private:
    void indexOne(size_t i);
    mutable std::unordered_map<int64_t, DiskSummary> summaries_;
    std::unordered_map<int64_t, size_t> byOid_;
    std::unordered_map<std::string, size_t> byAddr_;
    // Objects by kind, and by kind and controller, in list order.
    std::unordered_map<std::string, std::vector<const Object*>> byKind_;
    std::unordered_map<std::string, std::vector<const Object*>> byKindCtrl_;
};

std::string toMask(uint32_t value);
uint32_t fromMask(std::string_view text);

// The properties an answer shows for an object: stored ones, then derived
// ones (method masks) computed from the effective state, then overrides.
Props effectiveProps(const Estate& estate, const Object& obj);

}  // namespace kvda
