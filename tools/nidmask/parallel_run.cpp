// The parent of a run with workers: starting them, the loop that feeds
// them and collects their replies in input order, and the end of the run.
#include "parallel_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>

#include <qrnp/qrnp.h>

#include "exit_codes.h"
#include "progress.h"
#include "worker_wire.h"

namespace nidmask {

namespace {

constexpr size_t kChunkBytes = 512 << 10;    // a chunk's least size (but for the last)
constexpr size_t kReadBytes = 1 << 20;       // input read at a time
constexpr size_t kBufferBytes = 4 << 20;     // the input buffer's first size
constexpr size_t kChunksPerWorker = 3;       // handed out and not collected: one served, one or two waiting
constexpr int kReplyPipeBytes = 1 << 20;     // a reply or two can wait while the parent collects another
constexpr int kOrderSocketBytes = 1 << 20;   // a chunk or two can wait for its worker
constexpr int kReapTries = 200;              // a worker whose pipe broke is waited for this many times...
constexpr useconds_t kReapPause = 10000;     // ...this long each (2 s), then killed
const char kByteOrderMark[] = "\xEF\xBB\xBF";

struct Worker {
    pid_t pid = -1;
    int fdOrders = -1;   // socket, the parent's end
    int fdReplies = -1;  // pipe, the read end
    std::string unsent;  // orders and chunk bytes not sent yet, from iUnsentFrom
    size_t iUnsentFrom = 0;
    size_t nInHand = 0;  // chunks handed out and not collected
    bool bFinished = false;  // its Finished reply was read: it exits on its own
    bool bReaped = false;
};

// The output as the parent writes it: what a sink writes first (a
// byte-order mark, a CSV header), then the workers' bytes chunk by chunk.
// Records reach it as bytes (Append), never as batches.
class OrderedOutput : public RecordSink {
public:
    OrderedOutput(OutputFile& output, const ParallelInput& in) : output_(output), in_(in) {}

    bool Write(const RecordBatch&, const std::vector<ServedColumn>&, std::string* pError) override {
        *pError = "records reach this output as bytes";
        return false;
    }
    // A chunk's `size` output bytes from the pipe `fd`, after the start when
    // bWroteBatch. False when the pipe ended first (*pbEnded) or a write failed.
    bool Append(int fd, uint64_t size, bool bWroteBatch, bool* pbEnded) {
        *pbEnded = false;
        if (bWroteBatch) Start();
        return size == 0 || output_.CopyFrom(fd, size, pbEnded);
    }
    void CountWritten(uint64_t iRecords) { iWritten_ += iRecords; }
    bool Commit(std::string* pError) override {
        if (in_.bCsv) Start();
        return output_.Commit(pError);
    }
    void Abandon() override { output_.Abandon(); }
    bool WritesThrough() const override { return output_.WritesThrough(); }
    uint64_t RecordsWritten() const override { return iWritten_; }
    std::string AbandonedNote() const override { return AbandonedOutputNote(output_, iWritten_); }
    const std::string& Error() const { return output_.Error(); }

private:
    void Start() {
        if (bStarted_) return;
        bStarted_ = true;
        if (in_.input.HadByteOrderMark()) output_.Buffer() += kByteOrderMark;
        output_.Buffer() += in_.header;
    }

    OutputFile& output_;
    const ParallelInput& in_;
    bool bStarted_ = false;
    uint64_t iWritten_ = 0;
};

class ParallelRun {
public:
    ParallelRun(const ParallelInput& in, OutputFile& output, const WorkerFormat& format, std::vector<ColumnJob>& jobs,
                ReportWriter* pReport, const LoopSettings& settings)
        : in_(in),
          sink_(output, in),
          format_(format),
          jobs_(jobs),
          pReport_(pReport),
          settings_(settings),
          cutter_(format.syntax, settings.iBatch, kChunkBytes),
          totals_(jobs.size()) {
        buffer_.assign(in.pending.begin(), in.pending.end());
        end_ = buffer_.size();
        buffer_.resize(end_ > kBufferBytes ? end_ : kBufferBytes);
        NoteBufferOffset();
        bInputEnded_ = in.bEnded;
        cutter_.SetLinesBefore(in.iLinesBefore);
    }

