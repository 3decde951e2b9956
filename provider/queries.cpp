// The host's questions that need no rows: description, sizing, message texts.
#include <cstring>
#include <cwchar>

#include <qrnp/qrnp.h>

#include "common/trace.h"

namespace {

constexpr const char* kComponent = "QRNPNidS";

// Characters of the widest identifier a country writes, checked in this order.
struct CountryWidth {
    uint32_t iCode;
    int32_t iChars;
};
constexpr CountryWidth kCountryWidths[] = {
    {QRNP_COUNTRY_FR, 20}, {QRNP_COUNTRY_IT, 23}, {QRNP_COUNTRY_UK, 17},
    {QRNP_COUNTRY_ES, 15}, {QRNP_COUNTRY_US | QRNP_COUNTRY_CA, 25},
};

// The destination size in bytes for a character count and a column type.
int32_t DestinationBytes(int32_t iChars, int16_t sDataType) {
    switch (sDataType) {
        case VARCHAR: return iChars + 2;
        case VARCHAR_SZ: return iChars + 1;
        case WCHAR: return iChars * 4;
        case WVARCHAR: return iChars * 4 + 2;
        case WVARCHAR_SZ: return iChars * 4 + 4;
        case U_LONG_LONG: return 8;
        case U_INTEGER: return 4;
        case DECIMAL_PKD: return 44;
        default: return iChars;
    }
}

}  // namespace

int32_t GetDetails(ProviderDetails* pProviderDetails) {
    TRC_ENTRY(kComponent, "GetDetails");
    TRC_VAR(kComponent, "pProviderDetails", KNL_TRC_PTR, pProviderDetails);
    pProviderDetails->bField1 = 0;
    pProviderDetails->bField2 = 1;
    pProviderDetails->sField3 = 0;
    pProviderDetails->sField4 = 1;
    if (pProviderDetails->pName != nullptr) std::wcscpy(pProviderDetails->pName, L"National Identifier");
    if (pProviderDetails->pDescription != nullptr)
        std::wcscpy(pProviderDetails->pDescription, L"Masking library for national identifiers");
    TRC_EXIT(kComponent, "GetDetails", 0);
    return 0;
}

int32_t GetInfo(CtrlBlk* pCtrlBlk, int16_t sRequest, void* pBuffer, uint32_t* pBufLen) {
    TRC_ENTRY(kComponent, "GetInfo");
    TRC_VAR(kComponent, "sRequest", KNL_TRC_I16, &sRequest);
    TRC_VAR(kComponent, "pBufLen", KNL_TRC_PTR, pBufLen);
    int32_t result = 0;
    if (sRequest == QRNP_INFO_SRC_COLUMN || sRequest == QRNP_INFO_SRC_COLUMN2) {
        if (pBuffer != nullptr && *pBufLen < 2) {
            result = QRNP_MSG_BUFFER_TOO_SMALL;
        } else {
            if (pBuffer != nullptr) std::memcpy(pBuffer, &pCtrlBlk->sSrcColIndex, 2);
            *pBufLen = 2;
        }
    } else if (sRequest == QRNP_INFO_DEST_SIZE) {
        if (pBuffer != nullptr && *pBufLen <= 3) {
            result = QRNP_MSG_BUFFER_TOO_SMALL;
        } else {
            if (pBuffer != nullptr) {
                const auto* pNidCtrlBlk = static_cast<const NidCtrlBlk*>(pCtrlBlk->pProviderPrivate);
                const uint32_t iMask = pNidCtrlBlk != nullptr ? pNidCtrlBlk->iCountryMask : 0;
                int32_t iSize = 0;
                for (const CountryWidth& width : kCountryWidths) {
                    if (iMask & width.iCode) {
                        iSize = width.iChars;
                        break;
                    }
                }
                const int16_t sDataType = pCtrlBlk->pColumnDef != nullptr ? pCtrlBlk->pColumnDef->sDataType : 0;
                iSize = DestinationBytes(iSize, sDataType);
                TRC_TEXT(kComponent, "Dest buffer bytes");
                TRC_VAR(kComponent, "iSize", KNL_TRC_I32, &iSize);
                std::memcpy(pBuffer, &iSize, 4);
            }
            *pBufLen = 4;
        }
    } else {
        TRC_TEXT(kComponent, "Request not supported");
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_REQUEST_NOT_SUPPORTED, 1);
        TokenCapture(pCtrlBlk, &sRequest, QRNP_TV_INT16, QRNP_TOKID_INFO_REQUEST, 0);
        result = QRNP_MSG_REQUEST_NOT_SUPPORTED;
    }
    TRC_EXIT(kComponent, "GetInfo", result);
    return result;
}

int32_t GetErrorMsg(int32_t ErrorCode, int32_t iLanguage, wchar_t* pErrMsg) {
    TRC_ENTRY(kComponent, "GetErrorMsg");
    TRC_VAR(kComponent, "ErrorCode", KNL_TRC_I32, &ErrorCode);
    TRC_VAR(kComponent, "iLanguage", KNL_TRC_I32, &iLanguage);
    TRC_VAR(kComponent, "pErrMsg", KNL_TRC_PTR, pErrMsg);
    TRC_EXIT(kComponent, "GetErrorMsg", 0);
    return 0;
}
