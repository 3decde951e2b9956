// Provider instances: the CtrlBlk, its column, switch, operands and error list.
#include <cstdlib>

#include "hostkit.h"

namespace hostkit {

namespace {

EAB* NewErrorList() { return static_cast<EAB*>(std::calloc(1, sizeof(EAB))); }

}  // namespace

Instance::~Instance() {
    if (ctrl.pEAB != nullptr && pEntryPoints != nullptr && pEntryPoints->TermErrors != nullptr)
        pEntryPoints->TermErrors(ctrl.pEAB);
}

std::unique_ptr<Instance> MakeInstance(const EntryPoints& entryPoints, const InstanceOptions& options) {
    auto instance = std::make_unique<Instance>();
    Instance& in = *instance;
    in.pEntryPoints = &entryPoints;
    in.options = options;

    in.column.sDataType = options.sDataType;
    in.column.iLength = options.iLength;
    in.column.sPrecision = options.sPrecision;
    in.column.pColName = in.options.columnName.c_str();
    in.column.pCnvBlk = options.bNoConversionBlock ? nullptr : &in.conversion;

    in.switchText = options.countrySwitch;
    in.ctrl.bDestFlag = options.bSeparateDestination ? 1 : 0;
    in.ctrl.sProcFlags = options.sProcFlags;
    in.ctrl.sMethod = options.sMethod;
    in.ctrl.sErrorLimit = options.sErrorLimit;
    in.ctrl.sSrcColIndex = options.sSrcColIndex;
    in.ctrl.pColumnDef = &in.column;
    in.ctrl.pEAB = NewErrorList();
    if (options.bSwitchIsWide) {
        in.ctrl.pSwitch = {QRNP_PARM_WSTRING, in.switchText.c_str()};
    } else {
        in.ctrl.pSwitch = {9, &in.iSwitchNumber};
    }

    if (options.bAddMethodOperand) in.operands.push_back(OprDef{nullptr, QRNP_OPR_METHOD, options.sMethod});
    for (const auto& [key, value] : options.operands) in.operands.push_back(OprDef{nullptr, key, value});
    // A plain array needs no links; a linked list is built in reverse memory
    // order so that "the record that follows" would be wrong if it were used.
    if (options.bOperandsAsList && in.operands.size() > 1) {
        std::vector<OprDef> reversed(in.operands.rbegin(), in.operands.rend());
        in.operands = reversed;
        for (size_t i = in.operands.size() - 1; i > 0; --i) in.operands[i].pNext = &in.operands[i - 1];
        in.svc.pOperands = &in.operands.back();
    } else {
        in.svc.pOperands = in.operands.empty() ? nullptr : in.operands.data();
    }
    in.svc.sOperandCount = static_cast<uint16_t>(in.operands.size());
    return instance;
}

int32_t InitInstance(Instance& instance) { return instance.pEntryPoints->Init(&instance.ctrl, &instance.svc); }

int32_t TerminateInstance(Instance& instance) { return instance.pEntryPoints->Terminate(&instance.ctrl); }

void ResetErrors(Instance& instance) {
    if (instance.ctrl.pEAB != nullptr) instance.pEntryPoints->TermErrors(instance.ctrl.pEAB);
    instance.ctrl.pEAB = NewErrorList();
}

}  // namespace hostkit
