// What the three runs (lines, CSV, SQLite) share: the session settings from
// the options, what to write for a row, and the start and end of a run with
// their messages and exit statuses.
#ifndef NIDMASK_RUN_COMMON_H
#define NIDMASK_RUN_COMMON_H

#include <cstdint>
#include <string>

#include "hostkit.h"
#include "masking_session.h"
#include "options.h"
#include "progress.h"
#include "report.h"

namespace nidmask {

struct RunContext {
    const Options& options;
    const hostkit::EntryPoints& entryPoints;
    ReportWriter* pReport;
};

// Provider settings for a column of type sType named columnName (a message
// token; "" keeps the default name).
SessionSettings MakeSessionSettings(const Options& options, int16_t sType, const std::string& columnName);

// What becomes of a row in the output.
enum class CellAction {
    WriteResult,   // the masked or generated value
    WriteSource,   // the source, unchanged (empty, blank, or invalid passed through)
    WriteNull,     // the NULL text, or SQL NULL
    WriteEmpty,    // an empty value
    Drop,          // leave the row out
    StopRejected,  // --on-reject fail: stop, write nothing
    StopUnserved   // the error limit stopped the provider before this row
};
CellAction ActionFor(RowKind kind, RejectAction onReject);

// Prints "nidmask: <text>" on standard error.
void PrintError(const std::string& text);

// Init; on failure prints the result and the captured messages. 0 or kExitProvider.
int StartSession(MaskingSession& session);

// After ServeResult::ServiceFailed: prints the result and messages; kExitProvider.
int ReportServiceFailure(const MaskingSession& session);

// Terminate, progress bar cleared, summary (unless quiet). The exit status
// from the rows (0 or kExitRowsFailed), or kExitProvider when Terminate
// returned a message number.
int FinishRun(MaskingSession& session, Progress& progress, const Options& options);

}  // namespace nidmask

#endif
