#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/**
 * The web server's side of one FastCGI connection over a Unix-domain socket, for tests: sends the records of a request
 * one by one, so that a test can stop half way, and reads the answer.
 *
 * Blocking; a limit of 30 seconds on everything makes a responder that hangs a failed test.
 */
class fastcgi_client {
  public:
    using parameters = std::vector<std::pair<std::string, std::string>>;

    enum record : unsigned char { begin_request = 1, abort_request = 2, end_request = 3, params = 4, in = 5, out = 6 };

    /** Connects; throws std::runtime_error when nobody listens. */
    explicit fastcgi_client(const std::filesystem::path& socket);
    ~fastcgi_client();
    fastcgi_client(const fastcgi_client&) = delete;
    fastcgi_client& operator=(const fastcgi_client&) = delete;

    void send_begin();
    void send_parameters(const parameters& list);
    /** The body and its end. */
    void send_body(const std::string& body);
    /** One record as it stands, at most 65,535 bytes. */
    void send_record(record type, const std::string& content);
    /** Anything. A responder that has gone away is no error. */
    void send_bytes(const std::string& bytes);
    /** Nothing more comes from this side; the answer can still be read. */
    void end_sending();
    /** Whether the responder has read all that was sent. */
    bool is_read() const;

    /** What the responder writes to its output until it ends the request or the connection. */
    std::string receive();
    /** Whether `receive` saw the record that ends a request. */
    bool finished() const { return m_finished; }

    /** A name-value list as it goes into a record of parameters. */
    static std::string encode(const parameters& list);
    /** A record with its header. */
    static std::string encode(record type, const std::string& content);

  private:
    bool read_exactly(std::string& bytes, size_t count) const;

    int m_socket;
    bool m_finished = false;
};
