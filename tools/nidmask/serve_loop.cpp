// The serving loop, and the start and end of a run with their messages.
#include "serve_loop.h"

#include <cstdio>

#include <qrnp/qrnp.h>

#include "exit_codes.h"
#include "message_text.h"
#include "progress.h"

namespace nidmask {

namespace {

// "the provider's Init failed with 4353: <text>", then the messages the
// call captured (the one that repeats the result only once).
void PrintFailure(const char* pEntryPoint, int32_t iResult, const MaskingSession& session) {
    const bool bShow = session.Settings().bShowValues;
    const std::vector<hostkit::Message>& messages = session.Messages();
    const hostkit::Message* pResult = nullptr;
    for (const hostkit::Message& message : messages)
        if (message.iMessage == static_cast<uint32_t>(iResult)) pResult = &message;
    hostkit::Message bare;
    bare.iMessage = static_cast<uint32_t>(iResult);
    PrintError(std::string("the provider's ") + pEntryPoint + " failed with " + std::to_string(iResult) + ": " +
               hostkit::RenderMessage(pResult != nullptr ? *pResult : bare, bShow));
    for (const hostkit::Message& message : messages)
        if (&message != pResult) PrintError("  " + std::to_string(message.iMessage) + ": " + hostkit::RenderMessage(message, bShow));
}

// Terminate for every session, the progress bar cleared, the summaries
// (unless quiet). The exit status from the rows (0 or kExitRowsFailed), or
// kExitProvider when a Terminate returned a message number.
int FinishSessions(std::vector<ColumnJob>& jobs, Progress& progress, const LoopSettings& settings) {
    int iExit = kExitOk;
    progress.Finish();
    for (ColumnJob& job : jobs) {
        MaskingSession& session = *job.session;
        const int32_t iTerminate = session.Finish();
        if (!settings.bQuiet)
            std::fputs(Summary(session, job.onReject, progress.Seconds(), job.name).c_str(), stderr);
        if (iTerminate != QRNP_OK && iTerminate != QRNP_WARNING) {
            PrintFailure("Terminate", iTerminate, session);
            iExit = kExitProvider;
        } else if (session.Counts().Failed() && iExit == kExitOk) {
            iExit = kExitRowsFailed;
        }
    }
    return iExit;
}

// The first record (1-based, of the whole input) whose row must stop the
// run under --on-reject fail, or 0.
uint64_t FirstFailingRecord(const RecordBatch& batch, const std::vector<ServedColumn>& columns) {
    for (size_t i = 0; i < batch.n; ++i)
        for (const ServedColumn& column : columns)
            if (column.Action(i) == CellAction::StopRejected) return batch.iFirstRecord + i;
    return 0;
}

}  // namespace

CellAction ActionFor(RowKind kind, RejectAction onReject) {
    switch (kind) {
        case RowKind::Masked: return CellAction::WriteResult;
        case RowKind::Null: return CellAction::WriteNull;
        case RowKind::Blank:
        case RowKind::Empty:
        case RowKind::Invalid: return CellAction::WriteSource;
        case RowKind::Unserved: return CellAction::StopUnserved;
        case RowKind::Rejected: break;
    }
    switch (onReject) {
        case RejectAction::Drop: return CellAction::Drop;
        case RejectAction::Empty: return CellAction::WriteEmpty;
        case RejectAction::Null: return CellAction::WriteNull;
        case RejectAction::Fail: break;
    }
    return CellAction::StopRejected;
}

void RecordBatch::Reset(size_t nColumns, size_t iMax) {
    n = 0;
    cells.resize(nColumns);
    refused.resize(nColumns);
    for (size_t c = 0; c < nColumns; ++c) {
        cells[c].resize(iMax);
        refused[c].assign(iMax, 0);
    }
}

void PrintError(const std::string& text) { std::fputs(("nidmask: " + text + "\n").c_str(), stderr); }

int ServeRecords(RecordSource& source, RecordSink& sink, std::vector<ColumnJob>& jobs, const LoopSettings& settings) {
    for (ColumnJob& job : jobs) {
        const int32_t iResult = job.session->Start();
        if (iResult != QRNP_OK) {
            PrintFailure("Init", iResult, *job.session);
            sink.Abandon();
            return kExitProvider;
        }
    }
    std::vector<ServedColumn> columns;
    for (const ColumnJob& job : jobs) columns.push_back(ServedColumn{job.session.get(), job.onReject});

    Progress progress(settings.bProgress, !settings.bQuiet, settings.bOutputOnStdout, source.TotalBytes(),
                      settings.iTotalRows != 0 ? settings.iTotalRows : source.TotalRecords());
    RecordBatch batch;
    std::string error;
    uint64_t iRecords = 0;  // records served before this batch
    // Ends the run early: the destination is left as it was where possible.
    const auto stop = [&](const std::string& why) {
        sink.Abandon();
        const int iExit = FinishSessions(jobs, progress, settings);
        PrintError(why + "; " + sink.AbandonedNote());
        return iExit == kExitProvider ? iExit : kExitRowsFailed;
    };

    for (;;) {
        batch.Reset(jobs.size(), settings.iBatch);
        if (!source.Read(&batch, settings.iBatch, &error)) {
            sink.Abandon();
            PrintError(error + "; " + sink.AbandonedNote());
            return kExitIo;
        }
        if (batch.n == 0) break;
        batch.iFirstRecord = iRecords + 1;
        for (size_t c = 0; c < jobs.size(); ++c) {
            std::vector<hostkit::CellValue>& values = batch.cells[c];
            values.resize(batch.n);
            batch.refused[c].resize(batch.n);
            if (jobs[c].session->Serve(values, batch.refused[c], batch.iFirstRecord) == ServeResult::ServiceFailed) {
                PrintFailure("Service", jobs[c].session->ServiceResult(), *jobs[c].session);
                sink.Abandon();
                return kExitProvider;
            }
        }
        if (const uint64_t iFailing = FirstFailingRecord(batch, columns); iFailing != 0)
            return stop("stopped at rejected record " + std::to_string(iFailing) + " (--on-reject fail)");
        if (!sink.Write(batch, columns, &error)) {
            sink.Abandon();
            PrintError(error);
            return kExitIo;
        }
        iRecords += batch.n;
        progress.Update(iRecords, source.BytesRead());

        bool bUnserved = false;
        bool bLimit = false;
        for (ColumnJob& job : jobs) {
            bUnserved = bUnserved || job.session->Counts().iUnserved > 0;
            bLimit = bLimit || job.session->LimitReached();
        }
        if (bUnserved || (bLimit && source.MoreLeft())) {
            for (ColumnJob& job : jobs)
                if (job.session->LimitReached()) job.session->NoteStopped();
            return stop("the error limit stopped the run after record " + std::to_string(iRecords));
        }
        if (bLimit) break;
    }

    const int iExit = FinishSessions(jobs, progress, settings);
    if (iExit == kExitProvider) {
        sink.Abandon();
        PrintError(sink.AbandonedNote());
        return iExit;
    }
    if (!sink.Commit(&error)) {
        sink.Abandon();
        PrintError(error);
        return kExitIo;
    }
    return iExit;
}

}  // namespace nidmask
