#include "Tolmo/mac/app/OpnamePaneel.h"

#import <AppKit/AppKit.h>

namespace tolmo {

struct OpnamePaneel::Staat {
    std::unique_ptr<GolfView> golf;
    NSPanel* paneel = nil;
};

OpnamePaneel::OpnamePaneel(std::unique_ptr<GolfView> golf) : s_(std::make_unique<Staat>()) {
    s_->golf = std::move(golf);
    NSView* golfView = (__bridge NSView*)s_->golf->nsView();
    NSPanel* p = [[NSPanel alloc]
        initWithContentRect:golfView.frame
                  styleMask:NSWindowStyleMaskBorderless | NSWindowStyleMaskNonactivatingPanel
                    backing:NSBackingStoreBuffered
                      defer:YES];
    p.floatingPanel = YES;
    p.level = NSFloatingWindowLevel;
    p.becomesKeyOnlyIfNeeded = YES;
    // A menu-bar app is never the active app; a panel that hides on deactivation never shows.
    p.hidesOnDeactivate = NO;
    p.ignoresMouseEvents = YES;
    p.opaque = NO;
    p.backgroundColor = NSColor.clearColor;
    p.hasShadow = NO;
    p.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces |
                           NSWindowCollectionBehaviorFullScreenAuxiliary |
                           NSWindowCollectionBehaviorStationary;
    p.contentView = golfView;
    s_->paneel = p;
    s_->golf->pauzeer(true);
}

OpnamePaneel::~OpnamePaneel() {
    [s_->paneel orderOut:nil];
}

void OpnamePaneel::toon() {
    NSScreen* scherm = NSScreen.mainScreen;
    if (scherm != nil) {
        const NSRect zicht = scherm.visibleFrame;
        const NSSize maat = s_->paneel.frame.size;
        [s_->paneel setFrameOrigin:NSMakePoint(NSMidX(zicht) - maat.width / 2, NSMinY(zicht) + 24)];
    }
    s_->golf->pauzeer(false);
    [s_->paneel orderFrontRegardless];
    if (opVeranderd) {
        opVeranderd();
    }
}

void OpnamePaneel::verberg() {
    [s_->paneel orderOut:nil];
    s_->golf->pauzeer(true);
    if (opVeranderd) {
        opVeranderd();
    }
}

}  // namespace tolmo
