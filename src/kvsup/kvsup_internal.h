// Building blocks shared by the validation library's sources: the list of
// valid values, the storage objects of an answer, and the query sequence
// with this library's trace texts. Not part of the public interface.
#ifndef VK_KVSUP_INTERNAL_H
#define VK_KVSUP_INTERNAL_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "da.h"
#include "kvsup.h"

namespace kvsup::detail {

// Requests are named from the vocabulary the agent answers.
using vk::vkacmd;

// Text of a possibly null C string.
inline std::string_view Text(const char* s) {
    return s != nullptr ? std::string_view(s) : "";
}

// Entry and exit lines for functions that leave some paths without the
// exit line (ScopedFunctionTrace writes it on every path).
inline void Enter(const char* name) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) {
        LogFunctionEntry(name);
    }
}
inline void Leave(const char* name) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) {
        LogFunctionExit(name);
    }
}

// Leading decimal digits as a number, like the runtime's text-to-integer
// conversion (leading blanks and one sign accepted; 0 when unreadable).
int64_t ToNumber(std::string_view s);

// "<text>" at the level when it is on, with a line feed added when the text
// lacks one. Texts are this system's trace lines, printed as they stand.
void TraceLine(int32_t level, std::string_view text);

// The list of valid values a validator fills for the caller's message. The
// first value is copied in, every later one follows the separator. Either a
// growing text or a caller's fixed buffer, which is cut by bounded
// concatenation (room = size - length - 1 for each piece).
class ValidList {
  public:
    ValidList(std::string& out, std::string_view separator = ", ");
    ValidList(char* out, uint32_t size, std::string_view separator = ", ");
    void Add(std::string_view value);
    bool Empty() const { return count_ == 0; }

  private:
    void Cat(std::string_view piece);

    std::string* text_ = nullptr;
    char* buf_ = nullptr;
    uint32_t size_ = 0;
    std::string_view separator_;
    uint32_t count_ = 0;
};

// Bounded copy into a fixed buffer of size bytes (terminated, cut to fit).
void CopyBounded(char* out, uint32_t size, std::string_view value);

// The "QXStorageObject" elements of a wrapped answer, each with its
// properties in document order. A property present twice yields its first
// value. Parsed once; lookups are by object index.
class StorageObjects {
  public:
    explicit StorageObjects(const OCSXBuf* buf);
    std::size_t Count() const { return objects_.size(); }
    // True and the value when object n has the tag.
    bool Get(std::size_t n, std::string_view tag, std::string& value) const;
    // The value, or "" when absent.
    std::string Value(std::size_t n, std::string_view tag) const;
    bool Has(std::size_t n, std::string_view tag) const;
    // The object's binary mask tag as a number (0 when absent).
    uint32_t Mask(std::size_t n, std::string_view tag) const;

  private:
    using Props = std::vector<std::pair<std::string, std::string>>;
    std::vector<Props> objects_;
};

// Trace texts of one query.
struct QueryTexts {
    const char* traceName;  // entry and exit lines
    const char*
        noBufferLine;  // level 3 when no XML buffer (null: "<traceName>: OCSXAllocBuf failed")
    const char* noAnswerLine;  // written when the agent gives no answer (null: none)
    int32_t noAnswerLevel = TRACE_LEVEL_DETAIL;
};

// Entry line, fetch and wrap, the failure lines, the query on the answer,
// exit line. noAnswer is the result without an answer; 272 without buffer.
template <typename Fn>
int32_t Ask(const QueryTexts& texts, const da::Request& request, int32_t noAnswer, Fn&& query,
            da::AllocOrder order = da::AllocOrder::kBufferFirst) {
    da::ScopedFunctionTrace trace(texts.traceName);
    da::WrappedAnswer answer = da::FetchAndWrap(request, order);
    switch (answer.status) {
        case da::FetchStatus::kNoBuffer:
            if (texts.noBufferLine != nullptr) {
                TraceLine(TRACE_LEVEL_DETAIL, texts.noBufferLine);
            } else {
                da::LogAllocFailed(texts.traceName);
            }
            return status::kNoBuffer;
        case da::FetchStatus::kNoAnswer:
            if (texts.noAnswerLine != nullptr) {
                TraceLine(texts.noAnswerLevel, texts.noAnswerLine);
            }
            return noAnswer;
        case da::FetchStatus::kAnswer:
            break;
    }
    return std::forward<Fn>(query)(static_cast<const OCSXBuf*>(answer.xml.get()));
}

// Fetch and wrap without trace lines, for the second and later queries of a
// function: the buffer (empty without an answer) and whether the buffer
// could be had.
struct Fetched {
    bool noBuffer = false;
    da::XmlBuffer xml;
    explicit operator bool() const { return static_cast<bool>(xml); }
};
Fetched Fetch(const da::Request& request, da::AllocOrder order = da::AllocOrder::kBufferFirst);

// "vkacmd=<name>", "GlobalNo=<globalNo>" (20-byte field), "CLI=true".
da::Request ControllerRequest(vk::RequestName request, const char* globalNo);

// Number of ':' in an identifier.
std::size_t ColonCount(std::string_view id);

}  // namespace kvsup::detail

#endif
