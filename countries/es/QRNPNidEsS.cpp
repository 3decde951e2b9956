#include "countries/es/QRNPNidEsS.h"

#include <cstdlib>
#include <cwchar>
#include <string_view>

#include "common/trace.h"
#include "countries/country_setup.h"
#include "countries/es/QRNPNidEsAlgo.h"
#include "countries/keyed_fields.h"
#include "countries/row_driver.h"

namespace {

constexpr const char* kComponent = "QRNPNidEsS";
constexpr const wchar_t* kCountry = L"Spain";
constexpr uint32_t kWorkBufBytes = 64;

// Per-row state in ctx.lScratch, set by BeforeMethod for every row.
enum Scratch {
    kMark = 0,      // the eight-digit mark
    kDigitStart,    // where the digits start in the trimmed working string
    kDigitCount,    // 7 or 8
    kIsNIE          // 0 a NIF; an NIE: 1 + its letter's place in kNieLetters
};

CountryOptionBlock* SpanishBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockA; }

// The NIE letters (the official rules know all three; otherwise X alone),
// and the weight of the letter's place in front of the seven digits.
constexpr wchar_t kNieLetters[3] = {L'X', L'Y', L'Z'};
constexpr uint64_t kNieLetterWeight = 10000000;

constexpr uint8_t kSeparatorSlot = 2;

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
bool IsAlnum(wchar_t c) { return IsDigit(c) || (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }
bool IsSeparator(wchar_t c) { return c == L'-' || c == L' '; }

// The separator the flags call for: "-", a blank, or none (0).
wchar_t SeparatorOf(uint64_t lFlags) {
    if (lFlags & ES_FLAG_HYPHEN) return L'-';
    if (lFlags & ES_FLAG_BLANK) return L' ';
    return 0;
}

// Writes the identifier into pOut: the NIE letter, separator, digits,
// separator, letter for an NIE; digits, separator, letter for a NIF (no NIE
// letter, 0); no separator when sep is 0. Every character is written, so the destination gets the whole
// identifier (an eight-digit NIF included).
void AssembleOutput(wchar_t* pOut, wchar_t nieLetter, const wchar_t* pDigits, int32_t iDigits, wchar_t sep,
                    char letter) {
    int32_t i = 0;
    if (nieLetter != 0) {
        pOut[i++] = nieLetter;
        if (sep != 0) pOut[i++] = sep;
    }
    for (int32_t d = 0; d < iDigits; ++d) pOut[i++] = pDigits[d];
    if (sep != 0) pOut[i++] = sep;
    pOut[i++] = static_cast<wchar_t>(letter);
    pOut[i] = L'\0';
}

// The eight-digit mark is taken from the length the source converter reports,
// before the method test and before trimming. A source that cannot be
// converted leaves the mark clear: the mask path converts it again and
// reports the failure; a random row does not need it. A working buffer that
// cannot grow to hold the source fails the row with 106.
uint32_t BeforeMethod(RowContext& ctx) {
    TRC_ENTRY(kComponent, "BeforeMethod");
    ctx.lScratch[kMark] = 0;
    ctx.lScratch[kDigitStart] = 0;
    ctx.lScratch[kDigitCount] = ES_DIGITS_SHORT;
    ctx.lScratch[kIsNIE] = 0;
    const uint32_t iLoad = ctx.pFldDef->pSrc != nullptr ? LoadSource(ctx) : QRNP_CNV_NULL_SOURCE;
    if (iLoad == QRNP_MSG_NO_MEMORY) {
        // The working buffer could not grow to hold the source: without it
        // the mark is unknown, so the row fails as the common flow fails it.
        const uint32_t iCode = ReportRowError(ctx, iLoad, nullptr, {RowToken::Provider, RowToken::Country});
        TRC_EXIT(kComponent, "BeforeMethod", iCode);
        return iCode;
    }
    if (iLoad == 0 && ctx.iConvertedLength == ES_COMPACT_LEN) {
        bool bMark = true;
        for (int32_t i = 0; i < ES_DIGITS_LONG && bMark; ++i) bMark = IsDigit(ctx.pInBuf[i]);
        ctx.lScratch[kMark] = bMark ? 1 : 0;
    }
    TRC_VAR(kComponent, "bEightDigits", KNL_TRC_I64, &ctx.lScratch[kMark]);
    TRC_EXIT(kComponent, "BeforeMethod", 0);
    return 0;
}

// Reads the digits and, under a full validation, checks the letter at iLetterPos.
uint32_t ReadNumber(RowContext& ctx, int32_t iStart, int32_t iCount, int32_t iLetterPos, const char* pSuffixTrace) {
    int32_t iNumber = 0;
    if (QRNPCnvWVarcharSzToInt(ctx.pInBuf, &iNumber, iStart, iCount) != 0)
        return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, "Invalid source data",
                              {RowToken::Value, RowToken::Country});
    TRC_VAR(kComponent, "iNumber", KNL_TRC_I32, &iNumber);
    if ((ctx.pCtrlBlk->sProcFlags & QRNP_PROC_VALIDATE_FULLY) != 0 &&
        ctx.pInBuf[iLetterPos] != static_cast<wchar_t>(ControlLetter(static_cast<uint64_t>(iNumber))))
        return ReportRowError(ctx, QRNP_MSG_ES_INVALID_SUFFIX, pSuffixTrace, {RowToken::Value});
    ctx.lScratch[kDigitStart] = iStart;
    ctx.lScratch[kDigitCount] = iCount;
    return 0;
}

