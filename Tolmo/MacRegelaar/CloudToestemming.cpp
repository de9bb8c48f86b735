#include "Tolmo/MacRegelaar/CloudToestemming.h"

#include <string>

#include <nlohmann/json.hpp>

namespace tolmo {

std::optional<CloudToestemming> CloudToestemming::laad(const SleutelWaardeOpslag& opslag) {
    const auto waarde = opslag.lees(std::string(sleutel));
    const auto* data = waarde ? std::get_if<std::string>(&*waarde) : nullptr;
    if (data == nullptr) {
        return std::nullopt;
    }
    const nlohmann::json j = nlohmann::json::parse(*data, nullptr, false);
    if (!j.is_object() || !j.contains("versie") || !j["versie"].is_number_integer()) {
        return std::nullopt;
    }
    CloudToestemming t;
    t.versie = j["versie"].get<std::int64_t>();
    if (j.contains("datum") && j["datum"].is_number_integer()) {
        t.datum = j["datum"].get<std::int64_t>();
    }
    return t;
}

void CloudToestemming::bewaar(SleutelWaardeOpslag& opslag) const {
    const nlohmann::json j{{"versie", versie}, {"datum", datum}};
    opslag.zet(std::string(sleutel), j.dump());
}

}  // namespace tolmo
