// tolmo-server: the relay the apps dictate through. Serves by default; "code ..." manages the
// access codes in the same store.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <mutex>

#include "TolmoServer/CodeOpdracht.h"
#include "TolmoServer/Configuratie.h"
#include "TolmoServer/RelayServer.h"

namespace {

const char* hulp =
    "Gebruik: tolmo-server [--config BESTAND] [--database DATABASE]  de relayserver starten\n"
    "        tolmo-server code ... [--config BESTAND] [--database DATABASE]\n"
    "                                                  toegangscodes beheren (zie code --help)\n"
    "\n"
    "De configuratie komt uit BESTAND, $TOLMO_SERVER_CONFIG of "
    "/etc/tolmo-server/tolmo-server.conf,\n"
    "en daarna uit omgevingsvariabelen (TOLMO_SERVER_LUISTER, OPENAI_API_KEY, MISTRAL_API_KEY, "
    "…).\n"
    "DATABASE is een SQLite-bestand of, voor meerdere instanties, een PostgreSQL-verbinding\n"
    "(postgresql://gebruiker@host/db of \"host=/run/postgresql dbname=tolmo\").\n";

void logRegel(const std::string& regel) {
    static std::mutex m;
    const std::time_t t = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm tm{};
    gmtime_r(&t, &tm);
    char tijd[32];
    std::strftime(tijd, sizeof tijd, "%Y-%m-%dT%H:%M:%SZ", &tm);
    const std::string uit = std::string(tijd) + " " + regel + "\n";
    const std::lock_guard slot(m);
    std::fwrite(uit.data(), 1, uit.size(), stderr);
}

// Each client connection takes a descriptor, and distributions start processes with a soft
// limit of 1024 under a hard limit many times that: without raising it, a few hundred idle
// clients would exhaust the server. Done before the configuration is read, whose default for
// max-verbindingen is half the limit.
void verhoogDescriptorLimiet() {
    rlimit r{};
    if (::getrlimit(RLIMIT_NOFILE, &r) == 0 && r.rlim_cur < r.rlim_max) {
        r.rlim_cur = r.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &r);
    }
}

}  // namespace

int main(int argc, char** argv) {
    using namespace tolmo::server;
    std::vector<std::string> args(argv + 1, argv + argc);
    std::filesystem::path configBestand;
    std::string database;
    for (std::size_t i = 0; i + 1 < args.size();) {
        if (args[i] == "--config" || args[i] == "--database") {
            if (args[i] == "--config") {
                configBestand = args[i + 1];
            } else {
                database = args[i + 1];
            }
            args.erase(args.begin() + static_cast<std::ptrdiff_t>(i),
                       args.begin() + static_cast<std::ptrdiff_t>(i) + 2);
        } else {
            ++i;
        }
    }
    if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        std::cout << hulp;
        return 0;
    }
    try {
        verhoogDescriptorLimiet();
        Configuratie c = Configuratie::laad(configBestand);
        if (!database.empty()) {
            c.database = database;
        }
        auto opslag = openOpslag(c.database, c.reserveringTimeout, c.databaseVerbindingen);
        if (!args.empty() && args[0] == "code") {
            if (args.size() > 1 && (args[1] == "--help" || args[1] == "-h")) {
                std::cout << CodeOpdracht::hulp();
                return 0;
            }
            return CodeOpdracht::voerUit({args.begin() + 1, args.end()}, c, *opslag, std::cout,
                                         std::cerr);
        }
        if (!args.empty()) {
            std::cerr << "Onbekende opdracht: " << args[0] << "\n" << hulp;
            return 2;
        }
        if (c.openAISleutel.empty() && c.mistralSleutel.empty()) {
            logRegel("Let op: geen sleutel voor OpenAI of Mistral; elk verzoek krijgt 503.");
        }
        RelayServer server(c, opslag, logRegel);
        server.draai();
        return 0;
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
}
