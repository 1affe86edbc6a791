#include "sim/StateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "wire/RegisterText.h"

namespace sim {

namespace {

// Fields stay in the order they are written, which is the order of the
// records below: a person reads the file top down.
using Json = nlohmann::ordered_json;

const char kFormat[] = "verda-sim state";
const int kVersion = 1;
const char kTextFormMagic[] = "verda-sim-state-1\n";
const char* const kKindNames[kKinds] = {"sale", "return", "purchase", "purchaseReturn"};

// A file that holds no valid state: what is wrong and where.
struct Damage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// --- Values: each kind of field, written and read back ----------------------

template <class T>
struct Whole {  // a whole number of type T
    static Json put(T v) { return v; }
    static void get(const Json& j, T& v, const std::string& where) {
        const bool fits = j.is_number_unsigned()
                              ? j.get<unsigned long long>() <=
                                    static_cast<unsigned long long>(std::numeric_limits<T>::max())
                              : j.is_number_integer() &&
                                    j.get<long long>() >= std::numeric_limits<T>::min() &&
                                    j.get<long long>() <= std::numeric_limits<T>::max();
        if (!fits) throw Damage(where + ": expected a whole number");
        v = static_cast<T>(j.get<long long>());
    }
};
using Int = Whole<int>;
using Long = Whole<long long>;

struct Flag {
    static Json put(bool v) { return v; }
    static void get(const Json& j, bool& v, const std::string& where) {
        if (!j.is_boolean()) throw Damage(where + ": expected true or false");
        v = j.get<bool>();
    }
};

// Money and quantities are counted in whole kopecks and thousandths; they
// are written as decimal text, which reads back exactly.
template <int Decimals>
struct Fixed {
    static Json put(long long v) { return formatFixed(v, Decimals); }
    static void get(const Json& j, long long& v, const std::string& where) {
        if (!j.is_string() || !parseFixed(j.get<std::string>(), Decimals, v))
            throw Damage(where + (Decimals == 2 ? ": expected an amount such as \"12.50\""
                                                : ": expected a quantity such as \"1.250\""));
    }
};
using Amount = Fixed<2>;
using Quantity = Fixed<3>;

// The register's CP866 text, as UTF-8.
struct Text {
    static Json put(const std::string& v) { return wire::text::cp866ToUtf8(v); }
    static void get(const Json& j, std::string& v, const std::string& where) {
        if (!j.is_string()) throw Damage(where + ": expected text");
        v = wire::text::utf8ToCp866(j.get<std::string>());
    }
};

// One byte of the register's (a tax code, a document type), as a character.
template <class T>
struct Byte {
    static Json put(T v) { return wire::text::cp866ToUtf8(std::string(1, static_cast<char>(v))); }
    static void get(const Json& j, T& v, const std::string& where) {
        const std::string byte = j.is_string() ? wire::text::utf8ToCp866(j.get<std::string>()) : "";
        if (byte.size() != 1) throw Damage(where + ": expected one character");
        v = static_cast<T>(static_cast<unsigned char>(byte[0]));
    }
};

// A moment on the register's clock, as it shows it; one that the register's
// clock cannot show (0 for "never") stays in seconds.
struct Time {
    static Json put(long long v) {
        const std::string text = formatTime(v);
        long long back = 0;
        bool dateOnly = false;
        if (parseTime(text, false, back, dateOnly) && back == v) return text;
        return v;
    }
    static void get(const Json& j, long long& v, const std::string& where) {
        bool dateOnly = false;
        if (j.is_number_integer()) return Long::get(j, v, where);
        if (!j.is_string() || !parseTime(j.get<std::string>(), false, v, dateOnly) || dateOnly)
            throw Damage(where + ": expected a time such as \"15.03.2026 12:00:00\"");
    }
};

struct DocumentState {
    static Json put(Receipt::State v) {
        return v == Receipt::Fiscal ? "fiscal" : v == Receipt::Service ? "service" : "none";
    }
    static void get(const Json& j, Receipt::State& v, const std::string& where) {
        const std::string text = j.is_string() ? j.get<std::string>() : "";
        if (text == "none" || text == "fiscal" || text == "service")
            v = text == "fiscal"    ? Receipt::Fiscal
                : text == "service" ? Receipt::Service
                                    : Receipt::None;
        else
            throw Damage(where + ": expected none, fiscal or service");
    }
};

// --- The two directions ----------------------------------------------------

class Writer {
  public:
    explicit Writer(Json& json) : json_(json) {}

