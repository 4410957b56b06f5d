// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// What the sample host uses of the framework beyond the platform module's share. There is no code
/// behind it.

#include_next <Foundation/Foundation.h>

typedef struct _NSZone NSZone;
typedef struct {
    unsigned long state;
    id __unsafe_unretained *items;
    unsigned long *mutations;
    unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSObject
@end

@interface NSObject (Sample)
+ (instancetype)alloc;
- (instancetype)init;
- (id)copy;
@end

@interface NSString (Sample)
- (NSString *)stringByAppendingPathComponent:(NSString *)component;
@end

@interface NSNumber : NSObject
@property(readonly) BOOL boolValue;
@end

@interface NSArray : NSObject
+ (instancetype)arrayWithObject:(id)object;
- (BOOL)containsObject:(id)object;
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState *)state
                                  objects:(id __unsafe_unretained *)objects
                                    count:(NSUInteger)count;
@end

@interface NSError : NSObject
- (NSString *)localizedDescription;
@end

@interface NSURL : NSObject
+ (NSURL *)fileURLWithPath:(NSString *)path;
@end

@interface NSBundle (Sample)
- (NSString *)bundlePath;
@end

@interface NSProcessInfo : NSObject
@property(class, readonly) NSProcessInfo *processInfo;
@property(readonly) NSArray *arguments;
@property(readonly) int processIdentifier;
@end

@interface NSNotification : NSObject
- (NSDictionary *)userInfo;
@end

@interface NSNotificationCenter : NSObject
@property(class, readonly) NSNotificationCenter *defaultCenter;
- (void)addObserver:(id)observer selector:(SEL)selector name:(NSString *)name object:(id)object;
- (void)removeObserver:(id)observer;
@end

extern "C" NSString *const NSFileHandleReadToEndOfFileCompletionNotification;
extern "C" NSString *const NSFileHandleNotificationDataItem;

@interface NSFileHandle : NSObject
- (void)readToEndOfFileInBackgroundAndNotify;
@end

@interface NSPipe : NSObject
+ (NSPipe *)pipe;
- (NSFileHandle *)fileHandleForReading;
@end

@interface NSTask : NSObject
- (void)setExecutableURL:(NSURL *)url;
- (void)setArguments:(NSArray *)arguments;
- (void)setStandardOutput:(id)output;
- (BOOL)launchAndReturnError:(NSError **)error;
@end

@interface NSJSONSerialization : NSObject
+ (id)JSONObjectWithData:(NSData *)data options:(NSUInteger)options error:(NSError **)error;
@end
