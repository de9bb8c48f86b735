#include "TolmoServer/CodeOpdracht.h"

#include <iomanip>
#include <optional>

#include "TolmoServer/Toegangscode.h"

namespace tolmo::server {

const char* CodeOpdracht::hulp() {
    return "Gebruik: tolmo-server code maak --naam NAAM [--minuten-per-dag M]\n"
           "        tolmo-server code lijst\n"
           "        tolmo-server code trek-in NAAM\n"
           "\n"
           "maak drukt de nieuwe toegangscode één keer af; de server bewaart alleen een hash.\n"
           "Zonder --minuten-per-dag geldt minuten-per-dag uit de configuratie.\n";
}

int CodeOpdracht::voerUit(const std::vector<std::string>& args, const Configuratie& c,
                          Opslag& opslag, std::ostream& uit, std::ostream& fout) {
    if (args.empty()) {
        fout << hulp();
        return 2;
    }
    const std::string& wat = args[0];
    std::optional<std::string> naam;
    std::optional<std::int64_t> minuten;
    for (std::size_t i = 1; i < args.size(); ++i) {
        const bool heeftWaarde = i + 1 < args.size();
        if (args[i] == "--naam" && heeftWaarde) {
            naam = args[++i];
        } else if (args[i] == "--minuten-per-dag" && heeftWaarde) {
            try {
                std::size_t n = 0;
                minuten = std::stoll(args[i + 1], &n);
                if (n != args[i + 1].size() || *minuten < 0) {
                    throw std::invalid_argument("negatief");
                }
            } catch (const std::exception&) {
                fout << "Ongeldig aantal minuten: \"" << args[i + 1] << "\".\n";
                return 2;
            }
            ++i;
        } else if (wat == "trek-in" && !naam && !args[i].starts_with("--")) {
            naam = args[i];
        } else {
            fout << "Onbekende optie: " << args[i] << "\n" << hulp();
            return 2;
        }
    }
    if (wat == "maak") {
        if (!naam || naam->empty()) {
            fout << "Geef de code een naam met --naam.\n";
            return 2;
        }
        const std::string code = Toegangscode::nieuw();
        opslag.maakCode(*naam, Toegangscode::hash(code), minuten.value_or(c.minutenPerDag));
        uit << code << "\n";
        fout << "Toegangscode \"" << *naam << "\" gemaakt (" << minuten.value_or(c.minutenPerDag)
             << " minuten per dag). Bewaar haar nu: ze wordt niet nog eens getoond.\n";
        return 0;
    }
    if (wat == "lijst") {
        uit << std::left << std::setw(24) << "naam" << std::setw(16) << "minuten/dag"
            << std::setw(18) << "vandaag (s)" << std::setw(12) << "status"
            << "gemaakt\n";
        for (const CodeRij& r : opslag.codes()) {
            uit << std::setw(24) << r.naam << std::setw(16) << r.minutenPerDag << std::setw(18)
                << r.vandaagGebruikt << std::setw(12) << (r.ingetrokken ? "ingetrokken" : "actief")
                << r.gemaakt << "\n";
        }
        return 0;
    }
    if (wat == "trek-in") {
        if (!naam) {
            fout << "Welke code? tolmo-server code trek-in NAAM\n";
            return 2;
        }
        if (!opslag.trekIn(*naam)) {
            fout << "Er is geen code met de naam \"" << *naam << "\".\n";
            return 1;
        }
        fout << "Toegangscode \"" << *naam << "\" is ingetrokken.\n";
        return 0;
    }
    fout << "Onbekende opdracht: code " << wat << "\n" << hulp();
    return 2;
}

}  // namespace tolmo::server
