#include "Tolmo/MacRegelaar/DictaatDiagnose.h"

#include <nlohmann/json.hpp>

#include "TolmoKern/Instellingen/JsonLezen.h"

namespace tolmo {

namespace {

nlohmann::json naarJson(const DictaatDiagnose::Dictaat& d) {
    nlohmann::json stappen = nlohmann::json::array();
    for (const auto& [naam, seconden] : d.stappen) {
        stappen.push_back({{"stap", naam}, {"s", seconden}});
    }
    return {{"begin", d.begin},   {"bron", d.bron},   {"stijl", d.stijl},
            {"motor", d.motor},   {"route", d.route}, {"ruisonderdrukking", d.ruisonderdrukking},
            {"stappen", stappen}, {"maten", d.maten}, {"uitkomst", d.uitkomst},
            {"reden", d.reden}};
}

std::string tekstVan(const nlohmann::json& j, const char* sleutel) {
    return j.contains(sleutel) ? JsonLezen::tekst(j[sleutel]).value_or("") : "";
}

DictaatDiagnose::Dictaat uitJson(const nlohmann::json& j) {
    DictaatDiagnose::Dictaat d;
    if (j.contains("begin")) {
        d.begin = JsonLezen::geheel(j["begin"]).value_or(0);
    }
    d.bron = tekstVan(j, "bron");
    d.stijl = tekstVan(j, "stijl");
    d.motor = tekstVan(j, "motor");
    d.route = tekstVan(j, "route");
    d.ruisonderdrukking = tekstVan(j, "ruisonderdrukking");
    d.uitkomst = tekstVan(j, "uitkomst");
    d.reden = tekstVan(j, "reden");
    if (j.contains("stappen") && j["stappen"].is_array()) {
        for (const auto& s : j["stappen"]) {
            if (s.is_object() && s.contains("s") && s["s"].is_number()) {
                d.stappen.emplace_back(tekstVan(s, "stap"), s["s"].get<double>());
            }
        }
    }
    if (j.contains("maten") && j["maten"].is_object()) {
        for (const auto& [naam, waarde] : j["maten"].items()) {
            if (const auto n = JsonLezen::geheel(waarde)) {
                d.maten[naam] = *n;
            }
        }
    }
    return d;
}

}  // namespace

DictaatDiagnose::Dictaat DictaatDiagnose::Dictaat::begonnen(std::int64_t begin,
                                                            std::string_view bron,
                                                            std::string_view stijl,
                                                            const TolmoInstellingen& instellingen,
                                                            bool altijdViaServer,
                                                            std::string_view ruisonderdrukking) {
    Dictaat d;
    d.begin = begin;
    d.bron = bron;
    d.stijl = stijl;
    d.ruisonderdrukking = ruisonderdrukking;
    const bool relay = altijdViaServer || instellingen.motor == Motor::tolmo;
    d.motor = relay ? aanbiederWaarden.naam(instellingen.serverAanbieder)
                    : motorWaarden.naam(instellingen.motor);
    d.route = relay ? "relayserver" : "rechtstreeks";
    return d;
}

void DictaatDiagnose::Dictaat::voegTijdenToe(const Tijden& tijden) {
    stappen.emplace_back("opname", tijden.opname);
    for (const auto& [naam, tijd] : {std::pair{"transcriptie", tijden.transcriptie},
                                     std::pair{"opschonen", tijden.opschonen}}) {
        if (tijd) {
            stappen.emplace_back(naam, *tijd);
        }
    }
}

void DictaatDiagnose::laad() {
    dictaten_.clear();
    const auto waarde = opslag_.lees(std::string(sleutel));
    if (!waarde || !std::holds_alternative<std::string>(*waarde)) {
        return;
    }
    const auto j = nlohmann::json::parse(std::get<std::string>(*waarde), nullptr, false);
    if (!j.is_array()) {
        return;
    }
    for (const auto& e : j) {
        if (e.is_object()) {
            dictaten_.push_back(uitJson(e));
        }
    }
    while (dictaten_.size() > maximum) {
        dictaten_.pop_front();
    }
}

void DictaatDiagnose::bewaar(Dictaat dictaat) {
    dictaten_.push_back(std::move(dictaat));
    while (dictaten_.size() > maximum) {
        dictaten_.pop_front();
    }
    opslag_.zet(std::string(sleutel), alsJson(-1));
}

std::string DictaatDiagnose::tekst() const {
    return alsJson(2);
}

std::string DictaatDiagnose::alsJson(int inspringen) const {
    nlohmann::json alle = nlohmann::json::array();
    for (const auto& d : dictaten_) {
        alle.push_back(naarJson(d));
    }
    // Replacement characters rather than an exception for a reason that is not UTF-8 (a system
    // error in another locale): the record matters more than one odd byte.
    return alle.dump(inspringen, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace tolmo
