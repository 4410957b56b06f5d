// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#import "UpdateCheck.h"

@implementation UpdateCheck

- (instancetype)initWithUpdater:(NSString *)updater delegate:(id<UpdateCheckDelegate>)delegate
{
    self = [super init];
    if (self) {
        _path = [updater copy];
        _delegate = delegate;
    }
    return self;
}

- (BOOL)isRunning
{
    return _updater != nil;
}

- (void)start
{
    if (_updater) {
        return;
    }
    _updater = [[NSTask alloc] init];
    NSPipe *pipe = [NSPipe pipe];
    [_updater setExecutableURL:[NSURL fileURLWithPath:_path]];
    [_updater setArguments:[NSArray arrayWithObject:@"console"]];
    [_updater setStandardOutput:pipe];
    NSError *error = nil;
    if (![_updater launchAndReturnError:&error]) {
        [self endWithReport:nil otherwise:[error localizedDescription]];
        return;
    }
    // The report has no line end: it is complete at the end of the stream.
    NSFileHandle *reader = [pipe fileHandleForReading];
    [[NSNotificationCenter defaultCenter]
        addObserver:self
           selector:@selector(read:)
               name:NSFileHandleReadToEndOfFileCompletionNotification
             object:reader];
    [reader readToEndOfFileInBackgroundAndNotify];
}

- (void)read:(NSNotification *)notification
{
    [[NSNotificationCenter defaultCenter] removeObserver:self];
    NSData *output = [[notification userInfo] objectForKey:NSFileHandleNotificationDataItem];
    id report = [NSJSONSerialization JSONObjectWithData:output options:0 error:nullptr];
    // The exit code is not a success flag. The report says everything.
    [self endWithReport:[report isKindOfClass:[NSDictionary class]] ? report : nil
              otherwise:@"The updater reported nothing."];
}

- (void)endWithReport:(NSDictionary *)report otherwise:(NSString *)message
{
    _updater = nil;
    [_delegate updateCheck:self
           endedWithUpdate:[[report objectForKey:@"update"] boolValue]
                   success:[[report objectForKey:@"success"] boolValue]
                   message:report ? [report objectForKey:@"errormsg"] : message];
}

@end
