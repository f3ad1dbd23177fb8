// The storage plug-in, loaded at run time, and the capture of what it
// writes to standard output.
#ifndef VK_HOST_PLUGIN_H
#define VK_HOST_PLUGIN_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clps.h"
#include "os/module.h"

namespace vk::host {

class Plugin {
  public:
    using SendFunc = CLPSResponse* (*)(uint32_t, const char**);
    using FreeFunc = void (*)(CLPSResponse*);
    using RightsFunc = uint32_t (*)(uint32_t, const char**);
    using DestroyFunc = void (*)();
    using FlagsFunc = void (*)(uint32_t);

    // Loads the library and finds its four exports; a HostError with the
    // loader's text when it cannot.
    explicit Plugin(const std::filesystem::path& library);
    // Lets the plug-in release its state (kvclp64_destroyCLIP); the module
    // is unloaded after.
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    struct ResponseFree {
        FreeFunc free;
        void operator()(CLPSResponse* resp) const { free(resp); }
    };
    using ResponsePtr = std::unique_ptr<CLPSResponse, ResponseFree>;

    uint32_t RequiredRights(const std::vector<const char*>& argv) const;
    ResponsePtr Send(const std::vector<const char*>& argv) const;
    // Asks for a dry run through the command-line support library the plug-in
    // uses; a HostError when the plug-in has none.
    void RequestDryRun() const;
    // Asks for descriptions of the commands instead of running them, the
    // same way.
    void RequestDescription() const;

    // Why an agent the plug-in asked gave no answer (it could not be used),
    // as the data-agent access library the plug-in is linked with recorded
    // it since the last clear; nothing when every agent answered or the
    // plug-in uses no such library.
    struct AgentFailure {
        std::string agent;
        std::string cause;
    };
    std::optional<AgentFailure> TheAgentFailure() const;
    void ClearAgentFailure() const;

  private:
    void SetHostFlags(uint32_t flags, const char* what) const;

    os::Module module_;
    SendFunc send_ = nullptr;
    FreeFunc free_ = nullptr;
    RightsFunc rights_ = nullptr;
    DestroyFunc destroy_ = nullptr;
};

// Sends standard output to a temporary file until Finish (or destruction).
class StdoutCapture {
  public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;
    // Restores standard output and returns what was written meanwhile.
    std::string Finish();

  private:
    std::FILE* file_ = nullptr;
    int saved_ = -1;
};

}  // namespace vk::host

#endif
