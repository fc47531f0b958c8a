#include "bench/disturbance.h"

#include <cmath>

namespace bench {

std::vector<Disturbance> disturbances() {
    return {{},
            {.name = "10 % of the detections missing", .missing = 0.1},
            {.name = "30 % of the detections missing", .missing = 0.3},
            {.name = "outages of 1 s", .outage = 1.0},
            {.name = "outages of 5 s", .outage = 5.0},
            {.name = "outages of 25 s", .outage = 25.0},
            {.name = "passes late by 1 s", .late = 1.0}};
}

bool Disturber::swallows(double now) const {
    // The first of them would be the beginning of the replay.
    return now >= Disturbance::late_every && std::fmod(now, Disturbance::late_every) < m_what.late - 1e-6;
}

void Disturber::take(double now, float* scores, int count) {
    const bool blind = now >= Disturbance::outage_every && std::fmod(now, Disturbance::outage_every) < m_what.outage;
    std::uniform_real_distribution<double> chance;
    for (int row = 0; row < count; ++row) {
        const bool missed = chance(m_random) < m_what.missing;
        if (blind || missed)
            scores[row] = 0.0F;
    }
}

} // namespace bench
