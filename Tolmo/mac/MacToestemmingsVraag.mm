#include "Tolmo/mac/MacToestemmingsVraag.h"

#import <AppKit/AppKit.h>

#include <memory>

namespace tolmo {
namespace {

NSString* ns(const std::string& s) {
    return [NSString stringWithUTF8String:s.c_str()];
}

}  // namespace

void MacToestemmingsVraag::vraag(const std::string& titel, const std::string& tekst,
                                 const std::vector<std::string>& knoppen, Antwoord antwoord) {
    NSAlert* alert = [[NSAlert alloc] init];
    alert.messageText = ns(titel);
    alert.informativeText = ns(tekst);
    for (const std::string& knop : knoppen) {
        [alert addButtonWithTitle:ns(knop)];
    }
    const auto aantal = static_cast<NSModalResponse>(knoppen.size());
    auto gedeeld = std::make_shared<Antwoord>(std::move(antwoord));
    // Not from a block on the main dispatch queue: that queue is serial, so while a modal alert
    // ran inside one of its blocks no other main-queue task (hold decisions, restores, the
    // chain's result) could run until the alert closed. Run from the run loop itself, the modal
    // session keeps the run loop turning in its modal mode, one of the common modes, in which
    // the main queue and our timers are served as usual.
    CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopDefaultMode, ^{
      [NSApp activateIgnoringOtherApps:YES];
      // Buttons answer NSAlertFirstButtonReturn, +1, +2 in the order they were added.
      const NSModalResponse r = [alert runModal] - NSAlertFirstButtonReturn;
      (*gedeeld)(r >= 0 && r < aantal ? static_cast<int>(r) : -1);
    });
    CFRunLoopWakeUp(CFRunLoopGetMain());
}

}  // namespace tolmo
