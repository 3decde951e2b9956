// French INSEE numbers: masking and random generation.
//
// Masking derives every new field from the value itself, so the same number
// and flags always give the same result: the sex by a permutation seeded with
// the month, year and month by fixed shifts, the department by swapping its
// digits, the commune by walking to the next commune in use, and the order
// number (always) by a shift and one of five fixed reorderings. The key is
// then recomputed, 97 minus the 13 digits mod 97, with Corsica keyed as "20".

#include "countries/fr/QRNPNidFrAlgo.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include <qrnp/qrnp_common.h>
#include <qrnp/qrnp_datacnv.h>
#include <qrnp/qrnp_messages.h>

#include "common/trace.h"

namespace {

constexpr const char* kComp = "QRNPNidFrAlgo";

// The sex digits in order; the permutation of four maps a place in this list to a new one.
constexpr int16_t SEX_ENTRY_TABLE[5] = {1, 2, 7, 8, 0};

// The five non-identity orders of three digits (1-based source positions), each closed by 0.
constexpr int16_t sequence[5][4] = {
    {1, 3, 2, 0}, {2, 1, 3, 0}, {2, 3, 1, 0}, {3, 1, 2, 0}, {3, 2, 1, 0},
};

// Set until the first random number of the process has seeded rand().
bool bSeedPending = true;

// Writes iValue (0 <= iValue < 10^iDigits) as exactly iDigits digits at pDst.
inline void PutDigits(wchar_t* pDst, int32_t iValue, int32_t iDigits) {
    for (int32_t i = iDigits - 1; i >= 0; --i) {
        pDst[i] = static_cast<wchar_t>(L'0' + iValue % 10);
        iValue /= 10;
    }
}

// Writes a department: 20 as "2A", 0 as "2B", anything else as two digits.
inline void PutDept(wchar_t* pDst, int32_t iDept) {
    if (iDept == FR_DEPT_2A || iDept == FR_DEPT_2B) {
        pDst[0] = L'2';
        pDst[1] = (iDept == FR_DEPT_2A) ? L'A' : L'B';
    } else {
        PutDigits(pDst, iDept, 2);
    }
}

inline bool IsDeptRow(int32_t iDept) { return iDept >= 0 && iDept < FR_DEPT_ROWS && iDept != FR_DEPT_NONE; }

// Writes the key of the 13 characters at pOut into positions 13-14 and terminates.
uint32_t FinishWithKey(wchar_t* pOut, int32_t iDeptWritten, bool bOfficial) {
    int32_t iKey = 0;
    uint32_t rc = bOfficial ? OfficialInseeKey(pOut, iDeptWritten, &iKey)
                            : InseeKey(pOut, iDeptWritten == FR_DEPT_2A || iDeptWritten == FR_DEPT_2B, &iKey);
    if (rc != 0) return rc;
    PutDigits(pOut + FR_POS_KEY, iKey, 2);
    pOut[FR_INSEE_LEN] = L'\0';
    return 0;
}

// CompareCommunes without its entry and exit traces: what the search uses
// while tracing is off, so that std::bsearch inlines it.
inline int CommuneDifference(const void* a, const void* b) {
    return static_cast<int>(*static_cast<const int16_t*>(a)) - static_cast<int>(*static_cast<const int16_t*>(b));
}

// The country after (bForward) or before iCode in the list of countries of
// birth, round the list; a code not in the list moves from where it would be.
int32_t NextBirthCountry(int32_t iCode, bool bForward) {
    const int16_t* pEnd = FR_BIRTH_COUNTRIES + FR_BIRTH_COUNTRY_COUNT;
    const int16_t* p = std::lower_bound(FR_BIRTH_COUNTRIES, pEnd, static_cast<int16_t>(iCode));
    int32_t i = static_cast<int32_t>(p - FR_BIRTH_COUNTRIES);
    if (bForward)
        i = (p != pEnd && *p == iCode) ? i + 1 : i;
    else
        i = i - 1 + FR_BIRTH_COUNTRY_COUNT;
    return FR_BIRTH_COUNTRIES[i % FR_BIRTH_COUNTRY_COUNT];
}

}  // namespace

