// The three kinds of run: lines, a delimited file, a SQLite table. Each
// builds its source, sink and column sessions and hands them to the one
// serving loop. Each returns nidmask's exit status.
#ifndef NIDMASK_RUNS_H
#define NIDMASK_RUNS_H

#include "hostkit.h"
#include "options.h"
#include "report.h"

namespace nidmask {

struct RunContext {
    const Options& options;
    const hostkit::EntryPoints& entryPoints;
    ReportWriter* pReport;
};

// One value per line from INPUT (or --count rows without a source), one result per line out.
int RunLines(const RunContext& context);

// A column of a delimited file; every other byte copied unchanged.
int RunCsv(const RunContext& context);

// A column of a SQLite table, updated in place in one transaction.
int RunDatabase(const RunContext& context);

}  // namespace nidmask

#endif
