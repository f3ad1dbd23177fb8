// Tag lookups by occurrence and storage-object lookups over wrapped answers,
// including the cached parse behind them.
#include "da_fixture.h"
#include "xmlsup.h"

namespace {

using datest::Objects;
using datest::Wrapped;

const std::string kTwoObjects =
    Objects({"<GlobalNo>0</GlobalNo><ObjID>A</ObjID><globalno>x</globalno>",
             "<ObjID>B</ObjID><GlobalNo>1</GlobalNo><Name>first</Name><Name>second</Name>"});

struct TagCase {
    const char* tag;
    uint32_t n;
    uint32_t capacity;
    int32_t status;  // 0 found
    const char* value;
};

class TagLookup : public datest::DaTest {};

TEST_F(TagLookup, NthOccurrenceAnyParentExactNameCutToCapacity) {
    const da::XmlBuffer buf = Wrapped(kTwoObjects + "<Deep><In><ObjID>C</ObjID></In></Deep>");
    // clang-format off
    const TagCase cases[] = {
        {"GlobalNo", 0, 256, 0, "0"},
        {"GlobalNo", 1, 256, 0, "1"},      // counted across objects
        {"GlobalNo", 2, 256, 1, ""},       // past the end
        {"globalno", 0, 256, 0, "x"},      // exact case only
        {"globalno", 1, 256, 1, ""},
        {"ObjID",    2, 256, 0, "C"},      // any depth
        {"Name",     0,   4, 0, "fir"},    // cut to capacity - 1
        {"Name",     1, 256, 0, "second"},
        {"SMStatus", 0, 256, 0, "0"},
        {"ROOT",     0,   8, 0, "0AxB1fi"},   // the document element counts, its text is all text
        {"Missing",  0, 256, 1, ""},
        {"",         0, 256, 3, ""},
        {"Name",     0,   0, 3, ""},
    };
    // clang-format on
    for (const TagCase& c : cases) {
        char out[256] = "";
        EXPECT_EQ(GetNthTagValueWithSize(c.tag, out, c.capacity, c.n, buf.get()), c.status)
            << c.tag << "[" << c.n << "]";
        if (c.status == 0) {
            EXPECT_STREQ(out, c.value) << c.tag << "[" << c.n << "]";
        }
    }
    char out[256];
    EXPECT_EQ(GetNthTagValue("ObjID", out, 1, buf.get()), 0);
    EXPECT_STREQ(out, "B");
    EXPECT_NE(GetNthTagValue("ObjID", out, 0, nullptr), 0);
}

// The cached lookup must answer exactly as the XML support library does.
TEST_F(TagLookup, AnswersEqualTheXmlSupportLibrary) {
    // clang-format off
    const std::string answers[] = {
        kTwoObjects,
        "",
        "<a><b>1</b>",                                            // not well-formed
        "<a>1</a><a>2</a>",                                       // two roots inside ROOT: fine
        "<a><a>outer<a>inner</a></a><b>&amp;&lt;&#65;</b></a>",  // nested same name, entities
        "<x><![CDATA[<raw>]]></x><x/><x>  spaced  </x>",
        "<?pi x?><x>1<!-- c --><y>2</y>3</x>",
        "<QXStorageObject><ROOT>inner root</ROOT></QXStorageObject>",
    };
    const char* tags[] = {"a", "b", "x", "y", "ROOT", "GlobalNo", "Name", "QXStorageObject", "ObjID"};
    const uint32_t capacities[] = {1, 2, 5, 256};
    // clang-format on
    for (const std::string& answer : answers) {
        const da::XmlBuffer buf = Wrapped(answer);
        for (const char* tag : tags) {
            for (uint32_t n = 0; n < 4; ++n) {
                for (uint32_t capacity : capacities) {
                    char mine[256] = "";
                    char theirs[256] = "";
                    uint32_t size = capacity;
                    const int32_t expected =
                        XMLSupGetXMLMemData(nullptr, tag, 1, n, 1, &size, theirs, nullptr, nullptr,
                                            buf.get()->pContent, buf.get()->contentSize);
                    const int32_t got = GetNthTagValueWithSize(tag, mine, capacity, n, buf.get());
                    EXPECT_EQ(got, expected) << answer << " " << tag << "[" << n << "]";
                    if (expected == 0) {
                        EXPECT_STREQ(mine, theirs) << answer << " " << tag << "[" << n << "]";
                    }
                }
            }
        }
    }
}

TEST_F(TagLookup, ChangedOrReplacedBufferIsNeverAnsweredFromAnOldParse) {
    char out[256];
    // The same buffer, changed after it was read: a second top-level element
    // makes it unreadable, a closing tag makes an unreadable one readable.
    da::XmlBuffer buf = da::XmlBuffer::Allocate();
    OCSXBufCatNode(buf.get(), "ObjID", nullptr, OCSXBUF_TEXT, "first");
    ASSERT_EQ(GetNthTagValue("ObjID", out, 0, buf.get()), 0);
    EXPECT_STREQ(out, "first");
    OCSXBufCatNode(buf.get(), "ObjID", nullptr, OCSXBUF_TEXT, "second");
    EXPECT_NE(GetNthTagValue("ObjID", out, 0, buf.get()), 0);
    da::XmlBuffer open = da::XmlBuffer::Allocate();
    OCSXBufCatString(open.get(), "<a><ObjID>1</ObjID>");
    EXPECT_NE(GetNthTagValue("ObjID", out, 0, open.get()), 0);
    OCSXBufCatString(open.get(), "<ObjID>2</ObjID></a>");
    ASSERT_EQ(GetNthTagValue("ObjID", out, 1, open.get()), 0);
    EXPECT_STREQ(out, "2");

    // Freed behind the cache's back, then buffers allocated until one reuses
    // the address (the usual allocator does at once): each is read afresh.
    OCSXBuf* raw = OCSXAllocBuf(0, 0);
    OCSXBufCatNode(raw, "ROOT", nullptr, OCSXBUF_XML, "<ObjID>old</ObjID>");
    ASSERT_EQ(GetNthTagValue("ObjID", out, 0, raw), 0);
    const OCSXBuf* oldAddress = raw;
    OCSXFreeBuf(raw);
    bool reused = false;
    std::vector<OCSXBuf*> held;
    for (int i = 0; i < 64 && !reused; ++i) {
        OCSXBuf* next = OCSXAllocBuf(0, 0);
        OCSXBufCatNode(next, "ROOT", nullptr, OCSXBUF_XML, "<ObjID>new</ObjID>");
        ASSERT_EQ(GetNthTagValue("ObjID", out, 0, next), 0);
        EXPECT_STREQ(out, "new");
        reused = next == oldAddress;
        held.push_back(next);
    }
    for (OCSXBuf* b : held) {
        OCSXFreeBuf(b);
    }
    // Allocators that quarantine freed memory never reuse it; the reads above
    // are checked either way.
    RecordProperty("address_reused", reused ? 1 : 0);

    // Alternating between two buffers answers each from its own content.
    const da::XmlBuffer a = Wrapped("<ObjID>a</ObjID>");
    const da::XmlBuffer b = Wrapped("<ObjID>b</ObjID>");
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(GetNthTagValue("ObjID", out, 0, a.get()), 0);
        EXPECT_STREQ(out, "a");
        ASSERT_EQ(GetNthTagValue("ObjID", out, 0, b.get()), 0);
        EXPECT_STREQ(out, "b");
    }
}