bool IsBirthCountry(int32_t iCode) {
    return std::binary_search(FR_BIRTH_COUNTRIES, FR_BIRTH_COUNTRIES + FR_BIRTH_COUNTRY_COUNT,
                              static_cast<int16_t>(iCode));
}

uint32_t OfficialInseeKey(const wchar_t* pThirteen, int32_t iDept, int32_t* piKey) {
    wchar_t digits[FR_INSEE_KEYED_LEN + 1];
    for (int32_t i = 0; i < FR_INSEE_KEYED_LEN; ++i) {
        if (pThirteen[i] == L'\0') return QRNP_MSG_SOURCE_CONVERSION;
        digits[i] = pThirteen[i];
    }
    digits[FR_INSEE_KEYED_LEN] = L'\0';
    // Corsica: "2A" counts as 19 and "2B" as 18.
    if (iDept == FR_DEPT_2A || iDept == FR_DEPT_2B) {
        digits[FR_POS_DEPT] = L'1';
        digits[FR_POS_DEPT + 1] = iDept == FR_DEPT_2A ? L'9' : L'8';
    }
    return InseeKey(digits, false, piKey);
}

// The overseas departments are 971 Guadeloupe, 972 Martinique, 973 Guyane,
// 974 La Réunion, 975 Saint-Pierre-et-Miquelon, 976 Mayotte, 977
// Saint-Barthélemy and 978 Saint-Martin: the third digit of the department
// is 1-8 (970 and 979 were never departments), and the two digits after it
// are a commune 01-99 (no commune is numbered 00).
namespace {

constexpr int32_t kOfficialCommunes = 999;
constexpr int32_t kOverseasDepts = 8;          // 971-978
constexpr int32_t kOverseasCommunes = 99;      // 01-99 in each

}  // namespace

bool OfficialCommuneIsValid(int32_t iDept, int32_t iCommune) {
    if (iDept != FR_DEPT_OVERSEAS) return iCommune >= 1 && iCommune <= kOfficialCommunes;
    const int32_t iThird = iCommune / 100, iNumber = iCommune % 100;
    return iThird >= 1 && iThird <= kOverseasDepts && iNumber >= 1;
}

int32_t OfficialCommuneCount(int32_t iDept) {
    return iDept == FR_DEPT_OVERSEAS ? kOverseasDepts * kOverseasCommunes : kOfficialCommunes;
}

int32_t OfficialCommuneIndex(int32_t iDept, int32_t iCommune) {
    if (iDept != FR_DEPT_OVERSEAS) return iCommune - 1;
    return (iCommune / 100 - 1) * kOverseasCommunes + iCommune % 100 - 1;
}

int32_t OfficialCommuneAt(int32_t iDept, int32_t iIndex) {
    if (iDept != FR_DEPT_OVERSEAS) return iIndex + 1;
    return (iIndex / kOverseasCommunes + 1) * 100 + iIndex % kOverseasCommunes + 1;
}

int CompareCommunes(const void* a, const void* b) {
    TRC_ENTRY(kComp, "CompareCommunes");
    const int iResult = CommuneDifference(a, b);
    TRC_EXIT(kComp, "CompareCommunes", iResult);
    return iResult;
}

