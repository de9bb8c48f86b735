#include "TolmoKern/Audio/OpnameFout.h"

namespace tolmo {

namespace {

class OpnameFoutCategorie final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "opname"; }
    [[nodiscard]] std::string message(int code) const override {
        return OpnameFout::meldingVan(static_cast<OpnameFout::Soort>(code));
    }
};

}  // namespace

const char* OpnameFout::meldingVan(Soort soort) noexcept {
    switch (soort) {
        case Soort::geenInvoer:
            return "Geen microfoon-invoer gevonden.";
        case Soort::omzetten:
            return "Audio omzetten naar 16 kHz mislukt.";
    }
    return "";
}

const char* OpnameFout::what() const noexcept {
    return meldingVan(soort_);
}

const std::error_category& OpnameFout::categorie() noexcept {
    static const OpnameFoutCategorie categorie;
    return categorie;
}

std::error_code OpnameFout::foutcode(Soort soort) noexcept {
    return {static_cast<int>(soort), categorie()};
}

}  // namespace tolmo