    template <class V, class T>
    void field(const char* name, T& v) {
        json_[name] = V::put(v);
    }
    template <class V, class T, size_t N>
    void row(const char* name, T (&v)[N]) {
        json_[name] = list<V>(v);
    }
    template <class V, class T>
    void byKind(const char* name, T (&v)[kKinds]) {
        Json& kinds = json_[name] = Json::object();
        for (int k = 0; k < kKinds; ++k) kinds[kKindNames[k]] = V::put(v[k]);
    }
    template <class V, class T, size_t N>
    void rowsByKind(const char* name, T (&v)[kKinds][N]) {
        Json& kinds = json_[name] = Json::object();
        for (int k = 0; k < kKinds; ++k) kinds[kKindNames[k]] = list<V>(v[k]);
    }
    void texts(const char* name, std::vector<std::string>& v) { json_[name] = list<Text>(v); }
    void textMap(const char* name, std::map<std::string, std::string>& v) {
        Json& map = json_[name] = Json::object();
        for (const auto& item : v)
            map[wire::text::cp866ToUtf8(item.first)] = Text::put(item.second);
    }
    template <class T>
    void record(const char* name, T& v) {
        json_[name] = object(v);
    }
    template <class T>
    void recordsByKind(const char* name, T (&v)[kKinds]) {
        Json& kinds = json_[name] = Json::object();
        for (int k = 0; k < kKinds; ++k) kinds[kKindNames[k]] = object(v[k]);
    }
    template <class T>
    void records(const char* name, std::vector<T>& v) {
        json_[name] = object(v);
    }
    template <class T>
    void numbered(const char* name, std::map<int, T>& v) {
        Json& map = json_[name] = Json::object();
        for (auto& item : v) map[std::to_string(item.first)] = object(item.second);
    }

  private:
    template <class V, class C>
    static Json list(C& items) {
        Json j = Json::array();
        for (auto& item : items) j.push_back(V::put(item));
        return j;
    }
    template <class T>
    static Json object(T& v) {
        Json j = Json::object();
        Writer writer(j);
        visit(writer, v);
        return j;
    }
    template <class T>
    static Json object(std::vector<T>& v) {
        Json j = Json::array();
        for (T& item : v) j.push_back(object(item));
        return j;
    }

    Json& json_;
};

class Reader {
  public:
    // where: the path of this object in the file, for messages.
    Reader(const Json& json, const std::string& where) : json_(json), where_(where) {}

    template <class V, class T>
    void field(const char* name, T& v) {
        V::get(member(name), v, path(name));
    }
    template <class V, class T, size_t N>
    void row(const char* name, T (&v)[N]) {
        fixedList<V>(member(name), v, path(name));
    }
    template <class V, class T>
    void byKind(const char* name, T (&v)[kKinds]) {
        const Reader kinds = child(name);
        for (int k = 0; k < kKinds; ++k)
            V::get(kinds.member(kKindNames[k]), v[k], kinds.path(kKindNames[k]));
    }
    template <class V, class T, size_t N>
    void rowsByKind(const char* name, T (&v)[kKinds][N]) {
        const Reader kinds = child(name);
        for (int k = 0; k < kKinds; ++k)
            fixedList<V>(kinds.member(kKindNames[k]), v[k], kinds.path(kKindNames[k]));
    }
    void texts(const char* name, std::vector<std::string>& v) {
        const Json& j = list(member(name), path(name));
        v.assign(j.size(), std::string());
        for (size_t i = 0; i < j.size(); ++i) Text::get(j[i], v[i], item(path(name), i));
    }
    void textMap(const char* name, std::map<std::string, std::string>& v) {
        const Reader map = child(name);
        v.clear();
        for (const auto& item : map.json_.items())
            Text::get(item.value(), v[wire::text::utf8ToCp866(item.key())], map.path(item.key()));
    }
    template <class T>
    void record(const char* name, T& v) {
        read(member(name), v, path(name));
    }
    template <class T>
    void recordsByKind(const char* name, T (&v)[kKinds]) {
        const Reader kinds = child(name);
        for (int k = 0; k < kKinds; ++k)
            read(kinds.member(kKindNames[k]), v[k], kinds.path(kKindNames[k]));
    }
    template <class T>
    void records(const char* name, std::vector<T>& v) {
        read(member(name), v, path(name));
    }
    template <class T>
    void numbered(const char* name, std::map<int, T>& v) {
        const Reader map = child(name);
        v.clear();
        for (const auto& item : map.json_.items()) {
            long long key = 0;
            if (!parseInt(item.key(), key) || key < INT_MIN || key > INT_MAX)
                throw Damage(map.path(item.key()) + ": expected a number as the key");
            read(item.value(), v[static_cast<int>(key)], map.path(item.key()));
        }
    }

