#pragma once

#include <glib.h>

G_BEGIN_DECLS

/** One application's group of parameters. A bare name belongs to the group; one that begins with "root." is the
 * camera's. */
typedef struct _AXParameter AXParameter;

AXParameter* ax_parameter_new(const gchar* app_name, GError** error);
void ax_parameter_free(AXParameter* parameter);
/** Error code 13: the parameter exists already. */
gboolean ax_parameter_add(AXParameter* parameter, const gchar* name, const gchar* initial_value, const gchar* type,
                          GError** error);
/** The value is released with g_free. */
gboolean ax_parameter_get(AXParameter* parameter, const gchar* name, gchar** value, GError** error);
/** With do_sync the value has reached the store when the call returns. */
gboolean ax_parameter_set(AXParameter* parameter, const gchar* name, const gchar* value, gboolean do_sync,
                          GError** error);
/** The group's names as gchar*, each and the list released by the caller. */
GList* ax_parameter_list(AXParameter* parameter, GError** error);

G_END_DECLS
