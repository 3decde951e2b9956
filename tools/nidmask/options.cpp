// Command-line parsing with CLI11, then the checks between options: a table
// of "needs" and "excludes" rules, and the few checks that look at values.
#include "options.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <iostream>
#include <map>

#include <CLI/CLI.hpp>
#include <qrnp/qrnp.h>

#include "column_types.h"
#include "number_text.h"
#include "key_file.h"
#include "rules_file.h"

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
  --fill-null. Standard error, the report and the trace never show a value in
  clear unless --show-values: a value is shown as its first two characters
  and its length.

Exit status:
    0  every row served (NULL, empty and blank values included)
    1  rows were rejected, or the run stopped early (--on-reject fail, or the
       error limit): an -o file is then left as it was
    2  usage error
    3  the provider could not be loaded, Init failed, Service returned a
       message number, or a worker process (--jobs) died
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
  nidmask --rules examples/people.rules.toml examples/people.csv
  nidmask --rules examples/people.rules.toml --jobs 0 examples/people.csv
  nidmask --country US --method random --count 10
)";

// A usage error: the message, and exit status 2.
struct UsageError {
    std::string message;
};

hostkit::Operand ParseRawOperand(const std::string& text) {
    const size_t equals = text.find('=');
    uint64_t key = 0;
    uint64_t value = 0;
    if (equals == std::string::npos || !hostkit::ParseUnsigned(text.substr(0, equals), 0xFFFF, &key) ||
        !hostkit::ParseUnsigned(text.substr(equals + 1), 0xFFFFFFFF, &value))
        throw UsageError{"--option: '" + text +
                         "' is not KEY=VALUE with a 16-bit KEY and a 32-bit VALUE (decimal or 0x-hex)"};
    return {static_cast<uint16_t>(key), static_cast<uint32_t>(value)};
}

// A check that the value is one of `names`; the help shows the names in the type name instead.
CLI::Validator OneOf(std::vector<std::string> names) { return CLI::IsMember(std::move(names)).description(""); }

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The values as CLI11 leaves them, before they become Options: the
// command line's own rule, and the file-wide settings given as text.
struct RawValues {
    ColumnRule rule;
    std::string keyFile;
    std::string format = "lines";
    std::string delimiter;
    std::string type;
    std::string onReject;
    std::vector<std::string> rawOperands;
    uint64_t iCount = 0;
    int iJobs = 1;                      // as given: 0 is one per core
    bool bHeader = false;
    bool bNoHeader = false;
};

const std::string kIo = "Input and output";
constexpr int kMaxJobs = 256;
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
                   "lines: one value per line (line ends kept); csv or tsv: one column of a delimited file, every other byte copied")
        ->check(OneOf({"lines", "csv", "tsv"}))
        ->group(kIo)
        ->type_name("lines|csv|tsv");
    app.add_option("--delimiter", v.delimiter, "csv: the field delimiter: , (default) ; | or tab")
        ->check(OneOf({",", ";", "|", "tab"}))
        ->group(kIo)
        ->type_name("C");
    app.add_option("--column", v.rule.column,
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
    app.add_option("--table", v.rule.table, "--db: the table")->group(kIo)->type_name("T");
    app.add_option("--rules", o.rulesPath,
                   "a TOML file of masking rules: several columns (and tables), each with its own country and "
                   "settings, in one pass; settings given here override the file's")
        ->group(kIo)
        ->type_name("FILE");
    app.add_flag("--explain", o.bExplain, "print the resolved rules and what each provider instance gets, then stop")
        ->group(kIo);
    app.add_option("--batch", o.iBatch, "rows per batch (one Service call each)")
        ->check(CLI::Range(1, 1000000))
        ->group(kIo)
        ->type_name("N");
    app.add_option("--jobs", v.iJobs,
                   "files: N worker processes mask chunks of records at the same time; output, report, summary and "
                   "exit status are those of 1 (0: one per core)")
        ->check(CLI::Range(0, kMaxJobs))
        ->group(kIo)
        ->type_name("N");
}

