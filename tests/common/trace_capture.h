// Captures the plug-in's trace for a test: traces into a fresh file at the
// given level and reads back the lines written after start-up.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "trace.h"

namespace vktest {

// Traces into a fresh file at the given level; the lines written after
// start-up are read back with Text().
class TraceCapture {
  public:
    explicit TraceCapture(int level) {
        dir_ = std::filesystem::temp_directory_path() /
               ("vk-trace-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++));
        std::filesystem::create_directories(dir_);
        std::ofstream(dir_ / kName) << "loglevel=" << level << "\nlogtarget=1\n";
        const char* old = std::getenv("SystemRoot");
        if (old != nullptr) {
            oldRoot_ = old;
        }
        ::setenv("SystemRoot", dir_.c_str(), 1);
        SysDbgInit(1, kName);
        settingsSize_ = std::filesystem::file_size(dir_ / kName);
    }
    ~TraceCapture() {
        SysDbgReset();
        if (oldRoot_) {
            ::setenv("SystemRoot", oldRoot_->c_str(), 1);
        } else {
            ::unsetenv("SystemRoot");
        }
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    std::string Text() const {
        std::ifstream in(dir_ / kName);
        std::stringstream all;
        all << in.rdbuf();
        return all.str().substr(settingsSize_);
    }
    bool HasLine(const std::string& line) const {
        return ("\n" + Text()).find("\n" + line + "\n") != std::string::npos;
    }

  private:
    static constexpr const char* kName = "vktest.log";
    static inline int counter_ = 0;
    std::filesystem::path dir_;
    std::optional<std::string> oldRoot_;
    std::uintmax_t settingsSize_ = 0;
};

}  // namespace vktest
