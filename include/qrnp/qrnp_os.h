// Host operating services (libQRNPOSLibUnix): the instance heap and tracing.
//
// Heap: a provider instance creates one heap, acquires and grows blocks from
// it and never frees them one by one; discarding the heap frees them all.
// Tracing: off by default. When the environment variable QRNP_TRACE names a
// file (read when the library loads), every event is written there as one
// line. While tracing is off, KNL_TraceActive is 0 and callers skip the calls.
#ifndef QRNP_OS_H
#define QRNP_OS_H

#include "qrnp_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef void* KNL_HeapToken;

// Creates a heap; iInitialSize is a sizing hint. 0, or non-zero with *pToken null.
QRNP_EXPORT int32_t KNL_Heap_Create(int32_t iInitialSize, KNL_HeapToken* pToken);

// Acquires iSize bytes, zero-filled, owned by the heap. 0, or non-zero with *ppBlock null.
QRNP_EXPORT int32_t KNL_Heap_Acquire(KNL_HeapToken token, uint64_t iSize, void** ppBlock);

// Grows or shrinks a block of this heap, keeping its contents (new bytes are
// zero). 0 with *ppBlock replaced; non-zero leaves the old block and *ppBlock as they were.
QRNP_EXPORT int32_t KNL_Heap_Reallocate(KNL_HeapToken token, void* pOld, uint64_t iNewSize, void** ppBlock);

// Frees every block of the heap and the heap itself. 0, or non-zero (the heap is then kept).
QRNP_EXPORT int32_t KNL_Heap_Discard(KNL_HeapToken token);

// Test support: make the Nth heap call from now on fail (1 = the next one);
// 0 turns failure injection off. Counts Create, Acquire, Reallocate and Discard alike.
QRNP_EXPORT void KNL_Heap_FailNthCall(int32_t n);

// Test support: heaps and blocks currently alive in the process.
QRNP_EXPORT int64_t KNL_Heap_LiveHeaps(void);
QRNP_EXPORT int64_t KNL_Heap_LiveBlocks(void);

// Test support: heap calls made in the process so far (Create, Acquire,
// Reallocate and Discard alike, as failure injection counts them).
QRNP_EXPORT int64_t KNL_Heap_CallCount(void);

// Non-zero while a trace file is open. Read it before building trace arguments.
__attribute__((visibility("default"))) extern volatile int32_t KNL_TraceActive;

// Value kinds of a traced variable.
enum KNLTraceKind {
    KNL_TRC_TEXT = 0,           // no value: the name is a diagnostic text
    KNL_TRC_STR = 1,            // const char*
    KNL_TRC_WSTR = 2,           // const wchar_t*
    KNL_TRC_I32 = 3,            // const int32_t*
    KNL_TRC_U32 = 4,            // const uint32_t*
    KNL_TRC_I64 = 5,            // const int64_t*
    KNL_TRC_U64 = 6,            // const uint64_t*
    KNL_TRC_PTR = 7,            // the pointer value itself
    KNL_TRC_I16 = 8,            // const int16_t*
    KNL_TRC_U16 = 9             // const uint16_t*
};

// Registers a component (module) name with the trace; returns 0.
QRNP_EXPORT int32_t IOQ_TRC_ResFmid(const char* pComponent);

// Function entry ("prologue") and exit ("epilogue", with its result).
QRNP_EXPORT void KNL_FuncPro(const char* pComponent, const char* pFunction);
QRNP_EXPORT void KNL_FuncEpi(const char* pComponent, const char* pFunction, int32_t iResult);

// One traced variable or diagnostic text: name, kind, value.
QRNP_EXPORT void KNL_Trace_RecordDiagnostic(const char* pComponent, const char* pName, int32_t iKind,
                                            const void* pValue);

// Test support: open (non-null) or close (null) the trace file now, whatever QRNP_TRACE says.
QRNP_EXPORT int32_t KNL_Trace_SetFile(const char* pPath);

// Host extension, made by our hosts and never by the provider: non-zero
// writes every traced string, and every number of five or more digits (no
// identifier has fewer), as its first two characters and its length, as
// the hosts' messages show values; 0 (the default) writes values as they are.
QRNP_EXPORT void KNL_Trace_SetRedaction(int32_t bRedact);

#ifdef __cplusplus
}
#endif

#endif
