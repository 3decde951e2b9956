// The command line: every option, its default, and the checks that turn a
// bad command line into exit status 2 with a message naming the problem.
#ifndef NIDMASK_OPTIONS_H
#define NIDMASK_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "column_rule.h"

namespace nidmask {

enum class InputFormat { Lines, Csv };
// Whether the first CSV record is a header: decided by looking at it (Auto),
// or forced either way by --header / --no-header.
enum class HeaderMode { Auto, Header, NoHeader };

struct Options {
    // Input and output (file-wide).
    std::string input;                  // "" or "-": standard input
    std::string output;                 // "": standard output
    InputFormat format = InputFormat::Lines;
    char cDelimiter = ',';              // csv: the field delimiter
    HeaderMode header = HeaderMode::Auto;
    std::string nullText = "\\N";
    std::optional<uint64_t> count;      // rows to generate without input
    std::string dbPath;
    int iBatch = 1000;
    int iErrorLimit = 0;
    int iJobs = 1;                      // worker processes; 1: none, the run masks in this process

    // The masked columns: the rules file's, or the command line's one.
    std::vector<ColumnRule> rules;
    std::string rulesPath;
    bool bExplain = false;              // print the resolved rules and stop

    // Reports.
    std::string reportPath;
    std::string tracePath;
    bool bQuiet = false;
    bool bProgress = false;
    bool bShowValues = false;           // identifiers in clear on standard error and in the report
    std::string providerPath;           // "": the default path

    // What a rule's rejected rows become: its own setting, else fail in a
    // database and empty in a file.
    RejectAction OnReject(const ColumnRule& rule) const {
        return rule.onReject.value_or(dbPath.empty() ? RejectAction::Empty : RejectAction::Fail);
    }
};

struct ParsedCommandLine {
    std::optional<Options> options;     // set when the run should go ahead
    int iExitCode = 0;                  // otherwise: 0 after --help or --version, 2 after an error
};

// Parses argv and reads the rules file. Help and version texts go to
// standard output, errors to standard error.
ParsedCommandLine ParseCommandLine(int argc, char** argv);

}  // namespace nidmask

#endif
