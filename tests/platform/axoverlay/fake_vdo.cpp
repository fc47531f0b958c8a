#include "tests/platform/axoverlay/fake_vdo.h"

#include <vdo-channel.h>
#include <vdo-stream.h>

#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>

namespace {

struct State {
    std::mutex lock;
    std::condition_variable changed;
    fake_vdo::Behaviour behaviour;
    int open = 0;
    int started = 0;
    unsigned handed_out = 0;
    unsigned refused = 0;
    int outstanding = 0;
    std::map<std::string, guint32> last_settings;
};

State& state() {
    static State& the_state = *new State;
    return the_state;
}

void set_error(GError** error, const std::string& text) {
    g_set_error_literal(error, g_quark_from_static_string("fake-vdo"), 1, text.c_str());
}

constexpr const char* content_key = "content";

/** A GObject that owns one C++ object. */
template <typename Content>
GObject* make_object(Content* content) {
    auto* object = static_cast<GObject*>(g_object_new(G_TYPE_OBJECT, nullptr));
    g_object_set_data_full(object, content_key, content, [](gpointer owned) { delete static_cast<Content*>(owned); });
    return object;
}

template <typename Content>
Content& content_of(const void* object) {
    return *static_cast<Content*>(g_object_get_data(static_cast<GObject*>(const_cast<void*>(object)), content_key));
}

using Map = std::map<std::string, guint32>;
using Buffer = std::vector<std::uint8_t>;

struct Stream {
    int width = 0;
    int height = 0;
    unsigned number = 0;
    bool running = false;
    bool stopped = false;

    ~Stream() {
        const std::lock_guard lock(state().lock);
        state().open -= running ? 1 : 0;
    }
};

} // namespace

namespace fake_vdo {

void behave(const Behaviour& behaviour) {
    const std::lock_guard lock(state().lock);
    state().behaviour = behaviour;
    state().started = 0;
    state().handed_out = 0;
    state().refused = 0;
    state().changed.notify_all();
}

int open_streams() {
    const std::lock_guard lock(state().lock);
    return state().open;
}

int streams_started() {
    const std::lock_guard lock(state().lock);
    return state().started;
}

unsigned pictures_handed_out() {
    const std::lock_guard lock(state().lock);
    return state().handed_out;
}

unsigned pictures_refused() {
    const std::lock_guard lock(state().lock);
    return state().refused;
}

int pictures_outstanding() {
    const std::lock_guard lock(state().lock);
    return state().outstanding;
}

guint32 last_setting(const std::string& name) {
    const std::lock_guard lock(state().lock);
    return state().last_settings.at(name);
}

Painter solid(std::uint8_t y, std::uint8_t u, std::uint8_t v) {
    return [=](std::uint8_t* nv12, int width, int height, unsigned) {
        const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
        std::memset(nv12, y, luma);
        for (std::size_t i = 0; i < luma / 2; i += 2) {
            nv12[luma + i] = u;
            nv12[luma + i + 1] = v;
        }
    };
}

} // namespace fake_vdo

VdoMap* vdo_map_new(void) {
    return reinterpret_cast<VdoMap*>(make_object(new Map));
}

void vdo_map_set_uint32(VdoMap* map, const gchar* name, guint32 value) {
    content_of<Map>(map)[name] = value;
}

VdoChannel* vdo_channel_get(guint channel_nbr, GError** error) {
    const std::lock_guard lock(state().lock);
    if (channel_nbr != 1 || !state().behaviour.channel_failure.empty()) {
        set_error(error, state().behaviour.channel_failure);
        return nullptr;
    }
    return reinterpret_cast<VdoChannel*>(make_object(new int));
}

VdoResolutionSet* vdo_channel_get_resolutions(VdoChannel*, VdoMap*, GError**) {
    const std::lock_guard lock(state().lock);
    const auto& offered = state().behaviour.resolutions;
    auto* set =
        static_cast<VdoResolutionSet*>(g_malloc0(sizeof(VdoResolutionSet) + offered.size() * sizeof(VdoResolution)));
    set->count = offered.size();
    std::copy(offered.begin(), offered.end(), set->resolutions);
    return set;
}

VdoStream* vdo_stream_new(VdoMap* settings, VdoBufferFinalizer, GError**) {
    const Map& map = content_of<Map>(settings);
    auto* stream = new Stream;
    const bool turned = map.at("rotation") % 180 == 90;
    stream->width = static_cast<int>(map.at(turned ? "height" : "width"));
    stream->height = static_cast<int>(map.at(turned ? "width" : "height"));
    const std::lock_guard lock(state().lock);
    state().last_settings = map;
    return reinterpret_cast<VdoStream*>(make_object(stream));
}

gboolean vdo_stream_attach(VdoStream*, VdoMap*, GError**) {
    return TRUE;
}

gboolean vdo_stream_start(VdoStream* stream, GError** error) {
    const std::lock_guard lock(state().lock);
    if (!state().behaviour.start_failure.empty()) {
        set_error(error, state().behaviour.start_failure);
        return FALSE;
    }
    content_of<Stream>(stream).running = true;
    ++state().open;
    ++state().started;
    return TRUE;
}

void vdo_stream_stop(VdoStream* stream) {
    const std::lock_guard lock(state().lock);
    content_of<Stream>(stream).stopped = true;
    state().changed.notify_all();
}

VdoBuffer* vdo_stream_get_buffer(VdoStream* handle, GError** error) {
    auto& stream = content_of<Stream>(handle);
    std::unique_lock lock(state().lock);
    state().changed.wait_for(lock, state().behaviour.period, [&] { return stream.stopped; });
    state().changed.wait(lock, [&] { return stream.stopped || !state().behaviour.silent; });
    if (stream.stopped || state().behaviour.dead) {
        ++state().refused;
        set_error(error, stream.stopped ? "the stream was stopped" : "the source is gone");
        return nullptr;
    }
    ++state().handed_out;
    ++state().outstanding;
    const fake_vdo::Painter paint = state().behaviour.paint;
    lock.unlock();
    auto* buffer = new Buffer(static_cast<std::size_t>(stream.width * stream.height * 3 / 2), std::uint8_t{128});
    if (paint)
        paint(buffer->data(), stream.width, stream.height, stream.number);
    ++stream.number;
    return reinterpret_cast<VdoBuffer*>(make_object(buffer));
}

gboolean vdo_stream_buffer_unref(VdoStream*, VdoBuffer** buffer, GError**) {
    g_object_unref(*buffer);
    *buffer = nullptr;
    const std::lock_guard lock(state().lock);
    --state().outstanding;
    return TRUE;
}

gpointer vdo_buffer_get_data(VdoBuffer* buffer) {
    return buffer != nullptr ? content_of<Buffer>(buffer).data() : nullptr;
}
