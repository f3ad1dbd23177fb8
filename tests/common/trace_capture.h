// Captures the plug-in's trace for a test: traces into a fresh file at the
// given level and reads back the lines written after start-up.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "os/environment.h"
#include "temp_dir.h"
#include "trace.h"

namespace vktest {

// Traces into a fresh file at the given level; the lines written after
// start-up are read back with Text().
class TraceCapture {
  public:
    explicit TraceCapture(int level) {
        dir_ = MakeTempDir("vk-trace-");
        std::ofstream(dir_ / kName) << "loglevel=" << level << "\nlogtarget=1\n";
        const char* old = std::getenv("SystemRoot");
        if (old != nullptr) {
            oldRoot_ = old;
        }
        vk::os::SetEnvironment("SystemRoot", dir_.string().c_str());
        SysDbgInit(1, kName);
        settingsSize_ = All().size();
    }
    ~TraceCapture() {
        SysDbgReset();
        if (oldRoot_) {
            vk::os::SetEnvironment("SystemRoot", oldRoot_->c_str());
        } else {
            vk::os::UnsetEnvironment("SystemRoot");
        }
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    std::string Text() const { return All().substr(settingsSize_); }
    bool HasLine(const std::string& line) const {
        return ("\n" + Text()).find("\n" + line + "\n") != std::string::npos;
    }

  private:
    // The whole file read as text, so line ends are "\n" on every system.
    std::string All() const {
        std::ifstream in(dir_ / kName);
        std::stringstream all;
        all << in.rdbuf();
        return all.str();
    }

    static constexpr const char* kName = "vktest.log";
    std::filesystem::path dir_;
    std::optional<std::string> oldRoot_;
    size_t settingsSize_ = 0;
};

}  // namespace vktest
