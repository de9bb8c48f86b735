#include "Tolmo/linux/freedesktop/Sleutelbeheer.h"

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

std::optional<std::string> Sleutelbeheer::sleutel(Aanbieder aanbieder) const {
    auto g = zoek(aanbieder == Aanbieder::mistral ? Soort::mistral : Soort::openai);
    return g ? std::optional<std::string>(std::move(g->waarde)) : std::nullopt;
}

std::optional<std::string> Sleutelbeheer::toegangscode() const {
    auto g = zoek(Soort::server);
    return g ? std::optional<std::string>(std::move(g->waarde)) : std::nullopt;
}

std::string_view Sleutelbeheer::omgevingsvariabele(Soort soort) {
    switch (soort) {
        case Soort::openai:
            return "OPENAI_API_KEY";
        case Soort::mistral:
            return "MISTRAL_API_KEY";
        case Soort::server:
            return "TOLMO_TOEGANGSCODE";
    }
    return {};
}

std::string Sleutelbeheer::gemaskeerd(const std::string& waarde) {
    const std::u32string c = Tekst::codepunten(waarde);
    if (c.size() <= 8) {
        return std::string(c.size(), '*');
    }
    return Tekst::utf8(c.substr(0, 3)) + "…" + Tekst::utf8(c.substr(c.size() - 4));
}

}  // namespace tolmo
