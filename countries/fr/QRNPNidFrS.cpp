#include "countries/fr/QRNPNidFrS.h"

#include "common/trace.h"
#include "countries/country_setup.h"
#include "countries/fr/QRNPNidFrAlgo.h"
#include "countries/fr/keyed_nir.h"
#include "countries/row_driver.h"

namespace {

constexpr const char* kComponent = "QRNPNidFrS";
constexpr const wchar_t* kCountry = L"France";
constexpr uint32_t kWorkBufBytes = 84;

CountryOptionBlock* FrenchBlock(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockD; }

uint16_t& PartsOption(CountryOptionBlock* pBlock) { return pBlock->sSlot[1]; }
constexpr uint8_t kSeparatorSlot = 2;

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
wchar_t Upper(wchar_t c) { return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

// The printed form (official rules): blanks at their six places, none
// elsewhere. Leaves the compact form.
bool ReadPrintedForm(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    int32_t iBlanks = 0;
    for (int32_t i = 0; i < FR_INSEE_PRINTED_LEN; ++i) {
        const bool bPlace = iBlanks < 6 && FR_PRINTED_BLANKS[iBlanks] == i;
        if ((s[i] == L' ') != bPlace) return false;
        iBlanks += bPlace ? 1 : 0;
    }
    for (int32_t k = 5; k >= 0; --k) RemoveCharAt(s, &ctx.iInLength, FR_PRINTED_BLANKS[k]);
    KeepSourceStyle(ctx, FR_FLAG_PRINTED);
    return true;
}

uint32_t CheckLayout(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    const bool bOfficial = OfficialRules(ctx);
    if (bOfficial) ctx.lRowFlags |= FR_FLAG_OFFICIAL;
    if (bOfficial && ctx.iInLength == FR_INSEE_PRINTED_LEN) {
        if (!ReadPrintedForm(ctx))
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
    } else if (ctx.iInLength == FR_INSEE_SEPARATED_LEN) {
        const wchar_t sep = s[FR_POS_KEY];
        if (sep != L'-' && sep != L' ')
            return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, "Invalid separator",
                                  {RowToken::Value, RowToken::Country});
        NoteSourceSeparator(ctx, sep);
        RemoveCharAt(s, &ctx.iInLength, FR_POS_KEY);
    } else if (ctx.iInLength == FR_INSEE_LEN) {
        NoteSourceSeparator(ctx, L'\0');
    } else {
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, nullptr,
                              {RowToken::Value, RowToken::Length, RowToken::Country});
    }
    // Position 6 is settled by the department check below.
    for (int32_t i = 0; i < FR_INSEE_LEN; ++i) {
        if (i != FR_POS_DEPT + 1 && !IsDigit(s[i]))
            return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, "Invalid source data",
                                  {RowToken::Value, RowToken::Country});
    }
    if (s[FR_POS_SEX] != L'1' && s[FR_POS_SEX] != L'2' && s[FR_POS_SEX] != L'7' && s[FR_POS_SEX] != L'8')
        return ReportRowError(ctx, QRNP_MSG_FR_INVALID_SEX, "Invalid sex", {RowToken::Value});

    int32_t iDept = 0;
    const wchar_t d0 = s[FR_POS_DEPT], d1 = Upper(s[FR_POS_DEPT + 1]);
    if (d0 == L'2' && d1 == L'A') {
        iDept = FR_DEPT_2A;
        ctx.lRowFlags |= FR_FLAG_ROW_2A;
    } else if (d0 == L'2' && d1 == L'B') {
        iDept = FR_DEPT_2B;
        ctx.lRowFlags |= FR_FLAG_ROW_2B;
    } else if (!ReadDigits(s, FR_POS_DEPT, 2, &iDept) || iDept < 1 || iDept == 20 || iDept == 96 ||
               (iDept > 97 && !(bOfficial && iDept == FR_DEPT_ABROAD))) {
        return ReportRowError(ctx, QRNP_MSG_FR_INVALID_DEPT, "Invalid dept", {RowToken::Value});
    }

    int32_t iMonth = 0;
    if (!ReadDigits(s, FR_POS_MONTH, 2, &iMonth) || iMonth < 1 || iMonth > 12)
        return ReportRowError(ctx, QRNP_MSG_FR_INVALID_MONTH, "Invalid month", {RowToken::Value});

    if ((ctx.pCtrlBlk->sProcFlags & QRNP_PROC_VALIDATE_FULLY) == 0) return 0;

    int32_t iCommune = 0;
    ReadDigits(s, FR_POS_COMMUNE, 3, &iCommune);
    // Under the official rules a commune is any code 001-999 (people keep the
    // code of the commune they were born in, whenever it existed) of an
    // existing department, and a country of birth one of the list.
    const bool bCommune = iDept == FR_DEPT_ABROAD ? IsBirthCountry(iCommune)
                          : bOfficial             ? OfficialCommuneIsValid(iDept, iCommune)
                                                  : CommuneIsValid(iDept, iCommune);
    if (!bCommune) return ReportRowError(ctx, QRNP_MSG_FR_INVALID_COMMUNE, "Invalid commune", {RowToken::Value});

    const bool bCorsica = (ctx.lRowFlags & (FR_FLAG_ROW_2A | FR_FLAG_ROW_2B)) != 0;
    int32_t iKey = 0;
    int32_t iGivenKey = 0;
    if ((bOfficial ? OfficialInseeKey(s, iDept, &iKey) : InseeKey(s, bCorsica, &iKey)) != 0)
        return ReportRowError(ctx, QRNP_MSG_SOURCE_CONVERSION, "Error in source conversion", {RowToken::Country});
    if (!ReadDigits(s, FR_POS_KEY, 2, &iGivenKey) || iGivenKey != iKey)
        return ReportRowError(ctx, QRNP_MSG_FR_INVALID_KEY, "Invalid check digit", {RowToken::Value});
    return 0;
}

