#include "countries/it/QRNPNidItS.h"

#include <iterator>

#include "common/trace.h"
#include "countries/country_setup.h"
#include "countries/it/QRNPNidItAlgo.h"
#include "countries/it/keyed_cf.h"
#include "countries/row_driver.h"

namespace {

constexpr const char* kComponent = "QRNPNidItS";
constexpr const wchar_t* kCountry = L"Italy";
constexpr uint32_t kWorkBufBytes = 96;

CountryOptionBlock* ItalianBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockB; }

uint16_t& RequestedFlags(CountryOptionBlock* pBlock) { return pBlock->sSlot[1]; }
constexpr uint8_t kSeparatorSlot = 2;

inline bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
inline bool IsLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

// The replacement-letter row bit of a digit position.
uint64_t LetterBitOf(int32_t iPos) {
    if (iPos < IT_POS_MONTH) return IT_FLAG_ROW_YEAR_LETTERS;
    if (iPos < IT_POS_REGION) return IT_FLAG_ROW_DAY_LETTERS;
    return IT_FLAG_ROW_REGION_LETTERS;
}

// Length and separators: leaves the compact form and notes the source's style.
uint32_t CheckSeparators(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    if (ctx.iInLength == IT_CF_LEN) {
        NoteSourceSeparator(ctx, L'\0');
        return 0;
    }
    if (ctx.iInLength != IT_CF_SEPARATED_LEN)
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, nullptr,
                              {RowToken::Value, RowToken::Length, RowToken::Country});
    const wchar_t sep = s[IT_SEPARATOR_POSITIONS[0]];
    if ((sep != L'-' && sep != L' ') || s[IT_SEPARATOR_POSITIONS[1]] != sep || s[IT_SEPARATOR_POSITIONS[2]] != sep)
        return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                              {RowToken::Value, RowToken::Country});
    NoteSourceSeparator(ctx, sep);
    for (int32_t i = 2; i >= 0; --i) RemoveCharAt(s, &ctx.iInLength, IT_SEPARATOR_POSITIONS[i]);
    return 0;
}

// The character classes of the compact form, in their order: names, digit
// positions (noting replacement letters), then month and region letters.
uint32_t CheckCharacters(RowContext& ctx) {
    const wchar_t* s = ctx.pInBuf;
    for (int32_t i = IT_POS_SURNAME; i < IT_POS_YEAR; ++i) {
        if (!IsLetter(s[i])) return ReportRowError(ctx, QRNP_MSG_IT_INVALID_NAME, "Invalid name", {RowToken::Value});
    }
    for (int32_t i = IT_POS_YEAR; i < IT_POS_CHECK; ++i) {
        if (i == IT_POS_MONTH || i == IT_POS_REGION || IsDigit(s[i])) continue;
        if (!IsLetter(s[i]))
            return ReportRowError(ctx, QRNP_MSG_IT_INVALID_SOURCE_DATA, "Invalid source data", {RowToken::Value});
        // Either case is a letter here, but only the capitals are replacement letters.
        if (FindLetter(s[i], REPLACEMENTS, std::size(REPLACEMENTS) - 1) < 0)
            return ReportRowError(ctx, QRNP_MSG_IT_INVALID_REPLACEMENT, "Invalid replacement character",
                                  {RowToken::Value});
        ctx.lRowFlags |= LetterBitOf(i);
    }
    // One letter of the two is enough here: a non-letter at just one of them
    // is left to the month and region checks that follow.
    if (!IsLetter(s[IT_POS_MONTH]) && !IsLetter(s[IT_POS_REGION]))
        return ReportRowError(ctx, QRNP_MSG_IT_INVALID_SOURCE_DATA, "Invalid source data", {RowToken::Value});
    return 0;
}

uint32_t CheckLayout(RowContext& ctx) {
    if (const uint32_t iCode = CheckSeparators(ctx); iCode != 0) return iCode;
    if (const uint32_t iCode = CheckCharacters(ctx); iCode != 0) return iCode;
    if (const uint32_t iCode = ValidateCF(ctx.pCtrlBlk, ctx.iRownum, ctx.pInBuf, ctx.lRowFlags); iCode != 0) {
        TRC_VAR(kComponent, "retVal", KNL_TRC_U32, &iCode);
        return iCode;
    }
    // The check character is looked at only under a full validation.
    if ((ctx.pCtrlBlk->sProcFlags & QRNP_PROC_VALIDATE_FULLY) == 0) return 0;
    // Recomputed in place, then put back, so that the message shows the value as given.
    wchar_t* s = ctx.pInBuf;
    const wchar_t given = s[IT_POS_CHECK];
    GetControlCharacter(s);
    const wchar_t computed = s[IT_POS_CHECK];
    s[IT_POS_CHECK] = given;
    if (computed != given)
        return ReportRowError(ctx, QRNP_MSG_IT_INVALID_CHECK, "Invalid check digit", {RowToken::Value});
    return 0;
}

