// Tolmo's own declarations for the Mac syntax check; not Apple's header. MTKView, from
// https://developer.apple.com/documentation/metalkit/mtkview (macOS 10.11+).
#pragma once

#include <AppKit/AppKit.h>
#include <Metal/Metal.h>
#include <QuartzCore/QuartzCore.h>

@class MTKView;
// https://developer.apple.com/documentation/metalkit/mtkviewdelegate
@protocol MTKViewDelegate <NSObject>
- (void)mtkView:(MTKView*)view drawableSizeWillChange:(CGSize)size;
- (void)drawInMTKView:(MTKView*)view;
@end
@interface MTKView : NSView
- (instancetype)initWithFrame:(CGRect)frameRect device:(id<MTLDevice>)device;
@property MTLPixelFormat colorPixelFormat;
@property MTLClearColor clearColor;
@property BOOL framebufferOnly;
@property NSInteger preferredFramesPerSecond;
@property(getter=isPaused) BOOL paused;
@property(weak) id<MTKViewDelegate> delegate;
@property(readonly) MTLRenderPassDescriptor* currentRenderPassDescriptor;
@property(readonly) id<CAMetalDrawable> currentDrawable;
@property CGSize drawableSize;
@end
