#include "larod.h"
#include "tests/platform/larod/test_models.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace korvex::larod::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t picture_bytes = 12;

/** A connection with outputs_4 loaded, its tensors on anonymous files; every test breaks something of it. */
class Larod : public testing::Test {
  protected:
    Larod() {
        EXPECT_TRUE(larodConnect(&m_connection, &m_error));
        EXPECT_TRUE(larodSetChip(m_connection, LAROD_CHIP_TFLITE_ARTPEC8DLPU, &m_error));
        m_model = load_model(test_model("outputs_4"));
        m_inputs = larodCreateModelInputs(m_model, &m_input_count, &m_error);
        m_outputs = larodCreateModelOutputs(m_model, &m_output_count, &m_error);
        for (int& fd : m_files)
            fd = memfd_create("tensor", MFD_CLOEXEC);
        EXPECT_EQ(ftruncate(m_files[0], picture_bytes), 0);
    }

    ~Larod() override {
        larodDestroyJobRequest(&m_request);
        larodDestroyTensors(&m_inputs, m_input_count);
        larodDestroyTensors(&m_outputs, m_output_count);
        larodDestroyModel(&m_model);
        if (m_connection != nullptr)
            larodDisconnect(&m_connection, nullptr);
        larodClearError(&m_error);
        for (const int fd : m_files)
            close(fd);
    }

    larodModel* load_model(const std::string& path) {
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        larodModel* model = larodLoadModel(m_connection, fd, LAROD_ACCESS_PUBLIC, "test", &m_error);
        close(fd);
        return model;
    }

    void bind() {
        ASSERT_TRUE(larodSetTensorFd(m_inputs[0], m_files[0], &m_error));
        for (std::size_t i = 0; i < m_output_count; ++i)
            ASSERT_TRUE(larodSetTensorFd(m_outputs[i], m_files[i + 1], &m_error));
    }

    void request() {
        m_request = larodCreateInferenceRequest(m_model, m_inputs, m_input_count, m_outputs, m_output_count, &m_error);
        ASSERT_NE(m_request, nullptr);
    }

    /** The last error's text, which is taken away. */
    std::string error() {
        const std::string text = m_error != nullptr ? m_error->msg : "no error";
        larodClearError(&m_error);
        return text;
    }

    void put_picture(std::byte value) const {
        const std::vector<std::byte> picture(picture_bytes, value);
        ASSERT_EQ(pwrite(m_files[0], picture.data(), picture.size(), 0), static_cast<ssize_t>(picture.size()));
    }

    float first_value(std::size_t output) const {
        float value = -1;
        EXPECT_EQ(pread(m_files[output + 1], &value, sizeof(value), 0), static_cast<ssize_t>(sizeof(value)));
        return value;
    }

    larodConnection* m_connection = nullptr;
    larodModel* m_model = nullptr;
    larodTensor** m_inputs = nullptr;
    larodTensor** m_outputs = nullptr;
    std::size_t m_input_count = 0;
    std::size_t m_output_count = 0;
    larodInferenceRequest* m_request = nullptr;
    larodError* m_error = nullptr;
    std::array<int, 5> m_files{};
};

TEST_F(Larod, TellsTheNumbersOfTensors) {
    EXPECT_EQ(m_input_count, 1U);
    EXPECT_EQ(m_output_count, 4U);
    larodModel* other = load_model(test_model("inputs_2"));
    std::size_t count = 0;
    larodTensor** tensors = larodCreateModelInputs(other, &count, &m_error);
    EXPECT_EQ(count, 2U);
    larodDestroyTensors(&tensors, count);
    EXPECT_EQ(tensors, nullptr);
    larodDestroyModel(&other);
    EXPECT_EQ(other, nullptr);
}

TEST_F(Larod, RunsPassAfterPassWhenOnlyTheOutputsAreRewound) {
    bind();
    request();
    for (const int value : {7, 9, 11}) {
        put_picture(std::byte(value));
        for (std::size_t i = 1; i < m_files.size(); ++i)
            lseek(m_files[i], 0, SEEK_SET);
        ASSERT_TRUE(larodRunInference(m_connection, m_request, &m_error)) << error();
        for (std::size_t output = 0; output < 4; ++output)
            EXPECT_EQ(first_value(output), static_cast<float>(value) * static_cast<float>(output + 1));
    }
}

TEST_F(Larod, WritesWhereTheOutputsStandAndMakesTheirFilesLonger) {
    bind();
    request();
    put_picture(std::byte{2});
    ASSERT_EQ(ftruncate(m_files[1], 1), 0);
    ASSERT_TRUE(larodRunInference(m_connection, m_request, &m_error)) << error();
    ASSERT_TRUE(larodRunInference(m_connection, m_request, &m_error)) << error();
    struct stat status {};
    ASSERT_EQ(fstat(m_files[1], &status), 0);
    EXPECT_EQ(status.st_size, 2 * 48);
    EXPECT_EQ(lseek(m_files[1], 0, SEEK_CUR), 2 * 48);
}

