#pragma once

#include <string>

/**
 * A temporary file that exists only as an open descriptor and a shared mapping of the whole of it: the inference
 * service works through the descriptor, the application on the same bytes through the mapping. Its room on the disk is
 * reserved, so that writing to it cannot fail later. Nothing is left on the disk, even after a crash.
 */
class MemoryMappedFile {
  public:
    /**
     * `name_template` ends in "XXXXXX", `size` is in bytes. Throws the reason as a text (const char*) when the file
     * cannot be made; the log has the details.
     */
    MemoryMappedFile(const std::string& name_template, int size);
    ~MemoryMappedFile();
    MemoryMappedFile(const MemoryMappedFile&) = delete;
    MemoryMappedFile& operator=(const MemoryMappedFile&) = delete;

    /** `size` bytes, valid as long as this object. */
    void* getBuffer() const { return m_buffer; }
    int getFileDescriptor() const { return m_fileDescriptor; }

    /** Sets the descriptor's file position to 0. */
    bool rewind();

  public:
    std::string m_filename; // the name the file had before it was removed
    int m_filesize;         // bytes
    int m_fileDescriptor = -1;
    void* m_buffer = nullptr;
};
