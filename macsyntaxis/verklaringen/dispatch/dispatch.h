// Tolmo's own declarations for the Mac syntax check; not Apple's header. Dispatch as the
// adapters use it, from https://developer.apple.com/documentation/dispatch (macOS 10.6+). Under
// ARC dispatch objects are Objective-C objects.
#pragma once

#include <stdint.h>

#include "TolmoObjc.h"

@protocol OS_dispatch_queue <NSObject>
@end
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef void (^dispatch_block_t)(void);
typedef uint64_t dispatch_time_t;
typedef long dispatch_queue_priority_t;

#define DISPATCH_TIME_NOW (0ull)
#define NSEC_PER_SEC 1000000000ull
#define QOS_CLASS_USER_INITIATED 0x19

extern "C" {
// https://developer.apple.com/documentation/dispatch/dispatchqueue/main
dispatch_queue_t dispatch_get_main_queue(void);
// https://developer.apple.com/documentation/dispatch/1452927-dispatch_get_global_queue
dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);
// https://developer.apple.com/documentation/dispatch/1453057-dispatch_async
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
// https://developer.apple.com/documentation/dispatch/1452876-dispatch_after
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
// https://developer.apple.com/documentation/dispatch/1420519-dispatch_time
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
}
