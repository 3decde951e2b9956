// Reading the service definition's operands into the state block.
#ifndef QRNP_PROVIDER_OPERANDS_H
#define QRNP_PROVIDER_OPERANDS_H

#include <qrnp/qrnp.h>

// The method operand (key 0x100B) of the first operand that carries it, else 0x1406.
uint16_t FindServiceMethod(const SvcDef* pSvcDef);

// Copies every per-country option operand into its slot of the country option
// blocks (a key met twice keeps its last value). After storing the United
// Kingdom form flags (0x180D) without bit 4 or 8, adds 8 when sMethod is 0x1407
// and 4 otherwise. Extension operands set their bits in iExtensions (0x1920
// = 1: the official rules; any other value clears it).
void CopyOptionOperands(const SvcDef* pSvcDef, uint16_t sMethod, NidCtrlBlk* pNidCtrlBlk);

// The operand after pOperand: its next pointer, or the record that follows it in memory.
inline const OprDef* NextOperand(const OprDef* pOperand) {
    return pOperand->pNext != nullptr ? pOperand->pNext : pOperand + 1;
}

#endif
