#include "Tolmo/Poorten/SleutelWaardeLogOpslag.h"

#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

namespace tolmo {

SleutelWaardeLogOpslag::SleutelWaardeLogOpslag(SleutelWaardeOpslag& opslag, std::size_t bewaar,
                                               std::string sleutel)
    : opslag_(opslag), bewaar_(bewaar), sleutel_(std::move(sleutel)) {}

nlohmann::json SleutelWaardeLogOpslag::codeer(const LogRegel& r) {
    return {{"id", r.id}, {"tijd", r.tijd}, {"bron", r.bron}, {"tekst", r.tekst}};
}

std::optional<LogRegel> SleutelWaardeLogOpslag::decodeer(const nlohmann::json& j) {
    if (!j.is_object()) {
        return std::nullopt;
    }
    const auto id = j.find("id");
    const auto tijd = j.find("tijd");
    const auto tekst = j.find("tekst");
    if (id == j.end() || !id->is_number_unsigned() || tijd == j.end() ||
        !tijd->is_number_integer() || tekst == j.end() || !tekst->is_string()) {
        return std::nullopt;
    }
    LogRegel r;
    r.id = id->get<std::uint64_t>();
    r.tijd = tijd->get<std::int64_t>();
    r.tekst = tekst->get<std::string>();
    if (const auto bron = j.find("bron"); bron != j.end() && bron->is_string()) {
        r.bron = bron->get<std::string>();
    }
    return r;
}

std::string SleutelWaardeLogOpslag::codeer(const std::vector<LogRegel>& regels) {
    nlohmann::json lijst = nlohmann::json::array();
    for (const LogRegel& r : regels) {
        lijst.push_back(codeer(r));
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
        if (auto r = decodeer(j)) {
            regels.push_back(std::move(*r));
        }
    }
    return regels;
}

std::vector<LogRegel> SleutelWaardeLogOpslag::laad() const {
    const auto waarde = opslag_.lees(sleutel_);
    const std::string* document = waarde ? std::get_if<std::string>(&*waarde) : nullptr;
    kopie_ = document != nullptr ? decodeer(*document) : std::vector<LogRegel>{};
    return *kopie_;
}

void SleutelWaardeLogOpslag::voegToe(const LogRegel& regel) {
    if (!kopie_) {
        static_cast<void>(laad());
    }
    kopie_->push_back(regel);
    if (kopie_->size() > bewaar_) {
        kopie_->erase(kopie_->begin(),
                      kopie_->begin() + static_cast<std::ptrdiff_t>(kopie_->size() - bewaar_));
    }
    opslag_.zet(sleutel_, codeer(*kopie_));
}

}  // namespace tolmo
