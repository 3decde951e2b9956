// Command-line parsing with CLI11, then the checks between options.
#include "options.h"

#include <unistd.h>

#include <iostream>

#include <CLI/CLI.hpp>

#include "column_types.h"
#include "number_text.h"

namespace nidmask {

namespace {

const char* const kFooter = R"(
Rows and exit status:
  Every row ends up masked (or generated with the random method), NULL, passed
  through unchanged, or rejected. Passed through are empty values (an empty line
  or field), numeric zeros, values of only blanks, and invalid values under
  --pass-invalid. NULL, empty and blank values are not failures even though the
  provider's Service counts them as failed rows (it returns -2 for them): they
  leave the exit status at 0, and the report still lists them (4408, 74, 75, 4403).
    0  every row served
    1  some rows failed: the provider rejected them (Service returned -2 for
       them), or the error limit stopped the run before the end of the input
    2  usage error
    3  the provider could not be loaded, Init failed, or Service returned a
       message number (its text on standard error)
    4  input or output error (a file, CSV syntax, a value the column type
       cannot hold, invalid UTF-8, the database)
  With -o the output is renamed into place at the end and never left half
  written; on standard output, batches written before a failure stay written.

Values:
  Row numbers are 1-based record numbers of the whole input (CSV: data records,
  the header excluded). CHAR and WCHAR values are padded with blanks to --length
  (the padding is removed on output); numeric types take decimal integers that
  fit the type and write decimal numbers back (no leading zeros). Single-byte
  types read and write ISO-8859-1, wide types UTF-8. In CSV, an unquoted field
  equal to the NULL text is NULL, a quoted one is a value.

Provider library: --provider, else $NIDMASK_PROVIDER, else libQRNNIDPrvLib.so in
../lib/nidmask (installed) or ../lib (build tree) beside the nidmask executable.
)";

const char* const kExamples = R"(
Examples:
  nidmask --country FR examples/fr.txt
  nidmask --country FR --validate --report report.jsonl ids.txt -o masked.txt
  nidmask --country FR --format csv --column nir examples/people.csv
  nidmask --country FR --db people.db --table person --column nir
  nidmask --country FR --method random --count 10
)";

// A usage error: the message, and exit status 2.
struct UsageError {
    std::string message;
};

uint16_t MethodValue(const std::string& name, const char* pOption) {
    if (name == "mask") return 0x1406;
    if (name == "random") return 0x1407;
    uint64_t value = 0;
    if (!ParseUnsigned(name, 0xFFFF, &value))
        throw UsageError{std::string(pOption) + ": '" + name + "' is none of mask, random or a number 0-65535"};
    return static_cast<uint16_t>(value);
}

Operand ParseRawOperand(const std::string& text) {
    const size_t equals = text.find('=');
    uint64_t key = 0;
    uint64_t value = 0;
    if (equals == std::string::npos || !ParseUnsigned(text.substr(0, equals), 0xFFFF, &key) ||
        !ParseUnsigned(text.substr(equals + 1), 0xFFFFFFFF, &value))
        throw UsageError{"--option: '" + text +
                         "' is not KEY=VALUE with a 16-bit KEY and a 32-bit VALUE (decimal or 0x-hex)"};
    return {static_cast<uint16_t>(key), static_cast<uint32_t>(value)};
}

