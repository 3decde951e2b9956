// What one masked column gets: where it is, how it is masked (the host
// kit's MaskingSettings) and what becomes of its rejected and NULL rows. A
// command line describes one rule, a rules file several; everything else in
// Options is file-wide.
#ifndef NIDMASK_COLUMN_RULE_H
#define NIDMASK_COLUMN_RULE_H

#include <optional>
#include <string>

#include "masking_settings.h"

namespace nidmask {

// What becomes of a rejected row: left out (drop), written as an empty
// value, written as NULL, or the run stops and writes nothing (fail).
enum class RejectAction { Drop, Empty, Null, Fail };

struct ColumnRule {
    std::string column;                 // csv: header name or 1-based number; db: column name
    std::string table;                  // db: the table
    hostkit::MaskingSettings masking;
    std::optional<RejectAction> onReject;  // unset: the format's default
    bool bFillNull = false;             // random: generate for NULL and empty rows too
    std::string origin;                 // "rules.toml:12", or "the command line", for messages

    bool IsRandom() const {
        return masking.method == "random" || (masking.method == "ctrl" && masking.ctrlMethod == "random");
    }
    // "fr_nir", or "person.fr_nir" in a database.
    std::string Label() const { return table.empty() ? column : table + "." + column; }
};

}  // namespace nidmask

#endif
