#include "Tolmo/Poorten/SleutelWaardeLogOpslag.h"

#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

namespace tolmo {

SleutelWaardeLogOpslag::SleutelWaardeLogOpslag(SleutelWaardeOpslag& opslag, std::string sleutel)
    : opslag_(opslag), sleutel_(std::move(sleutel)) {}

std::string SleutelWaardeLogOpslag::codeer(const std::vector<LogRegel>& regels) {
    nlohmann::json lijst = nlohmann::json::array();
    for (const LogRegel& r : regels) {
        lijst.push_back({{"id", r.id}, {"tijd", r.tijd}, {"bron", r.bron}, {"tekst", r.tekst}});
    }
    // Replace, not throw: a line may quote text from outside that is not valid UTF-8.
    return lijst.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::vector<LogRegel> SleutelWaardeLogOpslag::decodeer(const std::string& document) {
    std::vector<LogRegel> regels;
    const nlohmann::json lijst = nlohmann::json::parse(document, nullptr, false);
    if (!lijst.is_array()) {
        return regels;
    }
    for (const nlohmann::json& j : lijst) {
        if (!j.is_object()) {
            continue;
        }
        const auto id = j.find("id");
        const auto tijd = j.find("tijd");
        const auto tekst = j.find("tekst");
        if (id == j.end() || !id->is_number_unsigned() || tijd == j.end() ||
            !tijd->is_number_integer() || tekst == j.end() || !tekst->is_string()) {
            continue;
        }
        LogRegel r;
        r.id = id->get<std::uint64_t>();
        r.tijd = tijd->get<std::int64_t>();
        r.tekst = tekst->get<std::string>();
        if (const auto bron = j.find("bron"); bron != j.end() && bron->is_string()) {
            r.bron = bron->get<std::string>();
        }
        regels.push_back(std::move(r));
    }
    return regels;
}

std::vector<LogRegel> SleutelWaardeLogOpslag::laad() const {
    const auto waarde = opslag_.lees(sleutel_);
    if (!waarde) {
        return {};
    }
    const std::string* document = std::get_if<std::string>(&*waarde);
    return document != nullptr ? decodeer(*document) : std::vector<LogRegel>{};
}

void SleutelWaardeLogOpslag::bewaar(const std::vector<LogRegel>& regels) {
    opslag_.zet(sleutel_, codeer(regels));
}

}  // namespace tolmo
