#pragma once

#include "detection/common_structs.h"

#include <cstdint>
#include <mutex>
#include <vector>

/** Where an object stands: outside, or in the area for up to the first, second, third or beyond the third threshold. */
enum footings : int32_t {
    not_in_AOI = 0, // also: excluded, or not of a class that triggers
    in_AOI1_briefly = 1,
    in_AOI1_lengthily = 2,
    in_AOI1_more_lengthily = 3,
    in_AOI1_most_lengthily = 4
};

enum entrances : int32_t { unknown = 0, not_in_entrance = 1, in_entrance1 = 2, in_entrance2 = 3, in_entrance3 = 4 };

/** A tracked object and where it stands. Coordinates are pixels of the analysed stream. */
struct one_find {
    t_one_centroid centroid{};
    detection detect;
    int id{}; // the tracker's
    footings footing{not_in_AOI};
    int seconds{};               // whole seconds since first seen in the area; 0 until measured
    entrances entrance{unknown}; // carried along; nothing sets or reads it
};

using t_findings_list = std::vector<one_find>;

/**
 * The findings of the last pass, in ascending id. The main thread alone changes them, under the lock, which a pass
 * holds from the first step that does until the last, so that nobody sees objects without their seconds; it may read
 * them without. Any other thread, such as one of the overlay service, holds the lock while it reads or copies.
 */
extern t_findings_list g_findings;
extern std::recursive_mutex g_FindingsMutex;
