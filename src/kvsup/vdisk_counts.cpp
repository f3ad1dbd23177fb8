// Virtual-disk count and duplicate checks. Their return conventions differ
// from check to check on purpose: the configuration commands test these
// exact values.
#include <string>

#include "kvsup_internal.h"

using namespace kvsup::detail;
namespace st = kvsup::status;

namespace {

da::Request VirtualDiskRequest(const char* globalNo, const char* vdNum) {
    da::Request request(vkacmd.getVirtualDisk);
    request.Field("GlobalNo", globalNo, 20).Field("LogicalDriveNum", vdNum, 20).Cli();
    return request;
}

da::Request EnclosureRequest(const char* globalNo, const char* enclosure) {
    da::Request request(vkacmd.getEnclosure);
    request.Field("GlobalNo", globalNo, 20).Field("Enclosure", enclosure, 64).Cli();
    return request;
}

// Asset limits that apply when the enclosure does not state its own.
struct AssetLimit {
    const char* tag;
    uint32_t limit;
};
// clang-format off
constexpr AssetLimit kDefaultAssetLimits[] = {
    {"MaxAssetTagLength",  10},
    {"MaxAssetNameLength", 32},
};
// clang-format on

// Present policy value to its keyword, by kind.
struct PolicyKind {
    int32_t kind;
    const char* tag;
    int32_t (*keyword)(uint32_t, std::string&);
};
// clang-format off
constexpr PolicyKind kPolicyKinds[] = {
    {1, "ReadPolicy",      GetUserInputStringForReadPolicyValue},
    {2, "WritePolicy",     GetUserInputStringForWritePolicyValue},
    {3, "CachePolicy",     GetUserInputStringForCachePolicyValue},
    {4, "DiskCachePolicy", GetUserInputStringForDiskCachePolicyValue},
};
// clang-format on

}  // namespace

int32_t isOverMaxVDAllowed(const char* globalNo, char* maxOut, uint32_t maxOutSize) {
    return Ask(
        {"isOverMaxVDAllowed", nullptr, nullptr},
        ControllerRequest(vkacmd.getSingleControllerArrayInfo, globalNo), st::kNotFound,
        [&](const OCSXBuf* xml) {
            std::string most;
            da::ReadNthTag(xml, "MaxVDAllowed", 0, most);
            CopyBounded(maxOut, maxOutSize, most);
            int64_t disks = 0;
            std::string ignored;
            while (da::ReadNthTag(xml, "LogicalDriveNum", static_cast<uint32_t>(disks), ignored)) {
                ++disks;
            }
            // A missing limit reads 0: the controller counts as full.
            return disks >= ToNumber(most) ? 1 : 0;
        });
}

int32_t IsCtrlVDNameDuplicate(const char* name, const char* globalNo) {
    // 0 means "taken": the name is already used on the controller.
    return Ask({"IsCtrlVDNameDuplicate", nullptr, "IsVDNameDuplicate(): pRespObj is NULL!!\n",
                TRACE_LEVEL_DETAIL},
               ControllerRequest(vkacmd.getVirtualDisk, globalNo), st::kNotFound,
               [&](const OCSXBuf* xml) {
                   std::string present;
                   for (uint32_t n = 0; da::ReadNthTag(xml, "Name", n, present, 64); ++n) {
                       if (present == Text(name)) {
                           return st::kOk;
                       }
                   }
                   return st::kNotFound;
               });
}

int32_t IsVDNameDuplicate(const char* name, const char* globalNo, const char* vdNum) {
    // Without an answer the exit line is written under the controller-wide
    // check's name.
    Enter("IsVDNameDuplicate");
    Fetched answer = Fetch(VirtualDiskRequest(globalNo, vdNum));
    if (answer.noBuffer) {
        da::LogAllocFailed("IsVDNameDuplicate");
        Leave("IsVDNameDuplicate");
        return st::kNoBuffer;
    }
    if (!answer) {
        Leave("IsCtrlVDNameDuplicate");
        return 1;
    }
    std::string present;
    da::ReadNthTag(answer.xml.get(), "Name", 0, present);
    Leave("IsVDNameDuplicate");
    return !present.empty() && present != Text(name) ? 0 : 1;
}

int32_t IsAssetInfoDuplicate(const char* globalNo, const char* enclosure, const char* tagName,
                             const char* value) {
    return Ask({"IsAssetInfoDuplicate", nullptr, "IsAssetInfoDuplicate: OCSXAllocBuf failed:"},
               EnclosureRequest(globalNo, enclosure), st::kNoBuffer, [&](const OCSXBuf* xml) {
                   std::string present;
                   return da::ReadNthTag(xml, tagName, 0, present) && present == Text(value) ? 1
                                                                                             : 0;
               });
}

int32_t IsAssetLengthValid(const char* globalNo, const char* enclosure, const char* tagName,
                           uint32_t length) {
    return Ask({"IsAssetLengthValid", nullptr, "IsAssetLengthValid: OCSXAllocBuf failed:"},
               EnclosureRequest(globalNo, enclosure), st::kNoBuffer, [&](const OCSXBuf* xml) {
                   std::string text;
                   uint32_t limit = 0;
                   if (da::ReadNthTag(xml, tagName, 0, text)) {
                       limit = static_cast<uint32_t>(ToNumber(text));
                   } else {
                       for (const AssetLimit& row : kDefaultAssetLimits) {
                           if (Text(tagName) == row.tag) {
                               limit = row.limit;
                           }
                       }
                   }
                   // The limit itself means "too long" and is what the
                   // caller prints; a limit of 0 never refuses.
                   return static_cast<int32_t>(limit < length ? limit : 0);
               });
}

int32_t IsPolicyInfoDuplicate(const char* globalNo, const char* keyword, const char* vdNum,
                              int32_t kind) {
    return Ask({"IsPolicyInfoDuplicate", nullptr, nullptr}, VirtualDiskRequest(globalNo, vdNum), 1,
               [&](const OCSXBuf* xml) {
                   std::string present;
                   for (const PolicyKind& row : kPolicyKinds) {
                       if (row.kind == kind) {
                           std::string value;
                           da::ReadNthTag(xml, row.tag, 0, value);
                           row.keyword(static_cast<uint32_t>(ToNumber(value)), present);
                       }
                   }
                   return Text(keyword) == present ? 1 : 0;
               });
}
