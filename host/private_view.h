#pragma once

#include <string>
#include <vector>

namespace console {

/** A folder that is to be found at another place as well. */
struct Place {
    std::string target;
    std::string source;
};

/** The arguments with which bwrap shows each source at its target, for one program alone; the real file system stays as
    it is. A target whose parents are missing cannot be made under a root that is only shown, so the nearest folder that
    exists is covered with an empty one in memory, into which its entries are put back; there the missing parents can be
    made. What the program makes beside them in such a folder is lost. */
std::vector<std::string> view_arguments(const std::vector<Place>& places);

/** The same on the real file system, as links, while this object lives. Folders that were there before stay, empty ones
    too. The link of a command that was killed is taken over. */
class RealLinks {
  public:
    /** Throws Refusal when something else is at a target, or it cannot be made; then nothing is left. */
    explicit RealLinks(const std::vector<Place>& places);
    ~RealLinks();
    RealLinks(const RealLinks&) = delete;
    RealLinks& operator=(const RealLinks&) = delete;

  private:
    void make(const Place& place);
    void remove();

    std::vector<std::string> m_links;
    std::vector<std::string> m_folders; // each before its parent
};

} // namespace console
