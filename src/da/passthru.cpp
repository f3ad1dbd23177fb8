// Pass-through capability queries: the controller interface is asked which
// virtual-disk sizes a layout allows on a set of disks, with a numbered
// argument list ("param0=getcaps", "param1=make", ...) sent as
// "vkacmd=sendPassThruCmdToQXSIF".
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "da.h"

namespace {

using vk::vkacmd;

// Sizes of the identifiers sent (terminator included).
constexpr uint32_t kControllerObjIdSize = 32;
constexpr size_t kDiskObjIdListSize = 1024;

// Layouts sent with the span rules ("Rules", "2"), and the subset that also
// carries the span length in the protection-information query.
// clang-format off
constexpr auto kSpannedLayouts          = std::to_array<unsigned long>({512, 2048, 262144});
constexpr auto kSpanLengthLayoutsForSas = std::to_array<unsigned long>({2048, 262144});
// clang-format on

// Span lengths that, without the special-layout flag, are looked up as
// layout "512" in the answer.
constexpr auto kSpanLengthsAsLayout512 = std::to_array<uint32_t>({22, 26});
constexpr const char* kLayout512 = "512";
// A layout entry that ends the walk with its own limits, whatever layout was
// asked for.
constexpr const char* kStopLayout = "524288";

enum class Variant { kPlain, kSecure, kSas };

struct Outputs {
    char* minSize;
    uint32_t minSizeCapacity;
    char* maxSize;
    uint32_t maxSizeCapacity;
    char* spanDepth = nullptr;
    uint32_t spanDepthCapacity = 0;
    char* spanLengthList = nullptr;
    uint32_t spanLengthListCapacity = 0;
};

struct CapsCall {
    const char* traceName;  // entry and exit lines
    const char* prefix;     // level-4 lines
    Variant variant;
    const char* globalNo;
    const char* diskList;
    uint32_t spanLength;
    const char* layout;
    uint32_t specialLayout;
    uint32_t secureFlag;  // kSecure: the number sent
    bool piEnabled;       // kSas
    bool secure;          // kSas
    Outputs out;
};

bool Contains(const auto& table, auto value) {
    return std::find(table.begin(), table.end(), value) != table.end();
}

// True when text begins with "yes", case ignored.
bool BeginsWithYes(const char* text) {
    if (text == nullptr) {
        return false;
    }
    static constexpr char kYes[] = "yes";
    for (size_t i = 0; i < 3; ++i) {
        char c = text[i];
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
        if (c != kYes[i]) {
            return false;
        }
    }
    return true;
}

void Empty(char* out, uint32_t capacity) {
    if (out != nullptr && capacity > 0) {
        out[0] = '\0';
    }
}

// Layouts are decimal numbers: "0512" is layout 512. Text that is not a
// number only equals itself.
bool SameLayout(const std::string& a, const std::string& b) {
    const auto number = [](const std::string& s, unsigned long& v) {
        if (s.empty() || s.find_first_not_of("0123456789") != std::string::npos) return false;
        v = std::strtoul(s.c_str(), nullptr, 10);
        return true;
    };
    unsigned long x = 0;
    unsigned long y = 0;
    return number(a, x) && number(b, y) ? x == y : a == b;
}

bool Level4() {
    return SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE) != 0;
}

