#pragma once

#include "detection/common_structs.h"

#include <mutex>
#include <utility>

/**
 * Where the user looks for objects: one detection polygon, less three exclusion zones that can be switched on.
 *
 * Vertices and points are pixels of the analysed stream; the vertices are used as they come, unchecked. The index of a
 * zone counts from 1. Everything stays until it is replaced.
 *
 * Any thread: the web thread replaces polygons while the pass tests points. A polygon is replaced as a whole, by a
 * swap under a lock, so a test meets the old or the new one and waits for no more than the swap.
 */
class area_of_interest {
  public:
    area_of_interest() = default;

    void init() {}

    /** False, and nothing changes, for an index other than 1 to 3. */
    bool set_exclusion(int index, t_Polygon points);
    bool set_exclusion_active(int index, bool on);

    /** A copy; empty for another index. */
    t_Polygon get_exclusion(int index) const;
    /** For another index true: deliberate. */
    bool get_exclusion_active(int index) const;

    /** Whether the point lies in a zone that is switched on. */
    bool is_excluded(std::pair<int, int> p) const;

    /** Index 1 is the only one; false, or an empty polygon, for any other. */
    bool set_detection(int index, t_Polygon points);
    t_Polygon get_detection(int index) const;
    bool is_detected(int index, std::pair<int, int> p) const;

    /**
     * Whether the outline winds around the point exactly once, in either direction; a part of a self-crossing outline
     * that winds twice is outside, deliberately. Of a simple polygon the edges on the lower x and lower y sides belong
     * to it, those on the higher sides do not. Products of coordinates wrap at 32 bits.
     */
    static bool is_winding_number_nonzero(std::pair<int, int> p, const t_Polygon& poly);

  public:
    t_Polygon m_Exclusion1;
    t_Polygon m_Exclusion2;
    t_Polygon m_Exclusion3;
    bool m_Exclusion1Active = false;
    bool m_Exclusion2Active = false;
    bool m_Exclusion3Active = false;
    t_Polygon m_Detection1;

  private:
    // One for all instances, of which the process has one: so an area remains a plain value.
    static std::mutex s_lock;
};

extern area_of_interest g_AreaofInterest;
