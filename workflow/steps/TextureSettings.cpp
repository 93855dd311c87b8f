#include "workflow/steps/TextureSettings.h"

namespace veld
{

std::map<std::string, TexturePipeline> const& texture_pipelines()
{
    static std::map<std::string, TexturePipeline> const pipelines{
        {"fusion", TexturePipeline::FUSION}, {"mesh", TexturePipeline::MESH}};
    return pipelines;
}

std::map<std::string, TextureSolver> const& texture_solvers()
{
    static std::map<std::string, TextureSolver> const solvers{
        {"simplicial", TextureSolver::SIMPLICIAL}, {"pardiso", TextureSolver::PARDISO}};
    return solvers;
}

} // namespace veld
