// Object identifier validation: does the identifier the user typed name an
// object the agent lists, and which identifiers would have been valid.
//
// All validators are rows of one walk: ask for the objects of one kind,
// build each object's identifier, filter, list it, compare it with the
// user's text (exactly) and stop at a match or walk to the end.
#include <array>
#include <cstdio>

#include "kvsup_internal.h"

namespace kvsup::detail {
namespace {

// What the request names besides the request itself.
enum class Scope {
    kNone,        // "vkacmd=<request>" alone (the controller list)
    kController,  // GlobalNo, CLI=true
    kEnclosure,   // GlobalNo, Enclosure, CLI=true
};

// How an object's identifier is built from its properties.
enum class Form {
    kKeyTag,            // the key tag's text
    kChannelTarget,     // "Channel:TargetID", each part cut to 19 characters
    kChannelEnclosure,  // "Channel:EnclosureID" on bus protocol 8 or 9, else "Channel"
};

// Which objects are listed and accepted.
enum class Filter {
    kAll,
    kNotMember,        // no ParentVDID: not a member of another virtual disk
    kSolidStateCache,  // IsSSC reads 1
};

struct IdRow {
    const char* traceName;
    vk::RequestName request;
    Scope scope;
    const char* keyTag;
    Form form;
    Filter filter;
    bool stopEarly;
    const char* noBufferLine;  // null: "<traceName>: OCSXAllocBuf failed"
    const char* noAnswerLine;  // null: none
};

// clang-format off
constexpr IdRow kChannelRow    {"IsUserChannelIdValid",       vkacmd.getChannelsForController,      Scope::kController, "Channel",         Form::kKeyTag, Filter::kAll,             false, nullptr, nullptr};
constexpr IdRow kNVMeRow       {"IsUserNVMeChannelIdValid",   vkacmd.getNVMeAdaptersForController,  Scope::kController, "Channel",         Form::kKeyTag, Filter::kAll,             false, nullptr, nullptr};
constexpr IdRow kVirtualRow    {"IsUserVirtualDiskIdValid",   vkacmd.getVirtualDisksForController,  Scope::kController, "LogicalDriveNum", Form::kKeyTag, Filter::kNotMember,       false, nullptr, nullptr};
constexpr IdRow kCachecadeRow  {"IsUserVirtualDiskIdValid",   vkacmd.getVirtualDisksForController,  Scope::kController, "LogicalDriveNum", Form::kKeyTag, Filter::kSolidStateCache, false, nullptr, nullptr};
constexpr IdRow kBatteryRow    {"IsUserBatteryIdValidWithSize", vkacmd.getBatteriesForController,   Scope::kController, "BatteryID",       Form::kKeyTag, Filter::kAll,             false, nullptr, nullptr};
constexpr IdRow kArrayDiskRow  {"GetValidUserArrayDiskIds",   vkacmd.getArrayDisksForController,    Scope::kController, "Channel",         Form::kChannelTarget, Filter::kAll,      false, nullptr, nullptr};
constexpr IdRow kFanRow        {"IsUserFanIndexValid",        vkacmd.getEnclosureFans,              Scope::kEnclosure,  "Index",           Form::kKeyTag, Filter::kAll,             false, nullptr, "IsUserFanIndexValid(): pRespObj is NULL\n"};
constexpr IdRow kPwrSupplyRow  {"IsUserPwrSupplyIndexValid",  vkacmd.getEnclosurePowerSupplies,     Scope::kEnclosure,  "Index",           Form::kKeyTag, Filter::kAll,             false, nullptr, "IsUserFanIndexValid(): pRespObj is NULL\n"};
constexpr IdRow kEmmRow        {"IsUserEmmIndexValid",        vkacmd.getEnclosureEMMs,              Scope::kEnclosure,  "Index",           Form::kKeyTag, Filter::kAll,             false, nullptr, "IsUserEmmIndexValid(): pRespObj is NULL\n"};
constexpr IdRow kTempProbeRow  {"IsUserTempProbesIndexValid", vkacmd.getEnclosureTemperatureProbes, Scope::kEnclosure,  "Index",           Form::kKeyTag, Filter::kAll,             false, nullptr, "IsUserEmmIndexValid(): pRespObj is NULL\n"};
// clang-format on

struct WalkContext {
    std::string_view user;
    int64_t busProtocol = 0;  // of the channel, for Form::kChannelEnclosure
    uint32_t valueLimit = 0;  // values cut to this many characters (0: whole)
};

struct WalkResult {
    bool anyKey = false;  // at least one object carries the key tag
    bool matched = false;
    uint32_t listed = 0;
};

std::string Cut(std::string value, std::size_t limit) {
    if (limit > 0 && value.size() > limit) {
        value.resize(limit);
    }
    return value;
}

std::string BuildId(const StorageObjects& objects, std::size_t n, const IdRow& row,
                    const WalkContext& ctx, const std::string& key) {
    switch (row.form) {
        case Form::kKeyTag:
            return Cut(key, ctx.valueLimit);
        case Form::kChannelTarget:
            return Cut(objects.Value(n, "Channel"), 19) + ":" +
                   Cut(objects.Value(n, "TargetID"), 19);
        case Form::kChannelEnclosure: {
            std::string id = objects.Value(n, "Channel");
            if (ctx.busProtocol == 8 || ctx.busProtocol == 9) {
                id += ":" + objects.Value(n, "EnclosureID");
            }
            return id;
        }
    }
    return key;
}

bool Listed(const StorageObjects& objects, std::size_t n, Filter filter) {
    switch (filter) {
        case Filter::kAll:
            return true;
        case Filter::kNotMember:
            return !objects.Has(n, "ParentVDID");
        case Filter::kSolidStateCache:
            return objects.Value(n, "IsSSC") == "1";
    }
    return true;
}

// The walk every identifier validator shares.
WalkResult Walk(const StorageObjects& objects, const IdRow& row, const WalkContext& ctx,
                ValidList& list) {
    WalkResult result;
    std::string key;
    for (std::size_t n = 0; n < objects.Count(); ++n) {
        if (!objects.Get(n, row.keyTag, key)) {
            continue;
        }
        result.anyKey = true;
        if (!Listed(objects, n, row.filter)) {
            continue;
        }
        const std::string id = BuildId(objects, n, row, ctx, key);
        list.Add(id);
        ++result.listed;
        if (id == ctx.user) {
            result.matched = true;
            if (row.stopEarly) {
                break;
            }
        }
    }
    return result;
}

da::Request RowRequest(const IdRow& row, const char* globalNo, const char* enclosure) {
    da::Request request(row.request);
    switch (row.scope) {
        case Scope::kNone:
            break;
        case Scope::kController:
            request.Field("GlobalNo", globalNo, 20).Cli();
            break;
        case Scope::kEnclosure:
            request.Field("GlobalNo", globalNo, 20).Field("Enclosure", enclosure, 20).Cli();
            break;
    }
    return request;
}

// One row, one answer: 0 on a match, -1 otherwise (also with no object or
// no answer), 272.
int32_t Validate(const IdRow& row, const char* user, const char* globalNo, const char* enclosure,
                 ValidList& list, uint32_t* count = nullptr) {
    if (count != nullptr) {
        *count = 0;
    }
    const da::Request request = RowRequest(row, globalNo, enclosure);
    return Ask({row.traceName, row.noBufferLine, row.noAnswerLine, TRACE_LEVEL_MODULE}, request,
               status::kNotFound, [&](const OCSXBuf* xml) {
                   const StorageObjects objects(xml);
                   const WalkContext ctx{Text(user)};
                   const WalkResult result = Walk(objects, row, ctx, list);
                   if (count != nullptr) {
                       *count = result.listed;
                   }
                   return result.matched ? status::kOk : status::kNotFound;
               });
}

}  // namespace
}  // namespace kvsup::detail

