// The fields of an INSEE number as indexes.
#include "countries/fr/keyed_nir.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "countries/fr/QRNPNidFrAlgo.h"

namespace {

constexpr std::wstring_view kSexes = L"1278";
constexpr uint64_t kYears = 100, kMonths = 12, kOrders = 1000;
constexpr int32_t kDeptRowCount = FR_DEPT_ROWS - 1;  // every row but the one without communes

// The department rows in order: 0 ("2B") to 95, then 97.
constexpr int32_t RowOfSlot(int32_t iSlot) { return iSlot < FR_DEPT_NONE ? iSlot : iSlot + 1; }
constexpr int32_t SlotOfRow(int32_t iRow) { return iRow < FR_DEPT_NONE ? iRow : iRow - 1; }

bool HasUnused(const DeptRow& row) { return row.pUnused[0] > 0; }

int32_t CommuneCount(int32_t iRow) {
    const DeptRow& row = deptTable[iRow];
    return row.sHighest - (HasUnused(row) ? row.sUnusedCount : 0);
}

// The place of a commune in use among its row's communes, and back.
int32_t CommuneIndex(int32_t iRow, int32_t iCommune) {
    const DeptRow& row = deptTable[iRow];
    if (!HasUnused(row)) return iCommune - 1;
    const auto iBelow = std::lower_bound(row.pUnused, row.pUnused + row.sUnusedCount, iCommune) - row.pUnused;
    return iCommune - 1 - static_cast<int32_t>(iBelow);
}

int32_t CommuneAt(int32_t iRow, int32_t iIndex) {
    const DeptRow& row = deptTable[iRow];
    if (!HasUnused(row)) return iIndex + 1;
    // Unused number k has unused[k] - 1 - k communes in use below it.
    int32_t iSkipped = 0;
    while (iSkipped < row.sUnusedCount && row.pUnused[iSkipped] - 1 - iSkipped <= iIndex) ++iSkipped;
    return iIndex + 1 + iSkipped;
}

// The communes a row may hold: those in use, or under the official rules
// the official codes; their number, a commune's place among them and back.
int32_t Communes(bool bOfficial, int32_t iRow) {
    return bOfficial ? OfficialCommuneCount(iRow) : CommuneCount(iRow);
}
int32_t PlaceOfCommune(bool bOfficial, int32_t iRow, int32_t iCommune) {
    return bOfficial ? OfficialCommuneIndex(iRow, iCommune) : CommuneIndex(iRow, iCommune);
}
int32_t CommuneOfPlace(bool bOfficial, int32_t iRow, int32_t iIndex) {
    return bOfficial ? OfficialCommuneAt(iRow, iIndex) : CommuneAt(iRow, iIndex);
}

// The communes of the rows before each department slot (in use, or official).
using CommunesBeforeSlots = std::array<int32_t, kDeptRowCount + 1>;
const CommunesBeforeSlots& CommunesBefore(bool bOfficial) {
    static const auto Make = [](bool bOfficialRules) {
        CommunesBeforeSlots before{};
        for (int32_t i = 0; i < kDeptRowCount; ++i) before[i + 1] = before[i] + Communes(bOfficialRules, RowOfSlot(i));
        return before;
    };
    static const CommunesBeforeSlots kInUse = Make(false), kOfficial = Make(true);
    return bOfficial ? kOfficial : kInUse;
}

int32_t ReadField(const wchar_t* s, int32_t iStart, int32_t iDigits) {
    int32_t iValue = 0;
    ReadDigits(s, iStart, iDigits, &iValue);
    return iValue;
}

void PutDigits(wchar_t* pOut, int32_t iValue, int32_t iDigits) {
    for (int32_t i = iDigits; i-- > 0;) {
        pOut[i] = static_cast<wchar_t>(L'0' + iValue % 10);
        iValue /= 10;
    }
}

// The department's row: "2A" and "2B" in either case, else its number.
int32_t DeptRowOf(const wchar_t* s) {
    const wchar_t c = s[FR_POS_DEPT + 1];
    if (c == L'A' || c == L'a') return FR_DEPT_2A;
    if (c == L'B' || c == L'b') return FR_DEPT_2B;
    return ReadField(s, FR_POS_DEPT, 2);
}

// The key of the 13 characters written, 97 - (n mod 97), with Corsica read
// as InseeKey reads it ("20"), or under the official rules as
// OfficialInseeKey does (2A "19", 2B "18"): the same key, without their
// conversion of a text this function wrote itself.
int32_t KeyOf(const wchar_t* p, int32_t iRow, bool bOfficial) {
    const bool bCorsica = iRow == FR_DEPT_2A || iRow == FR_DEPT_2B;
    uint64_t n = 0;
    for (int32_t i = 0; i < FR_INSEE_KEYED_LEN; ++i) {
        int32_t iDigit = p[i] - L'0';
        if (bCorsica && i == FR_POS_DEPT) iDigit = bOfficial ? 1 : 2;
        if (bCorsica && i == FR_POS_DEPT + 1) iDigit = !bOfficial ? 0 : iRow == FR_DEPT_2A ? 9 : 8;
        n = n * 10 + static_cast<uint64_t>(iDigit);
    }
    return static_cast<int32_t>(97 - n % 97);
}

// How the place (department and commune) is encrypted.
enum class Place { Kept, Commune, DeptAndCommune };

}  // namespace

