#include "Orders.h"

#include <cmath>
#include <set>

#include "common/Codes.h"
#include "wire/RegisterText.h"

namespace server {

namespace {

const double kLargestAmount = 10000000;  // ten million roubles
const double kLargestQuantity = 100000;  // a hundred thousand units
const size_t kMostLines = 500;           // sale lines or text lines of one document

// Reading one JSON object field by field, naming each field in full.
class Fields {
  public:
    Fields(const json& object, std::string path, std::initializer_list<const char*> known)
        : object_(object), path_(std::move(path)) {
        if (!object.is_object())
            throw BadInput{path_.empty() ? "body" : path_, "must be an object"};
        std::set<std::string> allowed(known.begin(), known.end());
        for (const auto& item : object.items())
            if (allowed.count(item.key()) == 0) throw unknownField(path_, item.key());
    }
    std::string name(const std::string& key) const {
        return path_.empty() ? key : path_ + "." + key;
    }
    bool has(const char* key) const { return object_.contains(key); }
    const json& at(const char* key) const { return object_.at(key); }

    // A number of at most `decimals` decimals (the register keeps amounts
    // to the kopeck, quantities to the thousandth): more is refused, never
    // rounded.
    double amount(const char* key, double low, double high, bool required, int decimals = 2) const {
        if (!has(key)) {
            if (required) throw BadInput{name(key), "missing"};
            return 0;
        }
        return checkedAmount(at(key), name(key), low, high, decimals);
    }
    static double checkedAmount(const json& v, const std::string& field, double low, double high,
                                int decimals = 2) {
        if (!v.is_number()) throw BadInput{field, "must be a number"};
        const double value = v.get<double>();
        if (!std::isfinite(value) || value < low || value > high)
            throw BadInput{field, "must be from " + number(low) + " to " + number(high)};
        const double scaled = value * std::pow(10.0, decimals);
        if (std::fabs(scaled - std::round(scaled)) > std::max(1e-6, std::fabs(scaled) * 1e-12))
            throw BadInput{field, "at most " + std::to_string(decimals) + " decimals"};
        return value;
    }
    // A whole number; 1.0 is one.
    int integer(const char* key, int fallback, int low, int high) const {
        if (!has(key)) return fallback;
        return checkedInteger(at(key), name(key), low, high);
    }
    static int checkedInteger(const json& v, const std::string& field, int low, int high) {
        const double value = v.is_number() ? v.get<double>() : 0.5;
        if (!v.is_number() || value != std::floor(value) || value < low || value > high)
            throw BadInput{field, "must be a whole number from " + std::to_string(low) + " to " +
                                      std::to_string(high)};
        return static_cast<int>(value);
    }
    // A text the register prints, of at most `longest` characters.
    std::string text(const char* key, bool required, size_t longest = 64) const {
        if (!has(key)) {
            if (required) throw BadInput{name(key), "missing"};
            return "";
        }
        return checkedText(at(key), name(key), longest);
    }
    // A text sent to the register byte for byte: printable ASCII.
    std::string ascii(const char* key, size_t longest) const {
        if (!has(key)) return "";
        return checkedAscii(at(key), name(key), longest);
    }

    static std::string checkedText(const json& v, const std::string& field, size_t longest = 64) {
        if (!v.is_string()) throw BadInput{field, "must be a string"};
        const std::string value = v.get<std::string>();
        std::string why;
        if (!printable(value, why, longest)) throw BadInput{field, why};
        return value;
    }
    static std::string checkedAscii(const json& v, const std::string& field, size_t longest) {
        if (!v.is_string()) throw BadInput{field, "must be a string"};
        const std::string value = v.get<std::string>();
        for (const char c : value)
            if (c < 0x20 || c > 0x7E)
                throw BadInput{field, "printable ASCII only: the register takes it byte for byte"};
        if (value.size() > longest)
            throw BadInput{field, "longer than " + std::to_string(longest) + " characters"};
        return value;
    }