uint32_t Mask(RowContext& ctx) {
    const uint32_t iCode = MaskINSEE(ctx.pInBuf, ctx.lRowFlags, ctx.pOutBuf);
    if (iCode != 0)
        return ReportRowError(ctx, iCode, "Failed to mask MaskINSEE", {RowToken::Value, RowToken::Country});
    return 0;
}

uint32_t Encrypt(RowContext& ctx) { return KeyedNIR(ctx, ctx.pInBuf, false, ctx.pOutBuf); }
uint32_t Decrypt(RowContext& ctx) { return KeyedNIR(ctx, ctx.pInBuf, true, ctx.pOutBuf); }

uint32_t Random(RowContext& ctx) {
    const uint32_t iCode = RandomINSEE(ctx.pOutBuf, OfficialRules(ctx));
    if (iCode != 0) return ReportRowError(ctx, iCode, "Failed to mask RandomINSEE", {RowToken::Country});
    return 0;
}

// The separator the row flags call for goes before the key (or, for the
// printed form, a blank between every group).
uint32_t FormatOutput(RowContext& ctx) {
    if (ctx.lRowFlags & FR_FLAG_PRINTED) {
        for (const int32_t iPos : FR_PRINTED_BLANKS) InsertCharAt(ctx.pOutBuf, iPos, L' ');
        return 0;
    }
    if (ctx.lRowFlags & FR_FLAG_HYPHEN)
        InsertCharAt(ctx.pOutBuf, FR_POS_KEY, L'-');
    else if (ctx.lRowFlags & FR_FLAG_BLANK)
        InsertCharAt(ctx.pOutBuf, FR_POS_KEY, L' ');
    ctx.pOutBuf[FR_INSEE_SEPARATED_LEN] = L'\0';
    return 0;
}

// The parts option: bit 1 sex, 2 year, 4 month, 8 department (and commune),
// 16 commune; 0 masks the default parts. 0, or 4362 (captured).
uint32_t DecodeParts(CtrlBlk* pCtrlBlk, const CountryDriver&, CountryOptionBlock* pBlock) {
    const uint16_t sParts = PartsOption(pBlock);
    if (sParts == 0) {
        pBlock->lOptionFlags = FR_FLAG_DEFAULT_PARTS;
        TRC_TEXT(kComponent, "Setting the parts to mask default parts");
        return 0;
    }
    if (sParts & 1) pBlock->lOptionFlags |= FR_FLAG_SEX;
    if (sParts & 2) pBlock->lOptionFlags |= FR_FLAG_YEAR;
    if (sParts & 4) pBlock->lOptionFlags |= FR_FLAG_MONTH;
    if (sParts & 8) pBlock->lOptionFlags |= FR_FLAG_DEPT | FR_FLAG_COMMUNE;  // a new department needs a new commune
    if (sParts & 16) pBlock->lOptionFlags |= FR_FLAG_COMMUNE;
    if ((sParts & 31) == 0)
        return ReportSetupError(pCtrlBlk, kComponent, kCountry, QRNP_MSG_INVALID_PARTS_OPTION, nullptr,
                                {RowToken::Country});
    return 0;
}

const CountryDriver kFrance = {
    .pComponent = kComponent,
    .pCountryName = kCountry,
    .pfnBlock = FrenchBlock,
    .pInitName = "InitCountryFR",
    .bTraceInitArguments = false,
    .pfnBeforeColumnCheck = nullptr,
    .column = kCharacterColumns,
    .pfnDecodeParts = DecodeParts,
    .iSeparatorSlot = kSeparatorSlot,
    .sSeparatorValueType = QRNP_TV_INT16,
    .bTraceSeparator = false,
    .separatorCodes = {{1, FR_FLAG_NO_SEPARATOR}, {8, FR_FLAG_HYPHEN}, {16, FR_FLAG_BLANK}},
    .pfnAfterSeparator = nullptr,
    .bTraceOptionFlags = false,
    .iWorkBufBytes = kWorkBufBytes,
    .separatorStyles = {{L'\0', FR_FLAG_NO_SEPARATOR}, {L'-', FR_FLAG_HYPHEN}, {L' ', FR_FLAG_BLANK}},
    .iFirstFieldCheck = QRNP_MSG_FR_INVALID_SEX,
    .iLastFieldCheck = QRNP_MSG_FR_INVALID_KEY,
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

uint32_t InitCountryFR(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    return RunCountrySetup(kFrance, pCtrlBlk, pNidCtrlBlk);
}

uint32_t RBPNIDMaskFR(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum) {
    return RunRowDriver(kFrance, sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, iRownum);
}
