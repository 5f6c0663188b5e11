#include "gensize/GenSize.h"

namespace GENSIZE {
int debugLevel = 0;
}  // namespace GENSIZE

int gRatioMode = 0;
