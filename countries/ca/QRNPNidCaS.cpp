#include "countries/ca/QRNPNidCaS.h"

#include <cstring>

#include "common/trace.h"
#include "countries/ca/QRNPNidCaAlgo.h"
#include "countries/ca/keyed_sin.h"
#include "countries/country_setup.h"
#include "countries/nine_digit_number.h"
#include "countries/row_driver.h"

namespace {

static_assert(CA_FLAG_HYPHEN == NINE_DIGIT_FLAG_HYPHEN && CA_FLAG_BLANK == NINE_DIGIT_FLAG_BLANK &&
                  CA_FLAG_PERIOD == NINE_DIGIT_FLAG_PERIOD,
              "the nine-digit writer reads these bits");

constexpr const char* kComponent = "QRNPNidCaS";
constexpr const wchar_t* kCountry = L"Canada";
constexpr uint32_t kWorkBufBytes = 104;  // 26 characters: a padded numeric source always fits

// Per-row state kept in RowContext::lScratch.
constexpr int kScratchSourceSin = 0;    // the source SIN as a number
constexpr int kScratchResultSin = 1;    // the SIN to write

CountryOptionBlock* CanadianBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockF; }

uint16_t& PartsOption(CountryOptionBlock* pBlock) { return pBlock->sSlot[2]; }
constexpr uint8_t kSeparatorSlot = 3;

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool IsSeparator(wchar_t c) { return c == L'-' || c == L' ' || c == L'.'; }

uint32_t CheckLayout(RowContext& ctx) {
    if (ctx.pBlock->bNumericSource != 0) ZeroPadToNineDigits(ctx);

    wchar_t* s = ctx.pInBuf;
    int32_t iDigits = 0;
    for (int32_t i = 0; i < ctx.iInLength; ++i) iDigits += IsDigit(s[i]) ? 1 : 0;
    if (ctx.iInLength < CA_SIN_LEN || ctx.iInLength > CA_SIN_SEPARATED_LEN || iDigits != CA_SIN_LEN)
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, nullptr,
                              {RowToken::Value, RowToken::Length, RowToken::Country});

    if (ctx.iInLength == CA_SIN_LEN) {
        NoteSourceSeparator(ctx, L'\0');
    } else {
        // Ten characters cannot hold both separators and nine digits, so they fail here.
        if (!IsSeparator(s[CA_POS_SEP1]) || s[CA_POS_SEP2] != s[CA_POS_SEP1])
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
        NoteSourceSeparator(ctx, s[CA_POS_SEP1]);
        RemoveCharAt(s, &ctx.iInLength, CA_POS_SEP2);
        RemoveCharAt(s, &ctx.iInLength, CA_POS_SEP1);
    }

    if ((ctx.pCtrlBlk->sProcFlags & QRNP_PROC_VALIDATE_FULLY) != 0) {
        if (const uint32_t iCode = ValidateSIN(ctx.pCtrlBlk, s, ctx.iRownum); iCode != 0) return iCode;
    }

    int32_t iSin = 0;
    if (QRNPCnvWVarcharSzToInt(s, &iSin, 0, CA_SIN_LEN) != 0)
        return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, "Invalid source data",
                              {RowToken::Value, RowToken::Country});
    ctx.lScratch[kScratchSourceSin] = iSin;
    return 0;
}

uint32_t Mask(RowContext& ctx) {
    int32_t iOutSin = 0;
    const uint32_t iCode =
        MaskSIN(static_cast<int32_t>(ctx.lScratch[kScratchSourceSin]), &iOutSin, ctx.lRowFlags, ctx.pFldDef);
    if (iCode != 0) return ReportRowError(ctx, iCode, "Failed to mask MaskSIN", {RowToken::Value, RowToken::Country});
    ctx.lScratch[kScratchResultSin] = iOutSin;
    return 0;
}

uint32_t Random(RowContext& ctx) {
    int32_t iOutSin = 0;
    const uint32_t iCode = RandomSIN(&iOutSin);
    if (iCode != 0) return ReportRowError(ctx, iCode, "Failed to mask RandomSIN", {RowToken::Country});
    ctx.lScratch[kScratchResultSin] = iOutSin;
    return 0;
}

