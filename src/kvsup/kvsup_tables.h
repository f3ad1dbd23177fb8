// The tables of the validation library as the table registry sees them:
// the keyword maps and the operation mask tables, each named, with the
// checks of what a sound table holds.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "keyword_map.h"
#include "vocabulary.h"

namespace kvsup {

template <typename Value>
struct KeywordMapRef {
    const char* name;
    std::span<const detail::KeywordRow<Value>> rows;
};

// Maps of bit values (layouts, stripe sizes, policies) and of setting values.
extern const std::span<const KeywordMapRef<uint32_t>> kPolicyKeywordMaps;
extern const std::span<const KeywordMapRef<int32_t>> kSettingKeywordMaps;

// Which masks answer for an operation of an object.
enum class Masks {
    kMethod,       // MasterMethodMask / CurrentMethodMask
    kMethod1,      // MasterMethodMask1 / CurrentMethodMask1 (controllers)
    kCurrentOnly,  // CurrentMethodMask AND bit, copied to both outputs
    kMasterOnly,   // MasterMethodMask AND bit, copied to both outputs
    kAlways,       // both outputs 1, masks not consulted
    kStorageRoot,  // the storage root's masks decide, not the object's
};

enum class MaskRule {
    kPlain,
    kFallback,      // both bits clear: the foreign-configuration bit answers instead
    kSecureImport,  // kFallback, then current needs the secure-import attribute
};

struct MaskRow {
    const char* action;
    Masks masks;
    vk::MethodBit operation;  // none for kAlways and kStorageRoot
    MaskRule rule;
};

struct MaskTableRef {
    const char* name;  // the object kind: "controller", "array disk"
    std::span<const MaskRow> rows;
};

extern const std::span<const MaskTableRef> kMaskTables;

// Empty when the table is sound, else its first fault: no rows, an action
// without its keyword or listed twice (case ignored: only the first would
// ever answer), a bit that is not one bit where the masks are read, a bit
// where they are not, bits of two kinds of object in one table, a bit of
// the other mask pair than the row reads, a fallback rule on other masks
// than the method masks.
std::string CheckMaskTable(std::span<const MaskRow> rows);

}  // namespace kvsup
