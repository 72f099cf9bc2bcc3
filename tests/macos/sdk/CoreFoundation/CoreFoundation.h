// Stand-in for Core Foundation: only what vigilmoth calls, written from Apple's documentation.
// Each comment names the title of the Apple documentation page the declaration follows.
#pragma once

#include <stdint.h>

extern "C" {

// Boolean
typedef unsigned char Boolean;
// UInt8
typedef unsigned char UInt8;
// UInt32
typedef unsigned int UInt32;
// CFIndex
typedef signed long CFIndex;
// CFTypeID
typedef unsigned long CFTypeID;
// CFTypeRef
typedef const void* CFTypeRef;
// CFPropertyListRef
typedef CFTypeRef CFPropertyListRef;
// CFAllocatorRef
typedef const struct __CFAllocator* CFAllocatorRef;
// CFStringRef
typedef const struct __CFString* CFStringRef;
// CFArrayRef
typedef const struct __CFArray* CFArrayRef;
// CFMutableArrayRef
typedef struct __CFArray* CFMutableArrayRef;
// CFDictionaryRef
typedef const struct __CFDictionary* CFDictionaryRef;
// CFMutableDictionaryRef
typedef struct __CFDictionary* CFMutableDictionaryRef;
// CFNumberRef
typedef const struct __CFNumber* CFNumberRef;
// CFBooleanRef
typedef const struct __CFBoolean* CFBooleanRef;

// CFStringEncoding
typedef UInt32 CFStringEncoding;
// CFStringBuiltInEncodings.utf8
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };
// CFNumberType
typedef CFIndex CFNumberType;
// CFNumberType.intType, CFNumberType.longLongType, CFNumberType.doubleType
enum : CFNumberType { kCFNumberIntType = 9, kCFNumberLongLongType = 11, kCFNumberDoubleType = 13 };

// CFArrayCallBacks
struct CFArrayCallBacks {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value);
    Boolean (*equal)(const void* value1, const void* value2);
};
// CFDictionaryKeyCallBacks
struct CFDictionaryKeyCallBacks {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value);
    Boolean (*equal)(const void* value1, const void* value2);
    CFIndex (*hash)(const void* value);
};
// CFDictionaryValueCallBacks
struct CFDictionaryValueCallBacks {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value);
    Boolean (*equal)(const void* value1, const void* value2);
};

// kCFAllocatorDefault
extern const CFAllocatorRef kCFAllocatorDefault;
// kCFBooleanTrue
extern const CFBooleanRef kCFBooleanTrue;
// kCFBooleanFalse
extern const CFBooleanRef kCFBooleanFalse;
// kCFTypeArrayCallBacks
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
// kCFTypeDictionaryKeyCallBacks
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
// kCFTypeDictionaryValueCallBacks
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
// kCFPreferencesCurrentApplication
extern const CFStringRef kCFPreferencesCurrentApplication;

// CFSTR(_:) (like Apple's, it takes a string literal only)
#define CFSTR(cStr) (reinterpret_cast<CFStringRef>("" cStr ""))

// CFGetTypeID(_:)
CFTypeID CFGetTypeID(CFTypeRef cf);
// CFRetain(_:)
CFTypeRef CFRetain(CFTypeRef cf);
// CFRelease(_:)
void CFRelease(CFTypeRef cf);

// CFStringCreateWithBytes(_:_:_:_:_:)
CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
// CFStringGetTypeID()
CFTypeID CFStringGetTypeID(void);
// CFStringGetLength(_:)
CFIndex CFStringGetLength(CFStringRef theString);
// CFStringGetMaximumSizeForEncoding(_:_:)
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
// CFStringGetCString(_:_:_:_:)
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);

// CFBooleanGetTypeID()
CFTypeID CFBooleanGetTypeID(void);
// CFBooleanGetValue(_:)
Boolean CFBooleanGetValue(CFBooleanRef boolean);

// CFNumberGetTypeID()
CFTypeID CFNumberGetTypeID(void);
// CFNumberCreate(_:_:_:)
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType theType, const void* valuePtr);
// CFNumberIsFloatType(_:)
Boolean CFNumberIsFloatType(CFNumberRef number);
// CFNumberGetValue(_:_:_:)
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);

// CFArrayGetTypeID()
CFTypeID CFArrayGetTypeID(void);
// CFArrayCreateMutable(_:_:_:)
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks);
// CFArrayGetCount(_:)
CFIndex CFArrayGetCount(CFArrayRef theArray);
// CFArrayGetValueAtIndex(_:_:)
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
// CFArrayAppendValue(_:_:)
void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value);

// CFDictionaryGetTypeID()
CFTypeID CFDictionaryGetTypeID(void);
// CFDictionaryCreate(_:_:_:_:_:_:)
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);
// CFDictionaryCreateMutable(_:_:_:_:)
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
// CFDictionaryGetCount(_:)
CFIndex CFDictionaryGetCount(CFDictionaryRef theDict);
// CFDictionaryGetValue(_:_:)
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);
// CFDictionaryGetKeysAndValues(_:_:_:)
void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values);
// CFDictionarySetValue(_:_:_:)
void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value);

// CFPreferencesCopyAppValue(_:_:)
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID);
// CFPreferencesSetAppValue(_:_:_:)
void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID);
// CFPreferencesAppSynchronize(_:)
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);

}  // extern "C"
