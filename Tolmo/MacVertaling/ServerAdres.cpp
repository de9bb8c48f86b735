#include "Tolmo/MacVertaling/ServerAdres.h"

#include <string_view>

namespace tolmo {

std::optional<std::string> ServerAdres::kies(const std::optional<std::string>& omgeving,
                                             const std::optional<std::string>& ingevoerd,
                                             const std::optional<std::string>& bundel) {
    for (const auto* kandidaat : {&omgeving, &ingevoerd, &bundel}) {
        if (*kandidaat && !(*kandidaat)->empty()) {
            return **kandidaat;
        }
    }
    return std::nullopt;
}

std::optional<std::string> ServerAdres::geldig(const std::string& invoer) {
    constexpr std::string_view wit = " \t\r\n";
    const auto begin = invoer.find_first_not_of(wit);
    if (begin == std::string::npos) {
        return std::nullopt;
    }
    const std::string adres = invoer.substr(begin, invoer.find_last_not_of(wit) - begin + 1);
    for (const std::string_view schema : {"https://", "http://"}) {
        if (adres.starts_with(schema)) {
            const std::string_view rest = std::string_view(adres).substr(schema.size());
            const auto hostEinde = rest.find_first_of("/?#");
            const std::string_view host = rest.substr(0, hostEinde);
            if (host.empty() || host.find_first_of(wit) != std::string_view::npos ||
                rest.find_first_of(wit) != std::string_view::npos) {
                return std::nullopt;
            }
            return adres;
        }
    }
    return std::nullopt;
}

}  // namespace tolmo
