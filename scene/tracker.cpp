#include "scene/tracker.h"

#include "base/arithmetic.h"
#include "base/logger.h"
#include "base/shared_field.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

constexpr float kNoPlausibleMatch = 1e12F;

struct nearest_match {
    float distance;
    int column;
};

/** The first of the smallest. NaN is never smaller, so that it only wins, as infinitely far, where there is no number.
 */
nearest_match nearest_of(const std::vector<float>& row) {
    nearest_match nearest = {std::numeric_limits<float>::infinity(), 0};
    for (size_t column = 0; column < row.size(); ++column)
        if (row[column] < nearest.distance)
            nearest = {row[column], static_cast<int>(column)};
    return nearest;
}

} // namespace

int tracker::init(int maxDisappeared) {
    m_NextObjectId = 0;
    set_max_disappeared(maxDisappeared);
    return 0;
}

void tracker::set_max_disappeared(int maxDisappeared) {
    write_shared(m_MaxDisappeared, maxDisappeared);
}

const t_objects_map& tracker::track_rectangles(const t_detection_list& rects) {
    if (rects.empty()) {
        no_detections();
        return m_Objects;
    }
    if (m_Objects.empty()) {
        register_new_objects(rects);
        return m_Objects;
    }

    const std::vector<int> ids = list_object_keys();
    const t_distance_matrix distances = compute_all_distances(list_object_values(), rects);
    const std::vector<int> rows = min_argsort(distances);
    const std::vector<int> cols = argmin_rows(distances, rows);
    if (rows.size() != cols.size()) {
        g_Logger.error("Error RowsSize != ColsSize");
        return m_Objects;
    }

    std::vector<bool> row_used(ids.size());
    std::vector<bool> col_used(rects.size());
    for (size_t k = 0; k < rows.size(); ++k) {
        const auto row = static_cast<size_t>(rows[k]);
        const auto col = static_cast<size_t>(cols[k]);
        if (row_used[row] || col_used[col])
            continue;
        m_Objects[ids[row]] = rects[col];
        m_Disappeared[ids[row]] = 0;
        row_used[row] = true;
        col_used[col] = true;
    }

    const int max_disappeared = read_shared(m_MaxDisappeared);
    for (size_t row = 0; row < ids.size(); ++row) {
        if (row_used[row])
            continue;
        int& missed = m_Disappeared[ids[row]];
        missed = wrap_add(missed, 1);
        if (missed > max_disappeared)
            de_register_one(ids[row]);
    }
    for (size_t col = 0; col < rects.size(); ++col)
        if (!col_used[col])
            register_one(rects[col]);
    return m_Objects;
}

float tracker::compute_distance(const detection& a, const detection& b) const {
    if (a.ClassId != b.ClassId)
        return kNoPlausibleMatch;
    const t_one_centroid from = a.get_centroid();
    const t_one_centroid to = b.get_centroid();
    const int dx = wrap_subtract(from.first, to.first);
    const int dy = wrap_subtract(from.second, to.second);
    const int squared = wrap_add(wrap_multiply(dx, dx), wrap_multiply(dy, dy));
    // Most pairs are told apart here, without the root: those whose sum wrapped to a negative number and those that are
    // too far by so much that no rounding could bring them back.
    const int64_t beyond = int64_t{m_MaxDistance} + 1;
    if (squared < 0 || squared > beyond * beyond)
        return kNoPlausibleMatch;
    const auto distance = static_cast<float>(std::sqrt(static_cast<double>(squared)));
    return distance > static_cast<float>(m_MaxDistance) ? kNoPlausibleMatch : distance;
}

t_distance_matrix tracker::compute_all_distances(const t_detection_list& rows, const t_detection_list& cols) const {
    t_distance_matrix distances;
    distances.reserve(rows.size());
    for (const detection& object : rows) {
        std::vector<float>& row = distances.emplace_back();
        row.reserve(cols.size());
        for (const detection& candidate : cols)
            row.push_back(compute_distance(object, candidate));
    }
    return distances;
}

std::vector<int> tracker::min_argsort(const t_distance_matrix& distances) {
    std::vector<std::pair<float, int>> minima;
    minima.reserve(distances.size());
    for (const std::vector<float>& row : distances)
        minima.emplace_back(nearest_of(row).distance, static_cast<int>(minima.size()));
    std::sort(minima.begin(), minima.end());

    std::vector<int> order;
    order.reserve(minima.size());
    for (const auto& [distance, row] : minima)
        order.push_back(row);
    return order;
}

std::vector<int> tracker::argmin_rows(const t_distance_matrix& distances, const std::vector<int>& rowOrder) {
    std::vector<int> columns;
    columns.reserve(rowOrder.size());
    for (const int row : rowOrder)
        columns.push_back(nearest_of(distances[static_cast<size_t>(row)]).column);
    return columns;
}

std::vector<int> tracker::list_object_keys() const {
    std::vector<int> ids;
    ids.reserve(m_Objects.size());
    for (const auto& [id, box] : m_Objects)
        ids.push_back(id);
    return ids;
}

t_detection_list tracker::list_object_values() const {
    t_detection_list boxes;
    boxes.reserve(m_Objects.size());
    for (const auto& [id, box] : m_Objects)
        boxes.push_back(box);
    return boxes;
}

int tracker::register_one(const detection& det) {
    m_Objects[m_NextObjectId] = det;
    m_Disappeared[m_NextObjectId] = 0;
    m_NextObjectId = wrap_add(m_NextObjectId, 1);
    return 0;
}

int tracker::register_new_objects(const t_detection_list& rects) {
    for (const detection& rect : rects)
        register_one(rect);
    return 0;
}

int tracker::de_register_one(int id) {
    m_Objects.erase(id);
    m_Disappeared.erase(id);
    return 0;
}

void tracker::no_detections() {
    const int max_disappeared = read_shared(m_MaxDisappeared);
    std::vector<int> forgotten;
    for (auto& [id, missed] : m_Disappeared) {
        missed = wrap_add(missed, 1);
        if (missed > max_disappeared)
            forgotten.push_back(id);
    }
    for (const int id : forgotten)
        de_register_one(id);
}
