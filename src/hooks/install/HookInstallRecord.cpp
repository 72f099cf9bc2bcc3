#include "hooks/install/HookInstallRecord.h"

#include <array>

namespace vigilmoth {
namespace {

using nlohmann::json;

// Bytes are kept as base64 text, the usual JSON form of binary data.
constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t chunk = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            auto byte = j < count ? static_cast<unsigned char>(bytes[i + j]) : 0u;
            chunk = (chunk << 8) | byte;
        }
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= count ? kBase64[(chunk >> (18 - 6 * j)) & 63u] : '=';
        }
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::string bytes;
    std::uint32_t chunk = 0;
    int bits = 0;
    std::size_t padding = 0;
    for (char c : text) {
        if (c == '=') {
            ++padding;
            continue;
        }
        auto value = kBase64.find(c);
        if (value == std::string_view::npos || padding > 0) return std::nullopt;
        chunk = (chunk << 6) | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>((chunk >> bits) & 0xFFu);
        }
    }
    if (padding > 2) return std::nullopt;
    return bytes;
}

std::optional<JSONKeyPath> keyPath(const json& value) {
    if (!value.is_array()) return std::nullopt;
    JSONKeyPath path;
    for (const auto& key : value) {
        if (!key.is_string()) return std::nullopt;
        path.push_back(key.get<std::string>());
    }
    return path;
}

std::optional<std::string> bytesAt(const json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end() || !found->is_string()) return std::nullopt;
    return fromBase64(found->get<std::string>());
}

std::optional<std::vector<HookInstallRecord::Interior>> decodeInteriors(const json& value) {
    if (!value.is_array()) return std::nullopt;
    std::vector<HookInstallRecord::Interior> result;
    for (const auto& item : value) {
        if (!item.is_object()) continue;
        auto path = keyPath(item.value("path", json()));
        auto bytes = bytesAt(item, "bytes");
        if (path && bytes) result.push_back({*path, *bytes});
    }
    return result;
}

}  // namespace

HookInstallRecord HookInstallRecord::fromJSON(const json& value) {
    HookInstallRecord record;
    if (!value.is_object()) return record;
    if (auto found = value.find("emptyBefore"); found != value.end() && found->is_array()) {
        for (const auto& item : *found) {
            if (auto path = keyPath(item)) record.emptyBefore.insert(*path);
        }
    }
    if (auto found = value.find("createdFile"); found != value.end() && found->is_boolean()) {
        record.createdFile = found->get<bool>();
    }
    if (auto found = value.find("addedVersion"); found != value.end() && found->is_boolean()) {
        record.addedVersion = found->get<bool>();
    }
    record.blankBefore = bytesAt(value, "blankBefore");
    if (auto found = value.find("interiors"); found != value.end()) {
        record.interiors = decodeInteriors(*found);
    }
    if (auto found = value.find("backups"); found != value.end() && found->is_array()) {
        record.backups.emplace();
        for (const auto& item : *found) {
            if (item.is_string()) record.backups->push_back(item.get<std::string>());
        }
    }
    return record;
}

json HookInstallRecord::toJSON() const {
    json value = {{"emptyBefore", json::array()}, {"createdFile", createdFile}};
    for (const auto& path : emptyBefore)
        value["emptyBefore"].push_back(path);
    if (addedVersion) value["addedVersion"] = *addedVersion;
    if (blankBefore) value["blankBefore"] = base64(*blankBefore);
    if (interiors) {
        value["interiors"] = json::array();
        for (const auto& interior : *interiors) {
            value["interiors"].push_back(
                {{"path", interior.path}, {"bytes", base64(interior.bytes)}});
        }
    }
    if (backups) value["backups"] = *backups;
    return value;
}

}  // namespace vigilmoth