bool CommuneIsValid(int32_t iDept, int32_t iCommune) {
    TRC_ENTRY(kComp, "CommuneIsValid");
    TRC_VAR(kComp, "iDept", KNL_TRC_I32, &iDept);
    TRC_VAR(kComp, "iCommune", KNL_TRC_I32, &iCommune);
    bool bValid = false;
    if (iCommune >= 1 && IsDeptRow(iDept)) {
        const DeptRow& row = deptTable[iDept];
        if (iCommune <= row.sHighest) {
            const int16_t sKey = static_cast<int16_t>(iCommune);
            const size_t iCount = static_cast<size_t>(row.sUnusedCount);
            // The traced comparison only while tracing is on: the result is the same.
            const void* pFound = QRNP_TRACE_ON()
                                     ? std::bsearch(&sKey, row.pUnused, iCount, sizeof(int16_t), CompareCommunes)
                                     : std::bsearch(&sKey, row.pUnused, iCount, sizeof(int16_t), CommuneDifference);
            bValid = pFound == nullptr;
        }
    }
    TRC_EXIT(kComp, "CommuneIsValid", bValid ? 1 : 0);
    return bValid;
}

uint32_t InseeKey(const wchar_t* pThirteen, bool bCorsica, int32_t* piKey) {
    TRC_ENTRY(kComp, "InseeKey");
    TRC_VAR(kComp, "pThirteen", KNL_TRC_WSTR, pThirteen);
    wchar_t digits[FR_INSEE_KEYED_LEN + 1];
    int32_t iLen = 0;
    while (iLen < FR_INSEE_KEYED_LEN && pThirteen[iLen] != L'\0') {
        digits[iLen] = pThirteen[iLen];
        ++iLen;
    }
    digits[iLen] = L'\0';
    uint32_t rc = QRNP_MSG_SOURCE_CONVERSION;
    if (iLen == FR_INSEE_KEYED_LEN) {
        // Both Corsican departments are keyed as "20".
        if (bCorsica) digits[FR_POS_DEPT + 1] = L'0';
        uint64_t lNumber = 0;
        int32_t iOutLen = 0;
        if (QRNPCnvWVarcharSzToULONGLONG(digits, FR_INSEE_KEYED_LEN, &lNumber, sizeof lNumber, &iOutLen, nullptr) == 0) {
            *piKey = static_cast<int32_t>(97 - lNumber % 97);
            rc = 0;
            TRC_VAR(kComp, "lNumber", KNL_TRC_U64, &lNumber);
            TRC_VAR(kComp, "iKey", KNL_TRC_I32, piKey);
        }
    }
    TRC_EXIT(kComp, "InseeKey", rc);
    return rc;
}

