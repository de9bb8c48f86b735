#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Tolmo/Plakker/KlembordPoort.h"
#include "Tolmo/linux/portaal/PortaalToetsenbord.h"

namespace tolmo {

// The clipboard through the desktop's Clipboard portal (GNOME, where no client may touch the
// clipboard otherwise), inside the RemoteDesktop session that also types the paste keystroke.
//
// Setting the selection only announces its types; the desktop asks for the data with
// SelectionTransfer when someone pastes, and the app writes it into the descriptor
// SelectionWrite gives. Those transfers are the read receipts. GNOME's own clipboard keeper
// fetches a new selection at once, so only transfers after the keystroke count. A snapshot reads
// every type the user's selection offers (SelectionRead), as the desktop last announced them to
// the session.
class PortaalKlembord final : public KlembordPoort {
  public:
    // After setting the dictation: the time the desktop's keeper gets to fetch it first.
    static constexpr std::chrono::milliseconds beheerderStilte{40};

    // The keyboard's session must have been started with the clipboard.
    explicit PortaalKlembord(PortaalToetsenbord& toetsenbord);
    ~PortaalKlembord() override;
    PortaalKlembord(const PortaalKlembord&) = delete;
    PortaalKlembord& operator=(const PortaalKlembord&) = delete;

    [[nodiscard]] bool beschikbaar() const { return toetsenbord_.klembordActief(); }
    // Whether the window in front is a terminal, for the keystroke; set by the app.
    void zetIsTerminal(std::function<bool()> isTerminal) { isTerminal_ = std::move(isTerminal); }

    [[nodiscard]] std::int64_t wijzigingsTeller() const override { return teller_; }
    [[nodiscard]] Momentopname maakMomentopname() const override;
    std::int64_t schrijf(const std::string& tekst) override;
    void zetTekst(const std::string& tekst) override;
    void herstel(const Momentopname& momentopname) override;
    void stuurPlakToets() override;
    [[nodiscard]] bool toontLezen() const override { return true; }
    void zetOpGelezen(std::function<void()> opGelezen) override {
        opGelezen_ = std::move(opGelezen);
    }

  private:
    using Paren = std::vector<std::pair<std::string, std::string>>;
    void neem(Paren paren, bool dictaat);
    void overdracht(const std::string& mime, std::uint32_t serienummer);

    PortaalToetsenbord& toetsenbord_;
    std::function<bool()> isTerminal_;
    std::function<void()> opGelezen_;
    // What we offer now, empty when another app owns the selection.
    Paren eigen_;
    bool dictaat_ = false;
    bool plakGestuurd_ = false;
    std::int64_t teller_ = 0;
    std::unique_ptr<Portaal::Abonnement> overdracht_;
};

}  // namespace tolmo
