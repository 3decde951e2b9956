#include "countries/ca/QRNPNidCaS.h"

#include <cstring>

#include "common/trace.h"
#include "countries/ca/QRNPNidCaAlgo.h"
#include "countries/country_setup.h"
#include "countries/nine_digit_number.h"
#include "countries/row_driver.h"

namespace {

constexpr const char* kComponent = "QRNPNidCaS";
constexpr const wchar_t* kCountry = L"Canada";
constexpr uint32_t kWorkBufBytes = 104;  // 26 characters: a padded numeric source always fits

// Per-row state kept in RowContext::lScratch.
constexpr int kScratchSourceSin = 0;    // the source SIN as a number
constexpr int kScratchResultSin = 1;    // the SIN to write

CountryOptionBlock* CanadianBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockF; }

uint16_t& PartsOption(CountryOptionBlock* pBlock) { return pBlock->sSlot[2]; }
uint16_t& SeparatorOption(CountryOptionBlock* pBlock) { return pBlock->sSlot[3]; }

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Invalid data: 4404-4407 and the refused region digit 4579.
bool IsInvalidData(uint32_t iCode) {
    return (iCode >= QRNP_MSG_SOURCE_CONVERSION && iCode <= QRNP_MSG_INVALID_SOURCE_DATA) ||
           iCode == QRNP_MSG_CA_INVALID_SIN;
}

// The separator flag of a separator character, or 0 when it is none of "-", " " and ".".
uint64_t SeparatorFlag(wchar_t sep) {
    switch (sep) {
        case L'-': return CA_FLAG_HYPHEN;
        case L' ': return CA_FLAG_BLANK;
        case L'.': return CA_FLAG_PERIOD;
        default: return 0;
    }
}

uint32_t CheckLayout(RowContext& ctx) {
    if (ctx.pBlock->bNumericSource != 0) ZeroPadToNineDigits(ctx);

    wchar_t* s = ctx.pInBuf;
    int32_t iDigits = 0;
    for (int32_t i = 0; i < ctx.iInLength; ++i) iDigits += IsDigit(s[i]) ? 1 : 0;
    if (ctx.iInLength < CA_SIN_LEN || ctx.iInLength > CA_SIN_SEPARATED_LEN || iDigits != CA_SIN_LEN)
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, nullptr,
                              {RowToken::Value, RowToken::Length, RowToken::Country});

    const bool bAsSource = SeparatorOption(ctx.pBlock) == CA_SEP_OPTION_AS_SOURCE;
    if (ctx.iInLength == CA_SIN_LEN) {
        if (bAsSource) ctx.lRowFlags |= CA_FLAG_NO_SEPARATOR;
    } else {
        // Ten characters cannot hold both separators and nine digits, so they fail here.
        const uint64_t lSepFlag = SeparatorFlag(s[CA_POS_SEP1]);
        if (lSepFlag == 0 || s[CA_POS_SEP2] != s[CA_POS_SEP1])
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
        if (bAsSource) ctx.lRowFlags |= lSepFlag;
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

const CountryDriver kCanada = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = CanadianBlock,
    .pfnBeforeMethod = nullptr,
    .pfnOtherMethod = OtherMethod,
    .pfnCheckLayout = CheckLayout,
    .pfnMask = Mask,
    .pfnRandom = Random,
    .pfnFormatOutput = FormatOutput,
    .pfnIsInvalidData = IsInvalidData,
    .pDstConversionTrace = "Error in dst conversion",
};

}  // namespace

