#pragma once

#include "platform/common/handle.h"

#include <cairo.h>

namespace platform {

using CairoContext = Handle<cairo_t, cairo_destroy>;
using CairoSurface = Handle<cairo_surface_t, cairo_surface_destroy>;
using CairoPattern = Handle<cairo_pattern_t, cairo_pattern_destroy>;

} // namespace platform
