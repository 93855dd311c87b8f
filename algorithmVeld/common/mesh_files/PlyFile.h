#pragma once

#include "algorithmVeld/common/files/ByteCursor.h"
#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/mesh_files/MeshSoup.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// The parts of a PLY file: its header, its values, and the element `vertex`. What else a file has
/// to hold is the business of its readers. All throw `FileError`.

namespace OrvaneAlgorithm::detail::ply
{

enum class Encoding
{
    ASCII,
    BINARY_LITTLE_ENDIAN,
    BINARY_BIG_ENDIAN
};

enum class Type
{
    INT8,
    UINT8,
    INT16,
    UINT16,
    INT32,
    UINT32,
    FLOAT32,
    FLOAT64
};

struct Property
{
    std::string name;
    Type type = Type::FLOAT32;
    std::optional<Type> list_count; ///< type of the list's length; none for a single value
};

struct Element
{
    std::string name;
    std::uint64_t rows = 0;
    std::vector<Property> properties;
};

struct Header
{
    Encoding encoding = Encoding::ASCII;
    std::vector<Element> elements;
    std::vector<std::string_view> infos; ///< what stands behind `obj_info`, line by line
    bool has_textures = false;           ///< a comment names a texture image
    std::string_view body;
};

/// Reads the header, from which the texts in it keep pointing to the content.
Header parse_header(std::string_view content);

// The values: two sources, which tell where a file ends too early.

/// The row that is being read, for messages.
struct Row
{
    Element const* element = nullptr;
    std::uint64_t number = 0;

    std::string name() const { return element->name + " " + std::to_string(number); }
    [[noreturn]] void refuse_end() const { throw FileError("ends in the middle of " + name()); }
};

class BinarySource
{
public:
    BinarySource(std::string_view body, bool big_endian) : bytes_(body, big_endian) {}

    void begin_row(Row const& row) { row_ = row; }
    void end_row() {}

    double number(Type type)
    {
        switch (type)
        {
        case Type::INT8:
            return take<std::int8_t>();
        case Type::UINT8:
            return take<std::uint8_t>();
        case Type::INT16:
            return take<std::int16_t>();
        case Type::UINT16:
            return take<std::uint16_t>();
        case Type::INT32:
            return take<std::int32_t>();
        case Type::UINT32:
            return take<std::uint32_t>();
        case Type::FLOAT32:
            return take<float>();
        case Type::FLOAT64:
            return take<double>();
        }
        return 0;
    }

    /// The most rows of at least `values` values that can follow.
    std::uint64_t most_rows(std::size_t values) const { return bytes_.left() / values; }

    bool at_end() const { return bytes_.left() == 0; }

private:
    template <typename Number>
    Number take()
    {
        if (bytes_.left() < sizeof(Number))
        {
            row_.refuse_end();
        }
        return bytes_.take<Number>();
    }

    ByteCursor bytes_;
    Row row_;
};

class AsciiSource
{
public:
    explicit AsciiSource(std::string_view body) : text_(body) {}

    void begin_row(Row const& row)
    {
        row_ = row;
        if (!text_.next_line_with_words())
        {
            row_.refuse_end();
        }
    }

    void end_row()
    {
        if (!text_.next_word().empty())
        {
            throw FileError(row_.name() + " has more values than the header declares");
        }
    }

    double number(Type type)
    {
        auto const word = text_.next_word();
        if (word.empty())
        {
            if (text_.rest().empty())
            {
                row_.refuse_end();
            }
            throw FileError(row_.name() + " has fewer values than the header declares");
        }
        double value = 0;
        float single = 0;
        // Rounded once, from the text to the type that the header declares.
        bool const is_number =
            type == Type::FLOAT32 ? parse_number(word, single) : parse_number(word, value);
        if (!is_number)
        {
            throw FileError(row_.name() + " has a value that is no number");
        }
        return type == Type::FLOAT32 ? single : value;
    }

    std::uint64_t most_rows(std::size_t values) const
    {
        return (text_.rest().size() + 1) / (2 * values);
    }

