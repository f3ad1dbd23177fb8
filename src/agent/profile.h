// Profiles: JSON descriptions of an estate, checked completely before any
// object is built, and object addresses as the control tool types them.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "model.h"

namespace kvda {

// Where an object is: its kind, owning controller and user address.
struct Address {
    std::string kind;
    int64_t ctrl = -1;
    std::string addr;
};

// Parses "controller=0 pdisk=0:1:4" style words (one word per element or all
// in one string separated by spaces). Throws Error naming the bad word.
Address parseAddress(const std::vector<std::string>& words);
Address parseAddress(const std::string& text);
// True for the words that name objects (controller, pdisk, enclosure, ...).
bool isAddressWord(std::string_view word);
// The object an address names, or null. A cached LUN named without its
// controller is found by its name alone.
const Object* findAddressed(const Estate& estate, const Address& address);

// The text of a profile file. Throws Error naming the file when it cannot be
// read.
std::string readProfile(const std::filesystem::path& file);
// Builds an estate from profile text; `origin` names the file in messages.
// Throws Error with the JSON path of the first offending item.
Estate buildEstate(const std::string& text, const std::string& origin);
// The JSON of a profile; Error naming origin and the place for text that is
// not JSON.
nlohmann::json parseProfileText(const std::string& text, const std::string& origin);

// A profile made from "key=value,..." for estates of any size: `controllers`
// RAID controllers (1), each with `disks` disks (16) in shelves of `slots`
// slots (60) on as many connectors as they need, `vdisks` two-disk RAID 1
// virtual disks (0), disks of `media` hdd or ssd; after the controllers of
// the profile `base` when given. Throws Error naming a bad key or value.
std::string generateProfile(const std::string& spec);

// The directory holding the shipped profiles.
std::filesystem::path profilesDir();
// A profile name ("default") or a file path to the file to read.
std::filesystem::path resolveProfile(const std::string& nameOrPath);

}  // namespace kvda
