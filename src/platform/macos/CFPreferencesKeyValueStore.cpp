#include "platform/macos/CFPreferencesKeyValueStore.h"

#include "platform/macos/CFReference.h"

namespace vigilmoth {
namespace {

// Property lists and JSON share their shapes; a date or data value has no JSON form and is
// read as absent.
std::optional<nlohmann::json> toJSON(CFPropertyListRef value) {
    CFTypeID type = CFGetTypeID(value);
    // Boolean is an unsigned char, which JSON would take for a number.
    if (type == CFBooleanGetTypeID())
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    if (type == CFNumberGetTypeID()) {
        auto number = static_cast<CFNumberRef>(value);
        if (!CFNumberIsFloatType(number)) {
            long long integer = 0;
            CFNumberGetValue(number, kCFNumberLongLongType, &integer);
            return integer;
        }
        double real = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &real);
        return real;
    }
    if (type == CFStringGetTypeID()) return fromString(static_cast<CFStringRef>(value));
    if (type == CFArrayGetTypeID()) {
        auto array = static_cast<CFArrayRef>(value);
        nlohmann::json result = nlohmann::json::array();
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
            if (auto element = toJSON(CFArrayGetValueAtIndex(array, i))) result.push_back(*element);
        }
        return result;
    }
    if (type == CFDictionaryGetTypeID()) {
        auto dictionary = static_cast<CFDictionaryRef>(value);
        CFIndex count = CFDictionaryGetCount(dictionary);
        std::vector<const void*> keys(static_cast<size_t>(count)),
            values(static_cast<size_t>(count));
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        nlohmann::json result = nlohmann::json::object();
        for (CFIndex i = 0; i < count; ++i) {
            if (CFGetTypeID(keys[i]) != CFStringGetTypeID()) continue;
            if (auto element = toJSON(values[i])) {
                result[fromString(static_cast<CFStringRef>(keys[i]))] = *element;
            }
        }
        return result;
    }
    return std::nullopt;
}

CFReference<CFPropertyListRef> toPropertyList(const nlohmann::json& value) {
    using Result = CFReference<CFPropertyListRef>;
    switch (value.type()) {
        case nlohmann::json::value_t::boolean:
            return Result(CFRetain(value.get<bool>() ? kCFBooleanTrue : kCFBooleanFalse));
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned: {
            long long integer = value.get<long long>();
            return Result(CFNumberCreate(kCFAllocatorDefault, kCFNumberLongLongType, &integer));
        }
        case nlohmann::json::value_t::number_float: {
            double real = value.get<double>();
            return Result(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &real));
        }
        case nlohmann::json::value_t::string: {
            auto string = makeString(value.get<std::string>());
            return Result(string ? CFRetain(string.get()) : nullptr);
        }
        case nlohmann::json::value_t::array: {
            CFReference<CFMutableArrayRef> array(
                CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
            for (const auto& element : value) {
                if (auto item = toPropertyList(element))
                    CFArrayAppendValue(array.get(), item.get());
            }
            return Result(CFRetain(array.get()));
        }
        case nlohmann::json::value_t::object: {
            CFReference<CFMutableDictionaryRef> dictionary(
                CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                          &kCFTypeDictionaryValueCallBacks));
            for (const auto& [key, element] : value.items()) {
                auto name = makeString(key);
                auto item = toPropertyList(element);
                if (name && item) CFDictionarySetValue(dictionary.get(), name.get(), item.get());
            }
            return Result(CFRetain(dictionary.get()));
        }
        default:
            return Result();
    }
}

}  // namespace

std::optional<nlohmann::json> CFPreferencesKeyValueStore::value(const std::string& key) const {
    auto name = makeString(key);
    if (!name) return std::nullopt;
    CFReference<CFPropertyListRef> stored(
        CFPreferencesCopyAppValue(name.get(), kCFPreferencesCurrentApplication));
    if (!stored) return std::nullopt;
    return toJSON(stored.get());
}

void CFPreferencesKeyValueStore::set(const std::string& key, const nlohmann::json& value) {
    auto name = makeString(key);
    auto stored = toPropertyList(value);
    if (!name || !stored) return;
    CFPreferencesSetAppValue(name.get(), stored.get(), kCFPreferencesCurrentApplication);
    CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication);
}

void CFPreferencesKeyValueStore::remove(const std::string& key) {
    auto name = makeString(key);
    if (!name) return;
    CFPreferencesSetAppValue(name.get(), nullptr, kCFPreferencesCurrentApplication);
    CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication);
}

}  // namespace vigilmoth
