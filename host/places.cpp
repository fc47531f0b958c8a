#include "host/places.h"

#include <glib.h>

#include <cstdlib>
#include <filesystem>

namespace console {

namespace fs = std::filesystem;

Places built_places(const std::string& build, const std::string& repository) {
    Places places;
    places.live = build + "/host/korvex_live";
    places.replay = build + "/host/korvex_replay";
    places.stays = build + "/host/korvex_stays";
    places.settings = build + "/host/korvex_settings";
    places.parameter = build + "/platform/axparameter/korvex_parameter";
    places.check_model = build + "/platform/larod/korvex_check_model";
    places.check_video = build + "/platform/vdostream/korvex_check_video";
    places.inference_service = build + "/platform/larod/korvex_larod";
    places.pages = repository + "/html";
    places.web_rules = repository + "/web/lighttpd";
    places.models = repository + "/build/model";
    places.manifest = repository + "/package/manifest.json";
    places.state = repository + "/.state";
    return places;
}

Places installed_places(const std::string& programs, const std::string& home) {
    const fs::path folder = programs;
    const std::string files = folder.parent_path().parent_path() / "share" / folder.filename();
    Places places;
    places.live = folder / "korvex_live";
    places.replay = folder / "korvex_replay";
    places.stays = folder / "korvex_stays";
    places.settings = folder / "korvex_settings";
    places.parameter = folder / "korvex_parameter";
    places.check_model = folder / "korvex_check_model";
    places.check_video = folder / "korvex_check_video";
    places.inference_service = folder / "korvex_larod";
    places.inference_library = folder / "libtensorflowlite_c.so";
    places.pages = files + "/html";
    places.web_rules = files + "/web/lighttpd";
    places.models = files + "/model";
    places.manifest = files + "/package/manifest.json";
    places.state = home + "/.local/state/korvex_orvel";
    return places;
}

Places own_places() {
    const char* build = std::getenv("KORVEX_BUILD_DIR");
    if (build != nullptr && *build != '\0')
        return built_places(fs::absolute(build), KORVEX_SOURCE_DIR);
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::error_code ignored; // of a package the build is not there any more
    if (fs::equivalent(folder, KORVEX_HOST_BUILD_DIR, ignored))
        return built_places(folder.parent_path(), KORVEX_SOURCE_DIR);
    return installed_places(folder, g_get_home_dir());
}

} // namespace console
