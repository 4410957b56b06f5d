// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#import <Foundation/Foundation.h>

/// \file
/// As much of the framework's interface as the platform module uses, with its names and values.

typedef NSUInteger NSWindowStyleMask;
enum : NSUInteger { NSWindowStyleMaskFullSizeContentView = 1 << 15 };

typedef enum : NSInteger { NSWindowTitleVisible, NSWindowTitleHidden } NSWindowTitleVisibility;

typedef enum : NSUInteger {
    NSWindowCloseButton,
    NSWindowMiniaturizeButton,
    NSWindowZoomButton
} NSWindowButton;

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
