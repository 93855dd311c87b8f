#include "algorithmVeld/common/files/ByteCursor.h"
#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/mesh_files/ReadingProgress.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Makes one vertex of all corners at the same position: a hash table with open addressing.
class VertexMerger
{
public:
    explicit VertexMerger(std::vector<Vector3f>& points) : points_(points), table_(1024, NONE) {}

    int index_of(Vector3f const& point)
    {
        // Half of the table stays free; adding zero makes 0 of -0.
        if (2 * points_.size() >= table_.size())
        {
            grow();
        }
        Vector3f const position = point + Vector3f::Zero();
        auto const place = find(position);
        if (table_[place] == NONE)
        {
            table_[place] = static_cast<int>(points_.size());
            points_.push_back(position);
        }
        return table_[place];
    }

private:
    static constexpr int NONE = -1;

    static std::uint64_t hash(Vector3f const& point)
    {
        std::uint64_t hash = 0;
        for (int i = 0; i < 3; ++i)
        {
            std::uint32_t bits = 0;
            std::memcpy(&bits, &point[i], sizeof(bits));
            hash = (hash ^ bits) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 29U;
        }
        return hash;
    }

    /// The place where the position stands, or the free one where it belongs.
    std::size_t find(Vector3f const& position) const
    {
        auto const mask = table_.size() - 1;
        auto place = static_cast<std::size_t>(hash(position)) & mask;
        while (table_[place] != NONE &&
               !same(points_[static_cast<std::size_t>(table_[place])], position))
        {
            place = (place + 1) & mask;
        }
        return place;
    }

    /// Bits are compared, so that a position that is no number is found again too.
    static bool same(Vector3f const& a, Vector3f const& b)
    {
        return std::memcmp(a.data(), b.data(), 3 * sizeof(float)) == 0;
    }

    void grow()
    {
        table_.assign(2 * table_.size(), NONE);
        for (std::size_t i = 0; i < points_.size(); ++i)
        {
            table_[find(points_[i])] = static_cast<int>(i);
        }
    }

    std::vector<Vector3f>& points_;
    std::vector<int> table_;
};

// Binary: 80 bytes of anything, the number of faces, and 50 bytes a face.

constexpr std::size_t COMMENT_SIZE = 80;
constexpr std::size_t HEADER_SIZE = COMMENT_SIZE + sizeof(std::uint32_t);
constexpr std::size_t FACE_SIZE = 50;

std::uint64_t declared_faces(std::string_view content)
{
    return ByteCursor(content.substr(COMMENT_SIZE), false).take<std::uint32_t>();
}

MeshSoup read_binary(std::string_view content)
{
    auto const n = declared_faces(content);
    if (n > MOST_FACES)
    {
        throw FileError("holds more than a mesh can");
    }
    MeshSoup soup;
    soup.faces.reserve(static_cast<std::size_t>(n));
    VertexMerger merger(soup.points);
    ByteCursor bytes(content.substr(HEADER_SIZE), false);
    bool has_attributes = false;
    LoopProgress progress(static_cast<std::size_t>(n));
    for (std::uint64_t i = 0; i < n; ++i)
    {
        progress.next();
        bytes.skip(3 * sizeof(float));
        std::array<int, 3> corners{};
        for (auto& corner : corners)
        {
            float const x = bytes.take<float>();
            float const y = bytes.take<float>();
            float const z = bytes.take<float>();
            corner = merger.index_of({x, y, z});
        }
        has_attributes = bytes.take<std::uint16_t>() != 0 || has_attributes;
        soup.faces.push_back(corners);
    }
    if (has_attributes)
    {
        soup.drop("face attributes");
    }
    return soup;
}

[[noreturn]] void refuse_size(std::string_view content)
{
    if (content.size() < HEADER_SIZE)
    {
        throw FileError("is not an STL file, or ends within its header");
    }
    auto const there = (content.size() - HEADER_SIZE) / FACE_SIZE;
    throw FileError("is not an STL file, or damaged: declares " +
                    std::to_string(declared_faces(content)) + " faces, but has the size of " +
                    std::to_string(there));
}

// Text.

class TextParser
{
public:
    explicit TextParser(std::string_view content)
        : text_(content), merger_(soup_.points), progress_(content.size())
    {
    }

    MeshSoup parse()
    {
        while (text_.next_line_with_words())
        {
            require(is_next("solid"));
            parse_solid();
        }
        return std::move(soup_);
    }

private:
    void parse_solid()
    {
        while (true)
        {
            next_line("ends without endsolid");
            auto const word = text_.next_word();
            if (equal_ignoring_case(word, "endsolid"))
            {
                return;
            }
            progress_.next(text_.rest().size());
            require(equal_ignoring_case(word, "facet"));
            parse_facet();
        }
    }

    void parse_facet()
    {
        auto const number = soup_.faces.size();
        auto const cut_off = "ends in the middle of face " + std::to_string(number);
        next_line(cut_off);
        require(is_next("outer") && is_next("loop"));
        corners_.clear();
        next_line(cut_off);
        for (auto word = text_.next_word(); !equal_ignoring_case(word, "endloop");
             word = text_.next_word())
        {
            require(equal_ignoring_case(word, "vertex"));
            corners_.push_back(merger_.index_of(parse_point()));
            next_line(cut_off);
        }
        if (corners_.size() < 3)
        {
            throw FileError("face " + std::to_string(number) + " has " +
                            std::to_string(corners_.size()) +
                            " corners; only triangles are supported");
        }
        next_line(cut_off);
        require(is_next("endfacet"));
        soup_.add_face(corners_);
    }

    Vector3f parse_point()
    {
        Vector3f point;
        for (float& coordinate : {std::ref(point[0]), std::ref(point[1]), std::ref(point[2])})
        {
            require(parse_number(text_.next_word(), coordinate));
        }
        return point;
    }

    bool is_next(char const* keyword) { return equal_ignoring_case(text_.next_word(), keyword); }

    void next_line(std::string const& refusal)
    {
        if (!text_.next_line_with_words())
        {
            throw FileError(refusal);
        }
    }

    void require(bool understood) const
    {
        if (!understood)
        {
            throw FileError("line " + std::to_string(text_.line_number()) + " is not understood");
        }
    }

    TextCursor text_;
    MeshSoup soup_;
    VertexMerger merger_;
    std::vector<int> corners_; ///< Of the face that is being read.
    ReadingProgress progress_;
};

/// Binary files may begin with the word of the text form too, so their size decides first.
bool is_binary(std::string_view content)
{
    return content.size() >= HEADER_SIZE &&
           content.size() - HEADER_SIZE == FACE_SIZE * declared_faces(content);
}

bool is_text(std::string_view content)
{
    TextCursor text(content);
    return text.next_line_with_words() && equal_ignoring_case(text.next_word(), "solid") &&
           content.find('\0') == std::string_view::npos;
}

} // namespace

MeshSoup read_stl(std::string_view content)
{
    bool const binary = is_binary(content);
    auto const text = without_byte_order_mark(content);
    if (!binary && !is_text(text))
    {
        refuse_size(content);
    }
    auto soup = binary ? read_binary(content) : TextParser(text).parse();
    if (soup.faces.empty())
    {
        throw FileError("holds no faces");
    }
    return soup;
}

} // namespace OrvaneAlgorithm::detail
