#pragma once

#include "tests/doubles/call_recorder.h"

#include <vdo-types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/**
 * The video service for a test: every call is recorded, frames are bytes that the test chooses.
 *
 * Journal lines: "vdo_map_new", "vdo_map_set_uint32 KEY VALUE", "vdo_map_dump", "vdo_channel_get N",
 * "vdo_channel_get_all", "vdo_channel_get_resolutions", "vdo_stream_new", "vdo_stream_attach",
 * "vdo_stream_get_settings", "vdo_stream_start", "vdo_stream_stop", "vdo_stream_get_buffer", "vdo_buffer_get_data",
 * "vdo_stream_buffer_unref", "vdo_stream_buffer_alloc", "vdo_stream_buffer_enqueue N" (N counts the stream's buffers
 * from 0). Kinds of live objects: VdoMap, VdoChannel, VdoStream, VdoBuffer, VdoResolutionSet is g_free's and counted by
 * the leak checker alone.
 */
namespace recording_vdo {

call_recorder& recorder();

/** Journal, failures and everything below as at the start. No object may be alive. */
void reset();

/** What each channel offers, in this order; at the start one channel with 1920x1080, 1280x720 and 640x480. */
void offer(const std::vector<std::vector<VdoResolution>>& channels);

/** A key of what `vdo_stream_get_settings` gives, over what the stream was asked for; at the start "framerate" 25. */
void set_effective(const std::string& key, uint32_t value);

/** The bytes of every later frame; cut or repeated to the stream's size. At the start mid grey. */
void set_frame(const std::vector<uint8_t>& bytes);

/** What the last stream was asked for. */
std::map<std::string, uint32_t> last_settings();

/** How many more frames there are; `vdo_stream_get_buffer` waits for more. At the start without end. */
void feed(int frames);
void feed_without_end();

/** Which of its stream's buffers, counted from 0. */
int number_of(VdoBuffer* buffer);

} // namespace recording_vdo
