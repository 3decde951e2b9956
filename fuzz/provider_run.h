// Runs one decoded scenario through the provider, as an engine would
// (Init, GetInfo, one or two Service calls, Terminate), and checks after each
// step what must hold whatever the input: every row ends served, passed
// through, NULL or rejected with a status that matches its row flag; nothing
// is read or written past a buffer; the error list is whole; the counters,
// results and the heap agree; and every served identifier is accepted again
// by the country's full validation (the oracle names the exceptions).
// A failed check aborts with an explanation.
#ifndef QRNP_FUZZ_PROVIDER_RUN_H
#define QRNP_FUZZ_PROVIDER_RUN_H

#include "provider_scenario.h"

void RunScenario(const ProviderScenario& scenario);

// Makes the first random and masking calls of every country with fixed
// options, so that the process-wide state they set up once (the United States
// area tables) is the same for every input. Call once, before any input.
void WarmUpProcessState();

#endif