    int Run(int iJobs);

private:
    bool StartWorkers(int iJobs, std::string* pError);
    bool CollectStarts(BatchesEnd* pEnd);
    BatchesEnd Serve();
    void HandOut();
    void ReadInput();
    bool SendSome(Worker& worker);
    void CloseOrders();
    bool CollectChunk(Worker& worker, BatchesEnd* pEnd);
    int FinishWorkers();
    std::string Lost(Worker& worker);
    void StopWorkers();
    // buffer_[0, end_) are the last bytes read: where buffer_[0] is in a regular file.
    void NoteBufferOffset() {
        const int64_t iNext = in_.input.NextOffset();
        iBufferOffset_ = iNext < 0 ? -1 : iNext - static_cast<int64_t>(end_);
    }
    bool AllHandedOut() const { return bInputEnded_ && (begin_ == end_ || !inputError_.empty()); }
    size_t IndexOf(const Worker& worker) const { return static_cast<size_t>(&worker - workers_.data()); }

    const ParallelInput& in_;
    OrderedOutput sink_;
    const WorkerFormat& format_;
    std::vector<ColumnJob>& jobs_;
    ReportWriter* pReport_;
    const LoopSettings& settings_;
    ChunkCutter cutter_;
    std::vector<SessionTotals> totals_;  // per column, of the chunks collected
    std::vector<Worker> workers_;
    std::deque<size_t> inHand_;  // the worker of each chunk handed out and not collected, in input order
    Progress* pProgress_ = nullptr;
    uint64_t iRecordsServed_ = 0;

