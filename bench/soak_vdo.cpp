#include <vdo-channel.h>
#include <vdo-stream.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <numeric>
#include <string>
#include <vector>

namespace {

/** The application analyses the first; the second is cheap to watch. */
constexpr std::array<VdoResolution, 2> resolutions = {{{1280, 720}, {640, 360}}};
constexpr guint32 frames_a_second = 25;

constexpr const char* content_key = "content";

/** A GObject that owns one C++ object. */
template <typename Handle, typename Content>
Handle* make_object(Content* content) {
    auto* object = static_cast<GObject*>(g_object_new(G_TYPE_OBJECT, nullptr));
    g_object_set_data_full(object, content_key, content, [](gpointer owned) { delete static_cast<Content*>(owned); });
    return reinterpret_cast<Handle*>(object);
}

template <typename Content, typename Handle>
Content& content_of(Handle* handle) {
    return *static_cast<Content*>(g_object_get_data(reinterpret_cast<GObject*>(handle), content_key));
}

struct Map {
    std::map<std::string, guint32> values;
};

struct Picture {
    std::vector<guint8> nv12;

    explicit Picture(VdoResolution size) : nv12(std::size_t{size.width} * size.height * 3 / 2) {
        std::iota(nv12.begin(), nv12.end(), guint8{0});
    }
};

struct Stream {
    const VdoResolution size;
    const bool paced;
    /** One for all frames: nobody changes them, and each is given back before the next. */
    VdoBuffer* const buffer;
    std::mutex lock;
    std::condition_variable changed;
    bool stopped = false;

    Stream(VdoResolution its_size, bool is_paced)
        : size(its_size), paced(is_paced), buffer(make_object<VdoBuffer>(new Picture(its_size))) {}
    ~Stream() { g_object_unref(buffer); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
};

bool first_stream_made = false;

} // namespace

VdoMap* vdo_map_new() {
    return make_object<VdoMap>(new Map);
}

void vdo_map_set_uint32(VdoMap* map, const gchar* name, guint32 value) {
    content_of<Map>(map).values[name] = value;
}

guint32 vdo_map_get_uint32(const VdoMap* map, const gchar* name, guint32 default_value) {
    const auto& values = content_of<Map>(const_cast<VdoMap*>(map)).values;
    const auto found = values.find(name);
    return found != values.end() ? found->second : default_value;
}

void vdo_map_dump(const VdoMap* map) {
    for (const auto& [name, value] : content_of<Map>(const_cast<VdoMap*>(map)).values)
        std::printf("%s=%u\n", name.c_str(), value);
}

VdoChannel* vdo_channel_get(guint, GError**) {
    return make_object<VdoChannel>(new int);
}

GList* vdo_channel_get_all(GError** error) {
    return g_list_append(nullptr, vdo_channel_get(1, error));
}

VdoResolutionSet* vdo_channel_get_resolutions(VdoChannel*, VdoMap*, GError**) {
    auto* set = static_cast<VdoResolutionSet*>(g_malloc0(sizeof(VdoResolutionSet) + sizeof resolutions));
    set->count = resolutions.size();
    std::copy(resolutions.begin(), resolutions.end(), set->resolutions);
    return set;
}

VdoStream* vdo_stream_new(VdoMap* settings, VdoBufferFinalizer, GError**) {
    const VdoResolution size = {vdo_map_get_uint32(settings, "width", 0), vdo_map_get_uint32(settings, "height", 0)};
    auto* stream = new Stream(size, first_stream_made);
    first_stream_made = true;
    return make_object<VdoStream>(stream);
}

gboolean vdo_stream_attach(VdoStream*, VdoMap*, GError**) {
    return TRUE;
}

VdoMap* vdo_stream_get_settings(VdoStream* handle, GError**) {
    const VdoResolution size = content_of<Stream>(handle).size;
    VdoMap* settings = vdo_map_new();
    vdo_map_set_uint32(settings, "width", size.width);
    vdo_map_set_uint32(settings, "height", size.height);
    vdo_map_set_uint32(settings, "framerate", frames_a_second);
    return settings;
}

gboolean vdo_stream_start(VdoStream*, GError**) {
    return TRUE;
}

void vdo_stream_stop(VdoStream* handle) {
    auto& stream = content_of<Stream>(handle);
    const std::lock_guard lock(stream.lock);
    stream.stopped = true;
    stream.changed.notify_all();
}

VdoBuffer* vdo_stream_get_buffer(VdoStream* handle, GError** error) {
    auto& stream = content_of<Stream>(handle);
    if (stream.paced) {
        std::unique_lock lock(stream.lock);
        if (stream.changed.wait_for(lock, std::chrono::milliseconds(1000 / frames_a_second),
                                    [&] { return stream.stopped; })) {
            g_set_error_literal(error, g_quark_from_static_string("soak-vdo"), 1, "the stream was stopped");
            return nullptr;
        }
    }
    return reinterpret_cast<VdoBuffer*>(g_object_ref(stream.buffer));
}

gboolean vdo_stream_buffer_unref(VdoStream*, VdoBuffer** buffer, GError**) {
    g_object_unref(*buffer);
    *buffer = nullptr;
    return TRUE;
}

VdoBuffer* vdo_stream_buffer_alloc(VdoStream* handle, gpointer, GError**) {
    return make_object<VdoBuffer>(new Picture(content_of<Stream>(handle).size));
}

gboolean vdo_stream_buffer_enqueue(VdoStream*, VdoBuffer*, GError**) {
    return TRUE;
}

gpointer vdo_buffer_get_data(VdoBuffer* buffer) {
    return buffer != nullptr ? content_of<Picture>(buffer).nv12.data() : nullptr;
}
