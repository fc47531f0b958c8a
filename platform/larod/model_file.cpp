#include "platform/larod/model_file.h"

#include "platform/larod/flat_reader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace korvex::larod {

namespace {

// Fields by number, table by table.
namespace model_field {
constexpr unsigned version = 0, operator_codes = 1, subgraphs = 2, description = 3, buffers = 4, metadata_buffer = 5,
                   metadata = 6;
}
namespace metadata_field {
constexpr unsigned name = 0, buffer = 1;
}
namespace code_field {
constexpr unsigned old_code = 0, custom_code = 1, op_version = 2, code = 3;
}
namespace graph_field {
constexpr unsigned tensors = 0, inputs = 1, outputs = 2, operators = 3, name = 4;
}
namespace tensor_field {
constexpr unsigned shape = 0, type = 1, buffer = 2, name = 3, quantization = 4, variable = 5, sparsity = 6,
                   shape_signature = 7;
}
namespace operator_field {
constexpr unsigned code_index = 0, inputs = 1, outputs = 2, options_type = 3, options = 4, custom_options = 5,
                   mutated_inputs = 7, intermediates = 8;
}

constexpr std::int32_t supported_version = 3;
constexpr std::uint8_t string_type = 5;
/** In the old field: the code stands in the new one. */
constexpr std::int32_t byte_codes = 127;
/** Bytes of an element by type number; 0 where it varies. Later engines know more types. */
constexpr std::array<std::size_t, 11> element_sizes{4, 2, 4, 1, 8, 0, 1, 2, 8, 1, 8};
/** Far above any detector's needs; a broken shape must not take the machine's memory. */
constexpr std::uint64_t most_elements = std::uint64_t{1} << 26;
constexpr std::uint64_t most_bytes = std::uint64_t{1} << 31;

/** The fields of an options' table that an operator divides by or that are sizes of its window. */
struct WindowOptions {
    std::uint8_t type;
    std::array<unsigned, 4> positive_fields;
    std::array<std::int32_t, 4> defaults;
};
constexpr std::array<WindowOptions, 5> window_options{{
    {1, {1, 2, 4, 5}, {0, 0, 1, 1}},  // Conv2D: strides, dilations
    {2, {1, 2, 5, 6}, {0, 0, 1, 1}},  // DepthwiseConv2D: strides, dilations
    {5, {1, 2, 3, 4}, {0, 0, 0, 0}},  // Pool2D: strides, window
    {19, {0, 0, 0, 0}, {0, 0, 0, 0}}, // SpaceToDepth: block
    {94, {0, 0, 0, 0}, {0, 0, 0, 0}}, // DepthToSpace: block
}};
/** An operator whose kernel reads parameters, by built-in code, with the number of their table. */
struct NeededOptions {
    std::int32_t code;
    std::uint8_t type;
};
/** Where a file leaves these out, the engine computes with what happens to stand in its memory. */
constexpr std::array<NeededOptions, 45> needed_options{{
    {0, 11},  {1, 5},   {2, 10},  {3, 1},   {4, 2},   {5, 94},  {9, 8},   {11, 12},  {12, 5},
    {13, 13}, {16, 14}, {17, 5},  {18, 21}, {23, 15}, {24, 7},  {25, 9},  {26, 19},  {27, 6},
    {35, 31}, {36, 23}, {40, 27}, {41, 28}, {42, 29}, {43, 30}, {44, 71}, {45, 32},  {46, 70},
    {49, 35}, {52, 69}, {56, 40}, {67, 49}, {74, 27}, {77, 55}, {79, 57}, {81, 27},  {82, 27},
    {83, 59}, {85, 61}, {88, 64}, {89, 27}, {91, 27}, {97, 74}, {98, 75}, {100, 77}, {102, 79},
}};
/** Inputs that an operator reads without asking how many there are, by built-in code; later codes count as 1. */
constexpr std::array<std::uint8_t, 127> least_inputs{
    2, 1, 1, 2, 2, 1, 1, 2, 1, 2, 3, 1, 1, 1, 1, 2, 5, 1, 2, 1, 1, 1, 1, 2, 5, 1, 1, 5, 1, 1, 1, 1,
    1, 5, 2, 5, 2, 3, 3, 2, 2, 2, 2, 1, 5, 4, 5, 1, 2, 2, 1, 1, 5, 1, 2, 2, 2, 2, 2, 1, 3, 2, 2, 2,
    3, 3, 1, 3, 4, 2, 2, 2, 2, 1, 2, 1, 1, 1, 2, 2, 1, 2, 2, 1, 2, 4, 2, 1, 1, 2, 2, 2, 1, 1, 2, 2,
    3, 2, 1, 2, 2, 1, 3, 1, 1, 2, 1, 2, 1, 1, 1, 1, 2, 1, 1, 2, 1, 1, 1, 1, 5, 6, 3, 3, 1, 2, 2,
};

/** Likewise for the outputs. */
std::uint32_t least_outputs(std::int32_t code) {
    switch (code) {
    case 10:  // HASHTABLE_LOOKUP
    case 48:  // TOPK_V2
    case 103: // UNIQUE
    case 120: // NON_MAX_SUPPRESSION_V4
        return 2;
    case 121: // NON_MAX_SUPPRESSION_V5
        return 3;
    default:
        return 1;
    }
}

constexpr std::int32_t most_window = 4096;
constexpr std::int32_t reshape = 22;
constexpr std::uint8_t reshape_options = 17;
constexpr std::uint8_t gather_options = 23;
constexpr std::uint8_t squeeze_options = 30;

class Walk {
  public:
    explicit Walk(std::span<const std::byte> model) : m_reader(model) {}

