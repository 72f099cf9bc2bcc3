// Stand-in for <dispatch/dispatch.h>: only what vigilmoth calls, written from Apple's documentation
// of Dispatch. Each comment names the title of the page the declaration follows. Compiled as
// Objective-C, dispatch objects are Objective-C objects (managed by hand in vigilmoth, which does
// not use ARC); in C++ every dispatch object converts to dispatch_object_t, so the object types
// derive from one base. The values behind the macros, which the pages leave out, matter only to a
// real build.
#pragma once

#include <stdint.h>

#if defined(__OBJC__)
#import <Foundation/NSObject.h>

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
// dispatch_queue_attr_t
typedef NSObject<OS_dispatch_object>* dispatch_queue_attr_t;
// dispatch_source_t
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
// dispatch_semaphore_t
typedef NSObject<OS_dispatch_semaphore>* dispatch_semaphore_t;
#else
struct dispatch_object_s {};
struct dispatch_queue_s : dispatch_object_s {};
struct dispatch_source_s : dispatch_object_s {};
struct dispatch_queue_attr_s : dispatch_object_s {};
struct dispatch_semaphore_s : dispatch_object_s {};

// dispatch_object_t
typedef dispatch_object_s* dispatch_object_t;
// dispatch_queue_t
typedef dispatch_queue_s* dispatch_queue_t;
// dispatch_queue_attr_t
typedef dispatch_queue_attr_s* dispatch_queue_attr_t;
// dispatch_source_t
typedef dispatch_source_s* dispatch_source_t;
// dispatch_semaphore_t
typedef dispatch_semaphore_s* dispatch_semaphore_t;
#endif

// dispatch_queue_main_t (a serial queue bound to the main thread)
typedef dispatch_queue_t dispatch_queue_main_t;
// dispatch_source_type_t
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
// dispatch_function_t
typedef void (*dispatch_function_t)(void*);
// dispatch_time_t
typedef uint64_t dispatch_time_t;
// dispatch_source_vnode_flags_t
typedef unsigned long dispatch_source_vnode_flags_t;
#if defined(__BLOCKS__)
// dispatch_block_t
typedef void (^dispatch_block_t)(void);
#endif

// DISPATCH_TIME_NOW
#define DISPATCH_TIME_NOW (0ull)
// DISPATCH_TIME_FOREVER
#define DISPATCH_TIME_FOREVER (~0ull)
// NSEC_PER_SEC
#define NSEC_PER_SEC 1000000000ull
// DISPATCH_QUEUE_SERIAL
#define DISPATCH_QUEUE_SERIAL nullptr

// DISPATCH_PROC_EXIT
#define DISPATCH_PROC_EXIT 0x80000000ul

// dispatch_qos_class_t (qos_class_t)
typedef unsigned int dispatch_qos_class_t;
// QOS_CLASS_UTILITY
#define QOS_CLASS_UTILITY 0x11u

// DISPATCH_VNODE_DELETE
#define DISPATCH_VNODE_DELETE 0x1ul
// DISPATCH_VNODE_WRITE
#define DISPATCH_VNODE_WRITE 0x2ul
// DISPATCH_VNODE_EXTEND
#define DISPATCH_VNODE_EXTEND 0x4ul
// DISPATCH_VNODE_RENAME
#define DISPATCH_VNODE_RENAME 0x20ul

extern "C" {

// The source types are the addresses of objects that the library defines; these names stand in.
extern const struct dispatch_source_type_s vigilmoth_dispatch_source_type_timer;
extern const struct dispatch_source_type_s vigilmoth_dispatch_source_type_vnode;
extern const struct dispatch_source_type_s vigilmoth_dispatch_source_type_proc;
// DISPATCH_SOURCE_TYPE_TIMER
#define DISPATCH_SOURCE_TYPE_TIMER (&vigilmoth_dispatch_source_type_timer)
// DISPATCH_SOURCE_TYPE_VNODE
#define DISPATCH_SOURCE_TYPE_VNODE (&vigilmoth_dispatch_source_type_vnode)
// DISPATCH_SOURCE_TYPE_PROC
#define DISPATCH_SOURCE_TYPE_PROC (&vigilmoth_dispatch_source_type_proc)

// dispatch_get_main_queue
dispatch_queue_main_t dispatch_get_main_queue(void);
// dispatch_queue_create
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr);
// dispatch_queue_attr_make_with_qos_class
dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(dispatch_queue_attr_t attr,
                                                              dispatch_qos_class_t qos_class,
                                                              int relative_priority);
// dispatch_async_f
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
// dispatch_time
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
// dispatchMain() (dispatch_main)
[[noreturn]] void dispatch_main(void);
// dispatch_retain
void dispatch_retain(dispatch_object_t object);
// dispatch_release
void dispatch_release(dispatch_object_t object);
// dispatch_resume
void dispatch_resume(dispatch_object_t object);
// dispatch_set_context
void dispatch_set_context(dispatch_object_t object, void* context);

// init(value:) (dispatch_semaphore_create)
dispatch_semaphore_t dispatch_semaphore_create(intptr_t value);
// dispatch_semaphore_signal
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t dsema);
// dispatch_semaphore_wait
intptr_t dispatch_semaphore_wait(dispatch_semaphore_t dsema, dispatch_time_t timeout);

// dispatch_source_create
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         uintptr_t mask, dispatch_queue_t queue);
// dispatch_source_set_event_handler_f
void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler);
// dispatch_source_set_cancel_handler_f
void dispatch_source_set_cancel_handler_f(dispatch_source_t source, dispatch_function_t handler);
// dispatch_source_cancel
void dispatch_source_cancel(dispatch_source_t source);
// dispatch_source_get_data
uintptr_t dispatch_source_get_data(dispatch_source_t source);
// dispatch_source_set_timer
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t leeway);

#if defined(__BLOCKS__)
// dispatch_async
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
// dispatch_after
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
// dispatch_source_set_event_handler
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
#endif

}  // extern "C"
