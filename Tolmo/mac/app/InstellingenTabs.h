#pragma once

#import <AppKit/AppKit.h>

#include "Tolmo/mac/app/InstellingenVenster.h"

@class TolmoKnopActie;

namespace tolmo {

struct InstellingenVenster::Staat {
    Handelingen h;
    NSWindow* venster = nil;
    NSMutableArray<TolmoKnopActie*>* acties = [NSMutableArray array];
};

// The settings window's tabs, each built afresh when the window is shown; the targets of their
// buttons are kept in the window's state.
struct InstellingenTabs {
    static NSView* algemeen(InstellingenVenster::Staat& s);
    static NSView* server(InstellingenVenster::Staat& s);
    static NSView* toestemmingen(InstellingenVenster::Staat& s);
    static NSView* logboek(InstellingenVenster::Staat& s);
};

}  // namespace tolmo
