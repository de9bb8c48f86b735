#include "Tolmo/mac/Systeemklembord.h"

#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace {
constexpr CGKeyCode toetsV = 9;
NSString* const vluchtigType = @"org.nspasteboard.TransientType";
}  // namespace

// Hands the dictation to whichever app asks for it, and says so once.
@interface TolmoTekstBelofte : NSObject <NSPasteboardItemDataProvider>
@property(nonatomic, copy) NSString* tekst;
@property(nonatomic, copy) void (^opGelezen)(void);
@end

@implementation TolmoTekstBelofte
- (void)pasteboard:(NSPasteboard*)pasteboard
                  item:(NSPasteboardItem*)item
    provideDataForType:(NSPasteboardType)type {
    [item setString:self.tekst forType:type];
    if (self.opGelezen != nil) {
        void (^op)(void) = self.opGelezen;
        self.opGelezen = nil;
        op();
    }
}
- (void)pasteboardFinishedWithDataProvider:(NSPasteboard*)pasteboard {
}
@end

namespace tolmo {

struct Systeemklembord::Staat {
    NSPasteboard* bord = [NSPasteboard generalPasteboard];
    // Kept until the next write: the pasteboard asks the provider only while it holds the item.
    TolmoTekstBelofte* belofte = nil;
};

Systeemklembord::Systeemklembord() : s_(std::make_unique<Staat>()) {}
Systeemklembord::~Systeemklembord() {
    // The pasteboard may outlive us and still ask the promise for its text.
    s_->belofte.opGelezen = nil;
}

std::int64_t Systeemklembord::wijzigingsTeller() const {
    return s_->bord.changeCount;
}

KlembordPoort::Momentopname Systeemklembord::maakMomentopname() const {
    Momentopname opname;
    for (NSPasteboardItem* item in s_->bord.pasteboardItems) {
        auto& paren = opname.emplace_back();
        for (NSPasteboardType type in item.types) {
            NSData* data = [item dataForType:type];
            if (data != nil) {
                paren.emplace_back(type.UTF8String,
                                   std::string(static_cast<const char*>(data.bytes), data.length));
            }
        }
    }
    return opname;
}

std::int64_t Systeemklembord::schrijf(const std::string& tekst) {
    TolmoTekstBelofte* belofte = [[TolmoTekstBelofte alloc] init];
    belofte.tekst = [NSString stringWithUTF8String:tekst.c_str()];
    Systeemklembord* zelf = this;
    belofte.opGelezen = ^{
      if (zelf->opGelezen) {
          zelf->opGelezen();
      }
    };
    NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
    [item setDataProvider:belofte forTypes:@[ NSPasteboardTypeString ]];
    [item setString:@"" forType:vluchtigType];
    [s_->bord clearContents];
    [s_->bord writeObjects:@[ item ]];
    s_->belofte = belofte;
    return s_->bord.changeCount;
}

void Systeemklembord::zetTekst(const std::string& tekst) {
    s_->belofte = nil;
    [s_->bord clearContents];
    [s_->bord setString:[NSString stringWithUTF8String:tekst.c_str()]
                forType:NSPasteboardTypeString];
}

void Systeemklembord::herstel(const Momentopname& momentopname) {
    s_->belofte = nil;
    [s_->bord clearContents];
    if (momentopname.empty()) {
        return;
    }
    NSMutableArray<NSPasteboardItem*>* items = [NSMutableArray array];
    for (const auto& paren : momentopname) {
        NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
        for (const auto& [type, data] : paren) {
            [item setData:[NSData dataWithBytes:data.data() length:data.size()]
                  forType:[NSString stringWithUTF8String:type.c_str()]];
        }
        [items addObject:item];
    }
    [s_->bord writeObjects:items];
}

void Systeemklembord::stuurPlakToets() {
    CGEventSourceRef bron = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
    CGEventRef omlaag = CGEventCreateKeyboardEvent(bron, toetsV, true);
    CGEventRef omhoog = CGEventCreateKeyboardEvent(bron, toetsV, false);
    if (omlaag != nullptr && omhoog != nullptr) {
        CGEventSetFlags(omlaag, kCGEventFlagMaskCommand);
        CGEventSetFlags(omhoog, kCGEventFlagMaskCommand);
        // Marked as ours: our own tap sees them too and must not take them for the user's.
        CGEventSetIntegerValueField(omlaag, kCGEventSourceUserData, ToetsBron::eigenMerk);
        CGEventSetIntegerValueField(omhoog, kCGEventSourceUserData, ToetsBron::eigenMerk);
        CGEventPost(kCGHIDEventTap, omlaag);
        CGEventPost(kCGHIDEventTap, omhoog);
    }
    for (CFTypeRef r : {static_cast<CFTypeRef>(omlaag), static_cast<CFTypeRef>(omhoog),
                        static_cast<CFTypeRef>(bron)}) {
        if (r != nullptr) {
            CFRelease(r);
        }
    }
}

}  // namespace tolmo
