#include "hooks/install/SystemHookFileAccess.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace vigilmoth {

namespace fs = std::filesystem;

FileContents SystemHookFileAccess::read(const std::string& path) {
    std::error_code error;
    auto status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) return FileContents::missing();
    if (error || status.type() == fs::file_type::directory) return FileContents::failed();
    std::ifstream stream(path, std::ios::binary);
    if (!stream) return FileContents::failed();
    std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (stream.bad()) return FileContents::failed();
    return FileContents::read(std::move(bytes));
}

bool SystemHookFileAccess::isDirectory(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

std::string SystemHookFileAccess::resolved(const std::string& path) {
    std::error_code error;
    auto canonical = fs::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

bool SystemHookFileAccess::isWritable(const std::string& path) {
    // Opening for appending asks the system itself, which knows about owners, groups and
    // privileges, and changes nothing as long as nothing is written.
    std::ofstream stream(path, std::ios::binary | std::ios::app);
    return stream.is_open();
}

bool SystemHookFileAccess::write(const std::string& path, const std::string& bytes) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    if (!stream) return false;
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    return !stream.fail();
}

bool SystemHookFileAccess::remove(const std::string& path) {
    std::error_code error;
    return fs::remove(path, error) && !error;
}

bool SystemHookFileAccess::createDirectories(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    return !error && fs::is_directory(path, error);
}

std::optional<unsigned> SystemHookFileAccess::permissions(const std::string& path) {
    std::error_code error;
    auto status = fs::status(path, error);
    if (error || !fs::exists(status)) return std::nullopt;
    return static_cast<unsigned>(status.permissions());
}

void SystemHookFileAccess::setPermissions(const std::string& path, unsigned permissions) {
    std::error_code error;
    fs::permissions(path, static_cast<fs::perms>(permissions), fs::perm_options::replace, error);
}

std::vector<std::string> SystemHookFileAccess::list(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        names.push_back(it->path().filename().string());
    }
    return names;
}

}  // namespace vigilmoth
