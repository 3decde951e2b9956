#include "provider_run.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "error_list_checks.h"
#include "fuzz_check.h"
#include "hostkit_linked.h"
#include "provider/country_table.h"
#include "provider_oracle.h"
#include "tests/support/countries.h"

namespace {

constexpr int32_t QRNP_OUTPUT_WIDTH = 64;   // characters: more than any identifier written

using hostkit::Batch;
using hostkit::Instance;

const hostkit::EntryPoints& Linked() {
    static const hostkit::EntryPoints ep = hostkit::LinkedEntryPoints();
    return ep;
}

bool IsCharacterType(int16_t t) { return t >= CHAR && t <= WVARCHAR_SZ; }
bool IsNumericType(int16_t t) {
    return t == U_LONG_LONG || t == INTEGER || t == U_INTEGER || t == DECIMAL_PKD || t == ORA_VARNUM;
}
bool TakesNumericColumns(uint32_t iCountry) { return iCountry == QRNP_COUNTRY_US || iCountry == QRNP_COUNTRY_CA; }

std::string Narrow(const std::wstring& text) {
    std::string out;
    for (wchar_t c : text) {
        if (c >= 0x20 && c < 0x7F) {
            out.push_back(static_cast<char>(c));
        } else {
            char buf[16];
            std::snprintf(buf, sizeof buf, "\\x{%X}", static_cast<unsigned>(c));
            out += buf;
        }
    }
    return out;
}

// With FUZZ_VERBOSE set, the run is described on stderr (to read a crash input).
bool Verbose() {
    static const bool bVerbose = std::getenv("FUZZ_VERBOSE") != nullptr;
    return bVerbose;
}

// A cell as it was before Service: its buffers' bytes.
struct CellSnapshot {
    std::vector<unsigned char> src;
    std::vector<unsigned char> dst;
    int32_t iHostSrcLen = 0;    // the source length the host gave
};

std::vector<unsigned char> BytesAt(const void* p, int32_t n) {
    if (p == nullptr || n <= 0) return {};
    const auto* b = static_cast<const unsigned char*>(p);
    return {b, b + n};
}

FieldDef& SourceCell(Batch& batch, size_t r) {
    return batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + static_cast<size_t>(batch.sourceCell)];
}

// The run's state that outlives one Service call.
struct RunState {
    const ProviderScenario* pScenario = nullptr;
    Instance* pInstance = nullptr;
    uint16_t sResolvedMethod = 0;        // the method the drivers see
    int32_t iFailedRows = 0;             // rows that reached the failure tail
    uint32_t iServiceCalls = 0;          // calls that passed their checks
    std::vector<std::wstring> served;    // outputs of served rows
};

// The check that ends a Service call before any row, or 0.
int32_t ExpectedEarlyExit(const RunState& run, const Batch& batch) {
    const ProviderScenario& s = *run.pScenario;
    if (batch.rows.empty()) return QRNP_MSG_ROWSET_EMPTY;
    if (s.options.sSrcColIndex >= batch.rows[0].sColCount) return QRNP_MSG_SRC_COLUMN_INDEX;
    const uint16_t m = s.sServiceMethod;
    const bool bKeyedMethod = s.bKeyed && (m == QRNP_METHOD_ENCRYPT || m == QRNP_METHOD_DECRYPT);
    if (m != QRNP_METHOD_MASK && m != QRNP_METHOD_RANDOM && m != QRNP_METHOD_CTRLBLK && !bKeyedMethod)
        return QRNP_MSG_INVALID_METHOD;
    return 0;
}

void CheckUntouched(const Batch& batch, size_t r, const CellSnapshot& before, bool bTakenBefore, const char* pWhy) {
    const Row& row = batch.rows[r];
    const FieldDef& cell = batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + static_cast<size_t>(batch.sourceCell)];
    FUZZ_CHECK(row.bTaken == (bTakenBefore ? 1 : 0), "row %zu (%s): taken flag %u", r + 1, pWhy, row.bTaken);
    FUZZ_CHECK(row.bError == 0 && cell.iStatus == 0 && cell.bDstNull == 0 && cell.iDstLen == 0,
               "row %zu (%s) was changed: error %u, status %d, dest NULL %u, dest length %d", r + 1, pWhy,
               row.bError, cell.iStatus, cell.bDstNull, cell.iDstLen);
    FUZZ_CHECK(BytesAt(cell.pSrc, static_cast<int32_t>(before.src.size())) == before.src,
               "row %zu (%s): source bytes changed", r + 1, pWhy);
    FUZZ_CHECK(BytesAt(cell.pDst, cell.iDstCap) == before.dst, "row %zu (%s): destination bytes changed", r + 1, pWhy);
}