using namespace kvsup::detail;
namespace st = kvsup::status;

int32_t IsUserControllerIdValidWithSize(const char* userId, char* validList,
                                        uint32_t validListSize) {
    static constexpr IdRow kRow{"IsUserControllerIdValidWithSize",
                                vkacmd.getControllerList,
                                Scope::kNone,
                                "GlobalNo",
                                Form::kKeyTag,
                                Filter::kAll,
                                true,
                                "IsUserControllerIdValidWithSize: OCSXAllocBuf() failed",
                                nullptr};
    ValidList list(validList, validListSize);
    const da::Request request = RowRequest(kRow, nullptr, nullptr);
    return Ask(
        {kRow.traceName, kRow.noBufferLine, nullptr}, request, st::kNotFound,
        [&](const OCSXBuf* xml) {
            const StorageObjects objects(xml);
            // Each number is read with the list's size as its limit.
            const WalkContext ctx{Text(userId), 0, validListSize > 0 ? validListSize - 1 : 0};
            if (!Walk(objects, kRow, ctx, list).matched) {
                return st::kNotFound;
            }
            // A controller busy with automatic configuration takes no
            // commands although its number is valid.
            Fetched state = Fetch(ControllerRequest(vkacmd.getController, userId));
            if (state.noBuffer) {
                TraceLine(TRACE_LEVEL_DETAIL,
                          "IsUserControllerIdValidWithSize: OCSXAllocBuf failed");
                return st::kNoBuffer;
            }
            std::string progress;
            if (state && da::ReadNthTag(state.xml.get(), "AutoConfigProgressState", 0, progress) &&
                progress == "1") {
                return st::kAutoConfigBusy;
            }
            return st::kOk;
        });
}