TEST_F(Larod, ReadsTheInputWhereItStands) {
    bind();
    request();
    ASSERT_EQ(ftruncate(m_files[0], 20), 0);
    const std::vector<std::byte> picture(picture_bytes, std::byte{3});
    ASSERT_EQ(pwrite(m_files[0], picture.data(), picture.size(), 8), static_cast<ssize_t>(picture.size()));
    lseek(m_files[0], 8, SEEK_SET);
    ASSERT_TRUE(larodRunInference(m_connection, m_request, &m_error)) << error();
    EXPECT_EQ(first_value(0), 3.0F);
}

TEST_F(Larod, RefusesAnInputThatIsTooShortOrCannotBeReadOrAnOutputThatCannotBeWritten) {
    bind();
    request();
    ASSERT_EQ(ftruncate(m_files[0], 5), 0);
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_EQ(error(), "Input tensor 0: The input's file holds 5 of the 12 bytes that the model takes.");
    put_picture(std::byte{1});
    const int unwritable = open("/proc/self/comm", O_RDONLY | O_CLOEXEC);
    ASSERT_TRUE(larodSetTensorFd(m_outputs[2], unwritable, &m_error));
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_THAT(error(), StartsWith("Output tensor 2: Cannot write the output: "));
    close(unwritable);
    ASSERT_TRUE(larodSetTensorFd(m_inputs[0], 12345, &m_error));
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_EQ(error(), "Input tensor 0: Its descriptor has been closed.");
}

TEST_F(Larod, RefusesToRunWhileATensorHasNoDescriptor) {
    request();
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_EQ(error(), "Input tensor 0: No descriptor is bound.");
    ASSERT_TRUE(larodSetTensorFd(m_inputs[0], m_files[0], &m_error));
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_EQ(error(), "Output tensor 0: No descriptor is bound.");
    EXPECT_FALSE(larodSetTensorFd(m_inputs[0], -1, &m_error));
    EXPECT_EQ(error(), "The descriptor -1 is invalid.");
}

TEST_F(Larod, RefusesTensorsThatAreNotTheModels) {
    const auto refused = [&](larodTensor** inputs, std::size_t input_count, larodTensor** outputs,
                             std::size_t output_count) {
        EXPECT_EQ(larodCreateInferenceRequest(m_model, inputs, input_count, outputs, output_count, &m_error), nullptr);
        return error();
    };
    EXPECT_EQ(refused(m_inputs, 2, m_outputs, 4), "The model needs 1 input tensors; 2 are given.");
    EXPECT_EQ(refused(nullptr, 1, m_outputs, 4), "The model needs 1 input tensors; 0 are given.");
    EXPECT_EQ(refused(m_inputs, 1, m_outputs, 3), "The model needs 4 output tensors; 3 are given.");
    EXPECT_EQ(refused(m_outputs, 1, m_outputs, 4), "The input tensor 0 does not belong to the model there.");
    larodTensor* missing = nullptr;
    EXPECT_EQ(refused(&missing, 1, m_outputs, 4), "The input tensor 0 is missing.");
    larodModel* other = load_model(test_model("outputs_4"));
    std::size_t count = 0;
    larodTensor** others = larodCreateModelInputs(other, &count, &m_error);
    EXPECT_EQ(refused(others, 1, m_outputs, 4), "The input tensor 0 does not belong to the model there.");
    larodDestroyTensors(&others, count);
    larodDestroyModel(&other);
}

TEST_F(Larod, ServesTwoChipsAndRefusesTheOthers) {
    EXPECT_TRUE(larodSetChip(m_connection, LAROD_CHIP_TFLITE_CPU, &m_error));
    for (const larodChip chip :
         {LAROD_CHIP_INVALID, LAROD_CHIP_DEBUG, LAROD_CHIP_TPU, LAROD_CHIP_CVFLOW_NN, LAROD_CHIP_TFLITE_GLGPU,
          LAROD_CHIP_CVFLOW_PROC, LAROD_CHIP_ACE, LAROD_CHIP_LIBYUV, LAROD_CHIP_OPENCL}) {
        EXPECT_FALSE(larodSetChip(m_connection, chip, &m_error));
        EXPECT_EQ(error(), "This host has no chip " + std::to_string(static_cast<int>(chip)) + "; 2 and 12 are there.");
    }
}

TEST_F(Larod, RefusesWhatItCannotLoad) {
    const auto refused = [&](const std::string& path) {
        EXPECT_EQ(load_model(path), nullptr);
        return error();
    };
    EXPECT_EQ(refused("/proc/self/comm"), "The model cannot be used: it is no TensorFlow Lite file, or it is damaged.");
    EXPECT_EQ(refused("/dev/null"), "The model's file is empty.");
    EXPECT_EQ(refused("/nowhere"), "Cannot read the file: Bad file descriptor.");
    EXPECT_EQ(larodLoadModel(m_connection, 0, LAROD_ACCESS_INVALID, "test", &m_error), nullptr);
    EXPECT_EQ(error(), "The model's access is neither private nor public.");
    EXPECT_EQ(larodLoadModel(m_connection, 0, LAROD_ACCESS_PUBLIC, nullptr, &m_error), nullptr);
    EXPECT_EQ(error(), "The model has no name.");
    larodConnection* fresh = nullptr;
    ASSERT_TRUE(larodConnect(&fresh, &m_error));
    EXPECT_EQ(larodLoadModel(fresh, 0, LAROD_ACCESS_PUBLIC, "test", &m_error), nullptr);
    EXPECT_EQ(error(), "No chip has been selected.");
    EXPECT_TRUE(larodDisconnect(&fresh, &m_error));
    EXPECT_EQ(fresh, nullptr);
}

