#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Date.h"
#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookConfigEditor.h"
#include "hooks/install/HookFileAccessing.h"
#include "hooks/install/HookInstallRecord.h"

namespace vigilmoth {

// Installs and removes the hooks in the agents' own files. Every file is backed up before it
// changes, read again just before writing so that a concurrent edit is never overwritten, and
// each install leaves a record from which removal restores the file byte for byte.
class HookInstaller {
public:
    struct Folders {
        std::string home;
        // The folder the hook executable's path suffix is appended to in every command.
        std::string appPath;
        // vigilmoth's own files: install records and the agents' hook state files.
        std::string applicationSupport;
    };

    HookInstaller(Folders folders, std::function<Date()> now, HookFileAccessing& files);

    HookStatus status(const HookCatalogEntry& entry);
    // Both throw HookInstallError and leave the settings file as it was when they do.
    void install(const HookCatalogEntry& entry);
    void uninstall(const HookCatalogEntry& entry);
    // Rewrites an installed plugin script of an earlier version with the current text.
    void updateOwnFiles(const HookCatalogEntry& entry);

    // The settings file, and how it is named to the user.
    std::string configFile(const HookCatalogEntry& entry) const;
    static std::string shownPath(const HookCatalogEntry& entry);

    std::string recordPath(const HookCatalogEntry& entry) const;
    std::optional<HookInstallRecord> record(const HookCatalogEntry& entry);

    // A free name beside the file, stamped with the local time and numbered within a second.
    std::string backupURL(const std::string& file);
    // Keeps the newest three backups of the file.
    void pruneBackups(const std::string& file);

private:
    bool isSetUp(const HookCatalogEntry& entry);
    void installScript(const HookCatalogEntry& entry, const FileContents& before);
    // Returns the backup made, if any.
    std::optional<std::string> write(const std::string& bytes, const std::string& path,
                                     const FileContents& replacing, bool backup);
    void remove(const std::string& path, const FileContents& holding);
    void save(const HookInstallRecord& record, const HookCatalogEntry& entry);
    void forgetRecord(const HookCatalogEntry& entry);
    void removeStateFiles(const HookCatalogEntry& entry);

    Folders folders_;
    std::function<Date()> now_;
    HookFileAccessing& files_;
};

}  // namespace vigilmoth
