// Rules files: several columns, countries and tables in one pass, and every
// mistake in a rules file named with its line and key.
#include <sys/wait.h>

#include <chrono>

#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using RulesTest = NidmaskTest;

const std::string kPeople = std::string(NIDMASK_SOURCE_DIR) + "/examples/people.csv";

std::string Rule(const std::string& body) { return "[[rule]]\n" + body + "\n"; }

TEST_F(RulesTest, OnePassEqualsChainedSingleColumnRuns) {
    WriteFile(Path("r.toml"), "format = \"csv\"\n" + Rule("column = \"fr_nir\"\ncountry = \"FR\"") +
                                  Rule("column = \"us_ssn\"\ncountry = \"US\"") +
                                  Rule("column = 6\ncountry = \"CA\"\nparts = \"head\""));
    const RunResult one = Run("--rules r.toml -q " + kPeople);
    const RunResult fr = Run("--country FR --format csv --column fr_nir -q " + kPeople);
    WriteFile(Path("fr.csv"), fr.out);
    const RunResult us = Run("--country US --format csv --column us_ssn -q fr.csv");
    WriteFile(Path("us.csv"), us.out);
    const RunResult ca = Run("--country CA --format csv --column 6 --parts head -q us.csv");
    EXPECT_EQ(one.iExit, 1) << one.err;  // the example's invalid rows
    EXPECT_EQ(one.out, ca.out);
    // One summary line per rule; the report names each entry's column.
    const RunResult summary = Run("--rules r.toml --report rep.jsonl " + kPeople);
    for (const char* pColumn : {"fr_nir: ", "us_ssn: ", "6: "})
        EXPECT_NE(summary.err.find(std::string("nidmask: ") + pColumn), std::string::npos) << summary.err;
    EXPECT_NE(ReadFile(Path("rep.jsonl")).find("{\"column\":\"fr_nir\",\"row\":5,"), std::string::npos);
}

TEST_F(RulesTest, MistakesNameTheFileLineAndKey) {
    struct Case {
        std::string text;
        const char* pArgs;
        const char* pExpected;
    };
    const Case cases[] = {
        {Rule("column = \"a\"\ncountry = \"FR\"\npartz = \"sex\""), "", "r.toml:4: 'partz' is not a rule key"},
        {Rule("column = \"a\"\ncountry = \"FR\"\nvalidate = \"yes\""), "", "r.toml:4: validate: true or false"},
        {Rule("column = \"a\"\ncountry = \"Ukraine\""), "", "r.toml:3: country: 'Ukraine' is none of"},
        {Rule("column = \"a\"\ncountry = \"ES\"\nparts = \"head\""), "", "r.toml:4: parts: ES has no parts"},
        {Rule("column = \"a\"\ncountry = \"FR\""), "--area-table 2006", "--area-table: no rule masks US identifiers"},
        {Rule("column = \"a\"\ncountry = \"US\"\nform = 3"), "", "r.toml:4: form applies to UK"},
        {Rule("column = \"a\"\ncountry = \"US\"\nfill_null = true"), "", "r.toml:4: fill_null needs method"},
        {Rule("column = \"a\"\ncountry = \"US\"\ntweak = \"t\""), "", "r.toml:4: tweak needs method"},
        {Rule("column = \"a\"\ncountry = \"FR\"\nlength = 0"), "", "r.toml:4: length: must be between 1 and 8191"},
        {Rule("column = \"a\"\ncountry = \"FR\"\noptions = { x = 1 }"), "", "options: 'x' is not a 16-bit operand key"},
        {Rule("country = \"FR\""), "", "r.toml:1: the rule has no column"},
        {"formatt = \"csv\"\n" + Rule("column = \"a\"\ncountry = \"FR\""), "", "r.toml:1: 'formatt' is not a setting"},
        {"[[rule]]\ncolumn = \"a\"\ncountry = \"FR\n", "", "r.toml:3"},
        {"format = \"csv\"\n" + Rule("column = \"a\"\ncountry = \"FR\"") + Rule("column = \"A\"\ncountry = \"US\""), "",
         "r.toml:2 and r.toml:5 both mask column A"},
        {Rule("column = \"a\"\ncountry = \"US\"\narea_table = 2006") + Rule("column = \"b\"\ncountry = \"US\""),
         "--format csv", "r.toml:1 and r.toml:5 need the 2006 and the 2010 US area tables"},
        {Rule("column = \"a\"\ncountry = \"FR\"") + Rule("column = \"b\"\ncountry = \"US\""), "",
         "2 rules for lines input"},
        {"format = \"csv\"\n" + Rule("column = \"nope\"\ncountry = \"FR\""), kPeople.c_str(),
         "r.toml:3: column nope: the header has no such column"},
        {Rule("table = \"person\"\ncolumn = \"fr_nir\"\ncountry = \"FR\""), "--country FR", "--rules and --country"},
    };
    for (const Case& c : cases) {
        WriteFile(Path("r.toml"), c.text);
        const RunResult result = Run(std::string("--rules r.toml ") + c.pArgs);
        EXPECT_EQ(result.iExit, 2) << c.text;
        EXPECT_NE(result.err.find(c.pExpected), std::string::npos) << c.text << "\n" << result.err;
    }
}

