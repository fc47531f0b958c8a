#include "platform/larod/worker.h"

#include "platform/larod/descriptor_io.h"
#include "platform/larod/interpreter.h"
#include "platform/larod/message.h"
#include "platform/larod/stored_model.h"

#include <sys/stat.h>

#include <cstdlib>
#include <exception>
#include <map>

namespace korvex::larod {
namespace {

struct LoadedModel {
    std::unique_ptr<StoredModel> bytes; // outlives the interpreter
    std::unique_ptr<Interpreter> interpreter;
};

class Worker {
  public:
    Worker(int socket, std::shared_ptr<const Engine> engine, int threads)
        : m_socket(socket), m_engine(std::move(engine)), m_threads(threads) {}

    /** One message; false at the end. */
    bool serve() {
        Message message;
        std::vector<Descriptor> files;
        if (receive_message(m_socket, message, files, never) != Received::message)
            return false;
        switch (message.kind) {
        case Message::Kind::load:
            return send_message(m_socket, load(message.model, std::move(files)));
        case Message::Kind::run:
            return send_message(m_socket, run(message.model, files));
        default:
            m_models.erase(message.model);
            return true;
        }
    }

  private:
    Message load(std::uint32_t number, std::vector<Descriptor> files) {
        std::string why;
        LoadedModel model;
        model.bytes = StoredModel::adopt(files.empty() ? Descriptor() : std::move(files[0]), why);
        if (model.bytes == nullptr)
            return failure(Code::model, why);
        model.interpreter = Interpreter::load(m_engine, model.bytes->bytes(), m_threads, why);
        if (model.interpreter == nullptr)
            return failure(Code::model, why);
        const Interpreter& loaded = *model.interpreter;
        Message answer = message_of(Message::Kind::loaded, number);
        const std::size_t inputs = loaded.input_count();
        const std::size_t outputs = loaded.output_count();
        if (inputs + outputs > most_tensors)
            return failure(Code::model, "The model cannot be used: it has " + std::to_string(inputs) + " inputs and " +
                                            std::to_string(outputs) + " outputs; " + std::to_string(most_tensors) +
                                            " together are possible.");
        answer.inputs = static_cast<std::uint32_t>(inputs);
        answer.outputs = static_cast<std::uint32_t>(outputs);
        for (std::size_t i = 0; i < inputs + outputs; ++i) {
            answer.tensors[i] = (i < inputs ? loaded.input(i) : loaded.output(i - inputs)).info;
            if (answer.tensors[i].type == string_type)
                return failure(Code::model, "The model cannot be used: it takes or gives texts.");
        }
        m_models[number] = std::move(model);
        return answer;
    }

    Message run(std::uint32_t number, const std::vector<Descriptor>& files) {
        const auto found = m_models.find(number);
        if (found == m_models.end())
            return failure(Code::model, "The model has not been loaded.");
        Interpreter& model = *found->second.interpreter;
        const std::size_t inputs = model.input_count();
        if (files.size() != inputs + model.output_count())
            return failure(Code::descriptor, "Not every tensor has its file.");
        const auto failed = [&](const char* kind, std::size_t i, const std::string& what) {
            return failure(Code::descriptor, std::string(kind) + " tensor " + std::to_string(i) + ": " + what);
        };
        std::string why;
        for (std::size_t i = 0; i < files.size(); ++i) {
            struct stat status {};
            // Anything else may keep a reader waiting for as long as its other end likes.
            if (fstat(files[i].get(), &status) != 0 || !S_ISREG(status.st_mode))
                return failed(i < inputs ? "Input" : "Output", i < inputs ? i : i - inputs,
                              "The descriptor is not a file's.");
        }
        for (std::size_t i = 0; i < inputs; ++i) {
            if (!read_in_place(files[i].get(), model.input(i).bytes, why))
                return failed("Input", i, why);
        }
        if (!model.run(why))
            return failure(Code::inference, why);
        for (std::size_t i = inputs; i < files.size(); ++i) {
            if (!write_on(files[i].get(), model.output(i - inputs).bytes, why))
                return failed("Output", i - inputs, why);
        }
        return message_of(Message::Kind::done);
    }

    const int m_socket;
    const std::shared_ptr<const Engine> m_engine;
    const int m_threads;
    std::map<std::uint32_t, LoadedModel> m_models;
};

} // namespace

void work(int socket, std::shared_ptr<const Engine> engine, int threads) {
    try {
        Worker worker(socket, std::move(engine), threads);
        while (worker.serve())
            continue;
    } catch (const std::exception&) {
        // No memory for what a model asked: the service learns of the end, and says so.
    }
    std::_Exit(0); // nothing here is worth the time that destroying takes
}

} // namespace korvex::larod
