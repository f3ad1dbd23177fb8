// The estate's SQLite file: schema, loading, and the writes the agent and
// the control tool make. Every write is one transaction.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "model.h"
#include "sqlite.h"

namespace kvda {

inline constexpr int kSchemaVersion = 1;

// The state file: $KVDA_STATE, else /var/lib/vk/kvda.db for root, else
// ${XDG_STATE_HOME:-~/.local/state}/vk/kvda.db.
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

  private:
    void createSchema();
    void writeObjects(const Estate& estate);
    void bump();
    Db db_;
    std::vector<std::pair<std::string, std::string>> pending_;  // time, line
    std::unique_ptr<Stmt> generation_;
};

}  // namespace kvda
