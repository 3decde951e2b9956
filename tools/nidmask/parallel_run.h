// A run of a file with worker processes (--jobs N). The parent reads the
// input and cuts it into chunks of whole batches (chunk_cutter.h), hands
// each to the worker with the least work in hand, and writes the workers'
// output, report lines and totals back in input order, so that the output,
// the report, the summary and the exit status are those of one process.
//
// At most a few chunks per worker are in flight, whatever the input's
// size. A worker reads a chunk of a regular file itself, at its offset;
// other input (a pipe, a FIFO) goes to it over its socket. A worker that
// dies fails the run (exit status 3) with the output left as it was; a
// parent that fails kills its workers, and a parent that dies takes them
// along.
#ifndef NIDMASK_PARALLEL_RUN_H
#define NIDMASK_PARALLEL_RUN_H

#include <string>
#include <string_view>
#include <vector>

#include "input_file.h"
#include "output_file.h"
#include "report.h"
#include "serve_loop.h"
#include "worker.h"

namespace nidmask {

// Where the parent takes up the input.
struct ParallelInput {
    explicit ParallelInput(InputFile& file) : input(file) {}
    InputFile& input;
    std::string_view pending;   // read already and not parsed: what followed a CSV header
    bool bEnded = false;        // the input ended already
    uint64_t iLinesBefore = 0;  // CSV: line ends before `pending` (the header's)
    std::string header;         // CSV: the header's bytes, written first (after a byte-order mark)
    bool bCsv = false;          // a CSV file's header and mark are written even when no record is
};

// Serves the input with iJobs workers into `output`. Returns nidmask's exit status.
int ServeInWorkers(const ParallelInput& in, OutputFile& output, const WorkerFormat& format,
                   std::vector<ColumnJob>& jobs, ReportWriter* pReport, const LoopSettings& settings, int iJobs);

}  // namespace nidmask

#endif
