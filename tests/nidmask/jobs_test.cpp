// --jobs N: worker processes change nothing a run writes or says, and a
// worker that dies fails the run without touching the output.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <regex>
#include <thread>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using JobsTest = NidmaskTest;
namespace fs = std::filesystem;

// Lines of every kind a row can be (masked in several layouts, rejected,
// NULL, empty, blank), some with CRLF ends.
std::string MixedLines(size_t nLines) {
    const std::vector<std::string> kinds = {kValidFr[0], kValidFr[1], "12345", "\\N", "", "   ",
                                            kValidFr[2], "385057800608491", kValidFr[3], kValidFr[4]};
    std::string text;
    for (size_t i = 0; i < nLines; ++i) text += kinds[i % kinds.size()] + (i % 7 == 0 ? "\r\n" : "\n");
    return text;
}

// CSV that is hard to cut: a byte-order mark, quoted fields holding line
// ends, commas and quotes, CRLF and LF, blank lines, NULL and rejected
// values, no final line end.
std::string AwkwardCsv(size_t nRecords) {
    const std::vector<std::string> values = {kValidFr[0], "\"" + kValidFr[1] + "\"", "\\N", "", "12345",
                                             "   ", kValidFr[2], "\"" + kValidFr[4] + "\""};
    std::string csv = "\xEF\xBB\xBFid,\"name, full\",nir\r\n";
    for (size_t i = 0; i < nRecords; ++i) {
        csv += std::to_string(i) + ",\"a \"\"b\"\",\nc\"," + values[i % values.size()];
        csv += i % 3 == 0 ? "\r\n" : i % 5 == 0 ? "\n\n" : "\n";
    }
    return csv + "last,x," + kValidFr[3];
}

// The records of the rules example (three identifier columns, an address
// over two lines), repeated.
std::string PeopleCsv(size_t nTimes) {
    const std::string example = ReadFile(fs::path(NIDMASK_SOURCE_DIR) / "examples/people.csv");
    const size_t iFirst = example.find('\n') + 1;
    std::string csv = example.substr(0, iFirst);
    for (size_t i = 0; i < nTimes; ++i) csv += example.substr(iFirst);
    return csv;
}

// Standard error with the run's time and rate left out.
std::string Untimed(const std::string& err) {
    static const std::regex timing("; [0-9.]+ s, [0-9]+ rows/s");
    return std::regex_replace(err, timing, "; (time)");
}

TEST_F(JobsTest, AnyNumberOfJobsWritesAndSaysWhatOneProcessDoes) {
    constexpr size_t kLines = 150000;  // each input is several chunks of 512 KiB
    WriteFile(Path("mixed.txt"), MixedLines(kLines));
    // Valid rows only, but for one rejected row near the end.
    std::string late;
    for (size_t i = 0; i < kLines; ++i) late += kValidFr[i % kValidFr.size()] + "\n";
    WriteFile(Path("late.txt"), late + "12345\n" + kValidFr[0] + "\n");
    const std::string csv = AwkwardCsv(50000);
    WriteFile(Path("awkward.csv"), csv);
    // The same CSV broken near its end, and with a quote that never closes.
    WriteFile(Path("stray.csv"), csv + "\n1,a\"b,c\n" + csv.substr(csv.find('\n') + 1));
    WriteFile(Path("unclosed.csv"), csv + "\n1,\"unclosed," + kValidFr[0] + "\n");
    WriteFile(Path("people.csv"), PeopleCsv(6000));
    fs::copy_file(fs::path(NIDMASK_SOURCE_DIR) / "examples/people.rules.toml", Path("people.rules.toml"));

    struct Case {
        const char* pPipe;    // a command whose output is the input, or ""
        const char* pArgs;
        int iExit;            // of every run
        const char* pOutput;  // the output file, or "" for standard output
    };
    const Case cases[] = {
        {"", "--country FR --on-reject null --report r.jsonl mixed.txt", 1, ""},
        {"", "--country FR --batch 7 --report r.jsonl --show-values < mixed.txt", 1, ""},
        {"", "--country FR --on-reject fail late.txt", 1, ""},
        {"", "--country FR --on-reject fail late.txt -o out.txt", 1, "out.txt"},
        {"", "--country FR --format csv --column nir --report r.jsonl awkward.csv -o out.csv", 1, "out.csv"},
        {"cat awkward.csv", "--country FR --format csv --column 3 --on-reject drop --batch 999", 1, ""},
        {"", "--country FR --format csv --column nir stray.csv", 4, ""},
        {"", "--country FR --format csv --column nir unclosed.csv -o out.csv", 4, "out.csv"},
        {"cat people.csv", "--rules people.rules.toml --report r.jsonl", 1, ""},
    };
    for (const Case& c : cases) {
        // Exit status, standard output, standard error, report, output file.
        constexpr int kResults = 5;
        std::string first[kResults];
        for (int iJobs : {1, 2, 3, 7}) {
            SCOPED_TRACE(std::string(c.pArgs) + " --jobs " + std::to_string(iJobs));
            fs::remove(Path("r.jsonl"));
            if (*c.pOutput != '\0') WriteFile(Path(c.pOutput), "previous\n");
            const std::string command = "cd '" + dir_.string() + "' && " + c.pPipe + (*c.pPipe ? " | " : "") +
                                        NIDMASK_BIN + " " + c.pArgs + " --jobs " + std::to_string(iJobs) +
                                        " >stdout 2>stderr";
            const int status = std::system(command.c_str());
            ASSERT_TRUE(WIFEXITED(status));
            EXPECT_EQ(WEXITSTATUS(status), c.iExit) << ReadFile(Path("stderr"));
            const std::string results[kResults] = {
                std::to_string(WEXITSTATUS(status)), ReadFile(Path("stdout")), Untimed(ReadFile(Path("stderr"))),
                ReadFile(Path("r.jsonl")), *c.pOutput != '\0' ? ReadFile(Path(c.pOutput)) : ""};
            for (int i = 0; i < kResults; ++i) {
                if (iJobs == 1) first[i] = results[i];
                EXPECT_TRUE(results[i] == first[i]) << "result " << i << " differs from --jobs 1's";
            }
        }
        EXPECT_FALSE(first[1].empty() && first[4].empty()) << c.pArgs << ": nothing written";
    }
}