void AddMasking(CLI::App& app, RawValues& v) {
    app.add_option("--country", v.rule.masking.country, "FR, IT, UK (or GB), ES, US or CA, in any case")
        ->group(kMasking)
        ->type_name("CC");
    app.add_option("--method", v.rule.masking.method,
                   "mask the values, generate random ones, or encrypt and decrypt them with a key")
        ->check(OneOf({"mask", "random", "encrypt", "decrypt", "ctrl"}))
        ->group(kMasking)
        ->type_name("mask|random|encrypt|decrypt");
    app.add_option("--key-file", v.keyFile,
                   "encrypt, decrypt: the file holding the key (64 hexadecimal characters; nidmask keygen > FILE "
                   "makes one); readable by its owner only")
        ->group(kMasking)
        ->type_name("FILE");
    app.add_option("--tweak", v.rule.masking.tweak,
                   "encrypt, decrypt: a text (a table or column name) that gives other results for the same key")
        ->group(kMasking)
        ->type_name("TEXT");
    app.add_option("--parts", v.rule.masking.named.parts,
                   "what to mask besides what always changes, comma-separated: FR sex,year,month,dept,commune; IT "
                   "names,date,region; UK prefix; US area; CA head (default: the country's own choice)")
        ->group(kMasking)
        ->type_name("LIST");
    app.add_option("--separator", v.rule.masking.named.separator,
                   "separators in the result: keep the source's, none, dot, dash or space (default: the country's)")
        ->check(OneOf(hostkit::kSeparatorNames))
        ->group(kMasking)
        ->type_name("keep|none|dot|dash|space");
    app.add_option("--form", v.rule.masking.named.form, "UK: write the 3-part or the 5-part form")
        ->check(OneOf(hostkit::kFormNames))
        ->group(kMasking)
        ->type_name("3|5");
    app.add_option("--area-table", v.rule.masking.named.areaTable, "US: the table of areas in use")
        ->check(OneOf(hostkit::kAreaTableNames))
        ->group(kMasking)
        ->type_name("2006|2008|2010");
    app.add_flag("--validate", v.rule.masking.bValidate, "validate fully (check characters, communes, areas) before masking")
        ->group(kMasking);
    app.add_flag("--pass-invalid", v.rule.masking.bPassInvalid, "copy invalid values through unchanged instead of rejecting them")
        ->group(kMasking);
    app.add_flag("--official", v.rule.masking.bOfficial,
                 "follow the identifiers' current official rules: NIRs of people born abroad, Y and Z NIEs, every "
                 "UK prefix and US area issued today are accepted, and every result is officially valid")
        ->group(kMasking);
    app.add_flag("--fill-null", v.rule.bFillNull, "--method random: generate for NULL and empty rows too")
        ->group(kMasking);
    app.add_option("--type", v.type,
                   std::string("the column type the provider sees: ") + hostkit::ColumnTypeNames() +
                       " (default VARCHAR; with --db, INTEGER columns are U_LONG_LONG for CA and US)")
        ->group(kMasking)
        ->type_name("NAME");
    app.add_option("--length", v.rule.masking.iLength, "column length in characters (the fixed width of CHAR and WCHAR)")
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
                 "show values in clear on standard error, in the report and in the trace (default: first two "
                 "characters and length)")
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
    app.add_option("--switch", v.rule.masking.switchText,
                   "instead of --country: the country switch passed as it is (the provider reads its first two "
                   "letters, in any case)")
        ->group(kEngine)
        ->type_name("TEXT");
    app.add_option("--ctrl-method", v.rule.masking.ctrlMethod,
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
    app.add_flag("--in-place", v.rule.masking.bInPlace, "source and destination are one buffer (destination flag clear)")
        ->group(kEngine);
    app.add_option("--trace", o.tracePath, "write the provider's trace of every entry point to FILE (mode 0600)")
        ->group(kEngine)
        ->type_name("FILE");
    app.add_option("--provider", o.providerPath,
                   "the provider library to load (default: $NIDMASK_PROVIDER, else the one installed with nidmask)")
        ->group(kEngine)
        ->type_name("FILE");
}

