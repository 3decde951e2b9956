// Italian codici fiscali: validation, check character, masking and random generation.
//
// Masking derives every new field from the value itself, so the same value
// and flags always give the same result: the name codes are shifted within
// their vowels and consonants by the month of birth, and the birth date and
// region code are moved by a key made from the region code, so that people
// born on the same day in the same place stay together. The sex, the
// consonant-vowel-"X" shape of the names and the source's right-hand run of
// replacement letters are kept; the check character is recomputed.

#include "countries/it/QRNPNidItAlgo.h"

#include <bitset>
#include <cstdlib>
#include <ctime>

#include <qrnp/qrnp_errors.h>
#include <qrnp/qrnp_messages.h>
#include <qrnp/qrnp_tokens.h>

#include "common/trace.h"
#include "countries/character_compare.h"

const wchar_t VOWELS[6] = L"AEIOU";
const wchar_t MONTHS[13] = L"ABCDEHLMPRST";
const wchar_t SHORT_MONTHS[6] = L"BDHPS";
const wchar_t REPLACEMENTS[11] = L"LMNPQRSTUV";
const wchar_t CONSONANTS[22] = L"BCDFGHJKLMNPQRSTVWXYZ";
const wchar_t REGION_INITIALS[13] = L"ABCDEFGHILMZ";
//                                A  B  C  D  E   F   G   H   I   J   K  L  M   N   O  P  Q  R  S   T   U   V   W   X   Y   Z
const int16_t ODD_VALUES[27] = {1, 0, 5, 7, 9, 13, 15, 17, 19, 21, 2, 4, 18, 20, 11, 3, 6, 8, 12, 14, 16, 10, 22, 25, 24, 23, 0};

