#include "platform/linux/AsioTimers.h"

#include <chrono>

namespace vigilmoth {
namespace {

class TimerToken final : public TimerScheduling::Token {
public:
    TimerToken(asio::io_context& context, double seconds, std::function<void()> action)
        : timer_(context, std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                              std::chrono::duration<double>(seconds))) {
        timer_.async_wait([action = std::move(action)](std::error_code error) {
            if (!error) action();
        });
    }
    // Cancelling delivers operation_aborted to a wait that has not run, so the action never
    // runs after the token is gone.
    ~TimerToken() override { timer_.cancel(); }

private:
    asio::steady_timer timer_;
};

}  // namespace

std::unique_ptr<TimerScheduling::Token> AsioTimers::after(double seconds,
                                                          std::function<void()> action) {
    return std::make_unique<TimerToken>(context_, seconds, std::move(action));
}

}  // namespace vigilmoth
