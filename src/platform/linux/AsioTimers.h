#pragma once

#include <asio.hpp>

#include "base/TimerScheduling.h"

namespace vigilmoth {

// One-shot timers on an Asio loop.
class AsioTimers final : public TimerScheduling {
public:
    explicit AsioTimers(asio::io_context& context) : context_(context) {}
    std::unique_ptr<Token> after(double seconds, std::function<void()> action) override;

private:
    asio::io_context& context_;
};

}  // namespace vigilmoth
