// Shared building blocks of the validation library.
#include <cstring>

#include "kvsup_internal.h"
#include "xmlsup.h"

namespace kvsup::detail {

int64_t ToNumber(std::string_view s) {
    std::size_t i = 0;
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\n')) {
        ++i;
    }
    bool negative = false;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) {
        negative = s[i] == '-';
        ++i;
    }
    int64_t value = 0;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
        if (value < (INT64_MAX - 9) / 10) {
            value = value * 10 + (s[i] - '0');
        }
    }
    return negative ? -value : value;
}

void TraceLine(int32_t level, std::string_view text) {
    if (!SysDbgIsLevelEnabled(level)) {
        return;
    }
    // Each text is written exactly as given, line feed or not.
    SysDbgPrint("%.*s", static_cast<int>(text.size()), text.data());
}

ValidList::ValidList(std::string& out, std::string_view separator)
    : text_(&out), separator_(separator) {
    out.clear();
}

ValidList::ValidList(char* out, uint32_t size, std::string_view separator)
    : buf_(out), size_(size), separator_(separator) {
    if (buf_ != nullptr && size_ > 0) {
        buf_[0] = '\0';
    }
}

void ValidList::Cat(std::string_view piece) {
    if (text_ != nullptr) {
        text_->append(piece);
        return;
    }
    if (buf_ == nullptr || size_ == 0) {
        return;
    }
    const std::size_t length = std::strlen(buf_);
    if (length + 1 >= size_) {
        return;
    }
    const std::size_t room = size_ - length - 1;
    const std::size_t n = piece.size() < room ? piece.size() : room;
    std::memcpy(buf_ + length, piece.data(), n);
    buf_[length + n] = '\0';
}

void ValidList::Add(std::string_view value) {
    if (count_ > 0) {
        Cat(separator_);
    }
    Cat(value);
    ++count_;
}

void CopyBounded(char* out, uint32_t size, std::string_view value) {
    if (out == nullptr || size == 0) {
        return;
    }
    const std::size_t n = value.size() < size - 1 ? value.size() : size - 1;
    std::memcpy(out, value.data(), n);
    out[n] = '\0';
}

namespace {
struct DomRoot {
    void* root;
    ~DomRoot() {
        if (root != nullptr) {
            SXDOMDestroy(root);
        }
    }
};
struct DomList {
    SXDOMGenericList* list;
    ~DomList() {
        if (list != nullptr) {
            SXDOMFreeGenericList(list);
        }
    }
};
}  // namespace

StorageObjects::StorageObjects(const OCSXBuf* buf) {
    if (buf == nullptr || buf->pContent == nullptr) {
        return;
    }
    DomRoot root{SXDOMCreate(buf->pContent, buf->contentSize, 1)};
    if (root.root == nullptr) {
        return;
    }
    DomList selection{SXDOMSelect(root.root, da::kStorageObjectElement, 0)};
    if (selection.list == nullptr) {
        return;
    }
    objects_.reserve(selection.list->count);
    for (uint32_t i = 0; i < selection.list->count; ++i) {
        Props props;
        DomList children{SXDOMGetChildList(selection.list->ppItems[i])};
        if (children.list != nullptr) {
            for (uint32_t c = 0; c < children.list->count; ++c) {
                void* child = children.list->ppItems[c];
                const char* name = SXDOMGetName(child);
                const char* value = SXDOMGetValue(child);
                props.emplace_back(name != nullptr ? name : "", value != nullptr ? value : "");
            }
        }
        objects_.push_back(std::move(props));
    }
}

bool StorageObjects::Get(std::size_t n, std::string_view tag, std::string& value) const {
    if (n >= objects_.size()) {
        return false;
    }
    for (const auto& [name, text] : objects_[n]) {
        if (name == tag) {
            value = text;
            return true;
        }
    }
    return false;
}

std::string StorageObjects::Value(std::size_t n, std::string_view tag) const {
    std::string value;
    Get(n, tag, value);
    return value;
}

bool StorageObjects::Has(std::size_t n, std::string_view tag) const {
    std::string value;
    return Get(n, tag, value);
}

uint32_t StorageObjects::Mask(std::size_t n, std::string_view tag) const {
    std::string text;
    if (!Get(n, tag, text)) {
        return 0;
    }
    // Masks are read into 100-byte fields.
    if (text.size() > 99) {
        text.resize(99);
    }
    uint32_t value = 0;
    ConvertBinaryStringToInteger(text.c_str(), &value);
    return value;
}

Fetched Fetch(const da::Request& request, da::AllocOrder order) {
    Fetched result;
    da::WrappedAnswer answer = da::FetchAndWrap(request, order);
    result.noBuffer = answer.status == da::FetchStatus::kNoBuffer;
    if (answer.status == da::FetchStatus::kAnswer) {
        result.xml = std::move(answer.xml);
    }
    return result;
}

da::Request ControllerRequest(vk::RequestName name, const char* globalNo) {
    da::Request request(name);
    request.Field("GlobalNo", globalNo, 20).Cli();
    return request;
}

std::size_t ColonCount(std::string_view id) {
    std::size_t n = 0;
    for (char c : id) {
        n += c == ':' ? 1 : 0;
    }
    return n;
}

}  // namespace kvsup::detail
