#pragma once

#include "platform/axoverlay/host_answers.h"

#include <microhttpd.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace host_overlay {

/** What host_answers.h sets, for the server that asks for it. Any thread. */
class AnswerBook {
  public:
    /** Lives as long as the process, as the overlay service does. */
    static AnswerBook& instance();

    void set_answers(Answers answers);
    void set_header(const std::string& name, const std::string& value);

    /** Nothing when nobody knows the path; nullptr when there is no memory. Its status is in `status`. */
    std::optional<MHD_Response*> answer(const std::string& path, const QueryArguments& query, unsigned& status);
    void add_headers(MHD_Response* response);

  private:
    std::mutex m_asking; // held during a call of m_answers
    Answers m_answers;
    std::mutex m_lock; // guards m_headers
    std::map<std::string, std::string> m_headers;
};

} // namespace host_overlay