    std::string problem() {
        const FlatTable model = m_reader.root();
        if (m_reader.failed())
            return m_reader.problem();
        if (model.i32(model_field::version, 0) != supported_version)
            m_reader.fail("its format version is not 3");
        model.vector(model_field::description, 1);
        model.vector(model_field::metadata_buffer, 4);
        walk_buffers(model.vector(model_field::buffers, 4));
        walk_metadata(model.vector(model_field::metadata, 4));
        walk_codes(model.vector(model_field::operator_codes, 4));
        const FlatVector graphs = model.vector(model_field::subgraphs, 4);
        if (graphs.length == 0)
            m_reader.fail("it has no graph");
        for (std::uint32_t i = 0; i < graphs.length && !m_reader.failed(); ++i)
            walk_graph(m_reader.table_at(graphs, i));
        return m_reader.problem();
    }

  private:
    void walk_buffers(const FlatVector& buffers) {
        for (std::uint32_t i = 0; i < buffers.length && !m_reader.failed(); ++i)
            m_buffer_sizes.push_back(m_reader.table_at(buffers, i).vector(0, 1).length);
    }

    void walk_metadata(const FlatVector& notes) {
        for (std::uint32_t i = 0; i < notes.length && !m_reader.failed(); ++i) {
            const FlatTable note = m_reader.table_at(notes, i);
            note.vector(metadata_field::name, 1);
            const auto buffer = static_cast<std::uint32_t>(note.i32(metadata_field::buffer, 0));
            if (!note.has(metadata_field::name) || buffer >= m_buffer_sizes.size())
                m_reader.fail("its metadata is broken");
        }
    }

    void walk_codes(const FlatVector& codes) {
        for (std::uint32_t i = 0; i < codes.length && !m_reader.failed(); ++i) {
            const FlatTable code = m_reader.table_at(codes, i);
            code.vector(code_field::custom_code, 1);
            code.i32(code_field::op_version, 1);
            // Older engines read the one-byte field alone, later ones the larger of the two.
            const std::int32_t old_code = code.u8(code_field::old_code, 0);
            const std::int32_t new_code = code.i32(code_field::code, 0);
            if (new_code != 0 && new_code != old_code && old_code != byte_codes)
                m_reader.fail("an operator's two codes contradict each other");
            m_codes.push_back(new_code != 0 ? new_code : old_code);
        }
    }

