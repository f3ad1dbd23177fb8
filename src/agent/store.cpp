#include "store.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "mechanics.h"
#include "os/clock.h"
#include "os/locations.h"
#include "profile.h"

namespace kvda {

namespace fs = std::filesystem;

namespace {

constexpr size_t kJournalBatch = 64;
// Writers of the estate move the write-ahead log into the file beyond this
// size; the journal alone lets it grow further, so that reads do not sync.
constexpr int64_t kWriterCheckpointBytes = 1 << 20;
constexpr int64_t kJournalCheckpointBytes = 4 << 20;
constexpr int64_t kMaxJournalSize = 10'000'000;

// Statement slots of the statements every request uses.
enum Slot : size_t {
    kGeneration,
    kSelectFirst,  // one per Query::By, in its order
    kCount = kSelectFirst + 8,
    kDisksInState,
    kFreeDisksInState,
    kSlots
};

// Kinds are stored as their position here, which keeps index keys small.
constexpr auto kKinds = std::to_array<std::string_view>({
    kind::kStorage,   kind::kGlobal,  kind::kCachePool,   kind::kController, kind::kConnector,
    kind::kEnclosure, kind::kFan,     kind::kPowerSupply, kind::kEmm,        kind::kProbe,
    kind::kDisk,      kind::kTape,    kind::kVdisk,       kind::kSpan,       kind::kPartition,
    kind::kCachedLun, kind::kBattery, kind::kNvme,        kind::kAlert,
});

// -1 for a kind the estate has no object of.
int64_t kindCode(std::string_view k) {
    auto it = std::find(kKinds.begin(), kKinds.end(), k);
    return it == kKinds.end() ? -1 : it - kKinds.begin();
}

constexpr const char* kRowColumns = "SELECT oid, kind, ctrl, parent, addr, props FROM objects ";
// By Query::By.
constexpr std::array<const char*, 8> kSelectWhere{
    "WHERE oid=?1",
    "WHERE kind=?1 AND ctrl=?2 AND addr=?3",
    "WHERE kind=?1",
    "WHERE kind=?1 AND ctrl=?2",
    "WHERE parent=?1",
    "WHERE parent=?1 AND kind=?2",
    // the few busy objects: the planner would rather scan all than sort them
    "INDEXED BY objects_busy WHERE busy<>0 ORDER BY oid",
    "ORDER BY oid",
};

// Objects by address (also by kind and controller), a
// controller's disks by state, children by parent, and the few that
// simulated time changes.
struct Index {
    std::string_view name;
    const char* create;
};
constexpr auto kIndexes = std::to_array<Index>({
    {"objects_address", "CREATE UNIQUE INDEX objects_address ON objects(kind, ctrl, addr)"},
    {"objects_state", "CREATE INDEX objects_state ON objects(kind, ctrl, state)"},
    {"objects_parent", "CREATE INDEX objects_parent ON objects(parent, kind)"},
    {"objects_busy", "CREATE INDEX objects_busy ON objects(busy) WHERE busy<>0"},
});

constexpr const char* kInsertObject =
    "INSERT INTO objects(oid, kind, ctrl, parent, addr, state, attrs, busy, props)"
    " VALUES(?1,?2,?3,?4,?5,?6,?7,?8,?9)";

// A meta value: a decimal number from `least` to `most`.
std::optional<int64_t> storedNumber(std::string_view text, int64_t least, int64_t most) {
    int64_t n = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), n);
    if (r.ec != std::errc() || r.ptr != text.data() + text.size() || n < least || n > most)
        return std::nullopt;
    return n;
}

fs::path ensureDir(const fs::path& path) {
    std::error_code ec;
    if (path.has_parent_path()) fs::create_directories(path.parent_path(), ec);
    return path;
}

void insertObject(Stmt& ins, const Object& o) {
    const Columns c = columnsOf(o);
    const int64_t code = kindCode(o.kind);
    if (code < 0) throw Error("an object of unknown kind '" + o.kind + "'");
    ins.bind(1, o.oid).bind(2, code).bind(3, o.ctrl).bind(4, o.parent).bind(5, o.addr);
    ins.bind(6, c.state).bind(7, static_cast<int64_t>(c.attrs)).bind(8, int64_t{c.busy});
    ins.bindBlob(9, encodeProps(o.props)).run();
}

}  // namespace

