// A validator walk reads "ObjID", "Channel" and "TargetID" at n = 0, 1, ...
// until the read fails. Over an answer of 1,000 storage objects that walk
// must cost no more than three parses of the answer.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "da.h"

namespace {

constexpr int kObjects = 1000;

std::string Answer() {
    std::string xml = "<RESPONSE>";
    for (int i = 0; i < kObjects; ++i) {
        const std::string n = std::to_string(i);
        xml += "<QXStorageObject><GlobalNo>0</GlobalNo><ObjID>" + std::to_string(4096 + i) +
               "</ObjID><Channel>" + std::to_string(i % 4) + "</Channel><TargetID>" + n +
               "</TargetID><Name>Physical Disk 0:" + n +
               "</Name><State>4</State><BusProtocol>8</BusProtocol><Length>1200243695616"
               "</Length><AttributesMask>00000000000000000000000000000101</AttributesMask>"
               "<MasterMethodMask>00000000000000000000011111111111</MasterMethodMask>"
               "</QXStorageObject>";
    }
    return xml + "<SMStatus>0</SMStatus></RESPONSE>";
}

const da::XmlBuffer& Buffer() {
    static const da::XmlBuffer buf = [] {
        da::XmlBuffer b = da::XmlBuffer::Allocate();
        OCSXBufCatNode(b.get(), "ROOT", nullptr, OCSXBUF_XML, Answer().c_str());
        return b;
    }();
    return buf;
}

void ParseOnce() {
    const OCSXBuf* buf = Buffer().get();
    xmlDoc* doc = xmlReadMemory(buf->pContent, static_cast<int>(buf->contentSize), nullptr, nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    benchmark::DoNotOptimize(doc);
    xmlFreeDoc(doc);
}

// The whole walk from a cold start: the cached parse is dropped first.
int Walk() {
    const OCSXBuf* buf = Buffer().get();
    da::ForgetParsedXml(buf);
    int reads = 0;
    char value[256];
    for (const char* tag : {"ObjID", "Channel", "TargetID"}) {
        for (uint32_t n = 0; GetNthTagValueWithSize(tag, value, sizeof value, n, buf) == 0; ++n) {
            ++reads;
        }
    }
    return reads;
}

void BM_ParseAnswer(benchmark::State& state) {
    for (auto _ : state) {
        ParseOnce();
    }
}
BENCHMARK(BM_ParseAnswer)->Unit(benchmark::kMicrosecond);

void BM_WalkThreeTags(benchmark::State& state) {
    int reads = 0;
    for (auto _ : state) {
        reads = Walk();
        benchmark::DoNotOptimize(reads);
    }
    state.counters["reads"] = reads;
}
BENCHMARK(BM_WalkThreeTags)->Unit(benchmark::kMicrosecond);

// Median wall time of fn over a number of runs, in microseconds.
template <typename Fn>
double MedianMicros(Fn fn, int runs) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        fn();
        const auto end = std::chrono::steady_clock::now();
        times.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    }
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[runs / 2];
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    // The figure the walk is held to, measured side by side.
    if (Walk() != 3 * kObjects) {
        std::fprintf(stderr, "walk read %d values, expected %d\n", Walk(), 3 * kObjects);
        return 1;
    }
    const double parse = MedianMicros(ParseOnce, 31);
    const double walk = MedianMicros(Walk, 31);
    const double ratio = walk / parse;
    std::printf(
        "answer of %d objects: parse %.0f us, walk of 3 tags %.0f us, ratio %.2f (limit 3)\n",
        kObjects, parse, walk, ratio);
    return ratio <= 3.0 ? 0 : 2;
}