// Keyed encryption and decryption of a SIN the layout check validated fully.
uint32_t Keyed(RowContext& ctx, bool bDecrypt) {
    int32_t iOut = 0;
    const uint32_t iCode = KeyedSIN(ctx, static_cast<int32_t>(ctx.lScratch[kScratchSourceSin]), bDecrypt, &iOut);
    if (iCode == 0) ctx.lScratch[kScratchResultSin] = iOut;
    return iCode;
}

uint32_t Encrypt(RowContext& ctx) { return Keyed(ctx, false); }
uint32_t Decrypt(RowContext& ctx) { return Keyed(ctx, true); }

// Neither mask nor random: nothing is computed, and the row gets 000000000
// in the layout set up for the column.
uint32_t OtherMethod(RowContext& ctx) {
    TRC_TEXT(kComponent, "Method neither mask nor random");
    TRC_VAR(kComponent, "sMethod", KNL_TRC_U16, &ctx.sMethod);
    ctx.lScratch[kScratchResultSin] = 0;
    return 0;
}

// Nine digits, leading zeros kept; a separator goes before the 7th and the 4th digit.
uint32_t FormatOutput(RowContext& ctx) {
    return WriteNineDigits(ctx, ctx.lScratch[kScratchResultSin], CA_HEAD_LEN, CA_POS_GROUP3,
                           "Error in dst conversion");
}

// The parts option: bit 1 masks the head too; other bits alone are 4362 (captured).
uint32_t DecodeParts(CtrlBlk* pCtrlBlk, const CountryDriver&, CountryOptionBlock* pBlock) {
    const uint16_t sParts = PartsOption(pBlock);
    if (sParts & 1) {
        pBlock->lOptionFlags |= CA_FLAG_MASK_HEAD;
    } else if (sParts != 0) {
        return ReportSetupError(pCtrlBlk, kComponent, kCountry, QRNP_MSG_INVALID_PARTS_OPTION, "Invalid parts",
                                {RowToken::Country});
    }
    return 0;
}

const CountryDriver kCanada = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = CanadianBlock,
    .pInitName = "InitCountryCA",
    .bTraceInitArguments = true,
    .pfnBeforeColumnCheck = nullptr,
    .column = {.pFunction = "CheckColumnCA",
               .bNumericTypes = true,
               .bNumericFirst = true,
               .bTraceColumnName = false,
               .bVarnumMarksCanada = false},
    .pfnDecodeParts = DecodeParts,
    .iSeparatorSlot = kSeparatorSlot,
    .sSeparatorValueType = QRNP_TV_UINT16,
    .bTraceSeparator = false,
    .separatorCodes = {{CA_SEP_OPTION_COMPACT, CA_FLAG_NO_SEPARATOR},
                       {CA_SEP_OPTION_PERIOD, CA_FLAG_PERIOD},
                       {CA_SEP_OPTION_HYPHEN, CA_FLAG_HYPHEN},
                       {CA_SEP_OPTION_BLANK, CA_FLAG_BLANK}},
    .pfnAfterSeparator = nullptr,
    .bTraceOptionFlags = true,
    .iWorkBufBytes = kWorkBufBytes,
    .separatorStyles = {{L'\0', CA_FLAG_NO_SEPARATOR}, {L'-', CA_FLAG_HYPHEN}, {L' ', CA_FLAG_BLANK}, {L'.', CA_FLAG_PERIOD}},
    // The refused region digit.
    .iFirstFieldCheck = QRNP_MSG_CA_INVALID_SIN,
    .iLastFieldCheck = QRNP_MSG_CA_INVALID_SIN,
    .pfnBeforeMethod = nullptr,
    .pfnOtherMethod = OtherMethod,
    .pfnCheckLayout = CheckLayout,
    .pfnMask = Mask,
    .pfnRandom = Random,
    .pfnFormatOutput = FormatOutput,
    .pfnEncrypt = Encrypt,
    .pfnDecrypt = Decrypt,
    .pDstConversionTrace = "Error in dst conversion",
};

}  // namespace

uint32_t InitCountryCA(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    return RunCountrySetup(kCanada, pCtrlBlk, pNidCtrlBlk);
}

uint32_t RBPNIDMaskCA(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kCanada, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
