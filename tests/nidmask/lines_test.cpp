// Lines mode end to end: masking, row accounting, rejected rows, exit statuses.
#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using LinesTest = NidmaskTest;

// In order, each in its own layout (the separator before the key is kept);
// what was masked validates fully.
TEST_F(LinesTest, MasksEveryLayoutInOrder) {
    const std::vector<std::string> expected = {"167057511573840", "2830278007923-95", "1940975120846 75",
                                               "883112A00625767", "888122B12103505"};
    EXPECT_EQ(Masked(kValidFr), expected);
    EXPECT_EQ(Run("--country FR --validate --quiet", JoinLines(expected)).iExit, 0);
}

// Each line ends as it did (CRLF, LF, none for the last), whatever the batches and column type.
TEST_F(LinesTest, LineEndsAndBatchesDoNotChangeTheResult) {
    const std::vector<std::string> masked = Masked(kValidFr);
    std::string crlf, expected;
    for (size_t i = 0; i < kValidFr.size(); ++i) {
        const char* pEnd = i + 1 == kValidFr.size() ? "" : i % 2 == 0 ? "\r\n" : "\n";
        crlf += kValidFr[i] + pEnd;
        expected += masked[i] + pEnd;
    }
    for (const char* pArgs : {"", "--batch 1", "--batch 2", "--in-place", "--type CHAR --length 20",
                              "--type WVARCHAR", "--type VARCHAR_SZ", "--type WCHAR --length 16"}) {
        const RunResult result = Run(std::string("--country FR --quiet ") + pArgs, crlf);
        EXPECT_EQ(result.iExit, 0) << pArgs << result.err;
        EXPECT_EQ(result.out, expected) << pArgs;
    }
}

TEST_F(LinesTest, RowAccountingAndExitStatus) {
    const std::string valid = "269037511604241";
    const std::string masked = Masked({valid})[0];
    const std::string wrongKey = "269037511604242";  // only a full validation sees it
    const std::string abroad = "295109912611193";     // born abroad: only the official rules know it
    WriteFile(Path("official.toml"), "[[rule]]\ncolumn = 1\ncountry = \"FR\"\nofficial = true\n");
    struct Case {
        const char* pName;
        std::vector<std::string> input;
        std::string args;
        std::vector<std::string> output;
        int iExit;
    };
    const Case cases[] = {
        {"NULL, empty and blank pass", {"\\N", "", "   ", valid}, "", {"\\N", "", "   ", masked}, 0},
        {"own NULL text", {"NULL", "\\N"}, "--null NULL", {"NULL", ""}, 1},
        {"rejected written empty", {"12345", valid}, "", {"", masked}, 1},
        {"rejected dropped", {"12345", valid}, "--on-reject drop", {masked}, 1},
        {"rejected null", {"12345", valid}, "--on-reject null", {"\\N", masked}, 1},
        {"rejected fails", {valid, "12345"}, "--on-reject fail", {}, 1},
        {"invalid passed through", {"12345", "385057800608491", valid}, "--pass-invalid",
         {"12345", "385057800608491", masked}, 0},
        {"wrong key masked", {wrongKey}, "", {Masked({wrongKey})[0]}, 0},
        {"wrong key rejected", {wrongKey, valid}, "--validate", {"", masked}, 1},
        {"method from the control block", {valid}, "--method ctrl", {masked}, 0},
        {"unknown control block method", {valid, valid}, "--method ctrl --ctrl-method 0x1409", {"", ""}, 1},
        {"born abroad, the provider's rules", {abroad, valid}, "--validate", {"", masked}, 1},
        {"born abroad, --official", {abroad, valid}, "--validate --official", {"293039912546546", masked}, 0},
        {"born abroad, official = true", {abroad, valid}, "--validate --rules official.toml", {"293039912546546", masked}, 0},
    };
    for (const Case& c : cases) {
        // (A rules file names the country itself.)
        const std::string country = c.args.find("--rules") == std::string::npos ? "--country FR " : "";
        const RunResult result = Run(country + "--quiet " + c.args, JoinLines(c.input));
        EXPECT_EQ(result.iExit, c.iExit) << c.pName << ": " << result.err;
        EXPECT_EQ(Lines(result.out), c.output) << c.pName;
    }
}

