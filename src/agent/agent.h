// The data agent: parses a name/value request, answers it from the estate
// and records it in the journal.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "model.h"
#include "store.h"

namespace kvda {

// Answer status numbers.
namespace status {
inline constexpr int kOk = 0;
inline constexpr int kUnknownRequest = 1;
inline constexpr int kMissingIdentifier = 2;
inline constexpr int kBadIdentifier = 3;
inline constexpr int kNoSuchObject = 4;
inline constexpr int kStateError = 5;
inline constexpr int kBadRequest = 6;
}  // namespace status

struct Request {
    std::string name;
    std::vector<std::pair<std::string, std::string>> params;
    const std::string* get(std::string_view key) const;
};

// Splits "vkacmd=x", "a=b", ... Throws RequestError for a list without a
// leading "vkacmd=" entry.
Request parseRequest(const std::vector<std::string>& pairs);

// One journal line: the pairs joined by spaces, pass phrases hidden.
std::string journalLine(const std::vector<std::string>& pairs);

class Agent {
  public:
    explicit Agent(const std::filesystem::path& statePath);
    // The complete answer text for a name/value list.
    std::string send(const std::vector<std::string>& pairs);
    Store& store() { return store_; }
    // The estate as stored now (reloaded only when another write happened).
    const Estate& estate();

  private:
    std::mutex mutex_;
    Store store_;
    Estate estate_;
    int64_t generation_ = -1;
};

// True when the request name is in the agent's vocabulary.
bool knownRequest(std::string_view name);

}  // namespace kvda
