#include "countries/us/QRNPNidUsS.h"

#include <cstring>

#include "common/trace.h"
#include "countries/country_setup.h"
#include "countries/nine_digit_number.h"
#include "countries/row_driver.h"
#include "countries/us/QRNPNidUsAlgo.h"
#include "countries/us/keyed_ssn.h"

namespace {

static_assert(US_FLAG_HYPHEN == NINE_DIGIT_FLAG_HYPHEN && US_FLAG_BLANK == NINE_DIGIT_FLAG_BLANK &&
                  US_FLAG_DOT == NINE_DIGIT_FLAG_PERIOD,
              "the nine-digit writer reads these bits");

constexpr const char* kComponent = "QRNPNidUsS";
constexpr const wchar_t* kCountry = L"US";
constexpr uint32_t kWorkBufBytes = 104;

// Per-row state kept in RowContext::lScratch.
constexpr int kScratchResult = 0;   // the SSN to write, as an integer
constexpr int kScratchSource = 1;   // the source SSN, as an integer

CountryOptionBlock* UnitedStatesBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockE; }

uint16_t& FlagsOption(CountryOptionBlock* pBlock) { return pBlock->sSlot[1]; }
constexpr uint8_t kSeparatorSlot = 3;

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Captures a set-up failure bound to no row with one 16-bit option value as token `iTokenId`.
uint32_t ReportFlagsError(CtrlBlk* pCtrlBlk, uint32_t iCode, uint16_t sValue, int32_t iTokenId,
                          const char* pTraceText) {
    ErrorCapture(pCtrlBlk, 0, iCode, 1);
    TokenCapture(pCtrlBlk, &sValue, QRNP_TV_UINT16, iTokenId, 0);
    TRC_TEXT(kComponent, pTraceText);
    TRC_VAR(kComponent, "retVal", KNL_TRC_U32, &iCode);
    return iCode;
}

// ---- Row hooks -----------------------------------------------------------------

uint32_t CheckLayout(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    if (OfficialRules(ctx)) ctx.lRowFlags |= US_FLAG_OFFICIAL;
    // The working buffer never shrinks below its 104 set-up bytes, so nine digits fit.
    if (ctx.pBlock->bNumericSource) ZeroPadToNineDigits(ctx);

    int32_t iDigits = 0;
    for (int32_t i = 0; i < ctx.iInLength; ++i) iDigits += IsDigit(s[i]);
    if (ctx.iInLength < US_SSN_DIGITS || ctx.iInLength > US_SSN_SEPARATED_LEN || iDigits != US_SSN_DIGITS)
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, nullptr,
                              {RowToken::Value, RowToken::Length, RowToken::Country});

    if (ctx.iInLength > US_SSN_DIGITS) {
        // Three digits, separator, two digits, the same separator, four digits.
        const wchar_t sep = s[US_SRC_SEP1];
        if (s[US_SRC_SEP2] != sep || (sep != L'-' && sep != L' ' && sep != L'.'))
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
        NoteSourceSeparator(ctx, sep);
        RemoveCharAt(s, &ctx.iInLength, US_SRC_SEP2);
        RemoveCharAt(s, &ctx.iInLength, US_SRC_SEP1);
    } else {
        NoteSourceSeparator(ctx, L'\0');
    }

    int32_t iValue = 0;
    if (QRNPCnvWVarcharSzToInt(s, &iValue, 0, US_SSN_DIGITS) != 0)
        return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, "Invalid source data",
                              {RowToken::Value, RowToken::Country});
    ctx.lScratch[kScratchSource] = iValue;
    return 0;
}

// A failed MaskSSN is captured with the source as an integer token.
uint32_t ReportMaskFailure(RowContext& ctx, uint32_t iCode) {
    const int32_t iSource = static_cast<int32_t>(ctx.lScratch[kScratchSource]);
    ErrorCapture(ctx.pCtrlBlk, static_cast<uint32_t>(ctx.iRownum), iCode, 1);
    TokenCapture(ctx.pCtrlBlk, &iSource, QRNP_TV_INT32, QRNP_TOKID_SRCDATA, 0);
    if (QRNP_TRACE_ON()) {
        TRC_TEXT(kComponent, "Func MaskSSN failed");
        TRC_VAR(kComponent, "InfoMsg", KNL_TRC_U32, &iCode);
        TRC_VAR(kComponent, "iRownum", KNL_TRC_I32, &ctx.iRownum);
        TRC_VAR(kComponent, "pInBuf", KNL_TRC_WSTR, ctx.pInBuf);
        TRC_VAR(kComponent, "pData", KNL_TRC_PTR, ctx.pFldDef->pSrc);
    }
    return iCode;
}

uint32_t Mask(RowContext& ctx) {
    int32_t iOut = 0;
    const int32_t iRc = MaskSSN(static_cast<int32_t>(ctx.lScratch[kScratchSource]), &iOut, ctx.lRowFlags,
                                ctx.pCtrlBlk->sProcFlags, ctx.pFldDef, ctx.pCtrlBlk);
    if (iRc != 0) return ReportMaskFailure(ctx, static_cast<uint32_t>(iRc));
    ctx.lScratch[kScratchResult] = iOut;
    return 0;
}

