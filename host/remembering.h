#pragma once

#include "host/stay_care.h"
#include "host/stay_keeper.h"
#include "host/stay_settings.h"
#include "platform/axevent/host_events.h"
#include "platform/axoverlay/host_clips.h"

#include <optional>

namespace console {

/**
 * The stream that shows an alert: the one on which what is followed is hidden when users want one, else the one with
 * boxes, else 1280x720. Nothing where they want one but it has the size of another stream and so hides nobody.
 */
std::optional<host_overlay::StillView> view_to_remember();

/**
 * What a live run remembers, and whom it tells: the stays, their pictures, and the answers of the streams' server about
 * them. Made before the application starts; main thread.
 */
class Remembering {
  public:
    explicit Remembering(const StaySettings& settings);
    ~Remembering();
    Remembering(const Remembering&) = delete;
    Remembering& operator=(const Remembering&) = delete;

    /** An alert has changed and nobody has been told of it yet. */
    void before_alert(const host_events::Occurrence& occurrence);
    void after_pass();
    /** No pass comes any more; those who still stay there have left. */
    void finish();

  private:
    void remember(const StayRecord& record, int level);
    void watch_for_clips();
    void tell_webhook(const host_events::Occurrence& alert);
    void tell_ended();

    const StayFolder m_folder;
    StayKeeper m_keeper;
    const std::string m_pages;
    std::optional<Webhook> m_webhook;
    StayCare m_care;                                   // after the keeper, which may have to put its file aside
    std::optional<host_overlay::ClipRecorder> m_clips; // which tells the former
};

} // namespace console
