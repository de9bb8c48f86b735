#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTableWidget>
#include <QVBoxLayout>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/linux/app/InstellingenTab.h"

namespace tolmo {

// The word list (names and terms in the user's spelling), the words proposed after the last
// dictation, and the replacement table (written form to the ways it is spoken).
class WoordenlijstTab final : public InstellingenTab {
  public:
    explicit WoordenlijstTab(DictaatRegelaar& regelaar, QWidget* ouder = nullptr);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

    // "Foo, foo bar ,, baz" -> {"Foo", "foo bar", "baz"}: trimmed, empty parts and repeats
    // dropped.
    static std::vector<std::string> varianten(const QString& tekst);

  private:
    void toonWoorden();
    void toonVoorstellen();
    void toonVervangingen();
    // Through the controller, which keeps the limit and tells why a term is refused.
    void voegWoordToe(const std::string& woord);
    void verwijderWoorden();
    void voegVervangingToe();
    void vervangingBewerkt(QTableWidgetItem* item);
    void verwijderVervangingen();
    void meld(const QString& tekst);

    DictaatRegelaar& r_;
    QListWidget* woorden_;
    QLineEdit* nieuwWoord_;
    QLabel* aantal_;
    QWidget* voorstellenVak_;
    QVBoxLayout* voorstellen_;
    QTableWidget* vervangingen_;
    QLineEdit* nieuweSchrijfwijze_;
    QLineEdit* nieuweVarianten_;
    QLabel* melding_;
    // What the views show; a view is redrawn only when the stored value differs, so an edit
    // made in a view (still busy in its signal) never rebuilds that view under it.
    std::optional<std::vector<std::string>> getoondeWoorden_;
    std::optional<std::vector<std::string>> getoondeVoorstellen_;
    std::optional<std::map<std::string, std::vector<std::string>>> getoondeVervangingen_;
};

}  // namespace tolmo
