// The direct solver on Eigen's supernodal LU factorisation, for machines without MKL.

#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/solver.h"
#include "algorithmVeld/common/solver/Pardiso.h"

#include <Eigen/SparseLU>

namespace OrvaneAlgorithm
{

char const* solver_name()
{
    return "Eigen SparseLU";
}

bool fix_solver_kernels()
{
    return true; // They are compiled once, for every processor.
}

namespace detail
{

PardisoReport solve_direct(RowMajorMatrix const& a, Eigen::VectorXd const& b,
                           std::vector<double>& x)
{
    constexpr int ZERO_PIVOT = -4;
    x.clear();
    PardisoReport report;
    if (a.rows() == 0)
    {
        return report;
    }
    Eigen::SparseMatrix<double> const by_columns = a;
    Eigen::SparseLU<Eigen::SparseMatrix<double>, Eigen::COLAMDOrdering<int>> solver;
    poll_cancel();
    solver.analyzePattern(by_columns);
    poll_cancel();
    solver.factorize(by_columns);
    poll_cancel();
    if (solver.info() != Eigen::Success)
    {
        report.factorisation_error = ZERO_PIVOT;
        return report;
    }
    report.factor_nonzeros = static_cast<int>(solver.nnzL() + solver.nnzU());
    Eigen::VectorXd solution = solver.solve(b);
    solution += solver.solve(b - a * solution);
    if (!solution.allFinite())
    {
        report.solution_error = ZERO_PIVOT;
        return report;
    }
    x.assign(solution.data(), solution.data() + solution.size());
    return report;
}

} // namespace detail

} // namespace OrvaneAlgorithm
