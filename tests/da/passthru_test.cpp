// Pass-through capability queries: the argument list sent to the controller
// interface, and the limits read back from its answer.
#include <functional>

#include "da_fixture.h"

namespace {

using datest::Objects;
using datest::RequestList;

enum class Form { kPlain, kSecure, kSas };

struct Query {
    Form form = Form::kPlain;
    const char* controller = "1";
    const char* layout = "64";
    uint32_t spanLength = 0;
    uint32_t specialLayout = 0;
    uint32_t secureFlag = 1;
    const char* pi = nullptr;
    const char* secure = nullptr;
};

struct Limits {
    int32_t status = 0;
    std::string min, max, spanDepth, spanLengthList;
};

Limits RunQuery(const Query& q) {
    char min[17] = "x", max[17] = "x", depth[32] = "x", list[64] = "x";
    Limits r;
    const char* disks = "0:1,0:2,0:3";
    switch (q.form) {
        case Form::kPlain:
            r.status =
                GetPossibleMinMaxVDSizeForLayout(q.controller, disks, q.spanLength, q.layout, min,
                                                 sizeof min, max, sizeof max, q.specialLayout);
            break;
        case Form::kSecure:
            r.status = GetPossibleMinMaxVDSizeForLayoutSecure(
                q.controller, disks, q.spanLength, q.layout, min, sizeof min, max, sizeof max,
                q.specialLayout, q.secureFlag);
            break;
        case Form::kSas:
            r.status = GetsasGetCapsProps(q.controller, disks, q.spanLength, q.layout, min,
                                          sizeof min, max, sizeof max, q.specialLayout, q.pi,
                                          q.secure, depth, sizeof depth, list, sizeof list);
            r.spanDepth = depth;
            r.spanLengthList = list;
            break;
    }
    r.min = min;
    r.max = max;
    return r;
}

std::string Caps(const char* layout, const char* min, const char* max, const char* depth = "1",
                 const char* spans = "2") {
    return std::string("<Layout>") + layout + "</Layout><MinimumLength>" + min +
           "</MinimumLength><Length>" + max + "</Length><SpanDepth>" + depth +
           "</SpanDepth><SpanLengthList>" + spans + "</SpanLengthList>";
}

class PassThru : public datest::DaTest {
  protected:
    void SetUp() override {
        agent.Answer("getControllerList", Objects({"<GlobalNo>0</GlobalNo><ObjID>ctrl-0</ObjID>",
                                                   "<GlobalNo>1</GlobalNo><ObjID>ctrl-1</ObjID>"}));
        agent.Answer("getArrayDisk",
                     Objects({"<ObjID>d1</ObjID>", "<ObjID>d2</ObjID>", "<ObjID>d3</ObjID>"}));
        agent.Answer("sendPassThruCmdToQXSIF",
                     Objects({Caps("2", "10", "100"), Caps("64", "20", "200", "1", "3"),
                              Caps("512", "30", "300", "2", "2,2")}));
    }
    // The pass-through request sent last, from "param9" on.
    RequestList OptionalArgs() const {
        const RequestList& sent = agent.Requests().back();
        EXPECT_EQ(RequestList(sent.begin(), sent.begin() + 10), kFixedArgs);
        return RequestList(sent.begin() + 10, sent.end());
    }

