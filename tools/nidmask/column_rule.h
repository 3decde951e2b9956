// What one masked column gets: where it is, how it is masked (the host
// kit's MaskingSettings) and what becomes of its rejected and NULL rows. A
// command line describes one rule, a rules file several; everything else in
// Options is file-wide.
#ifndef NIDMASK_COLUMN_RULE_H
#define NIDMASK_COLUMN_RULE_H

#include <map>
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
    std::string keyFile;                // encrypt, decrypt: the file the key was read from
    std::optional<RejectAction> onReject;  // unset: the format's default
    bool bFillNull = false;             // random: generate for NULL and empty rows too
    std::string origin;                 // "rules.toml:12", or "the command line", for messages
    std::map<std::string, std::string> keyOrigins;  // rules-file key -> where it was set ("rules.toml:14")

    // Where `key` (a rules-file key: "parts", "area_table") was set: its own
    // line, the command line when an option overrode it, else the rule's line.
    const std::string& Origin(const std::string& key) const {
        const auto it = keyOrigins.find(key);
        return it != keyOrigins.end() ? it->second : origin;
    }

    bool IsRandom() const {
        return masking.method == "random" || (masking.method == "ctrl" && masking.ctrlMethod == "random");
    }
    // "fr_nir", or "person.fr_nir" in a database.
    std::string Label() const { return table.empty() ? column : table + "." + column; }
};

}  // namespace nidmask

#endif
