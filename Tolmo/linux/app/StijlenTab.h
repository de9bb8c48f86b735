#pragma once

#include <QComboBox>
#include <QLabel>
#include <QTableWidget>
#include <functional>
#include <optional>
#include <vector>

#include "Tolmo/linux/app/InstellingenTab.h"
#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// The writing styles: the style for apps without a row of their own, and the rows per app. The
// built-in rows on Linux are the shared default list and the common Linux apps.
class StijlenTab final : public InstellingenTab {
  public:
    // The app that was in front before the settings window came up (its id and name; the
    // style is ignored), absent when there was none.
    using VorigeApp = std::function<std::optional<AppStijl>()>;

    // platformApps: the shell's own rows, as it gives them to the controller.
    StijlenTab(DictaatRegelaar& regelaar, const std::vector<AppStijl>& platformApps,
               VorigeApp vorigeApp, QWidget* ouder = nullptr);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

    static QString naam(Stijl stijl);

  private:
    void toon();
    void zetRijen(std::vector<AppStijl> rijen);
    void voegVorigeAppToe();
    void verwijderGekozen();
    void meld(const QString& tekst);

    DictaatRegelaar& r_;
    std::vector<AppStijl> ingebouwd_;
    VorigeApp vorigeApp_;
    QComboBox* standaard_;
    QTableWidget* tabel_;
    QLabel* melding_;
    // What the table shows; redrawn only when the stored rows differ, so a change made in the
    // table (whose widget is still busy in its signal) never rebuilds the table under it.
    std::optional<std::vector<AppStijl>> getoond_;
};

}  // namespace tolmo
