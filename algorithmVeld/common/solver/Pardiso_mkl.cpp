// The direct solver on MKL's PARDISO. MKL's symbols are used in this file only.

#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/solver.h"
#include "algorithmVeld/common/solver/Pardiso.h"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <thread>

// The packages with the small set of libraries bring no headers.
extern "C"
{
    void pardiso(void* pt, int const* maxfct, int const* mnum, int const* mtype, int const* phase,
                 int const* n, double const* a, int const* ia, int const* ja, int* perm,
                 int const* nrhs, int* iparm, int const* msglvl, double* b, double* x, int* error);
    int MKL_Set_Num_Threads_Local(int threads);
    int MKL_CBWR_Get(int option);
    int MKL_CBWR_Set(int setting);
    using MklProgress = int (*)(int* thread, int* step, char* stage, int stage_length);
    MklProgress mkl_set_progress(MklProgress progress);
}

namespace OrvaneAlgorithm
{

char const* solver_name()
{
    return "MKL PARDISO";
}

bool fix_solver_kernels()
{
    // As MKL's headers define them.
    constexpr int CBWR_BRANCH = 1;
    constexpr int CBWR_BRANCH_OFF = 1;
    constexpr int CBWR_COMPATIBLE = 3;

    static std::once_flag once;
    std::call_once(once,
                   []
                   {
                       if (MKL_CBWR_Get(CBWR_BRANCH) <= CBWR_BRANCH_OFF)
                       {
                           MKL_CBWR_Set(CBWR_COMPATIBLE);
                       }
                   });
    return MKL_CBWR_Get(CBWR_BRANCH) == CBWR_COMPATIBLE;
}

namespace detail
{

namespace
{

constexpr int REAL_NONSYMMETRIC = 11;
constexpr int ANALYSE = 11;
constexpr int FACTORISE = 22;
constexpr int SOLVE = 33;
constexpr int RELEASE = -1;
constexpr int ZERO_PIVOT = -4;

/// One thread for MKL's own work: its sums depend on the number of threads.
class OneMklThread
{
public:
    OneMklThread() : before_(MKL_Set_Num_Threads_Local(1)) {}
    ~OneMklThread() { MKL_Set_Num_Threads_Local(before_); }
    OneMklThread(OneMklThread const&) = delete;
    OneMklThread& operator=(OneMklThread const&) = delete;

private:
    int before_;
};

MklProgress progress_before = nullptr;

/// Called by MKL on its way through a factorisation, by the thread that asked for it. What is not 0
/// ends the factorisation with an error.
int stop_if_cancelled(int* thread, int* step, char* stage, int stage_length)
{
    return is_run_cancelled()           ? 1
           : progress_before != nullptr ? progress_before(thread, step, stage, stage_length)
                                        : 0;
}

/// MKL knows one such function for the whole process: it is set once, and asks the one before it.
void let_mkl_be_stopped()
{
    static std::once_flag once;
    std::call_once(once, [] { progress_before = mkl_set_progress(stop_if_cancelled); });
}

/// The matrix with one-based compressed rows, and the solver's memory, which is given back on every
/// path.
class System
{
public:
    System(RowMajorMatrix const& a, Eigen::VectorXd const& b)
        : n_(static_cast<int>(a.rows())),
          values_(a.valuePtr()),
          row_starts_(n_ + 1),
          columns_(static_cast<std::size_t>(a.nonZeros())),
          b_(b)
    {
        auto const one_based = [](int index) { return index + 1; };
        std::transform(a.outerIndexPtr(), a.outerIndexPtr() + n_ + 1, row_starts_.begin(),
                       one_based);
        std::transform(a.innerIndexPtr(), a.innerIndexPtr() + columns_.size(), columns_.begin(),
                       one_based);
        iparm_[0] = 1;                     // no defaults
        iparm_[1] = 2;                     // nested dissection
        iparm_[2] = omp_get_max_threads(); // processors
        iparm_[7] = 2;                     // steps of iterative refinement
        iparm_[9] = 13;                    // pivots are perturbed by 1e-13
        iparm_[10] = 1;                    // scaling
        iparm_[17] = -1;                   // report the entries of the factors
        iparm_[18] = -1;                   // report the operations
    }

    ~System() { run(RELEASE, nullptr); }

    System(System const&) = delete;
    System& operator=(System const&) = delete;

    /// Throws Cancelled before and behind the phase; in the middle a factorisation only can be
    /// ended.
    int run_phase(int phase, double* x)
    {
        poll_cancel();
        int const error = run(phase, x);
        poll_cancel();
        return error;
    }

    int factor_nonzeros() const { return iparm_[17]; }
    int factor_mflops() const { return iparm_[18]; }

private:
    int run(int phase, double* x)
    {
        int const one = 1;
        int const silent = 0;
        int error = 0;
        pardiso(memory_, &one, &one, &REAL_NONSYMMETRIC, &phase, &n_, values_, row_starts_.data(),
                columns_.data(), nullptr, &one, iparm_, &silent, b_.data(), x, &error);
        return error;
    }

    int n_;
    double const* values_;
    std::vector<int> row_starts_;
    std::vector<int> columns_;
    Eigen::VectorXd b_;
    void* memory_[64] = {};
    int iparm_[64] = {};
};

/// The ordering draws random numbers from a state that all threads share: one analysis at a time
/// makes it a function of the matrix. It takes most of the time of a small system, so somebody is
/// nearly always waiting, and not for long: to sleep and be woken would cost more.
int analyse(System& system)
{
    static std::mutex mutex;
    std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
    while (!lock.owns_lock())
    {
        poll_cancel();
        std::this_thread::yield();
        lock.try_lock();
    }
    return system.run_phase(ANALYSE, nullptr);
}

} // namespace

PardisoReport solve_direct(RowMajorMatrix const& a, Eigen::VectorXd const& b,
                           std::vector<double>& x)
{
    x.clear();
    PardisoReport report;
    if (a.rows() == 0)
    {
        return report;
    }
    RowMajorMatrix compressed;
    if (!a.isCompressed())
    {
        compressed = a;
        compressed.makeCompressed();
    }
    fix_solver_kernels();
    let_mkl_be_stopped();
    OneMklThread const one_thread;
    System system(a.isCompressed() ? a : compressed, b);
    std::vector<double> solution(static_cast<std::size_t>(a.rows()));
    report.analysis_error = analyse(system);
    if (report.analysis_error == 0)
    {
        report.factorisation_error = system.run_phase(FACTORISE, nullptr);
    }
    if (report.analysis_error == 0 && report.factorisation_error == 0)
    {
        report.solution_error = system.run_phase(SOLVE, solution.data());
    }
    report.factor_nonzeros = system.factor_nonzeros();
    report.factor_mflops = system.factor_mflops();
    if (report.solved() && !std::all_of(solution.begin(), solution.end(),
                                        [](double value) { return std::isfinite(value); }))
    {
        report.solution_error = ZERO_PIVOT;
    }
    if (report.solved())
    {
        x = std::move(solution);
    }
    return report;
}

} // namespace detail

} // namespace OrvaneAlgorithm
