#pragma once

#include <Eigen/SparseCore>

#include <vector>

namespace OrvaneAlgorithm::detail
{

using RowMajorMatrix = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;

/// How a direct solution went: for each phase the solver's error code, 0 for success. A phase after
/// a failed one is not entered.
struct PardisoReport
{
    int analysis_error = 0;
    int factorisation_error = 0;
    int solution_error = 0;
    int factor_nonzeros = 0; ///< entries of the factors
    int factor_mflops = 0;   ///< millions of operations for the factorisation

    bool solved() const
    {
        return analysis_error == 0 && factorisation_error == 0 && solution_error == 0;
    }
};

/// Solves `a x = b` directly for a real nonsymmetric matrix.
///
/// The solution is the same to the last bit on any thread and for any number of threads, also when
/// several systems are solved at once. A solution that is not finite counts as a failed solution
/// phase: the solver itself reports no error for a singular matrix. Throws Cancelled if the calling
/// thread's run was cancelled: between the phases, and with MKL also within the factorisation.
/// \param a square; every row needs at least one entry
/// \param x the solution, empty on failure; an empty system has an empty one
PardisoReport solve_direct(RowMajorMatrix const& a, Eigen::VectorXd const& b,
                           std::vector<double>& x);

} // namespace OrvaneAlgorithm::detail
