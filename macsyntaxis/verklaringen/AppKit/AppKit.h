// Tolmo's own declarations for the Mac syntax check; not Apple's header. AppKit as the adapters
// and the menu-bar app use it, from https://developer.apple.com/documentation/appkit. Classes
// are macOS 10.0+ unless a declaration says otherwise.
#pragma once

#include <Foundation/Foundation.h>

@class CALayer, NSImage, NSMenu, NSColor, NSAppearance;
typedef NSString* NSAppearanceName;
typedef NSString* NSPasteboardType;
typedef NSInteger NSModalResponse;
typedef NSInteger NSWindowLevel;

// https://developer.apple.com/documentation/appkit/nsapplicationdelegate
@protocol NSApplicationDelegate <NSObject>
@optional
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
- (void)applicationWillTerminate:(NSNotification*)notification;
@end

// https://developer.apple.com/documentation/appkit/nsapplication/activationpolicy-swift.enum
typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) {
    NSApplicationActivationPolicyRegular = 0,
    NSApplicationActivationPolicyAccessory = 1,
} NSApplicationActivationPolicy;

// https://developer.apple.com/documentation/appkit/nsappearance
@interface NSAppearance : NSObject
@property(readonly, copy) NSAppearanceName name;
@end
// https://developer.apple.com/documentation/appkit/nsappearance/name-swift.struct/darkaqua
extern NSAppearanceName const NSAppearanceNameDarkAqua API_AVAILABLE_MACOS(10.14);

// https://developer.apple.com/documentation/appkit/nsapplication
@interface NSApplication : NSObject
@property(class, readonly, strong) NSApplication* sharedApplication;
@property(weak) id<NSApplicationDelegate> delegate;
// https://developer.apple.com/documentation/appkit/nsapplication/effectiveappearance (10.14+)
@property(readonly, strong) NSAppearance* effectiveAppearance API_AVAILABLE_MACOS(10.14);
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
- (void)run;
- (void)terminate:(id)sender;
// https://developer.apple.com/documentation/appkit/nsapplication/activate(ignoringotherapps:)
// (deprecated in macOS 14 in favour of -activate)
- (void)activateIgnoringOtherApps:(BOOL)flag API_DEPRECATED_MACOS(10.0, 14.0);
@end
extern NSApplication* NSApp;

// https://developer.apple.com/documentation/appkit/nsrunningapplication
@interface NSRunningApplication : NSObject
@property(readonly) pid_t processIdentifier;
@property(readonly, copy) NSString* bundleIdentifier;
@end
// https://developer.apple.com/documentation/appkit/nsworkspace
@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, strong) NSRunningApplication* frontmostApplication;
@property(readonly) BOOL accessibilityDisplayShouldReduceMotion;
@end

// https://developer.apple.com/documentation/appkit/nsevent
typedef NS_ENUM(NSUInteger, NSEventType) {
    NSEventTypeKeyDown = 10,
    NSEventTypeFlagsChanged = 12,
} NSEventType;
typedef unsigned long long NSEventMask;
typedef NS_OPTIONS(NSUInteger, NSEventModifierFlags) {
    NSEventModifierFlagCommand = 1 << 20,
};
@interface NSEvent : NSObject
@property(readonly) NSEventType type;
@property(readonly) unsigned short keyCode;
@property(readonly) NSEventModifierFlags modifierFlags;
// https://developer.apple.com/documentation/appkit/nsevent/cgevent (macOS 10.5+; owned by the
// NSEvent, may be NULL)
@property(readonly) CGEventRef CGEvent;
// https://developer.apple.com/documentation/appkit/nsevent/addglobalmonitorforevents(matching:handler:)
// (macOS 10.6+)
+ (id)addGlobalMonitorForEventsMatchingMask:(NSEventMask)mask
                                    handler:(void (^)(NSEvent* event))block;
// https://developer.apple.com/documentation/appkit/nsevent/addlocalmonitorforevents(matching:handler:)
+ (id)addLocalMonitorForEventsMatchingMask:(NSEventMask)mask
                                   handler:(NSEvent* (^)(NSEvent* event))block;
+ (void)removeMonitor:(id)eventMonitor;
@end

// https://developer.apple.com/documentation/appkit/nspasteboard
extern NSPasteboardType const NSPasteboardTypeString API_AVAILABLE_MACOS(10.6);
@class NSPasteboardItem;
@interface NSPasteboard : NSObject
@property(class, readonly, strong) NSPasteboard* generalPasteboard;
@property(readonly) NSInteger changeCount;
@property(readonly, copy) NSArray<NSPasteboardItem*>* pasteboardItems;
- (NSInteger)clearContents;
- (BOOL)writeObjects:(NSArray*)objects;
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType;
@end
// https://developer.apple.com/documentation/appkit/nspasteboarditemdataprovider (10.6+)
@protocol NSPasteboardItemDataProvider <NSObject>
- (void)pasteboard:(NSPasteboard*)pasteboard
                  item:(NSPasteboardItem*)item
    provideDataForType:(NSPasteboardType)type;
