// Progress bar and summary.
#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace nidmask {

Progress::Progress(bool bForced, bool bAllowed, bool bOutputOnStdout, uint64_t iTotalBytes, uint64_t iTotalRows)
    : bEnabled_(bAllowed && (bForced || (isatty(STDERR_FILENO) != 0 &&
                                         !(bOutputOnStdout && isatty(STDOUT_FILENO) != 0)))),
      bForced_(bForced),
      iTotalBytes_(iTotalBytes),
      iTotalRows_(iTotalRows),
      start_(Clock::now()),
      lastDraw_(start_) {}

double Progress::Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

void Progress::Update(uint64_t iRows, uint64_t iBytes) {
    if (!bEnabled_) return;
    const Clock::time_point now = Clock::now();
    if (!bForced_ && now - start_ < std::chrono::seconds(1)) return;
    if (bShown_ && now - lastDraw_ < std::chrono::milliseconds(100)) return;
    lastDraw_ = now;
    bShown_ = true;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    double fraction = -1;
    if (iTotalRows_ > 0) fraction = static_cast<double>(iRows) / static_cast<double>(iTotalRows_);
    else if (iTotalBytes_ > 0) fraction = static_cast<double>(iBytes) / static_cast<double>(iTotalBytes_);
    char line[160];
    const double rate = seconds > 0 ? static_cast<double>(iRows) / seconds : 0;
    if (fraction >= 0) {
        if (fraction > 1) fraction = 1;
        char bar[31];
        const int filled = static_cast<int>(fraction * 30);
        for (int i = 0; i < 30; ++i) bar[i] = i < filled ? '#' : '.';
        bar[30] = '\0';
        std::snprintf(line, sizeof(line), "\r[%s] %3d%%  %llu rows  %.0f rows/s\033[K", bar,
                      static_cast<int>(fraction * 100), static_cast<unsigned long long>(iRows), rate);
    } else {
        std::snprintf(line, sizeof(line), "\r%llu rows  %.1f s  %.0f rows/s\033[K",
                      static_cast<unsigned long long>(iRows), seconds, rate);
    }
    std::fputs(line, stderr);
    std::fflush(stderr);
}

void Progress::Finish() {
    if (!bShown_) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    bShown_ = false;
}

std::string Summary(const SessionTotals& totals, const SessionSettings& settings, RejectAction onReject,
                    double seconds, const std::string& name) {
    const RowCounts& counts = totals.counts;
    const std::vector<MessageTally>& tallies = totals.tallies;
    // (Only an instance given a key encrypts: its Service method says so.)
    const uint16_t sService = settings.sServiceMethod;
    const char* pDone = settings.instance.sMethod == QRNP_METHOD_RANDOM ? " generated, "
                        : sService == QRNP_METHOD_ENCRYPT                  ? " encrypted, "
                        : sService == QRNP_METHOD_DECRYPT                  ? " decrypted, "
                                                                           : " masked, ";
    const auto n = [](uint64_t value) { return std::to_string(value); };
    std::string text = "nidmask: " + (name.empty() ? "" : name + ": ") + n(counts.iRead) + " rows read: " + n(counts.iMasked) +
                       pDone + n(counts.PassedThrough()) + " passed through";
    std::string detail;
    const auto add = [&](uint64_t value, const char* pWhat) {
        if (value == 0) return;
        detail += (detail.empty() ? " (" : ", ") + n(value) + " " + pWhat;
    };
    add(counts.iEmpty, "empty");
    add(counts.iBlank, "blank");
    add(counts.iInvalid, "invalid");
    if (!detail.empty()) text += detail + ")";
    text += ", " + n(counts.iRejected) + " rejected, " + n(counts.iNull) + " NULL";
    if (counts.iUnserved > 0) text += ", " + n(counts.iUnserved) + " not served";
    char timing[80];
    const double rate = seconds > 0 ? static_cast<double>(counts.iRead) / seconds : 0;
    std::snprintf(timing, sizeof(timing), "; %.2f s, %.0f rows/s\n", seconds, rate);
    text += timing;
    if (counts.iUnserved > 0 || counts.bStoppedAtLimit) text += "nidmask: the error limit stopped the run\n";
    if (counts.iRejected > 0) {
        const char* pBecame = onReject == RejectAction::Empty  ? "written empty"
                              : onReject == RejectAction::Null ? "written as NULL"
                              : onReject == RejectAction::Drop ? "left out"
                                                               : "not written";
        text += "nidmask: rejected rows (" + std::string(pBecame) + "): ";
        const std::vector<uint64_t>& rows = totals.rejectedRows;
        for (size_t i = 0; i < rows.size(); ++i) text += (i == 0 ? "" : ", ") + n(rows[i]);
        if (counts.iRejected > rows.size()) text += " and " + n(counts.iRejected - rows.size()) + " more (see --report)";
        text += "\n";
    }
    constexpr size_t kShown = 10;
    for (size_t i = 0; i < tallies.size() && i < kShown; ++i) {
        const MessageTally& tally = tallies[i];
        text += "nidmask:   " + n(tally.iCount) + " x " + std::to_string(tally.iMessage) + ": " + tally.text;
        if (tally.iFirstRow > 0) text += tally.iCount > 1 ? " (first at row " + n(tally.iFirstRow) + ")"
                                                           : " (row " + n(tally.iFirstRow) + ")";
        text += "\n";
    }
    if (tallies.size() > kShown) text += "nidmask:   ... and " + n(tallies.size() - kShown) + " more message numbers\n";
    return text;
}

}  // namespace nidmask
