// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#import "UpdateCheck.h"

#import <Cocoa/Cocoa.h>

// Kestrel [UPDATER no_check]: the updater passes these two arguments when it starts Kestrel again.

@interface Kestrel : NSObject <NSApplicationDelegate, UpdateCheckDelegate>
@end

@implementation Kestrel {
    NSWindow *_window;
    UpdateCheck *_check;
    BOOL _asked;   // whether the user waits for the result
    BOOL _leaving; // whether the program ends with the check
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification
{
    (void)notification;
    _window = [[NSWindow alloc]
        initWithContentRect:NSMakeRect(200, 200, 640, 400)
                  styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                            NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable
                    backing:NSBackingStoreBuffered
                      defer:NO];
    [_window setTitle:@"Kestrel"];
    [_window makeKeyAndOrderFront:nil];
    [self makeMenu];

    NSString *updater = [[[NSBundle mainBundle] bundlePath]
        stringByAppendingPathComponent:@"Contents/MacOS/updater"];
    _check = [[UpdateCheck alloc] initWithUpdater:updater delegate:self];
    // Without this the two would start each other forever.
    if (![[[NSProcessInfo processInfo] arguments] containsObject:@"no_check"]) {
        [_check start];
    }
}

- (void)makeMenu
{
    NSMenu *menu = [[NSMenu alloc] initWithTitle:@"Kestrel"];
    NSMenuItem *check = [menu addItemWithTitle:@"Check for Updates…"
                                        action:@selector(checkForUpdates:)
                                 keyEquivalent:@""];
    [check setTarget:self];
    [menu addItemWithTitle:@"Quit Kestrel" action:@selector(terminate:) keyEquivalent:@"q"];
    NSMenu *bar = [[NSMenu alloc] initWithTitle:@""];
    NSMenuItem *item = [bar addItemWithTitle:@"" action:nullptr keyEquivalent:@""];
    [item setSubmenu:menu];
    [NSApp setMainMenu:bar];
}

- (void)checkForUpdates:(id)sender
{
    (void)sender;
    _asked = YES;
    [_check start];
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application
{
    (void)application;
    return YES;
}

/// An updater that is killed refuses the next session: Kestrel ends after it.
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)application
{
    (void)application;
    if (![_check isRunning]) {
        return NSTerminateNow;
    }
    _leaving = YES;
    [_window orderOut:nil];
    return NSTerminateLater;
}

- (void)updateCheck:(UpdateCheck *)check
    endedWithUpdate:(BOOL)update
            success:(BOOL)success
            message:(NSString *)message
{
    (void)check;
    const BOOL asked = _asked;
    _asked = NO;
    if (_leaving) {
        [NSApp replyToApplicationShouldTerminate:YES];
    } else if (update) {
        [NSApp terminate:nil]; // the user installs the new version now
    } else if (asked) {
        NSAlert *alert = [[NSAlert alloc] init];
        [alert setMessageText:success ? @"Kestrel is up to date, or the new version was put off."
                                      : @"The check for updates failed."];
        [alert setInformativeText:message];
        [alert runModal];
    }
}

@end

/// Whether another Kestrel runs, which then comes to the front.
static BOOL IsSecond()
{
    NSString *identifier = [[NSBundle mainBundle] bundleIdentifier];
    for (NSRunningApplication *other in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier]) {
        if ([other processIdentifier] != [[NSProcessInfo processInfo] processIdentifier]) {
            [other activateWithOptions:NSApplicationActivateIgnoringOtherApps];
            return YES;
        }
    }
    return NO;
}

int main()
{
    @autoreleasepool {
        [NSApplication sharedApplication];
        if (IsSecond()) {
            return 0;
        }
        Kestrel *kestrel = [[Kestrel alloc] init];
        [NSApp setDelegate:kestrel];
        [NSApp run];
    }
    return 0;
}
