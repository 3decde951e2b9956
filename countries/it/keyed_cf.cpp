// The parts of a codice fiscale as indexes.
#include "countries/it/keyed_cf.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "countries/it/QRNPNidItAlgo.h"

namespace {

constexpr uint64_t kLetters = 26;
constexpr int32_t kNameLetters = 6;  // surname and first-name codes
constexpr uint64_t kYears = 100, kMonths = 12, kDays = 31;
constexpr int32_t kDigitPositions[7] = {6, 7, 9, 10, 12, 13, 14};

// The region codes that may be carried, as letter index * 1000 + number, ascending.
const std::vector<int32_t>& CarriedRegionCodes() {
    static const std::vector<int32_t> kCodes = [] {
        std::vector<int32_t> codes;
        wchar_t code[5] = {};
        for (int32_t iLetter = 0; iLetter < 26; ++iLetter) {
            for (int32_t iNumber = 0; iNumber < 1000; ++iNumber) {
                code[0] = static_cast<wchar_t>(L'A' + iLetter);
                for (int32_t i = 3, n = iNumber; i >= 1; --i, n /= 10) code[i] = static_cast<wchar_t>(L'0' + n % 10);
                if (RegionCodeIsCarried(code)) codes.push_back(iLetter * 1000 + iNumber);
            }
        }
        return codes;
    }();
    return kCodes;
}

// The place of each carried region code (letter index * 1000 + number) in
// CarriedRegionCodes, looked up instead of searched (a search's branches go
// astray on every row).
const std::vector<uint16_t>& CarriedRegionIndex() {
    static const std::vector<uint16_t> kIndex = [] {
        const std::vector<int32_t>& codes = CarriedRegionCodes();
        std::vector<uint16_t> index(26 * 1000, 0);
        for (size_t i = 0; i < codes.size(); ++i) index[static_cast<size_t>(codes[i])] = static_cast<uint16_t>(i);
        return index;
    }();
    return kIndex;
}

wchar_t Upper(wchar_t c) { return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

void PutDigits(wchar_t* pOut, int32_t iValue, int32_t iDigits) {
    for (int32_t i = iDigits; i-- > 0;) {
        pOut[i] = static_cast<wchar_t>(L'0' + iValue % 10);
        iValue /= 10;
    }
}

// What a candidate integer is read against: the parts in it, and the source
// for the case of its name letters.
struct Parts {
    bool bNames, bDate, bRegion;
    uint64_t iRegions;
    const wchar_t* pSource;
};

// The new fields of a candidate, popped in the reverse order of their push.
struct NewFields {
    int32_t iRegion = 0;
    int32_t iYear = 0, iMonthIndex = 0, iDay = 0;
    wchar_t names[kNameLetters] = {};
};

NewFields FieldsOf(const Parts& p, uint64_t iValue) {
    MixedRadix domain;
    domain.iValue = iValue;
    NewFields n;
    if (p.bRegion) n.iRegion = CarriedRegionCodes()[domain.Pop(p.iRegions)];
    if (p.bDate) {
        n.iDay = static_cast<int32_t>(domain.Pop(kDays)) + 1;
        n.iMonthIndex = static_cast<int32_t>(domain.Pop(kMonths));
        n.iYear = static_cast<int32_t>(domain.Pop(kYears));
    }
    if (p.bNames) {
        for (int32_t i = kNameLetters; i-- > 0;)
            n.names[i] = InCaseOf(static_cast<wchar_t>(L'A' + domain.Pop(kLetters)), p.pSource[IT_POS_SURNAME + i]);
    }
    return n;
}

// A candidate full validation would accept: a padded surname code, a day of the month.
bool Acceptable(uint64_t iValue, const void* pContext) {
    const Parts& p = *static_cast<const Parts*>(pContext);
    const NewFields n = FieldsOf(p, iValue);
    if (p.bNames && !SurnameCodeIsPadded(n.names)) return false;
    return !p.bDate || n.iDay <= DaysOfMonth(n.iMonthIndex, n.iYear);
}

}  // namespace

uint32_t KeyedCF(RowContext& ctx, const wchar_t* pIn, bool bDecrypt, wchar_t* pOut) {
    const uint64_t f = ctx.lRowFlags;
    const Parts parts{(f & IT_FLAG_NAMES) != 0, (f & IT_FLAG_BIRTH_DATE) != 0, (f & IT_FLAG_REGION) != 0,
                      CarriedRegionCodes().size(), pIn};
    const int32_t iYear = DecodeField(pIn, IT_POS_YEAR, 2, (f & IT_FLAG_ROW_YEAR_LETTERS) != 0);
    const int32_t iMonthIndex = FindLetter(pIn[IT_POS_MONTH], MONTHS, std::size(MONTHS) - 1);
    int32_t iDay = DecodeField(pIn, IT_POS_DAY, 2, (f & IT_FLAG_ROW_DAY_LETTERS) != 0);
    const bool bWoman = iDay > IT_WOMAN_DAY_OFFSET;
    if (bWoman) iDay -= IT_WOMAN_DAY_OFFSET;
    const int32_t iRegion = (pIn[IT_POS_REGION] - L'A') * 1000 +
                            DecodeField(pIn, IT_POS_REGION_NUMBER, 3, (f & IT_FLAG_ROW_REGION_LETTERS) != 0);

    MixedRadix domain;
    if (parts.bNames) {
        for (int32_t i = 0; i < kNameLetters; ++i)
            domain.Push(static_cast<uint64_t>(Upper(pIn[IT_POS_SURNAME + i]) - L'A'), kLetters);
    }
    if (parts.bDate) {
        domain.Push(static_cast<uint64_t>(iYear), kYears);
        domain.Push(static_cast<uint64_t>(iMonthIndex), kMonths);
        domain.Push(static_cast<uint64_t>(iDay - 1), kDays);
    }
    if (parts.bRegion)  // (a carried code: full validation accepted it)
        domain.Push(CarriedRegionIndex()[static_cast<size_t>(iRegion)], parts.iRegions);
    if (const uint32_t iCode = KeyedPermute(ctx, bDecrypt, &domain, Acceptable, &parts); iCode != 0) return iCode;

    const NewFields n = FieldsOf(parts, domain.iValue);
    for (int32_t i = 0; i < IT_CF_LEN; ++i) pOut[i] = pIn[i];
    pOut[IT_CF_LEN] = L'\0';
    if (parts.bNames) std::copy(n.names, n.names + kNameLetters, pOut + IT_POS_SURNAME);
    if (parts.bDate) {
        PutDigits(pOut + IT_POS_YEAR, n.iYear, 2);
        pOut[IT_POS_MONTH] = MONTHS[n.iMonthIndex];
        PutDigits(pOut + IT_POS_DAY, n.iDay + (bWoman ? IT_WOMAN_DAY_OFFSET : 0), 2);
    }
    if (parts.bRegion) {
        pOut[IT_POS_REGION] = static_cast<wchar_t>(L'A' + n.iRegion / 1000);
        PutDigits(pOut + IT_POS_REGION_NUMBER, n.iRegion % 1000, 3);
    }
    // Digits the source wrote as replacement letters are letters again.
    for (const int32_t iPos : kDigitPositions) {
        const bool bLetter = pIn[iPos] < L'0' || pIn[iPos] > L'9';
        if (bLetter && pOut[iPos] >= L'0' && pOut[iPos] <= L'9') pOut[iPos] = REPLACEMENTS[pOut[iPos] - L'0'];
    }
    GetControlCharacter(pOut);
    return 0;
}
