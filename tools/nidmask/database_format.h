// A SQLite table as a source and sink of records: the source reads the
// masked columns in key order, the sink stages each column's results, and
// Commit applies them (inside the run's one transaction, which the run
// commits once every table is done).
#ifndef NIDMASK_DATABASE_FORMAT_H
#define NIDMASK_DATABASE_FORMAT_H

#include <string>
#include <vector>

#include "record_stream.h"
#include "sqlite_table.h"

namespace nidmask {

class DbSource : public RecordSource {
public:
    explicit DbSource(SqliteTable& table) : table_(table) {}
    bool Read(RecordBatch* pBatch, size_t iMax, std::string* pError) override;
    bool MoreLeft() override { return iRead_ < table_.RowCount(); }
    uint64_t TotalRecords() override { return table_.RowCount(); }

private:
    SqliteTable& table_;
    uint64_t iRead_ = 0;
    std::vector<std::vector<uint8_t>> nulls_;
    std::vector<std::vector<std::string>> texts_;
};

class DbSink : public RecordSink {
public:
    // bNumeric[c]: column c's results are numbers, written as integers when they fit.
    DbSink(SqliteDatabase& db, SqliteTable& table, std::vector<bool> bNumeric)
        : db_(db), table_(table), bNumeric_(std::move(bNumeric)) {}
    bool Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) override;
    bool Commit(std::string* pError) override { return table_.Apply(pError); }
    void Abandon() override {
        db_.Rollback();
        bAbandoned_ = true;
    }
    bool Abandoned() const { return bAbandoned_; }
    uint64_t RecordsWritten() const override { return iWritten_; }
    std::string AbandonedNote() const override { return "rolled back: the database is unchanged"; }

private:
    SqliteDatabase& db_;
    SqliteTable& table_;
    std::vector<bool> bNumeric_;
    uint64_t iWritten_ = 0;
    bool bAbandoned_ = false;
    std::string result_;
};

}  // namespace nidmask

#endif
