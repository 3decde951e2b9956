// Command-line parsing with CLI11, then the checks between options: a table
// of "needs" and "excludes" rules, and the few checks that look at values.
#include "options.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <iostream>
#include <map>

#include <CLI/CLI.hpp>

#include "column_types.h"
#include "number_text.h"

namespace nidmask {

namespace {

const char* const kFooter = R"(
Rows:
  Every input row reaches the output: masked (or generated with --method
  random), NULL (the --null text; SQL NULL in a database), passed through
  unchanged (an empty value, a numeric zero, only blanks, or an invalid value
  under --pass-invalid), or rejected. A rejected row is written empty by
  default (--on-reject empty); the summary and the report give its row number
  and why. Under --method random, NULL and empty rows stay as they are unless
  --fill-null. Standard error never shows a value in clear unless
  --show-values: a value is shown as its first two characters and its length.

Exit status:
    0  every row served (NULL, empty and blank values included)
    1  rows were rejected, or the run stopped early (--on-reject fail, or the
       error limit): an -o file is then left as it was
    2  usage error
    3  the provider could not be loaded, Init failed, or Service returned a
       message number
    4  input or output error (a file, CSV syntax, the database)
  With -o a regular file is written to a temporary file and renamed into place
  only when the run succeeds; a device, FIFO or socket is written directly; a
  symlink is followed.

Values:
  Row numbers are 1-based record numbers of the whole input (CSV: data records,
  the header excluded). Single-byte column types read and write ISO-8859-1,
  wide types UTF-8. A UTF-8 byte-order mark at the start of the input is copied
  to the output and is part of no value. In CSV, an unquoted field equal to the
  NULL text is NULL, a quoted one is a value. When the first CSV record's field
  in the masked column is itself an identifier, nidmask stops and asks for
  --no-header (or --header to read it as a header anyway).
)";

const char* const kExamples = R"(
Examples:
  nidmask --country FR examples/fr.txt
  nidmask --country FR --validate --report report.jsonl examples/fr.txt -o masked.txt
  nidmask --country FR --format csv --column fr_nir examples/people.csv
  nidmask --country US --method random --count 10
)";

// A usage error: the message, and exit status 2.
struct UsageError {
    std::string message;
};

