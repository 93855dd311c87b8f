#include "workflow/tiling/files/TileMesh.h"

#include "workflow/Error.h"
#include "workflow/files/Checksum.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/OutputFile.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/BinaryFile.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::detail::swap_bytes_if_needed;

namespace
{

constexpr std::uint32_t VERSION = 2; ///< of the form of the files
constexpr unsigned FRAME_BITS = 32;
/// A float knows all whole numbers of so many bits, and a cell has up to twice as many.
constexpr unsigned HALF_CELL_BITS = 14;
constexpr std::uint32_t HALF_CELL = (1U << HALF_CELL_BITS) - 1;

/// Numbers on their way to a file: little-endian lists, each behind its length.
class ListWriter
{
public:
    template <typename Scalar, typename Element>
    void add(std::vector<Element> const& list)
    {
        static_assert(sizeof(Element) % sizeof(Scalar) == 0, "an element consists of scalars");
        std::vector<Scalar> scalars(list.size() * (sizeof(Element) / sizeof(Scalar)));
        if (!scalars.empty())
        {
            std::memcpy(scalars.data(), static_cast<void const*>(list.data()),
                        scalars.size() * sizeof(Scalar));
        }
        swap_bytes_if_needed<Scalar>(scalars.data(), scalars.size());
        std::uint64_t n = list.size();
        swap_bytes_if_needed<std::uint64_t>(&n, 1);
        bytes_.append(reinterpret_cast<char const*>(&n), sizeof(n));
        bytes_.append(reinterpret_cast<char const*>(scalars.data()),
                      scalars.size() * sizeof(Scalar));
    }

    /// All of them, with their checksum behind.
    std::string text() const { return bytes_ + Checksum().add(bytes_).text(); }

private:
    std::string bytes_;
};

/// Reads them back.
class ListReader
{
public:
    /// \param text is empty from here on where its checksum is wrong
    explicit ListReader(std::string text) : bytes_(std::move(text))
    {
        std::size_t const digits = Checksum().text().size();
        std::size_t const n = bytes_.size() < digits ? 0 : bytes_.size() - digits;
        std::string const sum = bytes_.substr(n);
        bytes_.resize(n);
        is_good_ = Checksum().add(bytes_).text() == sum;
    }

    template <typename Scalar, typename Element>
    void take(std::vector<Element>& list)
    {
        std::uint64_t n = 0;
        is_good_ = is_good_ && bytes_.size() - next_ >= sizeof(n);
        if (is_good_)
        {
            std::memcpy(&n, bytes_.data() + next_, sizeof(n));
            swap_bytes_if_needed<std::uint64_t>(&n, 1);
            next_ += sizeof(n);
            is_good_ = n <= (bytes_.size() - next_) / sizeof(Element);
        }
        list.resize(is_good_ ? static_cast<std::size_t>(n) : 0);
        if (!list.empty())
        {
            std::memcpy(static_cast<void*>(list.data()), bytes_.data() + next_,
                        list.size() * sizeof(Element));
            swap_bytes_if_needed<Scalar>(list.data(),
                                         list.size() * (sizeof(Element) / sizeof(Scalar)));
            next_ += list.size() * sizeof(Element);
        }
    }

