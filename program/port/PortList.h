// The serial ports of the machine.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct ListedPort {
    std::string path;   // "/dev/ttyUSB0"
    std::string words;  // what the system knows of it, such as its maker, product and driver; or ""
};

// Those that have hardware, by name; from the system's list of terminals.
std::vector<ListedPort> listPorts(const std::filesystem::path& terminals = "/sys/class/tty");
