// Stand-in for <dispatch/dispatch.h>: only what vigilmoth calls, written from Apple's documentation
// of Dispatch. Each comment names the title of the page the declaration follows. In C++ every
// dispatch object converts to dispatch_object_t, so the object types here derive from one base
// (in Objective-C they are objects instead); the values behind the macros, which the pages leave
// out, matter only to a real build.
#pragma once

#include <stdint.h>

struct dispatch_object_s {};
struct dispatch_queue_s : dispatch_object_s {};
struct dispatch_source_s : dispatch_object_s {};
struct dispatch_queue_attr_s : dispatch_object_s {};
struct dispatch_source_type_s {};

extern "C" {

// dispatch_object_t
typedef dispatch_object_s* dispatch_object_t;
// dispatch_queue_t
typedef dispatch_queue_s* dispatch_queue_t;
// dispatch_source_t
typedef dispatch_source_s* dispatch_source_t;
// dispatch_queue_attr_t
typedef dispatch_queue_attr_s* dispatch_queue_attr_t;
// dispatch_source_type_t
typedef const dispatch_source_type_s* dispatch_source_type_t;
// dispatch_function_t
typedef void (*dispatch_function_t)(void*);
// dispatch_time_t
typedef uint64_t dispatch_time_t;
// dispatch_source_vnode_flags_t
typedef unsigned long dispatch_source_vnode_flags_t;

// DISPATCH_TIME_NOW
#define DISPATCH_TIME_NOW (0ull)
// DISPATCH_QUEUE_SERIAL
#define DISPATCH_QUEUE_SERIAL ((dispatch_queue_attr_t) nullptr)

// The source types are the addresses of objects that the library defines; these names stand in.
extern const dispatch_source_type_s vigilmoth_dispatch_source_type_timer;
extern const dispatch_source_type_s vigilmoth_dispatch_source_type_vnode;
// DISPATCH_SOURCE_TYPE_TIMER
#define DISPATCH_SOURCE_TYPE_TIMER (&vigilmoth_dispatch_source_type_timer)
// DISPATCH_SOURCE_TYPE_VNODE
#define DISPATCH_SOURCE_TYPE_VNODE (&vigilmoth_dispatch_source_type_vnode)

// DISPATCH_VNODE_DELETE
#define DISPATCH_VNODE_DELETE 0x1ul
// DISPATCH_VNODE_WRITE
#define DISPATCH_VNODE_WRITE 0x2ul
// DISPATCH_VNODE_EXTEND
#define DISPATCH_VNODE_EXTEND 0x4ul
// DISPATCH_VNODE_RENAME
#define DISPATCH_VNODE_RENAME 0x20ul

// dispatch_queue_create
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr);
// dispatch_async_f
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
// dispatch_retain
void dispatch_retain(dispatch_object_t object);
// dispatch_release
void dispatch_release(dispatch_object_t object);
// dispatch_resume
void dispatch_resume(dispatch_object_t object);
// dispatch_set_context
void dispatch_set_context(dispatch_object_t object, void* context);
// dispatch_time
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

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

}  // extern "C"