  private:
    std::string path(const std::string& name) const { return where_ + name; }
    static std::string item(const std::string& where, size_t i) {
        return where + "[" + std::to_string(i) + "]";
    }
    const Json& member(const char* name) const {
        const auto found = json_.find(name);
        if (found == json_.end()) throw Damage(path(name) + ": missing");
        return *found;
    }
    Reader child(const char* name) const {
        const Json& j = member(name);
        if (!j.is_object()) throw Damage(path(name) + ": expected an object");
        return Reader(j, path(name) + ".");
    }
    static const Json& list(const Json& j, const std::string& where) {
        if (!j.is_array()) throw Damage(where + ": expected a list");
        return j;
    }
    template <class V, class T, size_t N>
    static void fixedList(const Json& j, T (&v)[N], const std::string& where) {
        if (list(j, where).size() != N)
            throw Damage(where + ": expected a list of " + std::to_string(N));
        for (size_t i = 0; i < N; ++i) V::get(j[i], v[i], item(where, i));
    }
    template <class T>
    static void read(const Json& j, T& v, const std::string& where) {
        if (!j.is_object()) throw Damage(where + ": expected an object");
        Reader reader(j, where + ".");
        visit(reader, v);
    }
    template <class T>
    static void read(const Json& j, std::vector<T>& v, const std::string& where) {
        list(j, where);
        v.assign(j.size(), T());
        for (size_t i = 0; i < j.size(); ++i) read(j[i], v[i], item(where, i));
    }

