// Arbitrary bytes as an agent answer: tag lookups by occurrence and the DOM
// walk must never crash or read outside the text, whatever the bytes are.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "xmlsup.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string xml(reinterpret_cast<const char*>(data), size);
    const auto len = static_cast<uint32_t>(xml.size());
    for (const char* tag : {"GlobalNo", "ObjID", "QXStorageObject", "ROOT", ""}) {
        for (uint32_t n = 0; n < 3; ++n) {
            std::array<char, 16> out{};
            uint32_t cap = out.size();
            XMLSupGetXMLMemData(nullptr, tag, 1, n, 1, &cap, out.data(), nullptr, nullptr,
                                xml.c_str(), len);
        }
    }
    void* root = SXDOMCreate(xml.c_str(), len, 1);
    if (SXDOMGenericList* objects = SXDOMSelect(root, "QXStorageObject", 0)) {
        for (uint32_t i = 0; i < objects->count; ++i) {
            if (SXDOMGenericList* children = SXDOMGetChildList(objects->ppItems[i])) {
                for (uint32_t c = 0; c < children->count; ++c) {
                    (void)SXDOMGetName(children->ppItems[c]);
                    (void)SXDOMGetValue(children->ppItems[c]);
                }
                SXDOMFreeGenericList(children);
            }
        }
        SXDOMFreeGenericList(objects);
    }
    SXDOMDestroy(root);
    return 0;
}