uint32_t MaskINSEE(const wchar_t* inseeInValue, uint64_t lOptionFlags, wchar_t* inseeOutValue) {
    TRC_ENTRY(kComp, "MaskINSEE");
    TRC_VAR(kComp, "inseeInValue", KNL_TRC_WSTR, inseeInValue);
    TRC_VAR(kComp, "lOptionFlags", KNL_TRC_U64, &lOptionFlags);

    uint32_t rc = 0;
    int32_t iSex = 0, iYear = 0, iMonth = 0, iDept = 0, iCommune = 0, iOrder = 0, iKey = 0;
    const wchar_t* in = inseeInValue;
    wchar_t* out = inseeOutValue;

    // 1. Fields. Corsica is recognised in capitals only; "2a" goes on to the
    //    numeric read and fails there.
    rc = QRNPCnvWVarcharSzToInt(in, &iSex, FR_POS_SEX, 1);
    if (rc == 0) rc = QRNPCnvWVarcharSzToInt(in, &iYear, FR_POS_YEAR, 2);
    if (rc == 0) rc = QRNPCnvWVarcharSzToInt(in, &iMonth, FR_POS_MONTH, 2);
    if (rc == 0) {
        if (in[FR_POS_DEPT] == L'2' && in[FR_POS_DEPT + 1] == L'A')
            iDept = FR_DEPT_2A;
        else if (in[FR_POS_DEPT] == L'2' && in[FR_POS_DEPT + 1] == L'B')
            iDept = FR_DEPT_2B;
        else
            rc = QRNPCnvWVarcharSzToInt(in, &iDept, FR_POS_DEPT, 2);
    }
    if (rc == 0) rc = QRNPCnvWVarcharSzToInt(in, &iCommune, FR_POS_COMMUNE, 3);
    if (rc == 0) rc = QRNPCnvWVarcharSzToInt(in, &iOrder, FR_POS_ORDER, 3);
    if (rc == 0) rc = QRNPCnvWVarcharSzToInt(in, &iKey, FR_POS_KEY, 2);
    if (rc != 0) {
        TRC_TEXT(kComp, "Field conversion failed");
        TRC_EXIT(kComp, "MaskINSEE", rc);
        return rc;
    }
    TRC_VAR(kComp, "iDept", KNL_TRC_I32, &iDept);
    TRC_VAR(kComp, "iCommune", KNL_TRC_I32, &iCommune);

    // 2. Sex: the month seeds a permutation of the four places of (1, 2, 7, 8).
    int32_t iNewSex = iSex;
    if (lOptionFlags & FR_FLAG_SEX) {
        int16_t perm[4];
        PXGetPermutation(iMonth, 4, perm);
        int32_t iPlace = 0;
        while (iPlace < 4 && SEX_ENTRY_TABLE[iPlace] != iSex) ++iPlace;
        if (iPlace == 4) {
            TRC_TEXT(kComp, "Invalid sex");
            TRC_EXIT(kComp, "MaskINSEE", QRNP_MSG_FR_INVALID_SEX);
            return QRNP_MSG_FR_INVALID_SEX;
        }
        iNewSex = SEX_ENTRY_TABLE[perm[iPlace] - 1];
    }
    PutDigits(out + FR_POS_SEX, iNewSex, 1);

    // 3. Year: odd years go back two, even years forward two.
    int32_t iNewYear = iYear;
    if (lOptionFlags & FR_FLAG_YEAR) iNewYear = (iYear % 2 != 0) ? (iYear + 98) % 100 : (iYear + 2) % 100;
    PutDigits(out + FR_POS_YEAR, iNewYear, 2);

    // 4. Month: shifted by 2, 9 or 5 (within 1..12) as the input year mod 3 is 0, 1 or 2.
    int32_t iNewMonth = iMonth;
    if (lOptionFlags & FR_FLAG_MONTH) {
        static constexpr int32_t kMonthShift[3] = {1, 8, 4};
        iNewMonth = (iMonth + kMonthShift[iYear % 3]) % 12 + 1;
    }
    PutDigits(out + FR_POS_MONTH, iNewMonth, 2);

    // 5. Department: swap the digits, except 69 and 89, which would become 96 and 98.
    //    2A (20) and 02 trade places; 2B (0) stays.
    int32_t iNewDept = iDept;
    if ((lOptionFlags & FR_FLAG_DEPT) && iDept != 69 && iDept != 89) iNewDept = (iDept % 10) * 10 + iDept / 10;
    PutDept(out + FR_POS_DEPT, iNewDept);

    // 6. Commune: the nearest commune in use in the new department's row, after
    //    the input commune for an even input department, before it for an odd
    //    one, wrapping within 1..highest.
    int32_t iNewCommune = iCommune;
    const bool bOfficial = (lOptionFlags & FR_FLAG_OFFICIAL) != 0;
    if ((lOptionFlags & FR_FLAG_COMMUNE) && bOfficial && iNewDept == FR_DEPT_ABROAD) {
        // Born abroad: the country of birth moves as a commune would (99 is odd: back).
        iNewCommune = NextBirthCountry(iCommune, iDept % 2 == 0);
    } else if (lOptionFlags & FR_FLAG_COMMUNE) {
        if (iCommune < 1) {
            TRC_TEXT(kComp, "Invalid commune");
            TRC_EXIT(kComp, "MaskINSEE", QRNP_MSG_FR_INVALID_COMMUNE);
            return QRNP_MSG_FR_INVALID_COMMUNE;
        }
        // A checked value always names a department row; this keeps a direct
        // caller's bad department from reading past the table.
        if (!IsDeptRow(iNewDept)) {
            TRC_TEXT(kComp, "Invalid dept");
            TRC_EXIT(kComp, "MaskINSEE", QRNP_MSG_FR_INVALID_DEPT);
            return QRNP_MSG_FR_INVALID_DEPT;
        }
        const int32_t h = deptTable[iNewDept].sHighest;
        const int32_t iStep = (iDept % 2 == 0) ? 1 : h - 1;
        int32_t x = iCommune;
        do {
            x = (x + iStep) % h;
            if (x == 0) x = h;
        } while (!CommuneIsValid(iNewDept, x));
        iNewCommune = x;
    }
    PutDigits(out + FR_POS_COMMUNE, iNewCommune, 3);

    // 7. Order number, always: shift digit i by o + i (o = 3, 5, 7 as the input
    //    department mod 3 is 0, 1, 2), then reorder by the row the new digits' sum picks.
    {
        const int32_t o = 3 + 2 * (iDept % 3);
        int32_t e[3];
        e[0] = (iOrder / 100 + o) % 10;
        e[1] = (iOrder / 10 % 10 + o + 1) % 10;
        e[2] = (iOrder % 10 + o + 2) % 10;
        const int16_t* pRow = sequence[(e[0] + e[1] + e[2]) % 5];
        for (int32_t i = 0; i < 3; ++i) out[FR_POS_ORDER + i] = static_cast<wchar_t>(L'0' + e[pRow[i] - 1]);
    }

    // 8. Key over what was written, Corsica keyed as "20" (official rules: 19 and 18).
    rc = FinishWithKey(out, iNewDept, bOfficial);
    if (rc == 0) TRC_VAR(kComp, "inseeOutValue", KNL_TRC_WSTR, inseeOutValue);
    TRC_EXIT(kComp, "MaskINSEE", rc);
    return rc;
}

