// Tolmo's own declarations for the Mac syntax check; not Apple's header. Core Animation as the
// waveform view uses it, from https://developer.apple.com/documentation/quartzcore.
#pragma once

#include <Foundation/Foundation.h>
#include <Metal/Metal.h>

// https://developer.apple.com/documentation/quartzcore/calayer (macOS 10.5+)
typedef NS_OPTIONS(unsigned int, CAAutoresizingMask) {
    kCALayerWidthSizable = 1U << 1,
    kCALayerHeightSizable = 1U << 4,
};
@interface CALayer : NSObject
+ (instancetype)layer;
@property(getter=isOpaque) BOOL opaque;
@property CGRect frame;
@property CAAutoresizingMask autoresizingMask;
- (void)addSublayer:(CALayer*)layer;
@end
// https://developer.apple.com/documentation/quartzcore/cagradientlayer (macOS 10.6+)
@interface CAGradientLayer : CALayer
@property(copy) NSArray* colors;
@property CGPoint startPoint;
@property CGPoint endPoint;
@end

// https://developer.apple.com/documentation/quartzcore/cacurrentmediatime() (macOS 10.5+)
extern "C" CFTimeInterval CACurrentMediaTime(void);

// https://developer.apple.com/documentation/quartzcore/cametaldrawable (macOS 10.11+)
@protocol CAMetalDrawable <MTLDrawable>
@end
