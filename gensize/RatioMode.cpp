#include "gensize/GenSize.h"

// Overwritten by every GenSizeInit call.
int gRatioMode = 0;
