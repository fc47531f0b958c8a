// What the default model sees in known pictures: the built-in scene, whose truth is known. model/make.sh must have run.

#include "larod.h"
#include "platform/street/street_scene.h"
#include "platform/vdostream/outage_card.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int width = 960;
constexpr int height = 540;

/** A box in pixels with what is in it. */
struct Object {
    int class_index;
    double left, top, right, bottom;
    float score;
};

double overlap(const Object& a, const Object& b) {
    const double w = std::max(0.0, std::min(a.right, b.right) - std::max(a.left, b.left));
    const double h = std::max(0.0, std::min(a.bottom, b.bottom) - std::max(a.top, b.top));
    const auto area = [](const Object& o) { return (o.right - o.left) * (o.bottom - o.top); };
    return w * h / (area(a) + area(b) - w * h);
}

/** RGB rows of one picture. */
struct Picture {
    int width, height;
    std::vector<std::uint8_t> rgb;
};

/** The model of one picture size behind the interface that the application uses. */
class Detector {
  public:
    explicit Detector(const std::string& name) {
        const std::string path = std::string(KORVEX_MODEL_DIR) + "/" + name + ".tflite";
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_GE(file, 0) << path << " is missing; model/make.sh makes it.";
        m_ready = larodConnect(&m_connection, &m_error) &&
                  larodSetChip(m_connection, LAROD_CHIP_TFLITE_CPU, &m_error) &&
                  (m_model = larodLoadModel(m_connection, file, LAROD_ACCESS_PUBLIC, "test", &m_error)) != nullptr &&
                  (m_inputs = larodCreateModelInputs(m_model, &m_input_count, &m_error)) != nullptr &&
                  (m_outputs = larodCreateModelOutputs(m_model, &m_output_count, &m_error)) != nullptr;
        close(file);
        for (int& fd : m_files)
            fd = memfd_create("tensor", MFD_CLOEXEC);
        m_ready = m_ready && m_output_count == 4 && larodSetTensorFd(m_inputs[0], m_files[0], &m_error);
        for (std::size_t i = 0; m_ready && i < m_output_count; ++i)
            m_ready = larodSetTensorFd(m_outputs[i], m_files[i + 1], &m_error);
        if (m_ready)
            m_request =
                larodCreateInferenceRequest(m_model, m_inputs, m_input_count, m_outputs, m_output_count, &m_error);
        EXPECT_NE(m_request, nullptr) << (m_error != nullptr ? m_error->msg : "");
    }

    ~Detector() {
        larodDestroyJobRequest(&m_request);
        larodDestroyTensors(&m_inputs, m_input_count);
        larodDestroyTensors(&m_outputs, m_output_count);
        larodDestroyModel(&m_model);
        larodDisconnect(&m_connection, nullptr);
        larodClearError(&m_error);
        for (const int fd : m_files)
            close(fd);
    }
    Detector(const Detector&) = delete;
    Detector& operator=(const Detector&) = delete;

    std::vector<Object> find(const Picture& picture, float threshold) {
        if (m_request == nullptr)
            return {};
        const auto size = static_cast<ssize_t>(picture.rgb.size());
        EXPECT_EQ(pwrite(m_files[0], picture.rgb.data(), picture.rgb.size(), 0), size);
        for (std::size_t i = 1; i < m_files.size(); ++i)
            lseek(m_files[i], 0, SEEK_SET);
        EXPECT_TRUE(larodRunInference(m_connection, m_request, &m_error)) << m_error->msg;
        std::array<float, 200> boxes{};
        std::array<float, 50> classes{};
        std::array<float, 50> scores{};
        read(1, boxes);
        read(2, classes);
        read(3, scores);
        std::vector<Object> objects;
        const double w = picture.width;
        const double h = picture.height;
        for (std::size_t i = 0; i < scores.size(); ++i) {
            const float* box = boxes.data() + 4 * i;
            if (scores[i] > threshold)
                objects.push_back(
                    {static_cast<int>(classes[i]), box[1] * w, box[0] * h, box[3] * w, box[2] * h, scores[i]});
        }
        return objects;
    }

  private:
    template <std::size_t Count>
    void read(std::size_t file, std::array<float, Count>& values) const {
        EXPECT_EQ(pread(m_files[file], values.data(), sizeof(values), 0), static_cast<ssize_t>(sizeof(values)));
    }

    larodConnection* m_connection = nullptr;
    larodModel* m_model = nullptr;
    larodTensor** m_inputs = nullptr;
    larodTensor** m_outputs = nullptr;
    std::size_t m_input_count = 0;
    std::size_t m_output_count = 0;
    larodInferenceRequest* m_request = nullptr;
    larodError* m_error = nullptr;
    std::array<int, 5> m_files{-1, -1, -1, -1, -1};
    bool m_ready = false;
};

Picture street_at(double seconds) {
    static host_scene::StreetScene street(width, height);
    std::vector<std::uint32_t> words(std::size_t{width} * height);
    street.draw_rgb(seconds, words.data());
    Picture picture{width, height, {}};
    for (const std::uint32_t word : words) {
        for (const unsigned shift : {16U, 8U, 0U})
            picture.rgb.push_back(static_cast<std::uint8_t>(word >> shift));
    }
    return picture;
}

