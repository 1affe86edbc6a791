#ifndef VERDA_COMMON_RECEIPT_FLOW_H
#define VERDA_COMMON_RECEIPT_FLOW_H

// A whole receipt on one register through the C interface, for the programs
// that sell (the tool's `verda receipt`, the server's receipts): one set of
// types for its lines, adjustments and payments, and one sequence.
//
//   open ─► sale lines ─► free text lines ─► subtotal ─► payments ─► close
//
//   A correction receipt has no lines and no payments of its own: its
//   opening, one payment with its sums by tax group, and its closing
//   (correct()).
//
//   - A sale line is sold by name and price, or by its code in the
//     register's article database, which holds its name, price, tax and
//     department.
//   - The receipt's discount or surcharge goes with the subtotal, whose
//     total is then what is due.
//   - A payment is of a given amount, or of what is still due: the total at
//     first, then what the register answers is still due after each payment.
//     Without payments the receipt is paid in cash, of what is due.
//   - The register answers each payment with "D" while a sum is still due,
//     "R" with the change once paid in full. A receipt still due after the
//     last payment is not closed: its payments fall short (Failure::unpaid).
//   - After a refusal, at any step once the receipt is open (closing
//     included), the receipt is cancelled, so that the register is free
//     again. After a lost link nothing more is tried: a cancel would only
//     wait out the timeout once more, and the caller settles it.
//   - Closing is the step that fiscalises the receipt: a link lost there
//     leaves unknown whether the register has it, which only the register
//     can tell afterwards (its last fiscal document in the drive).
//
// Not part of the library; it uses only capi/verda.h.

#include <iterator>
#include <string>
#include <vector>

#include "capi/verda.h"
#include "common/Codes.h"

