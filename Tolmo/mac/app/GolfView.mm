#include "Tolmo/mac/app/GolfView.h"

#import <AppKit/AppKit.h>
#import <Metal/Metal.h>
#import <MetalKit/MetalKit.h>
#import <QuartzCore/QuartzCore.h>

#include <utility>

@interface TolmoGolfTekenaar : NSObject <MTKViewDelegate>
@property(nonatomic, strong) id<MTLCommandQueue> wachtrij;
@property(nonatomic, strong) id<MTLRenderPipelineState> pijplijn;
@end

@implementation TolmoGolfTekenaar {
  @public
    tolmo::GolfView::Beeld _beeld;
}

- (void)mtkView:(MTKView*)view drawableSizeWillChange:(CGSize)size {
}

- (void)drawInMTKView:(MTKView*)view {
    MTLRenderPassDescriptor* pas = view.currentRenderPassDescriptor;
    id<CAMetalDrawable> tekening = view.currentDrawable;
    if (self.pijplijn == nil || pas == nil || tekening == nil) {
        return;
    }
    id<MTLCommandBuffer> opdrachten = [self.wachtrij commandBuffer];
    id<MTLRenderCommandEncoder> encoder = [opdrachten renderCommandEncoderWithDescriptor:pas];
    if (opdrachten == nil || encoder == nil) {
        return;
    }
    const CGSize maat = view.drawableSize;
    const tolmo::GolfView::Uniformen u = _beeld(
        static_cast<float>(maat.width), static_cast<float>(maat.height), CACurrentMediaTime());
    [encoder setRenderPipelineState:self.pijplijn];
    [encoder setFragmentBytes:u.data() length:u.size() atIndex:0];
    [encoder drawPrimitives:MTLPrimitiveTypeTriangle vertexStart:0 vertexCount:3];
    [encoder endEncoding];
    [opdrachten presentDrawable:tekening];
    [opdrachten commit];
}
@end

namespace tolmo {

struct GolfView::Staat {
    NSView* houder = nil;
    MTKView* metal = nil;
    TolmoGolfTekenaar* tekenaar = nil;
};

namespace {

id<MTLRenderPipelineState> pijplijn(id<MTLDevice> apparaat, const std::string& bron,
                                    MTLPixelFormat formaat) {
    NSError* fout = nil;
    id<MTLLibrary> bieb =
        [apparaat newLibraryWithSource:[NSString stringWithUTF8String:bron.c_str()]
                               options:nil
                                 error:&fout];
    if (bieb == nil) {
        NSLog(@"Golf-shader compileren mislukt: %@", fout);
        return nil;
    }
    MTLRenderPipelineDescriptor* d = [[MTLRenderPipelineDescriptor alloc] init];
    d.vertexFunction = [bieb newFunctionWithName:@"golfHoekpunt"];
    d.fragmentFunction = [bieb newFunctionWithName:@"golfFragment"];
    if (d.vertexFunction == nil || d.fragmentFunction == nil) {
        return nil;
    }
    MTLRenderPipelineColorAttachmentDescriptor* kleur = d.colorAttachments[0];
    kleur.pixelFormat = formaat;
    // Premultiplied alpha: the shader already multiplied its colour by its coverage.
    kleur.blendingEnabled = YES;
    kleur.sourceRGBBlendFactor = MTLBlendFactorOne;
    kleur.sourceAlphaBlendFactor = MTLBlendFactorOne;
    kleur.destinationRGBBlendFactor = MTLBlendFactorOneMinusSourceAlpha;
    kleur.destinationAlphaBlendFactor = MTLBlendFactorOneMinusSourceAlpha;
    return [apparaat newRenderPipelineStateWithDescriptor:d error:&fout];
}

}  // namespace

GolfView::GolfView(const std::string& shaderBron, Beeld beeld) : s_(std::make_unique<Staat>()) {
    const NSRect kader = NSMakeRect(0, 0, 240, 44);
    s_->houder = [[NSView alloc] initWithFrame:kader];
    s_->houder.wantsLayer = YES;
    id<MTLDevice> apparaat = MTLCreateSystemDefaultDevice();
    if (apparaat != nil) {
        MTKView* v = [[MTKView alloc] initWithFrame:kader device:apparaat];
        v.colorPixelFormat = MTLPixelFormatBGRA8Unorm;
        v.clearColor = MTLClearColorMake(0, 0, 0, 0);
        v.layer.opaque = NO;
        v.framebufferOnly = YES;
        v.preferredFramesPerSecond = 60;
        v.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
        TolmoGolfTekenaar* t = [[TolmoGolfTekenaar alloc] init];
        t->_beeld = std::move(beeld);
        t.wachtrij = [apparaat newCommandQueue];
        t.pijplijn = pijplijn(apparaat, shaderBron, v.colorPixelFormat);
        if (t.pijplijn != nil && t.wachtrij != nil) {
            v.delegate = t;
            s_->metal = v;
            s_->tekenaar = t;
            [s_->houder addSubview:v];
            return;
        }
    }
    CAGradientLayer* terugval = [CAGradientLayer layer];
    terugval.colors = @[
        (__bridge id)[NSColor.systemTealColor colorWithAlphaComponent:0.2].CGColor,
        (__bridge id)NSColor.systemBlueColor.CGColor,
        (__bridge id)NSColor.systemPurpleColor.CGColor,
        (__bridge id)[NSColor.systemPinkColor colorWithAlphaComponent:0.2].CGColor
    ];
    terugval.startPoint = CGPointMake(0, 0.5);
    terugval.endPoint = CGPointMake(1, 0.5);
    terugval.frame = kader;
    terugval.autoresizingMask = kCALayerWidthSizable | kCALayerHeightSizable;
    [s_->houder.layer addSublayer:terugval];
}

GolfView::~GolfView() {
    s_->metal.delegate = nil;
}

void* GolfView::nsView() const {
    return (__bridge void*)s_->houder;
}

bool GolfView::metMetal() const {
    return s_->metal != nil;
}

void GolfView::pauzeer(bool gepauzeerd) {
    s_->metal.paused = gepauzeerd;
}

}  // namespace tolmo