uint16_t MethodValue(const std::string& name, const char* pOption) {
    if (name == "mask") return QRNP_METHOD_MASK;
    if (name == "random") return QRNP_METHOD_RANDOM;
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
CLI::Validator OneOf(std::vector<std::string> names) { return CLI::IsMember(std::move(names)).description(""); }

bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// The values as CLI11 leaves them, before they become Options.
struct RawValues {
    std::string format = "lines";
    std::string delimiter;
    std::string method = "mask";
    std::string ctrlMethod;
    std::string type;
    std::string onReject;
    std::string country;
    std::string switchText;
    std::vector<std::string> rawOperands;
    NamedSettings named;
    uint64_t iCount = 0;
    bool bValidate = false;
    bool bPassInvalid = false;
    bool bHeader = false;
    bool bNoHeader = false;
};

const std::string kIo = "Input and output";
const std::string kMasking = "Masking";
const std::string kReports = "Rejected rows and reports";
const std::string kEngine = "Engine-level options (for testing the provider itself)";

void AddInputOutput(CLI::App& app, Options& o, RawValues& v) {
    app.add_option("INPUT", o.input, "file to read; - or none: standard input")->group(kIo)->type_name("FILE");
    app.add_option("-o,--output", o.output,
                   "where to write (default standard output); a regular file is replaced only when the run succeeds")
        ->group(kIo)
        ->type_name("FILE");
    app.add_option("--format", v.format,
                   "lines: one value per line; csv or tsv: one column of a delimited file, every other byte copied")
        ->check(OneOf({"lines", "csv", "tsv"}))
        ->group(kIo)
        ->type_name("lines|csv|tsv");
    app.add_option("--delimiter", v.delimiter, "csv: the field delimiter: , (default) ; | or tab")
        ->check(OneOf({",", ";", "|", "tab"}))
        ->group(kIo)
        ->type_name("C");
    app.add_option("--column", o.rule.column,
                   "csv: the column to mask, by header name or 1-based number (default 1); --db: the column name")
        ->group(kIo)
        ->type_name("NAME|N");
    app.add_flag("--header", v.bHeader, "csv: the first record is a header, even if it looks like data")->group(kIo);
    app.add_flag("--no-header", v.bNoHeader, "csv: the first record is data")->group(kIo);
    app.add_option("--null", o.nullText, "the text that stands for NULL (an empty line or field is an empty value)")
        ->group(kIo)
        ->type_name("STRING");
    app.add_option("--count", v.iCount, "with --method random and no INPUT: generate N values")
        ->check(CLI::Range(uint64_t{0}, uint64_t{1000000000000}))
        ->group(kIo)
        ->type_name("N")
        ->default_str("");
    app.add_option("--db", o.dbPath,
                   "mask --column of --table of this SQLite database in place, in one transaction (all rows or none)")
        ->group(kIo)
        ->type_name("FILE");
    app.add_option("--table", o.rule.table, "--db: the table")->group(kIo)->type_name("T");
    app.add_option("--batch", o.iBatch, "rows per batch (one Service call each)")
        ->check(CLI::Range(1, 1000000))
        ->group(kIo)
        ->type_name("N");
}

void AddMasking(CLI::App& app, Options& o, RawValues& v) {
    app.add_option("--country", v.country, "FR, IT, UK (or GB), ES, US or CA, in any case")
        ->group(kMasking)
        ->type_name("CC");
    app.add_option("--method", v.method, "mask the values, or generate random ones")
        ->check(OneOf({"mask", "random", "ctrl"}))
        ->group(kMasking)
        ->type_name("mask|random");
    app.add_option("--parts", v.named.parts,
                   "what to mask besides what always changes, comma-separated: FR sex,year,month,dept,commune; IT "
                   "names,date,region; UK prefix; US area; CA head (default: the country's own choice)")
        ->group(kMasking)
        ->type_name("LIST");
    app.add_option("--separator", v.named.separator,
                   "separators in the result: keep the source's, none, dot, dash or space (default: the country's)")
        ->check(OneOf({"keep", "none", "dot", "dash", "space"}))
        ->group(kMasking)
        ->type_name("keep|none|dot|dash|space");
    app.add_option("--form", v.named.form, "UK: write the 3-part or the 5-part form")
        ->check(OneOf({"3", "5"}))
        ->group(kMasking)
        ->type_name("3|5");
    app.add_option("--area-table", v.named.areaTable, "US: the table of areas in use")
        ->check(OneOf({"2006", "2008", "2010"}))
        ->group(kMasking)
        ->type_name("2006|2008|2010");
    app.add_flag("--validate", v.bValidate, "validate fully (check characters, communes, areas) before masking")
        ->group(kMasking);
    app.add_flag("--pass-invalid", v.bPassInvalid, "copy invalid values through unchanged instead of rejecting them")
        ->group(kMasking);
    app.add_flag("--fill-null", o.rule.bFillNull, "--method random: generate for NULL and empty rows too")
        ->group(kMasking);
    app.add_option("--type", v.type,
                   std::string("the column type the provider sees: ") + ColumnTypeNames() +
                       " (default VARCHAR; with --db, INTEGER columns are U_LONG_LONG for CA and US)")
        ->group(kMasking)
        ->type_name("NAME");
    app.add_option("--length", o.rule.iLength, "column length in characters (the fixed width of CHAR and WCHAR)")
        ->check(CLI::Range(1, 8191))
        ->group(kMasking)
        ->type_name("N");
}

void AddReports(CLI::App& app, Options& o, RawValues& v) {
    app.add_option("--on-reject", v.onReject,
                   "what a rejected row becomes: empty (default for files), null (the NULL text; SQL NULL), drop "
                   "(left out of the output) or fail (stop, write nothing, exit 1; the default with --db)")
        ->check(OneOf({"drop", "empty", "null", "fail"}))
        ->group(kReports)
        ->type_name("empty|null|drop|fail");
    app.add_option("--report", o.reportPath,
                   "JSON Lines, mode 0600: one object per row that was not simply masked, with its messages")
        ->group(kReports)
        ->type_name("FILE");
    app.add_flag("--show-values", o.bShowValues,
                 "show values in clear on standard error and in the report (default: first two characters and "
                 "length)")
        ->group(kReports);
    app.add_option("--error-limit", o.iErrorLimit,
                   "stop once N messages were captured (NULL, empty and blank values count too); 0: none")
        ->check(CLI::Range(0, 32767))
        ->group(kReports)
        ->type_name("N");
    app.add_flag("-q,--quiet", o.bQuiet, "no summary (and no progress bar)")->group(kReports);
    app.add_flag("--progress", o.bProgress,
                 "a progress bar on standard error (by default shown on a terminal once a run takes a second)")
        ->group(kReports);
}

void AddEngine(CLI::App& app, Options& o, RawValues& v) {
    app.add_option("--switch", v.switchText,
                   "instead of --country: the country switch passed as it is (the provider reads its first two "
                   "letters, in any case)")
        ->group(kEngine)
        ->type_name("TEXT");
    app.add_option("--ctrl-method", v.ctrlMethod,
                   "with --method ctrl (Service method 0x1408: the control block's method decides): that method, "
                   "mask (0x1406), random (0x1407) or a number passed unchecked")
        ->group(kEngine)
        ->type_name("mask|random|N");
    app.add_option("--option", v.rawOperands,
                   "a raw operand, KEY and VALUE decimal or 0x-hex; repeatable, applied after the named settings")
        ->group(kEngine)
        ->type_name("KEY=VALUE")
        ->default_str("")
        ->allow_extra_args(false);  // one value per --option: INPUT may follow
    app.add_flag("--in-place", o.rule.bInPlace, "source and destination are one buffer (destination flag clear)")
        ->group(kEngine);
    app.add_option("--trace", o.tracePath, "write the provider's trace of every entry point to FILE (mode 0600)")
        ->group(kEngine)
        ->type_name("FILE");
    app.add_option("--provider", o.providerPath, "the provider library to load")->group(kEngine)->type_name("FILE");
}

// Conditions the "needs / excludes" table speaks of: an option given, or a
// setting with a value.
struct Condition {
    const char* pText;                          // how messages name it
    std::function<bool(const CLI::App&, const Options&)> holds;
};

Condition Given(const char* pName) {
    return {pName, [pName](const CLI::App& app, const Options&) { return app.count(pName) > 0; }};
}

const Condition kCsv{"--format csv or tsv",
                     [](const CLI::App&, const Options& o) { return o.format == InputFormat::Csv; }};
const Condition kCsvOrDb{"--format csv or --db", [](const CLI::App&, const Options& o) {
                             return o.format == InputFormat::Csv || !o.dbPath.empty();
                         }};
const Condition kRandom{"--method random", [](const CLI::App&, const Options& o) { return o.rule.IsRandom(); }};
const Condition kCtrl{"--method ctrl", [](const CLI::App&, const Options& o) {
                          return o.rule.sServiceMethod == QRNP_METHOD_CTRLBLK;
                      }};
const Condition kInput{"INPUT", [](const CLI::App&, const Options& o) { return !o.input.empty(); }};

struct Relation {
    Condition when;
    bool bNeeds;        // true: `when` needs `other`; false: they exclude each other
    Condition other;
};

const std::vector<Relation>& Relations() {
    static const std::vector<Relation> relations = {
        {Given("--quiet"), false, Given("--progress")},
        {Given("--country"), false, Given("--switch")},
        {Given("--db"), false, kInput},
        {Given("--db"), false, Given("--output")},
        {Given("--db"), false, Given("--format")},
        {Given("--db"), false, Given("--delimiter")},
        {Given("--db"), false, Given("--header")},
        {Given("--db"), false, Given("--no-header")},
        {Given("--db"), false, Given("--null")},
        {Given("--db"), false, Given("--count")},
        {Given("--db"), true, Given("--table")},
        {Given("--db"), true, Given("--column")},
        {Given("--table"), true, Given("--db")},
        {Given("--header"), false, Given("--no-header")},
        {Given("--header"), true, kCsv},
        {Given("--no-header"), true, kCsv},
        {Given("--delimiter"), true, kCsv},
        {Given("--column"), true, kCsvOrDb},
        {Given("--ctrl-method"), true, kCtrl},
        {Given("--count"), false, kInput},
        {Given("--count"), true, kRandom},
        {Given("--count"), false, kCsv},
        {Given("--fill-null"), true, kRandom},
    };
    return relations;
}

void CheckRelations(const CLI::App& app, const Options& o) {
    for (const Relation& relation : Relations()) {
        if (!relation.when.holds(app, o)) continue;
        const bool bOther = relation.other.holds(app, o);
        if (relation.bNeeds && !bOther)
            throw UsageError{std::string(relation.when.pText) + " needs " + relation.other.pText};
        if (!relation.bNeeds && bOther)
            throw UsageError{std::string(relation.when.pText) + " and " + relation.other.pText + " exclude each other"};
    }
}

// The settings CLI11 leaves as text, made into Options.
void ResolveValues(const CLI::App& app, const RawValues& v, Options& o) {
    ColumnRule& rule = o.rule;
    o.format = v.format == "lines" ? InputFormat::Lines : InputFormat::Csv;
    o.cDelimiter = v.format == "tsv" ? '\t' : v.delimiter == "tab" ? '\t' : v.delimiter.empty() ? ',' : v.delimiter[0];
    o.header = v.bHeader ? HeaderMode::Header : v.bNoHeader ? HeaderMode::NoHeader : HeaderMode::Auto;
    rule.sProcFlags = static_cast<uint16_t>((v.bValidate ? 1 : 0) | (v.bPassInvalid ? 2 : 0));
    if (v.method == "ctrl") {
        rule.sServiceMethod = QRNP_METHOD_CTRLBLK;
        rule.sCtrlMethod = v.ctrlMethod.empty() ? QRNP_METHOD_MASK : MethodValue(v.ctrlMethod, "--ctrl-method");
    } else {
        rule.sServiceMethod = rule.sCtrlMethod = MethodValue(v.method, "--method");
    }
    if (app.count("--count") > 0) {
        o.count = v.iCount;
        rule.bFillNull = true;  // the rows have no source: generate for each
    }
    if (!v.type.empty()) {
        int16_t sType = 0;
        if (!ParseColumnType(v.type, &sType))
            throw UsageError{"--type: '" + v.type + "' is none of " + ColumnTypeNames() + " or a number"};
        rule.dataType = sType;
    }
    if (!v.onReject.empty()) {
        rule.onReject = v.onReject == "drop"    ? RejectAction::Drop
                        : v.onReject == "empty" ? RejectAction::Empty
                        : v.onReject == "null"  ? RejectAction::Null
                                                : RejectAction::Fail;
    }
}

// The country: --country names one of the six (exit 2 otherwise); --switch
// hands any text to the provider.
void ResolveCountry(const RawValues& v, Options& o) {
    if (!v.switchText.empty()) {
        o.rule.countrySwitch = v.switchText;
        return;
    }
    if (v.country.empty()) throw UsageError{"--country is required (FR, IT, UK, ES, US or CA)"};
    o.rule.countrySwitch = CountryCode(v.country);
    if (o.rule.countrySwitch.empty())
        throw UsageError{"--country: '" + v.country + "' is none of FR, IT, UK (or GB), ES, US, CA"};
}

// Checks that look at values rather than at which options were given.
void CheckValues(const CLI::App& app, const RawValues& v, Options& o) {
    const ColumnRule& rule = o.rule;
    if (!o.dbPath.empty() && rule.onReject == RejectAction::Drop)
        throw UsageError{"--on-reject drop cannot leave a row out of a table; --db takes fail, null or empty"};
    if (o.header == HeaderMode::NoHeader && app.count("--column") > 0 && !IsNumber(rule.column))
        throw UsageError{"--column " + rule.column + ": with --no-header columns are chosen by number"};
    if (o.format == InputFormat::Csv && app.count("--column") > 0 && rule.column.empty())
        throw UsageError{"--column: empty column name"};
    if (app.count("--switch") > 0 && v.switchText.empty()) throw UsageError{"--switch: empty country switch"};
}

void ParseOperands(const RawValues& v, Options& o) {
    std::string error;
    if (!AppendNamedOperands(o.rule.countrySwitch, v.named, &o.rule.operands, &error)) throw UsageError{error};
    for (const std::string& raw : v.rawOperands) o.rule.operands.push_back(ParseRawOperand(raw));
}

int PrintUsageError(const std::string& message) {
    std::cerr << "nidmask: " << message << "\nRun 'nidmask --help' for the options.\n";
    return 2;
}

}  // namespace