// A pass-through: the destination holds the source's bytes, as many as fit.
void CheckCopiedThrough(const RunState& run, const FieldDef& cell, const CellSnapshot& before, size_t r, int32_t iStatus) {
    const bool bSeparate = run.pInstance->ctrl.bDestFlag != 0;
    FUZZ_CHECK(BytesAt(cell.pSrc, static_cast<int32_t>(before.src.size())) == before.src,
               "row %zu (status %d): a passed-through source was changed", r + 1, iStatus);
    // The length the provider measured, never beyond what the host said the source holds.
    int32_t iSrcLen = std::max(cell.iSrcLen, 0);
    if (before.iHostSrcLen > 0) iSrcLen = std::min(iSrcLen, before.iHostSrcLen);
    if (!bSeparate) {
        FUZZ_CHECK(cell.iDstLen == 0 || cell.iDstLen == iSrcLen, "row %zu (status %d): in-place length %d of %d",
                   r + 1, iStatus, cell.iDstLen, iSrcLen);
        return;
    }
    const int32_t iCopy = std::min(iSrcLen, std::max(cell.iDstCap, 0));
    FUZZ_CHECK(static_cast<size_t>(iCopy) <= before.src.size(),
               "row %zu (status %d): %d bytes copied from a %zu-byte source", r + 1, iStatus, iCopy, before.src.size());
    FUZZ_CHECK(cell.iDstLen == iCopy, "row %zu (status %d): destination length %d, expected min(%d, %d)", r + 1,
               iStatus, cell.iDstLen, iSrcLen, cell.iDstCap);
    const std::vector<unsigned char> dst = BytesAt(cell.pDst, cell.iDstCap);
    for (int32_t i = 0; i < static_cast<int32_t>(dst.size()); ++i) {
        const unsigned char expected = i < iCopy ? before.src[static_cast<size_t>(i)] : before.dst[static_cast<size_t>(i)];
        FUZZ_CHECK(dst[static_cast<size_t>(i)] == expected, "row %zu (status %d): destination byte %d", r + 1, iStatus, i);
    }
}

// Served: the identifier is in the destination (or in place), nothing past its length changed.
void CheckServed(RunState& run, const Batch& batch, const FieldDef& cell, const CellSnapshot& before, size_t r) {
    const bool bSeparate = run.pInstance->ctrl.bDestFlag != 0;
    const int32_t iCap = bSeparate ? cell.iDstCap : static_cast<int32_t>(before.src.size());
    FUZZ_CHECK(cell.iDstLen > 0 && cell.iDstLen <= iCap, "row %zu served with destination length %d of %d", r + 1,
               cell.iDstLen, iCap);
    FUZZ_CHECK(cell.bDstNull == 0, "row %zu served with the destination NULL flag", r + 1);
    const std::vector<unsigned char> after = bSeparate ? BytesAt(cell.pDst, cell.iDstCap) : BytesAt(cell.pSrc, iCap);
    const std::vector<unsigned char>& old = bSeparate ? before.dst : before.src;
    for (size_t i = static_cast<size_t>(cell.iDstLen); i < after.size(); ++i)
        FUZZ_CHECK(after[i] == old[i], "row %zu: byte %zu past the written length %d changed", r + 1, i, cell.iDstLen);
    const hostkit::RowResult result = hostkit::ReadRow(*run.pInstance, batch, static_cast<int>(r));
    FUZZ_CHECK(result.output.has_value() && !result.output->empty(), "row %zu served, but its output cannot be read",
               r + 1);
    run.served.push_back(*result.output);
}

