#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tolmo/Plakker/KlembordPoort.h"

namespace tolmo::nep {

// An in-memory clipboard: items of (type, data) pairs and a change count that moves on every
// write, like a real pasteboard. Records the pastes it was asked to post.
class GeheugenKlembord final : public KlembordPoort {
  public:
    using Item = std::vector<std::pair<std::string, std::string>>;

    std::vector<Item> items;
    std::int64_t teller = 0;
    int herstellingen = 0;
    // The text on the clipboard at each paste keystroke.
    std::vector<std::string> geplakt;

    std::int64_t wijzigingsTeller() const override { return teller; }
    Momentopname maakMomentopname() const override { return items; }
    std::int64_t schrijf(const std::string& tekst) override {
        items = {{{"public.utf8-plain-text", tekst}, {"org.nspasteboard.TransientType", ""}}};
        return ++teller;
    }
    void zetTekst(const std::string& tekst) override {
        items = {{{"public.utf8-plain-text", tekst}}};
        ++teller;
    }
    void herstel(const Momentopname& m) override {
        ++herstellingen;
        items = m;
        ++teller;
    }
    void stuurPlakToets() override { geplakt.push_back(tekst()); }
    // The frontmost app's own paste chord, where it has one (a terminal's).
    std::optional<std::string> appToets;
    std::optional<std::string> plakToetsNaam() const override { return appToets; }
    // A clipboard whose reads can be seen, like X11's; lees() is the target app reading.
    bool lezenZichtbaar = false;
    std::function<void()> opGelezen;
    bool toontLezen() const override { return lezenZichtbaar; }
    void zetOpGelezen(std::function<void()> f) override { opGelezen = std::move(f); }
    void lees() {
        if (opGelezen) {
            opGelezen();
        }
    }

    // The user (or another app) copies something.
    void kopieer(const std::string& tekst) { zetTekst(tekst); }

    [[nodiscard]] std::string tekst() const {
        for (const Item& item : items) {
            for (const auto& [type, data] : item) {
                if (type == "public.utf8-plain-text") {
                    return data;
                }
            }
        }
        return {};
    }
};

}  // namespace tolmo::nep
