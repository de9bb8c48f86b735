// Tolmo's own declarations for the Mac syntax check; not Apple's header. The microphone
// permission of AVFoundation, from https://developer.apple.com/documentation/avfoundation.
#pragma once

#include <AVFAudio/AVFAudio.h>

typedef NSString* AVMediaType;
// https://developer.apple.com/documentation/avfoundation/avmediatype/audio
extern AVMediaType const AVMediaTypeAudio;
// https://developer.apple.com/documentation/avfoundation/avauthorizationstatus
typedef NS_ENUM(NSInteger, AVAuthorizationStatus) {
    AVAuthorizationStatusNotDetermined = 0,
    AVAuthorizationStatusRestricted = 1,
    AVAuthorizationStatusDenied = 2,
    AVAuthorizationStatusAuthorized = 3,
} AVAuthorizationStatus;
// https://developer.apple.com/documentation/avfoundation/avcapturedevice
@interface AVCaptureDevice : NSObject
// https://developer.apple.com/documentation/avfoundation/avcapturedevice/authorizationstatus(for:)
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)mediaType
    API_AVAILABLE_MACOS(10.14);
// https://developer.apple.com/documentation/avfoundation/avcapturedevice/requestaccess(for:completionhandler:)
+ (void)requestAccessForMediaType:(AVMediaType)mediaType
                completionHandler:(void (^)(BOOL granted))handler API_AVAILABLE_MACOS(10.14);
@end