    const Json& json_;
    std::string where_;
};

// --- The records: each listed once, for both directions --------------------

template <class A>
void visit(A& a, Counted& c) {
    a.template field<Long>("count", c.count);
    a.template field<Amount>("sum", c.sum);
}

template <class A>
void visit(A& a, Line& l) {
    a.template field<Text>("name", l.name);
    a.template field<Int>("taxGroup", l.tax);
    a.template field<Int>("department", l.department);
    a.template field<Int>("plu", l.plu);
    a.template field<Amount>("price", l.price);
    a.template field<Quantity>("quantity", l.quantity);
    a.template field<Amount>("amount", l.amount);
    a.template field<Amount>("adjustment", l.adjustment);
}

template <class A>
void visit(A& a, Receipt& r) {
    a.template field<DocumentState>("state", r.state);
    a.template field<Int>("type", r.type);
    a.template field<Int>("operator", r.operatorNumber);
    a.template field<Int>("slip", r.slip);
    a.template field<Int>("document", r.document);
    a.records("lines", r.lines);
    a.template field<Amount>("receiptAdjustment", r.receiptAdjustment);
    a.template row<Amount>("payments", r.payments);
    a.template row<Amount>("correctionTax", r.correctionTax);
    a.template field<Flag>("corrected", r.corrected);
    a.texts("printed", r.printed);
}

template <class A>
void visit(A& a, ShiftTotals& t) {
    a.template rowsByKind<Amount>("byTaxGroup", t.byTax);
    a.template rowsByKind<Amount>("byPayment", t.byPayment);
    a.recordsByKind("receipts", t.receipts);
    a.record("cancelled", t.cancelled);
    a.record("discounts", t.discounts);
    a.record("surcharges", t.surcharges);
    a.record("corrections", t.corrections);
    a.record("cashIn", t.cashIn);
    a.record("cashOut", t.cashOut);
    a.numbered("byOperator", t.byOperator);
    a.template row<Int>("linesByTaxGroup", t.lines);
}

template <class A>
void visit(A& a, Article& r) {
    a.template field<Text>("name", r.name);
    a.template field<Byte<int>>("tax", r.tax);
    a.template field<Int>("department", r.department);
    a.template field<Int>("group", r.group);
    a.template field<Byte<char>>("priceType", r.priceType);
    a.template field<Amount>("price", r.price);
    a.template field<Quantity>("stock", r.stock);
    a.template field<Quantity>("sold", r.sold);
    a.template field<Amount>("turnover", r.turnover);
    a.template row<Text>("barcodes", r.bar);
    a.template field<Text>("units", r.units);
    a.template field<Text>("id1c", r.id1c);
    a.template field<Text>("isWeight", r.isWeight);
    a.template field<Text>("service", r.service);
    a.template field<Long>("extra1", r.extra1);
    a.template field<Long>("extra2", r.extra2);
}

template <class A>
void visit(A& a, FiscalRecord& r) {
    a.template field<Byte<char>>("type", r.type);
    a.template field<Int>("number", r.number);
    a.template field<Time>("time", r.time);
    a.template row<Amount>("sums", r.sums);
    a.template row<Amount>("returns", r.returns);
}

template <class A>
void visit(A& a, JournalDoc& d) {
    a.template field<Int>("number", d.number);
    a.template field<Int>("shift", d.shift);
    a.template field<Int>("fiscalDocument", d.fd);
    a.template field<Byte<char>>("type", d.type);
    a.template field<Time>("time", d.time);
    a.texts("lines", d.lines);
}

template <class A>
void visit(A& a, Unsent& u) {
    a.template field<Int>("fiscalDocument", u.fd);
    a.template field<Time>("time", u.time);
}

template <class A>
void visit(A& a, State& s) {
    a.template field<Text>("serial", s.serial);
    a.template field<Text>("taxNumber", s.taxNumber);
    a.template field<Text>("regNumber", s.regNumber);
    a.template field<Flag>("fiscalized", s.fiscalized);
    a.template field<Long>("clockOffsetSeconds", s.clockOffset);
    a.template field<Time>("lastDocumentTime", s.lastDocTime);
    a.template field<Int>("documents", s.documents);
    a.template field<Int>("fiscalDocuments", s.fds);
    a.template field<Int>("shift", s.shift);
    a.template field<Flag>("shiftOpen", s.shiftOpen);
    a.template field<Time>("shiftOpenedAt", s.shiftOpenedAt);
    a.template field<Int>("receiptsInShift", s.receiptsInShift);
    a.template field<Int>("xReports", s.xReports);
    a.template field<Amount>("cash", s.cash);
    a.template byKind<Amount>("grandTotals", s.grand);
    a.record("shiftTotals", s.totals);
    a.record("document", s.receipt);
    a.template field<Int>("lastReceiptDocument", s.lastReceiptDoc);
    a.template row<Amount>("taxRates", s.taxRates);
    a.template field<Byte<char>>("taxPoint", s.taxPoint);
    a.template field<Int>("rateChangesLeft", s.rateChangesLeft);
    a.template field<Int>("ratesSetInZ", s.ratesSetInZ);
    a.template field<Time>("ratesSetAt", s.ratesSetAt);
    a.template row<Text>("operatorPasswords", s.operatorPasswords);
    a.textMap("parameters", s.params);
    a.textMap("serviceParameters", s.serviceParams);
    a.numbered("articles", s.articles);
    a.template field<Int>("articleWalk", s.walk);
    a.records("fiscalMemory", s.fiscalMemory);
    a.records("journal", s.journal);
    a.records("unsent", s.unsent);
    a.template field<Int>("journalDocument", s.journalDoc);
    a.template field<Int>("journalLine", s.journalLine);
}

// Reads the JSON form; throws Damage.
void fromJson(const std::string& text, State& state) {
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::parse_error& e) {
        // "[json.exception.parse_error.101] parse error at line 3, ..."
        const std::string what = e.what();
        const size_t end = what.find("] ");
        throw Damage("not valid JSON: " + (end == std::string::npos ? what : what.substr(end + 2)));
    }
    if (!json.is_object() || json.value("format", Json()) != kFormat)
        throw Damage("not a verda-sim state file (no \"format\": \"" + std::string(kFormat) +
                     "\")");
    if (json.value("version", Json()) != kVersion)
        throw Damage("version " + json.value("version", Json()).dump() +
                     " is not the one this verda-sim reads (" + std::to_string(kVersion) + ")");
    Reader reader(json, "");
    visit(reader, state);
}

// Indented JSON, with a list of plain values (six sums, the passwords) and a
// short record of plain values (a count and its sum) on one line, so that a
// person sees a record at a glance; a long list of texts (a document's
// lines) has a line for each.
void writeJson(std::string& out, const Json& json, int depth) {
    const std::string indent(2 * depth, ' '), inner(2 * depth + 2, ' ');
    const bool nested =
        std::any_of(json.begin(), json.end(), [](const Json& j) { return j.is_structured(); });
    const bool shortValues =
        std::all_of(json.begin(), json.end(), [](const Json& j) { return j.dump().size() <= 8; });
    if (json.is_object() && !nested && json.dump().size() <= 60) {
        out += "{";
        const char* separator = "";
        for (const auto& item : json.items())
            out += separator + Json(item.key()).dump() + ": " + item.value().dump(),
                separator = ", ";
        out += "}";
    } else if (json.is_object()) {
        out += "{";
        const char* separator = "\n";
        for (const auto& item : json.items()) {
            out += separator + inner + Json(item.key()).dump() + ": ";
            writeJson(out, item.value(), depth + 1);
            separator = ",\n";
        }
        out += "\n" + indent + "}";
    } else if (json.is_array() && (nested || (json.dump().size() > 100 && !shortValues))) {
        out += "[";
        const char* separator = "\n";
        for (const Json& item : json) {
            out += separator + inner;
            writeJson(out, item, depth + 1);
            separator = ",\n";
        }
        out += "\n" + indent + "]";
    } else if (json.is_array()) {
        out += "[";
        const char* separator = "";
        for (const Json& item : json) out += separator + item.dump(), separator = ", ";
        out += "]";
    } else {
        out += json.dump();
    }
}

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// The whole file; false with found false when there is none.
bool readFile(const std::string& path, std::string& text, bool& found, std::string& error) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    found = fd >= 0 || errno != ENOENT;
    if (fd < 0) {
        if (found) error = systemError("cannot read state file " + path);
        return !found;
    }
    char chunk[65536];
    ssize_t n = 0;
    while ((n = read(fd, chunk, sizeof chunk)) > 0) text.append(chunk, static_cast<size_t>(n));
    if (n < 0) error = systemError("cannot read state file " + path);
    close(fd);
    return n == 0;
}

