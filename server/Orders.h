#ifndef VERDA_SERVER_ORDERS_H
#define VERDA_SERVER_ORDERS_H

// What a client asks for, read from its JSON body and checked whole before
// anything reaches a register: a wrong type, an unknown field, a value out
// of range or a text the register cannot print is BadInput naming the field.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Config.h"

namespace server {

using nlohmann::json;

struct BadInput {
    std::string field;
    std::string text;
};

// A discount or surcharge in the register's terms: kind '0' none, '1'
// discount in percent, '2' discount as a sum, '3' and '4' the same for a
// surcharge.
struct Adjustment {
    char kind = '0';
    double value = 0;
};

struct SaleLine {
    int article = 0;  // a code of the register's article database, or 0
    std::string name;
    double price = 0;
    double quantity = 1;
    int tax = 1;
    int department = 1;
    Adjustment adjustment;
};

struct Payment {
    int mode = 0;       // 0 cash, 1 card, 2..5 the register's other kinds
    double amount = 0;  // 0: what is still due
};

struct ReceiptOrder {
    int type = 0;  // 0 sale, 1 return, 2 purchase, 3 purchase-return
    std::string cashier;
    std::vector<SaleLine> lines;
    Adjustment adjustment;
    std::vector<Payment> payments;
    std::vector<std::string> text;
};

// Payment modes by the register's names (its configuration's).
ReceiptOrder readReceipt(const json& body, const PaymentModes& modes);
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

// Whether the register can print the UTF-8 text: printable ASCII and the
// Russian alphabet, at most `longest` characters (a line's by default);
// with the reason in why when not.
bool printable(const std::string& text, std::string& why, size_t longest = 64);

}  // namespace server

#endif
