// The options object of the SQL functions ({"validate": true, "parts":
// "sex,year", "on_reject": "null"}): the keys of a rules-file rule that
// concern one value, read into the host kit's MaskingSettings.
#ifndef NIDMASK_PG_OPTIONS_H
#define NIDMASK_PG_OPTIONS_H

#include <string>

#include "masking_settings.h"
#include "pg_bridge.h"

namespace nidmask_pg {

// Reads `json` (an object) into *pSettings and *pOnReject. False with a
// message naming the key at fault: not an object, an unknown key, a value
// of the wrong type or outside its choices.
bool ParseOptions(const std::string& json, hostkit::MaskingSettings* pSettings, NidmaskOnReject* pOnReject,
                  std::string* pError);

}  // namespace nidmask_pg

#endif
