#ifndef VERDA_CAPI_VERDA_H
#define VERDA_CAPI_VERDA_H

/* The C interface of libCorteliaVERDA: one handle per register.

   Plain C (C99 and C++), for programs in any language that can call C, and
   for C++ programs built against another standard library. Each handle is a
   register driver of its own, with its own link, sequence number, status,
   timeout and log folder; several handles work in one process at once, from
   several threads. Calls on one handle from several threads are serialised.

       verda_device* d = verda_device_new();
       int rc = verda_open_socket(d, "192.168.0.50", 4999);
       if (rc == VERDA_OK) rc = verda_PrinterInit(d);
       if (rc == VERDA_OK) rc = verda_OpenShift(d, 1, "1", 1, "", "", "", "", &nFD, &sign, &shift);
       if (rc != VERDA_OK) fprintf(stderr, "%d: %s\n", rc, verda_error_text(rc));
       verda_device_free(d);

   Results. Every function that returns an int returns 0 (VERDA_OK) on
   success. An operation returns what its member of the C++ class VR35 returns:
   0, the register's own error number (positive), VERDA_EXCHANGE_FAILED
   (100001: no valid reply after five sends) or, for the few operations whose
   line says so, VERDA_EMPTY_RESULT (-1). Codes below -1 are the interface's
   own (enum verda_interface_code below). verda_error_text gives a Russian
   text for every code.

   Parameters of an operation are the member's, in its order:
     - a text input (std::string) is const char*, NUL-terminated UTF-8;
     - int, double and char inputs are passed as they are; a char is one raw
       byte of the request ('1' sends 0x31);
     - int*, double*, char*, bool* and long* are outputs (inout where the
       reference says so), never NULL;
     - a text output is two parameters, char* Name and size_t Name_size: the
       text in UTF-8, NUL-terminated, cut at a character boundary to fit
       Name_size bytes. VERDA_TEXT_MAX bytes always suffice. A cut text gives
       VERDA_BUFFER_TOO_SMALL when the operation itself succeeded; the other
       outputs are set all the same.
   After the operation has run, every text output is written, also when it
   failed (empty then, but for the catalogue text of verda_ReadingError); the
   numeric outputs behave as the member's do, which clears some before the
   exchange and leaves others as the caller had them (docs/api.md tells which
   for each operation).

   Text. Each text travels in the form its member takes or gives (the
   reference names it per parameter), and the interface converts between
   UTF-8 and that form:
     - "fromASCIItoDOS" inputs are converted to the application's code page
       (Cyrillic as in CP1251), which the member turns into the register's;
       they carry printable ASCII and the Russian letters; Ё and ё become Е
       and е, since the register's conversion has no place for them;
     - "as-is" inputs go to the register unchanged, so the interface converts
       them to the register's code page (CP866) itself;
     - a control character (a tab would split a request field) or any other
       character that has no place in the register's code page gives
       VERDA_NOT_IN_CODE_PAGE, and text that is not UTF-8 VERDA_INVALID_UTF8,
       before anything is sent;
     - "as-is" outputs are CP866 as the register sent it; "fromDOStoASCII"
       outputs are Cyrillic letters reduced to the second byte of their UTF-8
       form, whose first byte the interface puts back.

   Exceptions never leave the interface: a reply too short for its header
   gives VERDA_REPLY_TOO_SHORT, a lack of memory VERDA_OUT_OF_MEMORY.

   The reference of every operation is docs/c-api.md; its parameters can also
   be listed, and any operation called by name, at run time (verda_call). */

#include <stdbool.h>
#include <stddef.h>

#include "api/ResultCodes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The interface's own result codes, beside those of api/ResultCodes.h. */
enum verda_interface_code {
    VERDA_NULL_ARGUMENT = -2,      /* a NULL handle, text or output pointer */
    VERDA_INVALID_UTF8 = -3,       /* an input text that is not UTF-8 */
    VERDA_NOT_IN_CODE_PAGE = -4,   /* a character with no place in the register's code page */
    VERDA_BUFFER_TOO_SMALL = -5,   /* an output text was cut to fit its buffer */
    VERDA_REPLY_TOO_SHORT = -6,    /* a reply too short for its header */
    VERDA_OUT_OF_MEMORY = -7,      /* memory ran out */
    VERDA_INVALID_ARGUMENT = -8,   /* a value out of its range (port, timeout, folder, ...) */
    VERDA_OPEN_FAILED = -9,        /* the serial line or the connection could not be opened */
    VERDA_UNKNOWN_HOST = -10,      /* the host name has no IPv4 address */
    VERDA_UNKNOWN_OPERATION = -11, /* verda_call: no operation of that name */
    VERDA_INTERNAL_ERROR = -12     /* an unexpected failure inside the library */
};

/* The largest output text, in bytes with its NUL: a reply field of the
   largest frame, every byte of it three bytes of UTF-8. */
#define VERDA_TEXT_MAX 196453

/* --- The register's codes ------------------------------------------------- */

/* The values that parameters of the operations take, named once (see
   docs/codes.md): a code sent as a number is an int, one sent as a byte is
   the character of a char parameter. Enum constants add no symbols. */

/* BEGIN GENERATED CODES (capi/generate.py from capi/codes.txt) */

