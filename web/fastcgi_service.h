#pragma once

#include "web/client_watch.h"

#include <fcgiapp.h>
#include <uriparser/Uri.h>

#include <string>

/**
 * The responder behind the application's web pages: accepts one request at a time on a Unix-domain socket, takes each
 * "action" out of its query and answers it.
 *
 * Takes memory for what has come, never for what is only stated, and a request that finds none is lost alone. What
 * libfcgi does with a request before it comes here is another matter: README.md tells.
 *
 * Web thread only; a client that holds it is given up after some seconds, and after a minute whatever it does. `init`
 * once, then `run`, which returns when accepting fails: when the listening socket has been shut down, or never was one.
 *
 * What goes out is fixed to the byte and odd in places; deliberate: kept as it is. An answer that says why a request
 * cannot be served is bare text without a header.
 */
class fastcgi_service {
  public:
    fastcgi_service() = default;
    ~fastcgi_service();
    fastcgi_service(const fastcgi_service&) = delete;
    fastcgi_service& operator=(const fastcgi_service&) = delete;

    /** Opens the socket, for everybody to write to, and prepares the request; 0, or 1 for failure. */
    int init();

    /** Serves requests; 0 when no more can be accepted. */
    int run();

    /** Answers one action of a GET; always 0. */
    int processGET(UriQueryListStructA* item);

    /** Answers one action of a POST; 0, or -1 when the settings could not all be taken. */
    int processPOST(UriQueryListStructA* item, std::string body);

    /**
     * The request's body, of the length that the client states. One that ends early is filled up with bytes of 255, by
     * 64 KiB at most: whatever is missing beyond that, the document is broken either way.
     */
    std::string get_post_body();

  public:
    FCGX_Request m_request{}; // reused for every request
    int m_sock = 0;           // listening; 0 until `init`
    client_times m_times;     // for whom `run` serves; set before it

  private:
    void serve();
    void answer(const char* method, UriQueryListStructA* item);
    void write(const char* text);
};

extern fastcgi_service g_FastcgiService;
