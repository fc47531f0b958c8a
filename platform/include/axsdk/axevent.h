#pragma once

#include <glib.h>

G_BEGIN_DECLS

typedef struct _AXEventHandler AXEventHandler;
typedef struct _AXEventKeyValueSet AXEventKeyValueSet;
typedef struct _AXEvent AXEvent;

typedef enum {
    AX_VALUE_TYPE_INT = 0,
    AX_VALUE_TYPE_BOOL,
    AX_VALUE_TYPE_DOUBLE,
    AX_VALUE_TYPE_STRING,
    AX_VALUE_TYPE_ELEMENT
} AXEventValueType;

typedef void (*AXDeclarationCompleteCallback)(guint declaration, gpointer user_data);

AXEventHandler* ax_event_handler_new(void);
void ax_event_handler_free(AXEventHandler* handler);
/** Copies the set; *declaration is never 0 on success. */
gboolean ax_event_handler_declare(AXEventHandler* handler, AXEventKeyValueSet* set, gboolean stateless,
                                  guint* declaration, AXDeclarationCompleteCallback callback, gpointer user_data,
                                  GError** error);
gboolean ax_event_handler_undeclare(AXEventHandler* handler, guint declaration, GError** error);
gboolean ax_event_handler_send_event(AXEventHandler* handler, guint declaration, AXEvent* event, GError** error);

AXEventKeyValueSet* ax_event_key_value_set_new(void);
void ax_event_key_value_set_free(AXEventKeyValueSet* set);
gboolean ax_event_key_value_set_add_key_value(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                              gconstpointer value, AXEventValueType type, GError** error);
/** key, name_space, value, type, repeated; ended by a NULL key. A bool or int is passed by address. */
gboolean ax_event_key_value_set_add_key_values(AXEventKeyValueSet* set, GError** error, const gchar* key, ...);
gboolean ax_event_key_value_set_mark_as_data(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                             GError** error);
gboolean ax_event_key_value_set_add_nice_names(AXEventKeyValueSet* set, const gchar* key, const gchar* name_space,
                                               const gchar* key_nice_name, const gchar* value_nice_name,
                                               GError** error);

/** Copies the set; a NULL time means now. */
AXEvent* ax_event_new2(AXEventKeyValueSet* set, GDateTime* time_stamp);
void ax_event_free(AXEvent* event);

G_END_DECLS
