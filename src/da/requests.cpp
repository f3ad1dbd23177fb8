// Validators that ask the data manager one question each: controller
// existence, virtual-disk layout for capacity expansion, battery learn delay,
// and the raw copy of the supported RAID levels.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "da.h"

namespace {

using vk::vkacmd;

// Leading decimal digits as a number; absent or unreadable text counts 0.
unsigned long DecimalOf(const char* text) {
    return text != nullptr ? std::strtoul(text, nullptr, 10) : 0;
}

// Cuts text to capacity - 1 bytes into out (always terminated).
void CopyCut(std::string_view text, char* out, uint32_t capacity) {
    if (out == nullptr || capacity == 0) {
        return;
    }
    const size_t n = std::min<size_t>(text.size(), capacity - 1);
    std::memcpy(out, text.data(), n);
    out[n] = '\0';
}

}  // namespace

int32_t IsUserControllerIdValid(const char* userId, std::string& validList) {
    validList.clear();
    const da::Request request(vkacmd.getControllerList);
    return da::AskAgent("IsUserControllerIdValid", request, da::AllocOrder::kBufferFirst,
                        kDANotValid, [&](const OCSXBuf* xml) {
                            std::string globalNo;
                            for (uint32_t n = 0; da::ReadNthTag(xml, "GlobalNo", n, globalNo);
                                 ++n) {
                                if (n > 0) {
                                    validList += ", ";
                                }
                                validList += globalNo;
                                if (userId != nullptr && globalNo == userId) {
                                    return kDAValid;
                                }
                            }
                            return kDANotValid;
                        });
}

int32_t IsUserControllerIdValid(const char* userId, char* validList, uint32_t validListSize) {
    std::string list;
    const int32_t status = IsUserControllerIdValid(userId, list);
    CopyCut(list, validList, validListSize);
    return status;
}

int32_t IsUserVDLayoutValidForOCE(const char* globalNo, const char* userVd,
                                  const char* userLayout) {
    da::Request request(vkacmd.getVirtualDisksForController);
    request.Field("GlobalNo", globalNo, da::kControllerFieldSize).Cli();
    return da::AskAgent(
        "IsUserVDLayoutValidForOCE", request, da::AllocOrder::kBufferFirst, kDANotValid,
        [&](const OCSXBuf* xml) {
            char driveNum[da::kTagValueSize] = "";
            for (uint32_t n = 0;
                 QueryNthQXStorObjElement("LogicalDriveNum", driveNum, n, xml) == kDAValid; ++n) {
                if (userVd == nullptr || std::strcmp(driveNum, userVd) != 0) {
                    continue;
                }
                char layout[da::kTagValueSize] = "";
                if (QueryNthQXStorObjElement("Layout", layout, n, xml) != kDAValid) {
                    return kDANotValid;
                }
                return DecimalOf(layout) == DecimalOf(userLayout) ? kDAValid : kDANotValid;
            }
            return kDANotValid;
        });
}

int32_t IsDelayLearnWithinMaxLearnDelay(const char* globalNo, const char* batteryId,
                                        const char* days, const char* hours, char* maxDelay,
                                        uint32_t maxDelaySize) {
    const unsigned long delay = DecimalOf(days) * 24 + DecimalOf(hours);
    da::Request request(vkacmd.getBattery);
    request.Field("GlobalNo", globalNo, da::kWideFieldSize)
        .Field("BatteryID", batteryId, da::kWideFieldSize)
        .Cli();
    // The battery query asks first and allocates its buffer for the answer.
    return da::AskAgent("IsDelayLearnWithinMaxLearnDelay", request, da::AllocOrder::kResponseFirst,
                        kDANotValid, [&](const OCSXBuf* xml) {
                            std::string limit;
                            if (!da::ReadNthTag(xml, "MaxLearnDelay", 0, limit)) {
                                return kDANotValid;
                            }
                            // The limit stays with the caller for its message.
                            CopyCut(limit, maxDelay, maxDelaySize);
                            return delay != 0 && delay <= DecimalOf(limit.c_str()) ? kDAValid
                                                                                   : kDANotValid;
                        });
}

uint32_t GetSupportedRaidLevelsForController(const char* globalNo, char* out, uint32_t outSize) {
    da::ScopedFunctionTrace trace("GetSupportedRaidLevelsForController");
    if (out == nullptr || outSize == 0) {
        return kDARawCopyFailed;
    }
    da::Request request(vkacmd.getSupportedRaidLevelsForController);
    request.Field("GlobalNo", globalNo, da::kControllerFieldSize).Cli();
    da::Response response = da::Send(request);
    if (!response || response->pDataBuf == nullptr) {
        return kDARawCopyFailed;
    }
    CopyCut(response->pDataBuf, out, outSize);
    return 0;
}
