// SQLite access with prepared statements.
#include "sqlite_table.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <climits>

#include "message_text.h"

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

std::string ColumnText(sqlite3_stmt* pStatement, int i) {
    const auto* pText = reinterpret_cast<const char*>(sqlite3_column_text(pStatement, i));
    return std::string(pText != nullptr ? pText : "", static_cast<size_t>(sqlite3_column_bytes(pStatement, i)));
}

// A statement that finalizes itself.
struct Statement {
    sqlite3_stmt* p = nullptr;
    Statement() = default;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(p); }
    bool Prepare(sqlite3* pDb, const std::string& sql) {
        sqlite3_finalize(p);
        p = nullptr;
        return sqlite3_prepare_v2(pDb, sql.c_str(), -1, &p, nullptr) == SQLITE_OK;
    }
};

const std::string kPlaceholderText = "\x01nidmask-placeholder-";

int g_tables = 0;  // temporary tables made by this process

}  // namespace

SqliteDatabase::~SqliteDatabase() {
    if (bInTransaction_) Rollback();
    sqlite3_close(pDb_);
}

bool SqliteDatabase::Fail(const std::string& what, std::string* pError) const {
    *pError = path_ + ": " + what + ": " + (pDb_ != nullptr ? sqlite3_errmsg(pDb_) : "out of memory");
    return false;
}

