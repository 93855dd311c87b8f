#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/MarkerFile.h"
#include "workflow/steps/Inspect.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// The ways of cleaning.
enum class CleanKind
{
    MIN_FACES,    ///< Pieces of few faces go; faces hang together over edges.
    MIN_VERTICES, ///< Pieces of few vertices go, single points among them.
    STRONG,       ///< Bodies of few faces go, also where they hang on others by narrow strips.
    NON_MANIFOLD, ///< Vertices at which several fans of faces meet go.
    PEEL,         ///< Faces along every boundary go.
    MARKERS       ///< What lies near markers goes.
};

/// What goes with markers.
struct MarkerSettings
{
    double radius = 0.0;      ///< Millimetres. What is nearer than this to a marker is near.
    bool use_normals = false; ///< Whether normals have to agree with the marker's.
    double normal_dot = 0.5;  ///< With normals: the dot product has to exceed this.
};

/// One clean-up. The functions below make them.
struct CleanUp
{
    CleanKind kind = CleanKind::NON_MANIFOLD; ///< The way of cleaning.
    int limit =
        0; ///< MIN_FACES, MIN_VERTICES: largest piece that goes. STRONG: smallest that stays.
    int rings =
        1; ///< STRONG: so many rings are peeled and grown back. PEEL: rings behind the first.
    Markers markers;             ///< MARKERS only.
    MarkerSettings near_markers; ///< MARKERS only.
    std::string name;            ///< What results call it; empty: the name of its kind.
};

/// \name The clean-ups
/// Each leaves the normals and colours of what stays as they were. On a cloud, which is a mesh of
/// points without faces, only markers work.
/// @{
VELD_WORKFLOW_API CleanUp small_pieces_by_faces(int faces);
VELD_WORKFLOW_API CleanUp small_pieces_by_vertices(int vertices);
VELD_WORKFLOW_API CleanUp small_bodies_on_strips(int faces, int rings);
VELD_WORKFLOW_API CleanUp non_manifold_vertices();
VELD_WORKFLOW_API CleanUp rims(int rings);
VELD_WORKFLOW_API CleanUp surface_near_markers(Markers markers, MarkerSettings const& settings);
/// @}

/// The clean-ups, in the order in which they run.
struct CleanSettings
{
    std::vector<CleanUp> clean_ups; ///< None leaves the mesh as it is.
};

/// What one clean-up took away.
struct CleanStep
{
    std::string name;                 ///< Of the clean-up.
    std::size_t removed_vertices = 0; ///< Those that were lost.
    std::size_t removed_faces = 0;    ///< Those that were lost.
};

/// What cleaning made.
struct CleanResult
{
    OrvaneAlgorithm::TriMesh mesh; ///< The cleaned mesh, without gaps.
    MeshHealth before;             ///< Of the mesh as it was.
    MeshHealth after;              ///< Of the cleaned mesh.
    std::vector<CleanStep> steps;  ///< One for each clean-up.
    double seconds = 0.0;          ///< Of the clean-ups alone.
};

/// Runs clean-ups one after the other. Throws `InputError` where a mesh without faces is to be
/// cleaned by what works on faces, or normals are to be compared that points do not have.
VELD_WORKFLOW_API CleanResult clean(OrvaneAlgorithm::TriMesh const& mesh,
                                    CleanSettings const& settings, Context& context);

/// The name of a kind: "min-faces", "min-vertices", "strong", "non-manifold", "peel", "markers".
VELD_WORKFLOW_API char const* name_of(CleanKind kind);

} // namespace veld
