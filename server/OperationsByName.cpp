#include "OperationsByName.h"

#include <memory>

namespace server {

namespace {

const char* typeName(int type) {
    switch (type) {
        case VERDA_TYPE_INT:
            return "int";
        case VERDA_TYPE_LONG:
            return "long";
        case VERDA_TYPE_DOUBLE:
            return "double";
        case VERDA_TYPE_CHAR:
            return "char";
        case VERDA_TYPE_BOOL:
            return "bool";
        default:
            return "text";
    }
}

const char* directionName(int direction) {
    return direction == VERDA_IN ? "in" : direction == VERDA_OUT ? "out" : "inout";
}

bool isInput(const verda_parameter& p) {
    return p.direction == VERDA_IN || p.direction == VERDA_INOUT;
}

bool isOutput(const verda_parameter& p) {
    return p.direction == VERDA_OUT || p.direction == VERDA_INOUT;
}

// One input value from JSON into the call's value; BadInput naming it.
void readInput(const verda_parameter& p, const json& v, verda_value& value, std::string& text) {
    const std::string field = p.name;
    switch (p.type) {
        case VERDA_TYPE_INT:
        case VERDA_TYPE_LONG:
            if (!v.is_number_integer() || v.get<long long>() < -2147483648LL ||
                v.get<long long>() > 2147483647LL)
                throw BadInput{field, "must be a whole number"};
            value.integer = v.get<long long>();
            return;
        case VERDA_TYPE_DOUBLE:
            if (!v.is_number()) throw BadInput{field, "must be a number"};
            value.number = v.get<double>();
            return;
        case VERDA_TYPE_BOOL:
            if (!v.is_boolean()) throw BadInput{field, "must be true or false"};
            value.integer = v.get<bool>() ? 1 : 0;
            return;
        case VERDA_TYPE_CHAR:
            // One ASCII character, or the byte as a number.
            if (v.is_string() && v.get<std::string>().size() == 1 &&
                static_cast<unsigned char>(v.get<std::string>()[0]) < 0x80)
                value.integer = v.get<std::string>()[0];
            else if (v.is_number_integer() && v.get<long long>() >= 0 && v.get<long long>() <= 255)
                value.integer = v.get<long long>();
            else
                throw BadInput{field, "one ASCII character, or a byte from 0 to 255"};
            return;
        default: {
            if (!v.is_string()) throw BadInput{field, "must be a string"};
            text = v.get<std::string>();
            // Forms other than the application's text go to the register as
            // they are converted by the interface, which refuses what its
            // code page cannot carry before anything is sent.
            std::string why;
            if (std::string(p.form) == "fromASCIItoDOS" && !printable(text, why))
                throw BadInput{field, why};
            return;
        }
    }
}

json outputOf(const verda_parameter& p, const verda_value& value) {
    switch (p.type) {
        case VERDA_TYPE_INT:
        case VERDA_TYPE_LONG:
            return value.integer;
        case VERDA_TYPE_DOUBLE:
            return value.number;
        case VERDA_TYPE_BOOL:
            return value.integer != 0;
        case VERDA_TYPE_CHAR:
            if (value.integer >= 0x20 && value.integer < 0x7F)
                return std::string(1, static_cast<char>(value.integer));
            return value.integer;
        default:
            return std::string(value.text);
    }
}

}  // namespace

json listOperations() {
    json out = json::array();
    for (size_t i = 0; i < verda_operation_count(); ++i) {
        const verda_operation* op = verda_operation_at(i);
        json parameters = json::array();
        for (size_t k = 0; k < op->parameter_count; ++k) {
            const verda_parameter& p = op->parameters[k];
            parameters.push_back({{"name", p.name},
                                  {"type", typeName(p.type)},
                                  {"direction", directionName(p.direction)},
                                  {"meaning", p.meaning}});
        }
        out.push_back({{"name", op->name},
                       {"command", op->command},
                       {"meaning", op->meaning},
                       {"may_fiscalise", op->may_fiscalise != 0},
                       {"parameters", parameters}});
    }
    return out;
}

std::function<json(Run&)> prepareCall(const std::string& name, const json& inputs) {
    const verda_operation* op = verda_find_operation(name.c_str());
    if (op == nullptr) throw BadInput{"name", "no operation " + name + " (see GET /operations)"};
    const json body = inputs.is_null() ? json::object() : inputs;
    if (!body.is_object()) throw BadInput{"body", "must be an object of the inputs by name"};
    for (const auto& item : body.items()) {
        bool known = false;
        for (size_t k = 0; k < op->parameter_count; ++k)
            known = known || (item.key() == op->parameters[k].name && isInput(op->parameters[k]));
        if (!known && item.key().empty()) throw unknownField("", item.key());
        if (!known) throw BadInput{item.key(), "not an input of " + name};
    }
    // The values are checked now; the texts they point to live with the call.
    auto values = std::make_shared<std::vector<verda_value>>(op->parameter_count);
    auto texts = std::make_shared<std::vector<std::string>>(op->parameter_count);
    for (size_t k = 0; k < op->parameter_count; ++k) {
        const verda_parameter& p = op->parameters[k];
        if (!isInput(p)) continue;
        if (!body.contains(p.name)) throw BadInput{p.name, "missing"};
        readInput(p, body[p.name], (*values)[k], (*texts)[k]);
    }
    return [op, values, texts](Run& run) {
        // Text outputs get buffers that always suffice; inout texts start as given.
        std::vector<std::vector<char>> buffers(op->parameter_count);
        std::vector<verda_value> call = *values;
        for (size_t k = 0; k < op->parameter_count; ++k) {
            const verda_parameter& p = op->parameters[k];
            if (p.type != VERDA_TYPE_TEXT) continue;
            if (isOutput(p)) {
                buffers[k].assign(VERDA_TEXT_MAX, '\0');
                const std::string& given = (*texts)[k];
                std::copy(given.begin(),
                          given.begin() + std::min(given.size(), buffers[k].size() - 1),
                          buffers[k].begin());
                call[k].text = buffers[k].data();
                call[k].text_size = buffers[k].size();
            } else {
                call[k].text = const_cast<char*>((*texts)[k].c_str());
            }
        }
        run.send();
        run.fiscal = op->may_fiscalise != 0;
        const int result = verda_call(run.device.handle(), op->name, call.data(), call.size());
        run.device.check(op->name, result);
        json outputs = json::object();
        for (size_t k = 0; k < op->parameter_count; ++k)
            if (isOutput(op->parameters[k]))
                outputs[op->parameters[k].name] = outputOf(op->parameters[k], call[k]);
        return committed({{"result", result}, {"outputs", outputs}});
    };
}

}  // namespace server