uint32_t CheckColumnCA(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk) {
    TRC_ENTRY(kComponent, "CheckColumnCA");
    TRC_VAR(kComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(kComponent, "pNidCtrlBlk", KNL_TRC_PTR, pNidCtrlBlk);
    CountryOptionBlock* pBlock = CanadianBlock(pNidCtrlBlk);
    if (pColumnDef != nullptr && pColumnDef->pCnvBlk != nullptr && pColumnDef->sDataType == DECIMAL_PKD) {
        // The precision test has never been able to refuse a column (no
        // precision is both at most 8 and above 20); it is kept as it stands
        // so that every packed-decimal column stays accepted. (The type is
        // tested again so that clang does not warn that the test is always false.)
        const int16_t sPrecision = pColumnDef->sPrecision;
        if (pColumnDef->sDataType == DECIMAL_PKD && sPrecision <= 8 && sPrecision > 20) {
            ErrorCapture(pCtrlBlk, 0, QRNP_MSG_COLUMN_PRECISION, 3);
            TokenCapture(pCtrlBlk, &sPrecision, QRNP_TV_INT16, QRNP_TOKID_SRCLEN, 0);
            TokenCapture(pCtrlBlk, &pColumnDef->sDataType, QRNP_TV_INT16, QRNP_TOKID_SRC_DATATYPE, 0);
            TokenCapture(pCtrlBlk, kCountry, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
            TRC_TEXT(kComponent, "Column precision error");
            TRC_EXIT(kComponent, "CheckColumnCA", QRNP_MSG_COLUMN_PRECISION);
            return QRNP_MSG_COLUMN_PRECISION;
        }
    }
    if (pColumnDef != nullptr && pColumnDef->pCnvBlk != nullptr &&
        FillNumericConverters(pColumnDef->sDataType, pColumnDef->pCnvBlk)) {
        pBlock->bNumericSource = 1;
        TRC_EXIT(kComponent, "CheckColumnCA", 0);
        return 0;
    }
    // Character types, the missing conversion block and unsupported types
    // are handled as for every country.
    const uint32_t iCode = CheckColumn(pCtrlBlk, pColumnDef, pNidCtrlBlk, kComponent, kCountry);
    if (iCode == 0) pBlock->bNumericSource = 0;
    TRC_EXIT(kComponent, "CheckColumnCA", iCode);
    return iCode;
}

uint32_t InitCountryCA(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    TRC_ENTRY(kComponent, "InitCountryCA");
    TRC_VAR(kComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(kComponent, "pNidCtrlBlk", KNL_TRC_PTR, pNidCtrlBlk);
    CountryOptionBlock* pBlock = CanadianBlock(pNidCtrlBlk);
    if (const uint32_t iCode = CheckColumnCA(pCtrlBlk, pCtrlBlk->pColumnDef, pNidCtrlBlk); iCode != 0) {
        TRC_EXIT(kComponent, "InitCountryCA", iCode);
        return iCode;
    }

    pBlock->lOptionFlags = 0;
    const uint16_t sParts = PartsOption(pBlock);
    if (sParts & 1) {
        pBlock->lOptionFlags |= CA_FLAG_MASK_HEAD;
    } else if (sParts != 0) {
        const uint32_t iCode = ReportSetupError(pCtrlBlk, kComponent, kCountry, QRNP_MSG_INVALID_PARTS_OPTION,
                                                "Invalid parts", {RowToken::Country});
        TRC_EXIT(kComponent, "InitCountryCA", iCode);
        return iCode;
    }

    const uint16_t sSeparator = SeparatorOption(pBlock);
    switch (sSeparator) {
        case CA_SEP_OPTION_NONE_GIVEN: SeparatorOption(pBlock) = CA_SEP_OPTION_AS_SOURCE; break;
        case CA_SEP_OPTION_COMPACT: pBlock->lOptionFlags |= CA_FLAG_NO_SEPARATOR; break;
        case CA_SEP_OPTION_AS_SOURCE: break;
        case CA_SEP_OPTION_PERIOD: pBlock->lOptionFlags |= CA_FLAG_PERIOD; break;
        case CA_SEP_OPTION_HYPHEN: pBlock->lOptionFlags |= CA_FLAG_HYPHEN; break;
        case CA_SEP_OPTION_BLANK: pBlock->lOptionFlags |= CA_FLAG_BLANK; break;
        default: {
            const uint32_t iCode = ReportInvalidSeparatorOption(pCtrlBlk, kComponent, kCountry,
                                                                static_cast<uint16_t>(sSeparator), QRNP_TV_UINT16);
            TRC_EXIT(kComponent, "InitCountryCA", iCode);
            return iCode;
        }
    }
    TRC_VAR(kComponent, "lOptionFlags", KNL_TRC_U64, &pBlock->lOptionFlags);

    const uint32_t iCode = AcquireWorkBuffer(pCtrlBlk, pNidCtrlBlk, pBlock, kWorkBufBytes, kComponent, kCountry);
    TRC_EXIT(kComponent, "InitCountryCA", iCode);
    return iCode;
}

uint32_t RBPNIDMaskCA(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kCanada, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
