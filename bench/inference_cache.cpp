#include "bench/inference_cache.h"

#include "detection/location_controller_larod.h"

#include <glib.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace {

/** The leading rows of the outputs: more than the application looks at. */
constexpr std::size_t rows = 20;

struct Record {
    std::uint64_t picture = 0;
    std::array<float, rows * 4> locations{};
    std::array<float, rows> classes{};
    std::array<float, rows> scores{};
};

std::unordered_map<std::uint64_t, Record> known;
std::ofstream file;
inference_cache::Counts so_far;
std::function<void()> afterwards = [] {};

std::uint64_t hash_of(const void* bytes, std::size_t size) {
    std::uint64_t hash = size;
    const auto* from = static_cast<const unsigned char*>(bytes);
    for (; size >= sizeof hash; size -= sizeof hash, from += sizeof hash) {
        std::uint64_t word = 0;
        std::memcpy(&word, from, sizeof word);
        hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29U;
    }
    return hash;
}

template <typename Values>
void copy(Values& to, const float* from) {
    std::memcpy(to.data(), from, sizeof to);
}

template <typename Values>
void copy(float* to, const Values& from) {
    std::memcpy(to, from.data(), sizeof from);
}

} // namespace

void inference_cache::open(const std::string& folder) {
    g_autofree gchar* model = nullptr;
    gsize size = 0;
    if (g_file_get_contents(g_LocationController.get_modelpath().c_str(), &model, &size, nullptr) == FALSE)
        throw std::runtime_error("cannot read the model " + g_LocationController.get_modelpath());
    g_autofree gchar* sum =
        g_compute_checksum_for_data(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(model), size);
    const std::string path = folder + "/" + std::string(sum).substr(0, 16) + ".outputs";
    std::ifstream stored(path, std::ios::binary);
    Record record;
    while (stored.read(reinterpret_cast<char*>(&record), sizeof record))
        known[record.picture] = record;
    // A record that a killed run has left half written is cut off, or all after it would be shifted.
    std::ofstream whole(path + ".new", std::ios::binary);
    for (const auto& [picture, each] : known)
        whole.write(reinterpret_cast<const char*>(&each), sizeof each);
    whole.close();
    if (!whole || std::rename((path + ".new").c_str(), path.c_str()) != 0)
        throw std::runtime_error("cannot write " + path);
    file.open(path, std::ios::binary | std::ios::app);
}

void inference_cache::set_afterwards(std::function<void()> what) {
    afterwards = std::move(what);
}

inference_cache::Counts inference_cache::counts() {
    return so_far;
}

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's own names
bool __real_larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error);
bool __wrap_larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error);

bool __wrap_larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error) {
    location_controller_larod& detector = g_LocationController;
    const std::uint64_t picture = hash_of(detector.m_LarodInputFile->getBuffer(),
                                          static_cast<std::size_t>(detector.m_LarodInputFile->m_filesize));
    if (const auto found = known.find(picture); found != known.end()) {
        copy(detector.m_OutputLocations, found->second.locations);
        copy(detector.m_OutputClasses, found->second.classes);
        copy(detector.m_OutputScores, found->second.scores);
        ++so_far.known;
        afterwards();
        return true;
    }
    if (!__real_larodRunInference(conn, request, error))
        return false;
    Record& record = known[picture];
    record.picture = picture;
    copy(record.locations, detector.m_OutputLocations);
    copy(record.classes, detector.m_OutputClasses);
    copy(record.scores, detector.m_OutputScores);
    file.write(reinterpret_cast<const char*>(&record), sizeof record).flush();
    ++so_far.computed;
    afterwards();
    return true;
}
// NOLINTEND(bugprone-reserved-identifier)
}
