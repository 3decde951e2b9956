// A NINO as a prefix index and a six-digit number.
#include "countries/uk/keyed_nino.h"

#include "countries/uk/QRNPNidUkAlgo.h"

namespace {

constexpr uint64_t kNumbers = 1000000;

}  // namespace

uint32_t KeyedNINO(RowContext& ctx, const wchar_t* pIn, bool bDecrypt, wchar_t* pOut) {
    const bool bPrefix = (ctx.lRowFlags & UK_FLAG_MASK_PREFIX) != 0;
    const bool bOfficial = (ctx.lRowFlags & UK_FLAG_OFFICIAL) != 0;
    const uint64_t iPrefixes = bOfficial ? UK_OFFICIAL_PREFIX_COUNT : UK_PREFIX_COUNT;
    MixedRadix domain;
    if (bPrefix) domain.Push(static_cast<uint64_t>(bOfficial ? FindOfficialPrefix(pIn) : FindPrefix(pIn)), iPrefixes);
    uint64_t iNumber = 0;
    for (int32_t i = 0; i < UK_NUMBER_DIGITS; ++i) iNumber = iNumber * 10 + static_cast<uint64_t>(pIn[UK_POS_NUMBER + i] - L'0');
    domain.Push(iNumber, kNumbers);
    if (const uint32_t iCode = KeyedPermute(ctx, bDecrypt, &domain); iCode != 0) return iCode;

    iNumber = domain.Pop(kNumbers);
    for (int32_t i = UK_NUMBER_DIGITS; i-- > 0;) {
        pOut[UK_POS_NUMBER + i] = static_cast<wchar_t>(L'0' + iNumber % 10);
        iNumber /= 10;
    }
    pOut[0] = pIn[0];
    pOut[1] = pIn[1];
    if (bPrefix) {
        const auto iIndex = static_cast<int32_t>(domain.Pop(iPrefixes));
        if (bOfficial) {
            WriteOfficialPrefix(iIndex, pOut);
        } else {
            pOut[0] = VALID_PREFIXES[iIndex][0];
            pOut[1] = VALID_PREFIXES[iIndex][1];
        }
        pOut[0] = InCaseOf(pOut[0], pIn[0]);
        pOut[1] = InCaseOf(pOut[1], pIn[1]);
    }
    pOut[UK_POS_SUFFIX] = pIn[UK_POS_SUFFIX];  // the suffix, or the terminator
    pOut[UK_NINO_SUFFIXED_LEN] = L'\0';
    return 0;
}
