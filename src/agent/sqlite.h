// Thin RAII layer over SQLite: a connection, prepared statements with bound
// values, and transactions that roll back unless committed.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kvda {

// Every failure of the estate (database, profile, request) is reported with
// a message meant for the administrator.
class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The state file is there but holds no estate this kvda can use: it is not a
// database, it is damaged, or it is of another schema version or another
// program. `kvda init --force` replaces it.
class UnusableState : public Error {
  public:
    using Error::Error;
};

class Db;

class Stmt {
  public:
    Stmt(Db& db, std::string_view sql);
    Stmt& bind(int index, std::string_view value);
    Stmt& bind(int index, int64_t value);
    Stmt& bindBlob(int index, std::string_view value);
    Stmt& bindNull(int index);
    // True while a row is available.
    bool step();
    void run();  // step to completion
    void reset();
    std::string text(int column) const;
    // Valid until the next step or reset.
    std::string_view view(int column) const;
    int64_t integer(int column) const;
    bool isNull(int column) const;

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
    };
    Db& db_;
    std::unique_ptr<sqlite3_stmt, Finalize> stmt_;
};

class Db {
  public:
    // Opens the file for reading and writing, or for reading only when it
    // exists and this process may not write it. A missing file is created
    // together with its WAL and shared-memory files, mode 0640 and group
    // `vkadmin` where that group exists, so that the estate is never
    // readable by everyone.
    explicit Db(const std::string& path);
    sqlite3* handle() const { return db_.get(); }
    const std::string& path() const { return path_; }
    bool readOnly() const { return readOnly_; }
    void exec(const char* sql);
    [[noreturn]] void fail(std::string_view what) const;
    // The size of the write-ahead log in bytes (0 when there is none).
    int64_t walBytes() const;
    // Copies the write-ahead log into the database file and empties it when
    // it holds more than `bytes`; waits for readers within the busy timeout.
    void checkpointAbove(int64_t bytes);

  private:
    struct Close {
        void operator()(sqlite3* d) const { sqlite3_close_v2(d); }
    };
    void open(const std::string& name, int flags);
    std::string path_;
    bool readOnly_ = false;
    std::unique_ptr<sqlite3, Close> db_;
};

// BEGIN IMMEDIATE takes the write lock at once, so two writers never both
// read old state and then both write; the busy timeout makes the second wait.
// A read transaction sees one snapshot of the file from its first read on.
class Transaction {
  public:
    Transaction(Db& db, bool write);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

  private:
    Db& db_;
    bool open_ = true;
};

}  // namespace kvda
