#include "TolmoServer/Configuratie.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace tolmo::server {
namespace {

namespace fs = std::filesystem;

std::string omgeving(const char* naam) {
    const char* w = std::getenv(naam);
    return w ? std::string(w) : std::string();
}

std::string bijgesneden(std::string s) {
    const auto begin = s.find_first_not_of(" \t\r");
    if (begin == std::string::npos) {
        return {};
    }
    return s.substr(begin, s.find_last_not_of(" \t\r") - begin + 1);
}

std::int64_t getal(const std::string& sleutel, const std::string& waarde, std::int64_t min) {
    try {
        std::size_t gelezen = 0;
        const long long n = std::stoll(waarde, &gelezen);
        if (gelezen == waarde.size() && n >= min) {
            return n;
        }
    } catch (const std::exception&) {
    }
    throw std::runtime_error("Ongeldige waarde voor " + sleutel + ": \"" + waarde +
                             "\" (verwacht een geheel getal van minstens " + std::to_string(min) +
                             ").");
}

fs::path standaardDatabase() {
    fs::path staat = omgeving("XDG_STATE_HOME");
    if (staat.empty()) {
        staat = fs::path(omgeving("HOME")) / ".local" / "state";
    }
    return staat / "tolmo-server" / "tolmo-server.db";
}

// The keys the file and the environment know, in the order the README lists them.
constexpr const char* sleutels[] = {
    "luister",
    "draden",
    "openai-url",
    "mistral-url",
    "openai-sleutel",
    "mistral-sleutel",
    "database",
    "spoolmap",
    "max-upload-mb",
    "max-audio-minuten",
    "minuten-per-dag",
    "verzoeken-per-minuut",
    "plafond",
    "kop-timeout",
    "body-timeout",
    "aanbieder-timeout",
    "reservering-timeout",
    "database-verbindingen",
    "max-verbindingen",
    "max-verbindingen-per-adres",
    "verzoeklog",
};

}  // namespace

void Configuratie::zet(const std::string& sleutel, const std::string& waarde) {
    if (sleutel == "luister") {
        const auto dubbelepunt = waarde.rfind(':');
        if (dubbelepunt == std::string::npos) {
            throw std::runtime_error("Ongeldige waarde voor luister: \"" + waarde +
                                     "\" (verwacht adres:poort).");
        }
        luisterAdres = waarde.substr(0, dubbelepunt);
        luisterPoort = static_cast<std::uint16_t>(
            std::min<std::int64_t>(getal(sleutel, waarde.substr(dubbelepunt + 1), 0), 65535));
    } else if (sleutel == "draden") {
        draden = static_cast<unsigned>(getal(sleutel, waarde, 0));
    } else if (sleutel == "openai-url") {
        openAIUrl = waarde;
    } else if (sleutel == "mistral-url") {
        mistralUrl = waarde;
    } else if (sleutel == "openai-sleutel") {
        openAISleutel = waarde;
    } else if (sleutel == "mistral-sleutel") {
        mistralSleutel = waarde;
    } else if (sleutel == "database") {
        database = waarde;
    } else if (sleutel == "spoolmap") {
        spoolMap = waarde;
    } else if (sleutel == "max-upload-mb") {
        maxUploadBytes = static_cast<std::uint64_t>(getal(sleutel, waarde, 1)) * 1024 * 1024;
    } else if (sleutel == "max-audio-minuten") {
        maxAudioSeconden = static_cast<double>(getal(sleutel, waarde, 1)) * 60;
    } else if (sleutel == "minuten-per-dag") {
        minutenPerDag = getal(sleutel, waarde, 0);
    } else if (sleutel == "verzoeken-per-minuut") {
        verzoekenPerMinuut = getal(sleutel, waarde, 1);
    } else if (sleutel == "plafond") {
        plafond = getal(sleutel, waarde, 1);
    } else if (sleutel == "kop-timeout") {
        kopTimeout = std::chrono::seconds(getal(sleutel, waarde, 1));
    } else if (sleutel == "body-timeout") {
        bodyTimeout = std::chrono::seconds(getal(sleutel, waarde, 1));
    } else if (sleutel == "aanbieder-timeout") {
        aanbiederTimeout = std::chrono::seconds(getal(sleutel, waarde, 1));
    } else if (sleutel == "reservering-timeout") {
        reserveringTimeout = std::chrono::seconds(getal(sleutel, waarde, 1));
    } else if (sleutel == "database-verbindingen") {
        databaseVerbindingen = static_cast<unsigned>(getal(sleutel, waarde, 0));
    } else if (sleutel == "max-verbindingen") {
        maxVerbindingen = getal(sleutel, waarde, 1);
    } else if (sleutel == "max-verbindingen-per-adres") {
        maxVerbindingenPerAdres = getal(sleutel, waarde, 1);
    } else if (sleutel == "verzoeklog") {
        if (waarde != "aan" && waarde != "uit") {
            throw std::runtime_error("Ongeldige waarde voor verzoeklog: \"" + waarde +
                                     "\" (aan of uit).");
        }
        verzoekLog = waarde == "aan";
    } else {
        throw std::runtime_error("Onbekende instelling: " + sleutel + ".");
    }
}

