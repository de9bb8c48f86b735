// Tolmo's own declarations for the Mac syntax check (scripts/macsyntaxis.sh); not Apple's headers.
// Written from Apple's documentation of the Objective-C runtime and of NSObject, only what the
// adapters use. TOLMO_SDK is the SDK release being modelled (140000: Xcode 15, 150000: Xcode
// 16); an API that came with a later SDK is left undeclared, as that SDK's compiler would see it.
#pragma once

#ifndef TOLMO_SDK
#define TOLMO_SDK 140000
#endif

#include <stddef.h>
#include <stdint.h>

#define API_AVAILABLE_MACOS(v) __attribute__((availability(macos, introduced = v)))
#define API_DEPRECATED_MACOS(v, d) \
    __attribute__((availability(macos, introduced = v, deprecated = d)))
#define NS_ENUM(type, name) enum name : type
// As Apple documents for C++: the options type is the integer type itself, so that an OR
// of two options has the type.
#define NS_OPTIONS(type, name) \
    type name;                 \
    enum : type
#define NS_SWIFT_SENDABLE

// https://developer.apple.com/documentation/objectivec/objective-c_runtime
typedef struct objc_class* Class;
typedef struct objc_object* id;
typedef struct objc_selector* SEL;
// https://developer.apple.com/documentation/objectivec/bool: a C bool where the platform's ABI
// says so (arm64), a signed char on x86_64. The compiler tells which for the target.
#if defined(__OBJC_BOOL_IS_BOOL) && __OBJC_BOOL_IS_BOOL
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#ifndef nil
#define nil nullptr
#endif
#ifndef Nil
#define Nil nullptr
#endif

// https://developer.apple.com/documentation/objectivec/nsinteger (64-bit on both targets)
typedef long NSInteger;
typedef unsigned long NSUInteger;

#ifdef __OBJC__
@class NSString;

// https://developer.apple.com/documentation/objectivec/1418956-nsobject
@protocol NSObject
- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)respondsToSelector:(SEL)aSelector;
- (BOOL)isEqual:(id)object;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
+ (instancetype)alloc;
+ (instancetype)new;
+ (Class)class;
- (instancetype)init;
- (id)copy;
- (id)mutableCopy;
@end
#endif  // __OBJC__
