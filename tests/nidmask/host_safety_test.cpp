// What nidmask promises its users: files written as what they are, no record
// lost, no run ended by one bad row, nothing masked twice, no identifier in
// clear unless asked for.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>

#include <set>
#include <thread>

#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using HostSafetyTest = NidmaskTest;
namespace fs = std::filesystem;

mode_t ModeOf(const fs::path& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 ? info.st_mode : 0;
}

TEST_F(HostSafetyTest, OutputIsWrittenAsWhatThePathIs) {
    const std::string input = JoinLines(kValidFr);
    const std::string expected = JoinLines(Masked(kValidFr));
    WriteFile(Path("in.txt"), input);

    // A device stays a device.
    EXPECT_EQ(Run("--country FR -q in.txt -o /dev/null").iExit, 0);
    EXPECT_TRUE(S_ISCHR(ModeOf("/dev/null")));

    // A symlink is followed: its target is replaced, the link stays.
    WriteFile(Path("target.txt"), "old\n");
    fs::create_symlink("target.txt", Path("link.txt"));
    EXPECT_EQ(Run("--country FR -q in.txt -o link.txt").iExit, 0);
    EXPECT_TRUE(S_ISLNK(ModeOf(Path("link.txt"))));
    EXPECT_EQ(ReadFile(Path("target.txt")), expected);

    // A regular file keeps its mode.
    WriteFile(Path("kept.txt"), "old\n");
    fs::permissions(Path("kept.txt"), fs::perms(0640));
    EXPECT_EQ(Run("--country FR -q in.txt -o kept.txt").iExit, 0);
    EXPECT_EQ(ModeOf(Path("kept.txt")) & 07777, 0640u);
    EXPECT_EQ(ReadFile(Path("kept.txt")), expected);

    // A FIFO is written directly, and its reader sees the end.
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    std::string fromFifo;
    std::thread reader([&] { fromFifo = ReadFile(Path("fifo")); });
    EXPECT_EQ(Run("--country FR -q in.txt -o fifo").iExit, 0);
    reader.join();
    EXPECT_EQ(fromFifo, expected);
    EXPECT_TRUE(S_ISFIFO(ModeOf(Path("fifo"))));

    // /dev/stdout names whatever standard output is: here a pipe.
    EXPECT_EQ(Run("--country FR -q in.txt -o /dev/stdout | cat > piped.txt; true").iExit, 0);
    EXPECT_EQ(ReadFile(Path("piped.txt")), expected);

    // A UNIX socket is connected to and written.
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string socketPath = Path("sock").string();
    ASSERT_LT(socketPath.size(), sizeof(address.sun_path));
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    std::string fromSocket;
    std::thread acceptor([&] {
        const int connection = accept(listener, nullptr, nullptr);
        char buffer[4096];
        for (ssize_t n; (n = read(connection, buffer, sizeof(buffer))) > 0;) fromSocket.append(buffer, static_cast<size_t>(n));
        close(connection);
    });
    EXPECT_EQ(Run("--country FR -q in.txt -o sock").iExit, 0);
    acceptor.join();
    close(listener);
    EXPECT_EQ(fromSocket, expected);
}

TEST_F(HostSafetyTest, TwoOptionsNamingOneFileAreAUsageError) {
    WriteFile(Path("ids.txt"), JoinLines(kValidFr));
    fs::create_symlink("ids.txt", Path("alias.txt"));
    for (const char* pArgs : {"ids.txt --report ids.txt", "ids.txt --trace alias.txt", "ids.txt -o x --report x",
                              "ids.txt -o x --trace ./x", "ids.txt --report r --trace r",
                              "--db ids.txt --table t --column c --report ids.txt",
                              // Standard streams are the files they are open on.
                              // (Run reads standard input from "stdin" and writes standard output to "stdout".)
                              "--report stdin", "ids.txt --report stdout", "stdout",
                              "--method encrypt --key-file key -o key ids.txt"}) {
        WriteFile(Path("key"), std::string(64, 'a') + "\n");
        fs::permissions(Path("key"), fs::perms(0600));
        const RunResult result = Run(std::string("--country FR ") + pArgs);
        EXPECT_EQ(result.iExit, 2) << pArgs;
        EXPECT_NE(result.err.find("name the same file"), std::string::npos) << pArgs << ": " << result.err;
    }
    EXPECT_EQ(ReadFile(Path("ids.txt")), JoinLines(kValidFr));
    // The output may replace the input: only once the run has succeeded.
    EXPECT_EQ(Run("--country FR -q ids.txt -o ids.txt").iExit, 0);
    EXPECT_EQ(ReadFile(Path("ids.txt")), JoinLines(Masked(kValidFr)));
}