uint32_t RandomINSEE(wchar_t* inseeOutValue, bool bOfficial) {
    TRC_ENTRY(kComp, "RandomINSEE");
    if (bSeedPending) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        bSeedPending = false;
    }
    wchar_t* out = inseeOutValue;

    // Sex 1 and 2 four times as often as 7 and 8.
    static constexpr wchar_t kSexByDraw[10] = {L'1', L'1', L'1', L'1', L'2', L'2', L'2', L'2', L'7', L'8'};
    out[FR_POS_SEX] = kSexByDraw[std::rand() % 10];
    PutDigits(out + FR_POS_YEAR, std::rand() % 100, 2);
    PutDigits(out + FR_POS_MONTH, std::rand() % 12 + 1, 2);

    int32_t iDept;
    int32_t iCommune;
    if (bOfficial && std::rand() % 10 == 0) {
        // About one resident in ten was born abroad.
        iDept = FR_DEPT_ABROAD;
        iCommune = FR_BIRTH_COUNTRIES[std::rand() % FR_BIRTH_COUNTRY_COUNT];
    } else {
        do {
            iDept = std::rand() % FR_DEPT_ROWS;
        } while (iDept == FR_DEPT_NONE);
        const int32_t h = deptTable[iDept].sHighest;
        do {
            iCommune = std::rand() % h + 1;
        } while (!CommuneIsValid(iDept, iCommune));
    }
    PutDept(out + FR_POS_DEPT, iDept);
    PutDigits(out + FR_POS_COMMUNE, iCommune, 3);
    PutDigits(out + FR_POS_ORDER, std::rand() % 1000, 3);

    uint32_t rc = FinishWithKey(out, iDept, bOfficial);
    if (rc == 0) TRC_VAR(kComp, "inseeOutValue", KNL_TRC_WSTR, inseeOutValue);
    TRC_EXIT(kComp, "RandomINSEE", rc);
    return rc;
}
