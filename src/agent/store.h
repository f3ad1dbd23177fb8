// The estate's SQLite file: schema, loading, and the writes the agent and
// the control tool make. Every write is one transaction.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "model.h"
#include "sqlite.h"

namespace kvda {

// 2: simulated time runs (meta wall_anchor, next_oid), controller settings
// hold the values of the plug-in's keyword maps.
inline constexpr int kSchemaVersion = 2;

// The state file: $KVDA_STATE, else /var/lib/vk/kvda.db for root, else
// ${XDG_STATE_HOME:-~/.local/state}/vk/kvda.db. Throws Error for a user
// other than root with neither directory set.
std::filesystem::path defaultStatePath();

class Store {
  public:
    // Opens (creating the directory and, on first use, the estate from the
    // `default` profile). Throws Error for a file of another schema version.
    explicit Store(const std::filesystem::path& path);

    // Replaces the whole estate (kvda init).
    void replace(const Estate& estate, const std::string& profile);
    // A change counter bumped by every write of the estate.
    int64_t generation();
    Estate load();

    void setOverride(int64_t oid, const std::string& tag, const std::string& value);
    bool unsetOverride(int64_t oid, const std::string& tag);
    // Sets stored properties of several objects in one transaction.
    struct Change {
        int64_t oid;
        std::string tag;
        std::string value;
    };
    void applyChanges(const std::vector<Change>& changes);

    // One change of the estate as a whole, in one write transaction: the
    // estate is read inside the transaction (the cached copy when nothing
    // was written since `cachedGeneration`), brought to the present
    // simulated time, handed to `change` with that time (which it may move
    // on), and the objects it added, changed or removed are written. An
    // exception from `change` rolls everything back. Returns the new
    // generation; `result` receives the estate as written.
    using Mutation = std::function<void(Estate&, int64_t& now)>;
    int64_t mutate(const Mutation& change, const Estate* cached, int64_t cachedGeneration,
                   Estate& result);

    // Journal lines are kept and written in one transaction when many are
    // pending, before any other write, when the journal is read and when the
    // store closes: a query then costs no write of its own.
    void journal(const std::string& line);
    void flushJournal();
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    std::vector<std::string> journalLines();
    void clearJournal();

    std::string meta(const std::string& key);
    const std::string& path() const { return db_.path(); }

  private:
    void createSchema();
    void writeObjects(const Estate& estate);
    Estate loadLocked();
    void writeDiff(const Estate& before, const Estate& after);
    void bump();
    Db db_;
    std::vector<std::pair<std::string, std::string>> pending_;  // time, line
    std::unique_ptr<Stmt> generation_;
};

}  // namespace kvda
