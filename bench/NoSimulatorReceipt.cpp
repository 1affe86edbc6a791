// Built when the simulator is not: there are no receipt and C interface
// benchmarks then.
#include "bench/Support.h"

void bench::registerReceipt() {}
void bench::registerCapi() {}
