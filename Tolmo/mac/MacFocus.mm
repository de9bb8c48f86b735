#include "Tolmo/mac/MacFocus.h"

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

#include <memory>

#include "Tolmo/MacVertaling/ToegankelijkheidsVeld.h"

namespace tolmo {
namespace {

// Owns one reference to an accessibility element, with what its role said about it.
class AXVeld final : public FocusVeld::Identiteit {
  public:
    AXVeld(CFTypeRef element, ToegankelijkheidsVeld soort) : element_(element), soort_(soort) {}
    ~AXVeld() override { CFRelease(element_); }
    AXVeld(const AXVeld&) = delete;
    AXVeld& operator=(const AXVeld&) = delete;

    [[nodiscard]] bool gelijkAan(const Identiteit& ander) const override {
        const auto* a = dynamic_cast<const AXVeld*>(&ander);
        return a != nullptr && CFEqual(element_, a->element_);
    }
    [[nodiscard]] InvoerSoort soort() const override { return soort_.soort; }
    [[nodiscard]] bool geheim() const override { return soort_.geheim; }

  private:
    CFTypeRef element_;
    ToegankelijkheidsVeld soort_;
};

std::string_view tekst(id waarde) {
    // A failed attribute comes back as an AXValue holding its error, not as a string.
    return [waarde isKindOfClass:[NSString class]] ? std::string_view([waarde UTF8String])
                                                   : std::string_view();
}

// Role and subrole in one message to the app, under the same time-out as the focus query.
ToegankelijkheidsVeld soortVan(AXUIElementRef element) {
    AXUIElementSetMessagingTimeout(element, MacFocus::berichtTijdslimiet);
    NSArray* namen =
        @[ (__bridge NSString*)kAXRoleAttribute, (__bridge NSString*)kAXSubroleAttribute ];
    CFArrayRef ruw = nullptr;
    if (AXUIElementCopyMultipleAttributeValues(element, (__bridge CFArrayRef)namen, 0, &ruw) !=
        kAXErrorSuccess) {
        return {};
    }
    NSArray* waarden = (__bridge_transfer NSArray*)ruw;
    if (waarden.count != 2) {
        return {};
    }
    return ToegankelijkheidsVeld::van(tekst(waarden[0]), tekst(waarden[1]));
}

}  // namespace

std::optional<Doel> MacFocus::huidig() const {
    NSRunningApplication* app = [NSWorkspace sharedWorkspace].frontmostApplication;
    if (app == nil) {
        return std::nullopt;
    }
    Doel doel;
    doel.procesId = app.processIdentifier;
    if (app.bundleIdentifier != nil) {
        doel.bundleId = std::string(app.bundleIdentifier.UTF8String);
    }
    AXUIElementRef axApp = AXUIElementCreateApplication(app.processIdentifier);
    if (axApp == nullptr) {
        return doel;
    }
    AXUIElementSetMessagingTimeout(axApp, berichtTijdslimiet);
    CFTypeRef waarde = nullptr;
    const AXError fout =
        AXUIElementCopyAttributeValue(axApp, kAXFocusedUIElementAttribute, &waarde);
    if (fout == kAXErrorSuccess && waarde != nullptr &&
        CFGetTypeID(waarde) == AXUIElementGetTypeID()) {
        const auto soort = soortVan(static_cast<AXUIElementRef>(waarde));
        doel.veld = FocusVeld(std::make_shared<AXVeld>(waarde, soort));
    } else if (waarde != nullptr) {
        CFRelease(waarde);
    }
    CFRelease(axApp);
    return doel;
}

}  // namespace tolmo
