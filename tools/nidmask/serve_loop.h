// The one loop of every run: read a batch from the source, serve each
// masked column through its own provider session, write the batch to the
// sink; stop early when a rejected row must fail the run or the error limit
// is reached, and then leave the destination as it was.
#ifndef NIDMASK_SERVE_LOOP_H
#define NIDMASK_SERVE_LOOP_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "masking_session.h"
#include "options.h"
#include "record_stream.h"

namespace nidmask {

class Progress;

// One masked column: its session, what its rejected rows become, and its
// name for the summary ("" when the run has one column).
struct ColumnJob {
    std::unique_ptr<MaskingSession> session;
    RejectAction onReject = RejectAction::Empty;
    std::string name;
};

// How the loop runs and reports.
struct LoopSettings {
    size_t iBatch = 1000;
    bool bQuiet = false;
    bool bProgress = false;
    bool bOutputOnStdout = false;  // no progress bar by default when the results go to the terminal
    uint64_t iTotalRows = 0;       // known row count for the progress bar (0: unknown)
};

// Starts every session (Init), serves the whole source into the sink,
// finishes the sessions (Terminate), prints the summary and commits the sink.
// Returns nidmask's exit status.
int ServeRecords(RecordSource& source, RecordSink& sink, std::vector<ColumnJob>& jobs, const LoopSettings& settings);

// The parts of ServeRecords, which worker processes (parallel_run.h) use
// too.

// Starts every session in turn; false at the first Init that fails, with
// *pFailure the lines that say so (FailureText).
bool StartSessions(std::vector<ColumnJob>& jobs, std::string* pFailure);

// Why a run of batches ended.
struct BatchesEnd {
    enum Kind : uint8_t {
        Done,           // the source is read to its end
        RejectedStop,   // --on-reject fail: record iRecord must fail the run
        LimitStop,      // the error limit stopped the run after record iRecord
        ReadError,      // the source failed: `error`
        WriteError,     // the sink failed: `error`
        ServiceFailed,  // Service returned a message number: `error` holds the lines that say so
        WorkerFailed    // a worker process died or broke off: `error`
    } kind = Done;
    uint64_t iRecord = 0;
    std::string error;
};

// Serves batches of up to iBatch records from the source into the sink
// until one of the ends above. *piRecords counts the records served before
// (it numbers the next batch) and is moved on past each batch written. The
// sessions must be started; the sink is neither committed nor abandoned.
BatchesEnd ServeBatches(RecordSource& source, RecordSink& sink, std::vector<ColumnJob>& jobs, size_t iBatch,
                        uint64_t* piRecords, Progress* pProgress);

// What a finished column reports: its totals and how its Terminate went.
struct ColumnOutcome {
    SessionTotals totals;
    const SessionSettings* pSettings = nullptr;
    RejectAction onReject = RejectAction::Empty;
    std::string name;
    int32_t iTerminate = 0;
    std::string terminateFailure;  // FailureText of a Terminate that returned a message number
};

// The progress bar cleared, each column's summary (unless bQuiet) and
// Terminate failure printed. The exit status from the rows (0 or
// kExitRowsFailed), or kExitProvider when a Terminate failed.
int ReportColumns(const std::vector<ColumnOutcome>& columns, Progress& progress, bool bQuiet);

// Ends a run as `end` says: the sink committed or abandoned, the messages
// printed. `finish` finishes the sessions and reports them (ReportColumns)
// where the run calls for it. Returns nidmask's exit status.
int EndRun(const BatchesEnd& end, RecordSink& sink, const std::function<int()>& finish);

// "nidmask: the provider's Init failed with 4353: <text>\n", then a line per
// other message the call captured.
std::string FailureText(const char* pEntryPoint, int32_t iResult, const MaskingSession& session);

// Prints "nidmask: <text>" on standard error.
void PrintError(const std::string& text);

}  // namespace nidmask

#endif
