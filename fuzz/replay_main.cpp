// Without a fuzzing engine, a fuzz target runs once over every file of its
// corpus folder, so the corpus is a regression test under CTest.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path arg(argv[i]);
        if (!std::filesystem::exists(arg)) {
            std::fprintf(stderr, "no such corpus: %s\n", argv[i]);
            return 2;
        }
        auto run = [&runs](const std::filesystem::path& file) {
            std::ifstream in(file, std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(in)), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++runs;
        };
        if (std::filesystem::is_directory(arg)) {
            for (const auto& entry : std::filesystem::directory_iterator(arg)) run(entry.path());
        } else {
            run(arg);
        }
    }
    std::printf("%d inputs replayed\n", runs);
    return runs > 0 ? 0 : 2;
}