// A check that the value is one of `names`; the help shows the names in the type name instead.
CLI::Validator OneOf(std::vector<std::string> names) {
    return CLI::IsMember(std::move(names)).description("");
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, char** argv) {
    Options o;
    std::string format = "lines";
    std::string method = "mask";
    std::string ctrlMethod;
    std::string type;
    std::string onReject;
    std::vector<std::string> rawOperands;
    NamedSettings named;
    uint64_t iCount = 0;
    bool bValidate = false;
    bool bPassInvalid = false;

    CLI::App app{"nidmask: masks national identification numbers (FR, IT, UK, ES, US, CA) in files, CSV and\n"
                 "SQLite tables with the provider library, or generates random ones.",
                 "nidmask"};
    app.footer(std::string(kFooter) + "\n" + NamedSettingsHelp() + kExamples);
    app.option_defaults()->always_capture_default();
    app.set_version_flag("--version", "nidmask " NIDMASK_VERSION);
    app.get_formatter()->column_width(36);

    const std::string io = "Input and output";
    app.add_option("INPUT", o.input, "file to read; - or none: standard input")->group(io)->type_name("FILE");
    CLI::Option* pOutput =
        app.add_option("-o,--output", o.output, "where to write; default standard output")->group(io)->type_name("FILE");
    CLI::Option* pFormat = app.add_option("--format", format,
                                          "lines: one value per line (LF or CRLF); csv: RFC 4180 CSV, other "
                                          "columns copied byte for byte")
                               ->check(OneOf({"lines", "csv"}))
                               ->group(io)
                               ->type_name("lines|csv");
    CLI::Option* pColumn = app.add_option("--column", o.column,
                                          "csv: the column to mask, by header name or 1-based number (default 1); "
                                          "--db: the column name")
                               ->group(io)
                               ->type_name("NAME|N");
    CLI::Option* pNoHeader = app.add_flag("--no-header", o.bNoHeader, "csv: the first record is data")->group(io);
    CLI::Option* pNull = app.add_option("--null", o.nullText,
                                        "the text that stands for a NULL value; an empty line or field is an empty, "
                                        "zero-length value")
                             ->group(io)
                             ->type_name("STRING");
    CLI::Option* pCount = app.add_option("--count", iCount,
                                         "with --method random and no INPUT: generate N values (rows with no source)")
                              ->check(CLI::Range(uint64_t{0}, uint64_t{1000000000000}))
                              ->group(io)
                              ->type_name("N")
                              ->default_str("");
    CLI::Option* pDb = app.add_option("--db", o.dbPath,
                                      "mask --column of --table of this SQLite database in place, in one "
                                      "transaction (all rows or none), updating by rowid")
                           ->group(io)
                           ->type_name("FILE");
    CLI::Option* pTable = app.add_option("--table", o.table, "--db: the table")->group(io)->type_name("T");

    const std::string provider = "Provider settings";
    app.add_option("--country", o.countrySwitch,
                   "the country switch, passed as a wide string: FR, IT, UK, ES, US, CA or any text (only the "
                   "first two letters count)")
        ->required()
        ->group(provider)
        ->type_name("TEXT");
    app.add_option("--method", method,
                   "Service method: mask 0x1406, random 0x1407, ctrl 0x1408 (the control block's method decides)")
        ->check(OneOf({"mask", "random", "ctrl"}))
        ->group(provider)
        ->type_name("mask|random|ctrl");
    CLI::Option* pCtrlMethod =
        app.add_option("--ctrl-method", ctrlMethod,
                       "with --method ctrl: the control block's method, mask, random or a number passed unchecked "
                       "(default mask)")
            ->group(provider)
            ->type_name("mask|random|N");
    app.add_flag("--validate", bValidate, "processing flag 1: validate fully (for FR: commune and check key too)")
        ->group(provider);
    app.add_flag("--pass-invalid", bPassInvalid,
                 "processing flag 2: pass invalid data through unchanged instead of rejecting it")
        ->group(provider);
    app.add_option("--option", rawOperands,
                   "a raw operand, KEY and VALUE decimal or 0x-hex; repeatable, applied in order after the named "
                   "settings (so it overrides them)")
        ->group(provider)
        ->type_name("KEY=VALUE")
        ->default_str("")
        ->allow_extra_args(false);  // one value per --option: INPUT may follow
    app.add_option("--type", type,
                   std::string("the column type presented to the provider: ") + ColumnTypeNames() +
                       ", or a number (default VARCHAR; with --db: TEXT columns VARCHAR, INTEGER columns "
                       "U_LONG_LONG for CA and US)")
        ->group(provider)
        ->type_name("NAME");
    app.add_option("--length", o.iLength, "column length in characters (the fixed width of CHAR and WCHAR)")
        ->check(CLI::Range(1, 8191))
        ->group(provider)
        ->type_name("N");
    app.add_flag("--in-place", o.bInPlace, "source and destination are one buffer (destination flag clear)")
        ->group(provider);
    app.add_option("--batch", o.iBatch, "rows per rowset (one Service call each)")
        ->check(CLI::Range(1, 1000000))
        ->group(provider)
        ->type_name("N");
    app.add_option("--error-limit", o.iErrorLimit,
                   "the host's error limit: stop once the provider has captured N messages (NULL, empty and blank "
                   "values count too); 0: none")
        ->check(CLI::Range(0, 32767))
        ->group(provider)
        ->type_name("N");
    app.add_option("--parts", named.parts,
                   "what to mask, comma-separated: FR sex,year,month,dept,commune; IT names,date,region; UK prefix; "
                   "US area; CA head (default: the country's own choice)")
        ->group(provider)
        ->type_name("LIST");
    app.add_option("--separator", named.separator,
                   "the country's separator operand: keep, none, dot, dash or space (default: the country's own)")
        ->check(OneOf({"keep", "none", "dot", "dash", "space"}))
        ->group(provider)
        ->type_name("keep|none|dot|dash|space");
    app.add_option("--form", named.form, "UK: the 3-part or 5-part form (0x180D bit 1 or 2)")
        ->check(OneOf({"3", "5"}))
        ->group(provider)
        ->type_name("3|5");
    app.add_option("--area-table", named.areaTable, "US: the area table (0x180E bit 2, bit 4, or neither)")
        ->check(OneOf({"2006", "2008", "2010"}))
        ->group(provider)
        ->type_name("2006|2008|2010");
    app.add_option("--provider", o.providerPath, "the provider library to load")->group(provider)->type_name("FILE");

    const std::string reports = "Rejected rows and reports";
    app.add_option("--on-reject", onReject,
                   "a rejected row never reaches the output with its source value: drop leaves it out, empty writes "
                   "an empty value, null the NULL text (SQL NULL in a database), fail stops, writes nothing and exits "
                   "1 (default: drop; fail with --db)")
        ->check(OneOf({"drop", "empty", "null", "fail"}))
        ->group(reports)
        ->type_name("drop|empty|null|fail");
    app.add_option("--report", o.reportPath,
                   "JSON Lines: one object per row with a non-zero status or rejected, with its messages; messages "
                   "bound to no row come as row 0")
        ->group(reports)
        ->type_name("FILE");
    app.add_option("--trace", o.tracePath, "write the provider's trace of every entry point to FILE")
        ->group(reports)
        ->type_name("FILE");
    CLI::Option* pQuiet = app.add_flag("-q,--quiet", o.bQuiet, "no summary (and no progress bar)")->group(reports);
    CLI::Option* pProgress =
        app.add_flag("--progress", o.bProgress,
                     "a progress bar on standard error (by default shown on a terminal once a run takes a second)")
            ->group(reports);

    try {
        app.parse(argc, argv);
        if (pQuiet->count() > 0 && pProgress->count() > 0) throw UsageError{"--quiet and --progress exclude each other"};
        if (pDb->count() > 0) {
            if (!o.input.empty()) throw UsageError{"--db and INPUT exclude each other"};
            for (const CLI::Option* pOther : {pOutput, pFormat, pNoHeader, pNull, pCount})
                if (pOther->count() > 0) throw UsageError{"--db and " + pOther->get_name() + " exclude each other"};
            if (pTable->count() == 0 || pColumn->count() == 0) throw UsageError{"--db needs --table and --column"};
        } else if (pTable->count() > 0) {
            throw UsageError{"--table needs --db"};
        }
        o.sProcFlags = static_cast<uint16_t>((bValidate ? 1 : 0) | (bPassInvalid ? 2 : 0));
        o.format = format == "csv" ? InputFormat::Csv : InputFormat::Lines;
        if (pNoHeader->count() > 0 && o.format != InputFormat::Csv) throw UsageError{"--no-header needs --format csv"};
        if (pColumn->count() > 0 && o.dbPath.empty() && o.format != InputFormat::Csv)
            throw UsageError{"--column needs --format csv or --db"};
        if (o.bNoHeader && pColumn->count() > 0 && !IsNumber(o.column))
            throw UsageError{"--column " + o.column + ": with --no-header columns are chosen by number"};
        if (o.format == InputFormat::Csv && pColumn->count() > 0 && o.column.empty())
            throw UsageError{"--column: empty column name"};

        if (method == "mask") {
            o.sServiceMethod = o.sCtrlMethod = 0x1406;
        } else if (method == "random") {
            o.sServiceMethod = o.sCtrlMethod = 0x1407;
        } else {
            o.sServiceMethod = 0x1408;
            o.sCtrlMethod = ctrlMethod.empty() ? 0x1406 : MethodValue(ctrlMethod, "--ctrl-method");
        }
        if (pCtrlMethod->count() > 0 && method != "ctrl") throw UsageError{"--ctrl-method needs --method ctrl"};

        if (pCount->count() > 0) {
            if (!o.input.empty()) throw UsageError{"--count and INPUT exclude each other"};
            if (!o.IsRandom()) throw UsageError{"--count needs --method random (rows without a source)"};
            if (o.format == InputFormat::Csv) throw UsageError{"--count writes lines; it excludes --format csv"};
            o.count = iCount;
        }

        if (!type.empty()) {
            int16_t sType = 0;
            if (!ParseColumnType(type, &sType))
                throw UsageError{"--type: '" + type + "' is none of " + ColumnTypeNames() + " or a number"};
            o.dataType = sType;
        }

        if (onReject.empty()) {
            o.onReject = o.dbPath.empty() ? RejectAction::Drop : RejectAction::Fail;
        } else {
            o.onReject = onReject == "drop"    ? RejectAction::Drop
                         : onReject == "empty" ? RejectAction::Empty
                         : onReject == "null"  ? RejectAction::Null
                                               : RejectAction::Fail;
            if (!o.dbPath.empty() && o.onReject == RejectAction::Drop)
                throw UsageError{"--on-reject drop cannot leave a row out of a table; --db takes fail, null or empty"};
        }

        std::string error;
        if (!AppendNamedOperands(o.countrySwitch, named, &o.operands, &error)) throw UsageError{error};
        for (const std::string& raw : rawOperands) o.operands.push_back(ParseRawOperand(raw));
        if (o.countrySwitch.empty()) throw UsageError{"--country: empty country switch"};
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return {std::nullopt, 0};
    } catch (const CLI::CallForAllHelp&) {
        std::cout << app.help("", CLI::AppFormatMode::All);
        return {std::nullopt, 0};
    } catch (const CLI::CallForVersion& version) {
        std::cout << version.what() << "\n";
        return {std::nullopt, 0};
    } catch (const CLI::ParseError& error) {
        std::cerr << "nidmask: " << error.what() << "\nRun 'nidmask --help' for the options.\n";
        return {std::nullopt, 2};
    } catch (const UsageError& error) {
        std::cerr << "nidmask: " << error.message << "\nRun 'nidmask --help' for the options.\n";
        return {std::nullopt, 2};
    }
    return {std::move(o), 0};
}

}  // namespace nidmask
