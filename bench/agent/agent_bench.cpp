// The agent's costs that must not grow with the estate:
// - one command on one object (a fresh agent, the requests the plug-in sends
//   for a disk report, closed again) on the `default` estate and on the same
//   estate with a second RAID controller of 65,536 disks;
// - building and storing an estate, per disk, at 4,096 and 65,536 disks;
// - answering a controller's disks on the `large` profile beside the time
//   libxml2 takes to parse the same answer.
// Estates are made in a scratch directory removed at exit.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <memory>

#include "agent.h"
#include "profile.h"
#include "store.h"

namespace {

namespace fs = std::filesystem;

struct Scratch {
    fs::path dir;
    Scratch() {
        setenv("VK_SHARE_DIR", VK_BENCH_SHARE_DIR, 0);
        setenv("KVDA_TIME_SCALE", "0", 0);
        dir = fs::temp_directory_path() / ("kvda-bench-" + std::to_string(getpid()));
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

Scratch& scratch() {
    static Scratch s;
    return s;
}

// The state file of an estate made once from a profile text.
fs::path estate(const std::string& name, const std::string& text) {
    static std::map<std::string, fs::path> made;
    auto it = made.find(name);
    if (it != made.end()) return it->second;
    fs::path file = scratch().dir / (name + ".db");
    kvda::Store(file).replace(kvda::buildEstate(text, name), name);
    return made.emplace(name, file).first->second;
}

fs::path shipped(const std::string& profile) {
    return estate(profile, kvda::readProfile(kvda::resolveProfile(profile)));
}

// 0: the default estate; 1: the default estate and a controller of 65,536 disks.
fs::path oneObjectEstate(int64_t which) {
    return which == 0 ? shipped("default")
                      : estate("default-big",
                               kvda::generateProfile("base=default,controllers=1,disks=65536"));
}

// What the plug-in asks for `vkreport storage pdisk controller=0 pdisk=0:0:4`.
const std::vector<std::vector<std::string>> kDiskReport{
    {"vkacmd=getControllerList"},
    {"vkacmd=getController", "GlobalNo=0", "CLI=true"},
    {"vkacmd=getChannelsForController", "GlobalNo=0", "CLI=true"},
    {"vkacmd=getArrayDisksForChannel", "GlobalNo=0", "Channel=0", "CLI=true"},
    {"vkacmd=getArrayDisk", "GlobalNo=0", "adisk=0:0:4"},
};

void BM_DiskReportCommand(benchmark::State& state) {
    const fs::path file = oneObjectEstate(state.range(0));
    for (auto _ : state) {
        kvda::Agent agent(file);  // one command: the agent opens, answers, closes
        for (const auto& req : kDiskReport) benchmark::DoNotOptimize(agent.send(req).size());
    }
    state.SetLabel(state.range(0) == 0 ? "default" : "default+65536 disks");
}
BENCHMARK(BM_DiskReportCommand)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_InitPerDisk(benchmark::State& state) {
    const std::string text =
        kvda::generateProfile("controllers=1,disks=" + std::to_string(state.range(0)));
    int run = 0;
    for (auto _ : state) {
        const fs::path file = scratch().dir / ("init-" + std::to_string(run++) + ".db");
        kvda::Store(file).replace(kvda::buildEstate(text, "generated"), "generated");
        state.PauseTiming();
        for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(file.string() + suffix);
        state.ResumeTiming();
    }
    state.counters["per_disk"] =
        benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_InitPerDisk)->Arg(4096)->Arg(65536)->Unit(benchmark::kMillisecond)->Iterations(3);

const std::vector<std::string> kDisks{"vkacmd=getArrayDisksForController", "GlobalNo=0",
                                      "CLI=true"};

kvda::Agent& largeAgent() {
    static kvda::Agent agent(shipped("large"));
    return agent;
}

void BM_AnswerDisksForController(benchmark::State& state) {
    size_t bytes = 0;
    for (auto _ : state) {
        std::string text = largeAgent().send(kDisks);
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_AnswerDisksForController)->Unit(benchmark::kMicrosecond);

void BM_ParseDisksForController(benchmark::State& state) {
    std::string text = "<ROOT>" + largeAgent().send(kDisks) + "</ROOT>";
    for (auto _ : state) {
        xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        benchmark::DoNotOptimize(doc);
        xmlFreeDoc(doc);
    }
}
BENCHMARK(BM_ParseDisksForController)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
