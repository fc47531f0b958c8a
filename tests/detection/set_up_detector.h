#pragma once

#include "detection/location_controller_larod.h"
#include "tests/doubles/core_fixture.h"
#include "tests/doubles/failing_libc.h"
#include "tests/doubles/recording_larod.h"
#include "tests/doubles/recording_vdo.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

using texts = std::vector<std::string>;

/** A detector of the test's own, with both model files in the package's folder. */
class set_up_detector : public core_fixture {
  protected:
    set_up_detector() {
        failing_libc::reset();
        std::filesystem::create_directories(folder / "korvex_orvel");
        for (const char* name : {"detect_960_540.tflite", "detect_540_960.tflite"})
            std::ofstream(folder / "korvex_orvel" / name) << "model";
        failing_libc::redirect_packages(folder);
    }
    ~set_up_detector() override {
        destroy();
        failing_libc::reset();
    }

    bool init(larodChip chip = LAROD_CHIP_TFLITE_ARTPEC8DLPU, bool portrait = false,
              const std::string& model = "detect_960_540.tflite") {
        return detector->init_larod("korvex_orvel", model, 960, 540, chip, 200, portrait);
    }

    void set_up() {
        ASSERT_TRUE(init());
        forget_log();
    }

    /** The descriptor of the model is left open by design; this ends it with the test. */
    void destroy() {
        if (detector != nullptr && detector->m_LarodModelFd >= 0)
            close(detector->m_LarodModelFd);
        detector.reset();
    }

    std::unique_ptr<location_controller_larod> detector = std::make_unique<location_controller_larod>();
};
