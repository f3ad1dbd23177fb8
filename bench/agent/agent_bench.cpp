// Answer time of the agent on the large profile beside the time libxml2
// takes to parse the same answer.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "agent.h"
#include "profile.h"
#include "store.h"

namespace {

namespace fs = std::filesystem;

kvda::Agent& largeAgent() {
    static std::unique_ptr<kvda::Agent> agent = [] {
        setenv("VK_SHARE_DIR", VK_BENCH_SHARE_DIR, 0);
        fs::path dir = fs::temp_directory_path() / ("kvda-bench-" + std::to_string(getpid()));
        fs::remove_all(dir);
        fs::create_directories(dir);
        fs::path file = kvda::resolveProfile("large");
        std::ifstream in(file);
        std::string text((std::istreambuf_iterator<char>(in)), {});
        {
            kvda::Store store(dir / "state.db");
            store.replace(kvda::buildEstate(text, file.string()), "large");
        }
        return std::make_unique<kvda::Agent>(dir / "state.db");
    }();
    return *agent;
}

const std::vector<std::string> kDisks{"vkacmd=getArrayDisksForController", "GlobalNo=0",
                                      "CLI=true"};
const std::vector<std::string> kController{"vkacmd=getController", "GlobalNo=0", "CLI=true"};

void answer(benchmark::State& state, const std::vector<std::string>& req) {
    auto& agent = largeAgent();
    size_t bytes = 0;
    for (auto _ : state) {
        std::string text = agent.send(req);
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["bytes"] = static_cast<double>(bytes);
    agent.store().clearJournal();
}

void parse(benchmark::State& state, const std::vector<std::string>& req) {
    std::string text = "<ROOT>" + largeAgent().send(req) + "</ROOT>";
    for (auto _ : state) {
        xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        benchmark::DoNotOptimize(doc);
        xmlFreeDoc(doc);
    }
}

void BM_AnswerDisksForController(benchmark::State& s) {
    answer(s, kDisks);
}
void BM_ParseDisksForController(benchmark::State& s) {
    parse(s, kDisks);
}
void BM_AnswerController(benchmark::State& s) {
    answer(s, kController);
}
void BM_ParseController(benchmark::State& s) {
    parse(s, kController);
}

BENCHMARK(BM_AnswerDisksForController)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParseDisksForController)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AnswerController)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParseController)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
