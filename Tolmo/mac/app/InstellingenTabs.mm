#include "Tolmo/mac/app/InstellingenTabs.h"

#include "Tolmo/mac/MacToestemmingen.h"
#include "Tolmo/mac/app/StartBijInloggen.h"

@interface TolmoKnopActie : NSObject
@property(nonatomic, copy) void (^blok)(NSButton*);
- (void)voerUit:(NSButton*)knop;
@end

@implementation TolmoKnopActie
- (void)voerUit:(NSButton*)knop {
    self.blok(knop);
}
@end

namespace tolmo {
namespace {

NSString* ns(const std::string& s) {
    return [NSString stringWithUTF8String:s.c_str()];
}

NSButton* knop(InstellingenVenster::Staat& s, NSString* titel, bool vink, bool aan,
               void (^blok)(NSButton*)) {
    TolmoKnopActie* actie = [[TolmoKnopActie alloc] init];
    actie.blok = blok;
    [s.acties addObject:actie];
    NSButton* b = vink ? [NSButton checkboxWithTitle:titel target:actie action:@selector(voerUit:)]
                       : [NSButton buttonWithTitle:titel target:actie action:@selector(voerUit:)];
    if (vink) {
        b.state = aan ? NSControlStateValueOn : NSControlStateValueOff;
    }
    return b;
}

NSView* stapel(NSArray<NSView*>* delen) {
    NSStackView* s = [NSStackView stackViewWithViews:delen];
    s.orientation = NSUserInterfaceLayoutOrientationVertical;
    s.alignment = NSLayoutAttributeLeading;
    s.edgeInsets = NSEdgeInsetsMake(16, 16, 16, 16);
    return s;
}

void meld(NSString* titel, const std::string& tekst) {
    NSAlert* melding = [[NSAlert alloc] init];
    melding.messageText = titel;
    melding.informativeText = ns(tekst);
    [melding runModal];
}

}  // namespace

NSView* InstellingenTabs::algemeen(InstellingenVenster::Staat& s) {
    InstellingenVenster::Handelingen* h = &s.h;
    return stapel(@[
        knop(s, @"Klembord na plakken herstellen", true, h->klembordHerstellen(),
             ^(NSButton* b) {
               h->zetKlembordHerstellen(b.state == NSControlStateValueOn);
             }),
        [NSTextField labelWithString:@"Zet je vorige klembord terug na het plakken."],
        knop(s, @"Toon de balk", true, h->toonBalk(),
             ^(NSButton* b) {
               h->zetToonBalk(b.state == NSControlStateValueOn);
             }),
        knop(s, @"Start Tolmo bij inloggen", true, StartBijInloggen::aan(),
             ^(NSButton* b) {
               if (auto fout = StartBijInloggen::zet(b.state == NSControlStateValueOn)) {
                   meld(@"Start bij inloggen wijzigen lukte niet.", *fout);
                   b.state =
                       StartBijInloggen::aan() ? NSControlStateValueOn : NSControlStateValueOff;
               }
             }),
    ]);
}

NSView* InstellingenTabs::server(InstellingenVenster::Staat& s) {
    InstellingenVenster::Handelingen* h = &s.h;
    NSTextField* adres = [NSTextField textFieldWithString:ns(h->serverAdres())];
    NSSecureTextField* code = [[NSSecureTextField alloc] init];
    code.placeholderString = @"Laat leeg om de bewaarde code te houden";
    [adres.widthAnchor constraintGreaterThanOrEqualToConstant:360].active = YES;
    [code.widthAnchor constraintGreaterThanOrEqualToConstant:360].active = YES;
    return stapel(@[
        [NSTextField labelWithString:@"Serveradres"],
        adres,
        [NSTextField labelWithString:@"Toegangscode (in de sleutelhanger)"],
        code,
        knop(s, @"Bewaar", false, false,
             ^(NSButton*) {
               if (auto fout = h->zetServerAdres(adres.stringValue.UTF8String)) {
                   meld(@"Serveradres niet bewaard.", *fout);
                   return;
               }
               if (code.stringValue.length > 0) {
                   if (auto fout = h->zetToegangscode(code.stringValue.UTF8String)) {
                       meld(@"Toegangscode niet bewaard.", *fout);
                       return;
                   }
                   code.stringValue = @"";
               }
             }),
    ]);
}

NSView* InstellingenTabs::toestemmingen(InstellingenVenster::Staat& s) {
    const auto t = s.h.toestemmingen();
    auto regel = [](const char* naam, bool aan) {
        return
            [NSTextField labelWithString:[NSString stringWithFormat:@"%s: %@", naam,
                                                                    aan ? @"toegestaan" : @"uit"]];
    };
    return stapel(@[
        regel("Microfoon", t.microfoon),
        knop(s, @"Vraag om de microfoon", false, false,
             ^(NSButton*) {
               MacToestemmingen::vraagMicrofoon();
             }),
        regel("Invoermonitoring", t.invoermonitoring),
        knop(s, @"Vraag om Invoermonitoring", false, false,
             ^(NSButton*) {
               MacToestemmingen::vraagInvoermonitoring();
             }),
        regel("Toegankelijkheid", t.toegankelijkheid),
        knop(s, @"Vraag om Toegankelijkheid", false, false,
             ^(NSButton*) {
               MacToestemmingen::vraagToegankelijkheid();
             }),
        [NSTextField labelWithString:ns("Houdtoets: " + s.h.mechanisme())],
        [NSTextField labelWithString:@"Werkt de houdtoets daarna niet, herstart dan Tolmo."],
    ]);
}

NSView* InstellingenTabs::logboek(InstellingenVenster::Staat& s) {
    std::string tekst;
    for (const std::string& r : s.h.logregels()) {
        tekst += r + "\n";
    }
    NSScrollView* rol = [NSTextView scrollableTextView];
    NSTextView* v = rol.documentView;
    v.editable = NO;
    v.string = ns(tekst);
    [v scrollToEndOfDocument:nil];
    return rol;
}

}  // namespace tolmo
