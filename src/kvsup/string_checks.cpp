// Form checks of user text (names, numbers, binary masks) and the
// conversions between text and numbers. Characters are tested by their
// ASCII codes, never through the locale.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "kvsup_internal.h"

using kvsup::detail::Enter;
using kvsup::detail::Leave;
using kvsup::detail::Text;

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsNameCharNoSpace(char c) {
    return IsLetter(c) || IsDigit(c) || c == '-' || c == '_';
}
bool IsNameChar(char c) {
    return IsNameCharNoSpace(c) || c == ' ';
}
bool IsUpperAlnum(char c) {
    return (c >= 'A' && c <= 'Z') || IsDigit(c);
}
char Fold(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// The loop the three name checks share: 0 when every character is inside
// the class (and, with noEdgeSpaces, no blank stands first or last).
int32_t CheckClass(std::string_view s, bool (*inside)(char), bool noEdgeSpaces) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (!inside(s[i])) {
            return 1;
        }
        if (noEdgeSpaces && s[i] == ' ' && (i == 0 || i + 1 == s.size())) {
            return 1;
        }
    }
    return 0;
}

}  // namespace

int32_t strcmpCaseIgnore(const char* a, const char* b) {
    static constexpr const char* kName = "strcmpCaseIgnore";
    Enter(kName);
    const std::string_view x = Text(a);
    const std::string_view y = Text(b);
    if (x.size() != y.size()) {
        Leave(kName);
        return 1;
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (Fold(x[i]) != Fold(y[i])) {
            return 1;  // a difference leaves at once, without the exit line
        }
    }
    Leave(kName);
    return 0;
}

int32_t IsStringAValidNumericValue(const char* s) {
    static constexpr const char* kName = "IsStringAValidNumericValue";
    Enter(kName);
    bool seenPoint = false;
    int32_t result = 0;
    for (char c : Text(s)) {
        if (c == '.' && !seenPoint) {
            seenPoint = true;
        } else if (!IsDigit(c)) {
            result = 1;
            break;
        }
    }
    Leave(kName);
    return result;
}

int32_t ConvertToStringRepresentingInteger(double value, std::string& out) {
    static constexpr const char* kName = "ConvertToStringRepresentingInteger";
    Enter(kName);
    out.clear();
    char text[256];
    std::snprintf(text, sizeof text, "%f", value);
    for (const char* p = text; IsDigit(*p); ++p) {
        out.push_back(*p);
    }
    Leave(kName);
    return 0;
}

int32_t IsStringABinaryRepresentation(const char* s) {
    static constexpr const char* kName = "IsStringABinaryRepresentation";
    Enter(kName);
    const std::string_view text = Text(s);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '0' && text[i] != '1') {
            // The position of the first stranger, so one in position 0
            // answers 0 like a valid string; callers that need more check
            // the characters themselves.
            return static_cast<int32_t>(i);
        }
    }
    Leave(kName);
    return 0;
}

int32_t ConvertBinaryStringToInteger(const char* s, uint32_t* out) {
    static constexpr const char* kName = "ConvertBinaryStringToInteger";
    Enter(kName);
    uint32_t value = 0;
    const std::string_view text = Text(s);
    const std::size_t n = text.size();
    for (std::size_t i = 0; i < n; ++i) {
        // Weights above 2^31 do not fit; wrapping them keeps strings of up
        // to 32 digits exact and longer ones defined.
        const std::size_t power = n - 1 - i;
        const uint32_t weight = power < 32 ? (uint32_t{1} << power) : 0;
        value += weight * static_cast<uint32_t>(text[i] - '0');
    }
    if (out != nullptr) {
        *out = value;
    }
    Leave(kName);
    return 0;
}

int32_t IsStringAValidName(const char* s, int32_t noEdgeSpaces) {
    static constexpr const char* kName = "IsStringAValidName";
    Enter(kName);
    const int32_t result = CheckClass(Text(s), IsNameChar, noEdgeSpaces != 0);
    if (SysDbgIsLevelEnabled(TRACE_LEVEL_MODULE)) {
        SysDbgPrint("IsStringAValidName: status=%d\n", result);
    }
    Leave(kName);
    return result;
}

int32_t IsStringAValidNameNoSpace(const char* s) {
    static constexpr const char* kName = "IsStringAValidNameNoSpace";
    Enter(kName);
    const int32_t result = CheckClass(Text(s), IsNameCharNoSpace, false);
    Leave(kName);
    return result;
}

int32_t IsStringAValidAlphanumeric(const char* s) {
    static constexpr const char* kName = "IsStringAValidAlphanumeric";
    Enter(kName);
    // Lower case is refused on purpose: callers compare with upper-case
    // identifiers and convert nothing.
    const int32_t result = CheckClass(Text(s), IsUpperAlnum, false);
    Leave(kName);
    return result;
}

int32_t IsNameCorrectLength(const char* name, const char* globalNo, char* maxLenOut,
                            uint32_t maxLenOutSize) {
    using namespace kvsup::detail;
    const da::Request request = ControllerRequest(vkacmd.getController, globalNo);
    // The answer is had before the buffer, so a missing answer is -1 even
    // when memory is short.
    return Ask(
        {"IsNameCorrectLength", nullptr, nullptr}, request, kvsup::status::kNotFound,
        [&](const OCSXBuf* xml) {
            if (maxLenOut != nullptr && maxLenOutSize > 0) {
                maxLenOut[0] = '\0';
                GetNthTagValueWithSize("MaxNameLength", maxLenOut, maxLenOutSize, 0, xml);
            }
            const int64_t limit = maxLenOut != nullptr ? ToNumber(maxLenOut) : 0;
            const auto length = static_cast<int64_t>(Text(name).size());
            return (length >= 1 && length <= limit) ? 0 : 1;
        },
        da::AllocOrder::kResponseFirst);
}

void stripWhiteSpaceFromStr(char* s) {
    static constexpr const char* kName = "stripWhiteSpaceFromStr";
    Enter(kName);
    if (s == nullptr) {
        return;
    }
    char* to = s;
    for (const char* from = s; *from != '\0'; ++from) {
        if (*from != ' ') {
            *to++ = *from;
        }
    }
    *to = '\0';
    // Two exit lines on every normal exit, as the trace has always shown.
    Leave(kName);
    Leave(kName);
}
