// Data-manager access of the storage plug-in: requests to the data agent
// "kvda", the XML buffer that holds an answer while it is queried, tag and
// storage-object lookups, single-property readers and the pass-through
// capability queries that size virtual disks.
//
// Every answer is wrapped in a "ROOT" element before it is queried, and
// every buffer and response is released before a function returns.
//
// Status values: 0 valid or found, -1 not found or no answer, 272 when no
// XML buffer could be had. Identifiers are compared as exact text.
#ifndef VK_DA_DA_H
#define VK_DA_DA_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "clps.h"
#include "ocs.h"
#include "trace.h"
#include "vocabulary.h"

// ---- status values --------------------------------------------------------
inline constexpr int32_t kDAValid = 0;
inline constexpr int32_t kDANotValid = -1;
inline constexpr int32_t kDANoXmlBuffer = 272;
// Result of the raw answer copy when there is nothing to copy.
inline constexpr uint32_t kDARawCopyFailed = 0xFFFFFFFFu;

// ---- requests and answers (the building blocks of every query) ------------
namespace da {

// Requests are named from the vocabulary the agent answers.
using vk::vkacmd;

inline constexpr const char* kAgentName = "kvda";
inline constexpr const char* kResponseElement = "RESPONSE";
inline constexpr const char* kStyleSheet = "kvclp.xsl";
inline constexpr const char* kRootElement = "ROOT";
inline constexpr const char* kStorageObjectElement = "QXStorageObject";

// Fixed sizes (terminator included) that identifier entries are formatted
// into; a longer value is cut, and that cut is what the agent receives.
inline constexpr std::size_t kControllerFieldSize = 19;  // "GlobalNo=%s" in controller queries
inline constexpr std::size_t kWideFieldSize = 255;       // battery query, single-property readers
// Capacity of the tag readers that take no size.
inline constexpr uint32_t kTagValueSize = 256;

// Writes the entry line on construction and the exit line on destruction,
// each at level 3 and only when that level is on.
class ScopedFunctionTrace {
  public:
    explicit ScopedFunctionTrace(const char* name);
    ~ScopedFunctionTrace();
    ScopedFunctionTrace(const ScopedFunctionTrace&) = delete;
    ScopedFunctionTrace& operator=(const ScopedFunctionTrace&) = delete;

  private:
    const char* name_;
};

// "<name>: OCSXAllocBuf failed" at level 3.
void LogAllocFailed(const char* name);

// A name/value list: "vkacmd=<request>" first, then the entries in the order
// they are added. The list owns its texts.
class Request {
  public:
    explicit Request(vk::RequestName request);

    // Appends "key=value" formatted into fieldSize bytes (terminator
    // included), so a long value is cut exactly as a fixed buffer cuts it.
    // A null value counts as empty.
    Request& Field(std::string_view key, const char* value, std::size_t fieldSize);
    // Appends "key=value" whole.
    Request& Pair(std::string_view key, std::string_view value);
    // Appends an entry as it stands ("CLI=true").
    Request& Entry(std::string_view entry);
    Request& Cli() { return Entry("CLI=true"); }

    uint32_t Count() const { return static_cast<uint32_t>(entries_.size()); }
    const std::vector<std::string>& Entries() const { return entries_; }
    // The list as the send call takes it; valid while the request lives and
    // is not changed.
    std::vector<const char*> Pointers() const;

  private:
    std::vector<std::string> entries_;
};

struct ResponseFree {
    void operator()(CLPSResponse* resp) const { CLPSFreeResponse(resp); }
};
using Response = std::unique_ptr<CLPSResponse, ResponseFree>;

// Sends the request to "kvda" with response element "RESPONSE" and the
// stylesheet "kvclp.xsl". Null when the agent did not answer.
Response Send(const Request& request);

// Owns an XML buffer. Freeing it also drops the cached parse of its content
// (see GetNthTagValueWithSize), so nothing of an answer outlives it.
class XmlBuffer {
  public:
    XmlBuffer() = default;
    // Takes over buf (may be null).
    explicit XmlBuffer(OCSXBuf* buf) : buf_(buf) {}
    ~XmlBuffer() { Reset(); }
    XmlBuffer(XmlBuffer&& other) noexcept : buf_(std::exchange(other.buf_, nullptr)) {}
    XmlBuffer& operator=(XmlBuffer&& other) noexcept;
    XmlBuffer(const XmlBuffer&) = delete;
    XmlBuffer& operator=(const XmlBuffer&) = delete;

    // OCSXAllocBuf(0, mode); empty when memory cannot be had.
    static XmlBuffer Allocate(uint32_t mode = 0);

    OCSXBuf* get() const { return buf_; }
    explicit operator bool() const { return buf_ != nullptr; }
    void Reset();

