// SQLite access with prepared statements.
#include "sqlite_table.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>

namespace nidmask {

namespace {

// "name" with inner quotes doubled: an SQL identifier.
std::string QuoteIdentifier(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

std::string Upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace

SqliteTable::~SqliteTable() {
    if (bInTransaction_) Rollback();
    sqlite3_finalize(pSelectFirst_);
    sqlite3_finalize(pSelect_);
    sqlite3_finalize(pUpdate_);
    sqlite3_close(pDb_);
}

bool SqliteTable::Fail(const std::string& what, std::string* pError) const {
    *pError = path_ + ": " + what + ": " + (pDb_ != nullptr ? sqlite3_errmsg(pDb_) : "out of memory");
    return false;
}

bool SqliteTable::Open(const std::string& path, const std::string& table, const std::string& column,
                       std::string* pError) {
    path_ = path;
    if (sqlite3_open_v2(path.c_str(), &pDb_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
        return Fail("cannot open the database", pError);
    sqlite3_busy_timeout(pDb_, 5000);

    // The table's columns: the name as SQLite spells it, and its declared type.
    sqlite3_stmt* pInfo = nullptr;
    if (sqlite3_prepare_v2(pDb_, "SELECT name, type FROM pragma_table_info(?1)", -1, &pInfo, nullptr) != SQLITE_OK)
        return Fail("cannot read the table's columns", pError);
    sqlite3_bind_text(pInfo, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    bool bTable = false;
    std::string columnName;
    int rc;
    while ((rc = sqlite3_step(pInfo)) == SQLITE_ROW) {
        bTable = true;
        const auto* pName = reinterpret_cast<const char*>(sqlite3_column_text(pInfo, 0));
        const auto* pType = reinterpret_cast<const char*>(sqlite3_column_text(pInfo, 1));
        if (pName != nullptr && Upper(pName) == Upper(column)) {
            columnName = pName;
            declaredType_ = pType != nullptr ? pType : "";
        }
    }
    sqlite3_finalize(pInfo);
    if (rc != SQLITE_DONE) return Fail("cannot read the table's columns", pError);
    if (!bTable) {
        *pError = path + ": no table " + table;
        return false;
    }
    if (columnName.empty()) {
        *pError = path + ": table " + table + " has no column " + column;
        return false;
    }

    quotedTable_ = QuoteIdentifier(table);
    const std::string quotedColumn = QuoteIdentifier(columnName);
    // The first batch from the start, the others after the last rowid read:
    // both walk the rowid index.
    const std::string select = "SELECT rowid, " + quotedColumn + " FROM " + quotedTable_;
    const std::string first = select + " WHERE ?1 IS NOT NULL ORDER BY rowid LIMIT ?2";
    const std::string next = select + " WHERE rowid > ?1 ORDER BY rowid LIMIT ?2";
    const std::string update = "UPDATE " + quotedTable_ + " SET " + quotedColumn + " = ?1 WHERE rowid = ?2";
    if (sqlite3_prepare_v2(pDb_, first.c_str(), -1, &pSelectFirst_, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(pDb_, next.c_str(), -1, &pSelect_, nullptr) != SQLITE_OK)
        return Fail("cannot read table " + table + " by rowid", pError);
    if (sqlite3_prepare_v2(pDb_, update.c_str(), -1, &pUpdate_, nullptr) != SQLITE_OK)
        return Fail("cannot update table " + table, pError);
    return true;
}

bool SqliteTable::HasIntegerAffinity() const { return Upper(declaredType_).find("INT") != std::string::npos; }

uint64_t SqliteTable::CountRows() {
    sqlite3_stmt* pCount = nullptr;
    uint64_t iCount = 0;
    if (sqlite3_prepare_v2(pDb_, ("SELECT count(*) FROM " + quotedTable_).c_str(), -1, &pCount, nullptr) ==
            SQLITE_OK &&
        sqlite3_step(pCount) == SQLITE_ROW)
        iCount = static_cast<uint64_t>(sqlite3_column_int64(pCount, 0));
    sqlite3_finalize(pCount);
    return iCount;
}

bool SqliteTable::Begin(std::string* pError) {
    if (sqlite3_exec(pDb_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        return Fail("cannot begin a transaction", pError);
    bInTransaction_ = true;
    return true;
}

bool SqliteTable::Commit(std::string* pError) {
    if (sqlite3_exec(pDb_, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        Fail("cannot commit", pError);
        Rollback();
        return false;
    }
    bInTransaction_ = false;
    return true;
}

void SqliteTable::Rollback() {
    sqlite3_reset(pSelectFirst_);
    sqlite3_reset(pSelect_);
    sqlite3_reset(pUpdate_);
    sqlite3_exec(pDb_, "ROLLBACK", nullptr, nullptr, nullptr);
    bInTransaction_ = false;
}

long SqliteTable::ReadBatch(std::vector<int64_t>* pRowids, std::vector<std::string>* pTexts,
                            std::vector<uint8_t>* pNulls, size_t iMax, std::string* pError) {
    sqlite3_stmt* pSelect = bAnyRead_ ? pSelect_ : pSelectFirst_;
    sqlite3_reset(pSelect);
    sqlite3_bind_int64(pSelect, 1, iLastRowid_);
    sqlite3_bind_int64(pSelect, 2, static_cast<sqlite3_int64>(iMax));
    size_t n = 0;
    int rc;
    while ((rc = sqlite3_step(pSelect)) == SQLITE_ROW) {
        if (pRowids->size() <= n) {
            pRowids->resize(n + 1);
            pTexts->resize(n + 1);
            pNulls->resize(n + 1);
        }
        (*pRowids)[n] = sqlite3_column_int64(pSelect, 0);
        (*pNulls)[n] = sqlite3_column_type(pSelect, 1) == SQLITE_NULL ? 1 : 0;
        const auto* pText = reinterpret_cast<const char*>(sqlite3_column_text(pSelect, 1));
        (*pTexts)[n].assign(pText != nullptr ? pText : "", static_cast<size_t>(sqlite3_column_bytes(pSelect, 1)));
        iLastRowid_ = (*pRowids)[n];
        bAnyRead_ = true;
        ++n;
    }
    sqlite3_reset(pSelect);
    if (rc != SQLITE_DONE) {
        Fail("cannot read", pError);
        return -1;
    }
    return static_cast<long>(n);
}

bool SqliteTable::Step(sqlite3_stmt* pStatement, int64_t iRowid, std::string* pError) {
    sqlite3_bind_int64(pStatement, 2, iRowid);
    const int rc = sqlite3_step(pStatement);
    sqlite3_reset(pStatement);
    if (rc != SQLITE_DONE) return Fail("cannot update rowid " + std::to_string(iRowid), pError);
    return true;
}

bool SqliteTable::UpdateText(int64_t iRowid, std::string_view text, std::string* pError) {
    sqlite3_bind_text(pUpdate_, 1, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return Step(pUpdate_, iRowid, pError);
}

bool SqliteTable::UpdateInteger(int64_t iRowid, int64_t iValue, std::string* pError) {
    sqlite3_bind_int64(pUpdate_, 1, iValue);
    return Step(pUpdate_, iRowid, pError);
}

bool SqliteTable::UpdateNull(int64_t iRowid, std::string* pError) {
    sqlite3_bind_null(pUpdate_, 1);
    return Step(pUpdate_, iRowid, pError);
}

}  // namespace nidmask
