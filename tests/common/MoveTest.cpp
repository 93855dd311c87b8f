#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/Cloud.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/TriMesh.h"
#include "swap_support.h"
#include "tests/support/holes.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

/// \file
/// What moving does to the data classes: nothing is copied, the source is as new.

using namespace OrvaneAlgorithm;
using namespace veld_test;

template <typename T>
constexpr bool moves_without_throwing =
    std::is_nothrow_move_constructible_v<T>&& std::is_nothrow_move_assignable_v<T>;

static_assert(moves_without_throwing<Cloud>);
static_assert(moves_without_throwing<BaseTriMesh>);
static_assert(moves_without_throwing<RangeData>);
static_assert(moves_without_throwing<TriMesh>);
static_assert(moves_without_throwing<RigidMatrix>);
static_assert(moves_without_throwing<Image<3, unsigned char>>);

namespace
{

/// Two points with all channels of a cloud.
template <typename CloudType>
void fill_cloud(CloudType& cloud)
{
    cloud.enable_vNormal();
    cloud.enable_vColor();
    cloud.enable_vFlag();
    cloud.add_vCoord({1, 2, 3});
    cloud.add_vCoord({4, 5, 6});
    cloud.vNrv[1] = {0, 0, 1};
    cloud.vColor[1] = {0, 1, 0};
    cloud.set_vDeleted(1, true);
}

template <typename Data>
Data filled();

template <>
Cloud filled()
{
    Cloud cloud;
    fill_cloud(cloud);
    return cloud;
}

template <>
BaseTriMesh filled()
{
    BaseTriMesh mesh;
    fill_cloud(mesh);
    mesh.add_vCoord({7, 7, 7});
    mesh.enable_fFlag();
    mesh.enable_fNormal();
    mesh.enable_texture();
    mesh.add_face({0, 1, 2});
    mesh.fNrv[0] = {1, 0, 0};
    mesh.set_texture_image(Image<3, unsigned char>(4, 2));
    mesh.set_texture_coords({{0.5F, 0.25F}});
    mesh.set_face_texture_id(0, {0, 0, 0});
    return mesh;
}

template <>
RangeData filled()
{
    RangeData frame;
    frame.set_grid_size(2, 3);
    fill_cloud(frame);
    frame.vUV[1] = {1, 2};
    frame.set_cellFlag(1, 1);
    frame.pose.set_translation({1, 2, 3});
    return frame;
}

template <>
TriMesh filled()
{
    TriMesh mesh = grid_with_hole(1);
    mesh.request_vertex_status();
    mesh.request_vertex_colors();
    mesh.set_color(vh(3), {0.5F, 0, 1});
    return mesh;
}

/// The addresses of all arrays that have any elements: after a move they are those of the source.
std::vector<void const*> arrays(Cloud const& cloud)
{
    return {cloud.vCoord.data(), cloud.vNrv.data(), cloud.vColor.data(), cloud.vFlag.data()};
}
std::vector<void const*> arrays(BaseTriMesh const& mesh)
{
    std::vector<void const*> list = arrays(static_cast<Cloud const&>(mesh));
    list.insert(list.end(),
                {mesh.faces.data(), mesh.fNrv.data(), mesh.fFlag.data(), mesh.texture_image.data(),
                 mesh.texture_coords.data(), mesh.face_texture_ids.data()});
    return list;
}
std::vector<void const*> arrays(RangeData const& frame)
{
    std::vector<void const*> list = arrays(static_cast<Cloud const&>(frame));
    list.insert(list.end(), {frame.vUV.data(), frame.cellFlag.data()});
    return list;
}
std::vector<void const*> arrays(TriMesh const& mesh)
{
    return {mesh.points(), mesh.vertex_colors(), &mesh.vertex(vh(0)),
            &mesh.edge(OpenMesh::EdgeHandle(0)), &mesh.face(OpenMesh::FaceHandle(0))};
}

void expect_as_new(Cloud const& cloud)
{
    EXPECT_EQ(cloud.get_vn(), 0U);
    EXPECT_TRUE(cloud.vNrv.empty() && cloud.vColor.empty() && cloud.vFlag.empty());
    EXPECT_FALSE(cloud.has_vNormal || cloud.has_vColor || cloud.has_vFlag);
    EXPECT_TRUE(cloud.is_legal());
    EXPECT_FALSE(cloud.is_swapped_out());
}
void expect_as_new(BaseTriMesh const& mesh)
{
    expect_as_new(static_cast<Cloud const&>(mesh));
    EXPECT_EQ(mesh.get_fn(), 0U);
    EXPECT_TRUE(mesh.fNrv.empty() && mesh.fFlag.empty() && mesh.texture_coords.empty());
    EXPECT_TRUE(mesh.face_texture_ids.empty() && mesh.texture_image.empty());
    EXPECT_EQ(mesh.texture_image.width(), 0);
    EXPECT_FALSE(mesh.has_fNormal || mesh.has_fFlag || mesh.has_texture);
}
void expect_as_new(RangeData const& frame)
{
    expect_as_new(static_cast<Cloud const&>(frame));
    EXPECT_TRUE(frame.vUV.empty() && frame.cellFlag.empty());
    EXPECT_EQ(frame.grid_rows, 0);
    EXPECT_EQ(frame.grid_cols, 0);
    EXPECT_EQ(frame.pose.get_translation(), Vector3d(0, 0, 0));
}
void expect_as_new(TriMesh const& mesh)
{
    TriMesh const fresh;
    EXPECT_EQ(mesh.n_vertices() + mesh.n_edges() + mesh.n_faces(), 0U);
    EXPECT_FALSE(mesh.has_vertex_status() || mesh.has_vertex_colors());
    EXPECT_EQ(count_properties(mesh), count_properties(fresh));
    EXPECT_EQ(mesh.points_property_handle(), fresh.points_property_handle());
    EXPECT_TRUE(mesh.is_legal());
    EXPECT_FALSE(mesh.is_swapped_out());
}

/// All content of a cloud or mesh that its test needs to tell two of them apart.
std::vector<float> content(Cloud const& cloud)
{
    std::vector<float> list{static_cast<float>(cloud.has_vNormal),
                            static_cast<float>(cloud.has_vColor)};
    for (size_t i = 0; i < cloud.get_vn(); ++i)
    {
        list.insert(list.end(), {cloud.vCoord[i].x(), cloud.vNrv[i].z(), cloud.vColor[i].y(),
                                 static_cast<float>(cloud.vFlag[i])});
    }
    return list;
}
std::vector<float> content(BaseTriMesh const& mesh)
{
    std::vector<float> list = content(static_cast<Cloud const&>(mesh));
    for (size_t i = 0; i < mesh.get_fn(); ++i)
    {
        list.insert(list.end(), {static_cast<float>(mesh.faces[i][1]), mesh.fNrv[i].x(),
                                 static_cast<float>(mesh.face_texture_ids[i].x())});
    }
    list.push_back(static_cast<float>(mesh.texture_image.width()));
    return list;
}
std::vector<float> content(RangeData const& frame)
{
    std::vector<float> list = content(static_cast<Cloud const&>(frame));
    for (size_t i = 0; i < frame.get_vn(); ++i)
    {
        list.insert(list.end(),
                    {static_cast<float>(frame.vUV[i].col), static_cast<float>(frame.cellFlag[i])});
    }
    list.insert(list.end(), {static_cast<float>(frame.grid_rows),
                             static_cast<float>(frame.pose.get_translation().y())});
    return list;
}
std::vector<int> content(TriMesh const& mesh)
{
    auto list = fingerprint(mesh);
    list.push_back(mesh.has_vertex_colors() && mesh.n_vertices() > 3
                       ? static_cast<int>(2 * mesh.color(vh(3)).x())
                       : -1);
    return list;
}

/// Moves an object to itself, in a way that no compiler warns about.
template <typename Data>
void move_to_itself(Data& data)
{
    Data& same = data;
    data = std::move(same);
}

template <typename Data>
class Moving : public testing::Test
{
};

using Classes = testing::Types<Cloud, BaseTriMesh, RangeData, TriMesh>;
TYPED_TEST_SUITE(Moving, Classes, );

} // namespace

