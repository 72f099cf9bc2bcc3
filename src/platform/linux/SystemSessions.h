#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "evidence/RemoteAccessDetector.h"

struct sd_bus;

namespace vigilmoth {

// The user's sessions on Linux: logind's sessions on the system bus, and /proc.
class SystemSessions final : public SessionProbing {
public:
    // `busAddress` is the bus on which logind is asked; the system bus when absent. The /proc
    // root and the user are parameters so that tests can point them elsewhere.
    explicit SystemSessions(std::optional<std::string> busAddress = std::nullopt,
                            std::string procRoot = "/proc",
                            std::optional<std::uint32_t> uid = std::nullopt);
    ~SystemSessions() override;
    SystemSessions(const SystemSessions&) = delete;
    SystemSessions& operator=(const SystemSessions&) = delete;

    // A session of the user that logind marks remote, or a terminal of the user under sshd.
    bool remoteAccessActive(const std::vector<ProcessInfoRow>& processes) override;
    std::optional<std::string> terminalName(std::int32_t device) override;

    // logind's answer alone: whether the user has a remote session that is not closing;
    // nothing when logind could not be asked.
    std::optional<bool> remoteLoginSession();

    // The name of a terminal from its device number as Linux encodes it ("pts/3", "tty2").
    static std::optional<std::string> terminalDeviceName(std::int32_t device);

private:
    sd_bus* connection();
    void disconnect();

    std::optional<std::string> busAddress_;
    std::string procRoot_;
    std::uint32_t uid_;
    sd_bus* bus_ = nullptr;
    // After logind could not be reached, it is not asked again before this moment.
    std::chrono::steady_clock::time_point retryAfter_{};
};

}  // namespace vigilmoth