uint32_t CheckLayoutImpl(RowContext& ctx) {
    const wchar_t* s = ctx.pInBuf;
    const int32_t L = ctx.iInLength;
    int32_t iAlnum = 0;
    for (int32_t i = 0; i < L; ++i) iAlnum += IsAlnum(s[i]) ? 1 : 0;
    if (L < ES_MIN_LEN || L > ES_MAX_LEN || (iAlnum != 8 && iAlnum != 9))
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, "Invalid source length",
                              {RowToken::Value, RowToken::Length, RowToken::Country});

    if (ctx.lScratch[kMark] != 0 || L == ES_PLAIN_NIF_LEN) {
        // Plain NIF: 12345678Z with the mark, 1234567L without.
        const int32_t iCount = ctx.lScratch[kMark] != 0 ? ES_DIGITS_LONG : ES_DIGITS_SHORT;
        if (const uint32_t iCode = ReadNumber(ctx, 0, iCount, iCount, "Invalid suffix"); iCode != 0) return iCode;
        NoteSourceSeparator(ctx, L'\0');
        return 0;
    }
    if (L == ES_COMPACT_LEN && s[0] == prefix) {
        // Compact NIE: X1234567L.
        if (const uint32_t iCode = ReadNumber(ctx, 1, ES_DIGITS_SHORT, 8, "Invalid source data"); iCode != 0)
            return iCode;
        ctx.lScratch[kIsNIE] = 1;
        NoteSourceSeparator(ctx, L'\0');
        return 0;
    }
    if (L == ES_COMPACT_LEN) {
        // Seven-digit NIF with a separator: 1234567-L.
        const wchar_t sep = s[ES_POS_NIF_SEPARATOR];
        if (!IsSeparator(sep))
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
        NoteSourceSeparator(ctx, sep);
        return ReadNumber(ctx, 0, ES_DIGITS_SHORT, 8, "Invalid suffix");
    }
    if (L == ES_SEPARATED_NIE_LEN) {
        // Separated NIE: X-1234567-L or X 1234567 L, both separators alike.
        const wchar_t sep = s[ES_POS_NIE_SEPARATOR1];
        if (s[0] != prefix || !IsSeparator(sep) || s[ES_POS_NIE_SEPARATOR2] != sep)
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
        NoteSourceSeparator(ctx, sep);
        if (const uint32_t iCode = ReadNumber(ctx, 2, ES_DIGITS_SHORT, 10, "Invalid suffix"); iCode != 0)
            return iCode;
        ctx.lScratch[kIsNIE] = 1;
        return 0;
    }
    // Ten characters: a separated eight-digit NIF (12345678-Z) is refused.
    return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, "Invalid source data",
                          {RowToken::Value, RowToken::Country});
}

