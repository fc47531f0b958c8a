#pragma once

#include <algorithm>
#include <chrono>

namespace korvex::larod {

/** The wait after a failure: 0.1 s, doubled by each further failure up to 5 s, until something succeeds. */
class Penalty {
  public:
    void add() {
        using namespace std::chrono_literals;
        m_wait = std::clamp<std::chrono::milliseconds>(m_wait * 2, 100ms, 5000ms);
        m_until = std::chrono::steady_clock::now() + m_wait;
    }
    void lift() { m_wait = {}; }
    /** Of the wait; 0 or less when it is over. */
    std::chrono::milliseconds left() const {
        return std::chrono::ceil<std::chrono::milliseconds>(m_until - std::chrono::steady_clock::now());
    }

  private:
    std::chrono::milliseconds m_wait{0};
    std::chrono::steady_clock::time_point m_until{};
};

} // namespace korvex::larod