  private:
    OCSXBuf* buf_ = nullptr;
};

// Whether the XML buffer is allocated before the request is sent (most
// queries) or after the answer arrived (battery query, property readers).
// It decides whether the agent is asked at all when memory is short.
enum class AllocOrder { kBufferFirst, kResponseFirst };

enum class FetchStatus { kAnswer, kNoBuffer, kNoAnswer };

struct WrappedAnswer {
    FetchStatus status = FetchStatus::kNoAnswer;
    XmlBuffer xml;  // holds "<ROOT>" + answer + "</ROOT>" when status is kAnswer
};

// Fetch and wrap: allocates the buffer (in the given order), sends the
// request, wraps the answer's data in "ROOT" and frees the response at once.
// No response or no data gives kNoAnswer; no buffer (or no memory to wrap)
// gives kNoBuffer. Writes no trace.
WrappedAnswer FetchAndWrap(const Request& request, AllocOrder order);

// The whole query sequence: entry line, FetchAndWrap, and then
//  - no buffer: "<traceName>: OCSXAllocBuf failed" at level 3, result 272;
//  - no answer: result noAnswer;
//  - answer: result query(const OCSXBuf*);
// the buffer is freed and the exit line written on every path.
// allocFailName names the function in the allocation-failure line where it
// differs from the entry and exit lines.
template <typename Query>
int32_t AskAgent(const char* traceName, const char* allocFailName, const Request& request,
                 AllocOrder order, int32_t noAnswer, Query&& query) {
    ScopedFunctionTrace trace(traceName);
    WrappedAnswer answer = FetchAndWrap(request, order);
    switch (answer.status) {
        case FetchStatus::kNoBuffer:
            LogAllocFailed(allocFailName);
            return kDANoXmlBuffer;
        case FetchStatus::kNoAnswer:
            return noAnswer;
        case FetchStatus::kAnswer:
            break;
    }
    return std::forward<Query>(query)(static_cast<const OCSXBuf*>(answer.xml.get()));
}

template <typename Query>
int32_t AskAgent(const char* traceName, const Request& request, AllocOrder order, int32_t noAnswer,
                 Query&& query) {
    return AskAgent(traceName, traceName, request, order, noAnswer, std::forward<Query>(query));
}

// Drops this thread's cached parse when it belongs to buf. XmlBuffer does it
// by itself; call it before freeing a buffer allocated some other way to
// release the parse early (a stale parse is never used either way).
void ForgetParsedXml(const OCSXBuf* buf);

// Reads the n-th occurrence of tag (GetNthTagValueWithSize) into a string;
// false when there is none. capacity cuts the value as the C form does.
bool ReadNthTag(const OCSXBuf* buf, const char* tag, uint32_t n, std::string& value,
                uint32_t capacity = kTagValueSize);

}  // namespace da

// ---- requests and responses -----------------------------------------------

// Asks "vkacmd=getControllerList" and walks the "GlobalNo" values in order,
// appending each to validList (the list is emptied first, ", " between
// values) until one equals userId exactly. 0 on a match (the list then ends
// with it), -1 when none matches or there is no answer (the list then holds
// every controller number), 272 without an XML buffer.
int32_t IsUserControllerIdValid(const char* userId, std::string& validList);
// The same for a caller's fixed text of validListSize bytes: the list is cut
// to fit (always terminated).
int32_t IsUserControllerIdValid(const char* userId, char* validList, uint32_t validListSize);

// Finds the virtual disk userVd of controller globalNo
// ("vkacmd=getVirtualDisksForController") and answers 0 when its "Layout",
// read as a decimal number, equals userLayout (decimal text); else -1.
int32_t IsUserVDLayoutValidForOCE(const char* globalNo, const char* userVd, const char* userLayout);

// Requested learn delay is days * 24 + hours (decimal, null counts 0). Reads
// the battery's "MaxLearnDelay" into maxDelay (cut to maxDelaySize) and
// answers 0 when the delay is not zero and not above it; -1 otherwise, also
// without an answer or without the tag; 272 without an XML buffer.
int32_t IsDelayLearnWithinMaxLearnDelay(const char* globalNo, const char* batteryId,
                                        const char* days, const char* hours, char* maxDelay,
                                        uint32_t maxDelaySize);

// Copies the raw answer text of "vkacmd=getSupportedRaidLevelsForController"
// into out (cut to outSize, always terminated). 0 on success,
// kDARawCopyFailed when there is no answer, no data or no room.
uint32_t GetSupportedRaidLevelsForController(const char* globalNo, char* out, uint32_t outSize);

// ---- XML queries ----------------------------------------------------------

