#include "Tolmo/linux/app/Opmaak.h"

#include <QFont>
#include <QFrame>
#include <QPalette>
#include <QScrollArea>

namespace tolmo::opmaak {

QLabel* hulpTekst(const QString& tekst, QWidget* ouder) {
    auto* l = new QLabel(tekst, ouder);
    l->setWordWrap(true);
    l->setTextFormat(Qt::PlainText);
    l->setForegroundRole(QPalette::PlaceholderText);
    l->setContentsMargins(22, 0, 0, 6);
    return l;
}

QLabel* kop(const QString& tekst, QWidget* ouder) {
    auto* l = new QLabel(tekst, ouder);
    QFont f = l->font();
    f.setBold(true);
    l->setFont(f);
    l->setContentsMargins(0, 8, 0, 2);
    return l;
}

QLabel* meldingsRegel(QWidget* ouder) {
    auto* l = new QLabel(ouder);
    l->setWordWrap(true);
    l->setTextFormat(Qt::PlainText);
    l->hide();
    return l;
}

void toonMelding(QLabel& regel, const QString& tekst, bool isFout) {
    regel.setText(tekst);
    regel.setStyleSheet(isFout ? QStringLiteral("color: #c0392b;") : QString());
    regel.setVisible(!tekst.isEmpty());
}

QVBoxLayout* kolom(QWidget& tab) {
    auto* buiten = new QVBoxLayout(&tab);
    buiten->setContentsMargins(0, 0, 0, 0);
    auto* vlak = new QScrollArea(&tab);
    vlak->setWidgetResizable(true);
    vlak->setFrameShape(QFrame::NoFrame);
    auto* binnen = new QWidget(vlak);
    vlak->setWidget(binnen);
    buiten->addWidget(vlak);
    auto* k = new QVBoxLayout(binnen);
    k->setContentsMargins(16, 12, 16, 12);
    return k;
}

}  // namespace tolmo::opmaak
