#pragma once

#include <glib-object.h>

#include <memory>
#include <string>

struct g_object_deleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};

/** A GObject that is released with its owner. */
template <typename Object>
using g_object_ptr = std::unique_ptr<Object, g_object_deleter>;

struct g_free_deleter {
    void operator()(gpointer memory) const { g_free(memory); }
};

/** GLib memory that is released with its owner. */
template <typename Type>
using g_free_ptr = std::unique_ptr<Type, g_free_deleter>;

/** The message of an error record that may be missing. */
inline std::string message_of(const GError* error) {
    return error != nullptr && error->message != nullptr ? error->message : "N/A";
}

/** The same, releasing the record. */
inline std::string take_message(GError*& error) {
    std::string message = message_of(error);
    g_clear_error(&error);
    return message;
}
