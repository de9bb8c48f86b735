#include "TolmoServer/Metingen.h"

#include <sstream>

namespace tolmo::server {

void Metingen::verzoek(const std::string& route, const std::string& aanbieder, unsigned status) {
    const std::lock_guard slot(m_);
    ++verzoeken_["route=\"" + route + "\",aanbieder=\"" + aanbieder + "\",status=\"" +
                 std::to_string(status) + "\""];
}

void Metingen::weigering(const std::string& soort) {
    const std::lock_guard slot(m_);
    ++weigeringen_["soort=\"" + soort + "\""];
}

void Metingen::aanbiederDuur(double seconden) {
    const std::lock_guard slot(m_);
    for (std::size_t i = 0; i < grenzen.size(); ++i) {
        if (seconden <= grenzen[i]) {
            ++emmers_[i];
        }
    }
    ++duurAantal_;
    duurSom_ += seconden;
}

void Metingen::audio(double seconden) {
    const std::lock_guard slot(m_);
    audioSeconden_ += seconden;
}

std::string Metingen::tekst() const {
    const std::lock_guard slot(m_);
    std::ostringstream o;
    o << "# HELP tolmo_verzoeken_totaal Verzoeken per route, aanbieder en status.\n"
         "# TYPE tolmo_verzoeken_totaal counter\n";
    for (const auto& [labels, n] : verzoeken_) {
        o << "tolmo_verzoeken_totaal{" << labels << "} " << n << "\n";
    }
    o << "# HELP tolmo_weigeringen_totaal Geweigerde verzoeken per soort.\n"
         "# TYPE tolmo_weigeringen_totaal counter\n";
    for (const auto& [labels, n] : weigeringen_) {
        o << "tolmo_weigeringen_totaal{" << labels << "} " << n << "\n";
    }
    o << "# HELP tolmo_aanbieder_duur_seconden Wachttijd op de aanbieder.\n"
         "# TYPE tolmo_aanbieder_duur_seconden histogram\n";
    for (std::size_t i = 0; i < grenzen.size(); ++i) {
        o << "tolmo_aanbieder_duur_seconden_bucket{le=\"" << grenzen[i] << "\"} " << emmers_[i]
          << "\n";
    }
    o << "tolmo_aanbieder_duur_seconden_bucket{le=\"+Inf\"} " << duurAantal_ << "\n"
      << "tolmo_aanbieder_duur_seconden_sum " << duurSom_ << "\n"
      << "tolmo_aanbieder_duur_seconden_count " << duurAantal_ << "\n"
      << "# HELP tolmo_audio_seconden_totaal Doorgestuurde audio in seconden.\n"
         "# TYPE tolmo_audio_seconden_totaal counter\n"
      << "tolmo_audio_seconden_totaal " << audioSeconden_ << "\n"
      << "# HELP tolmo_verbindingen Open verbindingen van klanten.\n"
         "# TYPE tolmo_verbindingen gauge\n"
      << "tolmo_verbindingen " << verbindingen_.load() << "\n";
    return o.str();
}

}  // namespace tolmo::server
