#include "platform/axoverlay/answers.h"

#include "platform/axoverlay/http_response.h"
#include "platform/common/descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <exception>
#include <utility>

namespace host_overlay {
namespace {

MHD_Response* text_answer(const Answer& answer) {
    std::string body = answer.body;
    return MHD_create_response_from_buffer(body.size(), body.data(), MHD_RESPMEM_MUST_COPY);
}

/** nullptr when it is no file that can be read. */
MHD_Response* file_answer(const std::string& path) {
    platform::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    return MHD_create_response_from_fd64(static_cast<uint64_t>(status.st_size), file.release());
}

MHD_Response* response_of(const Answer& answer, unsigned& status) {
    status = answer.status;
    MHD_Response* response = answer.file.empty() ? text_answer(answer) : file_answer(answer.file);
    if (response == nullptr) {
        status = MHD_HTTP_NOT_FOUND;
        return text_response("It is not there, or not there any more.");
    }
    typed_response(response, answer.type.c_str());
    if (!answer.filename.empty())
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_DISPOSITION,
                                ("attachment; filename=\"" + answer.filename + "\"").c_str());
    return response;
}

} // namespace

AnswerBook& AnswerBook::instance() {
    static AnswerBook& book = *new AnswerBook;
    return book;
}

void AnswerBook::set_answers(Answers answers) {
    const std::lock_guard lock(m_asking);
    m_answers = std::move(answers);
}

void AnswerBook::set_header(const std::string& name, const std::string& value) {
    const std::lock_guard lock(m_lock);
    if (value.empty())
        m_headers.erase(name);
    else
        m_headers[name] = value;
}

std::optional<MHD_Response*> AnswerBook::answer(const std::string& path, const QueryArguments& query,
                                                unsigned& status) {
    const std::lock_guard lock(m_asking);
    const std::optional<Answer> answer = m_answers ? m_answers(path, query) : std::nullopt;
    if (!answer)
        return std::nullopt;
    return response_of(*answer, status);
}

void AnswerBook::add_headers(MHD_Response* response) {
    const std::lock_guard lock(m_lock);
    for (const auto& [name, value] : m_headers)
        MHD_add_response_header(response, name.c_str(), value.c_str());
}

void set_answers(Answers answers) {
    AnswerBook::instance().set_answers(std::move(answers));
}

void set_header(const std::string& name, const std::string& value) {
    AnswerBook::instance().set_header(name, value);
}

} // namespace host_overlay
