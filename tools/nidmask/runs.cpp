// Building each kind of run around the serving loop.
#include "runs.h"

#include <qrnp/qrnp.h>

#include "column_types.h"
#include "csv_format.h"
#include "database_format.h"
#include "exit_codes.h"
#include "input_file.h"
#include "lines_format.h"
#include "messages.h"
#include "output_file.h"
#include "serve_loop.h"
#include "text_codec.h"

namespace nidmask {

namespace {

// Provider settings for the rule's column of type sType named columnName
// (a message token; "" keeps the default name).
SessionSettings MakeSessionSettings(const Options& options, const ColumnRule& rule, int16_t sType,
                                    const std::string& columnName) {
    SessionSettings settings;
    hostkit::InstanceOptions& instance = settings.instance;
    // The switch is UTF-8 on the command line; bytes that are not are taken one by one.
    if (!DecodeText(rule.countrySwitch, Encoding::Utf8, &instance.countrySwitch))
        DecodeText(rule.countrySwitch, Encoding::Latin1, &instance.countrySwitch);
    instance.sMethod = rule.sCtrlMethod;
    instance.sProcFlags = rule.sProcFlags;
    instance.bSeparateDestination = !rule.bInPlace;
    instance.sDataType = sType;
    if (!columnName.empty()) DecodeText(columnName, Encoding::Utf8, &instance.columnName);
    instance.iLength = rule.iLength;
    instance.operands = rule.operands;
    settings.sServiceMethod = rule.sServiceMethod;
    settings.iErrorLimit = options.iErrorLimit;
    settings.bFillNull = rule.bFillNull;
    settings.bShowValues = options.bShowValues;
    return settings;
}

ColumnJob MakeJob(const RunContext& context, const SessionSettings& settings, std::string name) {
    ColumnJob job;
    job.session = std::make_unique<MaskingSession>(context.entryPoints, settings, context.pReport);
    job.onReject = context.options.OnReject();
    job.name = std::move(name);
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

bool IsStandardStream(const std::string& path) { return path.empty() || path == "-"; }

Encoding EncodingOf(int16_t sType) { return IsWideType(sType) ? Encoding::Utf8 : Encoding::Latin1; }

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

}  // namespace

int RunLines(const RunContext& context) {
    const Options& options = context.options;
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
    const int16_t sType = options.rule.dataType.value_or(VARCHAR);
    LineSource source(input, options.count, EncodingOf(sType), options.nullText);
    LineSink sink(output, EncodingOf(sType), options.nullText, input);
    std::vector<ColumnJob> jobs;
    jobs.push_back(MakeJob(context, MakeSessionSettings(options, options.rule, sType, ""), ""));
    return ServeRecords(source, sink, jobs, MakeLoopSettings(options, IsStandardStream(options.output)));
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
    if (options.header != HeaderMode::NoHeader && !source.ReadHeader(&error)) {
        PrintError(error);
        return kExitIo;
    }
    if (const std::string problem = source.HeaderProblem(); !problem.empty()) {
        PrintError(problem);
        return kExitUsage;
    }
    const long iColumn = source.ResolveColumn(options.rule.column, &error);
    if (iColumn < 0) {
        PrintError(error);
        return kExitUsage;
    }
    const size_t column = static_cast<size_t>(iColumn);
    const CsvRecord* pHeader = source.Header();
    const std::string columnName = pHeader != nullptr && column < pHeader->FieldCount()
                                       ? std::string(pHeader->Value(column))
                                       : "column " + std::to_string(column + 1);
    const int16_t sType = options.rule.dataType.value_or(VARCHAR);
    const Encoding encoding = EncodingOf(sType);
    const SessionSettings settings = MakeSessionSettings(options, options.rule, sType, columnName);

    // A first record whose field is an identifier is data, not a header.
    std::wstring headerValue;
    if (options.header == HeaderMode::Auto && pHeader != nullptr && column < pHeader->FieldCount() &&
        DecodeText(pHeader->Value(column), encoding, &headerValue) && !headerValue.empty() &&
        ProviderServes(context.entryPoints, settings, headerValue)) {
        PrintError("the first record's field in column " + std::to_string(column + 1) + " is " +
                   (options.bShowValues ? "'" + hostkit::ToUtf8(headerValue) + "'" : RedactedValue(headerValue)) +
                   ", which is an identifier, not a column name: if the input has no header, add --no-header "
                   "(--header reads it as a header anyway)");
        return kExitUsage;
    }

    OutputFile output;
    if (!output.Open(options.output, true, &error)) {
        PrintError(error);
        return kExitIo;
    }
    source.SetColumns({column}, {encoding});
    CsvSink sink(output, source, options.cDelimiter, options.nullText, {encoding});
    std::vector<ColumnJob> jobs;
    jobs.push_back(MakeJob(context, settings, ""));
    return ServeRecords(source, sink, jobs, MakeLoopSettings(options, IsStandardStream(options.output)));
}

int RunDatabase(const RunContext& context) {
    const Options& options = context.options;
    const ColumnRule& rule = options.rule;
    std::string error;
    SqliteDatabase db;
    if (!db.Open(options.dbPath, &error) || !db.Begin(&error)) {
        PrintError(error);
        return kExitIo;
    }
    SqliteTable table(db);
    TableProblem problem;
    if (!table.Find(rule.table, {rule.column}, &problem, &error)) {
        PrintError(error);
        return kExitIo;
    }
    if (!problem.message.empty()) {
        PrintError(problem.message);
        return kExitUsage;
    }
    if (!table.Prepare(&error)) {
        PrintError(error);
        return kExitIo;
    }
    // The column type the provider sees: --type, else INTEGER columns are
    // U_LONG_LONG for the countries whose modules take numeric columns, and
    // everything else VARCHAR.
    const std::string country = SwitchCountry(rule.countrySwitch);
    const int16_t sType = rule.dataType.value_or(
        table.HasIntegerAffinity(0) && (country == "CA" || country == "US") ? U_LONG_LONG : VARCHAR);
    DbSource source(table);
    DbSink sink(db, table, {IsNumericType(sType)});
    std::vector<ColumnJob> jobs;
    jobs.push_back(MakeJob(context, MakeSessionSettings(options, rule, sType, rule.column), ""));
    const int iExit = ServeRecords(source, sink, jobs, MakeLoopSettings(options, false));
    if (sink.Abandoned() || (iExit != kExitOk && iExit != kExitRowsFailed)) return iExit;
    if (!db.Commit(&error)) {
        PrintError(error);
        return kExitIo;
    }
    return iExit;
}

}  // namespace nidmask
