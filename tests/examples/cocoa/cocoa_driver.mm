// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#import "Launching.h"

#import "examples/host-cocoa/UpdateCheck.h"

#include <cstdio>
#include <cstdlib>

// cocoa_driver UPDATER TIMES: lets the sample's UpdateCheck run so many checks, one after the
// other, and prints what its delegate is told.

// The runtime library never frees its tables.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" int __lsan_is_turned_off()
{
    return 1;
}

// Foundation's own locks are taken in more than one order.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" const char *__tsan_default_options()
{
    return "detect_deadlocks=0";
}

@implementation NSTask (Launching)

- (void)setExecutableURL:(NSURL *)url
{
    [self setLaunchPath:[url path]];
}

- (BOOL)launchAndReturnError:(NSError **)error
{
    if (![[NSFileManager defaultManager] isExecutableFileAtPath:[self launchPath]]) {
        *error = [NSError errorWithDomain:NSPOSIXErrorDomain code:2 userInfo:nil];
        return NO;
    }
    [self launch];
    return YES;
}

@end

@interface Listener : NSObject <UpdateCheckDelegate> {
@public
    int _ended;
}
@end

@implementation Listener

- (void)updateCheck:(UpdateCheck *)check
    endedWithUpdate:(BOOL)update
            success:(BOOL)success
            message:(NSString *)message
{
    std::printf("update=%d success=%d running=%d message=%s\n", update, success, [check isRunning],
                [message length] > 0 ? [message UTF8String] : "(none)");
    ++_ended;
}

@end

int main(int argc, char *argv[])
{
    if (argc != 3) {
        return 2;
    }
    @autoreleasepool {
        Listener *listener = [[Listener alloc] init];
        UpdateCheck *check =
            [[UpdateCheck alloc] initWithUpdater:[NSString stringWithUTF8String:argv[1]]
                                        delegate:listener];
        for (int i = 1; i <= std::atoi(argv[2]); ++i) {
            [check start];
            if ([check isRunning]) {
                [check start]; // is one and the same check
            }
            while (listener->_ended < i) {
                [[NSRunLoop currentRunLoop]
                    runUntilDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
            }
        }
        return listener->_ended == std::atoi(argv[2]) ? 0 : 1;
    }
}