uint32_t Random(RowContext& ctx) {
    int32_t iOut = 0;
    const int32_t iRc = RandomSSN(&iOut, ctx.lRowFlags | (OfficialRules(ctx) ? US_FLAG_OFFICIAL : 0));
    if (iRc != 0)
        return ReportRowError(ctx, static_cast<uint32_t>(iRc), "Failed to mask RandomSSN", {RowToken::Country});
    ctx.lScratch[kScratchResult] = iOut;
    return 0;
}

// Keyed encryption and decryption: the number is validated fully first.
uint32_t Keyed(RowContext& ctx, bool bDecrypt) {
    const int32_t iSource = static_cast<int32_t>(ctx.lScratch[kScratchSource]);
    if (const uint32_t iCode = ValidateKeyedSsn(iSource, ctx.lRowFlags); iCode != 0)
        return ReportMaskFailure(ctx, iCode);
    int32_t iOut = 0;
    if (const uint32_t iCode = KeyedSSN(ctx, iSource, bDecrypt, &iOut); iCode != 0) return iCode;
    ctx.lScratch[kScratchResult] = iOut;
    return 0;
}

uint32_t Encrypt(RowContext& ctx) { return Keyed(ctx, false); }
uint32_t Decrypt(RowContext& ctx) { return Keyed(ctx, true); }

// Any method other than mask or random is served as the Canadian module
// serves it: neither algorithm runs, the source is not read, and the number
// written is 000000000 in the layout fixed at set-up.
uint32_t OtherMethod(RowContext& ctx) {
    TRC_TEXT(kComponent, "Method neither mask nor random: writing zeros");
    ctx.lScratch[kScratchResult] = 0;
    return 0;
}

// The nine digits, with the separator the row flags call for before the 6th
// and the 4th digit.
uint32_t FormatOutput(RowContext& ctx) {
    return WriteNineDigits(ctx, ctx.lScratch[kScratchResult], US_OUT_SEP1, US_OUT_SEP2, "Error in dest conversion");
}

// The flags option: bit 1 replaces the area too, bit 2 and bit 4 choose the
// 2006 and the 2008 area table (both at once is 4558, captured).
uint32_t DecodeParts(CtrlBlk* pCtrlBlk, const CountryDriver&, CountryOptionBlock* pBlock) {
    const uint16_t sFlags = FlagsOption(pBlock);
    if (sFlags & US_OPTION_REPLACE_AREA) pBlock->lOptionFlags |= US_FLAG_REPLACE_AREA;
    if ((sFlags & US_OPTION_TABLE_2006) && (sFlags & US_OPTION_TABLE_2008))
        return ReportFlagsError(pCtrlBlk, QRNP_MSG_US_INVALID_FLAGS, sFlags, QRNP_TOKID_FLAG, "Invalid flags");
    if (sFlags & US_OPTION_TABLE_2006) pBlock->lOptionFlags |= US_FLAG_TABLE_2006;
    if (sFlags & US_OPTION_TABLE_2008) pBlock->lOptionFlags |= US_FLAG_TABLE_2008;
    return 0;
}

const CountryDriver kUnitedStates = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = UnitedStatesBlock,
    .pInitName = "InitCountryUS",
    .bTraceInitArguments = true,
    .pfnBeforeColumnCheck = nullptr,
    .column = {.pFunction = "CheckColumnUS",
               .bNumericTypes = true,
               .bNumericFirst = false,
               .bTraceColumnName = true,
               .bVarnumMarksCanada = true},
    .pfnDecodeParts = DecodeParts,
    .iSeparatorSlot = kSeparatorSlot,
    .sSeparatorValueType = QRNP_TV_UINT16,
    .bTraceSeparator = false,
    .separatorCodes = {{1, US_FLAG_NO_SEPARATOR}, {4, US_FLAG_DOT}, {8, US_FLAG_HYPHEN}, {16, US_FLAG_BLANK}},
    .pfnAfterSeparator = nullptr,
    .bTraceOptionFlags = true,
    .iWorkBufBytes = kWorkBufBytes,
    .separatorStyles = {{L'\0', US_FLAG_NO_SEPARATOR}, {L'-', US_FLAG_HYPHEN}, {L' ', US_FLAG_BLANK}, {L'.', US_FLAG_DOT}},
    .iFirstFieldCheck = QRNP_MSG_US_INVALID_AREA,
    .iLastFieldCheck = QRNP_MSG_US_INVALID_SERIAL,
    .pfnBeforeMethod = nullptr,
    .pfnOtherMethod = OtherMethod,
    .pfnCheckLayout = CheckLayout,
    .pfnMask = Mask,
    .pfnRandom = Random,
    .pfnFormatOutput = FormatOutput,
    .pfnEncrypt = Encrypt,
    .pfnDecrypt = Decrypt,
    .pDstConversionTrace = "Error in dest conversion",
};

}  // namespace

uint32_t InitCountryUS(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    return RunCountrySetup(kUnitedStates, pCtrlBlk, pNidCtrlBlk);
}

uint32_t RBPNIDMaskUS(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kUnitedStates, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
