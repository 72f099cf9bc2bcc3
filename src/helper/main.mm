// The privileged helper: a launch daemon that sets the system's "SleepDisabled" setting for
// vigilmoth, and clears it when vigilmoth's heartbeats stop, so that a crashed application
// cannot leave the Mac unable to sleep.
#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>
#include <spawn.h>
#include <sys/wait.h>

#import "platform/macos/SleepFlagHelperProtocol.h"

extern char** environ;

namespace {

// Three missed heartbeats (one every 15 seconds) clear the flag.
constexpr int64_t kHeartbeatTimeoutSeconds = 45;

// Runs "pmset -a disablesleep 0|1"; true when it succeeded.
bool setDisableSleep(bool disabled) {
    const char* arguments[] = {"/usr/bin/pmset", "-a", "disablesleep", disabled ? "1" : "0",
                               nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, arguments[0], nullptr, nullptr, const_cast<char**>(arguments), environ) !=
        0) {
        return false;
    }
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

// Instance variables, not synthesized properties: the macOS check compiles with GCC's
// Objective-C runtime, which does not synthesize them.
@interface SleepFlagHelper : NSObject <SleepFlagHelperProtocol, NSXPCListenerDelegate> {
    // Read and written on `_queue` only.
    BOOL _sleepDisabled;
    // The helper's one serial queue, and the watchdog timer on it; both live as long as the
    // helper.
    dispatch_queue_t _queue;
    dispatch_source_t _watchdog;
}
@end

@implementation SleepFlagHelper

- (instancetype)init {
    if ((self = [super init])) {
        _queue = dispatch_queue_create("com.vigilmoth.app.helper", DISPATCH_QUEUE_SERIAL);
        // One timer, moved on by every heartbeat, so that no timer is left behind; it fires
        // only while the flag is set and the heartbeats have stopped.
        _watchdog = dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, _queue);
        dispatch_source_set_timer(_watchdog, DISPATCH_TIME_FOREVER, DISPATCH_TIME_FOREVER,
                                  NSEC_PER_SEC);
        dispatch_source_set_event_handler(_watchdog, ^{
          if (!_sleepDisabled) return;
          setDisableSleep(false);
          _sleepDisabled = NO;
        });
        dispatch_resume(_watchdog);
    }
    return self;
}

- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection {
    (void)listener;
    // Only a program signed with vigilmoth's identifier and an Apple-issued certificate may talk
    // to the helper.
    [connection setCodeSigningRequirement:@"identifier \"com.vigilmoth.app\" and anchor apple "
                                          @"generic"];
    connection.exportedInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(SleepFlagHelperProtocol)];
    connection.exportedObject = self;
    [connection resume];
    return YES;
}

// Called on the queue: restarts the wait for the next heartbeat while the flag is set.
- (void)armWatchdog {
    const dispatch_time_t deadline =
        _sleepDisabled
            ? dispatch_time(DISPATCH_TIME_NOW,
                            static_cast<int64_t>(kHeartbeatTimeoutSeconds * NSEC_PER_SEC))
            : DISPATCH_TIME_FOREVER;
    dispatch_source_set_timer(_watchdog, deadline, DISPATCH_TIME_FOREVER, NSEC_PER_SEC);
}

- (void)setSleepDisabled:(BOOL)disabled reply:(void (^)(NSString* _Nullable))reply {
    dispatch_async(_queue, ^{
      if (!setDisableSleep(disabled)) {
          reply(@"pmset could not change disablesleep");
          return;
      }
      _sleepDisabled = disabled;
      [self armWatchdog];
      reply(nil);
    });
}

- (void)heartbeatWithReply:(void (^)(void))reply {
    dispatch_async(_queue, ^{
      [self armWatchdog];
      reply();
    });
}

- (void)statusWithReply:(void (^)(BOOL, NSString*, NSString*))reply {
    dispatch_async(_queue, ^{
      reply(_sleepDisabled, @"vigilmoth", @VIGILMOTH_VERSION);
    });
}

- (void)retireWithReply:(void (^)(void))reply {
    dispatch_async(_queue, ^{
      if (_sleepDisabled) setDisableSleep(false);
      _sleepDisabled = NO;
      reply();
      // launchd starts the registered helper again on the next connection.
      dispatch_after(dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(NSEC_PER_SEC)), _queue,
                     ^{
                       exit(0);
                     });
    });
}

@end

int main() {
    @autoreleasepool {
        SleepFlagHelper* helper = [[SleepFlagHelper alloc] init];
        NSXPCListener* listener =
            [[NSXPCListener alloc] initWithMachServiceName:VIGILMOTH_HELPER_SERVICE];
        listener.delegate = helper;
        [listener resume];
        // The listener and the helper's queue run on dispatch, not on a run loop, which would
        // return at once without input sources of its own; this serves them for ever.
        dispatch_main();
    }
}