/* ReceiptType: The kind of receipt that OpenFiscalInv opens. The four kinds of turnover are
   counted apart in the register's totals and reports (PrintReport's Sum, Ret, Purch and RetPurch
   groups). A correction receipt is opened with a CorrectionType in the same parameter. Taken by
   OpenFiscalInv's ReceiptType; docs/codes.md tells more. */
enum verda_receipt_type {
    /* (the simulated register) A sale to a customer (приход): printed under ПРИХОД; its cash
       goes into the drawer. (sale) */
    VERDA_RECEIPT_SALE = 0,
    /* (the simulated register) A customer's return of a sale (возврат прихода): ВОЗВРАТ ПРИХОДА;
       its cash comes out of the drawer, which must hold it. (return) */
    VERDA_RECEIPT_RETURN = 1,
    /* (the simulated register) The shop pays someone (расход), for instance for goods bought
       from a customer: РАСХОД; its cash comes out of the drawer. (purchase) */
    VERDA_RECEIPT_PURCHASE = 2,
    /* (the simulated register) A purchase given back (возврат расхода): ВОЗВРАТ РАСХОДА; its
       cash goes into the drawer. (purchase-return) */
    VERDA_RECEIPT_PURCHASE_RETURN = 3,
    /* Opens a shift instead of a receipt; OpenFiscalInv then hands back no numbers (OpenShift
       sends the same request and gives them). */
    VERDA_RECEIPT_SHIFT = 4
};

/* CorrectionType: A correction receipt books what should have been booked before, by its sums
   alone: OpenFiscalInv with one of these as its ReceiptType, then one TotalCorrecion with the
   payment mode, the amount and the sums by tax group (in order Tax_18, Tax_10, Corr_0,
   Corr_noNDS, Tax_18_118, Tax_10_110, which the simulated register books as the tax groups 1 to
   6 and prints as СУММА A to СУММА F), then CloseFiscalInv. It takes no sale lines and no Total.
   Taken by OpenFiscalInv's ReceiptType; docs/codes.md tells more. */
enum verda_correction_type {
    /* (the simulated register) Corrects sales (коррекция прихода): КОРРЕКЦИЯ ПРИХОДА; its cash
       goes into the drawer. (sale) */
    VERDA_CORRECTION_SALE = 5,
    /* (the simulated register) Corrects purchases (коррекция расхода): КОРРЕКЦИЯ РАСХОДА; its
       cash comes out of the drawer. (purchase) */
    VERDA_CORRECTION_PURCHASE = 6
};

/* DiscountKind: The kind of a discount or surcharge, with its value: on a sale line
   (RegisterSale, RegisterArticleSale) or on the whole receipt (Subtotal). The driver knows only
   '0', and writes "no discount" differently for each operation; every other byte goes through as
   given. The simulated register reads the value without its sign: the kind decides the
   direction. A RegisterSale whose kind is '0' but whose DiscSum is not 0 is a discount of that
   sum there. verda-server's JSON gives an adjustment as "discount": {"percent": N} or {"sum":
   N}, and "surcharge" alike; these names are the kinds those objects choose. Taken by
   RegisterSale's DiscountType, RegisterArticleSale's DiscountType, Subtotal's DiscountType;
   docs/codes.md tells more. */
enum verda_discount_kind {
    /* No discount: RegisterSale sends '0' (also whenever the value is below 0.000001),
       RegisterArticleSale leaves the value out, Subtotal leaves both fields empty. (none) */
    VERDA_DISCOUNT_NONE = '0',
    /* (the simulated register) A discount in percent (at most 100): printed as СКИДКА with the
       percentage. (discount-percent) */
    VERDA_DISCOUNT_PERCENT = '1',
    /* (the simulated register) A discount of a sum: СКИДКА; never more than the line (a
       receipt's leaves something to pay). (discount-sum) */
    VERDA_DISCOUNT_SUM = '2',
    /* (the simulated register) A surcharge in percent (at most 100): НАДБАВКА.
       (surcharge-percent) */
    VERDA_DISCOUNT_SURCHARGE_PERCENT = '3',
    /* (the simulated register) A surcharge of a sum: НАДБАВКА. (surcharge-sum) */
    VERDA_DISCOUNT_SURCHARGE_SUM = '4'
};

/* PaymentMode: How a payment is made, for Total (and TotalCorrecion). The driver sends the
   number as it is. The simulated register takes 0 to 5 and prints each mode by its parameter
   PayName (index: the mode), whose texts on a new register are given below; a shop may rename
   them with Programming. verda-server and verda receipt name cash and card; the others are given
   by their numbers. Taken by Total's PaidMode, TotalCorrecion's PaidMode; docs/codes.md tells
   more. */
enum verda_payment_mode {
    /* (the simulated register) Cash (НАЛИЧНЫМИ): the only mode that may pay more than is due and
       give change; it goes into or out of the drawer. (cash) */
    VERDA_PAYMENT_CASH = 0,
    /* (the simulated register) A payment card (КАРТОЙ): never more than is due. (card) */
    VERDA_PAYMENT_CARD = 1,
    /* (the simulated register) КРЕДИТ: never more than is due. */
    VERDA_PAYMENT_CREDIT = 2,
    /* (the simulated register) АВАНС (an advance paid before): never more than is due. */
    VERDA_PAYMENT_ADVANCE = 3,
    /* (the simulated register) ВСТРЕЧНО (in kind): never more than is due. */
    VERDA_PAYMENT_CONSIDERATION = 4,
    /* (the simulated register) ТАРА (returnable containers): never more than is due. */
    VERDA_PAYMENT_CONTAINER = 5
};

