// Stand-in for <Foundation/Foundation.h>: GNUstep's Foundation, plus what macOS has and GNUstep
// lacks, written from Apple's documentation. Each comment names the Apple documentation page's
// title.
#pragma once

#include_next <Foundation/Foundation.h>

// ProcessInfo.ThermalState
typedef NS_ENUM(NSInteger, NSProcessInfoThermalState) {
    NSProcessInfoThermalStateNominal = 0,
    NSProcessInfoThermalStateFair = 1,
    NSProcessInfoThermalStateSerious = 2,
    NSProcessInfoThermalStateCritical = 3,
};

// ProcessInfo
@interface NSProcessInfo (VigilmothStandIn)
// thermalState
@property(readonly) NSProcessInfoThermalState thermalState;
@end

// NSXPCConnectionCodeSigningRequirementFailure (its value is Apple's; any value does here)
enum : NSInteger { NSXPCConnectionCodeSigningRequirementFailure = 4102 };

// NSXPCConnection (GNUstep spells the setter of exportedInterface setExportInterface:)
@interface NSXPCConnection (VigilmothStandIn)
// exportedInterface
- (void)setExportedInterface:(NSXPCInterface*)exportedInterface;
// exportedObject
@property(retain) id exportedObject;
// setCodeSigningRequirement(_:)
- (void)setCodeSigningRequirement:(NSString*)requirement;
@end
