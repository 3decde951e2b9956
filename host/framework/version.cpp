// The framework's identification.
#include <qrnp/qrnp_framework.h>

const char* QRNPFrameworkVersion(void) {
    return "1.0.0";
}
