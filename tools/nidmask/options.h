// The command line: every option, its default, and the checks that turn a
// bad command line into exit status 2 with a message naming the problem.
#ifndef NIDMASK_OPTIONS_H
#define NIDMASK_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "country_operands.h"

namespace nidmask {

enum class InputFormat { Lines, Csv };
enum class RejectAction { Drop, Empty, Null, Fail };

struct Options {
    // Input and output.
    std::string input;                  // "" or "-": standard input
    std::string output;                 // "": standard output
    InputFormat format = InputFormat::Lines;
    std::string column;                 // csv: header name or 1-based number; db: column name
    bool bNoHeader = false;
    std::string nullText = "\\N";
    std::optional<uint64_t> count;      // rows to generate without input
    std::string dbPath;
    std::string table;

    // Provider settings.
    std::string countrySwitch;          // UTF-8, passed as a wide string
    uint16_t sServiceMethod = 0x1406;   // what Service is called with
    uint16_t sCtrlMethod = 0x1406;      // the CtrlBlk method and operand 0x100B
    uint16_t sProcFlags = 0;
    std::vector<Operand> operands;      // named settings first, then --option in order
    std::optional<int16_t> dataType;    // unset: VARCHAR, or from the database column
    int32_t iLength = 32;
    bool bInPlace = false;
    int iBatch = 1000;
    int iErrorLimit = 0;

    // Rejected rows and reports.
    RejectAction onReject = RejectAction::Drop;
    std::string reportPath;
    std::string tracePath;
    bool bQuiet = false;
    bool bProgress = false;
    std::string providerPath;           // "": the default path

    bool IsRandom() const { return sCtrlMethod == 0x1407; }
};

struct ParsedCommandLine {
    std::optional<Options> options;     // set when the run should go ahead
    int iExitCode = 0;                  // otherwise: 0 after --help or --version, 2 after an error
};

// Parses argv. Help and version texts go to standard output, errors to
// standard error.
ParsedCommandLine ParseCommandLine(int argc, char** argv);

}  // namespace nidmask

#endif