/** The vehicles and persons that the picture shows whole. */
std::vector<Object> truth_at(double seconds) {
    static const host_scene::StreetScene street(width, height);
    std::vector<Object> objects;
    for (const auto& object : street.truth(seconds)) {
        const Object found{object.class_index,         object.left, object.top, object.left + object.width,
                           object.top + object.height, 1.0F};
        if (found.left > 4 && found.right < width - 4)
            objects.push_back(found);
    }
    return objects;
}

class EachModel : public testing::TestWithParam<std::string> {};

TEST_P(EachModel, FindsMostCarsAndTheBusOfTheStreetWhereTheyAre) {
    Detector detector(GetParam());
    std::array<int, 9> shown{};
    std::array<int, 9> found{};
    for (int step = 0; 4.5 * step < host_scene::cycle_seconds; ++step) {
        const double seconds = 4.5 * step;
        const auto objects = detector.find(street_at(seconds), 0.35F);
        for (const Object& truth : truth_at(seconds)) {
            ++shown[static_cast<std::size_t>(truth.class_index)];
            found[static_cast<std::size_t>(truth.class_index)] +=
                std::any_of(objects.begin(), objects.end(), [&](const Object& object) {
                    return object.class_index == truth.class_index && overlap(object, truth) > 0.6;
                });
        }
    }
    constexpr std::size_t car = 2;
    constexpr std::size_t bus = 5;
    ASSERT_GE(shown[car], 10);
    ASSERT_GT(shown[bus], 0);
    RecordProperty("cars", std::to_string(found[car]) + " of " + std::to_string(shown[car]));
    RecordProperty("buses", std::to_string(found[bus]) + " of " + std::to_string(shown[bus]));
    EXPECT_GE(found[car] * 10, shown[car] * 8) << found[car] << " of " << shown[car];
    EXPECT_GE(found[bus] * 10, shown[bus] * 8) << found[bus] << " of " << shown[bus];
}

TEST_P(EachModel, FindsNothingInAnEmptyPicture) {
    Detector detector(GetParam());
    const Picture grey{width, height, std::vector<std::uint8_t>(std::size_t{width} * height * 3, 128)};
    EXPECT_TRUE(detector.find(grey, 0.3F).empty());
}

TEST_P(EachModel, FindsNothingOnTheCardThatACameraWithoutVideoShows) {
    Detector detector(GetParam());
    for (const auto& [card_width, card_height] : {std::pair{width, height}, {640, 360}, {1920, 1080}}) {
        for (std::time_t since = 0; since < 86400; since += 7 * 3600 + 1111) {
            const auto card =
                vdostream::picture_of(std::make_shared<vdostream::OutageCard>(card_width, card_height, since));
            const auto nv12 = card->in_geometry({width, height, 0, vdostream::AspectRule::fit});
            ASSERT_NE(nv12, nullptr);
            Picture shown{width, height, {}};
            for (int i = 0; i < width * height; ++i)
                shown.rgb.insert(shown.rgb.end(), 3,
                                 static_cast<std::uint8_t>((nv12[i] - 16) * 255 / 219)); // it is grey
            EXPECT_TRUE(detector.find(shown, 0.2F).empty()) << card_width << " wide, at " << since << " s";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Detection, EachModel, testing::Values("detect_960_540", "fast/detect_960_540"));

/** A square of the street at the top left of a picture, the rest grey. */
Picture square_in(const Picture& street, int left, int picture_width, int picture_height) {
    Picture picture{picture_width, picture_height, {}};
    picture.rgb.assign(static_cast<std::size_t>(picture_width * picture_height) * 3, 128);
    for (int row = 0; row < height; ++row)
        std::memcpy(picture.rgb.data() + static_cast<std::size_t>(row * picture_width) * 3,
                    street.rgb.data() + static_cast<std::size_t>(row * width + left) * 3, std::size_t{height} * 3);
    return picture;
}

TEST(Detection, AgreesBetweenTheLandscapeAndThePortraitModel) {
    Detector landscape("detect_960_540");
    Detector portrait("detect_540_960");
    int compared = 0;
    for (const double seconds : {6.0, 18.0, 30.0, 42.0, 54.0, 66.0}) {
        const Picture street = street_at(seconds);
        const auto wide = landscape.find(square_in(street, 210, width, height), 0.45F);
        const auto tall = portrait.find(square_in(street, 210, height, width), 0.3F);
        for (const Object& object : wide) {
            // At the square's right edge the two pictures go on differently.
            if (object.right > 500)
                continue;
            ++compared;
            EXPECT_TRUE(std::any_of(tall.begin(), tall.end(),
                                    [&](const Object& other) {
                                        return other.class_index == object.class_index &&
                                               overlap(other, object) > 0.8 &&
                                               std::abs(other.score - object.score) < 0.15F;
                                    }))
                << "class " << object.class_index << " at " << seconds << " s, left " << object.left << ", score "
                << object.score;
        }
    }
    EXPECT_GE(compared, 4);
}

} // namespace
