#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/** What the host's own programs serve beside the pictures, at the streams' address. The application never includes it.
 */
namespace host_overlay {

using QueryArguments = std::vector<std::pair<std::string, std::string>>; // name, value ("" without one)

/** An answer that is no picture. */
struct Answer {
    unsigned status = 200;
    std::string type = "text/plain; charset=utf-8";
    std::string body{};
    std::string file{};     ///< when not empty, this file's content instead of the body; 404 when it cannot be read
    std::string filename{}; ///< when not empty, browsers save the answer under this name
};

/** Nothing for a path that is not theirs. */
using Answers = std::function<std::optional<Answer>(const std::string& path, const QueryArguments& query)>;

/**
 * Has `answers` asked before the pictures, for every GET and HEAD below /stream/, from now on; an empty one ends that.
 * It is called on the server's one thread, which moves all bytes meanwhile for nobody: it must be quick. When this
 * returns, no call of the former one is under way. Any thread.
 */
void set_answers(Answers answers);

/** A header that every answer has from now on; an empty value takes it away. Any thread. */
void set_header(const std::string& name, const std::string& value);

/** The address at which listeners get what is told, as server-sent events. */
inline constexpr const char* events_path = "/stream/objects";

/** Somebody listens: it is worth making a message. Main thread. */
bool has_listeners();

/**
 * Sends one line of text to everybody who listens. Who is slow gets the newest when there is room again and has lost
 * those before it; nobody is waited for. Main thread.
 */
void tell_listeners(const std::string& line);

} // namespace host_overlay
