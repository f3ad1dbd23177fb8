// Array-disk and tape-drive selection: does the disk the user names exist
// on the controller, may it take part in the operation, and which disks
// would have been accepted.
#include <cstdio>

#include "kvsup_internal.h"

using namespace kvsup::detail;
namespace st = kvsup::status;

namespace {

constexpr uint32_t kHiddenBit = vk::diskattr::kHidden;  // never offered in a list
constexpr uint32_t kDedicatedSpare = vk::diskattr::kDedicatedHotSpare;
constexpr uint32_t kInEnclosure = vk::diskattr::kInEnclosure;  // three-part identifier

// "channel:target" or "channel:enclosure:target".
std::string DiskId(const StorageObjects& disks, std::size_t n, bool threeParts) {
    std::string id = disks.Value(n, "Channel") + ":";
    if (threeParts) {
        id += disks.Value(n, "EnclosureID") + ":";
    }
    return id + disks.Value(n, "TargetID");
}

// Two parts when the user's identifier holds one colon, else three.
bool ThreePartsLikeUser(std::string_view userId) {
    return ColonCount(userId) != 1;
}

// ---- the channel walk -----------------------------------------------------

enum class IdForm {
    kEnclosureBit,         // three parts when AttributesMask has 0x400
    kSasChannelEnclosure,  // ... and only on channels of bus protocol 8
    kTwoParts,
};

enum class ListRule {
    kNotHidden,          // AttributesMask lacks 0x80
    kHealthySolidState,  // not hidden, MediaType 2, ObjState 1
    kWantedState,        // ObjState equals the wanted state (and the action's bit)
};

struct ChannelWalk {
    const char* traceName;
    const char* allocTraceName;  // the disk walks share one allocation-failure text
    vk::RequestName perChannelRequest;
    IdForm form;
    ListRule listRule;
    bool countListedOnly;
    const char* firstTrace;  // followed by the list so far
    const char* laterTrace;
};

// clang-format off
constexpr ChannelWalk kPlainWalk   {"IsUserArrayDiskIdValid",      "IsUserArrayDiskIdValid", vkacmd.getArrayDisksForChannel,  IdForm::kEnclosureBit,        ListRule::kNotHidden,         false,
                                    "kvsup IsUserArrayDiskIdValidIsUserADisk: first instance, poutvalidadrraydiskid is = ",
                                    "kvsup IsUserArrayDiskIdValidIsUserADisk: subsequent instance, poutvalidadrraydiskid is = "};
constexpr ChannelWalk kHealthyWalk {"IsUserArrayDiskIdValid",      "IsUserArrayDiskIdValid", vkacmd.getArrayDisksForChannel,  IdForm::kSasChannelEnclosure, ListRule::kHealthySolidState, false,
                                    kPlainWalk.firstTrace, kPlainWalk.laterTrace};
constexpr ChannelWalk kStateWalk   {"IsUserArrayDiskIdValidState", "IsUserArrayDiskIdValid", vkacmd.getArrayDisksForChannel,  IdForm::kEnclosureBit,        ListRule::kWantedState,       true,
                                    kPlainWalk.firstTrace, kPlainWalk.laterTrace};
constexpr ChannelWalk kTapeWalk    {"IsUserTapeDriveIdValid",      "IsUserTapeDriveIdValid", vkacmd.getTapeDrivesForChannel,  IdForm::kTwoParts,            ListRule::kNotHidden,         false,
                                    "kvsup IsUserTapeDriveIdValid: first instance, pOutValidTapeDriveIds is = ",
                                    "kvsup IsUserTapeDriveIdValid: subsequent instance, pOutValidTapeDriveIds is = "};

// The conversion actions a disk of state 1 must also offer.
struct StateAction {
    const char* action;
    vk::MethodBit current;  // read from CurrentMethodMask
};
constexpr StateAction kStateActions[] = {
    {"convertRAIDtoNonRAID", vk::method::disk::kConvertRaidToNonRaid},
    {"convertNonRAIDtoRAID", vk::method::disk::kConvertNonRaidToRaid},
};
// clang-format on

// The hot-spare refusal of the check flag compares masked bits with this
// value, which no masked bit other than bit 0 can equal: the flag has never
// refused a disk, and callers rely on that.
constexpr uint32_t kCheckFlagMatch = 1;
bool CheckFlagRefuses(uint32_t attributes, uint32_t match) {
    return (attributes & kDedicatedSpare) == match || (attributes & kHiddenBit) == match;
}

uint32_t ActionBit(const char* action) {
    for (const StateAction& row : kStateActions) {
        if (action != nullptr && strcmpCaseIgnore(action, row.action) == 0) {
            return row.current.bit;
        }
    }
    return 0;
}

bool IsListed(const ChannelWalk& walk, const StorageObjects& disks, std::size_t n,
              uint32_t attributes, uint32_t wantedState, uint32_t actionBit) {
    switch (walk.listRule) {
        case ListRule::kNotHidden:
            return (attributes & kHiddenBit) == 0;
        case ListRule::kHealthySolidState:
            return (attributes & kHiddenBit) == 0 && disks.Value(n, "MediaType") == "2" &&
                   disks.Value(n, "ObjState") == "1";
        case ListRule::kWantedState:
            if (ToNumber(disks.Value(n, "ObjState")) != static_cast<int64_t>(wantedState)) {
                return false;
            }
            return wantedState != 1 || actionBit == 0 ||
                   (disks.Mask(n, "CurrentMethodMask") & actionBit) != 0;
    }
    return false;
}

int32_t WalkChannels(const ChannelWalk& walk, const char* userId, const char* globalNo,
                     std::string& validList, int32_t checkFlag, uint32_t* count,
                     uint32_t wantedState = 0, const char* action = nullptr) {
    uint32_t counted = 0;
    if (count != nullptr) {
        *count = 0;
    }
    ValidList list(validList);
    const std::string base = walk.allocTraceName;
    const std::string noBuffer1 = base + ": OCSXAllocBuf failed";
    const std::string noBuffer2 = noBuffer1 + " 2";
    const std::string noBuffer3 = noBuffer1 + " 3";
    const uint32_t actionBit = ActionBit(action);
    const std::string_view user = Text(userId);

    const int32_t rc = Ask(
        {walk.traceName, noBuffer1.c_str(), nullptr},
        ControllerRequest(vkacmd.getController, globalNo), st::kNotFound, [&](const OCSXBuf*) {
            Fetched channelAnswer =
                Fetch(ControllerRequest(vkacmd.getChannelsForController, globalNo));
            if (channelAnswer.noBuffer) {
                TraceLine(TRACE_LEVEL_DETAIL, noBuffer2);
                return st::kNoBuffer;
            }
            if (!channelAnswer) {
                return st::kNotFound;
            }
            const StorageObjects channels(channelAnswer.xml.get());
            for (std::size_t i = 0; i < channels.Count(); ++i) {
                if (!channels.Has(i, "ObjID")) {
                    continue;
                }
                const int64_t busProtocol = ToNumber(channels.Value(i, "BusProtocol"));
                da::Request request(walk.perChannelRequest);
                request.Field("GlobalNo", globalNo, 20).Pair("Channel", std::to_string(i)).Cli();
                Fetched diskAnswer = Fetch(request);
                if (diskAnswer.noBuffer) {
                    TraceLine(TRACE_LEVEL_DETAIL, noBuffer3);
                    return st::kNoBuffer;
                }
                if (!diskAnswer) {
                    continue;
                }
                const StorageObjects disks(diskAnswer.xml.get());
                for (std::size_t j = 0; j < disks.Count(); ++j) {
                    if (!disks.Has(j, "ObjID")) {
                        continue;
                    }
                    const uint32_t attributes = disks.Mask(j, "AttributesMask");
                    bool threeParts = false;
                    switch (walk.form) {
                        case IdForm::kEnclosureBit:
                            threeParts = (attributes & kInEnclosure) != 0;
                            break;
                        case IdForm::kSasChannelEnclosure:
                            threeParts = busProtocol == 8 && (attributes & kInEnclosure) != 0;
                            break;
                        case IdForm::kTwoParts:
                            break;
                    }
                    const std::string id = DiskId(disks, j, threeParts);
                    const bool listed =
                        IsListed(walk, disks, j, attributes, wantedState, actionBit);
                    if (listed) {
                        const bool first = list.Empty();
                        list.Add(id);
                        if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
                            SysDbgPrint("%s%s\n", first ? walk.firstTrace : walk.laterTrace,
                                        validList.c_str());
                        }
                    }
                    if (listed || !walk.countListedOnly) {
                        ++counted;
                    }
                    if (id == user) {
                        if (checkFlag != 0 && CheckFlagRefuses(attributes, kCheckFlagMatch)) {
                            return -2;
                        }
                        counted = 0;
                        return st::kOk;
                    }
                }
            }
            return st::kNotFound;
        });
    if (count != nullptr) {
        *count = counted;
    }
    return rc;
}

