#include "hooks/HookInstaller.h"

#include <algorithm>

#include "base/Log.h"

namespace vigilmoth {
namespace {

using Kind = HookInstallError::Kind;
using HookConfigEditor::blankDocument;

const Logger& logger() {
    static const Logger log("HookInstaller");
    return log;
}

bool isPlugin(const HookCatalogEntry& entry) {
    return entry.format.kind == HookCatalogEntry::Format::Kind::pluginFile;
}

bool isBlank(std::string_view bytes) {
    return bytes.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// The agent's own folder: the first part of the settings path, or for a path under .config
// the folder one level below it.
std::string agentFolder(const std::string& configPath) {
    auto slash = configPath.find('/');
    if (configPath.starts_with(".config/") && slash != std::string::npos) {
        slash = configPath.find('/', slash + 1);
    }
    return configPath.substr(0, slash);
}

}  // namespace

HookInstaller::HookInstaller(Folders folders, std::function<Date()> now, HookFileAccessing& files)
    : folders_(std::move(folders)), now_(std::move(now)), files_(files) {}

std::string HookInstaller::configFile(const HookCatalogEntry& entry) const {
    return folders_.home + "/" + entry.configPath;
}

std::string HookInstaller::shownPath(const HookCatalogEntry& entry) {
    return "~/" + entry.configPath;
}

bool HookInstaller::isSetUp(const HookCatalogEntry& entry) {
    return files_.isDirectory(folders_.home + "/" + agentFolder(entry.configPath));
}

HookStatus HookInstaller::status(const HookCatalogEntry& entry) {
    if (!isSetUp(entry)) return HookStatus::configMissing();
    auto contents = files_.read(configFile(entry));
    if (contents.status == FileContents::Status::failed) return HookStatus::unreadable();
    bool blank = contents.status == FileContents::Status::missing || isBlank(contents.bytes);
    return HookConfigEditor::status(blank ? std::string(blankDocument) : contents.bytes, entry,
                                    folders_.appPath);
}

void HookInstaller::install(const HookCatalogEntry& entry) {
    if (!isSetUp(entry)) throw HookInstallError(Kind::configMissing);
    const auto path = configFile(entry);
    const auto before = files_.read(path);
    if (before.status == FileContents::Status::failed) throw HookInstallError(Kind::unreadable);
    if (isPlugin(entry)) {
        installScript(entry, before);
        return;
    }
    bool missing = before.status == FileContents::Status::missing;
    bool blank = missing || isBlank(before.bytes);
    std::string text = blank ? std::string(blankDocument) : before.bytes;
    auto current = HookConfigEditor::status(text, entry, folders_.appPath);
    // A record is only as good as the handlers it describes: without them it is stale.
    auto record = current == HookStatus::outdated()
                      ? this->record(entry).value_or(HookInstallRecord{})
                      : HookInstallRecord{};
    if (missing) {
        record.createdFile = true;
    } else if (blank) {
        record.blankBefore = before.bytes;
    }
    auto after = HookConfigEditor::installing(text, entry, folders_.appPath, record);
    if (after == text) return;
    if (auto backup = write(after, path, before, true)) {
        if (!record.backups) record.backups.emplace();
        record.backups->push_back(*backup);
    }
    save(record, entry);
    logger().info("installed the hooks of " + entry.id + " in " + path);
}

void HookInstaller::installScript(const HookCatalogEntry& entry, const FileContents& before) {
    const auto script = HookConfigEditor::currentScript(entry, folders_.appPath);
    bool exists = before.status == FileContents::Status::read;
    if (exists && before.bytes == script) return;
    if (exists && !HookConfigEditor::isOurScript(before.bytes, entry, folders_.appPath)) {
        throw HookInstallError(Kind::notOurFile);
    }
    HookInstallRecord record;
    record.createdFile = !exists;
    // The script is vigilmoth's own text from start to end, so there is nothing to back up.
    write(script, configFile(entry), before, false);
    save(record, entry);
    logger().info("installed the plugin of " + entry.id);
}

void HookInstaller::uninstall(const HookCatalogEntry& entry) {
    const auto path = configFile(entry);
    const auto before = files_.read(path);
    if (before.status == FileContents::Status::failed) throw HookInstallError(Kind::unreadable);
    bool present = before.status == FileContents::Status::read;
    if (isPlugin(entry)) {
        if (present && HookConfigEditor::isOurScript(before.bytes, entry, folders_.appPath)) {
            remove(path, before);
        }
    } else if (present && !isBlank(before.bytes)) {
        auto record = this->record(entry).value_or(HookInstallRecord{});
        auto after = HookConfigEditor::uninstalling(before.bytes, entry, record, true);
        if (record.createdFile && after == blankDocument) {
            remove(path, before);
        } else {
            if (record.blankBefore && after == blankDocument) after = *record.blankBefore;
            write(after, path, before, true);
        }
    }
    forgetRecord(entry);
    removeStateFiles(entry);
    pruneBackups(files_.resolved(path));
    logger().info("removed the hooks of " + entry.id);
}

void HookInstaller::updateOwnFiles(const HookCatalogEntry& entry) {
    if (!isPlugin(entry) || status(entry) != HookStatus::outdated()) return;
    const auto path = configFile(entry);
    try {
        write(HookConfigEditor::currentScript(entry, folders_.appPath), path, files_.read(path),
              false);
        logger().info("updated the plugin of " + entry.id);
    } catch (const HookInstallError& error) {
        logger().error("could not update the plugin of " + entry.id + ": " +
                       error.message(shownPath(entry)));
    }
}

}  // namespace vigilmoth