/* PaymentStatus: What the register answers a payment (Total's ErrorStatus), with the amount that
   goes with it (NewAmount). The driver reads that amount only after these three; after any other
   answer ErrorStatus is a space. Taken by Total's ErrorStatus; docs/codes.md tells more. */
enum verda_payment_status {
    /* (the simulated register) Paid in full, exactly; NewAmount is 0. */
    VERDA_PAID_EXACTLY = '0',
    /* (the simulated register) A sum is still due: NewAmount is what is left to pay. */
    VERDA_PAID_SHORT = 'D',
    /* (the simulated register) Paid in full with change: NewAmount is the change. */
    VERDA_PAID_WITH_CHANGE = 'R'
};

/* CashDirection: Which way cash goes in ParishOrConsumption. An amount of 0 only asks for the
   sums (cash in the drawer, booked in and out in the shift), in either direction; any other
   amount prints a document of its own. Taken by ParishOrConsumption's Type; docs/codes.md tells
   more. */
enum verda_cash_direction {
    /* (the simulated register) Cash put into the drawer: ВНЕСЕНИЕ. (in) */
    VERDA_CASH_IN = '0',
    /* (the simulated register) Cash taken out of the drawer: ВЫПЛАТА; not more than it holds.
       (out) */
    VERDA_CASH_OUT = '1'
};

/* TaxGroup: The tax group of a sale line (RegisterSale) or an article (PrgAndReadArticleP), one
   byte. The register keeps a rate for each group (SetTaxRates sets them in order,
   ReportOnTaxRates reads them as TaxA to TaxF), and Subtotal gives the tax of each (Tax1 to
   Tax6). The simulated register also takes the letters A to F for the groups 1 to 6, marks each
   line with its group's letter, and prints at the closing the tax of each group it sold, as НДС
   with the rate. Its rates on a new register are 20 %, 10 % and 0 % for the others;
   verda-server's JSON gives the group as its number. Taken by RegisterSale's TaxCd,
   PrgAndReadArticleP's TaxGr; docs/codes.md tells more. */
enum verda_tax_group {
    /* (the simulated register) Letter A on the line; at the closing НДС at the first rate (20.00
       % on a new register). (1) */
    VERDA_TAX_GROUP_1 = '1',
    /* (the simulated register) Letter B; НДС at the second rate (10.00 % on a new register). (2) */
    VERDA_TAX_GROUP_2 = '2',
    /* (the simulated register) Letter C; the third rate (0 % on a new register). (3) */
    VERDA_TAX_GROUP_3 = '3',
    /* (the simulated register) Letter D; the fourth rate (0 % on a new register). (4) */
    VERDA_TAX_GROUP_4 = '4',
    /* (the simulated register) Letter E; the fifth rate (0 % on a new register). (5) */
    VERDA_TAX_GROUP_5 = '5',
    /* (the simulated register) Letter F; the sixth rate (0 % on a new register). (6) */
    VERDA_TAX_GROUP_6 = '6'
};

/* ReceiptParameter: What SetFiscalInvParam attaches to the open receipt. The driver cuts and
   converts the value by its type; the simulated register prints it with a label. Taken by
   SetFiscalInvParam's Type; docs/codes.md tells more. */
enum verda_receipt_parameter {
    /* The buyer's telephone or e-mail address: the first 16 bytes, unconverted (so ASCII); the
       simulated register prints it after ТЕЛ./E-MAIL ПОКУПАТЕЛЯ. */
    VERDA_PARAMETER_BUYER_CONTACT = 0,
    /* The buyer's name: the first 64 bytes, unconverted (so ASCII); the simulated register
       prints it after ПОКУПАТЕЛЬ. */
    VERDA_PARAMETER_BUYER_NAME = 1,
    /* Any other type: a line of text, converted, at most 128 bytes; the simulated register
       prints it as it is. */
    VERDA_PARAMETER_TEXT = 2
};

/* OpenDocument: Which document the register has open, as FiscalTransactionsStatus gives it in
   IsOpen (byte 0 when the register gives no field): what a program reads after a lost link, to
   tell whether a receipt is still open. Taken by FiscalTransactionsStatus's IsOpen;
   docs/codes.md tells more. */
enum verda_open_document {
    /* (the simulated register) No document is open. (none) */
    VERDA_DOCUMENT_NONE = '0',
    /* (the simulated register) A receipt (OpenFiscalInv) is open: Number, Items, Amount and Paid
       are its. (receipt) */
    VERDA_DOCUMENT_RECEIPT = '1',
    /* (the simulated register) A service document (OpenServiceInv) is open. (service) */
    VERDA_DOCUMENT_SERVICE = '2'
};

/* Unit: The unit of measure of a sale line. The driver sends 0 as an empty field; any other
   number goes as it is, and its meaning is the register's (the simulated register takes any
   whole number and prints nothing of it). Taken by RegisterSale's Unit; docs/codes.md tells
   more. */
enum verda_unit {
    /* No unit: the field is sent empty. */
    VERDA_UNIT_NONE = 0
};

/* SettlementSubject: What a sale line sells, the line's attribute (RegisterSale's Sign). The
   driver sends 0 as an empty field; any other number goes as it is, and its meaning is the
   register's (the simulated register takes any whole number and prints nothing of it). Taken by
   RegisterSale's Sign; docs/codes.md tells more. */
