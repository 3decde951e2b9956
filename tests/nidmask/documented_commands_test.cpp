// Every nidmask command that README.md and --help show runs as written from
// the project root (here: a scratch directory that sees the examples).
#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using DocumentedCommandsTest = NidmaskTest;

// The indented command lines of a text that start with one of `programs`
// (or run it under a umask: "(umask 077; nidmask ...)").
std::vector<std::string> Commands(const std::string& text, const std::vector<std::string>& programs) {
    std::vector<std::string> commands;
    for (std::string line : Lines(text)) {
        const size_t start = line.find_first_not_of(' ');
        if (start == std::string::npos || start < 2) continue;
        line = line.substr(start);
        if (const size_t comment = line.find("  #"); comment != std::string::npos) line.resize(comment);
        const std::string run = line.rfind("(umask ", 0) == 0 ? line.substr(line.find("; ") + 2) : line;
        for (const std::string& program : programs)
            if (run.rfind(program + " ", 0) == 0) commands.push_back(line);
    }
    return commands;
}

TEST_F(DocumentedCommandsTest, ReadmeAndHelpExamplesRun) {
    std::filesystem::create_directory_symlink(std::filesystem::path(NIDMASK_SOURCE_DIR) / "examples", Path("examples"));
    const std::string bin = std::filesystem::path(NIDMASK_BIN).parent_path().string();
    std::vector<std::string> commands = Commands(ReadFile(std::filesystem::path(NIDMASK_SOURCE_DIR) / "README.md"),
                                                 {"nidmask", "sqlite3"});
    const size_t nReadme = commands.size();
    const std::string help = Run("--help").out;
    for (const std::string& command : Commands(help.substr(help.find("Examples:")), {"nidmask"}))
        commands.push_back(command);
    EXPECT_GE(nReadme, 5u);
    EXPECT_GT(commands.size(), nReadme);
    for (const std::string& command : commands) {
        const std::string shell = "cd '" + dir_.string() + "' && PATH='" + bin + "':$PATH; ( " + command +
                                  " ) </dev/null >out 2>err";
        const int status = std::system(shell.c_str());
        const int iExit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        // 1 is a run with rejected rows (the examples hold invalid values on purpose).
        EXPECT_TRUE(iExit == 0 || iExit == 1) << command << ": exit " << iExit << ": " << ReadFile(Path("err"));
    }
}

}  // namespace
}  // namespace nidmask_test
