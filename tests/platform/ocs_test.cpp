#include "ocs.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "os/module.h"

namespace {

struct BufFree {
    void operator()(OCSXBuf* b) const { OCSXFreeBuf(b); }
};
using BufPtr = std::unique_ptr<OCSXBuf, BufFree>;

std::string_view Content(const OCSXBuf* b) {
    return {b->pContent, b->contentSize};
}

// Restores the default allocator behaviour whatever a test does.
class HookGuard {
  public:
    explicit HookGuard(OCSAllocFailHook hook) { OCSSetAllocFailHook(hook); }
    ~HookGuard() { OCSSetAllocFailHook(nullptr); }
    HookGuard(const HookGuard&) = delete;
    HookGuard& operator=(const HookGuard&) = delete;
};

int FailAll(size_t) {
    return 1;
}
int FailLarge(size_t size) {
    return size > 4096 ? 1 : 0;
}

// ---- export context ------------------------------------------------------

TEST(ExportContext, CaptureIdentifiesCallingModule) {
    OCSExportContext ctx{};
    ASSERT_EQ(OCSGetExportContext(&ctx), 0);
    EXPECT_EQ(ctx.magic, OCS_EXPORT_CONTEXT_MAGIC);

    const auto self = vk::os::ModuleContaining(reinterpret_cast<const void*>(&Content));
    ASSERT_TRUE(self.has_value());
    EXPECT_EQ(ctx.moduleBase, self->base);
    // The program's file name ("platform_ocs_test", with ".exe" on Windows).
    EXPECT_TRUE(std::string_view(ctx.moduleName).starts_with("platform_ocs_test"))
        << ctx.moduleName;

    // The library itself is a different module.
    const auto lib = vk::os::ModuleContaining(reinterpret_cast<const void*>(&OCSGetExportContext));
    ASSERT_TRUE(lib.has_value());
    EXPECT_NE(ctx.moduleBase, lib->base);
}

TEST(ExportContext, NullContextIsRefused) {
    EXPECT_NE(OCSGetExportContext(nullptr), 0);
}

TEST(ExportContext, SetAndResetNest) {
    OCSExportContext outer{};
    OCSExportContext inner{};
    ASSERT_EQ(OCSGetExportContext(&outer), 0);
    ASSERT_EQ(OCSGetExportContext(&inner), 0);

    EXPECT_EQ(OCSGetCurrentExportContext(), nullptr);
    OCSExportSaveArea saveOuter{};
    OCSSetExportContext(&saveOuter, &outer);
    EXPECT_EQ(OCSGetCurrentExportContext(), &outer);
    {
        OCSExportSaveArea saveInner{};
        OCSSetExportContext(&saveInner, &inner);
        EXPECT_EQ(OCSGetCurrentExportContext(), &inner);
        EXPECT_EQ(saveInner.previous, &outer);
        EXPECT_GT(saveInner.depth, saveOuter.depth);
        OCSResetExportContext(&saveInner);
    }
    EXPECT_EQ(OCSGetCurrentExportContext(), &outer);
    OCSResetExportContext(&saveOuter);
    EXPECT_EQ(OCSGetCurrentExportContext(), nullptr);
}

TEST(ExportContext, CurrentContextIsPerThread) {
    OCSExportContext ctx{};
    ASSERT_EQ(OCSGetExportContext(&ctx), 0);
    OCSExportSaveArea save{};
    OCSSetExportContext(&save, &ctx);
    const OCSExportContext* seenByOther = &ctx;
    std::thread other([&] { seenByOther = OCSGetCurrentExportContext(); });
    other.join();
    EXPECT_EQ(seenByOther, nullptr);
    OCSResetExportContext(&save);
}

// ---- memory --------------------------------------------------------------

TEST(AllocHook, FailsEveryAllocationWhileSet) {
    {
        HookGuard guard(FailAll);
        EXPECT_EQ(OCSAllocMem(16), nullptr);
        EXPECT_EQ(OCSXAllocBuf(0, 0), nullptr);
    }
    void* p = OCSAllocMem(16);
    EXPECT_NE(p, nullptr);
    OCSFreeMem(p);
    BufPtr buf(OCSXAllocBuf(0, 0));
    EXPECT_NE(buf, nullptr);
}

TEST(AllocHook, FailedGrowthLeavesBufferUnchanged) {
    BufPtr buf(OCSXAllocBuf(0, 0));
    ASSERT_NE(buf, nullptr);
    ASSERT_EQ(OCSXBufCatNode(buf.get(), "A", nullptr, OCSXBUF_TEXT, "kept"), 0);
    const std::string before(Content(buf.get()));
    const uint64_t generation = buf->generation;

    const std::string big(8000, 'x');
    {
        HookGuard guard(FailLarge);
        EXPECT_NE(OCSXBufCatNode(buf.get(), "B", nullptr, OCSXBUF_TEXT, big.c_str()), 0);
        EXPECT_NE(OCSXBufCatString(buf.get(), big.c_str()), 0);
    }
    EXPECT_EQ(Content(buf.get()), before);
    EXPECT_EQ(buf->pContent[buf->contentSize], '\0');
    EXPECT_EQ(buf->generation, generation);

    // The same append succeeds once memory is available again.
    EXPECT_EQ(OCSXBufCatString(buf.get(), big.c_str()), 0);
    EXPECT_EQ(buf->contentSize, before.size() + big.size());
}

// ---- XML buffer ----------------------------------------------------------

struct NodeCase {
    const char* name;
    const char* attributes;
    uint32_t type;
    const char* data;
    const char* expected;
};

// clang-format off
constexpr std::array kNodeCases = {
    NodeCase{"Name", nullptr,      OCSXBUF_TEXT, "plain",              "<Name>plain</Name>"},
    NodeCase{"Name", nullptr,      OCSXBUF_TEXT, "a<b>&\"c'",          "<Name>a&lt;b&gt;&amp;&quot;c&apos;</Name>"},
    NodeCase{"ROOT", nullptr,      OCSXBUF_XML,  "<A>1</A><B>&amp;</B>", "<ROOT><A>1</A><B>&amp;</B></ROOT>"},
    NodeCase{"Name", "id=\"7\"",   OCSXBUF_TEXT, "x",                  "<Name id=\"7\">x</Name>"},
    NodeCase{"Name", "",           OCSXBUF_TEXT, "x",                  "<Name>x</Name>"},
    NodeCase{"Empty", nullptr,     OCSXBUF_TEXT, nullptr,              "<Empty></Empty>"},
    NodeCase{"Empty", nullptr,     OCSXBUF_XML,  "",                   "<Empty></Empty>"},
};
// clang-format on

TEST(XBuf, CatNodeWritesElement) {
    for (const auto& c : kNodeCases) {
        BufPtr buf(OCSXAllocBuf(0, 0));
        ASSERT_NE(buf, nullptr);
        EXPECT_EQ(OCSXBufCatNode(buf.get(), c.name, c.attributes, c.type, c.data), 0) << c.expected;
        EXPECT_EQ(Content(buf.get()), c.expected);
        EXPECT_EQ(std::strlen(buf->pContent), buf->contentSize);
    }
}

TEST(XBuf, BadArgumentsAreRefused) {
    BufPtr buf(OCSXAllocBuf(0, 1));
    ASSERT_NE(buf, nullptr);
    EXPECT_EQ(buf->mode, 1u);
    EXPECT_NE(OCSXBufCatNode(nullptr, "A", nullptr, OCSXBUF_TEXT, "x"), 0);
    EXPECT_NE(OCSXBufCatNode(buf.get(), nullptr, nullptr, OCSXBUF_TEXT, "x"), 0);
    EXPECT_NE(OCSXBufCatNode(buf.get(), "", nullptr, OCSXBUF_TEXT, "x"), 0);
    EXPECT_NE(OCSXBufCatNode(buf.get(), "A", nullptr, 7, "x"), 0);
    EXPECT_NE(OCSXBufCatString(buf.get(), nullptr), 0);
    EXPECT_EQ(buf->contentSize, 0u);
    EXPECT_STREQ(buf->pContent, "");
}

TEST(XBuf, AppendsAccumulateAndGrow) {
    BufPtr buf(OCSXAllocBuf(4, 0));
    ASSERT_NE(buf, nullptr);
    std::string expected;
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(OCSXBufCatNode(buf.get(), "N", nullptr, OCSXBUF_TEXT, "v&"), 0);
        ASSERT_EQ(OCSXBufCatString(buf.get(), "|"), 0);
        expected += "<N>v&amp;</N>|";
    }
    EXPECT_EQ(Content(buf.get()), expected);
    EXPECT_GT(buf->capacity, buf->contentSize);
}

