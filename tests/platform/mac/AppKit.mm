// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#import <AppKit/AppKit.h>

#include "StandIn.h"

static NSWindowButton shownButton;

@implementation NSButton
- (void)setHidden:(BOOL)hidden
{
    RecordCall("button " + std::to_string(shownButton) + " setHidden:" + std::to_string(hidden));
}
@end

@implementation NSWindow
- (NSWindowStyleMask)styleMask
{
    return std::stoul(Scenario("STYLE_MASK", "31")); // titled, with all its buttons
}

- (void)setStyleMask:(NSWindowStyleMask)mask
{
    RecordCall("setStyleMask:" + std::to_string(mask));
}

- (void)setTitleVisibility:(NSWindowTitleVisibility)visibility
{
    RecordCall("setTitleVisibility:" + std::to_string(visibility));
}

- (void)setTitlebarAppearsTransparent:(BOOL)transparent
{
    RecordCall("setTitlebarAppearsTransparent:" + std::to_string(transparent));
}

- (NSButton *)standardWindowButton:(NSWindowButton)button
{
    RecordCall("standardWindowButton:" + std::to_string(button));
    if (Scenario("TITLE_BAR") == "none") {
        return nil;
    }
    shownButton = button;
    return [[NSButton new] autorelease];
}
@end

@implementation NSView
- (NSWindow *)window
{
    RecordCall("window");
    return [[NSWindow new] autorelease];
}
@end
