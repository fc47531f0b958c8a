#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace korvex::larod {

class FlatReader;

/** A vector of a flatbuffer: `length` elements from `position`, all of them inside the file. */
struct FlatVector {
    std::size_t position = 0;
    std::uint32_t length = 0;
};

/** A table of a flatbuffer whose directory of fields has been found to lie inside the file. */
class FlatTable {
  public:
    /** Whether the field is stored; one that is not has its default. */
    bool has(unsigned field) const { return offset(field) != 0; }
    std::uint8_t u8(unsigned field, std::uint8_t unset) const;
    std::int32_t i32(unsigned field, std::int32_t unset) const;
    /** A table or vector of an unset field is empty. `element_size` is in bytes; an offset's is 4. */
    FlatTable table(unsigned field) const;
    FlatVector vector(unsigned field, std::size_t element_size) const;

  private:
    friend class FlatReader;
    FlatTable(FlatReader* reader, std::size_t position) : m_reader(reader), m_position(position) {}
    std::uint16_t offset(unsigned field) const;
    /** Position of a stored field of `size` bytes, checked to lie inside the table; 0 when it is not stored. */
    std::size_t place(unsigned field, std::size_t size) const;

    FlatReader* m_reader;
    std::size_t m_position;
    std::size_t m_directory = 0;
    std::uint16_t m_directory_size = 0;
    std::uint16_t m_table_size = 0;
};

/**
 * Reads a flatbuffer that may be broken. No read leaves the bytes: one that would gives 0 or something empty and is
 * remembered, so that a walk needs to ask failed() only now and then. The bytes must outlive the reader.
 */
class FlatReader {
  public:
    explicit FlatReader(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    bool failed() const { return !m_problem.empty(); }
    /** The first problem, in words; empty without one. */
    const std::string& problem() const { return m_problem; }
    void fail(const std::string& problem);

    FlatTable root();
    /** Element `index` of a vector of tables, or of a vector of 32-bit numbers. */
    FlatTable table_at(const FlatVector& vector, std::uint32_t index);
    std::int32_t i32_at(const FlatVector& vector, std::uint32_t index);

  private:
    friend class FlatTable;
    bool inside(std::size_t position, std::size_t size) const;
    template <typename Number>
    Number number(std::size_t position);
    FlatTable table(std::size_t position);
    FlatVector vector(std::size_t position, std::size_t element_size);
    /** Follows the unsigned offset stored at `position`. */
    std::size_t follow(std::size_t position);

    std::span<const std::byte> m_bytes;
    std::string m_problem;
};

} // namespace korvex::larod