TEST_F(HostSafetyTest, AnEarlyStopNeverReplacesTheOutput) {
    std::vector<std::string> input(300, kValidFr[0]);
    for (size_t i = 0; i < input.size(); i += 7) input[i] = "12345";
    WriteFile(Path("in.txt"), JoinLines(input));
    WriteFile(Path("el.txt"), "previous\n");
    for (const char* pArgs : {"--error-limit 5 --batch 10", "--on-reject fail --batch 10"}) {
        const RunResult result = Run(std::string("--country FR in.txt -o el.txt ") + pArgs);
        EXPECT_EQ(result.iExit, 1) << pArgs;
        EXPECT_EQ(ReadFile(Path("el.txt")), "previous\n") << pArgs;
        EXPECT_NE(result.err.find("el.txt is left as it was"), std::string::npos) << result.err;
    }
    // On standard output, what was written is said.
    const RunResult piped = Run("--country FR in.txt --error-limit 5 --batch 10");
    EXPECT_EQ(piped.iExit, 1);
    const size_t iWritten = Lines(piped.out).size();
    EXPECT_NE(piped.err.find(std::to_string(iWritten) + " records were written to standard output"), std::string::npos)
        << piped.err;
}

TEST_F(HostSafetyTest, HeaderlessCsvIsNotReadAsAHeader) {
    const std::string input = "123-45-6789\n219-09-9999\n";
    const RunResult refused = Run("--country US --format csv --column 1", input);
    EXPECT_EQ(refused.iExit, 2);
    EXPECT_NE(refused.err.find("--no-header"), std::string::npos) << refused.err;
    EXPECT_EQ(refused.err.find("123-45-6789"), std::string::npos) << refused.err;
    EXPECT_EQ(refused.out, "");
    const RunResult data = Run("--country US --format csv --no-header -q", input);
    EXPECT_EQ(data.iExit, 0);
    EXPECT_EQ(data.out, Run("--country US -q", input).out);
    EXPECT_EQ(data.out.find("123-45-6789"), std::string::npos);
    const RunResult forced = Run("--country US --format csv --header -q", input);
    EXPECT_EQ(Lines(forced.out)[0], "123-45-6789");
}

TEST_F(HostSafetyTest, AByteOrderMarkIsCopiedAndPartOfNoValue) {
    const std::string bom = "\xEF\xBB\xBF";
    const std::string masked = Masked({kValidFr[0]})[0];
    struct Case {
        const char* pArgs;
        std::string input;
        std::string output;
    };
    const Case cases[] = {
        {"", bom + kValidFr[0] + "\n", bom + masked + "\n"},
        {"--format csv --column fr_nir", bom + "fr_nir,x\n" + kValidFr[0] + ",1\n", bom + "fr_nir,x\n" + masked + ",1\n"},
        {"--format csv --column id", bom + "\"id\",fr_nir\n" + kValidFr[0] + ",1\n",
         bom + "\"id\",fr_nir\n" + masked + ",1\n"},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(std::string("--country FR -q ") + c.pArgs, c.input);
        EXPECT_EQ(result.iExit, 0) << c.pArgs << ": " << result.err;
        EXPECT_EQ(result.out, c.output) << c.pArgs;
    }
}