uint32_t Mask(RowContext& ctx) {
    const uint32_t iCode = MaskCF(ctx.pInBuf, ctx.pOutBuf, ctx.lRowFlags);
    if (iCode != 0) return ReportRowError(ctx, iCode, "Failed to mask MaskCF", {RowToken::Value});
    return 0;
}

uint32_t Encrypt(RowContext& ctx) { return KeyedCF(ctx, ctx.pInBuf, false, ctx.pOutBuf); }
uint32_t Decrypt(RowContext& ctx) { return KeyedCF(ctx, ctx.pInBuf, true, ctx.pOutBuf); }

uint32_t Random(RowContext& ctx) {
    const uint32_t iCode = RandomCF(ctx.pOutBuf, OfficialRules(ctx));
    if (iCode != 0) return ReportRowError(ctx, iCode, "Failed to mask RandomCF", {RowToken::Country});
    return 0;
}

// Spaces are tested before hyphens; without either the output stays compact.
uint32_t FormatOutput(RowContext& ctx) {
    wchar_t sep = L'\0';
    if (ctx.lRowFlags & IT_FLAG_SPACES)
        sep = L' ';
    else if (ctx.lRowFlags & IT_FLAG_HYPHENS)
        sep = L'-';
    if (sep != L'\0') {
        for (const int32_t iPos : IT_SEPARATOR_POSITIONS) InsertCharAt(ctx.pOutBuf, iPos, sep);
    }
    return 0;
}

// The parts option: names, birth date and region bits; 0 masks the default
// parts. 0, or 4362 (captured).
uint32_t DecodeParts(CtrlBlk* pCtrlBlk, const CountryDriver&, CountryOptionBlock* pBlock) {
    const uint16_t sRequested = RequestedFlags(pBlock);
    TRC_VAR(kComponent, "sRequested", KNL_TRC_U16, &sRequested);
    if (sRequested == 0) {
        pBlock->lOptionFlags = IT_FLAG_DEFAULT_PARTS;
        return 0;
    }
    pBlock->lOptionFlags = sRequested & (IT_FLAG_NAMES | IT_FLAG_BIRTH_DATE | IT_FLAG_REGION);
    if (pBlock->lOptionFlags == 0)
        return ReportSetupError(pCtrlBlk, kComponent, kCountry, QRNP_MSG_INVALID_PARTS_OPTION, nullptr,
                                {RowToken::Country});
    return 0;
}

const CountryDriver kItaly = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = ItalianBlock,
    .pInitName = "InitCountryIT",
    .bTraceInitArguments = false,
    .pfnBeforeColumnCheck = nullptr,
    .column = kCharacterColumns,
    .pfnDecodeParts = DecodeParts,
    .iSeparatorSlot = kSeparatorSlot,
    .sSeparatorValueType = QRNP_TV_INT16,
    .bTraceSeparator = false,
    .separatorCodes = {{IT_SEPARATOR_NONE, IT_FLAG_COMPACT},
                       {IT_SEPARATOR_HYPHEN, IT_FLAG_HYPHENS},
                       {IT_SEPARATOR_SPACE, IT_FLAG_SPACES}},
    .pfnAfterSeparator = nullptr,
    .bTraceOptionFlags = true,
    .iWorkBufBytes = kWorkBufBytes,
    .separatorStyles = {{L'\0', IT_FLAG_COMPACT}, {L'-', IT_FLAG_HYPHENS}, {L' ', IT_FLAG_SPACES}},
    .iFirstFieldCheck = QRNP_MSG_IT_INVALID_NAME,
    .iLastFieldCheck = QRNP_MSG_IT_INVALID_CHECK,
    .pfnBeforeMethod = nullptr,
    .pfnOtherMethod = nullptr,
    .pfnCheckLayout = CheckLayout,
    .pfnMask = Mask,
    .pfnRandom = Random,
    .pfnFormatOutput = FormatOutput,
    .pfnEncrypt = Encrypt,
    .pfnDecrypt = Decrypt,
    .pDstConversionTrace = "Error in dest conversion",
};

}  // namespace

uint32_t InitCountryIT(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    return RunCountrySetup(kItaly, pCtrlBlk, pNidCtrlBlk);
}

uint32_t RBPNIDMaskIT(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kItaly, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
