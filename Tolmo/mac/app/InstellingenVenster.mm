#include "Tolmo/mac/app/InstellingenVenster.h"

#import <AppKit/AppKit.h>

#include "Tolmo/mac/app/InstellingenTabs.h"

namespace tolmo {

InstellingenVenster::InstellingenVenster(Handelingen handelingen) : s_(std::make_unique<Staat>()) {
    s_->h = std::move(handelingen);
}

InstellingenVenster::~InstellingenVenster() {
    [s_->venster close];
}

void InstellingenVenster::toon(Tab tab) {
    if (s_->venster == nil) {
        s_->venster = [[NSWindow alloc]
            initWithContentRect:NSMakeRect(0, 0, 560, 420)
                      styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                NSWindowStyleMaskResizable
                        backing:NSBackingStoreBuffered
                          defer:YES];
        s_->venster.title = @"Tolmo – Instellingen";
        s_->venster.releasedWhenClosed = NO;
        [s_->venster center];
    }
    [s_->acties removeAllObjects];
    NSTabView* tabs = [[NSTabView alloc] init];
    const std::pair<NSString*, NSView*> inhoud[] = {
        {@"Algemeen", InstellingenTabs::algemeen(*s_)},
        {@"Server", InstellingenTabs::server(*s_)},
        {@"Toestemmingen", InstellingenTabs::toestemmingen(*s_)},
        {@"Logboek", InstellingenTabs::logboek(*s_)}};
    for (const auto& [titel, view] : inhoud) {
        NSTabViewItem* t = [[NSTabViewItem alloc] initWithIdentifier:titel];
        t.label = titel;
        t.view = view;
        [tabs addTabViewItem:t];
    }
    [tabs selectTabViewItemAtIndex:static_cast<NSInteger>(tab)];
    s_->venster.contentView = tabs;
    [NSApp activateIgnoringOtherApps:YES];
    [s_->venster makeKeyAndOrderFront:nil];
}

}  // namespace tolmo