// The numbered arguments for the controller interface, without the count.
std::vector<std::string> PassThruArgs(const CapsCall& call, const std::string& controllerObjId,
                                      const std::string& diskObjIds, int diskCount) {
    std::vector<std::string> args = {"getcaps",  "make",          "vdisk",
                                     "ObjID",    controllerObjId, "IDList",
                                     diskObjIds, "MinDrives",     std::to_string(diskCount)};
    const unsigned long layout =
        call.layout != nullptr ? std::strtoul(call.layout, nullptr, 10) : 0;
    const bool spanned = Contains(kSpannedLayouts, layout);
    const std::string spanLength = std::to_string(call.spanLength);
    switch (call.variant) {
        case Variant::kPlain:
            if (spanned) {
                args.insert(args.end(), {"Rules", "2", "SpanLength", spanLength});
            }
            break;
        case Variant::kSecure:
            args.insert(args.end(), {"SecureFlag", std::to_string(call.secureFlag)});
            if (spanned) {
                args.insert(args.end(), {"Rules", "2", "SpanLength", spanLength});
            }
            break;
        case Variant::kSas:
            args.insert(args.end(), {"VdPIEnabled", call.piEnabled ? "1" : "0"});
            args.insert(args.end(), {"SecureFlag", call.secure ? "1" : "0"});
            if (spanned) {
                args.insert(args.end(), {"Rules", "2"});
            }
            if (Contains(kSpanLengthLayoutsForSas, layout)) {
                args.insert(args.end(), {"SpanLength", spanLength});
            }
            break;
    }
    return args;
}

// The controller's "ObjID": the one at the occurrence of the "GlobalNo" that
// equals the user's controller number.
da::FetchStatus ControllerObjId(const CapsCall& call, std::string& objId) {
    da::WrappedAnswer answer =
        da::FetchAndWrap(da::Request(vkacmd.getControllerList), da::AllocOrder::kBufferFirst);
    if (answer.status != da::FetchStatus::kAnswer) {
        return answer.status;
    }
    std::string globalNo;
    for (uint32_t n = 0; da::ReadNthTag(answer.xml.get(), "GlobalNo", n, globalNo); ++n) {
        if (call.globalNo != nullptr && globalNo == call.globalNo) {
            da::ReadNthTag(answer.xml.get(), "ObjID", n, objId, kControllerObjIdSize);
            break;
        }
    }
    return da::FetchStatus::kAnswer;
}

// Every disk's "ObjID", joined with ":" and cut to the list size; count is
// the number of identifiers read.
da::FetchStatus DiskObjIds(const CapsCall& call, std::string& list, int& count) {
    da::Request request(vkacmd.getArrayDisk);
    // The disk list goes whole: it was checked against the controller's
    // disks before it gets here.
    request.Field("GlobalNo", call.globalNo, da::kControllerFieldSize)
        .Pair("adisk", call.diskList != nullptr ? call.diskList : "")
        .Cli();
    da::WrappedAnswer answer = da::FetchAndWrap(request, da::AllocOrder::kBufferFirst);
    if (answer.status != da::FetchStatus::kAnswer) {
        return answer.status;
    }
    std::string objId;
    for (uint32_t n = 0; da::ReadNthTag(answer.xml.get(), "ObjID", n, objId); ++n) {
        if (n > 0) {
            list += ':';
        }
        list += objId;
        ++count;
    }
    if (list.size() > kDiskObjIdListSize - 1) {
        list.resize(kDiskObjIdListSize - 1);
    }
    return da::FetchStatus::kAnswer;
}

// Reads tag at occurrence n into a caller's output, if there is one.
void ReadInto(const OCSXBuf* xml, const char* tag, uint32_t n, char* out, uint32_t capacity) {
    if (out != nullptr && capacity > 0) {
        GetNthTagValueWithSize(tag, out, capacity, n, xml);
    }
}

