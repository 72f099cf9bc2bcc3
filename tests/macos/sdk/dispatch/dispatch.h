// Stand-in for <dispatch/dispatch.h>, written from Apple's documentation: the dispatch calls
// vigilmoth's Objective-C++ makes. Compiled as Objective-C, dispatch objects are Objective-C
// objects (managed by hand in vigilmoth, which does not use ARC), as here.
#pragma once

#if !defined(__OBJC__)
#error "vigilmoth uses dispatch from Objective-C++ only"
#endif

#import <Foundation/NSObject.h>
#include <stdint.h>

// OS_dispatch_object, OS_dispatch_queue, OS_dispatch_source, OS_dispatch_semaphore
@protocol OS_dispatch_object <NSObject>
@end
@protocol OS_dispatch_queue <OS_dispatch_object>
@end
@protocol OS_dispatch_source <OS_dispatch_object>
@end
@protocol OS_dispatch_semaphore <OS_dispatch_object>
@end

// dispatch_object_t
typedef NSObject<OS_dispatch_object>* dispatch_object_t;
// dispatch_queue_t
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
// dispatch_queue_main_t (a serial queue bound to the main thread)
typedef dispatch_queue_t dispatch_queue_main_t;
// dispatch_queue_attr_t
typedef NSObject<OS_dispatch_object>* dispatch_queue_attr_t;
// dispatch_source_t
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
// dispatch_semaphore_t
typedef NSObject<OS_dispatch_semaphore>* dispatch_semaphore_t;
// dispatch_source_type_t
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
// dispatch_block_t
typedef void (^dispatch_block_t)(void);
// dispatch_time_t
typedef uint64_t dispatch_time_t;

// DISPATCH_TIME_NOW
#define DISPATCH_TIME_NOW (0ull)
// DISPATCH_TIME_FOREVER
#define DISPATCH_TIME_FOREVER (~0ull)
// NSEC_PER_SEC
#define NSEC_PER_SEC 1000000000ull
// DISPATCH_QUEUE_SERIAL
#define DISPATCH_QUEUE_SERIAL nullptr

extern "C" {

// DISPATCH_SOURCE_TYPE_TIMER
extern const struct dispatch_source_type_s _dispatch_source_type_timer;
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)

// dispatch_get_main_queue
dispatch_queue_main_t dispatch_get_main_queue(void);
// dispatch_queue_create
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr);
// dispatch_async
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
// dispatch_after
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
// dispatch_time
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
// dispatchMain() (dispatch_main)
[[noreturn]] void dispatch_main(void);
// dispatch_release
void dispatch_release(dispatch_object_t object);
// dispatch_resume
void dispatch_resume(dispatch_object_t object);

// init(value:) (dispatch_semaphore_create)
dispatch_semaphore_t dispatch_semaphore_create(intptr_t value);
// dispatch_semaphore_signal
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t dsema);
// dispatch_semaphore_wait
intptr_t dispatch_semaphore_wait(dispatch_semaphore_t dsema, dispatch_time_t timeout);

// dispatch_source_create
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         uintptr_t mask, dispatch_queue_t queue);
// dispatch_source_set_event_handler
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
// dispatch_source_set_timer
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t leeway);

}  // extern "C"
