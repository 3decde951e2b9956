// The trace component under which the common services record their events.
#ifndef QRNP_COMMON_CMN_TRACE_H
#define QRNP_COMMON_CMN_TRACE_H

#include "common/trace.h"

// Component name of every trace written by common/.
inline constexpr const char* kCmnComp = "QRNPCmnIncludesS";

#endif