// One Service call on rows [iBegin, iEnd) of the scenario, with every check.
void ServeRows(RunState& run, size_t iBegin, size_t iEnd) {
    const ProviderScenario& s = *run.pScenario;
    Instance& instance = *run.pInstance;
    const uint32_t iCountry = s.iCountry;

    Batch batch;
    const std::vector<hostkit::CellValue> cells(s.cells.begin() + static_cast<long>(iBegin),
                                                s.cells.begin() + static_cast<long>(iEnd));
    hostkit::FillBatch(instance, cells, &batch, s.batchOptions);
    const size_t nRows = batch.rows.size();
    std::vector<CellSnapshot> before(nRows);
    for (size_t r = 0; r < nRows; ++r) {
        batch.rows[r].bTaken = s.taken[iBegin + r];
        FieldDef& cell = SourceCell(batch, r);
        // What the data holds (a varying value given with length 0 still has its bytes).
        const int32_t iSrcBytes = cell.iSrcLen > 0 ? cell.iSrcLen : 0;
        before[r].src = BytesAt(cell.pSrc, iSrcBytes);
        before[r].iHostSrcLen = cell.iSrcLen;
        before[r].dst = BytesAt(cell.pDst, cell.iDstCap);
    }
    if (s.batchOptions.bSourceLengthUnknown) {
        // Varying values given with length 0 are read through their own length.
        for (size_t r = 0; r < nRows; ++r) {
            const hostkit::CellValue& v = cells[r];
            if (v.bNull || v.bRaw) continue;
            std::vector<unsigned char> encoded;
            if (hostkit::EncodeCell(instance, v.text, &encoded) == 0 && SourceCell(batch, r).iSrcLen == 0)
                before[r].src = BytesAt(SourceCell(batch, r).pSrc, static_cast<int32_t>(encoded.size()));
        }
    }
    const uint32_t iEntriesBefore = instance.ctrl.pEAB->iEntryCount;
    if (Verbose()) {
        for (size_t r = 0; r < nRows; ++r)
            std::fprintf(stderr, "  cell %zu: %s%s\"%s\", %d bytes given, %zu held\n", r + 1,
                         batch.rows[r].bTaken ? "taken " : "", cells[r].bNull ? "NULL " : cells[r].bRaw ? "raw " : "",
                         Narrow(cells[r].text).c_str(), SourceCell(batch, r).iSrcLen, before[r].src.size());
    }

    hostkit::ProtectGuards(batch, true);
    const int32_t iService = hostkit::ServiceBatch(instance, batch, s.sServiceMethod);
    FUZZ_CHECK(hostkit::GuardsIntact(batch), "a buffer was written past its end");
    CheckErrorList(instance.ctrl.pEAB);

    const std::vector<hostkit::Message> all = hostkit::ReadErrors(instance.ctrl.pEAB);
    const std::vector<hostkit::Message> added(all.begin() + iEntriesBefore, all.end());

    if (Verbose()) {
        std::fprintf(stderr, "Service(%u) on %zu rows: %d, stopped at row %d\n", s.sServiceMethod, nRows, iService,
                     batch.rowset.iCurrentRow + 1);
        for (size_t r = 0; r < nRows; ++r) {
            const hostkit::RowResult result = hostkit::ReadRow(instance, batch, static_cast<int>(r));
            std::fprintf(stderr, "  row %zu %s\"%s\": status %d%s%s -> \"%s\"\n", r + 1,
                         cells[r].bNull ? "NULL " : cells[r].bRaw ? "raw " : "", Narrow(cells[r].text).c_str(),
                         result.iStatus, result.bRejected ? " rejected" : "", result.bTaken ? "" : " untaken",
                         result.output ? Narrow(*result.output).c_str() : "-");
        }
        for (const hostkit::Message& m : added) std::fprintf(stderr, "  message %u row %u\n", m.iMessage, m.iRow);
    }
    const int32_t iEarly = ExpectedEarlyExit(run, batch);
    if (iEarly != 0) {
        FUZZ_CHECK(iService == iEarly, "Service returned %d, expected %d", iService, iEarly);
        FUZZ_CHECK(added.size() == 1 && added[0].iMessage == static_cast<uint32_t>(iEarly) && added[0].iRow == 0,
                   "Service's %d is captured once, bound to no row", iEarly);
        for (size_t r = 0; r < nRows; ++r) CheckUntouched(batch, r, before[r], s.taken[iBegin + r], "call refused");
        return;
    }
    ++run.iServiceCalls;
    FUZZ_CHECK(iService == 0 || iService == QRNP_WARNING, "Service returned %d", iService);

    const size_t iLast = static_cast<size_t>(batch.rowset.iCurrentRow);
    FUZZ_CHECK(iLast < nRows, "current row index %zu of %zu rows", iLast, nRows);
    for (const hostkit::Message& m : added)
        FUZZ_CHECK(m.iRow >= 1 && m.iRow <= iLast + 1, "message %u bound to row %u (rows served up to %zu)",
                   m.iMessage, m.iRow, iLast + 1);

    const bool bPassInvalid = (instance.ctrl.sProcFlags & QRNP_PROC_PASS_INVALID) != 0;
    const int16_t sDataType = instance.column.sDataType;
    bool bAnyFailure = false;
    for (size_t r = 0; r < nRows; ++r) {
        const bool bTakenBefore = s.taken[iBegin + r] != 0;
        std::vector<const hostkit::Message*> mine;
        for (const hostkit::Message& m : added)
            if (m.iRow == r + 1) mine.push_back(&m);
        if (r > iLast || bTakenBefore) {
            CheckUntouched(batch, r, before[r], bTakenBefore, bTakenBefore ? "taken before" : "after the error limit");
            FUZZ_CHECK(mine.empty(), "row %zu was not served but has messages", r + 1);
            continue;
        }
        const Row& row = batch.rows[r];
        const FieldDef& cell = SourceCell(batch, r);
        const int32_t iStatus = cell.iStatus;
        FUZZ_CHECK(row.bTaken == 1, "row %zu served but not marked taken", r + 1);
        FUZZ_CHECK(row.bError <= 1, "row %zu: error flag %u", r + 1, row.bError);
        const bool bFailed = row.bError == 1 || iStatus != 0;
        if (bFailed) {
            bAnyFailure = true;
            ++run.iFailedRows;
            // The error limit ends the call at the first failed row after which the list is full enough.
            const int16_t sLimit = instance.ctrl.sErrorLimit;
            uint32_t iCount = iEntriesBefore;
            for (const hostkit::Message& m : added) iCount += m.iRow <= r + 1 ? 1 : 0;
            const bool bLimitReached = sLimit > 0 && iCount >= static_cast<uint32_t>(sLimit);
            FUZZ_CHECK(bLimitReached == (r == iLast && iLast + 1 < nRows) || (r == iLast && iLast + 1 == nRows),
                       "row %zu failed with %u entries against the limit %d, and the loop %s there", r + 1, iCount,
                       sLimit, r == iLast ? "stopped" : "went on");
        } else {
            FUZZ_CHECK(r != iLast || iLast + 1 == nRows, "the loop stopped at row %zu, which did not fail", r + 1);
        }
        // Every status but the driver's bare method refusal is captured for its row.
        if (iStatus == 0 || iStatus == QRNP_MSG_INVALID_METHOD_CODE) {
            FUZZ_CHECK(mine.empty(), "row %zu with status %d has %zu messages (the first %u)", r + 1, iStatus,
                       mine.size(), mine.empty() ? 0u : mine[0]->iMessage);
        } else {
            FUZZ_CHECK(!mine.empty() && mine.back()->iMessage == static_cast<uint32_t>(iStatus),
                       "row %zu: status %d, last message of the row %u", r + 1, iStatus,
                       mine.empty() ? 0u : mine.back()->iMessage);
        }

        if (row.bError == 1) {
            // Rejected: the destination (the source, in place) is as it was.
            FUZZ_CHECK(iStatus != 0, "row %zu rejected with status 0", r + 1);
            FUZZ_CHECK(!(bPassInvalid && IsInvalidDataCode(iCountry, static_cast<uint32_t>(iStatus))),
                       "row %zu rejected with invalid-data code %d although invalid data passes through", r + 1,
                       iStatus);
            FUZZ_CHECK(cell.bDstNull == 0 && cell.iDstLen == 0, "row %zu rejected (%d) but its destination was set",
                       r + 1, iStatus);
            FUZZ_CHECK(BytesAt(cell.pSrc, static_cast<int32_t>(before[r].src.size())) == before[r].src &&
                           BytesAt(cell.pDst, cell.iDstCap) == before[r].dst,
                       "row %zu rejected (%d) but a buffer changed", r + 1, iStatus);
        } else if (iStatus == 0) {
            CheckServed(run, batch, cell, before[r], r);
        } else if (iStatus == QRNP_MSG_NULL_SOURCE) {
            FUZZ_CHECK(cells[r].bNull && run.sResolvedMethod != QRNP_METHOD_RANDOM,
                       "row %zu: status 4408 for a value that is not NULL", r + 1);
            FUZZ_CHECK(cell.bDstNull == instance.ctrl.bDestFlag, "row %zu: NULL source, destination NULL flag %u",
                       r + 1, cell.bDstNull);
            FUZZ_CHECK(BytesAt(cell.pDst, cell.iDstCap) == before[r].dst && cell.iDstLen == 0,
                       "row %zu: NULL source, but the destination was written", r + 1);
        } else if (iStatus == QRNP_MSG_EMPTY_CHARACTER_VALUE || iStatus == QRNP_MSG_EMPTY_NUMERIC_VALUE) {
            FUZZ_CHECK(iStatus == (IsNumericType(sDataType) ? QRNP_MSG_EMPTY_NUMERIC_VALUE : QRNP_MSG_EMPTY_CHARACTER_VALUE),
                       "row %zu: empty-value status %d for column type %d", r + 1, iStatus, sDataType);
            CheckCopiedThrough(run, cell, before[r], r, iStatus);
        } else if (iStatus == QRNP_MSG_SOURCE_ONLY_SPACES) {
            CheckCopiedThrough(run, cell, before[r], r, iStatus);
        } else {
            FUZZ_CHECK(bPassInvalid && IsInvalidDataCode(iCountry, static_cast<uint32_t>(iStatus)),
                       "row %zu passed through with status %d (pass-through %s)", r + 1, iStatus,
                       bPassInvalid ? "on" : "off");
            CheckCopiedThrough(run, cell, before[r], r, iStatus);
        }
    }
    FUZZ_CHECK(iService == (bAnyFailure ? QRNP_WARNING : 0), "Service returned %d, rows %s", iService,
               bAnyFailure ? "failed" : "all served");
}

