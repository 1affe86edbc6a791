#include "Orders.h"

#include <cmath>
#include <set>

#include "common/Codes.h"

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
            if (allowed.count(item.key()) == 0) throw BadInput{name(item.key()), "unknown field"};
    }
    std::string name(const std::string& key) const {
        return path_.empty() ? key : path_ + "." + key;
    }
    bool has(const char* key) const { return object_.contains(key); }
    const json& at(const char* key) const { return object_.at(key); }

    double amount(const char* key, double low, double high, bool required) const {
        if (!has(key)) {
            if (required) throw BadInput{name(key), "missing"};
            return 0;
        }
        const json& v = at(key);
        if (!v.is_number()) throw BadInput{name(key), "must be a number"};
        const double value = v.get<double>();
        if (!std::isfinite(value) || value < low || value > high)
            throw BadInput{name(key), "must be from " + number(low) + " to " + number(high)};
        // Amounts go to the register at two decimals, quantities at three.
        return value;
    }
    int integer(const char* key, int fallback, int low, int high) const {
        if (!has(key)) return fallback;
        const json& v = at(key);
        if (!v.is_number_integer() || v.get<long long>() < low || v.get<long long>() > high)
            throw BadInput{name(key), "must be a whole number from " + std::to_string(low) +
                                          " to " + std::to_string(high)};
        return v.get<int>();
    }
    std::string text(const char* key, bool required) const {
        if (!has(key)) {
            if (required) throw BadInput{name(key), "missing"};
            return "";
        }
        return checkedText(at(key), name(key));
    }

    static std::string checkedText(const json& v, const std::string& field) {
        if (!v.is_string()) throw BadInput{field, "must be a string"};
        const std::string value = v.get<std::string>();
        std::string why;
        if (!printable(value, why)) throw BadInput{field, why};
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
Adjustment readAdjustment(const json& v, const std::string& path, bool surcharge) {
    Fields f(v, path, {"sum", "percent"});
    if (f.has("sum") == f.has("percent")) throw BadInput{path, "give sum or percent"};
    Adjustment a;
    const bool percent = f.has("percent");
    a.value =
        percent ? f.amount("percent", 0, 100, true) : f.amount("sum", 0, kLargestAmount, true);
    a.kind = static_cast<char>((surcharge ? '3' : '1') + (percent ? 0 : 1));
    return a;
}

Adjustment readEitherAdjustment(const Fields& f) {
    if (f.has("discount") && f.has("surcharge"))
        throw BadInput{f.name("surcharge"), "give discount or surcharge, not both"};
    if (f.has("discount")) return readAdjustment(f.at("discount"), f.name("discount"), false);
    if (f.has("surcharge")) return readAdjustment(f.at("surcharge"), f.name("surcharge"), true);
    return Adjustment();
}

const json& list(const json& body, const char* key, const std::string& field, size_t most) {
    const json& v = body.at(key);
    if (!v.is_array()) throw BadInput{field, "must be a list"};
    if (v.empty()) throw BadInput{field, "must not be empty"};
    if (v.size() > most) throw BadInput{field, "at most " + std::to_string(most) + " items"};
    return v;
}

}  // namespace

// Printable ASCII and А..я, Ё and ё: what the register's code page and the
// library's conversion carry both ways. Anything else would be sent as
// something the customer did not ask for, so it is refused here.
bool printable(const std::string& text, std::string& why, size_t longest) {
    size_t characters = 0;
    for (size_t i = 0; i < text.size(); ++characters) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        if (lead >= 0x20 && lead < 0x7F) {
            ++i;
            continue;
        }
        if (lead == 0xD0 || lead == 0xD1) {
            if (i + 1 >= text.size()) break;
            const unsigned int code =
                ((lead & 0x1Fu) << 6) | (static_cast<unsigned char>(text[i + 1]) & 0x3Fu);
            if ((static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80 &&
                ((code >= 0x0410 && code <= 0x044F) || code == 0x0401 || code == 0x0451)) {
                i += 2;
                continue;
            }
        }
        why = lead < 0x20 || lead == 0x7F ? "holds a control character"
                                          : "holds a character the register cannot print";
        return false;
    }
    if (characters > longest) {
        why = "longer than " + std::to_string(longest) + " characters";
        return false;
    }
    return true;
}

ReceiptOrder readReceipt(const json& body, const PaymentModes& modes) {
    Fields f(body, "", {"type", "cashier", "lines", "discount", "surcharge", "payments", "text"});
    ReceiptOrder order;
    if (f.has("type")) {
        const json& v = f.at("type");
        if (!v.is_string() ||
            !codes::valueOf(codes::kReceiptType, v.get<std::string>().c_str(), order.type))
            throw BadInput{"type", "sale, return, purchase or purchase-return"};
    }
    order.cashier = f.text("cashier", false);
    if (!f.has("lines")) throw BadInput{"lines", "missing"};
    const json& lines = list(body, "lines", "lines", kMostLines);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string path = "lines[" + std::to_string(i) + "]";
        Fields l(
            lines[i], path,
            {"name", "price", "article", "quantity", "tax", "department", "discount", "surcharge"});
        SaleLine line;
        if (l.has("article")) {
            if (l.has("name") || l.has("price") || l.has("tax") || l.has("department"))
                throw BadInput{l.name("article"),
                               "an article line takes its name, price, tax and department from "
                               "the register"};
            line.article = l.integer("article", 0, 1, 999999);
        } else {
            line.name = l.text("name", true);
            if (line.name.empty()) throw BadInput{l.name("name"), "must not be empty"};
            line.price = l.amount("price", 0, kLargestAmount, true);
            line.tax = l.integer("tax", 1, 1, 6);
            line.department = l.integer("department", 1, 1, 16);
        }
        if (l.has("quantity")) {
            line.quantity = l.amount("quantity", 0, kLargestQuantity, true);
            if (line.quantity <= 0) throw BadInput{l.name("quantity"), "must be above 0"};
        }
        line.adjustment = readEitherAdjustment(l);
        order.lines.push_back(line);
    }
    order.adjustment = readEitherAdjustment(f);
    if (f.has("payments")) {
        const json& payments = list(body, "payments", "payments", 6);
        for (size_t i = 0; i < payments.size(); ++i) {
            const std::string path = "payments[" + std::to_string(i) + "]";
            Fields p(payments[i], path, {"mode", "amount"});
            Payment payment;
            if (p.has("mode") && !paymentModeOf(modes, p.at("mode"), payment.mode))
                throw BadInput{p.name("mode"), paymentModesText(modes)};
            payment.amount = p.amount("amount", 0, kLargestAmount, false);
            order.payments.push_back(payment);
        }
    }
    if (f.has("text")) {
        const json& text = list(body, "text", "text", kMostLines);
        for (size_t i = 0; i < text.size(); ++i)
            order.text.push_back(Fields::checkedText(text[i], "text[" + std::to_string(i) + "]"));
    }
    return order;
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
        out.push_back(Fields::checkedText(lines[i], "lines[" + std::to_string(i) + "]"));
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
    a.quantity = f.amount("quantity", 0, kLargestQuantity, false);
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
