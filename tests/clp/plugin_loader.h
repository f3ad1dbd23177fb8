// Loads the plug-in the way the host does: dlopen and the four names.
#ifndef VK_TESTS_CLP_PLUGIN_LOADER_H
#define VK_TESTS_CLP_PLUGIN_LOADER_H

#include <dlfcn.h>

#include <memory>
#include <string>
#include <vector>

#include "kvclp64.h"

struct Plugin {
    void* handle = nullptr;
    kvclp64_sendRequest_fn sendRequest = nullptr;
    kvclp64_freeResponse_fn freeResponse = nullptr;
    kvclp64_getRequiredUserRights_fn getRequiredUserRights = nullptr;
    kvclp64_destroyCLIP_fn destroyCLIP = nullptr;

    bool Load() {
        handle = dlopen(KVCLP64_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) return false;
        sendRequest =
            reinterpret_cast<kvclp64_sendRequest_fn>(dlsym(handle, "kvclp64_sendRequest"));
        freeResponse =
            reinterpret_cast<kvclp64_freeResponse_fn>(dlsym(handle, "kvclp64_freeResponse"));
        getRequiredUserRights = reinterpret_cast<kvclp64_getRequiredUserRights_fn>(
            dlsym(handle, "kvclp64_getRequiredUserRights"));
        destroyCLIP =
            reinterpret_cast<kvclp64_destroyCLIP_fn>(dlsym(handle, "kvclp64_destroyCLIP"));
        return sendRequest != nullptr && freeResponse != nullptr &&
               getRequiredUserRights != nullptr && destroyCLIP != nullptr;
    }
    void Unload() {
        if (handle != nullptr) dlclose(handle);
        handle = nullptr;
    }
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
