#include "Tolmo/mac/CarbonSneltoets.h"

#import <Carbon/Carbon.h>

#include <utility>

namespace tolmo {
namespace {

OSStatus wisselTerugroep(EventHandlerCallRef, EventRef event, void* info) {
    EventHotKeyID id{};
    if (GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof(id),
                          nullptr, &id) == noErr &&
        id.signature == ToetsBron::hotKeySignatuur && id.id == ToetsBron::hotKeyId) {
        (*static_cast<std::function<void()>*>(info))();
    }
    return noErr;
}

class WisselHandler final : public ToetsBron::Registratie {
  public:
    explicit WisselHandler(std::function<void()> opIngedrukt)
        : opIngedrukt_(std::make_unique<std::function<void()>>(std::move(opIngedrukt))) {}
    ~WisselHandler() override {
        if (ref_ != nullptr) {
            RemoveEventHandler(ref_);
        }
    }
    bool installeer() {
        const EventTypeSpec soort{kEventClassKeyboard, kEventHotKeyPressed};
        return InstallEventHandler(GetApplicationEventTarget(), NewEventHandlerUPP(wisselTerugroep),
                                   1, &soort, opIngedrukt_.get(), &ref_) == noErr;
    }

  private:
    std::unique_ptr<std::function<void()>> opIngedrukt_;
    EventHandlerRef ref_ = nullptr;
};

class HotKey final : public ToetsBron::Registratie {
  public:
    explicit HotKey(EventHotKeyRef ref) : ref_(ref) {}
    ~HotKey() override { UnregisterEventHotKey(ref_); }

  private:
    EventHotKeyRef ref_;
};

}  // namespace

std::unique_ptr<ToetsBron::Registratie> CarbonSneltoets::installeerHandler(
    std::function<void()> opIngedrukt) {
    auto handler = std::make_unique<WisselHandler>(std::move(opIngedrukt));
    return handler->installeer() ? std::move(handler) : nullptr;
}

std::unique_ptr<ToetsBron::Registratie> CarbonSneltoets::registreer(
    const Toetscombinatie& combinatie) {
    const EventHotKeyID id{ToetsBron::hotKeySignatuur, ToetsBron::hotKeyId};
    EventHotKeyRef ref = nullptr;
    if (RegisterEventHotKey(combinatie.toetscode, combinatie.carbonModificaties(), id,
                            GetApplicationEventTarget(), 0, &ref) != noErr) {
        return nullptr;
    }
    return std::make_unique<HotKey>(ref);
}

}  // namespace tolmo