// The getassoc pass-through: the disks associated with an object.
da::Request AssociatedDisksRequest(const std::string& objId) {
    da::Request request(vkacmd.sendPassThruCmdToQXSIF);
    request.Entry("NumQXSIFArgs=3").Entry("param0=getassoc").Entry("param1=adisks");
    request.Pair("param2", objId);
    return request;
}

da::Request VirtualDiskRequest(vk::RequestName name, const char* globalNo, const char* vdNum) {
    da::Request request(name);
    request.Field("GlobalNo", globalNo, 20).Field("LogicalDriveNum", vdNum, 20).Cli();
    return request;
}

// Candidates of the dedicated-hot-spare kind: three parts for enclosure
// disks on bus protocols 8 and 7.
std::string CandidateId(const StorageObjects& disks, std::size_t n, const char* traceName) {
    std::string protocolText;
    if (!disks.Get(n, "BusProtocol", protocolText) && SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
        SysDbgPrint("%s(): unknown bus protocol \n", traceName);
    }
    const int64_t protocol = ToNumber(protocolText);
    const bool threeParts =
        (protocol == 8 || protocol == 7) && (disks.Mask(n, "AttributesMask") & kInEnclosure) != 0;
    return DiskId(disks, n, threeParts);
}

}  // namespace

int32_t IsUserArrayDiskIdValid(const char* userId, const char* globalNo, std::string& validList,
                               int32_t checkFlag, uint32_t* count) {
    return WalkChannels(kPlainWalk, userId, globalNo, validList, checkFlag, count);
}

