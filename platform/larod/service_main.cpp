// korvex_larod: the inference service.
//     korvex_larod --client FD        for the one client at the other end of a connected socket
//     korvex_larod --listen SOCKET    for every application of this user that connects to SOCKET
// Its other settings come from the environment (service_settings.h).

#include "platform/common/report.h"
#include "platform/larod/listening_socket.h"
#include "platform/larod/sandbox.h"
#include "platform/larod/service.h"
#include "platform/larod/service_settings.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/resource.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <stdexcept>

using namespace korvex::larod;

namespace {

constexpr const char* program = "korvex_larod"; // its name on stderr

struct Arguments {
    int client = -1;
    std::string socket;
};

Arguments parse(int count, char** values) {
    gint client = -1;
    g_autofree gchar* socket = nullptr;
    const GOptionEntry entries[] = {
        {"client", 0, 0, G_OPTION_ARG_INT, &client, "Serve the connected socket with this descriptor", "FD"},
        {"listen", 0, 0, G_OPTION_ARG_FILENAME, &socket, "Serve whoever of this user connects to the socket", "SOCKET"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    g_autoptr(GOptionContext) context = g_option_context_new(nullptr);
    g_option_context_add_main_entries(context, entries, nullptr);
    g_autoptr(GError) error = nullptr;
    if (g_option_context_parse(context, &count, &values, &error) == FALSE)
        throw std::runtime_error(error->message);
    if (count > 1 || (client < 0) == (socket == nullptr))
        throw std::runtime_error("one of --client FD and --listen SOCKET is needed");
    return {client, socket != nullptr ? socket : ""};
}

/** Readable once the process is asked to end. A service for one client ends with it, whatever its terminal says. */
Descriptor end_asked(bool for_one_client) {
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGINT);
    sigaddset(&asked, SIGHUP);
    if (!for_one_client)
        sigaddset(&asked, SIGTERM);
    sigprocmask(SIG_BLOCK, &asked, nullptr);
    return Descriptor(for_one_client ? -1 : signalfd(-1, &asked, SFD_CLOEXEC));
}

/** Behind the pass, which waits for it and needs little, and before a web server, which runs at 10. */
void give_way_to_the_pass() {
    constexpr int step = 5;
    constexpr int before_the_web = 9;
    const int own = getpriority(PRIO_PROCESS, 0);
    setpriority(PRIO_PROCESS, 0, std::max(own, std::min(own + step, before_the_web)));
}

/** What the engine reads of the machine when it is first used is read here, before that is not allowed any more. */
void prepare(const Engine& engine, const Descriptor& nothing) {
    if (engine.delegate_create == nullptr) {
        platform::report(program, "the engine " + engine_location() + " (version " + engine.version() +
                                      ") runs without fast convolutions.");
        return;
    }
    const Descriptor own_stderr(dup(STDERR_FILENO));
    dup2(nothing.get(), STDERR_FILENO); // it tells everybody of its first use
    const DelegateOptions options{1, 0};
    engine.delegate_delete(engine.delegate_create(&options));
    dup2(own_stderr.get(), STDERR_FILENO);
}

void serve(const Arguments& arguments) {
    Descriptor client(arguments.client);
    give_way_to_the_pass();
    std::optional<Engine> engine;
    try {
        engine.emplace(engine_location());
    } catch (const Failure& failure) {
        send_message(client.get(), message_of(failure));
        throw std::runtime_error(failure.sentence);
    }
    // The workers' stderr: the engine writes there what it answers as well.
    const Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    prepare(*engine, nothing);
    const Descriptor end = end_asked(static_cast<bool>(client));
    Service service(*engine, service_options(), nothing.get());
    const auto listening = client ? nullptr : listen_at(arguments.socket);
    give_up_rights(Role::service);
    if (listening == nullptr) {
        service.add_client(std::move(client));
    } else {
        service.listen_on(listening->get());
        platform::report(program, "waiting for applications at " + arguments.socket + ".");
    }
    service.run(end.get());
}

} // namespace

int main(int count, char** values) {
    int status = 0;
    try {
        serve(parse(count, values));
    } catch (const std::exception& problem) {
        platform::report(program, problem.what());
        status = 1;
    }
    // Without what others have registered for the exit: it may need rights that have been given up.
    std::_Exit(status);
}
