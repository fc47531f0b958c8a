#include "platform/larod/pace.h"

#include <algorithm>

namespace korvex::larod {

namespace {

constexpr double slow = 2.0; // times the fastest run
constexpr int first_stay = 100;
constexpr int longest_stay = 3200;
constexpr int longest_patience = 100;

} // namespace

void Pace::took(double milliseconds) {
    m_fastest = std::min(m_fastest, milliseconds);
    if (m_alone > 0) {
        --m_alone;
        if (!m_trying)
            return;
        m_trying = false;
        if (milliseconds < m_shared) {
            m_alone = m_stay;
            m_stay = std::min(2 * m_stay, longest_stay);
        } else {
            m_patience = m_next_patience;
            m_next_patience = std::min(2 * m_next_patience, longest_patience);
        }
        return;
    }
    if (m_patience > 0) {
        --m_patience;
        return;
    }
    // The first judged run is always compared: on a machine that was busy from the start none has been fast.
    if (m_tried && milliseconds <= slow * m_fastest) {
        m_stay = first_stay;
        m_next_patience = first_patience;
        return;
    }
    m_shared = milliseconds;
    m_alone = 1;
    m_trying = m_tried = true;
}

} // namespace korvex::larod