TYPED_TEST(Moving, TakesTheArraysAndLeavesTheSourceAsNew)
{
    auto source = filled<TypeParam>();
    auto const before = arrays(source);
    TypeParam target = std::move(source);
    EXPECT_EQ(arrays(target), before);
    EXPECT_EQ(content(target), content(filled<TypeParam>()));
    expect_as_new(source);

    TypeParam assigned = filled<TypeParam>();
    assigned = std::move(target);
    EXPECT_EQ(arrays(assigned), before);
    EXPECT_EQ(content(assigned), content(filled<TypeParam>()));
    expect_as_new(target);
}

TYPED_TEST(Moving, SourceCanBeFilledAgain)
{
    auto source = filled<TypeParam>();
    TypeParam const target = std::move(source);
    source = filled<TypeParam>();
    EXPECT_EQ(content(source), content(target));
    TypeParam const second = std::move(source);
    source.clear();
    source.squeeze();
    source.repair_illegal();
    expect_as_new(source);
    EXPECT_EQ(source.swap_out_data(), 0);
    EXPECT_EQ(source.swap_in_data(), 0);
    source = second;
    EXPECT_EQ(content(source), content(second));
}

TYPED_TEST(Moving, ToItselfChangesNothing)
{
    auto data = filled<TypeParam>();
    auto const before = arrays(data);
    move_to_itself(data);
    EXPECT_EQ(arrays(data), before);
    EXPECT_EQ(content(data), content(filled<TypeParam>()));
    ASSERT_EQ(data.swap_out_data(), 0);
    move_to_itself(data);
    EXPECT_TRUE(data.is_swapped_out());
    ASSERT_EQ(data.swap_in_data(), 0);
    EXPECT_EQ(content(data), content(filled<TypeParam>()));
}

