#include "TolmoKern/Transcriptie/Eindpunten.h"

#include <cstdlib>

#include "TolmoKern/Transcriptie/HerkenningsFout.h"

namespace tolmo {
namespace {

std::string metSlash(std::string basis) {
    if (!basis.empty() && basis.back() != '/') {
        basis += '/';
    }
    return basis;
}

std::string gezetOf(const Eindpunten::Omgeving& omgeving, const char* naam,
                    std::string_view standaard) {
    auto waarde = omgeving(naam);
    return waarde && !waarde->empty() ? std::move(*waarde) : std::string(standaard);
}

}  // namespace

Eindpunten::Eindpunten(std::string openAI, std::string mistral, std::optional<std::string> server)
    : openAI_(metSlash(std::move(openAI))), mistral_(metSlash(std::move(mistral))) {
    if (server && !server->empty()) {
        server_ = metSlash(std::move(*server));
    }
}

Eindpunten::Eindpunten(const Omgeving& omgeving)
    : Eindpunten(gezetOf(omgeving, openAIVariabele, openAIStandaard),
                 gezetOf(omgeving, mistralVariabele, mistralStandaard), omgeving(serverVariabele)) {
}

Eindpunten Eindpunten::uitOmgeving() {
    return Eindpunten([](const char* naam) -> std::optional<std::string> {
        const char* waarde = std::getenv(naam);
        if (waarde == nullptr) {
            return std::nullopt;
        }
        return std::string(waarde);
    });
}

const std::string& Eindpunten::basis(Aanbieder aanbieder) const {
    return aanbieder == Aanbieder::mistral ? mistral_ : openAI_;
}

std::string Eindpunten::transcriptie(Aanbieder aanbieder) const {
    return basis(aanbieder) + std::string(transcriptiePad);
}

std::string Eindpunten::chat(Aanbieder aanbieder) const {
    return basis(aanbieder) + std::string(chatPad);
}

std::string Eindpunten::serverTranscriptie() const {
    if (!server_) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::geenServeradres);
    }
    return *server_ + std::string(transcriptiePad);
}

std::string Eindpunten::serverChat() const {
    if (!server_) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::geenServeradres);
    }
    return *server_ + std::string(chatPad);
}

}  // namespace tolmo
