// Host ABI: the provider's exported entry points (libQRNNIDPrvLib.so).
//
// Calling order: Init once, Service once per rowset, Terminate once; the
// queries at any time. Each returns 0, -2 (a warning: some rows failed) or a
// message number (qrnp_messages.h) that is also captured in the error list.
#ifndef QRNP_PROVIDER_H
#define QRNP_PROVIDER_H

#include "qrnp_ctrlblk.h"
#include "qrnp_errors.h"
#include "qrnp_messages.h"
#include "qrnp_rowset.h"
#include "qrnp_svcdef.h"

#ifdef __cplusplus
extern "C" {
#endif

// Creates the instance heap and state block, copies the options, selects the
// country from pCtrlBlk->pSwitch and sets it up. 0, or 4352 (state block not
// acquired, nothing captured), 4353 (no country initialised; the country's
// own set-up message is captured before it), 4365, 4366, 4409.
QRNP_EXPORT int32_t Init(CtrlBlk* pCtrlBlk, SvcDef* pSvcDef);

// Masks (0x1406) or generates (0x1407) the rows of a rowset; 0x1408 takes the
// method from the CtrlBlk. 0 every row served; -2 some row failed (cell status
// and row flag say which); 4355, 4357, 4358, 4363, 4409 for the whole call.
QRNP_EXPORT int32_t Service(uint16_t sMethod, CtrlBlk* pCtrlBlk, Rowset* pRowset);

// Releases the instance heap. 0; -2 when rows failed and the processing flags
// lack "pass invalid data through"; 4366 when the heap could not be discarded.
QRNP_EXPORT int32_t Terminate(CtrlBlk* pCtrlBlk);

// The provider's description record.
typedef struct ProviderDetails {
    uint8_t bField1;            // written 0
    uint8_t bField2;            // written 1
    uint16_t sField3;           // written 0
    uint16_t sField4;           // written 1
    wchar_t* pName;             // receives "National Identifier"
    wchar_t* pDescription;      // receives "Masking library for national identifiers"
} ProviderDetails;

// Fills the description record. Returns 0.
QRNP_EXPORT int32_t GetDetails(ProviderDetails* pProviderDetails);

#define QRNP_INFO_SRC_COLUMN 0x0E01
#define QRNP_INFO_SRC_COLUMN2 0x0E02
#define QRNP_INFO_DEST_SIZE 0x0E05

// Answers a sizing request: 0, 64 buffer too small, 63 request not supported.
// *pBufLen is the buffer's size in bytes on entry and the answer's size on exit.
QRNP_EXPORT int32_t GetInfo(CtrlBlk* pCtrlBlk, int16_t sRequest, void* pBuffer, uint32_t* pBufLen);

// Message texts are the host's: traces its arguments, writes nothing, returns 0.
QRNP_EXPORT int32_t GetErrorMsg(int32_t ErrorCode, int32_t iLanguage, wchar_t* pErrMsg);

#ifdef __cplusplus
}
#endif

#endif
