// What the fuzz target knows of each country independently of the code under
// test: which message numbers count as invalid data (those, and only those,
// pass through when the host asks for it), and which served outputs may
// legitimately be refused when they are masked again under full validation.
#ifndef QRNP_FUZZ_PROVIDER_ORACLE_H
#define QRNP_FUZZ_PROVIDER_ORACLE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// True when iCode is one of the country's invalid-data codes: 4404-4407 and
// the country's own field checks.
bool IsInvalidDataCode(uint32_t iCountry, uint32_t iCode);

// A served row, as the re-validation sees it.
struct ServedOutput {
    uint32_t iCountry = 0;
    uint16_t sMethod = 0;                   // the method the row was served with (after 0x1408)
    bool bSourceValidated = false;          // the run had "validate fully" set
    const std::vector<std::pair<uint16_t, uint32_t>>* pOperands = nullptr;
    int16_t sDataType = 0;
    std::wstring output;                    // as read back from the destination
};

// True when the output may be refused with iStatus when masked again under
// full validation. The cases, each allowed by the rules the drivers follow:
//  France         4457: the commune was kept (neither commune nor department
//                 masked) and the source was not fully validated, so its
//                 commune was never checked.
//  Spain          4406, 4407: an eight-digit NIF is recognised only when its
//                 text is exactly nine characters: written with a separator
//                 (12345678-Z is refused by design) or padded in a fixed-width
//                 column it is not read back as one.
//  Italy          4509: a generated code can carry day 00 or 40.
//  United States  4556, 4557: masking a source that was not validated can
//                 move its group outside the issued ones or keep a serial
//                 0000; 4557 also for the two numbers refused outright
//                 (078-05-1120, 457-55-5462); 4554 (or the empty-value
//                 statuses 74/75 in a numeric column) for 000-00-0000, which
//                 a method neither mask nor random writes; 4405 in a VARNUM
//                 column, which the United States driver does not pad with
//                 zeros, for an area below 100.
//  Canada         4579: without masking the head, a source that was not
//                 validated keeps a region digit 8; 74/75 for 000-000-000
//                 in a numeric column.
//  United Kingdom none.
bool MayFailRevalidation(const ServedOutput& served, int32_t iStatus);

#endif
