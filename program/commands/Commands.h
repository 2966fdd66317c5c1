// The commands of kestrix-disp. A new one needs a file of its own, a line here and a line in
// main.cpp.
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
    CLI::App* arguments;  // owned by the program's CLI::App
    // Carries the command out; call it after the arguments have been parsed. Returns the exit
    // status. A std::exception means kWrongInput, and its text is the message for the user.
    std::function<int()> run;
};

// Each adds its subcommand, with its options, to the program.
Command renderCommand(CLI::App& program);
Command explainCommand(CLI::App& program);
Command previewCommand(CLI::App& program);
Command whichCommand(CLI::App& program);
Command checkCommand(CLI::App& program);
Command lintCommand(CLI::App& program);
Command newProfileCommand(CLI::App& program);
Command emulateCommand(CLI::App& program);
Command sendCommand(CLI::App& program);
