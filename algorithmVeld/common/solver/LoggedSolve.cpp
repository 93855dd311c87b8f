#include "algorithmVeld/common/solver/LoggedSolve.h"

#include "algorithmVeld/common/running/Log.h"

namespace OrvaneAlgorithm::detail
{

namespace
{

void log_sizes(RowMajorMatrix const& a, Eigen::VectorXd const& b, int verts)
{
    log("====================< MKL_Pardiso Param> ====================\n");
    log("  spareAMat.size() [rows, cols] = [%d, %d]\n", static_cast<int>(a.rows()),
        static_cast<int>(a.cols()));
    log("  BVec.size()                   = %d\n", static_cast<int>(b.size()));
    log("  inner verts:                  = %d\n", verts);
    log("  vval.size()                   = %d\n", static_cast<int>(a.nonZeros()));
    log("  vcol.size()                   = %d\n", static_cast<int>(a.nonZeros()));
    log("  vrow.size()                   = %d\n", static_cast<int>(a.rows() + 1));
    log("====================</MKL_Pardiso Param> ====================\n");
}

void log_factors(PardisoReport const& report)
{
    log("   Reordering completed ... \n");
    log("   Number of nonzeros in factors = %d\n", report.factor_nonzeros);
    log("   Number of factorization MFLOPS = %d\n", report.factor_mflops);
}

} // namespace

bool solve_logged(RowMajorMatrix const& a, Eigen::VectorXd const& b, std::vector<double>& x,
                  std::optional<int> verts)
{
    log("MKL_Pardiso() ..\n");
    if (verts)
    {
        log_sizes(a, b, *verts);
    }
    auto const report = solve_direct(a, b, x);
    if (report.analysis_error != 0)
    {
        log("   ERROR during symbolic factorization: %d    [%s (%d)]\n", report.analysis_error,
            __FILE__, __LINE__);
        return false;
    }
    if (verts)
    {
        log_factors(report);
    }
    if (report.factorisation_error != 0)
    {
        log("   ERROR during numerical factorization: %d    [%s (%d)]\n",
            report.factorisation_error, __FILE__, __LINE__);
        return false;
    }
    log("   Factorization completed ...\n");
    if (report.solution_error != 0)
    {
        log("   ERROR during solution: %d\n", report.solution_error);
        return false;
    }
    log("   Solve completed ... \n");
    return true;
}

} // namespace OrvaneAlgorithm::detail