TYPED_TEST(Moving, GrowingVectorLeavesTheArraysWhereTheyAre)
{
    std::vector<TypeParam> list;
    std::vector<std::vector<void const*>> before;
    for (int i = 0; i < 20; ++i)
    {
        auto data = filled<TypeParam>();
        before.push_back(arrays(data));
        list.push_back(std::move(data));
    }
    for (size_t i = 0; i < 20; ++i)
    {
        EXPECT_EQ(arrays(list[i]), before[i]);
    }
    list.erase(list.begin());
    EXPECT_EQ(arrays(list.front()), before[1]);
    std::swap(list.front(), list.back());
    EXPECT_EQ(arrays(list.front()), before[19]);
}

TYPED_TEST(Moving, CopiesAreDeep)
{
    auto const source = filled<TypeParam>();
    TypeParam copy = source;
    auto const theirs = arrays(source);
    auto const ours = arrays(copy);
    for (size_t i = 0; i < ours.size(); ++i)
    {
        EXPECT_NE(ours[i], theirs[i]);
    }
    EXPECT_EQ(content(copy), content(source));
}

TYPED_TEST(Moving, FileOfASwappedObjectGoesAlongWithItsName)
{
    auto source = filled<TypeParam>();
    ASSERT_EQ(source.swap_out_data(), 0);
    std::filesystem::path const path = swap_path(source);
    TypeParam target = std::move(source);
    expect_as_new(source);
    EXPECT_TRUE(target.is_swapped_out());
    EXPECT_EQ(swap_path(target), path);
    EXPECT_NE(swap_path(source), path) << "names differ between objects";

    // The source lets go of the file: it can write another one and be destroyed.
    {
        TypeParam other = std::move(source);
        other = filled<TypeParam>();
        ASSERT_EQ(other.swap_out_data(), 0);
    }
    EXPECT_TRUE(std::filesystem::exists(path));
    ASSERT_EQ(target.swap_in_data(), 0);
    EXPECT_EQ(content(target), content(filled<TypeParam>()));
    EXPECT_FALSE(has_leftover(path));
}

TYPED_TEST(Moving, AssigningOverASwappedObjectDropsItsFile)
{
    auto target = filled<TypeParam>();
    ASSERT_EQ(target.swap_out_data(), 0);
    std::filesystem::path const path = swap_path(target);
    target = filled<TypeParam>();
    EXPECT_FALSE(target.is_swapped_out());
    EXPECT_FALSE(has_leftover(path));
    EXPECT_EQ(content(target), content(filled<TypeParam>()));
}