namespace {

constexpr const char* kComp = "QRNPNidItAlgo";

constexpr size_t kVowels = 5;
constexpr size_t kMonths = 12;
constexpr size_t kShortMonths = 5;
constexpr size_t kReplacements = 10;
constexpr size_t kConsonants = 21;
constexpr size_t kRegionInitials = 12;
constexpr int32_t kFebruary = 1;  // index in MONTHS

// The digit positions, rightmost first: the order in which replacement letters
// are carried over from the source.
constexpr int32_t kDigitPositionsFromRight[7] = {14, 13, 12, 10, 9, 7, 6};

// Set until the first random number of the process has seeded rand().
bool bSeedPending = true;

// Bit (letter - "A") * 1000 + number is set for each code of InvalidRegionCodes.
constexpr size_t kRegionCodeBits = 26 * 1000;

// The bit of a code made of a capital letter and three digits, or -1 for any other code.
int32_t RegionCodeBit(const wchar_t* pCode) {
    if (pCode[0] < L'A' || pCode[0] > L'Z') return -1;
    int32_t iNumber = 0;
    for (int32_t i = 1; i < 4; ++i) {
        if (pCode[i] < L'0' || pCode[i] > L'9') return -1;
        iNumber = iNumber * 10 + static_cast<int32_t>(pCode[i] - L'0');
    }
    return static_cast<int32_t>(pCode[0] - L'A') * 1000 + iNumber;
}

// The refused codes as bits, made once from InvalidRegionCodes. Every entry
// is a capital letter and three digits, so a code of that shape is refused
// exactly when its bit is set, and a code with anything else after its
// capital letter equals no entry, even compared without regard to case: this
// answers what a binary search of the table answers, in a few instructions.
const std::bitset<kRegionCodeBits>& RefusedRegionCodes() {
    static const std::bitset<kRegionCodeBits> bits = [] {
        std::bitset<kRegionCodeBits> refused;
        for (const auto& entry : InvalidRegionCodes) refused.set(static_cast<size_t>(RegionCodeBit(entry)));
        return refused;
    }();
    return bits;
}

// Index of c in an ascending letter table, or -1: std::bsearch with CharacterCompare.
int32_t LetterIndex(wchar_t c, const wchar_t* pTable, size_t iCount) {
    const void* pFound = std::bsearch(&c, pTable, iCount, sizeof(wchar_t), CharacterCompare);
    return pFound == nullptr ? -1 : static_cast<int32_t>(static_cast<const wchar_t*>(pFound) - pTable);
}

// What LetterIndex returns, found by a scan without branches. CharacterCompare
// tells characters apart by their low 16 bits only, and every letter table
// holds distinct capitals, so c is found exactly where an entry equals its
// low 16 bits. The binary search's branches follow the letter looked up;
// on varied letters (generated names) they mispredict, and each miss costs
// more than this whole scan of at most 21 entries.
inline int32_t ScanLetters(wchar_t c, const wchar_t* pTable, size_t iCount) {
    const wchar_t key = static_cast<uint16_t>(c);
    int32_t iIndex = -1;
    for (size_t i = 0; i < iCount; ++i) iIndex = pTable[i] == key ? static_cast<int32_t>(i) : iIndex;
    return iIndex;
}

// DecodeField without replacement letters: each character counts as its code - "0".
inline int32_t DigitsValue(const wchar_t* pValue, int32_t iStart, int32_t iDigits) {
    int32_t iValue = 0;
    for (int32_t i = iStart; i < iStart + iDigits; ++i) iValue = iValue * 10 + static_cast<int32_t>(pValue[i] - L'0');
    return iValue;
}

// IsValidRegionCode's test of a code (not null).
bool RegionCodeMayBeCarried(const wchar_t* pCode) {
    const wchar_t c = pCode[0];
    if (!((c >= L'A' && c <= L'M' && c != L'J' && c != L'K') || c == L'Z')) return false;
    if (pCode[1] == L'0' && pCode[2] == L'0' && pCode[3] == L'0') return false;
    const int32_t iBit = RegionCodeBit(pCode);
    return iBit < 0 || !RefusedRegionCodes().test(static_cast<size_t>(iBit));
}

// GetControlCharacter's work; returns the sum the character comes from.
int16_t PutControlCharacter(wchar_t* value) {
    int16_t sSum = 0;
    bool bOdd = true;
    for (int32_t i = 0; i < IT_POS_CHECK; ++i) {
        wchar_t c = value[i];
        if (c >= L'0' && c <= L'9') c = static_cast<wchar_t>(L'A' + (c - L'0'));
        if (c < L'A' || c > L'Z') continue;  // not scored, and takes no place
        sSum = static_cast<int16_t>(sSum + (bOdd ? ODD_VALUES[c - L'A'] : c - L'A'));
        bOdd = !bOdd;
    }
    value[IT_POS_CHECK] = static_cast<wchar_t>(L'A' + sSum % 26);
    return sSum;
}

// FindLetter, DecodeField, IsValidRegionCode and GetControlCharacter run
// several times a row. While tracing is off their common case is one trace
// check and code without calls; the rest runs in these out-of-line twins,
// so that the common case stays a leaf.
[[gnu::cold, gnu::noinline]] int32_t FindLetterTraced(wchar_t c, const wchar_t* pTable, size_t iCount) {
    TRC_ENTRY(kComp, "FindLetter");
    const int32_t iIndex = LetterIndex(c, pTable, iCount);
    TRC_EXIT(kComp, "FindLetter", iIndex);
    return iIndex;
}

[[gnu::noinline]] int32_t DecodeFieldInFull(const wchar_t* pValue, int32_t iStart, int32_t iDigits, bool bLetters) {
    TRC_ENTRY(kComp, "DecodeField");
    int32_t iValue = 0;
    for (int32_t i = iStart; i < iStart + iDigits; ++i) {
        const int32_t iLetter = bLetters ? FindLetter(pValue[i], REPLACEMENTS, kReplacements) : -1;
        iValue = iValue * 10 + (iLetter >= 0 ? iLetter : static_cast<int32_t>(pValue[i] - L'0'));
    }
    TRC_EXIT(kComp, "DecodeField", iValue);
    return iValue;
}

[[gnu::cold, gnu::noinline]] int32_t IsValidRegionCodeTraced(const wchar_t* pCode) {
    TRC_ENTRY(kComp, "IsValidRegionCode");
    if (pCode == nullptr) {
        TRC_EXIT(kComp, "IsValidRegionCode", 0);
        return 0;
    }
    TRC_VAR(kComp, "pCode", KNL_TRC_WSTR, pCode);
    const int32_t iValid = RegionCodeMayBeCarried(pCode) ? 1 : 0;
    TRC_EXIT(kComp, "IsValidRegionCode", iValid);
    return iValid;
}

[[gnu::cold, gnu::noinline]] void GetControlCharacterTraced(wchar_t* value) {
    TRC_ENTRY(kComp, "GetControlCharacter");
    int16_t sSum = PutControlCharacter(value);
    TRC_VAR(kComp, "sSum", KNL_TRC_I16, &sSum);
    TRC_EXIT(kComp, "GetControlCharacter", value[IT_POS_CHECK]);
}

inline bool IsVowel(wchar_t c) { return FindLetter(c, VOWELS, kVowels) >= 0; }
inline bool IsShortMonth(wchar_t c) { return FindLetter(c, SHORT_MONTHS, kShortMonths) >= 0; }
inline bool IsReplacement(wchar_t c) { return FindLetter(c, REPLACEMENTS, kReplacements) >= 0; }

// Writes iValue (0 <= iValue) as exactly iDigits digits at pDst (higher digits are dropped).
inline void PutDigits(wchar_t* pDst, int32_t iValue, int32_t iDigits) {
    for (int32_t i = iDigits - 1; i >= 0; --i) {
        pDst[i] = static_cast<wchar_t>(L'0' + iValue % 10);
        iValue /= 10;
    }
}

// k brought into 0..n-1 by steps of n: what "subtract n while above n - 1"
// and "add n while below 0" give for every k they are applied to.
inline int32_t Wrap(int32_t k, int32_t n) { return ((k % n) + n) % n; }

// A name code (3 characters from iStart) may have anything before its first
// vowel and further vowels after it; from the first non-vowel after a vowel
// on, every position up to iLastPadded must be "X".
bool NameCodeIsPadded(const wchar_t* value, int32_t iStart, int32_t iLastPadded) {
    bool bVowelSeen = false;
    for (int32_t i = iStart; i < iStart + 3; ++i) {
        if (IsVowel(value[i])) {
            bVowelSeen = true;
        } else if (bVowelSeen) {
            for (int32_t j = i; j <= iLastPadded; ++j)
                if (value[j] != L'X') return false;
            return true;
        }
    }
    return true;
}

// Days in the month at MONTHS[iMonthIndex] of the two-digit year (00 is a leap year).
int32_t DaysInMonth(int32_t iMonthIndex, int32_t iYear) {
    if (!IsShortMonth(MONTHS[iMonthIndex])) return 31;
    if (iMonthIndex != kFebruary) return 30;
    return iYear % 4 == 0 ? 29 : 28;
}

uint32_t FailValidation(CtrlBlk* pCtrlBlk, int32_t iRownum, const wchar_t* value, uint32_t iCode,
                        const char* pTraceText) {
    ErrorCapture(pCtrlBlk, static_cast<uint32_t>(iRownum), iCode, 1);
    TokenCapture(pCtrlBlk, value, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0);
    TRC_TEXT(kComp, pTraceText);
    TRC_EXIT(kComp, "ValidateCF", iCode);
    return iCode;
}

// Draws a name code into pOut: letters until the first vowel, then vowels,
// or "X" padding to the end of the code.
void RandomName(wchar_t* pOut) {
    bool bVowelSeen = false;
    for (int32_t i = 0; i < 3; ++i) {
        if (!bVowelSeen) {
            pOut[i] = static_cast<wchar_t>(L'A' + std::rand() % 26);
            bVowelSeen = IsVowel(pOut[i]);
            continue;
        }
        const int r = std::rand() % 6;
        if (r == 5) {
            for (; i < 3; ++i) pOut[i] = L'X';
            return;
        }
        pOut[i] = VOWELS[r];
    }
}

}  // namespace

