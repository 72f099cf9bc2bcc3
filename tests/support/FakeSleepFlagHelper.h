#pragma once

#include <optional>
#include <string>
#include <vector>

#include "power/SleepFlagHelper.h"

namespace vigilmoth::testing {

// The helper's service and connection, answering at once and logging every call but status.
struct FakeSleepFlagHelper final : HelperServiceManaging, SleepFlagHelperConnecting {
    HelperStatus state = HelperStatus::enabled;
    HelperStatus afterRegister = HelperStatus::enabled;
    std::optional<HelperCallError> error;  // every call but status fails with it
    std::vector<std::string> calls;
    // Where the calls go; heartbeats only when `beats`.
    std::vector<std::string>* log = &calls;
    bool beats = true;

    HelperStatus status() override { return state; }
    std::optional<std::string> registerService() override {
        log->push_back("register");
        state = afterRegister;
        return std::nullopt;
    }
    std::optional<std::string> unregisterService() override {
        log->push_back("unregister");
        state = HelperStatus::notRegistered;
        return std::nullopt;
    }
    void setSleepDisabled(bool disabled, Reply reply) override {
        log->push_back(disabled ? "set on" : "set off");
        reply(error);
    }
    void heartbeat(Reply reply) override {
        if (beats) log->push_back("beat");
        reply(error);
    }
    void status(StatusReply reply) override {
        log->push_back("status");
        reply(HelperState{false, "vigilmoth", "1"}, std::nullopt);
    }
    void retire(Reply reply) override { reply(std::nullopt); }
    bool setSleepDisabledWaiting(bool, double timeout) override {
        log->push_back("set off waiting " + std::to_string(static_cast<int>(timeout)));
        return true;
    }
    void disconnect() override {}
};

}  // namespace vigilmoth::testing
