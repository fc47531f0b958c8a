#pragma once

#include <atomic>
#include <cstdint>

/*
 * What the application tells of itself while it runs. Written on the main thread and read on the web thread, which
 * writes one value itself, status 50; each read sees some value recently written.
 */

/**
 * Run status: 50 no web service, 100 starting, 200 running, 400 no inference, 401 no detector, 408 agreement not
 * accepted, 502 to 504 first to third alert active, 600 slow.
 */
extern std::atomic<int32_t> g_StatusCode;
/** Duration of the last pass that ran to its end, milliseconds. */
extern std::atomic<int32_t> g_ExecutionTime;
/** Pixels of the analysed stream; 0 until the detector is set up. */
extern std::atomic<int32_t> g_StreamWidth;
extern std::atomic<int32_t> g_StreamHeight;
/** The image is turned by 90 or 270 degrees. */
extern std::atomic<bool> g_IsPortrait;
