// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#import <Foundation/Foundation.h>

/// \file
/// As much of the framework's interface as the platform module uses, with its names and values.

using NSWindowStyleMask = NSUInteger;
enum : NSUInteger { NSWindowStyleMaskFullSizeContentView = 1 << 15 };

enum NSWindowTitleVisibility : NSInteger { NSWindowTitleVisible, NSWindowTitleHidden };

enum NSWindowButton : NSUInteger {
    NSWindowCloseButton,
    NSWindowMiniaturizeButton,
    NSWindowZoomButton
};

@interface NSButton : NSObject
- (void)setHidden:(BOOL)hidden;
@end

@interface NSWindow : NSObject
- (NSWindowStyleMask)styleMask;
- (void)setStyleMask:(NSWindowStyleMask)mask;
- (void)setTitleVisibility:(NSWindowTitleVisibility)visibility;
- (void)setTitlebarAppearsTransparent:(BOOL)transparent;
- (NSButton *)standardWindowButton:(NSWindowButton)button;
@end

@interface NSView : NSObject
- (NSWindow *)window;
@end
