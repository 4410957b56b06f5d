// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#import <Cocoa/Cocoa.h>

#include "platform/PlatformServices.h"

// For a person at a Mac (scripts/check_on_mac.sh): prints what IOKit gives, and shows a window
// without its title bar until it is ended.

int main()
{
    @autoreleasepool {
        NSLog(@"IOPlatformSerialNumber %s", GetDiskId());
        NSLog(@"IOPlatformUUID %s", GetSystemUuid());
        [NSApplication sharedApplication];
        [NSApp setActivationPolicy:NSApplicationActivationPolicyRegular];
        NSWindow *window = [[NSWindow alloc]
            initWithContentRect:NSMakeRect(300, 300, 400, 200)
                      styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable
                        backing:NSBackingStoreBuffered
                          defer:NO];
        [window setTitle:@"not to be seen"];
        hideWindowCaptionBar(
            reinterpret_cast<std::uintptr_t>((__bridge void *)[window contentView]));
        [window makeKeyAndOrderFront:nil];
        [NSApp run];
    }
    return 0;
}
