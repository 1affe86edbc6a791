#include "Shared.h"

namespace server {

bool Shared::move(const std::string& device, const std::string& key, State from, Event event,
                  const json& detail, const json& answer, const json& witness) {
    if (!journal.move(key, from, event, detail, answer, witness)) return false;
    const Move* m = findMove(from, event);
    json data = {{"key", key}, {"device", device}, {"step", m->step}, {"state", stateName(m->to)}};
    if (!detail.is_null()) data["detail"] = detail;
    events.publish("request", data);
    return true;
}

void Shared::step(const std::string& device, const std::string& key, const std::string& name,
                  const json& detail) {
    journal.step(key, name, detail);
    json data = {{"key", key}, {"device", device}, {"step", name}};
    if (!detail.is_null()) data["detail"] = detail;
    events.publish("request", data);
}

}  // namespace server
