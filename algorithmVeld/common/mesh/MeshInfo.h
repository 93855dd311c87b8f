#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>

/// \file
/// What a mesh consists of: its standard attributes, and the block of text about it that goes to
/// the log and is printed past it.

namespace OrvaneAlgorithm::detail
{

/// An attribute that OpenMesh knows by itself.
struct StandardAttribute
{
    char const* info_line; ///< of the block of text, for a mesh that has it
    bool (*is_there)(TriMesh const&);
    void (*request)(TriMesh&);
};

/// All of them but the points, in the order of their names.
extern std::array<StandardAttribute, 18> const STANDARD_ATTRIBUTES;

/// Numbers of elements; what is marked deleted does not count.
struct MeshCounts
{
    int vertices = 0;
    int faces = 0;
    int halfedges = 0;
    int edges = 0;
};

MeshCounts count_elements(TriMesh const& mesh);
/// A face lies on the boundary if one of its edges does.
MeshCounts count_boundary_elements(TriMesh const& mesh);

/// The lines around the block.
constexpr char const* MESH_INFO_BEGIN = "\n--------------------------------\n";
constexpr char const* MESH_INFO_END = "--------------------------------\n\n";
constexpr char const* MESH_INFO_TITLE = "Mesh info:\n";

/// Logs and prints a title and four numbers if `enabled` is true.
void print_counts(bool enabled, char const* title, MeshCounts const& counts);

/// The headings of a mesh before and after an operation.
constexpr char const* INITIAL_SIZE = "  # initital mesh info:\n";
constexpr char const* FINAL_SIZE = "  # processed mesh info:\n";

/// Logs how many vertices and faces a mesh has under a heading, if `enabled` is true.
void log_size(bool enabled, char const* heading, TriMesh const& mesh);

} // namespace OrvaneAlgorithm::detail
