// Tolmo's own declarations for the Mac syntax check; not Apple's header. The accessibility API
// (HIServices) as the adapters use it, from
// https://developer.apple.com/documentation/applicationservices/axuielement_h.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

typedef const struct __AXUIElement* AXUIElementRef;
// https://developer.apple.com/documentation/applicationservices/axerror
typedef NS_ENUM(int32_t, AXError) {
    kAXErrorSuccess = 0,
} AXError;

// Attribute names are CFString constants (AXAttributeConstants.h):
// https://developer.apple.com/documentation/applicationservices/kaxfocuseduielementattribute
#define kAXFocusedUIElementAttribute CFSTR("AXFocusedUIElement")
// https://developer.apple.com/documentation/applicationservices/kaxroleattribute
#define kAXRoleAttribute CFSTR("AXRole")
// https://developer.apple.com/documentation/applicationservices/kaxsubroleattribute
#define kAXSubroleAttribute CFSTR("AXSubrole")

extern "C" {
// https://developer.apple.com/documentation/applicationservices/1459374-axuielementcreateapplication
// (macOS 10.2+)
AXUIElementRef AXUIElementCreateApplication(pid_t pid);
// https://developer.apple.com/documentation/applicationservices/1459343-axuielementsetmessagingtimeout
// (macOS 10.4+; seconds)
AXError AXUIElementSetMessagingTimeout(AXUIElementRef element, float timeoutInSeconds);
// https://developer.apple.com/documentation/applicationservices/1462085-axuielementcopyattributevalue
// (macOS 10.2+; Copy rule)
AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                      CFTypeRef* value);
// https://developer.apple.com/documentation/applicationservices/1462067-axuielementcopymultipleattribute
// (macOS 10.4+): one message for several attributes; an attribute that failed comes back as an
// AXValue holding its error. Options 0: go on past a failed attribute.
AXError AXUIElementCopyMultipleAttributeValues(AXUIElementRef element, CFArrayRef attributes,
                                               uint32_t options, CFArrayRef* values);
// https://developer.apple.com/documentation/applicationservices/1459559-axuielementgettypeid
CFTypeID AXUIElementGetTypeID(void);
// https://developer.apple.com/documentation/applicationservices/1460720-axisprocesstrusted
bool AXIsProcessTrusted(void);
// https://developer.apple.com/documentation/applicationservices/1459186-axisprocesstrustedwithoptions
// (macOS 10.9+)
bool AXIsProcessTrustedWithOptions(CFDictionaryRef options) API_AVAILABLE_MACOS(10.9);
// https://developer.apple.com/documentation/applicationservices/kaxtrustedcheckoptionprompt
extern CFStringRef kAXTrustedCheckOptionPrompt API_AVAILABLE_MACOS(10.9);
}
