#include "xmlsup.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kAnswer =
    "<ROOT><RESPONSE>"
    "<QXStorageObject><GlobalNo>0</GlobalNo><Name>First &amp; one</Name>"
    "<Name>Second name</Name><globalno>7</globalno><Empty></Empty></QXStorageObject>"
    "<QXStorageObject><GlobalNo>1</GlobalNo><Deep><GlobalNo>2</GlobalNo></Deep>"
    "<Mixed>a<b>b</b>c</Mixed></QXStorageObject>"
    "<SMStatus>0</SMStatus>"
    "</RESPONSE></ROOT>";

struct Lookup {
    int32_t status;
    std::string value;
};

Lookup Get(std::string_view xml, const char* tag, uint32_t occurrence, uint32_t capacity = 256) {
    std::vector<char> out(capacity == 0 ? 1 : capacity, '#');
    uint32_t size = capacity;
    const int32_t status =
        XMLSupGetXMLMemData(nullptr, tag, 1, occurrence, 1, &size, out.data(), nullptr, nullptr,
                            xml.data(), static_cast<uint32_t>(xml.size()));
    if (status != XMLSUP_OK) {
        return {status, {}};
    }
    EXPECT_EQ(size, std::strlen(out.data()) + 1) << tag;
    return {status, out.data()};
}

struct TagCase {
    const char* tag;
    uint32_t occurrence;
    uint32_t capacity;
    int32_t status;
    const char* value;
};

// clang-format off
constexpr std::array kTagCases = {
    TagCase{"GlobalNo",        0, 256, XMLSUP_OK,        "0"            },
    TagCase{"GlobalNo",        1, 256, XMLSUP_OK,        "1"            },  // another parent
    TagCase{"GlobalNo",        2, 256, XMLSUP_OK,        "2"            },  // deeper
    TagCase{"GlobalNo",        3, 256, XMLSUP_NOT_FOUND, ""             },  // past the end
    TagCase{"globalno",        0, 256, XMLSUP_OK,        "7"            },  // exact case
    TagCase{"GLOBALNO",        0, 256, XMLSUP_NOT_FOUND, ""             },
    TagCase{"Name",            0, 256, XMLSUP_OK,        "First & one"  },
    TagCase{"Name",            1, 256, XMLSUP_OK,        "Second name"  },
    TagCase{"Name",            0,   6, XMLSUP_OK,        "First"        },  // cut to capacity - 1
    TagCase{"Name",            0,   1, XMLSUP_OK,        ""             },
    TagCase{"Empty",           0, 256, XMLSUP_OK,        ""             },
    TagCase{"Mixed",           0, 256, XMLSUP_OK,        "abc"          },
    TagCase{"QXStorageObject", 1,   3, XMLSUP_OK,        "12"           },
    TagCase{"ROOT",            0, 256, XMLSUP_OK,        "0First & oneSecond name712abc0"},
    TagCase{"Nam",             0, 256, XMLSUP_NOT_FOUND, ""             },
};
// clang-format on

TEST(XMLSupGetXMLMemData, FindsNthElementAnywhere) {
    for (const auto& c : kTagCases) {
        const Lookup got = Get(kAnswer, c.tag, c.occurrence, c.capacity);
        EXPECT_EQ(got.status, c.status) << c.tag << "#" << c.occurrence;
        EXPECT_EQ(got.value, c.value) << c.tag << "#" << c.occurrence;
    }
}

constexpr std::array<std::string_view, 7> kBadXml = {
    "<ROOT><A>1</A>",                                     // unclosed
    "<ROOT><A>1</B></ROOT>",                              // mismatched
    "not xml at all",                                     //
    "<ROOT><A>&bogus;</A></ROOT>",                        // undefined entity
    "<!DOCTYPE R [<!ENTITY e \"x\">]><R><A>&e;</A></R>",  // document type refused
    "",
    "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?><R>\x81\xfd</R>",  // undecodable
};

