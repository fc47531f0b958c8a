#include "host/remembering.h"

#include "app/app_main.h"
#include "base/shared_field.h"
#include "host/alert_message.h"
#include "host/stay_answers.h"
#include "platform/axoverlay/host_answers.h"
#include "platform/common/report.h"
#include "scene/clock.h"

#include <unistd.h>

#include <chrono>
#include <memory>

namespace console {
namespace {

/** For the overlay of the next pass, which is late at times. */
constexpr std::chrono::seconds still_patience{3};

double steady_seconds() {
    const timeval now = dwell_time();
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

double unix_seconds() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

StayCare::Camera stream_camera() {
    const auto camera = std::make_shared<host_overlay::StillCamera>();
    return {[camera](const host_overlay::StillView& view) { return camera->take(view, still_patience); },
            [camera] { camera->stop(); }};
}

/** The last pass ran to its end: otherwise the findings are those of an earlier one. */
bool has_findings() {
    constexpr int failed = 400;
    constexpr int without_agreement = 408;
    return g_StatusCode != failed && g_StatusCode != without_agreement;
}

} // namespace

std::optional<host_overlay::StillView> view_to_remember() {
    constexpr host_overlay::StillView usual;
    host_overlay::StillView view;
    view.rotation = g_ParameterController.get_rotation();
    uint32_t width = read_shared(g_OverlayInfo.anonymizedStreamWidth);
    uint32_t height = read_shared(g_OverlayInfo.anonymizedStreamHeight);
    if (width != 0) {
        if (g_OverlayInfo.getStreamType(width, height) != AnonymizedStream)
            return std::nullopt;
    } else {
        width = read_shared(g_OverlayInfo.overlayStreamWidth);
        height = read_shared(g_OverlayInfo.overlayStreamHeight);
    }
    view.width = width != 0 ? static_cast<int>(width) : usual.width;
    view.height = width != 0 ? static_cast<int>(height) : usual.height;
    return view;
}

Remembering::Remembering(const StaySettings& settings)
    : m_folder(settings.state), m_keeper(m_folder, {steady_seconds, unix_seconds},
                                         [this](const StayRecord& record, int level) { remember(record, level); }),
      m_pages(settings.pages), m_care(m_folder, settings.limits, stream_camera()) {
    if (settings.webhook) {
        m_webhook.emplace(*settings.webhook, [folder = m_folder](const std::string& name) {
            return access((folder.stills() + "/" + name + ".jpg").c_str(), F_OK) == 0;
        });
    }
    if (settings.clips) {
        m_clips.emplace(host_overlay::ClipRecorder::Listener{
            [this](const std::string& /*path*/, std::uint64_t bytes) { m_care.count(bytes); },
            [](const std::string& why) { platform::report("stays", "no video of an alert is kept: " + why); }});
    }
    host_overlay::set_answers([folder = m_folder](const std::string& path, const host_overlay::QueryArguments& query) {
        return stay_answer(folder, path, query);
    });
}

Remembering::~Remembering() {
    host_overlay::set_answers({});
}

void Remembering::before_alert(const host_events::Occurrence& occurrence) {
    if (occurrence.what == host_events::Occurrence::What::event) {
        m_keeper.look(g_findings);
        if (m_webhook && occurrence.active.value_or(false))
            tell_webhook(occurrence);
    }
}

void Remembering::tell_webhook(const host_events::Occurrence& alert) {
    const int level = level_of_alert(alert.nice_name);
    const StayRecord* stay = level > 0 ? m_keeper.latest_at(level) : nullptr;
    if (stay != nullptr) {
        const bool has_still = view_to_remember().has_value();
        m_webhook->push(has_still ? StayFolder::name_of(stay->id, level) : "",
                        json_of_alert(alert, *stay, m_pages, has_still));
    }
}

void Remembering::after_pass() {
    if (has_findings())
        m_keeper.look(g_findings);
    if (std::vector<std::int64_t> over = m_care.take_over(); !over.empty())
        m_keeper.forget(std::move(over));
    if (m_clips)
        watch_for_clips();
    tell_ended();
}

/** Not before the first pass: only then the camera's rotation is known. */
void Remembering::watch_for_clips() {
    const bool hides = read_shared(g_OverlayInfo.anonymizedStreamWidth) != 0;
    m_clips->watch(view_to_remember(), hides ? 1 : 0);
}

void Remembering::finish() {
    m_keeper.finish();
    tell_ended();
}

void Remembering::remember(const StayRecord& record, int level) {
    const auto view = view_to_remember();
    if (!view)
        return;
    m_care.picture(record.id, level, *view);
    if (m_clips)
        m_clips->save(m_folder.clip(record.id, level));
}

void Remembering::tell_ended() {
    for (const StayRecord& record : m_keeper.take_ended())
        host_events::tell_stay(json_of_stay(record, m_folder));
}

} // namespace console
