#include "countries/uk/QRNPNidUkS.h"

#include "common/trace.h"
#include "countries/country_setup.h"
#include "countries/row_driver.h"
#include "countries/uk/QRNPNidUkAlgo.h"
#include "countries/uk/keyed_nino.h"

namespace {

constexpr const char* kComponent = "QRNPNidUkS";
constexpr const wchar_t* kCountry = L"UK";
constexpr uint32_t kWorkBufBytes = 72;

CountryOptionBlock* UkBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockC; }

uint16_t& FormFlags(CountryOptionBlock* pBlock) { return pBlock->sSlot[0]; }
uint16_t& DataOption(CountryOptionBlock* pBlock) { return pBlock->sSlot[1]; }
constexpr uint8_t kSeparatorSlot = 2;

bool IsLetterOrDigit(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9');
}

// The option bit of a separator character, 0 for anything else.
uint64_t SeparatorBit(wchar_t c) {
    switch (c) {
        case L'-': return UK_FLAG_HYPHEN;
        case L'.': return UK_FLAG_FULL_STOP;
        case L' ': return UK_FLAG_SPACE;
        default: return 0;
    }
}

uint32_t InvalidLength(RowContext& ctx) {
    return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, "Invalid length",
                          {RowToken::Value, RowToken::Length, RowToken::Country});
}

uint32_t InvalidSeparator(RowContext& ctx) {
    return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator", {RowToken::Value, RowToken::Country});
}

// Reads the source's form, records it in the row flags and leaves the
// compact form in the working string.
//
// The configured form takes precedence over the source's: the source's form
// and separator go into the row flags only under separator code 2, where the
// option word carries no form of its own. Under codes 1, 4, 8 and 16 the
// configured form (compact, or the 3-part or 5-part form of the form flags)
// is written whatever the source looked like, so a row's flags never name
// two forms and the writer's tie-break (5-part only without the 3-part bit)
// is never needed.
uint32_t ReadForm(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    uint64_t lForm = UK_FLAG_COMPACT_CHOSEN | UK_FLAG_COMPACT;
    // Separator positions of the source's form, highest first; -1 ends the list.
    int32_t iSeparators[4] = {-1, -1, -1, -1};

    switch (ctx.iInLength) {
        case UK_NINO_LEN:
            ctx.lRowFlags |= UK_FLAG_NO_SUFFIX;
            break;
        case UK_NINO_SUFFIXED_LEN:
            // A separator at 2 makes it 3-part without suffix; otherwise it is
            // compact with a suffix.
            if (SeparatorBit(s[2]) != 0) {
                ctx.lRowFlags |= UK_FLAG_NO_SUFFIX;
                lForm = UK_FLAG_3_PART;
                iSeparators[0] = 2;
            }
            break;
        case UK_3_PART_LEN:
            if (SeparatorBit(s[2]) == 0) return InvalidSeparator(ctx);
            if (s[9] == s[2]) {
                lForm = UK_FLAG_3_PART;
                iSeparators[0] = 9;
                iSeparators[1] = 2;
            } else if (s[5] == s[2] && s[8] == s[2]) {
                ctx.lRowFlags |= UK_FLAG_NO_SUFFIX;
                lForm = UK_FLAG_5_PART;
                iSeparators[0] = 8;
                iSeparators[1] = 5;
                iSeparators[2] = 2;
            } else {
                return InvalidSeparator(ctx);
            }
            break;
        case UK_5_PART_LEN:
            if (SeparatorBit(s[2]) == 0 || s[5] != s[2] || s[8] != s[2] || s[11] != s[2])
                return InvalidSeparator(ctx);
            lForm = UK_FLAG_5_PART;
            iSeparators[0] = 11;
            iSeparators[1] = 8;
            iSeparators[2] = 5;
            iSeparators[3] = 2;
            break;
        default:
            return InvalidLength(ctx);
    }

    // The source's form and separator: what separator code 2 writes.
    if (iSeparators[0] >= 0) lForm |= SeparatorBit(s[iSeparators[0]]);
    KeepSourceStyle(ctx, lForm);
    for (int32_t iPos : iSeparators) {
        if (iPos >= 0) RemoveCharAt(s, &ctx.iInLength, iPos);
    }
    return 0;
}

