// The storage estate in memory: objects of every kind with their properties,
// the codes and bits they carry, and the values derived from their state.
#pragma once

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
    std::map<std::string, std::string> overrides;

    const std::string* find(std::string_view tag) const;
    std::string get(std::string_view tag) const;  // empty when absent
    long long num(std::string_view tag) const;    // 0 when absent or not a number
    void set(std::string_view tag, std::string value);
    void erase(std::string_view tag);
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

  private:
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
