// Built when the simulator is not: there is no receipt benchmark then.
#include "bench/Support.h"

void bench::registerReceipt() {}
