#include "Tolmo/mac/app/MenuBalk.h"

#import <AppKit/AppKit.h>

// A menu item's target and action as a block; the item keeps it alive as its represented object.
@interface TolmoMenuActie : NSObject
@property(nonatomic, copy) void (^blok)(void);
- (void)voerUit:(id)sender;
@end

@implementation TolmoMenuActie
- (void)voerUit:(id)sender {
    self.blok();
}
@end

@interface TolmoMenuBouwer : NSObject <NSMenuDelegate>
@end

@implementation TolmoMenuBouwer {
  @public
    tolmo::MenuBalk::Handelingen* _h;
}

static NSMenuItem* item(NSString* titel, void (^blok)(void)) {
    NSMenuItem* i = [[NSMenuItem alloc] initWithTitle:titel action:nil keyEquivalent:@""];
    i.enabled = blok != nil;
    if (blok != nil) {
        TolmoMenuActie* actie = [[TolmoMenuActie alloc] init];
        actie.blok = blok;
        i.target = actie;
        i.action = @selector(voerUit:);
        i.representedObject = actie;
    }
    return i;
}

static NSString* ns(const std::string& s) {
    return [NSString stringWithUTF8String:s.c_str()];
}

- (void)menuNeedsUpdate:(NSMenu*)menu {
    tolmo::MenuBalk::Handelingen* h = _h;
    const tolmo::MenuStand stand = h->stand();
    [menu removeAllItems];
    [menu addItem:item(ns(stand.status), nil)];
    if (!stand.toestemmingen.empty()) {
        [menu addItem:item(ns(stand.toestemmingen), ^{
                h->toestemmingen();
              })];
    }
    [menu addItem:NSMenuItem.separatorItem];
    const tolmo::MenuStand::Actie actie = stand.actie;
    [menu addItem:item(ns(stand.actieTitel), ^{
            h->actie(actie);
          })];
    [menu addItem:item(ns(stand.route), nil)];
    const bool opschonen = stand.opschonen;
    void (^schakel)(void) = nil;
    if (h->opschonen) {
        schakel = ^{
          h->opschonen(!opschonen);
        };
    }
    NSMenuItem* schoon = item(@"Opschonen", schakel);
    schoon.state = opschonen ? NSControlStateValueOn : NSControlStateValueOff;
    [menu addItem:schoon];
    [menu addItem:NSMenuItem.separatorItem];
    [menu addItem:item(@"Instellingen…", ^{
            h->instellingen();
          })];
    [menu addItem:item(@"Logboek", ^{
            h->logboek();
          })];
    [menu addItem:NSMenuItem.separatorItem];
    [menu addItem:item(@"Afsluiten", ^{
            h->afsluiten();
          })];
}
@end

namespace tolmo {

struct MenuBalk::Staat {
    Handelingen h;
    NSStatusItem* item = nil;
    NSMenu* menu = nil;
    TolmoMenuBouwer* bouwer = nil;
};

MenuBalk::MenuBalk(Handelingen handelingen) : s_(std::make_unique<Staat>()) {
    s_->h = std::move(handelingen);
    s_->item = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
    s_->item.button.image = [NSImage imageWithSystemSymbolName:@"mic"
                                      accessibilityDescription:@"Tolmo"];
    s_->bouwer = [[TolmoMenuBouwer alloc] init];
    s_->bouwer->_h = &s_->h;
    s_->menu = [[NSMenu alloc] initWithTitle:@"Tolmo"];
    // Items are enabled by whether they have an action, not by AppKit's validation.
    s_->menu.autoenablesItems = NO;
    s_->menu.delegate = s_->bouwer;
    s_->item.menu = s_->menu;
}

MenuBalk::~MenuBalk() {
    [NSStatusBar.systemStatusBar removeStatusItem:s_->item];
}

void MenuBalk::toon(const Melding& melding) {
    s_->item.button.toolTip = [NSString stringWithUTF8String:melding.tekst.c_str()];
    ververs();
}

void MenuBalk::wis() {
    s_->item.button.toolTip = nil;
    ververs();
}

void MenuBalk::ververs() {
    s_->item.button.title = [NSString stringWithUTF8String:s_->h.stand().balkTeken.c_str()];
}

}  // namespace tolmo