uint32_t CheckLayout(RowContext& ctx) {
    const wchar_t* s = ctx.pInBuf;
    const int32_t iLen = ctx.iInLength;
    if (iLen < UK_MIN_LEN || iLen > UK_MAX_LEN) return InvalidLength(ctx);
    int32_t iAlnum = 0;
    for (int32_t i = 0; i < iLen; ++i) iAlnum += IsLetterOrDigit(s[i]) ? 1 : 0;
    if (iAlnum != UK_NINO_LEN && iAlnum != UK_NINO_SUFFIXED_LEN) return InvalidLength(ctx);

    if (const uint32_t iCode = ReadForm(ctx); iCode != 0) return iCode;

    const bool bOfficial = OfficialRules(ctx);
    if (bOfficial) ctx.lRowFlags |= UK_FLAG_OFFICIAL;
    if ((bOfficial ? FindOfficialPrefix(s) : FindPrefix(s)) < 0)
        return ReportRowError(ctx, QRNP_MSG_UK_INVALID_PREFIX, "Invalid prefix", {RowToken::Value});
    int32_t iNumber = 0;
    if (QRNPCnvWVarcharSzToInt(s, &iNumber, UK_POS_NUMBER, UK_NUMBER_DIGITS) != 0)
        return ReportRowError(ctx, QRNP_MSG_UK_INVALID_NUMBER, "Invalid number part", {RowToken::Value});
    if (ctx.iInLength == UK_NINO_SUFFIXED_LEN) {
        const wchar_t c = s[UK_POS_SUFFIX];
        if (!((c >= L'A' && c <= L'D') || (c >= L'a' && c <= L'd')))
            return ReportRowError(ctx, QRNP_MSG_UK_INVALID_SUFFIX, "Invalid suffix", {RowToken::Value});
    }
    return 0;
}

uint32_t Mask(RowContext& ctx) {
    const uint32_t iCode = MaskNINO(ctx.pInBuf, ctx.pOutBuf, ctx.lRowFlags);
    if (iCode != 0)
        return ReportRowError(ctx, iCode, "Failed to mask MaskNINO", {RowToken::Value, RowToken::Country});
    return 0;
}

uint32_t Encrypt(RowContext& ctx) { return KeyedNINO(ctx, ctx.pInBuf, false, ctx.pOutBuf); }
uint32_t Decrypt(RowContext& ctx) { return KeyedNINO(ctx, ctx.pInBuf, true, ctx.pOutBuf); }

uint32_t Random(RowContext& ctx) {
    const uint32_t iCode = RandomNINO(ctx.pOutBuf);
    if (iCode != 0) return ReportRowError(ctx, iCode, "Failed to mask RandomNINO", {RowToken::Country});
    return 0;
}

// Rewrites the compact result in the form the row flags ask for. The suffix
// is written when the result has one (masking keeps the source's; a random
// number may have none).
//
// A value without a suffix ends after its digits in every form: the 3-part
// form is then prefix, separator, six digits (9 characters) and the 5-part
// form stops after the third pair (11 characters), the very layouts read as
// suffix-less sources, so a written value always reads back in its own form.
uint32_t FormatOutput(RowContext& ctx) {
    const uint64_t f = ctx.lRowFlags;
    const bool b5Part = (f & UK_FLAG_5_PART) != 0 && (f & UK_FLAG_3_PART) == 0;
    const bool b3Part = !b5Part && (f & UK_FLAG_3_PART) != 0;
    if (!b5Part && !b3Part) return 0;  // compact, as the algorithms wrote it

    wchar_t sep = L'\0';
    if (f & UK_FLAG_HYPHEN)
        sep = L'-';
    else if (f & UK_FLAG_SPACE)
        sep = L' ';
    else if (f & UK_FLAG_FULL_STOP)
        sep = L'.';
    if (sep == L'\0') return ReportRowError(ctx, QRNP_MSG_UK_INVALID_DEST_FORMAT, "Invalid dest format", {RowToken::Value});

    const wchar_t* c = ctx.pOutBuf;
    wchar_t out[UK_5_PART_LEN + 1];
    int32_t n = 0;
    out[n++] = c[0];
    out[n++] = c[1];
    out[n++] = sep;
    for (int32_t i = 0; i < UK_NUMBER_DIGITS; ++i) {
        if (b5Part && (i == 2 || i == 4)) out[n++] = sep;
        out[n++] = c[UK_POS_NUMBER + i];
    }
    if (c[UK_POS_SUFFIX] != L'\0') {
        out[n++] = sep;
        out[n++] = c[UK_POS_SUFFIX];
    }
    out[n] = L'\0';
    for (int32_t i = 0; i <= n; ++i) ctx.pOutBuf[i] = out[i];
    return 0;
}