TEST_F(HostSafetyTest, ARowTheColumnCannotHoldIsARejectedRow) {
    const std::string huge(1000000, '7');
    struct Case {
        const char* pArgs;
        std::string bad;
        const char* pMessage;
    };
    const Case cases[] = {
        {"--country FR", huge, "9001: the value has 1000000 characters, more than the column length 32"},
        {"--country FR --type CHAR --length 15", "1234567890123456", "9001: the value has 16 characters"},
        {"--country US --type INTEGER", "abc", "is not a decimal integer that fits 9 (INTEGER)"},
        {"--country US --type U_INTEGER", "-5", "is not a decimal integer"},
        {"--country CA --type U_LONG_LONG", "12.5", "is not a decimal integer"},
        {"--country US --type DECIMAL_PKD", "1e9", "is not a decimal integer"},
        {"--country CA --type VARNUM", "x", "is not a decimal integer"},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(std::string(c.pArgs) + " --on-reject null", c.bad + "\n\n" + c.bad + "\n");
        EXPECT_EQ(result.iExit, 1) << c.pArgs;
        EXPECT_EQ(result.out, "\\N\n\n\\N\n") << c.pArgs;
        EXPECT_NE(result.err.find(c.pMessage), std::string::npos) << c.pArgs << ": " << result.err.substr(0, 300);
        EXPECT_NE(result.err.find("3 rows read: 0 masked, 1 passed through"), std::string::npos) << c.pArgs;
        EXPECT_NE(result.err.find(", 2 rejected"), std::string::npos) << c.pArgs;
    }
}

TEST_F(HostSafetyTest, FilesThatMayHoldValuesArePrivate) {
    WriteFile(Path("r.jsonl"), "");
    fs::permissions(Path("r.jsonl"), fs::perms(0644));
    EXPECT_EQ(Run("--country FR -q --report r.jsonl --trace t.txt", "12345\n").iExit, 1);
    EXPECT_EQ(ModeOf(Path("r.jsonl")) & 0777, 0600u);
    EXPECT_EQ(ModeOf(Path("t.txt")) & 0777, 0600u);
    EXPECT_EQ(ReadFile(Path("r.jsonl")).find("12345"), std::string::npos);
    // A new output file gets the usual mode: it is the user's data.
    EXPECT_EQ(Run("--country FR -q -o out.txt", kValidFr[0] + "\n").iExit, 0);
    EXPECT_NE(ModeOf(Path("out.txt")) & 0044, 0u);
}

TEST_F(HostSafetyTest, CountryNamesOneOfSix) {
    const std::string nino = "AB123456C\n";
    const std::string asUk = Run("--country UK -q", nino).out;
    for (const char* pCountry : {"GB", "gb", "uk"}) EXPECT_EQ(Run(std::string("-q --country ") + pCountry, nino).out, asUk);
    for (const char* pCountry : {"Ukraine", "Estonia", "U", "XX"}) {
        const RunResult result = Run(std::string("--country ") + pCountry, nino);
        EXPECT_EQ(result.iExit, 2) << pCountry;
        EXPECT_NE(result.err.find("FR, IT, UK (or GB), ES, US, CA"), std::string::npos) << result.err;
    }
    // The engine's own reading: any text, two letters.
    EXPECT_EQ(Run("-q --switch Ukraine", nino).out, asUk);
}

