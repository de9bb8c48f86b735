#include "Tolmo/mac/MacHoofdLus.h"

#import <Foundation/Foundation.h>

#include <dispatch/dispatch.h>

#include <memory>
#include <utility>

namespace tolmo {
namespace {

// Blocks copy what they capture; a shared task keeps one copy for however many firings.
Timer plan(double interval, BOOL herhaal, HoofdLus::Taak taak) {
    auto gedeeld = std::make_shared<HoofdLus::Taak>(std::move(taak));
    NSTimer* timer = [NSTimer timerWithTimeInterval:interval
                                            repeats:herhaal
                                              block:^(NSTimer*) {
                                                (*gedeeld)();
                                              }];
    [[NSRunLoop mainRunLoop] addTimer:timer forMode:NSRunLoopCommonModes];
    return Timer([timer] { [timer invalidate]; });
}

}  // namespace

void MacHoofdLus::post(Taak taak) {
    auto gedeeld = std::make_shared<Taak>(std::move(taak));
    dispatch_async(dispatch_get_main_queue(), ^{
      (*gedeeld)();
    });
}

void MacHoofdLus::postNa(double vertraging, Taak taak) {
    auto gedeeld = std::make_shared<Taak>(std::move(taak));
    dispatch_after(
        dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(vertraging * NSEC_PER_SEC)),
        dispatch_get_main_queue(), ^{
          (*gedeeld)();
        });
}

Timer MacHoofdLus::eenmalig(double vertraging, Taak taak) {
    return plan(vertraging, NO, std::move(taak));
}

Timer MacHoofdLus::herhalend(double interval, Taak taak) {
    return plan(interval, YES, std::move(taak));
}

double MacHoofdLus::uptime() const {
    return [[NSProcessInfo processInfo] systemUptime];
}

}  // namespace tolmo
