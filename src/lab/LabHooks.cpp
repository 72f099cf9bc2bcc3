#include "lab/LabHooks.h"

#include <algorithm>

#include "hooks/install/HookInstaller.h"
#include "hooks/install/SystemHookFileAccess.h"

namespace vigilmoth::LabHooks {
namespace {

std::string statusText(const HookStatus& status) {
    switch (status.kind) {
        case HookStatus::Kind::installed:
            return "installed (version " + std::to_string(status.version) + ")";
        case HookStatus::Kind::notInstalled:
            return "not installed";
        case HookStatus::Kind::outdated:
            return "outdated";
        case HookStatus::Kind::configMissing:
            return "not set up";
        case HookStatus::Kind::unreadable:
            return "unreadable";
    }
    return "unknown";
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size() + 1), ' ');
    return text;
}

void list(HookInstaller& installer, std::ostream& out) {
    for (const auto& entry : HookCatalog::entries()) {
        out << padded(entry.id, 10) << padded(statusText(installer.status(entry)), 24)
            << HookInstaller::shownPath(entry) << "\n";
    }
}

std::string knownIDs() {
    std::string ids;
    for (const auto& entry : HookCatalog::entries())
        ids += (ids.empty() ? "" : ", ") + entry.id;
    return ids;
}

bool change(HookInstaller& installer, const std::string& verb, const std::string& id,
            LabContext& context) {
    const auto* entry = HookCatalog::entry(id);
    if (entry == nullptr) {
        context.err << "Unknown hook entry " << id << ". The entries are " << knownIDs() << ".\n";
        return false;
    }
    const auto shown = HookInstaller::shownPath(*entry);
    try {
        if (verb == "install") {
            installer.install(*entry);
            context.out << "Installed the " << entry->displayName << " hooks in " << shown << ".\n";
            if (entry->afterInstall) context.out << *entry->afterInstall << "\n";
        } else {
            installer.uninstall(*entry);
            context.out << "Removed the " << entry->displayName << " hooks from " << shown << ".\n";
        }
    } catch (const HookInstallError& error) {
        context.err << error.message(shown) << "\n";
        return false;
    }
    return true;
}

}  // namespace

bool run(const std::vector<std::string>& parameters, LabContext& context) {
    SystemHookFileAccess files;
    HookInstaller installer(
        {context.home, context.appPath, context.applicationSupport}, [] { return Date::now(); },
        files);
    if (parameters.empty()) {
        list(installer, context.out);
        return true;
    }
    if (parameters.size() == 2 && (parameters[0] == "install" || parameters[0] == "remove")) {
        return change(installer, parameters[0], parameters[1], context);
    }
    context.err << "Usage: vigilmoth --lab-hooks [install ID | remove ID]\n";
    return false;
}

}  // namespace vigilmoth::LabHooks
