#pragma once

#include "tests/doubles/call_recorder.h"

#include <larod.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

/**
 * The inference service for a test: every call is recorded, an inference writes what the test says.
 *
 * Journal lines: "larodConnect", "larodDisconnect", "larodSetChip CHIP", "larodLoadModel FD ACCESS NAME",
 * "larodDeleteModel", "larodDestroyModel", "larodCreateModelInputs", "larodCreateModelOutputs",
 * "larodSetTensorFd TENSOR FD" (TENSOR: "input0", "output2"), "larodDestroyTensors input" or "output",
 * "larodCreateInferenceRequest INPUTS OUTPUTS", "larodRunInference", "larodDestroyJobRequest". Kinds of live objects:
 * larodConnection, larodModel, larodTensors (an array of them), larodInferenceRequest, larodError.
 *
 * Passing on what is not a live object of the service is a misuse; a null connection or request is refused with an
 * error, as the service does.
 */
namespace recording_larod {

call_recorder& recorder();

/** Journal, failures and everything below as at the start. */
void reset();

/** Of the models that are loaded from now on; 1 and 4 at the start. */
void set_tensor_counts(size_t inputs, size_t outputs);

/** What an inference writes to each output's descriptor at its current position; nothing at the start. */
void set_outputs(const std::array<std::vector<float>, 4>& outputs);

/** Runs inside every inference, before the outputs are written. */
void on_inference(std::function<void()> what);

/** What the last inference found in its input, from the descriptor's position at that time to the file's end. */
std::vector<uint8_t> last_input();

} // namespace recording_larod