wchar_t Upper(wchar_t c) { return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

// The layouts under the official rules: a DNI of eight digits and its
// letter, or an NIE of X, Y or Z, seven digits and its letter, each compact
// or with one separator kind before the letter (and after the NIE letter);
// letters in either case. Seven-digit NIFs do not exist (4405).
uint32_t CheckOfficialLayout(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    const int32_t L = ctx.iInLength;
    const int32_t iNie = L > 0 ? static_cast<int32_t>(std::wstring_view(L"XYZ").find(Upper(s[0]))) + 1 : 0;
    const bool bNIE = iNie > 0 && iNie <= 3;
    const int32_t iCompact = bNIE ? 9 : ES_COMPACT_LEN;
    if (L < iCompact || L > iCompact + (bNIE ? 2 : 1))
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, "Invalid source length",
                              {RowToken::Value, RowToken::Length, RowToken::Country});
    // Separators: before the control letter, and for an NIE after its letter
    // too; one kind in one value.
    wchar_t sep = L'\0';
    const bool bAfterNie = bNIE && L > iCompact && IsSeparator(s[1]);
    const bool bBeforeLetter = L > iCompact && IsSeparator(s[L - 2]);
    if (L > iCompact) {
        sep = bAfterNie ? s[1] : s[L - 2];
        if (static_cast<int32_t>(bAfterNie) + static_cast<int32_t>(bBeforeLetter) != L - iCompact ||
            (bAfterNie && bBeforeLetter && s[1] != s[L - 2]))
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
    }
    const int32_t iStart = bNIE ? (bAfterNie ? 2 : 1) : 0;
    const int32_t iCount = bNIE ? ES_DIGITS_SHORT : ES_DIGITS_LONG;
    int32_t iNumber = 0;
    if (QRNPCnvWVarcharSzToInt(s, &iNumber, iStart, iCount) != 0 || !IsAlnum(s[L - 1]))
        return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, "Invalid source data",
                              {RowToken::Value, RowToken::Country});
    const uint64_t lLetterNumber =
        (bNIE ? static_cast<uint64_t>(iNie - 1) * kNieLetterWeight : 0) + static_cast<uint64_t>(iNumber);
    if ((ctx.pCtrlBlk->sProcFlags & QRNP_PROC_VALIDATE_FULLY) != 0 &&
        Upper(s[L - 1]) != static_cast<wchar_t>(ControlLetter(lLetterNumber)))
        return ReportRowError(ctx, QRNP_MSG_ES_INVALID_SUFFIX, "Invalid suffix", {RowToken::Value});
    NoteSourceSeparator(ctx, sep);
    ctx.lScratch[kDigitStart] = iStart;
    ctx.lScratch[kDigitCount] = iCount;
    ctx.lScratch[kIsNIE] = bNIE ? iNie : 0;
    return 0;
}

uint32_t CheckLayout(RowContext& ctx) {
    TRC_ENTRY(kComponent, "CheckLayout");
    const uint32_t iCode = OfficialRules(ctx) ? CheckOfficialLayout(ctx) : CheckLayoutImpl(ctx);
    TRC_EXIT(kComponent, "CheckLayout", iCode);
    return iCode;
}

// Writes the identifier of the new digits in the source's form (NIF or NIE
// of the same letter) with their control letter, separated by `sep` (0: none).
void WriteNewNumber(RowContext& ctx, const int16_t* pNewDigits, int16_t iCount, wchar_t sep) {
    wchar_t digits[ES_DIGITS_LONG];
    uint64_t n = 0;
    for (int16_t i = 0; i < iCount; ++i) {
        n = n * 10 + static_cast<uint64_t>(pNewDigits[i]);
        digits[i] = static_cast<wchar_t>(L'0' + pNewDigits[i]);
    }
    TRC_VAR(kComponent, "n", KNL_TRC_U64, &n);
    // Under the official rules the letter counts the NIE's X, Y or Z as 0, 1 or 2 before the digits.
    const int64_t iNie = ctx.lScratch[kIsNIE];
    const uint64_t lLetterNumber = iNie > 1 ? static_cast<uint64_t>(iNie - 1) * kNieLetterWeight + n : n;
    const char suffix = ControlLetter(lLetterNumber);
    AssembleOutput(ctx.pOutBuf, iNie != 0 ? kNieLetters[iNie - 1] : L'\0', digits, iCount, sep, suffix);
}

