#include "sqlite.h"

#include <cctype>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "os/files.h"

namespace kvda {

namespace {
// Long enough for a large profile being written by another process.
constexpr int kBusyTimeoutMs = 30000;
constexpr const char* kAdminGroup = "vkadmin";

// SQLite would create the file, its WAL and its shared memory readable by
// everyone under the usual umask; they are made here first, for their owner
// and the administrators' group only.
void createPrivate(const std::string& path) {
    // The file first, so that a directory this user may not write is named;
    // a process that opens it meanwhile makes the companions with its mode.
    for (const char* suffix : {"", "-wal", "-shm"}) {
        const std::string name = path + suffix;
        std::string why;
        // kExists: another process was first
        if (vk::os::CreatePrivateFile(name, kAdminGroup, why) == vk::os::Created::kFailed)
            throw Error("cannot create state file " + name + ": " + why);
    }
}

// A file name as the path of a "file:" URI: "/" between names, and a
// drive ("C:") after a "/".
std::string uriPath(const std::string& path) {
    const std::filesystem::path file(path);
    std::string out = file.has_root_name() ? "/" : "";
    for (char c : file.generic_string()) {
        const auto u = static_cast<unsigned char>(c);
        if (std::isalnum(u) || std::strchr("/-._~:", c)) {
            out += c;
        } else {
            constexpr char kHex[] = "0123456789ABCDEF";
            out += '%';
            out += kHex[u >> 4];
            out += kHex[u & 15];
        }
    }
    return out;
}

}  // namespace

Db::Db(const std::string& path) : path_(path) {
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) {
        createPrivate(path);
    } else if (!vk::os::MayWrite(path)) {
        // Reports read an estate they may not change.
        flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX;
        readOnly_ = true;
    }
    open(path, flags);
    if (readOnly_ &&
        sqlite3_exec(db_.get(), "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr) !=
            SQLITE_OK &&
        !std::filesystem::exists(path + "-wal", ec)) {
        // A read-only file without its write-ahead log, in a directory where
        // this user cannot make one: nothing is pending outside the file, so
        // it is read as it is.
        open("file:" + uriPath(path) + "?immutable=1", flags | SQLITE_OPEN_URI);
    }
    sqlite3_busy_timeout(db_.get(), kBusyTimeoutMs);
    // Closing neither checkpoints nor deletes the WAL, and commits never
    // checkpoint on their own: a command that only reads costs no sync of
    // the file. Writers of the estate checkpoint (see checkpointAbove).
    sqlite3_db_config(db_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, static_cast<int*>(nullptr));
    if (!readOnly_) exec("PRAGMA journal_mode=WAL");
    exec("PRAGMA wal_autocheckpoint=0");
    exec("PRAGMA synchronous=NORMAL");
}

void Db::open(const std::string& name, int flags) {
    sqlite3* raw = nullptr;
    int rc = sqlite3_open_v2(name.c_str(), &raw, flags, nullptr);
    db_.reset(raw);
    if (rc != SQLITE_OK) {
        std::string msg = raw ? sqlite3_errmsg(raw) : "out of memory";
        throw Error("cannot open state file " + path_ + ": " + msg);
    }
}

int64_t Db::walBytes() const {
    std::error_code ec;
    const auto bytes = std::filesystem::file_size(path_ + "-wal", ec);
    return ec ? 0 : static_cast<int64_t>(bytes);
}

void Db::checkpointAbove(int64_t bytes) {
    if (readOnly_ || walBytes() <= bytes) return;
    // Truncating keeps the log's size the measure of what it holds, and the
    // transaction that follows (this process's) starts it afresh. Busy (a
    // reader holds old pages past the timeout): a later write tries again.
    sqlite3_wal_checkpoint_v2(db_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
}

namespace {
// A file that SQLite finds is no database, or a damaged one, is unusable as
// it is; other failures (busy, full, no rights) may pass.
[[noreturn]] void raise(int rc, const std::string& text) {
    const int primary = rc & 0xff;
    if (primary == SQLITE_NOTADB || primary == SQLITE_CORRUPT) throw UnusableState(text);
    throw Error(text);
}
}  // namespace

void Db::exec(const char* sql) {
    char* err = nullptr;
    if (const int rc = sqlite3_exec(db_.get(), sql, nullptr, nullptr, &err); rc != SQLITE_OK) {
        std::string msg = err ? err : sqlite3_errmsg(db_.get());
        sqlite3_free(err);
        raise(rc, "state file " + path_ + ": " + msg);
    }
}

void Db::fail(std::string_view what) const {
    raise(sqlite3_extended_errcode(db_.get()),
          "state file " + path_ + ": " + std::string(what) + ": " + sqlite3_errmsg(db_.get()));
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

Stmt& Stmt::bindBlob(int index, std::string_view value) {
    if (sqlite3_bind_blob(stmt_.get(), index, value.data(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        db_.fail("bind");
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

std::string_view Stmt::view(int column) const {
    const void* p = sqlite3_column_blob(stmt_.get(), column);
    if (!p) return {};
    return {static_cast<const char*>(p),
            static_cast<size_t>(sqlite3_column_bytes(stmt_.get(), column))};
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
