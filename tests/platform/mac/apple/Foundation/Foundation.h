// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// As much of the framework's interface as the program uses, for compiling it with Apple's
/// targets. There is no code behind it.

#if __OBJC_BOOL_IS_BOOL
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no
#define nil nullptr

typedef long NSInteger;
typedef unsigned long NSUInteger;

struct NSRange {
    NSUInteger location;
    NSUInteger length;
};

constexpr NSInteger NSNotFound = __LONG_MAX__;

__attribute__((objc_root_class))
@interface NSObject
+ (Class)class;
- (BOOL)isKindOfClass:(Class)kind;
@end

@class NSError;

@interface NSString : NSObject
@property(readonly) const char *UTF8String __attribute__((objc_returns_inner_pointer));
@property(readonly) int intValue;
+ (instancetype)stringWithUTF8String:(const char *)text;
+ (instancetype)stringWithFormat:(NSString *)format,
                                 ... __attribute__((format(__NSString__, 1, 2)));
- (NSRange)rangeOfString:(NSString *)text;
- (NSString *)substringFromIndex:(NSUInteger)index;
- (NSString *)substringToIndex:(NSUInteger)index;
@end

@interface NSDictionary : NSObject
- (id)objectForKey:(id)key;
@end

@interface NSData : NSObject
+ (instancetype)dataWithBytes:(const void *)bytes length:(NSUInteger)length;
+ (instancetype)dataWithContentsOfFile:(NSString *)path;
@end

typedef NSUInteger NSPropertyListReadOptions;
typedef NSUInteger NSPropertyListFormat;

@interface NSPropertyListSerialization : NSObject
+ (id)propertyListWithData:(NSData *)data
                   options:(NSPropertyListReadOptions)options
                    format:(NSPropertyListFormat *)format
                     error:(NSError **)error;
@end

@interface NSMutableString : NSString
- (void)insertString:(NSString *)text atIndex:(NSUInteger)index;
@end

@interface NSBundle : NSObject
@property(class, readonly) NSBundle *mainBundle;
@property(readonly) NSString *bundleIdentifier;
- (id)objectForInfoDictionaryKey:(NSString *)key;
@end

@interface NSFileManager : NSObject
@property(class, readonly) NSFileManager *defaultManager;
- (BOOL)fileExistsAtPath:(NSString *)path isDirectory:(BOOL *)isDirectory;
- (BOOL)createDirectoryAtPath:(NSString *)path
    withIntermediateDirectories:(BOOL)intermediate
                     attributes:(NSDictionary *)attributes
                          error:(NSError **)error;
- (BOOL)isWritableFileAtPath:(NSString *)path;
@end

extern "C" {
NSString *NSHomeDirectory();
void NSLog(NSString *format, ...) __attribute__((format(__NSString__, 1, 2)));
NSUInteger NSMaxRange(NSRange range);
}