fs::path defaultStatePath() {
    if (const char* s = std::getenv("KVDA_STATE"); s && *s) return fs::path(s);
    // Without a directory of the user's own there is no default: a shared
    // directory would hand the estate to every other user.
    std::string why;
    const fs::path dir = vk::os::StateDirectory(why);
    if (dir.empty())
        throw Error(why +
                    ", or KVDA_STATE to the estate's file; a shared directory such as /tmp is not "
                    "used");
    return dir / "kvda.db";
}

Store::Store(const fs::path& path) : db_(ensureDir(path).string()) {
    auto hasMeta = [&] {
        Stmt has(db_, "SELECT count(*) FROM sqlite_master WHERE type='table' AND name='meta'");
        has.step();
        return has.integer(0) != 0;
    };
    // Only an empty database becomes an estate: one with tables of its own
    // belongs to something else.
    auto isEmpty = [&] {
        Stmt any(db_, "SELECT count(*) FROM sqlite_master");
        any.step();
        return any.integer(0) == 0;
    };
    if (!hasMeta()) {
        if (!isEmpty())
            throw UnusableState("state file " + path.string() + " is a database but not an estate");
        if (db_.readOnly())
            throw Error("state file " + path.string() +
                        " holds no estate and this user may not create one");
        Transaction t(db_, true);
        if (!hasMeta()) {  // another process may have been first
            createSchema();
            fs::path def = resolveProfile("default");
            writeObjects(buildEstate(readProfile(def), def.string()));
            Stmt p(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES('profile', 'default')");
            p.run();
            t.commit();
            settle();
        }
    }
    Stmt v(db_, "SELECT value FROM meta WHERE key='schema_version'");
    std::string version = v.step() ? v.text(0) : "none";
    if (version != std::to_string(kSchemaVersion))
        throw UnusableState("state file " + path.string() + " has schema version " + version +
                            std::string("; this kvda reads version ") +
                            std::to_string(kSchemaVersion) +
                            " (recreate it with: kvda init --force)");
}

Stmt& Store::statement(size_t slot, const char* sql) {
    if (!statements_[slot]) statements_[slot] = std::make_unique<Stmt>(db_, sql);
    return *statements_[slot];
}

void Store::createSchema() {
    db_.exec(
        "CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL);"
        "CREATE TABLE objects(oid INTEGER PRIMARY KEY, kind INTEGER NOT NULL,"
        " ctrl INTEGER NOT NULL, parent INTEGER NOT NULL, addr TEXT NOT NULL,"
        " state INTEGER NOT NULL, attrs INTEGER NOT NULL, busy INTEGER NOT NULL,"
        " props BLOB NOT NULL);"
        // an object's overrides go with it (see writeChanges)
        "CREATE TABLE overrides(oid INTEGER NOT NULL, tag TEXT NOT NULL, value TEXT NOT NULL,"
        " PRIMARY KEY(oid, tag));"
        "CREATE TABLE journal(seq INTEGER PRIMARY KEY, at TEXT NOT NULL, line TEXT NOT NULL);");
    for (const Index& index : kIndexes) db_.exec(index.create);
    Stmt ins(db_, "INSERT INTO meta(key, value) VALUES(?1, ?2)");
    ins.bind(1, "schema_version").bind(2, std::to_string(kSchemaVersion)).run();
    ins.bind(1, "generation").bind(2, "1").run();
    // Simulated time in seconds; configuration requests that take time
    // advance it.
    ins.bind(1, "sim_time").bind(2, "0").run();
    ins.bind(1, "wall_anchor").bind(2, std::to_string(wallMillis())).run();
    ins.bind(1, "next_oid").bind(2, "1").run();
    ins.bind(1, "journal_size").bind(2, std::to_string(kDefaultJournalSize)).run();
}

void Store::writeObjects(const Estate& estate) {
    // A whole estate is written without its indexes, which are made again
    // afterwards in one sorted pass each: much less work than keeping them
    // up to date row by row.
    for (const Index& index : kIndexes) db_.exec(("DROP INDEX " + std::string(index.name)).c_str());
    db_.exec("DELETE FROM overrides; DELETE FROM objects;");
    {
        Stmt ins(db_, kInsertObject);
        Stmt ov(db_, "INSERT INTO overrides(oid, tag, value) VALUES(?1, ?2, ?3)");
        for (const Object* o : estate.everything()) {
            insertObject(ins, *o);
            for (const auto& [k, v] : o->overrides) ov.bind(1, o->oid).bind(2, k).bind(3, v).run();
        }
    }
    for (const Index& index : kIndexes) db_.exec(index.create);
    bump();
}

// The estate's pages go into the file at once and the write-ahead log
// starts afresh in this process (the generation bumped once more is its
// first page): otherwise the first reader appending to the journal would
// restart the log, which syncs it.
void Store::settle() {
    sqlite3_wal_checkpoint_v2(db_.handle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    Transaction t(db_, true);
    bump();
    t.commit();
}

void Store::bump() {
    Stmt s(db_, "UPDATE meta SET value = CAST(value AS INTEGER) + 1 WHERE key='generation'");
    s.run();
}

void Store::replace(const Estate& estate, const std::string& profile) {
    flushJournal();
    {
        Transaction t(db_, true);
        writeObjects(estate);
        Stmt p(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES('profile', ?1)");
        p.bind(1, profile).run();
        // a new estate starts its own simulated clock
        int64_t next = estate.nextOid;
        for (const Object* o : estate.everything()) next = std::max(next, o->oid + 1);
        Stmt m(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)");
        m.bind(1, "sim_time").bind(2, "0").run();
        m.bind(1, "wall_anchor").bind(2, std::to_string(wallMillis())).run();
        m.bind(1, "next_oid").bind(2, std::to_string(next)).run();
        t.commit();
    }
    settle();
}

int64_t Store::generation() {
    Stmt& s =
        statement(kGeneration, "SELECT CAST(value AS INTEGER) FROM meta WHERE key='generation'");
    int64_t g = s.step() ? s.integer(0) : 0;
    s.reset();
    return g;
}

std::string Store::meta(const std::string& key) {
    Stmt s(db_, "SELECT value FROM meta WHERE key=?1");
    s.bind(1, key);
    return s.step() ? s.text(0) : std::string();
}

Estate Store::view() {
    std::unordered_map<int64_t, Overrides> overrides;
    Stmt ov(db_, "SELECT oid, tag, value FROM overrides");
    while (ov.step()) overrides[ov.integer(0)][ov.text(1)] = ov.text(2);
    Estate e(*this, std::move(overrides));
    Stmt m(db_, "SELECT key, value FROM meta WHERE key IN ('sim_time','wall_anchor','next_oid')");
    while (m.step()) {
        const std::string k = m.text(0);
        // The clock's values are checked here once, so that time arithmetic
        // never starts from a value out of its range.
        const int64_t most = k == "sim_time" ? kMaxSimTime : INT64_MAX;
        const std::optional<int64_t> v = storedNumber(m.text(1), 0, most);
        if (!v)
            throw UnusableState("state file " + db_.path() + ": the stored " + k + " '" +
                                m.text(1) + "' is out of range");
        if (k == "sim_time") e.simTime = *v;
        if (k == "wall_anchor") e.wallAnchor = *v;
        if (k == "next_oid") e.nextOid = *v;
    }
    Stmt last(db_, "SELECT max(oid) FROM objects");
    if (last.step() && !last.isNull(0)) e.nextOid = std::max(e.nextOid, last.integer(0) + 1);
    return e;
}

void Store::select(const Query& q, const std::function<void(const StoredRow&)>& row) {
    const auto by = static_cast<size_t>(q.by);
    static const std::array<std::string, 8> kSql = [] {
        std::array<std::string, 8> out;
        for (size_t i = 0; i < out.size(); ++i) out[i] = std::string(kRowColumns) + kSelectWhere[i];
        return out;
    }();
    Stmt& s = statement(kSelectFirst + by, kSql[by].c_str());
    switch (q.by) {
        case Query::By::kOid:
            s.bind(1, q.oid);
            break;
        case Query::By::kAddress:
            s.bind(1, kindCode(q.kind)).bind(2, q.ctrl).bind(3, q.addr);
            break;
        case Query::By::kKind:
            s.bind(1, kindCode(q.kind));
            break;
        case Query::By::kKindCtrl:
            s.bind(1, kindCode(q.kind)).bind(2, q.ctrl);
            break;
        case Query::By::kParent:
            s.bind(1, q.parent);
            break;
        case Query::By::kParentKind:
            s.bind(1, q.parent).bind(2, kindCode(q.kind));
            break;
        case Query::By::kBusy:
        case Query::By::kAll:
            break;
    }
    try {
        while (s.step()) {
            const int64_t code = s.integer(1);
            if (code < 0 || code >= static_cast<int64_t>(kKinds.size()))
                throw UnusableState("state file " + db_.path() + ": object " +
                                    std::to_string(s.integer(0)) + " is of no known kind");
            row({s.integer(0), kKinds[static_cast<size_t>(code)], s.integer(2), s.integer(3),
                 s.view(4), s.view(5)});
        }
    } catch (const Error&) {
        s.reset();
        throw;
    } catch (const std::runtime_error& e) {
        // a stored object that cannot be read back
        s.reset();
        throw UnusableState("state file " + db_.path() + ": " + e.what());
    } catch (...) {
        s.reset();
        throw;
    }
    s.reset();
}

int64_t Store::count(std::string_view kind, int64_t ctrl) {
    Stmt& s = statement(kCount, "SELECT count(*) FROM objects WHERE kind=?1 AND ctrl=?2");
    s.bind(1, kindCode(kind)).bind(2, ctrl);
    int64_t n = s.step() ? s.integer(0) : 0;
    s.reset();
    return n;
}

std::vector<int64_t> Store::disksInState(int64_t ctrl, int64_t st, bool free, int64_t limit) {
    Stmt& s = free ? statement(kFreeDisksInState,
                               "SELECT oid FROM objects WHERE kind=?5 AND ctrl=?1 AND state=?2"
                               " AND (attrs & ?4)=0 LIMIT ?3")
                   : statement(kDisksInState,
                               "SELECT oid FROM objects WHERE kind=?5 AND ctrl=?1 AND state=?2"
                               " LIMIT ?3");
    s.bind(1, ctrl).bind(2, st).bind(3, limit).bind(5, kindCode(kind::kDisk));
    if (free)
        s.bind(4, static_cast<int64_t>(diskattr::kGlobalHotSpare | diskattr::kDedicatedHotSpare));
    std::vector<int64_t> out;
    while (s.step()) out.push_back(s.integer(0));
    s.reset();
    return out;
}

void Store::writeChanges(const Estate& estate) {
    const Estate::Changes c = estate.changes();
    // Removed objects go first: a new object may take a removed one's address.
    Stmt delOv(db_, "DELETE FROM overrides WHERE oid=?1");
    Stmt del(db_, "DELETE FROM objects WHERE oid=?1");
    for (int64_t oid : c.removed) {
        delOv.bind(1, oid).run();
        del.bind(1, oid).run();
    }
    Stmt ins(db_, kInsertObject);
    for (const Object* o : c.added) insertObject(ins, *o);
    Stmt upd(db_, "UPDATE objects SET state=?2, attrs=?3, busy=?4, props=?5 WHERE oid=?1");
    for (const Object* o : c.edited) {
        const Columns col = columnsOf(*o);
        upd.bind(1, o->oid).bind(2, col.state).bind(3, static_cast<int64_t>(col.attrs));
        upd.bind(4, int64_t{col.busy}).bindBlob(5, encodeProps(o->props)).run();
    }
}

int64_t Store::mutate(const Mutation& change, Estate& result) {
    flushJournal();
    db_.checkpointAbove(kWriterCheckpointBytes);
    Transaction t(db_, true);
    Estate e = view();
    int64_t now = effectiveTime(e, wallMillis());
    advanceEstate(e, e.simTime, now);
    const int64_t before = now;
    change(e, now);
    // a change may move the clock on, never back and never past its end
    if (now < before || now > kMaxSimTime)
        throw Error("the simulated time would become " + std::to_string(now) +
                    " seconds; it runs from " + std::to_string(before) + " to at most " +
                    std::to_string(kMaxSimTime));
    writeChanges(e);
    const int64_t wall = wallMillis();
    Stmt m(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)");
    m.bind(1, "sim_time").bind(2, std::to_string(now)).run();
    m.bind(1, "wall_anchor").bind(2, std::to_string(wall)).run();
    m.bind(1, "next_oid").bind(2, std::to_string(e.nextOid)).run();
    bump();
    int64_t g = generation();
    t.commit();
    e.markWritten();
    e.simTime = now;
    e.wallAnchor = wall;
    result = std::move(e);
    return g;
}

// An override of the state or the attributes changes what indexed queries
// select the object by.
void Store::refreshColumns(int64_t oid) {
    Stmt get(db_, "SELECT kind, props FROM objects WHERE oid=?1");
    get.bind(1, oid);
    if (!get.step()) return;
    Object o;
    o.oid = oid;
    const int64_t code = get.integer(0);
    if (code >= 0 && code < static_cast<int64_t>(kKinds.size()))
        o.kind = std::string(kKinds[static_cast<size_t>(code)]);
    if (!decodeProps(get.view(1), o.props))
        throw UnusableState("state file " + db_.path() + ": the properties of object " +
                            std::to_string(oid) + " are damaged");
    Stmt ov(db_, "SELECT tag, value FROM overrides WHERE oid=?1");
    ov.bind(1, oid);
    while (ov.step()) o.overrides[ov.text(0)] = ov.text(1);
    const Columns c = columnsOf(o);
    Stmt upd(db_, "UPDATE objects SET state=?2, attrs=?3, busy=?4 WHERE oid=?1");
    upd.bind(1, oid).bind(2, c.state).bind(3, static_cast<int64_t>(c.attrs));
    upd.bind(4, int64_t{c.busy}).run();
}

void Store::setOverride(int64_t oid, const std::string& tag, const std::string& value) {
    flushJournal();
    db_.checkpointAbove(kWriterCheckpointBytes);
    Transaction t(db_, true);
    Stmt s(db_, "INSERT OR REPLACE INTO overrides(oid, tag, value) VALUES(?1, ?2, ?3)");
    s.bind(1, oid).bind(2, tag).bind(3, value).run();
    refreshColumns(oid);
    bump();
    t.commit();
}

bool Store::unsetOverride(int64_t oid, const std::string& tag) {
    flushJournal();
    db_.checkpointAbove(kWriterCheckpointBytes);
    Transaction t(db_, true);
    Stmt s(db_, "DELETE FROM overrides WHERE oid=?1 AND tag=?2");
    s.bind(1, oid).bind(2, tag).run();
    bool changed = sqlite3_changes(db_.handle()) > 0;
    refreshColumns(oid);
    bump();
    t.commit();
    return changed;
}

void Store::journal(const std::string& line) {
    // A reader that may not write the file keeps no record of its requests.
    if (db_.readOnly()) return;
    using namespace std::chrono;
    auto now = system_clock::to_time_t(system_clock::now());
    char stamp[32];
    std::tm tm{};
    vk::os::UtcTime(now, tm);
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &tm);
    pending_.emplace_back(stamp, line);
    if (pending_.size() >= kJournalBatch) flushJournal();
}

void Store::flushJournal() {
    if (pending_.empty()) return;
    db_.checkpointAbove(kJournalCheckpointBytes);
    Transaction t(db_, true);
    Stmt s(db_, "INSERT INTO journal(at, line) VALUES(?1, ?2)");
    for (const auto& [at, line] : pending_) s.bind(1, at).bind(2, line).run();
    // a ring: the oldest lines beyond the journal's size go
    Stmt trim(db_, "DELETE FROM journal WHERE seq <= last_insert_rowid() - ?1");
    trim.bind(1, journalSize()).run();
    t.commit();
    pending_.clear();
}

Store::~Store() {
    try {
        flushJournal();
    } catch (const std::exception&) {
        // the journal is a record, not state: losing it must not fail a command
    }
}

std::vector<std::string> Store::journalLines() {
    flushJournal();
    std::vector<std::string> out;
    Stmt s(db_, "SELECT line FROM journal ORDER BY seq");
    while (s.step()) out.push_back(s.text(0));
    return out;
}

void Store::clearJournal() {
    pending_.clear();
    Transaction t(db_, true);
    db_.exec("DELETE FROM journal");
    t.commit();
}

int64_t Store::journalSize() {
    const std::string v = meta("journal_size");
    const int64_t n = std::atoll(v.c_str());
    return n > 0 ? n : kDefaultJournalSize;
}

void Store::setJournalSize(int64_t lines) {
    if (lines < 1 || lines > kMaxJournalSize)
        throw Error("the journal keeps 1 to " + std::to_string(kMaxJournalSize) +
                    " requests, not " + std::to_string(lines));
    flushJournal();
    Transaction t(db_, true);
    Stmt m(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES('journal_size', ?1)");
    m.bind(1, std::to_string(lines)).run();
    Stmt trim(db_, "DELETE FROM journal WHERE seq <= (SELECT max(seq) FROM journal) - ?1");
    trim.bind(1, lines).run();
    t.commit();
}

}  // namespace kvda
