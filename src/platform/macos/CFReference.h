#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <utility>

namespace vigilmoth {

// The one owner of a Core Foundation reference from a Create or Copy call.
template <class Reference>
class CFReference {
public:
    CFReference() = default;
    explicit CFReference(Reference reference) : reference_(reference) {}
    CFReference(const CFReference&) = delete;
    CFReference& operator=(const CFReference&) = delete;
    CFReference(CFReference&& other) noexcept
        : reference_(std::exchange(other.reference_, nullptr)) {}
    CFReference& operator=(CFReference&& other) noexcept {
        if (this != &other) reset(std::exchange(other.reference_, nullptr));
        return *this;
    }
    ~CFReference() { reset(); }

    Reference get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }
    void reset(Reference reference = nullptr) {
        if (reference_ != nullptr) CFRelease(reference_);
        reference_ = reference;
    }

private:
    Reference reference_ = nullptr;
};

inline CFReference<CFStringRef> makeString(const std::string& text) {
    return CFReference<CFStringRef>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

inline std::string fromString(CFStringRef string) {
    CFIndex length = CFStringGetLength(string);
    CFIndex size = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8) + 1;
    std::string buffer(static_cast<size_t>(size), '\0');
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return {};
    buffer.resize(std::char_traits<char>::length(buffer.c_str()));
    return buffer;
}

}  // namespace vigilmoth
