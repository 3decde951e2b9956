#include "bench_support.h"

#include <algorithm>

#include "hostkit_linked.h"

namespace bench {

const hostkit::EntryPoints& Provider() {
    static const hostkit::EntryPoints ep = hostkit::LinkedEntryPoints();
    return ep;
}

hostkit::InstanceOptions OptionsFor(const Setup& setup) {
    hostkit::InstanceOptions options;
    options.countrySwitch = std::wstring(setup.country.begin(), setup.country.end());
    options.sMethod = setup.sMethod;
    options.sProcFlags = setup.sProcFlags;
    options.sDataType = setup.sDataType;
    options.iLength = 32;
    options.operands = setup.operands;
    return options;
}

std::unique_ptr<hostkit::Instance> ReadyInstance(const Setup& setup, int32_t* piInit) {
    auto instance = hostkit::MakeInstance(Provider(), OptionsFor(setup));
    const int32_t iInit = hostkit::InitInstance(*instance);
    if (piInit != nullptr) *piInit = iInit;
    if (iInit != 0) return nullptr;
    return instance;
}

bool Serves(const std::string& country) {
    Setup setup;
    setup.country = country;
    auto instance = ReadyInstance(setup);
    if (instance == nullptr) return false;
    hostkit::TerminateInstance(*instance);
    return true;
}

std::vector<hostkit::CellValue> NullCells(int count) {
    return std::vector<hostkit::CellValue>(static_cast<size_t>(count), hostkit::CellValue{true, L""});
}

std::vector<hostkit::CellValue> Cells(const std::vector<std::wstring>& texts) {
    std::vector<hostkit::CellValue> cells;
    cells.reserve(texts.size());
    for (const std::wstring& text : texts) cells.push_back(hostkit::CellValue{false, text});
    return cells;
}

std::vector<std::wstring> GenerateIdentifiers(const Setup& setup, int count) {
    // Made by the random method, kept when full validation accepts them: a
    // generator may write numbers that masking refuses (an Italian day 00).
    Setup random{setup.country, setup.sDataType, QRNP_METHOD_RANDOM, 0, setup.sourceOperands};
    Setup check{setup.country, setup.sDataType, QRNP_METHOD_MASK, QRNP_PROC_VALIDATE_FULLY, setup.sourceOperands};
    auto generator = ReadyInstance(random);
    auto checker = ReadyInstance(check);
    if (generator == nullptr || checker == nullptr) return {};
    std::vector<std::wstring> identifiers;
    identifiers.reserve(static_cast<size_t>(count));
    hostkit::Batch batch;
    hostkit::Batch checked;
    for (int iRound = 0; static_cast<int>(identifiers.size()) < count; ++iRound) {
        if (iRound > 10 + 2 * count / kRowsPerRowset) return {};  // hardly anything passes: give up
        hostkit::FillBatch(*generator, NullCells(kRowsPerRowset), &batch);
        if (hostkit::ServiceBatch(*generator, batch, QRNP_METHOD_RANDOM) != 0) return {};
        std::vector<std::wstring> made;
        for (int i = 0; i < kRowsPerRowset; ++i) {
            hostkit::RowResult row = hostkit::ReadRow(*generator, batch, i);
            if (!row.output) return {};
            made.push_back(*row.output);
        }
        hostkit::FillBatch(*checker, Cells(made), &checked);
        hostkit::ServiceBatch(*checker, checked, QRNP_METHOD_MASK);
        hostkit::ResetErrors(*checker);
        for (int i = 0; i < kRowsPerRowset && static_cast<int>(identifiers.size()) < count; ++i) {
            const hostkit::RowResult row = hostkit::ReadRow(*checker, checked, i);
            if (row.iStatus == 0 && !row.bRejected) identifiers.push_back(made[static_cast<size_t>(i)]);
        }
    }
    hostkit::TerminateInstance(*generator);
    hostkit::TerminateInstance(*checker);
    return identifiers;
}

Operands KeyOperands() {
    Operands operands;
    for (uint16_t i = 0; i < 16; ++i) operands.emplace_back(QRNP_OPR_KEY_FIRST + i, 0x1234u * (i + 1) & 0xFFFFu);
    for (uint16_t i = 0; i < 8; ++i) operands.emplace_back(QRNP_OPR_TWEAK_FIRST + i, 0x4321u * (i + 3) & 0xFFFFu);
    return operands;
}

void ResetTaken(hostkit::Batch& batch) {
    for (Row& row : batch.rows) row.bTaken = 0;
}

int CountFailedRows(const hostkit::Batch& batch, int32_t* piFirstStatus) {
    int iFailed = 0;
    for (size_t r = 0; r < batch.rows.size(); ++r) {
        const FieldDef& cell = batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + static_cast<size_t>(batch.sourceCell)];
        if (batch.rows[r].bError == 0 && cell.iStatus == 0) continue;
        if (iFailed == 0 && piFirstStatus != nullptr) *piFirstStatus = cell.iStatus;
        ++iFailed;
    }
    return iFailed;
}

}  // namespace bench
