#include "platform/macos/XPCSleepFlagHelper.h"

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include <mutex>
#include <vector>

#import "platform/macos/SleepFlagHelperProtocol.h"

// The sources are compiled with manual reference counting: every connection this file creates
// is released by it.
namespace vigilmoth {
namespace {

std::string text(NSError* error) {
    const char* description = error != nil ? error.localizedDescription.UTF8String : nullptr;
    return description != nullptr ? std::string(description) : std::string();
}

std::string text(NSString* string) {
    const char* characters = string != nil ? string.UTF8String : nullptr;
    return characters != nullptr ? std::string(characters) : std::string();
}

dispatch_time_t secondsFromNow(double seconds) {
    return dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(seconds * NSEC_PER_SEC));
}

NSXPCConnection* newConnection() {
    NSXPCConnection* connection =
        [[NSXPCConnection alloc] initWithMachServiceName:VIGILMOTH_HELPER_SERVICE
                                                 options:NSXPCConnectionPrivileged];
    connection.remoteObjectInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(SleepFlagHelperProtocol)];
    return connection;
}

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

    bool given() {
        std::lock_guard lock(mutex_);
        return done_;
    }

private:
    std::mutex mutex_;
    bool done_ = false;
};

HelperCallError callError(NSError* error) {
    if ([error.domain isEqualToString:NSCocoaErrorDomain] &&
        error.code == NSXPCConnectionCodeSigningRequirementFailure) {
        return {HelperCallError::Kind::codeSigningRequirement, text(error)};
    }
    return {HelperCallError::Kind::connectionLost, text(error)};
}

}  // namespace

struct XPCSleepFlagHelper::State : std::enable_shared_from_this<State> {
    using Pending = std::pair<std::shared_ptr<OneAnswer>, std::function<void()>>;

    std::mutex mutex;
    // The current connection, retained; nil until the first call and after a loss.
    NSXPCConnection* connection = nil;
    // Calls under way on it, failed together when it is lost.
    std::vector<Pending> pending;

    // The connection `which` was interrupted or invalidated. When it is still the current one,
    // every call under way fails and the next call opens a new connection.
    void lost(const void* which) {
        NSXPCConnection* dropped = nil;
        std::vector<Pending> failing;
        {
            std::lock_guard lock(mutex);
            if (static_cast<const void*>(connection) != which) return;
            dropped = connection;
            connection = nil;
            failing.swap(pending);
        }
        for (auto& [answer, fail] : failing)
            answer->give(fail);
        // An interrupted connection is invalidated too; its handler then finds it is no longer
        // current. It is released on the main queue, outside its own handler.
        [dropped invalidate];
        dispatch_async(dispatch_get_main_queue(), ^{
          [dropped release];
        });
    }

    id<SleepFlagHelperProtocol> proxy(std::shared_ptr<OneAnswer> answer,
                                      std::function<void(HelperCallError)> fail) {
        std::lock_guard lock(mutex);
        if (!connection) connection = connect();
        // Answered calls leave the list here, so that it holds only the calls under way.
        std::erase_if(pending, [](const Pending& call) { return call.first->given(); });
        pending.emplace_back(answer, [fail] {
            fail({HelperCallError::Kind::connectionLost, "the connection to the helper was lost"});
        });
        dispatch_after(secondsFromNow(kAnswerSeconds), dispatch_get_main_queue(), ^{
          answer->give([fail] {
              fail({HelperCallError::Kind::timedOut, "the helper did not answer"});
          });
        });
        return [connection remoteObjectProxyWithErrorHandler:^(NSError* error) {
          answer->give([fail, error] { fail(callError(error)); });
        }];
    }

private:
    NSXPCConnection* connect() {
        NSXPCConnection* created = newConnection();
        const void* identity = created;
        std::weak_ptr<State> weak = weak_from_this();
        created.invalidationHandler = ^{
          if (auto state = weak.lock()) state->lost(identity);
        };
        created.interruptionHandler = ^{
          if (auto state = weak.lock()) state->lost(identity);
        };
        [created resume];
        return created;
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
                        const std::string message = text(error);
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
      HelperState state{static_cast<bool>(sleepDisabled), text(setBy), text(version)};
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
    NSXPCConnection* connection = newConnection();
    [connection resume];
    id<SleepFlagHelperProtocol> proxy = [connection remoteObjectProxyWithErrorHandler:^(NSError*) {
      dispatch_semaphore_signal(answered);
    }];
    [proxy setSleepDisabled:disabled
                      reply:^(NSString* error) {
                        confirmed = error == nil;
                        dispatch_semaphore_signal(answered);
                      }];
    dispatch_semaphore_wait(answered, secondsFromNow(timeoutSeconds));
    [connection invalidate];
    [connection release];
    dispatch_release(answered);
    return confirmed;
}

void XPCSleepFlagHelper::disconnect() {
    const void* current = nullptr;
    {
        std::lock_guard lock(state_->mutex);
        current = state_->connection;
    }
    // Dropping it fails every pending call, as its loss would.
    if (current != nullptr) state_->lost(current);
}

}  // namespace vigilmoth
