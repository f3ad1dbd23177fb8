// Arbitrary profile text: a profile is either refused with a message (Error)
// or built into an estate whose every object answers as well-formed XML.
#include <libxml/parser.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "answer.h"
#include "model.h"
#include "profile.h"
#include "sqlite.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    kvda::Estate estate;
    try {
        estate = kvda::buildEstate(text, "fuzz.json");
    } catch (const kvda::Error&) {
        return 0;  // refused, as a bad profile must be
    }
    kvda::Answer answer;
    for (const kvda::Object* o : estate.everything())
        answer.object(kvda::effectiveProps(estate, *o));
    const std::string doc = "<ROOT>" + answer.finish(0, "") + "</ROOT>";
    xmlDocPtr parsed =
        xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "answer.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
    const bool ok = parsed != nullptr;
    xmlFreeDoc(parsed);
    if (!ok) {
        std::fprintf(stderr, "an accepted profile answers XML that is not well-formed\n");
        std::abort();
    }
    return 0;
}