@optional
- (void)pasteboardFinishedWithDataProvider:(NSPasteboard*)pasteboard;
@end
// https://developer.apple.com/documentation/appkit/nspasteboarditem (10.6+)
@interface NSPasteboardItem : NSObject
@property(readonly, copy) NSArray<NSPasteboardType>* types;
- (NSData*)dataForType:(NSPasteboardType)type;
- (BOOL)setData:(NSData*)data forType:(NSPasteboardType)type;
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)type;
- (BOOL)setDataProvider:(id<NSPasteboardItemDataProvider>)dataProvider
               forTypes:(NSArray<NSPasteboardType>*)types;
@end

// https://developer.apple.com/documentation/appkit/nscolor
@interface NSColor : NSObject
@property(class, readonly, strong) NSColor* clearColor;
@property(class, readonly, strong) NSColor* systemTealColor API_AVAILABLE_MACOS(10.12);
@property(class, readonly, strong) NSColor* systemBlueColor API_AVAILABLE_MACOS(10.10);
@property(class, readonly, strong) NSColor* systemPurpleColor API_AVAILABLE_MACOS(10.10);
@property(class, readonly, strong) NSColor* systemPinkColor API_AVAILABLE_MACOS(10.10);
- (NSColor*)colorWithAlphaComponent:(CGFloat)alpha;
@property(readonly) CGColorRef CGColor API_AVAILABLE_MACOS(10.8);
@end

// https://developer.apple.com/documentation/appkit/nslayoutconstraint
@interface NSLayoutConstraint : NSObject
@property(getter=isActive) BOOL active;
@end
@interface NSLayoutDimension : NSObject
- (NSLayoutConstraint*)constraintGreaterThanOrEqualToConstant:(CGFloat)c;
@end

// https://developer.apple.com/documentation/appkit/nsview
typedef NS_OPTIONS(NSUInteger, NSAutoresizingMaskOptions) {
    NSViewWidthSizable = 2,
    NSViewHeightSizable = 16,
};
@interface NSResponder : NSObject
@end
@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frameRect;
@property NSRect frame;
@property BOOL wantsLayer;
@property(strong) CALayer* layer;
@property NSAutoresizingMaskOptions autoresizingMask;
@property(readonly, strong) NSLayoutDimension* widthAnchor API_AVAILABLE_MACOS(10.11);
- (void)addSubview:(NSView*)view;
@end

// https://developer.apple.com/documentation/appkit/nscontrol
typedef NSInteger NSControlStateValue;
static const NSControlStateValue NSControlStateValueOff = 0;
static const NSControlStateValue NSControlStateValueOn = 1;
@interface NSControl : NSView
@property(copy) NSString* stringValue;
@end
// https://developer.apple.com/documentation/appkit/nsbutton
@interface NSButton : NSControl
// https://developer.apple.com/documentation/appkit/nsbutton/init(checkboxwithtitle:target:action:)
// (macOS 10.12+)
+ (instancetype)checkboxWithTitle:(NSString*)title
                           target:(id)target
                           action:(SEL)action API_AVAILABLE_MACOS(10.12);
+ (instancetype)buttonWithTitle:(NSString*)title
                         target:(id)target
                         action:(SEL)action API_AVAILABLE_MACOS(10.12);
@property NSControlStateValue state;
@property(copy) NSString* title;
@property(strong) NSImage* image;
@property(copy) NSString* toolTip;
@end
@interface NSStatusBarButton : NSButton
@end
// https://developer.apple.com/documentation/appkit/nstextfield
@interface NSTextField : NSControl
+ (instancetype)labelWithString:(NSString*)stringValue API_AVAILABLE_MACOS(10.12);
+ (instancetype)textFieldWithString:(NSString*)stringValue API_AVAILABLE_MACOS(10.12);
@property(copy) NSString* placeholderString API_AVAILABLE_MACOS(10.10);
@end
@interface NSSecureTextField : NSTextField
@end
// https://developer.apple.com/documentation/appkit/nsscrollview
@interface NSScrollView : NSView
@property(strong) __kindof NSView* documentView;
@end
// https://developer.apple.com/documentation/appkit/nstextview
@interface NSTextView : NSView
+ (NSScrollView*)scrollableTextView API_AVAILABLE_MACOS(10.14);
@property(getter=isEditable) BOOL editable;
@property(copy) NSString* string;
- (void)scrollToEndOfDocument:(id)sender;
@end
// https://developer.apple.com/documentation/appkit/nsstackview (10.9+)
typedef NS_ENUM(NSInteger, NSUserInterfaceLayoutOrientation) {
    NSUserInterfaceLayoutOrientationHorizontal = 0,
    NSUserInterfaceLayoutOrientationVertical = 1,
} NSUserInterfaceLayoutOrientation;
typedef NS_ENUM(NSInteger, NSLayoutAttribute) {
    NSLayoutAttributeLeading = 5,
} NSLayoutAttribute;
typedef struct NSEdgeInsets {
    CGFloat top, left, bottom, right;
} NSEdgeInsets;
static inline NSEdgeInsets NSEdgeInsetsMake(CGFloat top, CGFloat left, CGFloat bottom,
                                            CGFloat right) {
    return NSEdgeInsets{top, left, bottom, right};
}
@interface NSStackView : NSView
+ (instancetype)stackViewWithViews:(NSArray<NSView*>*)views API_AVAILABLE_MACOS(10.9);
@property NSUserInterfaceLayoutOrientation orientation;
@property NSLayoutAttribute alignment;
@property NSEdgeInsets edgeInsets;
@end
// https://developer.apple.com/documentation/appkit/nstabview
@interface NSTabViewItem : NSObject
- (instancetype)initWithIdentifier:(id)identifier;
@property(copy) NSString* label;
@property(strong) NSView* view;
@end
@interface NSTabView : NSView
- (void)addTabViewItem:(NSTabViewItem*)tabViewItem;
- (void)selectTabViewItemAtIndex:(NSInteger)index;
@end

