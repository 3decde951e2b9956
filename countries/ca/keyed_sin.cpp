// A SIN as head and body indexes.
#include "countries/ca/keyed_sin.h"

#include "countries/ca/QRNPNidCaFlags.h"

namespace {

constexpr int32_t kBodies = 100000;       // digits 4-8
constexpr int32_t kHeadFirstDigits = 9;   // 0-7 and 9: no SIN starts with 8
constexpr int32_t kRefusedFirst = CA_REFUSED_REGION - L'0';

}  // namespace

int32_t LuhnCheckDigit(int32_t iFirstEight) {
    int32_t iSum = 0;
    for (int32_t i = 8; i >= 1; --i) {
        int32_t d = iFirstEight % 10;
        iFirstEight /= 10;
        if (i % 2 == 0) d = d * 2 > 9 ? d * 2 - 9 : d * 2;  // the 2nd, 4th, 6th and 8th digits double
        iSum += d;
    }
    return (10 - iSum % 10) % 10;
}

uint32_t KeyedSIN(RowContext& ctx, int32_t iSin, bool bDecrypt, int32_t* piOut) {
    const int32_t iHead = iSin / 1000000, iBody = iSin / 10 % kBodies;
    const bool bHead = (ctx.lRowFlags & CA_FLAG_MASK_HEAD) != 0;
    MixedRadix domain;
    if (bHead) {
        const int32_t iFirst = iHead / 100;
        domain.Push(static_cast<uint64_t>((iFirst > kRefusedFirst ? iFirst - 1 : iFirst) * 100 + iHead % 100),
                    kHeadFirstDigits * 100);
    }
    domain.Push(static_cast<uint64_t>(iBody), kBodies);
    if (const uint32_t iCode = KeyedPermute(ctx, bDecrypt, &domain); iCode != 0) return iCode;
    const int32_t iNewBody = static_cast<int32_t>(domain.Pop(kBodies));
    int32_t iNewHead = iHead;
    if (bHead) {
        const int32_t iIndex = static_cast<int32_t>(domain.Pop(kHeadFirstDigits * 100));
        const int32_t iFirst = iIndex / 100;
        iNewHead = (iFirst >= kRefusedFirst ? iFirst + 1 : iFirst) * 100 + iIndex % 100;
    }
    const int32_t iFirstEight = iNewHead * 100000 + iNewBody;
    *piOut = iFirstEight * 10 + LuhnCheckDigit(iFirstEight);
    return 0;
}
