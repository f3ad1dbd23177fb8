// The agent: each request answered from the estate of the state file, read
// inside one transaction or changed in one, and recorded in the journal.
#include "agent.h"

#include "answer.h"
#include "mechanics.h"
#include "xml_text.h"

namespace kvda {

namespace fs = std::filesystem;

Agent::Agent(const fs::path& statePath) : store_(statePath) {
    // A bad clock setting is refused at once, not only once an operation runs.
    timeScale();
}

const Estate& Agent::current() {
    int64_t g = store_.generation();
    if (g != generation_) {
        estate_ = store_.view();
        generation_ = g;
        activeOps_ = hasActiveOps(estate_);
    }
    return estate_;
}

// While operations run, the time that passed since the last write is
// written before anything is answered, so that every reader sees the same
// progress. A process that may not write the file (or cannot now) answers
// from the stored state: its readers see the progress last written.
void Agent::bringToPresent() {
    current();
    if (!activeOps_ || store_.readOnly() || effectiveTime(estate_, wallMillis()) <= estate_.simTime)
        return;
    try {
        mutate([](Estate&, int64_t&) {});
    } catch (const std::exception&) {
        generation_ = -1;  // read it again
    }
}

const Estate& Agent::estate() {
    std::lock_guard lock(mutex_);
    bringToPresent();
    return current();
}

void Agent::mutate(const Store::Mutation& change) {
    std::lock_guard lock(mutex_);
    Estate result;
    int64_t g = store_.mutate(change, result);
    estate_ = std::move(result);
    generation_ = g;
    activeOps_ = hasActiveOps(estate_);
}

int64_t Agent::now() {
    std::lock_guard lock(mutex_);
    return effectiveTime(estate(), wallMillis());
}

Reply Agent::reply(const std::vector<std::string>& pairs) {
    std::lock_guard lock(mutex_);
    Answer answer;
    int st = status::kOk;
    std::string message;
    try {
        checkRequestText(pairs);
        Request req = parseRequest(pairs);
        if (req.name.empty()) {
            st = status::kBadRequest;
            message = "the first entry must be vkacmd=<request>";
        } else if (isWriteRequest(req.name)) {
            const fs::path dir = fs::path(store_.path()).parent_path();
            mutate([&](Estate& e, int64_t& now) { runWrite(req, e, now, dir, answer); });
        } else {
            bringToPresent();
            // one snapshot of the file for the whole answer
            Transaction reading = store_.reading();
            if (!runRead(req, current(), answer)) {
                st = status::kUnknownRequest;
                message = "unknown request '" + req.name + "'";
            }
            reading.commit();
        }
    } catch (const RequestError& e) {
        st = e.status;
        message = e.message;
    } catch (const std::exception& e) {
        // Anything but a refusal means the estate could not be used.
        st = status::kStateError;
        message = e.what();
    }
    // the journal records what was asked and what came of it
    store_.journal(journalLine(pairs) + " => " + std::to_string(st) +
                   (message.empty() ? "" : " " + message));
    std::string text = answer.finish(st, message);
    return {st, std::move(message), std::move(text)};
}

}  // namespace kvda
