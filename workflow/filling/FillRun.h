#pragma once

#include "workflow/StepScope.h"
#include "workflow/filling/FillWays.h"
#include "workflow/filling/record/ClosingRecord.h"
#include "workflow/filling/record/ReasonFinder.h"
#include "workflow/steps/FillResult.h"

#include "algorithmVeld/common/mesh/MeshScope.h"

namespace veld
{

/// A filling on its way through its passes.
class FillRun
{
public:
    /// \param mesh that was given \param limits the settings of the last pass
    /// \param result with a copy of the mesh, which is filled
    FillRun(OrvaneAlgorithm::TriMesh const& mesh, FillSettings const& limits, FillResult& result,
            StepScope& scope);

    /// A pass without a hole within its limits would do nothing; the first one tells why.
    void run(FillSettings const& settings);

    /// Completes the result.
    void finish();

private:
    bool has_work(FillSettings const& settings) const;
    void fill(FillSettings const& settings, FillPass& pass);
    PassOutcome run_timed(FillSettings const& settings);
    void count_new_faces(FillPass& pass);
    void report_open_holes();
    void drop_bare_vertices();

    /// What stands at a face before it has the number of its pass: OpenMesh gives new ones zero.
    static constexpr int NEW = 0;
    static constexpr int GIVEN = 1;

    OrvaneAlgorithm::TriMesh const& given_;
    FillResult& result_;
    StepScope& scope_;
    /// `GIVEN` and the number of the pass, with the face wherever a cut moves it.
    OrvaneAlgorithm::detail::ScopedProperty<OpenMesh::FPropHandleT<int>> made_by_;
    OrvaneAlgorithm::Holes holes_;
    ClosingRecord record_;
    ReasonFinder finder_;
};

} // namespace veld
