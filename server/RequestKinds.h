#ifndef VERDA_SERVER_REQUESTKINDS_H
#define VERDA_SERVER_REQUESTKINDS_H

// The requests that change a register, in one table: the route of each, its
// kind in the journal, whether and how it may fiscalise a document (which
// tells what its witness holds and how it is settled), and how it runs.

#include <functional>
#include <string>
#include <vector>

#include <httplib.h>

#include "Procedures.h"

namespace server {

// What a request may leave on the register, by which its settlement finds
// out whether it did.
enum class Fiscal {
    No,         // nothing fiscal: a lost reply leaves its outcome unknown (no-reply)
    Receipt,    // a fiscal receipt of the request's type and total
    ShiftOpen,  // the shift's opening
    ZReport,    // the Z report
    CashIn,     // cash in or out: a document of the amount
    CashOut,
    ByName,  // an operation called by name that may fiscalise: whether its
             // counters moved tells whether it did anything, but not what
};

using Task = std::function<json(Run&)>;

struct RequestKind {
    const char* method;   // "POST", "PUT", "DELETE"
    const char* path;     // under /devices/{id}, as documented: "/articles/{code}"
    const char* pattern;  // the same as a regular expression: "/articles/([0-9]{1,6})"
    const char* kind;     // in the journal; "operation:" is followed by the operation's name
    Fiscal fiscal;        // for an operation by name: from the operation table
    // Reads the body (and the path's parameters) into the run, in the terms
    // of the register's configuration; BadInput for anything wrong, before
    // the journal is touched.
    Task (*prepare)(const json& body, const std::vector<std::string>& parameters,
                    const DeviceConfig& device);
};

const std::vector<RequestKind>& requestKinds();
// The kind's whole route as a regular expression, the register's id first:
// "/devices/([^/]+)/receipts".
std::string routePattern(const RequestKind& kind);

// The journal's kind of a correction receipt, a Fiscal::Receipt of its own
// document kind.
constexpr char kCorrectionKind[] = "correction";

// The journal's kind of a request of this kind and parameters.
std::string journalKind(const RequestKind& kind, const std::vector<std::string>& parameters);
// How a request of the journal's kind may fiscalise.
Fiscal fiscalOf(const std::string& journalKind);

// A request that changes a register, read whole from what its client sent,
// before anything is recorded or sent: the register's id, the kind and the
// parameters of its route, its key and its body, and the run that the body
// makes.
struct Order {
    std::string device;
    const RequestKind* kind = nullptr;
    std::vector<std::string> parameters;
    std::string key;
    json body;  // null for an empty body
    Task task;
};
// The one way from a method, a path (/devices/{id}/...), the headers and the
// body to an Order: BadInput naming what is wrong ("route", the key's
// header, "body" or the body's field) otherwise. Reaches no register and no
// journal; the HTTP routes and the fuzz target both come through here.
// deviceOf gives the configuration of the register that the path names (its
// payment modes), or throws for an id that names none.
using DeviceOf = std::function<const DeviceConfig&(const std::string& id)>;
Order readOrder(const std::string& method, const std::string& path, const httplib::Headers& headers,
                const std::string& body, const DeviceOf& deviceOf);

}  // namespace server

#endif