    const RequestList kFixedArgs = {"vkacmd=sendPassThruCmdToQXSIF",
                                    "param0=getcaps",
                                    "param1=make",
                                    "param2=vdisk",
                                    "param3=ObjID",
                                    "param4=ctrl-1",
                                    "param5=IDList",
                                    "param6=d1:d2:d3",
                                    "param7=MinDrives",
                                    "param8=3"};
};

TEST_F(PassThru, AsksForControllerThenDisksThenCapabilities) {
    RunQuery({});
    ASSERT_EQ(agent.Requests().size(), 3u);
    EXPECT_EQ(agent.Requests()[0], RequestList{"vkacmd=getControllerList"});
    const RequestList disks = {"vkacmd=getArrayDisk", "GlobalNo=1", "adisk=0:1,0:2,0:3",
                               "CLI=true"};
    EXPECT_EQ(agent.Requests()[1], disks);
    OptionalArgs();
}

struct ArgsCase {
    const char* label;
    Query query;
    RequestList optional;  // after param8, NumQXSIFArgs included
};

TEST_F(PassThru, OptionalPairsAreNumberedOnAndCounted) {
    using F = Form;
    // clang-format off
    const std::vector<ArgsCase> cases = {
        {"plain 64",        {F::kPlain,  "1", "64",     0},                      {"NumQXSIFArgs=9"}},
        {"plain 512",       {F::kPlain,  "1", "512",    4},                      {"param9=Rules", "param10=2", "param11=SpanLength", "param12=4", "NumQXSIFArgs=13"}},
        {"plain 2048",      {F::kPlain,  "1", "2048",   6},                      {"param9=Rules", "param10=2", "param11=SpanLength", "param12=6", "NumQXSIFArgs=13"}},
        {"plain 262144",    {F::kPlain,  "1", "262144", 8},                      {"param9=Rules", "param10=2", "param11=SpanLength", "param12=8", "NumQXSIFArgs=13"}},
        {"plain 0512",      {F::kPlain,  "1", "0512",   4},                      {"param9=Rules", "param10=2", "param11=SpanLength", "param12=4", "NumQXSIFArgs=13"}},
        {"plain 524288",    {F::kPlain,  "1", "524288", 2},                      {"NumQXSIFArgs=9"}},
        {"secure 64",       {F::kSecure, "1", "64",     0, 0, 1},                {"param9=SecureFlag", "param10=1", "NumQXSIFArgs=11"}},
        {"secure 2048",     {F::kSecure, "1", "2048",   4, 0, 1},                {"param9=SecureFlag", "param10=1", "param11=Rules", "param12=2", "param13=SpanLength", "param14=4", "NumQXSIFArgs=15"}},
        {"sas 64",          {F::kSas,    "1", "64",     0, 0, 0, "yes", "no"},   {"param9=VdPIEnabled", "param10=1", "param11=SecureFlag", "param12=0", "NumQXSIFArgs=13"}},
        {"sas 512",         {F::kSas,    "1", "512",    4, 0, 0, "YESs", "Yes"}, {"param9=VdPIEnabled", "param10=1", "param11=SecureFlag", "param12=1", "param13=Rules", "param14=2", "NumQXSIFArgs=15"}},
        {"sas 2048",        {F::kSas,    "1", "2048",   4, 0, 0, "ye", nullptr}, {"param9=VdPIEnabled", "param10=0", "param11=SecureFlag", "param12=0", "param13=Rules", "param14=2", "param15=SpanLength", "param16=4", "NumQXSIFArgs=17"}},
        {"sas 262144",      {F::kSas,    "1", "262144", 6, 0, 0, "no", "yES"},   {"param9=VdPIEnabled", "param10=0", "param11=SecureFlag", "param12=1", "param13=Rules", "param14=2", "param15=SpanLength", "param16=6", "NumQXSIFArgs=17"}},
    };
    // clang-format on
    for (const ArgsCase& c : cases) {
        RunQuery(c.query);
        EXPECT_EQ(OptionalArgs(), c.optional) << c.label;
    }
}

TEST_F(PassThru, IdentifiersAreCutToTheirFields) {
    std::vector<std::string> disks;
    for (int i = 0; i < 300; ++i) {
        disks.push_back("<ObjID>disk-" + std::to_string(100 + i) + "</ObjID>");
    }
    agent.Answer("getArrayDisk", Objects(disks));
    agent.Answer("getControllerList",
                 Objects({"<GlobalNo>1</GlobalNo><ObjID>" + std::string(40, 'c') + "</ObjID>"}));
    RunQuery({});
    const RequestList& sent = agent.Requests().back();
    EXPECT_EQ(sent[5], "param4=" + std::string(31, 'c'));
    EXPECT_EQ(sent[7].size(), std::string("param6=").size() + 1023);
    EXPECT_EQ(sent[7].substr(0, 25), "param6=disk-100:disk-101:");
    EXPECT_EQ(sent[9], "param8=300");  // every disk read counts, listed or not
}

struct LimitsCase {
    const char* label;
    Query query;
    Limits expected;
};

TEST_F(PassThru, LimitsOfTheLayoutLookedFor) {
    using F = Form;
    // clang-format off
    const std::vector<LimitsCase> cases = {
        {"layout 64",              {F::kPlain, "1", "64",   0},        {0, "20", "200", "", ""}},
        {"layout 512",             {F::kPlain, "1", "512",  4},        {0, "30", "300", "", ""}},
        {"layout is a number",     {F::kPlain, "1", "0512", 4},        {0, "30", "300", "", ""}},
        {"sas reads spans",        {F::kSas,   "1", "512",  4},        {0, "30", "300", "2", "2,2"}},
        {"span 22 means 512",      {F::kPlain, "1", "2048", 22, 0},    {0, "30", "300", "", ""}},
        {"span 26 means 512",      {F::kSas,   "1", "2048", 26, 0},    {0, "30", "300", "2", "2,2"}},
        {"special keeps layout",   {F::kPlain, "1", "2048", 22, 1},    {0, "",   "",    "", ""}},
        {"other span keeps",       {F::kPlain, "1", "64",   24, 0},    {0, "20", "200", "", ""}},
        {"layout absent",          {F::kSecure, "1", "4096", 0},       {0, "",   "",    "", ""}},
        {"no such controller",     {F::kPlain, "7", "2",    0},        {0, "10", "100", "", ""}},
    };
    // clang-format on
    for (const LimitsCase& c : cases) {
        const Limits got = RunQuery(c.query);
        EXPECT_EQ(got.status, c.expected.status) << c.label;
        EXPECT_EQ(got.min, c.expected.min) << c.label;
        EXPECT_EQ(got.max, c.expected.max) << c.label;
        if (c.query.form == Form::kSas) {
            EXPECT_EQ(got.spanDepth, c.expected.spanDepth) << c.label;
            EXPECT_EQ(got.spanLengthList, c.expected.spanLengthList) << c.label;
        }
    }
}

TEST_F(PassThru, AllLayoutsEntryStopsTheWalkWithItsOwnLimits) {
    agent.Answer("sendPassThruCmdToQXSIF",
                 Objects({Caps("2", "10", "100"), Caps("524288", "5", "50", "9", "9"),
                          Caps("64", "20", "200")}));
    // clang-format off
    const std::vector<LimitsCase> cases = {
        {"before the stop",  {Form::kPlain, "1", "2"},  {0, "10", "100", "", ""}},
        {"after the stop",   {Form::kPlain, "1", "64"}, {0, "5",  "50",  "", ""}},
        {"sas: no spans",    {Form::kSas,   "1", "64"}, {0, "5",  "50",  "", ""}},
        {"asked for itself", {Form::kSas,   "1", "524288"}, {0, "5", "50", "9", "9"}},
    };
    // clang-format on
    for (const LimitsCase& c : cases) {
        const Limits got = RunQuery(c.query);
        EXPECT_EQ(got.min, c.expected.min) << c.label;
        EXPECT_EQ(got.max, c.expected.max) << c.label;
        EXPECT_EQ(got.spanDepth, c.expected.spanDepth) << c.label;
    }
}

struct MissingCase {
    const char* label;
    const char* silentRequest;  // answered null
    Form form;
    size_t requests;
    const char* line;
};

TEST_F(PassThru, MissingAnswerAtAnyStepLeavesLimitsEmptyAndSaysWhere) {
    // clang-format off
    const MissingCase cases[] = {
        {"controller", "getControllerList",      Form::kPlain, 1, "GetPossibleMinMaxVDSizeForLayout(): pRespObj is NULL when trying to get controller objID"},
        {"disks",      "getArrayDisk",           Form::kSecure, 2, "GetPossibleMinMaxVDSizeForLayout(): pRespObj is NULL when trying to get adisk list"},
        {"caps",       "sendPassThruCmdToQXSIF", Form::kPlain, 3, "GetPossibleMinMaxVDSizeForLayout(): sendQXSIFPassThru() returned NULL"},
        {"sas caps",   "sendPassThruCmdToQXSIF", Form::kSas,   3, "GetsasGetCapsProps(): sendQXSIFPassThru() returned NULL"},
        {"sas disks",  "getArrayDisk",           Form::kSas,   2, "GetsasGetCapsProps(): pRespObj is NULL when trying to get adisk list"},
    };
    // clang-format on
    for (const MissingCase& c : cases) {
        SetUp();
        agent.Answer(c.silentRequest, std::nullopt);
        datest::TraceCapture trace(4);
        const size_t before = agent.Requests().size();
        Query q;
        q.form = c.form;
        const Limits got = RunQuery(q);
        EXPECT_EQ(got.status, 0) << c.label;
        EXPECT_EQ(got.min, "") << c.label;
        EXPECT_EQ(got.max, "") << c.label;
        EXPECT_EQ(agent.Requests().size() - before, c.requests) << c.label;
        EXPECT_TRUE(trace.HasLine(c.line)) << c.label << "\n" << trace.Text();
    }
}

TEST_F(PassThru, TracesLayoutAndAnswerAtLevelFour) {
    agent.Answer("sendPassThruCmdToQXSIF", Objects({Caps("64", "20", "200")}));
    {
        datest::TraceCapture trace(4);
        RunQuery({});
        EXPECT_TRUE(trace.HasLine("GetPossibleMinMaxVDSizeForLayout(): pLayoutValue=64"));
        const std::string data =
            "GetPossibleMinMaxVDSizeForLayout(): pRespObj->pDataBuf=<RESPONSE>" +
            Objects({Caps("64", "20", "200")}) + "</RESPONSE>";
        EXPECT_TRUE(trace.HasLine(data)) << trace.Text();
        EXPECT_TRUE(trace.HasLine("KVCLP:ENTRY----------->GetPossibleMinMaxVDSizeForLayout"));
    }
    {
        datest::TraceCapture trace(4);
        Query q;
        q.form = Form::kSas;
        RunQuery(q);
        EXPECT_TRUE(trace.HasLine("GetsasGetCapsProps(): pLayoutValue=64"));
        EXPECT_TRUE(trace.HasLine("KVCLP:EXIT------------>GetsasGetCapsProps"));
    }
    datest::TraceCapture quiet(3);
    RunQuery({});
    EXPECT_EQ(quiet.Text().find("pLayoutValue"), std::string::npos);
}

TEST_F(PassThru, BufferFailureGives272BeforeAnythingIsAsked) {
    datest::TraceCapture trace(4);
    int32_t status = 0;
    {
        datest::NoXmlBuffers noBuffers;
        status = RunQuery({}).status;
    }
    EXPECT_EQ(status, 272);
    EXPECT_TRUE(agent.Requests().empty());
    EXPECT_TRUE(trace.HasLine("GetPossibleMinMaxVDSizeForLayout(): OCSXAllocBuf() failed"));
}

}  // namespace
