#pragma once
// Runs the real kurvalux-cli with the given words (each passed as one argument, quoted for the
// shell) and keeps its exit status, stdout and stderr apart.
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fielddata/temp_folder.h"

struct CliRun {
    int status = -1;
    std::string out, err;
    std::string ErrLine(size_t k) const {  // line k of stderr, without its end
        std::istringstream lines(err);
        std::string line;
        for (size_t i = 0; i <= k; ++i)
            if (!std::getline(lines, line)) return "";
        return line;
    }
};

inline std::string ShellQuoted(const std::string& word) {
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

inline CliRun RunCli(const std::vector<std::string>& words) {
    TempFolder folder;
    std::string command = ShellQuoted(KURVALUX_CLI_PATH);
    for (const std::string& word : words) command += " " + ShellQuoted(word);
    command +=
        " >" + ShellQuoted(folder.Path() + "out") + " 2>" + ShellQuoted(folder.Path() + "err");
    CliRun run;
    const int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = folder.Read("out");
    run.err = folder.Read("err");
    return run;
}
