// Command-line errors (exit 2), provider loading (3) and input errors (4).
#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using UsageTest = NidmaskTest;

TEST_F(UsageTest, BadCommandLinesNameTheProblem) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "--country is required"},
        {"--country FR --bogus", "--bogus"},
        {"--country FR --batch 0", "--batch"},
        {"--country FR --batch many", "--batch"},
        {"--country FR --length 0", "--length"},
        {"--country FR --option 0x1801", "--option"},
        {"--country FR --option 0x10000=1", "--option"},
        {"--country FR --type TEXT", "--type"},
        {"--country FR --format json", "--format"},
        {"--country FR --quiet --progress", "--quiet and --progress"},
        {"--country FR --count 5", "--count needs --method random"},
        {"--country FR --method random --count 5 in.txt", "--count and INPUT"},
        {"--country FR --no-header", "--no-header needs --format csv"},
        {"--country FR --column 2", "--column needs --format csv or --db"},
        {"--country FR --ctrl-method random", "--ctrl-method needs --method ctrl"},
        {"--country FR --method ctrl --ctrl-method 70000", "ctrl method: '70000'"},
        {"--country FR --table t", "--table needs --db"},
        {"--country FR --db x.db --table t", "--db needs --table and --column"},
        {"--country FR --db x.db --table t --column c in.txt", "--db and INPUT"},
        {"--country FR --db x.db --table t --column c --on-reject drop", "on-reject drop cannot leave a row out"},
        {"--country FR --form 3", "form applies to UK"},
        {"--country FR --area-table 2006", "area table applies to US"},
        {"--country FR --parts sex,shoe", "'shoe' is not a part"},
        {"--country ES --parts head", "ES has no parts"},
        {"--switch XY --separator none", "need a country of FR"},
        {"--country FR --switch FR", "--country and --switch exclude each other"},
        {"--country FR --header", "--header needs --format csv or tsv"},
        {"--country FR --format csv --header --no-header", "--header and --no-header exclude each other"},
        {"--country FR --delimiter ';'", "--delimiter needs --format csv or tsv"},
        {"--country FR --format csv --delimiter x", "--delimiter"},
        {"--country FR --fill-null", "--fill-null needs --method random"},
        {"--country FR --format csv --no-header --column nir", "chosen by number"},
        {"--country FR --jobs -1", "--jobs"},
        {"--country US --method random --count 5 --jobs 2", "--jobs and --method random exclude each other: random"},
        {"--country FR --method ctrl --ctrl-method random --jobs 0", "--jobs and --method random exclude each other"},
        {"--country FR --jobs 2 --error-limit 3", "--jobs and --error-limit exclude each other: the limit counts"},
        {"--country FR --jobs 2 --db x.db --table t --column c", "--jobs and --db exclude each other: a database"},
        {"--country FR --jobs 2 --trace t.txt", "--jobs and --trace exclude each other"},
    };
    for (const auto& [pArgs, pExpected] : cases) {
        const RunResult result = Run(pArgs);
        EXPECT_EQ(result.iExit, 2) << pArgs;
        EXPECT_NE(result.err.find(pExpected), std::string::npos) << pArgs << ": " << result.err;
        EXPECT_EQ(result.out, "") << pArgs;
    }
}

TEST_F(UsageTest, Version) {
    const RunResult version = Run("--version");
    EXPECT_EQ(version.iExit, 0);
    EXPECT_EQ(version.out.rfind("nidmask ", 0), 0u);
}

TEST_F(UsageTest, ProviderAndInputErrors) {
    WriteFile(Path("long.txt"), "269037511604241\n1234567890123456789012\n");
    WriteFile(Path("latin1.txt"), "26903751160424\xe9\n");
    struct Case {
        const char* pArgs;
        int iExit;
        const char* pExpected;
    };
    const Case cases[] = {
        {"--country FR --provider /nonexistent/lib.so", 3, "cannot load the provider"},
        {"--country FR missing.txt", 4, "cannot open missing.txt"},
        // A value the column cannot hold is a rejected row, not the end of the run.
        {"--country FR --type CHAR --length 20 long.txt", 1, "9001: the value has 22 characters, more than the column length 20 (row 2)"},
        {"--country FR --type WVARCHAR latin1.txt", 1, "9004: the value is not valid UTF-8 (row 1)"},
        {"--country FR --report /nonexistent/r.jsonl long.txt", 4, "cannot write /nonexistent/r.jsonl"},
        {"--country FR -o /nonexistent/out.txt long.txt", 4, "cannot write /nonexistent/out.txt"},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(c.pArgs);
        EXPECT_EQ(result.iExit, c.iExit) << c.pArgs << ": " << result.err;
        EXPECT_NE(result.err.find(c.pExpected), std::string::npos) << c.pArgs << ": " << result.err;
    }
    // A single-byte column reads the same byte as ISO-8859-1: an invalid value, not an input error.
    EXPECT_EQ(Run("--country FR --quiet latin1.txt").iExit, 1);
}

TEST_F(UsageTest, TraceRecordsEveryEntryPoint) {
    const RunResult result = Run("--country FR --quiet --batch 2 --trace trace.txt", JoinLines(kValidFr));
    EXPECT_EQ(result.iExit, 0) << result.err;
    const std::string trace = ReadFile(Path("trace.txt"));
    size_t iServices = 0;
    for (const std::string& line : Lines(trace))
        if (line.find("ENTRY") == 0 && line.find(" Service") != std::string::npos) ++iServices;
    EXPECT_EQ(iServices, 3u);
    EXPECT_NE(trace.find("ENTRY QRNPNidS Init"), std::string::npos);
    EXPECT_NE(trace.find("ENTRY QRNPNidS Terminate"), std::string::npos);
    // Values are redacted in the trace as on standard error, unless asked for.
    EXPECT_NE(trace.find("inseeInValue=[" + kValidFr[0].substr(0, 2) + "... 15 characters]"), std::string::npos);
    for (const bool bShow : {false, true}) {
        const std::string args = std::string("--country FR -q --trace t.txt") + (bShow ? " --show-values" : "");
        ASSERT_EQ(Run(args, JoinLines(kValidFr)).iExit, 0);
        const std::string shown = ReadFile(Path("t.txt"));
        for (const std::string& value : kValidFr)  // the digits before any separator
            EXPECT_EQ(shown.find(value.substr(0, 13)) != std::string::npos, bShow) << value << (bShow ? " with" : " without");
    }
}

}  // namespace
}  // namespace nidmask_test
