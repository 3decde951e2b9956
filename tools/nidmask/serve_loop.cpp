// The serving loop, and the start and end of a run with their messages.
#include "serve_loop.h"

#include <cstdio>

#include <qrnp/qrnp.h>

#include "exit_codes.h"
#include "message_text.h"
#include "progress.h"

namespace nidmask {

namespace {

// The first record (1-based, of the whole input) whose row must stop the
// run under --on-reject fail, or 0.
uint64_t FirstFailingRecord(const RecordBatch& batch, const std::vector<ServedColumn>& columns) {
    for (size_t i = 0; i < batch.n; ++i)
        for (const ServedColumn& column : columns)
            if (column.Action(i) == CellAction::StopRejected) return batch.iFirstRecord + i;
    return 0;
}

// Terminate for every session, then ReportColumns.
int FinishSessions(std::vector<ColumnJob>& jobs, Progress& progress, bool bQuiet) {
    std::vector<ColumnOutcome> outcomes;
    for (ColumnJob& job : jobs) {
        ColumnOutcome outcome;
        outcome.iTerminate = job.session->Finish();
        if (outcome.iTerminate != QRNP_OK && outcome.iTerminate != QRNP_WARNING)
            outcome.terminateFailure = FailureText("Terminate", outcome.iTerminate, *job.session);
        outcome.totals = job.session->Totals();
        outcome.pSettings = &job.session->Settings();
        outcome.onReject = job.onReject;
        outcome.name = job.name;
        outcomes.push_back(std::move(outcome));
    }
    return ReportColumns(outcomes, progress, bQuiet);
}

}  // namespace

std::string FailureText(const char* pEntryPoint, int32_t iResult, const MaskingSession& session) {
    const bool bShow = session.Settings().bShowValues;
    const std::vector<hostkit::Message>& messages = session.Messages();
    const hostkit::Message* pResult = nullptr;
    for (const hostkit::Message& message : messages)
        if (message.iMessage == static_cast<uint32_t>(iResult)) pResult = &message;
    hostkit::Message bare;
    bare.iMessage = static_cast<uint32_t>(iResult);
    std::string text = std::string("nidmask: the provider's ") + pEntryPoint + " failed with " +
                       std::to_string(iResult) + ": " + hostkit::RenderMessage(pResult != nullptr ? *pResult : bare, bShow) +
                       "\n";
    for (const hostkit::Message& message : messages)
        if (&message != pResult)
            text += "nidmask:   " + std::to_string(message.iMessage) + ": " + hostkit::RenderMessage(message, bShow) + "\n";
    return text;
}

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

bool StartSessions(std::vector<ColumnJob>& jobs, std::string* pFailure) {
    for (ColumnJob& job : jobs) {
        const int32_t iResult = job.session->Start();
        if (iResult != QRNP_OK) {
            *pFailure = FailureText("Init", iResult, *job.session);
            return false;
        }
    }
    return true;
}

BatchesEnd ServeBatches(RecordSource& source, RecordSink& sink, std::vector<ColumnJob>& jobs, size_t iBatch,
                        uint64_t* piRecords, Progress* pProgress) {
    std::vector<ServedColumn> columns;
    for (const ColumnJob& job : jobs) columns.push_back(ServedColumn{job.session.get(), job.onReject});
    RecordBatch batch;
    BatchesEnd end;
    for (;;) {
        batch.Reset(jobs.size(), iBatch);
        if (!source.Read(&batch, iBatch, &end.error)) {
            end.kind = BatchesEnd::ReadError;
            return end;
        }
        if (batch.n == 0) return end;
        batch.iFirstRecord = *piRecords + 1;
        for (size_t c = 0; c < jobs.size(); ++c) {
            std::vector<hostkit::CellValue>& values = batch.cells[c];
            values.resize(batch.n);
            batch.refused[c].resize(batch.n);
            if (jobs[c].session->Serve(values, batch.refused[c], batch.iFirstRecord) == ServeResult::ServiceFailed) {
                end.kind = BatchesEnd::ServiceFailed;
                end.error = FailureText("Service", jobs[c].session->ServiceResult(), *jobs[c].session);
                return end;
            }
        }
        if (const uint64_t iFailing = FirstFailingRecord(batch, columns); iFailing != 0) {
            end.kind = BatchesEnd::RejectedStop;
            end.iRecord = iFailing;
            return end;
        }
        if (!sink.Write(batch, columns, &end.error)) {
            end.kind = BatchesEnd::WriteError;
            return end;
        }
        *piRecords += batch.n;
        if (pProgress != nullptr) pProgress->Update(*piRecords, source.BytesRead());

        bool bUnserved = false;
        bool bLimit = false;
        for (ColumnJob& job : jobs) {
            bUnserved = bUnserved || job.session->Counts().iUnserved > 0;
            bLimit = bLimit || job.session->LimitReached();
        }
        if (bUnserved || (bLimit && source.MoreLeft())) {
            for (ColumnJob& job : jobs)
                if (job.session->LimitReached()) job.session->NoteStopped();
            end.kind = BatchesEnd::LimitStop;
            end.iRecord = *piRecords;
            return end;
        }
        if (bLimit) return end;
    }
}

int ReportColumns(const std::vector<ColumnOutcome>& columns, Progress& progress, bool bQuiet) {
    int iExit = kExitOk;
    progress.Finish();
    for (const ColumnOutcome& column : columns) {
        if (!bQuiet)
            std::fputs(Summary(column.totals, *column.pSettings, column.onReject, progress.Seconds(), column.name).c_str(),
                       stderr);
        if (column.iTerminate != QRNP_OK && column.iTerminate != QRNP_WARNING) {
            std::fputs(column.terminateFailure.c_str(), stderr);
            iExit = kExitProvider;
        } else if (column.totals.counts.Failed() && iExit == kExitOk) {
            iExit = kExitRowsFailed;
        }
    }
    return iExit;
}

int EndRun(const BatchesEnd& end, RecordSink& sink, const std::function<int()>& finish) {
    std::string why;
    switch (end.kind) {
        case BatchesEnd::ReadError:
            sink.Abandon();
            PrintError(end.error + "; " + sink.AbandonedNote());
            return kExitIo;
        case BatchesEnd::WriteError:
            sink.Abandon();
            PrintError(end.error);
            return kExitIo;
        case BatchesEnd::ServiceFailed:
            std::fputs(end.error.c_str(), stderr);
            sink.Abandon();
            return kExitProvider;
        case BatchesEnd::WorkerFailed:
            sink.Abandon();
            PrintError(end.error + "; " + sink.AbandonedNote());
            return kExitProvider;
        case BatchesEnd::RejectedStop:
            why = "stopped at rejected record " + std::to_string(end.iRecord) + " (--on-reject fail)";
            break;
        case BatchesEnd::LimitStop:
            why = "the error limit stopped the run after record " + std::to_string(end.iRecord);
            break;
        case BatchesEnd::Done: break;
    }
    if (!why.empty()) {
        // Stopped early: the destination is left as it was where possible.
        sink.Abandon();
        const int iExit = finish();
        PrintError(why + "; " + sink.AbandonedNote());
        return iExit == kExitProvider ? iExit : kExitRowsFailed;
    }
    const int iExit = finish();
    std::string error;
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

int ServeRecords(RecordSource& source, RecordSink& sink, std::vector<ColumnJob>& jobs, const LoopSettings& settings) {
    std::string failure;
    if (!StartSessions(jobs, &failure)) {
        std::fputs(failure.c_str(), stderr);
        sink.Abandon();
        return kExitProvider;
    }
    Progress progress(settings.bProgress, !settings.bQuiet, settings.bOutputOnStdout, source.TotalBytes(),
                      settings.iTotalRows != 0 ? settings.iTotalRows : source.TotalRecords());
    uint64_t iRecords = 0;  // records served
    const BatchesEnd end = ServeBatches(source, sink, jobs, settings.iBatch, &iRecords, &progress);
    return EndRun(end, sink, [&] { return FinishSessions(jobs, progress, settings.bQuiet); });
}

}  // namespace nidmask