  private:
    static std::string number(double v) {
        json j = v;
        return j.dump();
    }
    const json& object_;
    std::string path_;
};

// {"sum": N} or {"percent": N}; surcharge chooses the register's kinds 3 and 4.
receipt::Adjustment readAdjustment(const json& v, const std::string& path, bool surcharge) {
    Fields f(v, path, {"sum", "percent"});
    if (f.has("sum") == f.has("percent")) throw BadInput{path, "give sum or percent"};
    receipt::Adjustment a;
    const bool percent = f.has("percent");
    a.value =
        percent ? f.amount("percent", 0, 100, true) : f.amount("sum", 0, kLargestAmount, true);
    a.kind = static_cast<char>((surcharge ? '3' : '1') + (percent ? 0 : 1));
    return a;
}

receipt::Adjustment readEitherAdjustment(const Fields& f) {
    if (f.has("discount") && f.has("surcharge"))
        throw BadInput{f.name("surcharge"), "give discount or surcharge, not both"};
    if (f.has("discount")) return readAdjustment(f.at("discount"), f.name("discount"), false);
    if (f.has("surcharge")) return readAdjustment(f.at("surcharge"), f.name("surcharge"), true);
    return receipt::Adjustment();
}

const json& list(const json& body, const char* key, const std::string& field, size_t most) {
    const json& v = body.at(key);
    if (!v.is_array()) throw BadInput{field, "must be a list"};
    if (v.empty()) throw BadInput{field, "must not be empty"};
    if (v.size() > most) throw BadInput{field, "at most " + std::to_string(most) + " items"};
    return v;
}

}  // namespace

BadInput unknownField(const std::string& path, const std::string& key) {
    const std::string object = path.empty() ? "body" : path;
    if (key.empty()) return BadInput{object, "holds a field with no name"};
    return BadInput{path.empty() ? key : path + "." + key, "unknown field"};
}

// Printable ASCII and А..я, Ё and ё: what the register's code page and the
// library's conversion carry (wire/RegisterText.h). Anything else would be
// sent as something the customer did not ask for, so it is refused here.
bool printable(const std::string& text, std::string& why, size_t longest) {
    const wire::text::Verdict v = wire::text::checkPrintable(text);
    switch (v.first) {
        case wire::text::Problem::None:
            break;
        case wire::text::Problem::NotUtf8:
            why = "is not UTF-8";
            return false;
        case wire::text::Problem::Control:
            why = "holds a control character";
            return false;
        case wire::text::Problem::Unprintable:
            why = "holds a character the register cannot print";
            return false;
    }
    if (v.characters > longest) {
        why = "longer than " + std::to_string(longest) + " characters";
        return false;
    }
    return true;
}

namespace {

// A line of a service document: the register's free text line, which it
// cuts at 32 characters.
const size_t kServiceTextColumns = 32;
// The register's operator 30 prints a cashier's name of at most 30 characters.
const size_t kLongestCashier = 30;
const size_t kLongestContact = 64;  // the buyer's telephone or e-mail address
const size_t kLongestTaxSystem = 32;
const size_t kLongestBarcode = 128;

// "Иванова А. В." or {"name": "Иванова А. В.", "inn": "500100732259"}.
receipt::Cashier readCashier(const Fields& f) {
    receipt::Cashier c;
    if (!f.has("cashier")) return c;
    const json& v = f.at("cashier");
    const std::string field = f.name("cashier");
    if (v.is_string()) {
        c.name = Fields::checkedText(v, field, kLongestCashier);
        return c;
    }
    if (!v.is_object()) throw BadInput{field, "a name, or an object of name and inn"};
    Fields cashier(v, field, {"name", "inn"});
    c.name = cashier.text("name", false, kLongestCashier);
    c.inn = cashier.ascii("inn", 12);
    if (cashier.has("inn") && ((c.inn.size() != 10 && c.inn.size() != 12) ||
                               c.inn.find_first_not_of("0123456789") != std::string::npos))
        throw BadInput{cashier.name("inn"), "10 or 12 digits"};
    return c;
}

// A buyer's telephone (+ and digits) or e-mail address (with an @).
std::string readBuyer(const Fields& f) {
    const std::string buyer = f.ascii("buyer", kLongestContact);
    if (!f.has("buyer")) return buyer;
    const bool phone = buyer.size() > 1 && buyer[0] == '+' &&
                       buyer.find_first_not_of("0123456789", 1) == std::string::npos;
    const size_t at = buyer.find('@');
    const bool mail = at != std::string::npos && at > 0 && at + 1 < buyer.size() &&
                      buyer.find_first_of(" @", at + 1) == std::string::npos;
    if (!phone && !mail) throw BadInput{"buyer", "a telephone (+79001234567) or an e-mail address"};
    return buyer;
}

template <size_t N>
int readCode(const Fields& f, const char* key, const codes::Code (&table)[N], int fallback,
             const char* names) {
    if (!f.has(key)) return fallback;
    const json& v = f.at(key);
    int value = 0;
    if (!v.is_string() || !codes::valueOf(table, v.get<std::string>().c_str(), value))
        throw BadInput{f.name(key), names};
    return value;
}

// A payment mode by one of the register's names (its configuration's), or
// the register's number of a mode; cash when none is given.
int readMode(const Fields& f, const PaymentModes& modes) {
    int value = VERDA_PAYMENT_CASH;
    if (f.has("mode") && !paymentModeOf(modes, f.at("mode"), value))
        throw BadInput{f.name("mode"), paymentModesText(modes)};
    return value;
}

// A text line, or {"barcode": {"type": 0..9, "data": "..."}}.
receipt::TextLine readTextLine(const json& v, const std::string& field) {
    receipt::TextLine line;
    if (!v.is_object()) {
        line.text = Fields::checkedText(v, field, kLongestTextLine);
        return line;
    }
    Fields item(v, field, {"barcode"});
    if (!item.has("barcode")) throw BadInput{item.name("barcode"), "missing"};
    Fields code(item.at("barcode"), item.name("barcode"), {"type", "data"});
    if (!code.has("type")) throw BadInput{code.name("type"), "missing"};
    line.barcode = static_cast<char>('0' + code.integer("type", 0, 0, 9));
    if (!code.has("data")) throw BadInput{code.name("data"), "missing"};
    line.text = code.ascii("data", kLongestBarcode);
    if (line.text.empty()) throw BadInput{code.name("data"), "must not be empty"};
    return line;
}

}  // namespace

ReceiptOrder readReceipt(const json& body, const PaymentModes& modes) {
    Fields f(body, "",
             {"type", "cashier", "buyer", "tax_system", "lines", "discount", "surcharge",
              "payments", "text"});
    ReceiptOrder order;
    order.type = readCode(f, "type", codes::kReceiptType, VERDA_RECEIPT_SALE,
                          "sale, return, purchase or purchase-return");
    order.cashier = readCashier(f);
    order.buyer = readBuyer(f);
    order.taxSystem = f.ascii("tax_system", kLongestTaxSystem);
    if (!f.has("lines")) throw BadInput{"lines", "missing"};
    const json& lines = list(body, "lines", "lines", kMostLines);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string path = "lines[" + std::to_string(i) + "]";
        Fields l(lines[i], path,
                 {"name", "price", "article", "quantity", "tax", "department", "discount",
                  "surcharge", "unit", "subject", "method"});
        receipt::Line line;
        if (l.has("article")) {
            for (const char* key :
                 {"name", "price", "tax", "department", "unit", "subject", "method"})
                if (l.has(key))
                    throw BadInput{l.name("article"),
                                   "an article line takes its name, price, tax, department and "
                                   "attributes from the register"};
            line.article = l.integer("article", 0, 1, 999999);
        } else {
            line.name = l.text("name", true);
            if (line.name.empty()) throw BadInput{l.name("name"), "must not be empty"};
            line.price = l.amount("price", 0, kLargestAmount, true);
            line.tax = static_cast<char>('0' + l.integer("tax", 1, 1, 6));
            line.department = l.integer("department", 1, 1, 16);
            line.unit = l.integer("unit", VERDA_UNIT_NONE, 0, receipt::kLargestAttribute);
            line.subject = l.integer("subject", VERDA_SUBJECT_NONE, 0, receipt::kLargestAttribute);
            line.method = l.integer("method", VERDA_METHOD_NONE, 0, receipt::kLargestAttribute);
        }
        if (l.has("quantity")) {
            line.quantity = l.amount("quantity", 0, kLargestQuantity, true, 3);
            if (line.quantity <= 0) throw BadInput{l.name("quantity"), "must be above 0"};
        }
        line.adjustment = readEitherAdjustment(l);
        order.lines.push_back(line);
    }
    order.adjustment = readEitherAdjustment(f);
    if (f.has("payments")) {
        const json& payments = list(body, "payments", "payments", 6);
        for (size_t i = 0; i < payments.size(); ++i) {
            Fields p(payments[i], "payments[" + std::to_string(i) + "]", {"mode", "amount"});
            receipt::Payment payment;
            payment.mode = readMode(p, modes);
            payment.amount = p.amount("amount", 0, kLargestAmount, false);
            order.payments.push_back(payment);
        }
    }
    if (f.has("text")) {
        const json& text = list(body, "text", "text", kMostLines);
        for (size_t i = 0; i < text.size(); ++i)
            order.text.push_back(readTextLine(text[i], "text[" + std::to_string(i) + "]"));
    }
    return order;
}

