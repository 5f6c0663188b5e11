#include "velmoVersion.h"

const char* velmoUtilVersion(void) { return VELMO_UTIL_VERSION_STRING; }