bool SqliteDatabase::Open(const std::string& path, std::string* pError) {
    path_ = path;
    if (sqlite3_open_v2(path.c_str(), &pDb_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
        return Fail("cannot open the database", pError);
    sqlite3_busy_timeout(pDb_, 5000);
    return true;
}

bool SqliteDatabase::Begin(std::string* pError) {
    if (sqlite3_exec(pDb_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
        return Fail("cannot begin a transaction", pError);
    bInTransaction_ = true;
    return true;
}

bool SqliteDatabase::Commit(std::string* pError) {
    if (sqlite3_exec(pDb_, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        Fail("cannot commit", pError);
        Rollback();
        return false;
    }
    bInTransaction_ = false;
    return true;
}

void SqliteDatabase::Rollback() {
    if (!bInTransaction_) return;
    // Statements still running would keep the transaction's locks.
    for (sqlite3_stmt* p = sqlite3_next_stmt(pDb_, nullptr); p != nullptr; p = sqlite3_next_stmt(pDb_, p))
        sqlite3_reset(p);
    sqlite3_exec(pDb_, "ROLLBACK", nullptr, nullptr, nullptr);
    bInTransaction_ = false;
}

SqliteTable::~SqliteTable() {
    sqlite3_finalize(pRead_);
    for (sqlite3_stmt* p : stage_) sqlite3_finalize(p);
}

bool SqliteTable::Find(const std::string& table, const std::vector<std::string>& columns, TableProblem* pProblem,
                       std::string* pError) {
    sqlite3* pDb = db_.Handle();
    Statement kind;
    if (!kind.Prepare(pDb, "SELECT type, name FROM sqlite_schema WHERE name = ?1 COLLATE NOCASE AND type IN "
                           "('table', 'view')"))
        return db_.Fail("cannot read the schema", pError);
    sqlite3_bind_text(kind.p, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(kind.p) != SQLITE_ROW) {
        pProblem->message = db_.Path() + ": no table " + table;
        return true;
    }
    if (ColumnText(kind.p, 0) == "view") {
        pProblem->message = db_.Path() + ": " + table + " is a view, not a table: mask the table it reads from";
        return true;
    }
    table_ = ColumnText(kind.p, 1);
    quotedTable_ = "main." + QuoteIdentifier(table_);

    // The table's columns: the name as SQLite spells it, the declared type, the key position.
    Statement info;
    if (!info.Prepare(pDb, "SELECT name, type, pk FROM pragma_table_info(?1)"))
        return db_.Fail("cannot read the table's columns", pError);
    sqlite3_bind_text(info.p, 1, table_.c_str(), -1, SQLITE_TRANSIENT);
    std::vector<std::pair<int, std::string>> keyColumns;
    std::vector<std::string> allNames;
    columns_.assign(columns.size(), "");
    declaredTypes_.assign(columns.size(), "");
    std::string integerKeyType;
    while (sqlite3_step(info.p) == SQLITE_ROW) {
        const std::string name = ColumnText(info.p, 0);
        const std::string type = ColumnText(info.p, 1);
        allNames.push_back(name);
        if (const int pk = sqlite3_column_int(info.p, 2); pk > 0) {
            keyColumns.emplace_back(pk, name);
            integerKeyType = Upper(type);
        }
        for (size_t c = 0; c < columns.size(); ++c) {
            if (Upper(name) == Upper(columns[c])) {
                columns_[c] = name;
                declaredTypes_[c] = type;
            }
        }
    }
    for (size_t c = 0; c < columns.size(); ++c) {
        if (!columns_[c].empty()) continue;
        std::string names;
        for (const std::string& name : allNames) names += (names.empty() ? "" : ", ") + name;
        pProblem->message = db_.Path() + ": table " + table_ + " has no column " + columns[c] + " (it has " + names + ")";
        pProblem->iColumn = static_cast<long>(c);
        return true;
    }

    // Rows are found by rowid, or by the primary key of a WITHOUT ROWID table.
    // The rowid goes by three names; a column may take any of them.
    std::string rowidName;
    for (const char* pName : {"rowid", "_rowid_", "oid"}) {
        if (std::none_of(allNames.begin(), allNames.end(), [&](const std::string& n) { return Upper(n) == Upper(pName); })) {
            rowidName = pName;
            break;
        }
    }
    Statement rowid;
    const bool bRowid = !rowidName.empty() && rowid.Prepare(pDb, "SELECT " + rowidName + " FROM " + quotedTable_ + " LIMIT 0");
    if (rowidName.empty() && keyColumns.empty()) {
        pProblem->message = db_.Path() + ": table " + table_ +
                            " has columns named rowid, _rowid_ and oid and no primary key: its rows cannot be told apart";
        return true;
    }
    std::sort(keyColumns.begin(), keyColumns.end());
    keys_.clear();
    if (bRowid) {
        keys_.push_back(rowidName);
    } else {
        for (const auto& key : keyColumns) keys_.push_back(key.second);
    }
    keyColumnOf_.assign(keys_.size(), -1);
    for (size_t k = 0; k < keys_.size(); ++k) {
        for (size_t c = 0; c < columns_.size(); ++c) {
            // An INTEGER PRIMARY KEY column is the rowid itself.
            const bool bRowidAlias = bRowid && keyColumns.size() == 1 && integerKeyType == "INTEGER" &&
                                     Upper(keyColumns[0].second) == Upper(columns_[c]);
            if (bRowidAlias || (!bRowid && keys_[k] == columns_[c])) keyColumnOf_[k] = static_cast<int>(c);
        }
    }
    return true;
}

bool SqliteTable::HasIntegerAffinity(size_t i) const { return Upper(declaredTypes_[i]).find("INT") != std::string::npos; }

bool SqliteTable::Prepare(std::string* pError) {
    sqlite3* pDb = db_.Handle();
    rowsTable_ = "temp.nidmask_rows_" + std::to_string(++g_tables);
    std::string create = "CREATE TABLE " + rowsTable_ + "(seq INTEGER PRIMARY KEY";
    std::string keyList, keyColumns, join;
    for (size_t k = 0; k < keys_.size(); ++k) {
        create += ", k" + std::to_string(k);
        keyList += (k == 0 ? "" : ", ") + QuoteIdentifier(keys_[k]);
        keyColumns += (k == 0 ? "" : ", ") + std::string("k") + std::to_string(k);
        join += (k == 0 ? "" : " AND ") + std::string("t.") + QuoteIdentifier(keys_[k]) + " = r.k" + std::to_string(k);
    }
    for (size_t c = 0; c < columns_.size(); ++c)
        create += ", v" + std::to_string(c) + ", w" + std::to_string(c) + " INTEGER NOT NULL DEFAULT 0";
    create += ")";
    if (sqlite3_exec(pDb, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        return db_.Fail("cannot make a temporary table", pError);
    const std::string fill = "INSERT INTO " + rowsTable_ + "(" + keyColumns + ") SELECT " + keyList + " FROM " +
                             quotedTable_ + " ORDER BY " + keyList;
    if (sqlite3_exec(pDb, fill.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        return db_.Fail("cannot read the keys of table " + table_, pError);
    iRows_ = static_cast<uint64_t>(sqlite3_changes64(pDb));

    std::string read = "SELECT r.seq";
    for (size_t k = 0; k < keys_.size(); ++k) read += ", r.k" + std::to_string(k);
    for (const std::string& column : columns_) read += ", t." + QuoteIdentifier(column);
    read += " FROM " + rowsTable_ + " AS r CROSS JOIN " + quotedTable_ + " AS t ON " + join +
            " WHERE r.seq > ?1 ORDER BY r.seq LIMIT ?2";
    if (sqlite3_prepare_v2(pDb, read.c_str(), -1, &pRead_, nullptr) != SQLITE_OK)
        return db_.Fail("cannot read table " + table_, pError);
    stage_.assign(columns_.size(), nullptr);
    for (size_t c = 0; c < columns_.size(); ++c) {
        const std::string stage = "UPDATE " + rowsTable_ + " SET v" + std::to_string(c) + " = ?1, w" +
                                  std::to_string(c) + " = 1 WHERE seq = ?2";
        if (sqlite3_prepare_v2(pDb, stage.c_str(), -1, &stage_[c], nullptr) != SQLITE_OK)
            return db_.Fail("cannot make a temporary table", pError);
    }
    return true;
}

long SqliteTable::ReadBatch(size_t iMax, std::vector<std::vector<uint8_t>>* pNulls,
                            std::vector<std::vector<std::string>>* pTexts, std::string* pError) {
    sqlite3_reset(pRead_);
    sqlite3_bind_int64(pRead_, 1, iLastSequence_);
    sqlite3_bind_int64(pRead_, 2, static_cast<sqlite3_int64>(iMax));
    pNulls->resize(columns_.size());
    pTexts->resize(columns_.size());
    size_t n = 0;
    int rc;
    const int iFirstColumn = 1 + static_cast<int>(keys_.size());
    while ((rc = sqlite3_step(pRead_)) == SQLITE_ROW) {
        if (sequences_.size() <= n) sequences_.resize(n + 1);
        sequences_[n] = iLastSequence_ = sqlite3_column_int64(pRead_, 0);
        for (size_t c = 0; c < columns_.size(); ++c) {
            std::vector<uint8_t>& nulls = (*pNulls)[c];
            std::vector<std::string>& texts = (*pTexts)[c];
            if (nulls.size() <= n) nulls.resize(n + 1), texts.resize(n + 1);
            const int i = iFirstColumn + static_cast<int>(c);
            nulls[n] = sqlite3_column_type(pRead_, i) == SQLITE_NULL ? 1 : 0;
            texts[n] = ColumnText(pRead_, i);
        }
        ++n;
    }
    sqlite3_reset(pRead_);
    if (rc != SQLITE_DONE) {
        db_.Fail("cannot read table " + table_, pError);
        return -1;
    }
    return static_cast<long>(n);
}

bool SqliteTable::Stage(size_t iRow, size_t c, std::string* pError) {
    sqlite3_bind_int64(stage_[c], 2, sequences_[iRow]);
    const int rc = sqlite3_step(stage_[c]);
    sqlite3_reset(stage_[c]);
    if (rc != SQLITE_DONE) return db_.Fail("cannot keep a result", pError);
    return true;
}

bool SqliteTable::StageText(size_t iRow, size_t c, std::string_view text, std::string* pError) {
    sqlite3_bind_text(stage_[c], 1, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return Stage(iRow, c, pError);
}

bool SqliteTable::StageInteger(size_t iRow, size_t c, int64_t iValue, std::string* pError) {
    sqlite3_bind_int64(stage_[c], 1, iValue);
    return Stage(iRow, c, pError);
}

bool SqliteTable::StageNull(size_t iRow, size_t c, std::string* pError) {
    sqlite3_bind_null(stage_[c], 1);
    return Stage(iRow, c, pError);
}

bool SqliteTable::Apply(std::string* pError) {
    for (size_t c = 0; c < columns_.size(); ++c) {
        if (!ApplyColumn(c, NeedsPlaceholders() , pError)) return false;
    }
    return true;
}

// True when a masked column is a key or in a UNIQUE index: rows may clash on
// the way to distinct final values.
bool SqliteTable::NeedsPlaceholders() {
    for (const int c : keyColumnOf_)
        if (c >= 0) return true;
    Statement indexes;
    if (!indexes.Prepare(db_.Handle(), "SELECT ii.name FROM pragma_index_list(?1) AS il, pragma_index_info(il.name) "
                                       "AS ii WHERE il.[unique] = 1"))
        return true;
    sqlite3_bind_text(indexes.p, 1, table_.c_str(), -1, SQLITE_TRANSIENT);
    while (sqlite3_step(indexes.p) == SQLITE_ROW) {
        const std::string name = Upper(ColumnText(indexes.p, 0));
        for (const std::string& column : columns_)
            if (Upper(column) == name) return true;
    }
    return false;
}

bool SqliteTable::ApplyColumn(size_t c, bool bPlaceholders, std::string* pError) {
    sqlite3* pDb = db_.Handle();
    const std::string cs = std::to_string(c);
    // Every staged row with its keys and the staged values of every column
    // applied before this one (a key may have changed with them).
    std::string select = "SELECT seq";
    for (size_t k = 0; k < keys_.size(); ++k) select += ", k" + std::to_string(k);
    for (size_t d = 0; d <= c; ++d) select += ", v" + std::to_string(d) + ", w" + std::to_string(d);
    select += " FROM " + rowsTable_ + " WHERE w" + cs + " = 1 ORDER BY seq";
    std::string update = "UPDATE " + quotedTable_ + " SET " + QuoteIdentifier(columns_[c]) + " = ?1 WHERE ";
    for (size_t k = 0; k < keys_.size(); ++k)
        update += (k == 0 ? "" : " AND ") + QuoteIdentifier(keys_[k]) + " = ?" + std::to_string(k + 2);
    Statement rows, write;
    if (!rows.Prepare(pDb, select) || !write.Prepare(pDb, update))
        return db_.Fail("cannot update table " + table_, pError);

    // Placeholders: integers below every integer in the column, or texts no data holds.
    const bool bIntegerPlaceholder = HasIntegerAffinity(c);
    int64_t iBelow = 0;
    if (bPlaceholders && bIntegerPlaceholder) {
        Statement low;
        if (low.Prepare(pDb, "SELECT min(" + QuoteIdentifier(columns_[c]) + ") FROM " + quotedTable_ + " WHERE typeof(" +
                                 QuoteIdentifier(columns_[c]) + ") = 'integer'") &&
            sqlite3_step(low.p) == SQLITE_ROW)
            iBelow = std::min<int64_t>(0, sqlite3_column_int64(low.p, 0));
    }
    std::string placeholderText;
    const auto bindPlaceholder = [&](int i, int64_t iSeq) {
        if (bIntegerPlaceholder && iBelow > LLONG_MIN / 2) {
            sqlite3_bind_int64(write.p, i, iBelow - iSeq);
        } else {
            placeholderText = kPlaceholderText + std::to_string(iSeq);
            sqlite3_bind_text(write.p, i, placeholderText.c_str(), -1, SQLITE_TRANSIENT);
        }
    };
    const int iFirstValue = 1 + static_cast<int>(keys_.size());
    // Binds the row's current key: a key column already given its new value
    // (or, in the second pass, this column's placeholder) is bound as that.
    const auto bindKeys = [&](int64_t iSeq, bool bSecondPass) {
        for (size_t k = 0; k < keys_.size(); ++k) {
            const int d = keyColumnOf_[k];
            const int iParam = static_cast<int>(k) + 2;
            if (d == static_cast<int>(c) && bSecondPass) {
                bindPlaceholder(iParam, iSeq);
            } else if (d >= 0 && d < static_cast<int>(c) && sqlite3_column_int(rows.p, iFirstValue + 2 * d + 1) == 1) {
                sqlite3_bind_value(write.p, iParam, sqlite3_column_value(rows.p, iFirstValue + 2 * d));
            } else {
                sqlite3_bind_value(write.p, iParam, sqlite3_column_value(rows.p, 1 + static_cast<int>(k)));
            }
        }
    };
    const auto step = [&](int64_t iSeq) {
        const int rc = sqlite3_step(write.p);
        if (rc == SQLITE_DONE) {
            sqlite3_reset(write.p);
            return true;
        }
        // The reason, read before any other statement runs: NOT NULL and CHECK
        // constraints are broken by a value, UNIQUE ones by a pair of rows.
        const int iExtended = sqlite3_extended_errcode(db_.Handle());
        const std::string reason = sqlite3_errmsg(db_.Handle());
        sqlite3_reset(write.p);
        if ((rc & 0xFF) == SQLITE_CONSTRAINT) {
            *pError = iExtended == SQLITE_CONSTRAINT_UNIQUE || iExtended == SQLITE_CONSTRAINT_PRIMARYKEY
                          ? ClashMessage(c, iSeq, reason)
                          : db_.Path() + ": table " + table_ + ", column " + columns_[c] + ": row " +
                                std::to_string(iSeq) + ": " + reason + "; rolled back, the database is unchanged";
            return false;
        }
        return db_.Fail("cannot update table " + table_, pError);
    };

    // Placeholders need not pass the column's CHECK constraints (no
    // placeholder could pass every one): the first pass is compiled and run
    // with CHECK constraints off, the second, which writes the final values,
    // with them on again.
    const auto ignoreChecks = [&](bool bIgnore) {
        return sqlite3_exec(pDb, bIgnore ? "PRAGMA ignore_check_constraints = 1" : "PRAGMA ignore_check_constraints = 0",
                            nullptr, nullptr, nullptr) == SQLITE_OK &&
               write.Prepare(pDb, update);
    };
    for (int pass = bPlaceholders ? 0 : 1; pass < 2; ++pass) {
        if (bPlaceholders && !ignoreChecks(pass == 0)) {
            ignoreChecks(false);
            return db_.Fail("cannot update table " + table_, pError);
        }
        sqlite3_reset(rows.p);
        int rc;
        while ((rc = sqlite3_step(rows.p)) == SQLITE_ROW) {
            const int64_t iSeq = sqlite3_column_int64(rows.p, 0);
            if (pass == 0) {
                bindPlaceholder(1, iSeq);
            } else {
                sqlite3_bind_value(write.p, 1, sqlite3_column_value(rows.p, iFirstValue + 2 * static_cast<int>(c)));
            }
            bindKeys(iSeq, bPlaceholders && pass == 1);
            if (!step(iSeq)) {
                if (pass == 0) ignoreChecks(false);
                return false;
            }
        }
        if (rc != SQLITE_DONE) return db_.Fail("cannot update table " + table_, pError);
    }
    return true;
}

// Which rows clash: the row being written, and the row that holds its value
// (another staged row, or a row left as it was).
std::string SqliteTable::ClashMessage(size_t c, int64_t iSequence, const std::string& reason) {
    sqlite3* pDb = db_.Handle();
    const std::string cs = std::to_string(c);
    const std::string what = db_.Path() + ": table " + table_ + ", column " + columns_[c] + ": ";
    Statement other;
    std::string keyList;
    for (size_t k = 0; k < keys_.size(); ++k) keyList += (k == 0 ? "" : ", ") + QuoteIdentifier(keys_[k]);
    if (other.Prepare(pDb, "SELECT r2.seq FROM " + rowsTable_ + " AS r1, " + rowsTable_ + " AS r2 WHERE r1.seq = ?1 " +
                               "AND r2.w" + cs + " = 1 AND r2.v" + cs + " IS r1.v" + cs + " AND r2.seq <> r1.seq")) {
        sqlite3_bind_int64(other.p, 1, iSequence);
        if (sqlite3_step(other.p) == SQLITE_ROW) {
            const int64_t iOther = sqlite3_column_int64(other.p, 0);
            return what + "rows " + std::to_string(std::min(iSequence, iOther)) + " and " +
                   std::to_string(std::max(iSequence, iOther)) +
                   " would both hold the same value, which a UNIQUE constraint forbids; rolled back, the database "
                   "is unchanged";
        }
    }
    if (other.Prepare(pDb, "SELECT " + keyList + " FROM " + quotedTable_ + " WHERE " + QuoteIdentifier(columns_[c]) +
                               " IS (SELECT v" + cs + " FROM " + rowsTable_ + " WHERE seq = ?1)")) {
        sqlite3_bind_int64(other.p, 1, iSequence);
        if (sqlite3_step(other.p) == SQLITE_ROW) {
            std::string key;
            for (size_t k = 0; k < keys_.size(); ++k)
                key += (k == 0 ? "" : ", ") + keys_[k] + " " + hostkit::ShownName(ColumnText(other.p, static_cast<int>(k)), bShowValues_);
            return what + "row " + std::to_string(iSequence) + " would hold the value that the row with " + key +
                   " keeps, which a UNIQUE constraint forbids; rolled back, the database is unchanged";
        }
    }
    return what + "row " + std::to_string(iSequence) + ": " + reason + "; rolled back, the database is unchanged";
}

}  // namespace nidmask
