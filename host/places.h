#pragma once

#include <string>

namespace console {

/** Where the programs and the files are that a run needs. */
struct Places {
    std::string live;
    std::string replay;
    std::string stays;
    std::string settings;
    std::string parameter;
    std::string check_model;
    std::string check_video;
    std::string inference_service;
    std::string inference_library; ///< empty: the one that the build has chosen
    std::string pages;             ///< a folder, like the next two
    std::string web_rules;
    std::string models;
    std::string manifest;
    std::string state; ///< where the settings are kept unless --state says something else
};

/** In a repository: the programs in the folder of a build. */
Places built_places(const std::string& build, const std::string& repository);

/** Of a package: all programs, and the engine's library, in `programs`, a folder PREFIX/lib/NAME; the repository's
   html, web/lighttpd and package/manifest.json and the model beside it in PREFIX/share/NAME. `home` is the user's home.
 */
Places installed_places(const std::string& programs, const std::string& home);

/** Those of this program: of the build that KORVEX_BUILD_DIR names, else of the build tree in which it stands, else of
    the package that it belongs to. */
Places own_places();

} // namespace console
