#include "Tolmo/linux/app/LogboekTab.h"

#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace tolmo {

LogboekTab::LogboekTab(DictaatRegelaar& regelaar, QWidget* ouder)
    : InstellingenTab(ouder), r_(regelaar) {
    auto* indeling = new QVBoxLayout(this);
    tekst_ = new QPlainTextEdit(this);
    tekst_->setReadOnly(true);
    tekst_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    // The log itself keeps no more; the view drops the oldest as the log does.
    tekst_->setMaximumBlockCount(static_cast<int>(Logboek::maximum));
    indeling->addWidget(tekst_, 1);
    auto* onder = new QHBoxLayout;
    auto* uitleg =
        new QLabel("Elke stap van elk dictaat. Stuur het mee als je een probleem meldt.", this);
    uitleg->setWordWrap(true);
    onder->addWidget(uitleg, 1);
    auto* kopieer = new QPushButton("Kopiëren", this);
    onder->addWidget(kopieer);
    // One record per recent dictation (timings, route, sizes, outcome; never the text), for a
    // support question the log alone does not answer.
    auto* diagnose = new QPushButton("Diagnose kopiëren", this);
    onder->addWidget(diagnose);
    indeling->addLayout(onder);
    QObject::connect(kopieer, &QPushButton::clicked, this,
                     [this] { QApplication::clipboard()->setText(tekst_->toPlainText()); });
    QObject::connect(diagnose, &QPushButton::clicked, this, [this] {
        QApplication::clipboard()->setText(QString::fromStdString(r_.diagnose().tekst()));
    });
    voegNieuweToe();
}

void LogboekTab::ververs(DictaatRegelaar::Wijziging wijziging) {
    if (wijziging == DictaatRegelaar::Wijziging::logRegel) {
        voegNieuweToe();
    }
}

void LogboekTab::voegNieuweToe() {
    QScrollBar* balk = tekst_->verticalScrollBar();
    const bool volgt = balk->value() >= balk->maximum();
    const int was = balk->value();
    for (const LogRegel& regel : r_.logboek().regels()) {
        if (regel.id <= laatsteId_) {
            continue;
        }
        laatsteId_ = regel.id;
        tekst_->appendPlainText(
            QDateTime::fromMSecsSinceEpoch(regel.tijd).toString("yyyy-MM-dd HH:mm:ss") + "  " +
            QString::fromStdString(regel.tekst));
    }
    balk->setValue(volgt ? balk->maximum() : was);
}

}  // namespace tolmo
