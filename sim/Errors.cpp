#include "sim/Errors.h"

#include "sim/Paper.h"
#include "wire/ErrorCatalogue.h"

namespace sim {

namespace {

// The numbers the simulated register refuses with: it knows the texts of
// these, and of no other.
const int kKnown[] = {
    err::kEndOfData,
    err::kNoRecords,
    err::kFiscalMemoryFull,
    err::kEmptyRange,
    err::kWrongTime,
    err::kWrongFormat,
    err::kWrongData,
    err::kWrongPassword,
    err::kArticleBarcodeExists,
    err::kArticleBaseFull,
    err::kArticleHasTurnover,
    err::kCloseShift,
    err::kServicePassword,
    err::kForbidden,
    err::kNoJournalRecords,
    err::kNotFiscalized,
    err::kFiscalized,
    err::kShiftOpen,
    err::kShiftClosed,
    err::kWrongParameters,
    err::kDriveExpired,
    err::kNoArticle,
    err::kTaxForbidden,
    err::kDepartmentRange,
    err::kReceiptOpen,
    err::kReceiptClosed,
    err::kNoCash,
    err::kPaymentStarted,
    err::kNoSales,
    err::kShiftOver24h,
    err::kZeroAmount,
    err::kValueTooBig,
    err::kWrongIndex,
    err::kServiceDocOpen,
    err::kFiscalReceiptOpen,
    err::kNotPaid,
    err::kReceiptType,
    err::kPaymentForbidden,
    err::kOverpaid,
    err::kNegativePrice,
    err::kOutOfStock,
    err::kUnknownCommand,
    err::kSyntax,
    err::kWrongDateTime,
};

}  // namespace

std::string errorText(int code) {
    for (int known : kKnown) {
        if (known != code) continue;
        const char* text = ::errorText(code);
        return text != nullptr ? dev(text) : std::string();
    }
    return std::string();
}

}  // namespace sim
