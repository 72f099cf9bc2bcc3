// Stand-in for <AppKit/AppKit.h>: GNUstep's AppKit, plus what macOS has and GNUstep lacks, written
// from Apple's documentation. Each comment names the Apple documentation page's title.
#pragma once

#include_next <AppKit/AppKit.h>

// NSApplication
@interface NSApplication (VigilmothStandIn)
// setActivationPolicy(_:)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
@end

// NSStatusItem
@interface NSStatusItem (VigilmothStandIn)
// button
@property(readonly, strong) NSStatusBarButton* button;
@end

// NSApplication
@interface NSApplication (VigilmothActivationStandIn)
// yieldActivation(to:)
- (void)yieldActivationToApplication:(NSRunningApplication*)application;
@end

// NSRunningApplication
@interface NSRunningApplication (VigilmothStandIn)
// activate(from:options:)
- (BOOL)activateFromApplication:(NSRunningApplication*)application
                        options:(NSApplicationActivationOptions)options;
@end

// NSWorkspace.OpenConfiguration
@interface NSWorkspaceOpenConfiguration : NSObject
// init()
+ (instancetype)configuration;
// activates
@property BOOL activates;
// createsNewApplicationInstance
@property BOOL createsNewApplicationInstance;
// addsToRecentItems
@property BOOL addsToRecentItems;
@end

// NSWorkspace
@interface NSWorkspace (VigilmothOpenStandIn)
// openApplication(at:configuration:completionHandler:)
- (void)openApplicationAtURL:(NSURL*)applicationURL
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^)(NSRunningApplication* app, NSError* error))completionHandler;
@end
