// A worker process of a run with --jobs: forked by the parent once the
// provider is loaded and the sessions are set up but not started, it
// starts its own provider instances (one per rule), serves the chunks its
// parent orders with the one serving loop, and replies with their output,
// report lines and totals (worker_wire.h).
#ifndef NIDMASK_WORKER_H
#define NIDMASK_WORKER_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "chunk_cutter.h"
#include "report.h"
#include "serve_loop.h"
#include "text_codec.h"

namespace nidmask {

// How a worker reads its chunks: the format's settings as the parent resolved them.
struct WorkerFormat {
    RecordSyntax syntax = RecordSyntax::Lines;
    std::string inputName;         // for messages
    int iInputFd = -1;             // the input, for chunks read at an offset
    size_t iBatch = 1000;
    std::string nullText;
    std::vector<Encoding> encodings;  // per column (lines: one)
    char cDelimiter = ',';            // CSV
    std::vector<size_t> columns;      // CSV: the masked columns, 0-based
    bool bHeader = false;             // CSV: the input has a header (messages number records after it)
};

// Runs the worker from just after fork: never returns. `jobs` are the
// parent's sessions, not started; report lines go to the parent.
[[noreturn]] void RunWorker(const WorkerFormat& format, std::vector<ColumnJob>& jobs, ReportWriter* pReport,
                            pid_t parent, int fdOrders, int fdReplies);

}  // namespace nidmask

#endif
