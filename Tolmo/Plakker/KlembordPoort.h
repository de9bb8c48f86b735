#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tolmo {

// The system clipboard and the paste keystroke. Used from the main thread only.
// Adapters: macOS NSPasteboard + a synthesised Command-V; Linux the X11 CLIPBOARD selection +
// XTest Control-V.
class KlembordPoort {
  public:
    // Every item of the clipboard as (type, data) pairs, copied in full.
    using Momentopname = std::vector<std::vector<std::pair<std::string, std::string>>>;

    virtual ~KlembordPoort() = default;

    [[nodiscard]] virtual std::int64_t wijzigingsTeller() const = 0;
    [[nodiscard]] virtual Momentopname maakMomentopname() const = 0;
    // Replaces the contents by the text, marked as transient for clipboard managers (it will be
    // taken back); answers the change count after writing.
    virtual std::int64_t schrijf(const std::string& tekst) = 0;
    // Replaces the contents by the text as plain text, meant to stay for the user.
    virtual void zetTekst(const std::string& tekst) = 0;
    virtual void herstel(const Momentopname& momentopname) = 0;
    // Posts the paste keystroke to the frontmost app.
    virtual void stuurPlakToets() = 0;
    // How the paste chord for the frontmost app is named, where it differs per app (a terminal
    // takes Ctrl+Shift+V); empty where the platform has one chord for all.
    [[nodiscard]] virtual std::optional<std::string> plakToetsNaam() const { return std::nullopt; }

    // Whether the platform shows when another app reads what schrijf wrote (X11 does: the reader
    // asks the owner). Then the paster restores right after the read instead of after a guess.
    [[nodiscard]] virtual bool toontLezen() const { return false; }
    // opGelezen runs on the main thread for every read of the text schrijf wrote, until it is
    // replaced; an empty function stops the reports.
    virtual void zetOpGelezen(std::function<void()> /*opGelezen*/) {}
};

}  // namespace tolmo
