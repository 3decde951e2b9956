// Building each kind of run around the serving loop: its source, its sink,
// and one provider session per rule.
#include "runs.h"

#include <cctype>
#include <cstdio>

#include <qrnp/qrnp.h>

#include "column_types.h"
#include "csv_format.h"
#include "database_format.h"
#include "exit_codes.h"
#include "input_file.h"
#include "lines_format.h"
#include "message_text.h"
#include "output_file.h"
#include "parallel_run.h"
#include "serve_loop.h"
#include "text_codec.h"

namespace nidmask {

namespace {

// The session settings of a rule for a column of type sDefaultType (when the
// rule names none), named columnName in messages.
SessionSettings MakeSessionSettings(const Options& options, const ColumnRule& rule, int16_t sDefaultType,
                                    const std::string& columnName, const ReportWriter::Place& place) {
    SessionSettings settings;
    hostkit::ResolvedMasking resolved;
    std::string error;
    hostkit::ResolveMasking(rule.masking, sDefaultType, &resolved, &error);  // checked with the options
    settings.instance = resolved.instance;
    if (!columnName.empty()) DecodeText(columnName, Encoding::Utf8, &settings.instance.columnName);
    settings.sServiceMethod = resolved.sServiceMethod;
    settings.iErrorLimit = options.iErrorLimit;
    settings.bFillNull = rule.bFillNull;
    settings.bShowValues = options.bShowValues;
    settings.place = place;
    return settings;
}

ColumnJob MakeJob(const RunContext& context, const ColumnRule& rule, const SessionSettings& settings) {
    ColumnJob job;
    job.session = std::make_unique<MaskingSession>(context.entryPoints, settings, context.pReport);
    job.onReject = context.options.OnReject(rule);
    if (context.options.rules.size() > 1) job.name = context.options.dbPath.empty() ? rule.column : rule.Label();
    return job;
}

LoopSettings MakeLoopSettings(const Options& options, bool bOutputOnStdout) {
    LoopSettings settings;
    settings.iBatch = static_cast<size_t>(options.iBatch);
    settings.bQuiet = options.bQuiet;
    settings.bProgress = options.bProgress;
    settings.bOutputOnStdout = bOutputOnStdout;
    return settings;
}

// What every worker of a run with --jobs reads, and how.
WorkerFormat MakeWorkerFormat(const Options& options, const InputFile& input, RecordSyntax syntax) {
    WorkerFormat format;
    format.syntax = syntax;
    format.inputName = input.Name();
    format.iInputFd = input.Descriptor();
    format.iBatch = static_cast<size_t>(options.iBatch);
    format.nullText = options.nullText;
    format.cDelimiter = options.cDelimiter;
    return format;
}

bool IsStandardStream(const std::string& path) { return path.empty() || path == "-"; }

Encoding EncodingOf(int16_t sType) { return hostkit::IsWideType(sType) ? Encoding::Utf8 : Encoding::Latin1; }

// True when the provider would mask `value` with these settings: the test
// that a CSV header field is really data.
bool ProviderServes(const hostkit::EntryPoints& entryPoints, SessionSettings settings, const std::wstring& value) {
    settings.instance.sMethod = settings.sServiceMethod = QRNP_METHOD_MASK;
    settings.instance.sProcFlags &= static_cast<uint16_t>(~QRNP_PROC_PASS_INVALID);
    settings.iErrorLimit = 0;
    MaskingSession probe(entryPoints, settings, nullptr);
    if (probe.Start() != QRNP_OK) return false;
    hostkit::CellValue cell;
    cell.text = value;
    bool bServed = false;
    if (probe.Serve({cell}, {0}, 1) == ServeResult::Served) bServed = probe.Kind(0) == RowKind::Masked;
    probe.Finish();
    return bServed;
}

// SQLite names compare ignoring ASCII case.
bool EqualNames(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
    return true;
}

std::string RulePrefix(const Options& options, const ColumnRule& rule) {
    return options.rulesPath.empty() ? "" : rule.origin + ": ";
}

// "--column nir: ", or "rules.toml:7: column nir: " for a rule's column.
std::string ColumnPrefix(const Options& options, const ColumnRule& rule) {
    return options.rulesPath.empty() ? "--column " + rule.column + ": "
                                     : rule.Origin("column") + ": column " + rule.column + ": ";
}

}  // namespace

void ExplainRules(const Options& options) {
    for (size_t i = 0; i < options.rules.size(); ++i) {
        const ColumnRule& rule = options.rules[i];
        hostkit::ResolvedMasking resolved;
        std::string error;
        hostkit::ResolveMasking(rule.masking, VARCHAR, &resolved, &error);
        const RejectAction onReject = options.OnReject(rule);
        const char* pOnReject = onReject == RejectAction::Empty  ? "empty"
                                : onReject == RejectAction::Null ? "null"
                                : onReject == RejectAction::Drop ? "drop"
                                                                 : "fail";
        const char* pTypeNote =
            rule.masking.dataType || options.dbPath.empty() ? "" : " (an INTEGER column is U_LONG_LONG for US and CA)";
        std::printf("rule %zu (%s): %s%s\n  country %s, method %s, on_reject %s%s\n  provider: %s%s\n", i + 1,
                    rule.origin.c_str(), rule.table.empty() ? "" : ("table " + rule.table + ", ").c_str(),
                    rule.column.empty() ? "one value per line" : ("column " + rule.column).c_str(),
                    resolved.countryCode.empty() ? "(none)" : resolved.countryCode.c_str(), rule.masking.method.c_str(),
                    pOnReject, rule.bFillNull ? ", fill_null" : "", hostkit::DescribeMasking(resolved).c_str(), pTypeNote);
    }
}

int RunLines(const RunContext& context) {
    const Options& options = context.options;
    const ColumnRule& rule = options.rules.front();
    std::string error;
    InputFile input;
    if (!options.count && !input.Open(options.input, &error)) {
        PrintError(error);
        return kExitIo;
    }
    OutputFile output;
    if (!output.Open(options.output, true, &error)) {
        PrintError(error);
        return kExitIo;
    }
    const SessionSettings settings = MakeSessionSettings(options, rule, VARCHAR, "", {});
    const Encoding encoding = EncodingOf(settings.instance.sDataType);
    std::vector<ColumnJob> jobs;
    jobs.push_back(MakeJob(context, rule, settings));
    const LoopSettings loopSettings = MakeLoopSettings(options, IsStandardStream(options.output));
    if (options.iJobs > 1) {
        WorkerFormat format = MakeWorkerFormat(options, input, RecordSyntax::Lines);
        format.encodings = {encoding};
        const ParallelInput in(input);
        return ServeInWorkers(in, output, format, jobs, context.pReport, loopSettings, options.iJobs);
    }
    LineSource source(input, options.count, encoding, options.nullText);
    LineSink sink(output, encoding, options.nullText, input, source);
    return ServeRecords(source, sink, jobs, loopSettings);
}

int RunCsv(const RunContext& context) {
    const Options& options = context.options;
    std::string error;
    InputFile input;
    if (!input.Open(options.input, &error)) {
        PrintError(error);
        return kExitIo;
    }
    CsvSource source(input, options.cDelimiter, options.nullText);
    source.ShowValues(options.bShowValues);
    if (options.header != HeaderMode::NoHeader && !source.ReadHeader(&error)) {
        PrintError(error);
        return kExitIo;
    }
    // A header read as one is taken as it is, delimiters in its name or not.
    if (const std::string problem = options.header == HeaderMode::Header ? "" : source.HeaderProblem(); !problem.empty()) {
        PrintError(problem);
        return kExitUsage;
    }
    const CsvRecord* pHeader = source.Header();
    std::vector<size_t> columns;
    std::vector<Encoding> encodings;
    std::vector<ColumnJob> jobs;
    for (size_t r = 0; r < options.rules.size(); ++r) {
        const ColumnRule& rule = options.rules[r];
        const long iColumn = source.ResolveColumn(rule.column, &error);
        if (iColumn < 0) {
            PrintError(ColumnPrefix(options, rule) + error);
            return kExitUsage;
        }
        const size_t column = static_cast<size_t>(iColumn);
        for (size_t k = 0; k < columns.size(); ++k) {
            if (columns[k] == column) {
                PrintError(options.rules[k].origin + " and " + rule.origin + " both mask column " +
                           std::to_string(column + 1));
                return kExitUsage;
            }
        }
        const std::string columnName = pHeader != nullptr && column < pHeader->FieldCount()
                                           ? std::string(pHeader->Value(column))
                                           : "column " + std::to_string(column + 1);
        const SessionSettings settings = MakeSessionSettings(options, rule, VARCHAR, columnName, {"", columnName});
        const Encoding encoding = EncodingOf(settings.instance.sDataType);

        // A first record whose field is an identifier is data, not a header.
        std::wstring headerValue;
        if (options.header == HeaderMode::Auto && pHeader != nullptr && column < pHeader->FieldCount() &&
            DecodeText(pHeader->Value(column), encoding, &headerValue) && !headerValue.empty() &&
            ProviderServes(context.entryPoints, settings, headerValue)) {
            PrintError(RulePrefix(options, rule) + "the first record's field in column " + std::to_string(column + 1) +
                       " is " +
                       (options.bShowValues ? "'" + hostkit::ToUtf8(headerValue) + "'" : hostkit::RedactedValue(headerValue)) +
                       ", which is an identifier, not a column name: if the input has no header, add --no-header "
                       "(--header reads it as a header anyway)");
            return kExitUsage;
        }
        columns.push_back(column);
        encodings.push_back(encoding);
        jobs.push_back(MakeJob(context, rule, settings));
    }

    OutputFile output;
    if (!output.Open(options.output, true, &error)) {
        PrintError(error);
        return kExitIo;
    }
    const LoopSettings loopSettings = MakeLoopSettings(options, IsStandardStream(options.output));
    if (options.iJobs > 1) {
        // The parent reads on where the header ended.
        WorkerFormat format = MakeWorkerFormat(options, input, RecordSyntax::Csv);
        format.encodings = encodings;
        format.columns = columns;
        format.bHeader = pHeader != nullptr;
        ParallelInput in(input);
        in.pending = source.Reader().Unread();
        in.bEnded = source.Reader().AtEnd();
        in.iLinesBefore = source.Reader().Lines();
        in.header = pHeader != nullptr ? pHeader->raw : std::string();
        in.bCsv = true;
        return ServeInWorkers(in, output, format, jobs, context.pReport, loopSettings, options.iJobs);
    }
    source.SetColumns(columns, encodings);
    CsvSink sink(output, source, options.cDelimiter, options.nullText, encodings);
    return ServeRecords(source, sink, jobs, loopSettings);
}

int RunDatabase(const RunContext& context) {
    const Options& options = context.options;
    std::string error;
    SqliteDatabase db;
    if (!db.Open(options.dbPath, &error) || !db.Begin(&error)) {
        PrintError(error);
        return kExitIo;
    }
    // The rules by table, in the order their tables first appear; every table
    // and column is found before anything is masked.
    std::vector<std::string> tables;
    std::vector<std::vector<const ColumnRule*>> rulesOf;
    for (const ColumnRule& rule : options.rules) {
        size_t t = 0;
        while (t < tables.size() && !EqualNames(tables[t], rule.table)) ++t;
        if (t == tables.size()) {
            tables.push_back(rule.table);
            rulesOf.emplace_back();
        }
        rulesOf[t].push_back(&rule);
    }
    std::vector<std::unique_ptr<SqliteTable>> found;
    for (size_t t = 0; t < tables.size(); ++t) {
        std::vector<std::string> columns;
        for (const ColumnRule* pRule : rulesOf[t]) columns.push_back(pRule->column);
        auto table = std::make_unique<SqliteTable>(db);
        table->ShowValues(options.bShowValues);
        TableProblem problem;
        if (!table->Find(tables[t], columns, &problem, &error)) {
            PrintError(error);
            return kExitIo;
        }
        if (!problem.message.empty()) {
            const ColumnRule& rule = *rulesOf[t][problem.iColumn < 0 ? 0 : static_cast<size_t>(problem.iColumn)];
            const std::string where = options.rulesPath.empty()
                                          ? ""
                                          : rule.Origin(problem.iColumn < 0 ? "table" : "column") + ": ";
            PrintError(where + problem.message);
            return kExitUsage;
        }
        found.push_back(std::move(table));
    }

    int iExit = kExitOk;
    for (size_t t = 0; t < tables.size(); ++t) {
        SqliteTable& table = *found[t];
        if (!table.Prepare(&error)) {
            PrintError(error);
            return kExitIo;
        }
        std::vector<ColumnJob> jobs;
        std::vector<bool> numeric;
        for (size_t c = 0; c < rulesOf[t].size(); ++c) {
            const ColumnRule& rule = *rulesOf[t][c];
            // INTEGER columns are U_LONG_LONG for the countries whose modules
            // take numeric columns; everything else VARCHAR.
            const std::string country = rule.masking.switchText.empty()
                                            ? hostkit::CountryCode(rule.masking.country)
                                            : hostkit::SwitchCountry(rule.masking.switchText);
            const int16_t sDefault =
                table.HasIntegerAffinity(c) && (country == "CA" || country == "US") ? U_LONG_LONG : VARCHAR;
            const SessionSettings settings =
                MakeSessionSettings(options, rule, sDefault, rule.column, {table.Name(), rule.column});
            numeric.push_back(hostkit::IsNumericType(settings.instance.sDataType));
            jobs.push_back(MakeJob(context, rule, settings));
        }
        DbSource source(table);
        DbSink sink(db, table, numeric);
        const int iTable = ServeRecords(source, sink, jobs, MakeLoopSettings(options, false));
        // Every table or none: a table that stopped rolled everything back.
        if (sink.Abandoned() || (iTable != kExitOk && iTable != kExitRowsFailed)) return iTable;
        if (iTable == kExitRowsFailed) iExit = kExitRowsFailed;
    }
    if (!db.Commit(&error)) {
        PrintError(error);
        return kExitIo;
    }
    return iExit;
}

}  // namespace nidmask
