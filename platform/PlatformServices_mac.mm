// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/PlatformServices.h"

#import <AppKit/AppKit.h>
#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>
#import <IOKit/IOKitLib.h>
#import <Security/Security.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include <unistd.h>

namespace {

// The last byte of each buffer stays zero: a text that fills the rest ends there.
constexpr std::size_t homePathSize = 512;
constexpr std::size_t diskIdSize = 256; // half of the others on purpose
constexpr std::size_t systemUuidSize = 512;

std::array<char, homePathSize + 1> home_path;
bool init_home_path = false;
bool _sandbox_checked = false;
bool _sandboxed = false;
std::array<char, diskIdSize + 1> disk_id_str;
bool init_disk_id = false;
std::array<char, systemUuidSize + 1> system_uuid_str;
bool init_system_uuid = false;

// Owns one Core Foundation object, or none.
template <typename Ref>
class CFOwner {
public:
    explicit CFOwner(Ref object = nullptr) : m_object(object) {}
    ~CFOwner()
    {
        if (m_object) {
            CFRelease(m_object);
        }
    }
    CFOwner(const CFOwner &) = delete;
    CFOwner &operator=(const CFOwner &) = delete;

    Ref get() const { return m_object; }
    Ref *out() { return &m_object; }

private:
    Ref m_object;
};

bool CheckSandbox()
{
    NSLog(@"check if app is sandboxed or not\n");
    // Released in reverse: the URL, the code, the requirement.
    CFOwner<SecRequirementRef> requirement;
    CFOwner<SecStaticCodeRef> code;
    const CFOwner<CFURLRef> url(CFBundleCopyExecutableURL(CFBundleGetMainBundle()));

    if (SecStaticCodeCreateWithPath(url.get(), kSecCSDefaultFlags, code.out()) != errSecSuccess) {
        NSLog(@"app is not sandboxed:no static code\n");
        return false;
    }
    if (SecRequirementCreateWithString(
            CFSTR("entitlement[\"com.apple.security.app-sandbox\"] exists"), kSecCSDefaultFlags,
            requirement.out()) != errSecSuccess) {
        NSLog(@"app is not sandboxed:no entitlement\n");
        return false;
    }
    // 6: the entitlements of the signature alone are checked.
    const SecCSFlags flags = kSecCSDoNotValidateExecutable | kSecCSDoNotValidateResources;
    if (SecStaticCodeCheckValidityWithErrors(code.get(), flags, requirement.get(), nullptr) !=
        errSecSuccess) {
        NSLog(@"app is not sandboxed\n");
        return false;
    }
    NSLog(@"app is sandboxed\n");
    return true;
}

// Returns whether path is a folder, making it first if nothing of that name exists.
bool ProvideFolder(NSString *path)
{
    NSFileManager *files = [NSFileManager defaultManager];
    BOOL isFolder = NO;
    if ([files fileExistsAtPath:path isDirectory:&isFolder]) {
        return isFolder;
    }
    if (![files createDirectoryAtPath:path
            withIntermediateDirectories:YES
                             attributes:nil
                                  error:nullptr]) {
        return false;
    }
    NSLog(@"createDirectoryAtPath:path=%@\n", path);
    return true;
}

NSString *HiddenFolderIn(NSString *home)
{
    NSMutableString *path = [NSMutableString
        stringWithFormat:@"%@/.%@", home, [[NSBundle mainBundle] bundleIdentifier]];
    for (bool found = false; !found;) {
        @autoreleasepool { // or endless retries would pile up objects
            found = ProvideFolder(path);
            if (!found) {
                // Before the whole path and without limit, both on purpose.
                [path insertString:@"." atIndex:0];
            }
        }
    }
    const BOOL writable = [[NSFileManager defaultManager] isWritableFileAtPath:path];
    NSLog(@"not sandboxed:path=%@,writable=%hhd\n", path, static_cast<signed char>(writable));
    return path;
}

// Returns nil when the key is missing or its value is not text.
NSString *MainExecutableVersion()
{
    id value = [[NSBundle mainBundle] objectForInfoDictionaryKey:@"CFBundleShortVersionString"];
    return [value isKindOfClass:[NSString class]] ? value : nil;
}

// Unsigned arithmetic wraps where int's would be undefined.
std::uint32_t Weighted(NSString *number, std::uint32_t weight)
{
    return static_cast<std::uint32_t>([number intValue]) * weight;
}

// Reads a property of the platform expert device into buffer, which stays unchanged if there is
// none. size limits text only.
void ReadPlatformProperty(CFStringRef key, char *buffer, std::size_t size)
{
    // The matching dictionary is consumed by the search.
    const io_service_t service = IOServiceGetMatchingService(
        kIOMasterPortDefault, IOServiceMatching("IOPlatformExpertDevice"));
    if (!service) {
        return;
    }
    const CFOwner<CFTypeRef> property(
        IORegistryEntryCreateCFProperty(service, key, kCFAllocatorDefault, kNilOptions));
    IOObjectRelease(service);
    if (!property.get()) {
        return;
    }
    if (CFGetTypeID(property.get()) == CFDataGetTypeID()) {
        // Whole, unbounded and unterminated on purpose.
        const auto *const data = static_cast<CFDataRef>(property.get());
        CFDataGetBytes(data, CFRangeMake(0, CFDataGetLength(data)),
                       reinterpret_cast<UInt8 *>(buffer));
    } else if (CFGetTypeID(property.get()) == CFStringGetTypeID()) {
        (void)CFStringGetCString(static_cast<CFStringRef>(property.get()), buffer,
                                 static_cast<CFIndex>(size), kCFStringEncodingUTF8);
    }
}

} // namespace

