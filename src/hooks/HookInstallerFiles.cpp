// The installer's file handling: guarded writes and deletions, backups, install records and
// the hook state files that go with an install.
#include <algorithm>
#include <cmath>
#include <ctime>

#include "hooks/HookInstaller.h"

namespace vigilmoth {
namespace {

using Kind = HookInstallError::Kind;

constexpr std::string_view kBackupInfix = ".vigilmoth-backup-";

std::pair<std::string, std::string> split(const std::string& path) {
    auto slash = path.rfind('/');
    if (slash == std::string::npos) return {".", path};
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

// "yyyyMMdd-HHmmss" in local time; digits only, so the locale plays no part.
std::string timeStamp(Date date) {
    auto seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970()));
    std::tm local{};
    // Called on the main thread only, which makes the shared result of localtime safe.
    if (const std::tm* converted = std::localtime(&seconds)) local = *converted;
    char text[32] = {};
    std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local);
    return text;
}

}  // namespace

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
