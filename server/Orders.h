#ifndef VERDA_SERVER_ORDERS_H
#define VERDA_SERVER_ORDERS_H

// What a client asks for, read from its JSON body and checked whole before
// anything reaches a register: a wrong type, an unknown field, a value out
// of range or a text the register cannot print is BadInput naming the field.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Config.h"
#include "common/ReceiptFlow.h"

namespace server {

using nlohmann::json;

struct BadInput {
    std::string field;
    std::string text;
};
// A field of the object at `path` ("" for the body) that it does not take;
// a field with no name is refused as the object's own fault.
BadInput unknownField(const std::string& path, const std::string& key);

// A receipt as the server takes it: the receipt flow's order (its lines,
// adjustments and payments, common/ReceiptFlow.h). The cashier's operator
// number, password and till are the register's configured operator; the
// cashier's name, when not given, is the operator's name.
using ReceiptOrder = receipt::Order;
using CorrectionOrder = receipt::Correction;

// Payment modes by the register's names (its configuration's).
ReceiptOrder readReceipt(const json& body, const PaymentModes& modes);
// A correction receipt: {"type", "cashier", "buyer", "tax_system", "mode",
// "amount", "sums"}.
CorrectionOrder readCorrection(const json& body, const PaymentModes& modes);
// The cashier of a shift's opening: a name, or {"name", "inn"}.
receipt::Cashier readShiftCashier(const json& body);
// {"amount": N} of cash in and out, above 0.
double readCashAmount(const json& body);
// {"lines": [...]} of a service document.
std::vector<std::string> readTextLines(const json& body);
// {"datetime": "DD.MM.YYYY HH:MM:SS"}.
std::string readDateTime(const json& body);
// An article for PUT /devices/{id}/articles/{code}.
struct ArticleOrder {
    std::string name;
    double price = 0;
    int tax = 1;
    int department = 1;
    int group = 1;
    double quantity = 0;
    std::string barcode;
};
ArticleOrder readArticle(const json& body);
// A body that must be empty or an empty object (shift open, reports, drawer).
void readNothing(const json& body);

// Whether the register can print the UTF-8 text (wire/RegisterText.h: the
// application's form, printable ASCII and the Russian alphabet), at most
// `longest` characters (a sale line's name by default); with the reason in
// why when not.
bool printable(const std::string& text, std::string& why, size_t longest = 64);

// The longest free text line: the widest paper of a register, 48 columns.
// A line up to 32 characters goes as the register's free text line; a longer
// one as a text attached to the receipt, which the register prints across
// its paper (common/ReceiptFlow.h).
const size_t kLongestTextLine = 48;

}  // namespace server

#endif