Configuratie Configuratie::laad(const fs::path& bestand) {
    Configuratie c;
    fs::path pad = bestand;
    if (pad.empty()) {
        pad = omgeving("TOLMO_SERVER_CONFIG");
        if (pad.empty() && fs::exists("/etc/tolmo-server/tolmo-server.conf")) {
            pad = "/etc/tolmo-server/tolmo-server.conf";
        }
    }
    if (!pad.empty()) {
        std::ifstream in(pad);
        if (!in) {
            throw std::runtime_error("Kan het configuratiebestand " + pad.string() +
                                     " niet lezen.");
        }
        std::string regel;
        int nummer = 0;
        while (std::getline(in, regel)) {
            ++nummer;
            regel = bijgesneden(regel.substr(0, regel.find('#')));
            if (regel.empty()) {
                continue;
            }
            const auto is = regel.find('=');
            if (is == std::string::npos) {
                throw std::runtime_error(pad.string() + ", regel " + std::to_string(nummer) +
                                         ": verwacht sleutel = waarde.");
            }
            c.zet(bijgesneden(regel.substr(0, is)), bijgesneden(regel.substr(is + 1)));
        }
    }
    for (const char* sleutel : sleutels) {
        std::string naam = "TOLMO_SERVER_";
        for (const char* p = sleutel; *p; ++p) {
            naam +=
                *p == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
        }
        if (const std::string w = omgeving(naam.c_str()); !w.empty()) {
            c.zet(sleutel, w);
        }
    }
    if (const std::string w = omgeving("OPENAI_API_KEY"); !w.empty()) {
        c.openAISleutel = w;
    }
    if (const std::string w = omgeving("MISTRAL_API_KEY"); !w.empty()) {
        c.mistralSleutel = w;
    }
    if (c.database.empty()) {
        c.database = standaardDatabase().string();
    }
    if (c.spoolMap.empty()) {
        std::error_code ec;
        c.spoolMap = fs::temp_directory_path(ec);
    }
    if (c.draden == 0) {
        c.draden = std::max(1u, std::thread::hardware_concurrency());
    }
    if (rlimit r{}; c.maxVerbindingen == 0 && ::getrlimit(RLIMIT_NOFILE, &r) == 0) {
        c.maxVerbindingen = std::max<std::int64_t>(16, static_cast<std::int64_t>(r.rlim_cur / 2));
    }
    if (c.databaseVerbindingen == 0) {
        c.databaseVerbindingen = std::max(8u, 2 * c.draden);
    }
    return c;
}

}  // namespace tolmo::server
