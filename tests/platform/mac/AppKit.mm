// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#import <AppKit/AppKit.h>

#include "StandIn.h"

static NSWindowStyleMask styleMask = 0x1f;
static NSWindowButton shownButton;

@implementation NSButton
- (void)setHidden:(BOOL)hidden
{
    recordCall("button " + std::to_string(shownButton) + " setHidden:" + std::to_string(hidden));
}
@end

@implementation NSWindow
- (NSWindowStyleMask)styleMask
{
    return styleMask;
}

- (void)setStyleMask:(NSWindowStyleMask)mask
{
    recordCall("setStyleMask:" + std::to_string(mask));
}

- (void)setTitleVisibility:(NSWindowTitleVisibility)visibility
{
    recordCall("setTitleVisibility:" + std::to_string(visibility));
}

- (void)setTitlebarAppearsTransparent:(BOOL)transparent
{
    recordCall("setTitlebarAppearsTransparent:" + std::to_string(transparent));
}

- (NSButton *)standardWindowButton:(NSWindowButton)button
{
    recordCall("standardWindowButton:" + std::to_string(button));
    shownButton = button;
    return [[NSButton new] autorelease];
}
@end

@implementation NSView
- (NSWindow *)window
{
    recordCall("window");
    return [[NSWindow new] autorelease];
}
@end
