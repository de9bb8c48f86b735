// Tolmo's own declarations for the Mac syntax check; not Apple's header. SMAppService, from
// https://developer.apple.com/documentation/servicemanagement/smappservice (macOS 13.0+).
#pragma once

#include <Foundation/Foundation.h>

// https://developer.apple.com/documentation/servicemanagement/smappservice/status-swift.enum
typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
    SMAppServiceStatusNotRegistered = 0,
    SMAppServiceStatusEnabled = 1,
    SMAppServiceStatusRequiresApproval = 2,
    SMAppServiceStatusNotFound = 3,
} API_AVAILABLE_MACOS(13.0) SMAppServiceStatus;
API_AVAILABLE_MACOS(13.0)
@interface SMAppService : NSObject
@property(class, readonly) SMAppService* mainAppService;
@property(readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
@end
