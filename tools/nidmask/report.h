// The --report file: JSON Lines, one object per row whose cell status is
// non-zero or that was rejected, and one per group of messages bound to no
// row:
//   {"row":N,"status":S,"rejected":B,"messages":[{"id":4405,"tokens":{"SRCDATA":"..."},"text":"..."}]}
//   {"row":0,"messages":[...]}
// With a rule's place given, each object names it first:
//   {"table":"person","column":"fr_nir","row":N,...}
#ifndef NIDMASK_REPORT_H
#define NIDMASK_REPORT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit.h"
#include "output_file.h"

namespace nidmask {

class ReportWriter {
public:
    // Writes to `path` (not atomically: a failed run keeps its report; mode
    // 0600). Values in tokens and texts are redacted unless bShowValues.
    bool Open(const std::string& path, bool bShowValues, std::string* pError);
    bool IsOpen() const { return bOpen_; }

    // Where the messages come from: a table ("" for files) and a column ("" for lines).
    struct Place {
        std::string table;
        std::string column;
    };
    void WriteRow(const Place& place, uint64_t iRow, int32_t iStatus, bool bRejected,
                  const std::vector<const hostkit::Message*>& messages);
    void WriteUnbound(const Place& place, const std::vector<const hostkit::Message*>& messages);

    // Flushes and closes. False with a message.
    bool Close(std::string* pError);

    // In a worker process (parallel_run.h): lines are kept in memory from
    // now on, never written to the file, and handed over with TakeCaptured;
    // the parent appends them in input order with AppendCaptured.
    void CaptureInMemory();
    std::string TakeCaptured();
    void AppendCaptured(std::string_view lines);

private:
    std::string& Out() { return bCapture_ ? captured_ : file_.Buffer(); }
    void MaybeFlush() {
        if (!bCapture_) file_.MaybeFlush();
    }
    void AppendPlace(const Place& place);
    void AppendMessages(const std::vector<const hostkit::Message*>& messages);

    OutputFile file_;
    bool bOpen_ = false;
    bool bShowValues_ = false;
    bool bCapture_ = false;
    std::string captured_;
};

// Appends `text` (UTF-8) as a JSON string, quotes included.
void AppendJsonString(const std::string& text, std::string* pOut);

}  // namespace nidmask

#endif
