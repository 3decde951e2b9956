// What a run tells standard error: a progress bar while it runs (forced
// with --progress, or on a terminal once the run has taken a second), and
// the summary at the end.
#ifndef NIDMASK_PROGRESS_H
#define NIDMASK_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "column_rule.h"
#include "masking_session.h"

namespace nidmask {

class Progress {
public:
    // bForced: --progress; bAllowed: false with --quiet; bOutputOnStdout:
    // results go to standard output (no bar by default when that is the
    // terminal too). The totals (bytes of a regular file, or rows) give a
    // percentage when known, else 0.
    Progress(bool bForced, bool bAllowed, bool bOutputOnStdout, uint64_t iTotalBytes, uint64_t iTotalRows);

    // Called after each batch; redraws at most ten times a second.
    void Update(uint64_t iRows, uint64_t iBytes);
    // Clears the bar.
    void Finish();

    double Seconds() const;

private:
    using Clock = std::chrono::steady_clock;
    bool bEnabled_;
    bool bForced_;
    bool bShown_ = false;
    uint64_t iTotalBytes_;
    uint64_t iTotalRows_;
    Clock::time_point start_;
    Clock::time_point lastDraw_;
};

// "nidmask: 10 rows read: 7 masked, 2 passed through (1 empty, 1 blank), 1 rejected, 0 NULL; 0.01 s, 1000 rows/s",
// the first rejected rows and what became of them, then a line per message
// number that is not a plain notice. `name` (a column) prefixes the first
// line when not empty.
std::string Summary(const SessionTotals& totals, const SessionSettings& settings, RejectAction onReject,
                    double seconds, const std::string& name);

}  // namespace nidmask

#endif