void CheckInitFailure(const ProviderScenario& s, const Instance& instance, int32_t iInit, int64_t iHeapCalls,
                      int64_t iHeaps, int64_t iBlocks) {
    const std::vector<hostkit::Message> messages = hostkit::ReadErrors(instance.ctrl.pEAB);
    FUZZ_CHECK(instance.ctrl.pProviderPrivate == nullptr, "Init failed with %d but left its state block", iInit);
    const bool bInjected = s.iFailHeapCall > 0 && iHeapCalls >= s.iFailHeapCall;
    switch (iInit) {
        case QRNP_MSG_HEAP_CREATE_FAILED:
            FUZZ_CHECK(bInjected && s.iFailHeapCall == 1, "4365 without a failed heap creation");
            break;
        case QRNP_MSG_BLOCK_ACQUIRE_FAILED:
            FUZZ_CHECK(bInjected && s.iFailHeapCall == 2, "4352 without a failed acquire");
            FUZZ_CHECK(messages.empty(), "4352 is returned without a capture");
            // The heap is left in place on this path, on purpose.
            FUZZ_CHECK(KNL_Heap_LiveHeaps() == iHeaps + 1 && KNL_Heap_LiveBlocks() == iBlocks,
                       "4352 leaves exactly the empty heap behind");
            return;
        case QRNP_MSG_HEAP_DISCARD_FAILED:
            FUZZ_CHECK(bInjected && iHeapCalls == s.iFailHeapCall, "4366 but the last heap call did not fail");
            FUZZ_CHECK(KNL_Heap_LiveHeaps() == iHeaps + 1, "4366 leaves the heap behind");
            return;
        case QRNP_MSG_UNKNOWN_COUNTRY:
            FUZZ_CHECK(s.bUnknownSwitch, "4409 for a switch that names a country");
            break;
        case QRNP_MSG_NO_COUNTRY_INITIALISED:
            if (s.iCountry != 0) {
                const CountryEntry* pCountry = FindCountry(s.iCountry);
                FUZZ_CHECK(messages.size() >= 2 && messages[messages.size() - 2].iMessage == pCountry->iInitFailedMsg,
                           "4353 after a failed set-up comes with the country's message %u", pCountry->iInitFailedMsg);
            }
            break;
        default:
            FUZZ_CHECK(false, "Init returned %d", iInit);
    }
    FUZZ_CHECK(!messages.empty() && messages.back().iMessage == static_cast<uint32_t>(iInit),
               "Init's %d is the last message captured", iInit);
    FUZZ_CHECK(KNL_Heap_LiveHeaps() == iHeaps && KNL_Heap_LiveBlocks() == iBlocks,
               "a failed Init (%d) left %lld heaps and %lld blocks behind", iInit,
               static_cast<long long>(KNL_Heap_LiveHeaps() - iHeaps),
               static_cast<long long>(KNL_Heap_LiveBlocks() - iBlocks));
}