    bool at_end() const { return !TextCursor(text_).next_line_with_words(); }

private:
    TextCursor text_;
    Row row_;
};

// The elements.

/// Where a value of a vertex goes.
enum Slot : unsigned char
{
    X,
    Y,
    Z,
    NX,
    NY,
    NZ,
    RED,
    GREEN,
    BLUE,
    ALPHA,
    SLOTS,
    CARRIED, ///< Handed on as it is.
    IGNORED
};

/// Whether the values of a vertex that have this name are handed on, whatever they mean.
inline bool is_carried(std::string_view name)
{
    static char const* const names[] = {"quality", "confidence", "intensity", "s",        "t",
                                        "u",       "v",          "texture_u", "texture_v"};
    constexpr std::string_view ANY_SCALAR = "scalar_";
    return std::find(std::begin(names), std::end(names), name) != std::end(names) ||
           name.substr(0, ANY_SCALAR.size()) == ANY_SCALAR;
}

inline Slot slot_of(Property const& property)
{
    static char const* const names[] = {"x",  "y",   "z",     "nx",   "ny",
                                        "nz", "red", "green", "blue", "alpha"};
    if (property.list_count)
    {
        return IGNORED;
    }
    auto const* const found = std::find(std::begin(names), std::end(names), property.name);
    if (found != std::end(names))
    {
        return static_cast<Slot>(found - std::begin(names));
    }
    return is_carried(property.name) ? CARRIED : IGNORED;
}

/// How a colour of the type becomes one from 0 to 1.
inline double colour_scale(Type type)
{
    switch (type)
    {
    case Type::FLOAT32:
    case Type::FLOAT64:
        return 1;
    case Type::INT16:
    case Type::UINT16:
        return 1.0 / std::numeric_limits<std::uint16_t>::max();
    default:
        return 1.0 / std::numeric_limits<std::uint8_t>::max();
    }
}

inline float to_float(double value)
{
    constexpr double LARGEST = std::numeric_limits<float>::max();
    bool const fits = !(std::abs(value) > LARGEST);
    return fits ? static_cast<float>(value) : std::numeric_limits<float>::infinity();
}

template <typename Source>
std::uint64_t list_size(Source& source, Property const& property, Row const& row)
{
    double const size = source.number(*property.list_count);
    if (!(size >= 0 && size <= std::numeric_limits<std::uint32_t>::max()))
    {
        throw FileError(row.name() + " has a list of impossible length");
    }
    return static_cast<std::uint64_t>(size);
}

template <typename Source>
void skip_property(Source& source, Property const& property, Row const& row)
{
    std::uint64_t const n = property.list_count ? list_size(source, property, row) : 1;
    CancelPoll poll;
    for (std::uint64_t i = 0; i < n; ++i)
    {
        poll.next();
        source.number(property.type);
    }
}

template <typename Source>
void skip_element(Source& source, Element const& element)
{
    if (element.properties.empty())
    {
        return;
    }
    LoopProgress progress(static_cast<std::size_t>(element.rows));
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        progress.next();
        source.begin_row(row);
        for (auto const& property : element.properties)
        {
            skip_property(source, property, row);
        }
        source.end_row();
    }
}

/// Which property goes where in a vertex.
class VertexLayout
{
public:
    explicit VertexLayout(Element const& element)
    {
        for (auto const& property : element.properties)
        {
            auto const slot = slot_of(property);
            slots_.push_back(slot);
            scales_.push_back(slot >= RED && slot < SLOTS ? colour_scale(property.type) : 1);
        }
        if (!has(X) || !has(Y) || !has(Z))
        {
            throw FileError("has vertices without the coordinates x, y and z");
        }
    }

    bool has_normals() const { return has(NX) && has(NY) && has(NZ); }
    bool has_colors() const { return has(RED) && has(GREEN) && has(BLUE); }
    bool has_alpha() const { return has(ALPHA); }
    Slot slot(std::size_t property) const { return slots_[property]; }
    double scale(std::size_t property) const { return scales_[property]; }

private:
    bool has(Slot slot) const
    {
        return std::find(slots_.begin(), slots_.end(), slot) != slots_.end();
    }

    std::vector<Slot> slots_;
    std::vector<double> scales_;
};

/// The lists for the values that are handed on, one for each property; none for the others. What is
/// not handed on is noted. A name counts once.
inline std::vector<int> add_carried_lists(Element const& element, VertexLayout const& layout,
                                          std::size_t room, MeshSoup& soup)
{
    constexpr int NONE = -1;
    std::vector<int> lists;
    for (std::size_t i = 0; i < element.properties.size(); ++i)
    {
        auto const& name = element.properties[i].name;
        bool const is_known =
            std::any_of(soup.values.begin(), soup.values.end(),
                        [&](VertexValues const& known) { return known.name == name; });
        bool const is_new = layout.slot(i) == CARRIED && !is_known;
        lists.push_back(is_new ? static_cast<int>(soup.values.size()) : NONE);
        if (is_new)
        {
            soup.values.push_back({name, {}});
            soup.values.back().values.reserve(room);
        }
        else if (layout.slot(i) >= SLOTS)
        {
            soup.drop("vertex " + name);
        }
    }
    return lists;
}

