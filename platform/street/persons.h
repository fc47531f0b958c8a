#pragma once

#include "platform/street/painter.h"
#include "platform/street/schedule.h"

namespace host_scene {

/** A walking person seen from the side, drawn anew for every step. */
void paint_person(cairo_t* context, const actor& person);

} // namespace host_scene
