#pragma once

#include <memory>
#include <type_traits>

/** What the host's stand-ins for the camera's libraries have in common. */
namespace platform {

/** `Function` takes the object or, as FFmpeg's do, the address of a pointer to it. */
template <auto Function>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        if constexpr (std::is_invocable_v<decltype(Function), Object*>)
            Function(object);
        else
            Function(&object);
    }
};

/** An object of a C library, released by `Function` with its owner. */
template <typename Object, auto Function>
using Handle = std::unique_ptr<Object, Releaser<Function>>;

} // namespace platform