// What Init must do whatever the options: refuse unknown switches, columns
// no country module takes, and a column without a conversion block.
void CheckInitPredictable(const ProviderScenario& s, int32_t iInit, const Instance& instance) {
    if (s.iFailHeapCall == 1 || s.iFailHeapCall == 2) return;
    if (s.bUnknownSwitch) {
        FUZZ_CHECK(iInit == QRNP_MSG_UNKNOWN_COUNTRY || iInit == QRNP_MSG_HEAP_DISCARD_FAILED, "unknown switch: Init %d", iInit);
        return;
    }
    if (!s.options.bSwitchIsWide) {
        FUZZ_CHECK(iInit == QRNP_MSG_NO_COUNTRY_INITIALISED || iInit == QRNP_MSG_HEAP_DISCARD_FAILED,
                   "a switch that is not a wide string: Init %d", iInit);
        return;
    }
    const int16_t t = s.options.sDataType;
    const bool bTypeTaken = IsCharacterType(t) || (IsNumericType(t) && TakesNumericColumns(s.iCountry));
    if (s.options.bNoConversionBlock || !bTypeTaken) {
        FUZZ_CHECK(iInit != 0, "Init accepted column type %d%s", t, s.options.bNoConversionBlock ? " without a conversion block" : "");
        const std::vector<hostkit::Message> messages = hostkit::ReadErrors(instance.ctrl.pEAB);
        const uint32_t iCause = s.options.bNoConversionBlock ? QRNP_MSG_NO_CONVERSION_BLOCK : QRNP_MSG_DATATYPE_NOT_SUPPORTED;
        bool bFound = false;
        for (const auto& m : messages) bFound |= m.iMessage == iCause;
        // The United Kingdom checks its method against its form flags first.
        FUZZ_CHECK(bFound || iInit == QRNP_MSG_HEAP_DISCARD_FAILED ||
                       (s.iCountry == QRNP_COUNTRY_UK && !messages.empty() &&
                        messages[0].iMessage == QRNP_MSG_UK_METHOD_FORM_MISMATCH),
                   "column type %d refused without message %u", t, iCause);
    }
}

