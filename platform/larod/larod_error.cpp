#include "platform/larod/larod_error.h"

#include <new>
#include <utility>

namespace korvex::larod {
namespace {

/** What the interface's record points into; it is handed out as its base. */
struct ErrorRecord : larodError {
    explicit ErrorRecord(Code number, std::string sentence) : larodError{}, text(std::move(sentence)) {
        code = static_cast<int>(number);
        msg = text.c_str();
    }
    std::string text;
};

} // namespace

void set_error(larodError** error, Code code, const std::string& text) noexcept {
    if (error == nullptr)
        return;
    try {
        *error = new ErrorRecord(code, text);
    } catch (const std::bad_alloc&) {
        *error = nullptr;
    }
}

} // namespace korvex::larod

extern "C" void larodClearError(larodError** error) {
    if (error == nullptr)
        return;
    delete static_cast<korvex::larod::ErrorRecord*>(*error);
    *error = nullptr;
}
