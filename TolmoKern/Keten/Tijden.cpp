#include "TolmoKern/Keten/Tijden.h"

#include <vector>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

std::string samengevoegd(const std::vector<std::string>& delen, const char* scheiding) {
    std::string uit;
    for (std::size_t i = 0; i < delen.size(); ++i) {
        if (i > 0) {
            uit += scheiding;
        }
        uit += delen[i];
    }
    return uit;
}

}  // namespace

std::string Tijden::tekst() const {
    const auto s = [](double waarde) { return Tekst::getalNL("%.2f s", waarde); };
    std::vector<std::string> delen{"opname " + Tekst::getalNL("%.1f s", opname)};
    if (transcriptie) {
        delen.push_back("upload+transcriptie " + s(*transcriptie));
    }
    if (opschonen) {
        std::string deel = "opschonen " + s(*opschonen);
        std::vector<std::string> details;
        if (opschoonVerwerking) {
            details.push_back("tier " + *opschoonVerwerking);
        }
        if (opschoonDienstTijd) {
            details.push_back("bij dienst " + s(*opschoonDienstTijd));
        }
        if (!details.empty()) {
            deel += " (" + samengevoegd(details, ", ") + ")";
        }
        delen.push_back(std::move(deel));
    }
    if (opschonenHerhaald) {
        delen.push_back(*opschonenHerhaald);
    }
    if (opschonenOvergeslagen) {
        delen.push_back("opschonen overgeslagen (" + *opschonenOvergeslagen + ")");
    }
    if (totaal) {
        delen.push_back("totaal " + s(*totaal));
    }
    return "Tijden: " + samengevoegd(delen, ", ");
}

}  // namespace tolmo