// Finds the layout in the wrapped pass-through answer and reads its limits.
void ReadLimits(const CapsCall& call, const OCSXBuf* xml) {
    const bool asLayout512 =
        call.specialLayout == 0 && Contains(kSpanLengthsAsLayout512, call.spanLength);
    const std::string wanted = asLayout512 ? kLayout512 : (call.layout ? call.layout : "");
    if (Level4()) {
        SysDbgPrint("%s: layout looked for=%s\n", call.prefix, wanted.c_str());
    }
    const Outputs& out = call.out;
    std::string layout;
    for (uint32_t n = 0; da::ReadNthTag(xml, "Layout", n, layout); ++n) {
        if (Level4()) {
            SysDbgPrint("%s: Layout[%u]=%s\n", call.prefix, n, layout.c_str());
        }
        const bool match = SameLayout(layout, wanted);
        // The all-layouts entry answers for any layout and ends the walk.
        if (!match && layout != kStopLayout) {
            continue;
        }
        ReadInto(xml, "MinimumLength", n, out.minSize, out.minSizeCapacity);
        ReadInto(xml, "Length", n, out.maxSize, out.maxSizeCapacity);
        if (Level4()) {
            SysDbgPrint("%s: MinimumLength=%s, Length=%s\n", call.prefix,
                        out.minSize ? out.minSize : "", out.maxSize ? out.maxSize : "");
        }
        if (match && call.variant == Variant::kSas) {
            ReadInto(xml, "SpanDepth", n, out.spanDepth, out.spanDepthCapacity);
            ReadInto(xml, "SpanLengthList", n, out.spanLengthList, out.spanLengthListCapacity);
            if (Level4()) {
                SysDbgPrint("%s: SpanDepth=%s, SpanLengthList=%s\n", call.prefix,
                            out.spanDepth ? out.spanDepth : "",
                            out.spanLengthList ? out.spanLengthList : "");
            }
        }
        return;
    }
}

void TraceAnswer(const CapsCall& call, const OCSXBuf* xml) {
    if (!Level4()) {
        return;
    }
    // The buffer holds "<ROOT>" + answer + "</ROOT>": trace the answer alone.
    std::string_view content(xml->pContent, xml->contentSize);
    const size_t open = std::strlen(da::kRootElement) + 2;
    const size_t close = open + 1;
    if (content.size() >= open + close) {
        content = content.substr(open, content.size() - open - close);
    }
    SysDbgPrint("%s: pRespObj->pDataBuf=%.*s", call.prefix, static_cast<int>(content.size()),
                content.data());
    SysDbgPrint("\n%s: ---- end of pDataBuf ----\n", call.prefix);
}

// Only an XML buffer failure gives a non-zero result; a missing answer at any
// step leaves the outputs empty and answers 0, and the caller then refuses
// the command for want of limits.
int32_t QueryCaps(const CapsCall& call) {
    da::ScopedFunctionTrace trace(call.traceName);
    const Outputs& out = call.out;
    Empty(out.minSize, out.minSizeCapacity);
    Empty(out.maxSize, out.maxSizeCapacity);
    Empty(out.spanDepth, out.spanDepthCapacity);
    Empty(out.spanLengthList, out.spanLengthListCapacity);
    if (Level4()) {
        SysDbgPrint("%s: pLayoutValue=%s\n", call.prefix, call.layout ? call.layout : "");
    }
    // Allocation failures are this function's own level-4 messages, like its
    // other lines.
    auto noBuffer = [&] {
        if (Level4()) {
            SysDbgPrint("%s: OCSXAllocBuf() failed\n", call.prefix);
        }
        return kDANoXmlBuffer;
    };

    std::string controllerObjId;
    switch (ControllerObjId(call, controllerObjId)) {
        case da::FetchStatus::kNoBuffer:
            return noBuffer();
        case da::FetchStatus::kNoAnswer:
            if (Level4()) {
                SysDbgPrint("%s: pRespObj is NULL when trying to get controller objID\n",
                            call.prefix);
            }
            return kDAValid;
        case da::FetchStatus::kAnswer:
            break;
    }
    if (Level4()) {
        SysDbgPrint("%s: controller ObjID=%s\n", call.prefix, controllerObjId.c_str());
    }

    std::string diskObjIds;
    int diskCount = 0;
    switch (DiskObjIds(call, diskObjIds, diskCount)) {
        case da::FetchStatus::kNoBuffer:
            return noBuffer();
        case da::FetchStatus::kNoAnswer:
            if (Level4()) {
                SysDbgPrint("%s: pRespObj is NULL when trying to get adisk list\n", call.prefix);
            }
            return kDAValid;
        case da::FetchStatus::kAnswer:
            break;
    }
    if (Level4()) {
        SysDbgPrint("%s: adisk ObjID list=%s, disk count=%d\n", call.prefix, diskObjIds.c_str(),
                    diskCount);
    }

    const std::vector<std::string> args =
        PassThruArgs(call, controllerObjId, diskObjIds, diskCount);
    da::Request request(vkacmd.sendPassThruCmdToQXSIF);
    for (size_t i = 0; i < args.size(); ++i) {
        request.Pair("param" + std::to_string(i), args[i]);
    }
    request.Pair("NumQXSIFArgs", std::to_string(args.size()));
    da::WrappedAnswer answer = da::FetchAndWrap(request, da::AllocOrder::kBufferFirst);
    switch (answer.status) {
        case da::FetchStatus::kNoBuffer:
            return noBuffer();
        case da::FetchStatus::kNoAnswer:
            if (Level4()) {
                SysDbgPrint("%s: sendQXSIFPassThru() returned NULL\n", call.prefix);
            }
            return kDAValid;
        case da::FetchStatus::kAnswer:
            break;
    }
    TraceAnswer(call, answer.xml.get());
    ReadLimits(call, answer.xml.get());
    return kDAValid;
}

