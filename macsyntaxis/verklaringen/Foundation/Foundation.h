// Tolmo's own declarations for the Mac syntax check; not Apple's header. Foundation as the
// adapters use it, from https://developer.apple.com/documentation/foundation. Every class here is
// macOS 10.0+ unless a declaration says otherwise.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <dispatch/dispatch.h>

#include "TolmoObjc.h"

@class NSArray, NSDictionary, NSError, NSData, NSNumber;

typedef double NSTimeInterval;
typedef NSUInteger NSStringEncoding;
enum { NSUTF8StringEncoding = 4 };

// https://developer.apple.com/documentation/foundation/nsfastenumeration
typedef struct {
    unsigned long state;
    id __unsafe_unretained* itemsPtr;
    unsigned long* mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)len;
@end

// https://developer.apple.com/documentation/foundation/nsstring
@interface NSString : NSObject
+ (instancetype)stringWithUTF8String:(const char*)nullTerminatedCString;
+ (instancetype)stringWithFormat:(NSString*)format, ...;
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding;
@property(readonly) const char* UTF8String;
@property(readonly) NSUInteger length;
@end
typedef NSString* NSNotificationName;
typedef NSString* NSRunLoopMode;

// https://developer.apple.com/documentation/foundation/nsnumber
@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithUnsignedLong:(unsigned long)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;
@property(readonly) BOOL boolValue;
@property(readonly) double doubleValue;
@end

// https://developer.apple.com/documentation/foundation/nsdata
@interface NSData : NSObject
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length;
@property(readonly) const void* bytes;
@property(readonly) NSUInteger length;
@end

// https://developer.apple.com/documentation/foundation/nsarray
@interface NSArray<__covariant ObjectType> : NSObject <NSFastEnumeration>
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[])objects count:(NSUInteger)cnt;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)idx;
@property(readonly) NSUInteger count;
@end
// https://developer.apple.com/documentation/foundation/nsmutablearray
@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
+ (instancetype)array;
- (void)addObject:(ObjectType)anObject;
- (void)removeAllObjects;
@end

// https://developer.apple.com/documentation/foundation/nsdictionary
@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[])objects
                              forKeys:(const id _Nonnull[])keys
                                count:(NSUInteger)cnt;
- (ObjectType)objectForKeyedSubscript:(KeyType)key;
@end
// https://developer.apple.com/documentation/foundation/nsmutabledictionary
@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
+ (instancetype)dictionary;
- (void)setObject:(ObjectType)obj forKeyedSubscript:(KeyType)key;
@end

// https://developer.apple.com/documentation/foundation/nserror
@interface NSError : NSObject
@property(readonly) NSInteger code;
@property(readonly, copy) NSString* localizedDescription;
@end

// https://developer.apple.com/documentation/foundation/nsurl
@interface NSURL : NSObject
+ (NSURL*)fileURLWithPath:(NSString*)path;
@end

// https://developer.apple.com/documentation/foundation/nsnotification
@interface NSNotification : NSObject
@end
@class NSOperationQueue;
// https://developer.apple.com/documentation/foundation/notificationcenter
@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
// https://developer.apple.com/documentation/foundation/notificationcenter/addobserver(forname:object:queue:using:)
// (macOS 10.6+)
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)obj
                             queue:(NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;
- (void)removeObserver:(id)observer;
@end

// https://developer.apple.com/documentation/foundation/userdefaults
@interface NSUserDefaults : NSObject
@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;
// https://developer.apple.com/documentation/foundation/userdefaults/init(suitename:) (10.9+)
- (instancetype)initWithSuiteName:(NSString*)suitename API_AVAILABLE_MACOS(10.9);
- (id)objectForKey:(NSString*)defaultName;
- (void)setObject:(id)value forKey:(NSString*)defaultName;
- (void)setBool:(BOOL)value forKey:(NSString*)defaultName;
- (void)removeObjectForKey:(NSString*)defaultName;
@end

// https://developer.apple.com/documentation/foundation/bundle
@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
- (id)objectForInfoDictionaryKey:(NSString*)key;
@end

// https://developer.apple.com/documentation/foundation/processinfo
@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
@property(readonly) NSTimeInterval systemUptime;
@end

// https://developer.apple.com/documentation/foundation/timer
@interface NSTimer : NSObject
// https://developer.apple.com/documentation/foundation/timer/init(timeinterval:repeats:block:)
// (macOS 10.12+)
+ (NSTimer*)timerWithTimeInterval:(NSTimeInterval)interval
                          repeats:(BOOL)repeats
                            block:(void (^)(NSTimer* timer))block API_AVAILABLE_MACOS(10.12);
- (void)invalidate;
@end

// https://developer.apple.com/documentation/foundation/runloop
@interface NSRunLoop : NSObject
@property(class, readonly, strong) NSRunLoop* mainRunLoop;
- (void)addTimer:(NSTimer*)timer forMode:(NSRunLoopMode)mode;
@end
extern NSRunLoopMode const NSRunLoopCommonModes;

// https://developer.apple.com/documentation/foundation/nslog (macOS 10.0+)
extern "C" void NSLog(NSString* format, ...);

// https://developer.apple.com/documentation/foundation/nsrect and friends: on 64-bit targets
// the NS geometry types are the CG ones.
typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat w, CGFloat h) {
    return NSRect{{x, y}, {w, h}};
}
static inline NSPoint NSMakePoint(CGFloat x, CGFloat y) {
    return NSPoint{x, y};
}
static inline CGFloat NSMidX(NSRect r) {
    return r.origin.x + r.size.width / 2;
}
static inline CGFloat NSMinY(NSRect r) {
    return r.origin.y;
}
