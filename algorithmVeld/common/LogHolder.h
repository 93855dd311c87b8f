#pragma once

#include "algorithmVeld/common/export.h"

#include <functional>
#include <memory>
#include <string>

namespace OrvaneAlgorithm
{

/// What an observer is told about a step: that it starts, or that it ends.
struct StepEvent
{
    std::string step;     ///< Name of the step.
    std::string parent;   ///< Name of the enclosing step, empty at the top.
    bool started = false; ///< True when the step starts, false when it ends.
    double seconds = 0.0; ///< Duration of this lap in seconds; 0 when the step starts.
};

/// Sink of all log text, of what is printed past the log, and of the step timers.
///
/// All operations may be called from parallel regions. The two sinks are called by one thread at a
/// time, never both at once, and the observer is called by one thread at a time. A sink must
/// neither log nor print through this object, and none of them may replace itself; an observer may
/// log and ask for the report. What they throw reaches the caller of the operation that logged.
class ALGORITHMVELD_API LogHolder
{
public:
    LogHolder();
    ~LogHolder();
    LogHolder(LogHolder const&) = delete;
    LogHolder& operator=(LogHolder const&) = delete;

    /// Writes finished text to the sink. The text carries its own line ends; a null pointer is
    /// ignored.
    void print_log(char const* text);

    /// Writes formatted text of any length to the sink. Text that is finished already goes as
    /// `("%s", text)`, for a percent sign in it is no format.
    /// \return false if the text cannot be formatted
    bool LogPrintf(char const* format, ...);

    /// The same for wide text of less than 2^20 characters, which reaches the sink as UTF-8.
    /// \return false if the text is longer or cannot be formatted
    bool LogPrintf(wchar_t const* format, ...);

    /// Starts the stopwatch of a step.
    /// \param step name of the step
    /// \param parent name of the enclosing step, or empty for a step at the top. Of several steps
    ///        of that name the one that runs counts. It need not be known yet: the step moves under
    ///        it when it is, and stands at the top until then.
    void startSpecStepTimer(std::string const& step, std::string const& parent);

    /// Prints finished text past the log: to standard output, or to the host's print sink. The
    /// library does so with what hosts of long standing read there, whatever the log switch says.
    void print_past_log(std::string const& text);

    /// Stops the step of this name that the calling thread started last, and adds the time to its
    /// total. If it has started none that still runs, the last one of that name counts that another
    /// thread started: a host may start a step in one thread and stop it in another. A lap without
    /// a start is ignored.
    void lapSpecStepTimer(std::string const& step);

    /// Takes the host's sink. It gets each text as it is logged, lines may come in pieces.
    /// \param sink an empty function means standard output, which is the default
    void set_sink(std::function<void(std::string const&)> sink);

    /// Takes the host's sink of what is printed past the log. Each text comes as it is printed.
    /// \param sink an empty function means standard output, which is the default
    void set_print_sink(std::function<void(std::string const&)> sink);

    /// Takes the host's observer of step starts and ends, which is how progress is shown.
    /// \param observer an empty function takes the observer away
    void set_step_observer(std::function<void(StepEvent const&)> observer);

    /// The steps as an indented table: name, laps, total seconds.
    std::string report_steps() const;

    /// The steps as a JSON array of `{"name", "laps", "seconds", "running", "children"}`, in the
    /// order in which they were first started. `running` counts the laps that have not ended.
    std::string steps_as_json() const;

    /// Forgets all steps and totals.
    void clear_steps();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The one instance that the library logs to.
extern ALGORITHMVELD_API LogHolder gLH;

/// Formats into a buffer of 512 bytes; longer text is cut off.
/// \return the number of bytes that the whole text has, or a negative value if it cannot be
/// formatted
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
ALGORITHMVELD_API int
format_line(char (&buffer)[512], char const* format, ...);

} // namespace OrvaneAlgorithm
