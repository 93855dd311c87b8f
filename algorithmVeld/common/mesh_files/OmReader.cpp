#include "algorithmVeld/common/files/ByteCursor.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cmath>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

// OpenMesh's own format: a header with the counts and a sequence of chunks, each with a head of two
// bytes that says what it holds.

enum class Kind
{
    POSITION = 0,
    NORMAL = 1,
    TEXCOORD = 2,
    STATUS = 3,
    COLOR = 4,
    CUSTOM = 6,
    TOPOLOGY = 7
};

enum class Entity
{
    VERTEX = 0,
    MESH = 1,
    FACE = 2,
    EDGE = 4,
    HALFEDGE = 6,
    END_OF_FILE = 7
};

struct ChunkHead
{
    bool has_name = false;
    Entity entity = Entity::VERTEX;
    Kind kind = Kind::POSITION;
    bool is_float = false;
    std::size_t dimension = 1;
    std::size_t scalar_size = 1;
};

ChunkHead parse_head(std::uint16_t bits)
{
    auto const field = [&](unsigned shift, unsigned width)
    { return (static_cast<unsigned>(bits) >> shift) & ((1U << width) - 1U); };
    ChunkHead head;
    head.has_name = field(1, 1) != 0;
    head.entity = static_cast<Entity>(field(2, 3));
    head.kind = static_cast<Kind>(field(5, 4));
    head.is_float = field(10, 1) != 0;
    head.dimension = field(11, 3) + 1;
    head.scalar_size = std::size_t(head.is_float ? 4 : 1) << field(14, 2);
    return head;
}

[[noreturn]] void refuse(char const* what)
{
    throw FileError(what);
}

class OmParser
{
public:
    explicit OmParser(std::string_view content) : bytes_(content, false) {}

    MeshSoup parse()
    {
        parse_header();
        while (parse_chunk())
        {
        }
        if (bytes_.left() > 0)
        {
            refuse("holds more than it declares");
        }
        if (soup_.points.size() != n_vertices_)
        {
            refuse("holds no vertex positions");
        }
        collect_faces();
        return std::move(soup_);
    }

private:
    struct Halfedge
    {
        std::int64_t next = -1;
        std::int64_t to_vertex = -1;
        std::int64_t face = -1;
    };

    void need(std::uint64_t n) const
    {
        if (bytes_.left() < n)
        {
            refuse("is cut off");
        }
    }

    void parse_header()
    {
        constexpr std::size_t HEADER_SIZE = 16;
        if (bytes_.left() < HEADER_SIZE || bytes_.rest().substr(0, 2) != "OM")
        {
            refuse("is not an OM file, or ends within its header");
        }
        constexpr unsigned char SUPPORTED = 2U << 5U | 2U;
        bytes_.skip(3);
        if (bytes_.take<unsigned char>() != SUPPORTED)
        {
            refuse("is of a version of the OM format that is not supported (known: 2.2)");
        }
        n_vertices_ = bytes_.take<std::uint32_t>();
        n_faces_ = bytes_.take<std::uint32_t>();
        n_edges_ = bytes_.take<std::uint32_t>();
    }

    /// \return false at the chunk that ends the file
    bool parse_chunk()
    {
        need(sizeof(std::uint16_t));
        auto const head = parse_head(bytes_.take<std::uint16_t>());
        if (head.entity == Entity::END_OF_FILE)
        {
            return false;
        }
        if (head.has_name)
        {
            skip_short_text();
        }
        if (head.kind == Kind::CUSTOM)
        {
            skip_custom();
            return true;
        }
        auto const n = count(head.entity);
        need(n * value_size(head));
        take_values(head, n);
        return true;
    }

    std::uint64_t count(Entity entity) const
    {
        switch (entity)
        {
        case Entity::VERTEX:
            return n_vertices_;
        case Entity::MESH:
            return 1;
        case Entity::FACE:
            return n_faces_;
        case Entity::EDGE:
            return n_edges_;
        case Entity::HALFEDGE:
            return 2 * std::uint64_t(n_edges_);
        default:
            refuse("has a chunk that is not understood");
        }
    }

    static std::size_t value_size(ChunkHead const& head)
    {
        constexpr std::size_t FLAGS = 4;
        if (head.kind == Kind::STATUS)
        {
            return FLAGS;
        }
        if (head.kind == Kind::TOPOLOGY)
        {
            return index_size(head) * (head.entity == Entity::HALFEDGE ? 3 : 1);
        }
        return head.dimension * head.scalar_size;
    }

    /// The head of an index calls it a float, but it is an integer.
    static std::size_t index_size(ChunkHead const& head)
    {
        return head.is_float ? head.scalar_size / 4 : head.scalar_size;
    }

    void take_values(ChunkHead const& head, std::uint64_t n)
    {
        if (head.kind == Kind::TOPOLOGY)
        {
            take_topology(head, n);
        }
        else if (head.entity == Entity::VERTEX && head.kind == Kind::POSITION)
        {
            take_vectors(head, n, soup_.points);
        }
        else if (head.entity == Entity::VERTEX && head.kind == Kind::NORMAL)
        {
            take_vectors(head, n, soup_.normals);
        }
        else if (head.entity == Entity::VERTEX && head.kind == Kind::COLOR)
        {
            take_vectors(head, n, soup_.colors);
        }
        else
        {
            bytes_.skip(static_cast<std::size_t>(n * value_size(head)));
        }
    }

