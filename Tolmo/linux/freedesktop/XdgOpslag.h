#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// A key-value store kept as one JSON document per suite under $XDG_CONFIG_HOME/tolmo/
// (~/.config/tolmo/ without it). Every change is written atomically: a temporary file is
// written and flushed to disk, then renamed over the old one, so a crash mid-write leaves the
// previous document whole. A document that cannot be read is moved aside (never silently
// deleted), the reason is logged, and the store starts empty.
class XdgOpslag final : public SleutelWaardeOpslag {
  public:
    using Logger = std::function<void(const std::string&)>;

    XdgOpslag(std::filesystem::path map, std::string suite, Logger log = {});

    // $XDG_CONFIG_HOME/tolmo, or ~/.config/tolmo.
    static std::filesystem::path configMap();

    [[nodiscard]] std::optional<OpslagWaarde> lees(const std::string& sleutel) const override;
    void zet(const std::string& sleutel, OpslagWaarde waarde) override;
    void verwijder(const std::string& sleutel) override;

    [[nodiscard]] const std::filesystem::path& bestand() const { return bestand_; }

  private:
    void laad();
    void schrijf();

    std::filesystem::path bestand_;
    Logger log_;
    nlohmann::json document_ = nlohmann::json::object();
};

// Writes data to pad atomically (temporary file, fsync, rename, fsync of the folder).
// Throws std::system_error on failure; the old file is then untouched. voorHernoemen runs just
// before the rename (tests use it to die there, as a crash would).
void schrijfAtomisch(const std::filesystem::path& pad, const std::string& data,
                     unsigned rechten = 0600, const std::function<void()>& voorHernoemen = {});

}  // namespace tolmo
