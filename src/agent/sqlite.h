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

class Db;

class Stmt {
  public:
    Stmt(Db& db, std::string_view sql);
    Stmt& bind(int index, std::string_view value);
    Stmt& bind(int index, int64_t value);
    Stmt& bindNull(int index);
    // True while a row is available.
    bool step();
    void run();  // step to completion
    void reset();
    std::string text(int column) const;
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
    explicit Db(const std::string& path);
    sqlite3* handle() const { return db_.get(); }
    const std::string& path() const { return path_; }
    void exec(const char* sql);
    [[noreturn]] void fail(std::string_view what) const;

  private:
    struct Close {
        void operator()(sqlite3* d) const { sqlite3_close_v2(d); }
    };
    std::string path_;
    std::unique_ptr<sqlite3, Close> db_;
};

// BEGIN IMMEDIATE takes the write lock at once, so two writers never both
// read old state and then both write; the busy timeout makes the second wait.
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