    void skip_short_text()
    {
        need(1);
        std::size_t const size = bytes_.take<unsigned char>();
        need(size);
        bytes_.skip(size);
    }

    /// Behind the name stand that of the type, the size and the values.
    void skip_custom()
    {
        skip_short_text();
        need(sizeof(std::uint32_t));
        std::size_t const size = bytes_.take<std::uint32_t>();
        need(size);
        bytes_.skip(size);
    }

    // Values.

    float take_component(ChunkHead const& head)
    {
        if (head.is_float && head.scalar_size == sizeof(float))
        {
            return bytes_.take<float>();
        }
        if (head.is_float && head.scalar_size == sizeof(double))
        {
            double const value = bytes_.take<double>();
            return std::abs(value) > std::numeric_limits<float>::max()
                       ? std::numeric_limits<float>::infinity()
                       : static_cast<float>(value);
        }
        if (!head.is_float && head.kind == Kind::COLOR)
        {
            return static_cast<float>(take_index(head.scalar_size) & 0xFF) / 255.0F;
        }
        refuse("has a chunk of a number type that is not supported");
    }

    void take_vectors(ChunkHead const& head, std::uint64_t n, std::vector<Vector3f>& vectors)
    {
        if (head.dimension < 3)
        {
            refuse("has a chunk that is not understood");
        }
        vectors.clear();
        vectors.reserve(static_cast<std::size_t>(n));
        CancelPoll poll;
        for (std::uint64_t i = 0; i < n; ++i)
        {
            poll.next();
            float const x = take_component(head);
            float const y = take_component(head);
            float const z = take_component(head);
            vectors.emplace_back(x, y, z);
            bytes_.skip((head.dimension - 3) * head.scalar_size);
        }
    }

    std::int64_t take_index(std::size_t size)
    {
        switch (size)
        {
        case 1:
            return bytes_.take<std::int8_t>();
        case 2:
            return bytes_.take<std::int16_t>();
        case 4:
            return bytes_.take<std::int32_t>();
        default:
            return bytes_.take<std::int64_t>();
        }
    }

    void take_topology(ChunkHead const& head, std::uint64_t n)
    {
        auto const size = index_size(head);
        if (head.entity == Entity::HALFEDGE)
        {
            halfedges_.resize(static_cast<std::size_t>(n));
            LoopProgress progress(halfedges_.size());
            for (auto& halfedge : halfedges_)
            {
                progress.next();
                halfedge.next = take_index(size);
                halfedge.to_vertex = take_index(size);
                halfedge.face = take_index(size);
            }
        }
        else if (head.entity == Entity::FACE)
        {
            face_halfedges_.resize(static_cast<std::size_t>(n));
            CancelPoll poll;
            for (auto& halfedge : face_halfedges_)
            {
                poll.next();
                halfedge = take_index(size);
            }
        }
        else
        {
            bytes_.skip(static_cast<std::size_t>(n) * size);
        }
    }

    // Faces.

    void collect_faces()
    {
        if (face_halfedges_.size() != n_faces_)
        {
            refuse("holds no faces, though it declares some");
        }
        soup_.faces.reserve(n_faces_);
        CancelPoll poll;
        for (std::uint64_t face = 0; face < n_faces_; ++face)
        {
            poll.next();
            auto const first = face_halfedges_[static_cast<std::size_t>(face)];
            auto halfedge = first;
            std::array<int, 3> corners{};
            for (auto& corner : corners)
            {
                corner = corner_of(halfedge, face);
                halfedge = halfedges_[static_cast<std::size_t>(halfedge)].next;
            }
            if (halfedge != first)
            {
                throw FileError("face " + std::to_string(face) +
                                " has not 3 corners; only triangles are supported");
            }
            soup_.faces.push_back(corners);
        }
    }

    /// The vertex that a halfedge of the face leads to; whether it is there is asked with those of
    /// all formats.
    int corner_of(std::int64_t halfedge, std::uint64_t face) const
    {
        bool const is_there =
            halfedge >= 0 && static_cast<std::uint64_t>(halfedge) < halfedges_.size();
        if (!is_there)
        {
            throw FileError("face " + std::to_string(face) + " names a halfedge that is not there");
        }
        auto const& found = halfedges_[static_cast<std::size_t>(halfedge)];
        if (found.face != static_cast<std::int64_t>(face) ||
            found.to_vertex != static_cast<int>(found.to_vertex))
        {
            throw FileError("face " + std::to_string(face) + " is linked to halfedges of another");
        }
        return static_cast<int>(found.to_vertex);
    }

    ByteCursor bytes_;
    MeshSoup soup_;
    std::uint32_t n_vertices_ = 0;
    std::uint32_t n_faces_ = 0;
    std::uint32_t n_edges_ = 0;
    std::vector<Halfedge> halfedges_;
    std::vector<std::int64_t> face_halfedges_;
};

} // namespace

MeshSoup read_om(std::string_view content)
{
    return OmParser(content).parse();
}

} // namespace OrvaneAlgorithm::detail
