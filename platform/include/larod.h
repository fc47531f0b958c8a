#pragma once

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct larodConnection larodConnection;
typedef struct larodModel larodModel;
typedef struct larodTensor larodTensor;
typedef struct larodInferenceRequest larodInferenceRequest;

typedef enum { LAROD_ACCESS_INVALID = 0, LAROD_ACCESS_PRIVATE = 1, LAROD_ACCESS_PUBLIC = 2 } larodAccess;

typedef enum {
    LAROD_CHIP_INVALID = 0,
    LAROD_CHIP_DEBUG = 1,
    LAROD_CHIP_TFLITE_CPU = 2,
    LAROD_CHIP_TPU = 4,
    LAROD_CHIP_CVFLOW_NN = 6,
    LAROD_CHIP_TFLITE_GLGPU = 8,
    LAROD_CHIP_CVFLOW_PROC = 9,
    LAROD_CHIP_ACE = 10,
    LAROD_CHIP_LIBYUV = 11,
    LAROD_CHIP_TFLITE_ARTPEC8DLPU = 12,
    LAROD_CHIP_OPENCL = 13
} larodChip;

/** Released with larodClearError; `msg` lives as long as the record. */
typedef struct {
    int code;
    const char* msg;
} larodError;

bool larodConnect(larodConnection** conn, larodError** error);
/** Closes the connection and sets *conn to NULL. */
bool larodDisconnect(larodConnection** conn, larodError** error);
bool larodSetChip(larodConnection* conn, const larodChip chip, larodError** error);
/** Reads the whole model from `fd`, which stays the caller's. */
larodModel* larodLoadModel(larodConnection* conn, const int fd, const larodAccess access, const char* name,
                           larodError** error);
/** Removes the model from the service; the handle is still the caller's to destroy. */
bool larodDeleteModel(larodConnection* conn, larodModel* model, larodError** error);
void larodDestroyModel(larodModel** model);
larodTensor** larodCreateModelInputs(const larodModel* model, size_t* num_tensors, larodError** error);
larodTensor** larodCreateModelOutputs(const larodModel* model, size_t* num_tensors, larodError** error);
/** Binds a tensor to a descriptor, which stays the caller's and must outlive every request that uses the tensor. */
bool larodSetTensorFd(larodTensor* tensor, const int fd, larodError** error);
void larodDestroyTensors(larodTensor*** tensors, size_t num_tensors);
larodInferenceRequest* larodCreateInferenceRequest(const larodModel* model, larodTensor** inputs, size_t num_inputs,
                                                   larodTensor** outputs, size_t num_outputs, larodError** error);
/**
 * Reads the inputs from, and writes the outputs to, the bound descriptors at their current file position; an output
 * larger than the file it goes to makes the file longer.
 */
bool larodRunInference(larodConnection* conn, const larodInferenceRequest* request, larodError** error);
void larodDestroyJobRequest(larodInferenceRequest** request);
/** Releases the record and sets *error to NULL; harmless for NULL. */
void larodClearError(larodError** error);

#ifdef __cplusplus
}
#endif
