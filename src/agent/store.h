// The estate's SQLite file: schema, reading objects by indexed queries, and
// the writes the agent and the control tool make. Every write is one
// transaction.
#pragma once

#include <array>
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
// 3: objects carry their state, attributes and busy mark as columns for
// indexed queries, properties are length-prefixed bytes, the journal is a
// ring of the last requests.
inline constexpr int kSchemaVersion = 3;

// How many requests the journal keeps unless `kvda journal --keep N` says.
inline constexpr int64_t kDefaultJournalSize = 10000;

// The state file: $KVDA_STATE, else /var/lib/vk/kvda.db for root, else
// ${XDG_STATE_HOME:-~/.local/state}/vk/kvda.db (%ProgramData%\vk\kvda.db
// on Windows). Throws Error for a user other than root with neither
// directory set.
std::filesystem::path defaultStatePath();

class Store : public ObjectSource {
  public:
    // Opens (creating the directory and, on first use, the estate from the
    // `default` profile). Throws Error for a file of another schema version.
    // A file this process may not write is opened for reading only.
    explicit Store(const std::filesystem::path& path);

    // Replaces the whole estate (kvda init).
    void replace(const Estate& estate, const std::string& profile);
    // A change counter bumped by every write of the estate.
    int64_t generation();
    // The estate as stored, read object by object as it is asked; valid while
    // the store lives. Reads inside one transaction see one state.
    Estate view();
    // A read transaction: one snapshot of the file until it ends.
    Transaction reading() { return Transaction(db_, false); }
    bool readOnly() const { return db_.readOnly(); }

    void setOverride(int64_t oid, const std::string& tag, const std::string& value);
    bool unsetOverride(int64_t oid, const std::string& tag);

    // One change of the estate as a whole, in one write transaction: the
    // estate is read inside the transaction, brought to the present
    // simulated time, handed to `change` with that time (which it may move
    // on), and the objects it added, changed or removed are written. An
    // exception from `change` rolls everything back. Returns the new
    // generation; `result` receives the estate as written.
    using Mutation = std::function<void(Estate&, int64_t& now)>;
    int64_t mutate(const Mutation& change, Estate& result);

    // Journal lines are kept and written in one transaction when many are
    // pending, before any other write, when the journal is read and when the
    // store closes: a query then costs no write of its own. The journal
    // keeps the last `journalSize()` lines.
    void journal(const std::string& line);
    void flushJournal();
    ~Store() override;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    std::vector<std::string> journalLines();
    void clearJournal();
    int64_t journalSize();
    void setJournalSize(int64_t lines);

    std::string meta(const std::string& key);
    const std::string& path() const { return db_.path(); }

    // ObjectSource
    void select(const Query& q, const std::function<void(const StoredRow&)>& row) override;
    int64_t count(std::string_view kind, int64_t ctrl) override;
    std::vector<int64_t> disksInState(int64_t ctrl, int64_t state, bool free,
                                      int64_t limit) override;

  private:
    void createSchema();
    void writeObjects(const Estate& estate);
    void writeChanges(const Estate& estate);
    void refreshColumns(int64_t oid);
    void settle();
    void bump();
    Stmt& statement(size_t slot, const char* sql);
    Db db_;
    std::vector<std::pair<std::string, std::string>> pending_;  // time, line
    // Prepared statements kept for the life of the store, by slot.
    std::array<std::unique_ptr<Stmt>, 16> statements_;
};

}  // namespace kvda
