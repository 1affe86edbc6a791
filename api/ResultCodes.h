#ifndef VERDA_API_RESULTCODES_H
#define VERDA_API_RESULTCODES_H

/* The result codes of the driver's operations (VERDA_OK and the others),
   valid C and C++. They belong to the protocol core, which the driver and the
   simulator share; clients have always found them here. */

#include "wire/ResultCodes.h"

#endif