struct ObjectCase {
    const char* tag;
    uint32_t n;
    int32_t status;
    const char* value;
};

class ObjectLookup : public datest::DaTest {};

TEST_F(ObjectLookup, NthStorageObjectFirstChildByExactName) {
    const da::XmlBuffer buf = Wrapped(kTwoObjects);
    // clang-format off
    const ObjectCase cases[] = {
        {"GlobalNo", 0,  0, "0"},
        {"GlobalNo", 1,  0, "1"},
        {"GlobalNo", 2, -1, ""},       // past the last object
        {"globalno", 1, -1, ""},       // exact case only
        {"Name",     1,  0, "first"},  // first of a duplicate
        {"Name",     0, -1, ""},
        {"SMStatus", 0, -1, ""},       // not a child of an object
    };
    // clang-format on
    for (const ObjectCase& c : cases) {
        char out[256] = "";
        EXPECT_EQ(QueryNthQXStorObjElement(c.tag, out, c.n, buf.get()), c.status)
            << c.tag << "[" << c.n << "]";
        EXPECT_STREQ(out, c.value) << c.tag << "[" << c.n << "]";
    }
    char small[4];
    EXPECT_EQ(QueryNthQXStorObjElementWithSize("Name", small, sizeof small, 1, buf.get()), 0);
    EXPECT_STREQ(small, "fir");
}

