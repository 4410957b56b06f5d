// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#import <Foundation/Foundation.h>

@class UpdateCheck;

@protocol UpdateCheckDelegate
/// The check has ended, whichever way. Sent once for each start, on the main thread.
///
/// \a update   the user wants the new version; its download page is open.
/// \a success  the server was asked and understood.
/// \a message  the two versions, or what went wrong.
- (void)updateCheck:(UpdateCheck *)check
    endedWithUpdate:(BOOL)update
            success:(BOOL)success
            message:(NSString *)message;
@end

/// Checks for updates in the background with `updater console`. Use it on the main thread.
@interface UpdateCheck : NSObject {
@private
    NSString *_path;
    __unsafe_unretained id<UpdateCheckDelegate> _delegate;
    NSTask *_updater; // while a check is running
}

/// \a updater   path of the program.
/// \a delegate  not owned.
- (instancetype)initWithUpdater:(NSString *)updater delegate:(id<UpdateCheckDelegate>)delegate;

- (BOOL)isRunning;
/// Starts a check, unless one is running.
- (void)start;

@end
