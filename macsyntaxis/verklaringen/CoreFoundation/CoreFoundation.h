// Tolmo's own declarations for the Mac syntax check; not Apple's header. Core Foundation as the
// adapters use it, from https://developer.apple.com/documentation/corefoundation.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include "TolmoObjc.h"

// Toll-free bridged types name their Objective-C class, for ARC's bridging casts.
#ifdef __OBJC__
#define TOLMO_CF_BRUG(klasse) __attribute__((objc_bridge(klasse)))
#else
#define TOLMO_CF_BRUG(klasse)
#endif

extern "C" {
typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef uint16_t UInt16;
typedef uint32_t UInt32;
typedef int32_t SInt32;
typedef uint64_t UInt64;
typedef int64_t SInt64;
typedef SInt32 OSStatus;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;
typedef double CFTimeInterval;
typedef const void* CFTypeRef;
typedef const struct TOLMO_CF_BRUG(NSString) __CFString* CFStringRef;
typedef const struct TOLMO_CF_BRUG(NSDictionary) __CFDictionary* CFDictionaryRef;
typedef const struct TOLMO_CF_BRUG(NSData) __CFData* CFDataRef;
typedef const struct TOLMO_CF_BRUG(NSArray) __CFArray* CFArrayRef;
typedef const struct TOLMO_CF_BRUG(NSNumber) __CFBoolean* CFBooleanRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef struct __CFMachPort* CFMachPortRef;
typedef CFStringRef CFRunLoopMode;

enum { noErr = 0 };

// https://developer.apple.com/documentation/corefoundation/kcfallocatordefault (macOS 10.0+)
extern const CFAllocatorRef kCFAllocatorDefault;
// https://developer.apple.com/documentation/corefoundation/cfrelease(_:) (macOS 10.0+)
void CFRelease(CFTypeRef cf);
// https://developer.apple.com/documentation/corefoundation/cfretain(_:) (macOS 10.0+)
CFTypeRef CFRetain(CFTypeRef cf);
// https://developer.apple.com/documentation/corefoundation/cfequal(_:_:) (macOS 10.0+)
Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);
// https://developer.apple.com/documentation/corefoundation/cfgettypeid(_:) (macOS 10.0+)
CFTypeID CFGetTypeID(CFTypeRef cf);
// https://developer.apple.com/documentation/corefoundation/cfbooleangettypeid() (macOS 10.0+)
CFTypeID CFBooleanGetTypeID(void);
// https://developer.apple.com/documentation/corefoundation/cfstringgettypeid() (macOS 10.0+)
CFTypeID CFStringGetTypeID(void);
// https://developer.apple.com/documentation/corefoundation/cfrunloopgetmain() (macOS 10.5+)
CFRunLoopRef CFRunLoopGetMain(void);
// https://developer.apple.com/documentation/corefoundation/kcfrunloopcommonmodes (macOS 10.0+)
extern const CFRunLoopMode kCFRunLoopCommonModes;
// https://developer.apple.com/documentation/corefoundation/kcfrunloopdefaultmode (macOS 10.0+)
extern const CFRunLoopMode kCFRunLoopDefaultMode;
// https://developer.apple.com/documentation/corefoundation/cfrunloopaddsource(_:_:_:)
void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFRunLoopMode mode);
// https://developer.apple.com/documentation/corefoundation/cfrunloopremovesource(_:_:_:)
void CFRunLoopRemoveSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFRunLoopMode mode);
// https://developer.apple.com/documentation/corefoundation/cfrunloopperformblock(_:_:_:)
// (macOS 10.6+): the block runs from the run loop itself, not from the main dispatch queue.
void CFRunLoopPerformBlock(CFRunLoopRef rl, CFTypeRef mode, void (^block)(void))
    API_AVAILABLE_MACOS(10.6);
// https://developer.apple.com/documentation/corefoundation/cfrunloopwakeup(_:)
void CFRunLoopWakeUp(CFRunLoopRef rl);
// https://developer.apple.com/documentation/corefoundation/cfmachportcreaterunloopsource(_:_:_:)
CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef allocator, CFMachPortRef port,
                                                 CFIndex order);
// https://developer.apple.com/documentation/corefoundation/cfmachportinvalidate(_:)
void CFMachPortInvalidate(CFMachPortRef port);
// https://developer.apple.com/documentation/corefoundation/cfstringgetcstring(_:_:_:_:)
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           UInt32 encoding);
enum { kCFStringEncodingUTF8 = 0x08000100 };
}

// CFSTR makes a constant CFString at compile time; clang provides the builtin on Apple targets.
#define CFSTR(s) ((CFStringRef)__builtin___CFStringMakeConstantString("" s ""))
