// The whole host ABI in one include.
#ifndef QRNP_H
#define QRNP_H

#include "qrnp_common.h"
#include "qrnp_ctrlblk.h"
#include "qrnp_datacnv.h"
#include "qrnp_errors.h"
#include "qrnp_messages.h"
#include "qrnp_nidctrlblk.h"
#include "qrnp_os.h"
#include "qrnp_provider.h"
#include "qrnp_rowset.h"
#include "qrnp_svcdef.h"
#include "qrnp_tokens.h"
#include "qrnp_types.h"

#endif
