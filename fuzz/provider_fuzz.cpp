// Fuzz target: the provider through the host kit, with everything a host
// decides drawn from the input (provider_scenario.h) and every invariant of a
// run checked (provider_run.h).
#include <cstddef>
#include <cstdint>

#include "provider_run.h"
#include "provider_scenario.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    WarmUpProcessState();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t iSize) {
    RunScenario(DecodeScenario(pData, iSize));
    return 0;
}