// https://developer.apple.com/documentation/appkit/nsimage
@interface NSImage : NSObject
// https://developer.apple.com/documentation/appkit/nsimage/init(systemsymbolname:accessibilitydescription:)
// (macOS 11.0+)
+ (instancetype)imageWithSystemSymbolName:(NSString*)symbolName
                 accessibilityDescription:(NSString*)description API_AVAILABLE_MACOS(11.0);
@end

// https://developer.apple.com/documentation/appkit/nsscreen
@interface NSScreen : NSObject
@property(class, readonly, strong) NSScreen* mainScreen;
@property(readonly) NSRect visibleFrame;
@end

// https://developer.apple.com/documentation/appkit/nswindow
typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) {
    NSWindowStyleMaskBorderless = 0,
    NSWindowStyleMaskTitled = 1 << 0,
    NSWindowStyleMaskClosable = 1 << 1,
    NSWindowStyleMaskResizable = 1 << 3,
    NSWindowStyleMaskNonactivatingPanel = 1 << 7,
};
typedef NS_ENUM(NSUInteger, NSBackingStoreType) {
    NSBackingStoreBuffered = 2,
} NSBackingStoreType;
typedef NS_OPTIONS(NSUInteger, NSWindowCollectionBehavior) {
    NSWindowCollectionBehaviorCanJoinAllSpaces = 1 << 0,
    NSWindowCollectionBehaviorStationary = 1 << 4,
    NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8,
};
static const NSWindowLevel NSFloatingWindowLevel = 3;
@interface NSWindow : NSResponder
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag;
@property(copy) NSString* title;
@property(getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
@property(strong) __kindof NSView* contentView;
@property(readonly) NSRect frame;
@property NSWindowLevel level;
@property BOOL hidesOnDeactivate;
@property BOOL ignoresMouseEvents;
@property(getter=isOpaque) BOOL opaque;
@property(copy) NSColor* backgroundColor;
@property BOOL hasShadow;
@property NSWindowCollectionBehavior collectionBehavior;
- (void)center;
- (void)close;
- (void)makeKeyAndOrderFront:(id)sender;
- (void)orderOut:(id)sender;
- (void)orderFrontRegardless;
- (void)setFrameOrigin:(NSPoint)point;
@end
// https://developer.apple.com/documentation/appkit/nspanel
@interface NSPanel : NSWindow
@property(getter=isFloatingPanel) BOOL floatingPanel;
@property BOOL becomesKeyOnlyIfNeeded;
@end

// https://developer.apple.com/documentation/appkit/nsalert
static const NSModalResponse NSAlertFirstButtonReturn = 1000;
@interface NSAlert : NSObject
@property(copy) NSString* messageText;
@property(copy) NSString* informativeText;
- (NSButton*)addButtonWithTitle:(NSString*)title;
// https://developer.apple.com/documentation/appkit/nsalert/runmodal()
- (NSModalResponse)runModal;
@end

// https://developer.apple.com/documentation/appkit/nsmenuitem
@interface NSMenuItem : NSObject
- (instancetype)initWithTitle:(NSString*)string
                       action:(SEL)selector
                keyEquivalent:(NSString*)charCode;
@property(class, readonly, strong) NSMenuItem* separatorItem;
@property(getter=isEnabled) BOOL enabled;
@property(weak) id target;
@property SEL action;
@property(strong) id representedObject;
@property NSControlStateValue state;
@end
// https://developer.apple.com/documentation/appkit/nsmenudelegate
@protocol NSMenuDelegate <NSObject>
@optional
- (void)menuNeedsUpdate:(NSMenu*)menu;
@end
// https://developer.apple.com/documentation/appkit/nsmenu
@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString*)title;
- (void)removeAllItems;
- (void)addItem:(NSMenuItem*)newItem;
@property BOOL autoenablesItems;
@property(weak) id<NSMenuDelegate> delegate;
@end
// https://developer.apple.com/documentation/appkit/nsstatusitem
@interface NSStatusItem : NSObject
@property(readonly, strong) NSStatusBarButton* button API_AVAILABLE_MACOS(10.10);
@property(strong) NSMenu* menu;
@end
// https://developer.apple.com/documentation/appkit/nsstatusbar
static const CGFloat NSVariableStatusItemLength = -1;
@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
- (void)removeStatusItem:(NSStatusItem*)item;
@end
