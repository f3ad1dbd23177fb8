// Common services: per-thread export context, memory with a test failure
// hook, growable XML buffers and name/value lookup.
#include "ocs.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "os/module.h"
#include "text.h"

namespace {

// ---- export context ------------------------------------------------------

thread_local const OCSExportContext* tCurrentContext = nullptr;
thread_local uint32_t tContextDepth = 0;

// ---- memory --------------------------------------------------------------

std::atomic<OCSAllocFailHook> gFailHook{nullptr};

bool HookRefuses(size_t size) {
    OCSAllocFailHook hook = gFailHook.load(std::memory_order_acquire);
    return hook != nullptr && hook(size) != 0;
}

// Every allocation of this library goes through here so the hook sees it.
void* AllocRaw(size_t size) {
    if (HookRefuses(size)) {
        return nullptr;
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* ReallocRaw(void* p, size_t size) {
    if (HookRefuses(size)) {
        return nullptr;
    }
    return std::realloc(p, size == 0 ? 1 : size);
}

// ---- XML buffer ----------------------------------------------------------

constexpr uint32_t kDefaultCapacity = 256;

// Results of the append functions.
constexpr int32_t kOk = 0;
constexpr int32_t kNoMemory = 1;
constexpr int32_t kBadArgs = 2;

// Shared by all buffers so that a generation is never seen twice.
std::atomic<uint64_t> gGeneration{0};

uint64_t NextGeneration() {
    return gGeneration.fetch_add(1, std::memory_order_relaxed) + 1;
}

// Appends text to the buffer, growing it as needed. On failure the buffer is
// left exactly as it was.
int32_t Append(OCSXBuf* buf, std::string_view text) {
    const size_t needed = static_cast<size_t>(buf->contentSize) + text.size() + 1;
    if (needed > std::numeric_limits<uint32_t>::max()) {
        return kNoMemory;
    }
    if (needed > buf->capacity) {
        size_t grown = std::max<size_t>(needed, static_cast<size_t>(buf->capacity) * 2);
        grown = std::min<size_t>(grown, std::numeric_limits<uint32_t>::max());
        void* p = ReallocRaw(buf->pContent, grown);
        if (p == nullptr) {
            return kNoMemory;
        }
        buf->pContent = static_cast<char*>(p);
        buf->capacity = static_cast<uint32_t>(grown);
    }
    std::memcpy(buf->pContent + buf->contentSize, text.data(), text.size());
    buf->contentSize += static_cast<uint32_t>(text.size());
    buf->pContent[buf->contentSize] = '\0';
    buf->generation = NextGeneration();
    return kOk;
}

bool NamesEqual(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a.size() != b.size()) {
        return false;
    }
    if (!ignoreCase) {
        return a == b;
    }
    auto lower = [](char c) {
        return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    };
    for (size_t i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" {

int32_t OCSGetExportContext(OCSExportContext* ctx) {
    if (ctx == nullptr) {
        return -1;
    }
    // The caller's return address lies inside the module that asks.
    const auto module = vk::os::ModuleContaining(__builtin_return_address(0));
    if (!module) {
        return -1;
    }
    ctx->magic = OCS_EXPORT_CONTEXT_MAGIC;
    ctx->moduleBase = module->base;
    const std::string name = module->file.filename().string();
    std::snprintf(ctx->moduleName, sizeof ctx->moduleName, "%.*s", static_cast<int>(name.size()),
                  name.data());
    return 0;
}

void OCSSetExportContext(OCSExportSaveArea* save, const OCSExportContext* ctx) {
    if (save == nullptr) {
        return;
    }
    save->previous = tCurrentContext;
    save->depth = ++tContextDepth;
    tCurrentContext = ctx;
}

void OCSResetExportContext(OCSExportSaveArea* save) {
    if (save == nullptr) {
        return;
    }
    tCurrentContext = save->previous;
    tContextDepth = save->depth > 0 ? save->depth - 1 : 0;
}

const OCSExportContext* OCSGetCurrentExportContext(void) {
    return tCurrentContext;
}

void* OCSAllocMem(size_t size) {
    return AllocRaw(size);
}

void OCSFreeMem(void* p) {
    std::free(p);
}

void OCSSetAllocFailHook(OCSAllocFailHook hook) {
    gFailHook.store(hook, std::memory_order_release);
}

OCSXBuf* OCSXAllocBuf(uint32_t initialSize, uint32_t mode) {
    auto* buf = static_cast<OCSXBuf*>(AllocRaw(sizeof(OCSXBuf)));
    if (buf == nullptr) {
        return nullptr;
    }
    const uint32_t capacity = std::max(
        initialSize == std::numeric_limits<uint32_t>::max() ? initialSize : initialSize + 1,
        kDefaultCapacity);
    buf->pContent = static_cast<char*>(AllocRaw(capacity));
    if (buf->pContent == nullptr) {
        std::free(buf);
        return nullptr;
    }
    buf->pContent[0] = '\0';
    buf->contentSize = 0;
    buf->capacity = capacity;
    buf->mode = mode;
    buf->generation = NextGeneration();
    return buf;
}

int32_t OCSXBufCatNode(OCSXBuf* buf, const char* name, const char* attributes, uint32_t type,
                       const char* data) {
    if (buf == nullptr || name == nullptr || *name == '\0' ||
        (type != OCSXBUF_TEXT && type != OCSXBUF_XML)) {
        return kBadArgs;
    }
    try {
        std::string node;
        node.reserve(std::strlen(name) * 2 + 5 + (data != nullptr ? std::strlen(data) : 0));
        node += '<';
        node += name;
        if (attributes != nullptr && *attributes != '\0') {
            node += ' ';
            node += attributes;
        }
        node += '>';
        if (data != nullptr) {
            if (type == OCSXBUF_TEXT) {
                vk::AppendXmlEscaped(node, data);
            } else {
                node += data;
            }
        }
        node += "</";
        node += name;
        node += '>';
        return Append(buf, node);
    } catch (const std::bad_alloc&) {
        return kNoMemory;
    }
}

int32_t OCSXBufCatString(OCSXBuf* buf, const char* text) {
    if (buf == nullptr || text == nullptr) {
        return kBadArgs;
    }
    return Append(buf, text);
}

void OCSXFreeBuf(OCSXBuf* buf) {
    if (buf == nullptr) {
        return;
    }
    std::free(buf->pContent);
    std::free(buf);
}

char* OCSXFreeBufGetContent(OCSXBuf* buf) {
    if (buf == nullptr) {
        return nullptr;
    }
    char* content = buf->pContent;
    std::free(buf);
    return content;
}

void OCSXFreeBufContent(char* content) {
    std::free(content);
}

const char* OCSGetAStrParamValueByAStrName(uint32_t count, const char** nvPairs, const char* name,
                                           int32_t ignoreCase) {
    if (nvPairs == nullptr || name == nullptr) {
        return nullptr;
    }
    const std::string_view wanted = name;
    for (uint32_t i = 0; i < count; ++i) {
        if (nvPairs[i] == nullptr) {
            continue;
        }
        const std::string_view entry = nvPairs[i];
        const size_t eq = entry.find('=');
        if (eq == std::string_view::npos) {
            continue;
        }
        if (NamesEqual(entry.substr(0, eq), wanted, ignoreCase != 0)) {
            return nvPairs[i] + eq + 1;
        }
    }
    return nullptr;
}

}  // extern "C"