/// Reads the properties of a vertex. Values that are handed on go to their lists.
/// \param values by slot; where a vertex lacks one, that of the vertex before stays
template <typename Source>
void read_row(Source& source, Row const& row, VertexLayout const& layout,
              std::vector<int> const& lists, float (&values)[SLOTS], MeshSoup& soup)
{
    source.begin_row(row);
    for (std::size_t i = 0; i < row.element->properties.size(); ++i)
    {
        auto const& property = row.element->properties[i];
        if (lists[i] >= 0)
        {
            soup.values[static_cast<std::size_t>(lists[i])].values.push_back(
                to_float(source.number(property.type)));
            continue;
        }
        if (layout.slot(i) >= SLOTS)
        {
            skip_property(source, property, row);
            continue;
        }
        values[layout.slot(i)] = to_float(source.number(property.type) * layout.scale(i));
    }
    source.end_row();
}

template <typename Source>
void read_vertices(Source& source, Element const& element, MeshSoup& soup)
{
    VertexLayout const layout(element);
    auto const most = source.most_rows(element.properties.size());
    auto const room = static_cast<std::size_t>(std::min(element.rows, most));
    soup.points.reserve(room);
    soup.normals.reserve(layout.has_normals() ? room : 0);
    soup.colors.reserve(layout.has_colors() ? room : 0);
    auto const lists = add_carried_lists(element, layout, room, soup);

    float values[SLOTS] = {};
    float least_alpha = 1.0F;
    LoopProgress progress(static_cast<std::size_t>(element.rows));
    for (Row row{&element, 0}; row.number < element.rows; ++row.number)
    {
        progress.next();
        read_row(source, row, layout, lists, values, soup);
        soup.points.emplace_back(values[X], values[Y], values[Z]);
        if (layout.has_normals())
        {
            soup.normals.emplace_back(values[NX], values[NY], values[NZ]);
        }
        if (layout.has_colors())
        {
            soup.colors.emplace_back(values[RED], values[GREEN], values[BLUE]);
        }
        least_alpha = layout.has_alpha() ? std::min(least_alpha, values[ALPHA]) : least_alpha;
    }
    if (least_alpha < 1.0F)
    {
        soup.drop("transparency");
    }
}

inline int vertex_index(double value, Row const& row)
{
    if (!(value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max()) ||
        value != std::floor(value))
    {
        throw FileError(row.name() + " has a corner that is no vertex index");
    }
    return static_cast<int>(value);
}

template <typename Source, typename Read>
void read_elements(Source source, Header const& header, MeshSoup& soup, char const* name,
                   Read const& read)
{
    std::uint64_t rows = 0;
    auto const n_rows = std::accumulate(
        header.elements.begin(), header.elements.end(), std::uint64_t{1},
        [](std::uint64_t sum, Element const& element) { return sum + element.rows; });
    auto const share = [&](std::uint64_t n)
    { return static_cast<double>(n) / static_cast<double>(n_rows); };
    for (auto const& element : header.elements)
    {
        ProgressPart const part(share(rows), share(rows + element.rows));
        rows += element.rows;
        if (element.name == "vertex")
        {
            read_vertices(source, element, soup);
        }
        else if (element.name == name)
        {
            read(source, element);
        }
        else
        {
            skip_element(source, element);
            if (element.rows > 0)
            {
                soup.drop(element.name);
            }
        }
    }
    if (!source.at_end())
    {
        throw FileError("holds more than its header declares");
    }
}

/// Reads vertices into the soup and calls `read(source, element)` for the elements of one more
/// name, with the source that the encoding asks for. All other elements are skipped.
template <typename Read>
void read_body(Header const& header, MeshSoup& soup, char const* name, Read const& read)
{
    if (header.encoding == Encoding::ASCII)
    {
        read_elements(AsciiSource(header.body), header, soup, name, read);
        return;
    }
    read_elements(BinarySource(header.body, header.encoding == Encoding::BINARY_BIG_ENDIAN), header,
                  soup, name, read);
}

} // namespace OrvaneAlgorithm::detail::ply
