// Tracing: off by default, one readable line per event, whole lines under
// concurrency, and the trace file named by QRNP_TRACE at load.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <qrnp/qrnp_os.h>

extern char** environ;

namespace {

std::string TempPath(const char* pName) {
    return ::testing::TempDir() + pName + std::to_string(getpid());
}

std::vector<std::string> ReadLines(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

TEST(Trace, OffUnlessAFileIsNamed) {
    const char* pEnv = std::getenv("QRNP_TRACE");
    if (pEnv != nullptr && *pEnv != 0) GTEST_SKIP() << "QRNP_TRACE is set for this run";
    EXPECT_EQ(KNL_TraceActive, 0);
    KNL_FuncPro("C", "F");  // must be harmless
}

TEST(Trace, EventsBecomeReadableLines) {
    const std::string path = TempPath("trace_lines");
    std::remove(path.c_str());
    ASSERT_EQ(KNL_Trace_SetFile(path.c_str()), 0);
    EXPECT_EQ(KNL_TraceActive, 1);
    const int16_t i16 = -7;
    const uint16_t u16 = 65535;
    const int32_t i32 = 3;
    const uint32_t u32 = 4294967295u;
    const int64_t i64 = INT64_MIN;
    const uint64_t u64 = UINT64_MAX;
    IOQ_TRC_ResFmid("QRNPNidS");
    KNL_FuncPro("QRNPNidS", "Init");
    KNL_FuncEpi("QRNPNidS", "Init", -2);
    KNL_Trace_RecordDiagnostic("QRNPNidFrS", "Invalid separator", KNL_TRC_TEXT, nullptr);
    KNL_Trace_RecordDiagnostic("QRNPNidFrS", "iRownum", KNL_TRC_I32, &i32);
    KNL_Trace_RecordDiagnostic("Q", "s", KNL_TRC_I16, &i16);
    KNL_Trace_RecordDiagnostic("Q", "us", KNL_TRC_U16, &u16);
    KNL_Trace_RecordDiagnostic("Q", "u", KNL_TRC_U32, &u32);
    KNL_Trace_RecordDiagnostic("Q", "l", KNL_TRC_I64, &i64);
    KNL_Trace_RecordDiagnostic("Q", "ul", KNL_TRC_U64, &u64);
    KNL_Trace_RecordDiagnostic("Q", "p", KNL_TRC_PTR, reinterpret_cast<const void*>(0x1f00));
    KNL_Trace_RecordDiagnostic("Q", "str", KNL_TRC_STR, "NID");
    KNL_Trace_RecordDiagnostic("Q", "w", KNL_TRC_WSTR, L"Ré€\U0001F600 \xD800");
    KNL_Trace_RecordDiagnostic("Q", "none", KNL_TRC_WSTR, nullptr);
    KNL_Trace_RecordDiagnostic("Q", "odd", 42, &i32);
    KNL_FuncPro(nullptr, nullptr);
    ASSERT_EQ(KNL_Trace_SetFile(nullptr), 0);
    EXPECT_EQ(KNL_TraceActive, 0);
    KNL_FuncPro("Q", "after close");

    const std::vector<std::string> expected = {
        "COMP  QRNPNidS",
        "ENTRY QRNPNidS Init",
        "EXIT  QRNPNidS Init rc=-2",
        "TEXT  QRNPNidFrS Invalid separator",
        "VAR   QRNPNidFrS iRownum=3",
        "VAR   Q s=-7",
        "VAR   Q us=65535",
        "VAR   Q u=4294967295",
        "VAR   Q l=-9223372036854775808",
        "VAR   Q ul=18446744073709551615",
        "VAR   Q p=0x1f00",
        "VAR   Q str=\"NID\"",
        "VAR   Q w=\"R\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 \xEF\xBF\xBD\"",
        "VAR   Q none=<NULL>",
        "VAR   Q odd=<kind 42>",
        "ENTRY <NULL> <NULL>",
    };
    EXPECT_EQ(ReadLines(path), expected);

    // Opening the same file again appends.
    ASSERT_EQ(KNL_Trace_SetFile(path.c_str()), 0);
    KNL_FuncPro("Q", "again");
    ASSERT_EQ(KNL_Trace_SetFile(nullptr), 0);
    EXPECT_EQ(ReadLines(path).size(), expected.size() + 1);
    std::remove(path.c_str());
}

// Redacted, a string or a number of five or more digits shows its first two
// characters and its length, as the hosts' messages show values.
TEST(Trace, RedactionHidesValuesOfFiveOrMoreDigits) {
    const std::string path = TempPath("trace_redacted");
    std::remove(path.c_str());
    const int32_t i4 = 1234, i5 = -12345;
    const uint64_t u13 = 1850578006084;
    const struct {
        const char* pName;
        int32_t iKind;
        const void* pValue;
        const char* pExpected;
    } cases[] = {
        {"small", KNL_TRC_I32, &i4, "VAR   Q small=1234"},
        {"negative", KNL_TRC_I32, &i5, "VAR   Q negative=[-1... 6 characters]"},
        {"lNumber", KNL_TRC_U64, &u13, "VAR   Q lNumber=[18... 13 characters]"},
        {"pData", KNL_TRC_PTR, reinterpret_cast<const void*>(0x7f001234abcd), "VAR   Q pData=0x7f001234abcd"},
        {"pInBuf", KNL_TRC_WSTR, L"269037511604241", "VAR   Q pInBuf=[26... 15 characters]"},
        {"wide", KNL_TRC_WSTR, L"\u00C9\u00E9abc", "VAR   Q wide=[\xC3\x89\xC3\xA9... 5 characters]"},
        {"short", KNL_TRC_STR, "NID", "VAR   Q short=[3 characters]"},
        {"one", KNL_TRC_STR, "A", "VAR   Q one=[1 character]"},
        {"none", KNL_TRC_WSTR, nullptr, "VAR   Q none=<NULL>"},
    };
    ASSERT_EQ(KNL_Trace_SetFile(path.c_str()), 0);
    KNL_Trace_SetRedaction(1);
    for (const auto& c : cases) KNL_Trace_RecordDiagnostic("Q", c.pName, c.iKind, c.pValue);
    KNL_Trace_SetRedaction(0);
    KNL_Trace_RecordDiagnostic("Q", "again", KNL_TRC_U64, &u13);
    ASSERT_EQ(KNL_Trace_SetFile(nullptr), 0);
    std::vector<std::string> expected;
    for (const auto& c : cases) expected.push_back(c.pExpected);
    expected.push_back("VAR   Q again=1850578006084");
    EXPECT_EQ(ReadLines(path), expected);
    std::remove(path.c_str());
}

TEST(Trace, UnopenableFileLeavesTracingOff) {
    EXPECT_NE(KNL_Trace_SetFile("/nonexistent-dir/trace.txt"), 0);
    EXPECT_EQ(KNL_TraceActive, 0);
}

TEST(Trace, ConcurrentLinesStayWhole) {
    const std::string path = TempPath("trace_threads");
    std::remove(path.c_str());
    ASSERT_EQ(KNL_Trace_SetFile(path.c_str()), 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 500; ++i) KNL_Trace_RecordDiagnostic("QRNPNidCaS", "a fairly long diagnostic text", 0, nullptr);
        });
    }
    for (auto& th : threads) th.join();
    ASSERT_EQ(KNL_Trace_SetFile(nullptr), 0);
    const auto lines = ReadLines(path);
    ASSERT_EQ(lines.size(), 2000u);
    for (const auto& line : lines) ASSERT_EQ(line, "TEXT  QRNPNidCaS a fairly long diagnostic text");
    std::remove(path.c_str());
}

