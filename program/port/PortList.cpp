#include "program/port/PortList.h"

#include "program/text/CharacterText.h"

#include <algorithm>
#include <fstream>
#include <system_error>
#include <tuple>

namespace {

namespace fs = std::filesystem;

// The first line of a file; "" if there is none.
std::string lineOf(const fs::path& file)
{
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return printable(line);
}

// The driver of a device, "" if it has none. That of a part of a port, of serial_core, says
// nothing.
std::string driverOf(const fs::path& device)
{
    std::error_code error;
    const fs::path driver = fs::canonical(device / "driver", error);
    return driver.parent_path().parent_path().filename() == "serial-base"
               ? ""
               : driver.filename().string();
}

// A device is in the folders of the devices that it belongs to: a port of a USB adapter in the
// adapter, which has the names of its maker and product.
std::string wordsOf(fs::path device)
{
    std::string driver;
    std::string product;
    for (; device.has_relative_path() && product.empty(); device = device.parent_path()) {
        driver = driver.empty() ? driverOf(device) : driver;
        product = lineOf(device / "product");
        const std::string maker = lineOf(device / "manufacturer");
        product = maker.empty() || product.empty() ? product : maker + " " + product;
    }
    return product + (product.empty() || driver.empty() ? "" : ", ") +
           (driver.empty() ? "" : "driver " + driver);
}

// Consoles and pseudo-terminals have no device. A line of the driver for built-in ports has one
// even without hardware, and then the type 0.
bool hasHardware(const fs::path& terminal)
{
    return fs::exists(terminal / "device") && lineOf(terminal / "type") != "0";
}

}  // namespace

std::vector<ListedPort> listPorts(const fs::path& terminals)
{
    std::vector<ListedPort> ports;
    std::error_code error;
    for (const fs::directory_entry& terminal : fs::directory_iterator(terminals, error)) {
        if (hasHardware(terminal.path())) {
            ports.push_back({"/dev/" + terminal.path().filename().string(),
                             wordsOf(fs::canonical(terminal.path() / "device", error))});
        }
    }
    // ttyS2 before ttyS10.
    std::ranges::sort(ports, {}, [](const ListedPort& port) {
        const std::size_t number = port.path.find_last_not_of("0123456789") + 1;
        return std::tuple(port.path.substr(0, number), port.path.size(), port.path);
    });
    return ports;
}