CorrectionOrder readCorrection(const json& body, const PaymentModes& modes) {
    Fields f(body, "", {"type", "cashier", "buyer", "tax_system", "mode", "amount", "sums"});
    CorrectionOrder c;
    c.type = readCode(f, "type", codes::kCorrectionType, VERDA_CORRECTION_SALE, "sale or purchase");
    c.cashier = readCashier(f);
    c.buyer = readBuyer(f);
    c.taxSystem = f.ascii("tax_system", kLongestTaxSystem);
    c.mode = readMode(f, modes);
    c.amount = f.amount("amount", 0, kLargestAmount, true);
    if (c.amount <= 0) throw BadInput{"amount", "must be above 0"};
    if (f.has("sums")) {
        const json& sums = f.at("sums");
        if (!sums.is_array() || sums.size() > 6)
            throw BadInput{"sums", "a list of at most 6 sums, by tax group"};
        for (size_t g = 0; g < sums.size(); ++g)
            c.sums[g] = Fields::checkedAmount(sums[g], "sums[" + std::to_string(g) + "]", 0,
                                              kLargestAmount);
    }
    return c;
}

receipt::Cashier readShiftCashier(const json& body) {
    if (body.is_null()) return receipt::Cashier();
    Fields f(body, "", {"cashier"});
    return readCashier(f);
}

