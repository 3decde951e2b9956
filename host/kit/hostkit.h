// The host kit: what an engine does around the provider, in a form the
// command-line host, the tests, the fuzzers and the benchmarks share.
//
// It builds a CtrlBlk with its column definition, country switch and error
// list, a SvcDef with operands (as a linked list or a plain array), and
// rowsets of cells of any column type; it calls the entry points, linked or
// loaded with dlopen; and it reads back outputs, statuses, row flags and the
// error list with its tokens as text. Values travel as wide strings: text of
// character columns, decimal digits of numeric ones. Cells are encoded and
// decoded with the data-conversion library itself, as an engine would.
#ifndef QRNP_HOSTKIT_H
#define QRNP_HOSTKIT_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <qrnp/qrnp.h>

namespace hostkit {

// The provider's exported functions.
struct EntryPoints {
    int32_t (*Init)(CtrlBlk*, SvcDef*) = nullptr;
    int32_t (*Service)(uint16_t, CtrlBlk*, Rowset*) = nullptr;
    int32_t (*Terminate)(CtrlBlk*) = nullptr;
    int32_t (*GetDetails)(ProviderDetails*) = nullptr;
    int32_t (*GetInfo)(CtrlBlk*, int16_t, void*, uint32_t*) = nullptr;
    int32_t (*GetErrorMsg)(int32_t, int32_t, wchar_t*) = nullptr;
    int32_t (*TermErrors)(EAB*) = nullptr;
    void* pLibrary = nullptr;  // dlopen handle, null when linked
};

// Loads the provider library with dlopen (RTLD_NOW | RTLD_LOCAL) and resolves
// the entry points. False with a message in *pError when anything is missing.
bool LoadProvider(const std::string& path, EntryPoints* pEntryPoints, std::string* pError);

// The provider's file name, as engines look for it.
inline constexpr const char* kProviderFileName = "libQRNNIDPrvLib.so";

// The default provider path: $NIDMASK_PROVIDER, else kProviderFileName in the
// running executable's ../lib/nidmask (an installed tree, wherever it was
// moved), ../lib (the build tree) or own directory, else the bare name (the
// loader's search path).
std::string DefaultProviderPath();

// The absolute path of the file the entry points were loaded from (resolved
// by the dynamic loader, symbolic links followed); "" when unknown.
std::string LoadedFile(const EntryPoints& entryPoints);

// How an instance is set up.
struct InstanceOptions {
    std::wstring countrySwitch = L"FR";
    bool bSwitchIsWide = true;          // false: a value type other than 0x1001
    uint16_t sMethod = QRNP_METHOD_MASK;  // CtrlBlk method, and operand 0x100B
    uint16_t sProcFlags = 0;
    bool bSeparateDestination = true;
    int16_t sErrorLimit = 0;
    int16_t sSrcColIndex = 0;
    int16_t sDataType = VARCHAR;
    int32_t iLength = 32;               // characters (fixed width of CHAR and WCHAR)
    int16_t sPrecision = 0;             // DECIMAL_PKD digits (0: 31)
    std::wstring columnName = L"NID";
    bool bNoConversionBlock = false;
    bool bOperandsAsList = false;       // linked list instead of a plain array
    bool bAddMethodOperand = true;      // operand 0x100B = sMethod first
    std::vector<std::pair<uint16_t, uint32_t>> operands;  // in order, after the method
};

// One provider instance and everything its CtrlBlk points at. Not copyable:
// the CtrlBlk holds pointers into it.
struct Instance {
    const EntryPoints* pEntryPoints = nullptr;
    InstanceOptions options;
    CtrlBlk ctrl{};
    ColumnDef column{};
    ConversionBlock conversion{};
    std::wstring switchText;
    uint32_t iSwitchNumber = 0;         // the value of a non-wide switch
    std::vector<OprDef> operands;
    SvcDef svc{};