int32_t IsUserChannelIdValid(const char* userChannel, const char* globalNo,
                             std::string& validList) {
    ValidList list(validList);
    return Validate(kChannelRow, userChannel, globalNo, nullptr, list);
}

int32_t IsUserNVMeChannelIdValid(const char* userChannel, const char* globalNo,
                                 std::string& validList) {
    ValidList list(validList);
    return Validate(kNVMeRow, userChannel, globalNo, nullptr, list);
}

int32_t IsUserVirtualDiskIdValid(const char* userVd, const char* globalNo, std::string& validList) {
    ValidList list(validList);
    return Validate(kVirtualRow, userVd, globalNo, nullptr, list);
}

int32_t IsUserCachecadeIdValid(const char* userVd, const char* globalNo, std::string& validList) {
    ValidList list(validList);
    return Validate(kCachecadeRow, userVd, globalNo, nullptr, list);
}

int32_t IsUserBatteryIdValidWithSize(const char* userBattery, const char* globalNo, char* validList,
                                     uint32_t validListSize, uint32_t* count) {
    ValidList list(validList, validListSize);
    return Validate(kBatteryRow, userBattery, globalNo, nullptr, list, count);
}

int32_t GetValidUserArrayDiskIds(const char* globalNo, std::string& validList) {
    // Only lists, joined with "," alone: any answer is a success.
    ValidList list(validList, ",");
    const da::Request request = RowRequest(kArrayDiskRow, globalNo, nullptr);
    return Ask({kArrayDiskRow.traceName, nullptr, nullptr}, request, st::kNotFound,
               [&](const OCSXBuf* xml) {
                   Walk(StorageObjects(xml), kArrayDiskRow, WalkContext{}, list);
                   return st::kOk;
               });
}

int32_t IsUserFanIndexValid(const char* userIndex, const char* enclosure, const char* globalNo,
                            std::string& validList) {
    ValidList list(validList);
    return Validate(kFanRow, userIndex, globalNo, enclosure, list);
}

int32_t IsUserPwrSupplyIndexValid(const char* userIndex, const char* enclosure,
                                  const char* globalNo, std::string& validList) {
    ValidList list(validList);
    return Validate(kPwrSupplyRow, userIndex, globalNo, enclosure, list);
}

int32_t IsUserEmmIndexValid(const char* userIndex, const char* enclosure, const char* globalNo,
                            std::string& validList) {
    ValidList list(validList);
    return Validate(kEmmRow, userIndex, globalNo, enclosure, list);
}

int32_t IsUserTempProbesIndexValid(const char* userIndex, const char* enclosure,
                                   const char* globalNo, std::string& validList) {
    ValidList list(validList);
    return Validate(kTempProbeRow, userIndex, globalNo, enclosure, list);
}