namespace receipt {

// The register's kinds of receipt and payment modes are named in
// common/Codes.h (codes::kReceiptType, codes::kPaymentMode); its payment
// modes are 0 to kLastMode.
const int kLastMode = std::end(codes::kPaymentMode)[-1].value;

// A discount or a surcharge in the register's terms: a DiscountKind
// (VERDA_DISCOUNT_...) and its value.
struct Adjustment {
    char kind = VERDA_DISCOUNT_NONE;
    double value = 0;
};

// The largest number of a line's attribute (its unit, subject or method)
// that the programs take: the register's numbers have at most three digits.
const int kLargestAttribute = 999;

// One sale line.
struct Line {
    int article = 0;   // a code of the register's article database; 0: sold by name
    std::string name;  // UTF-8; by name only
    double price = 0;  // by name only
    double quantity = 1;
    char tax = VERDA_TAX_GROUP_1;  // the register's tax group, one byte; by name only
    int department = 1;            // by name only
    Adjustment adjustment;         // on this line
    // The line's attributes, numbers whose meaning is the register's; 0 for
    // none (by name only).
    int unit = VERDA_UNIT_NONE;        // its unit of measure (Unit)
    int subject = VERDA_SUBJECT_NONE;  // what it sells (Sign)
    int method = VERDA_METHOD_NONE;    // how it is settled (SignPay)
};

// A line printed after the sale lines: text, or a bar code. A text of more
// than 32 characters is attached to the receipt (SetFiscalInvParam, as a
// text), which the register prints across its paper: 48 columns on a wide
// model, where its free text line would be cut at 32.
struct TextLine {
    std::string text;  // UTF-8 text, or the bar code's content (printable ASCII)
    char barcode = 0;  // 0: a line of text; else a bar code of this kind (PrintBarCode's Type)
};

// One payment.
struct Payment {
    int mode = VERDA_PAYMENT_CASH;  // a PaymentMode, up to kLastMode
    double amount = 0;              // 0: what is still due
};

// Who works the register for the receipt.
struct Cashier {
    int number = 1;  // the register's operator
    std::string password = "1";
    int till = 1;
    std::string name;  // UTF-8, printed; when given, the register works as its operator 30
    std::string inn;   // the cashier's tax number (OperInn), 10 or 12 digits; empty for none
};

struct Order {
    int type = VERDA_RECEIPT_SALE;  // a ReceiptType
    Cashier cashier;
    std::vector<Line> lines;
    std::vector<TextLine> text;     // printed after the sale lines
    Adjustment adjustment;          // on the whole receipt, with the subtotal
    std::vector<Payment> payments;  // none: cash, what is due
    // Sent to the register byte for byte, so printable ASCII: the buyer's
    // telephone or e-mail address for an electronic receipt (Buyer), and the
    // shop's tax system as the register names it (VatSystem); empty for none.
    std::string buyer;
    std::string taxSystem;
};

// A correction receipt: its opening (type a CorrectionType, the cashier,
// buyer and tax system of an Order), then one payment of the amount with the
// sums by tax group, as TotalCorrecion takes them.
struct Correction {
    int type = VERDA_CORRECTION_SALE;
    Cashier cashier;
    std::string buyer;
    std::string taxSystem;
    int mode = VERDA_PAYMENT_CASH;
    double amount = 0;
    double sums[6] = {0, 0, 0,
                      0, 0, 0};  // Tax_18, Tax_10, Corr_0, Corr_noNDS, Tax_18_118, Tax_10_110
};

// The steps of the sequence.
enum class Stage { Open, Line, Text, Subtotal, Payment, Close };

// What the register has answered so far.
struct Progress {
    int slip = 0;              // the receipt's number
    double total = 0;          // the subtotal's, adjustment included
    double due = 0;            // still to pay, from the subtotal on
    std::vector<double> paid;  // the amount of each payment taken, as sent
    bool changeGiven = false;  // the last payment was answered with change ("R")
    double change = 0;
};

// A receipt closed by the register.
struct Closed {
    int slip = 0;
    int fiscalDocument = 0;
    std::string sign;  // the fiscal sign, UTF-8
    int document = 0;  // as the register gives them with the closing: 0 when it gives none
    int shift = 0;
};

// What became of the receipt after a failure.
enum class Aftermath {
    NotOpened,     // the register refused to open it
    Cancelled,     // it was cancelled after the refusal
    NotCancelled,  // the register refused to cancel it, or its link failed then
    MaybeOpen,     // the link was lost (also while opening): it may be open
    Unknown,       // the link was lost while closing: it may be fiscalised
};

struct Failure {
    Stage stage = Stage::Open;
    int index = -1;         // the line, text line or payment (its index in the order); -1 else
    std::string operation;  // the C interface's operation, "RegisterSale"
    int code = 0;           // its result; 0 when the payments fall short
    bool unpaid = false;    // the payments fall short by Progress::due
    Aftermath aftermath = Aftermath::NotOpened;
    int cancelledSlip = 0;  // the number CancelFiscalInv gave

    bool linkLost() const { return code == VERDA_EXCHANGE_FAILED; }
};

struct Outcome {
    bool closed = false;
    Progress progress;
    Closed receipt;   // when closed
    Failure failure;  // when not
};

// What a caller learns while the receipt runs. The flow calls each at most
// once per step, on the caller's thread; an exception from one passes
// through and stops the flow where it stands, without a cancel.
class Observer {
  public:
    virtual ~Observer() = default;
    // Before the first command that changes the register, the opening.
    virtual void sending() {}
    // After each step that the register took: a line, text line or payment
    // with its index, the others with -1.
    virtual void step(Stage /*stage*/, int /*index*/, const Progress& /*progress*/) {}
    // Just before the closing, which may fiscalise the receipt.
    virtual void closing(const Progress& /*progress*/) {}
    // After every call of the C interface, with its result (for counting
    // exchanges and failures).
    virtual void called(const char* /*operation*/, int /*result*/) {}
};

// Runs the order on device, whose link is open and initialised
// (verda_PrinterInit). Texts must suit the register: a line the C interface
// refuses (VERDA_NOT_IN_CODE_PAGE) is a refusal of that line.
Outcome sell(verda_device* device, const Order& order, Observer& observer);
Outcome sell(verda_device* device, const Order& order);
// Runs a correction receipt the same way: its steps are Open, Payment (index
// 0) and Close, with the same cancel after a refusal.
Outcome correct(verda_device* device, const Correction& correction, Observer& observer);

}  // namespace receipt

#endif
