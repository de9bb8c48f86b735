#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Tolmo/Sneltoetsen/DoorgeefTap.h"
#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "Tolmo/linux/portaal/Portaal.h"
#include "Tolmo/linux/wayland/WaylandBindingen.h"
#include "TolmoKern/Sneltoetsen/HoudToets.h"

namespace tolmo {

// Keys through the desktop's GlobalShortcuts portal (GNOME 48 and later, KDE, Hyprland): one
// session with two shortcuts, the hold key and the toggle. The desktop, not the app, decides
// which keys they are; the app only proposes the user's own.
//
// The hold shortcut's Activated is the key going down and its Deactivated the release. They
// reach the hot-key monitor as the chosen hold key's own modifier events, so every rule of
// holding stays (a tap shorter than 0.3 s cancels), and while it is held the session flags say
// so, which keeps the monitor's safety poll from ending the hold. Where the desktop sends the
// release along with the press, the hold lasts until the next press. What a portal never tells
// (another key during the hold, Esc) is not seen; the tray's cancel stays.
class PortaalSneltoetsen final : public ToetsBron {
  public:
    static constexpr const char* houdId = "dicteren";
    static constexpr const char* wisselId = "wisselen";

    // What the desktop made of the shortcuts: per id its trigger as the desktop describes it
    // ("Rechter Ctrl"), empty while unknown.
    using Triggers = std::map<std::string, std::string>;

    // The portal must outlive the source. houdToets answers the user's hold key now.
    PortaalSneltoetsen(Portaal& portaal, std::function<HoudToets()> houdToets);
    ~PortaalSneltoetsen() override;
    PortaalSneltoetsen(const PortaalSneltoetsen&) = delete;
    PortaalSneltoetsen& operator=(const PortaalSneltoetsen&) = delete;

    // Whether the desktop has the portal at all.
    [[nodiscard]] bool beschikbaar() const { return versie_ > 0; }
    // Opens the session and binds both shortcuts, proposing voorstel; klaar reports the
    // outcome (an empty text when bound, else why not, in Dutch). Again after a change of keys:
    // the desktop keeps what it bound and reports it.
    void bind(const PortaalTriggers& voorstel, std::function<void(const std::string& fout)> klaar);
    [[nodiscard]] const Triggers& triggers() const { return triggers_; }
    // Called whenever the desktop reports other keys (its own dialog, ShortcutsChanged).
    void zetOpGewijzigd(std::function<void()> op) { opGewijzigd_ = std::move(op); }
    // Opens the desktop's own dialog for changing the keys, where the portal has one (version
    // 2); false when it has not.
    bool openInstellingen();
    [[nodiscard]] bool kanInstellingenOpenen() const { return versie_ >= 2 && !sessie_.empty(); }

    // Some desktops bind the keys and then never report them. The user presses either shortcut
    // once: klaar(true) when it arrived within duur, else klaar(false), and stil() then holds
    // until a shortcut does arrive. The press that answers is not acted on. Another check
    // replaces one that runs (which then reports false).
    void controleer(std::chrono::milliseconds duur, std::function<void(bool gehoord)> klaar);
    [[nodiscard]] bool stil() const { return stil_; }
    // Some desktops report a shortcut's release together with its press, whatever the key
    // does (KWin 6.3). Seen once, this holds; there the hold key is pressed once to start and
    // once more to stop, which the hot-key monitor sees as one hold.
    [[nodiscard]] bool zonderLoslaten() const { return zonderLoslaten_; }
    // The dictation ended by other means (cancelled from the tray, or at its maximum) while such
    // a hold ran: it ends here, so the next press starts again instead of ending it.
    void laatLos();

    [[nodiscard]] std::unique_ptr<Tap> maakTap(OpGebeurtenis opGebeurtenis,
                                               std::function<void(TapUit)> opUitgezet) override;
    [[nodiscard]] std::unique_ptr<Registratie> installeerGlobaleMonitor(
        OpGebeurtenis /*opGebeurtenis*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerLokaleMonitor(
        OpGebeurtenis /*opGebeurtenis*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerWisselHandler(
        std::function<void()> opIngedrukt) override;
    // The desktop's toggle shortcut stands for every combination.
    [[nodiscard]] std::unique_ptr<Registratie> registreerWissel(
        const Toetscombinatie& combinatie) override;
    [[nodiscard]] ToetsVlaggen sessieVlaggen() const override;
    [[nodiscard]] const Teksten& teksten() const override;

  private:
    void geactiveerd(const std::string& id, bool omlaag, std::uint64_t stempel);
    void geef(bool omlaag);
    void zetControleKlok(std::chrono::milliseconds duur);
    void leesTriggers(GVariant* shortcuts);
    void rondControleAf(bool gehoord);

    Portaal& portaal_;
    std::function<HoudToets()> houdToets_;
    std::uint32_t versie_ = 0;
    std::string sessie_;
    Triggers triggers_;
    DoorgeefTap* tap_ = nullptr;
    std::function<void()> opWissel_;
    std::function<void()> opGewijzigd_;
    bool houdOmlaag_ = false;
    bool stil_ = false;
    // A release closer than this to its press came with it.
    static constexpr std::chrono::milliseconds gelijktijdig{25};
    std::chrono::steady_clock::time_point omlaagOp_;
    std::uint64_t omlaagStempel_ = 0;
    bool zonderLoslaten_ = false;
    // Between the hold shortcut's Activated and its Deactivated, as the desktop sends them.
    bool inDruk_ = false;
    // Down since a press whose release the desktop sent along with it.
    bool vergrendeld_ = false;
    bool negeerLoslaten_ = false;
    bool controleGehoord_ = false;
    std::function<void(bool)> controle_;
    unsigned int controleKlok_ = 0;
    std::unique_ptr<Portaal::Abonnement> geactiveerd_, gedeactiveerd_, gewijzigd_;
};

}  // namespace tolmo
