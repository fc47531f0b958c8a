// The detector's set-up and end; the pass is in inference_pass.cpp, the clean-up of raw results in
// overlap_suppression.cpp.

#include "detection/location_controller_larod.h"

#include "base/arithmetic.h"
#include "base/logger.h"
#include "base/platform_handles.h"

#include <fcntl.h>
#include <unistd.h>
#include <vdo-channel.h>
#include <vdo-map.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>

namespace {

constexpr int kChannels = 3; // R, G, B

bool fail(const char* function, const std::string& what) {
    g_Logger.error(std::string(function) + ": " + what);
    return false;
}

/** Around 16:9. The float quotient is compared as a double: that decides about ratios next to the limits. */
bool is_widescreen(guint32 width, guint32 height) {
    const auto ratio = static_cast<float>(double{static_cast<float>(width)} / double{static_cast<float>(height)});
    return double{ratio} > 1.677777 && double{ratio} < 1.877777;
}

std::string size_text(unsigned int width, unsigned int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

} // namespace

location_controller_larod::~location_controller_larod() {
    g_clear_object(&m_VDOStream);
    if (m_LarodInfReq != nullptr)
        larodDestroyJobRequest(&m_LarodInfReq);
    if (m_LarodInputTensors != nullptr)
        larodDestroyTensors(&m_LarodInputTensors, m_LarodNumInputs);
    if (m_LarodOutputTensors != nullptr)
        larodDestroyTensors(&m_LarodOutputTensors, m_LarodNumOutputs);
    if (m_LarodModel != nullptr) {
        if (!larodDeleteModel(m_LarodConn, m_LarodModel, &m_LarodError))
            fail("~location_controller_larod", "Failed to delete larod model: " + take_larod_message());
        larodDestroyModel(&m_LarodModel);
    }
    if (m_LarodConn != nullptr && !larodDisconnect(&m_LarodConn, &m_LarodError))
        fail("~location_controller_larod", "Failed to disconnect from larod: " + take_larod_message());
    larodClearError(&m_LarodError);
    g_clear_error(&m_error);
}

std::string location_controller_larod::take_larod_message() {
    std::string message = m_LarodError != nullptr && m_LarodError->msg != nullptr ? m_LarodError->msg : "N/A";
    larodClearError(&m_LarodError);
    return message;
}

bool location_controller_larod::choose_resolution(unsigned int req_width, unsigned int req_height,
                                                  unsigned int* chosen_width, unsigned int* chosen_height) {
    constexpr auto kName = "choose_resolution";
    g_assert(chosen_width != nullptr);
    g_assert(chosen_height != nullptr);
    GError* error = nullptr;
    const g_object_ptr<VdoChannel> channel(vdo_channel_get(1, &error));
    if (!channel)
        return fail(kName, "Failed vdo_channel_get(): " + take_message(error));
    const g_free_ptr<VdoResolutionSet> set(vdo_channel_get_resolutions(channel.get(), nullptr, &error));
    if (!set)
        return fail(kName, "Failed vdo_channel_get_resolutions(): " + take_message(error));

    const VdoResolution* best = nullptr;
    guint32 best_area = std::numeric_limits<guint32>::max();
    for (gsize i = 0; i < set->count; ++i) {
        const VdoResolution& entry = set->resolutions[i];
        if (entry.width < req_width || entry.height < req_height || !is_widescreen(entry.width, entry.height))
            continue;
        g_Logger.info("choose_resolution: Possible stream w/h=" + size_text(entry.width, entry.height));
        const guint32 area = entry.width * entry.height;
        if (area < best_area) {
            best = &entry;
            best_area = area;
        }
    }

    // Deliberately lopsided: the fallback hands the height out as the width, and leaves the height alone.
    *chosen_width = req_height;
    if (best == nullptr) {
        fail(kName, "VDO channel info contains no reslution info. Fallback to client-requested stream resolution.");
        return true;
    }
    *chosen_width = best->width;
    *chosen_height = best->height;
    g_Logger.info("choose_resolution: We select stream w/h=" + size_text(best->width, best->height) +
                  " based on VDO channel info.");
    return true;
}

void location_controller_larod::set_paths() {
    m_ModelPath = "/mnt/flash/usr/local/packages/" + m_app_name + "/" + m_ModelFileName;
    g_Logger.info("set_paths: Model : " + m_ModelFileName + " Model Width: " + std::to_string(m_ModelWidth) +
                  " Model Height: " + std::to_string(m_ModelHeight) + " Stream Width: " +
                  std::to_string(m_StreamWidth) + " Stream Height: " + std::to_string(m_StreamHeight));
}

bool location_controller_larod::larod_setup() {
    constexpr auto kName = "larod_setup";
    if (!larodConnect(&m_LarodConn, &m_LarodError))
        return fail(kName, "Could not connect to larod: " + take_larod_message());

    const auto disconnect = [this] {
        larodDisconnect(&m_LarodConn, &m_LarodError);
        larodClearError(&m_LarodError);
        m_LarodConn = nullptr;
        return false;
    };
    if (m_LarodChipType == LAROD_CHIP_INVALID) {
        fail(kName, "Chip type is invalid");
        return disconnect();
    }
    if (!larodSetChip(m_LarodConn, m_LarodChipType, &m_LarodError)) {
        fail(kName, "Could not select chip " + std::to_string(m_LarodChipType) + ": " + take_larod_message());
        return disconnect();
    }
    m_LarodModel =
        larodLoadModel(m_LarodConn, m_LarodModelFd, LAROD_ACCESS_PUBLIC, m_ModelFileName.c_str(), &m_LarodError);
    if (m_LarodModel == nullptr) {
        fail(kName, "Unable to load model: " + take_larod_message());
        return disconnect();
    }
    g_Logger.info("larod_setup: Model loaded successfully");
    return true;
}

bool location_controller_larod::init_larod(std::string app_name, std::string model_file_name, int width, int height,
                                           larodChip chip, int iteration_time, bool is_portrait) {
    constexpr auto kName = "init_larod";
    m_IsPortrait = is_portrait;
    m_LarodChipType = chip;
    m_IterationTime = iteration_time;
    m_LarodError = nullptr;
    m_LarodConn = nullptr;
    m_LarodModel = nullptr;
    m_LarodInputTensors = nullptr;
    m_LarodNumInputs = 0;
    m_LarodOutputTensors = nullptr;
    m_LarodNumOutputs = 0;
    m_LarodInfReq = nullptr;
    m_LarodModelFd = -1;

    unsigned int chosen_width = 0;
    unsigned int chosen_height = 0;
    if (!choose_resolution(static_cast<unsigned int>(width), static_cast<unsigned int>(height), &chosen_width,
                           &chosen_height))
        return fail(kName, "Failed choosing stream resolution");
    m_StreamWidth = is_portrait ? chosen_height : chosen_width;
    m_StreamHeight = is_portrait ? chosen_width : chosen_height;
    m_ModelWidth = is_portrait ? height : width;
    m_ModelHeight = is_portrait ? width : height;
    if (!start_stream(chosen_width, chosen_height, is_portrait ? 90 : 0))
        return false;

    m_app_name = app_name;
    m_ModelFileName = model_file_name;
    set_paths();
    m_LarodModelFd = open(m_ModelPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_LarodModelFd < 0)
        return fail(kName, "Unable to open model file " + m_ModelPath + ": " + strerror(errno));
    g_Logger.info("init_larod: Setting up larod connection with chip " + std::to_string(m_LarodChipType) +
                  " and model " + m_ModelPath);
    if (!larod_setup())
        return false;
    create_tensor_files();
    if (!bind_tensors())
        return false;

    m_LarodInfReq = larodCreateInferenceRequest(m_LarodModel, m_LarodInputTensors, m_LarodNumInputs,
                                                m_LarodOutputTensors, m_LarodNumOutputs, &m_LarodError);
    if (m_LarodInfReq == nullptr)
        return fail(kName, "Failed creating inference request: " + take_larod_message());
    g_Logger.info("init_larod: Start fetching video frames from VDO");
    m_OutputLocations = static_cast<float*>(m_LarodOutputLocationsFile->getBuffer());
    m_OutputClasses = static_cast<float*>(m_LarodOutputClassesFile->getBuffer());
    m_OutputScores = static_cast<float*>(m_LarodOutputScoresFile->getBuffer());
    return true;
}

/** Says nothing when the video service refuses: a camera without video has other lines in its log. */
bool location_controller_larod::start_stream(unsigned int width, unsigned int height, unsigned int rotation) {
    const g_object_ptr<VdoMap> settings(vdo_map_new());
    vdo_map_set_uint32(settings.get(), "channel", 1);
    vdo_map_set_uint32(settings.get(), "format", VDO_FORMAT_YUV);
    vdo_map_set_uint32(settings.get(), "width", width);
    vdo_map_set_uint32(settings.get(), "height", height);
    vdo_map_set_uint32(settings.get(), "rotation", rotation);
    g_clear_error(&m_error);
    m_VDOStream = vdo_stream_new(settings.get(), nullptr, &m_error);
    if (m_VDOStream == nullptr || !vdo_stream_attach(m_VDOStream, nullptr, &m_error))
        return false;

    const g_object_ptr<VdoMap> effective(vdo_stream_get_settings(m_VDOStream, &m_error));
    if (!effective)
        return false;
    const auto number = [&effective](const char* key) {
        return std::to_string(vdo_map_get_uint32(effective.get(), key, 0));
    };
    g_Logger.info("init_larod: Starting stream: VDO_FORMAT_YUV, " + number("width") + "x" + number("height") +
                  ", rotation " + number("rotation") + ", " + number("framerate") + " fps");
    return vdo_stream_start(m_VDOStream, &m_error) != FALSE;
}

/**
 * The output files are sized in rows, not in bytes, but for the locations: deliberate, the rows that are read lie
 * within them, and the inference service makes a file longer when it has more to write.
 */
void location_controller_larod::create_tensor_files() {
    const int input_bytes = wrap_multiply(wrap_multiply(m_ModelWidth, m_ModelHeight), kChannels);
    m_LarodInputFile = std::make_unique<MemoryMappedFile>(m_LarodInputFileName, input_bytes);
    m_LarodOutputLocationsFile =
        std::make_unique<MemoryMappedFile>(m_LarodOutputLocationsFileName, m_NumberofResults * 4);
    m_LarodOutputClassesFile = std::make_unique<MemoryMappedFile>(m_LarodOutputClassesFileName, m_NumberofResults);
    m_LarodOutputScoresFile = std::make_unique<MemoryMappedFile>(m_LarodOutputScoresFileName, m_NumberofResults);
    m_LarodOutputNumDetectionsFile = std::make_unique<MemoryMappedFile>(m_LarodOutputNumDetectionsFileName, 1);
}

bool location_controller_larod::bind_tensors() {
    constexpr auto kName = "init_larod";
    m_LarodInputTensors = larodCreateModelInputs(m_LarodModel, &m_LarodNumInputs, &m_LarodError);
    if (m_LarodInputTensors == nullptr)
        return fail(kName, "Failed retrieving input tensors: " + take_larod_message());
    if (m_LarodNumInputs != 1)
        return fail(kName,
                    "Model has " + std::to_string(m_LarodNumInputs) + " inputs, app only supports 1 input tensor.");
    const int input = m_LarodInputFile->getFileDescriptor();
    g_Logger.info("init_larod: Finished with input tensor setup " + std::to_string(input));
    if (!larodSetTensorFd(m_LarodInputTensors[0], input, &m_LarodError))
        return fail(kName, "Failed setting input tensor fd: " + take_larod_message());

    m_LarodOutputTensors = larodCreateModelOutputs(m_LarodModel, &m_LarodNumOutputs, &m_LarodError);
    if (m_LarodOutputTensors == nullptr)
        return fail(kName, "Failed retrieving output tensors: " + take_larod_message());
    if (m_LarodNumOutputs != 4)
        return fail(kName, "Model has " + std::to_string(m_LarodNumOutputs) + " outputs, need 4 output tensor.");

    struct output {
        const char* name;
        const MemoryMappedFile& file;
    };
    const std::array<output, 4> outputs = {{{"locations (0)", *m_LarodOutputLocationsFile},
                                            {"classes (1)", *m_LarodOutputClassesFile},
                                            {"scores (2)", *m_LarodOutputScoresFile},
                                            {"Num of Detections (3)", *m_LarodOutputNumDetectionsFile}}};
    for (size_t i = 0; i < outputs.size(); ++i)
        if (!larodSetTensorFd(m_LarodOutputTensors[i], outputs.at(i).file.getFileDescriptor(), &m_LarodError))
            return fail(kName,
                        std::string("Failed setting ") + outputs.at(i).name + " tensor fd: " + take_larod_message());
    return true;
}