bool writeAll(int fd, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

std::string stateToJson(const State& state) {
    Json json = Json::object();
    json["format"] = kFormat;
    json["version"] = kVersion;
    Writer writer(json);
    State copy = state;
    visit(writer, copy);
    std::string text;
    writeJson(text, json, 0);
    return text + "\n";
}

bool loadStateFile(const std::string& path, State& state, bool& found, bool& converted,
                   std::string& error) {
    std::string text;
    converted = false;
    if (!readFile(path, text, found, error)) return false;
    if (!found) return true;
    State loaded;
    if (text.compare(0, sizeof kTextFormMagic - 1, kTextFormMagic) == 0) {
        if (!parseTextForm(text, loaded)) {
            error = "state file " + path + " is damaged: its older text form cannot be read";
            return false;
        }
        converted = true;
    } else {
        try {
            fromJson(text, loaded);
        } catch (const Damage& damage) {
            error = "state file " + path + ": " + damage.what();
            return false;
        }
    }
    state = loaded;
    return true;
}

bool replaceFile(const std::string& path, const std::string& text, std::string& error) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "."
                               : slash == 0               ? "/"
                                                          : path.substr(0, slash);
    const std::string temporary = path + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    bool ok = fd >= 0 && writeAll(fd, text) && fsync(fd) == 0;
    if (fd >= 0) ok = close(fd) == 0 && ok;
    ok = ok && std::rename(temporary.c_str(), path.c_str()) == 0;
    if (!ok) {
        error = systemError("cannot write state file " + path);
        return false;
    }
    // The rename is in the folder; without this a power cut may undo it.
    const int dir = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0 || fsync(dir) != 0) {
        error = systemError("cannot flush the folder of state file " + path);
        if (dir >= 0) close(dir);
        return false;
    }
    close(dir);
    return true;
}

}  // namespace sim
