#include "algorithmVeld/common/Cloud.h"

#include "algorithmVeld/common/arrays/Channels.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/geometry/BoundingBox.h"

#include <algorithm>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

Vector3f const ZERO = Vector3f::Zero();

bool all_finite(std::vector<Vector3f> const& vectors)
{
    return std::all_of(vectors.begin(), vectors.end(),
                       [](Vector3f const& v) { return v.allFinite(); });
}

} // namespace

Cloud::Cloud(Cloud&& other) noexcept
{
    exchange(other);
}

Cloud& Cloud::operator=(Cloud&& other) noexcept
{
    Cloud taken(std::move(other));
    exchange(taken);
    return *this;
}

void Cloud::exchange(Cloud& other) noexcept
{
    BaseData::exchange(other);
    vCoord.swap(other.vCoord);
    std::swap(has_vNormal, other.has_vNormal);
    vNrv.swap(other.vNrv);
    std::swap(has_vColor, other.has_vColor);
    vColor.swap(other.vColor);
    std::swap(has_vFlag, other.has_vFlag);
    vFlag.swap(other.vFlag);
}

int Cloud::swap_out_data()
{
    if (is_swapped_out())
    {
        return 0;
    }
    if (!write_swap_file([this](detail::BinaryWriter& writer) { write_channels(writer); }))
    {
        return 1;
    }
    drop_content();
    return 0;
}

int Cloud::swap_in_data()
{
    if (!is_swapped_out())
    {
        return 0;
    }
    if (!read_swap_file([this](detail::BinaryReader& reader) { read_channels(reader); }))
    {
        drop_content();
        return 1;
    }
    return 0;
}

void Cloud::write_channels(detail::BinaryWriter& writer) const
{
    writer.array<float>(vCoord);
    detail::write_channel<float>(writer, has_vNormal, vNrv);
    detail::write_channel<float>(writer, has_vColor, vColor);
    detail::write_channel<unsigned char>(writer, has_vFlag, vFlag);
}

void Cloud::read_channels(detail::BinaryReader& reader)
{
    reader.array<float>(vCoord);
    detail::read_channel<float>(reader, has_vNormal, vNrv);
    detail::read_channel<float>(reader, has_vColor, vColor);
    detail::read_channel<unsigned char>(reader, has_vFlag, vFlag);
}

void Cloud::clear()
{
    drop_swap_file();
    drop_content();
}

void Cloud::drop_content()
{
    detail::release_memory(vCoord);
    disable_vNormal();
    disable_vColor();
    disable_vFlag();
}

void Cloud::squeeze()
{
    if (has_vFlag)
    {
        keep_vertices(unflagged_vertices());
    }
}

void Cloud::get_boundBox(Vector3f& min, Vector3f& max) const
{
    detail::bounding_box(vCoord.data(), vCoord.size(), min, max);
}

bool Cloud::is_legal() const
{
    size_t const n = get_vn();
    return (!has_vNormal || (vNrv.size() == n && all_finite(vNrv))) &&
           (!has_vColor || (vColor.size() == n && all_finite(vColor))) &&
           (!has_vFlag || vFlag.size() == n) && all_finite(vCoord);
}

void Cloud::repair_illegal()
{
    repair_channels();
    keep_vertices(finite_vertices());
}

void Cloud::repair_channels()
{
    size_t const n = get_vn();
    if (vNrv.size() != n)
    {
        disable_vNormal();
    }
    if (vColor.size() != n)
    {
        disable_vColor();
    }
    if (vFlag.size() != n)
    {
        disable_vFlag();
    }
    detail::zero_where_not_finite(vNrv);
    detail::zero_where_not_finite(vColor);
}

void Cloud::reserve_vn(size_t n)
{
    vCoord.reserve(n);
    if (has_vNormal)
    {
        vNrv.reserve(n);
    }
    if (has_vColor)
    {
        vColor.reserve(n);
    }
    if (has_vFlag)
    {
        vFlag.reserve(n);
    }
}

void Cloud::resize_vn(size_t n)
{
    vCoord.resize(n, ZERO);
    if (has_vNormal)
    {
        vNrv.resize(n, ZERO);
    }
    if (has_vColor)
    {
        vColor.resize(n, ZERO);
    }
    if (has_vFlag)
    {
        vFlag.resize(n, 0);
    }
}

void Cloud::set_vCoords(std::vector<Vector3f> const& coords)
{
    vCoord = coords;
    resize_vn(vCoord.size());
}

size_t Cloud::add_vCoord(Vector3f const& coord)
{
    // A copy, for a point of this very cloud moves when the array grows.
    Vector3f const point = coord;
    size_t const index = get_vn();
    resize_vn(index + 1);
    vCoord[index] = point;
    return index;
}

void Cloud::rigid_transformation(RigidMatrix const& motion)
{
    for (auto& point : vCoord)
    {
        point = motion * point;
    }
    for (auto& normal : vNrv)
    {
        normal = motion.transform_normal(normal);
    }
}

Vector3f Cloud::get_barycenter() const
{
    Vector3d sum = Vector3d::Zero();
    for (auto const& point : vCoord)
    {
        sum += point.cast<double>();
    }
    return vCoord.empty() ? ZERO : Vector3f((sum / static_cast<double>(get_vn())).cast<float>());
}

Vector3f& Cloud::get_vNrv(size_t i)
{
    return detail::at(vNrv, i);
}

Vector3f const& Cloud::get_vNrv(size_t i) const
{
    return detail::at(vNrv, i);
}

Vector3f const& Cloud::get_vColor(size_t i) const
{
    return detail::at(vColor, i);
}

void Cloud::set_vDeleted(size_t i, bool deleted)
{
    auto& flag = detail::at(vFlag, i);
    flag = static_cast<unsigned char>(deleted ? flag | DELETED : flag & ~DELETED);
}

void Cloud::enable_vNormal()
{
    detail::switch_on(has_vNormal, vNrv, get_vn(), ZERO);
}

void Cloud::disable_vNormal()
{
    detail::switch_off(has_vNormal, vNrv);
}

void Cloud::enable_vColor()
{
    detail::switch_on(has_vColor, vColor, get_vn(), ZERO);
}

void Cloud::disable_vColor()
{
    detail::switch_off(has_vColor, vColor);
}

void Cloud::enable_vFlag()
{
    detail::switch_on(has_vFlag, vFlag, get_vn(), static_cast<unsigned char>(0));
}

void Cloud::disable_vFlag()
{
    detail::switch_off(has_vFlag, vFlag);
}

std::vector<char> Cloud::unflagged_vertices() const
{
    std::vector<char> keep(get_vn(), 1);
    for (size_t i = 0; i < keep.size() && i < vFlag.size(); ++i)
    {
        keep[i] = (vFlag[i] & DELETED) == 0 ? 1 : 0;
    }
    return keep;
}

std::vector<char> Cloud::finite_vertices() const
{
    std::vector<char> keep(get_vn());
    std::transform(vCoord.begin(), vCoord.end(), keep.begin(),
                   [](Vector3f const& p) -> char { return p.allFinite() ? 1 : 0; });
    return keep;
}

void Cloud::keep_vertices(std::vector<char> const& keep)
{
    detail::keep_marked(vCoord, keep);
    detail::keep_marked(vNrv, keep);
    detail::keep_marked(vColor, keep);
    detail::keep_marked(vFlag, keep);
}

} // namespace OrvaneAlgorithm