TEST_F(LinesTest, SummaryCountsEveryKindOfRow) {
    const RunResult result =
        Run("--country FR", JoinLines({"269037511604241", "\\N", "", "   ", "12345", "385057800608491"}));
    EXPECT_EQ(result.iExit, 1);
    EXPECT_NE(result.err.find("6 rows read: 1 masked, 2 passed through (1 empty, 1 blank), 2 rejected, 1 NULL"),
              std::string::npos)
        << result.err;
    EXPECT_NE(result.err.find("4405: the value [12... 5 characters] has 5 characters"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("4454: the value [38... 15 characters] has an invalid sex digit"), std::string::npos);
    EXPECT_NE(result.err.find("rejected rows (written empty): 5, 6"), std::string::npos);
    // Values appear in clear only on request.
    EXPECT_EQ(result.err.find("385057800608491"), std::string::npos);
    EXPECT_NE(Run("--country FR --show-values", "385057800608491\n").err.find("the value 385057800608491 has"),
              std::string::npos);
    EXPECT_EQ(Run("--country FR --quiet", "12345\n").err, "");
}

TEST_F(LinesTest, PassedThroughBytesComeOutUnchanged) {
    // ISO-8859-1 bytes for single-byte types, UTF-8 for wide ones; tokens are UTF-8 in the report.
    const std::string latin1 = "caf\xe9 \xff\n";
    const std::string utf8 = "caf\xc3\xa9 \xe2\x82\xac\n";
    struct Case {
        const char* pArgs;
        std::string input;
        std::string token;
    };
    const Case cases[] = {
        {"", latin1, "caf\xc3\xa9 \xc3\xbf"},
        {"--type CHAR --length 12", latin1, "caf\xc3\xa9 \xc3\xbf"},
        {"", utf8, "caf\xc3\x83\xc2\xa9 \xc3\xa2\xc2\x82\xc2\xac"},
        {"--type WVARCHAR", utf8, "caf\xc3\xa9 \xe2\x82\xac"},
        {"--type WVARCHAR_SZ", utf8, "caf\xc3\xa9 \xe2\x82\xac"},
    };
    for (const Case& c : cases) {
        const RunResult result =
            Run(std::string("--country FR --pass-invalid --quiet --show-values --report r.jsonl ") + c.pArgs, c.input);
        EXPECT_EQ(result.iExit, 0) << c.pArgs << result.err;
        EXPECT_EQ(result.out, c.input) << c.pArgs;
        EXPECT_NE(ReadFile(Path("r.jsonl")).find("\"SRCDATA\":\"" + c.token + "\""), std::string::npos) << c.pArgs;
    }
}

TEST_F(LinesTest, ProgressOnRequest) {
    const RunResult result = Run("--country FR --method random --count 3000 --batch 100 --progress");
    EXPECT_EQ(result.iExit, 0);
    // A bar with the rows done so far, cleared before the summary.
    EXPECT_EQ(result.err.rfind("\r[#", 0), 0u) << result.err;
    EXPECT_NE(result.err.find("100 rows"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("\r\x1b[Knidmask: 3000 rows read: 3000 generated"), std::string::npos) << result.err;
}

TEST_F(LinesTest, RandomValuesValidateFully) {
    const RunResult generated = Run("--country FR --method random --count 2500 --quiet");
    ASSERT_EQ(generated.iExit, 0) << generated.err;
    ASSERT_EQ(Lines(generated.out).size(), 2500u);
    const RunResult checked = Run("--country FR --validate --report report.jsonl --quiet", generated.out);
    EXPECT_EQ(checked.iExit, 0) << checked.err;
    EXPECT_EQ(ReadFile(Path("report.jsonl")), "");
    // Random over an input: a value per line; NULL and empty lines stay, unless --fill-null.
    const RunResult overInput = Run("--country FR --method random --quiet", "x\n\\N\n\n");
    EXPECT_EQ(overInput.iExit, 0);
    ASSERT_EQ(Lines(overInput.out).size(), 3u);
    EXPECT_EQ(Lines(overInput.out)[0].size(), 15u);
    EXPECT_EQ(Lines(overInput.out)[1], "\\N");
    EXPECT_EQ(Lines(overInput.out)[2], "");
    for (const std::string& line : Lines(Run("--country FR --method random --fill-null -q", "\\N\n\n").out))
        EXPECT_EQ(line.size(), 15u);
    EXPECT_EQ(Run("--country FR --method random --count 0 --quiet").out, "");
}

TEST_F(LinesTest, ErrorLimitStopsTheRun) {
    const std::vector<std::string> input = {"1", "2", "269037511604241", "3", "4", "5"};
    const RunResult result = Run("--country FR --error-limit 2 --batch 4 --on-reject empty", JoinLines(input));
    EXPECT_EQ(result.iExit, 1);
    EXPECT_EQ(Lines(result.out), (std::vector<std::string>{"", ""}));
    EXPECT_NE(result.err.find("the error limit stopped the run"), std::string::npos) << result.err;
    // A limit the run never reaches changes nothing.
    EXPECT_EQ(Run("--country FR --error-limit 9 --quiet", JoinLines(input)).iExit, 1);
    EXPECT_EQ(Lines(Run("--country FR --error-limit 9 --quiet --on-reject empty", JoinLines(input)).out).size(), 6u);
}

TEST_F(LinesTest, OutputFileAppearsOnlyWhenTheRunCompletes) {
    const RunResult ok = Run("--country FR -o out.txt --quiet", JoinLines(kValidFr));
    EXPECT_EQ(ok.iExit, 0);
    EXPECT_EQ(ok.out, "");
    EXPECT_EQ(Lines(ReadFile(Path("out.txt"))), Masked(kValidFr));

    const RunResult failed = Run("--country FR -o failed.txt --on-reject fail --quiet", "269037511604241\n1\n");
    EXPECT_EQ(failed.iExit, 1);
    EXPECT_FALSE(std::filesystem::exists(Path("failed.txt")));
    for (const auto& entry : std::filesystem::directory_iterator(dir_))
        EXPECT_EQ(entry.path().filename().string().find(".nidmask-"), std::string::npos) << entry.path();
}

TEST_F(LinesTest, InterruptedOutputLeavesNoFile) {
    const std::string command = std::string("cd '") + dir_.string() + "' && exec " + NIDMASK_BIN +
                                " --country FR --method random --count 50000000 -q -o big.txt";
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // Wait until the temporary file has data, then interrupt.
    bool bWriting = false;
    for (int i = 0; i < 2000 && !(bWriting = IsWritingOutput(pid, dir_)); ++i) usleep(2000);
    kill(pid, SIGTERM);
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(bWriting) << "the run never started writing";
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_FALSE(std::filesystem::exists(Path("big.txt")));
    for (const auto& entry : std::filesystem::directory_iterator(dir_))
        EXPECT_EQ(entry.path().filename().string().find(".nidmask-"), std::string::npos) << entry.path();
}

}  // namespace
}  // namespace nidmask_test
