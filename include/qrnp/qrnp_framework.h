// Host provider framework (libQRNProvider): what the provider library needs
// from the engine's framework, which it is linked against. The provider calls
// nothing here per row; the framework only identifies itself.
#ifndef QRNP_FRAMEWORK_H
#define QRNP_FRAMEWORK_H

#include "qrnp_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// The framework's version as "major.minor.patch"; a static string, never null.
QRNP_EXPORT const char* QRNPFrameworkVersion(void);

#ifdef __cplusplus
}
#endif

#endif
