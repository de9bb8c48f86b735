#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tolmo {

// Where pasted text would land: the frontmost app and its focused field. Generic over the field
// type, which each platform supplies with its own equality (two references to the same element
// compare equal).
template <typename Veld>
struct PlakDoel {
    std::int32_t procesId = 0;
    std::optional<std::string> bundleId;
    std::optional<Veld> veld;

    enum class Reden { onbekendDoel, andereApp, anderVeld };

    struct Beslissing {
        bool plakken = false;
        Reden reden = Reden::onbekendDoel;  // only meaningful when plakken is false

        static Beslissing plak() { return {true, Reden::onbekendDoel}; }
        static Beslissing naarKlembord(Reden r) { return {false, r}; }
        bool operator==(const Beslissing&) const = default;
    };

    // Paste only into the app and field that had focus when the dictation started. A start
    // without a field gives nothing to compare, so the same app suffices; a field that went
    // missing since is a different field.
    static Beslissing beslis(const std::optional<PlakDoel>& start,
                             const std::optional<PlakDoel>& nu) {
        if (!start || !nu) {
            return Beslissing::naarKlembord(Reden::onbekendDoel);
        }
        if (start->procesId != nu->procesId || start->bundleId != nu->bundleId) {
            return Beslissing::naarKlembord(Reden::andereApp);
        }
        if (!start->veld) {
            return Beslissing::plak();
        }
        if (!nu->veld) {
            return Beslissing::naarKlembord(Reden::anderVeld);
        }
        return *start->veld == *nu->veld ? Beslissing::plak()
                                         : Beslissing::naarKlembord(Reden::anderVeld);
    }
};

}  // namespace tolmo
