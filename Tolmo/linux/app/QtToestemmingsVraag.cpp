#include "Tolmo/linux/app/QtToestemmingsVraag.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <memory>

namespace tolmo {

void QtToestemmingsVraag::vraag(const std::string& titel, const std::string& tekst,
                                const std::vector<std::string>& knoppen, Antwoord antwoord) {
    auto* doos = new QMessageBox(QMessageBox::Information, QString::fromStdString(titel),
                                 QString::fromStdString(tekst));
    doos->setAttribute(Qt::WA_DeleteOnClose);
    auto lijst = std::make_shared<std::vector<QAbstractButton*>>();
    for (std::size_t i = 0; i < knoppen.size(); ++i) {
        lijst->push_back(
            doos->addButton(QString::fromStdString(knoppen[i]),
                            i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
    }
    if (!lijst->empty()) {
        doos->setDefaultButton(static_cast<QPushButton*>(lijst->front()));
    }
    // Answered once, whichever way the box goes.
    auto beantwoord = std::make_shared<Antwoord>(std::move(antwoord));
    QObject::connect(doos, &QMessageBox::finished, doos, [doos, lijst, beantwoord](int) {
        int keuze = -1;
        for (std::size_t i = 0; i < lijst->size(); ++i) {
            if ((*lijst)[i] == doos->clickedButton()) {
                keuze = static_cast<int>(i);
            }
        }
        if (*beantwoord) {
            auto a = std::move(*beantwoord);
            *beantwoord = nullptr;
            a(keuze);
        }
    });
    doos->show();
    doos->raise();
    doos->activateWindow();
}

}  // namespace tolmo
