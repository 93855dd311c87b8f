#pragma once

namespace OrvaneAlgorithm::detail
{

/// Called in states that are held to be impossible. On Windows, where standard input is a console,
/// the process waits for a key so that it can be inspected; everywhere else the run just goes on.
void pause_for_inspection();

} // namespace OrvaneAlgorithm::detail
