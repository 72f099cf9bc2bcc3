#include "platform/macos/SystemAgentHosts.h"

#import <AppKit/AppKit.h>

#include <set>
#include <unordered_map>

#include "base/Log.h"
#include "catalog/AgentHostResolver.h"

namespace vigilmoth {
namespace {

// An owner's walk gives up after this many parents.
constexpr int kOwnerSteps = 32;

std::string text(NSString* value) {
    return value ? std::string(value.UTF8String) : std::string();
}

NSRunningApplication* regularApp(std::int32_t pid) {
    NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
    if (!app || app.terminated) return nil;
    if (app.activationPolicy != NSApplicationActivationPolicyRegular) return nil;
    return app;
}

// The bundle path up to and with ".app/Contents/", or empty.
std::string bundleContents(const std::string& path) {
    auto at = path.find(".app/Contents/");
    if (at == std::string::npos) return {};
    return path.substr(0, at + std::string(".app/Contents/").size());
}

class MacHostApps final : public AgentHostApps {
public:
    bool isApp(const ProcessInfoRow& row) override {
        auto known = known_.find(row.pid);
        if (known != known_.end()) return known->second;
        bool regular = regularApp(row.pid) != nil;
        known_[row.pid] = regular;
        return regular;
    }

    // A helper or server process inside an application bundle (a terminal's) leads to the
    // bundle's main application. A command-line agent that itself runs from inside a bundle
    // (shipped with a desktop application) does not lead to that application.
    std::optional<std::int32_t> appBeyond(const std::vector<ProcessInfoRow>& chain,
                                          bool skippingFirstBundle,
                                          const ProcessTable& table) override {
        for (const auto& row : chain) {
            auto contents = bundleContents(row.executablePath);
            if (contents.empty()) continue;
            if (skippingFirstBundle && &row == &chain.front()) continue;
            auto name = AgentHostResolver::baseName(row.executablePath);
            for (const auto& candidate : table.rows()) {
                bool matches =
                    name.starts_with("iTermServer")
                        ? candidate.executablePath.ends_with("/iTerm.app/Contents/MacOS/iTerm2")
                        : candidate.executablePath.starts_with(contents + "MacOS/");
                if (matches && isApp(candidate)) return candidate.pid;
            }
            return std::nullopt;
        }
        return std::nullopt;
    }

    std::string name(const ProcessInfoRow& app) override {
        NSRunningApplication* running =
            [NSRunningApplication runningApplicationWithProcessIdentifier:app.pid];
        return text(running.localizedName);
    }

private:
    std::unordered_map<std::int32_t, bool> known_;
};

}  // namespace

AgentHostReveal AgentHostReveal::way(const std::string& bundleURLPath,
                                     const std::string& executablePath) {
    if (bundleURLPath.ends_with(".app")) return {Kind::open, bundleURLPath};
    auto at = executablePath.rfind(executables);
    if (at != std::string::npos) return {Kind::open, executablePath.substr(0, at) + ".app"};
    return {};
}

std::vector<std::optional<AgentHost>> SystemAgentHosts::hosts(
    const std::vector<AgentHostRequest>& requests) {
    std::vector<std::optional<AgentHost>> answers(requests.size());
    auto rows = census_.snapshot();
    if (!rows) return answers;
    ProcessTable table(std::move(*rows), [this](std::int32_t pid) { return census_.row(pid); });
    MacHostApps apps;
    for (size_t at = 0; at < requests.size(); ++at)
        answers[at] = AgentHostResolver::resolve(requests[at].pid, requests[at].kind, table, apps);
    return answers;
}

bool SystemAgentHosts::bringForward(std::int32_t appPid) {
    NSRunningApplication* app = regularApp(appPid);
    if (!app) return false;
    if (app.hidden) [app unhide];
    auto reveal = AgentHostReveal::way(text(app.bundleURL.path), text(app.executableURL.path));
    if (reveal.kind == AgentHostReveal::Kind::open) {
        NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
        configuration.activates = YES;
        configuration.createsNewApplicationInstance = NO;
        configuration.addsToRecentItems = NO;
        NSURL* bundle = [NSURL fileURLWithPath:[NSString stringWithUTF8String:reveal.bundle.c_str()]
                                   isDirectory:YES];
        [NSWorkspace.sharedWorkspace
            openApplicationAtURL:bundle
                   configuration:configuration
               completionHandler:^(NSRunningApplication*, NSError* error) {
                 if (error) {
                     Logger("AgentHosts")
                         .error("could not open " + text(error.localizedDescription));
                 }
               }];
        return true;
    }
    // Newer systems activate cooperatively: this application hands its activation over.
    if ([NSApp respondsToSelector:@selector(yieldActivationToApplication:)]) {
        [NSApp yieldActivationToApplication:app];
        [app activateFromApplication:NSRunningApplication.currentApplication options:0];
    } else {
        [app activateWithOptions:NSApplicationActivateIgnoringOtherApps];
    }
    return true;
}

std::vector<std::optional<std::int32_t>> SystemAgentHosts::owners(
    const std::vector<std::int32_t>& pids) {
    std::set<std::int32_t> apps;
    for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
        if (app.activationPolicy == NSApplicationActivationPolicyRegular) {
            apps.insert(app.processIdentifier);
        }
    }
    std::vector<std::optional<std::int32_t>> answers;
    for (auto pid : pids) {
        std::optional<std::int32_t> owner;
        auto current = pid;
        for (int step = 0; step < kOwnerSteps; ++step) {
            if (apps.contains(current)) {
                owner = current;
                break;
            }
            auto row = census_.row(current);
            if (!row || row->pid != current || row->ppid < 2 || row->ppid == current) break;
            current = row->ppid;
        }
        answers.push_back(owner);
    }
    return answers;
}

}  // namespace vigilmoth
