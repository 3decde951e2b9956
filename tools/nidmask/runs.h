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

// Prints each rule, resolved: where it applies and what its provider
// instance gets (--explain).
void ExplainRules(const Options& options);

// One value per line from INPUT (or --count rows without a source), one result per line out.
int RunLines(const RunContext& context);

// The rules' columns of a delimited file, in one pass; every other byte copied unchanged.
int RunCsv(const RunContext& context);

// The rules' columns of SQLite tables, updated in place in one transaction: all or none.
int RunDatabase(const RunContext& context);

}  // namespace nidmask

#endif
