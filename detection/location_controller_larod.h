#pragma once

#include "base/shared_field.h"
#include "detection/common_structs.h"
#include "vision/mmfile.h"

#include <glib.h>
#include <larod.h>
#include <vdo-buffer.h>
#include <vdo-stream.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/**
 * The detector: owns the video stream that is analysed, the connection to the inference service, the model and the
 * files that carry its tensors.
 *
 * `init_larod` once at start-up, then `larod_prepare_data_and_do_ai` and `get_detections` on every pass, all on the
 * main thread. `set_sensitivity` may come from the web thread at any time. After a failed set-up every pass fails and
 * says so; nothing is retried.
 *
 * Boxes: the network gives top, left, bottom, right as fractions of the frame; a detection is in pixels of the analysed
 * stream, after rotation when portrait.
 */
class location_controller_larod {
  public:
    location_controller_larod() = default;
    ~location_controller_larod();
    location_controller_larod(const location_controller_larod&) = delete;
    location_controller_larod& operator=(const location_controller_larod&) = delete;

    /**
     * Chooses and starts the stream, loads the model and binds its tensors. `width` and `height` are the model's in
     * landscape whatever `is_portrait` says; `iteration_time` is the main loop's period in milliseconds. False when
     * anything cannot be had; what exists by then stays for the destructor. Throws what MemoryMappedFile throws.
     */
    bool init_larod(std::string app_name, std::string model_file_name, int width, int height, larodChip chip,
                    int iteration_time, bool is_portrait);

    /** Connects to the inference service, selects the chip and loads the model from `m_LarodModelFd`. */
    bool larod_setup();

    /**
     * The smallest of the camera's resolutions around 16:9 that is at least as large as requested. Without one the
     * width receives the requested height and the height is left alone, and the result is still true; deliberate.
     * REQUIRES: both pointers are set.
     */
    bool choose_resolution(unsigned int req_width, unsigned int req_height, unsigned int* chosen_width,
                           unsigned int* chosen_height);

    void set_paths();

    /** One pass: frame, conversion, inference, clean-up of the raw results. 0 for success, 1 for failure. */
    int larod_prepare_data_and_do_ai();

    /** The wanted detections of the last pass, in the network's order, at most `m_MaxResults`. */
    std::vector<detection> get_detections();

    /** Demotes boxes of implausible size and every result of class 0. Always 0. */
    int remove_anomalies();

    /** Demotes what overlaps an earlier result of a comparable class. Always 0. */
    int apply_non_maximum_suppression();
    int lower_the_threshold_of_any_same_object_overlapping_this_one(int i);

    /** Whether the intersection is more than `m_Overlap` of the smaller box. Each box is four location floats. */
    bool DoTheseOverlap(float* boxA, float* boxB, int indexB);

    static std::string ClassIDToLabel(int class_id);

    /** Whether the user wants this class now. */
    static bool is_object_a_trigger(int class_id);
    static bool IsValidClass(int class_id);

    void set_sensitivity(float value) { write_shared(m_Threshold, value); }
    void set_is_portrait_true() { m_IsPortrait = true; }
    unsigned int get_stream_width() const { return m_StreamWidth; }
    unsigned int get_stream_height() const { return m_StreamHeight; }
    int get_iteration_time() const { return m_IterationTime; }
    std::string get_modelpath() const { return m_ModelPath; }
    uint8_t* get_input() const { return m_Input; }
    float* get_output_classes() const { return m_OutputClasses; }
    float* get_output_scores() const { return m_OutputScores; }

  public:
    std::string m_ModelFileName;
    const int m_IgnoredLeftStripeW = 0; // held at 0 and consulted by no stage
    const int m_IgnoredRightStripeW = 0;
    int m_ModelWidth = 300; // pixels of the network's input
    int m_ModelHeight = 300;
    int m_IterationTime = 500; // milliseconds
    const float m_Overlap = 0.4F;
    const float m_TinyAnomalyMaxAreaPercent = 0.005F; // fractions of the frame's area, despite the name
    const float m_HugeAnomalyMaxAreaPercent = 0.7F;
    const int m_MaxResults = 12;    // leading rows of the outputs that are looked at
    unsigned int m_StreamWidth = 0; // pixels of the analysed frames
    unsigned int m_StreamHeight = 0;
    float m_Threshold = 0.35F; // a result counts when its score is above; shared by the rule of shared_field.h
    std::string m_app_name;
    std::string m_ModelPath;
    uint8_t* m_Input = nullptr;         // never assigned: each pass asks the input file
    float* m_OutputClasses = nullptr;   // into the tensor files
    float* m_OutputScores = nullptr;    //
    float* m_OutputLocations = nullptr; //
    const std::string m_LarodInputFileName = "/tmp/larod.in.test-XXXXXX";
    const std::string m_LarodOutputLocationsFileName = "/tmp/larod.out0.test-XXXXXX";
    const std::string m_LarodOutputClassesFileName = "/tmp/larod.out1.test-XXXXXX";
    const std::string m_LarodOutputScoresFileName = "/tmp/larod.out2.test-XXXXXX";
    const std::string m_LarodOutputNumDetectionsFileName = "/tmp/larod.out3.test-XXXXXX";
    larodConnection* m_LarodConn = nullptr;
    larodModel* m_LarodModel = nullptr;
    int m_LarodModelFd = -1; // stays open to the end of the process
    larodError* m_LarodError = nullptr;
    std::unique_ptr<MemoryMappedFile> m_LarodInputFile;
    std::unique_ptr<MemoryMappedFile> m_LarodOutputLocationsFile;
    std::unique_ptr<MemoryMappedFile> m_LarodOutputClassesFile;
    std::unique_ptr<MemoryMappedFile> m_LarodOutputScoresFile;
    std::unique_ptr<MemoryMappedFile> m_LarodOutputNumDetectionsFile;
    const int m_NumberofResults = 100; // rows by which the output files are sized
    larodChip m_LarodChipType = LAROD_CHIP_INVALID;
    larodTensor** m_LarodInputTensors = nullptr;
    size_t m_LarodNumInputs = 0;
    larodTensor** m_LarodOutputTensors = nullptr;
    size_t m_LarodNumOutputs = 0;
    larodInferenceRequest* m_LarodInfReq = nullptr;
    VdoStream* m_VDOStream = nullptr;
    GError* m_error = nullptr;
    VdoBuffer* m_buf = nullptr; // the frame of the running pass
    uint8_t* m_nv12Data = nullptr;
    bool m_IsPortrait = false;

  private:
    bool start_stream(unsigned int width, unsigned int height, unsigned int rotation);
    void create_tensor_files();
    bool bind_tensors();
    std::string take_larod_message();
    /** Whether a row counts now; never when its score is not a number. */
    bool is_above_threshold(int row) const { return m_OutputScores[row] > read_shared(m_Threshold); }
    /** The four location floats of a row. */
    float* location(int row) const { return m_OutputLocations + ptrdiff_t{4} * row; }
};

/** Whether results of these classes may suppress each other: equal ones, and a car and a truck. */
bool shouldCompareClasses(int a, int b);

extern location_controller_larod g_LocationController;
