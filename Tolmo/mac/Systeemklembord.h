#pragma once

#include <functional>
#include <memory>

#include "Tolmo/Plakker/KlembordPoort.h"

namespace tolmo {

// The general pasteboard. A dictation is written as a promised item: the pasteboard holds only
// the promise, and the text is handed over when an app asks for it, so the app learns the
// moment the target reads it (opGelezen, once per write) and the restore can follow that read.
// The item also carries "org.nspasteboard.TransientType" so clipboard managers leave it alone.
// The paste keystroke is Command-V, posted at the HID level. Main thread only.
class Systeemklembord final : public KlembordPoort {
  public:
    Systeemklembord();
    ~Systeemklembord() override;
    Systeemklembord(const Systeemklembord&) = delete;
    Systeemklembord& operator=(const Systeemklembord&) = delete;

    [[nodiscard]] std::int64_t wijzigingsTeller() const override;
    [[nodiscard]] Momentopname maakMomentopname() const override;
    std::int64_t schrijf(const std::string& tekst) override;
    void zetTekst(const std::string& tekst) override;
    void herstel(const Momentopname& momentopname) override;
    void stuurPlakToets() override;

    // The target read the text written last; called on the main thread.
    std::function<void()> opGelezen;

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
