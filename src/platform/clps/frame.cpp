// The table-driven command frame and the strings kept for its callbacks.
#include <deque>
#include <new>
#include <string>

#include "clps.h"
#include "clps_util.h"

namespace {

// Strings handed out by CLPSNVKeepString during one frame call. Each call
// installs its own arena and restores the enclosing one when it returns.
using Arena = std::deque<std::string>;
thread_local Arena* t_arena = nullptr;

class ArenaScope {
  public:
    ArenaScope() : previous_(t_arena) { t_arena = &arena_; }
    ~ArenaScope() { t_arena = previous_; }
    ArenaScope(const ArenaScope&) = delete;
    ArenaScope& operator=(const ArenaScope&) = delete;

  private:
    Arena arena_;
    Arena* previous_;
};

}  // namespace

extern "C" {

const char* CLPSNVKeepString(const char* text) {
    if (t_arena == nullptr || text == nullptr) return nullptr;
    try {
        // A deque never moves its elements, so earlier pointers stay valid.
        return t_arena->emplace_back(text).c_str();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

CLPSResponse* CLPSNVCmdConfigFunc(uint32_t argc, const char** argv, uint32_t /*usageMsgId*/,
                                  uint32_t /*secondMsgId*/, const CLPSNVActionRow* /*table*/,
                                  uint32_t /*rowCount*/, const char* styleSheet,
                                  CLPSNVValidateFunc /*validate*/) {
    ArenaScope scope;
    try {
        // The action and parameter tables are not interpreted yet: the
        // command is answered as not available, naming it.
        const std::string words = clps::CommandWords(argc, argv);
        return CLPSNVSetupMsgRespObj(CLPS_MSG_NOT_AVAILABLE, 0, words.c_str(), nullptr, nullptr,
                                     nullptr, styleSheet);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // extern "C"
