// The three kinds of run. Each returns nidmask's exit status.
#ifndef NIDMASK_RUNS_H
#define NIDMASK_RUNS_H

#include "run_common.h"

namespace nidmask {

// One value per line from INPUT (or --count rows without a source), one result per line out.
int RunLines(const RunContext& context);

// A column of a CSV file; every other byte copied unchanged.
int RunCsv(const RunContext& context);

// A column of a SQLite table, updated in place in one transaction.
int RunDatabase(const RunContext& context);

}  // namespace nidmask

#endif
