// United Kingdom National Insurance numbers: masking and random generation.
//
// Masking scrambles the six digits with a key made from the prefix letters:
// each digit is shifted by an amount fixed by its position and the key, and
// the shifted digits are reordered by one of 47 fixed orders the key picks.
// A result of 000000 is scrambled once more. The prefix, when it is masked
// too, moves through the prefix table by an amount the new digits decide.

#include "countries/uk/QRNPNidUkAlgo.h"

#include <array>
#include <string_view>

#include <cstdlib>
#include <ctime>

#include <qrnp/qrnp_datacnv.h>

#include "common/trace.h"

namespace {

constexpr const char* kComp = "QRNPNidUkAlgo";
constexpr uint32_t kMaskFailed = 0xFFFFFFFFu;  // -1

// Set until the first random number of the process has seeded rand().
bool bSeedPending = true;

inline wchar_t Upper(wchar_t c) { return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

// PrefixCompare without its entry and exit traces: what the search uses
// while tracing is off, so that std::bsearch inlines it.
inline int PrefixDifference(const void* pKey, const void* pEntry) {
    const wchar_t* pA = *static_cast<const wchar_t* const*>(pKey);
    const wchar_t* pB = *static_cast<const wchar_t* const*>(pEntry);
    int iResult = static_cast<int>(Upper(pA[0])) - static_cast<int>(Upper(pB[0]));
    if (iResult == 0) iResult = static_cast<int>(Upper(pA[1])) - static_cast<int>(Upper(pB[1]));
    return iResult;
}

}  // namespace

const wchar_t* const VALID_PREFIXES[UK_PREFIX_COUNT] = {
    L"AA", L"AB", L"AE", L"AH", L"AK", L"AL", L"AM", L"AP", L"AR", L"AS", L"AT", L"AW", L"AX", L"AY", L"AZ", L"BA",
    L"BB", L"BE", L"BH", L"BK", L"BL", L"BM", L"BT", L"CA", L"CB", L"CE", L"CH", L"CK", L"CL", L"CR", L"EA", L"EB",
    L"EE", L"EH", L"EK", L"EL", L"EM", L"EP", L"ER", L"ES", L"ET", L"EW", L"EX", L"EY", L"EZ", L"GY", L"HA", L"HB",
    L"HE", L"HH", L"HK", L"HL", L"HM", L"HP", L"HR", L"HS", L"HT", L"HW", L"HX", L"HY", L"HZ", L"JA", L"JB", L"JC",
    L"JE", L"JG", L"JH", L"JJ", L"JK", L"JL", L"JM", L"JN", L"JP", L"JR", L"JS", L"JT", L"JW", L"JX", L"JY", L"JZ",
    L"KA", L"KB", L"KE", L"KH", L"KK", L"KL", L"KM", L"KP", L"KR", L"KS", L"KT", L"KW", L"KX", L"KY", L"KZ", L"LA",
    L"LB", L"LE", L"LH", L"LK", L"LL", L"LM", L"LP", L"LR", L"LS", L"LT", L"LW", L"LX", L"LY", L"LZ", L"MA", L"MW",
    L"MX", L"NA", L"NB", L"NE", L"NH", L"NL", L"NM", L"NP", L"NR", L"NS", L"NW", L"NX", L"NY", L"NZ", L"OA", L"OB",
    L"OE", L"OH", L"OK", L"OL", L"OM", L"OP", L"OR", L"OS", L"OX", L"PA", L"PB", L"PC", L"PE", L"PG", L"PH", L"PJ",
    L"PK", L"PL", L"PM", L"PN", L"PP", L"PR", L"PS", L"PT", L"PW", L"PX", L"PY", L"RA", L"RB", L"RE", L"RH", L"RK",
    L"RM", L"RP", L"RR", L"RS", L"RT", L"RW", L"RX", L"RY", L"RZ", L"SA", L"SB", L"SC", L"SE", L"SG", L"SH", L"SJ",
    L"SK", L"SL", L"SM", L"SN", L"SP", L"SR", L"SS", L"ST", L"SW", L"SX", L"SY", L"SZ", L"TA", L"TB", L"TE", L"TH",
    L"TK", L"TL", L"TM", L"TP", L"TR", L"TS", L"TT", L"TW", L"TX", L"TY", L"TZ", L"WA", L"WB", L"WE", L"WK", L"WL",
    L"WM", L"WP", L"YA", L"YB", L"YE", L"YH", L"YK", L"YL", L"YM", L"YP", L"YR", L"YS", L"YT", L"YW", L"YX", L"YY",
    L"YZ", L"ZA", L"ZB", L"ZE", L"ZH", L"ZK", L"ZL", L"ZM", L"ZP", L"ZR", L"ZS", L"ZT", L"ZW", L"ZX", L"ZY",
};

// Only the six entries the masking reads are kept.
const int16_t sequence[UK_SEQUENCE_ROWS][6] = {
    {1, 2, 3, 4, 6, 5},  // 0
    {6, 5, 3, 4, 1, 2},  // 1
    {5, 6, 2, 1, 3, 4},  // 2
    {2, 1, 4, 3, 6, 5},  // 3
    {4, 3, 1, 2, 5, 6},  // 4
    {2, 1, 6, 5, 4, 3},  // 5
    {3, 4, 6, 5, 2, 1},  // 6
    {4, 3, 2, 1, 5, 6},  // 7
    {6, 5, 4, 3, 1, 2},  // 8
    {1, 2, 6, 5, 4, 3},  // 9
    {3, 4, 6, 5, 1, 2},  // 10
    {6, 5, 1, 2, 3, 4},  // 11
    {4, 3, 1, 2, 6, 5},  // 12
    {1, 2, 6, 5, 3, 4},  // 13
    {4, 3, 6, 5, 2, 1},  // 14
    {6, 5, 4, 3, 2, 1},  // 15
    {4, 3, 5, 6, 1, 2},  // 16
    {1, 2, 4, 3, 5, 6},  // 17
    {6, 5, 2, 1, 3, 4},  // 18
    {1, 2, 5, 6, 3, 4},  // 19
    {2, 1, 5, 6, 3, 4},  // 20
    {1, 2, 4, 3, 6, 5},  // 21
    {3, 4, 2, 1, 5, 6},  // 22
    {2, 1, 6, 5, 3, 4},  // 23
    {5, 6, 1, 2, 3, 4},  // 24
    {5, 6, 2, 1, 4, 3},  // 25
    {4, 3, 6, 5, 1, 2},  // 26
    {3, 4, 5, 6, 1, 2},  // 27
    {2, 1, 3, 4, 6, 5},  // 28
    {2, 1, 5, 6, 4, 3},  // 29
    {5, 6, 3, 4, 2, 1},  // 30
    {3, 4, 2, 1, 6, 5},  // 31
    {5, 6, 4, 3, 1, 2},  // 32
    {3, 4, 1, 2, 5, 6},  // 33
    {6, 5, 2, 1, 4, 3},  // 34
    {2, 1, 4, 3, 5, 6},  // 35
    {5, 6, 3, 4, 1, 2},  // 36
    {3, 4, 5, 6, 2, 1},  // 37
    {6, 5, 1, 2, 4, 3},  // 38
    {5, 6, 4, 3, 2, 1},  // 39
    {2, 1, 3, 4, 5, 6},  // 40
    {3, 4, 1, 2, 6, 5},  // 41
    {6, 5, 3, 4, 2, 1},  // 42
    {5, 6, 1, 2, 4, 3},  // 43
    {1, 2, 5, 6, 4, 3},  // 44
    {4, 3, 5, 6, 2, 1},  // 45
    {4, 3, 2, 1, 6, 5},  // 46
};

int PrefixCompare(const void* pKey, const void* pEntry) {
    TRC_ENTRY(kComp, "PrefixCompare");
    const int iResult = PrefixDifference(pKey, pEntry);
    TRC_EXIT(kComp, "PrefixCompare", iResult);
    return iResult;
}

namespace {

constexpr bool IsOfficialPrefix(char a, char b) {
    constexpr std::string_view kNeither = "DFIQUV";
    constexpr std::string_view kRefused[] = {"BG", "GB", "KN", "NK", "NT", "TN", "ZZ"};
    if (kNeither.find(a) != std::string_view::npos || kNeither.find(b) != std::string_view::npos || b == 'O')
        return false;
    for (const std::string_view refused : kRefused)
        if (refused[0] == a && refused[1] == b) return false;
    return true;
}

// The official prefixes, alphabetical.
constexpr auto kOfficialPrefixes = [] {
    std::array<std::array<char, 2>, UK_OFFICIAL_PREFIX_COUNT> prefixes{};
    size_t n = 0;
    for (char a = 'A'; a <= 'Z'; ++a)
        for (char b = 'A'; b <= 'Z'; ++b)
            if (IsOfficialPrefix(a, b)) prefixes[n++] = {a, b};
    return prefixes;
}();
static_assert(kOfficialPrefixes.back()[0] == 'Z' && kOfficialPrefixes.back()[1] == 'Y', "373 official prefixes");

// The index of each pair of capitals among the official prefixes, or -1.
constexpr auto kOfficialIndex = [] {
    std::array<std::array<int16_t, 26>, 26> index{};
    for (auto& row : index) row.fill(-1);
    for (size_t i = 0; i < kOfficialPrefixes.size(); ++i)
        index[static_cast<size_t>(kOfficialPrefixes[i][0] - 'A')][static_cast<size_t>(kOfficialPrefixes[i][1] - 'A')] =
            static_cast<int16_t>(i);
    return index;
}();

}  // namespace

int32_t FindOfficialPrefix(const wchar_t* pValue) {
    const wchar_t a = Upper(pValue[0]), b = Upper(pValue[1]);
    if (a < L'A' || a > L'Z' || b < L'A' || b > L'Z') return -1;
    return kOfficialIndex[static_cast<size_t>(a - L'A')][static_cast<size_t>(b - L'A')];
}

void WriteOfficialPrefix(int32_t iIndex, wchar_t* pOut) {
    pOut[0] = static_cast<wchar_t>(kOfficialPrefixes[static_cast<size_t>(iIndex)][0]);
    pOut[1] = static_cast<wchar_t>(kOfficialPrefixes[static_cast<size_t>(iIndex)][1]);
}

int32_t FindPrefix(const wchar_t* pValue) {
    TRC_ENTRY(kComp, "FindPrefix");
    // The traced comparison only while tracing is on: the result is the same.
    const void* pFound =
        QRNP_TRACE_ON()
            ? std::bsearch(&pValue, VALID_PREFIXES, UK_PREFIX_COUNT, sizeof VALID_PREFIXES[0], PrefixCompare)
            : std::bsearch(&pValue, VALID_PREFIXES, UK_PREFIX_COUNT, sizeof VALID_PREFIXES[0], PrefixDifference);
    const int32_t iIndex =
        pFound == nullptr ? -1 : static_cast<int32_t>(static_cast<const wchar_t* const*>(pFound) - VALID_PREFIXES);
    TRC_EXIT(kComp, "FindPrefix", iIndex);
    return iIndex;
}

uint32_t MaskNINO(const wchar_t* ninoInValue, wchar_t* ninoOutValue, uint64_t lRowFlags) {
    TRC_ENTRY(kComp, "MaskNINO");
    TRC_VAR(kComp, "ninoInValue", KNL_TRC_WSTR, ninoInValue);
    TRC_VAR(kComp, "lRowFlags", KNL_TRC_U64, &lRowFlags);
    const wchar_t* in = ninoInValue;
    const bool bSuffix = in[UK_POS_NUMBER + UK_NUMBER_DIGITS] != L'\0';

    // 1. Key from the prefix letters: A = 1 ... Z = 26.
    const int32_t k = (Upper(in[0]) - 64) * 26 + (Upper(in[1]) - 64);
    const int32_t a = k % 5;
    const int16_t* pOrder = sequence[k % 47];
    TRC_VAR(kComp, "k", KNL_TRC_I32, &k);

    // 2. Scramble: digit i gains s + a, where s runs 5, 3, 1, 2, 4, 6 (an odd s
    //    steps down by 2, wrapping below 0 by 3; an even one steps up by 2);
    //    then the key's order rearranges the six. 000000 goes round again.
    wchar_t number[UK_NUMBER_DIGITS + 1];
    for (int32_t i = 0; i < UK_NUMBER_DIGITS; ++i) number[i] = in[UK_POS_NUMBER + i];
    number[UK_NUMBER_DIGITS] = L'\0';
    int32_t iNumber = 0;
    do {
        int32_t scrambled[UK_NUMBER_DIGITS];
        int32_t s = 5;
        for (int32_t i = 0; i < UK_NUMBER_DIGITS; ++i) {
            int32_t t = static_cast<int32_t>(number[i] - L'0') + s + a;
            if (s % 2 != 0) {
                s -= 2;
                while (s < 0) s += 3;
            } else {
                s += 2;
            }
            while (t > 9) t -= 10;
            scrambled[i] = t;
        }
        for (int32_t i = 0; i < UK_NUMBER_DIGITS; ++i)
            number[i] = static_cast<wchar_t>(L'0' + scrambled[pOrder[i] - 1]);
        if (QRNPCnvWVarcharSzToInt(number, &iNumber, 0, UK_NUMBER_DIGITS) != 0) {
            TRC_TEXT(kComp, "Scrambled number part is not a number");
            TRC_EXIT(kComp, "MaskNINO", -1);
            return kMaskFailed;
        }
    } while (iNumber == 0);
    TRC_VAR(kComp, "iNumber", KNL_TRC_I32, &iNumber);

    // 3. Prefix: from half the source prefix's index, move by the difference of
    //    the new number's upper and lower three digits, round the table. The
    //    index is halved on purpose: changing that would change every masked prefix.
    wchar_t* out = ninoOutValue;
    if (lRowFlags & UK_FLAG_MASK_PREFIX) {
        int32_t iSource = FindPrefix(in);
        // A prefix only the official rule allows goes round the official prefixes.
        const bool bOfficialOnly = iSource < 0 && (lRowFlags & UK_FLAG_OFFICIAL) != 0;
        if (bOfficialOnly) iSource = FindOfficialPrefix(in);
        if (iSource < 0) {
            TRC_TEXT(kComp, "Invalid prefix");
            TRC_EXIT(kComp, "MaskNINO", -1);
            return kMaskFailed;
        }
        const int32_t iCount = static_cast<int32_t>(bOfficialOnly ? UK_OFFICIAL_PREFIX_COUNT : UK_PREFIX_COUNT);
        int32_t iIndex = (iSource / 2 + (iNumber / 1000 - iNumber % 1000)) % iCount;
        if (iIndex < 0) iIndex += iCount;
        out[0] = bOfficialOnly ? kOfficialPrefixes[static_cast<size_t>(iIndex)][0] : VALID_PREFIXES[iIndex][0];
        out[1] = bOfficialOnly ? kOfficialPrefixes[static_cast<size_t>(iIndex)][1] : VALID_PREFIXES[iIndex][1];
    } else {
        out[0] = in[0];
        out[1] = in[1];
    }

    // 4. The digits, the suffix unchanged, the terminator.
    for (int32_t i = 0; i < UK_NUMBER_DIGITS; ++i) out[UK_POS_NUMBER + i] = number[i];
    int32_t iLen = UK_NINO_LEN;
    if (bSuffix) out[iLen++] = in[UK_POS_SUFFIX];
    out[iLen] = L'\0';
    TRC_VAR(kComp, "ninoOutValue", KNL_TRC_WSTR, ninoOutValue);
    TRC_EXIT(kComp, "MaskNINO", 0);
    return 0;
}

uint32_t RandomNINO(wchar_t* ninoOutValue) {
    TRC_ENTRY(kComp, "RandomNINO");
    if (bSeedPending) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        bSeedPending = false;
    }
    wchar_t* out = ninoOutValue;
    const wchar_t* pPrefix = VALID_PREFIXES[std::rand() % static_cast<int>(UK_PREFIX_COUNT)];
    out[0] = pPrefix[0];
    out[1] = pPrefix[1];
    int32_t iNumber = std::rand() % 999999 + 1;
    for (int32_t i = UK_NUMBER_DIGITS - 1; i >= 0; --i) {
        out[UK_POS_NUMBER + i] = static_cast<wchar_t>(L'0' + iNumber % 10);
        iNumber /= 10;
    }
    // One time in five no suffix; otherwise A, B, C or D.
    int32_t iLen = UK_NINO_LEN;
    if (const int r = std::rand() % 5; r != 0) out[iLen++] = L"ABCD"[r - 1];
    out[iLen] = L'\0';
    TRC_VAR(kComp, "ninoOutValue", KNL_TRC_WSTR, ninoOutValue);
    TRC_EXIT(kComp, "RandomNINO", 0);
    return 0;
}
