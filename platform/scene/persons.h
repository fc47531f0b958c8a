#pragma once

#include "platform/scene/painter.h"
#include "platform/scene/schedule.h"

namespace host_scene {

/** A walking person seen from the side, drawn anew for every step. */
void paint_person(cairo_t* context, const actor& person);

} // namespace host_scene
