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

// A missing or damaged file reads as an empty store rather than failing every setting.
nlohmann::json parseObject(const std::string& path, const std::optional<std::string>& contents) {
    if (!contents) return nlohmann::json::object();
    auto parsed = nlohmann::json::parse(*contents, nullptr, false);
    if (parsed.is_discarded() || !parsed.is_object()) {
        logger().error("ignored unreadable settings file " + path);
        return nlohmann::json::object();
    }
    return parsed;
}

nlohmann::json readObject(const std::string& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return parseObject(path, file ? readAll(file.get()) : std::nullopt);
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

bool FileKeyValueStore::Stamp::operator==(const Stamp& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

const nlohmann::json& FileKeyValueStore::current() const {
    // The stamp and the contents come from the same open file, so a replacement between the
    // two cannot pair the new contents with the old stamp.
    FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    std::optional<Stamp> stamp;
    struct stat status {};
    if (file && ::fstat(file.get(), &status) == 0) {
        stamp = Stamp{.device = status.st_dev,
                      .inode = status.st_ino,
                      .size = status.st_size,
                      .modified = status.st_mtim};
    }
    if (readStamp_ && *readStamp_ == stamp) return contents_;
    contents_ = parseObject(path_, file ? readAll(file.get()) : std::nullopt);
    readStamp_ = stamp;
    return contents_;
}

std::optional<nlohmann::json> FileKeyValueStore::value(const std::string& key) const {
    std::lock_guard lock(mutex_);
    const nlohmann::json& object = current();
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
    // The next read takes the file as written rather than trusting a stamp taken before.
    readStamp_.reset();
}

}  // namespace vigilmoth
