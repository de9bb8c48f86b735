#include "Tolmo/mac/app/ServerOmgeving.h"

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <variant>

#include "Tolmo/MacVertaling/ServerAdres.h"

namespace tolmo {

void ServerOmgeving::zetInOmgeving(const SleutelWaardeOpslag& standaard) {
    const char* omgeving = std::getenv(ServerAdres::omgevingsvariabele);
    std::optional<std::string> ingevoerd;
    if (auto w = standaard.lees(ServerAdres::instellingSleutel)) {
        if (const auto* tekst = std::get_if<std::string>(&*w)) {
            ingevoerd = *tekst;
        }
    }
    NSString* bundel = [NSBundle.mainBundle
        objectForInfoDictionaryKey:[NSString stringWithUTF8String:ServerAdres::bundelSleutel]];
    const auto adres = ServerAdres::kies(
        omgeving != nullptr ? std::optional<std::string>(omgeving) : std::nullopt, ingevoerd,
        bundel != nil ? std::optional<std::string>(bundel.UTF8String) : std::nullopt);
    if (adres) {
        setenv(ServerAdres::omgevingsvariabele, adres->c_str(), 1);
    }
}

std::optional<std::string> ServerOmgeving::zet(SleutelWaardeOpslag& standaard,
                                               const std::string& invoer) {
    const auto adres = ServerAdres::geldig(invoer);
    if (!adres) {
        return std::string("Dit is geen serveradres. Het begint met https:// en een naam.");
    }
    standaard.zet(ServerAdres::instellingSleutel, *adres);
    setenv(ServerAdres::omgevingsvariabele, adres->c_str(), 1);
    return std::nullopt;
}

}  // namespace tolmo
