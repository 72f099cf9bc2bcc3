#include "platform/macos/SleepFlagHelperClient.h"

#import <AppKit/AppKit.h>
#import <ServiceManagement/ServiceManagement.h>

#include <mutex>
#include <vector>

#import "helper/SleepFlagHelperProtocol.h"

namespace vigilmoth {
namespace {

std::string text(NSError* error) {
    return error ? std::string(error.localizedDescription.UTF8String ?: "") : std::string();
}

// The Cocoa error the connection gives when the helper's code-signing requirement is not met.
constexpr NSInteger kCodeSigningRequirementError = 4102;

// A once-only answer box: the first of the reply, the connection's error and the timer wins,
// and runs the caller's reply on the main queue; later answers are dropped.
class OneAnswer {
public:
    using Answer = std::function<void()>;

    void give(Answer answer) {
        {
            std::lock_guard lock(mutex_);
            if (done_) return;
            done_ = true;
        }
        dispatch_async(dispatch_get_main_queue(), ^{
          answer();
        });
    }

private:
    std::mutex mutex_;
    bool done_ = false;
};

HelperCallError callError(NSError* error) {
    if ([error.domain isEqualToString:NSCocoaErrorDomain] &&
        error.code == kCodeSigningRequirementError) {
        return {HelperCallError::Kind::codeSigningRequirement, text(error)};
    }
    return {HelperCallError::Kind::connectionLost, text(error)};
}

}  // namespace

struct XPCSleepFlagHelper::State : std::enable_shared_from_this<State> {
    std::mutex mutex;
    NSXPCConnection* connection = nil;
    // Calls under way, failed together when the connection is lost.
    std::vector<std::pair<std::shared_ptr<OneAnswer>, std::function<void()>>> pending;

    void lost() {
        std::vector<std::pair<std::shared_ptr<OneAnswer>, std::function<void()>>> failing;
        {
            std::lock_guard lock(mutex);
            failing.swap(pending);
            connection = nil;
        }
        for (auto& [answer, fail] : failing)
            answer->give(fail);
    }

    id<SleepFlagHelperProtocol> proxy(std::shared_ptr<OneAnswer> answer,
                                      std::function<void(HelperCallError)> fail) {
        std::lock_guard lock(mutex);
        if (!connection) {
            connection =
                [[NSXPCConnection alloc] initWithMachServiceName:VIGILMOTH_HELPER_SERVICE
                                                         options:NSXPCConnectionPrivileged];
            connection.remoteObjectInterface =
                [NSXPCInterface interfaceWithProtocol:@protocol(SleepFlagHelperProtocol)];
            std::weak_ptr<State> weak = weak_from_this();
            connection.invalidationHandler = ^{
              if (auto state = weak.lock()) state->lost();
            };
            connection.interruptionHandler = ^{
              if (auto state = weak.lock()) state->lost();
            };
            [connection resume];
        }
        pending.emplace_back(answer, [fail] {
            fail({HelperCallError::Kind::connectionLost, "the connection to the helper was lost"});
        });
        dispatch_after(
            dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(kAnswerSeconds * NSEC_PER_SEC)),
            dispatch_get_main_queue(), ^{
              answer->give([fail] {
                  fail({HelperCallError::Kind::timedOut, "the helper did not answer"});
              });
            });
        return [connection remoteObjectProxyWithErrorHandler:^(NSError* error) {
          answer->give([fail, error] { fail(callError(error)); });
        }];
    }
};

XPCSleepFlagHelper::XPCSleepFlagHelper() : state_(std::make_shared<State>()) {}

XPCSleepFlagHelper::~XPCSleepFlagHelper() {
    disconnect();
}

void XPCSleepFlagHelper::setSleepDisabled(bool disabled, Reply reply) {
    auto answer = std::make_shared<OneAnswer>();
    auto proxy = state_->proxy(answer, [reply](HelperCallError error) { reply(error); });
    [proxy setSleepDisabled:disabled
                      reply:^(NSString* error) {
                        std::string message = error ? error.UTF8String : "";
                        answer->give([reply, message] {
                            if (message.empty()) return reply(std::nullopt);
                            reply(HelperCallError{HelperCallError::Kind::failed, message});
                        });
                      }];
}

void XPCSleepFlagHelper::heartbeat(Reply reply) {
    auto answer = std::make_shared<OneAnswer>();
    auto proxy = state_->proxy(answer, [reply](HelperCallError error) { reply(error); });
    [proxy heartbeatWithReply:^{
      answer->give([reply] { reply(std::nullopt); });
    }];
}

