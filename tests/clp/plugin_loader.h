// Loads the plug-in the way the host does: the module and its four names.
#ifndef VK_TESTS_CLP_PLUGIN_LOADER_H
#define VK_TESTS_CLP_PLUGIN_LOADER_H

#include <memory>
#include <string>
#include <vector>

#include "kvclp64.h"
#include "os/module.h"

struct Plugin {
    vk::os::Module module;
    std::string error;  // why the last Load failed
    kvclp64_sendRequest_fn sendRequest = nullptr;
    kvclp64_freeResponse_fn freeResponse = nullptr;
    kvclp64_getRequiredUserRights_fn getRequiredUserRights = nullptr;
    kvclp64_destroyCLIP_fn destroyCLIP = nullptr;

    bool Load() {
        module = vk::os::Module::Load(KVCLP64_PATH, error);
        if (!module) return false;
        sendRequest = reinterpret_cast<kvclp64_sendRequest_fn>(module.Find("kvclp64_sendRequest"));
        freeResponse =
            reinterpret_cast<kvclp64_freeResponse_fn>(module.Find("kvclp64_freeResponse"));
        getRequiredUserRights = reinterpret_cast<kvclp64_getRequiredUserRights_fn>(
            module.Find("kvclp64_getRequiredUserRights"));
        destroyCLIP = reinterpret_cast<kvclp64_destroyCLIP_fn>(module.Find("kvclp64_destroyCLIP"));
        return sendRequest != nullptr && freeResponse != nullptr &&
               getRequiredUserRights != nullptr && destroyCLIP != nullptr;
    }
    void Unload() { module = vk::os::Module(); }
};

// A command line split at blanks, as the host hands it over.
class CommandLine {
  public:
    explicit CommandLine(const std::string& line) {
        size_t pos = 0;
        while (pos < line.size()) {
            size_t end = line.find(' ', pos);
            if (end == std::string::npos) end = line.size();
            if (end > pos) words_.push_back(line.substr(pos, end - pos));
            pos = end + 1;
        }
        for (const auto& w : words_) argv_.push_back(w.c_str());
    }
    uint32_t argc() const { return static_cast<uint32_t>(argv_.size()); }
    const char** argv() { return argv_.data(); }

  private:
    std::vector<std::string> words_;
    std::vector<const char*> argv_;
};

#endif
