#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace veld::cli
{

/// Where the result goes, and what is told beside it.
struct ConsoleSettings
{
    bool json = false;             ///< The one object is the whole result.
    bool quiet = false;            ///< Errors only.
    bool output_is_stdout = false; ///< Standard output is a file's: the result goes beside it.
};

/// The two standard streams: text results on standard output; warnings, the log and one line of
/// progress on standard error. May be used from any thread.
class Console
{
public:
    explicit Console(ConsoleSettings const& settings) : settings_(settings) {}
    ~Console() { clear_progress(); }
    Console(Console const&) = delete;
    Console& operator=(Console const&) = delete;

    /// Writes lines of the result for people, unless there is one for programs.
    void print(std::string const& text);

    /// Writes the result for programs.
    void print_json(std::string const& text);

    /// Writes "warning: TEXT" as one line.
    void warn(std::string const& text);

    /// Writes text of the library's log as it comes.
    void log(std::string const& text);

    /// Shows what is being done and how far it is, in a line that the next one replaces. Only on a
    /// terminal, and a few times a second at most.
    void show_progress(std::string const& text, double fraction);
    void clear_progress();

    /// Throws if standard output did not take everything.
    void finish();

    /// Tells what stands beside a file on standard output, once that is written.
    void release();

private:
    void write_result(std::string const& text);
    void clear_line();

    ConsoleSettings settings_;

    std::mutex mutex_;
    std::string held_; ///< Results until standard output has its file.
    bool progress_shown_ = false;
    std::string progress_text_;
    std::chrono::steady_clock::time_point progress_time_;
};

/// Whether standard error is a terminal.
bool is_terminal();

/// The text as one line: what would break the line becomes a question mark.
std::string one_line(std::string text);

/// Writes a line on standard error.
void print_line(std::string const& text);

/// Writes "error: TEXT" as one line on standard error.
void print_error(std::string const& text);

} // namespace veld::cli
