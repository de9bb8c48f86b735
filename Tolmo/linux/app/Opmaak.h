#pragma once

#include <QLabel>
#include <QString>
#include <QVBoxLayout>
#include <QWidget>
#include <string_view>

namespace tolmo::opmaak {

// The pieces every settings tab is made of, so the tabs look alike.

inline QString q(std::string_view tekst) {
    return QString::fromUtf8(tekst.data(), static_cast<qsizetype>(tekst.size()));
}

// An explanation under a setting: wrapped to the window's width, a little dimmer than a title.
QLabel* hulpTekst(const QString& tekst, QWidget* ouder);
// A title over a group of settings.
QLabel* kop(const QString& tekst, QWidget* ouder);
// A line for what just went wrong or right; empty until there is something to say.
QLabel* meldingsRegel(QWidget* ouder);
void toonMelding(QLabel& regel, const QString& tekst, bool isFout);
// The tab's content in a scrolling area, so a small screen or a large font clips nothing. The
// answer is the column to fill.
QVBoxLayout* kolom(QWidget& tab);

}  // namespace tolmo::opmaak
