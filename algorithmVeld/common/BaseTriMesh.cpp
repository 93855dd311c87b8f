#include "algorithmVeld/common/BaseTriMesh.h"

#include "algorithmVeld/common/arrays/Channels.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/geometry/unit_vector.h"

#include <algorithm>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

Vector3i const NO_TEXTURE(-1, -1, -1);

void write_image(detail::BinaryWriter& writer, Image<3, unsigned char> const& image)
{
    writer.scalar<std::int32_t>(image.width());
    writer.scalar<std::int32_t>(image.height());
    writer.elements<unsigned char>(image.data(), static_cast<size_t>(image.width()) *
                                                     static_cast<size_t>(image.height()) * 3);
}

void read_image(detail::BinaryReader& reader, Image<3, unsigned char>& image)
{
    auto const width = reader.scalar<std::int32_t>();
    auto const height = reader.scalar<std::int32_t>();
    if (width < 0 || height < 0 ||
        !reader.has_room_for<std::array<unsigned char, 3>>(static_cast<std::uint64_t>(width) *
                                                           static_cast<std::uint64_t>(height)))
    {
        reader.fail();
        return;
    }
    image = Image<3, unsigned char>(width, height);
    reader.elements<unsigned char>(image.data(),
                                   static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
}

/// Twice the area of a triangle as a vector along its normal.
Vector3d area_vector(std::vector<Vector3f> const& points, BaseTriFace const& face)
{
    Vector3d const a = points[static_cast<size_t>(face[0])].cast<double>();
    Vector3d const b = points[static_cast<size_t>(face[1])].cast<double>();
    Vector3d const c = points[static_cast<size_t>(face[2])].cast<double>();
    return (b - a).cross(c - a);
}

} // namespace

BaseTriMesh::BaseTriMesh(BaseTriMesh&& other) noexcept
{
    exchange(other);
}

BaseTriMesh& BaseTriMesh::operator=(BaseTriMesh&& other) noexcept
{
    BaseTriMesh taken(std::move(other));
    exchange(taken);
    return *this;
}

void BaseTriMesh::exchange(BaseTriMesh& other) noexcept
{
    Cloud::exchange(other);
    faces.swap(other.faces);
    std::swap(has_fNormal, other.has_fNormal);
    fNrv.swap(other.fNrv);
    std::swap(has_fFlag, other.has_fFlag);
    fFlag.swap(other.fFlag);
    std::swap(has_texture, other.has_texture);
    texture_image.swap(other.texture_image);
    texture_coords.swap(other.texture_coords);
    face_texture_ids.swap(other.face_texture_ids);
}

void BaseTriMesh::write_channels(detail::BinaryWriter& writer) const
{
    Cloud::write_channels(writer);
    writer.array<std::int32_t>(faces);
    detail::write_channel<float>(writer, has_fNormal, fNrv);
    detail::write_channel<unsigned char>(writer, has_fFlag, fFlag);
    detail::write_channel<std::int32_t>(writer, has_texture, face_texture_ids);
    writer.array<float>(texture_coords);
    write_image(writer, texture_image);
}

void BaseTriMesh::read_channels(detail::BinaryReader& reader)
{
    Cloud::read_channels(reader);
    reader.array<std::int32_t>(faces);
    detail::read_channel<float>(reader, has_fNormal, fNrv);
    detail::read_channel<unsigned char>(reader, has_fFlag, fFlag);
    detail::read_channel<std::int32_t>(reader, has_texture, face_texture_ids);
    reader.array<float>(texture_coords);
    read_image(reader, texture_image);
}

void BaseTriMesh::drop_content()
{
    Cloud::drop_content();
    detail::release_memory(faces);
    disable_fNormal();
    disable_fFlag();
    disable_texture();
}

void BaseTriMesh::squeeze()
{
    Cloud::squeeze();
    if (has_fFlag)
    {
        std::vector<char> keep(get_fn(), 1);
        for (size_t i = 0; i < keep.size() && i < fFlag.size(); ++i)
        {
            keep[i] = (fFlag[i] & DELETED) == 0 ? 1 : 0;
        }
        keep_faces(keep);
    }
}

void BaseTriMesh::keep_vertices(std::vector<char> const& keep)
{
    std::vector<int> new_index(keep.size(), -1);
    int kept = 0;
    for (size_t i = 0; i < keep.size(); ++i)
    {
        new_index[i] = keep[i] != 0 ? kept++ : -1;
    }
    Cloud::keep_vertices(keep);

    std::vector<char> keep_face(get_fn(), 1);
    for (size_t i = 0; i < keep_face.size(); ++i)
    {
        for (int& v : faces[i].v)
        {
            bool const inside = v >= 0 && static_cast<size_t>(v) < new_index.size();
            v = inside ? new_index[static_cast<size_t>(v)] : -1;
            keep_face[i] = v >= 0 ? keep_face[i] : static_cast<char>(0);
        }
    }
    keep_faces(keep_face);
}

void BaseTriMesh::keep_faces(std::vector<char> const& keep)
{
    detail::keep_marked(faces, keep);
    detail::keep_marked(fNrv, keep);
    detail::keep_marked(fFlag, keep);
    detail::keep_marked(face_texture_ids, keep);
}

bool BaseTriMesh::is_legal(BaseTriFace const& face) const
{
    return std::all_of(face.v.begin(), face.v.end(),
                       [this](int v) { return v >= 0 && static_cast<size_t>(v) < get_vn(); }) &&
           face[0] != face[1] && face[1] != face[2] && face[2] != face[0];
}