void CheckGetInfo(const ProviderScenario& s, Instance& instance) {
    const uint32_t iEntries = instance.ctrl.pEAB->iEntryCount;
    std::vector<unsigned char> buffer(static_cast<size_t>(std::max(s.iInfoBufferBytes, 0)) + 8, 0xA5);
    uint32_t iLen = static_cast<uint32_t>(std::max(s.iInfoBufferBytes, 0));
    const int32_t rc = Linked().GetInfo(&instance.ctrl, s.sInfoRequest,
                                        s.iInfoBufferBytes < 0 ? nullptr : buffer.data(), &iLen);
    for (size_t i = static_cast<size_t>(std::max(s.iInfoBufferBytes, 0)); i < buffer.size(); ++i)
        FUZZ_CHECK(buffer[i] == 0xA5, "GetInfo wrote past its %d-byte buffer", s.iInfoBufferBytes);
    const bool bKnown = s.sInfoRequest == QRNP_INFO_SRC_COLUMN || s.sInfoRequest == QRNP_INFO_SRC_COLUMN2 ||
                        s.sInfoRequest == QRNP_INFO_DEST_SIZE;
    FUZZ_CHECK(rc == (bKnown ? rc : QRNP_MSG_REQUEST_NOT_SUPPORTED) && (rc == 0 || rc == 63 || rc == 64),
               "GetInfo %d returned %d", s.sInfoRequest, rc);
    FUZZ_CHECK(instance.ctrl.pEAB->iEntryCount == iEntries + (rc == QRNP_MSG_REQUEST_NOT_SUPPORTED ? 1 : 0),
               "GetInfo %d captured %u messages", s.sInfoRequest, instance.ctrl.pEAB->iEntryCount - iEntries);
    if (rc == 0) FUZZ_CHECK(iLen <= 4, "GetInfo answered %u bytes", iLen);
}

