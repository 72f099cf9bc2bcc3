#include "platform/linux/FileKeyValueStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/Log.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileIO.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth {
namespace {

const Logger& logger() {
    static const Logger log("KeyValueStore");
    return log;
}

std::optional<std::string> readWhole(const std::string& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) return std::nullopt;
    return readAll(file.get());
}

// A missing or damaged file reads as an empty store rather than failing every setting.
nlohmann::json readObject(const std::string& path) {
    auto contents = readWhole(path);
    if (!contents) return nlohmann::json::object();
    auto parsed = nlohmann::json::parse(*contents, nullptr, false);
    if (parsed.is_discarded() || !parsed.is_object()) {
        logger().error("ignored unreadable settings file " + path);
        return nlohmann::json::object();
    }
    return parsed;
}

bool replaceAtomically(const std::string& path, const std::string& bytes) {
    std::string temporary = path + ".tmp." + std::to_string(::getpid());
    FileDescriptor file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file) return false;
    bool written = writeAll(file.get(), bytes) && ::fsync(file.get()) == 0;
    file.reset();
    if (!written || ::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace

FileKeyValueStore::FileKeyValueStore(std::string path) : path_(std::move(path)) {}

std::string FileKeyValueStore::defaultPath() {
    return WellKnownPaths::configuration(systemPathEnvironment()) + "/defaults.json";
}

std::optional<nlohmann::json> FileKeyValueStore::value(const std::string& key) const {
    std::lock_guard lock(mutex_);
    nlohmann::json object = readObject(path_);
    auto found = object.find(key);
    if (found == object.end()) return std::nullopt;
    return *found;
}

void FileKeyValueStore::set(const std::string& key, const nlohmann::json& value) {
    change(key, value);
}

void FileKeyValueStore::remove(const std::string& key) {
    change(key, std::nullopt);
}

void FileKeyValueStore::change(const std::string& key, const std::optional<nlohmann::json>& value) {
    std::lock_guard lock(mutex_);
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), ignored);
    // The lock lives in its own file: the data file is replaced by rename and so cannot hold it.
    std::string lockPath = path_ + ".lock";
    FileDescriptor lockFile(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lockFile || ::flock(lockFile.get(), LOCK_EX) != 0) {
        logger().error("could not lock " + lockPath + ": " + std::strerror(errno));
        return;
    }
    nlohmann::json object = readObject(path_);
    if (value) {
        object[key] = *value;
    } else if (!object.contains(key)) {
        return;
    } else {
        object.erase(key);
    }
    if (!replaceAtomically(
            path_, object.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n")) {
        logger().error("could not write " + path_ + ": " + std::strerror(errno));
    }
}

}  // namespace vigilmoth