int32_t IsUserArrayDiskIdValidHealthy(const char* userId, const char* globalNo,
                                      std::string& validList, int32_t checkFlag, uint32_t* count) {
    return WalkChannels(kHealthyWalk, userId, globalNo, validList, checkFlag, count);
}

int32_t IsUserArrayDiskIdValidState(const char* userId, const char* globalNo,
                                    std::string& validList, int32_t checkFlag, uint32_t* count,
                                    uint32_t wantedState, const char* action) {
    return WalkChannels(kStateWalk, userId, globalNo, validList, checkFlag, count, wantedState,
                        action);
}

int32_t IsUserTapeDriveIdValid(const char* userId, const char* globalNo, std::string& validList,
                               int32_t checkFlag, uint32_t* count) {
    return WalkChannels(kTapeWalk, userId, globalNo, validList, checkFlag, count);
}

int32_t IsUserArrayDiskIdValidDHS(const char* userId, const char* globalNo, const char* vdNum,
                                  std::string& validList) {
    static constexpr const char* kName = "IsUserArrayDiskIdValidDHS";
    ValidList list(validList);
    return Ask(
        {kName, nullptr, "IsUserArrayDiskIdValidDHS(): pRespObj is NULL \n", TRACE_LEVEL_MODULE},
        VirtualDiskRequest(vkacmd.getCapsForDHS, globalNo, vdNum), st::kNotFound,
        [&](const OCSXBuf* xml) {
            const StorageObjects disks(xml);
            int32_t result = st::kNotFound;
            for (std::size_t n = 0; n < disks.Count(); ++n) {
                if (!disks.Has(n, "TargetID")) {
                    continue;
                }
                const std::string id = CandidateId(disks, n, kName);
                list.Add(id);
                if (id == Text(userId)) {
                    TraceLine(TRACE_LEVEL_MODULE, "IsUserArrayDiskIdValidDHS(): disk is valid \n");
                    result = st::kOk;
                }
            }
            return result;
        });
}

int32_t IsUserDHSValid(const char* userId, const char* globalNo, const char* vdNum,
                       std::string& validList) {
    static constexpr const char* kName = "IsUserDHSValid";
    ValidList list(validList);
    return Ask(
        {kName, nullptr, nullptr}, ControllerRequest(vkacmd.getVirtualDisksForController, globalNo),
        st::kNotFound, [&](const OCSXBuf* xml) {
            const StorageObjects vds(xml);
            std::string objId;
            for (std::size_t n = 0; n < vds.Count() && objId.empty(); ++n) {
                if (!vds.Has(n, "ParentVDID") && vds.Value(n, "LogicalDriveNum") == Text(vdNum)) {
                    objId = vds.Value(n, "ObjID");
                }
            }
            if (objId.empty()) {
                TraceLine(TRACE_LEVEL_MODULE, "IsUserDHSValid(): pOutVDObjID is NULL \n");
                return st::kNotFound;
            }
            if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
                SysDbgPrint("IsUserDHSValid function: pOutVDObjID = %s\n", objId.c_str());
            }
            Fetched assoc = Fetch(AssociatedDisksRequest(objId));
            if (assoc.noBuffer) {
                da::LogAllocFailed(kName);
                return st::kNoBuffer;
            }
            if (!assoc) {
                return st::kNotFound;
            }
            const StorageObjects disks(assoc.xml.get());
            int32_t result = st::kNotFound;
            for (std::size_t n = 0; n < disks.Count(); ++n) {
                if ((disks.Mask(n, "AttributesMask") & kDedicatedSpare) == 0) {
                    continue;
                }
                const std::string id = CandidateId(disks, n, kName);
                list.Add(id);
                if (id == Text(userId)) {
                    TraceLine(TRACE_LEVEL_MODULE, "IsUserDHSValid(): User DHS is valid. \n");
                    result = st::kOk;
                }
            }
            return result;
        });
}

