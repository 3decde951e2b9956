// Tracing inside the provider.
//
// Every function traces its entry, exit and key variables through the host's
// tracing service. The host keeps KNL_TraceActive at 0 while tracing is off,
// so each macro costs one load and a branch then; building with
// QRNP_NO_TRACE compiles the calls out altogether (used to measure that cost).
// Tracing never changes a result.
#ifndef QRNP_COMMON_TRACE_H
#define QRNP_COMMON_TRACE_H

#include <qrnp/qrnp_os.h>

#ifdef QRNP_NO_TRACE
#define QRNP_TRACE_ON() false
#else
#define QRNP_TRACE_ON() (__builtin_expect(KNL_TraceActive != 0, 0))
#endif

// Entry and exit of a function of component `comp`.
#define TRC_ENTRY(comp, fn)                                                                                  \
    do {                                                                                                     \
        if (QRNP_TRACE_ON()) KNL_FuncPro((comp), (fn));                                                      \
    } while (0)
#define TRC_EXIT(comp, fn, rc)                                                                               \
    do {                                                                                                     \
        if (QRNP_TRACE_ON()) KNL_FuncEpi((comp), (fn), (int32_t)(rc));                                       \
    } while (0)

// A diagnostic text naming a path ("Invalid separator").
#define TRC_TEXT(comp, text)                                                                                 \
    do {                                                                                                     \
        if (QRNP_TRACE_ON()) KNL_Trace_RecordDiagnostic((comp), (text), KNL_TRC_TEXT, nullptr);              \
    } while (0)

// A named variable: TRC_VAR(comp, "iRownum", KNL_TRC_I32, &iRownum). For
// KNL_TRC_STR, KNL_TRC_WSTR and KNL_TRC_PTR pass the pointer itself.
#define TRC_VAR(comp, name, kind, pValue)                                                                    \
    do {                                                                                                     \
        if (QRNP_TRACE_ON()) KNL_Trace_RecordDiagnostic((comp), (name), (kind), (const void*)(pValue));      \
    } while (0)

#endif
