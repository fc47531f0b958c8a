#pragma once

namespace host_overlay {

/**
 * Who makes pictures gives way to everything else: from here on the calling thread has what the analysis and every
 * other thread of the process leave over. There is no way back, not even for root's thread that has lost its rights.
 *
 * So what such a thread shares with the analysis it holds for a few instructions only: it may be put aside for long
 * while it does.
 */
void give_way_to_all();

/** Who passes pictures on gives way to the analysis, as the web thread does. */
void give_way_to_analysis();

} // namespace host_overlay