    void walk_graph(const FlatTable& graph) {
        graph.vector(graph_field::name, 1);
        m_ready.clear();
        const FlatVector tensors = graph.vector(graph_field::tensors, 4);
        for (std::uint32_t i = 0; i < tensors.length && !m_reader.failed(); ++i)
            walk_tensor(m_reader.table_at(tensors, i));
        mark_ready(graph.vector(graph_field::inputs, 4));
        const FlatVector operators = graph.vector(graph_field::operators, 4);
        for (std::uint32_t i = 0; i < operators.length && !m_reader.failed(); ++i)
            walk_operator(m_reader.table_at(operators, i));
        need_ready(graph.vector(graph_field::outputs, 4), false);
    }

    void walk_tensor(const FlatTable& tensor) {
        tensor.vector(tensor_field::name, 1);
        tensor.vector(tensor_field::shape_signature, 4);
        walk_quantization(tensor.table(tensor_field::quantization), tensor.has(tensor_field::quantization));
        if (tensor.has(tensor_field::sparsity))
            m_reader.fail("it has sparse tensors, which are not supported");
        const std::uint8_t type = tensor.u8(tensor_field::type, 0);
        if (type >= element_sizes.size())
            m_reader.fail("a tensor has an unknown type");
        const auto buffer = static_cast<std::uint32_t>(tensor.i32(tensor_field::buffer, 0));
        if (buffer >= m_buffer_sizes.size())
            m_reader.fail("a tensor refers to a buffer that does not exist");
        std::uint64_t elements = 1;
        const FlatVector shape = tensor.vector(tensor_field::shape, 4);
        for (std::uint32_t axis = 0; axis < shape.length && !m_reader.failed(); ++axis) {
            const std::int32_t size = m_reader.i32_at(shape, axis);
            elements *= static_cast<std::uint64_t>(size < 0 ? 0 : size);
            if (size < 0 || elements > most_elements)
                m_reader.fail("a tensor has an impossible shape");
        }
        if (m_reader.failed())
            return;
        const bool stored = m_buffer_sizes[buffer] != 0;
        if (stored && type != string_type && elements * element_sizes[type] != m_buffer_sizes[buffer])
            m_reader.fail("a stored tensor has more or fewer values than its shape says");
        m_bytes += elements * element_sizes[type];
        if (m_bytes > most_bytes)
            m_reader.fail("its tensors take more than 2 GiB");
        m_ready.push_back(stored || tensor.u8(tensor_field::variable, 0) != 0);
    }

    void walk_quantization(const FlatTable& quantization, bool present) {
        if (!present)
            return;
        constexpr unsigned minimum = 0, maximum = 1, scale = 2, zero_point = 3, details = 5;
        quantization.vector(minimum, 4);
        quantization.vector(maximum, 4);
        const std::uint32_t scales = quantization.vector(scale, 4).length;
        const std::uint32_t zero_points = quantization.vector(zero_point, 8).length;
        if (zero_points != 0 && scales != zero_points)
            m_reader.fail("a tensor's quantization has unequal lists");
        if (quantization.has(details))
            quantization.table(details);
    }

    void walk_operator(const FlatTable& op) {
        const auto code_index = static_cast<std::uint32_t>(op.i32(operator_field::code_index, 0));
        if (code_index >= m_codes.size()) {
            m_reader.fail("an operator's code does not exist");
            return;
        }
        const std::int32_t code = m_codes[code_index];
        walk_options(op);
        op.vector(operator_field::custom_options, 1);
        op.vector(operator_field::mutated_inputs, 1);
        const FlatVector inputs = op.vector(operator_field::inputs, 4);
        const FlatVector outputs = op.vector(operator_field::outputs, 4);
        if (lacks_options(code, op, inputs.length))
            m_reader.fail("an operator lacks its parameters");
        const bool known = code >= 0 && static_cast<std::size_t>(code) < least_inputs.size();
        const std::uint32_t needed = known ? least_inputs[static_cast<std::size_t>(code)] : 1U;
        if (inputs.length < needed || outputs.length < least_outputs(code))
            m_reader.fail("an operator lacks inputs or outputs");
        for (std::uint32_t i = 0; i < needed && !m_reader.failed(); ++i) {
            if (m_reader.i32_at(inputs, i) < 0)
                m_reader.fail("an operator lacks an input that it needs");
        }
        need_ready(inputs, true);
        mark_ready(op.vector(operator_field::intermediates, 4));
        for (std::uint32_t i = 0; i < outputs.length && !m_reader.failed(); ++i) {
            const auto index = static_cast<std::uint32_t>(m_reader.i32_at(outputs, i));
            if (index < m_ready.size() && m_ready[index])
                m_reader.fail("an operator writes a tensor that is there already");
        }
        mark_ready(outputs);
    }