// Runs in a child process started by the next test, with QRNP_TRACE set:
// the file must already be open when the library has loaded.
TEST(TraceChild, WritesThroughEnvironmentFile) {
    if (std::getenv("QRNP_TRACE_CHILD") == nullptr) GTEST_SKIP() << "runs only as the child of TraceEnvironment";
    ASSERT_EQ(KNL_TraceActive, 1);
    KNL_FuncPro("child", "Probe");  // not flushed here: the exit must flush it
}

TEST(TraceEnvironment, FileNamedAtLoadIsOpenedAndFlushedAtExit) {
    const std::string path = TempPath("trace_env");
    std::remove(path.c_str());
    std::vector<std::string> env = {"QRNP_TRACE=" + path, "QRNP_TRACE_CHILD=1"};
    std::vector<char*> envp;
    for (char** e = environ; *e != nullptr; ++e) {
        if (std::string(*e).rfind("QRNP_TRACE", 0) != 0) envp.push_back(*e);
    }
    for (auto& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);
    std::string filter = "--gtest_filter=TraceChild.*";
    char* argv[] = {const_cast<char*>("host_tests"), filter.data(), nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, "/proc/self/exe", &quiet, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&quiet);
    ASSERT_EQ(rc, 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(ReadLines(path), std::vector<std::string>{"ENTRY child Probe"});
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);  // made before any host could narrow the umask
    std::remove(path.c_str());
}

}  // namespace
