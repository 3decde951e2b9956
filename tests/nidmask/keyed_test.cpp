// nidmask with a key: keygen, the key file's permissions, and a key that
// shows nowhere (standard error, --explain, the trace, the report).
#include <sys/stat.h>

#include <regex>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using KeyedTest = NidmaskTest;

const std::string kSsns = "078051121\n123456789\n000000000\n";

TEST_F(KeyedTest, KeygenWritesAFreshKeyThatEncryptsAndDecrypts) {
    const RunResult first = Run("keygen");
    ASSERT_EQ(first.iExit, 0) << first.err;
    EXPECT_TRUE(std::regex_match(first.out, std::regex("[0-9a-f]{64}\n"))) << first.out;
    // What the shell made for `keygen > FILE` is a key file as it must be, whatever the umask.
    std::filesystem::rename(Path("stdout"), Path("k"));
    const RunResult second = Run("keygen");
    EXPECT_NE(first.out, second.out);
    const RunResult encrypted = Run("--country US --method encrypt --key-file k -q", "078051121\n");
    ASSERT_EQ(encrypted.iExit, 0) << encrypted.err;
    const RunResult decrypted = Run("--country US --method decrypt --key-file k -q", encrypted.out);
    EXPECT_EQ(decrypted.out, "078051121\n");
}

TEST_F(KeyedTest, KeyFilesOthersCanReachOrThatHoldNoKeyAreRefused) {
    WriteFile(Path("k"), std::string(64, 'a') + "\n");
    WriteFile(Path("short"), "abcd\n");
    ::chmod(Path("short").c_str(), 0600);
    struct Case {
        mode_t mode;
        std::string file;
        std::string args;
        const char* pError;
    };
    const Case cases[] = {
        {0640, "k", "--method encrypt", "k can be read by its group: chmod 600 k"},
        {0604, "k", "--method encrypt", "k can be read by others: chmod 600 k"},
        {0620, "k", "--method encrypt", "k can be written by its group: chmod 600 k"},
        {0602, "k", "--method decrypt", "k can be written by others: chmod 600 k"},
        {0666, "k", "--method encrypt", "k can be read and written by its group and by others"},
        {0614, "k", "--method encrypt", "k can be executed by its group and read by others"},
        {0600, "short", "--method decrypt", "64 hexadecimal"},
        {0600, "missing", "--method encrypt", "missing"},
        {0600, "k", "--method mask", "--key-file"},
        {0600, "k", "--method random", "--key-file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file + " " + c.args);
        ::chmod(Path("k").c_str(), c.mode);
        const RunResult result = Run("--country US " + c.args + " --key-file " + c.file, kSsns);
        EXPECT_EQ(result.iExit, 2);
        EXPECT_NE(result.err.find(c.pError), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find(std::string(64, 'a')), std::string::npos);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(Run("--country US --method encrypt", kSsns).iExit, 2);
    EXPECT_EQ(Run("--country US --tweak t", kSsns).iExit, 2);
}

TEST_F(KeyedTest, TheKeyAppearsNowhere) {
    const std::string key = "7c3e91d4a5f20b68e3d9c4a1b7f05e2d93c6a8f1d4e7b2a05c9f3e6d1a8b4c70";
    WriteFile(Path("k"), key + "\n");
    ::chmod(Path("k").c_str(), 0600);
    WriteFile(Path("r.toml"), "[[rule]]\ncountry = \"US\"\nmethod = \"encrypt\"\nkey_file = \"k\"\ntweak = \"t\"\ncolumn = 1\n");
    const RunResult run = Run("--rules r.toml --trace trace.txt --report report.jsonl --show-values", kSsns);
    const RunResult explain = Run("--rules r.toml --explain");
    EXPECT_EQ(run.iExit, 1) << run.err;  // 000000000 is refused
    std::string everything = run.out + run.err + explain.out + explain.err + ReadFile(Path("trace.txt")) +
                             ReadFile(Path("report.jsonl"));
    ASSERT_NE(ReadFile(Path("trace.txt")), "");
    for (char& c : everything) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    // No 32 bits of the key, in hexadecimal.
    for (size_t i = 0; i < key.size(); i += 8) EXPECT_EQ(everything.find(key.substr(i, 8)), std::string::npos) << i;
    EXPECT_NE((explain.out + explain.err).find("(the key, not shown)"), std::string::npos) << explain.err;
}

}  // namespace
}  // namespace nidmask_test