void XPCSleepFlagHelper::status(StatusReply reply) {
    auto answer = std::make_shared<OneAnswer>();
    auto proxy =
        state_->proxy(answer, [reply](HelperCallError error) { reply(std::nullopt, error); });
    [proxy statusWithReply:^(BOOL sleepDisabled, NSString* setBy, NSString* version) {
      HelperState state{static_cast<bool>(sleepDisabled), setBy.UTF8String ?: "",
                        version.UTF8String ?: ""};
      answer->give([reply, state] { reply(state, std::nullopt); });
    }];
}

void XPCSleepFlagHelper::retire(Reply reply) {
    auto answer = std::make_shared<OneAnswer>();
    auto proxy = state_->proxy(answer, [reply](HelperCallError error) { reply(error); });
    [proxy retireWithReply:^{
      answer->give([reply] { reply(std::nullopt); });
    }];
}

bool XPCSleepFlagHelper::setSleepDisabledWaiting(bool disabled, double timeoutSeconds) {
    // The main queue is blocked meanwhile, so the answer is taken on the connection's queue.
    dispatch_semaphore_t answered = dispatch_semaphore_create(0);
    __block BOOL confirmed = NO;
    NSXPCConnection* connection =
        [[NSXPCConnection alloc] initWithMachServiceName:VIGILMOTH_HELPER_SERVICE
                                                 options:NSXPCConnectionPrivileged];
    connection.remoteObjectInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(SleepFlagHelperProtocol)];
    [connection resume];
    id<SleepFlagHelperProtocol> proxy = [connection remoteObjectProxyWithErrorHandler:^(NSError*) {
      dispatch_semaphore_signal(answered);
    }];
    [proxy setSleepDisabled:disabled
                      reply:^(NSString* error) {
                        confirmed = error == nil;
                        dispatch_semaphore_signal(answered);
                      }];
    dispatch_semaphore_wait(
        answered,
        dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(timeoutSeconds * NSEC_PER_SEC)));
    [connection invalidate];
    return confirmed;
}

void XPCSleepFlagHelper::disconnect() {
    NSXPCConnection* connection = nil;
    {
        std::lock_guard lock(state_->mutex);
        connection = state_->connection;
    }
    // Invalidating fails every pending call through the invalidation handler.
    [connection invalidate];
}

HelperStatus DaemonService::status() {
    switch ([SMAppService daemonServiceWithPlistName:VIGILMOTH_HELPER_PLIST].status) {
        case SMAppServiceStatusNotRegistered:
            return HelperStatus::notRegistered;
        case SMAppServiceStatusEnabled:
            return HelperStatus::enabled;
        case SMAppServiceStatusRequiresApproval:
            return HelperStatus::requiresApproval;
        case SMAppServiceStatusNotFound:
            break;
    }
    return HelperStatus::notFound;
}

std::optional<std::string> DaemonService::registerService() {
    NSError* error = nil;
    if ([[SMAppService daemonServiceWithPlistName:VIGILMOTH_HELPER_PLIST]
            registerAndReturnError:&error]) {
        return std::nullopt;
    }
    return text(error);
}

std::optional<std::string> DaemonService::unregisterService() {
    NSError* error = nil;
    if ([[SMAppService daemonServiceWithPlistName:VIGILMOTH_HELPER_PLIST]
            unregisterAndReturnError:&error]) {
        return std::nullopt;
    }
    return text(error);
}

struct SystemSleepNotices::Observers {
    std::function<void(SleepNotice)> handler;
    id willSleep = nil;
    id didWake = nil;
};

SystemSleepNotices::SystemSleepNotices() : observers_(std::make_unique<Observers>()) {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    Observers* observers = observers_.get();
    observers_->willSleep = [center addObserverForName:NSWorkspaceWillSleepNotification
                                                object:nil
                                                 queue:NSOperationQueue.mainQueue
                                            usingBlock:^(NSNotification*) {
                                              if (observers->handler)
                                                  observers->handler(SleepNotice::willSleep);
                                            }];
    observers_->didWake = [center addObserverForName:NSWorkspaceDidWakeNotification
                                              object:nil
                                               queue:NSOperationQueue.mainQueue
                                          usingBlock:^(NSNotification*) {
                                            if (observers->handler)
                                                observers->handler(SleepNotice::didWake);
                                          }];
}

SystemSleepNotices::~SystemSleepNotices() {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    [center removeObserver:observers_->willSleep];
    [center removeObserver:observers_->didWake];
}

void SystemSleepNotices::onNotice(std::function<void(SleepNotice)> handler) {
    observers_->handler = std::move(handler);
}

}  // namespace vigilmoth
