#include "faults.h"

#include <array>
#include <cstdlib>

#include "sqlite.h"

namespace kvda {

namespace {

// What failing or replacing does to an object of each kind, before the
// effect on its virtual disk or enclosure.
struct FaultRule {
    std::string_view kind;
    std::string_view tag;
    std::string_view failed;
    std::string_view replaced;
};

// clang-format off
constexpr std::array kFaultRules{
    FaultRule{kind::kDisk,        "ObjState", "2", "1"},
    FaultRule{kind::kBattery,     "ObjState", "2", "1"},
    FaultRule{kind::kBattery,     "Charge",   "0", "100"},
    FaultRule{kind::kFan,         "ObjState", "2", "1"},
    FaultRule{kind::kFan,         "Speed",    "0", "5400"},
    FaultRule{kind::kPowerSupply, "ObjState", "2", "1"},
    FaultRule{kind::kEmm,         "ObjState", "2", "1"},
    FaultRule{kind::kProbe,       "ObjState", "2", "1"},
    FaultRule{kind::kNvme,        "ObjState", "2", "1"},
    FaultRule{kind::kTape,        "ObjState", "2", "1"},
};
// clang-format on

bool redundant(long long layout) {
    return layout != 2 && layout != 1;
}

}  // namespace

std::vector<Store::Change> faultChanges(const Estate& estate, const Object& obj, bool failed) {
    std::vector<Store::Change> out;
    for (const FaultRule& r : kFaultRules)
        if (r.kind == obj.kind)
            out.push_back(
                {obj.oid, std::string(r.tag), std::string(failed ? r.failed : r.replaced)});
    if (out.empty())
        throw Error(std::string("a ") + obj.kind +
                    " cannot be failed or replaced; try a pdisk, battery, fan, "
                    "pwrsupply, emm, tempprobe, nvmeadapter or tape");
    if (obj.kind == kind::kDisk) {
        if (!failed) {
            std::string serial = "R";  // a new disk in the slot
            serial += std::to_string(900000 + obj.oid);
            out.push_back({obj.oid, "SerialNo", serial});
        }
        if (const Object* vd = estate.byOid(std::atoll(obj.get("_vd").c_str()))) {
            // A replaced member comes back online at once: rebuild time is
            // not simulated here.
            if (!failed)
                for (auto& c : out)
                    if (c.tag == "ObjState") c.value = std::to_string(state::kOnline);
            bool otherFailed = false;
            for (const Object& d : estate.objects)
                if (d.kind == kind::kDisk && d.oid != obj.oid && d.get("_vd") == obj.get("_vd") &&
                    d.num("ObjState") == state::kFailed)
                    otherFailed = true;
            std::string vs = failed ? (redundant(vd->num("Layout")) && !otherFailed ? "16" : "2")
                                    : (otherFailed ? "16" : "1");
            out.push_back({vd->oid, "ObjState", vs});
        }
    }
    if (obj.kind == kind::kFan || obj.kind == kind::kPowerSupply || obj.kind == kind::kEmm ||
        obj.kind == kind::kProbe) {
        if (const Object* enc = estate.byOid(obj.parent)) {
            bool otherFailed = false;
            for (const Object& p : estate.objects)
                if (p.parent == enc->oid && p.oid != obj.oid && p.kind != kind::kDisk &&
                    p.num("ObjState") == state::kFailed)
                    otherFailed = true;
            out.push_back({enc->oid, "ObjState", failed || otherFailed ? "16" : "1"});
        }
    }
    return out;
}

}  // namespace kvda
