#pragma once

#include <limits>

namespace korvex::larod {

/**
 * Decides for each inference whether the pool's threads share it or the calling thread does it alone. On a machine with
 * nothing else to do sharing is faster. Beside other busy programs it can be ten times slower: after each of the
 * network's hundred operators every thread waits for the last one, which may have lost its processor to somebody else.
 *
 * It watches the times: a shared run that takes more than twice the fastest run so far is tried alone; if that is
 * faster, the next runs are done alone, more of them each time, before sharing is tried again. The results are the same
 * bytes either way.
 */
class Pace {
  public:
    /** What the next run is to be. */
    bool alone() const { return m_alone > 0; }
    /** That run's time. */
    void took(double milliseconds);

  private:
    static constexpr int first_patience = 3;

    int m_alone = 0;    ///< runs still to be done alone
    int m_patience = 1; ///< shared runs that are not judged; the first one sets the kernels up
    int m_stay = 100;   ///< runs to be done alone when sharing is slow
    int m_next_patience =
        first_patience; ///< after a trial in vain; longer after each, short again once sharing is fast
    bool m_trying = false;
    bool m_tried = false;
    double m_fastest = std::numeric_limits<double>::infinity();
    double m_shared = 0.0; ///< the run that led to the trial
};

} // namespace korvex::larod
