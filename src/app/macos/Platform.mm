// The macOS entry services: other copies through the workspace, the hand-over through the
// distributed notification centre. The menu-bar shell itself is not built yet; until it is,
// the application runs an empty accessory event loop that answers the hand-over.
#if !defined(__APPLE__)
#error "app/macos is built only for macOS"
#endif

#import <AppKit/AppKit.h>
#include <unistd.h>

#include <iostream>

#include "app/Platform.h"
#include "app/posix/PosixLab.h"
#include "hooks/HookLocation.h"
#include "platform/macos/CFPreferencesKeyValueStore.h"
#include "platform/macos/SystemProcessCensus.h"
#include "platform/macos/UnifiedLog.h"

namespace vigilmoth::Platform {
namespace {

NSString* const kShowPreferences = @"com.vigilmoth.app.showPreferences";

NSArray<NSRunningApplication*>* otherRunningCopies() {
    NSString* bundleIdentifier = NSBundle.mainBundle.bundleIdentifier;
    if (bundleIdentifier == nil) return @[];
    pid_t own = getpid();
    NSMutableArray<NSRunningApplication*>* copies = [NSMutableArray array];
    for (NSRunningApplication* application in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:bundleIdentifier]) {
        if (application.processIdentifier != own && !application.terminated) {
            [copies addObject:application];
        }
    }
    return copies;
}

}  // namespace

CopyCoordination copyCoordination() {
    return CopyCoordination{
        .otherCopies =
            [] {
                std::vector<int> pids;
                for (NSRunningApplication* application in otherRunningCopies()) {
                    pids.push_back(application.processIdentifier);
                }
                return pids;
            },
        .postShowPreferences =
            [] {
                [[NSDistributedNotificationCenter defaultCenter]
                    postNotificationName:kShowPreferences
                                  object:nil
                                userInfo:nil
                      deliverImmediately:YES];
            },
        .activate =
            [](int pid) {
                NSRunningApplication* application =
                    [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
                [application activateWithOptions:0];
            },
        .sleep = [](double seconds) { [NSThread sleepForTimeInterval:seconds]; },
    };
}

int runApplication() {
    installSystemLogSink();
    @autoreleasepool {
        NSApplication* application = [NSApplication sharedApplication];
        [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
        [application run];
    }
    return 0;
}

int runSmokeTest(double) {
    std::cerr << "The smoke test is not built yet.\n";
    return 1;
}

int runDisplayProbe(double) {
    std::cerr << "The display probe is not built yet.\n";
    return 1;
}

bool runLab(const std::vector<std::string>& arguments) {
    installSystemLogSink();
    SystemProcessCensus census;
    CFPreferencesKeyValueStore defaults;
    NSString* executable = NSBundle.mainBundle.executablePath;
    return PosixLab::run(
        arguments,
        {.census = census,
         .defaults = defaults,
         .appPath = executable != nil ? HookLocation::appPath(executable.UTF8String) : ""});
}

}  // namespace vigilmoth::Platform
