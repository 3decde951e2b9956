// Running the built nidmask from a test: a scratch directory per test,
// files in it, and one run's exit status, standard output and error.
#ifndef NIDMASK_TESTS_NIDMASK_RUN_H
#define NIDMASK_TESTS_NIDMASK_RUN_H

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nidmask_test {

// Valid French numbers (keys checked, communes that exist) in several layouts.
inline const std::vector<std::string> kValidFr = {"269037511604241", "1850578006084-91", "1920475056123 20",
                                                  "285022A00407378", "186072B12001535"};

struct RunResult {
    int iExit = -1;
    std::string out;
    std::string err;
};

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

inline std::string JoinLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// Starts `nidmask <args>` in `dir` (a shell fragment) and returns its pid.
inline pid_t Start(const std::filesystem::path& dir, const std::string& args) {
    const std::string command = "cd '" + dir.string() + "' && exec " + NIDMASK_BIN + " " + args;
    const pid_t pid = fork();
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    return pid;
}

// True once process `pid` holds open a non-empty output file of `dir` that
// has no name yet, or a temporary name: a run writing its -o file.
inline bool IsWritingOutput(pid_t pid, const std::filesystem::path& dir) {
    std::error_code error;
    const std::filesystem::path fds = "/proc/" + std::to_string(pid) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(fds, error)) {
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        if (target.rfind(dir.string() + "/", 0) != 0) continue;
        if (target.find(" (deleted)") == std::string::npos && target.find(".nidmask-") == std::string::npos) continue;
        struct stat info {};
        if (stat(entry.path().c_str(), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) return true;
    }
    return false;
}

// True where `dir`'s file system makes unnamed files (O_TMPFILE): output
// written there leaves nothing behind even when its run is killed.
inline bool MakesUnnamedFiles(const std::filesystem::path& dir) {
    const int fd = open(dir.c_str(), O_TMPFILE | O_WRONLY, 0600);
    if (fd < 0) return false;
    close(fd);
    return true;
}

// A test with its own scratch directory; Run executes nidmask there.
class NidmaskTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* pInfo = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = std::filesystem::temp_directory_path() /
               ("nidmask_test_" + std::to_string(getpid()) + "_" + pInfo->test_suite_name() + "_" + pInfo->name());
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        if (!HasFailure()) std::filesystem::remove_all(dir_);
    }

    std::filesystem::path Path(const std::string& name) const { return dir_ / name; }

    // Runs `nidmask <args>` (a shell fragment, in the scratch directory)
    // with `input` on standard input.
    RunResult Run(const std::string& args, const std::string& input = "") const {
        WriteFile(Path("stdin"), input);
        const std::string command = "cd '" + dir_.string() + "' && " + NIDMASK_BIN + " " + args +
                                    " <stdin >stdout 2>stderr";
        const int status = std::system(command.c_str());
        RunResult result;
        result.iExit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.out = ReadFile(Path("stdout"));
        result.err = ReadFile(Path("stderr"));
        return result;
    }

    // The masked value of each of `values` (lines mode, one run).
    std::vector<std::string> Masked(const std::vector<std::string>& values, const std::string& args = "") const {
        const RunResult result = Run("--country FR --quiet " + args, JoinLines(values));
        EXPECT_EQ(result.iExit, 0) << result.err;
        return Lines(result.out);
    }

    std::filesystem::path dir_;
};

}  // namespace nidmask_test

#endif
