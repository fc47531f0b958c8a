#include "host/private_view.h"

#include "host/refusal.h"

#include <filesystem>
#include <set>

namespace console {
namespace {

namespace fs = std::filesystem;

/** Shows each entry of the folder where it was. */
void bring_back(const fs::path& folder, std::vector<std::string>& arguments) {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored))
        if (entry.is_symlink(ignored))
            arguments.insert(arguments.end(), {"--symlink", fs::read_symlink(entry, ignored), entry.path()});
        else
            arguments.insert(arguments.end(), {"--dev-bind-try", entry.path(), entry.path()});
}

fs::path nearest_folder(fs::path place) {
    std::error_code ignored;
    while (!fs::is_directory(place, ignored))
        place = place.parent_path();
    return place;
}

} // namespace

std::vector<std::string> view_arguments(const std::vector<Place>& places) {
    std::vector<std::string> covers;
    std::vector<std::string> binds;
    std::set<fs::path> covered;
    for (const Place& place : places) {
        const fs::path folder = nearest_folder(place.target);
        if (folder != place.target && covered.insert(folder).second) {
            if (folder != "/")
                covers.insert(covers.end(), {"--tmpfs", folder});
            bring_back(folder, covers);
        }
        binds.insert(binds.end(), {"--bind", place.source, place.target});
    }
    std::vector<std::string> arguments;
    // Without a root of its own a view starts empty.
    if (!covered.contains("/"))
        arguments = {"--dev-bind", "/", "/"};
    arguments.insert(arguments.end(), covers.begin(), covers.end());
    arguments.insert(arguments.end(), binds.begin(), binds.end());
    return arguments;
}

RealLinks::RealLinks(const std::vector<Place>& places) {
    try {
        for (const Place& place : places)
            make(place);
    } catch (const Refusal&) {
        remove();
        throw;
    }
}

RealLinks::~RealLinks() {
    remove();
}

void RealLinks::make(const Place& place) {
    std::error_code problem;
    if (fs::exists(place.target, problem) && fs::read_symlink(place.target, problem) != place.source)
        throw Refusal(place.target + " exists already and no private view can be made here; move it away first.");
    fs::path folder = fs::path(place.target).parent_path();
    for (; !fs::is_directory(folder, problem); folder = folder.parent_path())
        m_folders.push_back(folder);
    m_links.push_back(place.target);
    fs::create_directories(fs::path(place.target).parent_path(), problem);
    fs::remove(place.target, problem);
    fs::create_directory_symlink(place.source, place.target, problem);
    if (problem)
        throw Refusal(place.target + " cannot be made.");
}

void RealLinks::remove() {
    std::error_code ignored;
    for (const std::string& link : m_links)
        fs::remove(link, ignored);
    for (const std::string& folder : m_folders)
        fs::remove(folder, ignored); // one that others use as well is not empty
}

} // namespace console
