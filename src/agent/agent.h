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
inline constexpr int kBadValue = 7;     // a value is malformed, unknown or out of range
inline constexpr int kNotPossible = 8;  // the estate's state does not allow the request
}  // namespace status

// A request that cannot be answered: the status and the clear text naming
// what was wrong. Thrown by handlers; nothing they changed is kept.
struct RequestError {
    int status;
    std::string message;
};

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

// An answer with its status; status::kStateError means that the estate
// could not be used (the message says why and names the state file).
struct Reply {
    int status = status::kOk;
    std::string message;
    std::string text;
};

class Agent {
  public:
    // Opens the estate; throws Error when it cannot be used, or when
    // $KVDA_TIME_SCALE is not a time scale.
    explicit Agent(const std::filesystem::path& statePath);
    // The complete answer text for a name/value list.
    std::string send(const std::vector<std::string>& pairs) { return reply(pairs).text; }
    Reply reply(const std::vector<std::string>& pairs);
    Store& store() { return store_; }
    // The estate as it is now, read as it is asked; brought to the present
    // simulated time (and that written) while operations run, when this
    // process may write the file. Otherwise the stored state.
    const Estate& estate();
    // One change of the estate in one transaction (see Store::mutate).
    void mutate(const Store::Mutation& change);
    // The simulated time now, in seconds.
    int64_t now();

  private:
    const Estate& current();
    void bringToPresent();
    std::recursive_mutex mutex_;
    Store store_;
    Estate estate_;
    int64_t generation_ = -1;
    bool activeOps_ = false;
};

// True when the request name is in the agent's vocabulary.
bool knownRequest(std::string_view name);
// Every request the agent answers, the queries first.
std::vector<vk::RequestName> knownRequests();

// Queries: answers a request that reads the estate. False when `req` is not
// one; throws RequestError to refuse.
class Answer;
bool runRead(const Request& req, const Estate& e, Answer& answer);

// Configuration requests: runs the handler of a request that changes the
// estate. False when `req` is not one; throws RequestError to refuse.
// `dir` is the agent's own directory (export logs are written there).
bool runWrite(const Request& req, Estate& e, int64_t now, const std::filesystem::path& dir,
              Answer& answer);
bool isWriteRequest(std::string_view name);
std::vector<vk::RequestName> writeRequests();

}  // namespace kvda
