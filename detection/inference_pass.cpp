// The detector's work on every pass.

#include "base/logger.h"
#include "base/platform_handles.h"
#include "detection/location_controller_larod.h"
#include "detection/object_class.h"
#include "vision/imgconverter.h"

int location_controller_larod::larod_prepare_data_and_do_ai() {
    constexpr auto kName = "larod_prepare_data_and_do_ai: ";
    // While the next frame is waited for nothing of the last pass stands here.
    g_clear_error(&m_error);
    m_buf = nullptr;
    m_nv12Data = nullptr;
    m_buf = m_VDOStream != nullptr ? vdo_stream_get_buffer(m_VDOStream, &m_error) : nullptr;
    m_nv12Data = static_cast<uint8_t*>(vdo_buffer_get_data(m_buf));

    // Without a frame the network runs all the same, on whatever the input file holds.
    const bool converted =
        m_LarodInputFile != nullptr &&
        convertCropScaleU8yuvToRGB(m_nv12Data, m_StreamWidth, m_StreamHeight,
                                   static_cast<uint8_t*>(m_LarodInputFile->getBuffer()),
                                   static_cast<unsigned int>(m_ModelWidth), static_cast<unsigned int>(m_ModelHeight));
    if (!converted)
        g_Logger.error(std::string(kName) + "Failed img scale/convert in convertCropScaleU8yuvToRGB()");

    for (const auto* file : {&m_LarodOutputLocationsFile, &m_LarodOutputClassesFile, &m_LarodOutputScoresFile,
                             &m_LarodOutputNumDetectionsFile})
        if (*file != nullptr)
            (*file)->rewind();

    if (!larodRunInference(m_LarodConn, m_LarodInfReq, &m_LarodError)) {
        g_Logger.error(kName + ("Unable to run inference on model " + m_ModelPath) + ": " + take_larod_message());
        return 1; // the frame is deliberately not given back: the service may still be reading it
    }
    g_clear_error(&m_error);
    if (!vdo_stream_buffer_unref(m_VDOStream, &m_buf, &m_error)) {
        g_Logger.error(kName + ("Failed to release VDO stream buffer: " + take_message(m_error)));
        return 1;
    }
    remove_anomalies();
    apply_non_maximum_suppression();
    return 0;
}

std::vector<detection> location_controller_larod::get_detections() {
    std::vector<detection> detections;
    if (m_OutputScores == nullptr)
        return detections; // nothing has been set up
    const auto width = static_cast<float>(m_StreamWidth);
    const auto height = static_cast<float>(m_StreamHeight);
    for (int i = 0; i < m_MaxResults; ++i) {
        const int class_id = float_to_int(m_OutputClasses[i]);
        if (!IsValidClass(class_id) || !is_above_threshold(i))
            continue;
        const float* box = location(i);
        const auto top = static_cast<int>(float_to_unsigned(box[0] * height));
        const auto left = static_cast<int>(float_to_unsigned(box[1] * width));
        const auto bottom = static_cast<int>(float_to_unsigned(box[2] * height));
        const auto right = static_cast<int>(float_to_unsigned(box[3] * width));
        detections.push_back(
            {left, top, wrap_subtract(right, left), wrap_subtract(bottom, top), class_id, m_OutputScores[i]});
    }
    return detections;
}

std::string location_controller_larod::ClassIDToLabel(int class_id) {
    return class_label(class_id);
}

bool location_controller_larod::is_object_a_trigger(int class_id) {
    return is_class_wanted(class_id);
}

bool location_controller_larod::IsValidClass(int class_id) {
    return is_class_wanted(class_id);
}
