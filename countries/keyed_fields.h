// What every country's keyed encryption shares: the fields a value's
// encrypted part is made of are numbered together as one integer of a
// mixed-radix domain (each field an index into the values full validation
// accepts for it), the integer is permuted under the instance's key and
// tweak, and the new integer gives the new fields.
#ifndef QRNP_COUNTRIES_KEYED_FIELDS_H
#define QRNP_COUNTRIES_KEYED_FIELDS_H

#include <cstdint>

#include "common/ff1.h"
#include "countries/row_driver.h"

// Fields pushed most significant first; popped back in the reverse order.
struct MixedRadix {
    uint64_t iValue = 0;
    uint64_t iSize = 1;
    void Push(uint64_t iIndex, uint64_t iCount) {
        iValue = iValue * iCount + iIndex;
        iSize *= iCount;
    }
    uint64_t Pop(uint64_t iCount) {
        const uint64_t iIndex = iValue % iCount;
        iValue /= iCount;
        return iIndex;
    }
};

// Encrypts (bDecrypt false) or decrypts the domain's value under the
// instance's key and tweak, in place, walking past values `allowed` refuses.
// 0, or 4404 (captured with the country) when the cipher fails.
uint32_t KeyedPermute(RowContext& ctx, bool bDecrypt, MixedRadix* pDomain, DomainFilter allowed = nullptr,
                      const void* pContext = nullptr);

// A letter written in the case of another: lower case when `model` is.
wchar_t InCaseOf(wchar_t c, wchar_t model);

#endif
