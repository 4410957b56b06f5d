// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// What the sample host and services.mm use of AppKit beyond the platform module's share. There is
/// no code behind it.

#import <AppKit/AppKit.h>

struct NSRect {
    double x, y, width, height;
};

extern "C" NSRect NSMakeRect(double x, double y, double width, double height);

enum : NSUInteger {
    NSWindowStyleMaskTitled = 1,
    NSWindowStyleMaskClosable = 2,
    NSWindowStyleMaskMiniaturizable = 4,
    NSWindowStyleMaskResizable = 8
};
enum NSBackingStoreType : NSUInteger { NSBackingStoreBuffered = 2 };
enum NSApplicationActivationPolicy : NSInteger { NSApplicationActivationPolicyRegular };
enum NSApplicationTerminateReply : NSUInteger {
    NSTerminateCancel,
    NSTerminateNow,
    NSTerminateLater
};
enum NSApplicationActivationOptions : NSUInteger { NSApplicationActivateIgnoringOtherApps = 2 };

@interface NSWindow (Sample)
- (instancetype)initWithContentRect:(NSRect)rectangle
                          styleMask:(NSWindowStyleMask)mask
                            backing:(NSBackingStoreType)backing
                              defer:(BOOL)defer;
- (void)setTitle:(NSString *)title;
- (NSView *)contentView;
- (void)makeKeyAndOrderFront:(id)sender;
- (void)orderOut:(id)sender;
@end

@class NSMenu;

@interface NSMenuItem : NSObject
- (void)setTarget:(id)target;
- (void)setSubmenu:(NSMenu *)menu;
@end

@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString *)title;
- (NSMenuItem *)addItemWithTitle:(NSString *)title action:(SEL)action keyEquivalent:(NSString *)key;
@end

@class NSApplication;

@protocol NSApplicationDelegate <NSObject>
@optional
- (void)applicationDidFinishLaunching:(NSNotification *)notification;
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application;
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)application;
@end

@interface NSApplication : NSObject
@property(class, readonly) NSApplication *sharedApplication;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)setDelegate:(id<NSApplicationDelegate>)delegate;
- (void)setMainMenu:(NSMenu *)menu;
- (void)run;
- (void)terminate:(id)sender;
- (void)replyToApplicationShouldTerminate:(BOOL)reply;
@end

extern "C" NSApplication *NSApp;

@interface NSRunningApplication : NSObject
+ (NSArray *)runningApplicationsWithBundleIdentifier:(NSString *)identifier;
@property(readonly) int processIdentifier;
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
@end

@interface NSAlert : NSObject
- (void)setMessageText:(NSString *)text;
- (void)setInformativeText:(NSString *)text;
- (NSInteger)runModal;
@end
