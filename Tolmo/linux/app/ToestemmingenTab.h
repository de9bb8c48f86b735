#pragma once

#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <functional>
#include <optional>
#include <vector>

#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "Tolmo/linux/InstellingenKeuzes.h"
#include "Tolmo/linux/SessieAdapters.h"
#include "Tolmo/linux/app/InstellingenTab.h"

namespace tolmo {

// What Tolmo can do on this desktop: record, and per capability (hold key, toggle, clipboard,
// paste, focus, indicator) the mechanism that serves it in this session, or that none does and
// what the user can do; whether the focused field is followed, and whether the user agreed to
// send recordings to the speech service. Linux asks no permission for keys or pasting, so each
// row says whether the part it needs is there.
class ToestemmingenTab final : public InstellingenTab {
  public:
    // On Wayland: whether the user lets the app read the keyboards (stored, and used from the
    // next start) and how the choice is stored.
    struct ToetsenbordKeuze {
        bool aan = false;
        std::function<void(bool)> zet;
    };

    // On GNOME and KDE the desktop's own shortcuts: whether the desktop has a dialog to change
    // them, opening it, and a check that a press reaches the app (gehoord or not).
    struct BureaubladToetsen {
        std::function<bool()> kanWijzigen;
        std::function<void()> wijzig;
        std::function<void(std::function<void(bool gehoord)>)> probeer;
    };

    // teksten: the key source's words for the hold-key mechanism. vermogens: the session's
    // capabilities, read again each time the tab redraws. volgtVeld: whether AT-SPI answers and
    // the focused field is followed; without it that row is left out. bindingen: where only the
    // compositor's bindings reach the keys, the lines for the user's keys with a copy button.
    // toetsenborden: on Wayland, the choice to read the keyboards, with what it means.
    // bureaublad: where the desktop's portal gives the keys.
    ToestemmingenTab(DictaatRegelaar& regelaar, const ToetsBron::Teksten& teksten,
                     std::function<std::vector<Vermogen>()> vermogens,
                     std::function<bool()> volgtVeld = {},
                     std::optional<InstellingenKeuzes::BindingenKeuze> bindingen = {},
                     std::optional<ToetsenbordKeuze> toetsenborden = {},
                     std::optional<BureaubladToetsen> bureaublad = {}, QWidget* ouder = nullptr);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

  private:
    void toon();

    DictaatRegelaar& r_;
    ToetsBron::Teksten teksten_;
    std::function<std::vector<Vermogen>()> vermogens_;
    std::function<bool()> volgtVeld_;
    QLabel* microfoon_;
    std::vector<QLabel*> vermogenRijen_;
    QLabel* veld_ = nullptr;
    QLabel* houdtoets_;
    QLabel* spraakdienst_;
    // Null without compositor bindings.
    QComboBox* compositor_ = nullptr;
    QPlainTextEdit* regels_ = nullptr;
    // Null without the desktop's shortcuts.
    std::function<bool()> kanWijzigen_;
    QPushButton* wijzig_ = nullptr;
    QLabel* wijzigUitleg_ = nullptr;
};

}  // namespace tolmo
