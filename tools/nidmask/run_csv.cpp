// A CSV column, a batch of records at a time. Records are kept raw; only the
// masked field's bytes are replaced, so every other byte of the file -
// quoting, line ends, blank lines - comes out as it went in.
#include <qrnp/qrnp.h>

#include "column_types.h"
#include "csv_field.h"
#include "csv_reader.h"
#include "exit_codes.h"
#include "input_file.h"
#include "output_file.h"
#include "runs.h"
#include "text_codec.h"

namespace nidmask {

namespace {

// Where a record of the batch lies in the batch's raw bytes.
struct RecordPlace {
    size_t iBegin;
    size_t iEnd;
    size_t iFieldBegin;
    size_t iFieldEnd;
    bool bQuoted;
};

// The 0-based index of --column in `header`, or -1 with a message.
long ResolveColumn(const Options& options, const CsvRecord* pHeader, std::string* pError) {
    const std::string& column = options.column;
    if (column.empty()) return 0;
    if (column.find_first_not_of("0123456789") == std::string::npos) {
        const long iNumber = column.size() > 9 ? 0 : std::stol(column);
        if (iNumber < 1) {
            *pError = "--column " + column + ": column numbers start at 1";
            return -1;
        }
        if (pHeader != nullptr && static_cast<size_t>(iNumber) > pHeader->FieldCount()) {
            *pError = "--column " + column + ": the header has " + std::to_string(pHeader->FieldCount()) + " columns";
            return -1;
        }
        return iNumber - 1;
    }
    std::string names;
    for (size_t i = 0; i < pHeader->FieldCount(); ++i) {
        if (pHeader->Value(i) == column) return static_cast<long>(i);
        names += (i == 0 ? "" : ", ") + std::string(pHeader->Value(i));
    }
    *pError = "--column " + column + ": the header has no such column (it has " + names + ")";
    return -1;
}

}  // namespace

int RunCsv(const RunContext& context) {
    const Options& options = context.options;
    std::string error;

    InputFile input;
    if (!input.Open(options.input, &error)) {
        PrintError(error);
        return kExitIo;
    }
    OutputFile output;
    if (!output.Open(options.output, true, &error)) {
        PrintError(error);
        return kExitIo;
    }
    CsvReader reader(input, !options.bNoHeader);
    CsvRecord record;

    // The header: copied as it is, and the source of column names.
    bool bHeader = false;
    if (!options.bNoHeader) {
        bHeader = reader.Next(&record, &error);
        if (!error.empty()) {
            PrintError(error);
            return kExitIo;
        }
    }
    long iColumn = 0;
    if (bHeader || options.bNoHeader) {
        iColumn = ResolveColumn(options, bHeader ? &record : nullptr, &error);
        if (iColumn < 0) {
            PrintError(error);
            return kExitUsage;
        }
    }
    const size_t column = static_cast<size_t>(iColumn);
    const std::string columnName = bHeader && column < record.FieldCount() ? std::string(record.Value(column))
                                                                            : "column " + std::to_string(column + 1);
    if (bHeader) output.Write(record.raw);

    const int16_t sType = options.dataType.value_or(VARCHAR);
    const Encoding encoding = IsWideType(sType) ? Encoding::Utf8 : Encoding::Latin1;
    MaskingSession session(context.entryPoints, MakeSessionSettings(options, sType, columnName), context.pReport);
    if (const int iExit = StartSession(session); iExit != kExitOk) return iExit;

    Progress progress(options.bProgress, !options.bQuiet, options.output.empty() || options.output == "-",
                      input.TotalBytes(), 0);
    std::vector<hostkit::CellValue> values(static_cast<size_t>(options.iBatch));
    std::vector<RecordPlace> places(values.size());
    std::string raw;       // the batch's records
    std::string result;    // one masked value, encoded
    uint64_t iRecords = 0; // data records before this batch

    for (;;) {
        size_t n = 0;
        raw.clear();
        while (n < values.size() && reader.Next(&record, &error)) {
            const uint64_t iRecord = iRecords + n + 1;
            if (record.FieldCount() <= column) {
                PrintError(input.Name() + ": record " + std::to_string(iRecord) + " (line " +
                           std::to_string(record.iLine) + ") has " + std::to_string(record.FieldCount()) +
                           " fields; column " + std::to_string(column + 1) + " is missing");
                return kExitIo;
            }
            hostkit::CellValue& value = values[n];
            const std::string_view field = record.Value(column);
            const bool bQuoted = record.Quoted(column);
            value.bNull = !bQuoted && field == options.nullText;
            if (value.bNull) {
                value.text.clear();
            } else if (!DecodeText(field, encoding, &value.text)) {
                PrintError(input.Name() + ": record " + std::to_string(iRecord) + " (line " +
                           std::to_string(record.iLine) + "): invalid UTF-8");
                return kExitIo;
            }
            const size_t base = raw.size();
            places[n] = RecordPlace{base, base + record.raw.size(), base + record.spans[column].first,
                                    base + record.spans[column].second, bQuoted};
            raw += record.raw;
            ++n;
        }
        if (!error.empty()) {
            PrintError(error);
            return kExitIo;
        }
        if (n == 0) break;
        if (n < values.size()) values.resize(n);

        const ServeResult served = session.Serve(values, iRecords + 1);
        if (served == ServeResult::EncodeFailed) {
            PrintError(input.Name() + ": record " + std::to_string(iRecords + session.EncodeFailedRow() + 1) + ": " +
                       session.EncodeFailure(values));
            return kExitIo;
        }
        if (served == ServeResult::ServiceFailed) return ReportServiceFailure(session);

        for (size_t i = 0; i < n; ++i) {
            if (ActionFor(session.Kind(i), options.onReject) == CellAction::StopRejected) {
                output.Abandon();
                const int iExit = FinishRun(session, progress, options);
                PrintError("stopped at a rejected row (--on-reject fail); nothing written");
                return iExit == kExitProvider ? iExit : kExitRowsFailed;
            }
        }
        std::string& out = output.Buffer();
        const std::string_view batch(raw);
        for (size_t i = 0; i < n; ++i) {
            const RecordPlace& place = places[i];
            const CellAction action = ActionFor(session.Kind(i), options.onReject);
            if (action == CellAction::StopUnserved) break;
            if (action == CellAction::Drop) continue;
            if (action == CellAction::WriteSource) {
                out.append(batch.substr(place.iBegin, place.iEnd - place.iBegin));
                continue;
            }
            out.append(batch.substr(place.iBegin, place.iFieldBegin - place.iBegin));
            if (action == CellAction::WriteNull) {
                out += options.nullText;
            } else {
                result.clear();
                if (action == CellAction::WriteResult) AppendText(session.Output(i), encoding, &result);
                // A value that reads like the NULL text is quoted, so that it reads back as a value.
                AppendCsvField(result, place.bQuoted || result == options.nullText, &out);
            }
            out.append(batch.substr(place.iFieldEnd, place.iEnd - place.iFieldEnd));
        }
        output.MaybeFlush();
        if (!output.Error().empty()) {
            PrintError(output.Error());
            return kExitIo;
        }
        iRecords += n;
        progress.Update(iRecords, input.BytesRead());
        if (session.LimitReached()) {
            if (session.Counts().iUnserved == 0 && reader.Next(&record, &error)) session.NoteStopped();
            break;
        }
    }

    const int iExit = FinishRun(session, progress, options);
    if (!output.Commit(&error)) {
        PrintError(error);
        return kExitIo;
    }
    return iExit;
}

}  // namespace nidmask