// Conditions the "needs / excludes" table speaks of: an option given, or a
// setting with a value (after the rules file is read).
struct Condition {
    const char* pText;                          // how messages name it
    std::function<bool(const CLI::App&, const Options&)> holds;
};

Condition Given(const char* pName) {
    return {pName, [pName](const CLI::App& app, const Options&) { return app.count(pName) > 0; }};
}

bool AnyRule(const Options& o, bool (*pTest)(const ColumnRule&)) {
    for (const ColumnRule& rule : o.rules)
        if (pTest(rule)) return true;
    return false;
}

const Condition kCsv{"--format csv or tsv",
                     [](const CLI::App&, const Options& o) { return o.format == InputFormat::Csv; }};
const Condition kCsvOrDb{"--format csv or --db", [](const CLI::App&, const Options& o) {
                             return o.format == InputFormat::Csv || !o.dbPath.empty();
                         }};
const Condition kRandom{"--method random", [](const CLI::App&, const Options& o) {
                            return AnyRule(o, [](const ColumnRule& r) { return r.IsRandom(); });
                        }};
const Condition kCtrl{"--method ctrl", [](const CLI::App&, const Options& o) {
                          return AnyRule(o, [](const ColumnRule& r) { return r.masking.method == "ctrl"; });
                      }};
