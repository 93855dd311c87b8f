#include "reference_ears.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/real_data.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <filesystem>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// The meshes with holes among the real scans, by name.
std::vector<std::string> meshes_with_holes()
{
    std::vector<std::string> files;
    if (without_real_data())
    {
        return files;
    }
    for (auto const& entry : std::filesystem::directory_iterator(real_data("meshes_holes")))
    {
        if (entry.path().extension() == ".ply")
        {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool read(std::string const& file, TriMesh& mesh)
{
    MeshReadReport report;
    EXPECT_TRUE(read_mesh(file, mesh, report)) << report.error;
    return report.error.empty();
}

void expect_only_added_to(TriMesh const& before, TriMesh const& after)
{
    EXPECT_EQ(after.n_vertices(), before.n_vertices());
    EXPECT_TRUE(std::equal(before.points(), before.points() + before.n_vertices(), after.points()));
    auto old_faces = faces_from(after, 0);
    old_faces.resize(before.n_faces());
    EXPECT_EQ(old_faces, faces_from(before, 0));
    EXPECT_EQ(broken_link(after), "");
}

} // namespace

TEST(EarRealData, TrimmedScansAreTheSameAsHoleByHoleForAnyNumberOfThreads)
{
    int const threads_before = omp_get_max_threads();
    for (auto const& file : meshes_with_holes())
    {
        SCOPED_TRACE(file);
        TriMesh before;
        if (!read(file, before))
        {
            continue;
        }
        reference::Settings settings;
        settings.norm = true;
        settings.node_num = true;
        settings.node_num_thr = 500; // the plain search is slow on long borders
        TriMesh expected = before;
        reference::trim_holes(expected, settings);
        for (int const threads : {1, 2})
        {
            omp_set_num_threads(threads);
            TriMesh mesh = before;
            EarTrimming trimming;
            trimming.ear_trimming(mesh, true, false, true, 500, 0.6, 150.0);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            EXPECT_EQ(trimming.open_holes().size(), loops_of(mesh).size());
        }
        expect_only_added_to(before, expected);
    }
    omp_set_num_threads(threads_before);
}

TEST(EarRealData, ClippedScansHoldTogetherAndEveryOpenLoopIsExplained)
{
    for (auto const& file : meshes_with_holes())
    {
        SCOPED_TRACE(file);
        TriMesh before;
        if (!read(file, before))
        {
            continue;
        }
        TriMesh mesh = before;
        EarClipping clipping;
        clipping.fill_hole(mesh);
        expect_only_added_to(before, mesh);
        EXPECT_EQ(clipping.open_holes().size(), loops_of(mesh).size());
    }
}
