#include "Tolmo/mac/MacToestemmingen.h"

#import <AVFoundation/AVFoundation.h>
#import <ApplicationServices/ApplicationServices.h>
#import <CoreGraphics/CoreGraphics.h>

namespace tolmo {

bool MacToestemmingen::microfoon() const {
    return [AVCaptureDevice authorizationStatusForMediaType:AVMediaTypeAudio] ==
           AVAuthorizationStatusAuthorized;
}

bool MacToestemmingen::invoermonitoring() const {
    return CGPreflightListenEventAccess();
}

bool MacToestemmingen::toegankelijkheid() const {
    return AXIsProcessTrusted();
}

void MacToestemmingen::vraagMicrofoon() {
    // Asks only while undecided; otherwise the answer is immediate and nothing shows.
    [AVCaptureDevice requestAccessForMediaType:AVMediaTypeAudio
                             completionHandler:^(BOOL){
                             }];
}

void MacToestemmingen::vraagInvoermonitoring() {
    CGRequestListenEventAccess();
}

void MacToestemmingen::vraagToegankelijkheid() {
    NSDictionary* opties = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
    AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)opties);
}

}  // namespace tolmo