enum verda_settlement_subject {
    /* No attribute: the field is sent empty. */
    VERDA_SUBJECT_NONE = 0
};

/* SettlementMethod: How a sale line is settled, its payment attribute (RegisterSale's SignPay).
   The driver sends 0 as an empty field; any other number goes as it is, and its meaning is the
   register's (the simulated register takes any whole number and prints nothing of it). Taken by
   RegisterSale's SignPay; docs/codes.md tells more. */
enum verda_settlement_method {
    /* No attribute: the field is sent empty. */
    VERDA_METHOD_NONE = 0
};
/* END GENERATED CODES */

/* --- Handles ----------------------------------------------------------- */

typedef struct verda_device verda_device;

/* A new handle, not connected: timeout 50, no log. NULL when out of memory. */
verda_device* verda_device_new(void);
/* Closes the handle's link first; NULL is allowed. No call may be under way
   on the handle, nor come after. */
void verda_device_free(verda_device* d);

/* Connects over TCP to host (a name or a numeric IPv4 address) and port
   (1 to 65535), replacing any link held before. VERDA_UNKNOWN_HOST when the
   name does not resolve, VERDA_OPEN_FAILED when the connection fails. The
   transport prints "Socket created" and "Connected" on standard output. A
   program should ignore SIGPIPE: a register that drops the connection
   otherwise ends it. */
int verda_open_socket(verda_device* d, const char* host, int port);
/* Opens a serial line (8N1) at baud (1200 to 115200, or a speed code 0 to
   7), replacing any link held before. Unlike VERDA::OpenSerial, it leaves the
   process's standard input alone. */
int verda_open_serial(verda_device* d, const char* path, int baud);
/* Closes the link; 0 also when there is none. */
int verda_close(verda_device* d);
/* The read timeout, in the library's units: 1 ms on TCP, 10 ms on a serial
   line; 0 to 2559 on either (2.559 s on TCP, 25.5 s on a serial line, which
   waits whole tenths of a second); 0 waits without limit on TCP. Applies to
   the open link at once and to later opens: a value taken before an open
   suits either kind of link. VERDA_INVALID_ARGUMENT for a value out of that
   range. */
int verda_set_timeout(verda_device* d, int timeout);
/* The folder of this handle's log, CorteliaVERDA.log, rotated above 10 MiB.
   NULL: no log, the default of a new handle (a library writes no file it was
   not asked to, and handles sharing one file would interleave their lines).
   VERDA_INVALID_ARGUMENT when dir is not an existing folder. */
int verda_set_log_dir(verda_device* d, const char* dir);
/* What the handle's link went through since verda_device_new, for a program
   that watches its registers: frames sent, frames sent again after a missing
   or bad reply, NAKs received. The counts only grow; a NULL output is
   skipped. */
int verda_link_counters(verda_device* d, unsigned long long* sent, unsigned long long* repeated,
                        unsigned long long* naks);

/* The Russian text (UTF-8) of any result code: the register's error
   catalogue, the failed exchange, and the interface's own codes. Static,
   never NULL. */
const char* verda_error_text(int code);

/* --- Any operation by name ---------------------------------------------- */

/* The kinds of values of the operations' parameters. */
enum verda_type {
    VERDA_TYPE_INT = 1, /* int */
    VERDA_TYPE_LONG,    /* long */
    VERDA_TYPE_DOUBLE,  /* double */
    VERDA_TYPE_CHAR,    /* char: one byte */
    VERDA_TYPE_BOOL,    /* bool */
    VERDA_TYPE_TEXT     /* text: UTF-8 at the interface */
};

enum verda_direction { VERDA_IN = 1, VERDA_OUT, VERDA_INOUT };

/* One parameter of an operation, as in the member of VR35. */
typedef struct verda_parameter {
    const char* name;     /* "SlipNumber" */
    const char* cpp_type; /* the member's C++ type: "int&", "std::string", ... */
    int type;             /* an enum verda_type */
    int direction;        /* an enum verda_direction */
    const char* form;     /* of a text: "as-is", "fromASCIItoDOS", "fromDOStoASCII",
                             "A>B" for inout; "" for other types */
    const char* meaning;  /* one line */
} verda_parameter;

/* One operation. The list and its strings are static. */
typedef struct verda_operation {
    const char* name;            /* "OpenFiscalInv": the C function is verda_<name> */
    const char* command;         /* the command it sends, "OpenFiscalInv"; "" if none */
    unsigned int command_number; /* 0x30; 0 if none */
    const char* meaning;         /* one line */
    size_t parameter_count;
    const verda_parameter* parameters;
    int may_fiscalise; /* 1 when it may leave a fiscal document or move the shift's cash
                          sums: a caller that loses its reply asks the register whether it
                          did */
} verda_operation;

/* The operations, in the order of the reference. */
size_t verda_operation_count(void);
/* The operation at index; NULL past the end. */
const verda_operation* verda_operation_at(size_t index);
/* The operation of that name; NULL when there is none. */
const verda_operation* verda_find_operation(const char* name);

/* A value of verda_call: which field counts follows the parameter's type. */
typedef struct verda_value {
    long long integer; /* INT, LONG; BOOL as 0 or 1; CHAR as its byte: in, -128 to 255;
                          out, 0 to 255 */
    double number;     /* DOUBLE */
    char* text;        /* TEXT: in, NUL-terminated UTF-8; out, a buffer of text_size
                          bytes (VERDA_TEXT_MAX always suffice); inout, both */
    size_t text_size;
} verda_value;

