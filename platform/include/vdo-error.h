#pragma once

/* The video service reports through GLib error records alone; their codes are the service's own and nobody reads them.
 */
#include <glib.h>
