// Declares an alert, starts it and waits to be killed; or, with "end", ends as a program that frees nothing.
#include "tests/platform/axevent/alerts.h"

#include <unistd.h>

#include <cstring>

int main(int argc, char** argv) {
    AXEventHandler* handler = ax_event_handler_new();
    guint id = 0;
    ax_event_handler_declare(handler, alert_set("KorvexOrvelFirstAlert", "Korvex Orvel First Alert").get(), FALSE, &id,
                             nullptr, nullptr, nullptr);
    ax_event_handler_send_event(handler, id, active_event(true).get(), nullptr);
    if (argc == 2 && std::strcmp(argv[1], "end") == 0) {
        static AXEventHandler* kept = nullptr; // as a global object of the application would keep it
        kept = handler;
        return kept == nullptr ? 1 : 0;
    }
    while (true)
        pause();
}
