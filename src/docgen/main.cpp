// vk_docgen: writes the manual pages and the bash completion of the tools
// from the vocabulary dump the programs give (--describe), the message
// catalogue, the shipped profiles and the hand-written page templates.
// Run by the build; each output is written whole or not at all.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "completion.h"
#include "man_pages.h"
#include "roff.h"
#include "vocabulary.h"

namespace fs = std::filesystem;
using namespace vk::docgen;

namespace {

constexpr const char* kUsage =
    "usage: vk_docgen --dump FILE --catalogue FILE --profiles DIR --templates DIR\n"
    "                 --functions FILE --version VERSION --out DIR\n";

struct Page {
    const char* tmpl;    // in the templates directory
    const char* output;  // under the output directory
};
// clang-format off
constexpr auto kPages = std::to_array<Page>({
    {"vkreport.8.in",   "share/man/man8/vkreport.8"},
    {"vkconfig.8.in",   "share/man/man8/vkconfig.8"},
    {"kvda.8.in",       "share/man/man8/kvda.8"},
    {"vk-storage.7.in", "share/man/man7/vk-storage.7"},
});
// clang-format on

// bash-completion loads a command's completion from a file of its name.
constexpr auto kCompletionFiles = std::to_array<const char*>({"vkreport", "vkconfig", "kvda"});
constexpr const char* kCompletionDir = "share/bash-completion/completions";

// Written beside the target and renamed over it, so that a failed run
// leaves the previous file whole.
void WriteFile(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    const fs::path temporary = file.string() + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << text;
        if (!out.flush()) throw InputError("cannot write " + temporary.string());
    }
    fs::rename(temporary, file);
}

constexpr auto kOptions = std::to_array<std::string_view>(
    {"dump", "catalogue", "profiles", "templates", "functions", "version", "out"});

int Run(const std::vector<std::string>& args) {
    std::map<std::string, std::string, std::less<>> opts;
    for (size_t i = 0; i < args.size(); i += 2) {
        const std::string name = args[i].starts_with("--") ? args[i].substr(2) : "";
        if (std::find(kOptions.begin(), kOptions.end(), name) == kOptions.end() ||
            i + 1 >= args.size()) {
            std::cerr << "vk_docgen: '" << args[i] << "' is not an option with its value\n"
                      << kUsage;
            return 2;
        }
        opts[name] = args[i + 1];
    }
    for (const std::string_view name : kOptions) {
        if (!opts.contains(name)) {
            std::cerr << "vk_docgen: --" << name << " is missing\n" << kUsage;
            return 2;
        }
    }
    const Vocabulary vocabulary = ParseVocabulary(ReadText(opts["dump"]), opts["dump"]);
    const Catalogue catalogue = ParseCatalogue(ReadText(opts["catalogue"]), opts["catalogue"]);
    const std::vector<Profile> profiles = ReadProfiles(opts["profiles"]);
    const fs::path templates = opts["templates"];
    const fs::path out = opts["out"];

    const Sources sources{vocabulary, catalogue, profiles};
    const auto sections = ManSections(sources);
    // Everything is made before anything is written.
    std::vector<std::pair<fs::path, std::string>> files;
    for (const Page& page : kPages) {
        const fs::path tmpl = templates / page.tmpl;
        files.emplace_back(out / page.output, roff::FillTemplate(ReadText(tmpl), tmpl.string(),
                                                                 sections, opts["version"]));
    }
    const std::string script = CompletionScript(vocabulary, ReadText(opts["functions"]));
    for (const char* name : kCompletionFiles)
        files.emplace_back(out / kCompletionDir / name, script);
    for (const auto& [file, text] : files) WriteFile(file, text);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& e) {
        std::cerr << "vk_docgen: " << e.what() << "\n";
        return 1;
    }
}