TEST_F(RulesTest, ExplainShowsWhatEachInstanceGets) {
    WriteFile(Path("r.toml"), Rule("column = \"fr_nir\"\ncountry = \"fr\"\nvalidate = true\nparts = \"sex\"") +
                                  Rule("column = \"us_ssn\"\ncountry = \"US\"\nseparator = \"none\""));
    const RunResult result = Run("--rules r.toml --explain --format csv --on-reject fail missing.csv");
    EXPECT_EQ(result.iExit, 0) << result.err;
    EXPECT_NE(result.out.find("rule 1 (r.toml:1): column fr_nir\n  country FR, method mask, on_reject fail"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("switch \"FR\", Service method 0x1406, control-block method 0x1406, flags 0x0001, "
                              "VARCHAR(32), operands 0x1801=1"),
              std::string::npos);
    EXPECT_NE(result.out.find("operands 0x180B=1"), std::string::npos);
}

// Two tables of one database: a person table and a payroll table.
void MakeTwoTables(const std::filesystem::path& path, int iRows, const std::string& lastSsn) {
    sqlite3* pDb = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &pDb), SQLITE_OK);
    std::string sql = "CREATE TABLE person(id INTEGER PRIMARY KEY, nir TEXT, pad TEXT);"
                      "CREATE TABLE payroll(id INTEGER PRIMARY KEY, ssn TEXT, pad TEXT);"
                      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                      std::to_string(iRows) + ") INSERT INTO person(nir, pad) SELECT '" + kValidFr[0] +
                      "', printf('%0200d', i) FROM n;"
                      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                      std::to_string(iRows) + ") INSERT INTO payroll(ssn, pad) SELECT '536-22-8079', printf('%0200d', i) FROM n;"
                      "UPDATE payroll SET ssn = '" + lastSsn + "' WHERE id = " + std::to_string(iRows) + ";";
    ASSERT_EQ(sqlite3_exec(pDb, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(pDb);
    sqlite3_close(pDb);
}

// "distinct values of person.nir / payroll.ssn".
std::string Snapshot(const std::filesystem::path& path) {
    sqlite3* pDb = nullptr;
    sqlite3_open(path.c_str(), &pDb);
    std::string text;
    for (const char* pSql : {"SELECT group_concat(DISTINCT nir) FROM person", "SELECT group_concat(DISTINCT ssn) FROM payroll"}) {
        sqlite3_stmt* p = nullptr;
        sqlite3_prepare_v2(pDb, pSql, -1, &p, nullptr);
        if (sqlite3_step(p) == SQLITE_ROW && sqlite3_column_text(p, 0) != nullptr)
            text += reinterpret_cast<const char*>(sqlite3_column_text(p, 0));
        text += "/";
        sqlite3_finalize(p);
    }
    sqlite3_close(pDb);
    return text;
}

const std::string kTwoTableRules =
    Rule("table = \"person\"\ncolumn = \"nir\"\ncountry = \"FR\"") +
    Rule("table = \"payroll\"\ncolumn = \"ssn\"\ncountry = \"US\"");

TEST_F(RulesTest, DatabaseRulesAreAllOrNothing) {
    WriteFile(Path("r.toml"), kTwoTableRules);
    // The last row of the last rule is rejected: both tables stay as they were.
    MakeTwoTables(Path("bad.db"), 50, "12");
    const std::string before = Snapshot(Path("bad.db"));
    const RunResult failed = Run("--rules r.toml --db bad.db --batch 7");
    EXPECT_EQ(failed.iExit, 1);
    EXPECT_NE(failed.err.find("the database is unchanged"), std::string::npos) << failed.err;
    EXPECT_EQ(Snapshot(Path("bad.db")), before);

    // A column the table lacks is named with its rule's line, whichever rule it is.
    WriteFile(Path("r2.toml"), kTwoTableRules + Rule("table = \"person\"\ncolumn = \"nope\"\ncountry = \"US\""));
    const RunResult missing = Run("--rules r2.toml --db bad.db");
    EXPECT_EQ(missing.iExit, 2);
    EXPECT_NE(missing.err.find("r2.toml:11: bad.db: table person has no column nope"), std::string::npos) << missing.err;

    MakeTwoTables(Path("good.db"), 50, "536-22-8079");
    EXPECT_EQ(Run("--rules r.toml --db good.db -q").iExit, 0);
    EXPECT_EQ(Snapshot(Path("good.db")), Masked({kValidFr[0]})[0] + "/536-20-2154/");
}

TEST_F(RulesTest, KilledDuringAMultiTableRunLeavesEachTableWholeOrUntouched) {
    WriteFile(Path("r.toml"), kTwoTableRules);
    constexpr int kRows = 100000;
    MakeTwoTables(Path("big.db"), kRows, "536-22-8079");
    const std::string before = Snapshot(Path("big.db"));
    const std::string after = Masked({kValidFr[0]})[0] + "/536-20-2154/";
    // Kills spread over the time a whole run takes, so that some land in
    // each table and some after the commit.
    std::filesystem::copy_file(Path("big.db"), Path("run.db"), std::filesystem::copy_options::overwrite_existing);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Run("--rules r.toml --db run.db --batch 100 -q").iExit, 0);
    const auto wholeMs = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    for (const int iPercent : {10, 35, 60, 85, 110}) {
        const int delayMs = static_cast<int>(wholeMs.count() * iPercent / 100);
        std::filesystem::copy_file(Path("big.db"), Path("run.db"), std::filesystem::copy_options::overwrite_existing);
        const std::string command = "cd '" + dir_.string() + "' && exec " + NIDMASK_BIN +
                                    " --rules r.toml --db run.db --batch 100 -q";
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        usleep(static_cast<useconds_t>(delayMs) * 1000);
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        const std::string now = Snapshot(Path("run.db"));
        EXPECT_TRUE(now == before || now == after) << delayMs << " ms: " << now;
    }
}

}  // namespace
}  // namespace nidmask_test