TEST(XBuf, GenerationChangesOnEveryAppendAndIsNeverShared) {
    BufPtr a(OCSXAllocBuf(0, 0));
    BufPtr b(OCSXAllocBuf(0, 0));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a->generation, b->generation);

    uint64_t last = a->generation;
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(i % 2 == 0 ? OCSXBufCatString(a.get(), "")
                             : OCSXBufCatNode(a.get(), "X", nullptr, 0, "1"),
                  0);
        EXPECT_NE(a->generation, last);
        last = a->generation;
        // Same content in another buffer still gets a different generation.
        ASSERT_EQ(i % 2 == 0 ? OCSXBufCatString(b.get(), "")
                             : OCSXBufCatNode(b.get(), "X", nullptr, 0, "1"),
                  0);
        EXPECT_NE(b->generation, a->generation);
        EXPECT_EQ(Content(a.get()), Content(b.get()));
    }
}

TEST(XBuf, FreeBufGetContentHandsOverText) {
    OCSXBuf* buf = OCSXAllocBuf(0, 1);
    ASSERT_NE(buf, nullptr);
    ASSERT_EQ(OCSXBufCatNode(buf, "R", nullptr, OCSXBUF_XML, "<x/>"), 0);
    char* text = OCSXFreeBufGetContent(buf);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "<R><x/></R>");
    OCSXFreeBufContent(text);

    EXPECT_EQ(OCSXFreeBufGetContent(nullptr), nullptr);
    OCSXFreeBuf(nullptr);
    OCSXFreeBufContent(nullptr);
}

