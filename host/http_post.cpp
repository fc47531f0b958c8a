#include "host/http_post.h"

namespace console {
namespace {

constexpr long connect_milliseconds = 5000;
constexpr long whole_milliseconds = 10000;
constexpr int poll_milliseconds = 1000;
constexpr long first_success = 200;
constexpr long first_no_success = 300;

/** Nobody reads the answer. */
size_t drop(char* /*bytes*/, size_t size, size_t count, void* /*nobody*/) {
    return size * count;
}

/** Once for the process, before the first handle; the thread that makes it must be the only one that does. */
void initialise() {
    static const CURLcode done = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(done); // without it the handles are null, and every post says so
}

bool is_distrust(CURLcode code) {
    return code == CURLE_PEER_FAILED_VERIFICATION || code == CURLE_SSL_ISSUER_ERROR || code == CURLE_SSL_CACERT_BADFILE;
}

} // namespace

HttpPost::HttpPost(const std::string& url, const std::string& ca_file)
    : m_multi((initialise(), curl_multi_init()), curl_multi_cleanup), m_easy(curl_easy_init(), curl_easy_cleanup),
      m_headers(curl_slist_append(nullptr, "Content-Type: application/json"), curl_slist_free_all),
      m_problem(CURL_ERROR_SIZE, '\0') {
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headers.get());
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "Korvex Orvel");
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, drop);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_problem.data());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, connect_milliseconds);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, whole_milliseconds);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // A name service that hangs is left to itself.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
    if (!ca_file.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, ca_file.c_str());
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
}

PostResult HttpPost::post(const std::string& json) {
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(json.size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, json.c_str());
    m_problem.front() = '\0';
    curl_multi_add_handle(m_multi.get(), easy);
    const CURLcode code = run();
    curl_multi_remove_handle(m_multi.get(), easy);
    PostResult result;
    if (code != CURLE_OK) {
        result.distrusted = is_distrust(code);
        result.problem = m_problem.front() != '\0' ? m_problem.c_str() : curl_easy_strerror(code);
        return result;
    }
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    result.taken = status >= first_success && status < first_no_success;
    result.problem = result.taken ? "" : "it answers with status " + std::to_string(status);
    return result;
}

/** Until the post is over or to be broken off. */
CURLcode HttpPost::run() {
    CURLM* multi = m_multi.get();
    while (!m_stopped) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK)
            return CURLE_FAILED_INIT;
        int left = 0;
        const CURLMsg* message = curl_multi_info_read(multi, &left);
        if (message != nullptr)
            return message->data.result;
        curl_multi_poll(multi, nullptr, 0, poll_milliseconds, nullptr);
    }
    return CURLE_ABORTED_BY_CALLBACK;
}

void HttpPost::stop() {
    m_stopped = true;
    curl_multi_wakeup(m_multi.get());
}

} // namespace console
