#include "Tolmo/mac/QuartzToetsBron.h"

#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

#include <utility>
#include <variant>

#include "Tolmo/MacVertaling/QuartzToetsen.h"
#include "Tolmo/mac/CarbonSneltoets.h"

namespace tolmo {
namespace {

struct Ontvanger {
    ToetsBron::OpGebeurtenis opGebeurtenis;
    std::function<void(ToetsBron::TapUit)> opUitgezet;

    void geef(const QuartzToetsen::Betekenis& b) const {
        if (const auto* g = std::get_if<ToetsBron::Gebeurtenis>(&b)) {
            opGebeurtenis(*g);
        } else if (const auto* u = std::get_if<ToetsBron::TapUit>(&b)) {
            opUitgezet(*u);
        }
    }
};

// Runs on the main run loop. A listen-only tap passes every event on untouched. The switch-off
// pseudo-events carry no key; their fields are read as zero.
CGEventRef tapTerugroep(CGEventTapProxy, CGEventType type, CGEventRef event, void* info) {
    const std::int64_t code =
        event != nullptr ? CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode) : 0;
    const std::uint64_t vlaggen = event != nullptr ? CGEventGetFlags(event) : 0;
    const std::int64_t merk =
        event != nullptr ? CGEventGetIntegerValueField(event, kCGEventSourceUserData) : 0;
    static_cast<const Ontvanger*>(info)->geef(QuartzToetsen::vertaal(type, code, vlaggen, merk));
    return event;
}

class QuartzTap final : public ToetsBron::Tap {
  public:
    QuartzTap(CFMachPortRef poort, std::unique_ptr<Ontvanger> ontvanger)
        : poort_(poort), ontvanger_(std::move(ontvanger)) {
        bron_ = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, poort_, 0);
        CFRunLoopAddSource(CFRunLoopGetMain(), bron_, kCFRunLoopCommonModes);
        // Created enabled; the monitor decides when it listens.
        CGEventTapEnable(poort_, false);
    }
    ~QuartzTap() override {
        CGEventTapEnable(poort_, false);
        CFRunLoopRemoveSource(CFRunLoopGetMain(), bron_, kCFRunLoopCommonModes);
        CFMachPortInvalidate(poort_);
        CFRelease(bron_);
        CFRelease(poort_);
    }
    void zetAan() override { CGEventTapEnable(poort_, true); }
    [[nodiscard]] bool isAan() const override { return CGEventTapIsEnabled(poort_); }

  private:
    CFMachPortRef poort_;
    CFRunLoopSourceRef bron_ = nullptr;
    std::unique_ptr<Ontvanger> ontvanger_;
};

class Monitor final : public ToetsBron::Registratie {
  public:
    explicit Monitor(id token) : token_(token) {}
    ~Monitor() override { [NSEvent removeMonitor:token_]; }

  private:
    id token_;
};

std::unique_ptr<ToetsBron::Registratie> monitor(bool globaal, ToetsBron::OpGebeurtenis op) {
    auto ontvanger =
        std::make_shared<Ontvanger>(Ontvanger{std::move(op), [](ToetsBron::TapUit) {}});
    const auto masker = static_cast<NSEventMask>(ToetsBron::gebeurtenisMasker);
    auto geef = ^(NSEvent* e) {
      // The Quartz event underneath carries the mark of keystrokes we posted.
      CGEventRef cg = e.CGEvent;
      ontvanger->geef(QuartzToetsen::vertaal(
          static_cast<std::uint32_t>(e.type), e.keyCode, e.modifierFlags,
          cg != nullptr ? CGEventGetIntegerValueField(cg, kCGEventSourceUserData) : 0));
    };
    id token = globaal ? [NSEvent addGlobalMonitorForEventsMatchingMask:masker handler:geef]
                       : [NSEvent addLocalMonitorForEventsMatchingMask:masker
                                                               handler:^NSEvent*(NSEvent* e) {
                                                                 geef(e);
                                                                 return e;
                                                               }];
    return token != nil ? std::make_unique<Monitor>(token) : nullptr;
}

}  // namespace

std::unique_ptr<ToetsBron::Tap> QuartzToetsBron::maakTap(OpGebeurtenis opGebeurtenis,
                                                         std::function<void(TapUit)> opUitgezet) {
    auto ontvanger =
        std::make_unique<Ontvanger>(Ontvanger{std::move(opGebeurtenis), std::move(opUitgezet)});
    CFMachPortRef poort =
        CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionListenOnly,
                         gebeurtenisMasker, tapTerugroep, ontvanger.get());
    if (poort == nullptr) {
        return nullptr;
    }
    return std::make_unique<QuartzTap>(poort, std::move(ontvanger));
}

std::unique_ptr<ToetsBron::Registratie> QuartzToetsBron::installeerGlobaleMonitor(
    OpGebeurtenis opGebeurtenis) {
    return monitor(true, std::move(opGebeurtenis));
}

std::unique_ptr<ToetsBron::Registratie> QuartzToetsBron::installeerLokaleMonitor(
    OpGebeurtenis opGebeurtenis) {
    return monitor(false, std::move(opGebeurtenis));
}

std::unique_ptr<ToetsBron::Registratie> QuartzToetsBron::installeerWisselHandler(
    std::function<void()> opIngedrukt) {
    return CarbonSneltoets::installeerHandler(std::move(opIngedrukt));
}

std::unique_ptr<ToetsBron::Registratie> QuartzToetsBron::registreerWissel(
    const Toetscombinatie& combinatie) {
    return CarbonSneltoets::registreer(combinatie);
}

ToetsVlaggen QuartzToetsBron::sessieVlaggen() const {
    return ToetsVlaggen{CGEventSourceFlagsState(kCGEventSourceStateCombinedSessionState)};
}

}  // namespace tolmo
