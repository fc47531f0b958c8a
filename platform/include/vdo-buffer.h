#pragma once

#include "vdo-types.h"

G_BEGIN_DECLS

/** The frame's bytes, valid until the buffer is given back; NULL for a NULL buffer. */
gpointer vdo_buffer_get_data(VdoBuffer* buffer);

G_END_DECLS
