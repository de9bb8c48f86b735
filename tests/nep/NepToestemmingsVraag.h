#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Tolmo/Poorten/ToestemmingsVraag.h"

namespace tolmo::nep {

// Records each question and keeps its answer callback until the test answers.
class NepToestemmingsVraag final : public ToestemmingsVraag {
  public:
    struct Vraag {
        std::string titel;
        std::string tekst;
        std::vector<std::string> knoppen;
    };
    std::vector<Vraag> vragen;
    Antwoord openAntwoord;

    void vraag(const std::string& titel, const std::string& tekst,
               const std::vector<std::string>& knoppen, Antwoord antwoord) override {
        vragen.push_back({titel, tekst, knoppen});
        openAntwoord = std::move(antwoord);
    }

    // The user presses button `knop` (-1: closes the dialog otherwise).
    void beantwoord(int knop) {
        auto a = std::exchange(openAntwoord, nullptr);
        if (a) {
            a(knop);
        }
    }
};

}  // namespace tolmo::nep