TEST_F(HostSafetyTest, CsvDialectsAndColumnNames) {
    const std::string masked = Masked({kValidFr[0]})[0];
    struct Case {
        const char* pArgs;
        std::string input;
        int iExit;
        std::string expected;  // output, or a part of the message
    };
    const Case cases[] = {
        {"--delimiter ';' --column FR_NIR", "id;fr_nir\n1;" + kValidFr[0] + "\n", 0, "id;fr_nir\n1;" + masked + "\n"},
        {"--delimiter '|' --column 2", "id|fr_nir\n1|" + kValidFr[0] + "\n", 0, "id|fr_nir\n1|" + masked + "\n"},
        {"--delimiter tab --column fr_nir", "id\tfr_nir\n1\t" + kValidFr[0] + "\n", 0,
         "id\tfr_nir\n1\t" + masked + "\n"},
        {"--column fr_nir --delimiter tab", "id\tfr_nir\n1\t" + kValidFr[0] + "\n", 0, "id\tfr_nir\n1\t" + masked + "\n"},
        {"--column fr_nir", "id;fr_nir\n1;" + kValidFr[0] + "\n", 2, "is the delimiter ';'?"},
        {"--column fr_nir --delimiter tab", "id,fr_nir\n", 2, "is the delimiter ','?"},
        {"--column fr_nri", "id,fr_nir\n", 2, "no such column (it has id, fr_nir); did you mean fr_nir?"},
        {"--column NIR", "nir,Nir\n", 2, "several columns"},
        // Header names that may be values (a file without a header) are not shown.
        {"--column ssn", "123-45-6789,John,269037511604241\n", 2, "(it has [12... 11 characters], John, [26..."},
        {"--column 1", "123-45-6789;x\n", 2, "single column, '[12... 13 characters]'"},
        {"--column 1 --header", "a;b\n" + kValidFr[0] + "\n", 0, "a;b\n" + masked + "\n"},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(std::string("--country FR --format csv -q ") + c.pArgs, c.input);
        EXPECT_EQ(result.iExit, c.iExit) << c.pArgs << ": " << result.err;
        if (c.iExit == 0) {
            EXPECT_EQ(result.out, c.expected) << c.pArgs;
        } else {
            EXPECT_NE(result.err.find(c.expected), std::string::npos) << c.pArgs << ": " << result.err;
        }
    }
    EXPECT_EQ(Run("--country FR --format tsv -q --column fr_nir", "id\tfr_nir\n1\t" + kValidFr[0] + "\n").out,
              "id\tfr_nir\n1\t" + masked + "\n");
    EXPECT_EQ(Run("--country FR --format tsv --delimiter ';'").iExit, 2);
}

TEST_F(HostSafetyTest, HelpPutsUsersFirst) {
    const std::string help = Run("--help").out;
    const size_t iEngine = help.find("Engine-level options");
    ASSERT_NE(iEngine, std::string::npos);
    for (const char* pUser : {"--output", "--country", "--parts", "--separator", "--validate", "--on-reject", "--report"})
        EXPECT_LT(help.find(pUser), iEngine) << pUser;
    for (const char* pEngine : {"--switch", "--ctrl-method", "--option", "--in-place", "0x1408"})
        EXPECT_GT(help.find(pEngine), iEngine) << pEngine;
}

