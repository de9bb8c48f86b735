#include "TolmoServer/Metingen.h"

#include <fstream>
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

void Metingen::Histogram::tel(double seconden) {
    for (std::size_t i = 0; i < grenzen.size(); ++i) {
        if (seconden <= grenzen[i]) {
            ++emmers[i];
        }
    }
    ++aantal;
    som += seconden;
}

void Metingen::Histogram::schrijf(std::ostream& o, const char* naam, const char* uitleg) const {
    o << "# HELP " << naam << " " << uitleg << "\n# TYPE " << naam << " histogram\n";
    for (std::size_t i = 0; i < grenzen.size(); ++i) {
        o << naam << "_bucket{le=\"" << grenzen[i] << "\"} " << emmers[i] << "\n";
    }
    o << naam << "_bucket{le=\"+Inf\"} " << aantal << "\n"
      << naam << "_sum " << som << "\n"
      << naam << "_count " << aantal << "\n";
}

void Metingen::aanbiederDuur(double seconden) {
    const std::lock_guard slot(m_);
    aanbieder_.tel(seconden);
}

void Metingen::opslagDuur(double seconden) {
    const std::lock_guard slot(m_);
    opslag_.tel(seconden);
}

void Metingen::opslagFout() {
    const std::lock_guard slot(m_);
    ++opslagFouten_;
}

void Metingen::audio(double seconden) {
    const std::lock_guard slot(m_);
    audioSeconden_ += seconden;
}

namespace {

// The process's resident memory in bytes, as the kernel reports it (VmRSS), or -1 off Linux:
// what an operator watches when many clients hold connections open.
long long residentGeheugen() {
    std::ifstream status("/proc/self/status");
    std::string regel;
    while (std::getline(status, regel)) {
        if (regel.starts_with("VmRSS:")) {
            return std::stoll(regel.substr(6)) * 1024;
        }
    }
    return -1;
}

}  // namespace

std::string Metingen::tekst() const {
    const long long rss = residentGeheugen();  // file reading, outside the lock
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
    aanbieder_.schrijf(o, "tolmo_aanbieder_duur_seconden", "Wachttijd op de aanbieder.");
    opslag_.schrijf(o, "tolmo_opslag_duur_seconden", "Duur van een databaseopdracht.");
    o << "# HELP tolmo_opslag_fouten_totaal Mislukte databaseopdrachten.\n"
         "# TYPE tolmo_opslag_fouten_totaal counter\n"
      << "tolmo_opslag_fouten_totaal " << opslagFouten_ << "\n"
      << "# HELP tolmo_audio_seconden_totaal Doorgestuurde audio in seconden.\n"
         "# TYPE tolmo_audio_seconden_totaal counter\n"
      << "tolmo_audio_seconden_totaal " << audioSeconden_ << "\n"
      << "# HELP tolmo_verbindingen Open verbindingen van klanten.\n"
         "# TYPE tolmo_verbindingen gauge\n"
      << "tolmo_verbindingen " << verbindingen_.load() << "\n"
      << "# HELP process_resident_memory_bytes Geheugen in gebruik (VmRSS).\n"
         "# TYPE process_resident_memory_bytes gauge\n"
      << "process_resident_memory_bytes " << rss << "\n";
    return o.str();
}

}  // namespace tolmo::server