// Masks every served output again under full validation, in the same column.
void Revalidate(const RunState& run) {
    const ProviderScenario& s = *run.pScenario;
    if (run.served.empty() || s.iCountry == 0) return;
    hostkit::InstanceOptions options;
    options.countrySwitch = testsupport::SwitchLetters(s.iCountry);
    options.sDataType = s.options.sDataType;
    options.iLength = s.options.iLength;
    options.sPrecision = s.options.sPrecision;
    options.sProcFlags = QRNP_PROC_VALIDATE_FULLY;
    auto instance = hostkit::MakeInstance(Linked(), options);
    const int32_t iInit = hostkit::InitInstance(*instance);
    FUZZ_CHECK(iInit == 0, "the validating instance did not start: %d", iInit);

    // A fixed-width output is padded to the capacity it was written with,
    // which the host may have made larger than the column: drop the padding,
    // and leave out what cannot be a value of the column.
    const bool bFixed = options.sDataType == CHAR || options.sDataType == WCHAR;
    std::vector<hostkit::CellValue> cells;
    for (std::wstring text : run.served) {
        if (bFixed) {
            text.erase(text.find_last_not_of(L' ') + 1);
            if (text.size() > static_cast<size_t>(options.iLength)) continue;
        }
        cells.push_back(hostkit::CellValue{false, text});
    }
    Batch batch;
    hostkit::BatchOptions batchOptions;
    batchOptions.iDstCapacityOverride = 4 * QRNP_OUTPUT_WIDTH;  // validation is what counts, not the room
    hostkit::FillBatch(*instance, cells, &batch, batchOptions);
    for (size_t r = 0; r < cells.size(); ++r)
        FUZZ_CHECK(!batch.encodeFailed[r], "served output \"%s\" does not fit its own column again",
                   Narrow(cells[r].text).c_str());
    hostkit::ProtectGuards(batch, true);
    hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK);
    FUZZ_CHECK(hostkit::GuardsIntact(batch), "validation wrote past a buffer");

    ServedOutput served;
    served.iCountry = s.iCountry;
    served.sMethod = run.sResolvedMethod;
    served.bSourceValidated = (s.options.sProcFlags & QRNP_PROC_VALIDATE_FULLY) != 0;
    served.pOperands = &s.options.operands;
    served.sDataType = s.options.sDataType;
    for (size_t r = 0; r < cells.size(); ++r) {
        const hostkit::RowResult result = hostkit::ReadRow(*instance, batch, static_cast<int>(r));
        if (Verbose())
            std::fprintf(stderr, "revalidated \"%s\": status %d\n", Narrow(cells[r].text).c_str(), result.iStatus);
        if (result.iStatus == 0 && !result.bRejected) continue;
        served.output = cells[r].text;
        FUZZ_CHECK(MayFailRevalidation(served, result.iStatus),
                   "served output \"%s\" (method %u) is refused by full validation with %d",
                   Narrow(cells[r].text).c_str(), served.sMethod, result.iStatus);
    }
    hostkit::TerminateInstance(*instance);
}

}  // namespace

