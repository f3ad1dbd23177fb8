#include "store.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "mechanics.h"
#include "profile.h"

namespace kvda {

namespace fs = std::filesystem;

namespace {
constexpr size_t kJournalBatch = 64;
}  // namespace

fs::path defaultStatePath() {
    if (const char* s = std::getenv("KVDA_STATE"); s && *s) return fs::path(s);
    if (geteuid() == 0) return fs::path("/var/lib/vk/kvda.db");
    // Only absolute directories count (a relative one would follow the
    // working directory); without one there is no place of the user's own,
    // and a shared directory would hand the estate to every other user.
    fs::path base;
    if (const char* x = std::getenv("XDG_STATE_HOME"); x && fs::path(x).is_absolute())
        base = x;
    else if (const char* h = std::getenv("HOME"); h && fs::path(h).is_absolute())
        base = fs::path(h) / ".local" / "state";
    else
        throw Error("no state directory of user " + std::to_string(geteuid()) +
                    ": set HOME or XDG_STATE_HOME to an absolute directory, or KVDA_STATE to the "
                    "estate's file; a shared directory such as /tmp is not used");
    return base / "vk" / "kvda.db";
}

namespace {

fs::path ensureDir(const fs::path& path) {
    std::error_code ec;
    if (path.has_parent_path()) fs::create_directories(path.parent_path(), ec);
    return path;
}

std::string propsJson(const Props& props) {
    nlohmann::json j = nlohmann::json::array();
    for (const auto& [k, v] : props) j.push_back({k, v});
    return j.dump();
}

Props jsonProps(const std::string& text) {
    Props out;
    auto j = nlohmann::json::parse(text);
    out.reserve(j.size());
    for (const auto& kv : j) out.emplace_back(kv[0].get<std::string>(), kv[1].get<std::string>());
    return out;
}

}  // namespace

Store::Store(const fs::path& path) : db_(ensureDir(path).string()) {
    Transaction t(db_, true);
    Stmt has(db_, "SELECT count(*) FROM sqlite_master WHERE type='table' AND name='meta'");
    has.step();
    if (has.integer(0) == 0) {
        createSchema();
        fs::path def = resolveProfile("default");
        writeObjects(buildEstate(readProfile(def), def.string()));
        Stmt p(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES('profile', 'default')");
        p.run();
        t.commit();
        return;
    }
    Stmt v(db_, "SELECT value FROM meta WHERE key='schema_version'");
    std::string version = v.step() ? v.text(0) : "none";
    if (version != std::to_string(kSchemaVersion))
        throw Error("state file " + path.string() + " has schema version " + version +
                    std::string("; this kvda reads version ") + std::to_string(kSchemaVersion) +
                    " (recreate it with: kvda init --force)");
    t.commit();
}

void Store::createSchema() {
    db_.exec(
        "CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL);"
        "CREATE TABLE objects(oid INTEGER PRIMARY KEY, kind TEXT NOT NULL, ctrl INTEGER NOT NULL,"
        " parent INTEGER NOT NULL, addr TEXT NOT NULL, props TEXT NOT NULL,"
        " UNIQUE(kind, ctrl, addr));"
        "CREATE TABLE overrides(oid INTEGER NOT NULL REFERENCES objects(oid) ON DELETE CASCADE,"
        " tag TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY(oid, tag));"
        "CREATE TABLE journal(seq INTEGER PRIMARY KEY AUTOINCREMENT, at TEXT NOT NULL,"
        " line TEXT NOT NULL);");
    Stmt ins(db_, "INSERT INTO meta(key, value) VALUES(?1, ?2)");
    ins.bind(1, "schema_version").bind(2, std::to_string(kSchemaVersion)).run();
    ins.bind(1, "generation").bind(2, "1").run();
    // Simulated time in seconds; configuration requests that take time
    // advance it.
    ins.bind(1, "sim_time").bind(2, "0").run();
    ins.bind(1, "wall_anchor").bind(2, std::to_string(wallMillis())).run();
    ins.bind(1, "next_oid").bind(2, "1").run();
}

void Store::writeObjects(const Estate& estate) {
    db_.exec("DELETE FROM overrides; DELETE FROM objects;");
    Stmt ins(db_,
             "INSERT INTO objects(oid, kind, ctrl, parent, addr, props) VALUES(?1,?2,?3,?4,?5,?6)");
    Stmt ov(db_, "INSERT INTO overrides(oid, tag, value) VALUES(?1, ?2, ?3)");
    for (const Object& o : estate.objects) {
        ins.bind(1, o.oid).bind(2, o.kind).bind(3, o.ctrl).bind(4, o.parent).bind(5, o.addr);
        ins.bind(6, propsJson(o.props)).run();
        for (const auto& [k, v] : o.overrides) ov.bind(1, o.oid).bind(2, k).bind(3, v).run();
    }
    bump();
}

void Store::bump() {
    Stmt s(db_, "UPDATE meta SET value = CAST(value AS INTEGER) + 1 WHERE key='generation'");
    s.run();
}

void Store::replace(const Estate& estate, const std::string& profile) {
    flushJournal();
    Transaction t(db_, true);
    writeObjects(estate);
    Stmt p(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES('profile', ?1)");
    p.bind(1, profile).run();
    // a new estate starts its own simulated clock
    int64_t next = 1;
    for (const Object& o : estate.objects) next = std::max(next, o.oid + 1);
    Stmt m(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)");
    m.bind(1, "sim_time").bind(2, "0").run();
    m.bind(1, "wall_anchor").bind(2, std::to_string(wallMillis())).run();
    m.bind(1, "next_oid").bind(2, std::to_string(next)).run();
    t.commit();
}

int64_t Store::generation() {
    if (!generation_)
        generation_ = std::make_unique<Stmt>(
            db_, "SELECT CAST(value AS INTEGER) FROM meta WHERE key='generation'");
    int64_t g = generation_->step() ? generation_->integer(0) : 0;
    generation_->reset();
    return g;
}

std::string Store::meta(const std::string& key) {
    Stmt s(db_, "SELECT value FROM meta WHERE key=?1");
    s.bind(1, key);
    return s.step() ? s.text(0) : std::string();
}

Estate Store::load() {
    Transaction t(db_, false);
    Estate e = loadLocked();
    t.commit();
    return e;
}

Estate Store::loadLocked() {
    Estate e;
    {
        Stmt m(db_,
               "SELECT key, value FROM meta WHERE key IN ('sim_time','wall_anchor','next_oid')");
        while (m.step()) {
            std::string k = m.text(0);
            int64_t v = std::atoll(m.text(1).c_str());
            if (k == "sim_time") e.simTime = v;
            if (k == "wall_anchor") e.wallAnchor = v;
            if (k == "next_oid") e.nextOid = v;
        }
    }
    Stmt s(db_, "SELECT oid, kind, ctrl, parent, addr, props FROM objects ORDER BY oid");
    while (s.step()) {
        Object o;
        o.oid = s.integer(0);
        o.kind = s.text(1);
        o.ctrl = s.integer(2);
        o.parent = s.integer(3);
        o.addr = s.text(4);
        o.props = jsonProps(s.text(5));
        e.objects.push_back(std::move(o));
    }
    e.index();
    Stmt ov(db_, "SELECT oid, tag, value FROM overrides");
    while (ov.step()) {
        if (Object* o = e.edit(ov.integer(0))) o->overrides[ov.text(1)] = ov.text(2);
    }
    for (const Object& o : e.objects) e.nextOid = std::max(e.nextOid, o.oid + 1);
    return e;
}

void Store::writeDiff(const Estate& before, const Estate& after) {
    std::unordered_map<int64_t, const Object*> old;
    for (const Object& o : before.objects) old[o.oid] = &o;
    // Removed objects go first: a new object may take a removed one's address.
    Stmt delOv(db_, "DELETE FROM overrides WHERE oid=?1");
    Stmt del(db_, "DELETE FROM objects WHERE oid=?1");
    for (const Object& o : before.objects)
        if (!after.byOid(o.oid)) {
            delOv.bind(1, o.oid).run();
            del.bind(1, o.oid).run();
        }
    Stmt put(db_,
             "INSERT INTO objects(oid, kind, ctrl, parent, addr, props) VALUES(?1,?2,?3,?4,?5,?6)"
             " ON CONFLICT(oid) DO UPDATE SET parent=excluded.parent, addr=excluded.addr,"
             " props=excluded.props");
    for (const Object& o : after.objects) {
        auto it = old.find(o.oid);
        if (it != old.end() && it->second->props == o.props && it->second->parent == o.parent &&
            it->second->addr == o.addr)
            continue;
        put.bind(1, o.oid).bind(2, o.kind).bind(3, o.ctrl).bind(4, o.parent).bind(5, o.addr);
        put.bind(6, propsJson(o.props)).run();
    }
}

int64_t Store::mutate(const Mutation& change, const Estate* cached, int64_t cachedGeneration,
                      Estate& result) {
    flushJournal();
    Transaction t(db_, true);
    Estate e = cached && generation() == cachedGeneration ? *cached : loadLocked();
    const Estate before = e;
    int64_t now = effectiveTime(e, wallMillis());
    advanceEstate(e, e.simTime, now);
    change(e, now);
    writeDiff(before, e);
    const int64_t wall = wallMillis();
    Stmt m(db_, "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)");
    m.bind(1, "sim_time").bind(2, std::to_string(now)).run();
    m.bind(1, "wall_anchor").bind(2, std::to_string(wall)).run();
    m.bind(1, "next_oid").bind(2, std::to_string(e.nextOid)).run();
    bump();
    int64_t g = generation();
    t.commit();
    e.simTime = now;
    e.wallAnchor = wall;
    result = std::move(e);
    return g;
}

void Store::setOverride(int64_t oid, const std::string& tag, const std::string& value) {
    flushJournal();
    Transaction t(db_, true);
    Stmt s(db_, "INSERT OR REPLACE INTO overrides(oid, tag, value) VALUES(?1, ?2, ?3)");
    s.bind(1, oid).bind(2, tag).bind(3, value).run();
    bump();
    t.commit();
}

bool Store::unsetOverride(int64_t oid, const std::string& tag) {
    flushJournal();
    Transaction t(db_, true);
    Stmt s(db_, "DELETE FROM overrides WHERE oid=?1 AND tag=?2");
    s.bind(1, oid).bind(2, tag).run();
    bool changed = sqlite3_changes(db_.handle()) > 0;
    bump();
    t.commit();
    return changed;
}

void Store::applyChanges(const std::vector<Change>& changes) {
    flushJournal();
    Transaction t(db_, true);
    Stmt get(db_, "SELECT props FROM objects WHERE oid=?1");
    Stmt put(db_, "UPDATE objects SET props=?2 WHERE oid=?1");
    for (const Change& c : changes) {
        get.bind(1, c.oid);
        if (!get.step())
            throw Error(std::string("object ") + std::to_string(c.oid) + " no longer exists");
        Object o;
        o.props = jsonProps(get.text(0));
        get.reset();
        o.set(c.tag, c.value);
        put.bind(1, c.oid).bind(2, propsJson(o.props)).run();
    }
    bump();
    t.commit();
}

void Store::journal(const std::string& line) {
    using namespace std::chrono;
    auto now = system_clock::to_time_t(system_clock::now());
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", std::gmtime(&now));
    pending_.emplace_back(stamp, line);
    if (pending_.size() >= kJournalBatch) flushJournal();
}

void Store::flushJournal() {
    if (pending_.empty()) return;
    Transaction t(db_, true);
    Stmt s(db_, "INSERT INTO journal(at, line) VALUES(?1, ?2)");
    for (const auto& [at, line] : pending_) s.bind(1, at).bind(2, line).run();
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

}  // namespace kvda
