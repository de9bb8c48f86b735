// Tolmo's own declarations for the Mac syntax check; not Apple's header. Metal as the waveform
// view uses it, from https://developer.apple.com/documentation/metal (macOS 10.11+).
#pragma once

#include <Foundation/Foundation.h>

@protocol MTLRenderCommandEncoder
, MTLCommandBuffer;

// https://developer.apple.com/documentation/metal/mtlpixelformat
typedef NS_ENUM(NSUInteger, MTLPixelFormat) {
    MTLPixelFormatBGRA8Unorm = 80,
} MTLPixelFormat;
// https://developer.apple.com/documentation/metal/mtlblendfactor
typedef NS_ENUM(NSUInteger, MTLBlendFactor) {
    MTLBlendFactorOne = 1,
    MTLBlendFactorOneMinusSourceAlpha = 5,
} MTLBlendFactor;
// https://developer.apple.com/documentation/metal/mtlprimitivetype
typedef NS_ENUM(NSUInteger, MTLPrimitiveType) {
    MTLPrimitiveTypeTriangle = 3,
} MTLPrimitiveType;
// https://developer.apple.com/documentation/metal/mtlclearcolor
typedef struct {
    double red, green, blue, alpha;
} MTLClearColor;
static inline MTLClearColor MTLClearColorMake(double r, double g, double b, double a) {
    return MTLClearColor{r, g, b, a};
}

// https://developer.apple.com/documentation/metal/mtldrawable
@protocol MTLDrawable <NSObject>
@end
// https://developer.apple.com/documentation/metal/mtlfunction
@protocol MTLFunction <NSObject>
@end
// https://developer.apple.com/documentation/metal/mtllibrary
@protocol MTLLibrary <NSObject>
- (id<MTLFunction>)newFunctionWithName:(NSString*)functionName;
@end
// https://developer.apple.com/documentation/metal/mtlrenderpipelinestate
@protocol MTLRenderPipelineState <NSObject>
@end
@interface MTLCompileOptions : NSObject
@end
// https://developer.apple.com/documentation/metal/mtlrenderpipelinecolorattachmentdescriptor
@interface MTLRenderPipelineColorAttachmentDescriptor : NSObject
@property MTLPixelFormat pixelFormat;
@property(getter=isBlendingEnabled) BOOL blendingEnabled;
@property MTLBlendFactor sourceRGBBlendFactor;
@property MTLBlendFactor sourceAlphaBlendFactor;
@property MTLBlendFactor destinationRGBBlendFactor;
@property MTLBlendFactor destinationAlphaBlendFactor;
@end
@interface MTLRenderPipelineColorAttachmentDescriptorArray : NSObject
- (MTLRenderPipelineColorAttachmentDescriptor*)objectAtIndexedSubscript:(NSUInteger)index;
@end
// https://developer.apple.com/documentation/metal/mtlrenderpipelinedescriptor
@interface MTLRenderPipelineDescriptor : NSObject
@property(strong) id<MTLFunction> vertexFunction;
@property(strong) id<MTLFunction> fragmentFunction;
@property(readonly) MTLRenderPipelineColorAttachmentDescriptorArray* colorAttachments;
@end
// https://developer.apple.com/documentation/metal/mtlrenderpassdescriptor
@interface MTLRenderPassDescriptor : NSObject
@end
// https://developer.apple.com/documentation/metal/mtlcommandqueue
@protocol MTLCommandQueue <NSObject>
- (id<MTLCommandBuffer>)commandBuffer;
@end
// https://developer.apple.com/documentation/metal/mtldevice
@protocol MTLDevice <NSObject>
- (id<MTLLibrary>)newLibraryWithSource:(NSString*)source
                               options:(MTLCompileOptions*)options
                                 error:(NSError**)error;
- (id<MTLRenderPipelineState>)newRenderPipelineStateWithDescriptor:
                                  (MTLRenderPipelineDescriptor*)descriptor
                                                             error:(NSError**)error;
- (id<MTLCommandQueue>)newCommandQueue;
@end
// https://developer.apple.com/documentation/metal/mtlcommandbuffer
@protocol MTLCommandBuffer <NSObject>
- (id<MTLRenderCommandEncoder>)renderCommandEncoderWithDescriptor:
    (MTLRenderPassDescriptor*)renderPassDescriptor;
- (void)presentDrawable:(id<MTLDrawable>)drawable;
- (void)commit;
@end
// https://developer.apple.com/documentation/metal/mtlrendercommandencoder
@protocol MTLRenderCommandEncoder <NSObject>
- (void)setRenderPipelineState:(id<MTLRenderPipelineState>)pipelineState;
- (void)setFragmentBytes:(const void*)bytes length:(NSUInteger)length atIndex:(NSUInteger)index;
- (void)drawPrimitives:(MTLPrimitiveType)primitiveType
           vertexStart:(NSUInteger)vertexStart
           vertexCount:(NSUInteger)vertexCount;
- (void)endEncoding;
@end

// https://developer.apple.com/documentation/metal/mtlcreatesystemdefaultdevice()
extern "C" id<MTLDevice> MTLCreateSystemDefaultDevice(void);