    Instance() = default;
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance();
};

// Builds an instance (not yet initialised) with a fresh error list.
std::unique_ptr<Instance> MakeInstance(const EntryPoints& entryPoints, const InstanceOptions& options);

// Calls Init / Terminate.
int32_t InitInstance(Instance& instance);
int32_t TerminateInstance(Instance& instance);

// Releases the error list with TermErrors and starts an empty one.
void ResetErrors(Instance& instance);

// A cell value: NULL, a wide string encoded in the column's type, or (bRaw)
// the cell's bytes exactly as given, for hosts that hand over malformed data.
// A host that reads single-byte text may give it as it read it (bLatin1): its
// ISO-8859-1 bytes, one byte a character, stand for `text`, which stays
// empty; the cell is encoded exactly as the widened text would be.
struct CellValue {
    bool bNull = false;
    std::wstring text;
    bool bRaw = false;
    std::vector<unsigned char> raw{};   // with bRaw: the source bytes; iSrcLen is their count
    bool bLatin1 = false;
    std::string latin1{};               // with bLatin1: the value's characters, one byte each
};

// The value's characters: `text`, or its ISO-8859-1 bytes widened into *pScratch.
const std::wstring& CellText(const CellValue& value, std::wstring* pScratch);
// Its length in characters, and whether it has none.
inline size_t CellLength(const CellValue& value) { return value.bLatin1 ? value.latin1.size() : value.text.size(); }

// How a rowset is shaped.
struct BatchOptions {
    int iExtraCellsBefore = 0;          // cells before the source cell (set sSrcColIndex to match)
    bool bRowsAsList = false;           // rows linked by pNext instead of a plain array
    bool bNullSourcePointer = false;    // NULL values get a null pSrc instead of bNullInd = 1
    bool bNoDestination = false;        // separate destination without a buffer
    int32_t iDstCapacityOverride = -1;  // destination capacity in bytes (-1: the type's size)
    bool bSourceLengthUnknown = false;  // encoded varying and _SZ values get iSrcLen 0 (the prefix or
                                        // terminator decides); raw cells keep their byte count
};

// A rowset and the memory its cells point at. Every buffer is followed by
// guard bytes; GuardsIntact tells whether anything wrote past a capacity.
struct Batch {
    Rowset rowset{};
    std::vector<Row> rows;
    std::vector<FieldDef> fields;
    std::vector<unsigned char> arena;   // all source and destination buffers
    int cellsPerRow = 1;
    int sourceCell = 0;
    std::vector<uint8_t> encodeFailed;  // per row: the value could not be encoded (too long, not a number)
    std::vector<size_t> srcGuard, dstGuard;  // arena offsets of each row's guard bytes