TEST(MovedTriMesh, HandlesOfPropertiesAndElementsAreGoodForTheTarget)
{
    TriMesh source = grid_with_hole(1);
    OpenMesh::VPropHandleT<int> vertex_property;
    OpenMesh::HPropHandleT<int> halfedge_property;
    OpenMesh::MPropHandleT<int> mesh_property;
    source.add_property(vertex_property, "host");
    source.add_property(halfedge_property);
    source.add_property(mesh_property);
    source.property(vertex_property, vh(2)) = 22;
    source.property(halfedge_property, OpenMesh::HalfedgeHandle(5)) = 55;
    source.property(mesh_property) = 7;
    TriMesh target = std::move(source);
    EXPECT_EQ(target.property(vertex_property, vh(2)), 22);
    EXPECT_EQ(target.property(halfedge_property, OpenMesh::HalfedgeHandle(5)), 55);
    EXPECT_EQ(target.property(mesh_property), 7);
    OpenMesh::VPropHandleT<int> found;
    EXPECT_TRUE(target.get_property_handle(found, "host"));
    EXPECT_FALSE(source.get_property_handle(found, "host"));
    target.add_vertex({9, 9, 9});
    EXPECT_EQ(target.property(vertex_property).n_elements(), target.n_vertices());
}

TEST(MovedTriMesh, RequestsOfAttributesAreCountedOn)
{
    TriMesh source = grid(2, 2);
    source.request_vertex_status();
    source.request_vertex_status();
    source.request_face_normals();
    TriMesh target = std::move(source);
    target.release_vertex_status();
    EXPECT_TRUE(target.has_vertex_status()) << "it was requested twice";
    target.release_vertex_status();
    EXPECT_FALSE(target.has_vertex_status());
    EXPECT_TRUE(target.has_face_normals());

    source = TriMesh();
    source.request_vertex_status();
    EXPECT_TRUE(source.has_vertex_status());
    source.release_vertex_status();
    EXPECT_FALSE(source.has_vertex_status()) << "the counts of the source began anew";
}

TEST(MovedTriMesh, SourceTakesFacesAndTargetDeletesSome)
{
    TriMesh source = grid(2, 2);
    TriMesh target = std::move(source);
    auto const a = source.add_vertex({0, 0, 0});
    auto const b = source.add_vertex({1, 0, 0});
    auto const c = source.add_vertex({0, 1, 0});
    ASSERT_TRUE(source.add_face(a, b, c).is_valid());
    EXPECT_EQ(fingerprint(source), fingerprint(lone_triangle()));
    target.request_vertex_status();
    target.request_edge_status();
    target.request_halfedge_status();
    target.request_face_status();
    target.delete_face(OpenMesh::FaceHandle(0), true);
    target.squeeze();
    EXPECT_EQ(target.n_faces(), 7U);
    EXPECT_TRUE(target.is_legal());
}

namespace
{

/// A host's cloud that gives every object the same name of a file.
class FixedNameCloud : public Cloud
{
public:
    explicit FixedNameCloud(std::wstring name) : name_(std::move(name)) {}
    const std::wstring get_temp_full_name() override { return name_; }

private:
    std::wstring name_;
};

} // namespace

TEST(MovedCloud, FileIsNotOverwrittenByAnObjectThatGivesTheSameName)
{
    std::filesystem::path const path =
        detail::path_from_wide(Cloud().get_temp_full_name()).concat(".host");
    FixedNameCloud first(path.wstring());
    FixedNameCloud second(path.wstring());
    first.add_vCoord({1, 2, 3});
    ASSERT_EQ(first.swap_out_data(), 0);
    Cloud taken = std::move(static_cast<Cloud&>(first));
    for (FixedNameCloud* const cloud : {&first, &second})
    {
        cloud->add_vCoord({4, 5, 6});
        cloud->add_vCoord({7, 8, 9});
        ASSERT_EQ(cloud->swap_out_data(), 0);
    }
    ASSERT_EQ(taken.swap_in_data(), 0);
    EXPECT_EQ(taken.vCoord, Verts({{1, 2, 3}}));
    EXPECT_EQ(first.swap_in_data() + second.swap_in_data(), 0);
    EXPECT_EQ(first.get_vn() + second.get_vn(), 4U);
    EXPECT_FALSE(has_leftover(path));
}