int32_t FindLetter(wchar_t c, const wchar_t* pTable, size_t iCount) {
    if (QRNP_TRACE_ON()) return FindLetterTraced(c, pTable, iCount);
    return ScanLetters(c, pTable, iCount);
}

int32_t DecodeField(const wchar_t* pValue, int32_t iStart, int32_t iDigits, bool bLetters) {
    if (bLetters || QRNP_TRACE_ON()) return DecodeFieldInFull(pValue, iStart, iDigits, bLetters);
    return DigitsValue(pValue, iStart, iDigits);
}

uint32_t ValidateCF(CtrlBlk* pCtrlBlk, int32_t iRownum, const wchar_t* value, uint64_t lRowFlags) {
    TRC_ENTRY(kComp, "ValidateCF");
    TRC_VAR(kComp, "value", KNL_TRC_WSTR, value);
    TRC_VAR(kComp, "lRowFlags", KNL_TRC_U64, &lRowFlags);

    // 1. Surname code: consonants, vowels, "X" padding.
    if (!NameCodeIsPadded(value, IT_POS_SURNAME, IT_POS_SURNAME + 2))
        return FailValidation(pCtrlBlk, iRownum, value, QRNP_MSG_IT_INVALID_FAMILY_NAME, "Invalid family name");

    // 2. The first-name code goes through the same scan, but its padding test
    //    also stops at position 2, before the code begins, so it refuses
    //    nothing: the first-name code is accepted as it comes.
    if (!NameCodeIsPadded(value, IT_POS_FIRST_NAME, IT_POS_SURNAME + 2))
        return FailValidation(pCtrlBlk, iRownum, value, QRNP_MSG_IT_INVALID_FIRST_NAME, "Invalid first name");

    // 3. Birth date. A woman's day is 41-71; day 40 stays 40 and fails.
    int32_t iDay = DecodeField(value, IT_POS_DAY, 2, (lRowFlags & IT_FLAG_ROW_DAY_LETTERS) != 0);
    const int32_t iYear = DecodeField(value, IT_POS_YEAR, 2, (lRowFlags & IT_FLAG_ROW_YEAR_LETTERS) != 0);
    if (iDay > IT_WOMAN_DAY_OFFSET) iDay -= IT_WOMAN_DAY_OFFSET;
    TRC_VAR(kComp, "iDay", KNL_TRC_I32, &iDay);
    TRC_VAR(kComp, "iYear", KNL_TRC_I32, &iYear);
    const int32_t iMonthIndex = FindLetter(value[IT_POS_MONTH], MONTHS, kMonths);
    if (iMonthIndex < 0 || iDay < 1 || iDay > DaysInMonth(iMonthIndex, iYear))
        return FailValidation(pCtrlBlk, iRownum, value, QRNP_MSG_IT_INVALID_BIRTH_DATE, "Invalid birth date");

    // 4. Region code, a replacement-letter number checked in its digit form.
    wchar_t code[5];
    code[0] = value[IT_POS_REGION];
    PutDigits(code + 1, DecodeField(value, IT_POS_REGION_NUMBER, 3, (lRowFlags & IT_FLAG_ROW_REGION_LETTERS) != 0), 3);
    code[4] = L'\0';
    TRC_VAR(kComp, "code", KNL_TRC_WSTR, code);
    if (IsValidRegionCode(code) != 1)
        return FailValidation(pCtrlBlk, iRownum, value, QRNP_MSG_IT_INVALID_REGION, "Invalid region code");

    TRC_EXIT(kComp, "ValidateCF", 0);
    return 0;
}