double readCashAmount(const json& body) {
    Fields f(body, "", {"amount"});
    const double amount = f.amount("amount", 0, kLargestAmount, true);
    if (amount <= 0) throw BadInput{"amount", "must be above 0"};
    return amount;
}

std::vector<std::string> readTextLines(const json& body) {
    Fields f(body, "", {"lines"});
    if (!f.has("lines")) throw BadInput{"lines", "missing"};
    std::vector<std::string> out;
    const json& lines = list(body, "lines", "lines", kMostLines);
    for (size_t i = 0; i < lines.size(); ++i)
        out.push_back(
            Fields::checkedText(lines[i], "lines[" + std::to_string(i) + "]", kServiceTextColumns));
    return out;
}

std::string readDateTime(const json& body) {
    Fields f(body, "", {"datetime"});
    const std::string text = f.text("datetime", true);
    int day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0;
    char tail = 0;
    if (std::sscanf(text.c_str(), "%2d.%2d.%4d %2d:%2d:%2d%c", &day, &month, &year, &hour, &minute,
                    &second, &tail) != 6 ||
        text.size() != 19 || day < 1 || day > 31 || month < 1 || month > 12 || year < 2000 ||
        year > 2037 || hour > 23 || minute > 59 || second > 59)
        throw BadInput{"datetime", "DD.MM.YYYY HH:MM:SS"};
    return text;
}

ArticleOrder readArticle(const json& body) {
    Fields f(body, "", {"name", "price", "tax", "department", "group", "quantity", "barcode"});
    ArticleOrder a;
    a.name = f.text("name", true);
    if (a.name.empty()) throw BadInput{"name", "must not be empty"};
    a.price = f.amount("price", 0, kLargestAmount, true);
    a.tax = f.integer("tax", 1, 1, 6);
    a.department = f.integer("department", 1, 1, 16);
    a.group = f.integer("group", 1, 1, 99);
    a.quantity = f.amount("quantity", 0, kLargestQuantity, false, 3);
    a.barcode = f.text("barcode", false);
    if (a.barcode.find_first_not_of("0123456789") != std::string::npos || a.barcode.size() > 13)
        throw BadInput{"barcode", "up to 13 digits"};
    return a;
}

void readNothing(const json& body) {
    if (body.is_null()) return;
    Fields f(body, "", {});
}

}  // namespace server
