#include "Tolmo/mac/MacFocus.h"

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

#include <memory>

namespace tolmo {
namespace {

// Owns one reference to an accessibility element.
class AXVeld final : public FocusVeld::Identiteit {
  public:
    explicit AXVeld(CFTypeRef element) : element_(element) {}
    ~AXVeld() override { CFRelease(element_); }
    AXVeld(const AXVeld&) = delete;
    AXVeld& operator=(const AXVeld&) = delete;

    [[nodiscard]] bool gelijkAan(const Identiteit& ander) const override {
        const auto* a = dynamic_cast<const AXVeld*>(&ander);
        return a != nullptr && CFEqual(element_, a->element_);
    }

  private:
    CFTypeRef element_;
};

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
        doel.veld = FocusVeld(std::make_shared<AXVeld>(waarde));
    } else if (waarde != nullptr) {
        CFRelease(waarde);
    }
    CFRelease(axApp);
    return doel;
}

}  // namespace tolmo
