#pragma once

#include "detection/common_structs.h"

#include <vector>

/** A row for each tracked object in ascending id, a column for each detection in their order; pixels. */
using t_distance_matrix = std::vector<std::vector<float>>;

/**
 * Gives each detected object an identity that lasts from pass to pass.
 *
 * The detections of a pass are matched greedily with the objects tracked so far, by the distance of the centroids: the
 * object that has the nearest detection comes first, and each wants the one detection that is nearest to it. What is
 * left over of the detections becomes new objects; an object that goes without a match for more than `m_MaxDisappeared`
 * consecutive passes is forgotten.
 *
 * Known weaknesses, kept deliberately: an object whose nearest detection is taken does not try its second nearest; and
 * distance and class only order the candidates, they never forbid a match, so that an object takes over a detection
 * that is far away or of another class when no other object wants it.
 *
 * Main thread only, but for `set_max_disappeared`, which the web thread calls. Boxes are in pixels of the analysed
 * stream.
 */
class tracker {
  public:
    tracker() = default;

    /** Starts the ids from 0; what is tracked stays. Always 0. */
    int init(int maxDisappeared);

    /** Any thread; a pass that runs meanwhile uses the old or the new value. */
    void set_max_disappeared(int maxDisappeared);
    void set_max_distance(int maxDistance) { m_MaxDistance = maxDistance; }

    /** One pass; the objects as they stand after it, a view that the next pass changes. */
    const t_objects_map& track_rectangles(const t_detection_list& rects);

    /**
     * Pixels between the centroids; 1e12 for different classes and for more than `m_MaxDistance`. The sum of squares
     * wraps at 32 bits, and one that comes out negative has no root: it counts as too far, so that no NaN gets into
     * the orderings below.
     */
    float compute_distance(const detection& a, const detection& b) const;
    t_distance_matrix compute_all_distances(const t_detection_list& rows, const t_detection_list& cols) const;

    /** The row indices in ascending order of their smallest distance; of equal ones the smaller index first. */
    static std::vector<int> min_argsort(const t_distance_matrix& distances);

    /**
     * For each entry of `rowOrder` the column of that row's smallest distance, the first of equal ones.
     * REQUIRES: `rowOrder` holds row indices of the matrix.
     */
    static std::vector<int> argmin_rows(const t_distance_matrix& distances, const std::vector<int>& rowOrder);

    /** Both in ascending id, so that their entries belong together. */
    std::vector<int> list_object_keys() const;
    t_detection_list list_object_values() const;

    // Always 0. Ids are given in increasing order and not again.
    int register_one(const detection& det);
    int register_new_objects(const t_detection_list& rects);
    int de_register_one(int id);

    /** A pass without detections: every object is missing once more. */
    void no_detections();

  public:
    t_objects_map m_Objects;         // what is tracked, with its latest box
    t_disappeared_map m_Disappeared; // passes since its last match; the same keys
    int m_NextObjectId = 0;
    int m_MaxDisappeared = 0; // passes; shared with the web thread by the rule of base/shared_field.h
    int m_MaxDistance = 100;  // pixels between centroids that still count as plausible; nothing changes it
};

extern tracker g_Tracker;
