// Nothing is lost: every row of a large input is accounted for; a table
// whose run is killed anywhere is left exactly as it was; an interrupted run
// never leaves a partial file under the output's name; and the output does
// not depend on the batch size or on the run.
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <regex>
#include <thread>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using NoDataLostTest = NidmaskTest;

// A digest of a whole table (every column of every row, in rowid order) and its row count.
std::string TableDigest(const std::filesystem::path& path, const std::string& table) {
    sqlite3* pDb = nullptr;
    sqlite3_open(path.c_str(), &pDb);
    sqlite3_stmt* pStatement = nullptr;
    sqlite3_prepare_v2(pDb, ("SELECT * FROM " + table + " ORDER BY rowid").c_str(), -1, &pStatement, nullptr);
    uint64_t hash = 1469598103934665603ull;  // FNV-1a over the values and their boundaries
    const auto mix = [&](const void* p, size_t n) {
        for (size_t i = 0; i < n; ++i) hash = (hash ^ static_cast<const unsigned char*>(p)[i]) * 1099511628211ull;
    };
    uint64_t iRows = 0;
    while (sqlite3_step(pStatement) == SQLITE_ROW) {
        ++iRows;
        for (int c = 0; c < sqlite3_column_count(pStatement); ++c) {
            const int iType = sqlite3_column_type(pStatement, c);
            mix(&iType, sizeof iType);
            mix(sqlite3_column_blob(pStatement, c), static_cast<size_t>(sqlite3_column_bytes(pStatement, c)));
        }
    }
    sqlite3_finalize(pStatement);
    sqlite3_close(pDb);
    return std::to_string(iRows) + " rows, digest " + std::to_string(hash);
}

TEST_F(NoDataLostTest, AMillionRowsAreAllAccountedFor) {
    // Every kind of row, in turn: masked (three layouts), rejected (length,
    // sex digit), NULL, empty and blank (passed through).
    const std::vector<std::string> kinds = {kValidFr[0], kValidFr[1], "12345", "\\N", "", "   ",
                                            "385057800608491", kValidFr[3]};
    constexpr size_t kRows = 1000000;
    std::string input;
    input.reserve(kRows * 16);
    for (size_t i = 0; i < kRows; ++i) input += kinds[i % kinds.size()] + "\n";
    const RunResult result = Run("--country FR --on-reject null -o out.txt", input);
    EXPECT_EQ(result.iExit, 1) << result.err;  // rows were rejected

    const std::regex summary(
        "nidmask: (\\d+) rows read: (\\d+) masked, (\\d+) passed through(?: \\([^)]*\\))?, (\\d+) rejected, (\\d+) NULL;");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(result.err, m, summary)) << result.err;
    const auto n = [&](int i) { return std::stoull(m[i].str()); };
    EXPECT_EQ(n(1), kRows);
    EXPECT_EQ(n(1), n(2) + n(3) + n(4) + n(5)) << "read = masked + passed through + rejected + NULL";
    EXPECT_EQ(n(2), 3 * kRows / 8);
    EXPECT_EQ(n(3), 2 * kRows / 8);
    EXPECT_EQ(n(4), 2 * kRows / 8);
    EXPECT_EQ(n(5), kRows / 8);

    // One line out per line in, each what its kind calls for.
    const std::vector<std::string> out = Lines(ReadFile(Path("out.txt")));
    ASSERT_EQ(out.size(), kRows);
    const std::vector<std::string> masked = Masked({kValidFr[0], kValidFr[1], kValidFr[3]});
    const std::vector<std::string> expected = {masked[0], masked[1], "\\N", "\\N", "", "   ", "\\N", masked[2]};
    for (size_t i = 0; i < kRows; ++i) ASSERT_EQ(out[i], expected[i % expected.size()]) << "line " << i + 1;
}