/* Runs the operation called name with values[i] for its parameter i (count
   values, as many as it has parameters): inputs are read, outputs written.
   The result is that of verda_<name>; also VERDA_UNKNOWN_OPERATION for an
   unknown name, VERDA_INVALID_ARGUMENT for a wrong count or a number out of
   its parameter's range, VERDA_NULL_ARGUMENT for a missing text, all before
   anything is sent. */
int verda_call(verda_device* d, const char* name, verda_value* values, size_t count);

/* --- The operations ------------------------------------------------------ */

/* BEGIN GENERATED OPERATIONS (capi/generate.py from capi/operations.txt) */

/* Connection */

/* Asks whether the register answers. */
int verda_CheckConnection(verda_device* d);

/* Printer initialisation */

/* Reads the decimal places, model and firmware revision into the handle; run it after the open,
   before the first receipt. */
int verda_PrinterInit(verda_device* d);

/* Receipts */

/* Opens a shift and gives its numbers. */
int verda_OpenShift(verda_device* d, int OpCode, const char* OpPwd, int TillNmb, const char* Buyer,
                    const char* VatSystem, const char* OperName, const char* OperInn, int* nFD,
                    int* SignFP, int* nShift);

/* Opens a receipt; receipt type 4 opens a shift and gives no numbers back. */
int verda_OpenFiscalInv(verda_device* d, int OpCode, const char* OpPwd, int TillNmb,
                        int ReceiptType, const char* Buyer, const char* VatSystem,
                        const char* OperName, const char* OperInn, int* SlipNumber, int* nDoc,
                        int* nShift);

/* Attaches a parameter to the open receipt. */
int verda_SetFiscalInvParam(verda_device* d, int Type, const char* Data);

/* Closes the paid receipt. */
int verda_CloseFiscalInv(verda_device* d, int* SlipNumber, int* nFD, char* SignFP,
                         size_t SignFP_size, int* nDoc, int* nShift);

/* Voids the open receipt. */
int verda_CancelFiscalInv(verda_device* d, int* SlipNumber);

/* Sales */

/* Sells one line on the open receipt. */
int verda_RegisterSale(verda_device* d, const char* PluName, char TaxCd, double Price,
                       double Quantity, int Unit, int Department, char DiscountType,
                       double DiscountValue, double DiscSum, double Sum, int Sign, int SignPay,
                       int* SlipNumber);

/* Sells an article that the register holds, by its code. */
int verda_RegisterArticleSale(verda_device* d, int PluCode, double Quantity, char DiscountType,
                              double DiscountValue, int* SlipNumber);

/* Prints a line of text on the open receipt. */
int verda_PrintFreeTextInFiscalInv(verda_device* d, const char* Text, char Bold, char Italic,
                                   char DoubleH, char Underline, char alignment, char Extra);

/* Subtotal, payment and cash */

/* Gives the running sums of the open receipt, with an optional discount on it. */
int verda_Subtotal(verda_device* d, char Print, char Display, char DiscountType,
                   double DiscountValue, int* SlipNumber, double* Subtotal, double* Tax1,
                   double* Tax2, double* Tax3, double* Tax4, double* Tax5, double* Tax6);

/* Records a payment on the open receipt. */
int verda_Total(verda_device* d, int PaidMode, double Amount, char Change, char* ErrorStatus,
                double* NewAmount, int* SlipNumber);

/* Records the payment of a correction receipt with its sums by tax rate. */
int verda_TotalCorrecion(verda_device* d, int PaidMode, double Amount_TL, double Tax_18,
                         double Tax_10, double Corr_0, double Corr_noNDS, double Tax_18_118,
                         double Tax_10_110);

/* Books cash in or out and gives the cash sums. */
int verda_ParishOrConsumption(verda_device* d, char Type, double Amount, double* CashSum,
                              double* CashIn, double* CashOut);

/* Service documents and printing */

/* Opens a service (non-fiscal) document. */
int verda_OpenServiceInv(verda_device* d, char Extend, int* SlipNumber);

/* Closes the service document. */
int verda_CloseServiceInv(verda_device* d, int* SlipNumber);

/* Prints a line of text on the service document. */
int verda_PrintFreeTextInServiceInv(verda_device* d, const char* Text, char Bold, char Italic,
                                    char DoubleH, char Underline, char alignment, char Extra);

/* Prints a bar code. */
int verda_PrintBarCode(verda_device* d, char Type, const char* Data, int Option);

/* Prints a dividing line. */
int verda_PrintDivideLine(verda_device* d, char Type);

/* Prints a stamp; -1 for an empty result field. */
int verda_PrintStamp(verda_device* d, char Type, const char* Data);

/* Prints a copy of the last receipt. */
int verda_PrintDublicateReceipt(verda_device* d);

/* Cuts the paper. */
int verda_CutPaper(verda_device* d);

/* Feeds the paper by a number of lines. */
int verda_FeedPaper(verda_device* d, int count);

/* Peripherals */

/* Shows a text on the lower line of the customer display. */
int verda_DisplayLower(verda_device* d, const char* Text);

/* Shows a text on the upper line of the customer display. */
int verda_DisplayUpper(verda_device* d, const char* Text);

/* Clears the customer display. */
int verda_DisplayClear(verda_device* d);