struct MissingCase {
    const char* answer;
    const char* line;
};

TEST_F(ObjectLookup, UnparsableOrObjectlessAnswersTraceWhyAtLevelFour) {
    // clang-format off
    const MissingCase cases[] = {
        {"<a><b></a>",             "QueryNthQXStorObjElement(): pRootNode is NULL "},
        {"<SMStatus>0</SMStatus>", "QueryNthQXStorObjElement(): pList is NULL "},
    };
    // clang-format on
    for (const MissingCase& c : cases) {
        datest::TraceCapture trace(4);
        const da::XmlBuffer buf = Wrapped(c.answer);
        char out[256];
        EXPECT_EQ(QueryNthQXStorObjElement("GlobalNo", out, 0, buf.get()), -1);
        EXPECT_TRUE(trace.HasLine(c.line)) << trace.Text();
    }
    datest::TraceCapture quiet(3);
    const da::XmlBuffer buf = Wrapped("<SMStatus>0</SMStatus>");
    char out[256];
    EXPECT_EQ(QueryNthQXStorObjElement("GlobalNo", out, 0, buf.get()), -1);
    EXPECT_EQ(quiet.Text(), "");
}

struct RootDestroy {
    void operator()(void* root) const { SXDOMDestroy(root); }
};

TEST_F(ObjectLookup, OnCallersRootCopiesAtMostTheLimitAndCounts) {
    const da::XmlBuffer buf = Wrapped(kTwoObjects);
    std::unique_ptr<void, RootDestroy> root(
        SXDOMCreate(buf.get()->pContent, buf.get()->contentSize, 1));
    ASSERT_TRUE(root);
    EXPECT_EQ(CountQXStorObjElements(root.get()), 2u);
    EXPECT_EQ(CountQXStorObjElements(nullptr), 0u);

    char out[8];
    std::memset(out, '#', sizeof out);
    EXPECT_EQ(QueryNthQXStorObjElementGiveRootNode(root.get(), "Name", out, 5, 1), 0);
    EXPECT_EQ(std::string(out, 6), "first#");  // fills the limit: no terminator
    EXPECT_EQ(QueryNthQXStorObjElementGiveRootNode(root.get(), "ObjID", out, 5, 1), 0);
    EXPECT_STREQ(out, "B");
    EXPECT_EQ(QueryNthQXStorObjElementGiveRootNode(root.get(), "ObjID", out, 5, 2), -1);
    EXPECT_EQ(QueryNthQXStorObjElementGiveRootNode(root.get(), "globalno", out, 5, 1), -1);

    const da::XmlBuffer none = Wrapped("<SMStatus>0</SMStatus>");
    std::unique_ptr<void, RootDestroy> empty(
        SXDOMCreate(none.get()->pContent, none.get()->contentSize, 1));
    EXPECT_EQ(CountQXStorObjElements(empty.get()), 0u);
    datest::TraceCapture trace(4);
    EXPECT_EQ(QueryNthQXStorObjElementGiveRootNode(empty.get(), "ObjID", out, 5, 0), -1);
    EXPECT_EQ(QueryNthQXStorObjElementGiveRootNode(nullptr, "ObjID", out, 5, 0), -1);
    EXPECT_EQ(trace.Text(),
              "KVCLP:ENTRY----------->QueryNthQXStorObjElementGiveRootNode\n"
              "QueryNthQXStorObjElementGiveRootNode(): pList is NULL \n"
              "KVCLP:EXIT------------>QueryNthQXStorObjElementGiveRootNode\n"
              "KVCLP:ENTRY----------->QueryNthQXStorObjElementGiveRootNode\n"
              "QueryNthQXStorObjElementGiveRootNode(): pRootNode is NULL \n"
              "KVCLP:EXIT------------>QueryNthQXStorObjElementGiveRootNode\n");
}

}  // namespace
