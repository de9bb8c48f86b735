// Tolmo's own declarations for the Mac syntax check; not Apple's header. Carbon's hot keys and
// application event handler (HIToolbox, CarbonEvents.h). Apple no longer documents them; the
// signatures are those of the macOS 10.0+ interface as the README's table records.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

typedef struct OpaqueEventHandlerCallRef* EventHandlerCallRef;
typedef struct OpaqueEventRef* EventRef;
typedef struct OpaqueEventHandlerRef* EventHandlerRef;
typedef struct OpaqueEventTargetRef* EventTargetRef;
typedef struct OpaqueEventHotKeyRef* EventHotKeyRef;
typedef UInt32 EventParamName;
typedef UInt32 EventParamType;
typedef unsigned long ByteCount;
typedef UInt32 ItemCount;
typedef SInt32 OptionBits;
typedef OSStatus (*EventHandlerProcPtr)(EventHandlerCallRef inHandlerCallRef, EventRef inEvent,
                                        void* inUserData);
typedef EventHandlerProcPtr EventHandlerUPP;

struct EventHotKeyID {
    OSType signature;
    UInt32 id;
};
struct EventTypeSpec {
    OSType eventClass;
    UInt32 eventKind;
};

enum {
    kEventClassKeyboard = 0x6B657962,  // 'keyb'
    kEventHotKeyPressed = 5,
    kEventParamDirectObject = 0x2D2D2D2D,  // '----'
    typeEventHotKeyID = 0x686B6964,        // 'hkid'
};

extern "C" {
OSStatus GetEventParameter(EventRef inEvent, EventParamName inName, EventParamType inDesiredType,
                           EventParamType* outActualType, ByteCount inBufferSize,
                           ByteCount* outActualSize, void* outData);
EventHandlerUPP NewEventHandlerUPP(EventHandlerProcPtr userRoutine);
EventTargetRef GetApplicationEventTarget(void);
OSStatus InstallEventHandler(EventTargetRef inTarget, EventHandlerUPP inHandler,
                             ItemCount inNumTypes, const EventTypeSpec* inList, void* inUserData,
                             EventHandlerRef* outRef);
OSStatus RemoveEventHandler(EventHandlerRef inHandlerRef);
OSStatus RegisterEventHotKey(UInt32 inHotKeyCode, UInt32 inHotKeyModifiers,
                             EventHotKeyID inHotKeyID, EventTargetRef inTarget,
                             OptionBits inOptions, EventHotKeyRef* outRef);
OSStatus UnregisterEventHotKey(EventHotKeyRef inHotKey);
}