bool SurnameCodeIsPadded(const wchar_t* value) { return NameCodeIsPadded(value, IT_POS_SURNAME, IT_POS_SURNAME + 2); }
int32_t DaysOfMonth(int32_t iMonthIndex, int32_t iYear) { return DaysInMonth(iMonthIndex, iYear); }
bool RegionCodeIsCarried(const wchar_t* pCode) { return RegionCodeMayBeCarried(pCode); }

int32_t IsValidRegionCode(const wchar_t* pCode) {
    if (QRNP_TRACE_ON()) return IsValidRegionCodeTraced(pCode);
    return pCode != nullptr && RegionCodeMayBeCarried(pCode) ? 1 : 0;
}

void GetControlCharacter(wchar_t* value) {
    if (QRNP_TRACE_ON()) return GetControlCharacterTraced(value);
    PutControlCharacter(value);
}

int16_t MaskName(const wchar_t* pSource, wchar_t* pTarget, int16_t sShift) {
    TRC_ENTRY(kComp, "MaskName");
    if (pSource == nullptr) {
        TRC_EXIT(kComp, "MaskName", 0);
        return 0;
    }
    TRC_VAR(kComp, "sShift", KNL_TRC_I16, &sShift);
    bool bVowelSeen = false;
    int16_t s = sShift;
    for (int32_t i = 0; i < 3; ++i) {
        const wchar_t c = pSource[i];
        // The index is taken one on, so that even a shift of 0 moves the letter.
        const int32_t iVowel = FindLetter(c, VOWELS, kVowels);
        if (iVowel >= 0) {
            bVowelSeen = true;
            const int32_t k = iVowel + 1 + (i % 2 == 0 ? s : -s);
            pTarget[i] = VOWELS[Wrap(k, kVowels)];
        } else if (!bVowelSeen) {
            const int32_t k = FindLetter(c, CONSONANTS, kConsonants) + 1 + (i % 2 == 0 ? s : -s);  // 0 + shift when not there
            pTarget[i] = CONSONANTS[Wrap(k, kConsonants)];
        } else {
            pTarget[i] = c;  // the padding after a vowel
        }
        s = static_cast<int16_t>(s + i + 1);
    }
    pTarget[3] = L'\0';
    TRC_VAR(kComp, "pTarget", KNL_TRC_WSTR, pTarget);
    TRC_EXIT(kComp, "MaskName", 1);
    return 1;
}

