#ifndef VERDA_WIRE_RESULTCODES_H
#define VERDA_WIRE_RESULTCODES_H

/* The result codes of the driver's operations, valid C and C++: part of the
   protocol core, which the driver and the simulator share, and public (the
   C++ interface and the C interface reach it through api/ResultCodes.h).

   An operation gives 0 on success, the failed exchange, the licence
   refusal, -1 where its reply carried an empty result field, or any other
   positive number: the register's own error (ReadingError explains it). */

enum verda_result_code {
    VERDA_OK = 0,
    VERDA_EXCHANGE_FAILED = 100001, /* no valid reply after every repeat */
    VERDA_LICENCE_REFUSED = 100050, /* the licence check refused the call */
    VERDA_EMPTY_RESULT = -1         /* the reply's result field was empty */
};

#endif
