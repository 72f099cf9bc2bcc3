// The privileged helper: a launch daemon that sets the system's "SleepDisabled" setting for
// vigilmoth, and clears it when vigilmoth's heartbeats stop, so that a crashed application
// cannot leave the Mac unable to sleep.
#import <Foundation/Foundation.h>

#include <spawn.h>
#include <sys/wait.h>

#import "helper/SleepFlagHelperProtocol.h"

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

@interface SleepFlagHelper : NSObject <SleepFlagHelperProtocol, NSXPCListenerDelegate>
@property(nonatomic) BOOL sleepDisabled;
@property(nonatomic) dispatch_queue_t queue;
@property(nonatomic, nullable) dispatch_source_t watchdog;
@end

@implementation SleepFlagHelper

- (instancetype)init {
    if ((self = [super init])) {
        _queue = dispatch_queue_create("com.vigilmoth.app.helper", DISPATCH_QUEUE_SERIAL);
    }
    return self;
}

- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection {
    // Only vigilmoth itself, signed by the same team, may talk to the helper.
    [connection setCodeSigningRequirement:@"identifier \"com.vigilmoth.app\" and anchor apple "
                                          @"generic"];
    connection.exportedInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(SleepFlagHelperProtocol)];
    connection.exportedObject = self;
    [connection resume];
    return YES;
}

- (void)armWatchdog {
    if (self.watchdog) dispatch_source_cancel(self.watchdog);
    self.watchdog = nil;
    if (!self.sleepDisabled) return;
    dispatch_source_t timer = dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, self.queue);
    dispatch_source_set_timer(
        timer, dispatch_time(DISPATCH_TIME_NOW, kHeartbeatTimeoutSeconds * NSEC_PER_SEC),
        DISPATCH_TIME_FOREVER, NSEC_PER_SEC);
    __weak SleepFlagHelper* weakSelf = self;
    dispatch_source_set_event_handler(timer, ^{
      SleepFlagHelper* helper = weakSelf;
      if (!helper) return;
      setDisableSleep(false);
      helper.sleepDisabled = NO;
      [helper armWatchdog];
    });
    dispatch_resume(timer);
    self.watchdog = timer;
}

- (void)setSleepDisabled:(BOOL)disabled reply:(void (^)(NSString* _Nullable))reply {
    dispatch_async(self.queue, ^{
      if (!setDisableSleep(disabled)) {
          reply(@"pmset could not change disablesleep");
          return;
      }
      self.sleepDisabled = disabled;
      [self armWatchdog];
      reply(nil);
    });
}

- (void)heartbeatWithReply:(void (^)(void))reply {
    dispatch_async(self.queue, ^{
      [self armWatchdog];
      reply();
    });
}

- (void)statusWithReply:(void (^)(BOOL, NSString*, NSString*))reply {
    dispatch_async(self.queue, ^{
      reply(self.sleepDisabled, @"vigilmoth", @VIGILMOTH_VERSION);
    });
}

- (void)retireWithReply:(void (^)(void))reply {
    dispatch_async(self.queue, ^{
      if (self.sleepDisabled) setDisableSleep(false);
      self.sleepDisabled = NO;
      reply();
      // launchd starts the registered helper again on the next connection.
      dispatch_after(dispatch_time(DISPATCH_TIME_NOW, NSEC_PER_SEC), self.queue, ^{
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
        [[NSRunLoop mainRunLoop] run];
    }
    return 0;
}
