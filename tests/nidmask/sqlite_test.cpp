// SQLite in place: one transaction, rolled back on a rejected row, and a
// run killed halfway leaves the table as it was.
#include <fcntl.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <optional>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using SqliteTest = NidmaskTest;
using Column = std::vector<std::optional<std::string>>;

class Db {
public:
    explicit Db(const std::filesystem::path& path) { sqlite3_open(path.c_str(), &pDb_); }
    ~Db() { sqlite3_close(pDb_); }
    void Exec(const std::string& sql) {
        char* pError = nullptr;
        ASSERT_EQ(sqlite3_exec(pDb_, sql.c_str(), nullptr, nullptr, &pError), SQLITE_OK) << pError << ": " << sql;
    }
    // The values of one column, in rowid order.
    Column Values(const std::string& column, const std::string& table = "person") {
        Column values;
        sqlite3_stmt* pStatement = nullptr;
        sqlite3_prepare_v2(pDb_, ("SELECT " + column + " FROM " + table + " ORDER BY rowid").c_str(), -1,
                           &pStatement, nullptr);
        while (sqlite3_step(pStatement) == SQLITE_ROW) {
            const auto* pText = reinterpret_cast<const char*>(sqlite3_column_text(pStatement, 0));
            values.push_back(pText != nullptr ? std::optional<std::string>(pText) : std::nullopt);
        }
        sqlite3_finalize(pStatement);
        return values;
    }

private:
    sqlite3* pDb_ = nullptr;
};

// person(id, name, nir) with one row per value (nullopt: NULL).
void MakeTable(const std::filesystem::path& path, const Column& nirs) {
    Db db(path);
    db.Exec("CREATE TABLE person(id INTEGER PRIMARY KEY, name TEXT, nir TEXT)");
    db.Exec("BEGIN");
    for (size_t i = 0; i < nirs.size(); ++i)
        db.Exec("INSERT INTO person(name, nir) VALUES ('name " + std::to_string(i) + "', " +
                (nirs[i] ? "'" + *nirs[i] + "'" : std::string("NULL")) + ")");
    db.Exec("COMMIT");
}

TEST_F(SqliteTest, MasksTheColumnInPlace) {
    const Column nirs = {kValidFr[0], std::nullopt, kValidFr[1], "", "   ", kValidFr[3]};
    MakeTable(Path("people.db"), nirs);
    const RunResult result = Run("--country FR --db people.db --table person --column NIR --batch 2 --quiet");
    ASSERT_EQ(result.iExit, 0) << result.err;
    Db db(Path("people.db"));
    const std::vector<std::string> masked = Masked({kValidFr[0], kValidFr[1], kValidFr[3]});
    EXPECT_EQ(db.Values("nir"), (Column{masked[0], std::nullopt, masked[1], "", "   ", masked[2]}));
    EXPECT_EQ(db.Values("name")[5], "name 5");
}

TEST_F(SqliteTest, RejectedRows) {
    const Column nirs = {kValidFr[0], "12345", kValidFr[1]};
    const std::string masked0 = Masked({kValidFr[0]})[0];
    const std::string masked1 = Masked({kValidFr[1]})[0];
    struct Case {
        const char* pArgs;
        int iExit;
        Column after;
    };
    const Case cases[] = {
        {"", 1, nirs},  // fail: rolled back, nothing changed
        {"--on-reject null", 1, {masked0, std::nullopt, masked1}},
        {"--on-reject empty", 1, {masked0, "", masked1}},
        {"--pass-invalid", 0, {masked0, "12345", masked1}},
        {"--error-limit 1 --batch 1 --on-reject null", 1, nirs},  // stopped before the end: rolled back
    };
    for (const Case& c : cases) {
        std::filesystem::remove(Path("people.db"));
        MakeTable(Path("people.db"), nirs);
        const RunResult result = Run(std::string("--country FR --db people.db --table person --column nir ") + c.pArgs);
        EXPECT_EQ(result.iExit, c.iExit) << c.pArgs << ": " << result.err;
        EXPECT_EQ(Db(Path("people.db")).Values("nir"), c.after) << c.pArgs;
    }
    EXPECT_EQ(Run("--country FR --db people.db --table nobody --column nir").iExit, 2);
    EXPECT_EQ(Run("--country FR --db people.db --table person --column nobody").iExit, 2);
    EXPECT_EQ(Run("--country FR --db missing.db --table person --column nir").iExit, 4);
}

