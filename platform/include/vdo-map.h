#pragma once

#include "vdo-types.h"

G_BEGIN_DECLS

VdoMap* vdo_map_new(void);
void vdo_map_set_uint32(VdoMap* map, const gchar* name, guint32 value);
guint32 vdo_map_get_uint32(const VdoMap* map, const gchar* name, guint32 default_value);
/** Writes every key and value to standard output. */
void vdo_map_dump(const VdoMap* map);

G_END_DECLS