/* Opens the cash drawer. */
int verda_OpenCashDrawer(verda_device* d, int Value);

/* Sounds the buzzer. */
int verda_Beep(verda_device* d, int Hz, int mSec);

/* Status and device information */

/* Gives the register's status bytes as a picture of bits. */
int verda_GetStatusFP(verda_device* d, char* StatusBytes, size_t StatusBytes_size);

/* Tells whether a shift is open and how old it is. */
int verda_GetStatusShift(verda_device* d, bool* ShiftIsOpen, bool* Shift24h, int* ShiftTime);

/* Gives the state of the document in progress. */
int verda_FiscalTransactionsStatus(verda_device* d, char* IsOpen, int* Number, int* Items,
                                   double* Amount, double* Paid);

/* Gives six sums of the current receipt. */
int verda_InfoByCurrentInv(verda_device* d, double* Value1, double* Value2, double* Value3,
                           double* Value4, double* Value5, double* Value6);

/* Reads the register's clock. */
int verda_GetDateTime(verda_device* d, char* DateTime, size_t DateTime_size);

/* Sets the register's clock. */
int verda_SetDateTime(verda_device* d, const char* DateTime);

/* Gives the model and firmware data, and keeps model, revision and number in the handle. */
int verda_DiagnosticInfo(verda_device* d, char* Name, size_t Name_size, char* FwRev,
                         size_t FwRev_size, char* FwDate, size_t FwDate_size, char* FwTime,
                         size_t FwTime_size, char* Checksum, size_t Checksum_size, char* Sw,
                         size_t Sw_size, char* DevNumber, size_t DevNumber_size);

/* Reads device information block 1; succeeds whenever the register answers. */
int verda_ReadDeviceInfo1(verda_device* d, char* Field1, size_t Field1_size, char* Field2,
                          size_t Field2_size, char* Field3, size_t Field3_size, char* Field4,
                          size_t Field4_size, char* Field5, size_t Field5_size);

/* Reads device information block 2; succeeds whenever the register answers. */
int verda_ReadDeviceInfo2(verda_device* d, char* Field1, size_t Field1_size, char* Field2,
                          size_t Field2_size, char* Field3, size_t Field3_size, char* Field4,
                          size_t Field4_size, char* Field5, size_t Field5_size);

/* Reads device information block 3; succeeds whenever the register answers. */
int verda_ReadDeviceInfo3(verda_device* d, int* Field1, char* Field2, size_t Field2_size,
                          int* Field3, char* Field4, size_t Field4_size, int* Field5, char* Field6,
                          size_t Field6_size);

/* Prints diagnostic information. */
int verda_PrintDiagnostic(verda_device* d, char InfoType);

/* Shift reports and daily totals */

/* Prints a shift report ('Z' closes the shift, 'X' does not) and gives its figures. */
int verda_PrintReport(verda_device* d, char Type, int* nRep, int* nFD, int* SignFP, double* Sum1,
                      double* Sum2, double* Sum3, double* Sum4, double* Sum5, double* Sum6,
                      double* Ret1, double* Ret2, double* Ret3, double* Ret4, double* Ret5,
                      double* Ret6, double* Purch1, double* Purch2, double* Purch3, double* Purch4,
                      double* Purch5, double* Purch6, double* RetPurch1, double* RetPurch2,
                      double* RetPurch3, double* RetPurch4, double* RetPurch5, double* RetPurch6);

/* Prints the Z report, which closes the shift; the figures are dropped. */
int verda_PrintZReport(verda_device* d);

/* Prints the X report; the figures are dropped. */
int verda_PrintXReport(verda_device* d);

/* Gives the tax rates and the Z report that set them. */
int verda_ReportOnTaxRates(verda_device* d, int* NZreport, double* TaxA, double* TaxB, double* TaxC,
                           double* TaxD, double* TaxE, double* TaxF, char* EntryDate,
                           size_t EntryDate_size);

/* Gives the latest record of the fiscal memory. */
int verda_LatestFiscalRecord(verda_device* d, char Type, char RecType, int* NRep, double* Sum1,
                             double* Sum2, double* Sum3, double* Sum4, double* Sum5, double* Sum6,
                             char* Date, size_t Date_size);

/* Gives the day's accumulated sums. */
int verda_AmountOfSavingsPerDay(verda_device* d, char Type, int* NRep, double* Sum1, double* Sum2,
                                double* Sum3, double* Sum4, double* Sum5, double* Sum6);

/* Prints the report by operators over a range. */
int verda_OperatorReport(verda_device* d, int From, int To, char Type);

/* Prints the report by articles over a range. */
int verda_ReportByArticle(verda_device* d, char Type, int From, int To);

/* Gives an operator's seven counters and sums. */
int verda_ReportByOperators(verda_device* d, int Operator, int* Number1, double* Amount1,
                            int* Number2, double* Amount2, int* Number3, double* Amount3,
                            int* Number4, double* Amount4, int* Number5, double* Amount5,
                            int* Number6, double* Amount6, int* Number7, double* Amount7);

/* Gives the day's totals by type of payment, table 0. */
int verda_DailyReportByTypesOfPayment0(verda_device* d, double* Value1, double* Value2,
                                       double* Value3, double* Value4, double* Value5,
                                       double* Value6, double* Value7);