int32_t IsUserEnclosureIdValidWithSize(const char* userEnclosure, const char* globalNo,
                                       char* validList, uint32_t validListSize, uint32_t* count) {
    static constexpr const char* kName = "IsUserEnclosureIdValidWithSize";
    // Enclosures of one channel: stops at the first match.
    static constexpr IdRow kRow{kName,
                                vkacmd.getEnclosuresForChannel,
                                Scope::kController,
                                "ObjID",
                                Form::kChannelEnclosure,
                                Filter::kAll,
                                true,
                                nullptr,
                                nullptr};
    uint32_t listed = 0;
    if (count != nullptr) {
        *count = 0;
    }
    ValidList list(validList, validListSize);
    da::Request request(vkacmd.getChannelsForController);
    request.Field("GlobalNo", globalNo, 64).Cli();
    const int32_t rc =
        Ask({kName, nullptr, nullptr}, request, st::kNotFound, [&](const OCSXBuf* xml) {
            const StorageObjects channels(xml);
            int32_t result = st::kNotFound;
            // Channels are addressed by their position in the controller's list.
            for (std::size_t i = 0; i < channels.Count(); ++i) {
                if (!channels.Has(i, "ObjID")) {
                    continue;
                }
                da::Request perChannel(kRow.request);
                perChannel.Field("GlobalNo", globalNo, 64).Pair("Channel", std::to_string(i)).Cli();
                Fetched enclosures = Fetch(perChannel);
                if (enclosures.noBuffer) {
                    TraceLine(TRACE_LEVEL_DETAIL,
                              "IsUserEnclosureIdValidWithSize: OCSXAllocBuf failed 2");
                    return st::kNoBuffer;
                }
                if (!enclosures) {
                    continue;  // a channel without an answer is skipped
                }
                const WalkContext ctx{Text(userEnclosure),
                                      ToNumber(channels.Value(i, "BusProtocol"))};
                const WalkResult found =
                    Walk(StorageObjects(enclosures.xml.get()), kRow, ctx, list);
                listed += found.listed;
                if (found.matched) {
                    listed = 0;
                    result = st::kOk;
                    break;
                }
            }
            return result;
        });
    if (count != nullptr) {
        *count = rc == st::kNoBuffer ? 0 : listed;
    }
    return rc;
}

int32_t IsUserTempProbesInputValid(const char* /*probeIndex*/, const char* userMinWarning,
                                   const char* userMaxWarning, const char* enclosure,
                                   const char* globalNo, std::string& validMinRange,
                                   std::string& validMaxRange) {
    validMinRange.clear();
    validMaxRange.clear();
    da::Request request(vkacmd.getEnclosureTemperatureProbes);
    request.Field("GlobalNo", globalNo, 20).Field("Enclosure", enclosure, 20).Cli();
    return Ask({"IsUserTempProbesInputValid", nullptr,
                "IsUserTempProbesInputValid(): pRespObj is NULL\n", TRACE_LEVEL_MODULE},
               request, st::kNotFound, [&](const OCSXBuf* xml) {
                   std::string index;
                   if (!da::ReadNthTag(xml, "Index", 0, index)) {
                       return st::kNotFound;
                   }
                   // The first probe's limits hold for every probe of the enclosure.
                   std::string lowMin, highMin, lowMax, highMax;
                   da::ReadNthTag(xml, "LowEndMinWarning", 0, lowMin);
                   da::ReadNthTag(xml, "HighEndMinWarning", 0, highMin);
                   da::ReadNthTag(xml, "LowEndMaxWarning", 0, lowMax);
                   da::ReadNthTag(xml, "HighEndMaxWarning", 0, highMax);
                   validMinRange = ("(" + lowMin + ", " + highMin + ")").substr(0, 225);
                   validMaxRange = ("(" + lowMax + ", " + highMax + ")").substr(0, 225);
                   const int64_t minWarn = ToNumber(Text(userMinWarning));
                   const int64_t maxWarn = ToNumber(Text(userMaxWarning));
                   if (minWarn < ToNumber(lowMin) || minWarn > ToNumber(highMin) ||
                       maxWarn < ToNumber(lowMax) || maxWarn > ToNumber(highMax)) {
                       return st::kNotFound;
                   }
                   validMinRange.clear();
                   validMaxRange.clear();
                   da::ReadNthTag(xml, "MinWarning", 0, validMinRange);
                   da::ReadNthTag(xml, "MaxWarning", 0, validMaxRange);
                   if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
                       SysDbgPrint(
                           "IsUserTempProbesInputValid(): pOutValidMinWarn=%s, "
                           "pOutValidMaxWarn=%s\n",
                           validMinRange.c_str(), validMaxRange.c_str());
                   }
                   return st::kOk;
               });
}