TEST_F(SqliteTest, RandomKeepsNullsUnlessAskedAndInputErrorsRollBack) {
    MakeTable(Path("people.db"), {kValidFr[0], std::nullopt, "", "x"});
    ASSERT_EQ(Run("--country FR --db people.db --table person --column nir --method random --quiet").iExit, 0);
    const Column kept = Db(Path("people.db")).Values("nir");
    ASSERT_EQ(kept.size(), 4u);
    EXPECT_EQ(kept[1], std::nullopt);
    EXPECT_EQ(kept[2], "");
    ASSERT_EQ(
        Run("--country FR --db people.db --table person --column nir --method random --fill-null --quiet").iExit, 0);
    const Column generated = Db(Path("people.db")).Values("nir");
    for (const auto& value : generated) EXPECT_TRUE(value && value->size() == 15) << value.value_or("NULL");
    EXPECT_EQ(Run("--country FR --quiet --validate", JoinLines({*generated[0], *generated[1], *generated[2],
                                                                 *generated[3]})).iExit, 0);

    // A value that is not UTF-8 is a rejected row: under fail, after earlier batches were staged, all rolled back.
    std::filesystem::remove(Path("people.db"));
    MakeTable(Path("people.db"), {kValidFr[0], kValidFr[1], kValidFr[2]});
    Db(Path("people.db")).Exec("UPDATE person SET nir = CAST(X'26FF' AS TEXT) WHERE id = 3");
    const Column before = Db(Path("people.db")).Values("nir");
    const RunResult result = Run("--country FR --db people.db --table person --column nir --batch 1");
    EXPECT_EQ(result.iExit, 1);
    EXPECT_NE(result.err.find("9004: the value is not valid UTF-8 (row 3)"), std::string::npos) << result.err;
    EXPECT_EQ(Db(Path("people.db")).Values("nir"), before);
}

TEST_F(SqliteTest, KilledHalfwayLeavesTheTableUnchanged) {
    // Large enough that pages reach the database file before the commit.
    constexpr int kRows = 200000;
    {
        Db db(Path("big.db"));
        db.Exec("CREATE TABLE person(id INTEGER PRIMARY KEY, name TEXT, nir TEXT)");
        db.Exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(kRows) +
                ") INSERT INTO person(name, nir) SELECT printf('%0100d', i), '" + kValidFr[0] + "' FROM n");
    }
    // An old modification time: any write to the file changes it, whatever the clock's granularity.
    const struct timespec old[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, Path("big.db").c_str(), old, 0), 0);
    const std::string command = std::string("cd '") + dir_.string() + "' && exec " + NIDMASK_BIN +
                                " --country FR --db big.db --table person --column nir --batch 100 --quiet";
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // Kill it once it has written into the database file itself.
    bool bWritten = false;
    bool bEnded = false;
    int status = 0;
    for (int i = 0; i < 10000 && !bWritten && !bEnded; ++i) {
        struct stat now {};
        if (stat(Path("big.db").c_str(), &now) == 0 && now.st_mtim.tv_sec != old[1].tv_sec) bWritten = true;
        bEnded = waitpid(pid, &status, WNOHANG) == pid;
        if (!bWritten && !bEnded) usleep(500);
    }
    if (!bEnded) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    ASSERT_TRUE(bWritten) << "the run ended before it wrote to the database";
    ASSERT_TRUE(WIFSIGNALED(status)) << "the run ended before it was killed";
    Db db(Path("big.db"));
    const Column values = db.Values("nir");
    ASSERT_EQ(values.size(), static_cast<size_t>(kRows));
    for (const auto& value : values) ASSERT_EQ(value, kValidFr[0]);
}

}  // namespace
}  // namespace nidmask_test
