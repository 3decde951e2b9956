// One column of one SQLite table, read in rowid order a batch at a time and
// updated by rowid inside a single transaction.
#ifndef NIDMASK_SQLITE_TABLE_H
#define NIDMASK_SQLITE_TABLE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit.h"

struct sqlite3;
struct sqlite3_stmt;

namespace nidmask {

class SqliteTable {
public:
    SqliteTable() = default;
    SqliteTable(const SqliteTable&) = delete;
    SqliteTable& operator=(const SqliteTable&) = delete;
    ~SqliteTable();  // rolls back an open transaction

    // Opens an existing database and finds the table and column (names
    // compared as SQLite does, ignoring ASCII case). False with a message.
    bool Open(const std::string& path, const std::string& table, const std::string& column, std::string* pError);

    // The column's declared type, and whether its affinity is INTEGER.
    const std::string& DeclaredType() const { return declaredType_; }
    bool HasIntegerAffinity() const;

    // Rows in the table (for the progress bar).
    uint64_t CountRows();

    // BEGIN IMMEDIATE / COMMIT / ROLLBACK.
    bool Begin(std::string* pError);
    bool Commit(std::string* pError);
    void Rollback();

    // The next rows in rowid order, up to iMax: their rowids, NULL flags and
    // texts (UTF-8; SQLite's text form of numbers). The vectors grow as
    // needed and are not shrunk. Returns the count; -1 on an error with a message.
    long ReadBatch(std::vector<int64_t>* pRowids, std::vector<std::string>* pTexts, std::vector<uint8_t>* pNulls,
                   size_t iMax, std::string* pError);

    // UPDATE ... SET column = value WHERE rowid = ?.
    bool UpdateText(int64_t iRowid, std::string_view text, std::string* pError);
    bool UpdateInteger(int64_t iRowid, int64_t iValue, std::string* pError);
    bool UpdateNull(int64_t iRowid, std::string* pError);

private:
    bool Fail(const std::string& what, std::string* pError) const;
    bool Step(sqlite3_stmt* pStatement, int64_t iRowid, std::string* pError);

    sqlite3* pDb_ = nullptr;
    sqlite3_stmt* pSelectFirst_ = nullptr;
    sqlite3_stmt* pSelect_ = nullptr;
    sqlite3_stmt* pUpdate_ = nullptr;
    std::string path_;
    std::string quotedTable_;
    std::string declaredType_;
    bool bInTransaction_ = false;
    bool bAnyRead_ = false;
    int64_t iLastRowid_ = 0;
};

}  // namespace nidmask

#endif
