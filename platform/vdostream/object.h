#pragma once

#include <glib-object.h>

#include <memory>
#include <utility>

/** GObjects whose state is one C++ object: made with it, deleted with the last reference. */
namespace vdostream {

/** The memory layout of every object here. `_VdoMap` and its like derive from it and add nothing. */
template <typename State>
struct Object {
    GObject parent;
    State* state;
};

template <typename Instance>
void finalize_object(GObject* instance) {
    auto* self = reinterpret_cast<Instance*>(instance);
    delete std::exchange(self->state, nullptr);
    auto* parent = static_cast<GObjectClass*>(g_type_class_peek(G_TYPE_OBJECT));
    parent->finalize(instance);
}

template <typename Instance>
void init_class(gpointer type_class, gpointer) {
    static_cast<GObjectClass*>(type_class)->finalize = &finalize_object<Instance>;
}

/** Registers the type on first use; any thread. */
template <typename Instance>
GType object_type(const char* name) {
    static const GType type =
        g_type_register_static_simple(G_TYPE_OBJECT, g_intern_string(name), sizeof(GObjectClass), &init_class<Instance>,
                                      sizeof(Instance), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

/** A new object with one reference, the caller's. */
template <typename Instance, typename State>
Instance* make_object(const char* name, std::unique_ptr<State> state) {
    auto* instance = static_cast<Instance*>(g_object_new(object_type<Instance>(name), nullptr));
    instance->state = state.release();
    return instance;
}

} // namespace vdostream
