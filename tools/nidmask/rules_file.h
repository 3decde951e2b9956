// The rules file (--rules FILE): TOML with file-wide settings at the top and
// one [[rule]] table per masked column.
//
//   format = "csv"            # lines, csv or tsv
//   delimiter = ";"           # , ; | or tab
//   header = true             # the first record is (true) or is not (false) a header
//   null = "\\N"
//   batch = 1000
//
//   [[rule]]
//   column = "fr_nir"         # a name, or a 1-based number
//   country = "FR"
//   table = "person"          # databases
//   method = "mask"           # mask, random, encrypt or decrypt
//   validate = true
//   pass_invalid = false
//   parts = "sex,year"        # as --parts
//   separator = "keep"        # keep, none, dot, dash, space
//   form = 5                  # UK: 3 or 5
//   area_table = 2008         # US: 2006, 2008 or 2010
//   type = "VARCHAR"
//   length = 32
//   on_reject = "empty"       # empty, null, drop, fail
//   fill_null = false
//   official = true           # the identifiers' current official rules
//   key_file = "secret.key"   # method encrypt or decrypt: the key
//   tweak = "person.nir"      # ... and a text that gives other results per context
//   options = { "0x1801" = 31 }   # raw operands
#ifndef NIDMASK_RULES_FILE_H
#define NIDMASK_RULES_FILE_H

#include <optional>
#include <string>
#include <vector>

#include "column_rule.h"

namespace nidmask {

// The file-wide settings a rules file may give (unset: not given).
struct RulesFileSettings {
    std::optional<std::string> format;     // lines, csv, tsv
    std::optional<char> cDelimiter;
    std::optional<bool> bHeader;
    std::optional<std::string> nullText;
    std::optional<int> iBatch;
};

// Reads `path`. False with a message naming the file, the line and the key
// at fault: a syntax error, an unknown key, a value of the wrong type or
// outside its choices, a rule without a column or country. Each rule's
// origin is "FILE:LINE" of its [[rule]] table.
bool ReadRulesFile(const std::string& path, RulesFileSettings* pSettings, std::vector<ColumnRule>* pRules,
                   std::string* pError);

}  // namespace nidmask

#endif