constexpr const char* kMinMaxName = "GetPossibleMinMaxVDSizeForLayout";
constexpr const char* kMinMaxPrefix = "GetPossibleMinMaxVDSizeForLayout()";

}  // namespace

int32_t GetPossibleMinMaxVDSizeForLayout(const char* globalNo, const char* diskList,
                                         uint32_t spanLength, const char* layout, char* minSize,
                                         uint32_t minSizeCapacity, char* maxSize,
                                         uint32_t maxSizeCapacity, uint32_t specialLayout) {
    return QueryCaps({.traceName = kMinMaxName,
                      .prefix = kMinMaxPrefix,
                      .variant = Variant::kPlain,
                      .globalNo = globalNo,
                      .diskList = diskList,
                      .spanLength = spanLength,
                      .layout = layout,
                      .specialLayout = specialLayout,
                      .secureFlag = 0,
                      .piEnabled = false,
                      .secure = false,
                      .out = {minSize, minSizeCapacity, maxSize, maxSizeCapacity}});
}

// The secure form is the same query with the flag sent, so it traces under
// the same name.
int32_t GetPossibleMinMaxVDSizeForLayoutSecure(const char* globalNo, const char* diskList,
                                               uint32_t spanLength, const char* layout,
                                               char* minSize, uint32_t minSizeCapacity,
                                               char* maxSize, uint32_t maxSizeCapacity,
                                               uint32_t specialLayout, uint32_t secureFlag) {
    return QueryCaps({.traceName = kMinMaxName,
                      .prefix = kMinMaxPrefix,
                      .variant = Variant::kSecure,
                      .globalNo = globalNo,
                      .diskList = diskList,
                      .spanLength = spanLength,
                      .layout = layout,
                      .specialLayout = specialLayout,
                      .secureFlag = secureFlag,
                      .piEnabled = false,
                      .secure = false,
                      .out = {minSize, minSizeCapacity, maxSize, maxSizeCapacity}});
}

int32_t GetsasGetCapsProps(const char* globalNo, const char* diskList, uint32_t spanLength,
                           const char* layout, char* minSize, uint32_t minSizeCapacity,
                           char* maxSize, uint32_t maxSizeCapacity, uint32_t specialLayout,
                           const char* protectionInfo, const char* secure, char* spanDepth,
                           uint32_t spanDepthCapacity, char* spanLengthList,
                           uint32_t spanLengthListCapacity) {
    return QueryCaps({.traceName = "GetsasGetCapsProps",
                      .prefix = "GetsasGetCapsProps()",
                      .variant = Variant::kSas,
                      .globalNo = globalNo,
                      .diskList = diskList,
                      .spanLength = spanLength,
                      .layout = layout,
                      .specialLayout = specialLayout,
                      .secureFlag = 0,
                      .piEnabled = BeginsWithYes(protectionInfo),
                      .secure = BeginsWithYes(secure),
                      .out = {minSize, minSizeCapacity, maxSize, maxSizeCapacity, spanDepth,
                              spanDepthCapacity, spanLengthList, spanLengthListCapacity}});
}
