#include "Tolmo/linux/freedesktop/BestandsKluis.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "Tolmo/linux/freedesktop/XdgOpslag.h"

namespace tolmo {
namespace {

nlohmann::json leesBestand(const std::filesystem::path& pad) {
    std::ifstream in(pad, std::ios::binary);
    if (!in) {
        return nlohmann::json::object();
    }
    std::stringstream s;
    s << in.rdbuf();
    nlohmann::json j = nlohmann::json::parse(s.str(), nullptr, false);
    return j.is_object() ? j : nlohmann::json::object();
}

}  // namespace

BestandsKluis::BestandsKluis(std::filesystem::path map, Omgeving omgeving)
    : bestand_(std::move(map) / "sleutels.json"), omgeving_(std::move(omgeving)) {}

std::optional<std::string> BestandsKluis::echteOmgeving(const char* naam) {
    const char* w = std::getenv(naam);
    if (w == nullptr || *w == '\0') {
        return std::nullopt;
    }
    return std::string(w);
}

std::optional<BestandsKluis::Gevonden> BestandsKluis::zoek(Soort soort) const {
    const std::string variabele(omgevingsvariabele(soort));
    if (omgeving_) {
        if (auto w = omgeving_(variabele.c_str()); w && !w->empty()) {
            return Gevonden{std::move(*w), variabele};
        }
    }
    const nlohmann::json j = leesBestand(bestand_);
    const auto it = j.find(std::string(naam(soort)));
    if (it == j.end() || !it->is_string() || it->get_ref<const std::string&>().empty()) {
        return std::nullopt;
    }
    return Gevonden{it->get<std::string>(), "bestand"};
}

void BestandsKluis::zet(Soort soort, const std::string& waarde) {
    nlohmann::json j = leesBestand(bestand_);
    j[std::string(naam(soort))] = waarde;
    schrijfAtomisch(bestand_, j.dump(2) + "\n", 0600);
}

bool BestandsKluis::wis(Soort soort) {
    nlohmann::json j = leesBestand(bestand_);
    if (j.erase(std::string(naam(soort))) == 0) {
        return false;
    }
    schrijfAtomisch(bestand_, j.dump(2) + "\n", 0600);
    return true;
}

}  // namespace tolmo
