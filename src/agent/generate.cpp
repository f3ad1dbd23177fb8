// Profiles made from a few numbers, for estates of any size (benchmarks,
// load tests): RAID controllers whose connectors hold shelves filled with
// disks, optionally after the controllers of a shipped profile.
#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "answer.h"
#include "profile.h"
#include "sqlite.h"

namespace kvda {

namespace {

using nlohmann::json;

struct Key {
    std::string_view name;
    long long min, max, def;
    std::string_view meaning;
};

// The numeric keys; `base` and `media` are words.
// clang-format off
constexpr auto kKeys = std::to_array<Key>({
    {"controllers", 1, 64,        1,  "RAID controllers made"},
    {"disks",       0, 1 << 20,   16, "disks on each of them"},
    {"vdisks",      0, 4096,      0,  "two-disk RAID 1 virtual disks on each"},
    {"slots",       1, 256,       60, "slots of each shelf"},
});
// clang-format on
constexpr std::array<std::string_view, 2> kMedia{"hdd", "ssd"};

// A connector holds up to this many shelves; a controller up to 64 connectors.
constexpr long long kShelvesPerConnector = 64;
constexpr long long kConnectors = 64;
constexpr long long kDisksPerGroup = 4096;  // the largest disk group of a profile

std::string validKeys() {
    std::string out = "base";
    for (const Key& k : kKeys) appendListItem(out, ", ", k.name);
    appendListItem(out, ", ", "media");
    return out;
}

// One connector with `disks` disks in shelves of `slots`.
json connector(long long disks, long long slots, const std::string& media, long long count) {
    json groups = json::array();
    for (long long left = disks; left > 0; left -= kDisksPerGroup)
        groups.push_back(
            {{"count", std::min(left, kDisksPerGroup)}, {"media", media}, {"protocol", "sas"}});
    json c{{"protocol", "sas"}, {"disk_groups", groups}};
    if (count > 1) c["count"] = count;
    if (disks > 0)
        c["enclosures"] = json::array(
            {{{"type", "shelf"}, {"count", (disks + slots - 1) / slots}, {"slots", slots}}});
    return c;
}

}  // namespace

std::string generateProfile(const std::string& spec) {
    std::array<long long, kKeys.size()> value{};
    for (size_t i = 0; i < kKeys.size(); ++i) value[i] = kKeys[i].def;
    std::string base, media = "hdd";
    auto bad = [&](const std::string& what) { return Error("--generate " + spec + ": " + what); };
    size_t pos = 0;
    while (pos <= spec.size()) {
        size_t end = spec.find(',', pos);
        if (end == std::string::npos) end = spec.size();
        const std::string item = spec.substr(pos, end - pos);
        pos = end + 1;
        const size_t eq = item.find('=');
        if (eq == std::string::npos || eq == 0 || eq + 1 == item.size())
            throw bad("'" + item + "' is not key=value; valid keys: " + validKeys());
        const std::string key = item.substr(0, eq), text = item.substr(eq + 1);
        if (key == "base") {
            base = text;
            continue;
        }
        if (key == "media") {
            if (std::find(kMedia.begin(), kMedia.end(), text) == kMedia.end())
                throw bad("media '" + text + "' is not hdd or ssd");
            media = text;
            continue;
        }
        auto k =
            std::find_if(kKeys.begin(), kKeys.end(), [&](const Key& r) { return r.name == key; });
        if (k == kKeys.end()) throw bad("unknown key '" + key + "'; valid keys: " + validKeys());
        long long n = 0;
        auto r = std::from_chars(text.data(), text.data() + text.size(), n);
        if (r.ec != std::errc() || r.ptr != text.data() + text.size() || n < k->min || n > k->max)
            throw bad(key + " '" + text + "' is not a number from " + std::to_string(k->min) +
                      " to " + std::to_string(k->max) + " (" + std::string(k->meaning) + ")");
        value[static_cast<size_t>(k - kKeys.begin())] = n;
    }
    const long long controllers = value[0], disks = value[1], vdisks = value[2], slots = value[3];
    const long long perConnector = kShelvesPerConnector * slots;
    if (disks > kConnectors * perConnector)
        throw bad(std::to_string(disks) + " disks do not fit on one controller: at most " +
                  std::to_string(kConnectors * perConnector) + " in shelves of " +
                  std::to_string(slots) + " slots");
    if (vdisks * 2 > disks)
        throw bad(std::to_string(vdisks) + " two-disk virtual disks need " +
                  std::to_string(vdisks * 2) + " disks, not " + std::to_string(disks));

    json connectors = json::array();
    if (disks / perConnector > 0)
        connectors.push_back(connector(perConnector, slots, media, disks / perConnector));
    if (disks % perConnector > 0)
        connectors.push_back(connector(disks % perConnector, slots, media, 1));
    json ctrl{{"name", "VK RAID R64e"},
              {"mode", "raid"},
              {"cache_mb", 8192},
              {"max_vdisks", std::max<long long>(64, vdisks)},
              {"batteries", json::array({json::object()})},
              {"connectors", connectors}};
    if (vdisks > 0)
        ctrl["vdisk_groups"] =
            json::array({{{"count", vdisks}, {"disks_each", 2}, {"raid", "r1"}}});
    if (controllers > 1) ctrl["count"] = controllers;

    json profile;
    if (!base.empty()) {
        const std::filesystem::path file = resolveProfile(base);
        try {
            profile = parseProfileText(readProfile(file), file.string());
        } catch (const Error& e) {
            throw bad(e.what());
        }
        if (!profile.is_object()) throw bad(file.string() + ": not a profile");
    }
    profile["description"] = "Generated (" + spec + ")";
    if (!profile.contains("controllers") || !profile["controllers"].is_array())
        profile["controllers"] = json::array();
    profile["controllers"].push_back(ctrl);
    return profile.dump();
}

}  // namespace kvda
