#pragma once

#include <curl/curl.h>

#include <atomic>
#include <memory>
#include <string>

namespace console {

/** What became of a post. */
struct PostResult {
    bool taken = false;      // an answer of 2xx
    std::string problem;     // else why not, as part of a sentence
    bool distrusted = false; // the problem is with its certificate
};

/** Posts JSON to one address, one post at a time. A thread of one's own; stop() may come from any other. */
class HttpPost {
  public:
    /** `ca_file`: see WebhookSettings. */
    HttpPost(const std::string& url, const std::string& ca_file);

    /** Takes at most ten seconds. */
    PostResult post(const std::string& json);

    /** A running and every later post is broken off at once. */
    void stop();

  private:
    CURLcode run();

    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> m_multi;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_easy;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_headers;
    std::string m_problem; // CURL_ERROR_SIZE bytes, in which curl writes
    std::atomic<bool> m_stopped = false;
};

} // namespace console
