#ifndef VERDA_SIM_ERRORS_H
#define VERDA_SIM_ERRORS_H

// The refusals of the simulated register. On the wire each is the first reply
// field, negative: "-111016". The numbers are the register's own catalogue,
// the one the driver explains with ReadingError.

#include <string>

namespace sim {

namespace err {
const int kNoRecords = 100005;
const int kEndOfData = 100003;
const int kFiscalMemoryFull = 100108;
const int kEmptyRange = 100110;
const int kWrongData = 101011;
const int kWrongTime = 101008;
const int kWrongFormat = 101010;
const int kWrongPassword = 102002;
const int kArticleBarcodeExists = 103002;
const int kArticleBaseFull = 103003;
const int kArticleHasTurnover = 103004;
const int kCloseShift = 104000;
const int kServicePassword = 104002;
const int kForbidden = 104003;
const int kNoJournalRecords = 105000;
const int kNotFiscalized = 110104;
const int kFiscalized = 110105;
const int kShiftOpen = 110108;
const int kShiftClosed = 110109;
const int kWrongParameters = 110301;
const int kDriveExpired = 110905;
const int kNoArticle = 111004;
const int kTaxForbidden = 111005;
const int kDepartmentRange = 111009;
const int kReceiptOpen = 111015;
const int kReceiptClosed = 111016;
const int kNoCash = 111017;
const int kPaymentStarted = 111018;
const int kNoSales = 111023;
const int kShiftOver24h = 111024;
const int kZeroAmount = 111030;
const int kValueTooBig = 111031;
const int kWrongIndex = 111043;
const int kServiceDocOpen = 111046;
const int kFiscalReceiptOpen = 111047;
const int kNotPaid = 111050;
const int kReceiptType = 111051;
const int kPaymentForbidden = 111061;
const int kOverpaid = 111063;
const int kNegativePrice = 111071;
const int kOutOfStock = 111080;
const int kUnknownCommand = 112000;
const int kSyntax = 112001;
const int kWrongDateTime = 112004;
}  // namespace err

// A command refused: thrown inside a command and answered as its number.
struct Refusal {
    int code;
};

// The register's text for one of its numbers, CP866; empty for a number
// it does not know.
std::string errorText(int code);

}  // namespace sim

#endif
