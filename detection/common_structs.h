#pragma once

#include "base/arithmetic.h"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

/** (x, y) in pixels of the analysed stream. */
using t_one_centroid = std::pair<int, int>;

/** One detected box, in pixels of the analysed stream (after rotation when portrait). */
struct detection {
    int X{}; // top-left corner
    int Y{};
    int W{}; // may be negative: the network's boxes are not checked
    int H{};
    int ClassId{};      // location_controller_larod::ClassIDToLabel names it
    float Confidence{}; // the network's score, 0 to 1

    /** The halves truncate toward zero. */
    t_one_centroid get_centroid() const { return {wrap_add(X, W / 2), wrap_add(Y, H / 2)}; }
};

/** Top-left corner and size, in pixels. */
struct rectangle {
    int32_t X{};
    int32_t Y{};
    int32_t W{};
    int32_t H{};
};

using t_detection_list = std::vector<detection>;
/** Vertices in pixels of the analysed stream; the last joins the first. */
using t_Polygon = std::vector<std::pair<int, int>>;
/** Object id to its latest box. */
using t_objects_map = std::map<int, detection>;
/** Object id to the number of passes for which it has been missing. */
using t_disappeared_map = std::map<int, int>;
