#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/** A small HTTP client on a plain socket, so that a test sees every byte and can stop reading when it likes. */
namespace http_client {

struct Head {
    int status = 0;
    std::map<std::string, std::string> headers; // names in lower case
};

struct Reply {
    Head head;
    std::string body;
};

/**
 * An address is like "127.0.0.1:8080" or "unix:PATH". One request, read to the end of the connection. Fails the test
 * after 10 s without a byte.
 */
Reply request(const std::string& address, const std::string& method, const std::string& target);

/** An open multipart stream, or stream of events. */
class Motion {
  public:
    /** `receive_buffer`: bytes that the kernel may hold for it, 0 for the default. */
    Motion(const std::string& address, const std::string& target, int receive_buffer = 0);
    ~Motion();
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

    /** Reads the head of the answer. */
    Head head();
    /** The next part's content, its framing checked; empty at the end of the stream. */
    std::vector<std::uint8_t> next_picture();
    /** The next event, without the empty line after it; empty at the end of the stream. */
    std::string next_message();
    /** Reads to the end of the stream. */
    void drain();

  private:
    std::string read_to(const std::string& mark);
    std::string read_line();
    std::string read_exactly(std::size_t size);
    bool fill();

    int m_socket;
    std::string m_buffer;
    std::size_t m_position = 0;
};

} // namespace http_client
