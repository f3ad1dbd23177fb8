// Loading the storage plug-in and capturing its standard output.
#include "plugin.h"

#include <iostream>

#include "host.h"
#include "os/console.h"

namespace vk::host {

namespace {

template <typename Func>
Func Resolve(const os::Module& module, const char* name, const std::filesystem::path& library) {
    void* symbol = module.Find(name);
    if (symbol == nullptr)
        throw HostError(kExitFailure, "the plug-in " + library.string() + " has no " + name);
    return reinterpret_cast<Func>(symbol);
}

}  // namespace

Plugin::Plugin(const std::filesystem::path& library) {
    std::string why;
    module_ = os::Module::Load(library, why);
    if (!module_) throw HostError(kExitFailure, "cannot load the storage plug-in: " + why);
    send_ = Resolve<SendFunc>(module_, "kvclp64_sendRequest", library);
    free_ = Resolve<FreeFunc>(module_, "kvclp64_freeResponse", library);
    rights_ = Resolve<RightsFunc>(module_, "kvclp64_getRequiredUserRights", library);
    destroy_ = Resolve<DestroyFunc>(module_, "kvclp64_destroyCLIP", library);
}

Plugin::~Plugin() {
    destroy_();
}

uint32_t Plugin::RequiredRights(const std::vector<const char*>& argv) const {
    return rights_(static_cast<uint32_t>(argv.size()), const_cast<const char**>(argv.data()));
}

Plugin::ResponsePtr Plugin::Send(const std::vector<const char*>& argv) const {
    return ResponsePtr(
        send_(static_cast<uint32_t>(argv.size()), const_cast<const char**>(argv.data())),
        ResponseFree{free_});
}

void Plugin::SetHostFlags(uint32_t flags, const char* what) const {
    // The flag lives in the support library the plug-in is linked with, so it
    // is looked up through the plug-in's own dependencies.
    void* symbol = module_.Find("CLPSSetHostFlags");
    if (symbol == nullptr)
        throw HostError(kExitFailure, std::string("the storage plug-in cannot ") + what +
                                          " (no CLPSSetHostFlags)");
    reinterpret_cast<FlagsFunc>(symbol)(flags);
}

void Plugin::RequestDryRun() const {
    SetHostFlags(CLPS_HOST_DRYRUN, "make dry runs");
}

void Plugin::RequestDescription() const {
    SetHostFlags(CLPS_HOST_DESCRIBE, "describe its commands");
}

// The record lives in the data-agent access library the plug-in is linked
// with, so it is looked up through the plug-in's own dependencies too.
std::optional<Plugin::AgentFailure> Plugin::TheAgentFailure() const {
    using GetFunc = int32_t (*)(const char**, const char**);
    void* symbol = module_.Find("VKDBPluginGetFailure");
    const char* agent = nullptr;
    const char* cause = nullptr;
    if (symbol == nullptr || reinterpret_cast<GetFunc>(symbol)(&agent, &cause) == 0)
        return std::nullopt;
    return AgentFailure{agent != nullptr ? agent : "", cause != nullptr ? cause : ""};
}

void Plugin::ClearAgentFailure() const {
    using ClearFunc = void (*)();
    if (void* symbol = module_.Find("VKDBPluginClearFailure"))
        reinterpret_cast<ClearFunc>(symbol)();
}

StdoutCapture::StdoutCapture() {
    std::cout.flush();
    file_ = os::CreateTemporaryFile();
    if (file_ == nullptr)
        throw HostError(kExitFailure, "cannot create a temporary file for the plug-in's output");
    saved_ = os::RedirectStdout(file_);
    if (saved_ < 0) {
        std::fclose(file_);
        throw HostError(kExitFailure, "cannot redirect standard output");
    }
}

StdoutCapture::~StdoutCapture() {
    if (saved_ >= 0) Finish();
}

std::string StdoutCapture::Finish() {
    std::cout.flush();
    os::RestoreStdout(saved_);
    saved_ = -1;
    std::string text;
    std::rewind(file_);
    char buffer[4096];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, file_)) > 0) text.append(buffer, got);
    std::fclose(file_);
    file_ = nullptr;
    return text;
}

}  // namespace vk::host
