#include "cli/Statusregel.h"

#include <cstddef>
#include <cstdint>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo::cli {

double secondenSinds(Klok::time_point t) {
    return std::chrono::duration<double>(Klok::now() - t).count();
}

namespace {

std::string grootte(std::int64_t bytes) {
    if (bytes < 1'000'000) {
        return Tekst::getalNL("%.0f", static_cast<double>(bytes) / 1000.0) + " kB";
    }
    return Tekst::getalNL("%.1f", static_cast<double>(bytes) / 1'000'000.0) + " MB";
}

char draaier(Klok::time_point begin) {
    static constexpr char tekens[] = {'|', '/', '-', '\\'};
    const auto stap = static_cast<std::size_t>(secondenSinds(begin) * 8);
    return tekens[stap % 4];
}

}  // namespace

std::string voortgangsregel(const VoortgangTransport::Stand& s, Klok::time_point begin) {
    if (!s.bezig) {
        return std::string(1, draaier(begin)) + " Verwerken…";
    }
    if (!s.opschonen && s.totaal > 0 && s.verstuurd < s.totaal) {
        const auto procent = s.verstuurd * 100 / s.totaal;
        return "Versturen: " + grootte(s.verstuurd) + " van " + grootte(s.totaal) + " (" +
               std::to_string(procent) + "%)";
    }
    const std::string wat = s.opschonen ? "Opschonen" : "Wachten op de spraakdienst";
    return std::string(1, draaier(begin)) + " " + wat + "… " +
           std::to_string(static_cast<long long>(secondenSinds(begin))) + " s";
}

std::string meterregel(float niveau, Klok::time_point begin) {
    constexpr int breedte = 24;
    const int vol = static_cast<int>(niveau * breedte + 0.5F);
    std::string balk;
    for (int i = 0; i < breedte; ++i) {
        balk += i < vol ? '#' : '-';
    }
    return "Opname " + Tekst::getalNL("%.1f", secondenSinds(begin)) + " s [" + balk + "]";
}

}  // namespace tolmo::cli