std::string CountryCode(const std::string& name) {
    std::string upper;
    for (const char c : name) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (upper == "GB") return "UK";
    for (const char* pCode : {"FR", "IT", "UK", "ES", "US", "CA"})
        if (upper == pCode) return pCode;
    return "";
}

ParsedCommandLine ParseCommandLine(int argc, char** argv) {
    Options o;
    RawValues v;
    CLI::App app{"nidmask: masks national identification numbers (FR, IT, UK, ES, US, CA) in text files, CSV files\n"
                 "and SQLite tables, deterministically and keeping their format, or generates random ones.",
                 "nidmask"};
    app.footer(std::string(kFooter) + "\n" + NamedSettingsHelp() + kExamples);
    app.option_defaults()->always_capture_default();
    app.set_version_flag("--version", "nidmask " NIDMASK_VERSION);
    app.get_formatter()->column_width(36);
    AddInputOutput(app, o, v);
    AddMasking(app, o, v);
    AddReports(app, o, v);
    AddEngine(app, o, v);

    try {
        app.parse(argc, argv);
        ResolveValues(app, v, o);
        CheckRelations(app, o);
        ResolveCountry(v, o);
        CheckValues(app, v, o);
        ParseOperands(v, o);
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
        return {std::nullopt, PrintUsageError(error.what())};
    } catch (const UsageError& error) {
        return {std::nullopt, PrintUsageError(error.message)};
    }
    return {std::move(o), 0};
}

}  // namespace nidmask
