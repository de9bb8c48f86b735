#pragma once

#include <memory>
#include <optional>
#include <string>

#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// A user-defaults suite as a key-value store: the app group's "group.app.tolmo" (shared
// settings, consent, the log) or, without a suite name, the app's standard defaults (the
// "mac." keys). Booleans are stored as Booleans and documents as data; a value of any other
// kind reads as absent, so its key falls back to its default.
class GebruikersStandaarden final : public SleutelWaardeOpslag {
  public:
    static constexpr const char* groep = "group.app.tolmo";

    explicit GebruikersStandaarden(std::optional<std::string> suite = std::nullopt);
    ~GebruikersStandaarden() override;
    GebruikersStandaarden(const GebruikersStandaarden&) = delete;
    GebruikersStandaarden& operator=(const GebruikersStandaarden&) = delete;

    [[nodiscard]] std::optional<OpslagWaarde> lees(const std::string& sleutel) const override;
    void zet(const std::string& sleutel, OpslagWaarde waarde) override;
    void verwijder(const std::string& sleutel) override;

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
