#ifndef VERDA_SERVER_OPERATIONSBYNAME_H
#define VERDA_SERVER_OPERATIONSBYNAME_H

// Any operation of the library by its name, from the C interface's one
// description of every operation: POST /devices/{id}/operations/{Name} and
// GET /operations.

#include <functional>
#include <string>

#include "Procedures.h"

namespace server {

// The operations with their parameters, as the C interface describes them.
json listOperations();
// Checks the inputs (a JSON object by parameter name) against the
// operation's description and gives the call to run; BadInput otherwise.
// An unknown name is BadInput of the field "name".
std::function<json(Run&)> prepareCall(const std::string& name, const json& inputs);

}  // namespace server

#endif
