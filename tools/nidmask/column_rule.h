// What one masked column gets: the country, the method, the provider's
// settings and what becomes of its rejected rows. A command line describes
// one such rule; everything else in Options is file-wide.
#ifndef NIDMASK_COLUMN_RULE_H
#define NIDMASK_COLUMN_RULE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <qrnp/qrnp.h>

#include "country_operands.h"

namespace nidmask {

// What becomes of a rejected row: left out (drop), written as an empty
// value, written as NULL, or the run stops and writes nothing (fail).
enum class RejectAction { Drop, Empty, Null, Fail };

struct ColumnRule {
    std::string column;                 // csv: header name or 1-based number; db: column name
    std::string table;                  // db: the table
    std::string countrySwitch;          // the text the provider reads (UTF-8 here, wide for the provider)
    uint16_t sServiceMethod = QRNP_METHOD_MASK;  // what Service is called with
    uint16_t sCtrlMethod = QRNP_METHOD_MASK;     // the CtrlBlk method and operand 0x100B
    uint16_t sProcFlags = 0;
    std::vector<Operand> operands;      // named settings first, then raw operands in order
    std::optional<int16_t> dataType;    // unset: VARCHAR, or from the database column
    int32_t iLength = 32;
    bool bInPlace = false;
    std::optional<RejectAction> onReject;  // unset: the format's default
    bool bFillNull = false;             // random: generate for NULL and empty rows too

    bool IsRandom() const { return sCtrlMethod == QRNP_METHOD_RANDOM; }
};

}  // namespace nidmask

#endif
