#pragma once

#include <functional>
#include <string>
#include <thread>

/** A port on loopback where a test's own function serves one connection after the other, on a thread of its own. */
class FakeBroker {
  public:
    /** One connection; closed when the function returns. */
    class Client {
      public:
        explicit Client(int file) : m_file(file) {}
        /** The next packet as it was sent, header and all; empty when the client has hung up. */
        std::string packet() const;
        /** False when the client has hung up. */
        bool send(const std::string& bytes) const;

      private:
        bool receive(char& byte) const;
        int m_file;
    };

    explicit FakeBroker(std::function<void(const Client&)> serve);
    ~FakeBroker();
    FakeBroker(const FakeBroker&) = delete;
    FakeBroker& operator=(const FakeBroker&) = delete;

    int port() const { return m_port; }

    static const std::string accepted;

  private:
    int m_listener;
    int m_port = 0;
    std::thread m_thread;
};