TEST(XMLSupGetXMLMemData, MalformedTextIsNotFoundAndSilent) {
    for (std::string_view xml : kBadXml) {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        const Lookup got = Get(xml, "A", 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << xml;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << xml;
        EXPECT_NE(got.status, XMLSUP_OK) << xml;
    }
}

TEST(XMLSupGetXMLMemData, LengthLimitsTheText) {
    // Only the first xmlLen bytes are read: the cut text is not well-formed.
    const std::string xml = "<R><A>1</A></R>trailing";
    EXPECT_EQ(Get(std::string_view(xml).substr(0, 15), "A", 0).value, "1");
    EXPECT_NE(Get(std::string_view(xml).substr(0, 10), "A", 0).status, XMLSUP_OK);
}

TEST(XMLSupGetXMLMemData, BadArgumentsAreRefused) {
    char out[8] = "keep";
    uint32_t size = sizeof out;
    const char* xml = "<R><A>1</A></R>";
    EXPECT_EQ(XMLSupGetXMLMemData(nullptr, nullptr, 1, 0, 1, &size, out, nullptr, nullptr, xml, 15),
              XMLSUP_BAD_ARGS);
    EXPECT_EQ(XMLSupGetXMLMemData(nullptr, "A", 1, 0, 1, nullptr, out, nullptr, nullptr, xml, 15),
              XMLSUP_BAD_ARGS);
    EXPECT_EQ(XMLSupGetXMLMemData(nullptr, "A", 1, 0, 1, &size, nullptr, nullptr, nullptr, xml, 15),
              XMLSUP_BAD_ARGS);
    EXPECT_EQ(XMLSupGetXMLMemData(nullptr, "A", 1, 0, 1, &size, out, nullptr, nullptr, nullptr, 15),
              XMLSUP_BAD_ARGS);
    size = 0;
    EXPECT_EQ(XMLSupGetXMLMemData(nullptr, "A", 1, 0, 1, &size, out, nullptr, nullptr, xml, 15),
              XMLSUP_BAD_ARGS);
    EXPECT_STREQ(out, "keep");
}

// ---- SXDOM ---------------------------------------------------------------

struct RootFree {
    void operator()(void* r) const { SXDOMDestroy(r); }
};
using RootPtr = std::unique_ptr<void, RootFree>;

struct ListFree {
    void operator()(SXDOMGenericList* l) const { SXDOMFreeGenericList(l); }
};
using ListPtr = std::unique_ptr<SXDOMGenericList, ListFree>;

RootPtr Parse(std::string_view xml) {
    return RootPtr(SXDOMCreate(xml.data(), static_cast<uint32_t>(xml.size()), 1));
}

std::vector<std::string> Names(const SXDOMGenericList* list) {
    std::vector<std::string> names;
    for (uint32_t i = 0; i < list->count; ++i) {
        names.emplace_back(SXDOMGetName(list->ppItems[i]));
    }
    return names;
}

TEST(SXDOM, SelectFindsDescendantsByExactName) {
    RootPtr root = Parse(kAnswer);
    ASSERT_NE(root, nullptr);

    struct SelectCase {
        const char* name;
        uint32_t count;
    };
    // clang-format off
    constexpr std::array kCases = {
        SelectCase{"QXStorageObject", 2},
        SelectCase{"GlobalNo",        3},
        SelectCase{"SMStatus",        1},
        SelectCase{"ROOT",            0},  // the document element itself is not below itself
        SelectCase{"qxstorageobject", 0},
        SelectCase{"Missing",         0},
    };
    // clang-format on
    for (const auto& c : kCases) {
        ListPtr list(SXDOMSelect(root.get(), c.name, 0));
        if (c.count == 0) {
            EXPECT_EQ(list, nullptr) << c.name;
        } else {
            ASSERT_NE(list, nullptr) << c.name;
            EXPECT_EQ(list->count, c.count) << c.name;
        }
    }
}

TEST(SXDOM, ChildListKeepsDocumentOrder) {
    RootPtr root = Parse(kAnswer);
    ASSERT_NE(root, nullptr);
    ListPtr objects(SXDOMSelect(root.get(), "QXStorageObject", 1));
    ASSERT_NE(objects, nullptr);
    ASSERT_EQ(objects->count, 2u);

    ListPtr first(SXDOMGetChildList(objects->ppItems[0]));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Names(first.get()),
              (std::vector<std::string>{"GlobalNo", "Name", "Name", "globalno", "Empty"}));
    // The first of two children with one name comes first.
    EXPECT_STREQ(SXDOMGetValue(first->ppItems[1]), "First & one");
    EXPECT_STREQ(SXDOMGetValue(first->ppItems[2]), "Second name");
    EXPECT_STREQ(SXDOMGetValue(first->ppItems[4]), "");

    ListPtr second(SXDOMGetChildList(objects->ppItems[1]));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Names(second.get()), (std::vector<std::string>{"GlobalNo", "Deep", "Mixed"}));
    EXPECT_STREQ(SXDOMGetValue(second->ppItems[1]), "2");
    EXPECT_STREQ(SXDOMGetValue(second->ppItems[2]), "abc");

    // A leaf has no element children.
    EXPECT_EQ(SXDOMGetChildList(first->ppItems[0]), nullptr);
}

TEST(SXDOM, HandlesAndTextsLiveUntilDestroy) {
    RootPtr root = Parse(kAnswer);
    ASSERT_NE(root, nullptr);
    const char* value = nullptr;
    const char* name = nullptr;
    void* element = nullptr;
    {
        ListPtr list(SXDOMSelect(root.get(), "Name", 0));
        ASSERT_NE(list, nullptr);
        element = list->ppItems[0];
        value = SXDOMGetValue(element);
        name = SXDOMGetName(element);
    }
    // The list is gone; the element, its name and its value are not.
    EXPECT_STREQ(value, "First & one");
    EXPECT_STREQ(name, "Name");
    EXPECT_EQ(SXDOMGetValue(element), value);

    // A list never freed by its caller is released with the root.
    ASSERT_NE(SXDOMSelect(root.get(), "GlobalNo", 0), nullptr);
}

TEST(SXDOM, MalformedTextGivesNoRootAndNullsAreSafe) {
    for (std::string_view xml : kBadXml) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(Parse(xml), nullptr) << xml;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << xml;
    }
    EXPECT_EQ(SXDOMCreate(nullptr, 10, 1), nullptr);
    EXPECT_EQ(SXDOMSelect(nullptr, "A", 0), nullptr);
    RootPtr root = Parse("<R><A/></R>");
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(SXDOMSelect(root.get(), nullptr, 0), nullptr);
    EXPECT_EQ(SXDOMGetChildList(nullptr), nullptr);
    EXPECT_EQ(SXDOMGetName(nullptr), nullptr);
    EXPECT_EQ(SXDOMGetValue(nullptr), nullptr);
    SXDOMFreeGenericList(nullptr);
    SXDOMDestroy(nullptr);
}

}  // namespace
