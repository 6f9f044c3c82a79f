// The settings of the panel as a command, in which they are kept and pasted.
#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// The application's numbers that the rows are bound to, in their order. Call the functions of this
// file only in the thread that calls the application back.
using RowNumbers = std::vector<double>;
RowNumbers NumbersOf(const std::vector<PanelRow>& rows);

// The rows have as many numbers.
void SetNumbers(const std::vector<PanelRow>& rows, const RowNumbers& numbers);

// Reads a command as a start of the program would; the application then has its numbers. Throws
// WrongCommandLine with nothing changed.
Job ReadCommand(const std::string& command, HostState& host);

// What to know of the application's numbers, whose options are as EchoOptions returns them; or an
// empty text.
std::string NoteOn(const HostState& host, const std::vector<std::string>& options);

// A command from which ReadCommand gets the settings back. Files are named, since any may be
// missing.
std::string PanelCommand(Job job, HostState& host);

}  // namespace lumomixcalc::standalone
