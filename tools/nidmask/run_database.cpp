// A SQLite column masked in place: one transaction for the whole column,
// rows read in rowid order a batch at a time, each batch one Service call,
// results written back by rowid. Any failure rolls back, and so does an
// interrupted run (SQLite's journal), leaving the table as it was.
#include <qrnp/qrnp.h>

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "column_types.h"
#include "country_operands.h"
#include "exit_codes.h"
#include "runs.h"
#include "sqlite_table.h"
#include "text_codec.h"

namespace nidmask {

namespace {

// The column type the provider sees: --type, else from the declared type:
// INTEGER columns are U_LONG_LONG for the countries whose modules take
// numeric columns, everything else VARCHAR.
int16_t PresentedType(const Options& options, const SqliteTable& table) {
    if (options.dataType) return *options.dataType;
    const std::string country = SwitchCountry(options.countrySwitch);
    if (table.HasIntegerAffinity() && (country == "CA" || country == "US")) return U_LONG_LONG;
    return VARCHAR;
}

// Writes a masked value back: numbers of numeric types as integers when they fit.
bool WriteResult(SqliteTable& table, int64_t iRowid, bool bNumeric, const std::string& text, std::string* pError) {
    if (bNumeric && !text.empty() && text.size() <= 19) {
        errno = 0;
        char* pEnd = nullptr;
        const long long value = std::strtoll(text.c_str(), &pEnd, 10);
        if (errno == 0 && *pEnd == '\0') return table.UpdateInteger(iRowid, value, pError);
    }
    return table.UpdateText(iRowid, text, pError);
}

}  // namespace

int RunDatabase(const RunContext& context) {
    const Options& options = context.options;
    std::string error;
    SqliteTable table;
    if (!table.Open(options.dbPath, options.table, options.column, &error)) {
        PrintError(error);
        return kExitIo;
    }
    const int16_t sType = PresentedType(options, table);
    const bool bNumeric = IsNumericType(sType);
    MaskingSession session(context.entryPoints, MakeSessionSettings(options, sType, options.column), context.pReport);
    if (const int iExit = StartSession(session); iExit != kExitOk) return iExit;
    if (!table.Begin(&error)) {
        PrintError(error);
        return kExitIo;
    }
    const bool bWantProgress = options.bProgress || (!options.bQuiet && isatty(STDERR_FILENO) != 0);
    Progress progress(options.bProgress, !options.bQuiet, false, 0, bWantProgress ? table.CountRows() : 0);

    std::vector<hostkit::CellValue> values(static_cast<size_t>(options.iBatch));
    std::vector<int64_t> rowids;
    std::vector<std::string> texts;
    std::vector<uint8_t> nulls;
    std::string result;
    uint64_t iRecords = 0;
    const auto fail = [&](int iExit, const std::string& message) {
        table.Rollback();
        if (!message.empty()) PrintError(message);
        return iExit;
    };

    for (;;) {
        const long iRead = table.ReadBatch(&rowids, &texts, &nulls, values.size(), &error);
        if (iRead < 0) return fail(kExitIo, error);
        const size_t n = static_cast<size_t>(iRead);
        if (n == 0) break;
        if (n < values.size()) values.resize(n);
        for (size_t i = 0; i < n; ++i) {
            values[i].bNull = nulls[i] != 0;
            values[i].text.clear();
            if (!values[i].bNull && !DecodeText(texts[i], Encoding::Utf8, &values[i].text))
                return fail(kExitIo, options.dbPath + ": record " + std::to_string(iRecords + i + 1) + " (rowid " +
                                         std::to_string(rowids[i]) + "): invalid UTF-8");
        }

        const ServeResult served = session.Serve(values, iRecords + 1);
        if (served == ServeResult::EncodeFailed)
            return fail(kExitIo, options.dbPath + ": record " + std::to_string(iRecords + session.EncodeFailedRow() + 1) +
                                     " (rowid " + std::to_string(rowids[session.EncodeFailedRow()]) +
                                     "): " + session.EncodeFailure(values));
        if (served == ServeResult::ServiceFailed) {
            table.Rollback();
            return ReportServiceFailure(session);
        }

        for (size_t i = 0; i < n; ++i) {
            bool bOk = true;
            switch (ActionFor(session.Kind(i), options.onReject)) {
                case CellAction::WriteResult:
                    result.clear();
                    AppendText(session.Output(i), Encoding::Utf8, &result);
                    bOk = WriteResult(table, rowids[i], bNumeric, result, &error);
                    break;
                case CellAction::WriteNull: bOk = values[i].bNull || table.UpdateNull(rowids[i], &error); break;
                case CellAction::WriteEmpty: bOk = table.UpdateText(rowids[i], "", &error); break;
                case CellAction::WriteSource:
                case CellAction::Drop: break;
                case CellAction::StopRejected: {
                    table.Rollback();
                    const int iExit = FinishRun(session, progress, options);
                    PrintError("rolled back: a row was rejected (record " + std::to_string(iRecords + i + 1) +
                               ", rowid " + std::to_string(rowids[i]) + "); the table is unchanged");
                    return iExit == kExitProvider ? iExit : kExitRowsFailed;
                }
                case CellAction::StopUnserved: {
                    table.Rollback();
                    const int iExit = FinishRun(session, progress, options);
                    PrintError("rolled back: the error limit stopped the run; the table is unchanged");
                    return iExit == kExitProvider ? iExit : kExitRowsFailed;
                }
            }
            if (!bOk) return fail(kExitIo, error);
        }
        iRecords += n;
        progress.Update(iRecords, 0);
        if (session.LimitReached()) {
            if (table.ReadBatch(&rowids, &texts, &nulls, 1, &error) > 0) {
                session.NoteStopped();
                table.Rollback();
                const int iExit = FinishRun(session, progress, options);
                PrintError("rolled back: the error limit stopped the run; the table is unchanged");
                return iExit == kExitProvider ? iExit : kExitRowsFailed;
            }
            break;
        }
    }

    const int iExit = FinishRun(session, progress, options);
    if (iExit == kExitProvider) return fail(iExit, "rolled back; the table is unchanged");
    if (!table.Commit(&error)) {
        PrintError(error);
        return kExitIo;
    }
    return iExit;
}

}  // namespace nidmask
