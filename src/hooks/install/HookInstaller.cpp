#include "hooks/install/HookInstaller.h"

#include <algorithm>

#include "base/Calendar.h"
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

constexpr std::string_view kBackupInfix = ".vigilmoth-backup-";

std::pair<std::string, std::string> split(const std::string& path) {
    auto slash = path.rfind('/');
    if (slash == std::string::npos) return {".", path};
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

// "yyyyMMdd-HHmmss" in local time; digits only, so the locale plays no part.
std::string timeStamp(Date date) {
    return Calendar{}.formatted(date, "%Y%m%d-%H%M%S").value_or("");
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

std::optional<std::string> HookInstaller::write(const std::string& bytes, const std::string& path,
                                                const FileContents& replacing, bool backup) {
    if (replacing.status == FileContents::Status::read && bytes == replacing.bytes) {
        return std::nullopt;
    }
    // A linked settings file is edited where it lives, so the link stays a link.
    const auto target = files_.resolved(path);
    const auto now = files_.read(target);
    if (now.status == FileContents::Status::failed) throw HookInstallError(Kind::unreadable);
    if (now != replacing) throw HookInstallError(Kind::changedWhileEditing);
    bool exists = now.status == FileContents::Status::read;
    if (exists && !files_.isWritable(target)) throw HookInstallError(Kind::notWritable);
    const auto folder = split(target).first;
    if (!files_.isDirectory(folder)) files_.createDirectories(folder);
    const auto permissions = files_.permissions(target);
    std::optional<std::string> made;
    if (backup && exists) {
        auto copy = backupURL(target);
        if (files_.write(copy, now.bytes)) {
            // The copy holds what the original holds, so it is no more readable than it.
            if (permissions.has_value()) files_.setPermissions(copy, permissions.value());
            made = copy;
        }
    }
    if (!files_.write(target, bytes)) throw HookInstallError(Kind::writeFailed);
    if (permissions.has_value()) files_.setPermissions(target, permissions.value());
    pruneBackups(target);
    return made;
}

void HookInstaller::remove(const std::string& path, const FileContents& holding) {
    const auto now = files_.read(files_.resolved(path));
    if (now.status == FileContents::Status::failed) throw HookInstallError(Kind::unreadable);
    if (now != holding) throw HookInstallError(Kind::changedWhileEditing);
    if (now.status == FileContents::Status::missing) return;
    if (!files_.isWritable(path)) throw HookInstallError(Kind::notWritable);
    if (!files_.remove(path)) throw HookInstallError(Kind::writeFailed);
}

std::string HookInstaller::backupURL(const std::string& file) {
    auto [folder, name] = split(file);
    auto taken = files_.list(folder);
    auto base = name + std::string(kBackupInfix) + timeStamp(now_());
    auto candidate = base;
    for (int number = 2; std::find(taken.begin(), taken.end(), candidate) != taken.end();
         ++number) {
        candidate = base + "-" + std::to_string(number);
    }
    return folder + "/" + candidate;
}

void HookInstaller::pruneBackups(const std::string& file) {
    auto [folder, name] = split(file);
    auto prefix = name + std::string(kBackupInfix);
    std::vector<std::string> backups;
    for (auto& entry : files_.list(folder)) {
        if (entry.starts_with(prefix)) backups.push_back(std::move(entry));
    }
    std::sort(backups.begin(), backups.end());
    constexpr std::size_t kKept = 3;
    for (std::size_t i = 0; i + kKept < backups.size(); ++i) {
        files_.remove(folder + "/" + backups[i]);
    }
}

std::string HookInstaller::recordPath(const HookCatalogEntry& entry) const {
    return folders_.applicationSupport + "/hook-installs/" + entry.id + ".json";
}

std::optional<HookInstallRecord> HookInstaller::record(const HookCatalogEntry& entry) {
    auto contents = files_.read(recordPath(entry));
    if (contents.status != FileContents::Status::read) return std::nullopt;
    auto json = nlohmann::json::parse(contents.bytes, nullptr, false);
    if (json.is_discarded()) return std::nullopt;
    return HookInstallRecord::fromJSON(json);
}

// Losing a record only makes a later removal less thorough, so failures here are ignored.
void HookInstaller::save(const HookInstallRecord& record, const HookCatalogEntry& entry) {
    auto path = recordPath(entry);
    files_.createDirectories(split(path).first);
    files_.write(path, record.toJSON().dump(2) + "\n");
}

void HookInstaller::forgetRecord(const HookCatalogEntry& entry) {
    files_.remove(recordPath(entry));
}

// The state files in the default folder only: a folder moved for a test run is not ours to
// clean.
void HookInstaller::removeStateFiles(const HookCatalogEntry& entry) {
    const auto folder = folders_.applicationSupport + "/hooks";
    for (const auto& name : files_.list(folder)) {
        if (name.starts_with(entry.id + "-") && name.ends_with(".json")) {
            files_.remove(folder + "/" + name);
        }
    }
}

}  // namespace vigilmoth
