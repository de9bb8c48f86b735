#pragma once

#include <QPlainTextEdit>
#include <cstdint>

#include "Tolmo/linux/app/InstellingenTab.h"

namespace tolmo {

// The application log, growing while it is open. The view stays at the newest line unless the
// user has scrolled up to read an older one.
class LogboekTab final : public InstellingenTab {
  public:
    explicit LogboekTab(DictaatRegelaar& regelaar, QWidget* ouder = nullptr);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

    [[nodiscard]] const QPlainTextEdit& weergave() const { return *tekst_; }

  private:
    void voegNieuweToe();

    DictaatRegelaar& r_;
    QPlainTextEdit* tekst_;
    std::uint64_t laatsteId_ = 0;
};

}  // namespace tolmo