// The children of process `parent`, from /proc.
std::vector<pid_t> ChildrenOf(pid_t parent) {
    std::vector<pid_t> children;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string stat = ReadFile(entry.path() / "stat");
        const size_t iClose = stat.rfind(')');
        if (iClose == std::string::npos) continue;
        std::istringstream fields(stat.substr(iClose + 2));
        std::string state;
        pid_t ppid = 0;
        fields >> state >> ppid;
        if (ppid == parent) children.push_back(static_cast<pid_t>(std::stol(entry.path().filename().string())));
    }
    return children;
}

TEST_F(JobsTest, AKilledWorkerFailsTheRunAndLeavesTheOutputAsItWas) {
    // The input comes slowly through a FIFO, so that the run is still going.
    ASSERT_EQ(mkfifo(Path("in.fifo").c_str(), 0600), 0);
    WriteFile(Path("out.txt"), "previous\n");
    const pid_t pid = Start(dir_, "--country FR --jobs 2 -q in.fifo -o out.txt 2>stderr");
    const sighandler_t previous = signal(SIGPIPE, SIG_IGN);  // the writer outlives its reader
    std::atomic<bool> bStop{false};
    std::thread writer([&] {
        int fd = -1;  // (without blocking: nidmask may never open its end)
        while (!bStop && (fd = open(Path("in.fifo").c_str(), O_WRONLY | O_NONBLOCK)) < 0) usleep(1000);
        if (fd < 0) return;
        fcntl(fd, F_SETFL, 0);
        const std::string block = MixedLines(4096);
        for (int i = 0; i < 5000 && !bStop; ++i) {
            if (write(fd, block.data(), block.size()) < 0) break;
            usleep(2000);
        }
        close(fd);
    });
    const auto waitFor = [](const std::function<bool()>& done) {
        for (int i = 0; i < 2000 && !done(); ++i) usleep(5000);
        return done();
    };
    std::vector<pid_t> workers;
    const bool bStarted = waitFor([&] { return (workers = ChildrenOf(pid)).size() == 2; });
    // Once chunks were written to the temporary output.
    const bool bWriting = waitFor([&] { return IsWritingOutput(pid, dir_); });
    if (bStarted) kill(workers[0], SIGKILL);
    int status = 0;
    bool bEnded = false;
    waitFor([&] { return bEnded = bEnded || waitpid(pid, &status, WNOHANG) == pid; });
    if (!bEnded) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    bStop = true;
    writer.join();
    signal(SIGPIPE, previous);

    ASSERT_TRUE(bStarted && bWriting);
    ASSERT_TRUE(bEnded) << "nidmask hangs after its worker died";
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    const std::string err = ReadFile(Path("stderr"));
    EXPECT_NE(err.find("(pid " + std::to_string(workers[0]) + ") was killed by signal 9"), std::string::npos) << err;
    EXPECT_NE(err.find("out.txt is left as it was"), std::string::npos) << err;
    EXPECT_EQ(ReadFile(Path("out.txt")), "previous\n");
    for (const auto& entry : fs::directory_iterator(dir_))
        EXPECT_EQ(entry.path().filename().string().find(".nidmask-"), std::string::npos) << entry.path();
    EXPECT_TRUE(kill(workers[1], 0) != 0 && errno == ESRCH) << "the other worker is left running";
}

}  // namespace
}  // namespace nidmask_test