// A SQLite table whose `ssn` column (type `type`, with `constraint`) holds `values`.
void MakeSsnTable(const fs::path& path, const std::string& definition, const std::vector<std::string>& values) {
    sqlite3* pDb = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &pDb), SQLITE_OK);
    std::string sql = "BEGIN; CREATE TABLE t(" + definition + ");";
    for (const std::string& value : values) sql += "INSERT INTO t(ssn) VALUES(" + value + ");";
    sql += "COMMIT;";
    ASSERT_EQ(sqlite3_exec(pDb, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(pDb);
    sqlite3_close(pDb);
}

std::vector<std::string> SsnValues(const fs::path& path) {
    sqlite3* pDb = nullptr;
    sqlite3_open(path.c_str(), &pDb);
    sqlite3_stmt* pSelect = nullptr;
    sqlite3_prepare_v2(pDb, "SELECT ssn FROM t", -1, &pSelect, nullptr);
    std::vector<std::string> values;
    while (sqlite3_step(pSelect) == SQLITE_ROW)
        values.emplace_back(sqlite3_column_type(pSelect, 0) == SQLITE_NULL
                                ? "NULL"
                                : reinterpret_cast<const char*>(sqlite3_column_text(pSelect, 0)));
    sqlite3_finalize(pSelect);
    sqlite3_close(pDb);
    return values;
}

TEST_F(HostSafetyTest, EveryTableRowIsMaskedExactlyOnce) {
    // SSNs as keys: masking moves rows to new rowids that a later batch must not meet again.
    // (Masking is not one-to-one: numbers whose masks another number has already are left out.)
    std::vector<std::string> candidates, values, masks;
    for (int i = 0; i < 3100; ++i) candidates.push_back(std::to_string(123450000 + i * 7));
    const std::vector<std::string> candidateMasks = Lines(Run("--country US -q", JoinLines(candidates)).out);
    std::set<std::string> seen;
    for (size_t i = 0; i < candidates.size() && values.size() < 3000; ++i) {
        if (!seen.insert(candidateMasks[i]).second) continue;
        values.push_back(candidates[i]);
        masks.push_back(candidateMasks[i]);
    }
    const std::string expected = JoinLines(masks);
    struct Case {
        const char* pDefinition;
        const char* pType;
    };
    const Case cases[] = {
        {"rowid TEXT, ssn TEXT", ""},  // the rowid by another of its names
        {"ssn INTEGER PRIMARY KEY, x", ""},
        {"ssn INTEGER NOT NULL, x, PRIMARY KEY(ssn)", ""},
        {"ssn TEXT PRIMARY KEY, x) WITHOUT ROWID; SELECT (1", "--type U_LONG_LONG"},
        {"id INTEGER PRIMARY KEY, ssn INTEGER UNIQUE", ""},
    };
    for (const Case& c : cases) {
        fs::remove(Path("t.db"));
        MakeSsnTable(Path("t.db"), c.pDefinition, values);
        const RunResult result = Run(std::string("--country US --db t.db --table t --column ssn --batch 10 ") + c.pType);
        EXPECT_EQ(result.iExit, 0) << c.pDefinition << ": " << result.err;
        EXPECT_NE(result.err.find("3000 rows read: 3000 masked"), std::string::npos) << result.err;
        std::vector<std::string> after = SsnValues(Path("t.db"));
        std::vector<std::string> want = Lines(expected);
        std::sort(after.begin(), after.end());
        std::sort(want.begin(), want.end());
        EXPECT_EQ(after, want) << c.pDefinition;
    }
    MakeSsnTable(Path("v.db"), "ssn TEXT); CREATE VIEW v AS SELECT ssn FROM t; SELECT (1", {});
    const RunResult view = Run("--country US --db v.db --table v --column ssn");
    EXPECT_EQ(view.iExit, 2);
    EXPECT_NE(view.err.find("v is a view, not a table"), std::string::npos) << view.err;
}

TEST_F(HostSafetyTest, UniqueColumnsSurviveTransientClashesAndNameRealOnes) {
    const std::string first = "123-45-6789";
    const std::string itsMask = Lines(Run("--country US -q", first + "\n").out)[0];
    for (const char* pDefinition : {"ssn TEXT UNIQUE", "ssn TEXT UNIQUE CHECK (length(ssn) = 11)"}) {
        fs::remove(Path("u.db"));
        MakeSsnTable(Path("u.db"), pDefinition, {"'" + first + "'", "'" + itsMask + "'"});
        const RunResult swapped = Run("--country US --db u.db --table t --column ssn -q");
        EXPECT_EQ(swapped.iExit, 0) << pDefinition << ": " << swapped.err;
        EXPECT_EQ(SsnValues(Path("u.db"))[0], itsMask);
    }
    // Other constraints are named as SQLite names them.
    MakeSsnTable(Path("n.db"), "ssn TEXT NOT NULL", {"'" + first + "'", "'12'"});
    const RunResult notNull = Run("--country US --db n.db --table t --column ssn --on-reject null");
    EXPECT_EQ(notNull.iExit, 4);
    EXPECT_NE(notNull.err.find("row 2: NOT NULL constraint failed"), std::string::npos) << notNull.err;

    // Two layouts of one number mask to one value once separators are dropped.
    MakeSsnTable(Path("c.db"), "ssn TEXT UNIQUE", {"'111'", "'" + first + "'", "'123456789'"});
    const RunResult clash = Run("--country US --db c.db --table t --column ssn --separator none --on-reject null");
    EXPECT_EQ(clash.iExit, 4);
    EXPECT_NE(clash.err.find("rows 2 and 3 would both hold the same value"), std::string::npos) << clash.err;
    EXPECT_EQ(SsnValues(Path("c.db")), (std::vector<std::string>{"111", first, "123456789"}));
}

}  // namespace
}  // namespace nidmask_test