int32_t pUserSourceAdiskIdValid(const char* userId, const char* globalNo, const char* vdNum,
                                std::string& validList) {
    static constexpr const char* kName = "pUserSourceAdiskIdValid";
    ValidList list(validList);
    const bool threeParts = ThreePartsLikeUser(Text(userId));
    return Ask({kName, nullptr, nullptr},
               VirtualDiskRequest(vkacmd.getVirtualDisk, globalNo, vdNum), st::kNotFound,
               [&](const OCSXBuf* xml) {
                   std::string objId;
                   if (!da::ReadNthTag(xml, "ObjID", 0, objId)) {
                       return st::kNotFound;
                   }
                   Fetched assoc = Fetch(AssociatedDisksRequest(objId));
                   if (assoc.noBuffer) {
                       da::LogAllocFailed(kName);
                       return st::kNoBuffer;
                   }
                   if (!assoc) {
                       return st::kNotFound;
                   }
                   const StorageObjects members(assoc.xml.get());
                   int32_t result = st::kNotFound;
                   for (std::size_t n = 0; n < members.Count(); ++n) {
                       const bool online = members.Value(n, "ObjState") == "4";
                       const std::string id = DiskId(members, n, threeParts);
                       if (online) {
                           list.Add(id);
                       }
                       if (id == Text(userId) && online &&
                           (members.Mask(n, "AttributesMask") & kDedicatedSpare) == 0) {
                           TraceLine(TRACE_LEVEL_MODULE,
                                     "pUserSourceAdiskIdValid(): User source disk is valid. \n");
                           result = st::kOk;
                       }
                   }
                   return result;
               });
}

int32_t IsUserDestinationADiskIdValid(const char* userId, const char* globalNo, const char* vdNum,
                                      std::string& validList) {
    ValidList list(validList);
    const bool threeParts = ThreePartsLikeUser(Text(userId));
    return Ask({"IsUserDestinationADiskIdValid", nullptr, nullptr},
               VirtualDiskRequest(vkacmd.getCapsForMemberReplaceCLI, globalNo, vdNum),
               st::kNotFound, [&](const OCSXBuf* xml) {
                   const StorageObjects disks(xml);
                   int32_t result = st::kNotFound;
                   for (std::size_t n = 0; n < disks.Count(); ++n) {
                       const std::string id = DiskId(disks, n, threeParts);
                       list.Add(id);
                       if (id == Text(userId)) {
                           TraceLine(TRACE_LEVEL_MODULE,
                                     "IsUserDestinationADiskIdValid(): disk is valid \n");
                           result = st::kOk;
                       }
                   }
                   return result;
               });
}

int32_t IsMemberReplaceAllowed(const char* globalNo, const char* vdNum) {
    return Ask({"IsMemberReplaceAllowed", nullptr, nullptr},
               VirtualDiskRequest(vkacmd.getVirtualDisk, globalNo, vdNum), 1,
               [&](const OCSXBuf* xml) {
                   std::string state;
                   return da::ReadNthTag(xml, "ObjState", 0, state) && state == "1" ? 0 : 1;
               });
}

int32_t IsDedicateHotSpareAllowed(const char* globalNo, const char* vdNum, uint32_t addCount) {
    static constexpr uint32_t kMostDedicatedSpares = 16;
    return Ask({"IsDedicateHotSpareAllowed", nullptr, nullptr},
               VirtualDiskRequest(vkacmd.getArrayDisksForVirtualDisk, globalNo, vdNum),
               st::kNotFound, [&](const OCSXBuf* xml) {
                   const StorageObjects disks(xml);
                   uint32_t spares = 0;
                   for (std::size_t n = 0; n < disks.Count(); ++n) {
                       spares += (disks.Mask(n, "AttributesMask") & kDedicatedSpare) != 0 ? 1 : 0;
                   }
                   if (spares + addCount > kMostDedicatedSpares) {
                       return st::kTooManyDhs;
                   }
                   if (spares == 0) {
                       return st::kOk;
                   }
                   Fetched controller = Fetch(ControllerRequest(vkacmd.getController, globalNo));
                   if (controller.noBuffer) {
                       TraceLine(TRACE_LEVEL_DETAIL,
                                 "IsDedicateHotSpareAllowed: OCSXAllocBuf failed 2");
                       return st::kNoBuffer;
                   }
                   std::string vendor;
                   if (controller) {
                       da::ReadNthTag(controller.xml.get(), "VendorID", 0, vendor);
                   }
                   return ToNumber(vendor) != 0 ? st::kOk : st::kNotFound;
               });
}