    bool is_done() const { return is_good_ && next_ == bytes_.size(); }

private:
    std::string bytes_;
    std::size_t next_ = 0;
    bool is_good_ = false;
};

std::string whole_file(std::filesystem::path const& path)
{
    auto stream = open_input(path);
    std::error_code error;
    std::string text(static_cast<std::size_t>(std::filesystem::file_size(path, error)), '\0');
    stream.seekg(0);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (error || !stream)
    {
        throw InputError(shown(path) + ": cannot be read");
    }
    return text;
}

void add_crossing(std::vector<CrossingFace> const& crossing, ListWriter& writer)
{
    std::vector<KeyedFace> corners;
    std::vector<unsigned char> own;
    for (auto const& face : crossing)
    {
        corners.push_back(face.corners);
        own.push_back(face.own);
    }
    writer.add<std::uint64_t>(corners);
    writer.add<unsigned char>(own);
}

/// \return false if the lists do not fit each other
bool take_crossing(ListReader& reader, std::vector<CrossingFace>& crossing)
{
    std::vector<KeyedFace> corners;
    std::vector<unsigned char> own;
    reader.take<std::uint64_t>(corners);
    reader.take<unsigned char>(own);
    crossing.resize(std::min(corners.size(), own.size()));
    for (std::size_t i = 0; i < crossing.size(); ++i)
    {
        crossing[i] = {corners[i], own[i]};
    }
    return corners.size() == own.size();
}

bool is_sound(TileMesh const& mesh)
{
    std::size_t const n = mesh.keys.size();
    auto const is_place = [n](std::int32_t v) { return v >= 0 && static_cast<std::size_t>(v) < n; };
    return mesh.points.size() == n && mesh.normals.size() == n &&
           (mesh.colours.empty() || mesh.colours.size() == n) &&
           std::adjacent_find(mesh.keys.begin(), mesh.keys.end(), std::greater_equal<>()) ==
               mesh.keys.end() &&
           std::all_of(mesh.faces.begin(), mesh.faces.end(),
                       [&](auto const& face)
                       { return std::all_of(face.begin(), face.end(), is_place); });
}

/// \return false if the file is damaged behind its version
bool take_mesh(ListReader& reader, TileMesh& mesh)
{
    std::vector<std::uint32_t> tile;
    reader.take<std::uint32_t>(tile);
    std::vector<char> plan;
    reader.take<char>(plan);
    std::vector<double> seconds;
    reader.take<double>(seconds);
    reader.take<std::uint64_t>(mesh.keys);
    reader.take<float>(mesh.points);
    reader.take<float>(mesh.normals);
    reader.take<float>(mesh.colours);
    reader.take<std::int32_t>(mesh.faces);
    bool const fits = take_crossing(reader, mesh.crossing);
    if (!reader.is_done() || !fits || tile.size() != 1 || seconds.size() != 1 || !is_sound(mesh))
    {
        return false;
    }
    mesh.plan.assign(plan.begin(), plan.end());
    mesh.tile = tile[0];
    mesh.seconds = seconds[0];
    return true;
}

bool is_of(TileMesh const& mesh, TileRecord const& plan, std::size_t tile)
{
    return mesh.plan == plan.inputs && mesh.tile == tile &&
           mesh.colours.size() == (plan.has_colours ? mesh.keys.size() : 0);
}

} // namespace

SampleKey key_of(int frame, std::uint32_t cell)
{
    return static_cast<SampleKey>(frame) << FRAME_BITS | cell;
}

Vector3f colour_of(SampleKey key)
{
    auto const cell = static_cast<std::uint32_t>(key);
    return {static_cast<float>(key >> FRAME_BITS), static_cast<float>(cell >> HALF_CELL_BITS),
            static_cast<float>(cell & HALF_CELL)};
}

SampleKey key_in(Vector3f const& colour)
{
    auto const cell = static_cast<std::uint32_t>(colour.y()) << HALF_CELL_BITS |
                      static_cast<std::uint32_t>(colour.z());
    return key_of(static_cast<int>(colour.x()), cell);
}

std::size_t turn_to_least(KeyedFace& face)
{
    auto const least = std::min_element(face.begin(), face.end());
    auto const place = static_cast<std::size_t>(least - face.begin());
    std::rotate(face.begin(), least, face.end());
    return place;
}

std::optional<TileMesh> find_tile_mesh(std::filesystem::path const& file, TileRecord const& plan,
                                       std::size_t tile)
{
    if (!is_plain_file(file))
    {
        return {};
    }
    ListReader reader(whole_file(file));
    std::vector<std::uint32_t> version;
    reader.take<std::uint32_t>(version);
    if (version.size() == 1 && version[0] != VERSION)
    {
        return {};
    }
    TileMesh mesh;
    if (version.empty() || !take_mesh(reader, mesh))
    {
        throw InputError(shown(file) + ": the file is damaged, or no mesh of a tile");
    }
    return is_of(mesh, plan, tile) ? std::optional(std::move(mesh)) : std::nullopt;
}

TileMesh read_tile_mesh(std::filesystem::path const& file, TileRecord const& plan, std::size_t tile)
{
    auto mesh = find_tile_mesh(file, plan, tile);
    if (!mesh)
    {
        open_input(file); // tells why where there is none
        throw InputError(shown(file) + ": is the mesh of another tile, of another plan or of "
                                       "another version of the library");
    }
    return std::move(*mesh);
}

void write_tile_mesh(std::filesystem::path const& file, TileMesh const& mesh)
{
    ListWriter writer;
    writer.add<std::uint32_t>(std::vector{VERSION});
    writer.add<std::uint32_t>(std::vector{mesh.tile});
    writer.add<char>(std::vector<char>(mesh.plan.begin(), mesh.plan.end()));
    writer.add<double>(std::vector<double>{mesh.seconds});
    writer.add<std::uint64_t>(mesh.keys);
    writer.add<float>(mesh.points);
    writer.add<float>(mesh.normals);
    writer.add<float>(mesh.colours);
    writer.add<std::int32_t>(mesh.faces);
    add_crossing(mesh.crossing, writer);
    OutputFile output(file);
    write_text_file(output, writer.text());
    output.commit();
}

} // namespace veld
