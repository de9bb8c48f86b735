// Tolmo's own declarations for the Mac syntax check; not Apple's header. Core Graphics as the
// adapters use it, from https://developer.apple.com/documentation/coregraphics.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

// https://developer.apple.com/documentation/corefoundation/cgfloat (double on 64-bit targets)
typedef double CGFloat;
struct CGPoint {
    CGFloat x, y;
};
struct CGSize {
    CGFloat width, height;
};
struct CGRect {
    CGPoint origin;
    CGSize size;
};
typedef struct CGPoint CGPoint;
typedef struct CGSize CGSize;
typedef struct CGRect CGRect;
static inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
    return CGPoint{x, y};
}

typedef struct CGColor* CGColorRef;
typedef struct __CGEvent* CGEventRef;
typedef struct __CGEventSource* CGEventSourceRef;
typedef struct __CGEventTapProxy* CGEventTapProxy;
typedef uint16_t CGKeyCode;
typedef uint64_t CGEventMask;

// https://developer.apple.com/documentation/coregraphics/cgeventtype
typedef NS_ENUM(uint32_t, CGEventType) {
    kCGEventKeyDown = 10,
    kCGEventKeyUp = 11,
    kCGEventFlagsChanged = 12,
    kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
    kCGEventTapDisabledByUserInput = 0xFFFFFFFF,
} CGEventType;
// https://developer.apple.com/documentation/coregraphics/cgeventflags
typedef NS_OPTIONS(uint64_t, CGEventFlags) {
    kCGEventFlagMaskCommand = 0x00100000,
};
// https://developer.apple.com/documentation/coregraphics/cgeventfield:
// keyboardEventKeycode and eventSourceUserData (64 bits the poster may set; macOS 10.4+)
typedef NS_ENUM(uint32_t, CGEventField) {
    kCGKeyboardEventKeycode = 9,
    kCGEventSourceUserData = 42,
} CGEventField;
// https://developer.apple.com/documentation/coregraphics/cgeventtaplocation
typedef NS_ENUM(uint32_t, CGEventTapLocation) {
    kCGHIDEventTap = 0,
    kCGSessionEventTap = 1,
} CGEventTapLocation;
// https://developer.apple.com/documentation/coregraphics/cgeventtapplacement
typedef NS_ENUM(uint32_t, CGEventTapPlacement) {
    kCGHeadInsertEventTap = 0,
} CGEventTapPlacement;
// https://developer.apple.com/documentation/coregraphics/cgeventtapoptions
typedef NS_ENUM(uint32_t, CGEventTapOptions) {
    kCGEventTapOptionListenOnly = 1,
} CGEventTapOptions;
// https://developer.apple.com/documentation/coregraphics/cgeventsourcestateid
typedef NS_ENUM(int32_t, CGEventSourceStateID) {
    kCGEventSourceStateCombinedSessionState = 0,
} CGEventSourceStateID;

typedef CGEventRef (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type, CGEventRef event,
                                         void* userInfo);

extern "C" {
// https://developer.apple.com/documentation/coregraphics/cgevent/tapcreate(tap:place:options:eventsofinterest:callback:userinfo:)
// (macOS 10.4+)
CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place,
                               CGEventTapOptions options, CGEventMask eventsOfInterest,
                               CGEventTapCallBack callback, void* userInfo);
// https://developer.apple.com/documentation/coregraphics/cgevent/tapenable(tap:enable:)
void CGEventTapEnable(CFMachPortRef tap, bool enable);
// https://developer.apple.com/documentation/coregraphics/cgevent/tapisenabled(tap:)
bool CGEventTapIsEnabled(CFMachPortRef tap);
// https://developer.apple.com/documentation/coregraphics/cgevent/getintegervaluefield(_:)
int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field);
// https://developer.apple.com/documentation/coregraphics/cgevent/setintegervaluefield(_:value:)
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value);
// https://developer.apple.com/documentation/coregraphics/cgevent/flags
CGEventFlags CGEventGetFlags(CGEventRef event);
void CGEventSetFlags(CGEventRef event, CGEventFlags flags);
// https://developer.apple.com/documentation/coregraphics/cgeventsource/flagsstate(_:)
CGEventFlags CGEventSourceFlagsState(CGEventSourceStateID stateID);
// https://developer.apple.com/documentation/coregraphics/cgeventsource/init(stateid:)
CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID stateID);
// https://developer.apple.com/documentation/coregraphics/cgevent/init(keyboardeventsource:virtualkey:keydown:)
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode virtualKey, bool keyDown);
// https://developer.apple.com/documentation/coregraphics/cgevent/post(tap:)
void CGEventPost(CGEventTapLocation tap, CGEventRef event);
// https://developer.apple.com/documentation/coregraphics/cgpreflightlisteneventaccess()
bool CGPreflightListenEventAccess(void) API_AVAILABLE_MACOS(10.15);
// https://developer.apple.com/documentation/coregraphics/cgrequestlisteneventaccess()
bool CGRequestListenEventAccess(void) API_AVAILABLE_MACOS(10.15);
}
