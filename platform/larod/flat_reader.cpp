#include "platform/larod/flat_reader.h"

#include <bit>
#include <cstring>

namespace korvex::larod {

static_assert(std::endian::native == std::endian::little, "model files are little-endian, and read as they are");

std::uint16_t FlatTable::offset(unsigned field) const {
    const std::size_t entry = 4 + 2 * std::size_t{field};
    return entry + 2 <= m_directory_size ? m_reader->number<std::uint16_t>(m_directory + entry) : std::uint16_t{0};
}

std::size_t FlatTable::place(unsigned field, std::size_t size) const {
    const std::size_t at = offset(field);
    if (at == 0)
        return 0;
    if (at + size > m_table_size) {
        m_reader->fail("a field lies outside its table");
        return 0;
    }
    return m_position + at;
}

std::uint8_t FlatTable::u8(unsigned field, std::uint8_t unset) const {
    const std::size_t at = place(field, 1);
    return at == 0 ? unset : m_reader->number<std::uint8_t>(at);
}

std::int32_t FlatTable::i32(unsigned field, std::int32_t unset) const {
    const std::size_t at = place(field, 4);
    return at == 0 ? unset : m_reader->number<std::int32_t>(at);
}

FlatTable FlatTable::table(unsigned field) const {
    const std::size_t at = place(field, 4);
    return at == 0 ? FlatTable(m_reader, 0) : m_reader->table(m_reader->follow(at));
}

FlatVector FlatTable::vector(unsigned field, std::size_t element_size) const {
    const std::size_t at = place(field, 4);
    return at == 0 ? FlatVector{} : m_reader->vector(m_reader->follow(at), element_size);
}

void FlatReader::fail(const std::string& problem) {
    if (m_problem.empty())
        m_problem = problem;
}

bool FlatReader::inside(std::size_t position, std::size_t size) const {
    return position <= m_bytes.size() && size <= m_bytes.size() - position;
}

template <typename Number>
Number FlatReader::number(std::size_t position) {
    Number value{};
    if (inside(position, sizeof(value)))
        std::memcpy(&value, m_bytes.data() + position, sizeof(value));
    else
        fail("an offset points outside the file");
    return value;
}

std::size_t FlatReader::follow(std::size_t position) {
    return position + number<std::uint32_t>(position);
}

FlatTable FlatReader::root() {
    return table(follow(0));
}

FlatTable FlatReader::table(std::size_t position) {
    FlatTable result(this, position);
    // The directory lies before or behind its table, by a signed distance.
    const std::int64_t directory = static_cast<std::int64_t>(position) - number<std::int32_t>(position);
    if (failed() || directory < 0) {
        fail("a table's directory lies outside the file");
        return result;
    }
    const auto at = static_cast<std::size_t>(directory);
    const auto directory_size = number<std::uint16_t>(at);
    const auto table_size = number<std::uint16_t>(at + 2);
    if (failed() || directory_size < 4 || directory_size % 2 != 0 || table_size < 4 || !inside(at, directory_size) ||
        !inside(position, table_size)) {
        fail("a table does not lie inside the file");
        return result;
    }
    result.m_directory = at;
    result.m_directory_size = directory_size;
    result.m_table_size = table_size;
    return result;
}

FlatVector FlatReader::vector(std::size_t position, std::size_t element_size) {
    const auto length = number<std::uint32_t>(position);
    if (failed() || !inside(position + 4, std::size_t{length} * element_size)) {
        fail("a list does not lie inside the file");
        return {};
    }
    return {position + 4, length};
}

FlatTable FlatReader::table_at(const FlatVector& vector, std::uint32_t index) {
    return table(follow(vector.position + 4 * std::size_t{index}));
}

std::int32_t FlatReader::i32_at(const FlatVector& vector, std::uint32_t index) {
    return number<std::int32_t>(vector.position + 4 * std::size_t{index});
}

} // namespace korvex::larod
