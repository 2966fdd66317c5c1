// The commands of kestrix-disp. A new one is a file of its own, a line here and a line in
// kestrix_disp.cpp.
#pragma once

#include <functional>

namespace CLI {
class App;
}

// Exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kWrongInput = 1;
inline constexpr int kUsage = 2;

struct Command {
    CLI::App* arguments;  // of the program, which owns it
    // Carries the command out once its arguments have been read. Returns an exit status. An
    // exception is wrong input, its text the message.
    std::function<int()> run;
};

// Each adds its subcommand to the program.
Command renderCommand(CLI::App& program);
Command explainCommand(CLI::App& program);
Command previewCommand(CLI::App& program);
Command whichCommand(CLI::App& program);
Command checkCommand(CLI::App& program);