TEST_F(NoDataLostTest, KilledAnywhereTheTableIsLeftAsItWas) {
    constexpr int kRows = 200000;
    {
        sqlite3* pDb = nullptr;
        sqlite3_open(Path("pristine.db").c_str(), &pDb);
        const std::string sql =
            "CREATE TABLE person(id INTEGER PRIMARY KEY, name TEXT, nir TEXT);"
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(kRows) +
            ") INSERT INTO person(name, nir) SELECT printf('%0100d', i), CASE i % 4 WHEN 0 THEN '" + kValidFr[0] +
            "' WHEN 1 THEN '" + kValidFr[1] + "' WHEN 2 THEN NULL ELSE '12345' END FROM n;";
        ASSERT_EQ(sqlite3_exec(pDb, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(pDb);
    }
    const std::string before = TableDigest(Path("pristine.db"), "person");
    const std::string args = "--country FR --db people.db --table person --column nir --batch 100 --pass-invalid -q";
    const auto fresh = [&] {
        std::filesystem::remove(Path("people.db-journal"));
        std::filesystem::copy_file(Path("pristine.db"), Path("people.db"),
                                   std::filesystem::copy_options::overwrite_existing);
    };

    // A whole run, timed: it changes the table.
    fresh();
    const auto start = std::chrono::steady_clock::now();
    int status = 0;
    waitpid(Start(dir_, args), &status, 0);
    const auto full = std::chrono::steady_clock::now() - start;
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::string after = TableDigest(Path("people.db"), "person");
    ASSERT_NE(after, before);

    // Killed at points drawn over the run's length.
    std::mt19937 random(20240521);
    std::uniform_real_distribution<double> when(0.02, 0.98);
    int iKilled = 0;
    for (int k = 0; k < 6; ++k) {
        fresh();
        const auto delay = std::chrono::duration_cast<std::chrono::microseconds>(full * when(random));
        SCOPED_TRACE("killed after " + std::to_string(delay.count()) + " us of a " +
                     std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(full).count()) + " us run");
        const pid_t pid = Start(dir_, args);
        std::this_thread::sleep_for(delay);
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        if (!WIFSIGNALED(status)) continue;  // it finished first
        ++iKilled;
        // All or nothing: a kill after the commit but before the exit leaves
        // the whole column masked, exactly as a finished run does.
        const std::string digest = TableDigest(Path("people.db"), "person");
        EXPECT_TRUE(digest == before || digest == after) << digest;
    }
    EXPECT_GE(iKilled, 3);
}

TEST_F(NoDataLostTest, AnInterruptedRunNeverReplacesTheOutputFile) {
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
        SCOPED_TRACE("signal " + std::to_string(signal));
        WriteFile(Path("out.txt"), "the previous output\n");
        const pid_t pid = Start(dir_, "--country FR --method random --count 50000000 -q -o out.txt");
        // Interrupt once the temporary file has data.
        bool bWriting = false;
        for (int i = 0; i < 5000 && !(bWriting = IsWritingOutput(pid, dir_)); ++i) usleep(1000);
        kill(pid, signal);
        int status = 0;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(bWriting) << "the run never started writing";
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
        EXPECT_EQ(ReadFile(Path("out.txt")), "the previous output\n");
        // Nothing is left behind; but where the file system makes no unnamed
        // files, SIGKILL leaves the temporary file, under its own name.
        for (const auto& entry : std::filesystem::directory_iterator(dir_)) {
            if (entry.path().filename().string().find(".nidmask-") == std::string::npos) continue;
            EXPECT_TRUE(signal == SIGKILL && !MakesUnnamedFiles(dir_)) << entry.path();
            std::filesystem::remove(entry.path());
        }
    }
}

TEST_F(NoDataLostTest, TheOutputDependsOnNeitherTheBatchSizeNorTheRun) {
    // CSV with everything that makes records hard to cut: quotes, commas and
    // line ends inside fields, CRLF and LF, blank lines, NULL, rejected and
    // passed-through values, and no final line end.
    const std::vector<std::string> values = {kValidFr[0], "\"" + kValidFr[1] + "\"", "\\N", "", "12345",
                                             "   ", kValidFr[2], "\"" + kValidFr[4] + "\""};
    std::string csv = "id,\"name, full\",nir\r\n";
    for (int i = 0; i < 3001; ++i) {
        csv += std::to_string(i) + ",\"a \"\"b\"\",\nc\"," + values[static_cast<size_t>(i) % values.size()];
        csv += i % 3 == 0 ? "\r\n" : i % 5 == 0 ? "\n\n" : "\n";
    }
    csv += "3001,last," + kValidFr[3];
    WriteFile(Path("in.csv"), csv);
    std::string lines;
    for (int i = 0; i < 3001; ++i) lines += values[static_cast<size_t>(i) % values.size()] + "\n";
    WriteFile(Path("in.txt"), lines);

    for (const char* pArgs : {"--format csv --column nir in.csv", "in.txt"}) {
        std::string first;
        for (int iBatch : {1, 7, 1000}) {
            for (int iRun = 0; iRun < 2; ++iRun) {
                SCOPED_TRACE(std::string(pArgs) + ", batch " + std::to_string(iBatch) + ", run " + std::to_string(iRun));
                const RunResult result = Run("--country FR -q --on-reject empty --batch " + std::to_string(iBatch) +
                                             " " + pArgs);
                EXPECT_EQ(result.iExit, 1) << result.err;
                if (first.empty()) first = result.out;
                EXPECT_EQ(result.out, first);
            }
        }
        EXPECT_NE(first.find(Masked({kValidFr[0]})[0]), std::string::npos);
    }
}

}  // namespace
}  // namespace nidmask_test
