// A fresh, empty directory under the system's temporary directory, on any
// system; the caller removes it.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace vktest {

inline std::filesystem::path MakeTempDir(const std::string& prefix) {
    static std::mt19937_64 random{std::random_device{}()};
    for (;;) {
        const std::filesystem::path dir =
            std::filesystem::temp_directory_path() / (prefix + std::to_string(random()));
        if (std::filesystem::create_directory(dir)) return dir;
    }
}

}  // namespace vktest