uint32_t KeyedNIR(RowContext& ctx, const wchar_t* pIn, bool bDecrypt, wchar_t* pOut) {
    const uint64_t f = ctx.lRowFlags;
    const bool bOfficial = (f & FR_FLAG_OFFICIAL) != 0;
    const int32_t iRow = DeptRowOf(pIn);
    const int32_t iCommune = ReadField(pIn, FR_POS_COMMUNE, 3);
    const bool bAbroad = iRow == FR_DEPT_ABROAD;
    const Place place = (f & FR_FLAG_DEPT) != 0 && !bAbroad ? Place::DeptAndCommune
                        : (f & FR_FLAG_COMMUNE) != 0        ? Place::Commune
                                                            : Place::Kept;
    // The place's index and count: a country of birth abroad; else the
    // communes in use, or under the official rules the official codes of
    // every existing department.
    uint64_t iPlace = 0, iPlaces = 1;
    const CommunesBeforeSlots& before = CommunesBefore(bOfficial);
    if (bAbroad) {
        iPlace = static_cast<uint64_t>(std::lower_bound(FR_BIRTH_COUNTRIES, FR_BIRTH_COUNTRIES + FR_BIRTH_COUNTRY_COUNT,
                                                        iCommune) - FR_BIRTH_COUNTRIES);
        iPlaces = FR_BIRTH_COUNTRY_COUNT;
    } else if (place == Place::DeptAndCommune) {
        iPlace = static_cast<uint64_t>(before[SlotOfRow(iRow)] + PlaceOfCommune(bOfficial, iRow, iCommune));
        iPlaces = static_cast<uint64_t>(before.back());
    } else if (place == Place::Commune) {
        iPlace = static_cast<uint64_t>(PlaceOfCommune(bOfficial, iRow, iCommune));
        iPlaces = static_cast<uint64_t>(Communes(bOfficial, iRow));
    }

    MixedRadix domain;
    if (f & FR_FLAG_SEX) domain.Push(kSexes.find(pIn[FR_POS_SEX]), kSexes.size());
    if (f & FR_FLAG_YEAR) domain.Push(static_cast<uint64_t>(ReadField(pIn, FR_POS_YEAR, 2)), kYears);
    if (f & FR_FLAG_MONTH) domain.Push(static_cast<uint64_t>(ReadField(pIn, FR_POS_MONTH, 2) - 1), kMonths);
    if (place != Place::Kept) domain.Push(iPlace, iPlaces);
    domain.Push(static_cast<uint64_t>(ReadField(pIn, FR_POS_ORDER, 3)), kOrders);
    if (const uint32_t iCode = KeyedPermute(ctx, bDecrypt, &domain); iCode != 0) return iCode;

    for (int32_t i = 0; i < FR_INSEE_LEN; ++i) pOut[i] = pIn[i];
    pOut[FR_INSEE_LEN] = L'\0';
    PutDigits(pOut + FR_POS_ORDER, static_cast<int32_t>(domain.Pop(kOrders)), 3);
    int32_t iNewRow = iRow;
    if (place != Place::Kept) {
        iPlace = domain.Pop(iPlaces);
        int32_t iNewCommune = 0;
        if (bAbroad) {
            iNewCommune = FR_BIRTH_COUNTRIES[iPlace];
        } else if (place == Place::DeptAndCommune) {
            const int32_t iSlot =
                static_cast<int32_t>(std::upper_bound(before.begin(), before.end(), static_cast<int32_t>(iPlace)) -
                                     before.begin()) - 1;
            iNewRow = RowOfSlot(iSlot);
            iNewCommune = CommuneOfPlace(bOfficial, iNewRow, static_cast<int32_t>(iPlace) - before[iSlot]);
        } else {
            iNewCommune = CommuneOfPlace(bOfficial, iRow, static_cast<int32_t>(iPlace));
        }
        PutDigits(pOut + FR_POS_COMMUNE, iNewCommune, 3);
    }
    if (iNewRow != iRow) {
        const wchar_t model = pIn[FR_POS_DEPT + 1];
        if (iNewRow == FR_DEPT_2A || iNewRow == FR_DEPT_2B) {
            pOut[FR_POS_DEPT] = L'2';
            pOut[FR_POS_DEPT + 1] = InCaseOf(iNewRow == FR_DEPT_2A ? L'A' : L'B', model);
        } else {
            PutDigits(pOut + FR_POS_DEPT, iNewRow, 2);
        }
    }
    if (f & FR_FLAG_MONTH) PutDigits(pOut + FR_POS_MONTH, static_cast<int32_t>(domain.Pop(kMonths)) + 1, 2);
    if (f & FR_FLAG_YEAR) PutDigits(pOut + FR_POS_YEAR, static_cast<int32_t>(domain.Pop(kYears)), 2);
    if (f & FR_FLAG_SEX) pOut[FR_POS_SEX] = kSexes[domain.Pop(kSexes.size())];

    PutDigits(pOut + FR_POS_KEY, KeyOf(pOut, iNewRow, bOfficial), 2);
    return 0;
}
