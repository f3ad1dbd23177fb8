#include "sqlite.h"

namespace kvda {

namespace {
// Long enough for a large profile being written by another process.
constexpr int kBusyTimeoutMs = 30000;
}  // namespace

Db::Db(const std::string& path) : path_(path) {
    sqlite3* raw = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &raw,
                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
                             nullptr);
    db_.reset(raw);
    if (rc != SQLITE_OK) {
        std::string msg = raw ? sqlite3_errmsg(raw) : "out of memory";
        throw Error("cannot open state file " + path + ": " + msg);
    }
    sqlite3_busy_timeout(raw, kBusyTimeoutMs);
    exec("PRAGMA journal_mode=WAL");
    exec("PRAGMA synchronous=NORMAL");
    exec("PRAGMA foreign_keys=ON");
}

void Db::exec(const char* sql) {
    char* err = nullptr;
    if (sqlite3_exec(db_.get(), sql, nullptr, nullptr, &err) != SQLITE_OK) {
        std::string msg = err ? err : sqlite3_errmsg(db_.get());
        sqlite3_free(err);
        throw Error("state file " + path_ + ": " + msg);
    }
}

void Db::fail(std::string_view what) const {
    throw Error("state file " + path_ + ": " + std::string(what) + ": " +
                sqlite3_errmsg(db_.get()));
}

Stmt::Stmt(Db& db, std::string_view sql) : db_(db) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(db.handle(), sql.data(), static_cast<int>(sql.size()), &raw, nullptr) !=
        SQLITE_OK)
        db.fail("prepare");
    stmt_.reset(raw);
}

Stmt& Stmt::bind(int index, std::string_view value) {
    if (sqlite3_bind_text(stmt_.get(), index, value.data(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        db_.fail("bind");
    return *this;
}

Stmt& Stmt::bind(int index, int64_t value) {
    if (sqlite3_bind_int64(stmt_.get(), index, value) != SQLITE_OK) db_.fail("bind");
    return *this;
}

Stmt& Stmt::bindNull(int index) {
    if (sqlite3_bind_null(stmt_.get(), index) != SQLITE_OK) db_.fail("bind");
    return *this;
}

bool Stmt::step() {
    int rc = sqlite3_step(stmt_.get());
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    db_.fail("step");
}

void Stmt::run() {
    while (step()) {
    }
    reset();
}

void Stmt::reset() {
    sqlite3_reset(stmt_.get());
    sqlite3_clear_bindings(stmt_.get());
}

std::string Stmt::text(int column) const {
    auto p = sqlite3_column_text(stmt_.get(), column);
    if (!p) return {};
    return std::string(reinterpret_cast<const char*>(p),
                       static_cast<size_t>(sqlite3_column_bytes(stmt_.get(), column)));
}

int64_t Stmt::integer(int column) const {
    return sqlite3_column_int64(stmt_.get(), column);
}

bool Stmt::isNull(int column) const {
    return sqlite3_column_type(stmt_.get(), column) == SQLITE_NULL;
}

Transaction::Transaction(Db& db, bool write) : db_(db) {
    db_.exec(write ? "BEGIN IMMEDIATE" : "BEGIN");
}

Transaction::~Transaction() {
    if (open_) sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
    db_.exec("COMMIT");
    open_ = false;
}

}  // namespace kvda
