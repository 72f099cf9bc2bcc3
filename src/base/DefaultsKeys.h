#pragma once

// Every key under which vigilmoth keeps state in the user-defaults store, spelled once.
// Plain character arrays, so that they pass as std::string and std::string_view alike.
namespace vigilmoth::defaults_keys {

// The detection settings, one JSON data value.
inline constexpr char detectionSettings[] = "DetectionSettings";
// The allowlist of older versions; read once for the migration, then removed.
inline constexpr char legacyAllowlist[] = "ProcessWatcher.allowlist";
inline constexpr char legacyKnownDefaults[] = "ProcessWatcher.knownDefaults";

inline constexpr char enabled[] = "StateAggregator.enabled";
inline constexpr char mode[] = "StateAggregator.mode";
inline constexpr char pausedUntil[] = "StateAggregator.pausedUntil";
inline constexpr char reachableUntil[] = "StateAggregator.reachableUntil";
inline constexpr char lidClosedHintDismissed[] = "StateAggregator.lidClosedHintDismissed";

inline constexpr char showMenuBarIcon[] = "MenuBar.showIcon";
inline constexpr char onboardingCompleted[] = "Onboarding.completed";
inline constexpr char helperWasSetUp[] = "SleepFlagController.helperWasSetUp";

inline constexpr char noticesWaiting[] = "AgentNotices.waiting";
inline constexpr char noticesFinished[] = "AgentNotices.finished";
inline constexpr char noticesOnlyWhenAway[] = "AgentNotices.onlyWhenAway";

inline constexpr char shortcuts[] = "Shortcuts";
inline constexpr char shortcutsCleared[] = "ShortcutsCleared";

inline constexpr char previousBrightness[] = "DisplayDim.previousBrightness";
inline constexpr char dimMethod[] = "DisplayDim.method";
inline constexpr char displayDebugTrace[] = "Display.debugTrace";

inline constexpr char relocationDeclined[] = "AppRelocator.userDeclined";
// Left by an older version that overrode sleep on battery; cleared once at start.
inline constexpr char batteryOverrideSetByApp[] = "BatteryOverride.overrideSetByApp";

}  // namespace vigilmoth::defaults_keys