namespace {

// The single-disk reads: find the disk by the user's identifier form and
// hand its index to read. No disk matching: 0 with the outputs untouched.
template <typename Read>
int32_t ReadDisk(const char* traceName, const char* noBufferLine, const char* userId,
                 const char* globalNo, Read&& read) {
    const bool threeParts = ThreePartsLikeUser(Text(userId));
    return Ask({traceName, noBufferLine, nullptr},
               ControllerRequest(vkacmd.getArrayDisksForController, globalNo), 1,
               [&](const OCSXBuf* xml) {
                   const StorageObjects disks(xml);
                   for (std::size_t n = 0; n < disks.Count(); ++n) {
                       if (DiskId(disks, n, threeParts) == Text(userId)) {
                           return read(disks, n);
                       }
                   }
                   return st::kOk;
               });
}

}  // namespace

int32_t GetDiskCacheForPhysicalDisk(const char* userId, const char* globalNo, std::string& policy) {
    policy.clear();
    return ReadDisk("GetDiskCacheForPhysicalDisk",
                    "GetDiskCacheForPhysicalDisk(): OCSXAllocBuf() failed!!\n", userId, globalNo,
                    [&](const StorageObjects& disks, std::size_t n) {
                        if (!disks.Get(n, "diskwritecachepolicy", policy)) {
                            TraceLine(TRACE_LEVEL_DETAIL,
                                      "GetDiskCacheForPhysicalDisk() failure couldn't query for "
                                      "disk cache policy");
                            return 1;
                        }
                        return 0;
                    });
}

int32_t IsArrayDiskNVME(const char* globalNo, const char* userId, char* isDeviceNVME,
                        uint32_t isDeviceNVMESize, char* busProtocol, uint32_t busProtocolSize) {
    CopyBounded(isDeviceNVME, isDeviceNVMESize, "");
    CopyBounded(busProtocol, busProtocolSize, "");
    return ReadDisk("IsArrayDiskNVME", "IsArrayDiskNVME(): OCSXAllocBuf() failed!!\n", userId,
                    globalNo, [&](const StorageObjects& disks, std::size_t n) {
                        std::string protocol;
                        if (!disks.Get(n, "BusProtocol", protocol)) {
                            TraceLine(TRACE_LEVEL_DETAIL,
                                      "IsArrayDiskNVME() failure couldn't query for bus protocol");
                            return 1;
                        }
                        CopyBounded(busProtocol, busProtocolSize, protocol);
                        CopyBounded(isDeviceNVME, isDeviceNVMESize, disks.Value(n, "IsDeviceNVME"));
                        return 0;
                    });
}

int32_t IsArrayDiskISECapable(const char* globalNo, const char* userId, char* iseCapable,
                              uint32_t iseCapableSize) {
    CopyBounded(iseCapable, iseCapableSize, "");
    return ReadDisk("IsArrayDiskISECapable", "IsArrayDiskISECapable(): OCSXAllocBuf() failed!!\n",
                    userId, globalNo, [&](const StorageObjects& disks, std::size_t n) {
                        std::string value;
                        if (!disks.Get(n, "ISECapable", value)) {
                            TraceLine(TRACE_LEVEL_DETAIL,
                                      "IsArrayDiskISECapable() failure couldn't query for ise "
                                      "capable");
                            return 1;
                        }
                        CopyBounded(iseCapable, iseCapableSize, value);
                        return 0;
                    });
}

int32_t CombineUserDiskParams(const char** adisk, const char** pdisk) {
    const bool haveA = adisk != nullptr && *adisk != nullptr;
    const bool haveP = pdisk != nullptr && *pdisk != nullptr;
    if (haveA && haveP) {
        return st::kBothDiskParams;
    }
    if (!haveA && !haveP) {
        return st::kNoDiskParam;
    }
    if (haveP && adisk != nullptr) {
        *adisk = *pdisk;  // used from here on as the adisk value
    }
    return st::kOk;
}
