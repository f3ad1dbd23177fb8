// Single-property readers: one request, one tag at occurrence 0. They ask
// first and allocate their buffer for the answer, so on a buffer failure the
// answer is freed unread.

#include "da.h"

namespace {

using vk::vkacmd;

struct ReaderRow {
    const char* traceName;      // entry and exit lines
    const char* allocFailName;  // allocation-failure line
    const char* tag;
};

// clang-format off
constexpr ReaderRow kRebuildRate         {"GetRebuildRateForController",         "GetRebuildRateForController",         "RebuildRate"};
constexpr ReaderRow kRebuildRateWithSize {"GetRebuildRateForControllerWithSize", "GetRebuildRateForControllerWithSize", "RebuildRate"};
constexpr ReaderRow kCopyback            {"GetCopyback for Controller",          "GetCopybackForControllerWithSize",    "Copyback"};
constexpr ReaderRow kLoadbalance         {"GetLoadBalance for Controller",       "GetLoadbalanceForControllerWithSize", "Loadbalance"};
constexpr ReaderRow kSmarter             {"GetSmarter for Controller",           "GetSmarterForControllerWithSize",     "AutoCopybackOnPredictiveFailure"};
constexpr ReaderRow kControllerName      {"GetControllerNameFromUserInput",      "GetControllerNameFromUserInput",      "Name"};
// clang-format on

da::Request ControllerRequest(const char* globalNo) {
    da::Request request(vkacmd.getController);
    request.Field("GlobalNo", globalNo, da::kWideFieldSize).Cli();
    return request;
}

// Reads row.tag of the controller into out. tagFound and noAnswer give the
// result when the tag is there or missing, and when nothing came back.
int32_t ReadControllerTag(const ReaderRow& row, const char* tag, const char* globalNo, char* out,
                          uint32_t capacity, int32_t tagFound, int32_t tagMissing,
                          int32_t noAnswer) {
    return da::AskAgent(
        row.traceName, row.allocFailName, ControllerRequest(globalNo),
        da::AllocOrder::kResponseFirst, noAnswer, [&](const OCSXBuf* xml) {
            return GetNthTagValueWithSize(tag, out, capacity, 0, xml) == 0 ? tagFound : tagMissing;
        });
}

// The readers whose answer is 0 whether or not the tag was there.
int32_t ReadControllerProperty(const ReaderRow& row, const char* globalNo, char* out,
                               uint32_t capacity) {
    if (out == nullptr) {
        return kDANotValid;
    }
    return ReadControllerTag(row, row.tag, globalNo, out, capacity, kDAValid, kDAValid, kDAValid);
}

}  // namespace

int32_t GetRebuildRateForController(const char* globalNo, char* out) {
    if (out != nullptr) {
        out[0] = '\0';
    }
    return ReadControllerProperty(kRebuildRate, globalNo, out, da::kTagValueSize);
}

int32_t GetRebuildRateForControllerWithSize(const char* globalNo, char* out, uint32_t capacity) {
    return ReadControllerProperty(kRebuildRateWithSize, globalNo, out, capacity);
}

int32_t GetCopybackForControllerWithSize(const char* globalNo, char* out, uint32_t capacity) {
    return ReadControllerProperty(kCopyback, globalNo, out, capacity);
}

int32_t GetLoadbalanceForControllerWithSize(const char* globalNo, char* out, uint32_t capacity) {
    return ReadControllerProperty(kLoadbalance, globalNo, out, capacity);
}

int32_t GetSmarterForControllerWithSize(const char* globalNo, char* out, uint32_t capacity) {
    return ReadControllerProperty(kSmarter, globalNo, out, capacity);
}

int32_t GetTagValueForController(const char* globalNo, const char* tag, char* out,
                                 uint32_t capacity) {
    static constexpr ReaderRow kRow{"GetTagValueForController", "GetTagValueForController",
                                    nullptr};
    if (tag == nullptr || out == nullptr) {
        return kDANotValid;
    }
    // No answer at all counts as success and leaves out as it was: callers
    // then keep their own default for the value.
    return ReadControllerTag(kRow, tag, globalNo, out, capacity, kDAValid, kDANotValid, kDAValid);
}

int32_t GetTagValueForBattery(const char* globalNo, const char* batteryId, const char* tag,
                              char* out, uint32_t capacity) {
    if (tag == nullptr || out == nullptr) {
        return kDANotValid;
    }
    da::Request request(vkacmd.getBattery);
    request.Field("GlobalNo", globalNo, da::kWideFieldSize)
        .Field("BatteryID", batteryId, da::kWideFieldSize)
        .Cli();
    return da::AskAgent(
        "GetTagValueForBattery", request, da::AllocOrder::kResponseFirst, kDANotValid,
        [&](const OCSXBuf* xml) {
            return GetNthTagValueWithSize(tag, out, capacity, 0, xml) == 0 ? kDAValid : kDANotValid;
        });
}

int32_t GetControllerNameFromUserInput(const char* globalNo, char* out) {
    if (globalNo == nullptr || out == nullptr) {
        da::ScopedFunctionTrace trace(kControllerName.traceName);
        return kDANotValid;
    }
    return ReadControllerTag(kControllerName, kControllerName.tag, globalNo, out, da::kTagValueSize,
                             kDAValid, kDAValid, kDANotValid);
}
