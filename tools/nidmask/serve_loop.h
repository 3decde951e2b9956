// The one loop of every run: read a batch from the source, serve each
// masked column through its own provider session, write the batch to the
// sink; stop early when a rejected row must fail the run or the error limit
// is reached, and then leave the destination as it was.
#ifndef NIDMASK_SERVE_LOOP_H
#define NIDMASK_SERVE_LOOP_H

#include <memory>
#include <string>
#include <vector>

#include "masking_session.h"
#include "options.h"
#include "record_stream.h"

namespace nidmask {

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

// Prints "nidmask: <text>" on standard error.
void PrintError(const std::string& text);

}  // namespace nidmask

#endif
