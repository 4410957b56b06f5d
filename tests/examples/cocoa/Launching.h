// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#import <Foundation/Foundation.h>

/// What GNUstep's Foundation does not have yet.
@interface NSTask (Launching)
- (void)setExecutableURL:(NSURL *)url;
- (BOOL)launchAndReturnError:(NSError **)error;
@end
