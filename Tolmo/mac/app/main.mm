#import <AppKit/AppKit.h>

@interface TolmoAppDelegate : NSObject <NSApplicationDelegate>
@end

int main(int, const char**) {
    @autoreleasepool {
        NSApplication* app = NSApplication.sharedApplication;
        // Info.plist says LSUIElement too; this keeps an unbundled debug run out of the Dock.
        [app setActivationPolicy:NSApplicationActivationPolicyAccessory];
        TolmoAppDelegate* gedelegeerde = [[TolmoAppDelegate alloc] init];
        app.delegate = gedelegeerde;
        [app run];
    }
    return 0;
}
