#pragma once

#include "larod.h"

#include <string>
#include <vector>

/**
 * A detection network behind the interface that the application uses: one picture in, four outputs. Throws
 * std::runtime_error with the library's sentence.
 */
class NetworkSession {
  public:
    NetworkSession(const std::string& model, std::size_t picture_bytes);
    ~NetworkSession();
    NetworkSession(const NetworkSession&) = delete;
    NetworkSession& operator=(const NetworkSession&) = delete;

    /** Runs over what is in the picture's file. */
    void run();

    int picture() const { return m_files[0]; }
    /** The file of output 0 to 3. */
    int output(std::size_t index) const { return m_files.at(index + 1); }

  private:
    void bind(larodTensor* tensor, std::size_t bytes);

    larodConnection* m_connection = nullptr;
    larodModel* m_model = nullptr;
    larodTensor** m_inputs = nullptr;
    larodTensor** m_outputs = nullptr;
    std::size_t m_input_count = 0;
    std::size_t m_output_count = 0;
    larodInferenceRequest* m_request = nullptr;
    larodError* m_error = nullptr;
    std::vector<int> m_files;
};
