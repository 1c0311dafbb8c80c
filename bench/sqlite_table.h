// A table of SQLite as a store of settings: names without case, a type and a value, a prepared statement for
// each operation, in WAL mode with synchronous NORMAL.
#pragma once

#include "require.h"

#include <sqlite3.h>

#include <string>

class SqliteTable {
public:
    explicit SqliteTable(const std::string& path)
    {
        Require(sqlite3_open(path.c_str(), &connection) == SQLITE_OK, "no database");
        Run("PRAGMA journal_mode=WAL");
        Run("PRAGMA synchronous=NORMAL");
        Run("CREATE TABLE IF NOT EXISTS bag(name TEXT COLLATE NOCASE PRIMARY KEY, type INTEGER, value) "
            "WITHOUT ROWID");
        set = Prepare("INSERT OR REPLACE INTO bag VALUES(?1, ?2, ?3)");
        get = Prepare("SELECT type, value FROM bag WHERE name = ?1");
    }
    ~SqliteTable()
    {
        sqlite3_finalize(set);
        sqlite3_finalize(get);
        sqlite3_close(connection);
    }
    SqliteTable(const SqliteTable&) = delete;
    SqliteTable& operator=(const SqliteTable&) = delete;

    void Run(const char* sql)
    {
        Require(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
    }

    // bind(statement, place) puts the value in.
    template <class Bind>
    void Set(const std::u16string& name, int type, Bind bind)
    {
        BindName(set, name);
        sqlite3_bind_int(set, 2, type);
        bind(set, 3);
        Require(sqlite3_step(set) == SQLITE_DONE, "not set");
        sqlite3_reset(set);
    }

    // What read(statement, column) makes of the value.
    template <class Read>
    auto Get(const std::u16string& name, int type, Read read)
    {
        BindName(get, name);
        Require(sqlite3_step(get) == SQLITE_ROW && sqlite3_column_int(get, 0) == type, "not there");
        auto value = read(get, 1);
        sqlite3_reset(get);
        return value;
    }

private:
    sqlite3_stmt* Prepare(const char* sql)
    {
        sqlite3_stmt* statement = nullptr;
        Require(sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
        return statement;
    }
    static void BindName(sqlite3_stmt* statement, const std::u16string& name)
    {
        sqlite3_bind_text16(statement, 1, name.data(), static_cast<int>(name.size() * 2), SQLITE_STATIC);
    }

    sqlite3* connection = nullptr;
    sqlite3_stmt* set = nullptr;
    sqlite3_stmt* get = nullptr;
};