// Form flags given: masking needs the masking bit, generation the random
// bit. Another method in the control block is not checked here (the driver
// turns it away row by row). 0, or 4534 (captured).
uint32_t CheckMethodForm(CtrlBlk* pCtrlBlk, const CountryDriver&, CountryOptionBlock* pBlock) {
    const uint16_t sForm = FormFlags(pBlock);
    TRC_VAR(kComponent, "sForm", KNL_TRC_U16, &sForm);
    if (sForm == 0) return 0;
    const uint16_t sMethod = pCtrlBlk->sMethod;
    TRC_VAR(kComponent, "sMethod", KNL_TRC_U16, &sMethod);
    if ((sMethod == QRNP_METHOD_MASK && (sForm & QRNP_FLAG_UK_MASK_ALLOWED) == 0) ||
        (sMethod == QRNP_METHOD_RANDOM && (sForm & QRNP_FLAG_UK_RANDOM_ALLOWED) == 0))
        return ReportSetupError(pCtrlBlk, kComponent, kCountry, QRNP_MSG_UK_METHOD_FORM_MISMATCH, nullptr, {});
    return 0;
}

// The data option: bit 1 masks the prefix too. 0, or 4362 (captured).
uint32_t DecodeParts(CtrlBlk* pCtrlBlk, const CountryDriver&, CountryOptionBlock* pBlock) {
    const uint16_t sData = DataOption(pBlock);
    if (sData & 1) {
        pBlock->lOptionFlags |= UK_FLAG_MASK_PREFIX;
    } else if (sData != 0) {
        return ReportSetupError(pCtrlBlk, kComponent, kCountry, QRNP_MSG_INVALID_PARTS_OPTION, nullptr,
                                {RowToken::Country});
    }
    return 0;
}

// The output form: compact for code 1, the source's own under code 2, else
// the form flags' (5-part with bit 2, 3-part otherwise). 0, or 4529 (captured).
uint32_t DecodeOutputForm(CtrlBlk* pCtrlBlk, const CountryDriver& country, CountryOptionBlock* pBlock) {
    const uint16_t sForm = FormFlags(pBlock);
    const int16_t sCode = SeparatorCode(country, pBlock);
    if (sCode == UK_SEP_COMPACT) {
        pBlock->lOptionFlags |= UK_FLAG_COMPACT_CHOSEN;
    } else if (sCode != UK_SEP_AS_SOURCE) {
        const uint16_t sFormBits = QRNP_FLAG_UK_FORM_3_PART | QRNP_FLAG_UK_FORM_5_PART;
        if (sForm != 0 && (sForm & sFormBits) == 0) {
            ErrorCapture(pCtrlBlk, 0, QRNP_MSG_UK_INVALID_FLAGS, 2);
            TokenCapture(pCtrlBlk, L"QRNP_FLAG_UK_FORM_3_PART", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_FLAG, 0);
            TokenCapture(pCtrlBlk, L"QRNP_FLAG_UK_FORM_5_PART", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_FLAG, 0);
            TRC_TEXT(kComponent, "Invalid Flags");
            return QRNP_MSG_UK_INVALID_FLAGS;
        }
        pBlock->lOptionFlags |= (sForm & QRNP_FLAG_UK_FORM_5_PART) ? UK_FLAG_5_PART : UK_FLAG_3_PART;
    }
    return 0;
}

const CountryDriver kUnitedKingdom = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = UkBlock,
    .pInitName = "InitCountryUK",
    .bTraceInitArguments = false,
    .pfnBeforeColumnCheck = CheckMethodForm,
    .column = kCharacterColumns,
    .pfnDecodeParts = DecodeParts,
    .iSeparatorSlot = kSeparatorSlot,
    .sSeparatorValueType = QRNP_TV_INT16,
    .bTraceSeparator = true,
    .separatorCodes = {{UK_SEP_COMPACT, UK_FLAG_COMPACT},
                       {UK_SEP_FULL_STOP, UK_FLAG_FULL_STOP},
                       {UK_SEP_HYPHEN, UK_FLAG_HYPHEN},
                       {UK_SEP_SPACE, UK_FLAG_SPACE}},
    .pfnAfterSeparator = DecodeOutputForm,
    .bTraceOptionFlags = true,
    .iWorkBufBytes = kWorkBufBytes,
    .separatorStyles = {},  // the form and separator are read together (ReadForm)
    .iFirstFieldCheck = QRNP_MSG_UK_INVALID_PREFIX,
    .iLastFieldCheck = QRNP_MSG_UK_INVALID_SUFFIX,
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

uint32_t InitCountryUK(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    return RunCountrySetup(kUnitedKingdom, pCtrlBlk, pNidCtrlBlk);
}

uint32_t RBPNIDMaskUK(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kUnitedKingdom, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
