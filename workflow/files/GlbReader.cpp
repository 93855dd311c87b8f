#include "workflow/files/GlbReader.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/Json.h"
#include "workflow/words.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace veld
{

using OrvaneAlgorithm::Vector2f;
using OrvaneAlgorithm::Vector3f;

namespace
{

constexpr float MILLIMETRES_PER_METRE = 1000.0F;
constexpr int FLOATS = 5126;        // component types of glTF
constexpr int UNSIGNED_INTS = 5125; //
constexpr std::uint32_t JSON_CHUNK = 0x4E4F534A;
constexpr std::uint32_t BINARY_CHUNK = 0x004E4942;

std::uint32_t number_at(std::string const& bytes, std::size_t place)
{
    std::uint32_t number = 0;
    for (std::size_t k = 4; k-- > 0;)
    {
        number = number << 8U | static_cast<unsigned char>(bytes.at(place + k));
    }
    return number;
}

/// The two parts of the file, and the parts that the one describes of the other. Throws
/// `std::out_of_range` and exceptions of JSON where something is missing or lies outside.
class GlbFile
{
public:
    explicit GlbFile(std::string const& bytes)
    {
        constexpr std::size_t HEADER = 12;
        constexpr std::size_t CHUNK_HEADER = 8;
        for (std::size_t at = HEADER; at < bytes.size();)
        {
            std::size_t const size = number_at(bytes, at);
            std::uint32_t const kind = number_at(bytes, at + 4);
            at += CHUNK_HEADER;
            std::string chunk = piece(bytes, at, size);
            at += size;
            if (kind == JSON_CHUNK && json_.is_null())
            {
                json_ = Json::parse(chunk);
            }
            else if (kind == BINARY_CHUNK && binary_.empty())
            {
                binary_ = std::move(chunk);
            }
        }
    }

    Json const& json() const { return json_; }

    std::string view(std::size_t number) const
    {
        Json const& view = json_.at("bufferViews").at(number);
        return piece(binary_, view.value("byteOffset", std::size_t{0}),
                     view.at("byteLength").get<std::size_t>());
    }

    /// The values of an accessor. \param width of one, in numbers
    template <typename Number>
    std::vector<Number> values(std::size_t number, int component, std::string const& type,
                               std::size_t width) const
    {
        Json const& accessor = json_.at("accessors").at(number);
        if (accessor.at("componentType") != component || accessor.at("type") != type)
        {
            throw std::out_of_range("another type");
        }
        auto const count = accessor.at("count").get<std::size_t>();
        std::string const bytes = view(accessor.at("bufferView").get<std::size_t>());
        std::size_t const begin = accessor.value("byteOffset", std::size_t{0});
        if (begin > bytes.size() || count > (bytes.size() - begin) / (width * sizeof(Number)))
        {
            throw std::out_of_range("an accessor");
        }
        std::vector<Number> values(count * width);
        std::memcpy(values.data(), bytes.data() + begin, values.size() * sizeof(Number));
        return values;
    }

private:
    static std::string piece(std::string const& bytes, std::size_t begin, std::size_t size)
    {
        if (begin > bytes.size() || size > bytes.size() - begin)
        {
            throw std::out_of_range("a part");
        }
        return bytes.substr(begin, size);
    }

    Json json_;
    std::string binary_;
};

template <typename Vector>
std::vector<Vector> vectors_of(std::vector<float> const& numbers, float factor)
{
    constexpr std::size_t WIDTH = Vector::RowsAtCompileTime;
    std::vector<Vector> result(numbers.size() / WIDTH);
    for (std::size_t i = 0; i < result.size(); ++i)
    {
        for (std::size_t k = 0; k < WIDTH; ++k)
        {
            result[i][static_cast<int>(k)] = factor * numbers[WIDTH * i + k];
        }
    }
    return result;
}

GlbContent content_of(GlbFile const& file)
{
    Json const& json = file.json();
    Json const& primitive = json.at("meshes").at(0).at("primitives").at(0);
    Json const& attributes = primitive.at("attributes");
    GlbContent content;
    content.points = vectors_of<Vector3f>(
        file.values<float>(attributes.at("POSITION").get<std::size_t>(), FLOATS, "VEC3", 3),
        MILLIMETRES_PER_METRE);
    content.texcoords = vectors_of<Vector2f>(
        file.values<float>(attributes.at("TEXCOORD_0").get<std::size_t>(), FLOATS, "VEC2", 2),
        1.0F);
    content.triangles = file.values<std::uint32_t>(primitive.at("indices").get<std::size_t>(),
                                                   UNSIGNED_INTS, "SCALAR", 1);
    Json const& image = json.at("images").at(0);
    content.image = file.view(image.at("bufferView").get<std::size_t>());
    content.image_type = image.at("mimeType").get<std::string>();
    return content;
}

/// Whether the numbers in it are those of elements that are there.
bool is_whole(GlbContent const& content)
{
    return content.texcoords.size() == content.points.size() && content.triangles.size() % 3 == 0 &&
           std::all_of(content.triangles.begin(), content.triangles.end(),
                       [&](std::uint32_t vertex) { return vertex < content.points.size(); }) &&
           (content.image_type == "image/jpeg" || content.image_type == "image/png");
}

} // namespace

GlbContent read_glb(std::filesystem::path const& path)
{
    std::string const bytes = file_bytes(path);
    if (bytes.compare(0, 4, "glTF") != 0)
    {
        throw InputError(shown(path) + ": is no GLB file");
    }
    try
    {
        GlbContent content = content_of(GlbFile(bytes));
        if (is_whole(content))
        {
            return content;
        }
    }
    catch (std::out_of_range const&)
    {
        // told below
    }
    catch (Json::exception const&)
    {
        // told below
    }
    throw InputError(shown(path) + ": is damaged, or no textured model of one part");
}

} // namespace veld
