#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Log.h"

namespace vigilmoth {

// Holds the machine awake for the hold decision; the state aggregator's view of the keeper.
class PowerHolding {
public:
    virtual ~PowerHolding() = default;
    virtual bool held() const = 0;
    // Called on every decision that holds, with the reason shown to the user.
    virtual void hold(const std::string& reason) = 0;
    virtual void release() = 0;
};

using PowerAssertionID = uint32_t;

// The system's sleep assertions, as the keeper uses them: created by kind with a reason, and
// leases that lapse unless renewed (IOPM assertions on macOS, logind inhibitor locks on Linux).
class PowerAssertionMaking {
public:
    struct Created {
        std::optional<PowerAssertionID> id;
        std::string failure;  // the system's code or message when nothing was created
    };

    virtual ~PowerAssertionMaking() = default;
    // The kinds a hold takes, in the order they are created.
    virtual std::vector<std::string> kinds() const = 0;
    // The system call that creates one, as its failures are logged.
    virtual std::string creationCall() const = 0;
    // Whether the system can be asked at all. When it cannot, the platform has already said so
    // once, as a whole sentence, and the keeper does not try.
    virtual bool available() = 0;
    virtual Created create(const std::string& kind, const std::string& reason) = 0;
    // Restarts the assertion's lease; false when it has lapsed or cannot be renewed.
    virtual bool renew(PowerAssertionID id) = 0;
    virtual bool rename(PowerAssertionID id, const std::string& reason) = 0;
    virtual void release(PowerAssertionID id) = 0;
};

// Turns the hold decision into the system's sleep assertions, renewed as 120-second leases on
// every decision so that a hung or crashed application cannot keep the machine awake for long.
class PowerKeeper final : public PowerHolding {
public:
    static constexpr double kLeaseSeconds = 120;

    explicit PowerKeeper(PowerAssertionMaking& system) : system_(system) {}

    bool held() const override { return !assertionIDs_.empty(); }
    void hold(const std::string& reason) override;
    void release() override;

    const std::vector<PowerAssertionID>& assertionIDs() const { return assertionIDs_; }
    const std::string& reason() const { return reason_; }

private:
    bool extend(const std::string& reason);
    void dropAssertions();

    PowerAssertionMaking& system_;
    std::vector<PowerAssertionID> assertionIDs_;
    std::string reason_;
    // A failure that repeats on every decision is logged once, until that kind is created.
    std::map<std::string, std::string> lastFailures_;
    Logger log_{"PowerKeeper"};
};

}  // namespace vigilmoth