/* Gives the day's totals by type of payment, table 1. */
int verda_DailyReportByTypesOfPayment1(verda_device* d, double* Value1, double* Value2,
                                       double* Value3, double* Value4, double* Value5,
                                       double* Value6, double* Value7);

/* Gives the day's totals by type of payment, table 2. */
int verda_DailyReportByTypesOfPayment2(verda_device* d, int* Number1, double* Amount1);

/* Gives the day's totals by type of payment, table 3. */
int verda_DailyReportByTypesOfPayment3(verda_device* d, int* Number1, double* Amount1, int* Number2,
                                       double* Amount2, int* Number3, double* Amount3, int* Number4,
                                       double* Amount4);

/* Gives the day's totals by type of payment, table 4. */
int verda_DailyReportByTypesOfPayment4(verda_device* d, int* Number1, double* Amount1, int* Number2,
                                       double* Amount2);

/* Gives the day's totals by type of payment, table 5. */
int verda_DailyReportByTypesOfPayment5(verda_device* d, int* Number1, double* Amount1, int* Number2,
                                       double* Amount2, int* Number3, double* Amount3, int* Number4,
                                       double* Amount4);

/* Fiscal memory and fiscalization */

/* Puts the register into fiscal mode. */
int verda_Fiscalization(verda_device* d, const char* SerialNumber, const char* TAXnumber,
                        const char* REGnumber, const char* InspPssword);

/* Sets the register's tax number. */
int verda_SetTAXNumber(verda_device* d, const char* TAXnumber);

/* Reads the register's tax number. */
int verda_GetTAXNumber(verda_device* d, char* TAXnumber, size_t TAXnumber_size);

/* Sets the manufacturer's serial number. */
int verda_SetManufacturersSerialNumber(verda_device* d, const char* Serial, char* ReplyText,
                                       size_t ReplyText_size);

/* Makes the fiscal report over a range of dates. */
int verda_FiscalReportByDate(verda_device* d, char Type, const char* DateFrom, const char* DateTo,
                             char* TextData, size_t TextData_size);

/* Makes the fiscal report over a range of Z report numbers. */
int verda_FiscalReportByNumber(verda_device* d, char Type, int From, int To, char* TextData,
                               size_t TextData_size);

/* Reads a block of the fiscal memory. */
int verda_ReadFiscalMemoryBlock(verda_device* d, int From, int To, char* Block, size_t Block_size);

/* Tests the fiscal memory. */
int verda_TestFiscalMemory(verda_device* d, char Write, int* Records);

/* Gives the number of free records of the fiscal memory. */
int verda_FreeFieldsByFiscalMemory(verda_device* d, int* FreeFields);

/* Gives the date of the last fiscal memory entry. */
int verda_DateOfLastEntryByFiscalMemory(verda_device* d, char* EntryDate, size_t EntryDate_size);

/* Fiscal drive and data operator */

/* Reads the state of the fiscal drive. */
int verda_GetStateFN(verda_device* d, char InfoType, char* Version, size_t Version_size,
                     char* Number, size_t Number_size, char* Phase, size_t Phase_size,
                     char* ShiftStatus, size_t ShiftStatus_size, char* WarningFlags,
                     size_t WarningFlags_size, char* DateDeadline, size_t DateDeadline_size,
                     char* RegLeft, size_t RegLeft_size, int* ShiftNumber, int* ReceiptsCount,
                     int* LastDocIssued, int* FirsDocUnsent);

/* Reads the shift and the queue of documents for the data operator. */
int verda_GetOFDandFNStatus(verda_device* d, bool* StatusShift, bool* End24hours, int* ShiftNumber,
                            int* DocNumber, int* UnsendDocCount, int* FirstUnsent,
                            char* DateTimeUnsent, size_t DateTimeUnsent_size);

/* Changes the registration; -1 for an empty result field. */
int verda_ChangeOFDRegistration(verda_device* d, int OperationType, const char* InspPssword,
                                int* nFD, int* SignFP);

/* Electronic journal */

/* Finds documents of the electronic journal by date. */
int verda_GetDocInEJByDate(verda_device* d, const char* DateFrom, const char* DateTo, char Type,
                           char* Text1, size_t Text1_size, char* Text2, size_t Text2_size,
                           int* Number1, int* Number2);

/* Reads a document of the electronic journal by number. */
int verda_GetInfoFromEJ0(verda_device* d, int Number, char Type, int* Value1, int* Value2,
                         char* Text, size_t Text_size, char* Flag, int* Value3);

/* Reads the next line of the electronic journal, converted. */
int verda_GetInfoFromEJ1(verda_device* d, char* Text, size_t Text_size);

/* Reads the next line of the electronic journal as the register sent it. */
int verda_GetInfoFromEJ2(verda_device* d, char* Text, size_t Text_size);

/* Prints a document of the electronic journal by number. */
int verda_GetInfoFromEJ3(verda_device* d, int Number, char Type);

/* Error texts */

/* Explains a result code: the register's text, or the library's own when the register gives
   none. */
int verda_ReadingError(verda_device* d, int Code, int* ECode, char* ErrorMessage,
                       size_t ErrorMessage_size);

/* Article database */

/* Gives the figures of the article table. */
int verda_PrgAndReadArticleI(verda_device* d, int* Info1, int* Info2, int* Info3);

