#include "platform/system.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>

namespace kurvalux_platform {
namespace {
std::atomic<unsigned> g_processor_override{0};
std::string g_program_folder;
std::mutex g_debug_mutex;
DebugSink g_debug_sink;
}  // namespace

unsigned ProcessorCount() {
    unsigned forced = g_processor_override.load();
    if (forced) return forced;
    unsigned n = std::thread::hardware_concurrency();
    return n ? n : 1;
}

void SetProcessorCount(unsigned count) {
    g_processor_override.store(count);
}

const std::string& ProgramFolder() {
    return g_program_folder;
}

void SetProgramFolder(const std::string& folder) {
    g_program_folder = folder;
    if (!g_program_folder.empty() && g_program_folder.back() != '/' &&
        g_program_folder.back() != '\\')
        g_program_folder += '/';
}

void InitProgramFolder(const char* argv0) {
    std::error_code ec;
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec && argv0) exe = std::filesystem::absolute(argv0, ec);
    SetProgramFolder(exe.parent_path().string());
}

uint64_t TickCount() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void DebugOutput(std::string_view text) {
    std::lock_guard<std::mutex> lock(g_debug_mutex);
    if (g_debug_sink) {
        g_debug_sink(text);
        return;
    }
    static const bool enabled = std::getenv("KURVALUX_DEBUG") != nullptr;
    if (enabled) std::fwrite(text.data(), 1, text.size(), stderr);
}

void SetDebugSink(DebugSink sink) {
    std::lock_guard<std::mutex> lock(g_debug_mutex);
    g_debug_sink = std::move(sink);
}

}  // namespace kurvalux_platform
