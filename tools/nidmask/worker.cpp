// The worker's life: Init, chunks, Terminate, each answered with a reply.
#include "worker.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <memory>

#include <qrnp/qrnp.h>

#include "csv_format.h"
#include "lines_format.h"
#include "worker_wire.h"

namespace nidmask {

namespace {

// Exit statuses of a worker that ends on its own (its parent reports them).
constexpr int kWorkerDone = 0;
constexpr int kWorkerLostParent = 70;

void Reply(int fd, ReplyKind kind, uint32_t iFlags, std::string_view output, const WireWriter& rest) {
    if (!WriteReply(fd, kind, iFlags, output, rest.Bytes())) _exit(kWorkerLostParent);
}

// Reads what is left of a chunk's bytes on the orders socket.
void SkipRest(InputFile& input, std::vector<char>* pScratch) {
    constexpr size_t kScratchBytes = 1 << 16;
    pScratch->resize(kScratchBytes);
    std::string error;
    while (input.Read(pScratch->data(), pScratch->size(), &error) > 0) {
    }
}

std::string TakeReport(ReportWriter* pReport) { return pReport != nullptr ? pReport->TakeCaptured() : std::string(); }

// The format's source and sink over a chunk's input, with output in memory.
struct ChunkFormat {
    std::unique_ptr<LineSource> lines;
    std::unique_ptr<CsvSource> csv;
    std::unique_ptr<RecordSink> sink;

    ChunkFormat(const WorkerFormat& format, InputFile& input, OutputFile& output) {
        if (format.syntax == RecordSyntax::Lines) {
            const Encoding encoding = format.encodings.front();
            lines = std::make_unique<LineSource>(input, std::nullopt, encoding, format.nullText);
            sink = std::make_unique<LineSink>(output, encoding, format.nullText, input, *lines);
        } else {
            csv = std::make_unique<CsvSource>(input, format.cDelimiter, format.nullText);
            csv->SetColumns(format.columns, format.encodings);
            sink = std::make_unique<CsvSink>(output, *csv, format.cDelimiter, format.nullText, format.encodings);
        }
    }
    RecordSource& Source() { return lines ? static_cast<RecordSource&>(*lines) : *csv; }
    // The next chunk starts after order.iRecordsBefore data records.
    void Restart(const WorkerFormat& format, const ChunkOrder& order) {
        if (lines) {
            lines->Restart();
        } else {
            csv->Restart(order.iLinesBefore, order.iRecordsBefore + (format.bHeader ? 1 : 0), format.bHeader);
        }
    }
};

}  // namespace

void RunWorker(const WorkerFormat& format, std::vector<ColumnJob>& jobs, ReportWriter* pReport, pid_t parent,
               int fdOrders, int fdReplies) {
    // The parent's handlers remove its temporary output file: not this
    // process's to do. It dies with its parent.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(kWorkerLostParent);
    if (pReport != nullptr) pReport->CaptureInMemory();

    std::string failure;
    const bool bStarted = StartSessions(jobs, &failure);
    {
        WireWriter rest;
        rest.Number(bStarted ? 1 : 0);
        rest.Text(failure);
        rest.Text(TakeReport(pReport));
        for (ColumnJob& job : jobs) rest.Totals(job.session->TakeTotals());
        Reply(fdReplies, ReplyKind::Started, 0, {}, rest);
    }
    if (!bStarted) _exit(kWorkerDone);

    InputFile input;
    OutputFile output;
    output.OpenInMemory();
    ChunkFormat chunkFormat(format, input, output);
    std::vector<char> skipped;
    ChunkOrder order;
    while (ReadExactly(fdOrders, &order, sizeof order)) {
        const bool bInline = order.iOffset < 0;
        input.Attach(bInline ? fdOrders : format.iInputFd, format.inputName, order.iOffset, order.iSize);
        chunkFormat.Restart(format, order);
        ChunkReply reply;
        reply.iRecordsServed = order.iRecordsBefore;
        const uint64_t iWrittenBefore = chunkFormat.sink->RecordsWritten();
        const BatchesEnd end =
            ServeBatches(chunkFormat.Source(), *chunkFormat.sink, jobs, format.iBatch, &reply.iRecordsServed, nullptr);
        if (bInline) SkipRest(input, &skipped);  // of a chunk that stopped early, up to the next order
        reply.iEnd = end.kind;
        reply.iRecord = end.iRecord;
        reply.error = end.error;
        reply.iWritten = chunkFormat.sink->RecordsWritten() - iWrittenBefore;

        WireWriter rest;
        rest.Number(reply.iEnd);
        rest.Number(reply.iRecord);
        rest.Text(reply.error);
        rest.Number(reply.iRecordsServed);
        rest.Number(reply.iWritten);
        rest.Text(TakeReport(pReport));
        for (ColumnJob& job : jobs) rest.Totals(job.session->TakeTotals());
        const uint32_t iFlags = reply.iRecordsServed > order.iRecordsBefore ? ReplyHeader::kWroteBatch : 0;
        Reply(fdReplies, ReplyKind::Chunk, iFlags, output.Buffer(), rest);
        output.Buffer().clear();
        if (end.kind != BatchesEnd::Done) break;
    }
    // After a stop the parent needs no more chunks: their orders are read
    // and dropped until it ends them (or this process).
    while (ReadExactly(fdOrders, &order, sizeof order)) {
        if (order.iOffset >= 0) continue;
        input.Attach(fdOrders, format.inputName, -1, order.iSize);
        SkipRest(input, &skipped);
    }

    WireWriter rest;
    for (ColumnJob& job : jobs) {
        const int32_t iTerminate = job.session->Finish();
        rest.Number(static_cast<uint32_t>(iTerminate));
        rest.Text(iTerminate != QRNP_OK && iTerminate != QRNP_WARNING ? FailureText("Terminate", iTerminate, *job.session)
                                                                      : std::string());
        rest.Totals(job.session->TakeTotals());
    }
    rest.Text(TakeReport(pReport));
    Reply(fdReplies, ReplyKind::Finished, 0, {}, rest);
    _exit(kWorkerDone);
}

}  // namespace nidmask
