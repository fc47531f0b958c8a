#include "tests/doubles/recording_vdo.h"

#include <vdo-channel.h>
#include <vdo-map.h>
#include <vdo-stream.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace {

using settings_map = std::map<std::string, uint32_t>;

struct channel_data {
    static constexpr auto kind = "VdoChannel";
    guint number;
};

struct map_data {
    static constexpr auto kind = "VdoMap";
    settings_map values;
};

struct stream_data {
    static constexpr auto kind = "VdoStream";
    settings_map settings;
    int buffers = 0;
    std::deque<VdoBuffer*> enqueued;
};

struct buffer_data {
    static constexpr auto kind = "VdoBuffer";
    int number;
    std::vector<uint8_t> bytes;
};

struct service {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::vector<VdoResolution>> channels;
    settings_map effective;
    settings_map last;
    std::vector<uint8_t> frame;
    int frames_left = -1; // -1: without end
};

service& the_service() {
    static auto& instance = *new service; // outlives the process-wide objects, which still call at their end
    return instance;
}

/** A GObject that carries a `Data`, counted while it lives. */
template <typename Handle, typename Data>
Handle* make_object(Data data) {
    auto* object = static_cast<GObject*>(g_object_new(G_TYPE_OBJECT, nullptr));
    recording_vdo::recorder().born(Data::kind);
    g_object_set_data_full(object, Data::kind, new Data(std::move(data)), [](gpointer owned) {
        delete static_cast<Data*>(owned);
        recording_vdo::recorder().died(Data::kind);
    });
    return reinterpret_cast<Handle*>(object);
}

template <typename Data, typename Handle>
Data& data_of(Handle* handle) {
    using plain = std::remove_const_t<Handle>;
    auto* object = reinterpret_cast<GObject*>(const_cast<plain*>(handle));
    auto* data = static_cast<Data*>(g_object_get_data(object, Data::kind));
    if (data == nullptr)
        g_error("recording_vdo: not a live %s", Data::kind);
    return *data;
}

uint32_t setting(const settings_map& settings, const std::string& key) {
    const auto found = settings.find(key);
    return found != settings.end() ? found->second : 0;
}

std::vector<uint8_t> frame_for(const settings_map& settings) {
    std::vector<uint8_t> bytes(size_t{setting(settings, "width")} * setting(settings, "height") * 3 / 2, 128);
    const auto& pattern = the_service().frame;
    if (!pattern.empty())
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = pattern[i % pattern.size()];
    return bytes;
}

bool is_explicit(const settings_map& settings) {
    return setting(settings, "buffer.strategy") == VDO_BUFFER_STRATEGY_EXPLICIT;
}

} // namespace

call_recorder& recording_vdo::recorder() {
    static auto& instance = *new call_recorder; // outlives the process-wide objects, which still call at their end
    return instance;
}

void recording_vdo::reset() {
    recorder().reset();
    service& vdo = the_service();
    const std::scoped_lock lock(vdo.mutex);
    vdo.channels = {{{1920, 1080}, {1280, 720}, {640, 480}}};
    vdo.effective = {{"framerate", 25}};
    vdo.last.clear();
    vdo.frame.clear();
    vdo.frames_left = -1;
}

void recording_vdo::offer(const std::vector<std::vector<VdoResolution>>& channels) {
    const std::scoped_lock lock(the_service().mutex);
    the_service().channels = channels;
}

void recording_vdo::set_effective(const std::string& key, uint32_t value) {
    const std::scoped_lock lock(the_service().mutex);
    the_service().effective[key] = value;
}

void recording_vdo::set_frame(const std::vector<uint8_t>& bytes) {
    const std::scoped_lock lock(the_service().mutex);
    the_service().frame = bytes;
}

std::map<std::string, uint32_t> recording_vdo::last_settings() {
    const std::scoped_lock lock(the_service().mutex);
    return the_service().last;
}

void recording_vdo::feed(int frames) {
    const std::scoped_lock lock(the_service().mutex);
    the_service().frames_left = std::max(the_service().frames_left, 0) + frames;
    the_service().changed.notify_all();
}

void recording_vdo::feed_without_end() {
    const std::scoped_lock lock(the_service().mutex);
    the_service().frames_left = -1;
    the_service().changed.notify_all();
}

int recording_vdo::number_of(VdoBuffer* buffer) {
    return data_of<buffer_data>(buffer).number;
}

VdoMap* vdo_map_new(void) {
    return recording_vdo::recorder().call("vdo_map_new") ? nullptr : make_object<VdoMap>(map_data{});
}

void vdo_map_set_uint32(VdoMap* map, const gchar* name, guint32 value) {
    recording_vdo::recorder().call(call_line("vdo_map_set_uint32", name, value));
    data_of<map_data>(map).values[name] = value;
}

guint32 vdo_map_get_uint32(const VdoMap* map, const gchar* name, guint32 default_value) {
    const settings_map& values = data_of<map_data>(map).values;
    const auto found = values.find(name);
    return found != values.end() ? found->second : default_value;
}

void vdo_map_dump(const VdoMap*) {
    recording_vdo::recorder().call("vdo_map_dump");
}

