#include "countries/nine_digit_number.h"

#include <cstring>

void ZeroPadToNineDigits(RowContext& ctx) {
    if (ctx.iInLength >= NINE_DIGITS) return;
    wchar_t* s = ctx.pInBuf;
    const int32_t iShift = NINE_DIGITS - ctx.iInLength;
    std::memmove(s + iShift, s, static_cast<size_t>(ctx.iInLength) * sizeof(wchar_t));
    for (int32_t i = 0; i < iShift; ++i) s[i] = L'0';
    s[NINE_DIGITS] = L'\0';
    ctx.iInLength = NINE_DIGITS;
}

uint32_t WriteNineDigits(RowContext& ctx, int64_t iValue, int32_t iFirstSep, int32_t iSecondSep,
                         const char* pTraceText) {
    if (PXIntToNumW(static_cast<int32_t>(iValue), NINE_DIGITS, ctx.pOutBuf) != 0)
        return ReportRowError(ctx, QRNP_MSG_DEST_CONVERSION, pTraceText, {RowToken::Country});
    wchar_t sep = L'\0';
    if (ctx.lRowFlags & NINE_DIGIT_FLAG_HYPHEN)
        sep = L'-';
    else if (ctx.lRowFlags & NINE_DIGIT_FLAG_BLANK)
        sep = L' ';
    else if (ctx.lRowFlags & NINE_DIGIT_FLAG_PERIOD)
        sep = L'.';
    if (sep != L'\0') {
        InsertCharAt(ctx.pOutBuf, iSecondSep, sep);
        InsertCharAt(ctx.pOutBuf, iFirstSep, sep);
    }
    return 0;
}
