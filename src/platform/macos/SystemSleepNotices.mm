#include "platform/macos/SystemSleepNotices.h"

#import <AppKit/AppKit.h>

namespace vigilmoth {

struct SystemSleepNotices::Observers {
    std::function<void(SleepNotice)> handler;
    // The centre's registrations, retained until they are removed.
    id willSleep = nil;
    id didWake = nil;

    id observe(NSNotificationName name, SleepNotice notice) {
        Observers* self = this;
        return [[NSWorkspace.sharedWorkspace.notificationCenter
            addObserverForName:name
                        object:nil
                         queue:NSOperationQueue.mainQueue
                    usingBlock:^(NSNotification*) {
                      if (self->handler) self->handler(notice);
                    }] retain];
    }
};

SystemSleepNotices::SystemSleepNotices() : observers_(std::make_unique<Observers>()) {
    observers_->willSleep =
        observers_->observe(NSWorkspaceWillSleepNotification, SleepNotice::willSleep);
    observers_->didWake = observers_->observe(NSWorkspaceDidWakeNotification, SleepNotice::didWake);
}

SystemSleepNotices::~SystemSleepNotices() {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    for (id observer : {observers_->willSleep, observers_->didWake}) {
        [center removeObserver:observer];
        [observer release];
    }
}

void SystemSleepNotices::onNotice(std::function<void(SleepNotice)> handler) {
    observers_->handler = std::move(handler);
}

}  // namespace vigilmoth