VdoChannel* vdo_channel_get(guint channel_nbr, GError** error) {
    if (recording_vdo::recorder().fails(call_line("vdo_channel_get", channel_nbr), error))
        return nullptr;
    const std::scoped_lock lock(the_service().mutex);
    if (channel_nbr >= 1 && channel_nbr <= the_service().channels.size())
        return make_object<VdoChannel>(channel_data{channel_nbr});
    set_error(error, 1, "no such channel");
    return nullptr;
}

GList* vdo_channel_get_all(GError** error) {
    if (recording_vdo::recorder().fails("vdo_channel_get_all", error))
        return nullptr;
    const std::scoped_lock lock(the_service().mutex);
    GList* channels = nullptr;
    for (guint i = 0; i < the_service().channels.size(); ++i)
        channels = g_list_append(channels, make_object<VdoChannel>(channel_data{i + 1}));
    return channels;
}

VdoResolutionSet* vdo_channel_get_resolutions(VdoChannel* channel, VdoMap*, GError** error) {
    if (recording_vdo::recorder().fails("vdo_channel_get_resolutions", error))
        return nullptr;
    const std::scoped_lock lock(the_service().mutex);
    const auto& offered = the_service().channels.at(data_of<channel_data>(channel).number - 1);
    auto* set =
        static_cast<VdoResolutionSet*>(g_malloc(sizeof(VdoResolutionSet) + offered.size() * sizeof(VdoResolution)));
    set->count = offered.size();
    std::copy(offered.begin(), offered.end(), set->resolutions);
    return set;
}

VdoStream* vdo_stream_new(VdoMap* settings, VdoBufferFinalizer, GError** error) {
    const std::scoped_lock lock(the_service().mutex);
    the_service().last = data_of<map_data>(settings).values;
    if (recording_vdo::recorder().fails("vdo_stream_new", error))
        return nullptr;
    return make_object<VdoStream>(stream_data{.settings = the_service().last, .enqueued = {}});
}

gboolean vdo_stream_attach(VdoStream*, VdoMap*, GError** error) {
    return !recording_vdo::recorder().fails("vdo_stream_attach", error);
}

VdoMap* vdo_stream_get_settings(VdoStream* stream, GError** error) {
    if (recording_vdo::recorder().fails("vdo_stream_get_settings", error))
        return nullptr;
    const std::scoped_lock lock(the_service().mutex);
    settings_map values = the_service().effective;
    values.merge(settings_map(data_of<stream_data>(stream).settings));
    return make_object<VdoMap>(map_data{values});
}

gboolean vdo_stream_start(VdoStream*, GError** error) {
    return !recording_vdo::recorder().fails("vdo_stream_start", error);
}

void vdo_stream_stop(VdoStream*) {
    recording_vdo::recorder().call("vdo_stream_stop");
}

VdoBuffer* vdo_stream_get_buffer(VdoStream* stream, GError** error) {
    if (recording_vdo::recorder().fails("vdo_stream_get_buffer", error))
        return nullptr;
    service& vdo = the_service();
    stream_data& self = data_of<stream_data>(stream);
    std::unique_lock lock(vdo.mutex);
    vdo.changed.wait(lock,
                     [&] { return vdo.frames_left != 0 && (!is_explicit(self.settings) || !self.enqueued.empty()); });
    if (vdo.frames_left > 0)
        --vdo.frames_left;
    if (!is_explicit(self.settings))
        return make_object<VdoBuffer>(buffer_data{self.buffers++, frame_for(self.settings)});
    VdoBuffer* filled = self.enqueued.front();
    self.enqueued.pop_front();
    data_of<buffer_data>(filled).bytes = frame_for(self.settings);
    return filled;
}

gpointer vdo_buffer_get_data(VdoBuffer* buffer) {
    if (recording_vdo::recorder().call("vdo_buffer_get_data") || buffer == nullptr)
        return nullptr;
    return data_of<buffer_data>(buffer).bytes.data();
}

gboolean vdo_stream_buffer_unref(VdoStream*, VdoBuffer** buffer, GError** error) {
    if (recording_vdo::recorder().fails("vdo_stream_buffer_unref", error))
        return FALSE;
    if (*buffer == nullptr) {
        set_error(error, 1, "no buffer");
        return FALSE;
    }
    g_clear_object(buffer);
    return TRUE;
}

VdoBuffer* vdo_stream_buffer_alloc(VdoStream* stream, gpointer, GError** error) {
    if (recording_vdo::recorder().fails("vdo_stream_buffer_alloc", error))
        return nullptr;
    const std::scoped_lock lock(the_service().mutex);
    stream_data& self = data_of<stream_data>(stream);
    return make_object<VdoBuffer>(buffer_data{self.buffers++, frame_for(self.settings)});
}

gboolean vdo_stream_buffer_enqueue(VdoStream* stream, VdoBuffer* buffer, GError** error) {
    const int number = recording_vdo::number_of(buffer);
    if (recording_vdo::recorder().fails(call_line("vdo_stream_buffer_enqueue", number), error))
        return FALSE;
    const std::scoped_lock lock(the_service().mutex);
    data_of<stream_data>(stream).enqueued.push_back(buffer);
    the_service().changed.notify_all();
    return TRUE;
}
