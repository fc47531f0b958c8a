#include "platform/axparameter/settler.h"

#include "base/blocked_signals.h"

#include <utility>

namespace host_parameters {

Settler::Settler(std::function<void()> settle, std::chrono::milliseconds quiet)
    : settle_(std::move(settle)), quiet_(quiet) {}

void Settler::written() {
    const std::lock_guard lock(mutex_);
    unsettled_ = true;
    last_ = Clock::now();
    if (!thread_.joinable()) {
        const blocked_signals during_creation;
        thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }
    changed_.notify_all();
}

void Settler::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return unsettled_; })) {
        while (!stop.stop_requested() && Clock::now() < last_ + quiet_)
            changed_.wait_until(lock, stop, last_ + quiet_, [] { return false; });
        if (stop.stop_requested())
            return;
        unsettled_ = false;
        lock.unlock();
        settle_();
        lock.lock();
    }
}

} // namespace host_parameters