// Masks the digits the layout check found and writes the identifier in the
// source's form with the new control letter.
uint32_t Mask(RowContext& ctx) {
    TRC_ENTRY(kComponent, "Mask");
    const auto iCount = static_cast<int16_t>(ctx.lScratch[kDigitCount]);
    int16_t masked[ES_DIGITS_LONG];
    maskNIF(ctx.pInBuf + ctx.lScratch[kDigitStart], masked, iCount);
    WriteNewNumber(ctx, masked, iCount, SeparatorOf(ctx.lRowFlags));
    TRC_EXIT(kComponent, "Mask", 0);
    return 0;
}

// Keyed encryption and decryption: the digits as one number of 10^7 or 10^8
// values; the NIE letter and the letters' case are kept.
//
// Every result passes full validation and decrypts back, so it is written
// in a form validation accepts: the provider's own rules know an eight-digit
// NIF only without separator (12345678Z; masking writes 12345678-Z when a
// separator is asked for, a form they refuse), so such a NIF is written
// compact whatever the separator option says. The official rules accept it
// with a separator too.
uint32_t Keyed(RowContext& ctx, bool bDecrypt) {
    const auto iCount = static_cast<int16_t>(ctx.lScratch[kDigitCount]);
    const wchar_t* pDigits = ctx.pInBuf + ctx.lScratch[kDigitStart];
    MixedRadix domain;
    for (int16_t i = 0; i < iCount; ++i) domain.Push(static_cast<uint64_t>(pDigits[i] - L'0'), 10);
    if (const uint32_t iCode = KeyedPermute(ctx, bDecrypt, &domain); iCode != 0) return iCode;
    int16_t digits[ES_DIGITS_LONG];
    for (int16_t i = iCount; i-- > 0;) digits[i] = static_cast<int16_t>(domain.Pop(10));
    const bool bCompactOnly = iCount == ES_DIGITS_LONG && ctx.lScratch[kIsNIE] == 0 && !OfficialRules(ctx);
    const wchar_t sep = bCompactOnly ? L'\0' : SeparatorOf(ctx.lRowFlags);
    WriteNewNumber(ctx, digits, iCount, sep);

    // A result in the source's separator keeps its layout too (an NIE with
    // one separator, before its control letter, keeps just that one), so
    // that it decrypts to the source exactly.
    const wchar_t* s = ctx.pInBuf;
    const int32_t L = ctx.iInLength;
    const int32_t iStart = static_cast<int32_t>(ctx.lScratch[kDigitStart]);
    const wchar_t sourceSep = iStart == 2 ? s[1] : iStart + iCount < L - 1 ? s[L - 2] : L'\0';
    wchar_t* pOut = ctx.pOutBuf;
    if (sourceSep == sep) {
        const wchar_t letter = pOut[std::wcslen(pOut) - 1];
        for (int32_t i = 0; i < L; ++i) pOut[i] = s[i];
        for (int16_t i = 0; i < iCount; ++i) pOut[iStart + i] = static_cast<wchar_t>(L'0' + digits[i]);
        pOut[L - 1] = letter;
        pOut[L] = L'\0';
    }
    const int32_t iOutLast = static_cast<int32_t>(std::wcslen(pOut)) - 1;
    if (ctx.lScratch[kIsNIE] != 0) pOut[0] = InCaseOf(pOut[0], s[0]);
    pOut[iOutLast] = InCaseOf(pOut[iOutLast], s[L - 1]);
    return 0;
}

uint32_t Encrypt(RowContext& ctx) { return Keyed(ctx, false); }
uint32_t Decrypt(RowContext& ctx) { return Keyed(ctx, true); }

