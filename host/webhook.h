#pragma once

#include <functional>
#include <memory>
#include <string>

namespace console {

/** Who is to be told of alerts. */
struct WebhookSettings {
    std::string url;        ///< http:// or https://
    std::string ca_file;    ///< PEM, who may vouch for it; empty: whom the system trusts
    std::string queue_path; ///< SQLite file in which alerts wait; empty: they wait in memory
};

/** "https://example.org": of an address whose rest may be a secret. */
std::string shown_hook(const std::string& url);

/**
 * Posts alerts as JSON to an address, on a thread of its own that gives way to the analysis and takes no signals. Main
 * thread; nobody waits for the network.
 *
 *     waiting --alert--> its picture is made, or 3 s are over --> POST --2xx--> waiting
 *                              ^                                   |
 *                              '---- rest: 1 s, 2 s, ... 60 s <----' anything else
 *
 * An alert is put down before push() returns and leaves the queue when it has been taken, so that none is lost by a
 * kill, the next process goes on with it, and one whose answer was lost comes twice. They arrive in order. Up to 10,000
 * wait, then the oldest go. An answer of another status than 2xx counts as a refusal for now: a wrong address can be
 * put right while alerts wait. Redirections are not followed. What is wrong is said once an outage, on stderr.
 */
class Webhook {
  public:
    /** Whether the picture of that name is there, asked on the thread. */
    using HasPicture = std::function<bool(const std::string& name)>;

    Webhook(const WebhookSettings& settings, HasPicture has_picture);
    /** At once: a running post is broken off, and its alert goes with the next process. */
    ~Webhook();
    Webhook(const Webhook&) = delete;
    Webhook& operator=(const Webhook&) = delete;

    /** An alert; `picture` is the name of the one that belongs to it, empty when there will be none. */
    void push(const std::string& picture, const std::string& json);

  private:
    class Sender;
    std::unique_ptr<Sender> m_sender;
};

} // namespace console
