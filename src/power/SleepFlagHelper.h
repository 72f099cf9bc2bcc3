#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

// What the sleep flag controller needs from the system: the helper's registration, the
// helper itself, and the clean-up of an older version's admin entry. On macOS these are the
// launch daemon, its XPC connection and /etc/sudoers.d; on Linux the "helper" is a logind lock
// of kind "handle-lid-switch", always enabled, with nothing to clean up.
namespace vigilmoth {

enum class HelperStatus { notRegistered, requiresApproval, enabled, notFound };

// What the interface shows of the helper.
enum class HelperSetup { notSetUp, requiresApproval, ready, repairing, notResponding, lost };

struct HelperCallError {
    enum class Kind { timedOut, connectionLost, failed, codeSigningRequirement };
    Kind kind = Kind::failed;
    std::string text;
};

struct HelperState {
    bool sleepDisabled = false;
    std::string setBy;
    std::string version;
};

class HelperServiceManaging {
public:
    virtual ~HelperServiceManaging() = default;
    virtual HelperStatus status() = 0;
    // Each returns the system's error text, or nothing on success.
    virtual std::optional<std::string> registerService() = 0;
    virtual std::optional<std::string> unregisterService() = 0;
};

// Every call answers once, on the main loop: the helper's reply, a time-out or a lost
// connection, whichever comes first.
class SleepFlagHelperConnecting {
public:
    using Reply = std::function<void(std::optional<HelperCallError>)>;
    using StatusReply =
        std::function<void(std::optional<HelperState>, std::optional<HelperCallError>)>;

    virtual ~SleepFlagHelperConnecting() = default;
    virtual void setSleepDisabled(bool disabled, Reply reply) = 0;
    virtual void heartbeat(Reply reply) = 0;
    virtual void status(StatusReply reply) = 0;
    // Asks an outdated helper to leave.
    virtual void retire(Reply reply) = 0;
    // For quitting: sends the value and blocks until the answer or the time-out; true when the
    // helper confirmed it.
    virtual bool setSleepDisabledWaiting(bool disabled, double timeoutSeconds) = 0;
    // Drops the connection, so that the next call opens a new one to a re-registered helper.
    virtual void disconnect() = 0;
};

struct SudoersCleanupError : std::runtime_error {
    explicit SudoersCleanupError(const std::string& message) : std::runtime_error(message) {}
};

class SudoersCleaning {
public:
    virtual ~SudoersCleaning() = default;
    virtual bool present() const = 0;
    // Throws SudoersCleanupError with the system's text when the user cancels or it fails.
    virtual void remove() = 0;
};

}  // namespace vigilmoth