    Batch() = default;
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
};

// Fills `batch` (reusing its memory) with one row per value, encoded in the
// instance's column type. A value that cannot be encoded (longer than a fixed
// width, a number that does not fit) gets an empty source and is flagged in
// encodeFailed; hosts check that before serving.
void FillBatch(const Instance& instance, const std::vector<CellValue>& values, Batch* pBatch,
               const BatchOptions& batchOptions = {});

// Encodes one value in the column's format into `out` (0 or the converter's code).
uint32_t EncodeCell(const Instance& instance, const std::wstring& text, std::vector<unsigned char>* pOut);

// Service on the batch.
int32_t ServiceBatch(Instance& instance, Batch& batch, uint16_t sMethod);

// What happened to one row.
struct RowResult {
    int32_t iStatus = 0;
    bool bRejected = false;             // the row error flag
    bool bTaken = false;
    bool bDstNull = false;
    std::optional<std::wstring> output; // the destination (or in-place source) decoded, when readable
};
RowResult ReadRow(const Instance& instance, const Batch& batch, int iRow);

// The row's source cell.
inline const FieldDef& RowSourceCell(const Batch& batch, int iRow) {
    return batch.fields[static_cast<size_t>(iRow) * static_cast<size_t>(batch.cellsPerRow) +
                        static_cast<size_t>(batch.sourceCell)];
}

// The same in two steps, for hosts that read many rows: the flags and status
// alone (output left empty), and the output decoded into *pText, reusing its
// memory (false when the destination cannot be read).
inline RowResult ReadRowStatus(const Instance&, const Batch& batch, int iRow) {
    RowResult result;
    const Row& row = batch.rows[static_cast<size_t>(iRow)];
    const FieldDef& cell = RowSourceCell(batch, iRow);
    result.iStatus = cell.iStatus;
    result.bRejected = row.bError != 0;
    result.bTaken = row.bTaken != 0;
    result.bDstNull = cell.bDstNull != 0;
    return result;
}
bool ReadRowOutput(const Instance& instance, const Batch& batch, int iRow, std::wstring* pText);

// For single-byte column types: the output as its bytes in the batch (one
// byte a character, ISO-8859-1), valid until the batch is filled again: what
// ReadRowOutput would decode, without widening it. False when the column is
// not single-byte or the cell is not laid out the common way: ReadRowOutput
// then decides.
inline bool ReadRowBytes(const Instance& instance, const Batch& batch, int iRow, std::string_view* pBytes) {
    const FieldDef& cell = RowSourceCell(batch, iRow);
    const bool bSeparate = instance.ctrl.bDestFlag != 0;
    const auto* p = static_cast<const char*>(bSeparate ? cell.pDst : cell.pSrc);
    const int32_t iLen = bSeparate ? cell.iDstLen : (cell.iDstLen > 0 ? cell.iDstLen : cell.iSrcLen);
    if (p == nullptr || iLen <= 0) return false;
    switch (instance.column.sDataType) {
        case CHAR:
            *pBytes = std::string_view(p, static_cast<size_t>(iLen));
            return true;
        case VARCHAR: {
            int16_t sPrefix = 0;
            if (iLen < 2) return false;
            std::memcpy(&sPrefix, p, sizeof sPrefix);
            if (sPrefix <= 0 || sPrefix + 2 > iLen) return false;
            *pBytes = std::string_view(p + 2, static_cast<size_t>(sPrefix));
            return true;
        }
        case VARCHAR_SZ: {
            const void* pEnd = std::memchr(p, 0, static_cast<size_t>(iLen));
            const size_t n = pEnd != nullptr ? static_cast<size_t>(static_cast<const char*>(pEnd) - p)
                                             : static_cast<size_t>(iLen);
            if (n == 0) return false;
            *pBytes = std::string_view(p, n);
            return true;
        }
        default: return false;
    }
}

// True when no guard byte of the batch was overwritten (unprotects them first).
bool GuardsIntact(const Batch& batch);

// Under AddressSanitizer, marks the guard bytes unaddressable (bProtect) so
// that reading or writing past any buffer stops the program at once, or
// addressable again; does nothing in other builds. FillBatch and GuardsIntact
// unprotect them themselves.
void ProtectGuards(const Batch& batch, bool bProtect);

// One captured message and its tokens.
struct Message {
    uint32_t iMessage = 0;
    uint32_t iRow = 0;
    uint16_t sDeclaredTokens = 0;
    std::vector<std::pair<int32_t, std::wstring>> tokens;  // (token id, text), declared slots then the spare
};
std::vector<Message> ReadErrors(const EAB* pEAB);

// The token's name without its QRNP_TOKID_ prefix ("SRCDATA"), or its number.
std::string TokenName(int32_t iTokenId);

// Wide string <-> UTF-8.
std::string ToUtf8(const std::wstring& text);
// The same into *pOut, reusing its memory.
void ToUtf8(const std::wstring& text, std::string* pOut);
// False on an invalid sequence.
bool FromUtf8(std::string_view text, std::wstring* pOut);

}  // namespace hostkit

#endif
