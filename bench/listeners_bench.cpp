// What the listeners of /stream/objects cost a pass: an argument says how many, a quarter of whom take nothing.

#include "host/pass_json.h"
#include "platform/axoverlay/host_answers.h"
#include "platform/axoverlay/host_streams.h"
#include "platform/common/descriptor.h"

#include <axoverlay.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int one_in = 4; // takes nothing
constexpr auto between_passes = std::chrono::milliseconds(5);

platform::Descriptor listener_at(int port) {
    platform::Descriptor client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int small = 2048;
    setsockopt(client.get(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string request = std::string("GET ") + host_overlay::events_path + " HTTP/1.1\r\nHost: camera\r\n\r\n";
    if (connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        send(client.get(), request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        throw std::runtime_error("nobody listens at the port");
    return client;
}

/** A pass that follows twelve objects: as many as are looked at. */
console::LiveRecord record() {
    console::LiveRecord record{1.0, 1280, 720, 200, {}, {}};
    for (int id = 0; id < 12; ++id) {
        one_find find;
        find.id = id;
        find.detect = {100 * id, 200, 90, 60, 2, 0.5F};
        record.findings.push_back({find, {"excluded by zones 1 and 3", 0, 0.0}});
    }
    return record;
}

void tell(benchmark::State& state) {
    setenv("KORVEX_OVERLAY_LISTEN", "127.0.0.1:0", 1);
    axoverlay_settings settings{};
    axoverlay_init_axoverlay_settings(&settings);
    settings.backend = AXOVERLAY_CAIRO_IMAGE_BACKEND;
    settings.render_callback = [](gpointer, gint, axoverlay_stream_data*, axoverlay_position_type, gfloat, gfloat, gint,
                                  gint, gpointer) {};
    axoverlay_init(&settings, nullptr);
    const std::string address = host_overlay::listen_address();
    const int port = std::stoi(address.substr(address.rfind(':') + 1));
    std::vector<platform::Descriptor> listeners;
    for (int i = 0; i < state.range(0); ++i)
        listeners.push_back(listener_at(port));
    std::jthread reader([&listeners](const std::stop_token& end) {
        std::vector<char> taken(1 << 16);
        while (!end.stop_requested()) {
            for (std::size_t i = 0; i < listeners.size(); ++i) {
                if (i % one_in != 0)
                    static_cast<void>(recv(listeners[i].get(), taken.data(), taken.size(), MSG_DONTWAIT) > 0);
            }
            std::this_thread::sleep_for(between_passes);
        }
    });
    const console::LiveRecord pass = record();
    for (auto _ : state) {
        if (host_overlay::has_listeners())
            host_overlay::tell_listeners(console::json_of_live_pass(pass));
        state.PauseTiming();
        std::this_thread::sleep_for(between_passes);
        state.ResumeTiming();
    }
    reader.request_stop();
    reader.join();
    axoverlay_cleanup();
}

BENCHMARK(tell)->Arg(0)->Arg(1)->Arg(20)->Unit(benchmark::kMicrosecond)->Iterations(1000);

} // namespace

BENCHMARK_MAIN();
