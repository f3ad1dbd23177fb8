// Configuration requests, one source per object (actions_controller.cpp,
// actions_vdisk.cpp, ...): the request being carried out with the estate it
// changes, the checks several objects share, and each object's table of
// request names and handlers. A handler checks everything before it changes
// anything where it can; where it cannot, the store's transaction rolls its
// changes back when it refuses.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent.h"
#include "answer.h"
#include "mechanics.h"
#include "methods.h"

namespace kvda::actions {

namespace fs = std::filesystem;

inline constexpr long long kMiB = 1024LL * 1024;
inline constexpr size_t kMaxDedicatedSpares = 16;

// Alert numbers of configuration events.
inline constexpr int kAlertConfig = 2090;
inline constexpr int kAlertVdCreated = 2080;
inline constexpr int kAlertVdDeleted = 2081;
inline constexpr int kAlertOpStarted = 2084;

std::string joined(std::initializer_list<std::string_view> words);
bool digitsOnly(std::string_view s);

struct W {
    const Request& req;
    Estate& e;
    int64_t now;
    const fs::path& dir;
    Answer& answer;
    std::vector<int64_t> answered;

    [[noreturn]] void fail(int st, std::string msg) const {
        throw RequestError{st, std::move(msg)};
    }
    [[noreturn]] void notPossible(std::string msg) const {
        fail(status::kNotPossible, std::move(msg));
    }
    [[noreturn]] void badValue(std::string msg) const { fail(status::kBadValue, std::move(msg)); }

    const std::string* opt(std::string_view key) const {
        const std::string* v = req.get(key);
        return v && !v->empty() ? v : nullptr;
    }
    const std::string& need(std::string_view key) const {
        const std::string* v = opt(key);
        if (!v) fail(status::kMissingIdentifier, req.name + " needs " + std::string(key) + "=");
        return *v;
    }
    long long number(std::string_view key, long long lo, long long hi) const {
        const std::string& v = need(key);
        if (!digitsOnly(v) || std::stoll(v) < lo || std::stoll(v) > hi)
            badValue("bad " + std::string(key) + " '" + v + "': expected a number from " +
                     std::to_string(lo) + " to " + std::to_string(hi));
        return std::stoll(v);
    }
    // The value of `key`, which must be one of `valid`.
    std::string keyword(std::string_view key, std::initializer_list<std::string_view> valid,
                        bool required = true) const {
        const std::string* v = opt(key);
        if (!v) {
            if (required) need(key);
            return "";
        }
        if (std::find(valid.begin(), valid.end(), *v) == valid.end())
            badValue("bad " + std::string(key) + " '" + *v + "'; valid values: " + joined(valid));
        return *v;
    }

    Object& obj(int64_t oid) { return *e.edit(oid); }
    void reply(int64_t oid) {
        if (std::find(answered.begin(), answered.end(), oid) == answered.end())
            answered.push_back(oid);
    }
    void alert(const std::string& message, int id = kAlertConfig) {
        addAlert(e, now, id, "info", message);
    }