const Condition kKeyed{"--method encrypt or decrypt", [](const CLI::App&, const Options& o) {
                           return AnyRule(o, [](const ColumnRule& r) {
                               return r.masking.method == "encrypt" || r.masking.method == "decrypt";
                           });
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
        {Given("--rules"), false, Given("--country")},
        {Given("--rules"), false, Given("--switch")},
        {Given("--rules"), false, Given("--column")},
        {Given("--rules"), false, Given("--table")},
        {Given("--rules"), false, Given("--count")},
        {Given("--db"), false, kInput},
        {Given("--db"), false, Given("--output")},
        {Given("--db"), false, Given("--format")},
        {Given("--db"), false, Given("--delimiter")},
        {Given("--db"), false, Given("--header")},
        {Given("--db"), false, Given("--no-header")},
        {Given("--db"), false, Given("--null")},
        {Given("--db"), false, Given("--count")},
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
        {Given("--key-file"), true, kKeyed},
        {Given("--tweak"), true, kKeyed},
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

// The command line's rule: its text settings made values.
void ResolveCommandLineRule(const CLI::App& app, RawValues& v) {
    ColumnRule& rule = v.rule;
    rule.origin = "the command line";
    if (!v.type.empty()) {
        int16_t sType = 0;
        if (!hostkit::ParseColumnType(v.type, &sType))
            throw UsageError{"--type: '" + v.type + "' is none of " + hostkit::ColumnTypeNames() + " or a number"};
        rule.masking.dataType = sType;
    }
    if (!v.onReject.empty()) {
        rule.onReject = v.onReject == "drop"    ? RejectAction::Drop
                        : v.onReject == "empty" ? RejectAction::Empty
                        : v.onReject == "null"  ? RejectAction::Null
                                                : RejectAction::Fail;
    }
    for (const std::string& raw : v.rawOperands) rule.masking.rawOperands.push_back(ParseRawOperand(raw));
    if (!v.keyFile.empty()) {
        std::string error;
        if (!ReadKeyFile(v.keyFile, &rule.masking.key, &error)) throw UsageError{"--key-file: " + error};
        rule.keyFile = v.keyFile;
    }
    if (app.count("--count") > 0) rule.bFillNull = true;  // the rows have no source: generate for each
    if (app.count("--switch") > 0 && rule.masking.switchText.empty()) throw UsageError{"--switch: empty country switch"};
}

// Rule settings given on the command line override the file's. Settings of
// one country (--form, --area-table) apply to that country's rules, and
// --fill-null, --key-file and --tweak to the rules whose method uses them;
// everything else to every rule. Each key overridden is then "the command
// line" in messages.
void OverrideRule(const CLI::App& app, const ColumnRule& cli, ColumnRule* pRule) {
    hostkit::MaskingSettings& m = pRule->masking;
    const hostkit::MaskingSettings& c = cli.masking;
    const std::string country = hostkit::CountryCode(m.country);
    const auto given = [&](const char* pOption, const char* pKey) {
        if (app.count(pOption) == 0) return false;
        if (pKey != nullptr) pRule->keyOrigins[pKey] = std::string("the command line (") + pOption + ")";
        return true;
    };
    if (given("--method", "method")) m.method = c.method;
    if (given("--ctrl-method", "method")) m.ctrlMethod = c.ctrlMethod;
    if (given("--validate", "validate")) m.bValidate = c.bValidate;
    if (given("--pass-invalid", "pass_invalid")) m.bPassInvalid = c.bPassInvalid;
    if (given("--parts", "parts")) m.named.parts = c.named.parts;
    if (given("--separator", "separator")) m.named.separator = c.named.separator;
    if (country == "UK" && given("--form", "form")) m.named.form = c.named.form;
    if (country == "US" && given("--area-table", "area_table")) m.named.areaTable = c.named.areaTable;
    if (given("--type", "type")) m.dataType = c.dataType;
    if (given("--length", "length")) m.iLength = c.iLength;
    if (given("--in-place", nullptr)) m.bInPlace = c.bInPlace;
    if (given("--official", "official")) m.bOfficial = c.bOfficial;
    if (given("--option", "options"))
        m.rawOperands.insert(m.rawOperands.end(), c.rawOperands.begin(), c.rawOperands.end());
    if (given("--on-reject", "on_reject")) pRule->onReject = cli.onReject;
    const bool bKeyed = m.method == "encrypt" || m.method == "decrypt";
    if (bKeyed && given("--key-file", "key_file")) m.key = c.key, pRule->keyFile = cli.keyFile;
    if (bKeyed && given("--tweak", "tweak")) m.tweak = c.tweak;
    if (pRule->IsRandom() && given("--fill-null", "fill_null")) pRule->bFillNull = cli.bFillNull;
}

// A command-line setting that applies to none of the file's rules is a
// mistake, not something to ignore.
void CheckOverridesApply(const CLI::App& app, const Options& o) {
    const auto any = [&](const std::function<bool(const ColumnRule&)>& test) {
        return std::any_of(o.rules.begin(), o.rules.end(), test);
    };
    const auto countryIs = [](const char* pCode) {
        return [pCode](const ColumnRule& r) { return hostkit::CountryCode(r.masking.country) == pCode; };
    };
    const auto keyed = [](const ColumnRule& r) { return r.masking.method == "encrypt" || r.masking.method == "decrypt"; };
    const struct {
        const char* pOption;
        std::function<bool(const ColumnRule&)> applies;
        const char* pWhy;
    } checks[] = {
        {"--form", countryIs("UK"), "no rule masks UK identifiers"},
        {"--area-table", countryIs("US"), "no rule masks US identifiers"},
        {"--key-file", keyed, "no rule encrypts or decrypts"},
        {"--tweak", keyed, "no rule encrypts or decrypts"},
        {"--fill-null", [](const ColumnRule& r) { return r.IsRandom(); }, "no rule generates random values"},
    };
    for (const auto& check : checks)
        if (app.count(check.pOption) > 0 && !any(check.applies))
            throw UsageError{std::string(check.pOption) + ": " + check.pWhy + " in " + o.rulesPath};
}

// The rules: the file's, with the command line's settings over them, or the
// command line's own. File-wide settings of the file apply unless the command
// line gives them.
void ReadRules(const CLI::App& app, RawValues& v, Options& o) {
    if (o.rulesPath.empty()) {
        if (v.rule.masking.country.empty() && v.rule.masking.switchText.empty())
            throw UsageError{"--country is required (FR, IT, UK, ES, US or CA), or --rules"};
        o.rules = {v.rule};
        return;
    }
    RulesFileSettings file;
    std::string error;
    if (!ReadRulesFile(o.rulesPath, &file, &o.rules, &error)) throw UsageError{error};
    for (ColumnRule& rule : o.rules) OverrideRule(app, v.rule, &rule);
    CheckOverridesApply(app, o);
    if (file.format && app.count("--format") == 0) v.format = *file.format;
    // --format tsv on the command line sets the delimiter too.
    if (file.cDelimiter && app.count("--delimiter") == 0 && !(app.count("--format") > 0 && v.format == "tsv"))
        v.delimiter = *file.cDelimiter == '\t' ? "tab" : std::string(1, *file.cDelimiter);
    if (file.bHeader && app.count("--header") == 0 && app.count("--no-header") == 0)
        (*file.bHeader ? v.bHeader : v.bNoHeader) = true;
    if (file.nullText && app.count("--null") == 0) o.nullText = *file.nullText;
    if (file.iBatch && app.count("--batch") == 0) o.iBatch = *file.iBatch;
}

void ResolveFileWide(const CLI::App& app, const RawValues& v, Options& o) {
    if (v.format == "tsv" && !v.delimiter.empty() && v.delimiter != "tab")
        throw UsageError{"--format tsv is tab-delimited: it takes no --delimiter '" + v.delimiter + "' (use --format csv)"};
    o.format = v.format == "lines" ? InputFormat::Lines : InputFormat::Csv;
    o.cDelimiter = v.format == "tsv" ? '\t' : v.delimiter == "tab" ? '\t' : v.delimiter.empty() ? ',' : v.delimiter[0];
    o.header = v.bHeader ? HeaderMode::Header : v.bNoHeader ? HeaderMode::NoHeader : HeaderMode::Auto;
    if (app.count("--count") > 0) o.count = v.iCount;
}

// The rules-file key a message of ResolveMasking is about, from the setting
// it starts with ("area table applies to US identifiers only" is about
// area_table), or "" when it names none.
std::string SettingOfMessage(const std::string& message) {
    static const std::pair<const char*, const char*> kSettings[] = {
        {"country", "country"}, {"ctrl method", "method"}, {"method", "method"},   {"parts", "parts"},
        {"separator", "separator"}, {"form", "form"},     {"area table", "area_table"}};
    for (const auto& [pText, pKey] : kSettings)
        if (message.rfind(pText, 0) == 0) return pKey;
    return "";
}

// Checks of each rule, and between rules: every rule resolves, a column has
// one rule, and the United States rules agree on the area table the whole
// process uses.
void CheckRules(const Options& o) {
    const ColumnRule* pUsRule = nullptr;
    int iUsTable = 0;
    for (size_t i = 0; i < o.rules.size(); ++i) {
        const ColumnRule& rule = o.rules[i];
        const std::string where = o.rulesPath.empty() ? "" : rule.origin + ": ";
        // Where a key of the rule was set, for a message about that key.
        const auto whereKey = [&](const std::string& key) {
            return o.rulesPath.empty() ? std::string() : rule.Origin(key) + ": ";
        };
        hostkit::ResolvedMasking resolved;
        std::string error;
        if (!hostkit::ResolveMasking(rule.masking, VARCHAR, &resolved, &error))
            throw UsageError{whereKey(SettingOfMessage(error)) + error};
        if (!o.rulesPath.empty()) {
            // What the command line refuses between options, a rule refuses between its keys.
            if (rule.bFillNull && !rule.IsRandom())
                throw UsageError{whereKey("fill_null") + "fill_null needs method = \"random\""};
            const bool bKeyed = rule.masking.method == "encrypt" || rule.masking.method == "decrypt";
            for (const char* pKey : {"key_file", "tweak"})
                if (!bKeyed && rule.keyOrigins.count(pKey) > 0)
                    throw UsageError{whereKey(pKey) + pKey + " needs method = \"encrypt\" or \"decrypt\""};
        }
        if (!o.dbPath.empty() && rule.onReject == RejectAction::Drop)
            throw UsageError{where + "on-reject drop cannot leave a row out of a table; a database takes fail, null "
                                     "or empty"};
        if (!o.dbPath.empty() && (rule.table.empty() || rule.column.empty()))
            throw UsageError{o.rulesPath.empty() ? std::string("--db needs --table and --column")
                                                 : where + "a database rule needs a table and a column"};
        if (o.format == InputFormat::Csv && o.dbPath.empty() && !o.rulesPath.empty() && rule.column.empty())
            throw UsageError{where + "the rule has no column"};
        if (o.header == HeaderMode::NoHeader && !rule.column.empty() &&
            rule.column.find_first_not_of("0123456789") != std::string::npos)
            throw UsageError{where + "--column " + rule.column + ": with --no-header columns are chosen by number"};
        if (const int iTable = hostkit::UsAreaTable(resolved); iTable != 0) {
            if (pUsRule != nullptr && iTable != iUsTable)
                throw UsageError{pUsRule->origin + " and " + rule.origin + " need the " + std::to_string(iUsTable) +
                                 " and the " + std::to_string(iTable) +
                                 " US area tables: one process masks with one table (split the run)"};
            pUsRule = &rule;
            iUsTable = iTable;
        }
        for (size_t k = 0; k < i; ++k) {
            const ColumnRule& other = o.rules[k];
            if (Lower(other.table) == Lower(rule.table) && Lower(other.column) == Lower(rule.column))
                throw UsageError{other.origin + " and " + rule.origin + " both mask column " + rule.Label()};
        }
    }
    if (o.rules.size() > 1 && o.dbPath.empty() && o.format == InputFormat::Lines)
        throw UsageError{o.rulesPath + ": " + std::to_string(o.rules.size()) +
                         " rules for lines input, which has one column: use --format csv, or one rule"};
}

// --jobs other than 1: what worker processes cannot do as one process does.
void CheckJobs(const RawValues& v, const Options& o) {
    if (v.iJobs == 1) return;
    const auto refuse = [](const std::string& other, const std::string& why) {
        throw UsageError{"--jobs and " + other + " exclude each other: " + why};
    };
    if (!o.dbPath.empty())
        refuse("--db", "a database is read and updated through one connection in one transaction, which costs more "
                       "than the masking itself, so worker processes would not make the run faster");
    for (const ColumnRule& rule : o.rules) {
        hostkit::ResolvedMasking resolved;
        std::string error;
        hostkit::ResolveMasking(rule.masking, VARCHAR, &resolved, &error);  // checked by CheckRules
        if (resolved.instance.sMethod == QRNP_METHOD_RANDOM)
            refuse("--method random", "random values come from state each process keeps (its own rand() sequence, "
                                      "and counters for US numbers), so worker processes would repeat each other's "
                                      "values");
    }
    if (o.iErrorLimit > 0)
        refuse("--error-limit", "the limit counts the messages of the whole run in input order, while worker "
                                "processes serve their chunks at the same time");
    if (!o.tracePath.empty()) refuse("--trace", "a trace follows the calls of one process");
}

int JobsFor(int iGiven) {
    if (iGiven != 0) return iGiven;
    const long iCores = sysconf(_SC_NPROCESSORS_ONLN);
    return iCores < 1 ? 1 : iCores > kMaxJobs ? kMaxJobs : static_cast<int>(iCores);
}

int PrintUsageError(const std::string& message) {
    std::cerr << "nidmask: " << message << "\nRun 'nidmask --help' for the options.\n";
    return 2;
}

}  // namespace

ParsedCommandLine ParseCommandLine(int argc, char** argv) {
    Options o;
    RawValues v;
    CLI::App app{"nidmask: masks national identification numbers (FR, IT, UK, ES, US, CA) in text files, CSV files\n"
                 "and SQLite tables, deterministically and keeping their format, or generates random ones.",
                 "nidmask"};
    app.footer(std::string(kFooter) + "\n" + hostkit::NamedSettingsHelp() + kExamples);
    app.option_defaults()->always_capture_default();
    app.set_version_flag("--version", "nidmask " NIDMASK_VERSION);
    app.get_formatter()->column_width(36);
    AddInputOutput(app, o, v);
    AddMasking(app, v);
    AddReports(app, o, v);
    AddEngine(app, o, v);

    try {
        app.parse(argc, argv);
        ResolveCommandLineRule(app, v);
        ReadRules(app, v, o);
        ResolveFileWide(app, v, o);
        CheckRelations(app, o);
        CheckRules(o);
        CheckJobs(v, o);
        o.iJobs = JobsFor(v.iJobs);
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