uint32_t MaskCF(const wchar_t* value, wchar_t* pOutput, uint64_t lRowFlags) {
    TRC_ENTRY(kComp, "MaskCF");
    TRC_VAR(kComp, "value", KNL_TRC_WSTR, value);
    TRC_VAR(kComp, "lRowFlags", KNL_TRC_U64, &lRowFlags);
    wchar_t* out = pOutput;

    // 1. The source's fields.
    const int32_t iYear = DecodeField(value, IT_POS_YEAR, 2, (lRowFlags & IT_FLAG_ROW_YEAR_LETTERS) != 0);
    const int32_t iMonth = FindLetter(value[IT_POS_MONTH], MONTHS, kMonths) + 1;  // 1-12
    int32_t iDay = DecodeField(value, IT_POS_DAY, 2, (lRowFlags & IT_FLAG_ROW_DAY_LETTERS) != 0);
    int32_t iRegion = DecodeField(value, IT_POS_REGION_NUMBER, 3, (lRowFlags & IT_FLAG_ROW_REGION_LETTERS) != 0);
    const bool bWoman = iDay >= IT_WOMAN_DAY_OFFSET;
    if (bWoman) iDay -= IT_WOMAN_DAY_OFFSET;

    // 2. Names, both shifted by the month of birth.
    if (lRowFlags & IT_FLAG_NAMES) {
        if (MaskName(value + IT_POS_SURNAME, out + IT_POS_SURNAME, static_cast<int16_t>(iMonth)) == 0 ||
            MaskName(value + IT_POS_FIRST_NAME, out + IT_POS_FIRST_NAME, static_cast<int16_t>(iMonth)) == 0) {
            TRC_TEXT(kComp, "Failed to mask MaskName");
            TRC_EXIT(kComp, "MaskCF", QRNP_MSG_IT_MASK_FAILED);
            return QRNP_MSG_IT_MASK_FAILED;
        }
    } else {
        for (int32_t i = IT_POS_SURNAME; i < IT_POS_YEAR; ++i) out[i] = value[i];
    }

    // 3. The region key: "A" gives 1000 + number, "Z" 26000 + number.
    const int32_t k = iRegion + 1000 * static_cast<int32_t>(value[IT_POS_REGION] - 64);
    TRC_VAR(kComp, "k", KNL_TRC_I32, &k);

    // 4. Date, moved by the key within the days of the new month.
    int32_t iNewYear = iYear;
    wchar_t monthLetter = value[IT_POS_MONTH];
    int32_t iNewDay = iDay;
    if (lRowFlags & IT_FLAG_BIRTH_DATE) {
        iNewYear = (2 * k + iYear + 1) % 100;
        const int32_t iNewMonthIndex = (2 * k + iMonth) % 12;
        monthLetter = MONTHS[iNewMonthIndex];
        iNewDay = ((2 * k + iDay + 1) % DaysInMonth(iNewMonthIndex, iNewYear)) + 1;
    }
    // 5. The sex is kept.
    if (bWoman) iNewDay += IT_WOMAN_DAY_OFFSET;

    // 6. Region code: walk REGION_INITIALS and the numbers by the new year
    //    until the code may be carried.
    wchar_t code[5];
    if (lRowFlags & IT_FLAG_REGION) {
        const int32_t y = iNewYear == 0 ? 100 : iNewYear;
        int32_t iLetter = FindLetter(value[IT_POS_REGION], REGION_INITIALS, kRegionInitials);
        code[4] = L'\0';
        do {
            iLetter = (iLetter + y) % static_cast<int32_t>(kRegionInitials);
            iRegion -= 3 * y + 7;
            while (iRegion <= 0) iRegion += 999;
            code[0] = REGION_INITIALS[iLetter];
            PutDigits(code + 1, iRegion, 3);
        } while (IsValidRegionCode(code) != 1);
    } else {
        for (int32_t i = 0; i < 4; ++i) code[i] = value[IT_POS_REGION + i];
    }

    // 7. The result, with a placeholder for the check character.
    PutDigits(out + IT_POS_YEAR, iNewYear, 2);
    out[IT_POS_MONTH] = monthLetter;
    PutDigits(out + IT_POS_DAY, iNewDay, 2);
    for (int32_t i = 0; i < 4; ++i) out[IT_POS_REGION + i] = code[i];
    out[IT_POS_CHECK] = L'#';
    out[IT_CF_LEN] = L'\0';

    // 8. The source's unbroken run of replacement letters from the right. A
    //    region code kept as it was written already holds its letters.
    if (lRowFlags & IT_FLAG_ROW_LETTERS) {
        for (const int32_t iPos : kDigitPositionsFromRight) {
            if (!IsReplacement(value[iPos])) break;
            if (out[iPos] >= L'0' && out[iPos] <= L'9') out[iPos] = REPLACEMENTS[out[iPos] - L'0'];
        }
    }

    // 9. Check character.
    GetControlCharacter(out);
    TRC_VAR(kComp, "pOutput", KNL_TRC_WSTR, pOutput);
    TRC_EXIT(kComp, "MaskCF", 0);
    return 0;
}

