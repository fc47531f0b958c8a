#include "platform/larod/worker.h"

#include "platform/larod/descriptor_io.h"
#include "platform/larod/interpreter.h"
#include "platform/larod/message.h"
#include "platform/larod/sandbox.h"
#include "platform/larod/stored_model.h"

#include <sys/prctl.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <map>

namespace korvex::larod {
namespace {

constexpr int workers_socket = 3; // the first after the standard ones

struct LoadedModel {
    LoadedModel(const Engine& engine, Descriptor file, int threads)
        : bytes(StoredModel::adopt(std::move(file))), interpreter(engine, bytes.bytes(), threads) {}

    const StoredModel bytes;
    Interpreter interpreter;
};

class Worker {
  public:
    Worker(const Engine& engine, int threads) : m_engine(engine), m_threads(threads) {}

    /** One message; false at the end. */
    bool serve() {
        Message message;
        std::vector<Descriptor> files;
        if (receive_message(workers_socket, message, files, never) != Received::message)
            return false;
        if (message.kind == Message::Kind::unload) {
            m_models.erase(message.model);
            return true;
        }
        try {
            return send_message(workers_socket, message.kind == Message::Kind::load
                                                    ? load(message.model, std::move(files))
                                                    : run(message.model, files));
        } catch (const Failure& failure) {
            return send_message(workers_socket, message_of(failure));
        }
    }

  private:
    Message load(std::uint32_t number, std::vector<Descriptor> files) {
        auto model =
            std::make_unique<LoadedModel>(m_engine, files.empty() ? Descriptor() : std::move(files[0]), m_threads);
        const std::size_t inputs = model->interpreter.input_count();
        const std::size_t outputs = model->interpreter.output_count();
        if (inputs + outputs > most_tensors)
            throw Failure(Code::model, "The model cannot be used: it has " + std::to_string(inputs) + " inputs and " +
                                           std::to_string(outputs) + " outputs; " + std::to_string(most_tensors) +
                                           " together are possible.");
        Message answer{.kind = Message::Kind::loaded,
                       .model = number,
                       .inputs = static_cast<std::uint32_t>(inputs),
                       .outputs = static_cast<std::uint32_t>(outputs)};
        for (std::size_t i = 0; i < answer.tensor_count(); ++i) {
            answer.tensors[i] = model->interpreter.tensor(i).info;
            if (answer.tensors[i].type == string_type)
                throw Failure(Code::model, "The model cannot be used: it takes or gives texts.");
        }
        m_models[number] = std::move(model);
        return answer;
    }

    Message run(std::uint32_t number, const std::vector<Descriptor>& files) {
        const auto found = m_models.find(number);
        if (found == m_models.end())
            throw Failure(Code::model, "The model has not been loaded.");
        Interpreter& model = found->second->interpreter;
        const std::size_t inputs = model.input_count();
        if (files.size() != inputs + model.output_count())
            throw Failure(Code::descriptor, "Not every tensor has its file.");
        std::size_t i = 0; // the tensor at hand
        try {
            for (i = 0; i < files.size(); ++i) {
                struct stat status {};
                // Anything else may keep a reader waiting for as long as its other end likes.
                if (fstat(files[i].get(), &status) != 0 || !S_ISREG(status.st_mode))
                    throw Failure(Code::descriptor, "The descriptor is not a file's.");
            }
            for (i = 0; i < inputs; ++i)
                read_in_place(files[i].get(), model.tensor(i).bytes);
            model.run();
            for (i = inputs; i < files.size(); ++i)
                write_on(files[i].get(), model.tensor(i).bytes);
        } catch (const Failure& failure) {
            if (failure.code != static_cast<int>(Code::descriptor))
                throw;
            throw Failure(failure.code, tensor_name(i, inputs) + ": " + failure.sentence);
        }
        return {.kind = Message::Kind::done};
    }

    const Engine& m_engine;
    const int m_threads;
    std::map<std::uint32_t, std::unique_ptr<LoadedModel>> m_models;
};

/** In the new process. */
[[noreturn]] void work(int socket, const Engine& engine, int threads, int stderr_file) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "korvex_worker");
    dup2(stderr_file, STDERR_FILENO);
    // What its siblings and the service hold is not its business; a client's end may not stay open here either.
    dup2(socket, workers_socket);
    close_range(workers_socket + 1, ~0U, 0);
    give_up_rights(Role::worker);
    try {
        Worker worker(engine, threads);
        while (worker.serve())
            continue;
    } catch (const std::exception&) {
        // No memory for what a model asked: the service learns of the end, and says so.
    }
    std::_Exit(0); // nothing here is worth the time that destroying takes
}

} // namespace

WorkerProcess start_worker(const Engine& engine, int threads, int stderr_file) {
    auto ends = connected_sockets();
    const pid_t process = ends.first ? fork() : -1;
    if (process == 0)
        work(ends.second.get(), engine, threads, stderr_file);
    return {platform::Child(process), std::move(ends.first)};
}

} // namespace korvex::larod
