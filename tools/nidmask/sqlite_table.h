// SQLite tables masked in place, inside one transaction.
//
// The rows to visit are fixed before the first update: their keys (the rowid,
// or the primary key of a WITHOUT ROWID table) are copied, in order, into a
// temporary table, so a row whose key changes is never met twice. Results are
// staged in that temporary table too (memory stays flat) and applied at the
// end. When a masked column is part of the key or of a UNIQUE index, every
// changed row first gets a unique placeholder, then its new value, so two
// rows that swap values never clash on the way; a real clash (two rows
// ending with one value) fails with both rows named.
#ifndef NIDMASK_SQLITE_TABLE_H
#define NIDMASK_SQLITE_TABLE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace nidmask {

// The database connection and its one transaction.
class SqliteDatabase {
public:
    SqliteDatabase() = default;
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;
    ~SqliteDatabase();  // rolls back an open transaction

    // Opens an existing database for writing. False with a message.
    bool Open(const std::string& path, std::string* pError);
    // BEGIN IMMEDIATE / COMMIT / ROLLBACK.
    bool Begin(std::string* pError);
    bool Commit(std::string* pError);
    void Rollback();

    sqlite3* Handle() const { return pDb_; }
    const std::string& Path() const { return path_; }
    // "path: what: SQLite's message"; false.
    bool Fail(const std::string& what, std::string* pError) const;

private:
    sqlite3* pDb_ = nullptr;
    std::string path_;
    bool bInTransaction_ = false;
};

// How a table that nidmask cannot mask was named: a usage error (exit 2).
struct TableProblem {
    std::string message;  // "" when the table and columns were found
    long iColumn = -1;    // the index of the column not found, or -1 when the table is at fault
};

// Some columns of one table, read in key order a batch at a time and
// updated through staged results. Everything happens inside the database's
// transaction: Prepare after Begin.
class SqliteTable {
public:
    explicit SqliteTable(SqliteDatabase& db) : db_(db) {}
    SqliteTable(const SqliteTable&) = delete;
    SqliteTable& operator=(const SqliteTable&) = delete;
    ~SqliteTable();

    // Finds the table and the columns (names compared as SQLite does,
    // ignoring ASCII case). A view, a missing table or column: *pProblem.
    // False on a database error with *pError.
    bool Find(const std::string& table, const std::vector<std::string>& columns, TableProblem* pProblem,
              std::string* pError);

    // Declared type of column i, and whether its affinity is INTEGER.
    const std::string& DeclaredType(size_t i) const { return declaredTypes_[i]; }
    bool HasIntegerAffinity(size_t i) const;
    const std::string& Name() const { return table_; }
    // Messages show the values of key columns in clear (see ShownName).
    void ShowValues(bool bShow) { bShowValues_ = bShow; }

    // Fixes the rows to visit (their keys, in order). False with a message.
    bool Prepare(std::string* pError);
    uint64_t RowCount() const { return iRows_; }

    // The next rows in key order, up to iMax: for each column, the NULL flag
    // and text (UTF-8; SQLite's text form of numbers) of every row. Returns
    // the count; -1 on an error with a message.
    long ReadBatch(size_t iMax, std::vector<std::vector<uint8_t>>* pNulls,
                   std::vector<std::vector<std::string>>* pTexts, std::string* pError);
    // The 1-based position of the i-th row of the last batch.
    int64_t Sequence(size_t iRow) const { return sequences_[iRow]; }

    // Stages a new value of column c for the i-th row of the last batch.
    bool StageText(size_t iRow, size_t c, std::string_view text, std::string* pError);
    bool StageInteger(size_t iRow, size_t c, int64_t iValue, std::string* pError);
    bool StageNull(size_t iRow, size_t c, std::string* pError);

    // Applies every staged value to the table. False with a message (a real
    // clash names both rows); the caller rolls the transaction back.
    bool Apply(std::string* pError);

private:
    bool Stage(size_t iRow, size_t c, std::string* pError);
    bool NeedsPlaceholders();
    bool ApplyColumn(size_t c, bool bPlaceholders, std::string* pError);
    std::string ClashMessage(size_t c, int64_t iSequence, const std::string& reason);

    SqliteDatabase& db_;
    bool bShowValues_ = false;
    std::string table_;
    std::string quotedTable_;
    std::string rowsTable_;                 // the temporary table of keys and staged values
    std::vector<std::string> columns_;      // as SQLite spells them
    std::vector<std::string> declaredTypes_;
    std::vector<std::string> keys_;         // "rowid", or the primary key's columns
    std::vector<int> keyColumnOf_;          // per key: the masked column it is, or -1
    uint64_t iRows_ = 0;
    int64_t iLastSequence_ = 0;
    std::vector<int64_t> sequences_;
    sqlite3_stmt* pRead_ = nullptr;
    std::vector<sqlite3_stmt*> stage_;      // per column
};

}  // namespace nidmask

#endif