const char *ApplicationHomePath()
{
    if (init_home_path) {
        return home_path.data();
    }
    @autoreleasepool {
        NSString *path = NSHomeDirectory(); // in the sandbox, the container's home
        if (!_sandbox_checked) {
            _sandbox_checked = true;
            _sandboxed = CheckSandbox();
        }
        if (_sandboxed) {
            NSLog(@"sandboxed:path=%@\n", path);
        } else {
            path = HiddenFolderIn(path);
        }
        if (path) {
            std::strncpy(home_path.data(), [path UTF8String], homePathSize);
        } else {
            (void)getcwd(home_path.data(), homePathSize);
        }
    }
    init_home_path = true;
    return home_path.data();
}

// Without its own pool: the text must outlive the call.
const char *GetMainExecutableVersion()
{
    return [MainExecutableVersion() UTF8String];
}

int GetMainExecutableVersionNum()
{
    @autoreleasepool {
        NSString *version = MainExecutableVersion();
        if (!version) {
            return 0;
        }
        const NSRange firstDot = [version rangeOfString:@"."];
        if (firstDot.location == NSNotFound) {
            return 0; // a version without a dot is worth 0 on purpose, not its number
        }
        const std::uint32_t major = Weighted([version substringToIndex:firstDot.location], 1000000);
        NSString *rest = [version substringFromIndex:NSMaxRange(firstDot)];
        const NSRange secondDot = [rest rangeOfString:@"."];
        if (secondDot.location == NSNotFound) {
            // The minor number of a two-part version is dropped on purpose.
            return static_cast<int>(major);
        }
        const std::uint32_t minor = Weighted([rest substringToIndex:secondDot.location], 10000);
        const std::uint32_t patch = Weighted([rest substringFromIndex:NSMaxRange(secondDot)], 1);
        return static_cast<int>(patch + minor + major);
    }
}

void hideWindowCaptionBar(std::uintptr_t view)
{
    @autoreleasepool {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface stays free of AppKit
        NSWindow *window = [(__bridge NSView *)reinterpret_cast<void *>(view) window];
        [window setTitleVisibility:NSWindowTitleHidden]; // 1
        [window setTitlebarAppearsTransparent:YES];
        [window setStyleMask:[window styleMask] | NSWindowStyleMaskFullSizeContentView]; // 0x8000
        for (const NSWindowButton button :
             {NSWindowCloseButton, NSWindowZoomButton, NSWindowMiniaturizeButton}) { // 0, 2, 1
            [[window standardWindowButton:button] setHidden:YES];
        }
    }
}

const char *GetDiskId()
{
    if (!init_disk_id) {
        ReadPlatformProperty(CFSTR("IOPlatformSerialNumber"), disk_id_str.data(), diskIdSize);
        init_disk_id = true;
    }
    return disk_id_str.data();
}

const char *GetSystemUuid()
{
    if (!init_system_uuid) {
        ReadPlatformProperty(CFSTR("IOPlatformUUID"), system_uuid_str.data(), systemUuidSize);
        init_system_uuid = true;
    }
    return system_uuid_str.data();
}
