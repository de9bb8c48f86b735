#include "TolmoKern/Transcriptie/TolmoServerTransport.h"

#include <algorithm>
#include <cctype>
#include <chrono>

#include <nlohmann/json.hpp>

#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/TransportFout.h"

namespace tolmo {
namespace {

// The relay's error body; anything that is not an object with string fields counts as absent.
struct ServerFoutBody {
    std::string fout;
    std::string soort;

    static ServerFoutBody lees(const std::string& body) {
        ServerFoutBody uit;
        const auto j = nlohmann::json::parse(body, nullptr, false);
        if (j.is_discarded() || !j.is_object()) {
            return uit;
        }
        if (const auto it = j.find("fout"); it != j.end() && it->is_string()) {
            uit.fout = it->get<std::string>();
        }
        if (const auto it = j.find("soort"); it != j.end() && it->is_string()) {
            uit.soort = it->get<std::string>();
        }
        return uit;
    }

    [[nodiscard]] std::string limietSoort() const {
        if (!soort.empty()) {
            return soort;
        }
        constexpr std::string_view voorvoegsel = "limiet-";
        if (fout.size() > voorvoegsel.size() && fout.starts_with(voorvoegsel)) {
            return fout.substr(voorvoegsel.size());
        }
        return std::string(TolmoServerTransport::plafond);
    }
};

bool isOnbereikbaar(UrlFout code) {
    switch (code) {
        case UrlFout::cannotFindHost:
        case UrlFout::cannotConnectToHost:
        case UrlFout::dnsLookupFailed:
        case UrlFout::timedOut:
        case UrlFout::secureConnectionFailed:
            return true;
        default:
            return false;
    }
}

bool zelfdeNaam(const std::string& a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

}  // namespace

TolmoServerTransport::TolmoServerTransport(std::shared_ptr<HTTPTransport> binnen,
                                           Aanbieder aanbieder)
    : binnen_(std::move(binnen)), aanbieder_(aanbieder) {}

HTTPAntwoord TolmoServerTransport::verstuur(HTTPVerzoek verzoek, StopToken stop) {
    std::erase_if(verzoek.headers,
                  [](const auto& header) { return zelfdeNaam(header.first, aanbiederHeader); });
    verzoek.headers.emplace_back(std::string(aanbiederHeader),
                                 std::string(aanbiederWaarden.naam(aanbieder_)));

    HTTPAntwoord antwoord;
    try {
        antwoord = binnen_->verstuur(std::move(verzoek), stop);
    } catch (const TransportFout& fout) {
        if (isOnbereikbaar(fout.code())) {
            throw HerkenningsFout::van(HerkenningsFout::Soort::serverNietBereikbaar);
        }
        throw;
    }
    const long status = antwoord.status;
    if (status >= 200 && status <= 299) {
        return antwoord;
    }
    const ServerFoutBody body = ServerFoutBody::lees(antwoord.body);
    using Soort = HerkenningsFout::Soort;
    if (status == 401 || status == 403) {
        throw HerkenningsFout::toegangGeweigerd(status);
    }
    if (status == 413) {
        throw HerkenningsFout::van(Soort::dictaatTeLang);
    }
    if (status == 429) {
        throw HerkenningsFout::limietBereikt(ServerLimiet{
            body.limietSoort(), std::move(antwoord.headers), std::chrono::system_clock::now()});
    }
    if (status == 503 && body.fout == "aanbieder-niet-beschikbaar") {
        throw HerkenningsFout::aanbiederNietBeschikbaar(alsMotor(aanbieder_));
    }
    if (status == 400 && body.fout == "audio") {
        throw HerkenningsFout::van(Soort::audioOngeldig);
    }
    throw HerkenningsFout::serverFout(status);
}

}  // namespace tolmo
