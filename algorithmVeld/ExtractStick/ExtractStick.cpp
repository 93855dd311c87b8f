#include "algorithmVeld/ExtractStick/ExtractStick.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh/MeshInfo.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/SubMesh.h"
#include "algorithmVeld/common/mesh/points.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace OrvaneAlgorithm
{

namespace
{

using detail::Growth;
using detail::log_and_print_line;
using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

/// Farther than any surface reaches.
constexpr float FAR_DISTANCE = 1e9F;

template <typename Handle>
std::size_t index(Handle handle)
{
    return static_cast<std::size_t>(handle.idx());
}

/// A mesh without elements and with the standard attributes of another one.
TriMesh empty_mesh_like(TriMesh const& mesh)
{
    TriMesh empty;
    for (auto const& attribute : detail::STANDARD_ATTRIBUTES)
    {
        if (attribute.is_there(mesh))
        {
            attribute.request(empty);
        }
    }
    return empty;
}

/// Sets an attribute to zero; OpenMesh leaves Eigen's vectors as the memory was.
template <typename PropertyHandle>
void set_to_zero(TriMesh& mesh, PropertyHandle property)
{
    if (property.is_valid() && mesh.property(property).n_elements() > 0)
    {
        auto& values = mesh.property(property).data_vector();
        std::memset(static_cast<void*>(values.data()), 0, values.size() * sizeof(values[0]));
    }
}

/// Gives a value to the attributes that are not copied.
void set_other_attributes_to_zero(TriMesh& mesh)
{
    set_to_zero(mesh, mesh.vertex_texcoords1D_pph());
    set_to_zero(mesh, mesh.vertex_texcoords2D_pph());
    set_to_zero(mesh, mesh.vertex_texcoords3D_pph());
    set_to_zero(mesh, mesh.halfedge_colors_pph());
    set_to_zero(mesh, mesh.halfedge_normals_pph());
    set_to_zero(mesh, mesh.halfedge_texcoords1D_pph());
    set_to_zero(mesh, mesh.halfedge_texcoords2D_pph());
    set_to_zero(mesh, mesh.halfedge_texcoords3D_pph());
    set_to_zero(mesh, mesh.edge_colors_pph());
    set_to_zero(mesh, mesh.face_colors_pph());
    set_to_zero(mesh, mesh.face_texture_index_pph());
}

/// In rising order, and without what is marked deleted or hidden, as a walk over the whole mesh
/// passes them. The mesh has its status attributes.
template <typename Handle>
std::vector<int> as_walked(TriMesh const& mesh, std::vector<int> elements)
{
    auto const is_passed_over = [&](int i)
    {
        auto const& status = mesh.status(Handle(i));
        return status.deleted() || status.hidden();
    };
    elements.erase(std::remove_if(elements.begin(), elements.end(), is_passed_over),
                   elements.end());
    std::sort(elements.begin(), elements.end());
    return elements;
}

} // namespace

void ExtractStick::Marks::reset(std::size_t n)
{
    marks_.assign(n, 0);
    marked_.clear();
}

bool ExtractStick::Marks::mark(int i)
{
    char& is_marked = marks_[static_cast<std::size_t>(i)];
    if (is_marked != 0)
    {
        return false;
    }
    is_marked = 1;
    marked_.push_back(i);
    return true;
}

void ExtractStick::Marks::clear()
{
    for (int const i : marked_)
    {
        marks_[static_cast<std::size_t>(i)] = 0;
    }
    marked_.clear();
}

RetVal ExtractStick::extract_sticks(TriMesh& mesh, std::vector<Vector3f> const& seed_points,
                                    std::vector<Vector2f> const& stick_sizes,
                                    std::vector<TriMesh>& sticks, bool positive_z, bool verbose)
{
    if (seed_points.empty() || seed_points.size() != stick_sizes.size())
    {
        return RET_INVALID_INPUT;
    }
    positive_z_ = positive_z;
    verbose_ = verbose;
    show_statistics(mesh);
    return extract_all(mesh, seed_points, stick_sizes, sticks);
}

void ExtractStick::show_statistics(TriMesh const& mesh) const
{
    if (!verbose_)
    {
        return;
    }
    detail::StepTimer const timer("statistics-mesh");
    auto const all = detail::count_elements(mesh);
    auto const boundary = detail::count_boundary_elements(mesh);
    log_and_print_line(true, detail::MESH_INFO_BEGIN);
    detail::print_counts(true, detail::MESH_INFO_TITLE, all);
    detail::print_counts(true, "\nNonBoundary:\n",
                         {all.vertices - boundary.vertices, all.faces - boundary.faces,
                          all.halfedges - boundary.halfedges, all.edges - boundary.edges});
    detail::print_counts(true, "\nBoundary:\n", boundary);
    log_and_print_line(true, "\nProperty:\n");
    for (auto const& attribute : detail::STANDARD_ATTRIBUTES)
    {
        log_and_print_line(attribute.is_there(mesh), attribute.info_line);
    }
    log_and_print_line(true, detail::MESH_INFO_END);
}

RetVal ExtractStick::extract_all(TriMesh& mesh, std::vector<Vector3f> const& seed_points,
                                 std::vector<Vector2f> const& stick_sizes,
                                 std::vector<TriMesh>& sticks)
{
    sticks.clear();
    sticks.resize(seed_points.size(), empty_mesh_like(mesh));
    auto const& points = detail::points_of(mesh);
    log_and_print_line(verbose_,
                       "\n--------------------------------\nmesh.points_vector().size() = %d\n"
                       "--------------------------------\n",
                       static_cast<int>(points.size()));
    detail::Stages stages({1, 1});
    stages.next();
    KdTree3f tree;
    tree.build_kdtree(points);
    tree.set_sorted(false);
    // Once for all sticks: this and the marks are work on the whole mesh.
    detail::DeletionScope const status(mesh);
    prepare(mesh);
    stages.next();
    detail::Progress progress(seed_points.size());
    for (std::size_t i = 0; i < seed_points.size(); ++i)
    {
        progress.advance(i == 0 ? 0 : 1);
        stick_diameter_ = stick_sizes[i][0];
        stick_height_ = stick_sizes[i][1];
        int nearest = -1;
        float sq_dist = 0.0F;
        if (!tree.nearest_search(seed_points[i], nearest, sq_dist))
        {
            log_and_print_line(verbose_, "fail to locate selected vertex.\n");
            return RET_FAILED;
        }
        VertexHandle const seed(nearest);
        show_seed(seed_points[i], mesh.point(seed), sq_dist);
        if (!segment_stick(mesh, seed, sticks[i]))
        {
            log_and_print_line(verbose_, "fail to segment stick %d  -- [%s (%d)]\n",
                               static_cast<int>(i), __FILE__, __LINE__);
            return RET_FAILED;
        }
    }
    return RET_SUCCESS;
}

void ExtractStick::prepare(TriMesh const& mesh)
{
    visited_vertices_.reset(mesh.n_vertices());
    visited_faces_.reset(mesh.n_faces());
    distances_.assign(mesh.n_vertices(), FAR_DISTANCE);
    reached_.clear();
    copies_.assign(mesh.n_vertices(), VertexHandle());
}

void ExtractStick::show_seed(Vector3f const& input, Vector3f const& located, float sq_dist) const
{
    if (!verbose_)
    {
        return;
    }
    Vector3d const a = input.cast<double>();
    Vector3d const b = located.cast<double>();
    log_and_print_line(true, "\ninput vertex   = [%f, %f, %f]\nlocated vertex = [%f, %f, %f]\n",
                       a.x(), a.y(), a.z(), b.x(), b.y(), b.z());
    log_and_print_line(true, "dis = %f\n", static_cast<double>(std::sqrt(sq_dist)));
}

bool ExtractStick::segment_stick(TriMesh const& mesh, VertexHandle seed, TriMesh& stick)
{
    if (!mesh.is_valid_handle(seed))
    {
        log_and_print_line(verbose_, "invalid vertex handle [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    detail::StepTimer const timer("segment-stick");
    auto const tip = climb_to_tip(mesh, seed);
    spread_distances(mesh, tip);
    auto const faces = as_walked<FaceHandle>(mesh, collect_faces(mesh, tip));
    auto const vertices = as_walked<VertexHandle>(mesh, vertices_of(mesh, faces));
    copy_stick(mesh, vertices, faces, stick);
    return true;
}

/// Whether a point lies lower than another one, seen along the stick.
bool ExtractStick::is_behind(Vector3f const& point, Vector3f const& other) const
{
    return positive_z_ ? !(point.z() >= other.z()) : !(other.z() >= point.z());
}

/// Climbs from the seed over vertices that do not lie behind the one before, and gives the first of
/// the farthest that are reached. A neighbour behind is closed: it is not looked at again, from
/// wherever.
VertexHandle ExtractStick::climb_to_tip(TriMesh const& mesh, VertexHandle seed)
{
    std::vector<VertexHandle> queue{seed};
    visited_vertices_.mark(seed.idx());
    detail::grow_vertices(mesh, queue,
                          [&](VertexHandle v, VertexHandle w)
                          {
                              bool const is_new = visited_vertices_.mark(w.idx());
                              return is_new && !is_behind(mesh.point(w), mesh.point(v))
                                         ? Growth::TAKE
                                         : Growth::PASS;
                          });
    visited_vertices_.clear();
    auto const is_lower = [&](VertexHandle a, VertexHandle b)
    {
        return positive_z_ ? mesh.point(a).z() < mesh.point(b).z()
                           : mesh.point(a).z() > mesh.point(b).z();
    };
    return *std::max_element(queue.begin(), queue.end(), is_lower);
}

/// How far the far rim of the stick lies from its tip.
float ExtractStick::reach() const
{
    float const square_diameter = stick_diameter_ * stick_diameter_;
    float const square_height = stick_height_ * stick_height_;
    return static_cast<float>(std::sqrt(0.25 * static_cast<double>(square_diameter) +
                                        static_cast<double>(square_height)));
}

/// Spreads distances along edges from the tip, in one sweep: a vertex whose distance falls later is
/// not queued again, and one that is first met out of reach is closed for good.
void ExtractStick::spread_distances(TriMesh const& mesh, VertexHandle tip)
{
    for (int const v : reached_)
    {
        distances_[static_cast<std::size_t>(v)] = FAR_DISTANCE;
    }
    reached_.assign(1, tip.idx());
    distances_[index(tip)] = 0.0F;
    float const limit = reach();
    std::vector<VertexHandle> queue{tip};
    visited_vertices_.mark(tip.idx());
    detail::grow_vertices(mesh, queue,
                          [&](VertexHandle v, VertexHandle w)
                          {
                              float const path =
                                  distances_[index(v)] + (mesh.point(w) - mesh.point(v)).norm();
                              float& distance = distances_[index(w)];
                              if (distance > path)
                              {
                                  distance = path;
                                  reached_.push_back(w.idx());
                              }
                              bool const is_new = visited_vertices_.mark(w.idx());
                              return is_new && limit > distance ? Growth::TAKE : Growth::PASS;
                          });
    visited_vertices_.clear();
}

/// Whether no vertex of the face is farther from the tip than the stick reaches in a straight line,
/// and one is nearer than that along the surface, as the far side of a thin wall is not.
bool ExtractStick::is_within_reach(TriMesh const& mesh, FaceHandle face, Vector3f const& tip) const
{
    float const limit = reach();
    bool is_near = false;
    for (auto const v : mesh.fv_range(face))
    {
        if ((mesh.point(v) - tip).norm() > limit)
        {
            return false;
        }
        is_near = is_near || distances_[index(v)] < limit;
    }
    return is_near;
}

/// The faces around the tip that are within reach, and those that hang together with them by such
/// faces.
std::vector<int> ExtractStick::collect_faces(TriMesh const& mesh, VertexHandle tip)
{
    Vector3f const top = mesh.point(tip);
    auto const belongs = [&](FaceHandle face)
    { return visited_faces_.mark(face.idx()) && is_within_reach(mesh, face, top); };
    std::vector<FaceHandle> queue;
    for (auto const face : mesh.vf_range(tip))
    {
        if (belongs(face))
        {
            queue.push_back(face);
        }
    }
    detail::grow_faces(mesh, queue,
                       [&](FaceHandle, FaceHandle other)
                       { return belongs(other) ? Growth::TAKE : Growth::PASS; });
    visited_faces_.clear();
    std::vector<int> faces;
    std::transform(queue.begin(), queue.end(), std::back_inserter(faces),
                   [](FaceHandle face) { return face.idx(); });
    return faces;
}

std::vector<int> ExtractStick::vertices_of(TriMesh const& mesh, std::vector<int> const& faces)
{
    detail::CancelPoll poll;
    for (int const face : faces)
    {
        poll.next();
        for (auto const v : mesh.fv_range(FaceHandle(face)))
        {
            visited_vertices_.mark(v.idx());
        }
    }
    std::vector<int> vertices = visited_vertices_.marked();
    visited_vertices_.clear();
    return vertices;
}

void ExtractStick::copy_stick(TriMesh const& mesh, std::vector<int> const& vertices,
                              std::vector<int> const& faces, TriMesh& stick)
{
    stick.reserve_more(vertices.size(), vertices.size() + faces.size(), faces.size());
    detail::CancelPoll poll;
    for (int const v : vertices)
    {
        poll.next();
        auto& copy = copies_[static_cast<std::size_t>(v)];
        copy = detail::copy_vertex(mesh, VertexHandle(v), stick);
        log_and_print_line(verbose_ && !copy.is_valid(), "fail to add vertex [%s (%d)].\n",
                           __FILE__, __LINE__);
    }
    for (int const face : faces)
    {
        poll.next();
        auto const corners = mesh.fv_range(FaceHandle(face));
        if (std::distance(corners.begin(), corners.end()) != 3)
        {
            detail::print_line("error: [%s (%d)]\n", __FILE__, __LINE__);
            continue;
        }
        auto const copy = detail::copy_face(mesh, FaceHandle(face), stick,
                                            [&](VertexHandle v) { return copies_[index(v)]; });
        log_and_print_line(verbose_ && !copy.is_valid(), "fail to add face [%s (%d)].\n", __FILE__,
                           __LINE__);
    }
    for (int const v : vertices)
    {
        copies_[static_cast<std::size_t>(v)] = VertexHandle();
    }
    set_other_attributes_to_zero(stick);
}

} // namespace OrvaneAlgorithm
