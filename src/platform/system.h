#pragma once
// Process-wide facts and services of the operating system: processor count, program folder,
// tick count and the debug output channel.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kurvalux_platform {

// The number of processors used by the background analyses; read once at start-up, and
// overridable so that tests can check how work is split for other machines.
unsigned ProcessorCount();
void SetProcessorCount(unsigned count);  // 0 restores the machine's own count

// The folder of the running executable, with a trailing separator.
const std::string& ProgramFolder();
void SetProgramFolder(const std::string& folder);
// Derives the program folder from argv[0] or /proc/self/exe.
void InitProgramFolder(const char* argv0);

// Milliseconds since an arbitrary start, monotonic.
uint64_t TickCount();

// Developer output (fitter Jacobian dumps, bootstrap timings). By default it goes to stderr
// when KURVALUX_DEBUG is set in the environment, and nowhere otherwise; tests install a sink.
void DebugOutput(std::string_view text);
using DebugSink = std::function<void(std::string_view)>;
void SetDebugSink(DebugSink sink);  // empty restores the default

}  // namespace kurvalux_platform