void RunScenario(const ProviderScenario& s) {
    const int64_t iHeaps = KNL_Heap_LiveHeaps();
    const int64_t iBlocks = KNL_Heap_LiveBlocks();
    auto instance = hostkit::MakeInstance(Linked(), s.options);
    if (s.bTrace) KNL_Trace_SetFile("/dev/null");
    const int64_t iCalls0 = KNL_Heap_CallCount();
    KNL_Heap_FailNthCall(s.iFailHeapCall);

    const int32_t iInit = hostkit::InitInstance(*instance);
    if (Verbose())
        std::fprintf(stderr, "country %u switch \"%s\" type %d length %d flags %u method %u/%u: Init %d\n", s.iCountry,
                     Narrow(s.options.countrySwitch).c_str(), s.options.sDataType, s.options.iLength,
                     s.options.sProcFlags, s.sServiceMethod, s.options.sMethod, iInit);
    CheckErrorList(instance->ctrl.pEAB);
    CheckInitPredictable(s, iInit, *instance);
    if (iInit != 0) {
        CheckInitFailure(s, *instance, iInit, KNL_Heap_CallCount() - iCalls0, iHeaps, iBlocks);
        KNL_Heap_FailNthCall(0);
        KNL_Trace_SetFile(nullptr);
        return;
    }
    FUZZ_CHECK(instance->ctrl.pProviderPrivate != nullptr, "Init succeeded without a state block");
    CheckGetInfo(s, *instance);

    RunState run;
    run.pScenario = &s;
    run.pInstance = instance.get();
    run.sResolvedMethod = s.sServiceMethod == QRNP_METHOD_CTRLBLK ? instance->ctrl.sMethod : s.sServiceMethod;
    if (s.iSecondCallStart == 0) {
        ServeRows(run, 0, s.cells.size());
    } else {
        ServeRows(run, 0, s.iSecondCallStart);
        ServeRows(run, s.iSecondCallStart, s.cells.size());
    }

    auto* pNidCtrlBlk = static_cast<NidCtrlBlk*>(instance->ctrl.pProviderPrivate);
    FUZZ_CHECK(pNidCtrlBlk->FailedRowsCount == run.iFailedRows, "FailedRowsCount %d, %d rows failed",
               pNidCtrlBlk->FailedRowsCount, run.iFailedRows);
    FUZZ_CHECK(pNidCtrlBlk->SeviceCallCtr == run.iServiceCalls, "SeviceCallCtr %u after %u calls",
               pNidCtrlBlk->SeviceCallCtr, run.iServiceCalls);
    void* pHeapToken = pNidCtrlBlk->HeapToken;
    const uint32_t iEntries = instance->ctrl.pEAB->iEntryCount;

    const int32_t iTerminate = hostkit::TerminateInstance(*instance);
    const int64_t iCallsMade = KNL_Heap_CallCount() - iCalls0;
    KNL_Heap_FailNthCall(0);
    if (iTerminate == QRNP_MSG_HEAP_DISCARD_FAILED) {
        FUZZ_CHECK(s.iFailHeapCall > 0 && iCallsMade == s.iFailHeapCall, "4366 but the discard was not made to fail");
        FUZZ_CHECK(KNL_Heap_Discard(pHeapToken) == 0, "the heap Terminate could not discard is not whole");
    } else {
        const bool bWarn = run.iFailedRows > 0 && (instance->ctrl.sProcFlags & QRNP_PROC_PASS_INVALID) == 0;
        FUZZ_CHECK(iTerminate == (bWarn ? QRNP_WARNING : 0), "Terminate returned %d after %d failed rows", iTerminate,
                   run.iFailedRows);
    }
    FUZZ_CHECK(instance->ctrl.pEAB->iEntryCount == iEntries, "Terminate captured a message");
    FUZZ_CHECK(KNL_Heap_LiveHeaps() == iHeaps && KNL_Heap_LiveBlocks() == iBlocks,
               "Terminate left %lld heaps and %lld blocks", static_cast<long long>(KNL_Heap_LiveHeaps() - iHeaps),
               static_cast<long long>(KNL_Heap_LiveBlocks() - iBlocks));
    KNL_Trace_SetFile(nullptr);

    Revalidate(run);
}

void WarmUpProcessState() {
    for (uint32_t iCountry : testsupport::CountriesPresent()) {
        hostkit::InstanceOptions options;
        options.countrySwitch = testsupport::SwitchLetters(iCountry);
        options.sProcFlags = QRNP_PROC_VALIDATE_FULLY;
        for (uint16_t sMethod : {QRNP_METHOD_MASK, QRNP_METHOD_RANDOM}) {
            options.sMethod = sMethod;
            auto instance = hostkit::MakeInstance(Linked(), options);
            if (hostkit::InitInstance(*instance) != 0) continue;
            Batch batch;
            hostkit::FillBatch(*instance, {hostkit::CellValue{false, L"123456789"}}, &batch);
            hostkit::ServiceBatch(*instance, batch, sMethod);
            hostkit::TerminateInstance(*instance);
        }
    }
}
