#include "gensize/GenSize.h"

// 0 until GenSizeInit finds "vendor.debug.velmoUtil.gensize.debuglevel".
int GENSIZE::debugLevel = 0;
