#pragma once

#include <functional>

#include "Tolmo/Plakker/KlembordPoort.h"

namespace tolmo {

// The clipboard the app holds on to from the start, while the one that serves it may change:
// the desktop's portal session opens only after the desktop has answered, and closes when the
// desktop ends it. The paste keystroke can come from elsewhere too (KDE: the clipboard is data
// control, the keystroke the RemoteDesktop portal's).
class KlembordKeuze final : public KlembordPoort {
  public:
    explicit KlembordKeuze(KlembordPoort& eerst) : huidig_(&eerst) {}

    void kies(KlembordPoort& k) { huidig_ = &k; }
    // Another keystroke than the clipboard's own; empty for the clipboard's.
    void zetPlakToets(std::function<void()> plak) { plak_ = std::move(plak); }

    [[nodiscard]] std::int64_t wijzigingsTeller() const override {
        return huidig_->wijzigingsTeller();
    }
    [[nodiscard]] Momentopname maakMomentopname() const override {
        return huidig_->maakMomentopname();
    }
    std::int64_t schrijf(const std::string& tekst) override { return huidig_->schrijf(tekst); }
    void zetTekst(const std::string& tekst) override { huidig_->zetTekst(tekst); }
    void herstel(const Momentopname& m) override { huidig_->herstel(m); }
    // The clipboard's own keystroke always goes first: without a keyboard of its own it only
    // marks the reads after it as the paste's.
    void stuurPlakToets() override {
        huidig_->stuurPlakToets();
        if (plak_) {
            plak_();
        }
    }
    [[nodiscard]] std::optional<std::string> plakToetsNaam() const override {
        return huidig_->plakToetsNaam();
    }
    [[nodiscard]] bool toontLezen() const override { return huidig_->toontLezen(); }
    void zetOpGelezen(std::function<void()> op) override { huidig_->zetOpGelezen(std::move(op)); }

  private:
    KlembordPoort* huidig_;
    std::function<void()> plak_;
};

}  // namespace tolmo