    static bool lacks_options(std::int32_t code, const FlatTable& op, std::uint32_t inputs) {
        const std::uint8_t type = op.has(operator_field::options) ? op.u8(operator_field::options_type, 0) : 0;
        if (code == reshape)
            return inputs < 2 && type != reshape_options; // a second input is the shape
        const auto* const needed = std::find_if(needed_options.begin(), needed_options.end(),
                                                [code](const NeededOptions& options) { return options.code == code; });
        return needed != needed_options.end() && type != needed->type;
    }

    void walk_options(const FlatTable& op) {
        const std::uint8_t type = op.u8(operator_field::options_type, 0);
        if (!op.has(operator_field::options))
            return;
        const FlatTable options = op.table(operator_field::options);
        if (type == reshape_options || type == squeeze_options)
            options.vector(0, 4);
        constexpr unsigned batch_dimensions = 1;
        if (type == gather_options && options.i32(batch_dimensions, 0) != 0)
            m_reader.fail("it gathers in batches, which is not supported");
        for (const WindowOptions& window : window_options) {
            for (std::size_t i = 0; window.type == type && i < window.positive_fields.size(); ++i) {
                const std::int32_t value = options.i32(window.positive_fields[i], window.defaults[i]);
                if (value < 1 || value > most_window)
                    m_reader.fail("an operator's stride or window is impossible");
            }
        }
    }

    /** Optional inputs are -1. */
    void need_ready(const FlatVector& indices, bool optional) {
        for (std::uint32_t i = 0; i < indices.length && !m_reader.failed(); ++i) {
            const std::int32_t index = m_reader.i32_at(indices, i);
            if (optional && index == -1)
                continue;
            if (index < 0 || static_cast<std::size_t>(index) >= m_ready.size())
                m_reader.fail("an operator refers to a tensor that does not exist");
            else if (!m_ready[static_cast<std::size_t>(index)])
                m_reader.fail("a tensor is read before it is computed");
        }
    }

    void mark_ready(const FlatVector& indices) {
        for (std::uint32_t i = 0; i < indices.length && !m_reader.failed(); ++i) {
            const std::int32_t index = m_reader.i32_at(indices, i);
            if (index < 0 || static_cast<std::size_t>(index) >= m_ready.size())
                m_reader.fail("an operator refers to a tensor that does not exist");
            else
                m_ready[static_cast<std::size_t>(index)] = true;
        }
    }

    FlatReader m_reader;
    /** Built-in codes by their index in the file. */
    std::vector<std::int32_t> m_codes;
    std::uint64_t m_bytes = 0;
    std::vector<std::uint32_t> m_buffer_sizes;
    /** By tensor: whether it holds values at this point of the walk. */
    std::vector<bool> m_ready;
};

} // namespace

std::string what_is_wrong_with(std::span<const std::byte> model) {
    constexpr std::size_t identifier_position = 4;
    constexpr std::string_view identifier = "TFL3";
    if (model.size() < identifier_position + identifier.size() ||
        std::memcmp(model.data() + identifier_position, identifier.data(), identifier.size()) != 0)
        return "it is no TensorFlow Lite file";
    return Walk(model).problem();
}

} // namespace korvex::larod