    int64_t ctrlNo() const {
        const std::string& v = need("GlobalNo");
        if (!digitsOnly(v))
            fail(status::kBadIdentifier, "bad GlobalNo '" + v + "': expected a number");
        if (!e.find(kind::kController, std::stoll(v), v))
            fail(status::kNoSuchObject, "no controller " + v);
        return std::stoll(v);
    }
    Object& ctrl() {
        int64_t g = ctrlNo();
        return obj(e.find(kind::kController, g, std::to_string(g))->oid);
    }
    // A controller in RAID mode: only those hold virtual disks and spares.
    Object& raidCtrl() {
        Object& c = ctrl();
        if (c.num("ControllerMode") != 1)
            notPossible("controller " + c.addr + " is in HBA mode and holds no virtual disks");
        return c;
    }
    int64_t find(std::string_view k, int64_t g, const std::string& addr, std::string_view what) {
        const Object* o = e.find(k, g, addr);
        if (!o)
            fail(status::kNoSuchObject,
                 "no " + std::string(what) + " " + addr + " on controller " + std::to_string(g));
        return o->oid;
    }
    int64_t numbered(std::string_view key, std::string_view k, int64_t g, std::string_view what) {
        const std::string& v = need(key);
        if (!digitsOnly(v))
            fail(status::kBadIdentifier,
                 "bad " + std::string(key) + " '" + v + "': expected a number");
        return find(k, g, std::to_string(std::stoll(v)), what);
    }
    int64_t vdisk(int64_t g) {
        return numbered("LogicalDriveNum", kind::kVdisk, g, "virtual disk");
    }
    int64_t disk(int64_t g, std::string_view key) {
        return find(kind::kDisk, g, need(key), "physical disk");
    }
    // A comma-separated list of disks; an absent list is empty unless required.
    std::vector<int64_t> disks(int64_t g, std::string_view key, bool required) {
        std::vector<int64_t> out;
        const std::string* v = required ? &need(key) : opt(key);
        if (!v) return out;
        size_t pos = 0;
        while (pos <= v->size()) {
            size_t end = v->find(',', pos);
            if (end == std::string::npos) end = v->size();
            std::string id = v->substr(pos, end - pos);
            int64_t oid = find(kind::kDisk, g, id, "physical disk");
            if (std::find(out.begin(), out.end(), oid) != out.end())
                badValue("disk " + id + " is listed twice");
            out.push_back(oid);
            pos = end + 1;
        }
        return out;
    }
};

using Handler = void (*)(W&);

struct WriteRoute {
    vk::RequestName request;
    Handler handler;
};

using vk::vkacmd;
namespace method = vk::method;

// Each object's requests.
std::span<const WriteRoute> controllerRoutes();
std::span<const WriteRoute> vdiskRoutes();
std::span<const WriteRoute> diskRoutes();
std::span<const WriteRoute> enclosureRoutes();
std::span<const WriteRoute> batteryRoutes();
std::span<const WriteRoute> storageRoutes();

// ---- shared by several objects (actions.cpp) ----
uint32_t attrs(const Object& o);
void setAttrs(Object& o, uint32_t a);
bool singleBit(long long v);
void requireFree(W& w, const std::vector<int64_t>& list);
// All disks of one kind: media and protocol may not be mixed in one disk group.
void requireSameKind(W& w, const std::vector<int64_t>& list, const Object* like);
// The layout of a request, which the controller must offer.
const RaidLayout& layoutRule(W& w, const Object& ctrl, long long layout);
// A disk count that suits the layout, and the number of spans.
long long checkDiskCount(W& w, const RaidLayout& r, long long n);
// A policy value: one bit that the controller offers in its mask.
std::string policy(W& w, const Object& ctrl, std::string_view tag, std::string_view maskTag,
                   long long preferred);
// Virtual-disk names: letters, digits, blank, '-' and '_', not beginning or
// ending with a blank, within the controller's length and unique on it.
void checkName(W& w, const Object& ctrl, const std::string& name, int64_t self);
// A size in bytes, or with a unit letter b, m or g; "max" is the largest.
long long sizeValue(W& w, const std::string& text, long long largest);
std::string freeDeviceName(const Estate& e);
// The lowest virtual-disk number not in use: controllers reuse the numbers
// of deleted virtual disks.
long long freeVdNumber(const Estate& e, int64_t g);
// Blinks (or stops blinking) an object that can do so now.
void blink(W& w, int64_t oid, const vk::MethodBit& operation, bool on);
bool present(const Object& d);
// Conversions and cache settings take a list of disks; without one they
// apply to every disk of the controller that qualifies.
std::vector<int64_t> diskSet(W& w, int64_t g, const std::function<bool(const Object&)>& qualifies,
                             const char* what);
// Export logs are written in the agent's own log directory, under a plain
// file name: a request never chooses where the agent writes.
void exportLog(W& w, const std::string& defaultName, const std::vector<std::string>& lines,
               int64_t oid);

// ---- virtual disks (actions_vdisk.cpp) ----
void leaveVdisk(Object& d);
// Removes a virtual disk: its members and dedicated spares become ready.
void deleteVdisk(W& w, int64_t vdOid);
// The partition of a virtual disk named `name`, else the virtual disk.
int64_t cacheTarget(W& w, int64_t vdOid, const std::string& name);

}  // namespace kvda::actions
