#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace tolmo::server {

// Everything the operator can set: one file of "sleutel = waarde" lines, then the environment
// on top (TOLMO_SERVER_ + the key in capitals with "_" for "-", e.g. TOLMO_SERVER_LUISTER), so
// a systemd unit or a test needs no file. The provider keys come from OPENAI_API_KEY and
// MISTRAL_API_KEY as well; they are never printed.
struct Configuratie {
    std::string luisterAdres = "127.0.0.1";
    std::uint16_t luisterPoort = 8787;
    unsigned draden = 0;  // 0: one event loop per core
    std::string openAIUrl = "https://api.openai.com";
    std::string mistralUrl = "https://api.mistral.ai";
    std::string openAISleutel;
    std::string mistralSleutel;
    // A SQLite file, or a libpq connection string for PostgreSQL (several instances).
    std::string database;
    // PostgreSQL: pooled connections, each with a thread for the store's calls, so that this
    // many requests can wait on the database at once. 0: twice the event loops, at least 8.
    unsigned databaseVerbindingen = 0;
    std::filesystem::path spoolMap;
    std::uint64_t maxUploadBytes = 50ull * 1024 * 1024;
    std::uint64_t maxChatBytes = 1024 * 1024;
    double maxAudioSeconden = 600;
    std::int64_t minutenPerDag = 60;  // for codes made without --minuten-per-dag
    std::int64_t verzoekenPerMinuut = 60;
    std::int64_t plafond = 512;  // requests forwarded at once, over all codes
    // Open client connections: in total (0: half the descriptor limit, leaving the rest for
    // spool files and provider connections) and from one address (one office behind NAT fits).
    std::int64_t maxVerbindingen = 0;
    std::int64_t maxVerbindingenPerAdres = 500;
    std::chrono::seconds kopTimeout{10};
    std::chrono::seconds bodyTimeout{30};
    std::chrono::seconds aanbiederTimeout{120};
    // An unsettled reservation (its instance crashed) is given back after this long; it must
    // outlast the provider's time-out, or a slow request's minutes come back while it runs.
    std::chrono::seconds reserveringTimeout{300};
    bool verzoekLog = true;  // one log line per request

    // Reads `bestand` when given (an error when it cannot be read), else $TOLMO_SERVER_CONFIG or
    // /etc/tolmo-server/tolmo-server.conf when they exist, then the environment. Throws
    // std::runtime_error with a Dutch message naming the key for a value that is not valid.
    static Configuratie laad(const std::filesystem::path& bestand = {});

    // Sets one key as the file and the environment name it.
    void zet(const std::string& sleutel, const std::string& waarde);
};

}  // namespace tolmo::server