/* Writes an article. */
int verda_PrgAndReadArticleP(verda_device* d, int PLU, char TaxGr, int Dep, int Group,
                             char PriceType, double Price, char AddQty, double Quantity,
                             const char* Bar1, const char* Bar2, const char* Bar3, const char* Bar4,
                             const char* Name, const char* Units, const char* Id1C,
                             const char* IsWeight, const char* Service, int Extra1, int Extra2);

/* Adds a quantity to an article. */
int verda_PrgAndReadArticleA(verda_device* d, int PLU, double Quantity);

/* Deletes an article, or a range of articles. */
int verda_PrgAndReadArticleD(verda_device* d, int PLU, int ToPLU);

/* Reads an article's whole record. */
int verda_PrgAndReadArticleR(verda_device* d, int PLU, char* TaxGr, int* Dep, int* Group,
                             char* PriceType, double* Price, double* Value1, double* Value2,
                             double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                             size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                             size_t Bar4_size, char* Name, size_t Name_size, char* Units,
                             size_t Units_size, char* Id1C, size_t Id1C_size, char* IsWeight,
                             size_t IsWeight_size, char* Service, size_t Service_size, int* Extra1,
                             int* Extra2);

/* Reads the first article from a number on, and gives its number. */
int verda_PrgAndReadArticleF(verda_device* d, int* PLU, char* TaxGr, int* Dep, int* Group,
                             char* PriceType, double* Price, double* Value1, double* Value2,
                             double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                             size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                             size_t Bar4_size, char* Name, size_t Name_size);

/* Reads the last article ('L'). */
int verda_PrgAndReadArticleL(verda_device* d, int PLU, char* TaxGr, int* Dep, int* Group,
                             char* PriceType, double* Price, double* Value1, double* Value2,
                             double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                             size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                             size_t Bar4_size, char* Name, size_t Name_size);

/* Reads the last article ('l'). */
int verda_PrgAndReadArticleLL(verda_device* d, int PLU, char* TaxGr, int* Dep, int* Group,
                              char* PriceType, double* Price, double* Value1, double* Value2,
                              double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                              size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                              size_t Bar4_size, char* Name, size_t Name_size);

/* Reads the next article of the walk ('N'), and gives its number. */
int verda_PrgAndReadArticleN(verda_device* d, int* PLU, char* TaxGr, int* Dep, int* Group,
                             char* PriceType, double* Price, double* Value1, double* Value2,
                             double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                             size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                             size_t Bar4_size, char* Name, size_t Name_size);

/* Reads the next article of the walk ('n'), and gives its number. */
int verda_PrgAndReadArticleNN(verda_device* d, int* PLU, char* TaxGr, int* Dep, int* Group,
                              char* PriceType, double* Price, double* Value1, double* Value2,
                              double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                              size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                              size_t Bar4_size, char* Name, size_t Name_size);

/* Reads the first article ('f'). */
int verda_PrgAndReadArticleFF(verda_device* d, int PLU, char* TaxGr, int* Dep, int* Group,
                              char* PriceType, double* Price, double* Value1, double* Value2,
                              double* Value3, char* Bar1, size_t Bar1_size, char* Bar2,
                              size_t Bar2_size, char* Bar3, size_t Bar3_size, char* Bar4,
                              size_t Bar4_size, char* Name, size_t Name_size);

/* Reads a value of an article ('X'). */
int verda_PrgAndReadArticleX(verda_device* d, int PLU, int* ArticleValue);

/* Reads a value of an article ('x'). */
int verda_PrgAndReadArticleXX(verda_device* d, int PLU, int* ArticleValue);

/* Device settings */

/* Reads a device parameter (an empty Value) or writes it. */
int verda_Programming(verda_device* d, const char* Name, const char* Index, char* Value,
                      size_t Value_size);

/* Sets a service parameter. */
int verda_SetServiceParam(verda_device* d, const char* Type, const char* Value, const char* Param3,
                          char* Code, size_t Code_size, char* Answer, size_t Answer_size);

/* Sets the six tax rates. */
int verda_SetTaxRates(verda_device* d, double Tax1, double Tax2, double Tax3, double Tax4,
                      double Tax5, double Tax6, char Point, int* RemainingChanges);

/* Sets an operator's password; the log shows none of it. */
int verda_SetOperatorPassword(verda_device* d, const char* OperField1, const char* OperField2,
                              const char* OperField3);

/* Uploads an image in one request; -1 for an empty result field. */
int verda_UploadImage(verda_device* d, const char* Image, char* Answer, size_t Answer_size);

/* Uploads a stamp in one request; -1 for an empty result field. */
int verda_UploadStamp(verda_device* d, const char* Stamp, char* Answer, size_t Answer_size);

/* Switches the register off; -1 for an empty result field. */
int verda_PowerOff(verda_device* d);

/* Restarts the register (the log says PowerOff); -1 for an empty result field. */
int verda_Restart(verda_device* d);

/* Asks the register to check for a firmware update. */
int verda_CheckUpdate(verda_device* d);

/* Gives a trading group's figures. */
int verda_GetTradingGroupInfo(verda_device* d, int Group, int* GroupNumber, double* GroupAmount,
                              char* GroupText, size_t GroupText_size);

/* Gives a department's figures in the current receipt. */
int verda_GetDepInfoInCheck(verda_device* d, int Dep, char* DepChar, double* DepAmount1,
                            long* DepNumber, double* DepAmount2, char* DepText,
                            size_t DepText_size);
/* END GENERATED OPERATIONS */

#ifdef __cplusplus
}
#endif

#endif
