#include "dirty_meshes.h"
#include "reference_cleanup.h"

#include "algorithmVeld/cleanup/PatchEditor.h"
#include "algorithmVeld/cleanup/PostProcessing.h"
#include "algorithmVeld/cleanup/VertexEditor.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/real_data.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// Calls `check` with every mesh with faces among the real scans.
template <typename Check>
void for_each_real_mesh(Check const& check)
{
    std::vector<std::string> files;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(real_data_dir()))
    {
        auto const extension = entry.path().extension();
        bool const in_time =
            !IS_SANITIZED || (entry.is_regular_file() && entry.file_size() < 500000);
        if (in_time && (extension == ".ply" || extension == ".obj" || extension == ".stl"))
        {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    int meshes = 0;
    for (auto const& file : files)
    {
        SCOPED_TRACE(file);
        TriMesh mesh;
        MeshReadReport report;
        if (read_mesh(file, mesh, report) && mesh.n_faces() > 0)
        {
            check(mesh);
            ++meshes;
        }
    }
    EXPECT_GT(meshes, 10);
}

/// Faces in components above a limit.
int faces_above(std::vector<int> const& sizes, int limit)
{
    return std::accumulate(sizes.begin(), sizes.end(), 0,
                           [&](int sum, int size) { return sum + (size > limit ? size : 0); });
}

} // namespace

using CleanupRealData = RealData;

TEST_F(CleanupRealData, ComponentsAreThoseThatCountingFindsAndVerticesKeepWhatTheyHad)
{
    for_each_real_mesh(
        [](TriMesh const& scan)
        {
            TriMesh marked = scan;
            mark_vertices(marked);
            auto const sizes = face_component_sizes(marked);
            for (int const limit : {1, 50})
            {
                TriMesh mesh = marked;
                PatchEditor::remove_small_components_by_face(mesh, limit, false);
                EXPECT_EQ(static_cast<int>(mesh.n_faces()), faces_above(sizes, limit));
                EXPECT_TRUE(kept_its_marks(marked, mesh));
                TriMesh same = marked;
                PostProcessing().remove_small_objects(same, limit);
                EXPECT_EQ(triangles_of(same), triangles_of(mesh));
            }
        });
}

TEST_F(CleanupRealData, EveryLinkIsThatOfThePlainWay)
{
    for_each_real_mesh(
        [](TriMesh const& scan)
        {
            TriMesh mesh = scan;
            TriMesh expected = scan;
            PatchEditor::remove_small_components_by_face(mesh, 50, false);
            reference::by_face(expected, 50);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            PatchEditor::remove_small_components_by_vert(mesh, 300, false);
            reference::by_vert(expected, 300);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            PatchEditor::remove_small_componets_by_face_strong_connection(mesh, 100, 2);
            reference::strong_connection(expected, 100, 2);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            VertexEditor::remove_non_manifold_verts(mesh, false);
            reference::non_manifold_verts(expected);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
        });
}

TEST_F(CleanupRealData, NoVertexIsLeftWithMoreThanOneGap)
{
    for_each_real_mesh(
        [](TriMesh const& scan)
        {
            TriMesh mesh = scan;
            mark_vertices(mesh);
            TriMesh const marked = mesh;
            VertexEditor::remove_non_manifold_verts(mesh, false);
            EXPECT_EQ(count_pinched(mesh), 0);
            EXPECT_TRUE(kept_its_marks(marked, mesh));
            if (count_pinched(scan) == 0)
            {
                EXPECT_EQ(fingerprint(mesh), fingerprint(scan));
            }
        });
}
