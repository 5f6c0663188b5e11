#include "vwmt/VectWarpMapTrans.h"
