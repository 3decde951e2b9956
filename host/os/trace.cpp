// Tracing: one trace file per process, opened when the library loads if
// QRNP_TRACE names one, or later by KNL_Trace_SetFile. Each event becomes one
// line (trace_line.h), written whole under a mutex so that lines from several
// threads never mix. The file is flushed when it is closed and when the
// process ends. While no file is open KNL_TraceActive is 0 and every call
// returns at once.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include <qrnp/qrnp_os.h>

#include "trace_line.h"

volatile int32_t KNL_TraceActive = 0;

namespace {

struct TraceFile {
    std::mutex lock;
    FILE* pFile = nullptr;
};

// Never destroyed, so that tracing from other libraries' exit code stays safe.
TraceFile& Trace() {
    static TraceFile* pTrace = new TraceFile;
    return *pTrace;
}

// Closes the open file, if any. Lock held.
void CloseLocked(TraceFile& trace) {
    KNL_TraceActive = 0;
    if (trace.pFile != nullptr) {
        std::fclose(trace.pFile);
        trace.pFile = nullptr;
    }
}

// Opens pPath for appending in place of the current file; a new file is
// private (0600): a trace may hold values. 0, or 1 when it cannot be opened.
// Lock held.
int32_t OpenLocked(TraceFile& trace, const char* pPath) {
    CloseLocked(trace);
    const int fd = open(pPath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0) return 1;
    trace.pFile = fdopen(fd, "a");
    if (trace.pFile == nullptr) {
        close(fd);
        return 1;
    }
    KNL_TraceActive = 1;
    return 0;
}

// Values written redacted (KNL_Trace_SetRedaction): read while a line is
// built, outside the lock.
std::atomic<bool> bRedactValues{false};

// Writes one finished line (a newline is added).
void WriteLine(std::string& line) {
    line += '\n';
    TraceFile& trace = Trace();
    std::lock_guard guard(trace.lock);
    if (trace.pFile != nullptr) std::fwrite(line.data(), 1, line.size(), trace.pFile);
}

__attribute__((constructor)) void OpenTraceFromEnvironment() {
    const char* pPath = std::getenv("QRNP_TRACE");
    if (pPath == nullptr || *pPath == 0) return;
    TraceFile& trace = Trace();
    std::lock_guard guard(trace.lock);
    OpenLocked(trace, pPath);
}

__attribute__((destructor)) void CloseTraceAtExit() {
    TraceFile& trace = Trace();
    std::lock_guard guard(trace.lock);
    CloseLocked(trace);
}

}  // namespace

int32_t IOQ_TRC_ResFmid(const char* pComponent) {
    if (KNL_TraceActive == 0) return 0;
    std::string line;
    qrnp_trace::AppendHead(line, "COMP", pComponent);
    WriteLine(line);
    return 0;
}

void KNL_FuncPro(const char* pComponent, const char* pFunction) {
    if (KNL_TraceActive == 0) return;
    std::string line;
    qrnp_trace::AppendHead(line, "ENTRY", pComponent);
    line += ' ';
    qrnp_trace::AppendText(line, pFunction);
    WriteLine(line);
}

void KNL_FuncEpi(const char* pComponent, const char* pFunction, int32_t iResult) {
    if (KNL_TraceActive == 0) return;
    std::string line;
    qrnp_trace::AppendHead(line, "EXIT", pComponent);
    line += ' ';
    qrnp_trace::AppendText(line, pFunction);
    line += " rc=";
    line += std::to_string(iResult);
    WriteLine(line);
}

void KNL_Trace_RecordDiagnostic(const char* pComponent, const char* pName, int32_t iKind, const void* pValue) {
    if (KNL_TraceActive == 0) return;
    std::string line;
    if (iKind == KNL_TRC_TEXT) {
        qrnp_trace::AppendHead(line, "TEXT", pComponent);
        line += ' ';
        qrnp_trace::AppendText(line, pName);
    } else {
        qrnp_trace::AppendHead(line, "VAR", pComponent);
        line += ' ';
        qrnp_trace::AppendVariable(line, pName, iKind, pValue, bRedactValues.load(std::memory_order_relaxed));
    }
    WriteLine(line);
}

int32_t KNL_Trace_SetFile(const char* pPath) {
    TraceFile& trace = Trace();
    std::lock_guard guard(trace.lock);
    if (pPath == nullptr) {
        CloseLocked(trace);
        return 0;
    }
    return OpenLocked(trace, pPath);
}

void KNL_Trace_SetRedaction(int32_t bRedact) { bRedactValues.store(bRedact != 0, std::memory_order_relaxed); }