    // The input: buffer_[begin_, end_) is read and not handed out yet;
    // buffer_[0] is at iBufferOffset_ in a regular file (else -1).
    std::vector<char> buffer_;
    size_t begin_ = 0;
    size_t end_ = 0;
    int64_t iBufferOffset_ = -1;
    bool bInputEnded_ = false;
    bool bNeedInput_ = false;
    std::string inputError_;
};

int ParallelRun::Run(int iJobs) {
    std::string error;
    if (!StartWorkers(iJobs, &error)) {
        StopWorkers();
        sink_.Abandon();
        PrintError(error + "; " + sink_.AbandonedNote());
        return kExitProvider;
    }
    BatchesEnd end;
    if (!CollectStarts(&end)) {
        StopWorkers();
        if (end.kind == BatchesEnd::ServiceFailed) {  // an Init failed: as one process says it
            std::fputs(end.error.c_str(), stderr);
            sink_.Abandon();
            return kExitProvider;
        }
        return EndRun(end, sink_, [] { return kExitProvider; });
    }
    Progress progress(settings_.bProgress, !settings_.bQuiet, settings_.bOutputOnStdout, in_.input.TotalBytes(), 0);
    pProgress_ = &progress;
    end = Serve();
    const int iExit = EndRun(end, sink_, [&] { return FinishWorkers(); });
    StopWorkers();
    return iExit;
}

bool ParallelRun::StartWorkers(int iJobs, std::string* pError) {
    std::signal(SIGCHLD, SIG_DFL);  // workers are waited for, even if SIGCHLD was ignored when nidmask started
    const pid_t parent = getpid();
    for (int k = 0; k < iJobs; ++k) {
        int sockets[2];
        int pipeFds[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
            *pError = std::string("cannot start worker processes: ") + std::strerror(errno);
            return false;
        }
        if (pipe2(pipeFds, O_CLOEXEC) != 0) {
            *pError = std::string("cannot start worker processes: ") + std::strerror(errno);
            close(sockets[0]);
            close(sockets[1]);
            return false;
        }
        // Larger buffers where the system allows: fewer waits on either side.
        fcntl(pipeFds[0], F_SETPIPE_SZ, kReplyPipeBytes);
        setsockopt(sockets[0], SOL_SOCKET, SO_SNDBUF, &kOrderSocketBytes, sizeof kOrderSocketBytes);
        const pid_t pid = fork();
        if (pid == 0) {
            close(sockets[0]);
            close(pipeFds[0]);
            for (const Worker& other : workers_) {
                close(other.fdOrders);
                close(other.fdReplies);
            }
            RunWorker(format_, jobs_, pReport_, parent, sockets[1], pipeFds[1]);
        }
        close(sockets[1]);
        close(pipeFds[1]);
        if (pid < 0) {
            *pError = std::string("cannot start worker processes: ") + std::strerror(errno);
            close(sockets[0]);
            close(pipeFds[0]);
            return false;
        }
        Worker worker;
        worker.pid = pid;
        worker.fdOrders = sockets[0];
        worker.fdReplies = pipeFds[0];
        workers_.push_back(std::move(worker));
    }
    return true;
}

// Every worker's Init is the same call: the first worker's messages and
// tallies stand for them all, as one process would have them once. False
// when a worker is lost (*pEnd WorkerFailed) or an Init failed (*pEnd
// ServiceFailed, with the lines that say so).
bool ParallelRun::CollectStarts(BatchesEnd* pEnd) {
    for (Worker& worker : workers_) {
        ReplyHeader header;
        std::string rest;
        bool bRead = ReadExactly(worker.fdReplies, &header, sizeof header) && header.kind == ReplyKind::Started &&
                     header.iOutputSize == 0;
        rest.resize(bRead ? header.iRestSize : 0);
        bRead = bRead && ReadExactly(worker.fdReplies, rest.data(), rest.size());
        WireReader reader(rest);
        uint64_t iStarted = 0;
        std::string failure;
        std::string report;
        std::vector<SessionTotals> totals(jobs_.size());
        bRead = bRead && reader.Number(&iStarted) && reader.Text(&failure) && reader.Text(&report);
        for (SessionTotals& column : totals) bRead = bRead && reader.Totals(&column);
        if (!bRead) {
            pEnd->kind = BatchesEnd::WorkerFailed;
            pEnd->error = Lost(worker);
            return false;
        }
        if (&worker == &workers_.front() || iStarted == 0) {
            if (pReport_ != nullptr) pReport_->AppendCaptured(report);
            for (size_t c = 0; c < totals.size(); ++c) AddTotals(totals[c], &totals_[c]);
        }
        if (iStarted == 0) {
            pEnd->kind = BatchesEnd::ServiceFailed;
            pEnd->error = failure;
            return false;
        }
    }
    return true;
}

BatchesEnd ParallelRun::Serve() {
    std::vector<pollfd> fds;
    for (;;) {
        HandOut();
        CloseOrders();
        if (inHand_.empty() && AllHandedOut()) {
            BatchesEnd end;
            if (!inputError_.empty()) {
                end.kind = BatchesEnd::ReadError;
                end.error = inputError_;
            }
            return end;
        }

        // The input when a chunk waits for more of it; a worker's socket
        // while it has orders to take; the pipe of the worker whose reply
        // comes next in input order; the other pipes for a hang-up, while
        // their workers have orders to wait for (after that a worker ends
        // on its own, its last replies left in the pipe).
        fds.clear();
        const size_t iInput = workers_.size() * 2;
        for (const Worker& worker : workers_) {
            const bool bSending = worker.fdOrders >= 0 && worker.iUnsentFrom < worker.unsent.size();
            fds.push_back({bSending ? worker.fdOrders : -1, POLLOUT, 0});
            const bool bNext = !inHand_.empty() && inHand_.front() == IndexOf(worker);
            const bool bWatched = bNext || worker.fdOrders >= 0;
            fds.push_back({bWatched ? worker.fdReplies : -1, static_cast<short>(bNext ? POLLIN : 0), 0});
        }
        fds.push_back({bNeedInput_ ? in_.input.Descriptor() : -1, POLLIN, 0});
        if (poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) continue;
            BatchesEnd end;
            end.kind = BatchesEnd::WorkerFailed;
            end.error = std::string("cannot wait for the worker processes: ") + std::strerror(errno);
            return end;
        }
        if (fds[iInput].revents != 0) ReadInput();
        for (size_t k = 0; k < workers_.size(); ++k) {
            Worker& worker = workers_[k];
            const short sSend = fds[2 * k].revents;
            const short sReply = fds[2 * k + 1].revents;
            BatchesEnd end;
            if ((sSend & (POLLOUT | POLLERR | POLLHUP)) != 0 && !SendSome(worker)) {
                end.kind = BatchesEnd::WorkerFailed;
                end.error = Lost(worker);
                return end;
            }
            if ((sReply & POLLIN) != 0) {
                if (!CollectChunk(worker, &end)) return end;
            } else if ((sReply & (POLLHUP | POLLERR)) != 0) {
                end.kind = BatchesEnd::WorkerFailed;
                end.error = Lost(worker);
                return end;
            }
        }
    }
}

// Cuts chunks off the input read so far and hands them to the workers
// with the fewest in hand, while fewer than kChunksPerWorker each are out.
void ParallelRun::HandOut() {
    bNeedInput_ = false;
    while (inHand_.size() < workers_.size() * kChunksPerWorker) {
        size_t iSize = cutter_.Scan(buffer_.data() + begin_, end_ - begin_);
        if (iSize == 0) {
            if (!bInputEnded_) {
                bNeedInput_ = true;
                return;
            }
            // The rest is the last chunk; after a read error it is not
            // served (the error ends the run once the chunks before are).
            if (!inputError_.empty()) return;
            iSize = end_ - begin_;
            if (iSize == 0) return;
        }
        size_t iWorker = 0;
        for (size_t k = 1; k < workers_.size(); ++k)
            if (workers_[k].nInHand < workers_[iWorker].nInHand) iWorker = k;
        Worker& worker = workers_[iWorker];
        ChunkOrder order;
        order.iRecordsBefore = cutter_.RecordsBefore();
        order.iLinesBefore = cutter_.LinesBefore();
        order.iSize = iSize;
        order.iOffset = iBufferOffset_ < 0 ? -1 : iBufferOffset_ + static_cast<int64_t>(begin_);
        worker.unsent.append(reinterpret_cast<const char*>(&order), sizeof order);
        if (order.iOffset < 0) worker.unsent.append(buffer_.data() + begin_, iSize);
        ++worker.nInHand;
        inHand_.push_back(iWorker);
        begin_ += iSize;
        cutter_.StartNext();
        SendSome(worker);  // a broken socket shows again in poll
    }
}

void ParallelRun::ReadInput() {
    if (buffer_.size() - end_ < kReadBytes) {
        if (begin_ > 0) {
            std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
            end_ -= begin_;
            begin_ = 0;
            NoteBufferOffset();
        }
        if (buffer_.size() - end_ < kReadBytes) buffer_.resize(end_ + kReadBytes);
    }
    std::string error;
    const long n = in_.input.Read(buffer_.data() + end_, buffer_.size() - end_, &error);
    if (n > 0) {
        end_ += static_cast<size_t>(n);
        NoteBufferOffset();
        return;
    }
    bInputEnded_ = true;
    if (n < 0) inputError_ = error;
}

bool ParallelRun::SendSome(Worker& worker) {
    while (worker.iUnsentFrom < worker.unsent.size()) {
        const ssize_t n = send(worker.fdOrders, worker.unsent.data() + worker.iUnsentFrom,
                               worker.unsent.size() - worker.iUnsentFrom, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            worker.iUnsentFrom += static_cast<size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            break;
        } else {
            return false;
        }
    }
    if (worker.iUnsentFrom == worker.unsent.size()) {
        worker.unsent.clear();
        worker.iUnsentFrom = 0;
    } else if (worker.iUnsentFrom > worker.unsent.size() / 2) {
        worker.unsent.erase(0, worker.iUnsentFrom);
        worker.iUnsentFrom = 0;
    }
    return true;
}

// Once every chunk is handed out, a worker whose orders are all sent sees
// their end: it serves what it has, then calls Terminate.
void ParallelRun::CloseOrders() {
    if (!AllHandedOut()) return;
    for (Worker& worker : workers_) {
        if (worker.fdOrders < 0 || !worker.unsent.empty()) continue;
        close(worker.fdOrders);
        worker.fdOrders = -1;
    }
}

// Reads the next chunk's reply (whole: the worker wrote it at once), writes
// its output and report lines, adds its totals. False when the run ends here.
bool ParallelRun::CollectChunk(Worker& worker, BatchesEnd* pEnd) {
    ReplyHeader header;
    bool bEnded = false;
    std::string rest;
    if (!ReadExactly(worker.fdReplies, &header, sizeof header) || header.kind != ReplyKind::Chunk) {
        pEnd->kind = BatchesEnd::WorkerFailed;
        pEnd->error = Lost(worker);
        return false;
    }
    const bool bWroteBatch = (header.iFlags & ReplyHeader::kWroteBatch) != 0;
    if (!sink_.Append(worker.fdReplies, header.iOutputSize, bWroteBatch, &bEnded)) {
        if (bEnded) {
            pEnd->kind = BatchesEnd::WorkerFailed;
            pEnd->error = Lost(worker);
        } else {
            pEnd->kind = BatchesEnd::WriteError;
            pEnd->error = sink_.Error();
        }
        return false;
    }
    rest.resize(header.iRestSize);
    ChunkReply reply;
    std::string report;
    std::vector<SessionTotals> totals(jobs_.size());
    bool bRead = ReadExactly(worker.fdReplies, rest.data(), rest.size());
    WireReader reader(rest);
    uint64_t iEnd = 0;
    bRead = bRead && reader.Number(&iEnd) && reader.Number(&reply.iRecord) && reader.Text(&reply.error) &&
            reader.Number(&reply.iRecordsServed) && reader.Number(&reply.iWritten) && reader.Text(&report);
    for (SessionTotals& column : totals) bRead = bRead && reader.Totals(&column);
    if (!bRead || iEnd > BatchesEnd::WorkerFailed) {
        pEnd->kind = BatchesEnd::WorkerFailed;
        pEnd->error = Lost(worker);
        return false;
    }
    sink_.CountWritten(reply.iWritten);
    if (pReport_ != nullptr) pReport_->AppendCaptured(report);
    for (size_t c = 0; c < totals.size(); ++c) AddTotals(totals[c], &totals_[c]);
    iRecordsServed_ = reply.iRecordsServed;
    pProgress_->Update(iRecordsServed_, in_.input.BytesRead());
    inHand_.pop_front();
    --worker.nInHand;
    if (iEnd == BatchesEnd::Done) return true;
    pEnd->kind = static_cast<BatchesEnd::Kind>(iEnd);
    pEnd->iRecord = reply.iRecord;
    pEnd->error = reply.error;
    return false;
}

// Every worker's Terminate, once its chunks are served (those of a run
// that stopped early are read and dropped); then the summaries. The first
// worker's Terminate stands for all (one process calls it once), unless
// another's failed: the first failure is the one told.
int ParallelRun::FinishWorkers() {
    for (Worker& worker : workers_) {
        if (worker.fdOrders >= 0) close(worker.fdOrders);
        worker.fdOrders = -1;
    }
    std::vector<ColumnOutcome> outcomes;
    std::string report;
    bool bFailed = false;
    std::vector<char> dropped;
    for (Worker& worker : workers_) {
        ReplyHeader header;
        std::string rest;
        bool bRead = true;
        do {
            bRead = ReadExactly(worker.fdReplies, &header, sizeof header);
            dropped.resize(bRead ? header.iOutputSize : 0);
            rest.resize(bRead ? header.iRestSize : 0);
            bRead = bRead && ReadExactly(worker.fdReplies, dropped.data(), dropped.size()) &&
                    ReadExactly(worker.fdReplies, rest.data(), rest.size());
        } while (bRead && header.kind != ReplyKind::Finished);
        WireReader reader(rest);
        std::vector<ColumnOutcome> theirs(jobs_.size());
        bool bTheirsFailed = false;
        for (ColumnOutcome& outcome : theirs) {
            uint64_t iTerminate = 0;
            bRead = bRead && reader.Number(&iTerminate) && reader.Text(&outcome.terminateFailure) &&
                    reader.Totals(&outcome.totals);
            outcome.iTerminate = static_cast<int32_t>(static_cast<uint32_t>(iTerminate));
            bTheirsFailed = bTheirsFailed || (outcome.iTerminate != QRNP_OK && outcome.iTerminate != QRNP_WARNING);
        }
        std::string theirReport;
        if (!bRead || !reader.Text(&theirReport)) {
            pProgress_->Finish();
            PrintError(Lost(worker));
            return kExitProvider;
        }
        worker.bFinished = true;
        if (outcomes.empty() || (bTheirsFailed && !bFailed)) {
            outcomes = std::move(theirs);
            report = std::move(theirReport);
            bFailed = bTheirsFailed;
        }
    }
    if (pReport_ != nullptr) pReport_->AppendCaptured(report);
    for (size_t c = 0; c < outcomes.size(); ++c) {
        SessionTotals totals = totals_[c];
        AddTotals(outcomes[c].totals, &totals);
        outcomes[c].totals = std::move(totals);
        outcomes[c].pSettings = &jobs_[c].session->Settings();
        outcomes[c].onReject = jobs_[c].onReject;
        outcomes[c].name = jobs_[c].name;
    }
    return ReportColumns(outcomes, *pProgress_, settings_.bQuiet);
}

// What became of a worker whose pipe or socket broke.
std::string ParallelRun::Lost(Worker& worker) {
    const std::string who = "worker process " + std::to_string(IndexOf(worker) + 1) + " of " +
                            std::to_string(workers_.size()) + " (pid " + std::to_string(worker.pid) + ")";
    int status = 0;
    pid_t reaped = 0;
    for (int i = 0; i < kReapTries && reaped == 0; ++i) {
        reaped = waitpid(worker.pid, &status, WNOHANG);
        if (reaped == 0) usleep(kReapPause);
    }
    if (reaped != worker.pid) {
        kill(worker.pid, SIGKILL);
        waitpid(worker.pid, &status, 0);
        worker.bReaped = true;
        return who + " stopped answering";
    }
    worker.bReaped = true;
    if (WIFSIGNALED(status))
        return who + " was killed by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    return who + " ended with status " + std::to_string(WEXITSTATUS(status)) + " before its work was done";
}

// The workers that finished exit on their own; the others are killed.
void ParallelRun::StopWorkers() {
    for (Worker& worker : workers_) {
        if (worker.fdOrders >= 0) close(worker.fdOrders);
        if (worker.fdReplies >= 0) close(worker.fdReplies);
        worker.fdOrders = worker.fdReplies = -1;
        if (worker.bReaped) continue;
        if (!worker.bFinished) kill(worker.pid, SIGKILL);
        int status = 0;
        while (waitpid(worker.pid, &status, 0) < 0 && errno == EINTR) {
        }
        worker.bReaped = true;
    }
}

}  // namespace

int ServeInWorkers(const ParallelInput& in, OutputFile& output, const WorkerFormat& format,
                   std::vector<ColumnJob>& jobs, ReportWriter* pReport, const LoopSettings& settings, int iJobs) {
    ParallelRun run(in, output, format, jobs, pReport, settings);
    return run.Run(iJobs);
}

}  // namespace nidmask