// A fresh number of seven digits, or eight when the source carries the mark.
// Numbers up to 929999 are written as NIEs. The NIE form holds seven digits,
// so such a number is zero-padded to seven digits even when eight were drawn
// (it never has more than six); its letter is that of the same number.
uint32_t Random(RowContext& ctx) {
    TRC_ENTRY(kComponent, "Random");
    const int16_t iCount = ctx.lScratch[kMark] != 0 ? ES_DIGITS_LONG : ES_DIGITS_SHORT;
    uint64_t n = 0;
    randomNIF(&n, iCount);
    const char suffix = ControlLetter(n);

    // A value of zero converts to an empty string (75): it is all padding.
    wchar_t text[16];
    int32_t iTextLen = 0;
    const int32_t iValue = static_cast<int32_t>(n);
    const uint32_t rc = QRNPCnvIntToWVarcharSz(&iValue, sizeof iValue, text, sizeof text, &iTextLen, nullptr);
    if (rc == QRNP_CNV_EMPTY) {
        iTextLen = 0;
    } else if (rc != 0) {
        const uint32_t iCode =
            ReportRowError(ctx, QRNP_MSG_SOURCE_CONVERSION, "Error in source conversion", {RowToken::Country});
        TRC_EXIT(kComponent, "Random", iCode);
        return iCode;
    }

    const bool bNIE = n <= ES_RANDOM_NIE_MAX;
    // Under the official rules a NIF has eight digits and a NIE any of X, Y and Z.
    const bool bOfficial = OfficialRules(ctx);
    const int32_t iWidth = bNIE ? ES_DIGITS_SHORT : bOfficial ? ES_DIGITS_LONG : iCount;
    wchar_t digits[ES_DIGITS_LONG];
    const int32_t iPad = iWidth - iTextLen;
    for (int32_t i = 0; i < iWidth; ++i) digits[i] = i < iPad ? L'0' : text[i - iPad];
    const int32_t iNieLetter = bNIE && bOfficial ? std::rand() % 3 : 0;
    char letter = iNieLetter > 0 ? ControlLetter(static_cast<uint64_t>(iNieLetter) * kNieLetterWeight + n) : suffix;
    if (bOfficial && !bNIE && iCount == ES_DIGITS_SHORT) {
        // An eighth digit in front of the seven drawn.
        const int iFirst = std::rand() % 10;
        digits[0] = static_cast<wchar_t>(L'0' + iFirst);
        letter = ControlLetter(static_cast<uint64_t>(iFirst) * kNieLetterWeight + n);
    }
    // No per-row bits were added: the option flags alone choose the separator.
    AssembleOutput(ctx.pOutBuf, bNIE ? kNieLetters[iNieLetter] : L'\0', digits, iWidth, SeparatorOf(ctx.lRowFlags),
                   letter);
    TRC_VAR(kComponent, "pOutBuf", KNL_TRC_WSTR, ctx.pOutBuf);
    TRC_EXIT(kComponent, "Random", 0);
    return 0;
}

const CountryDriver kSpain = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = SpanishBlock,
    .pInitName = "InitCountryES",
    .bTraceInitArguments = false,
    .pfnBeforeColumnCheck = nullptr,
    .column = kCharacterColumns,
    .pfnDecodeParts = nullptr,
    .iSeparatorSlot = kSeparatorSlot,
    .sSeparatorValueType = QRNP_TV_INT16,
    .bTraceSeparator = true,
    .separatorCodes = {{1, ES_FLAG_NO_SEPARATOR}, {8, ES_FLAG_HYPHEN}, {16, ES_FLAG_BLANK}},
    .pfnAfterSeparator = nullptr,
    .bTraceOptionFlags = true,
    .iWorkBufBytes = kWorkBufBytes,
    .separatorStyles = {{L'\0', ES_FLAG_NO_SEPARATOR}, {L'-', ES_FLAG_HYPHEN}, {L' ', ES_FLAG_BLANK}},
    // The control letter, on its own.
    .iFirstFieldCheck = QRNP_MSG_ES_INVALID_SUFFIX,
    .iLastFieldCheck = QRNP_MSG_ES_INVALID_SUFFIX,
    .pfnBeforeMethod = BeforeMethod,
    .pfnOtherMethod = nullptr,
    .pfnCheckLayout = CheckLayout,
    .pfnMask = Mask,
    .pfnRandom = Random,
    .pfnFormatOutput = nullptr,
    .pfnEncrypt = Encrypt,
    .pfnDecrypt = Decrypt,
    .pDstConversionTrace = "Error in dst conversion",
};

}  // namespace

uint32_t InitCountryES(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    return RunCountrySetup(kSpain, pCtrlBlk, pNidCtrlBlk);
}

uint32_t RBPNIDMaskES(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kSpain, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
