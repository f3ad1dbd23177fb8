// Requests to the data agent and the fetch-and-wrap sequence every query
// shares.
#include <cstdio>

#include "da.h"

namespace da {

ScopedFunctionTrace::ScopedFunctionTrace(const char* name) : name_(name) {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) {
        LogFunctionEntry(name_);
    }
}

ScopedFunctionTrace::~ScopedFunctionTrace() {
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) {
        LogFunctionExit(name_);
    }
}

void LogAllocFailed(const char* name) {
    // The text carries no line feed of its own.
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_DETAIL)) {
        SysDbgPrint("%s: OCSXAllocBuf failed", name);
    }
}

Request::Request(vk::RequestName request) {
    entries_.emplace_back(request.text);
}

Request& Request::Field(std::string_view key, const char* value, std::size_t fieldSize) {
    std::string entry(key);
    entry += '=';
    entry += value != nullptr ? value : "";
    // Same cut as formatting into a fixed buffer of fieldSize bytes.
    if (fieldSize > 0 && entry.size() > fieldSize - 1) {
        entry.resize(fieldSize - 1);
    }
    entries_.push_back(std::move(entry));
    return *this;
}

Request& Request::Pair(std::string_view key, std::string_view value) {
    std::string entry(key);
    entry += '=';
    entry += value;
    entries_.push_back(std::move(entry));
    return *this;
}

Request& Request::Entry(std::string_view entry) {
    entries_.emplace_back(entry);
    return *this;
}

std::vector<const char*> Request::Pointers() const {
    std::vector<const char*> list;
    list.reserve(entries_.size());
    for (const std::string& entry : entries_) {
        list.push_back(entry.c_str());
    }
    return list;
}

Response Send(const Request& request) {
    std::vector<const char*> list = request.Pointers();
    return Response(CLPSNVReportCapabilitesXML(kAgentName, request.Count(), list.data(),
                                               kResponseElement, kStyleSheet));
}

XmlBuffer& XmlBuffer::operator=(XmlBuffer&& other) noexcept {
    if (this != &other) {
        Reset();
        buf_ = std::exchange(other.buf_, nullptr);
    }
    return *this;
}

XmlBuffer XmlBuffer::Allocate(uint32_t mode) {
    return XmlBuffer(OCSXAllocBuf(0, mode));
}

void XmlBuffer::Reset() {
    if (buf_ != nullptr) {
        ForgetParsedXml(buf_);
        OCSXFreeBuf(buf_);
        buf_ = nullptr;
    }
}

WrappedAnswer FetchAndWrap(const Request& request, AllocOrder order) {
    WrappedAnswer result;
    if (order == AllocOrder::kBufferFirst) {
        result.xml = XmlBuffer::Allocate();
        if (!result.xml) {
            result.status = FetchStatus::kNoBuffer;
            return result;
        }
    }
    Response response = Send(request);
    if (!response || response->pDataBuf == nullptr) {
        result.status = FetchStatus::kNoAnswer;
        result.xml.Reset();
        return result;
    }
    if (order == AllocOrder::kResponseFirst) {
        result.xml = XmlBuffer::Allocate();
        if (!result.xml) {
            result.status = FetchStatus::kNoBuffer;
            return result;  // the response is freed on the way out
        }
    }
    // Wrapped as markup, so the answer's elements stand under "ROOT". Running
    // out of memory here is a buffer failure like the allocation itself.
    if (OCSXBufCatNode(result.xml.get(), kRootElement, nullptr, OCSXBUF_XML, response->pDataBuf) !=
        0) {
        result.xml.Reset();
        result.status = FetchStatus::kNoBuffer;
        return result;
    }
    response.reset();
    result.status = FetchStatus::kAnswer;
    return result;
}

bool ReadNthTag(const OCSXBuf* buf, const char* tag, uint32_t n, std::string& value,
                uint32_t capacity) {
    if (capacity == 0) {
        return false;
    }
    std::string out(capacity, '\0');
    if (GetNthTagValueWithSize(tag, out.data(), capacity, n, buf) != 0) {
        return false;
    }
    out.resize(std::char_traits<char>::length(out.c_str()));
    value = std::move(out);
    return true;
}

}  // namespace da
