#pragma once

#include "vdo-map.h"
#include "vdo-types.h"

G_BEGIN_DECLS

/** The channel of that number, counted from 1; NULL with `error` set when there is none. */
VdoChannel* vdo_channel_get(guint channel_nbr, GError** error);
/** Every channel, as a list of VdoChannel* whose elements the caller unreferences. */
GList* vdo_channel_get_all(GError** error);
/** What the channel offers, in the camera's own order; released with g_free. A NULL filter asks for everything. */
VdoResolutionSet* vdo_channel_get_resolutions(VdoChannel* channel, VdoMap* filter, GError** error);

G_END_DECLS