uint32_t RandomCF(wchar_t* pOutput, bool bOfficial) {
    TRC_ENTRY(kComp, "RandomCF");
    if (bSeedPending) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        bSeedPending = false;
    }
    wchar_t* out = pOutput;
    RandomName(out + IT_POS_SURNAME);
    RandomName(out + IT_POS_FIRST_NAME);

    // Year 00-98 and a day from 00: both kept as they have always been drawn.
    const int32_t iYear = std::rand() % 99;
    PutDigits(out + IT_POS_YEAR, iYear, 2);
    const int32_t iMonthIndex = std::rand() % 12;
    out[IT_POS_MONTH] = MONTHS[iMonthIndex];
    // (Under the official rules the day is 1 to the month's last: there is no day 00.)
    int32_t iDay = std::rand() % DaysInMonth(iMonthIndex, iYear) + (bOfficial ? 1 : 0);
    if (std::rand() % 2 == 1) iDay += IT_WOMAN_DAY_OFFSET;
    PutDigits(out + IT_POS_DAY, iDay, 2);

    wchar_t* code = out + IT_POS_REGION;
    out[IT_POS_CHECK] = L'\0';  // terminates the code while it is tested
    do {
        code[0] = REGION_INITIALS[std::rand() % 12];
        PutDigits(code + 1, std::rand() % 1000, 3);
    } while (IsValidRegionCode(code) != 1);

    out[IT_POS_CHECK] = L'#';
    out[IT_CF_LEN] = L'\0';
    GetControlCharacter(out);
    TRC_VAR(kComp, "pOutput", KNL_TRC_WSTR, pOutput);
    TRC_EXIT(kComp, "RandomCF", 0);
    return 0;
}