// ---- name/value lookup ---------------------------------------------------

struct LookupCase {
    const char* name;
    int32_t ignoreCase;
    const char* expected;  // null: no match
};

constexpr std::array<const char*, 8> kPairs = {
    "vkacmd=getController", "names=1", "GlobalNo=0", "flag",
    "globalno=9",           "Empty=",  "A=b=c",      "GlobalNo=5",
};

// clang-format off
constexpr std::array kLookupCases = {
    LookupCase{"vkacmd",   0, "getController"},
    LookupCase{"GlobalNo", 0, "0"            },  // first match wins
    LookupCase{"globalno", 0, "9"            },  // exact case
    LookupCase{"GLOBALNO", 0, nullptr        },
    LookupCase{"GLOBALNO", 1, "0"            },
    LookupCase{"name",     1, nullptr        },  // a prefix of "names" is not "names"
    LookupCase{"names",    0, "1"            },
    LookupCase{"flag",     1, nullptr        },  // no '=' never matches
    LookupCase{"Empty",    0, ""             },
    LookupCase{"A",        0, "b=c"          },
    LookupCase{"missing",  1, nullptr        },
};
// clang-format on

TEST(NameLookup, FindsFirstMatchingEntry) {
    std::array<const char*, kPairs.size()> pairs = kPairs;
    for (const auto& c : kLookupCases) {
        const char* v = OCSGetAStrParamValueByAStrName(static_cast<uint32_t>(pairs.size()),
                                                       pairs.data(), c.name, c.ignoreCase);
        if (c.expected == nullptr) {
            EXPECT_EQ(v, nullptr) << c.name;
        } else {
            ASSERT_NE(v, nullptr) << c.name;
            EXPECT_STREQ(v, c.expected) << c.name;
        }
    }
}

TEST(NameLookup, ValuePointsIntoEntryAndNullsAreSafe) {
    std::array<const char*, 3> pairs = {nullptr, "k=v", "k=w"};
    const char* v = OCSGetAStrParamValueByAStrName(3, pairs.data(), "k", 0);
    EXPECT_EQ(v, pairs[1] + 2);
    EXPECT_EQ(OCSGetAStrParamValueByAStrName(1, pairs.data() + 1, "k", 0), pairs[1] + 2);
    EXPECT_EQ(OCSGetAStrParamValueByAStrName(0, pairs.data() + 1, "k", 0), nullptr);
    EXPECT_EQ(OCSGetAStrParamValueByAStrName(3, nullptr, "k", 0), nullptr);
    EXPECT_EQ(OCSGetAStrParamValueByAStrName(3, pairs.data(), nullptr, 0), nullptr);
}

}  // namespace
