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
