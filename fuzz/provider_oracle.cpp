#include "provider_oracle.h"

#include <qrnp/qrnp.h>

namespace {

bool InRange(uint32_t v, uint32_t lo, uint32_t hi) { return v >= lo && v <= hi; }

// The last value given to an operand key, or `fallback` when none is given.
uint32_t OperandValue(const ServedOutput& served, uint16_t sKey, uint32_t fallback) {
    uint32_t v = fallback;
    if (served.pOperands != nullptr)
        for (const auto& [key, value] : *served.pOperands)
            if (key == sKey) v = value & 0xFFFF;
    return v;
}

// The letters and digits of the output, without separators and padding.
std::wstring Compact(const std::wstring& text) {
    std::wstring out;
    for (wchar_t c : text)
        if ((c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z')) out.push_back(c);
    return out;
}

size_t Digits(const std::wstring& text) {
    size_t n = 0;
    for (wchar_t c : text) n += (c >= L'0' && c <= L'9') ? 1 : 0;
    return n;
}

bool AllZeros(const std::wstring& text) {
    const std::wstring compact = Compact(text);
    for (wchar_t c : compact)
        if (c != L'0') return false;
    return true;
}

bool IsNumericType(int16_t sDataType) { return (sDataType >= 7 && sDataType <= 13) || sDataType == ORA_VARNUM; }

}  // namespace

bool IsInvalidDataCode(uint32_t iCountry, uint32_t iCode) {
    if (InRange(iCode, QRNP_MSG_SOURCE_CONVERSION, QRNP_MSG_INVALID_SOURCE_DATA)) return true;
    switch (iCountry) {
        case QRNP_COUNTRY_FR: return InRange(iCode, QRNP_MSG_FR_INVALID_SEX, QRNP_MSG_FR_INVALID_KEY);
        case QRNP_COUNTRY_ES: return iCode == QRNP_MSG_ES_INVALID_SUFFIX;
        case QRNP_COUNTRY_IT: return InRange(iCode, QRNP_MSG_IT_INVALID_NAME, QRNP_MSG_IT_INVALID_CHECK);
        case QRNP_COUNTRY_UK: return InRange(iCode, QRNP_MSG_UK_INVALID_PREFIX, QRNP_MSG_UK_INVALID_SUFFIX);
        case QRNP_COUNTRY_US: return InRange(iCode, QRNP_MSG_US_INVALID_AREA, QRNP_MSG_US_INVALID_SERIAL);
        case QRNP_COUNTRY_CA: return iCode == QRNP_MSG_CA_INVALID_SIN;
        default: return false;
    }
}

bool MayFailRevalidation(const ServedOutput& served, int32_t iStatus) {
    const bool bEmptyStatus = iStatus == QRNP_MSG_EMPTY_CHARACTER_VALUE || iStatus == QRNP_MSG_EMPTY_NUMERIC_VALUE;
    switch (served.iCountry) {
        case QRNP_COUNTRY_FR: {
            const uint32_t iParts = OperandValue(served, QRNP_OPR_FR_PARTS, 0);
            const bool bCommuneMasked = iParts == 0 || (iParts & (8 | 16)) != 0;
            return iStatus == QRNP_MSG_FR_INVALID_COMMUNE && !bCommuneMasked && !served.bSourceValidated;
        }
        case QRNP_COUNTRY_ES:
            return (iStatus == QRNP_MSG_INVALID_SEPARATOR || iStatus == QRNP_MSG_INVALID_SOURCE_DATA) &&
                   Digits(served.output) == 8;
        case QRNP_COUNTRY_IT: {
            if (iStatus != QRNP_MSG_IT_INVALID_BIRTH_DATE || served.sMethod != QRNP_METHOD_RANDOM) return false;
            const std::wstring compact = Compact(served.output);
            return compact.size() == 16 && (compact.substr(9, 2) == L"00" || compact.substr(9, 2) == L"40");
        }
        case QRNP_COUNTRY_US: {
            const std::wstring compact = Compact(served.output);
            if (iStatus == QRNP_MSG_US_INVALID_GROUP || iStatus == QRNP_MSG_US_INVALID_SERIAL) {
                if (!served.bSourceValidated && served.sMethod == QRNP_METHOD_MASK) return true;
                if (iStatus == QRNP_MSG_US_INVALID_SERIAL) return compact == L"078051120" || compact == L"457555462";
                return false;
            }
            if (AllZeros(served.output))
                return iStatus == QRNP_MSG_US_INVALID_AREA || (bEmptyStatus && IsNumericType(served.sDataType));
            return iStatus == QRNP_MSG_INVALID_LENGTH && served.sDataType == ORA_VARNUM && Digits(served.output) < 9;
        }
        case QRNP_COUNTRY_CA: {
            if (AllZeros(served.output)) return bEmptyStatus && IsNumericType(served.sDataType);
            const bool bHeadMasked = (OperandValue(served, QRNP_OPR_CA_PARTS, 0) & 1) != 0;
            return iStatus == QRNP_MSG_CA_INVALID_SIN && !served.bSourceValidated && !bHeadMasked;
        }
        default:
            return false;
    }
}