// Copies the text of the n-th element (counting from 0, document order, any
// depth) named exactly tag into out, cut to capacity - 1 bytes and
// terminated. 0 when copied, non-zero otherwise (the XMLSUP_* codes of
// XMLSupGetXMLMemData). Answered from a parse cached per buffer content, so
// reading n = 0, 1, 2, ... parses the answer once.
int32_t GetNthTagValueWithSize(const char* tag, char* out, uint32_t capacity, uint32_t n,
                               const OCSXBuf* buf);
// The same with a capacity of 256 bytes.
int32_t GetNthTagValue(const char* tag, char* out, uint32_t n, const OCSXBuf* buf);

// The first child named exactly tag of the n-th "QXStorageObject" element:
// its text into out (at most 255 characters, terminated). 0 found, -1
// otherwise; level-4 lines when the text does not parse or holds no object.
int32_t QueryNthQXStorObjElement(const char* tag, char* out, uint32_t n, const OCSXBuf* buf);
// The same with the caller's capacity (cut to capacity - 1, terminated).
int32_t QueryNthQXStorObjElementWithSize(const char* tag, char* out, uint32_t capacity, uint32_t n,
                                         const OCSXBuf* buf);
// The same on a DOM root of SXDOMCreate that the caller keeps: copies at most
// limit bytes, without a terminator when the value fills them.
int32_t QueryNthQXStorObjElementGiveRootNode(void* root, const char* tag, char* out, uint32_t limit,
                                             uint32_t n);
// Number of "QXStorageObject" elements under root; 0 for a null root.
uint32_t CountQXStorObjElements(void* root);

// ---- single-property readers of "vkacmd=getController" --------------------

// "RebuildRate" into out (256 bytes, emptied first). 0, or 272.
int32_t GetRebuildRateForController(const char* globalNo, char* out);
// "RebuildRate", "Copyback", "Loadbalance", "AutoCopybackOnPredictiveFailure"
// into out of capacity bytes. 0 whether or not the tag was found, or 272.
int32_t GetRebuildRateForControllerWithSize(const char* globalNo, char* out, uint32_t capacity);
int32_t GetCopybackForControllerWithSize(const char* globalNo, char* out, uint32_t capacity);
int32_t GetLoadbalanceForControllerWithSize(const char* globalNo, char* out, uint32_t capacity);
int32_t GetSmarterForControllerWithSize(const char* globalNo, char* out, uint32_t capacity);
// Any tag of the controller: 0 found, -1 not found, 272 without a buffer.
// No answer at all gives 0 and leaves out untouched.
int32_t GetTagValueForController(const char* globalNo, const char* tag, char* out,
                                 uint32_t capacity);
// Any tag of a battery ("vkacmd=getBattery"): 0 found, -1 not found or no
// answer, 272 without a buffer.
int32_t GetTagValueForBattery(const char* globalNo, const char* batteryId, const char* tag,
                              char* out, uint32_t capacity);
// The controller's "Name" into out (256 bytes). 0; -1 for a null argument or
// no answer; 272 without a buffer.
int32_t GetControllerNameFromUserInput(const char* globalNo, char* out);

// ---- pass-through capability queries ----------------------------------------

// Smallest and largest virtual-disk size for layout (decimal text) on the
// disks diskList (as sent with "adisk=") of controller globalNo, asked from
// the controller interface with "vkacmd=sendPassThruCmdToQXSIF". The outputs
// are emptied first and stay empty when the answer has no such layout or a
// query got no answer; the result is then still 0. 272 without an XML buffer.
// specialLayout zero with a span length of 22 or 26 looks for layout "512".
int32_t GetPossibleMinMaxVDSizeForLayout(const char* globalNo, const char* diskList,
                                         uint32_t spanLength, const char* layout, char* minSize,
                                         uint32_t minSizeCapacity, char* maxSize,
                                         uint32_t maxSizeCapacity, uint32_t specialLayout);
// The same with "SecureFlag" sent: secureFlag is the number sent (1 for a
// secure virtual disk; the caller has already checked the user's "yes").
int32_t GetPossibleMinMaxVDSizeForLayoutSecure(const char* globalNo, const char* diskList,
                                               uint32_t spanLength, const char* layout,
                                               char* minSize, uint32_t minSizeCapacity,
                                               char* maxSize, uint32_t maxSizeCapacity,
                                               uint32_t specialLayout, uint32_t secureFlag);
// The same with protection information and security sent as 1 when their
// text begins with "yes" (case ignored), else 0, and the span depth and span
// length list of the matching layout read as well.
int32_t GetsasGetCapsProps(const char* globalNo, const char* diskList, uint32_t spanLength,
                           const char* layout, char* minSize, uint32_t minSizeCapacity,
                           char* maxSize, uint32_t maxSizeCapacity, uint32_t specialLayout,
                           const char* protectionInfo, const char* secure, char* spanDepth,
                           uint32_t spanDepthCapacity, char* spanLengthList,
                           uint32_t spanLengthListCapacity);

#endif
