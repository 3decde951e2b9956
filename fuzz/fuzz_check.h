// What a fuzz target does when an invariant fails: print what was expected
// and what happened, then abort, so that libFuzzer keeps the input as a crash.
#ifndef QRNP_FUZZ_CHECK_H
#define QRNP_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

// FUZZ_CHECK(condition, printf-style explanation...)
#define FUZZ_CHECK(cond, ...)                                                        \
    do {                                                                             \
        if (!(cond)) {                                                               \
            std::fprintf(stderr, "invariant failed at %s:%d: %s\n  ", __FILE__,      \
                         __LINE__, #cond);                                           \
            std::fprintf(stderr, __VA_ARGS__);                                       \
            std::fprintf(stderr, "\n");                                              \
            std::abort();                                                            \
        }                                                                            \
    } while (0)

#endif