bool BaseTriMesh::has_legal_texture() const
{
    return face_texture_ids.size() == get_fn() &&
           std::all_of(face_texture_ids.begin(), face_texture_ids.end(),
                       [this](Vector3i const& ids)
                       {
                           return ids.minCoeff() >= -1 &&
                                  (ids.maxCoeff() < 0 ||
                                   static_cast<size_t>(ids.maxCoeff()) < texture_coords.size());
                       });
}

bool BaseTriMesh::is_legal() const
{
    return Cloud::is_legal() && (!has_fNormal || fNrv.size() == get_fn()) &&
           (!has_fFlag || fFlag.size() == get_fn()) && (!has_texture || has_legal_texture()) &&
           (!has_fNormal || std::all_of(fNrv.begin(), fNrv.end(),
                                        [](Vector3f const& n) { return n.allFinite(); })) &&
           std::all_of(faces.begin(), faces.end(),
                       [this](BaseTriFace const& face) { return is_legal(face); });
}

void BaseTriMesh::repair_illegal()
{
    repair_face_channels();
    Cloud::repair_illegal();

    std::vector<char> keep(get_fn());
    std::transform(faces.begin(), faces.end(), keep.begin(),
                   [this](BaseTriFace const& face) -> char { return is_legal(face) ? 1 : 0; });
    keep_faces(keep);
}

void BaseTriMesh::repair_face_channels()
{
    if (fNrv.size() != get_fn())
    {
        disable_fNormal();
    }
    if (fFlag.size() != get_fn())
    {
        disable_fFlag();
    }
    for (auto& normal : fNrv)
    {
        normal = normal.allFinite() ? normal : Vector3f(Vector3f::Zero());
    }
    if (has_texture)
    {
        face_texture_ids.resize(get_fn(), NO_TEXTURE);
    }
    for (auto& ids : face_texture_ids)
    {
        bool const inside =
            ids.minCoeff() >= 0 && static_cast<size_t>(ids.maxCoeff()) < texture_coords.size();
        ids = inside ? ids : NO_TEXTURE;
    }
}

void BaseTriMesh::rigid_transformation(RigidMatrix const& motion)
{
    Cloud::rigid_transformation(motion);
    for (auto& normal : fNrv)
    {
        normal = motion.transform_normal(normal);
    }
}

BaseTriFace const& BaseTriMesh::get_face(size_t i) const
{
    return detail::at(faces, i);
}

Vector3f& BaseTriMesh::get_fNrv(size_t i)
{
    return detail::at(fNrv, i);
}

Vector3f const& BaseTriMesh::get_fNrv(size_t i) const
{
    return detail::at(fNrv, i);
}

void BaseTriMesh::set_fDeleted(size_t i, bool deleted)
{
    auto& flag = detail::at(fFlag, i);
    flag = static_cast<unsigned char>(deleted ? flag | DELETED : flag & ~DELETED);
}

size_t BaseTriMesh::add_face(BaseTriFace const& face)
{
    faces.push_back(face);
    size_t const n = get_fn();
    if (has_fNormal)
    {
        fNrv.resize(n, Vector3f::Zero());
    }
    if (has_fFlag)
    {
        fFlag.resize(n, 0);
    }
    if (has_texture)
    {
        face_texture_ids.resize(n, NO_TEXTURE);
    }
    return n - 1;
}

void BaseTriMesh::update_VNrv()
{
    std::vector<Vector3d> sums(get_vn(), Vector3d::Zero());
    for (auto const& face : faces)
    {
        if (is_legal(face))
        {
            Vector3d const area = area_vector(vCoord, face);
            for (int const v : face.v)
            {
                sums[static_cast<size_t>(v)] += area;
            }
        }
    }
    vNrv.resize(get_vn());
    std::transform(sums.begin(), sums.end(), vNrv.begin(), detail::unit_or_zero);
    has_vNormal = true;
}

void BaseTriMesh::update_FNrv()
{
    fNrv.resize(get_fn());
    std::transform(faces.begin(), faces.end(), fNrv.begin(),
                   [this](BaseTriFace const& face)
                   {
                       return is_legal(face) ? detail::unit_or_zero(area_vector(vCoord, face))
                                             : Vector3f(Vector3f::Zero());
                   });
    has_fNormal = true;
}

void BaseTriMesh::enable_fFlag()
{
    detail::switch_on(has_fFlag, fFlag, get_fn(), static_cast<unsigned char>(0));
}

void BaseTriMesh::disable_fFlag()
{
    detail::switch_off(has_fFlag, fFlag);
}

void BaseTriMesh::enable_fNormal()
{
    detail::switch_on(has_fNormal, fNrv, get_fn(), Vector3f(Vector3f::Zero()));
}

void BaseTriMesh::disable_fNormal()
{
    detail::switch_off(has_fNormal, fNrv);
}

void BaseTriMesh::enable_texture()
{
    detail::switch_on(has_texture, face_texture_ids, get_fn(), NO_TEXTURE);
}

void BaseTriMesh::disable_texture()
{
    detail::switch_off(has_texture, face_texture_ids);
    texture_image = Image<3, unsigned char>();
    detail::release_memory(texture_coords);
}

void BaseTriMesh::set_texture_image(Image<3, unsigned char> const& image)
{
    texture_image = image;
}

void BaseTriMesh::set_texture_coords(std::vector<UVCoord> const& coords)
{
    texture_coords = coords;
}

void BaseTriMesh::set_face_texture_id(size_t face, Vector3i const& ids)
{
    detail::at(face_texture_ids, face) = ids;
}

} // namespace OrvaneAlgorithm