TEST_F(Larod, SaysOnConnectingThatTheEngineIsMissing) {
    ASSERT_TRUE(larodDisconnect(&m_connection, &m_error)); // whoever is connected has an engine already
    setenv("KORVEX_LAROD_LIBRARY", "/nowhere/libengine.so", 1);
    larodConnection* connection = nullptr;
    EXPECT_FALSE(larodConnect(&connection, &m_error));
    unsetenv("KORVEX_LAROD_LIBRARY");
    EXPECT_EQ(connection, nullptr);
    EXPECT_NE(m_error->code, 0);
    EXPECT_THAT(error(), HasSubstr("/nowhere/libengine.so"));
}

TEST_F(Larod, RefusesNullArguments) {
    std::size_t count = 0;
    const std::array<bool, 8> results{
        larodConnect(nullptr, nullptr),
        larodDisconnect(nullptr, nullptr),
        larodSetChip(nullptr, LAROD_CHIP_TFLITE_CPU, nullptr),
        larodLoadModel(nullptr, 0, LAROD_ACCESS_PUBLIC, "test", nullptr) != nullptr,
        larodDeleteModel(m_connection, nullptr, nullptr),
        larodDeleteModel(nullptr, m_model, nullptr),
        larodSetTensorFd(nullptr, 0, nullptr),
        larodRunInference(nullptr, nullptr, nullptr),
    };
    for (const bool result : results)
        EXPECT_FALSE(result);
    EXPECT_EQ(larodCreateModelInputs(nullptr, &count, &m_error), nullptr);
    EXPECT_EQ(error(), "Tensors need a model and a place for their number.");
    EXPECT_EQ(larodCreateModelOutputs(m_model, nullptr, &m_error), nullptr);
    EXPECT_EQ(error(), "Tensors need a model and a place for their number.");
    EXPECT_EQ(larodCreateInferenceRequest(nullptr, m_inputs, 1, m_outputs, 4, &m_error), nullptr);
    EXPECT_EQ(error(), "There is no model.");
    EXPECT_FALSE(larodRunInference(m_connection, nullptr, &m_error));
    EXPECT_EQ(error(), "There is no connection or no request.");
    larodDestroyModel(nullptr);
    larodDestroyTensors(nullptr, 3);
    larodDestroyJobRequest(nullptr);
    larodClearError(nullptr);
}

TEST_F(Larod, GivesAnErrorWhenARequestsModelOrTensorsAreGone) {
    bind();
    request();
    put_picture(std::byte{1});
    larodDestroyTensors(&m_outputs, m_output_count);
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_EQ(error(), "Output tensor 0: No descriptor is bound.");
    ASSERT_TRUE(larodDeleteModel(m_connection, m_model, &m_error));
    EXPECT_FALSE(larodDeleteModel(m_connection, m_model, &m_error));
    EXPECT_EQ(error(), "The connection does not hold the model.");
    larodDestroyModel(&m_model);
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_EQ(error(), "The connection does not hold the request's model any more.");
}

TEST_F(Larod, CanBeTakenDownInAnyOrder) {
    bind();
    request();
    ASSERT_TRUE(larodDisconnect(&m_connection, &m_error));
    EXPECT_EQ(m_connection, nullptr);
    EXPECT_FALSE(larodDisconnect(&m_connection, &m_error));
    EXPECT_EQ(error(), "There is no connection to close.");
    larodDestroyModel(&m_model);
    larodDestroyTensors(&m_inputs, m_input_count);
    larodDestroyJobRequest(&m_request);
    EXPECT_EQ(m_request, nullptr);
}

TEST_F(Larod, ReportsAModelThatCannotBeRun) {
    larodModel* model = load_model(test_model("wrong_size_as_it_runs"));
    std::size_t inputs = 0;
    std::size_t outputs = 0;
    larodTensor** input = larodCreateModelInputs(model, &inputs, &m_error);
    larodTensor** output = larodCreateModelOutputs(model, &outputs, &m_error);
    put_picture(std::byte{200});
    ASSERT_TRUE(larodSetTensorFd(input[0], m_files[0], &m_error));
    ASSERT_TRUE(larodSetTensorFd(output[0], m_files[1], &m_error));
    m_request = larodCreateInferenceRequest(model, input, inputs, output, outputs, &m_error);
    EXPECT_FALSE(larodRunInference(m_connection, m_request, &m_error));
    EXPECT_THAT(error(), HasSubstr("The model cannot be run: "));
    larodDestroyTensors(&input, inputs);
    larodDestroyTensors(&output, outputs);
    larodDestroyModel(&model);
}

} // namespace

} // namespace korvex::larod::test
