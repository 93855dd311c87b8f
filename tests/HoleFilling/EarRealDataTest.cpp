#include "reference_ears.h"

#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/real_data.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

bool read(std::filesystem::path const& file, TriMesh& mesh)
{
    MeshReadReport report;
    EXPECT_TRUE(read_mesh(file.string(), mesh, report)) << report.error;
    return report.error.empty();
}

} // namespace

using EarRealData = RealData;

TEST_F(EarRealData, TrimmedScansAreTheSameAsHoleByHoleForAnyNumberOfThreads)
{
    for (auto const& file : real_meshes())
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
            Threads const scope(threads);
            TriMesh mesh = before;
            EarTrimming trimming;
            trimming.ear_trimming(mesh, true, false, true, 500, 0.6, 150.0);
            EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
            EXPECT_EQ(trimming.open_holes().size(), loops_of(mesh).size());
        }
        expect_only_added_to(before, expected);
    }
}

TEST_F(EarRealData, ClippedScansHoldTogetherAndEveryOpenLoopIsExplained)
{
    for (auto const& file : real_meshes())
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
